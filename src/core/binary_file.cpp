#include "core/binary_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "core/failure.h"
#include "core/paths.h"
#include "core/su_trace.h"

namespace vexmor {

namespace {

[[noreturn]] void FailOpen(const std::string& path, int err) {
  const std::string why = path + ": " + std::strerror(err);
  if (err == ENOENT) throw RunTimeFailure(FailureCode::FileNotFound, why);
  if (err == ENAMETOOLONG || err == EINVAL) throw RunTimeFailure(FailureCode::BadFileName, why);
  throw RunTimeFailure(FailureCode::PathAccess, why);
}

}  // namespace

BinaryFile::BinaryFile(const std::string& path, Mode mode) : path_(path) {
  if (path.empty()) throw RunTimeFailure(FailureCode::BadFileName, "empty file name");
  int flags = O_RDONLY;
  std::string actual = path;
  if (mode == Mode::Read) {
    actual = ResolveExisting(path);
  } else {
    writable_ = true;
    flags = O_RDWR | O_CREAT | (mode == Mode::Create ? O_TRUNC : 0);
    if (mode == Mode::Update) actual = ResolveExisting(path);
  }
  // Not blocking: a named pipe with no writer would hold the open for ever.
  fd_ = ::open(actual.c_str(), flags | O_CLOEXEC | (mode == Mode::Read ? O_NONBLOCK : 0), 0644);
  if (fd_ < 0) FailOpen(path, errno);
  // A folder opens for reading here, but it is no file to read.
  struct stat info {};
  if (::fstat(fd_, &info) == 0 && S_ISDIR(info.st_mode)) {
    ::close(std::exchange(fd_, -1));
    FailOpen(path, EISDIR);
  }
  if (mode == Mode::Read) {
    // A pipe has no size and no places to seek to: nothing a reader can walk.
    if (S_ISFIFO(info.st_mode) || S_ISSOCK(info.st_mode)) {
      ::close(std::exchange(fd_, -1));
      throw RunTimeFailure(FailureCode::PathAccess, path + ": not a plain file");
    }
    ::fcntl(fd_, F_SETFL, ::fcntl(fd_, F_GETFL) & ~O_NONBLOCK);
  }
  const off_t end = ::lseek(fd_, 0, SEEK_END);
  size_ = end < 0 ? 0 : end;
}

BinaryFile BinaryFile::OverMemory(std::span<const uint8_t> bytes, std::string name) {
  BinaryFile file;
  file.inMemory_ = true;
  file.memory_ = bytes.data();
  file.size_ = static_cast<int64_t>(bytes.size());
  file.path_ = std::move(name);
  return file;
}

BinaryFile::~BinaryFile() {
  try {
    Close();
  } catch (...) {
  }
}

BinaryFile::BinaryFile(BinaryFile&& other) noexcept { *this = std::move(other); }

BinaryFile& BinaryFile::operator=(BinaryFile&& other) noexcept {
  if (this != &other) {
    try {
      Close();
    } catch (...) {
    }
    fd_ = std::exchange(other.fd_, -1);
    inMemory_ = std::exchange(other.inMemory_, false);
    memory_ = std::exchange(other.memory_, nullptr);
    writable_ = other.writable_;
    path_ = std::move(other.path_);
    size_ = other.size_;
    window_ = std::move(other.window_);
    base_ = std::exchange(other.base_, -1);
    dirtyLo_ = std::exchange(other.dirtyLo_, 0);
    dirtyHi_ = std::exchange(other.dirtyHi_, 0);
    systemCalls_ = other.systemCalls_;
  }
  return *this;
}

size_t BinaryFile::RawRead(int64_t offset, void* data, size_t n) {
  auto* out = static_cast<uint8_t*>(data);
  size_t done = 0;
  while (done < n) {
    ++systemCalls_;
    const ssize_t got = ::pread(fd_, out + done, n - done, offset + static_cast<int64_t>(done));
    if (got < 0) {
      if (errno == EINTR) continue;
      throw RunTimeFailure(FailureCode::PathAccess, path_ + ": " + std::strerror(errno));
    }
    if (got == 0) break;
    done += static_cast<size_t>(got);
  }
  std::memset(out + done, 0, n - done);
  return done;
}

void BinaryFile::RawWrite(int64_t offset, const void* data, size_t n) {
  const auto* in = static_cast<const uint8_t*>(data);
  size_t done = 0;
  while (done < n) {
    ++systemCalls_;
    const ssize_t put = ::pwrite(fd_, in + done, n - done, offset + static_cast<int64_t>(done));
    if (put < 0) {
      if (errno == EINTR) continue;
      const auto code = errno == ENOSPC ? FailureCode::DiskFull : FailureCode::PathAccess;
      throw RunTimeFailure(code, path_ + ": " + std::strerror(errno));
    }
    done += static_cast<size_t>(put);
  }
}

void BinaryFile::Flush() {
  if (fd_ < 0 || base_ < 0 || dirtyHi_ <= dirtyLo_) return;
  const size_t lo = std::exchange(dirtyLo_, 0);
  const size_t hi = std::exchange(dirtyHi_, 0);
  RawWrite(base_ + static_cast<int64_t>(lo), window_.data() + lo, hi - lo);
}

void BinaryFile::MoveWindow(int64_t offset) {
  Flush();
  if (window_.empty()) window_.resize(kWindow);
  base_ = offset;
  // What lies past the end of the file reads as 0 and need not be asked for.
  if (base_ < size_) {
    RawRead(base_, window_.data(), static_cast<size_t>(std::min<int64_t>(kWindow, size_ - base_)));
    if (size_ - base_ < static_cast<int64_t>(kWindow)) {
      std::memset(window_.data() + (size_ - base_), 0, kWindow - static_cast<size_t>(size_ - base_));
    }
  } else {
    std::memset(window_.data(), 0, kWindow);
  }
}

void BinaryFile::AdviseSequential() {
  if (fd_ >= 0) ::posix_fadvise(fd_, 0, 0, POSIX_FADV_SEQUENTIAL);
}

size_t BinaryFile::Read(int64_t offset, void* data, size_t n) {
  if (!IsOpen()) throw RunTimeFailure(FailureCode::BadFileName, "file is not open");
  if (offset < 0) throw RunTimeFailure(FailureCode::BadFileName, path_ + ": negative position");
  if (n == 0) return 0;
  if (inMemory_) {
    const size_t have = offset >= size_ ? 0 : static_cast<size_t>(std::min<int64_t>(static_cast<int64_t>(n), size_ - offset));
    if (have > 0) std::memcpy(data, memory_ + offset, have);
    std::memset(static_cast<uint8_t*>(data) + have, 0, n - have);
    return have;
  }
  if (!InWindow(offset, n)) {
    if (n >= kWindow / 2) {
      // Large blocks go straight to the file, once the window is on disk.
      Flush();
      return RawRead(offset, data, n);
    }
    MoveWindow(offset);
  }
  std::memcpy(data, window_.data() + (offset - base_), n);
  const int64_t available = std::max<int64_t>(0, std::min<int64_t>(static_cast<int64_t>(n), size_ - offset));
  return static_cast<size_t>(available);
}

size_t BinaryFile::ReadDirect(int64_t offset, void* data, size_t n) {
  if (inMemory_ || n == 0) return Read(offset, data, n);
  if (!IsOpen()) throw RunTimeFailure(FailureCode::BadFileName, "file is not open");
  if (offset < 0) throw RunTimeFailure(FailureCode::BadFileName, path_ + ": negative position");
  Flush();  // what is written shows in what is read
  return RawRead(offset, data, n);
}

void BinaryFile::Write(int64_t offset, const void* data, size_t n) {
  if (!IsOpen()) throw RunTimeFailure(FailureCode::BadFileName, "file is not open");
  if (!writable_) throw RunTimeFailure(FailureCode::PathAccess, path_ + ": opened for reading only");
  if (offset < 0) throw RunTimeFailure(FailureCode::BadFileName, path_ + ": negative position");
  if (n == 0) return;
  if (!InWindow(offset, n)) {
    if (n >= kWindow / 2) {
      if (base_ >= 0) {
        // Keep the window true to the file: write it out and forget it.
        Flush();
        base_ = -1;
      }
      RawWrite(offset, data, n);
      size_ = std::max(size_, offset + static_cast<int64_t>(n));
      return;
    }
    MoveWindow(offset);
  }
  const size_t at = static_cast<size_t>(offset - base_);
  std::memcpy(window_.data() + at, data, n);
  if (dirtyHi_ <= dirtyLo_) {
    dirtyLo_ = at;
    dirtyHi_ = at + n;
  } else {
    dirtyLo_ = std::min(dirtyLo_, at);
    dirtyHi_ = std::max(dirtyHi_, at + n);
  }
  size_ = std::max(size_, offset + static_cast<int64_t>(n));
}

int16_t BinaryFile::ReadI16(int64_t offset) {
  uint8_t b[2];
  Read(offset, b, 2);
  return GetLE16(b);
}
int32_t BinaryFile::ReadI32(int64_t offset) {
  uint8_t b[4];
  Read(offset, b, 4);
  return GetLE32(b);
}
float BinaryFile::ReadF32(int64_t offset) {
  uint8_t b[4];
  Read(offset, b, 4);
  return GetLEFloat(b);
}
uint8_t BinaryFile::ReadU8(int64_t offset) {
  uint8_t b = 0;
  Read(offset, &b, 1);
  return b;
}
void BinaryFile::WriteI16(int64_t offset, int16_t v) {
  uint8_t b[2];
  PutLE16(b, v);
  Write(offset, b, 2);
}
void BinaryFile::WriteI32(int64_t offset, int32_t v) {
  uint8_t b[4];
  PutLE32(b, v);
  Write(offset, b, 4);
}
void BinaryFile::WriteF32(int64_t offset, float v) {
  uint8_t b[4];
  PutLEFloat(b, v);
  Write(offset, b, 4);
}

void BinaryFile::Close() {
  if (inMemory_) {
    inMemory_ = false;
    memory_ = nullptr;
    return;
  }
  if (fd_ < 0) return;
  try {
    Flush();
  } catch (...) {
    ::close(std::exchange(fd_, -1));
    base_ = -1;
    throw;
  }
  ::close(std::exchange(fd_, -1));
  base_ = -1;
}

}  // namespace vexmor
