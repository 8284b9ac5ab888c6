// ES-1225 records, found by counting back from the end of the file. The
// first four bytes are the panel's channel and sample counts (int16 each,
// low byte first); the rest is the record.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "core/binary_file.h"
#include "core/failure.h"
#include "core/su_trace.h"
#include "importers/seismograph/es1225_format.h"
#include "importers/seismograph/su_trace_writer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace vexmor;
  if (size < 4) return 0;
  const int16_t channels = GetLE16(data);
  const int32_t samples = std::max<int32_t>(1, GetLE16(data + 2) & 0x7fff);
  BinaryFile file = BinaryFile::OverMemory(std::span<const uint8_t>(data + 4, size - 4), "fuzz.ES");
  try {
    std::vector<uint8_t> raw(2 * static_cast<size_t>(samples));
    std::vector<float> out(static_cast<size_t>(samples));
    for (int t = 1; t <= std::min<int>(channels, 48); ++t) {
      if (Es1225DataStart(file.Size(), channels, samples) < kEs1225SmallestDataStart) break;
      file.Read(Es1225TraceOffset(file.Size(), channels, samples, t), raw.data(), raw.size());
      SamplesToFloat(raw.data(), SampleType::Int16, out);
    }
  } catch (const RunTimeFailure&) {
  }
  return 0;
}
