#include "importers/radar/dzt_old.h"

#include <cmath>
#include <cstdio>
#include <limits>
#include <optional>
#include <vector>

#include "core/binary_file.h"
#include "core/failure.h"
#include "core/numbers.h"
#include "core/paths.h"
#include "core/su_trace.h"
#include "core/text.h"
#include "importers/radar/dzt_words.h"
#include "importers/radar/radar_common.h"

namespace vexmor {

namespace {

using enum ControlKind;

constexpr std::string_view kDigits = "0123456789";
constexpr std::string_view kDigitsAndPoint = ".0123456789";

constexpr ControlDef kControls[] = {
    {"Text1", Text, "", "", " "},
    {"Command1", Button, "Input file"},
    {"Text2", Text, "", "", " "},
    {"Command2", Button, "Output file"},
    {"Text3", Text, "Number of samples", "", "512", "", 0, kDigits},
    {"Text5", Text, "Trace number", "", "0"},
    {"Text4", Text, "Sampling rate (nS)", "", "0", "", 0, kDigits},
    {"Combo1", Combo, "Data bits", "", "16"},
    {"Text6", Text, "Trace spacing", "", "0.10", "", 0, kDigitsAndPoint},
    {"Command3", Button, "Convert"},
    {"Command4", Button, "Exit"},
    {"Command5", Button, "Info"},
    {"ProgressBar1", ProgressBar},
};

constexpr EventRow<DZT_old> kEvents[] = {
    {kFormEvents, "Load", Op<&DZT_old::Form_Load>},
    {"Command1", "Click", Op<&DZT_old::Choix_IP>},
    {"Text1", "DblClick", Op<&DZT_old::Choix_IP>},
    {"Command2", "Click", Op<&DZT_old::Choix_OP>},
    {"Text2", "DblClick", Op<&DZT_old::Choix_OP>},
    {"Text3", "KeyPress", OpArgs<&DZT_old::Digits>},
    {"Text4", "KeyPress", OpArgs<&DZT_old::Digits>},
    {"Text6", "KeyPress", OpArgs<&DZT_old::DigitsAndPoint>},
    {"Command3", "Click", Op<&DZT_old::Command3_Click>},
    {"Command4", "Click", Op<&DZT_old::Command4_Click>},
    {"Command5", "Click", Op<&DZT_old::Command5_Click>},
};

constexpr const char* kPanel = "DZT_old";

// 4 x M + 240 is a 16-bit sum; the traces are a 32-bit count.
constexpr RadarLimits kLimits{std::numeric_limits<int32_t>::max(), kMaxSamples16BitRecord, kMaxSamples16BitRecord, "Trace number", "Number of samples"};

}  // namespace

std::span<const ControlDef> DztOldControls() { return kControls; }

DZT_old::DZT_old(Session& s)
    : session(s), state(s.State()), platform(s.GetPlatform()), form(s, kPanel, "GSSI Radar DZT to SU", kControls) {
  BindEvents<DZT_old>(form, *this, kEvents);
}

void DZT_old::Form_Load() {
  Combo1.ClearItems();
  Combo1.AddItem("8");
  Combo1.AddItem("16");
  Combo1.SetListIndex(1);  // the default "16"
}

void DZT_old::Digits(EventArgs& args) { args.key = KeyFilter(args.key, kDigits, true, platform); }
void DZT_old::DigitsAndPoint(EventArgs& args) { args.key = KeyFilter(args.key, kDigitsAndPoint, true, platform); }

void DZT_old::Choix_IP() {
  FileRequest request;
  request.folder = state.FolderOf;
  request.title = "DZT file selection";
  request.filter = "Radar DZT |*.DZT";
  state.InputFile = platform.ChooseFile(request);
  Text1.SetText(state.InputFile);
  if (state.InputFile.size() >= 3) Text2.SetText(ReplaceLastThree(state.InputFile, "SU"));
  state.OutputFile = Text2.Text();
  try {
    BinaryFile file(ResolveExisting(state.InputFile), BinaryFile::Mode::Read);
    const DztWordsLayout layout = ReadDztWordsLayout(file);
    Text3.SetText(PlainDigits(layout.words));
    Combo1.SetListIndex(layout.bits == 16 ? 1 : 0);
    // A trace size that can't be worked out leaves the count as it was.
    if (layout.traces >= 0) Text5.SetText(PlainDigits(static_cast<double>(layout.traces)));
  } catch (const RunTimeFailure&) {
    // No file to read: the fields keep their values.
  }
}

void DZT_old::Choix_OP() {
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

void DZT_old::Command3_Click() {
  state.OutputFile = Text2.Text();
  state.InputFile = Text1.Text();
  const double m = RoundHalfEven(LeadingNumber(Text3.Text()));
  const double t = RoundHalfEven(LeadingNumber(Text5.Text()));
  double r = RoundHalfEven(LeadingNumber(Text4.Text()));
  const int width = Combo1.ListIndex() == 0 ? 1 : 2;
  while (r == 0) {
    const std::string answer = platform.PromptValue(" Enter the sampling rate (nanoS)", "", "0");
    if (GaveUp(answer, "0")) return;
    r = RoundHalfEven(LeadingNumber(answer));
    Text4.SetText(PlainDigits(r));
  }
  auto refuse = [this](const std::string& text) { platform.MessageBox(text, buttons::kCritical, kConverterTitle); };
  if (FileExists(state.InputFile) != 1 || HasWildcards(state.InputFile)) return refuse("Input file does not exists!");
  if (HasWildcards(state.OutputFile) || state.OutputFile.find_first_not_of(' ') == std::string::npos) {
    return refuse("Output SU file name is not a file name: \"" + state.OutputFile + "\"");
  }
  if (SameExistingFile(state.InputFile, state.OutputFile)) {
    return refuse("Output SU file name is the input file: \"" + state.OutputFile + "\"");
  }
  // Beyond the 16-bit sizes and the 2 GB of the positions the records can't
  // be placed: refused before anything is deleted or written.
  std::string problem = RadarLimitProblem(kLimits, t, m);
  if (problem.empty() && !(r >= 1 && r <= 32767)) problem = "Sampling rate (nS) must be from 1 to 32767";
  if (problem.empty() && (240 + 4 * m) * (t - 1) > std::numeric_limits<int32_t>::max()) {
    problem = "The SU file would pass 2 GB (2147483647 bytes), the largest position of its records";
  }
  if (!problem.empty()) return refuse(problem + ", nothing was converted");

  if (FileExists(state.OutputFile) == 1 &&
      platform.MessageBox("Outfile name already exists, kill this file ?", buttons::kQuestionYesNo,
                          kConverterTitle) == answers::kYes) {
    std::remove(ResolveExisting(state.OutputFile).c_str());
  }
  const auto words = static_cast<int32_t>(m);
  const auto traces = static_cast<int32_t>(t);
  PlainTraceWords header;
  header.nhs = 95;  // the mark of a radar trace
  header.ns = static_cast<int16_t>(words);
  header.dt = static_cast<int16_t>(r);
  const double spacing = LeadingNumber(Text6.Text());
  // A spacing beyond the range of a float leaves both words at 0.
  header.spacing = std::fabs(spacing) <= std::numeric_limits<float>::max() ? static_cast<float>(spacing) : 0.0f;

  std::vector<int32_t> values(static_cast<size_t>(words));
  std::vector<uint8_t> record(kSuHeaderBytes + 4 * values.size() + kRecordFillBytes);
  const int64_t recordSize = kSuHeaderBytes + int64_t{4} * words;
  ProgressBar1.SetRange(1, traces);
  try {
    BinaryFile out(state.OutputFile, BinaryFile::Mode::Update);
    BinaryFile in(ResolveExisting(state.InputFile), BinaryFile::Mode::Read);
    for (int32_t i = 1; i <= traces; ++i) {
      ProgressBar1.SetProgress(i);
      ReadDztWords(in, i, width, values);  // past the end of the file: 0
      header.trace = i;
      header.cdpt = i;
      FillPlainTraceHeader(record.data(), header);
      for (int32_t k = 0; k < words; ++k) {
        PutLEFloat(record.data() + kSuHeaderBytes + 4 * k, static_cast<float>(values[k]));
      }
      WriteRecordKeepingEp(out, recordSize * (i - 1), record.data(), static_cast<size_t>(recordSize));
    }
    out.Close();
  } catch (const RunTimeFailure& failure) {
    return refuse(std::string("The SU file can't be written: ") + failure.what());
  }
  platform.MessageBox("Conversion OK! " + state.OutputFile + " has been recorded", buttons::kInformation,
                      kConverterTitle);
}

void DZT_old::Command4_Click() { session.Close(kPanel); }

void DZT_old::Command5_Click() {
  const std::string& nl = state.NewLine;
  platform.MessageBox(" GSSI RADAR FILE CONVERSION" + nl + " This module will convert GSSI DZT file to SU format " +
                          nl + " You must only select DZT file and the output file name" + nl +
                          " Number of samples per trace input is necessary ! " + nl +
                          " You can also convert GSSI files to ASCII and then ASCII to SU ",
                      buttons::kInformation, kConverterTitle);
}

}  // namespace vexmor
