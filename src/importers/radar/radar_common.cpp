#include "importers/radar/radar_common.h"

#include <algorithm>
#include <cmath>

#include "core/failure.h"
#include "core/numbers.h"
#include "core/paths.h"
#include "core/su_trace.h"

namespace vexmor {

std::string RadarLimitProblem(const RadarLimits& limits, double traces, double samples, double timeZero) {
  const std::string tracesField(limits.tracesField), samplesField(limits.samplesField);
  if (!(traces >= 1 && traces <= limits.maxTraces)) {
    return tracesField + " must be from 1 to " + std::to_string(limits.maxTraces);
  }
  if (!(samples >= 1 && samples <= limits.maxSamples)) {
    return samplesField + " must be from 1 to " + std::to_string(limits.maxSamples);
  }
  if (!(timeZero >= 0 && timeZero < samples)) {
    return std::string(limits.timeZeroField) + " must be from 0 to" + NumberText(samples - 1);
  }
  if (samples - timeZero > limits.maxOutputSamples) {
    return "At most " + std::to_string(limits.maxOutputSamples) + " samples per output trace: " + samplesField +
           " less " + std::string(limits.timeZeroField) + " gives" + NumberText(samples - timeZero);
  }
  return {};
}

std::string RadarIntervalProblem(double nanoseconds, std::string_view field) {
  const double dt = RoundHalfEven(nanoseconds * 1000);
  if (dt >= 1 && dt <= 32767) return {};
  return std::string(field) + " must be above 0 and at most 32.767 ns (dt holds nanoseconds x 1000 in 16 bits)";
}

int16_t Int16OrZero(double value) {
  try {
    return ToInt16(value);
  } catch (const RunTimeFailure&) {
    return 0;
  }
}

void FillPlainTraceHeader(uint8_t* h, const PlainTraceWords& w) {
  std::fill(h, h + kRecordFillBytes, uint8_t{0});
  SetWord(h, SuWordNamed("fldr"), 1);
  SetWord(h, SuWordNamed("tracf"), w.trace);
  SetWord(h, SuWordNamed("cdp"), w.trace);
  SetWord(h, SuWordNamed("cdpt"), w.cdpt);
  SetWord(h, SuWordNamed("trid"), 1);
  SetWord(h, SuWordNamed("nvs"), 1);
  SetWord(h, SuWordNamed("nhs"), w.nhs);
  SetWord(h, SuWordNamed("duse"), 1);
  SetWord(h, SuWordNamed("ns"), w.ns);
  SetWord(h, SuWordNamed("dt"), w.dt);
  if (w.spacing) {
    PutLEFloat(h + SuWordNamed("d1").offset, *w.spacing);
    PutLEFloat(h + SuWordNamed("d2").offset, *w.spacing);
  }
}

void WriteRecordKeepingEp(BinaryFile& out, int64_t at, const uint8_t* record, size_t size) {
  constexpr size_t kEp = 16;
  out.Write(at, record, kEp);
  out.Write(at + kEp + 4, record + kEp + 4, size - kEp - 4);
}

}  // namespace vexmor
