// SU files: detection and the layout the tools and the viewer take from the
// first trace header.
#include <cstddef>
#include <cstdint>
#include <span>

#include "core/binary_file.h"
#include "formats/su.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace vexmor;
  const std::span<const uint8_t> bytes(data, size);
  (void)LooksLikeSu(bytes, static_cast<int64_t>(size), true);
  (void)LooksLikeSu(bytes, static_cast<int64_t>(size), false);
  BinaryFile file = BinaryFile::OverMemory(bytes, "fuzz");
  try {
    (void)ReadSuLayout(file);
  } catch (const FormatError&) {
  }
  return 0;
}
