// EKKO DT1: the .HD keyword text and the traces of the .DT1 file. The
// first bytes up to a NUL are the header text; the rest is the data file.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <vector>

#include "core/binary_file.h"
#include "core/failure.h"
#include "formats/dt1.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace vexmor;
  const auto* nul = static_cast<const uint8_t*>(std::memchr(data, 0, size));
  const size_t textBytes = nul ? static_cast<size_t>(nul - data) : size;
  const Dt1HeaderText text = ParseDt1HeaderText(std::string_view(reinterpret_cast<const char*>(data), textBytes));
  (void)text;
  const size_t rest = nul ? size - textBytes - 1 : 0;
  BinaryFile file = BinaryFile::OverMemory(std::span<const uint8_t>(nul ? nul + 1 : data, rest), "fuzz.DT1");
  try {
    (void)LooksLikeDt1(file);
    const int32_t points = rest >= 4 ? static_cast<int32_t>(1 + (data[0] % 512)) : 16;
    const int64_t traces = std::min<int64_t>(Dt1TraceCount(file.Size(), points), 32);
    std::vector<int16_t> samples(static_cast<size_t>(points));
    for (int64_t i = 1; i <= traces; ++i) {
      bool complete = false;
      (void)ReadDt1Trace(file, i, points, &complete);
      (void)ReadDt1Samples(file, i, samples);
    }
  } catch (const RunTimeFailure&) {
  }
  return 0;
}
