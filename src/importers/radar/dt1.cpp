#include "importers/radar/dt1.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <limits>
#include <optional>
#include <vector>

#include "core/binary_file.h"
#include "core/failure.h"
#include "core/numbers.h"
#include "core/paths.h"
#include "core/su_trace.h"
#include "core/text.h"
#include "core/text_reader.h"
#include "formats/dt1.h"
#include "importers/radar/radar_common.h"
#include "importers/seismograph/selection.h"

namespace vexmor {

namespace {

using enum ControlKind;

constexpr ControlDef kControls[] = {
    {"Text1", Text, "", "", " "},
    {"Command1", Button, "Input file"},
    {"Text2", Text, "", "", " "},
    {"Command2", Button, "Output file"},
    {"Text8", Text, "Number of channel", "", " "},
    {"Text5", Text, "Sampling rate (nS)", "", " 4"},
    {"Text7", Text, "Recording time (nS)", "", " 1920"},
    {"Text6", Text, "Samples per trace", "", " 480"},
    {"Text4", Text, "Trace spacing", "", ".20"},
    {"Text3", Text, "Time zero at point", "Enter here the number of samples to remove from each trace", "0"},
    {"RichTextBox1", RichText, "", "", "", "", kMultiLine | kLocked},
    {"Command3", Button, "Convert"},
    {"Command5", Button, "Info"},
    {"ProgressBar1", ProgressBar, "", "", "", "", kHidden},
};

constexpr EventRow<DT1> kEvents[] = {
    {"Command1", "Click", Op<&DT1::Choix_IP>},
    {"Text1", "DblClick", Op<&DT1::Choix_IP>},
    {"Text2", "DblClick", Op<&DT1::Choix_OP>},
    {"Command3", "Click", Op<&DT1::Command3_Click>},
    {"Command5", "Click", Op<&DT1::Command5_Click>},
};

// N is counted by a 16-bit loop index; the traces by a 16-bit count; a
// time zero is a 16-bit field, so samples go up to 32767 above it.
constexpr RadarLimits kLimits{32767, 65534, 32767, "Number of channel", "Samples per trace"};


struct Dt1Conversion {
  std::string input, output;
  int32_t traces = 0, samples = 0, timeZero = 0;
  int16_t dt = 0;
  double spacing = 0;
};

void FillHeader(uint8_t* h, int32_t i, int32_t x, int32_t n, int16_t dt) {
  std::fill(h, h + kRecordFillBytes, uint8_t{0});
  for (const char* word : {"tracl", "tracr", "tracf", "cdp"}) SetWord(h, SuWordNamed(word), i);
  SetWord(h, SuWordNamed("fldr"), 1);
  SetWord(h, SuWordNamed("trid"), 1);
  SetWord(h, SuWordNamed("nvs"), 1);
  SetWord(h, SuWordNamed("nhs"), 95);  // the mark of a radar trace
  SetWord(h, SuWordNamed("duse"), 1);
  SetWord(h, SuWordNamed("sx"), x);
  PutLE16(h + SuWordNamed("ns").offset, static_cast<int16_t>(n & 0xffff));
  SetWord(h, SuWordNamed("dt"), dt);
}

// Writes the records; false when a trace position leaves the 32 bits of
// the arithmetic (the records before it are written).
bool ConvertLine(const Dt1Conversion& job, const std::function<void(int32_t)>& progress) {
  const int32_t m = job.samples, n = job.samples - job.timeZero;
  std::vector<int16_t> input(static_cast<size_t>(m), 0);
  std::vector<uint8_t> record(kSuHeaderBytes + 4 * static_cast<size_t>(n) + 16, 0);
  const int64_t recordSize = kSuHeaderBytes + int64_t{4} * n;

  BinaryFile out(job.output, BinaryFile::Mode::Update);
  std::optional<BinaryFile> in;
  try {
    in.emplace(job.input, BinaryFile::Mode::Read);
  } catch (const std::exception&) {
    // Unreadable input: the traces are written with samples of 0.
  }
  int32_t x = 0;
  for (int32_t i = 1; i <= job.traces; ++i) {
    progress(i);
    if (Dt1SamplesOffset(i, m) > std::numeric_limits<int32_t>::max()) return false;
    if (in) ReadDt1Samples(*in, i, input);  // past the end of the file: 0
    try {
      x = ToInt32(job.spacing * (i - 1));
    } catch (const std::exception&) {
      // A distance too large for its word keeps the one before.
    }
    uint8_t* h = record.data();
    FillHeader(h, i, x, n, job.dt);
    for (int32_t k = 1; k <= n; ++k) {
      const int32_t source = k + job.timeZero - 1;  // from 1; 0 does not exist
      PutLEFloat(h + kSuHeaderBytes + 4 * (k - 1), source >= 1 ? static_cast<float>(input[source - 1]) : 0.0f);
    }
    const int64_t at = recordSize * (i - 1);
    WriteRecordKeepingEp(out, at, h, static_cast<size_t>(recordSize));
  }
  out.Close();
  return true;
}

}  // namespace

std::span<const ControlDef> Dt1Controls() { return kControls; }

DT1::DT1(Session& s)
    : session(s), state(s.State()), platform(s.GetPlatform()), form(s, "DT1", "Radar EKKO DT1 to SU", kControls) {
  BindEvents<DT1>(form, *this, kEvents);
}

void DT1::Choix_IP() {
  FileRequest request;
  request.multi = true;
  request.folder = state.FolderOf;
  request.title = "DT1 file selection";
  request.filter = "Record |*.DT1|All files|*.*|";
  request.fileName = "*.dt1";
  state.InputFile = platform.ChooseFile(request);
  Text1.SetText(state.InputFile);
  if (state.InputFile.size() >= 3) Text2.SetText(ReplaceLastThree(state.InputFile, "SU"));
  state.OutputFile = Text2.Text();

  const std::string headerPath = Dt1HeaderPath(state.InputFile);
  if (FileExists(headerPath) == 1 && !HasWildcards(headerPath)) {
    try {
      ReadHeaderText(ReadWholeFile(headerPath));
      return;
    } catch (const RunTimeFailure&) {
      // Unreadable: reported as missing below.
    }
  }
  RichTextBox1.SetText(" No RAD file available for " + state.InputFile + state.NewLine);
}

void DT1::ReadHeaderText(const std::string& headerText) {
  RichTextBox1.SetText(headerText);
  std::string text = BareLfAsCr(headerText);
  auto read = [&](std::string_view key) {
    std::string tag(key);
    std::optional<double> value;
    ReadTaggedValue(text, tag, value, platform);
    return value;
  };
  // A keyword that is missing is taken from the line's first trace header
  // where it has the number, else the field keeps what it showed.
  std::optional<Dt1Trace> first;
  try {
    BinaryFile file(ResolveExisting(state.InputFile), BinaryFile::Mode::Read);
    if (LooksLikeDt1(file)) first = ReadDt1Trace(file, 1, 0);
  } catch (const std::exception&) {
  }
  auto fromTrace = [&](std::string_view name) -> std::optional<double> {
    if (first && first->header.at(name) > 0) return first->header.at(name);
    return std::nullopt;
  };
  const auto points = read(kDt1PointsKey);
  if (const auto p = points ? points : fromTrace("points per trace")) Text6.SetText(PlainDigits(*p));
  const auto zero = read(kDt1TimeZeroKey);
  Text3.SetText(zero ? PlainDigits(*zero) : "0");
  if (const auto traces = read(kDt1TracesKey)) {
    Text8.SetText(PlainDigits(*traces));
  } else if (const auto size = FileSizeOf(state.InputFile)) {
    const int64_t p = static_cast<int64_t>(RoundHalfEven(LeadingNumber(Text6.Text())));
    if (p > 0) Text8.SetText(PlainDigits(static_cast<double>(Dt1TraceCount(static_cast<int64_t>(*size), p))));
  }
  const auto window = read(kDt1WindowKey);
  if (const auto w = window ? window : fromTrace("time window")) Text7.SetText(PlainDigits(*w));

  // The header's own sampling interval is not read: the window over the points.
  const double interval = LeadingNumber(Text7.Text()) / LeadingNumber(Text6.Text());
  if (std::isfinite(interval)) Text5.SetText(PlainDigits(interval));

  const auto start = read(kDt1StartKey);
  const auto final = read(kDt1FinalKey);
  if (!start || !final) return;
  // Over the traces, not the gaps between them, rounded to two decimals.
  double spacing = (*final - *start) / LeadingNumber(Text8.Text());
  if (!std::isfinite(spacing)) return;
  const double hundredths = RoundHalfEven(spacing * 100);
  if (hundredths >= -32768 && hundredths <= 32767) spacing = hundredths / 100;
  Text4.SetText(PlainDigits(spacing));
}

void DT1::Choix_OP() {
  FileRequest request;
  request.multi = true;
  request.save = true;
  request.folder = state.FolderOf;
  request.title = "SU file selection";
  request.filter = "SU file |*.SU|All files|*.*|";
  request.fileName = "*.SU";
  Text2.SetText(platform.ChooseFile(request));
  state.OutputFile = Text2.Text();
}

void DT1::Command3_Click() {
  FindToolDir(state, platform);
  state.OutputFile = Text2.Text();
  if (state.OutputFile.find_first_not_of(' ') == std::string::npos) return;
  state.InputFile = Text1.Text();
  auto refuse = [this](const std::string& text) { platform.MessageBox(text, buttons::kCritical, kConverterTitle); };
  // "*.SU" is the name of no file yet; the line itself must not be lost.
  if (HasWildcards(state.OutputFile)) return refuse("Output SU file name is not a file name: \"" + state.OutputFile + "\"");
  if (SameExistingFile(state.InputFile, state.OutputFile)) {
    return refuse("Output SU file name is the input file: \"" + state.OutputFile + "\"");
  }
  // Numbers beyond the 16-bit arithmetic are refused before anything is
  // deleted or written.
  const double timeZero = RoundHalfEven(LeadingNumber(Text3.Text()));
  const double traces = RoundHalfEven(LeadingNumber(Text8.Text()));
  const double samples = RoundHalfEven(LeadingNumber(Text6.Text()));
  std::string problem = RadarLimitProblem(kLimits, traces, samples, timeZero);
  if (problem.empty()) problem = RadarIntervalProblem(LeadingNumber(Text5.Text()), "Sampling rate (nS)");
  if (problem.empty() && (240 + 4 * (samples - timeZero)) * (traces - 1) > std::numeric_limits<int32_t>::max()) {
    problem = "The SU file would pass 2 GB (2147483647 bytes), the largest position of its records";
  }
  if (!problem.empty()) return refuse(problem + ", nothing was converted");

  if (FileExists(state.OutputFile) == 1 &&
      platform.MessageBox("Output file name already exists, kill this file ?", buttons::kQuestionYesNo,
                          kConverterTitle) == answers::kYes) {
    std::remove(ResolveExisting(state.OutputFile).c_str());
  }
  platform.BusyPointer(true, form.Name());
  Dt1Conversion job;
  job.input = state.InputFile;
  job.output = state.OutputFile;
  job.timeZero = static_cast<int32_t>(timeZero);
  job.traces = static_cast<int32_t>(traces);
  job.samples = static_cast<int32_t>(samples);
  job.dt = ToInt16(LeadingNumber(Text5.Text()) * 1000);
  job.spacing = LeadingNumber(Text4.Text());
  state.NbChannels = static_cast<int16_t>(job.traces);
  state.NbSamples = job.samples;
  state.SampleInterval = job.dt;

  ProgressBar1.SetVisible(true);
  ProgressBar1.SetRange(1, job.traces + 2);
  ProgressBar1.SetProgress(1);
  const int64_t recordSize = 240 + 4 * int64_t{job.samples - job.timeZero};
  bool done = false;
  try {
    done = ConvertLine(job, [&](int32_t i) {
      ProgressBar1.SetProgress(i);
      state.TracePos = static_cast<int32_t>(recordSize * (i - 1));
    });
  } catch (const RunTimeFailure& failure) {
    platform.BusyPointer(false, form.Name());
    return refuse(std::string("The SU file can't be written: ") + failure.what());
  }
  if (!done) {
    platform.BusyPointer(false, form.Name());
    return refuse("Verify your parameters...");
  }
  ProgressBar1.SetVisible(false);
  platform.BusyPointer(false, form.Name());
  platform.MessageBox("OK, Conversion done", buttons::kOk, "");
}

void DT1::Command5_Click() {
  const std::string& nl = state.NewLine;
  platform.MessageBox("DT1 to SU Translation" + nl +
                          " This module can convert DT1 radar file to SU format using DT1TOSU.EXE" + nl +
                          " You must only select DT1 file and the output file name" + nl +
                          " Number of sample per trace is necessary ! " + nl + "  ",
                      buttons::kInformation, kConverterTitle);
}

}  // namespace vexmor
