#include "importers/seismograph/ambrogeo_format.h"

#include <algorithm>

#include "core/numbers.h"
#include "core/text_reader.h"

namespace vexmor {

namespace {

// Characters from..from+width-1 (from 1) of a line; what the line lacks is
// not there.
std::string Mid(const std::string& line, size_t from, size_t width) {
  return from - 1 < line.size() ? line.substr(from - 1, width) : std::string();
}

std::string Right(const std::string& line, size_t width) {
  return line.size() <= width ? line : line.substr(line.size() - width);
}

std::optional<int16_t> Word(double value) {
  try {
    return ToInt16(value);
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

}  // namespace

std::vector<std::string> AmbrogeoProbeLines(const std::string& text) {
  LineReader reader(text);
  std::vector<std::string> lines;
  std::string line;
  while (static_cast<int>(lines.size()) < kAmbrogeoProbeLines && reader.Next(line)) lines.push_back(line);
  return lines;
}

std::string AmbrogeoProposedRate(const std::vector<std::string>& lines) {
  if (lines.size() < 8) return {};
  if (lines[7] == "12" && lines.size() >= 11) return lines[10];
  if (lines[7] == "24" && lines.size() >= 12) return lines[11];
  return {};
}

AmbrogeoDate DecodeAmbrogeoDate(const std::string& line5, const std::string& line6) {
  AmbrogeoDate date;
  date.year = Word(2000 + LeadingNumber(Right(line5, 4)));
  const double day = LeadingNumber(Mid(line5, 2, 3));
  const double month = LeadingNumber(Mid(line5, 5, 2));
  date.day = Word(month * 30 + day);
  date.hour = Word(LeadingNumber(Mid(line6, 2, 2)));
  date.minute = Word(LeadingNumber(Mid(line6, 5, 2)));
  return date;
}

AmbrogeoRecord ReadAmbrogeoRecord(std::string text, int nbSamples, std::vector<std::vector<int16_t>>& matrix) {
  AmbrogeoRecord record;
  // The header lines, then the rows from the first character of line 38.
  size_t at = 0;
  while (static_cast<int>(record.headerLines.size()) < kAmbrogeoHeaderLines && at < text.size()) {
    const size_t end = text.find_first_of("\r\n", at);
    const size_t stop = end == std::string::npos ? text.size() : end;
    record.headerLines.push_back(text.substr(at, stop - at));
    at = stop;
    if (at < text.size()) at += (text[at] == '\r' && at + 1 < text.size() && text[at + 1] == '\n') ? 2 : 1;
  }
  ValueReader values(text.substr(std::min(at, text.size())));
  text.clear();
  const size_t kept = std::min<size_t>(matrix.size(), kAmbrogeoRowValues);
  std::string field;
  for (int s = 0; s < nbSamples; ++s) {
    bool whole = true;
    for (size_t c = 0; c < static_cast<size_t>(kAmbrogeoRowValues); ++c) {
      const bool got = whole && values.Next(field);
      whole = got;
      if (c >= kept) continue;
      int16_t& cell = matrix[c][static_cast<size_t>(s)];
      if (!got) {
        cell = 0;
      } else if (const auto v = Word(LeadingNumber(field))) {
        cell = *v;
      }
    }
    if (whole) ++record.rowsRead;
  }
  return record;
}

std::string BuildAmbrogeoText(const AmbrogeoRecordContent& record) {
  const size_t samples = record.samples.empty() ? 0 : record.samples[0].size();
  std::string text;
  auto line = [&](const std::string& s) { text += s + "\r\n"; };
  line("AMBROGEO");
  line("LINE 1");
  line("SHOT 1");
  line("");
  line(record.dateLine);
  line(record.timeLine);
  line("");
  line(record.channels);
  line(std::to_string(samples));
  line("");
  line(record.rate12);
  line(record.rate24);
  line("");
  for (int c = 1; c <= kAmbrogeoRowValues; ++c) line("CH" + std::to_string(c) + ",1,0");
  for (size_t s = 0; s < samples; ++s) {
    std::string row;
    for (size_t c = 0; c < static_cast<size_t>(kAmbrogeoRowValues); ++c) {
      row += std::to_string(c < record.samples.size() ? record.samples[c][s] : 0);
      if (c + 1 < static_cast<size_t>(kAmbrogeoRowValues)) row += ",";
    }
    line(row);
  }
  return text;
}

}  // namespace vexmor
