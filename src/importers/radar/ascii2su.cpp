#include "importers/radar/ascii2su.h"

#include <algorithm>
#include <cstdio>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <string_view>
#include <vector>

#include "core/binary_file.h"
#include "core/failure.h"
#include "core/mapped_file.h"
#include "core/numbers.h"
#include "core/paths.h"
#include "core/su_trace.h"
#include "formats/column_text.h"
#include "importers/radar/radar_common.h"

namespace vexmor {

namespace {

using enum ControlKind;

constexpr ControlDef kControls[] = {
    {"Text1", Text, "", "", " "},
    {"Command1", Button, "Input file"},
    {"Text2", Text, "", "", " "},
    {"Command2", Button, "Output file"},
    {"Text3", Text, "Number of samples", "", "512"},
    {"Text4", Text, "Sample rate", "", "0"},
    {"Text5", Text, "Trace number", "", "0"},
    {"Check1", Check, "Radar file"},
    {"Command3", Button, "Convert"},
    {"Command4", Button, "Exit"},
    {"Command5", Button, "Info"},
    {"ProgressBar1", ProgressBar},
};

constexpr EventRow<ASCII2SU> kEvents[] = {
    {"Command1", "Click", Op<&ASCII2SU::Command1_Click>},
    {"Command2", "Click", Op<&ASCII2SU::Command2_Click>},
    {"Command3", "Click", Op<&ASCII2SU::convert_ascii>},
    {"Command4", "Click", Op<&ASCII2SU::Command4_Click>},
    {"Command5", "Click", Op<&ASCII2SU::Command5_Click>},
};

constexpr const char* kPanel = "ASCII2SU";

// 4 x S + 240 is a 16-bit sum; the read loop counts traces in 16 bits.
constexpr RadarLimits kLimits{32767, kMaxSamples16BitRecord, kMaxSamples16BitRecord, "Trace number", "Number of samples"};

// Traces written at a time: rows are read whole, each block of traces then
// gathered column by column while it is still in the cache.
constexpr int32_t kBlockTraces = 64;
constexpr int32_t kTileSamples = 16;

// The values of the text; 0 when it can't be read.
int64_t CountValuesOf(const std::string& path) {
  try {
    return CountColumnValues(MappedFile(path).Text());
  } catch (const RunTimeFailure&) {
    return 0;
  }
}

// Asks until a number other than 0 comes; nullopt on Cancel, or on the
// default "0" handed back as it stood.
std::optional<double> AskNonZero(Platform& platform, const std::string& prompt, const std::string& preset) {
  for (;;) {
    const std::string answer = platform.PromptValue(prompt, "", preset);
    if (answer.empty() || (preset == "0" && answer == preset)) return std::nullopt;
    const double value = RoundHalfEven(LeadingNumber(answer));
    if (value != 0) return value;
  }
}

}  // namespace

std::span<const ControlDef> Ascii2SuControls() { return kControls; }

ASCII2SU::ASCII2SU(Session& s)
    : session(s), state(s.State()), platform(s.GetPlatform()), form(s, kPanel, "ASCII to SU", kControls) {
  BindEvents<ASCII2SU>(form, *this, kEvents);
}

void ASCII2SU::Command1_Click() {
  FileRequest request;
  request.multi = true;
  request.folder = state.FolderOf;
  request.title = "ASCII file selection";
  request.filter = "TXT file |*.TXT";
  state.InputFile = platform.ChooseFile(request);
  Text1.SetText(state.InputFile);
  if (state.InputFile.size() >= 3) Text2.SetText(ReplaceLastThree(state.InputFile, "SU"));
  state.OutputFile = Text2.Text();

  // One less than the values, as the count has always been.
  const double c = static_cast<double>(CountValuesOf(state.InputFile)) - 1;
  const auto s = AskNonZero(platform, "Enter the number of samples / trace", "512");
  if (!s) return;
  Text3.SetText(PlainDigits(*s));
  double traces = RoundHalfEven(c / *s);
  if (traces == 0) {
    const std::string answer = platform.PromptValue("Enter the number of  traces", "", "0");
    traces = RoundHalfEven(LeadingNumber(answer));
  }
  state.TraceTotal = static_cast<int32_t>(std::clamp(traces, -2147483648.0, 2147483647.0));
  Text5.SetText(PlainDigits(traces));
  const auto r = AskNonZero(platform, "Enter the sampling rate (ns)", "100");
  if (!r) return;
  Text4.SetText(PlainDigits(*r));
  convert_ascii();
}

void ASCII2SU::Command2_Click() {
  FileRequest request;
  request.folder = state.FolderOf;
  request.title = "KGS Integer File selection";
  request.filter = "SU File |*.SU|All files|*.*|";
  request.fileName = "*.SU";
  Text2.SetText(platform.ChooseFile(request));
}

void ASCII2SU::convert_ascii() {
  state.OutputFile = Text2.Text();
  state.InputFile = Text1.Text();
  double s = RoundHalfEven(LeadingNumber(Text3.Text()));
  double t = RoundHalfEven(LeadingNumber(Text5.Text()));
  double r = RoundHalfEven(LeadingNumber(Text4.Text()));
  if (s == 0) {
    const auto answer = AskNonZero(platform, "Enter the number of samples / trace", "0");
    if (!answer) return;
    s = *answer;
    Text3.SetText(PlainDigits(s));
  }
  if (t == 0) {
    const auto answer = AskNonZero(platform, "Enter the number of traces", "0");
    if (!answer) return;
    t = *answer;
    Text5.SetText(PlainDigits(t));
  }
  state.TraceTotal = static_cast<int32_t>(std::clamp(t, -2147483648.0, 2147483647.0));
  if (r == 0) {
    const auto answer = AskNonZero(platform, "Enter the sampling rate (ns)", "0");
    if (!answer) return;
    r = *answer;
    Text4.SetText(PlainDigits(r));
  }
  auto refuse = [this](const std::string& text) { platform.MessageBox(text, buttons::kCritical, kConverterTitle); };
  if (FileExists(state.InputFile) != 1 || HasWildcards(state.InputFile)) return refuse("Input file does not exists!");
  if (HasWildcards(state.OutputFile) || state.OutputFile.find_first_not_of(' ') == std::string::npos) {
    return refuse("Output SU file name is not a file name: \"" + state.OutputFile + "\"");
  }
  if (SameExistingFile(state.InputFile, state.OutputFile)) {
    return refuse("Output SU file name is the input file: \"" + state.OutputFile + "\"");
  }
  // Beyond the 16-bit sizes the records can't be placed: refused before
  // anything is deleted or written.
  std::string problem = RadarLimitProblem(kLimits, t, s);
  if (problem.empty() && !(r >= -32768 && r <= 32767)) problem = "Sample rate must be from -32768 to 32767";
  if (!problem.empty()) return refuse(problem + ", nothing was converted");

  if (FileExists(state.OutputFile) == 1 &&
      platform.MessageBox("Outfile name already exists, kill this file ?", buttons::kQuestionYesNo,
                          kConverterTitle) == answers::kYes) {
    std::remove(ResolveExisting(state.OutputFile).c_str());
  }
  const auto samples = static_cast<int32_t>(s);
  const auto traces = static_cast<int32_t>(t);
  ProgressBar1.SetRange(1, traces);

  // The values come sample by sample across the traces: all of them are
  // held, as read, before the first trace can be written. Cells the file
  // has no value for stay 0, so no more cells are held than the text can
  // fill (a value takes at least one character): typed counts far beyond
  // the file cost no memory.
  std::optional<MappedFile> text;
  try {
    text.emplace(state.InputFile);
  } catch (const RunTimeFailure&) {
    // Unreadable: every sample stays 0.
  }
  const size_t textBytes = text ? text->Text().size() : 0;
  const size_t cellCount = std::min(static_cast<size_t>(samples) * static_cast<size_t>(traces), textBytes + 1);
  std::unique_ptr<float[]> cells;
  std::vector<uint8_t> records;
  const size_t recordSize = kSuHeaderBytes + 4 * static_cast<size_t>(samples);
  try {
    cells = std::make_unique<float[]>(cellCount);
    records.resize(recordSize * kBlockTraces + kRecordFillBytes);
  } catch (const std::bad_alloc&) {
    return refuse("Not enough memory for " + std::to_string(traces) + " traces of " + std::to_string(samples) +
                  " samples, nothing was converted");
  }
  if (text) ReadColumnValues(text->Text(), std::span<float>(cells.get(), cellCount));
  text.reset();

  PlainTraceWords header;
  header.nhs = Check1.Value() ? 95 : 1;  // 95: the mark of a radar trace
  header.ns = static_cast<int16_t>(samples);
  header.dt = static_cast<int16_t>(r);
  try {
    BinaryFile out(state.OutputFile, BinaryFile::Mode::Update);
    for (int32_t first = 0; first < traces; first += kBlockTraces) {
      const int32_t count = std::min(kBlockTraces, traces - first);
      for (int32_t b = 0; b < count; ++b) {
        uint8_t* record = records.data() + recordSize * b;
        header.trace = first + b + 1;
        FillPlainTraceHeader(record, header);
      }
      // In tiles of 16 rows, so that reads and writes both stay in the cache.
      for (int32_t k0 = 0; k0 < samples; k0 += kTileSamples) {
        const int32_t k1 = std::min(samples, k0 + kTileSamples);
        for (int32_t b = 0; b < count; ++b) {
          uint8_t* out = records.data() + recordSize * b + kSuHeaderBytes;
          const size_t column = static_cast<size_t>(first + b);
          for (int32_t k = k0; k < k1; ++k) {
            const size_t cell = static_cast<size_t>(k) * static_cast<size_t>(traces) + column;
            PutLEFloat(out + 4 * static_cast<size_t>(k), cell < cellCount ? cells[cell] : 0.0f);
          }
        }
      }
      for (int32_t b = 0; b < count; ++b) {
        ProgressBar1.SetProgress(first + b + 1);
        WriteRecordKeepingEp(out, static_cast<int64_t>(recordSize) * (first + b), records.data() + recordSize * b,
                             recordSize);
      }
    }
    out.Close();
  } catch (const RunTimeFailure& failure) {
    return refuse(std::string("The SU file can't be written: ") + failure.what());
  }
  platform.MessageBox("Conversion OK! " + state.OutputFile + " has been recorded", buttons::kInformation,
                      kConverterTitle);
}

void ASCII2SU::Command4_Click() { session.Close(kPanel); }

void ASCII2SU::Command5_Click() {
  const std::string& nl = state.NewLine;
  platform.MessageBox(" ASCII SEISMIC FILE CONVERSION" + nl + " This module will convert ASCII file to SU format " +
                          nl + " DATA must be in column and with a comma as delimiter ! " + nl +
                          " You must only select ASCII file and the output file name" + nl +
                          " Number of samples per trace, sample rate and number of traces input is necessary ! " +
                          nl + "  ",
                      buttons::kInformation, kConverterTitle);
}

}  // namespace vexmor
