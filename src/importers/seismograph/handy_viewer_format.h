#pragma once
// McSeis 3 record (three channels on the instrument). The one field known
// and read:
//
//   byte 40  int16, low byte first: sample interval in microseconds
//
// The rest of the layout is not known; the selection panel reads only this.
#include <cstdint>
#include <string>
#include <vector>

namespace vexmor {

class BinaryFile;

inline constexpr int64_t kMcSeis3IntervalOffset = 40;

// The sample interval of the file; a file too short to hold it is a
// run-time failure.
int16_t ReadMcSeis3Interval(BinaryFile& file);

// A file with the interval at byte 40, for the sample generator and the
// tests. The bytes around it are not of any known layout: a 64-byte header
// of zeros and the traces behind it as int16, so that the file has a body.
std::vector<uint8_t> BuildMcSeis3Record(int16_t interval, const std::vector<std::vector<int16_t>>& traces);

}  // namespace vexmor
