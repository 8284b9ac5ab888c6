#include "importers/seismograph/ambrogeo.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

#include "core/binary_file.h"
#include "core/numbers.h"
#include "core/paths.h"
#include "core/text_reader.h"
#include "importers/seismograph/ambrogeo_format.h"
#include "importers/seismograph/list_selection.h"
#include "importers/seismograph/seismograph.h"
#include "platform/platform.h"

namespace vexmor {

namespace {

using enum ControlKind;

constexpr ControlDef kControls[] = {
    {"Command5", Button, "Press here to select files"},
    {"List1", List},
    {"Text2", Text, "", "This will be the SU file", " "},
    {"Command4", Button, "Output file"},
    {"Text6", Text, "Number of files to convert", "Type here the number of file to convert", "1"},
    {"Text3", Text, "Number of sample", "", "0"},
    {"Text1", Text, "Trace number per record", "", "24"},
    {"Text4", Text, "Sample rate", "", "0"},
    {"Frame1", Frame, "Data type"},
    {"Option1", Option, "Integer 2 bytes", "Bison 5000 are integer values", "", "Frame1"},
    {"Option3", Option, "Floating 4 bytes", "", "", "Frame1"},
    {"Option4", Option, "ASCII", "", "", "Frame1"},
    {"Command1", Button, "Convert"},
    {"Command2", Button, "Info"},
    {"ProgressBar1", ProgressBar, "", "", "", "", kHidden},
};

// Command4 "Output file" is shown and does nothing.
constexpr EventRow<Ambrogeo> kEvents[] = {
    {"Command5", "Click", Op<&Ambrogeo::Command5_Click>},
    {"Command1", "Click", Op<&Ambrogeo::Command1_Click>},
    {"Command2", "Click", Op<&Ambrogeo::Command2_Click>},
};

constexpr const char* kPanel = "Ambrogeo";

const ListSelectionRules kSelection = {{"ambrogeo file selection", "Record |*.dta|All files|*.*|", "*.dta"}, true};

constexpr const char* kHelpLines[] = {
    "AMBROGEO module conversion",
    " This module convert AMBREGEO record to SU format ",
    " Sample rate trace number, trace number, file number are recorded ",
    " Just verify the number of channels per record ",
};

// Samples are counted with a signed 16-bit index.
constexpr int32_t kMaxSamples = 32767;
// Only the probe's first lines are read: a file of any size costs this much.
constexpr size_t kProbeBytes = 1 << 16;

// The zero fill from byte 180 runs on over the first 16 bytes of the
// samples, which are written afterwards and replace them.
constexpr HeaderStep kAmbrogeoHeaderWords[] = {
    Put("tracl", HeaderValue::Zero),
    Put("tracr", HeaderValue::Zero),
    Put("fldr", HeaderValue::FileNumber),
    Put("tracf", HeaderValue::TraceNumber),
    Put("cdp", HeaderValue::Zero),
    Put("cdpt", HeaderValue::Zero),
    Put("trid", HeaderValue::One),
    Put("nvs", HeaderValue::One),
    Put("nhs", HeaderValue::One),
    Put("duse", HeaderValue::One),
    ZeroFill(36, 87, 4),
    ZeroFill(88, 179, 2),
    Put("ns", HeaderValue::NbSamplesLow16),
    Put("dt", HeaderValue::SampleInterval),
    ZeroFill(180, 255, 4),
};

std::string ReadPrefix(const std::string& path, size_t n) {
  BinaryFile file(path, BinaryFile::Mode::Read);
  std::string text(static_cast<size_t>(std::min<int64_t>(file.Size(), static_cast<int64_t>(n))), '\0');
  file.Read(0, text.data(), text.size());
  return text;
}

}  // namespace

std::span<const ControlDef> AmbrogeoControls() { return kControls; }

Ambrogeo::Ambrogeo(Session& s)
    : session(s), state(s.State()), platform(s.GetPlatform()), form(s, "Ambrogeo", "Ambrogeo files", kControls) {
  BindEvents<Ambrogeo>(form, *this, kEvents);
}

void Ambrogeo::Command5_Click() {
  std::optional<ListSelection> selection;
  SkipOnFailure([&] { selection = SelectIntoList(platform, state, List1, kSelection); });
  if (!selection) return;
  SkipOnFailure([&] { Text6.SetText(PlainDigits(selection->multi ? selection->entries.size() - 1.0 : 1.0)); });
  SkipOnFailure([&] { Text2.SetText(ProposedSuName(*selection)); });
  SkipOnFailure([&] {
    std::string output = SingleSeparators(Text2.Text());
    std::erase(output, ' ');
    state.OutputFile = output;
    Text2.SetText(output);
  });
  std::vector<std::string> lines;
  SkipOnFailure([&] { lines = AmbrogeoProbeLines(ReadPrefix(ProbeFile(*selection, List1), kProbeBytes)); });
  lines.resize(kAmbrogeoProbeLines);
  const std::string rate = AmbrogeoProposedRate(lines);
  Text1.SetText(lines[7]);
  Text3.SetText(lines[8]);
  SkipOnFailure([&] { Text4.SetText(platform.PromptValue("Enter the sampling rate:", kConverterTitle, rate)); });
}

void Ambrogeo::Command1_Click() {
  platform.BusyPointer(true, kPanel);
  int16_t nbFiles = 0;
  SkipOnFailure([&] { state.NbChannels = TextToInt16(Text1.Text()); });
  SkipOnFailure([&] { state.NbSamples = TextToInt32(Text3.Text()); });
  SkipOnFailure([&] { state.SampleInterval = TextToInt16(Text4.Text()); });
  SkipOnFailure([&] { nbFiles = TextToInt16(Text6.Text()); });
  const int channels = state.NbChannels;
  const int32_t samples = state.NbSamples;
  if (samples < 1 || samples > kMaxSamples) {
    platform.BusyPointer(false, kPanel);
    platform.MessageBox("Number of sample must be 1 to 32767, not " + PlainDigits(samples), buttons::kCritical,
                        kConverterTitle);
    return;
  }
  // Channels past the 24 of a row are never filled: they keep no matrix row.
  std::vector<std::vector<int16_t>> matrix(static_cast<size_t>(std::clamp(channels, 0, kAmbrogeoRowValues)),
                                           std::vector<int16_t>(static_cast<size_t>(samples), 0));
  std::vector<float> trace(static_cast<size_t>(samples), 0.0f);
  state.OutputFile = Text2.Text();
  ProgressBar1.SetVisible(true);
  ProgressBar1.SetRange(1, nbFiles);
  std::optional<BinaryFile> output;
  SkipOnFailure([&] { output.emplace(OpenOutput(state.OutputFile)); });
  if (nbFiles > 99) {
    nbFiles = 99;
    platform.MessageBox("Maximum 99 records", buttons::kOk, "");
  }
  // The zero fill stops at the end of a record shorter than 256 bytes, so
  // that nothing lands past the last record.
  std::vector<HeaderStep> words(std::begin(kAmbrogeoHeaderWords), std::end(kAmbrogeoHeaderWords));
  words.back().to = std::min(255, 240 + 4 * samples - 1);
  std::optional<SuTraceWriter> writer;
  if (output) writer.emplace(*output, state, words);
  const int lines = static_cast<int>(List1.Items().size());
  int16_t year = 0, day = 0, hour = 0, minute = 0;
  for (int f = 1; f <= nbFiles && f <= lines; ++f) {
    ProgressBar1.SetProgress(f);
    // A file that can't be read leaves the matrix and the date as they were.
    SkipOnFailure([&] {
      const AmbrogeoRecord record = ReadAmbrogeoRecord(ReadWholeFile(ListLine(List1, f - 1)), samples, matrix);
      const std::string line5 = record.headerLines.size() >= 5 ? record.headerLines[4] : "";
      const std::string line6 = record.headerLines.size() >= 6 ? record.headerLines[5] : "";
      const AmbrogeoDate date = DecodeAmbrogeoDate(line5, line6);
      year = date.year.value_or(year);
      day = date.day.value_or(day);
      hour = date.hour.value_or(hour);
      minute = date.minute.value_or(minute);
    });
    if (!writer) continue;
    for (int c = 1; c <= channels; ++c) {
      // The trace index is a 16-bit value: no later trace has a place.
      const int64_t index = (c - 1) + static_cast<int64_t>(channels) * (f - 1);
      if (index > INT16_MAX) break;
      SkipOnFailure([&] {
        writer->Seek(static_cast<int32_t>(index));
        writer->WriteHeader(f, c);
        writer->WriteWord("year", year);
        writer->WriteWord("day", day);
        writer->WriteWord("hour", hour);
        writer->WriteWord("minute", minute);
        if (static_cast<size_t>(c) <= matrix.size()) {
          std::copy(matrix[static_cast<size_t>(c - 1)].begin(), matrix[static_cast<size_t>(c - 1)].end(),
                    trace.begin());
        } else {
          std::fill(trace.begin(), trace.end(), 0.0f);
        }
        writer->WriteSamples(trace);
      });
    }
  }
  SkipOnFailure([&] {
    if (output) output->Close();
  });
  ProgressBar1.SetVisible(false);
  platform.BusyPointer(false, kPanel);
  if (nbFiles > lines) {
    platform.MessageBox("The list holds " + PlainDigits(lines) + " files: files " + PlainDigits(lines + 1) + " to " +
                            PlainDigits(nbFiles) + " are not converted",
                        buttons::kExclamation, kConverterTitle);
  }
  platform.MessageBox(kConversionDone, buttons::kOk, "");
}

void Ambrogeo::Command2_Click() {
  const std::string newLine = state.NewLine.empty() ? "\r\n" : state.NewLine;
  std::string text;
  for (size_t k = 0; k < std::size(kHelpLines); ++k) text += (k ? newLine : "") + kHelpLines[k];
  platform.MessageBox(text, buttons::kInformation, kConverterTitle);
}

}  // namespace vexmor
