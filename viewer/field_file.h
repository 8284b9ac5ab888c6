#pragma once
// A field file of any format the viewer reads, opened by its content, and
// read trace by trace as SU header words and float samples. Nothing is read
// before it is asked for, so a file of any size opens at once.
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "core/binary_file.h"

namespace vexmor::view {

enum class Format { Su, Segy, Seg2, Segd, Dzt, Ramac, Dt1, Kgs };

struct FieldInfo {
  Format format = Format::Su;
  std::string name;        // "SEG-Y", "SU", ...: what --info prints
  int64_t traces = 0;
  int64_t samples = 0;     // the longest trace
  double interval = 0;     // µs, or ns for radar
  bool bigEndian = false;
  bool radar = false;
};

class FieldFile {
 public:
  // Opens the file and works out its format; throws std::exception with a
  // message naming the file for one it can't read.
  static std::unique_ptr<FieldFile> Open(const std::string& path);
  // The same for data already open (bytes in memory, for the fuzzer): path
  // names it in messages, dataPath is what its name and its side files
  // (.rad, .HD) are looked up by.
  static std::unique_ptr<FieldFile> Open(const std::string& path, const std::string& dataPath, BinaryFile data);
  ~FieldFile();
  FieldFile(const FieldFile&) = delete;
  FieldFile& operator=(const FieldFile&) = delete;

  const FieldInfo& Info() const;
  const std::string& Path() const;
  // Trace i (from 0): Info().samples samples (a short trace padded with 0)
  // and its 240-byte SU header. A trace that can't be read comes as zeros
  // and a note; this never throws for an i inside the file.
  void ReadTrace(int64_t i, float* samples, uint8_t* header);
  // What was found wrong so far, one sentence each, oldest first.
  const std::vector<std::string>& Notes() const;

  struct State;

 private:
  explicit FieldFile(std::unique_ptr<State> state);
  std::unique_ptr<State> state_;
};

// "format=NAME traces=N samples=M interval=X byte_order=little|big"
std::string InfoLine(const FieldInfo& info);

}  // namespace vexmor::view
