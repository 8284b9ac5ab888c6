#pragma once
// One small class for every binary file of the system: positioned reads and
// writes, little-endian words, and a one-window cache so that the header
// words of a trace, written one by one, cost no system call each.
//
// Reading at or past the end of the file is no failure: the bytes that the
// file does not have read as 0. A byte that is not written keeps what the
// file held there.
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace vexmor {

class BinaryFile {
 public:
  enum class Mode {
    Read,    // existing file, read only
    Update,  // read and write; made if missing, never emptied
    Create,  // made new, emptied if it exists
  };

  BinaryFile() = default;
  // Opens or throws RunTimeFailure (FileNotFound, PathAccess, BadFileName).
  BinaryFile(const std::string& path, Mode mode);
  ~BinaryFile();
  BinaryFile(BinaryFile&& other) noexcept;
  BinaryFile& operator=(BinaryFile&& other) noexcept;
  BinaryFile(const BinaryFile&) = delete;
  BinaryFile& operator=(const BinaryFile&) = delete;

  // Bytes in memory read as a file of that name, read only: the readers take
  // a BinaryFile, so a test or a fuzzer feeds them without touching the disk.
  // The bytes must outlive the object.
  static BinaryFile OverMemory(std::span<const uint8_t> bytes, std::string name = "(memory)");

  bool IsOpen() const { return fd_ >= 0 || inMemory_; }
  const std::string& Path() const { return path_; }
  int64_t Size() const { return size_; }

  // Tells the system the file will be read from start to end (read-ahead).
  void AdviseSequential();

  // Copies n bytes from the offset; gives how many the file really had
  // (the rest of the buffer is set to 0).
  size_t Read(int64_t offset, void* data, size_t n);
  void Write(int64_t offset, const void* data, size_t n);

  // The same, straight from the file, past the window: for a reader that
  // jumps through a large file and would otherwise fill the whole window
  // for every few bytes it wants.
  size_t ReadDirect(int64_t offset, void* data, size_t n);

  int16_t ReadI16(int64_t offset);
  int32_t ReadI32(int64_t offset);
  float ReadF32(int64_t offset);
  uint8_t ReadU8(int64_t offset);
  void WriteI16(int64_t offset, int16_t v);
  void WriteI32(int64_t offset, int32_t v);
  void WriteF32(int64_t offset, float v);

  // Writes what the window holds; throws on a disk error.
  void Flush();
  // Flushes and closes; throws on a disk error. The destructor closes too,
  // but swallows errors.
  void Close();

  // How many reads and writes reached the operating system (for tests).
  int64_t SystemCalls() const { return systemCalls_; }

 private:
  static constexpr size_t kWindow = 1 << 20;
  void MoveWindow(int64_t offset);
  size_t RawRead(int64_t offset, void* data, size_t n);
  void RawWrite(int64_t offset, const void* data, size_t n);
  bool InWindow(int64_t offset, size_t n) const {
    return base_ >= 0 && offset >= base_ && offset + static_cast<int64_t>(n) <= base_ + static_cast<int64_t>(kWindow);
  }

  int fd_ = -1;
  bool inMemory_ = false;
  const uint8_t* memory_ = nullptr;
  bool writable_ = false;
  std::string path_;
  int64_t size_ = 0;
  std::vector<uint8_t> window_;
  int64_t base_ = -1;     // file offset of window_[0]; -1 when empty
  size_t dirtyLo_ = 0;    // dirty range [dirtyLo_, dirtyHi_) of window_
  size_t dirtyHi_ = 0;
  int64_t systemCalls_ = 0;
};

}  // namespace vexmor
