#pragma once
// RAMAC ground radar profiles.
//
// Data file (.rd3): no file header, a plain run of traces, each of M signed
// 16-bit samples, low byte first. Trace i (from 1) starts at 2 x M x (i - 1).
// Nothing in the file gives the trace count; the header text does.
//
//   0            2M           4M
//   | trace 1     | trace 2     | ...        (M x int16 each)
//
// Header text (.rad, beside it): "KEYWORD:value" lines ended by CR, among
// them SAMPLES:, LAST TRACE:, TIME INTERVAL:, TIMEWINDOW:, DISTANCE INTERVAL:.
//
// The SU output has one record per trace with N = M - Z samples, Z being the
// time-zero point: output sample k is input sample k + Z - 1 (from 1), so with
// Z = 0 the first output sample is 0.0 and the last input sample is dropped.
// dt holds the sampling interval in nanoseconds x 1000.
#include <cstdint>
#include <functional>
#include <string>

#include "core/file_date.h"
#include "core/su_trace.h"

namespace vexmor {

// The numbers of one conversion, as the panel has checked them.
struct RamacConversion {
  std::string input;
  std::string output;
  int32_t traces = 0;      // T
  int32_t samples = 0;     // M, samples of an input trace
  int32_t timeZero = 0;    // Z
  int16_t dt = 0;          // D, nanoseconds x 1000
  double spacing = 0;      // P, distance between traces
  SuDateWords date;
};

// The largest values that the trace and record sizes of 16 bits allow.
inline constexpr int32_t kRamacMaxTraces = 32767;
inline constexpr int32_t kRamacMaxSamples = 16383;      // 2 x M fits
inline constexpr int32_t kRamacMaxOutputSamples = kMaxSamples16BitRecord;

// The values of a .rad header text, for a reader that only looks: each
// "KEYWORD:value" line read plainly; what is missing stays 0.
struct RamacRad {
  int32_t samples = 0;
  int32_t lastTrace = 0;
  double timeWindowNs = 0;
  double frequencyMhz = 0;
  double distanceInterval = 0;
};
RamacRad ParseRamacRad(const std::string& text);

// Why these numbers can't be converted, or an empty text when they can.
std::string RamacLimitProblem(double traces, double samples, double timeZero);

// One trace's SU samples: `trace` holds its M samples as stored, `out`
// gets the M - Z floats, low byte first.
void RamacTraceToSu(const uint8_t* trace, int32_t samples, int32_t timeZero, uint8_t* out);

// Writes the SU records over the output from its start, without emptying
// it. An input that cannot be opened, or that ends early, gives samples of
// 0. Throws RunTimeFailure when the output cannot be opened or written.
// progress(i) is called before trace i.
void ConvertRamacProfile(const RamacConversion& job, const std::function<void(int32_t)>& progress);

}  // namespace vexmor
