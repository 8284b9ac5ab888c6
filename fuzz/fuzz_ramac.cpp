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

  if (!RamacLimitProblem(rad.lastTrace, rad.samples, 0).empty()) return 0;
  const size_t rest = nul ? size - textBytes - 1 : 0;
  BinaryFile file = BinaryFile::OverMemory(std::span<const uint8_t>(nul ? nul + 1 : data, rest), "fuzz.rd3");
  try {
    const int32_t m = rad.samples;
    std::vector<uint8_t> trace(2 * static_cast<size_t>(m));
    int64_t sum = 0;
    for (int32_t i = 1; i <= std::min<int32_t>(rad.lastTrace, 64); ++i) {
      file.Read(int64_t{2} * m * (i - 1), trace.data(), trace.size());
      for (int32_t k = 0; k < m; ++k) sum += GetLE16(trace.data() + 2 * k);
    }
    (void)sum;
  } catch (const RunTimeFailure&) {
  }
  return 0;
}
