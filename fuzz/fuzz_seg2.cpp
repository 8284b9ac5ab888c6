// SEG-2: descriptors, strings and every trace's samples, from memory.
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "seg2_format.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::span<const uint8_t> bytes(data, size);
  (void)vexmor::LooksLikeSeg2(bytes);
  try {
    const vexmor::Seg2File file = vexmor::ReadSeg2(vexmor::ByteSource::FromMemory(bytes), "fuzz");
    std::vector<float> samples;
    for (const vexmor::Seg2Trace& trace : file.traces) {
      const int64_t need = vexmor::Seg2SampleBytes(trace.format, trace.samples);
      if (need <= 0 || trace.dataOffset < 0 || trace.dataOffset + need > static_cast<int64_t>(size)) continue;
      samples.resize(static_cast<size_t>(trace.samples));
      vexmor::DecodeSeg2Samples(data + trace.dataOffset, trace.format, file.bigEndian, trace.samples, samples.data());
    }
  } catch (const vexmor::Seg2Error&) {
  }
  return 0;
}
