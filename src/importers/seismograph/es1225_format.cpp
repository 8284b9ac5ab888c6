#include "importers/seismograph/es1225_format.h"

#include "core/su_trace.h"

namespace vexmor {

int64_t Es1225BlockSize(int32_t nbSamples) { return 2 * static_cast<int64_t>(nbSamples) + kEs1225BlockExtra; }

int64_t Es1225DataStart(int64_t fileSize, int16_t nbChannels, int32_t nbSamples) {
  return fileSize - nbChannels * Es1225BlockSize(nbSamples) - 1;
}

int64_t Es1225TraceOffset(int64_t fileSize, int16_t nbChannels, int32_t nbSamples, int t) {
  return Es1225DataStart(fileSize, nbChannels, nbSamples) - 1 + (t - 1) * Es1225BlockSize(nbSamples);
}

std::vector<uint8_t> BuildEs1225Record(const std::vector<std::vector<int16_t>>& traces, int64_t headerBytes) {
  std::vector<uint8_t> out(static_cast<size_t>(headerBytes), 0);
  // The header text is not read; a SEG-1 style mark makes the file easy to
  // recognise in a dump.
  const char mark[] = "ES-1225 SEG-1";
  for (size_t i = 0; i + 1 < sizeof mark && i < out.size(); ++i) out[i] = static_cast<uint8_t>(mark[i]);
  for (size_t t = 0; t < traces.size(); ++t) {
    for (int16_t v : traces[t]) {
      uint8_t le[2];
      PutLE16(le, v);
      out.insert(out.end(), le, le + 2);
    }
    // The 48 bytes behind the samples: the trace's number, then zeros.
    std::vector<uint8_t> extra(kEs1225BlockExtra, 0);
    PutLE16(extra.data(), static_cast<int16_t>(t + 1));
    out.insert(out.end(), extra.begin(), extra.end());
  }
  out.insert(out.end(), 2, uint8_t{0});
  return out;
}

}  // namespace vexmor
