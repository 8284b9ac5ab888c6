#pragma once
// ABEM Mark 3 record, one file for each shot. The first 2048 bytes are a
// header that is read two ways: as fixed fields at the start of its first
// line, and as lines of text.
//
//   byte 0         15        23        31       38                      2048
//        | 15 chars | 8 chars | YYMMDD  | HH:MM  | ...rest of line 1     |
//        | line 2 ... line 7 = sample interval (us) ... line 113 = channels |
//   2048 | trace 1: NbSamples x int16 | trace 2 | ... | trace NbChannels   |
//
// Samples are signed 16-bit, low byte first, the traces one after the other
// with no trace headers. The header does not give the samples per trace:
// they follow from the file's size, (size - 2048) / channels / 2.
// Date: characters 1-2 the year less 1900, 3-4 the month, 5-6 the day;
// time: characters 1-2 the hour, 4-5 the minute.
#include <cstdint>
#include <string>
#include <vector>

namespace vexmor {

class BinaryFile;

inline constexpr int64_t kAbemDataStart = 2048;
inline constexpr int kAbemIntervalLine = 7;    // from 1
inline constexpr int kAbemChannelsLine = 113;  // the last line read
inline constexpr int kAbemFixedBytes = 601;    // bytes 0..600, read in one block

// Lines 7 and 113 of the header text. Lines end in CR LF, LF or CR. A file
// with fewer than 113 lines is a run-time failure (PastEndOfFile): the
// caller then keeps the values it had.
struct AbemHeaderLines {
  std::string intervalLine;
  std::string channelsLine;
};
AbemHeaderLines ReadAbemHeaderLines(BinaryFile& file);

// Samples per trace for a file of that size: (size - 2048) / channels / 2,
// rounded half to even. No channels is a run-time failure (DivisionByZero).
int32_t AbemSamplesPerTrace(int64_t fileSize, int16_t channels);

// Byte offset of the first sample of trace t (from 1). A position past 32
// bits is a run-time failure.
int64_t AbemTraceOffset(int t, int32_t nbSamples);

// The date and time of the fixed fields, each by the leading-number rule.
struct AbemDateTime {
  int year = 0;  // 1900 + the two digits
  int month = 0;
  int day = 0;
  int hour = 0;
  int minute = 0;
};
// `fixed` holds bytes 0..600 of the file (fewer bytes read as blanks).
AbemDateTime DecodeAbemDateTime(const std::vector<uint8_t>& fixed);
AbemDateTime ReadAbemDateTime(BinaryFile& file);

// A record in this layout, for the sample generator and the tests.
struct AbemRecordContent {
  std::string lineName = "LINE 1";    // the 8-character field
  std::string date = "980615";        // YYMMDD
  std::string time = "14:32";         // HH:MM
  std::string intervalText = "250";   // line 7
  std::string channelsText = "12";    // line 113
  std::vector<std::vector<int16_t>> traces;
};
std::vector<uint8_t> BuildAbemRecord(const AbemRecordContent& record);

}  // namespace vexmor
