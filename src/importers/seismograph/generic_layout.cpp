#include "importers/seismograph/generic_layout.h"

namespace vexmor {

double GenericTracesBytes(bool int16Samples, double nbSamples, double traceHeaderSize, double nbChannels) {
  const double b = int16Samples ? 2 : 4;
  return (b * nbSamples + traceHeaderSize) * nbChannels;
}

double GenericHeaderFit(double fileSize, double tracesBytes) { return fileSize - tracesBytes; }

double GenericTraceOffset(const GenericRecordLayout& layout, int t) {
  return layout.fileHeaderSize + t * layout.traceHeaderSize +
         (t - 1.0) * layout.nbSamples * SampleBytes(layout.type);
}

}  // namespace vexmor
