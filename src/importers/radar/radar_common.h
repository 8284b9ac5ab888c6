#pragma once
// What the radar panels share: the 16-bit limits of their arithmetic, and
// the small rules of their fields and prompts.
//
// The 16-bit limits of the radar importers' arithmetic. Numbers beyond them
// can't be placed in the file, so a panel refuses them before it writes
// anything, with a message that names the field and the limit.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/binary_file.h"

namespace vexmor {

struct RadarLimits {
  int32_t maxTraces;         // traces counted in 16 bits
  int32_t maxSamples;        // samples of an input trace
  int32_t maxOutputSamples;  // samples less time zero; 8131 keeps 4 x N + 240 in 16 bits
  std::string_view tracesField;   // the labels of the panel's fields
  std::string_view samplesField;
  std::string_view timeZeroField = "Time zero at point";
};

// Why these numbers can't be converted, or an empty text when they can.
// A time zero of 0 with no field of its own is always accepted.
std::string RadarLimitProblem(const RadarLimits& limits, double traces, double samples, double timeZero = 0);

// The refusal of an interval written to dt as nanoseconds x 1000: above
// 32.767 ns it does not fit, and 0 would give a file with no time axis.
// Empty when the interval fits.
std::string RadarIntervalProblem(double nanoseconds, std::string_view field);

// A number that does not fit its 16-bit field leaves it at 0, which brings
// the prompt for it.
int16_t Int16OrZero(double value);

// Cancel, or the default handed back untouched, ends the questions.
inline bool GaveUp(const std::string& answer, const std::string& preset) {
  return answer.empty() || answer == preset;
}

// The header of a record as the GSSI and ASCII importers write it: tracl
// and tracr 0, fldr 1, tracf and cdp the trace, trid, nvs and duse 1, every
// other byte up to 255 cleared (16 bytes into the samples, which are put
// in afterwards), ns, dt, and d1 = d2 = the spacing when there is one.
struct PlainTraceWords {
  int32_t trace = 0;
  int32_t cdpt = 0;
  int16_t nhs = 1;
  int16_t ns = 0;
  int16_t dt = 0;
  std::optional<float> spacing;
};
inline constexpr size_t kRecordFillBytes = 256;
// `header` holds at least kRecordFillBytes bytes.
void FillPlainTraceHeader(uint8_t* header, const PlainTraceWords& words);

// Writes a whole record but for ep (bytes 16 to 19), which these importers
// leave as the output held it.
void WriteRecordKeepingEp(BinaryFile& out, int64_t at, const uint8_t* record, size_t size);

}  // namespace vexmor
