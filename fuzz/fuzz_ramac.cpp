// RAMAC profiles: the .rad keyword text, read both as the viewer reads it
// and keyword by keyword as the panel does, then the .rd3 traces that it
// describes. The bytes up to the first NUL are the text; the rest is the
// data file.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "core/binary_file.h"
#include "core/failure.h"
#include "core/su_trace.h"
#include "core/text.h"
#include "importers/radar/ramac_format.h"
#include "platform/headless_platform.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace vexmor;
  const auto* nul = static_cast<const uint8_t*>(std::memchr(data, 0, size));
  const size_t textBytes = nul ? static_cast<size_t>(nul - data) : size;
  const std::string text(reinterpret_cast<const char*>(data), textBytes);
  const RamacRad rad = ParseRamacRad(text);

  static HeadlessPlatform platform;
  const std::string panelText = BareLfAsCr(text);
  for (const char* keyword : {"SAMPLES:", "LAST TRACE:", "TIME INTERVAL:", "TIMEWINDOW:", "DISTANCE INTERVAL:"}) {
    std::string copy = panelText;
    std::string tag = keyword;
    std::optional<double> value;
    ReadTaggedValue(copy, tag, value, platform);
  }

  const size_t rest = nul ? size - textBytes - 1 : 0;
  // The time-zero point from the first two bytes of the data: any value
  // the panel lets through (below the samples).
  const int32_t timeZero = rest >= 2 ? (nul[1] | nul[2] << 8) % std::max<int32_t>(rad.samples, 1) : 0;
  if (!RamacLimitProblem(rad.lastTrace, rad.samples, timeZero).empty()) return 0;
  BinaryFile file = BinaryFile::OverMemory(std::span<const uint8_t>(nul ? nul + 1 : data, rest), "fuzz.rd3");
  try {
    const int32_t m = rad.samples;
    std::vector<uint8_t> trace(2 * static_cast<size_t>(m));
    std::vector<uint8_t> floats(4 * static_cast<size_t>(m - timeZero));
    for (int32_t i = 1; i <= std::min<int32_t>(rad.lastTrace, 64); ++i) {
      file.Read(int64_t{2} * m * (i - 1), trace.data(), trace.size());
      RamacTraceToSu(trace.data(), m, timeZero, floats.data());
    }
  } catch (const RunTimeFailure&) {
  }
  return 0;
}
