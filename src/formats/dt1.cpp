#include "formats/dt1.h"

#include <charconv>
#include <cmath>
#include <cstring>

#include "core/su_trace.h"

namespace vexmor {

namespace {

constexpr Dt1TraceField kTraceFields[] = {
    {0, 4, "trace number"},   {4, 4, "position"},        {8, 4, "points per trace"},
    {12, 4, "topography"},    {20, 4, "bytes per point"}, {24, 4, "time window"},
    {28, 4, "stacks"},        {32, 8, "gps x"},           {40, 8, "gps y"},
    {48, 8, "gps z"},         {56, 4, "receiver x"},      {60, 4, "receiver y"},
    {64, 4, "receiver z"},    {68, 4, "transmitter x"},   {72, 4, "transmitter y"},
    {76, 4, "transmitter z"}, {80, 4, "time zero adjustment"}, {84, 4, "zero flag"},
    {88, 4, "channels"},      {92, 4, "time of day"},     {96, 4, "comment flag"},
};

std::string_view Trim(std::string_view s) {
  const size_t b = s.find_first_not_of(" \t");
  if (b == std::string_view::npos) return {};
  return s.substr(b, s.find_last_not_of(" \t") - b + 1);
}

std::string Upper(std::string_view s) {
  std::string u(s);
  for (char& c : u) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return u;
}

std::optional<double> NumberOf(std::string_view value) {
  double v = 0;
  if (!value.empty() && value.front() == '+') value.remove_prefix(1);
  const auto [end, ec] = std::from_chars(value.data(), value.data() + value.size(), v);
  if (ec != std::errc() || end == value.data() || !std::isfinite(v)) return std::nullopt;
  return v;
}

double FieldValue(const uint8_t* header, const Dt1TraceField& field) {
  if (field.width == 8) {
    double d;
    std::memcpy(&d, header + field.offset, 8);  // little-endian host
    return d;
  }
  return GetLEFloat(header + field.offset);
}

}  // namespace

Dt1HeaderText ParseDt1HeaderText(std::string_view text) {
  Dt1HeaderText h;
  size_t at = 0;
  while (at < text.size()) {
    size_t end = text.find_first_of("\r\n", at);
    if (end == std::string_view::npos) end = text.size();
    const std::string_view line = text.substr(at, end - at);
    at = end + 1;
    const size_t eq = line.find('=');
    if (eq == std::string_view::npos) continue;
    const std::string key = Upper(Trim(line.substr(0, eq)));
    const std::string_view value = Trim(line.substr(eq + 1));
    if (key.empty()) continue;
    h.entries.emplace(key, std::string(value));
    const auto number = NumberOf(value);
    if (key == "NUMBER OF TRACES") h.traces = number;
    else if (key == "NUMBER OF PTS/TRC") h.pointsPerTrace = number;
    else if (key == "TIMEZERO AT POINT") h.timeZero = number;
    else if (key == "TOTAL TIME WINDOW") h.timeWindow = number;
    else if (key == "STARTING POSITION") h.startPosition = number;
    else if (key == "FINAL POSITION") h.finalPosition = number;
    else if (key == "STEP SIZE USED") h.stepSize = number;
  }
  return h;
}

std::string Dt1HeaderPath(const std::string& dt1Path) {
  if (dt1Path.size() < 3) return "HD";
  return dt1Path.substr(0, dt1Path.size() - 3) + "HD";
}

std::span<const Dt1TraceField> Dt1TraceFields() { return kTraceFields; }

int64_t Dt1TraceCount(int64_t fileSize, int64_t points) {
  if (points < 1 || fileSize <= 0) return 0;
  return fileSize / (kDt1TraceHeaderBytes + 2 * points);
}

size_t ReadDt1Samples(BinaryFile& file, int64_t i, std::span<int16_t> samples) {
  const int64_t points = static_cast<int64_t>(samples.size());
  std::vector<uint8_t> bytes(samples.size() * 2);
  const size_t got = i >= 1 ? file.Read(Dt1SamplesOffset(i, points), bytes.data(), bytes.size()) : 0;
  for (size_t k = 0; k < samples.size(); ++k) samples[k] = GetLE16(bytes.data() + 2 * k);
  return got / 2;
}

Dt1Trace ReadDt1Trace(BinaryFile& file, int64_t i, int32_t points, bool* complete) {
  Dt1Trace trace;
  uint8_t header[kDt1TraceHeaderBytes] = {};
  const int64_t at = Dt1SamplesOffset(i, points) - kDt1TraceHeaderBytes;
  const size_t gotHeader = i >= 1 && points >= 0 ? file.Read(at, header, sizeof header) : 0;
  for (const Dt1TraceField& f : kTraceFields) trace.header[f.name] = FieldValue(header, f);
  trace.samples.resize(points > 0 ? static_cast<size_t>(points) : 0);
  const size_t gotSamples = ReadDt1Samples(file, i, trace.samples);
  if (complete) *complete = gotHeader == sizeof header && gotSamples == trace.samples.size();
  return trace;
}

bool LooksLikeDt1(BinaryFile& file) {
  uint8_t header[kDt1TraceHeaderBytes] = {};
  if (file.Size() < kDt1TraceHeaderBytes || file.Read(0, header, sizeof header) != sizeof header) return false;
  const float number = GetLEFloat(header);
  const float points = GetLEFloat(header + 8);
  const float bytesPerPoint = GetLEFloat(header + 20);
  if (number != 1.0f || !(points >= 1 && points <= 1e6) || points != std::floor(points)) return false;
  if (bytesPerPoint != 2.0f) return false;
  return file.Size() >= kDt1TraceHeaderBytes + 2 * static_cast<int64_t>(points);
}

}  // namespace vexmor
