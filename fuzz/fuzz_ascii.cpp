// The ASCII importer's column text: the count of values, then the values
// read into as many cells as the panel would ask (the count, or a few
// more or fewer so that both ends of the cells are reached).
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "formats/column_text.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const int64_t count = vexmor::CountColumnValues(text);
  const int64_t cells = std::clamp<int64_t>(count + (size > 0 ? data[0] % 5 - 2 : 0), 0, 1 << 20);
  std::vector<float> values(static_cast<size_t>(cells));
  const int64_t read = vexmor::ReadColumnValues(text, values);
  if (read > cells || (cells >= count && read != count)) __builtin_trap();
  return 0;
}
