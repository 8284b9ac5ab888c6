#include "importers/seismograph/handy_viewer_format.h"

#include "core/binary_file.h"
#include "core/failure.h"
#include "core/su_trace.h"

namespace vexmor {

int16_t ReadMcSeis3Interval(BinaryFile& file) {
  if (file.Size() < kMcSeis3IntervalOffset + 2) {
    throw RunTimeFailure(FailureCode::PastEndOfFile, file.Path() + ": too short for a McSeis 3 record");
  }
  return file.ReadI16(kMcSeis3IntervalOffset);
}

std::vector<uint8_t> BuildMcSeis3Record(int16_t interval, const std::vector<std::vector<int16_t>>& traces) {
  std::vector<uint8_t> out(64, 0);
  PutLE16(out.data() + kMcSeis3IntervalOffset, interval);
  for (const auto& trace : traces) {
    for (int16_t v : trace) {
      uint8_t le[2];
      PutLE16(le, v);
      out.insert(out.end(), le, le + 2);
    }
  }
  return out;
}

}  // namespace vexmor
