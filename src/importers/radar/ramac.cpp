#include "importers/radar/ramac.h"

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <optional>

#include "core/failure.h"
#include "core/numbers.h"
#include "core/paths.h"
#include "core/text.h"
#include "core/text_reader.h"
#include "importers/radar/radar_common.h"
#include "importers/seismograph/selection.h"
#include "importers/radar/ramac_format.h"

namespace vexmor {

namespace {

using enum ControlKind;

constexpr ControlDef kControls[] = {
    {"Text1", Text, "", "Click here and select the first channel of your record", "XXX"},
    {"Command3", Button, "Input RAMAC file"},
    {"Text5", Text, "Output SU file name", "", "*.SU"},
    {"Text2", Text, "Number of channel", "", " "},
    {"Text4", Text, "Sample rate (NanoS)", "", " 4"},
    {"Text7", Text, "Recording time (ns)", "", " 1920"},
    {"Text6", Text, "Samples per trace", "", " 480"},
    {"Text3", Text, "Trace spacing", "", ".20"},
    {"Text8", Text, "Time zero at point", "Enter here the number of samples to remove from each trace", "0"},
    {"RichTextBox1", RichText, "", "", "", "", kMultiLine | kLocked},
    {"Command1", Button, "Convert"},
    {"ProgressBar1", ProgressBar},
};

constexpr EventRow<Radar_F> kEvents[] = {
    {"Command3", "Click", Op<&Radar_F::Lit_RAMAC>},
    {"Text1", "DblClick", Op<&Radar_F::Lit_RAMAC>},
    {"Text1", "Change", Op<&Radar_F::Text1_Change>},
    {"Command1", "Click", Op<&Radar_F::Command1_Click>},
};

}  // namespace

std::span<const ControlDef> RadarFControls() { return kControls; }

Radar_F::Radar_F(Session& s)
    : session(s), state(s.State()), platform(s.GetPlatform()), form(s, "Radar_F", "RAMAC  file conversion", kControls) {
  BindEvents<Radar_F>(form, *this, kEvents);
}

void Radar_F::Text1_Change() {
  if (Text1.Text().size() >= 3) Text5.SetText(ReplaceLastThree(Text1.Text(), "SU"));
}

void Radar_F::Lit_RAMAC() {
  FileRequest request;
  request.folder = state.FolderOf;
  request.title = "File selection";
  request.filter = "Radar files|*.rd3|All files|*.*|";
  request.fileName = "*.rd3";
  Text1.SetText(platform.ChooseFile(request));
  state.InputFile = Text1.Text();
  // Taken as a path even when cancelled: a bare "*.rd3" leaves the root.
  const size_t slash = state.InputFile.rfind(kSep);
  state.FolderOf = slash == std::string::npos ? std::string(1, kSep) : state.InputFile.substr(0, slash + 1);
  if (state.InputFile.size() >= 3) Text5.SetText(ReplaceLastThree(state.InputFile, "SU"));
  Text6.SetText("512");
  // The trace count of 512-sample traces; a fraction stays in the text.
  if (const auto size = FileSizeOf(state.InputFile)) Text2.SetText(NumberText(*size / 1024.0));

  const std::string headerPath = ReplaceLastThree(state.InputFile, "rad");
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

void Radar_F::ReadHeaderText(const std::string& headerText) {
  RichTextBox1.SetText(headerText);
  std::string text = BareLfAsCr(headerText);
  struct Keyword {
    const char* tag;
    Control* field;
  };
  const Keyword keywords[] = {{"SAMPLES:", &Text6},
                              {"LAST TRACE:", &Text2},
                              {"TIME INTERVAL:", &Text4},
                              {"TIMEWINDOW:", &Text7},
                              {"DISTANCE INTERVAL:", &Text3}};
  for (const Keyword& keyword : keywords) {
    std::string tag = keyword.tag;
    std::optional<double> value;
    ReadTaggedValue(text, tag, value, platform);
    if (value) {
      keyword.field->SetText(PlainDigits(*value));
    } else if (keyword.field == &Text6 || keyword.field == &Text4 || keyword.field == &Text7) {
      // Unknown timing is asked for, or worked out, rather than guessed.
      keyword.field->SetText("0");
    } else if (keyword.field == &Text2) {
      const double samples = LeadingNumber(Text6.Text());
      const auto size = FileSizeOf(state.InputFile);
      if (size && samples > 0) Text2.SetText(NumberText(*size / (2 * samples)));
    }
  }
  if (LeadingNumber(Text4.Text()) == 0) {
    const double interval = LeadingNumber(Text7.Text()) / LeadingNumber(Text6.Text());
    if (std::isfinite(interval)) Text4.SetText(PlainDigits(interval));
  }
}

bool Radar_F::AskSamplingInterval(int16_t& dt) {
  // Above 32.767 ns the product does not fit dt: asked for again.
  dt = Int16OrZero(LeadingNumber(Text4.Text()) * 1000);
  while (dt <= 0) {
    const std::string answer = platform.PromptValue(" Enter the sampling rate (nanoS)", "", "0");
    if (GaveUp(answer, "0")) return false;
    dt = Int16OrZero(RoundHalfEven(LeadingNumber(answer)) * 1000);
    Text4.SetText(PlainDigits(dt));
  }
  return true;
}

bool Radar_F::AskSamplesPerTrace(int32_t& samples) {
  samples = Int16OrZero(LeadingNumber(Text6.Text()));
  while (samples <= 0) {
    const std::string answer = platform.PromptValue(" Enter the number of sample per trace", "", "0");
    if (GaveUp(answer, "0")) return false;
    samples = Int16OrZero(LeadingNumber(answer));
    Text6.SetText(PlainDigits(samples));
  }
  return true;
}

void Radar_F::Command1_Click() {
  state.InputFile = Text1.Text();
  state.OutputFile = Text5.Text();
  // Killing or writing over the profile itself would lose it.
  if (SameExistingFile(state.InputFile, state.OutputFile)) {
    platform.MessageBox("Output SU file name is the input file: \"" + state.OutputFile + "\"", buttons::kCritical,
                        kConverterTitle);
    return;
  }
  if (FileExists(state.OutputFile) == 1 && !HasWildcards(state.OutputFile) &&
      platform.MessageBox("Output file name already exists, kill this file ?", buttons::kQuestionYesNo, "") ==
          answers::kYes) {
    std::remove(ResolveExisting(state.OutputFile).c_str());
  }

  // "*.SU" is the name of no file yet: the profile was not picked.
  if (HasWildcards(state.OutputFile) || state.OutputFile.empty()) {
    platform.MessageBox("Output SU file name is not a file name: \"" + state.OutputFile + "\"", buttons::kCritical,
                        kConverterTitle);
    return;
  }
  RamacConversion job;
  job.input = state.InputFile;
  job.output = state.OutputFile;
  if (!AskSamplingInterval(job.dt)) return;
  const double timeZero = RoundHalfEven(LeadingNumber(Text8.Text()));
  const double traces = RoundHalfEven(LeadingNumber(Text2.Text()));
  if (!AskSamplesPerTrace(job.samples)) return;
  job.spacing = LeadingNumber(Text3.Text());

  // Beyond the 16-bit trace and record sizes the positions can't be worked
  // out: refuse rather than write a wrong file.
  const std::string problem = RamacLimitProblem(traces, job.samples, timeZero);
  if (!problem.empty()) {
    platform.MessageBox(problem + ", nothing was converted", buttons::kCritical, kConverterTitle);
    return;
  }
  job.traces = static_cast<int32_t>(traces);
  job.timeZero = static_cast<int32_t>(timeZero);
  job.date = DateWordsOf(state.InputFile);

  ProgressBar1.SetRange(1, job.traces);
  try {
    const int32_t recordSize = 240 + 4 * (job.samples - job.timeZero);
    ConvertRamacProfile(job, [this, recordSize](int32_t i) {
      state.TracePos = recordSize * (i - 1);
      ProgressBar1.SetProgress(i);
    });
  } catch (const RunTimeFailure& failure) {
    platform.MessageBox(std::string("The SU file can't be written: ") + failure.what(), buttons::kCritical,
                        kConverterTitle);
    return;
  }
  const auto size = FileSizeOf(state.OutputFile).value_or(0);
  platform.MessageBox("OK Conversion done " + state.OutputFile + "  " + NumberText(size), buttons::kOk, "");
}

}  // namespace vexmor
