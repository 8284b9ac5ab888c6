#pragma once
// A whole file seen as bytes in memory, mapped rather than copied: large
// texts are read once by the kernel and never copied into the program.
// Only plain files: a folder, device or pipe is refused.
// Falls back to reading the file when it can't be mapped (a pipe, say).
// The one way the system maps a file: texts read whole, and binary files
// whose layout asks for jumps across all of them (the column export).
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace vexmor {

class MappedFile {
 public:
  enum class Use {
    Whole,  // read from end to end at once: every page is brought in now
    Walk,   // walked through in parts: pages come as they are touched
  };
  // Throws RunTimeFailure when the file can't be opened or read, or is no
  // plain file.
  explicit MappedFile(const std::string& path, Use use = Use::Whole);
  ~MappedFile();
  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;

  std::string_view Text() const { return mapped_ != nullptr ? std::string_view(mapped_, size_) : copy_; }
  std::span<const uint8_t> Bytes() const {
    const std::string_view text = Text();
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
  }
  // Hands the pages touched so far back to the system; they are read again
  // from the file (or the page cache) when next touched. A walk through a
  // file larger than memory calls it now and then to stay small.
  void Forget() const;

  // True when another program cut the file short while it was mapped and a
  // page past its new end was touched: such a page reads as zeros (as bytes
  // past the end of a file do everywhere in the system) instead of the
  // program being killed, and the reader says the input changed.
  bool CutWhileRead() const;

 private:
  char* mapped_ = nullptr;
  int guard_ = -1;
  size_t size_ = 0;
  std::string copy_;
};

}  // namespace vexmor
