#include "importers/radar/dzt_words.h"

#include <vector>

#include "core/numbers.h"
#include "core/su_trace.h"

namespace vexmor {

DztWordsLayout ReadDztWordsLayout(BinaryFile& file) {
  DztWordsLayout layout;
  layout.samplesPerScan = file.ReadI16(4);
  layout.bits = file.ReadI16(6);
  layout.words = static_cast<int16_t>(RoundHalfEven(layout.samplesPerScan / 2.0));
  layout.width = layout.bits == 16 ? 2 : 1;
  // M x B is a 16-bit product in the trace count.
  const int32_t product = int32_t{layout.words} * layout.bits;
  if (product < -32768 || product > 32767) return layout;
  const double traceBytes = product / 4.0;
  if (traceBytes == 0) return layout;
  const double traces = RoundHalfEven(static_cast<double>(file.Size() - kDztWordsHeaderBytes) / traceBytes);
  if (traces >= -32768 && traces <= 32767) layout.traces = static_cast<int64_t>(traces);
  return layout;
}

size_t ReadDztWords(BinaryFile& file, int64_t i, int width, std::span<int32_t> values) {
  const size_t wordBytes = 2 * static_cast<size_t>(width);  // two samples of the file
  std::vector<uint8_t> bytes(values.size() * wordBytes);
  const size_t got = file.Read(DztWordsTraceOffset(i, static_cast<int64_t>(values.size()), width), bytes.data(),
                               bytes.size());
  for (size_t k = 0; k < values.size(); ++k) {
    values[k] = width == 2 ? GetLE32(bytes.data() + 4 * k) : GetLE16(bytes.data() + 2 * k);
  }
  return got / wordBytes;
}

}  // namespace vexmor
