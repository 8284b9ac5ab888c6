// McSeis 3 records: the sample interval, the one field the panel reads.
#include <cstddef>
#include <cstdint>
#include <span>

#include "core/binary_file.h"
#include "core/failure.h"
#include "importers/seismograph/handy_viewer_format.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  vexmor::BinaryFile file = vexmor::BinaryFile::OverMemory(std::span<const uint8_t>(data, size), "fuzz.DAT");
  try {
    (void)vexmor::ReadMcSeis3Interval(file);
  } catch (const vexmor::RunTimeFailure&) {
  }
  return 0;
}
