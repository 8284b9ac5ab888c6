#include "importers/radar/ramac_format.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <optional>
#include <vector>

#include "core/binary_file.h"
#include "core/numbers.h"
#include "core/paths.h"
#include "core/su_trace.h"
#include "importers/radar/radar_common.h"

namespace vexmor {

namespace {

// Header bytes that a trace writes: 0 to 183 (the words up to d1, with 88 to
// 179 cleared) and d2 at 188. Bytes 184 to 187 and 192 to 239 keep what the
// output held.
constexpr size_t kFrontBytes = 184;
constexpr int kD2Offset = 188;

void FillHeader(SuHeader& h, const RamacConversion& job, int32_t i, int32_t x) {
  for (const char* word : {"tracl", "tracr", "tracf", "cdp", "cdpt"}) h.Set(word, i);
  h.Set("fldr", 1);
  for (const char* word : {"ep", "offset", "sx", "gx"}) h.Set(word, x);
  h.Set("trid", 1);
  h.Set("nhs", 95);  // the mark of a radar trace
  h.Set("scalco", 1);
  h.Set("ns", job.samples - job.timeZero);
  h.Set("dt", job.dt);
  h.Set("year", job.date.year);
  h.Set("day", job.date.day);
  h.Set("hour", job.date.hour);
  h.Set("minute", job.date.minute);
  // A spacing beyond the range of a float leaves both words at 0.
  const double spacing = std::fabs(job.spacing) <= std::numeric_limits<float>::max() ? job.spacing : 0.0;
  h.Set("d1", spacing);
  h.Set("d2", spacing);
}

}  // namespace

std::string RamacLimitProblem(double traces, double samples, double timeZero) {
  static constexpr RadarLimits kLimits{kRamacMaxTraces, kRamacMaxSamples, kRamacMaxOutputSamples,
                                       "Number of channel", "Samples per trace"};
  return RadarLimitProblem(kLimits, traces, samples, timeZero);
}

void RamacTraceToSu(const uint8_t* trace, int32_t samples, int32_t timeZero, uint8_t* out) {
  const int32_t n = samples - timeZero;
  for (int32_t k = 1; k <= n; ++k) {
    const int32_t source = k + timeZero - 1;  // from 1; 0 does not exist
    const float value = source >= 1 ? static_cast<float>(GetLE16(trace + 2 * (source - 1))) : 0.0f;
    PutLEFloat(out + 4 * (k - 1), value);
  }
}

void ConvertRamacProfile(const RamacConversion& job, const std::function<void(int32_t)>& progress) {
  const int32_t m = job.samples;
  const int32_t n = job.samples - job.timeZero;
  std::vector<uint8_t> input(static_cast<size_t>(m) * 2, 0);
  std::vector<uint8_t> floats(static_cast<size_t>(n) * 4, 0);
  const int64_t recordSize = int64_t{kSuHeaderBytes} + int64_t{4} * n;

  BinaryFile out(job.output, BinaryFile::Mode::Update);
  std::optional<BinaryFile> in;
  try {
    in.emplace(job.input, BinaryFile::Mode::Read);
  } catch (const std::exception&) {
    // Unreadable input: the traces are written with samples of 0.
  }

  SuHeader header;
  int32_t x = 0;
  for (int32_t i = 1; i <= job.traces; ++i) {
    if (progress) progress(i);
    try {
      x = ToInt32((i - 1) * job.spacing);
    } catch (const std::exception&) {
      // A distance too large for its word keeps the one before.
    }
    if (in) {
      try {
        in->Read(int64_t{2} * m * (i - 1), input.data(), input.size());
      } catch (const std::exception&) {
        // An input that fails part way (a folder, a disk error) gives 0 from there on.
        in.reset();
        std::fill(input.begin(), input.end(), uint8_t{0});
      }
    }
    RamacTraceToSu(input.data(), m, job.timeZero, floats.data());
    const int64_t at = recordSize * (i - 1);
    // Samples first: the file is then long enough for the header's unwritten
    // bytes to read as 0.
    out.Write(at + kSuHeaderBytes, floats.data(), floats.size());
    FillHeader(header, job, i, x);
    out.Write(at, header.Data(), kFrontBytes);
    out.Write(at + kD2Offset, header.Data() + kD2Offset, 4);
  }
  out.Close();
}

RamacRad ParseRamacRad(const std::string& text) {
  RamacRad rad;
  size_t at = 0;
  while (at < text.size()) {
    size_t end = text.find_first_of("\r\n", at);
    if (end == std::string::npos) end = text.size();
    const std::string line = text.substr(at, end - at);
    at = end + 1;
    const size_t colon = line.find(':');
    if (colon == std::string::npos) continue;
    const std::string key = line.substr(0, colon);
    const double value = std::strtod(line.c_str() + colon + 1, nullptr);
    if (!std::isfinite(value)) continue;
    if (key == "SAMPLES") rad.samples = static_cast<int32_t>(std::clamp(value, 0.0, 1e9));
    if (key == "LAST TRACE") rad.lastTrace = static_cast<int32_t>(std::clamp(value, 0.0, 2e9));
    if (key == "TIMEWINDOW") rad.timeWindowNs = value;
    if (key == "FREQUENCY") rad.frequencyMhz = value;
    if (key == "DISTANCE INTERVAL") rad.distanceInterval = value;
  }
  return rad;
}

}  // namespace vexmor
