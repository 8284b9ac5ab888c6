#pragma once
// The SU trace file as a file to look at (its layout is drawn in
// core/su_trace.h): no file header, traces of 240 + 4 x ns bytes, all
// little-endian. Every trace is taken to hold as many samples as the first,
// as the rest of the system takes it.
#include <cstdint>
#include <span>

#include "formats/format_error.h"

namespace vexmor {

class BinaryFile;

struct SuLayout {
  int64_t ns = 0;
  int dt = 0;                 // as the first trace says it
  int64_t traceBytes = 0;
  int64_t wholeTraces = 0;
  bool lastCutShort = false;  // a trace at the end that the file cuts off
};

// Whether the first bytes (at least 240) and the size look like an SU file.
// strict: the size is whole traces and a second trace repeats ns; otherwise
// a sample count that makes sense is enough. Cheap, never throws.
bool LooksLikeSu(std::span<const uint8_t> head, int64_t fileSize, bool strict);

// Throws FormatError naming the file when it holds no trace header or no
// sample count.
SuLayout ReadSuLayout(BinaryFile& file);

}  // namespace vexmor
