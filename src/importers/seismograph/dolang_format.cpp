#include "importers/seismograph/dolang_format.h"

#include <algorithm>

#include "core/failure.h"
#include "core/numbers.h"
#include "core/text_reader.h"

namespace vexmor {

std::vector<std::string> ReadAdtFields(std::string text) {
  std::vector<std::string> fields(kAdtFields + 1);
  ValueReader reader(std::move(text));
  for (int k = 1; k <= kAdtFields && reader.Next(fields[static_cast<size_t>(k)]); ++k) {
  }
  return fields;
}

int16_t AdtNumber(const std::string& field) { return TextToInt16(field); }

int16_t DolangInterval(int16_t recordingTimeMs, int16_t samples) {
  if (samples == 0) throw RunTimeFailure(FailureCode::DivisionByZero, "the info file gives no samples per trace");
  return ToInt16(static_cast<double>(recordingTimeMs) / samples * 1000.0);
}

size_t ReadChannelTrace(std::string text, std::span<float> out) {
  ValueReader reader(std::move(text));
  std::string field;
  size_t n = 0;
  for (; n < out.size() && reader.Next(field); ++n) out[n] = static_cast<float>(LeadingNumber(field));
  std::fill(out.begin() + static_cast<std::ptrdiff_t>(n), out.end(), 0.0f);
  return n;
}

std::string BuildAdtText(int channels, int records, int recordingTimeMs, int samples) {
  // Fields 1-4: shot name, date, time, instrument; 7: a gain mode; 10-18:
  // filters, delays and the like.
  const std::vector<std::string> fields = {
      "\"SHOT\"", "\"01-03-99\"", "\"10:15:00\"", "\"DOLANG\"", std::to_string(channels), std::to_string(records),
      "\"FIXED\"", std::to_string(recordingTimeMs), std::to_string(samples), "0", "0", "50", "0", "250", "0",
      "1", "0", "0"};
  std::string text;
  for (size_t k = 0; k < fields.size(); ++k) text += fields[k] + (k % 6 == 5 ? "\r\n" : ",");
  return text;
}

std::string BuildChannelText(std::span<const int32_t> samples) {
  std::string text;
  for (size_t j = 0; j < samples.size(); ++j) text += std::to_string(samples[j]) + (j % 8 == 7 ? "\r\n" : ",");
  if (!text.empty() && text.back() == ',') {
    text.pop_back();
    text += "\r\n";
  }
  return text;
}

}  // namespace vexmor
