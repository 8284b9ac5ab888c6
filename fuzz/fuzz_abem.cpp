// ABEM Mark 3 records: the header lines and fixed fields, then every trace
// that the channel count and the file's size describe.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "core/binary_file.h"
#include "core/failure.h"
#include "core/numbers.h"
#include "importers/seismograph/abem_format.h"
#include "importers/seismograph/su_trace_writer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace vexmor;
  BinaryFile file = BinaryFile::OverMemory(std::span<const uint8_t>(data, size), "fuzz.ABM");
  try {
    (void)ReadAbemDateTime(file);
  } catch (const RunTimeFailure&) {
  }
  try {
    const AbemHeaderLines lines = ReadAbemHeaderLines(file);
    (void)TextToInt16(lines.intervalLine);
    const int16_t channels = TextToInt16(lines.channelsLine);
    const int32_t samples = AbemSamplesPerTrace(file.Size(), channels);
    // The panel reads at most 32767 samples a trace; a few channels are enough.
    const size_t limit = static_cast<size_t>(std::clamp<int32_t>(samples, 1, 32767));
    std::vector<uint8_t> raw(2 * limit);
    std::vector<float> out(limit);
    for (int t = 1; t <= std::min<int>(channels, 48); ++t) {
      file.Read(AbemTraceOffset(t, samples), raw.data(), raw.size());
      SamplesToFloat(raw.data(), SampleType::Int16, out);
    }
  } catch (const RunTimeFailure&) {
  }
  return 0;
}
