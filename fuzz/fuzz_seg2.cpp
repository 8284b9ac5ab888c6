// SEG-2: descriptors, strings and every trace's samples, from memory.
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "core/binary_file.h"
#include "formats/seg2.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::span<const uint8_t> bytes(data, size);
  (void)vexmor::LooksLikeSeg2(bytes);
  try {
    vexmor::BinaryFile source = vexmor::BinaryFile::OverMemory(bytes, "fuzz");
    const vexmor::Seg2File file = vexmor::ReadSeg2(source);
    std::vector<float> samples;
    // Traces never share bytes: what they hold fits in the file, so the
    // output can't be copies of one trace.
    int64_t held = 0;
    for (const vexmor::Seg2Trace& trace : file.traces) held += trace.descriptorBytes + trace.presentBytes;
    if (held > static_cast<int64_t>(size)) __builtin_trap();
    for (const vexmor::Seg2Trace& trace : file.traces) {
      samples.resize(static_cast<size_t>(trace.samples));
      vexmor::ReadSeg2Trace(source, file, trace, samples.data());
    }
  } catch (const vexmor::Seg2Error&) {
  }
  return 0;
}
