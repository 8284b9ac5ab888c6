// Bison 5000 records: the header parser, then every trace the header's
// numbers describe, decoded from memory.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "core/binary_file.h"
#include "core/failure.h"
#include "core/numbers.h"
#include "importers/seismograph/bison_format.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  vexmor::BinaryFile file = vexmor::BinaryFile::OverMemory(std::span<const uint8_t>(data, size), "fuzz");
  try {
    const vexmor::BisonHeader header = vexmor::ParseBisonHeader(file);
    const int channels = std::clamp<int>(vexmor::TextToInt16(header.fields[vexmor::kBisonChannelsField]), 0, 64);
    const int32_t samples = std::clamp(vexmor::TextToInt32(header.fields[vexmor::kBisonSamplesField]), 1, 4096);
    const int16_t words = vexmor::BisonTraceWords(samples);
    std::vector<uint8_t> raw(2 * static_cast<size_t>(std::max<int16_t>(words, 0)));
    std::vector<float> out(static_cast<size_t>(samples));
    for (int t = 1; t <= channels; ++t) {
      file.Read(vexmor::BisonTraceOffset(static_cast<double>(header.headerSize), t, words), raw.data(), raw.size());
      vexmor::DecodeBisonTrace(raw.data(), words, out);
    }
  } catch (const vexmor::RunTimeFailure&) {
  }
  return 0;
}
