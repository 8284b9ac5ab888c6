// The generic importer: the header fit from the file's size, then the
// traces at the offsets the layout gives. The first 12 bytes are the
// panel's numbers, low byte first: channels (int16), samples (int32),
// trace header bytes (int16), file header bytes (int16, -1 to take the
// fit), sample type (one byte), one byte spare; the rest is the record.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "core/binary_file.h"
#include "core/failure.h"
#include "core/numbers.h"
#include "core/su_trace.h"
#include "importers/seismograph/generic_layout.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace vexmor;
  if (size < 12) return 0;
  GenericRecordLayout layout;
  layout.nbChannels = GetLE16(data);
  layout.nbSamples = GetLE32(data + 2);
  layout.traceHeaderSize = GetLE16(data + 6);
  const int16_t fileHeader = GetLE16(data + 8);
  layout.type = static_cast<SampleType>(data[10] % 4);
  BinaryFile file = BinaryFile::OverMemory(std::span<const uint8_t>(data + 12, size - 12), "fuzz.rec");

  const double traces = GenericTracesBytes(layout.type == SampleType::Int16, layout.nbSamples,
                                           layout.traceHeaderSize, layout.nbChannels);
  layout.fileHeaderSize = fileHeader == -1 ? GenericHeaderFit(static_cast<double>(file.Size()), traces) : fileHeader;
  if (!std::isfinite(layout.fileHeaderSize) || layout.nbSamples <= 0) return 0;
  // The panel's arrays stop at 32767 samples.
  const size_t inUse = static_cast<size_t>(std::min(layout.nbSamples, 32767));
  std::vector<uint8_t> raw(inUse * static_cast<size_t>(SampleBytes(layout.type)));
  std::vector<float> out(inUse);
  try {
    // The first few traces and the last, whose offset is the largest.
    for (int t = 1; t <= layout.nbChannels; t = t < 4 ? t + 1 : std::max<int>(t + 1, layout.nbChannels)) {
      const int32_t position = ToInt32(GenericTraceOffset(layout, t) + 1);
      if (position <= 0) break;
      if (!raw.empty()) file.Read(position - 1, raw.data(), raw.size());
      SamplesToFloat(raw.data(), layout.type, out);
    }
  } catch (const RunTimeFailure&) {
  }
  return 0;
}
