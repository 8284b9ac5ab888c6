#include "importers/seismograph/pasi.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

#include "core/binary_file.h"
#include "core/numbers.h"
#include "core/paths.h"
#include "core/su_trace.h"
#include "core/text_reader.h"
#include "importers/seismograph/list_selection.h"
#include "importers/seismograph/pasi_format.h"
#include "importers/seismograph/seismograph.h"
#include "platform/platform.h"

namespace vexmor {

namespace {

using enum ControlKind;

constexpr ControlDef kControls[] = {
    {"Command5", Button, "Press here to select LCM-12 files"},
    {"List1", List},
    {"Text2", Text, "", "This will be the SU file", " "},
    {"Command4", Button, "Output file"},
    {"Text6", Text, "Number of files to convert", "Type here the number of file to convert", "1"},
    {"Text3", Text, "Trace number per record", "Correct here the trace number if necesssary", "12"},
    {"Text4", Text, "Number of sample", "Correct hre the number of sample per trace", "512"},
    {"Text5", Text, "Sample rate (micros)", "Don't forget the sample rate !!!", "500"},
    {"Label8", Label, "Input file size", "", " "},
    {"Command1", Button, "Convert"},
    {"Command2", Button, "Info"},
    {"ProgressBar1", ProgressBar},
};

constexpr EventRow<Pasi> kEvents[] = {
    {"Command5", "Click", Op<&Pasi::Command5_Click>},
    {"Command4", "Click", Op<&Pasi::Command4_Click>},
    {"Command1", "Click", Op<&Pasi::Command1_Click>},
    {"Command2", "Click", Op<&Pasi::Command2_Click>},
};

// Entry 0 of the answer is always the folder: one file adds nothing.
const ListSelectionRules kSelection = {{"LCM-1 file selection", "Record |*.asc|All files|*.*|", "*.asc"}, false};


constexpr HeaderStep kPasiHeaderWords[] = {
    Put("tracl", HeaderValue::Zero),
    Put("tracr", HeaderValue::Zero),
    Put("fldr", HeaderValue::FileNumber),
    Put("tracf", HeaderValue::TraceNumber),
    Put("ep", HeaderValue::Zero),
    Put("cdp", HeaderValue::Zero),
    Put("cdpt", HeaderValue::Zero),
    Put("trid", HeaderValue::One),
    Put("nvs", HeaderValue::One),
    Put("nhs", HeaderValue::One),
    Put("duse", HeaderValue::Zero),
    ZeroFill(36, 87, 4),
    ZeroFill(88, 181, 2),
    Put("muts", HeaderValue::Zero),
    Put("mute", HeaderValue::Zero),
    Put("tstat", HeaderValue::Zero),
    Put("dt", HeaderValue::SampleInterval),
    Put("ns", HeaderValue::NbSamplesLow16),
    Put("year", HeaderValue::Zero),
    Put("day", HeaderValue::Zero),
    Put("hour", HeaderValue::Zero),
    Put("minute", HeaderValue::Zero),
};

}  // namespace

std::span<const ControlDef> PasiControls() { return kControls; }

Pasi::Pasi(Session& s)
    : session(s), state(s.State()), platform(s.GetPlatform()), form(s, "pasi", "LCM-112", kControls) {
  BindEvents<Pasi>(form, *this, kEvents);
}

void Pasi::Command5_Click() {
  std::optional<ListSelection> selection;
  SkipOnFailure([&] { selection = SelectIntoList(platform, state, List1, kSelection); });
  if (!selection) return;
  SkipOnFailure([&] { Text6.SetText(PlainDigits(selection->entries.size() - 1.0)); });
  SkipOnFailure([&] { state.InputFile = ListLine(List1, 0); });
  SkipOnFailure([&] { Text2.SetText(ReplaceLastThree(state.InputFile, "SU")); });
  SkipOnFailure([&] { state.NbSamples = TextToInt32(Text4.Text()); });
  SkipOnFailure([&] {
    if (const auto size = FileSizeOf(state.InputFile)) Label8.SetText(NumberText(static_cast<double>(*size)) + " bytes");
  });
}

void Pasi::Command4_Click() {
  SkipOnFailure([&] {
    FileRequest request;
    request.folder = state.FolderOf;
    request.title = "LCM-1 file selection";
    request.filter = "SU File |*.SU|";
    request.fileName = "*.SU";
    request.multi = true;
    request.save = true;
    Text2.SetText(platform.ChooseFile(request));
  });
}

void Pasi::Command1_Click() {
  int32_t nbFiles = 0, channels = 0;
  int16_t samples = 0;
  state.OutputFile = Text2.Text();
  SkipOnFailure([&] { nbFiles = TextToInt32(Text6.Text()); });
  SkipOnFailure([&] { channels = TextToInt32(Text3.Text()); });
  SkipOnFailure([&] { state.SampleInterval = TextToInt16(Text5.Text()); });
  SkipOnFailure([&] { samples = TextToInt16(Text4.Text()); });
  if (samples < 1 || samples > kMaxSamples16BitRecord) {
    platform.MessageBox("Number of sample must be 1 to 8131, not " + PlainDigits(samples), buttons::kCritical,
                        kConverterTitle);
    return;
  }
  // Records are placed by 32-bit positions: a count that would pass them
  // is refused before anything is written.
  const int64_t traces = static_cast<int64_t>(std::max(nbFiles, 0)) * std::max(channels, 0);
  if (traces > 0 && (traces - 1) * (240 + 4 * static_cast<int64_t>(samples)) > INT32_MAX) {
    platform.MessageBox("Too many traces: " + PlainDigits(static_cast<double>(traces)) +
                            " traces would not fit one SU file of 2 GB",
                        buttons::kCritical, kConverterTitle);
    return;
  }
  state.NbSamples = samples;
  std::vector<float> trace(static_cast<size_t>(samples), 0.0f);
  std::optional<BinaryFile> output;
  SkipOnFailure([&] { output.emplace(OpenOutput(state.OutputFile)); });
  if (output) {
    SuTraceWriter writer(*output, state, kPasiHeaderWords);
    int32_t n = -1;
    for (int32_t f = 1; f <= nbFiles && channels > 0; ++f) {
      // A file that can't be read leaves its traces with the samples of the
      // trace before.
      std::optional<PasiReader> reader;
      SkipOnFailure([&] { reader.emplace(ReadWholeFile(ListLine(List1, f - 1))); });
      for (int32_t t = 1; t <= channels; ++t) {
        ++n;
        SkipOnFailure([&] {
          writer.Seek(n);
          writer.WriteHeader(f, t);
        });
        if (reader) reader->ReadTrace(trace);
        SkipOnFailure([&] { writer.WriteSamples(trace); });
      }
    }
    SkipOnFailure([&] { output->Close(); });
  }
  platform.MessageBox("Conversion, done !", buttons::kInformation, kConverterTitle);
}

void Pasi::Command2_Click() {
  platform.MessageBox(
      " This modules convert LCM-12 seismograph data to SU format, just select files and press on CONVERT button",
      buttons::kInformation, kConverterTitle);
}

}  // namespace vexmor
