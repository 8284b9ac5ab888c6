// SEG-Y: reel headers in either byte order, every sample format, each trace
// to SU, from memory.
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "core/binary_file.h"
#include "formats/segy.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace vexmor;
  const std::span<const uint8_t> bytes(data, size);
  (void)segy::LooksLikeSegy(bytes.first(std::min<size_t>(size, 3600)));
  // The first byte picks what a user may force, so those paths are taken too.
  segy::SegyOptions options;
  if (size > 0 && (data[0] & 1)) options.endian = (data[0] >> 1) & 1;
  if (size > 0 && (data[0] & 4)) {
    options.over = 1;
    options.format = (data[0] >> 3) & 15;
  }
  BinaryFile file = BinaryFile::OverMemory(bytes, "fuzz");
  try {
    const segy::SegyLayout layout = segy::ReadSegyLayout(file, options);
    if (layout.traceBytes <= 0 || layout.ns <= 0 || layout.ns > 65535) return 0;
    std::vector<uint8_t> in(static_cast<size_t>(layout.traceBytes));
    std::vector<uint8_t> out(240 + 4 * static_cast<size_t>(layout.ns));
    const int64_t traces = std::min<int64_t>(layout.WholeTraces(), 64);
    for (int64_t i = 0; i < traces; ++i) {
      file.Read(layout.firstTrace + i * layout.traceBytes, in.data(), in.size());
      segy::SegyTraceToSu(layout, (i & 1) == 0, in.data(), out.data());
    }
  } catch (const FormatError&) {
  }
  return 0;
}
