#pragma once
// Bison 5000 record, one file for each shot. The file is looked at in
// 2-byte units from its first byte; a marker counts only where a unit
// starts, at an even offset.
//
//   0     | preamble CR LF | field 1 CR LF | field 2 CR LF | ... | ETX ETX |
//         field 14 = channels, 16 = samples, 17 = interval in ms
//   H     | trace 1: W int16 words | trace 2 | ... | trace NbChannels     |
//         H = offset of ETX ETX + 2, W = NbSamples x 1.25 rounded half even
//
// Field j is the text between the j-th and the (j + 1)-th CR LF. In a trace
// words are counted from 1: every fifth word is a gain word (below -1 means
// gain 2, else 1) for the four samples that follow it; the gain is 1 at the
// start of each trace. Words are signed 16-bit, low byte first.
//
// The parser keeps at most 1000 CR LF positions and 200 fields, and a
// position is a signed 16-bit value: CR LFs behind byte 32767 are out of its
// reach.
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace vexmor {

class BinaryFile;

inline constexpr int kBisonMaxLineEnds = 1000;
inline constexpr int kBisonMaxFields = 200;
inline constexpr int64_t kBisonPositionReach = 32767;
inline constexpr int kBisonChannelsField = 14;
inline constexpr int kBisonSamplesField = 16;
inline constexpr int kBisonIntervalField = 17;

struct BisonHeader {
  // fields[j] is field j (from 1); fields[0] and fields that the file does
  // not have are empty.
  std::vector<std::string> fields = std::vector<std::string>(kBisonMaxFields + 1);
  int lineEnds = 0;        // CR LFs within the parser's reach
  int64_t units = 0;       // 2-byte units read up to and with ETX ETX
  bool marker = false;     // ETX ETX found
  int64_t headerSize = 0;  // 2 x units; the file's size without a marker
};

// Parses the header. `progress` is told the unit count of the marker
// search as it goes (every few hundred units, and at its end). Without a
// marker the search runs to the end of the file: the header size is then
// the file's size.
BisonHeader ParseBisonHeader(BinaryFile& file, const std::function<void(int64_t)>& progress = {});

// W: words of a trace of nbSamples samples, rounded half to even; a count
// that does not fit 16 bits is a run-time failure (Overflow).
int16_t BisonTraceWords(int32_t nbSamples);

// Byte offset of trace t (from 1): headerSize + (t - 1) x 2 x W, rounded
// half to even to 32 bits (a run-time failure past them).
int32_t BisonTraceOffset(double headerSize, int t, int16_t words);

// Decodes the W words (2 x W raw bytes) of one trace into `out`. A trace
// that holds more samples than `out` has room for is a run-time failure
// (OutOfRange) once the room is full; the samples before stay decoded.
void DecodeBisonTrace(const uint8_t* raw, int16_t words, std::span<float> out);

// A record in this layout, for the sample generator and the tests. The
// fields are padded with a blank where needed so that every CR LF and the
// ETX ETX start at even offsets.
struct BisonRecordContent {
  std::string preamble = "BISON 5000";
  std::vector<std::string> fields;        // field 1 onward
  std::vector<std::vector<int16_t>> traces;  // the raw words, gain words included
};
std::vector<uint8_t> BuildBisonRecord(const BisonRecordContent& record);

// The raw words of a trace for these samples, padded with zero words to W:
// each group of four behind a gain word; a group (not the first) with a
// value past 16 bits gets the gain word -2 and its values halved (an odd
// value loses its last bit), any other the gain word 0.
std::vector<int16_t> EncodeBisonTrace(std::span<const int32_t> samples);

}  // namespace vexmor
