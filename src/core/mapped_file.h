#pragma once
// A whole file seen as bytes in memory, mapped rather than copied: large
// texts are read once by the kernel and never copied into the program.
// Only plain files: a folder, device or pipe is refused.
// Falls back to reading the file when it can't be mapped (a pipe, say).
#include <string>
#include <string_view>

namespace vexmor {

class MappedFile {
 public:
  // Throws RunTimeFailure when the file can't be opened or read, or is no
  // plain file.
  explicit MappedFile(const std::string& path);
  ~MappedFile();
  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;

  std::string_view Text() const { return mapped_ != nullptr ? std::string_view(mapped_, size_) : copy_; }

 private:
  char* mapped_ = nullptr;
  size_t size_ = 0;
  std::string copy_;
};

}  // namespace vexmor
