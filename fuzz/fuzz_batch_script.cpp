// The batch runner's parser: lines and words of any script text. Nothing is
// run; the runner itself starts programs.
#include <cstddef>
#include <cstdint>
#include <string>

#include "tools/bat/batch.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  for (const std::string& line : vexmor::bat::ScriptLines(text)) {
    (void)vexmor::bat::SplitWords(line);
  }
  return 0;
}
