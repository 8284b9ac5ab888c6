#pragma once
// PASI LCM-12 record (.asc): ASCII numbers separated by commas or line ends,
// no header. The traces stand one after the other, M values each. A value
// is taken by the leading-number rule and rounded half to even to a 32-bit
// whole number before it becomes a float, so a fraction in the file is lost
// (12.5 -> 12, 13.5 -> 14).
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "core/text_reader.h"

namespace vexmor {

class PasiReader {
 public:
  explicit PasiReader(std::string text) : values_(std::move(text)) {}
  // The next out.size() values. Past the end of the text the samples are 0;
  // a value past 32 bits leaves its sample as it was. Gives how many values
  // the text still had.
  size_t ReadTrace(std::span<float> out);

 private:
  ValueReader values_;
};

// A record in this layout, for the sample generator and the tests: the
// values of each trace, eight to a line.
std::string BuildPasiText(const std::vector<std::vector<double>>& traces);

}  // namespace vexmor
