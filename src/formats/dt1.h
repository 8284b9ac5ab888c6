#pragma once
// EKKO radar lines: a .DT1 data file with a .HD header text beside it (same
// name, extension HD). All binary numbers low byte first.
//
// Data file (.DT1): no file header, a run of traces of equal size. Each is a
// 128-byte trace header followed by P signed 16-bit samples, P being the
// header text's "NUMBER OF PTS/TRC". Trace i (from 1):
//
//   | hdr 1 (128) | P x int16 | hdr 2 (128) | P x int16 | ...
//   header of trace i at (128 + 2P) x (i - 1), samples at 2P x (i - 1) + 128 i
//
// Trace header, 32 four-byte words (floats, but for the three GPS doubles):
//
//     0 trace number     4 position        8 points/trace   12 topography
//    16 (unused)        20 bytes/point    24 time window    28 stacks
//    32 GPS x (f64)     40 GPS y (f64)    48 GPS z (f64)
//    56 receiver x      60 receiver y     64 receiver z
//    68 transmitter x   72 transmitter y  76 transmitter z
//    80 time-zero adj.  84 zero flag      88 channels       92 time of day
//    96 comment flag   100 comment (28 characters)
//
// Header text (.HD): free lines, among them "KEY = value" lines ended by CR
// (often CR CR LF), e.g.
//
//   NUMBER OF TRACES   = 164
//   NUMBER OF PTS/TRC  = 1900
//   TIMEZERO AT POINT  = 34.07
//   TOTAL TIME WINDOW  = 760.000
//   STARTING POSITION  = 0.6000
//   FINAL POSITION     = 16.3000
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/binary_file.h"

namespace vexmor {

inline constexpr int kDt1TraceHeaderBytes = 128;

// The keywords of the header text that a conversion reads, with the blanks
// and the equals sign that belong to them, in the order they are read.
inline constexpr std::string_view kDt1PointsKey = "NUMBER OF PTS/TRC  = ";
inline constexpr std::string_view kDt1TimeZeroKey = "TIMEZERO AT POINT  = ";
inline constexpr std::string_view kDt1TracesKey = "NUMBER OF TRACES   = ";
inline constexpr std::string_view kDt1WindowKey = "TOTAL TIME WINDOW  = ";
inline constexpr std::string_view kDt1StartKey = "STARTING POSITION  = ";
inline constexpr std::string_view kDt1FinalKey = "FINAL POSITION     = ";

// The header text's numbers; a keyword that is missing, or whose value is
// no number, gives no value.
struct Dt1HeaderText {
  std::optional<double> traces;
  std::optional<double> pointsPerTrace;
  std::optional<double> timeZero;     // point of time zero
  std::optional<double> timeWindow;   // ns
  std::optional<double> startPosition;
  std::optional<double> finalPosition;
  std::optional<double> stepSize;
  // Every "KEY = value" line, keys upper-cased and trimmed, for display.
  std::map<std::string, std::string> entries;
};

// Reads the "KEY = value" lines of a header text (any line end, keys in
// any letter case). Never throws.
Dt1HeaderText ParseDt1HeaderText(std::string_view text);

// The .HD path beside a .DT1 path: its last three characters replaced.
std::string Dt1HeaderPath(const std::string& dt1Path);

// One field of the 128-byte trace header.
struct Dt1TraceField {
  int offset;
  int width;       // 4 (float) or 8 (double)
  std::string_view name;
};
std::span<const Dt1TraceField> Dt1TraceFields();

// Byte offset of the samples of trace i (from 1), in 64 bits; the 32-bit
// sum of the conversion can wrap, this one can't.
inline int64_t Dt1SamplesOffset(int64_t i, int64_t points) {
  return 2 * points * (i - 1) + int64_t{kDt1TraceHeaderBytes} * i;
}
// Whole traces that a file of that size holds (0 for points below 1).
int64_t Dt1TraceCount(int64_t fileSize, int64_t points);

struct Dt1Trace {
  std::map<std::string_view, double> header;  // by the names of Dt1TraceFields
  std::vector<int16_t> samples;
};

// Trace i (from 1) of P points. Bytes past the end of the file read as 0;
// `complete` says whether the file held the whole trace.
Dt1Trace ReadDt1Trace(BinaryFile& file, int64_t i, int32_t points, bool* complete = nullptr);
// Only its samples, into `samples` (P values); gives how many the file held.
size_t ReadDt1Samples(BinaryFile& file, int64_t i, std::span<int16_t> samples);

// Whether the bytes look like a DT1 file: a first trace header numbered 1
// whose points per trace and bytes per point fit the file. Never throws.
bool LooksLikeDt1(BinaryFile& file);

}  // namespace vexmor
