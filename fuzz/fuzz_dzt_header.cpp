// GSSI DZT: the header and what it says of the scans, from memory.
#include <cstddef>
#include <cstdint>

#include "dzt_format.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  try {
    const vexmor::DztHeader header = vexmor::ParseDztHeader(data, size, static_cast<int64_t>(size), "fuzz");
    if (header.scans < 0 || header.headerBytes < 0 || header.headerBytes > static_cast<int64_t>(size)) __builtin_trap();
  } catch (const vexmor::DztError&) {
  }
  return 0;
}
