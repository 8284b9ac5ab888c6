#pragma once
// The layout of a record for the generic importer, as the user describes it:
//
//   | file header | th | trace 1 | th | trace 2 | ... | th | trace N |
//
// th is the trace header (traceHeaderSize bytes), each trace nbSamples
// samples of SampleBytes(type) bytes. Nothing of the file itself is read
// but its size, which the header fit uses.
#include <cstdint>

#include "importers/seismograph/su_trace_writer.h"

namespace vexmor {

struct GenericRecordLayout {
  int16_t nbChannels = 0;
  int32_t nbSamples = 0;
  int16_t sampleInterval = 0;
  int16_t nbFiles = 0;
  double fileHeaderSize = 0;
  double traceHeaderSize = 0;
  SampleType type = SampleType::Int32;
};

// Bytes of the traces and their headers, the file header left out. The
// fit reckons 4 bytes a sample for any type but 16-bit integers.
double GenericTracesBytes(bool int16Samples, double nbSamples, double traceHeaderSize, double nbChannels);

// The file header that makes the layout fill a file of that size: the
// size less the traces' bytes (negative when the traces alone are larger).
double GenericHeaderFit(double fileSize, double tracesBytes);

// Offset of trace t's first sample (from 0; t from 1), not yet checked.
double GenericTraceOffset(const GenericRecordLayout& layout, int t);

}  // namespace vexmor
