#include "importers/seismograph/sisforme.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "core/binary_file.h"
#include "core/failure.h"
#include "core/numbers.h"
#include "importers/seismograph/seismograph.h"
#include "platform/platform.h"

namespace vexmor {

namespace {

using enum ControlKind;

constexpr ControlDef kControls[] = {
    {"Command5", Button, "Press here to select Seismic files"},
    {"Command3", Button, "Input file", "", "", "", kHidden},
    {"Grid1", Grid},
    {"Label8", Label, "Input file size", "", " "},
    {"Text1", Text, "", "click here and find the first ABEM file to convert", " ", "", kHidden},
    {"Text3", Text, "Trace number per record", "Correct here the trace number if necesssary", " 24"},
    {"Text4", Text, "Number of sample", "Correct hre the number of sample per trace", "1024"},
    {"Text5", Text, "Sample rate (microS)", "Don't forget the sample rate !!!", "480"},
    {"Text6", Text, "Number of files to convert", "Type here the number of file to convert", "1"},
    {"Text7", Text, "File Header size", "Enter here the header size (bytes) preceeding traces values", "2048"},
    {"Text8", Text, "Trace header size", "Enter here the header size (bytes) preceeding every trace", "0"},
    {"Text9", Text, "File size with your values",
     "Size of the file with your parameters, must be equals to the input file size", "0"},
    {"Frame1", Frame, "Data type"},
    {"Option1", Option, "Integer 2 bytes", "", "", "Frame1"},
    {"Option2", Option, "Integer 4 bytes", "", "", "Frame1", kSelected},
    {"Option3", Option, "Floating 4 bytes", "", "", "Frame1"},
    {"Option4", Option, "ASCII", "", "", "Frame1", kHidden},
    {"Command6", Button, "Compute Header size"},
    {"Text2", Text, "", "This will be the SU file", " "},
    {"Command4", Button, "Output file"},
    {"Command1", Button, "Convert"},
    {"Command2", Button, "Info"},
    {"ProgressBar1", ProgressBar, "", "", "", "", kHidden},
};

constexpr EventRow<Sisforme> kEvents[] = {
    {kFormEvents, "Load", Op<&Sisforme::Form_Load>},
    {"Command5", "Click", Op<&Sisforme::Select_i>},
    {"Command3", "Click", Op<&Sisforme::Select_i>},
    {"Command4", "Click", Op<&Sisforme::Outputfile>},
    {"Text2", "DblClick", Op<&Sisforme::Outputfile>},
    {"Command6", "Click", Op<&Sisforme::Calcul_gd_file>},
    {"Command1", "Click", Op<&Sisforme::Command1_Click>},
    {"Command2", "Click", Op<&Sisforme::Command2_Click>},
};

constexpr const char* kPanel = "sisforme";

constexpr const char* kHelpLines[] = {
    "SEISMIC FILE CONVERSION",
    "",
    "This module will convert nearly any kind of seismic file  ",
    "to SU format if you know the file structure. ",
    "See your seismograph manual or ask to the factory",
    "Use this module if you don't find Seismograph files on the panel",
    "Header values will not be recorded in the SU file !!!",
    "",
    " 1- Select the all the files of your line",
    " 2- Enter the sample rate (1/1000 ms) ",
    " 3- Enter the number of samples per trace  ",
    " 4- Enter the number of traces per record  ",
    " 5- Enter the record header size  ",
    " 6- Enter the trace header size ",
    "The result will be a single SU file with all the selected inpu files",
    "For OYO McSeis 170 enter 24 channel, 1024 samples, Long Integers",
};

// A read position of 0 (counted from 1) names no byte of the file.
constexpr auto kBadRecordNumber = static_cast<FailureCode>(63);

// The samples are counted with a 16-bit index.
constexpr int32_t kMaxSamples = 32767;

}  // namespace

std::span<const ControlDef> SisformeControls() { return kControls; }

Sisforme::Sisforme(Session& s)
    : session(s),
      state(s.State()),
      platform(s.GetPlatform()),
      form(s, "sisforme", "Norvane Seismic file converter", kControls) {
  BindEvents<Sisforme>(form, *this, kEvents);
}

void Sisforme::Form_Load() {
  // Cell 0 of Grid1 is 5555 twips wide, enough for a folder: a matter of
  // layout, which the desktop front takes from its layout hints.
}

void Sisforme::Select_i() {
  SkipOnFailure([&] {
    state.InputFile =
        ChooseInputFiles(platform, state, {"ES1225 file selection", "Record |*.a*|All files|*.*|", "*.*"});
  });
  SkipOnFailure([&] { Affiche_file(state.InputFile); });
  // After a multi-selection InputFile is the bare name of the last file,
  // found in the folder that the dialog made current.
  SkipOnFailure([&] {
    if (const auto size = FileSizeOf(state.InputFile)) Label8.SetText(NumberText(static_cast<double>(*size)));
  });
}

void Sisforme::Affiche_file(std::string& Input_File) { vexmor::Affiche_file(Input_File, Grid1, Text2, Text6, state); }

void Sisforme::Outputfile() {
  SkipOnFailure([&] { Text2.SetText(ChooseOutputFile(platform, state, "Output File selection")); });
}

SampleType Sisforme::ChosenType() const {
  if (Option1.Value()) return SampleType::Int16;
  if (Option2.Value()) return SampleType::Int32;
  if (Option3.Value()) return SampleType::Float32;
  return SampleType::None;
}

void Sisforme::Calcul_gd_file() {
  double fileHeader = 0, traceHeader = 0;
  SkipOnFailure([&] { state.NbChannels = TextToInt16(Text3.Text()); });
  SkipOnFailure([&] { state.NbSamples = TextToInt32(Text4.Text()); });
  SkipOnFailure([&] { state.SampleInterval = TextToInt16(Text5.Text()); });
  SkipOnFailure([&] { fileHeader = LeadingNumber(Text7.Text()); });
  SkipOnFailure([&] { traceHeader = LeadingNumber(Text8.Text()); });
  const double record = GenericTracesBytes(Option1.Value(), state.NbSamples, traceHeader, state.NbChannels);
  // The size with the values as they stand, then the file header that makes
  // them fit; so a second press shows the file's own size in Text9.
  Text9.SetText(PlainDigits(record + fileHeader));
  SkipOnFailure([&] {
    if (const auto size = FileSizeOf(state.InputFile)) Text7.SetText(PlainDigits(GenericHeaderFit(static_cast<double>(*size), record)));
  });
}

void Sisforme::Command1_Click() {
  GenericRecordLayout layout;
  if (!RunConversion(platform, kPanel, [&] { Convert(layout); })) return;
  platform.MessageBox(kConversionDone, buttons::kOk, "");
}

void Sisforme::Convert(GenericRecordLayout& layout) {
  layout.nbChannels = state.NbChannels = TextToInt16(Text3.Text());
  layout.nbSamples = state.NbSamples = TextToInt32(Text4.Text());
  layout.sampleInterval = state.SampleInterval = TextToInt16(Text5.Text());
  layout.nbFiles = TextToInt16(Text6.Text());
  layout.fileHeaderSize = LeadingNumber(Text7.Text());
  layout.traceHeaderSize = LeadingNumber(Text8.Text());
  layout.type = ChosenType();

  if (layout.nbSamples <= 0) throw RunTimeFailure(FailureCode::OutOfRange, "no samples per trace");
  // Past 32767 samples every trace fails once its header is written, so
  // arrays that size are never filled.
  const size_t inUse = static_cast<size_t>(std::min(layout.nbSamples, kMaxSamples));
  std::vector<uint8_t> raw(inUse * static_cast<size_t>(SampleBytes(layout.type)));
  std::vector<float> samples(inUse);

  state.InputFile = Text1.Text();
  state.OutputFile = Text2.Text();
  StartProgress(ProgressBar1, ToInt16(static_cast<double>(layout.nbChannels) * layout.nbFiles));

  BinaryFile output = OpenOutput(state.OutputFile);
  layout.nbFiles = LimitTo99Records(layout.nbFiles, platform);
  SuTraceWriter writer(output, state, kGenericHeaderWords);
  for (int f = 1; f <= layout.nbFiles; ++f) {
    BinaryFile input(GridFilePath(Grid1, f), BinaryFile::Mode::Read);
    ConvertFile(input, f, layout, writer, raw, samples);
  }
  output.Close();
  ProgressBar1.SetVisible(false);
}

void Sisforme::ConvertFile(BinaryFile& input, int f, const GenericRecordLayout& layout, SuTraceWriter& writer,
                           std::vector<uint8_t>& raw, std::vector<float>& samples) {
  for (int t = 1; t <= layout.nbChannels; ++t) {
    ProgressBar1.SetProgress(ToInt16(static_cast<double>(f - 1) * layout.nbChannels + t));
    const double offset = GenericTraceOffset(layout, t);
    // Counted from 1 while reading.
    state.TracePos = ToInt32(offset + 1);
    if (state.TracePos < 0) {
      platform.MessageBox("Verify your parameters...", buttons::kCritical, kConverterTitle);
      throw ConversionStopped{};
    }
    if (!raw.empty()) {
      if (state.TracePos == 0) throw RunTimeFailure(kBadRecordNumber, input.Path() + ": no byte at position 0");
      input.Read(state.TracePos - 1, raw.data(), raw.size());
    }
    writer.Seek(RecordIndex(f, t, layout.nbChannels));
    writer.WriteHeader(f, t);
    if (layout.nbSamples > kMaxSamples) {
      throw RunTimeFailure(FailureCode::Overflow, "more than 32767 samples per trace");
    }
    SamplesToFloat(raw.data(), layout.type, samples);
    writer.WriteSamples(samples);
  }
}

void Sisforme::Command2_Click() {
  const std::string newLine = state.NewLine.empty() ? "\r\n" : state.NewLine;
  std::string text = kHelpLines[0];
  for (size_t k = 1; k < std::size(kHelpLines); ++k) text += newLine + kHelpLines[k];
  platform.MessageBox(text, buttons::kOk, "");
}

}  // namespace vexmor
