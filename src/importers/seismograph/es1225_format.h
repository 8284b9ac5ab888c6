#pragma once
// ES-1225 record, SEG-1 layout, one file for each shot (12 channels of 1000
// samples on the instrument). Nothing of the header is read: the traces are
// found by counting back from the end of the file.
//
//   0                DataStart-1                                       F
//   | header (not read) | S x int16 | 48 bytes | ... | S x int16 | 48 bytes | 2 |
//                        `-- trace 1 block B --'      `-- trace N block B --'
//
//   B = 2 x S + 48, N the channels, F the file's size in bytes.
//   DataStart (counted from 1) = F - N x B - 1; trace t starts at the 0-based
//   offset F - N x B - 2 + (t - 1) x B. The last trace's samples end 50
//   bytes before the end of the file. A file is accepted when DataStart is
//   48 or more: 12 x 1000 samples need 12 x 2048 + 49 bytes.
//
// A longer file is not refused: what lies ahead of the traces counts as
// header.
#include <cstdint>
#include <vector>

namespace vexmor {

inline constexpr int kEs1225BlockExtra = 48;        // bytes behind each trace's samples
inline constexpr int64_t kEs1225SmallestDataStart = 48;

// B, the size of one trace block.
int64_t Es1225BlockSize(int32_t nbSamples);
// DataStart, counted from 1; below 48 the file is too short.
int64_t Es1225DataStart(int64_t fileSize, int16_t nbChannels, int32_t nbSamples);
// 0-based offset of the first sample of trace t (from 1).
int64_t Es1225TraceOffset(int64_t fileSize, int16_t nbChannels, int32_t nbSamples, int t);

// A record in this layout, for the sample generator and the tests: a header
// of `headerBytes` bytes (47 at the least, the smallest file), then the
// traces, each followed by its 48 bytes, then 2 bytes.
std::vector<uint8_t> BuildEs1225Record(const std::vector<std::vector<int16_t>>& traces, int64_t headerBytes);

}  // namespace vexmor
