// OYO records: the text block whose fields reach every trace header.
#include <cstddef>
#include <cstdint>
#include <span>

#include "core/binary_file.h"
#include "core/failure.h"
#include "importers/seismograph/oyo_format.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  vexmor::BinaryFile file = vexmor::BinaryFile::OverMemory(std::span<const uint8_t>(data, size), "fuzz");
  try {
    (void)vexmor::ReadOyoTextBlock(file);
  } catch (const vexmor::RunTimeFailure&) {
  }
  return 0;
}
