#include "importers/seismograph/abem_format.h"

#include <algorithm>

#include "core/binary_file.h"
#include "core/failure.h"
#include "core/numbers.h"
#include "core/su_trace.h"

namespace vexmor {

namespace {

// Only the start of a line is ever used (its leading number): a file with
// no line ends, however large, must not be held in memory.
constexpr size_t kLineKept = 4096;

// Lines of the file from its start, up to `wanted` of them; the file is
// read in blocks, so a record of any size costs only its first lines.
std::vector<std::string> FirstLines(BinaryFile& file, int wanted) {
  std::vector<std::string> lines;
  std::string line;
  std::vector<char> block(8192);
  bool afterCr = false;
  for (int64_t at = 0; at < file.Size() && static_cast<int>(lines.size()) < wanted;) {
    const size_t got = file.Read(at, block.data(), block.size());
    const size_t n = static_cast<size_t>(std::min<int64_t>(static_cast<int64_t>(got), file.Size() - at));
    for (size_t i = 0; i < n && static_cast<int>(lines.size()) < wanted; ++i) {
      const char c = block[i];
      if (afterCr && c == '\n') {
        afterCr = false;
        continue;
      }
      afterCr = c == '\r';
      if (c == '\r' || c == '\n') {
        lines.push_back(std::move(line));
        line.clear();
      } else if (line.size() < kLineKept) {
        line.push_back(c);
      }
    }
    at += static_cast<int64_t>(block.size());
  }
  // A last line without its end still counts, as a text reader gives it.
  if (static_cast<int>(lines.size()) < wanted && !line.empty()) lines.push_back(std::move(line));
  return lines;
}

std::string Field(const std::vector<uint8_t>& bytes, size_t from, size_t width) {
  std::string text(width, ' ');
  for (size_t i = 0; i < width && from + i < bytes.size(); ++i) text[i] = static_cast<char>(bytes[from + i]);
  return text;
}

int Number(const std::string& text) { return static_cast<int>(ToInt16(LeadingNumber(text))); }

void PutText(std::vector<uint8_t>& out, size_t at, const std::string& text, size_t width) {
  for (size_t i = 0; i < width; ++i) out[at + i] = static_cast<uint8_t>(i < text.size() ? text[i] : ' ');
}

}  // namespace

AbemHeaderLines ReadAbemHeaderLines(BinaryFile& file) {
  const std::vector<std::string> lines = FirstLines(file, kAbemChannelsLine);
  if (static_cast<int>(lines.size()) < kAbemChannelsLine) {
    throw RunTimeFailure(FailureCode::PastEndOfFile,
                         file.Path() + ": the header has " + std::to_string(lines.size()) + " lines, 113 expected");
  }
  return {lines[kAbemIntervalLine - 1], lines[kAbemChannelsLine - 1]};
}

int32_t AbemSamplesPerTrace(int64_t fileSize, int16_t channels) {
  if (channels == 0) throw RunTimeFailure(FailureCode::DivisionByZero, "no channel count");
  return ToInt32(static_cast<double>(fileSize - kAbemDataStart) / channels / 2.0);
}

int64_t AbemTraceOffset(int t, int32_t nbSamples) {
  return ToInt32(static_cast<double>(kAbemDataStart) + (t - 1) * 2.0 * nbSamples);
}

AbemDateTime DecodeAbemDateTime(const std::vector<uint8_t>& fixed) {
  const std::string date = Field(fixed, 23, 8);
  const std::string time = Field(fixed, 31, 7);
  AbemDateTime when;
  when.year = 1900 + Number(date.substr(0, 2));
  when.month = Number(date.substr(2, 2));
  when.day = Number(date.substr(4, 2));
  when.hour = Number(time.substr(0, 2));
  when.minute = Number(time.substr(3, 2));
  return when;
}

AbemDateTime ReadAbemDateTime(BinaryFile& file) {
  std::vector<uint8_t> fixed(kAbemFixedBytes);
  const size_t got = file.Read(0, fixed.data(), fixed.size());
  fixed.resize(got);
  return DecodeAbemDateTime(fixed);
}

std::vector<uint8_t> BuildAbemRecord(const AbemRecordContent& record) {
  std::vector<uint8_t> out(kAbemDataStart, ' ');
  PutText(out, 0, "ABEM MARK3", 15);
  PutText(out, 15, record.lineName, 8);
  PutText(out, 23, record.date, 8);
  PutText(out, 31, record.time, 7);
  // Lines 2 to 113: numbered labels, with the two values the reader takes.
  size_t at = 38;
  for (int line = 2; line <= kAbemChannelsLine; ++line) {
    out[at++] = '\r';
    out[at++] = '\n';
    std::string text = line == kAbemIntervalLine   ? record.intervalText
                       : line == kAbemChannelsLine ? record.channelsText
                                                   : "P" + std::to_string(line);
    for (char c : text) out[at++] = static_cast<uint8_t>(c);
  }
  out[at++] = '\r';
  out[at++] = '\n';
  std::fill(out.begin() + static_cast<std::ptrdiff_t>(at), out.end(), uint8_t{0});
  for (const auto& trace : record.traces) {
    for (int16_t v : trace) {
      uint8_t le[2];
      PutLE16(le, v);
      out.insert(out.end(), le, le + 2);
    }
  }
  return out;
}

}  // namespace vexmor
