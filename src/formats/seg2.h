#pragma once
// SEG-2, the record format of engineering seismographs (and some radars).
//
// File descriptor block, at byte 0:
//
//    0      2      4      6      8   9  10  11  12  13  14        32        32+M
//   | 3A55 | rev  |  M   |  N   |ST |s1 |s2 |LT |l1 |l2 | reserved | N trace  | file strings ...
//   | id   |      | bytes| trcs |len|   |   |len|   |   |          | pointers |
//
//   The block id, read in the file's own byte order, is 0x3A55: the bytes
//   55 3A say low byte first, 3A 55 high byte first. Every number of the file
//   follows that order. M is the size of the trace pointer subblock (4 bytes
//   a pointer, room for at least N), ST and LT the lengths (1 or 2) of the
//   string and line terminators. A revision-0 file may leave the terminator
//   fields at 0: a string then ends at a NUL byte, a line at LF.
//
// Trace descriptor block, at each trace pointer P:
//
//    P      P+2    P+4           P+8           P+12 P+13      P+32        P+X          P+X+Y
//   | 4422 |  X   |      Y      |     NS      |fmt | reserved | strings   | samples ... |
//
//   X is the descriptor's size (32 + strings), Y the size of the data block
//   that follows it, NS the samples, fmt the sample format:
//     1 int16, 2 int32, 3 20-bit packed (4 samples in 10 bytes: one word of
//     four 4-bit exponents, lowest nibble first, then four 16-bit one's-
//     complement mantissas; value = mantissa x 2^exponent), 4 float32,
//     5 float64.
//
// Strings (file and trace descriptors alike): a 2-byte offset to the next
// string, counted from the start of this one, then "KEYWORD value" ended by
// the string terminator. An offset of 0 ends the list.
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "formats/format_error.h"

namespace vexmor {

class BinaryFile;

// A bad or cut-off SEG-2 file; the message names the file.
class Seg2Error : public FormatError {
 public:
  using FormatError::FormatError;
};

// A trace whose descriptor or samples lie past the end of the file.
class Seg2CutShort : public Seg2Error {
 public:
  using Seg2Error::Seg2Error;
};

struct Seg2String {
  std::string key;    // upper case, as written
  std::string value;  // the rest, blanks around it removed
};

// The value of a keyword, nullptr when the list has none.
const std::string* FindSeg2Value(const std::vector<Seg2String>& strings, std::string_view key);

struct Seg2Trace {
  int64_t descriptorOffset = 0;
  int32_t descriptorBytes = 0;  // X
  int64_t dataOffset = 0;       // P + X
  int64_t dataBytes = 0;        // Y as written
  int32_t samples = 0;          // NS
  int format = 0;               // 1..5
  // Sample bytes the file holds: fewer than Seg2SampleBytes for the trace
  // that the end of a file cut short, whose missing samples read as zeros.
  int64_t presentBytes = 0;
  std::vector<Seg2String> strings;

  const std::string* Find(std::string_view key) const { return FindSeg2Value(strings, key); }
};

struct Seg2File {
  std::string name;
  bool bigEndian = false;
  int revision = 0;
  std::vector<Seg2String> strings;  // file descriptor strings
  std::vector<Seg2Trace> traces;
  std::vector<std::string> notes;   // oddities that did not stop the reading
  int lostTraces = 0;               // traces left out of a file cut short
  int cutTraces = 0;                // traces kept with samples missing

  const std::string* Find(std::string_view key) const { return FindSeg2Value(strings, key); }
};

// Whether the bytes begin like a SEG-2 file (cheap, never throws).
bool LooksLikeSeg2(std::span<const uint8_t> firstBytes);

// Reads the descriptors of every trace; only the descriptors are read,
// never the samples. A file cut short keeps its traces whose descriptor is
// whole (the one the end cuts through has its presentBytes, counted in
// cutTraces); those past the end are counted in lostTraces; both are noted.
// Throws Seg2Error naming the file on anything that is not a readable SEG-2
// file, on trace pointers that repeat or whose blocks overlap (the traces
// would be copies of each other), or on a file with no trace left. The
// reader checks every range against the file's size before it reads.
Seg2File ReadSeg2(BinaryFile& source);

// What a file that is not SEG-2 looks like, from its first bytes (up to
// 3600) and its size: "it is text, ...", "it looks like a SEG-Y file ...".
std::string DescribeNotSeg2(std::span<const uint8_t> firstBytes, int64_t size);

// The samples of one trace of a file read by ReadSeg2; out has room for
// trace.samples values. Samples missing from a trace cut short are zeros.
void ReadSeg2Trace(BinaryFile& source, const Seg2File& file, const Seg2Trace& trace, float* out);

// Bytes that NS samples of a format take; 0 for an unknown format.
int64_t Seg2SampleBytes(int format, int64_t samples);

// Turns the data block of a trace (at least Seg2SampleBytes bytes) into
// floats; out has room for `samples` values.
void DecodeSeg2Samples(const uint8_t* data, int format, bool bigEndian, int32_t samples, float* out);

// Writes a SEG-2 file; the tests and the benchmark make their inputs with it.
struct Seg2WriteTrace {
  std::vector<double> samples;
  std::vector<std::string> strings;  // "KEYWORD value"
};
std::vector<uint8_t> MakeSeg2(const std::vector<std::string>& fileStrings,
                              const std::vector<Seg2WriteTrace>& traces, int format, bool bigEndian,
                              int revision = 1);

}  // namespace vexmor
