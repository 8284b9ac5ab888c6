#pragma once
// The output of a tool: a file named on the command line, or standard
// output. The file is made on the first write, so that a run that converts
// nothing leaves an existing file as it was.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

namespace vexmor {

class OutputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class ToolOutput {
 public:
  // An empty path is standard output.
  explicit ToolOutput(std::string path) : path_(std::move(path)) { buffer_.reserve(kBuffer); }
  ~ToolOutput() {
    try {
      Close();
    } catch (...) {
    }
  }
  ToolOutput(const ToolOutput&) = delete;
  ToolOutput& operator=(const ToolOutput&) = delete;

  void Write(const void* data, size_t n) {
    if (fd_ < 0) Open();
    const auto* p = static_cast<const uint8_t*>(data);
    if (buffer_.size() + n > kBuffer) Flush();
    if (n >= kBuffer) {
      Put(p, n);
    } else {
      buffer_.insert(buffer_.end(), p, p + n);
    }
  }
  void Close() {
    if (fd_ < 0) return;
    Flush();
    if (!path_.empty() && ::close(fd_) != 0) Fail();
    fd_ = -1;
  }
  bool Opened() const { return fd_ >= 0 || opened_; }
  std::string Name() const { return path_.empty() ? "standard output" : path_; }

 private:
  static constexpr size_t kBuffer = 4 << 20;
  void Open() {
    fd_ = path_.empty() ? STDOUT_FILENO : ::open(path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd_ < 0) Fail();
    opened_ = true;
  }
  void Flush() {
    Put(buffer_.data(), buffer_.size());
    buffer_.clear();
  }
  void Put(const uint8_t* p, size_t n) {
    while (n > 0) {
      const ssize_t done = ::write(fd_, p, n);
      if (done < 0) {
        if (errno == EINTR) continue;
        Fail();
      }
      // Nothing taken and no error said: a full device, not a reason to spin.
      if (done == 0) throw OutputError(Name() + ": cannot write: nothing more was taken");
      p += done;
      n -= static_cast<size_t>(done);
    }
  }
  [[noreturn]] void Fail() { throw OutputError(Name() + ": " + std::strerror(errno)); }

  std::string path_;
  int fd_ = -1;
  bool opened_ = false;
  std::vector<uint8_t> buffer_;
};

}  // namespace vexmor
