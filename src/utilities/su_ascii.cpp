#include "utilities/su_ascii.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <optional>
#include <span>
#include <vector>

#include "core/binary_file.h"
#include "core/mapped_file.h"
#include "core/numbers.h"
#include "core/paths.h"
#include "core/shared_state.h"
#include "core/su_trace.h"
#include "panels/session.h"
#include "platform/platform.h"

namespace vexmor {

namespace {

constexpr int64_t kNsOffset = 114;
constexpr int64_t kDtOffset = 116;
constexpr int64_t kNhsOffset = 32;
constexpr int64_t kTracfOffset = 12;
constexpr const char* kLineEnd = "\r\n";
// Text is handed to the disk in pieces of about this size.
constexpr size_t kWriteChunk = 1 << 20;

// A file open for reading, or nothing when it cannot be opened: the exports
// pass over a step that fails.
std::optional<BinaryFile> OpenForReading(const std::string& path) {
  try {
    return BinaryFile(path, BinaryFile::Mode::Read);
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

std::string DropLast(const std::string& text, size_t n) { return text.substr(0, text.size() >= n ? text.size() - n : 0); }

// An answer to a channel prompt: its leading number, rounded; one that is no
// number or does not fit leaves the channel at 0.
int32_t ChannelAnswer(const std::string& answer) {
  try {
    return ToInt32(LeadingNumber(answer));
  } catch (const std::exception&) {
    return 0;
  }
}

// Writes text to a new file in large pieces.
class TextOut {
 public:
  explicit TextOut(const std::string& path) : file_(path, BinaryFile::Mode::Create) { buffer_.reserve(kWriteChunk + 4096); }
  void Append(const char* data, size_t n) {
    buffer_.append(data, n);
    if (buffer_.size() >= kWriteChunk) Flush();
  }
  void Close() {
    Flush();
    file_.Close();
  }

 private:
  void Flush() {
    file_.Write(at_, buffer_.data(), buffer_.size());
    at_ += static_cast<int64_t>(buffer_.size());
    buffer_.clear();
  }
  BinaryFile file_;
  std::string buffer_;
  int64_t at_ = 0;
};

// The samples of one trace, or of a band of it, from the raw bytes.
void ReadSamples(BinaryFile& file, int64_t offset, size_t count, std::vector<float>& out) {
  std::vector<uint8_t> raw(count * 4);
  file.Read(offset, raw.data(), raw.size());
  out.resize(count);
  for (size_t j = 0; j < count; ++j) out[j] = GetLEFloat(raw.data() + 4 * j);
}

// The two scans of CountChannels, the first with the trace size of the ns
// just read, the second with that of NbSamples.
int16_t ScanChannels(BinaryFile& file, int32_t traceCount, int64_t firstSize, int64_t secondSize,
                     SharedState& state) {
  int32_t result = 0;
  try {
    const int64_t quarter = static_cast<int64_t>(RoundHalfEven(traceCount / 4.0));
    int16_t largestNhs = 0;
    for (int64_t i = 1; i <= quarter; ++i) {
      largestNhs = std::max(largestNhs, file.ReadI16(firstSize * (i - 1) + kNhsOffset));
    }
    if (largestNhs > 1) return 0;

    const int32_t scan = std::min<int32_t>(traceCount, 150);
    int32_t first = 0;
    int32_t t = 0;
    for (int32_t i = 1; i <= scan; ++i) {
      state.TracePos = ToInt32(static_cast<double>(secondSize) * (i - 1));
      const int32_t tracf = file.ReadI32(state.TracePos + kTracfOffset);
      if (tracf >= std::numeric_limits<int16_t>::min() && tracf <= std::numeric_limits<int16_t>::max()) t = tracf;
      if (i == 1) first = t;
      if (t > result) result = t;
      if (i == 5 && t == first) {
        result = 0;
        break;
      }
      if (t < result) break;
    }
  } catch (const std::exception&) {
    // What was found so far stands.
  }
  return static_cast<int16_t>(result < 6 ? 0 : std::min<int32_t>(result, INT16_MAX));
}

// One file of one sample a line for each channel from first to last. The
// file endings count along the run, so a run of channels 3 to 5 gives 01 to
// 03. Channels that the file does not hold are passed over.
void WriteChannelFiles(BinaryFile& su, const std::string& stem, int32_t first, int32_t last, SharedState& state) {
  if (state.NbSamples < 1) return;
  const int64_t traceSize = int64_t{240} + int64_t{4} * state.NbSamples;
  const int64_t available = static_cast<int64_t>(RoundHalfEven(static_cast<double>(su.Size()) / traceSize));
  const int64_t from = std::max<int64_t>(first, 1);
  const int64_t to = std::min<int64_t>(last, available);
  std::vector<float> samples;
  char number[32];
  for (int64_t c = from; c <= to; ++c) {
    try {
      const int64_t counter = 1000 + (c - first + 1);
      const int two = static_cast<int>(counter % 100);
      const char ending[3] = {static_cast<char>('0' + two / 10), static_cast<char>('0' + two % 10), '\0'};
      state.TracePos = ToInt32(static_cast<double>(traceSize) * static_cast<double>(c - 1));
      // An SU file named like one of its own channel files (a ".01") is
      // never written over.
      if (SameExistingFile(su.Path(), stem + ending)) continue;
      ReadSamples(su, int64_t{state.TracePos} + 240, static_cast<size_t>(state.NbSamples), samples);
      TextOut out(stem + ending);
      for (const float sample : samples) {
        const int n = FormatSample(sample, number);
        number[n] = '\r';
        number[n + 1] = '\n';
        out.Append(number, static_cast<size_t>(n) + 2);
      }
      out.Close();
    } catch (const std::exception&) {
      // This channel is passed over; the next one runs.
    }
  }
}

// The column file: a line for each sample number, a column for each trace
// from first to last, every value followed by a comma. Each line takes a
// sample from every trace, so the file is mapped rather than read: the
// pages touched are handed back every few thousand lines, and a file of any
// size costs a page or two per column. Bytes past the end read as 0.
void WriteColumns(const std::string& path, TextOut& out, int64_t first, int64_t last, int32_t nbSamples,
                  SharedState& state) {
  if (nbSamples < 1) return;
  const MappedFile su(path, MappedFile::Use::Walk);
  const std::span<const uint8_t> bytes = su.Bytes();
  const int64_t size = static_cast<int64_t>(bytes.size());
  const int64_t columns = std::max<int64_t>(0, last - first + 1);
  const int64_t traceSize = int64_t{240} + int64_t{4} * nbSamples;
  if (columns > 0) state.TracePos = static_cast<int32_t>(std::min<int64_t>(traceSize * (last - 1), INT32_MAX));
  constexpr int32_t kLinesBetweenReleases = 4096;
  std::string line;
  char number[32];
  for (int32_t j = 0; j < nbSamples; ++j) {
    if (j > 0 && j % kLinesBetweenReleases == 0) su.Forget();
    line.clear();
    int64_t at = traceSize * (first - 1) + 240 + int64_t{4} * j;
    for (int64_t k = 0; k < columns; ++k, at += traceSize) {
      uint8_t raw[4] = {0, 0, 0, 0};
      if (at + 4 <= size) {
        std::memcpy(raw, bytes.data() + at, 4);
      } else if (at < size) {
        std::memcpy(raw, bytes.data() + at, static_cast<size_t>(size - at));
      }
      const int n = FormatSample(GetLEFloat(raw), number);
      number[n] = ',';
      line.append(number, static_cast<size_t>(n) + 1);
    }
    line += kLineEnd;
    out.Append(line.data(), line.size());
  }
}

}  // namespace

int FormatSample(float value, char* out) {
  if (std::isnan(value)) {
    std::memcpy(out, "NaN", 3);
    return 3;
  }
  if (std::isinf(value)) {
    const char* text = value < 0 ? "-Infinity" : "Infinity";
    const int n = value < 0 ? 9 : 8;
    std::memcpy(out, text, static_cast<size_t>(n));
    return n;
  }
  // A negative zero prints as zero. Nine significant digits give back the
  // very float that was written.
  const double v = value == 0.0f ? 0.0 : static_cast<double>(value);
  const auto result = std::to_chars(out, out + 16, v, std::chars_format::scientific, 8);
  char* e = std::find(out, result.ptr, 'e');
  if (e != result.ptr) *e = 'E';
  return static_cast<int>(result.ptr - out);
}

void Calcul_Channel(const std::string& path, int32_t& traceCount, int16_t& channels, SharedState& state) {
  traceCount = 0;
  channels = 0;
  std::optional<BinaryFile> file = OpenForReading(path);
  if (!file) return;
  try {
    const int16_t ns = file->ReadI16(kNsOffset);
    state.SampleInterval = file->ReadI16(kDtOffset);
    // The trace size is held in 16 bits here: past 8131 samples it does
    // not fit and no count can be given.
    const int32_t size = 240 + 4 * int32_t{ns};
    if (size > INT16_MAX || size <= 0) return;
    traceCount = ToInt32(static_cast<double>(file->Size()) / size);
    const int64_t secondSize = int64_t{240} + int64_t{4} * state.NbSamples;
    channels = ScanChannels(*file, traceCount, size, secondSize, state);
  } catch (const std::exception&) {
  }
}

void su2ascii2(Session& session) {
  SharedState& state = session.State();
  Platform& platform = session.GetPlatform();
  if (platform.MessageBox(" This module writes one file per channel in ASCII format of the current data  ",
                          buttons::kOkCancel, kConverterTitle) != answers::kOk) {
    return;
  }
  FileRequest request;
  request.folder = state.FolderOf;
  request.title = "Seismic Unix File selection";
  request.filter = "SU File |*.SU|All files|*.*|";
  request.fileName = "*.SU";
  state.SuFile = platform.ChooseFile(request);
  ReadSuSizes(state.SuFile, state);
  Calcul_Channel(state.SuFile, state.NbTraces, state.NbChannels, state);
  std::optional<BinaryFile> su = OpenForReading(state.SuFile);
  // Without its last two characters a name ending in "SU" keeps its point.
  const std::string stem = DropLast(state.SuFile, 2);
  const int32_t first = ChannelAnswer(platform.PromptValue("First channel to print", kConverterTitle, "1"));
  const int32_t last = ChannelAnswer(
      platform.PromptValue("Last channel to print", kConverterTitle, NumberText(state.NbChannels)));
  if (su) WriteChannelFiles(*su, stem, first, last, state);
  su.reset();
  platform.MessageBox("Conversion OK", buttons::kInformation, kConverterTitle);
}

void su2Ascii(Session& session) {
  SharedState& state = session.State();
  Platform& platform = session.GetPlatform();
  if (platform.MessageBox("This module allow you to export data (amplitudes) from any SU file to a text file. "
                          "Continue ? This file can be edited using any spread sheet ",
                          buttons::kQuestionYesNo, kConverterTitle) != answers::kYes) {
    return;
  }
  // No start folder: the dialog opens where it last stood.
  FileRequest request;
  request.title = "SU file to export ";
  request.filter = "SU files|*.SU|";
  request.fileName = state.SuFile;
  const std::string path = platform.ChooseFile(request);
  // A file that cannot be read (a cancelled dialog) leaves NbSamples and
  // NbTraces as they were; the questions still come.
  std::optional<BinaryFile> su = OpenForReading(path);
  if (su) {
    try {
      state.NbSamples = su->ReadI16(kNsOffset);
      state.NbTraces = state.NbSamples < -59 ? 0 : TraceCountOf(su->Size(), state.NbSamples);
    } catch (const std::exception&) {
      state.NbTraces = 0;
    }
  }

  const std::string firstAnswer = platform.PromptValue("First trace to export", kConverterTitle, "1");
  const std::string lastAnswer =
      platform.PromptValue("Last trace to export", kConverterTitle, PlainDigits(state.NbTraces));
  double first = RoundHalfEven(LeadingNumber(firstAnswer));
  double last = RoundHalfEven(LeadingNumber(lastAnswer));
  if (first > last) std::swap(first, last);
  if (first < 1) first = 1;
  if (last > state.NbTraces) last = state.NbTraces;
  // Keep both within reach of a whole number; an empty range stays empty.
  first = std::min(first, static_cast<double>(state.NbTraces) + 1);
  last = std::max(last, 0.0);

  const std::string output = DropLast(path, 3) + ".txt";
  // With nothing to read, an old text of that name is left alone.
  if (su) {
    try {
      std::remove(ResolveExisting(output).c_str());
      TextOut out(output);
      WriteColumns(su->Path(), out, static_cast<int64_t>(first), static_cast<int64_t>(last), state.NbSamples, state);
      out.Close();
    } catch (const std::exception&) {
      // No export reports a failure; the message below still comes.
    }
  }
  su.reset();
  platform.MessageBox(output + " has been recorded", buttons::kInformation, kConverterTitle);
}

}  // namespace vexmor
