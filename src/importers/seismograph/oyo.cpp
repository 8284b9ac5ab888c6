#include "importers/seismograph/oyo.h"

#include <cstdio>
#include <optional>
#include <vector>

#include "core/binary_file.h"
#include "core/numbers.h"
#include "core/paths.h"
#include "importers/seismograph/list_selection.h"
#include "importers/seismograph/oyo_format.h"
#include "importers/seismograph/seismograph.h"
#include "platform/platform.h"

namespace vexmor {

namespace {

using enum ControlKind;

constexpr ControlDef kControls[] = {
    {"Command3", Button, "Press here to select OYO McSEIS170 "},
    {"List1", List},
    {"Text3", Text, "Trace number", "", " 12"},
    {"Text4", Text, "Number of sample", "", "2048"},
    {"Text6", Text, "Sample rate", "", "200"},
    {"Text1", Text, "Record length", "", "1024"},
    {"Text5", Text, "Number of files", "Type here the number of file to convert", "1"},
    {"Text2", Text, "", "", " "},
    {"sinteger", Option, "Short Integer"},
    {"linterger", Option, "Long integer", "", "", "", kSelected},
    {"Command4", Button, "Out file"},
    {"Command1", Button, "Convert"},
    {"Command2", Button, "Info"},
    {"Command5", Button, "McSeis 3 files...", "Select McSeis 3 records and read their sample rate"},
    {"ProgressBar1", ProgressBar},
};

constexpr EventRow<Oyo> kEvents[] = {
    {"Command3", "Click", Op<&Oyo::Select_i>},
    {"Command4", "Click", Op<&Oyo::Command4_Click>},
    {"Command1", "Click", Op<&Oyo::Command1_Click>},
    {"Command2", "Click", Op<&Oyo::Command2_Click>},
    {"Command5", "Click", Op<&Oyo::Command5_Click>},
};

constexpr const char* kPanel = "oyo";

// Entry 0 of the answer is always the folder: one file adds nothing.
const ListSelectionRules kSelection = {{"OYO McSeis file selection", "Record |*.org|All files|*.*|", "*.org"}, false};

// Zero fill of bytes 36 to 223, then the words; bytes 224 to 239 are not
// written. The words of the text block follow (WriteTraceHeader).
constexpr HeaderStep kOyoHeaderWords[] = {
    ZeroFill(36, 87, 4),
    ZeroFill(88, 179, 2),
    ZeroFill(180, 207, 4),
    ZeroFill(208, 223, 2),
    Put("tracl", HeaderValue::Zero),
    Put("tracr", HeaderValue::Zero),
    Put("cdp", HeaderValue::Zero),
    Put("cdpt", HeaderValue::Zero),
    Put("fldr", HeaderValue::FileNumber),
    Put("tracf", HeaderValue::TraceNumber),
    Put("trid", HeaderValue::One),
    Put("nvs", HeaderValue::One),
    Put("nhs", HeaderValue::One),
    Put("duse", HeaderValue::One),
    Put("ns", HeaderValue::NbSamplesLow16),
    Put("dt", HeaderValue::SampleInterval),
};

// Each item ends a line; three of them end two.
constexpr const char* kHelpLines[] = {
    "OYO McSeis 170  to SU format conversion",
    "",
    "This module will convert OYO McSeis 170 ( modified SEG-1) 12 channels and 1000 samples records  ",
    "to Seismic Unix format. ",
    "",
    " 1- Select all the files of your line (max, 99)",
    "    Use Ctrl or Ucase for multiple files selection",
    " 2- Check record parameters ",
    " 3- click on CONVERT button",
    "",
    "Most of SEG header informations are recorded in SU file ",
    "The result will be a single file with all the selected data ",
};

constexpr int32_t kMaxSamples = 32767;

}  // namespace

std::span<const ControlDef> OyoControls() { return kControls; }

Oyo::Oyo(Session& s)
    : session(s),
      state(s.State()),
      platform(s.GetPlatform()),
      form(s, "oyo", "OYO McSEIS 170 to SU conversion", kControls) {
  BindEvents<Oyo>(form, *this, kEvents);
}

void Oyo::Select_i() {
  std::optional<ListSelection> selection;
  SkipOnFailure([&] { selection = SelectIntoList(platform, state, List1, kSelection); });
  if (!selection) return;
  SkipOnFailure([&] { Text5.SetText(PlainDigits(selection->entries.size() - 1.0)); });
  SkipOnFailure([&] { Text2.SetText(selection->entries[0] + kSep + "oyo.su"); });
  std::string probe;
  SkipOnFailure([&] { probe = ListLine(List1, 0); });
  ReadProbe(probe);
}

// The first file's text block proposes the trace count, which the user is
// always asked to confirm, and gives the samples and the interval as they
// stand in the file.
void Oyo::ReadProbe(const std::string& probe) {
  std::optional<BinaryFile> file;
  SkipOnFailure([&] { file.emplace(probe, BinaryFile::Mode::Read); });
  SkipOnFailure([&] { Text3.SetText(PlainDigits(LeadingNumber(ReadOyoField(file.value(), kOyoChannels)))); });
  SkipOnFailure([&] { Text3.SetText(platform.PromptValue("Enter the number of channels", kConverterTitle, Text3.Text())); });
  SkipOnFailure([&] { Text4.SetText(ReadOyoField(file.value(), kOyoSamples)); });
  SkipOnFailure([&] { Text6.SetText(ReadOyoField(file.value(), kOyoInterval)); });
  file.reset();
  SkipOnFailure([&] { Text1.SetText(PlainDigits(LeadingNumber(Text4.Text()) * LeadingNumber(Text6.Text()))); });
}

void Oyo::Command4_Click() {
  SkipOnFailure([&] { Text2.SetText(ChooseOutputFile(platform, state, "SU File name selection")); });
}

void Oyo::Command1_Click() {
  // No selection yet.
  if (state.InputFile.size() < 5) return;
  platform.BusyPointer(true, kPanel);
  ReadControls();
  if (!ReplaceExistingOutput()) {
    platform.BusyPointer(false, kPanel);
    return;
  }
  int16_t nbFiles = 0;
  SkipOnFailure([&] { nbFiles = TextToInt16(Text5.Text()); });
  TraceBuffers buffers;
  buffers.type = linterger.Value() ? SampleType::Int32 : SampleType::Int16;
  if (state.NbSamples > 0 && state.NbSamples <= kMaxSamples) {
    buffers.raw.assign(static_cast<size_t>(state.NbSamples) * static_cast<size_t>(SampleBytes(buffers.type)), 0);
    buffers.samples.assign(static_cast<size_t>(state.NbSamples), 0.0f);
  }
  std::optional<BinaryFile> output;
  SkipOnFailure([&] { output.emplace(OpenOutput(state.OutputFile)); });
  nbFiles = LimitTo99Records(nbFiles, platform);
  ProgressBar1.SetRange(1, nbFiles);
  for (int f = 1; f <= nbFiles; ++f) {
    ProgressBar1.SetProgress(f);
    ConvertFile(f, output ? &*output : nullptr, buffers);
  }
  SkipOnFailure([&] {
    if (output) output->Close();
  });
  platform.BusyPointer(false, kPanel);
  platform.MessageBox("Conversion done", buttons::kOk, "");
}

void Oyo::ReadControls() {
  SkipOnFailure([&] { state.NbSamples = TextToInt32(Text4.Text()); });
  // Text6 holds milliseconds; a value whose thousandfold does not fit 16
  // bits (the default "200") leaves SampleInterval as it was.
  SkipOnFailure([&] { state.SampleInterval = ToInt16(LeadingNumber(Text6.Text()) * 1000); });
  SkipOnFailure([&] { state.NbChannels = TextToInt16(Text3.Text()); });
  state.OutputFile = SingleSeparators(Text2.Text());
}

// An existing output is named in a question: OK deletes it, anything else
// keeps it and ends the conversion.
bool Oyo::ReplaceExistingOutput() {
  if (FileExists(state.OutputFile) != 1) return true;
  const int answer = platform.MessageBox(state.OutputFile + " file name already exists, this will will remplaced !",
                                         buttons::kQuestionOkCancel, kConverterTitle);
  if (answer != answers::kOk) return false;
  std::remove(ResolveExisting(state.OutputFile).c_str());
  return true;
}

void Oyo::ConvertFile(int f, BinaryFile* output, TraceBuffers& buffers) {
  std::optional<BinaryFile> input;
  SkipOnFailure([&] { input.emplace(ListLine(List1, f - 1), BinaryFile::Mode::Read); });
  // A file that can't be opened gives zero header values.
  OyoTextBlock block;
  if (input) block = ReadOyoTextBlock(*input);
  // Without an output every write would fail: nothing to do per trace.
  if (output == nullptr) return;
  SuTraceWriter writer(*output, state, kOyoHeaderWords);
  const int channels = state.NbChannels;
  for (int t = 1; t <= channels; ++t) {
    bool placed = false;
    SkipOnFailure([&] {
      TraceIndex = ToInt32((f - 1.0) * channels + t - 1);
      writer.Seek(TraceIndex);
      placed = true;
    });
    // A record whose place can't be worked out is not written at all,
    // rather than over the one before.
    if (!placed) continue;
    SkipOnFailure([&] { WriteTraceHeader(writer, block, t); });
    // A trace that can't be read keeps the samples of the one before.
    SkipOnFailure([&] {
      if (input && !buffers.raw.empty()) {
        input->Read(OyoTraceOffset(t, state.NbSamples, SampleBytes(buffers.type)), buffers.raw.data(),
                    buffers.raw.size());
      }
    });
    SkipOnFailure([&] {
      if (buffers.samples.empty()) return;
      SamplesToFloat(buffers.raw.data(), buffers.type, buffers.samples);
      writer.WriteSamples(buffers.samples);
    });
  }
}

// fldr takes the record number of the text block, handed to the writer in
// place of the file's place in the list.
void Oyo::WriteTraceHeader(SuTraceWriter& writer, const OyoTextBlock& block, int t) {
  writer.WriteHeader(block.recordNumber, t);
  writer.WriteWord("sx", block.sourceX);
  writer.WriteWord("sy", block.sourceY);
  writer.WriteWord("delrt", block.delay);
  writer.WriteWord("nofilf", block.notch);
  writer.WriteWord("lcf", block.lowCut);
  writer.WriteWord("hcf", block.highCut);
}

void Oyo::Command2_Click() {
  const std::string newLine = state.NewLine.empty() ? "\r\n" : state.NewLine;
  std::string text;
  for (const char* line : kHelpLines) text += line + newLine;
  platform.MessageBox(text, buttons::kOk, "");
}

void Oyo::Command5_Click() { session.Open("HandyViewer"); }

}  // namespace vexmor
