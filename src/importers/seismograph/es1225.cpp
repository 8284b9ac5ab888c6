#include "importers/seismograph/es1225.h"

#include <iterator>
#include <vector>

#include "core/binary_file.h"
#include "core/failure.h"
#include "core/numbers.h"
#include "core/paths.h"
#include "core/text.h"
#include "importers/seismograph/es1225_format.h"
#include "importers/seismograph/list_selection.h"
#include "importers/seismograph/seismograph.h"
#include "platform/platform.h"

namespace vexmor {

namespace {

using enum ControlKind;

constexpr std::string_view kDigits = "0123456789";

constexpr ControlDef kControls[] = {
    {"Command3", Button, "Press here to select ES1225 files (Min=2 records)"},
    {"List1", List},
    {"Combo1", Combo, "Record length", "Select ghere the record length", "250 ms"},
    {"Text3", Text, "Trace number", "", " 12", "", kDisabled | kLocked, kDigits},
    {"Text4", Text, "Number of sample", "", "1000", "", 0, kDigits},
    {"Text5", Text, "Number of files", "Type here the number of file to convert", "1", "", 0, kDigits},
    {"Text2", Text, "", "", " "},
    {"Command4", Button, "Out file"},
    {"Command1", Button, "Convert"},
    {"Command2", Button, "Info"},
    {"ProgressBar1", ProgressBar},
};

constexpr EventRow<Es1225> kEvents[] = {
    {kFormEvents, "Load", Op<&Es1225::Form_Load>},
    {"Command3", "Click", Op<&Es1225::Select_i>},
    {"Command4", "Click", Op<&Es1225::Command4_Click>},
    {"Command1", "Click", Op<&Es1225::Command1_Click>},
    {"Command2", "Click", Op<&Es1225::Command2_Click>},
    {"Text3", "KeyPress", OpArgs<&Es1225::DigitsOnly>},
    {"Text4", "KeyPress", OpArgs<&Es1225::DigitsOnly>},
    {"Text5", "KeyPress", OpArgs<&Es1225::DigitsOnly>},
};

constexpr const char* kPanel = "es1225";

// Entry 0 of the answer is always the folder: one file adds nothing.
const ListSelectionRules kSelection = {{"ES1225 file selection", "Record |*.dat|All files|*.*|", "*.dat"}, false};

// The record lengths of the instrument. With its 1000 samples the length in
// milliseconds is the sample interval in microseconds.
struct RecordLength {
  const char* text;
  int16_t interval;
};
constexpr RecordLength kRecordLengths[] = {
    {"25 ms", 25}, {"50 ms", 50}, {"100 ms", 100}, {"250 ms", 250}, {"500 ms", 500}, {"1000 ms", 1000}, {"2000 ms", 2000},
};
constexpr int16_t kIntervalWhenNoneChosen = 250;

// Only these words are written: every other byte of a record keeps what the
// output held there (zero in a new file).
constexpr HeaderStep kEs1225HeaderWords[] = {
    Put("fldr", HeaderValue::FileNumber),
    Put("tracf", HeaderValue::TraceNumber),
    Put("cdp", HeaderValue::Zero),
    Put("cdpt", HeaderValue::Zero),
    Put("trid", HeaderValue::One),
    Put("nvs", HeaderValue::One),
    Put("nhs", HeaderValue::One),
    ZeroFill(102, 105, 4),  // tstat, laga
    ZeroFill(110, 113, 4),  // muts, mute
    Put("ns", HeaderValue::NbSamplesLow16),
    Put("dt", HeaderValue::SampleInterval),
};

constexpr const char* kHelpLines[] = {
    "ES-1225 to SU format conversion"
    "This module will convert ES-1225 (SEG-1) 12 channels and 1000 samples records  ",
    "to SU format. ",
    "",
    " 1- Select all the files of your line",
    " 2- Select the record length ",
    " 3- click on convert ",
    "",
    "You MUST enter the record length, default value is 250 ms  ",
    "The result will be a single file with all the selected data ",
};

constexpr int32_t kMaxSamples = 32767;

}  // namespace

std::span<const ControlDef> Es1225Controls() { return kControls; }

Es1225::Es1225(Session& s)
    : session(s),
      state(s.State()),
      platform(s.GetPlatform()),
      form(s, "es1225", "ES-1225 to SU (min=2 records)", kControls) {
  BindEvents<Es1225>(form, *this, kEvents);
}

void Es1225::Form_Load() {
  for (const RecordLength& length : kRecordLengths) Combo1.AddItem(length.text);
}

void Es1225::DigitsOnly(EventArgs& args) { args.key = KeyFilter(args.key, kDigits, true, platform); }

void Es1225::Select_i() {
  SkipOnFailure([&] {
    const ListSelection selection = SelectIntoList(platform, state, List1, kSelection);
    Text5.SetText(PlainDigits(selection.entries.size() - 1.0));
    // The output's name does not depend on the input's.
    Text2.SetText(SingleSeparators(selection.entries[0] + kSep + "es1225.su"));
  });
}

void Es1225::Command4_Click() {
  SkipOnFailure([&] { Text2.SetText(ChooseOutputFile(platform, state, "SU File name selection")); });
}

void Es1225::Command1_Click() {
  if (!RunConversion(platform, kPanel, [&] { Convert(); }, " Check if all files are in the folder !")) return;
  platform.MessageBox("Conversion done", buttons::kOk, "");
  session.Close(kPanel);
}

void Es1225::Convert() {
  const int index = Combo1.ListIndex();
  state.SampleInterval = index >= 0 && index < static_cast<int>(std::size(kRecordLengths))
                             ? kRecordLengths[index].interval
                             : kIntervalWhenNoneChosen;
  state.NbSamples = TextToInt32(Text4.Text());
  state.NbChannels = TextToInt16(Text3.Text());
  if (state.NbSamples <= 0) throw RunTimeFailure(FailureCode::OutOfRange, "no samples per trace");
  if (state.NbSamples > kMaxSamples) throw RunTimeFailure(FailureCode::Overflow, "more than 32767 samples per trace");
  std::vector<uint8_t> raw(2 * static_cast<size_t>(state.NbSamples));
  std::vector<float> samples(static_cast<size_t>(state.NbSamples));

  state.OutputFile = SingleSeparators(Text2.Text());
  int16_t nbFiles = TextToInt16(Text5.Text());
  BinaryFile output = OpenOutput(state.OutputFile);
  nbFiles = LimitTo99Records(nbFiles, platform);
  StartProgress(ProgressBar1, nbFiles);
  SuTraceWriter writer(output, state, kEs1225HeaderWords);
  const int16_t channels = state.NbChannels;
  for (int f = 1; f <= nbFiles; ++f) {
    ProgressBar1.SetProgress(f);
    BinaryFile input(SingleSeparators(ListLine(List1, f - 1)), BinaryFile::Mode::Read);
    for (int t = 1; t <= channels; ++t) {
      // Tested for each trace with this file's size: the files before it
      // are already in the output.
      if (Es1225DataStart(input.Size(), channels, state.NbSamples) < kEs1225SmallestDataStart) {
        platform.MessageBox("Wrong file length", buttons::kCritical, kConverterTitle);
        throw ConversionStopped{};
      }
      input.Read(Es1225TraceOffset(input.Size(), channels, state.NbSamples, t), raw.data(), raw.size());
      writer.Seek(ToInt32((f - 1.0) * channels + (t - 1)));
      writer.WriteHeader(f, t);
      SamplesToFloat(raw.data(), SampleType::Int16, samples);
      writer.WriteSamples(samples);
    }
  }
  output.Close();
}

void Es1225::Command2_Click() {
  const std::string newLine = state.NewLine.empty() ? "\r\n" : state.NewLine;
  std::string text;
  for (const char* line : kHelpLines) text += line + newLine;
  platform.MessageBox(text, buttons::kOk, "");
}

}  // namespace vexmor
