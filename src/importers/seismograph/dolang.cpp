#include "importers/seismograph/dolang.h"

#include <cctype>
#include <optional>
#include <vector>

#include "core/binary_file.h"
#include "core/file_date.h"
#include "core/numbers.h"
#include "core/paths.h"
#include "core/su_trace.h"
#include "core/text_reader.h"
#include "importers/seismograph/dolang_format.h"
#include "importers/seismograph/list_selection.h"
#include "importers/seismograph/seismograph.h"
#include "platform/platform.h"
#include "toolchains/job_script.h"

namespace vexmor {

namespace {

using enum ControlKind;

constexpr ControlDef kControls[] = {
    {"List1", List},
    {"Command6", Button, "Select ALL channel files", "Select all channel files of all shots !"},
    {"Command3", Button, "Info file (xxx.ADT)"},
    {"Text8", Text, "", "Click here to select an Info ADT file", "ADT file"},
    {"Text2", Text, "Number of channel / record", "", "24"},
    {"Text3", Text, "Number of records", "Modify here the number of rexcords (maximum total 99 traces)", "1"},
    {"Text7", Text, "Recording time (ms)", "", " "},
    {"Text6", Text, "Samples per trace", "Number of dsamples per trace", " "},
    {"Text4", Text, "Sample rate (microS)", "", " "},
    {"Command5", Button, "Output SU file name"},
    {"Text5", Text, "", "Click here to change the output SU name", "*.SU"},
    {"Command1", Button, "Convert"},
    {"Command7", Button, "Make SEG-Y file",
     "Copy the SU file to a .sgy file behind a SEG-Y reel header of 3600 zero bytes"},
    {"Command4", Button, "?"},
    {"Command2", Button, "Exit"},
    {"Label8", Label, "", "", " "},
    {"ProgressBar1", ProgressBar},
};

constexpr EventRow<Dolang> kEvents[] = {
    {"Command6", "Click", Op<&Dolang::Command6_Click>},
    {"Command3", "Click", Op<&Dolang::Read_info_file>},
    {"Text8", "DblClick", Op<&Dolang::Read_info_file>},
    {"Command5", "Click", Op<&Dolang::Choix_SU>},
    {"Text5", "DblClick", Op<&Dolang::Choix_SU>},
    {"Command1", "Click", Op<&Dolang::Command1_Click>},
    {"Command2", "Click", Op<&Dolang::Command2_Click>},
    {"Command4", "Click", Op<&Dolang::Command4_Click>},
    {"Command7", "Click", Op<&Dolang::Make_SEGY>},
};

constexpr const char* kPanel = "DOLANG";

// Channel files end in a digit (.a01, .a02): the info file is dropped.
bool ChannelFileName(std::string& name) {
  for (char& c : name) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return !name.empty() && std::isdigit(static_cast<unsigned char>(name.back()));
}

// Entry 0 of the answer is always the folder. Only the names are put in
// lower case: the folders of this system tell letter case apart.
const ListSelectionRules kSelection = {
    {"DOLANG file selection", "Record |*.a*|All files|*.*|", "*.*"}, false, ChannelFileName};

constexpr const char* kHelpLines[] = {
    "How to convert DOLANG files ",
    "DOLANG files a quite complicated, one ASCII file per channel",
    "another file (extension ADT) contains useful informations",
    "1.- Select All channel files *.A01, *.A02 ...",
    "2.- Select the ADT file and verifiy displayed informations",
    "3.- Check parameters (shot number, channels) then press on CONVERT",
    " For multiselection use Windows ususal keys (CTRL and MAJ)",
    "4.- Display the result to check the conversion",
};

constexpr int kSegyReelHeader = 3600;

constexpr HeaderStep kDolangHeaderWords[] = {
    Put("tracl", HeaderValue::Zero),
    Put("tracr", HeaderValue::Zero),
    Put("fldr", HeaderValue::FileNumber),
    Put("tracf", HeaderValue::TraceNumber),
    Put("ep", HeaderValue::Zero),
    Put("cdp", HeaderValue::Zero),
    Put("cdpt", HeaderValue::Zero),
    Put("trid", HeaderValue::One),
    Put("nvs", HeaderValue::Zero),
    Put("nhs", HeaderValue::Zero),
    Put("duse", HeaderValue::Zero),
    ZeroFill(36, 87, 4),
    ZeroFill(88, 181, 2),
    Put("ns", HeaderValue::NbSamplesLow16),
    Put("dt", HeaderValue::SampleInterval),
};

std::string NewLineOf(const SharedState& state) { return state.NewLine.empty() ? "\r\n" : state.NewLine; }

}  // namespace

std::span<const ControlDef> DolangControls() { return kControls; }

Dolang::Dolang(Session& s)
    : session(s), state(s.State()), platform(s.GetPlatform()), form(s, "DOLANG", "Dolang to SU ver. 1.2", kControls) {
  BindEvents<Dolang>(form, *this, kEvents);
}

void Dolang::Command6_Click() {
  Select_i();
  Read_info_file();
}

void Dolang::Select_i() {
  std::optional<ListSelection> selection;
  SkipOnFailure([&] { selection = SelectIntoList(platform, state, List1, kSelection); });
  if (!selection) return;
  SkipOnFailure([&] { Text6.SetText(PlainDigits(selection->entries.size() - 1.0)); });
  SkipOnFailure([&] { Text5.SetText(selection->entries[0] + kSep + "dolang.su"); });
  SkipOnFailure([&] { state.InputFile = ListLine(List1, 0); });
}

void Dolang::Read_info_file() {
  SkipOnFailure([&] {
    FileRequest request;
    request.folder = state.FolderOf;
    request.title = "DOLANG Info File selection";
    request.filter = "Info files|*.adt|All files|*.*|";
    request.fileName = "*.adt";
    Text8.SetText(platform.ChooseFile(request));
  });
  Lecture_adt();
}

void Dolang::Lecture_adt() {
  if (FileExists(Text8.Text()) != 1) {
    platform.MessageBox("does not exist", buttons::kCritical, kConverterTitle);
    return;
  }
  std::vector<std::string> fields;
  SkipOnFailure([&] { fields = ReadAdtFields(ReadWholeFile(Text8.Text())); });
  if (fields.empty()) return;
  auto field = [&](int k) { return fields[static_cast<size_t>(k)]; };
  SkipOnFailure([&] { state.NbChannels = AdtNumber(field(kAdtChannels)); });
  Text2.SetText(PlainDigits(state.NbChannels));
  SkipOnFailure([&] { Text3.SetText(PlainDigits(AdtNumber(field(kAdtRecords)))); });
  SkipOnFailure([&] {
    Text4.SetText(PlainDigits(DolangInterval(AdtNumber(field(kAdtRecordingTime)), AdtNumber(field(kAdtSamples)))));
  });
  SkipOnFailure([&] { Text5.SetText(ReplaceLastThree(Text8.Text(), "SU")); });
  SkipOnFailure([&] { Text6.SetText(PlainDigits(AdtNumber(field(kAdtSamples)))); });
  SkipOnFailure([&] { Text7.SetText(PlainDigits(AdtNumber(field(kAdtRecordingTime)))); });
}

void Dolang::Choix_SU() {
  SkipOnFailure([&] {
    FileRequest request;
    request.folder = state.FolderOf;
    request.title = "Seismic Unix Output file selection";
    request.filter = "SU files|*.SU|";
    request.fileName = "*.SU";
    request.save = true;
    Text5.SetText(platform.ChooseFile(request));
  });
}

void Dolang::Command1_Click() {
  const std::string outputPath = Text5.Text();
  int16_t interval = 0;
  SkipOnFailure([&] { interval = TextToInt16(Text4.Text()); });
  if (interval == 0) {
    platform.MessageBox("Sample rate missing, you must read the ADT file", buttons::kCritical, kConverterTitle);
    return;
  }
  int16_t channels = 0, records = 0, samples = 0;
  SkipOnFailure([&] { channels = TextToInt16(Text2.Text()); });
  SkipOnFailure([&] { records = TextToInt16(Text3.Text()); });
  SkipOnFailure([&] { samples = TextToInt16(Text6.Text()); });
  if (samples < 1 || samples > kMaxSamples16BitRecord) {
    platform.MessageBox("Samples per trace must be 1 to 8131, not " + PlainDigits(samples), buttons::kCritical,
                        kConverterTitle);
    return;
  }
  const SuDateWords date = DateWordsOf(state.InputFile);
  const int total = records * channels;
  ProgressBar1.SetRange(1, total);

  state.NbSamples = samples;
  state.SampleInterval = interval;
  std::vector<float> trace(static_cast<size_t>(samples), 0.0f);
  std::optional<BinaryFile> output;
  SkipOnFailure([&] { output.emplace(OpenOutput(outputPath)); });
  std::optional<SuTraceWriter> writer;
  if (output) writer.emplace(*output, state, kDolangHeaderWords);
  // Traces past the end of the list have no file: they are not written, and
  // the user is told, rather than getting traces of another channel.
  const int lines = static_cast<int>(List1.Items().size());
  int j = 0;
  for (int r = 1; r <= records && j < lines; ++r) {
    for (int c = 1; c <= channels && j < lines; ++c) {
      const int n = (r - 1) * channels + c;
      ProgressBar1.SetProgress(n);
      const std::string path = List1.Items()[static_cast<size_t>(j++)];
      Label8.SetText("Converting " + path);
      platform.PumpEvents();
      // A file that can't be read leaves the samples of the trace before.
      SkipOnFailure([&] { ReadChannelTrace(ReadWholeFile(path), trace); });
      if (!writer) continue;
      SkipOnFailure([&] {
        writer->Seek(n - 1);
        writer->WriteSamples(trace);
        writer->WriteHeader(r, c);
        writer->WriteWord("year", date.year);
        writer->WriteWord("day", date.day);
        writer->WriteWord("hour", date.hour);
        writer->WriteWord("minute", date.minute);
      });
    }
  }
  SkipOnFailure([&] {
    if (output) output->Close();
  });
  if (total > lines) {
    platform.MessageBox("The list holds " + PlainDigits(lines) + " channel files for " + PlainDigits(total) +
                            " traces: traces " + PlainDigits(lines + 1) + " to " + PlainDigits(total) +
                            " are not written",
                        buttons::kExclamation, kConverterTitle);
  }
  platform.MessageBox("OK Conversion done", buttons::kInformation, kConverterTitle);
}

void Dolang::Command2_Click() { session.Close(kPanel); }

void Dolang::Command4_Click() {
  const std::string newLine = NewLineOf(state);
  std::string text;
  for (size_t k = 0; k < std::size(kHelpLines); ++k) text += (k ? newLine : "") + kHelpLines[k];
  platform.MessageBox(text, buttons::kInformation, kConverterTitle);
}

// The output behind 3600 zero bytes, the size of a SEG-Y reel header. The
// zero header and the job script are work files of ours; the copy runs as a
// job and is not waited for.
void Dolang::Make_SEGY() {
  const std::string outputPath = Text5.Text();
  const std::string newName = outputPath.substr(0, outputPath.size() >= 2 ? outputPath.size() - 2 : 0) + "sgy";
  state.FolderOf = FolderOf(outputPath);
  if (FileExists(outputPath) != 1 || HasWildcards(outputPath)) {
    platform.MessageBox("SGY conversion error: " + outputPath + " does not exist, convert first", buttons::kOk, "");
    return;
  }
  const std::string work = WorkFolder();
  const std::string zeros = work + "header2.tmp";
  const std::string script = work + "sgy.bat";
  bool written = false;
  if (!work.empty()) SkipOnFailure([&] {
    BinaryFile header(zeros, BinaryFile::Mode::Create);
    const std::vector<uint8_t> bytes(kSegyReelHeader, 0);
    header.Write(0, bytes.data(), bytes.size());
    header.Close();
    written = WriteJobScript(script, {"Copy/b " + zeros + "+" + outputPath + " " + newName}, NewLineOf(state));
  });
  const int task = written ? StartJobScript(platform, state, script, 0) : 0;
  platform.MessageBox(task > 0 ? "SGY conversion OK " + newName : std::string("SGY conversion error"), buttons::kOk,
                      "");
}

}  // namespace vexmor
