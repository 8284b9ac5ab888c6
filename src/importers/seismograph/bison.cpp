#include "importers/seismograph/bison.h"

#include <optional>
#include <vector>

#include "core/binary_file.h"
#include "core/failure.h"
#include "core/numbers.h"
#include "importers/seismograph/bison_format.h"
#include "importers/seismograph/list_selection.h"
#include "importers/seismograph/seismograph.h"
#include "platform/platform.h"

namespace vexmor {

namespace {

using enum ControlKind;

constexpr ControlDef kControls[] = {
    {"Command5", Button, "Press here to select BISON files "},
    {"List1", List},
    {"Text3", Text, "Trace number per record", "Correct here the trace number if necesssary", "12"},
    {"Text4", Text, "Number of sample", "Correct hre the number of sample per trace", "1000"},
    {"Text5", Text, "Sample rate", "Don't forget the sample rate !!!", "480"},
    {"Text6", Text, "Number of files to convert", "Type here the number of file to convert", "1"},
    {"Text7", Text, "File Header size", "File header size (is automatically computed)", "1161"},
    {"Label8", Label, "Input file size", "", " "},
    {"Text2", Text, "", "This will be the SU file", " "},
    {"Frame1", Frame, "Data type"},
    {"Option1", Option, "Integer 2 bytes", "Bison 5000 are integer values", "", "Frame1", kSelected},
    {"Option2", Option, "Float 4 bytes", "", "", "Frame1", kHidden},
    {"Option3", Option, "Floating 4 bytes", "", "", "Frame1", kHidden},
    {"Option4", Option, "ASCII", "", "", "Frame1", kHidden},
    {"Command4", Button, "Output file"},
    {"Command1", Button, "Convert"},
    {"Command2", Button, "Info"},
    {"ProgressBar1", ProgressBar, "", "", "", "", kHidden},
};

constexpr EventRow<Bison> kEvents[] = {
    {"Command5", "Click", Op<&Bison::Select_i>},
    {"Command4", "Click", Op<&Bison::Outputfile>},
    {"Text2", "DblClick", Op<&Bison::Outputfile>},
    {"Command1", "Click", Op<&Bison::Command1_Click>},
    {"Command2", "Click", Op<&Bison::Command2_Click>},
};

constexpr const char* kPanel = "Bison";

const ListSelectionRules kSelection = {{"BISON file selection", "Record |*.dat|All files|*.*|", "*.dat"}, true};

// The first two items share a line; every further item ends one.
constexpr const char* kHelpLines[] = {
    "BISON 5000 module conversion"
    " This module convert BISON 5000 record to SU format ",
    " Sample rate trace number, trace number, file number are recorded ",
    " but you must (re)enter all geometrical data ! ",
};

constexpr int kHeaderBarMax = 32000;

}  // namespace

std::span<const ControlDef> BisonControls() { return kControls; }

Bison::Bison(Session& s)
    : session(s), state(s.State()), platform(s.GetPlatform()), form(s, "Bison", "Bison 5000", kControls) {
  BindEvents<Bison>(form, *this, kEvents);
}

void Bison::Select_i() {
  std::optional<ListSelection> selection;
  SkipOnFailure([&] { selection = SelectIntoList(platform, state, List1, kSelection); });
  if (!selection) return;
  SkipOnFailure([&] { Text6.SetText(PlainDigits(selection->multi ? selection->entries.size() - 1.0 : 1.0)); });
  SkipOnFailure([&] { Text2.SetText(ProposedSuName(*selection)); });
  SkipOnFailure([&] {
    std::string probe = SingleSeparators(ProbeFile(*selection, List1));
    std::erase(probe, ' ');
    state.InputFile = probe;
  });
  SkipOnFailure([&] {
    if (const auto size = FileSizeOf(state.InputFile)) Label8.SetText(NumberText(static_cast<double>(*size)) + " bytes");
  });
  Header_Size();
}

void Bison::Header_Size() {
  ProgressBar1.SetVisible(true);
  ProgressBar1.SetRange(1, kHeaderBarMax);
  std::optional<BisonHeader> header;
  SkipOnFailure([&] {
    BinaryFile file(state.InputFile, BinaryFile::Mode::Read);
    // A bar has no value past its maximum: it stays full beyond it.
    header = ParseBisonHeader(file, [&](int64_t m) {
      if (m >= 1) ProgressBar1.SetProgress(static_cast<int>(std::min<int64_t>(m, kHeaderBarMax)));
    });
  });
  if (!header) return;
  Text7.SetText(PlainDigits(static_cast<double>(header->headerSize)));
  Text3.SetText(header->fields[kBisonChannelsField]);
  Text4.SetText(header->fields[kBisonSamplesField]);
  // An empty field 17 leaves the rate as it was.
  if (!header->fields[kBisonIntervalField].empty()) {
    Text5.SetText(PlainDigits(LeadingNumber(header->fields[kBisonIntervalField]) * 1000));
  }
}

void Bison::Outputfile() {
  SkipOnFailure([&] { Text2.SetText(ChooseOutputFile(platform, state, "SU File name selection")); });
}

void Bison::Command1_Click() {
  if (!RunConversion(platform, kPanel, [&] { Convert(); })) return;
  ProgressBar1.SetVisible(false);
  platform.MessageBox(kConversionDone, buttons::kOk, "");
}

void Bison::Convert() {
  state.NbChannels = TextToInt16(Text3.Text());
  state.NbSamples = TextToInt32(Text4.Text());
  const int16_t words = BisonTraceWords(state.NbSamples);
  state.SampleInterval = TextToInt16(Text5.Text());
  int16_t nbFiles = TextToInt16(Text6.Text());
  const double headerSize = LeadingNumber(Text7.Text());
  if (state.NbSamples <= 0 || words <= 0) throw RunTimeFailure(FailureCode::OutOfRange, "no samples per trace");
  std::vector<float> samples(static_cast<size_t>(state.NbSamples));
  std::vector<uint8_t> raw(2 * static_cast<size_t>(words));

  state.OutputFile = Text2.Text();
  const int channels = state.NbChannels;
  StartProgress(ProgressBar1, channels * nbFiles);
  BinaryFile output = OpenOutput(state.OutputFile);
  nbFiles = LimitTo99Records(nbFiles, platform);
  SuTraceWriter writer(output, state, kGenericHeaderWords);
  for (int f = 1; f <= nbFiles; ++f) {
    BinaryFile input(ListLine(List1, f - 1), BinaryFile::Mode::Read);
    for (int t = 1; t <= channels; ++t) {
      ProgressBar1.SetProgress((f - 1) * channels + t);
      // Past the end of a short file the words read as 0.
      input.Read(BisonTraceOffset(headerSize, t, words), raw.data(), raw.size());
      writer.Seek(RecordIndex(f, t, channels));
      writer.WriteHeader(f, t);
      DecodeBisonTrace(raw.data(), words, samples);
      writer.WriteSamples(samples);
    }
  }
  output.Close();
}

void Bison::Command2_Click() {
  const std::string newLine = state.NewLine.empty() ? "\r\n" : state.NewLine;
  std::string text;
  for (const char* line : kHelpLines) text += line + newLine;
  platform.MessageBox(text, buttons::kInformation, kConverterTitle);
}

}  // namespace vexmor
