// The panel-script parser: any text splits into lines or one error line.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "panels/script.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  for (const vexmor::ScriptLine& line : vexmor::ParseScript(text)) {
    if (!line.error.empty() && !line.words.empty()) __builtin_trap();
  }
  return 0;
}
