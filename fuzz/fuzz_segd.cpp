// SEG-D (rev 1 to 3): general headers, channel sets, trace headers and
// samples, trace by trace from memory.
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "core/binary_file.h"
#include "formats/segd.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace vexmor;
  const std::span<const uint8_t> bytes(data, size);
  (void)LooksLikeSegd(bytes);
  BinaryFile file = BinaryFile::OverMemory(bytes, "fuzz");
  try {
    SegdReader reader(file);
    SegdTrace trace;
    std::vector<float> samples;
    for (int n = 0; n < 256 && reader.Next(trace); ++n) {
      // The samples read lie inside the file; a trace cut short is padded
      // only up to an SU trace's length.
      if (trace.ns < 1 || trace.ns > 65535) __builtin_trap();
      if (trace.presentBytes < 0 || trace.presentBytes > trace.sampleBytes) __builtin_trap();
      if (trace.ownNs == trace.ns || trace.ownNs < 0) __builtin_trap();
      if (trace.presentBytes > 0 && trace.samplesOffset + trace.presentBytes > static_cast<int64_t>(size)) {
        __builtin_trap();
      }
      samples.resize(static_cast<size_t>(trace.ns));
      reader.ReadSamples(samples.data());
    }
  } catch (const FormatError&) {
  }
  return 0;
}
