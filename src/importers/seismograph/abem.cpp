#include "importers/seismograph/abem.h"

#include <iterator>
#include <optional>
#include <vector>

#include "core/binary_file.h"
#include "core/failure.h"
#include "core/numbers.h"
#include "importers/seismograph/list_selection.h"
#include "importers/seismograph/seismograph.h"
#include "platform/platform.h"

namespace vexmor {

namespace {

using enum ControlKind;

constexpr ControlDef kControls[] = {
    {"Command4", Button, "Click here to select ABEM files"},
    {"List1", List},
    {"Text3", Text, "Trace number", "Correct here the trace number if necesssary", " "},
    {"Text4", Text, "Number of sample", "", "1024"},
    {"Text5", Text, "Sample rate", "Don't forget the sample rate !!!", "480"},
    {"Text6", Text, "Number of files", "Type here the number of file to convert", "1"},
    {"Text2", Text, "", "This will be the SU file", " "},
    {"Command3", Button, "Out file"},
    {"Command1", Button, "Convert"},
    {"Command2", Button, "Info"},
    {"ProgressBar1", ProgressBar},
};

constexpr EventRow<Abem> kEvents[] = {
    {"Command4", "Click", Op<&Abem::Select_i>},
    {"Command3", "Click", Op<&Abem::Command3_Click>},
    {"Command1", "Click", Op<&Abem::Command1_Click>},
    {"Command2", "Click", Op<&Abem::Command2_Click>},
};

constexpr const char* kPanel = "abem";

const ListSelectionRules kSelection = {{"ABEM file selection", "Record |*.abm|All files|*.*|", "*.abm"}, true};

// The generic words, except duse, which this panel leaves as the file holds
// it (0 in a new file).
constexpr HeaderStep kAbemHeaderWords[] = {
    Put("tracl", HeaderValue::Zero),
    Put("tracr", HeaderValue::Zero),
    Put("fldr", HeaderValue::FileNumber),
    Put("tracf", HeaderValue::TraceNumber),
    Put("cdp", HeaderValue::Zero),
    Put("cdpt", HeaderValue::Zero),
    Put("trid", HeaderValue::One),
    Put("nvs", HeaderValue::One),
    Put("nhs", HeaderValue::One),
    ZeroFill(36, 87, 4),
    ZeroFill(88, 179, 2),
    ZeroFill(180, 239, 4),
    Put("ns", HeaderValue::NbSamplesLow16),
    Put("dt", HeaderValue::SampleInterval),
};

// The first two items share a line; every item ends one.
constexpr const char* kHelpLines[] = {
    ("ABEM Terralock Mark 3 to SU format conversion"
     "This module will convert Terralock Mark 3 records to SU format. "),
    " 1- Select the first file of your line",
    " 2- Enter the number of files (numbers must be increasing!) ",
    "    without gap number",
    " 3- IMPORTANT enter the sample rate ",
    " 4- Click on CONVERT Button ",
    "You MUST enter the sample rate, default is 480 ns  ",
    "The result will be a single file with all the selected data ",
};

// A sample interval that reads as 0 is taken as 100 microseconds.
constexpr int16_t kIntervalWhenNone = 100;

}  // namespace

std::span<const ControlDef> AbemControls() { return kControls; }

Abem::Abem(Session& s)
    : session(s), state(s.State()), platform(s.GetPlatform()), form(s, "abem", "ABEM mark 3 to SU", kControls) {
  BindEvents<Abem>(form, *this, kEvents);
}

void Abem::Select_i() {
  std::optional<ListSelection> selection;
  SkipOnFailure([&] { selection = SelectIntoList(platform, state, List1, kSelection); });
  if (!selection) return;
  std::string probe;
  SkipOnFailure([&] { Text6.SetText(PlainDigits(selection->multi ? selection->entries.size() - 1.0 : 1.0)); });
  SkipOnFailure([&] { Text2.SetText(ProposedSuName(*selection)); });
  SkipOnFailure([&] { probe = ProbeFile(*selection, List1); });
  ReadProbe(probe);
}

// The numbers of the probe file's header, each step passed over when it
// fails: what cannot be read keeps the value it had.
void Abem::ReadProbe(const std::string& probe) {
  std::optional<BinaryFile> file;
  SkipOnFailure([&] { file.emplace(probe, BinaryFile::Mode::Read); });
  std::optional<AbemHeaderLines> lines;
  if (file) SkipOnFailure([&] { lines = ReadAbemHeaderLines(*file); });
  if (lines) {
    SkipOnFailure([&] { state.SampleInterval = TextToInt16(lines->intervalLine); });
    SkipOnFailure([&] { state.NbChannels = TextToInt16(lines->channelsLine); });
  }
  if (state.SampleInterval == 0) state.SampleInterval = kIntervalWhenNone;
  SkipOnFailure([&] {
    if (const auto size = FileSizeOf(probe)) state.NbSamples = AbemSamplesPerTrace(*size, state.NbChannels);
  });
  Text3.SetText(PlainDigits(state.NbChannels));
  Text4.SetText(PlainDigits(state.NbSamples));
  Text5.SetText(PlainDigits(state.SampleInterval));
  state.InputFile = probe;
  if (file) SkipOnFailure([&] { RecordDate = ReadAbemDateTime(*file); });
}

void Abem::Command3_Click() {
  SkipOnFailure([&] { Text2.SetText(ChooseOutputFile(platform, state, "SU File name selection")); });
}

void Abem::Command1_Click() {
  if (!RunConversion(platform, kPanel, [&] { Convert(); })) return;
  platform.MessageBox(kConversionDone, buttons::kOk, "");
  session.Close(kPanel);
}

void Abem::Convert() {
  state.NbSamples = TextToInt32(Text4.Text());
  // The samples are counted with a 16-bit index: past 32767 the reading
  // of the controls fails.
  const int16_t limit = TextToInt16(Text4.Text());
  state.SampleInterval = TextToInt16(Text5.Text());
  state.NbChannels = TextToInt16(Text3.Text());
  int16_t nbFiles = TextToInt16(Text6.Text());
  if (limit <= 0) throw RunTimeFailure(FailureCode::OutOfRange, "no samples per trace");
  std::vector<uint8_t> raw(2 * static_cast<size_t>(limit));
  std::vector<float> samples(static_cast<size_t>(limit));

  state.OutputFile = Text2.Text();
  BinaryFile output = OpenOutput(state.OutputFile);
  nbFiles = LimitTo99Records(nbFiles, platform);
  const int channels = state.NbChannels;
  StartProgress(ProgressBar1, channels * nbFiles);
  SuTraceWriter writer(output, state, kAbemHeaderWords);
  for (int f = 1; f <= nbFiles; ++f) {
    BinaryFile input(ListLine(List1, f - 1), BinaryFile::Mode::Read);
    for (int t = 1; t <= channels; ++t) {
      ProgressBar1.SetProgress((f - 1) * channels + t);
      input.Read(AbemTraceOffset(t, state.NbSamples), raw.data(), raw.size());
      writer.Seek(RecordIndex(f, t, channels));
      writer.WriteHeader(f, t);
      SamplesToFloat(raw.data(), SampleType::Int16, samples);
      writer.WriteSamples(samples);
    }
  }
  output.Close();
}

void Abem::Command2_Click() {
  const std::string newLine = state.NewLine.empty() ? "\r\n" : state.NewLine;
  std::string text;
  for (const char* line : kHelpLines) text += line + newLine;
  platform.MessageBox(text, buttons::kOk, "");
}

}  // namespace vexmor
