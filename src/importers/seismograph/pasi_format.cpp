#include "importers/seismograph/pasi_format.h"

#include <algorithm>

#include "core/numbers.h"

namespace vexmor {

size_t PasiReader::ReadTrace(std::span<float> out) {
  std::string field;
  size_t n = 0;
  for (; n < out.size() && values_.Next(field); ++n) {
    try {
      out[n] = static_cast<float>(TextToInt32(field));
    } catch (const std::exception&) {
    }
  }
  std::fill(out.begin() + static_cast<std::ptrdiff_t>(n), out.end(), 0.0f);
  return n;
}

std::string BuildPasiText(const std::vector<std::vector<double>>& traces) {
  std::string text;
  for (const auto& trace : traces) {
    for (size_t j = 0; j < trace.size(); ++j) {
      text += ShortestText(trace[j]);
      text += (j % 8 == 7 || j + 1 == trace.size()) ? "\r\n" : ",";
    }
  }
  return text;
}

}  // namespace vexmor
