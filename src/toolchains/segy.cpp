#include "toolchains/segy.h"

#include <cctype>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <thread>

#include "core/binary_file.h"
#include "core/numbers.h"
#include "core/paths.h"
#include "core/su_trace.h"
#include "core/text.h"
#include "importers/seismograph/list_selection.h"
#include "platform/jobs.h"
#include "toolchains/job_script.h"

namespace vexmor {

namespace fs = std::filesystem;

namespace {

using enum ControlKind;

constexpr const char* kPanel = "SEGY";
constexpr const char* kParameters = "SSTab1:0";
constexpr const char* kDisplay = "SSTab1:1";
constexpr const char* kInfo = "SSTab1:2";

constexpr ControlDef kControls[] = {
    {"SSTab1", Tabs, "Parameters|Display|SEG-Y info"},
    {"Command1", Button, "Press here to select all SEG-Y record to convert to SU",
     "Sample rate, trace number and sample/trace must be constant", "", kParameters},
    {"List1", List, "", "", "", kParameters},
    {"Command4", Button, "Output SU file", "", "", kParameters},
    {"Text2", Text, "", "", " ", kParameters},
    {"Text4", Text, "Sample", "number of sample per trace", "1024", kParameters},
    {"Text5", Text, "Channels", "", "24", kParameters},
    {"Text12", Text, "Sample rate", "", "100", kParameters},
    {"Text6", Text, "Conv=", "1=convert to native format", "1", kParameters},
    {"Text7", Text, "Over=", "quit if bhed format is not equal 1 2 or 3", "0", kParameters},
    {"Text8", Text, "Endian=", "0= for little-endian machine PC", "1", kParameters},
    {"Text9", Text, "Display process", "0=no display 1= display SU batch", "1", kParameters},
    {"Text1", Text, "Convert from trace", "", "1", kParameters},
    {"Text3", Text, "To trace", "", "9999", kParameters},
    {"Text11", Text, "Records Nb", "", "1", kParameters},
    {"Check1", Check, "Delete  single SU file", "if checked, unitary SU files are deleted", "", kParameters,
     kSelected},
    {"Command5", Button, "Test", "Press here to check conversion parameters", "", kParameters},
    {"Command2", Button, "Convert", "", "", kParameters, kDisabled},
    {"Text10", Text, "", "", "  ", kParameters},
    {"ProgressBar1", ProgressBar, "", "", "", kParameters},
    {"Label12", Label,
     "Check here the conversion result, if necessary change the parameters CONV, OVER, ENDIAN and re-run TEST, "
     "when OK press CONVERT",
     "", "", kDisplay},
    {"Text13", Text, "Gain", "You can change here amplitude scale factor", "2", kDisplay},
    {"ecran", Drawing, "", "", "", kDisplay},
    {"RichTextBox1", RichText, "", "", "", kInfo, kLocked | kMultiLine},
    {"Timer1", Timer},
};

constexpr EventRow<Segy> kEvents[] = {
    {kFormEvents, "Load", Op<&Segy::Form_Load>},
    {kFormEvents, "Unload", Op<&Segy::Form_Unload>},
    {"Command1", "Click", Op<&Segy::Select_i>},
    {"Command4", "Click", Op<&Segy::Command4_Click>},
    {"Command5", "Click", Op<&Segy::Command5_Click>},
    {"Command2", "Click", Op<&Segy::Command2_Click>},
    {"Timer1", "Timer", Op<&Segy::timer1_timer>},
    {"Text13", "Change", Op<&Segy::Text13_Change>},
    {"ecran", "MouseMove", OpArgs<&Segy::ecran_MouseMove>},
};

const ListSelectionRules kSelection = {{"SEG-Y file selection", "Record |*.sgy|All files|*.*|", "*.sgy"}, true};

// The reel header ahead of the traces, and the two words read of the
// first trace header.
constexpr int64_t kReelHeader = 3600;
constexpr int64_t kNsOffset = 3714;
constexpr int64_t kDtOffset = 3716;
// Below this a sample count is taken as read in the wrong byte order.
constexpr int16_t kSwapBelow = 100;
constexpr int kSuNsOffset = 114;

constexpr const char* kTitle = kConverterTitle;
constexpr const char* kStartProblem = " Conversion problem...verify parameters";

// A marker's wait sleeps this long between looks: short against a job's
// start, long enough to leave the core to the tools.
constexpr auto kPollPause = std::chrono::milliseconds(2);
constexpr auto kIdleLimit = std::chrono::seconds(60);

std::string Work(const std::string& name) { return WorkFolder() + name; }

void RemoveFile(const std::string& path) {
  std::error_code ec;
  fs::remove(path, ec);
}

// Seconds by the clock, pumping events; a wait across midnight goes on.
void WaitSeconds(Platform& platform, double seconds) {
  const double start = platform.Clock();
  for (;;) {
    double passed = platform.Clock() - start;
    if (passed < 0) passed += 86400;
    if (passed >= seconds) return;
    platform.PumpEvents();
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

// Pumps events until done() holds. Gives false when no job of ours has run
// for a minute and done() still fails, so that a script killed before its
// last line does not leave the panel waiting for ever. (A terminal program
// that hands its window to a server ends at once: hence the minute.)
bool WaitUntil(Platform& platform, const std::function<bool()>& done) {
  using Clock = std::chrono::steady_clock;
  auto lastBusy = Clock::now();
  while (!done()) {
    platform.PumpEvents();
    if (RunningJobs() > 0) {
      lastBusy = Clock::now();
    } else if (Clock::now() - lastBusy > kIdleLimit) {
      return done();
    }
    std::this_thread::sleep_for(kPollPause);
  }
  return true;
}

bool Exists(const std::string& path) {
  std::error_code ec;
  return fs::exists(path, ec);
}

// Busy pointer on the panels for as long as an operation runs.
class BusyWhile {
 public:
  BusyWhile(Platform& platform, std::vector<std::string> panels) : platform_(platform), panels_(std::move(panels)) {
    for (const auto& p : panels_) platform_.BusyPointer(true, p);
  }
  ~BusyWhile() {
    for (const auto& p : panels_) platform_.BusyPointer(false, p);
  }
  BusyWhile(const BusyWhile&) = delete;
  BusyWhile& operator=(const BusyWhile&) = delete;

 private:
  Platform& platform_;
  std::vector<std::string> panels_;
};

}  // namespace

std::span<const ControlDef> SegyControls() { return kControls; }

Segy::Segy(Session& s)
    : session(s), state(s.State()), platform(s.GetPlatform()), form(s, kPanel, "SEG-Y to SU", kControls) {
  BindEvents<Segy>(form, *this, kEvents);
  // The surface's size from the start, so that the read-out speaks of
  // traces before the first drawing too.
  ecran.SetScale(SurfaceScale{20.0, 1.0, 500.0, 2.0, kDisplayWidthPx, kDisplayHeightPx});
}

void Segy::Form_Load() {
  // The help text is optional: without it the tab stays empty.
  std::ifstream in(platform.ProgramFolder() + kSep + "seg.rtf", std::ios::binary);
  if (!in) return;
  const std::string rtf((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  RichTextBox1.SetText(RichTextToPlain(rtf));
}

void Segy::Form_Unload() {
  const std::string folder = WorkFolder();
  if (folder.empty()) return;
  std::error_code ec;
  for (const auto& entry : fs::directory_iterator(folder, ec)) {
    if (entry.path().stem() == "tmp" && entry.is_regular_file(ec)) RemoveFile(entry.path().string());
  }
}

void Segy::Select_i() {
  ListSelection selection;
  SkipOnFailure([&] { selection = SelectIntoList(platform, state, List1, kSelection); });
  if (selection.entries.empty()) return;
  // A cancelled dialog answers its preset pattern: nothing was chosen.
  if (HasWildcards(selection.answer)) {
    for (size_t k = 0; k < selection.added.size(); ++k) List1.RemoveItem(static_cast<int>(List1.Items().size()) - 1);
    return;
  }
  SkipOnFailure([&] { Text11.SetText(PlainDigits(selection.multi ? selection.entries.size() - 1.0 : 1.0)); });
  SkipOnFailure([&] { Text2.SetText(ProposedSuName(selection)); });
  std::string probe;
  SkipOnFailure([&] { probe = ProbeFile(selection, List1); });
  ReadProbe(probe);
}

void Segy::ReadProbe(const std::string& probe) {
  BinaryFile file;
  SkipOnFailure([&] { file = BinaryFile(ResolveExisting(probe), BinaryFile::Mode::Read); });
  if (!file.IsOpen() || file.Size() < kDtOffset + 2) {
    platform.MessageBox(probe + " can't be read as SEG-Y: it holds no first trace header", buttons::kCritical, kTitle);
    return;
  }
  int16_t ns = file.ReadI16(kNsOffset);
  state.SampleInterval = file.ReadI16(kDtOffset);
  file.Close();
  if (ns < kSwapBelow) {
    ns = SwapBytes16(ns);
    state.SampleInterval = SwapBytes16(state.SampleInterval);
    Text4.SetText(PlainDigits(ns));
    Text12.SetText(PlainDigits(state.SampleInterval));
  }
  if (ns > 0) {
    SetTraceCount(probe, ns);
    Text6.SetText("1");
    Text7.SetText("0");
    Text8.SetText("0");
  } else {
    ProbeWithTool(probe, ns);
  }
  Text5.SetText(PlainDigits(state.NbTraces));
  SkipOnFailure([&] { Text3.SetText(PlainDigits(state.NbTraces * LeadingNumber(Text11.Text()))); });
}

// Traces per file from its size; a sample count that overflows the 16-bit
// trace length leaves the count as it was.
void Segy::SetTraceCount(const std::string& probe, int16_t ns) {
  SkipOnFailure([&] {
    const int16_t traceBytes = ToInt16(ns * 4.0 + 240.0);
    const auto size = FileSizeOf(probe);
    if (!size || traceBytes == 0) return;
    state.NbTraces = ToInt32(RoundHalfEven(double(*size - kReelHeader) / traceBytes));
  });
}

// The header gives no usable length: let segyread convert the first trace
// and read the sample count it wrote.
void Segy::ProbeWithTool(const std::string& probe, int16_t ns) {
  const std::string script = Work("tmp.bat");
  const std::string output = Work("tmp.su");
  WriteJobScript(script,
                 {state.ToolDir + kSep + "segyread tape=" + probe + " >" + output +
                  " endian=0 conv=1 over=0 trmax=1 ns=" + NumberText(ns)},
                 state.NewLine.empty() ? "\r\n" : state.NewLine);
  platform.Shell(script, 2);
  platform.MessageBox(probe + " Bytes are swapped, endian must be set at zero", buttons::kInformation, kTitle);
  WaitSeconds(platform, 3);
  SkipOnFailure([&] {
    BinaryFile su(output, BinaryFile::Mode::Read);
    if (su.Size() >= kSuNsOffset + 2) ns = su.ReadI16(kSuNsOffset);
  });
  if (ns > 0) SetTraceCount(probe, ns);
  Text6.SetText("0");
  Text7.SetText("1");
  Text8.SetText("0");
}

void Segy::Command4_Click() {
  FileRequest request;
  request.title = "SU File name selection";
  request.filter = "Seismic File |*.SU|All files|*.*|";
  request.fileName = "*.SU";
  Text2.SetText(platform.ChooseFile(request));
}

void Segy::Command5_Click() {
  if (running) return;
  if (List1.Items().empty()) {
    platform.MessageBox("Select the SEG-Y files first", buttons::kCritical, kTitle);
    return;
  }
  Command5.SetEnabled(false);
  {
    running = true;
    BusyWhile busy(platform, {kPanel});
    const std::string output = Work("conv_test.su");
    RemoveFile(output);
    std::string line = state.ToolDir + "SEGYREAD tape=" + List1.Items()[0] + " >" + output + " conv=" + Text6.Text() +
                       " over=" + Text7.Text() + " endian=" + Text8.Text() + " trmin=1 trmax=24";
    ReplaceAll(line, "  ", " ");
    const std::string script = Work("convert.bat");
    WriteJobScript(script, {line, "pause"}, state.NewLine.empty() ? "\r\n" : state.NewLine);
    if (StartJobScript(platform, state, script, 0) == 0) {
      platform.MessageBox(" Conversion problem... modify ENDIAN, OVER or CONV parameters and re run",
                          buttons::kCritical, kTitle);
    }
    WaitSeconds(platform, 1);
    Command5.SetEnabled(true);
    Command2.SetEnabled(true);
    running = false;
  }
  Display_SU(Work("conv_test.su"));
}

void Segy::Display_SU(const std::string& path) {
  SSTab1.SetTab(1);
  DrawTestTraces(path, LeadingNumber(Text13.Text()), ecran, state, display);
}

void Segy::Text13_Change() { Display_SU(Work("conv_test.su")); }

void Segy::ecran_MouseMove(EventArgs& args) {
  ecran.SetToolTip(TestDisplayReadOut(args.x, args.y, state.SampleInterval));
}

void Segy::timer1_timer() {
  Timer1.SetEnabled(false);
  platform.CloseMessageNamed(kTitle);
}

std::string Segy::ToolLine(const std::string& input, const std::string& target, const std::string& nsText,
                           const std::string& rangeText) const {
  return state.ToolDir + "SEGYREAD tape=" + input + " conv=" + Text6.Text() + " over=" + Text7.Text() +
         " endian=" + Text8.Text() + nsText + rangeText + " | " + state.ToolDir + "SEGYCLEAN >" + target;
}

void Segy::Command2_Click() {
  if (running) return;
  running = true;
  BusyWhile busy(platform, {kPanel, "MainPanel"});
  try {
    Convert();
  } catch (...) {
    running = false;
    throw;
  }
  running = false;
}

void Segy::Convert() {
  SkipOnFailure([&] { state.NbRecords = TextToInt16(Text11.Text()); });
  FindToolDir(state, platform);
  state.OutputFile = Text2.Text();
  if (state.OutputFile.empty()) return;
  if (FileExists(state.OutputFile) == 1) {
    const int answer =
        platform.MessageBox("Outfile name already exists, kill this file ?", buttons::kQuestionYesNo, kTitle);
    if (answer == answers::kYes) {
      RemoveFile(ResolveExisting(state.OutputFile));
    } else {
      state.OutputFile = platform.PromptValue("Enter a new output file name", "Enter a new output file name",
                                              state.OutputFile);
      Text2.SetText(state.OutputFile);
      // Cancel gives no name: nothing to write to.
      if (state.OutputFile.empty()) return;
    }
  }
  int32_t from = 0, to = 0;
  SkipOnFailure([&] { from = TextToInt32(Text1.Text()); });
  SkipOnFailure([&] { to = TextToInt32(Text3.Text()); });
  const std::string rangeText =
      from != 0 && to != 0 ? " trmin=" + NumberText(from) + " trmax=" + NumberText(to) : std::string();
  int32_t nsValue = 0;
  SkipOnFailure([&] { nsValue = TextToInt32(Text4.Text()); });
  const std::string nsText = nsValue != 0 ? " ns=" + Text4.Text() : std::string();
  const std::string newLine = state.NewLine.empty() ? "\r\n" : state.NewLine;
  const int style = Text9.Text() == "0" ? 0 : 1;

  if (state.NbRecords == 1) {
    std::string input;
    SkipOnFailure([&] { input = ListLine(List1, 0); });
    const std::string script = Work("convert.bat");
    WriteJobScript(script, {ToolLine(input, state.OutputFile, nsText, rangeText), "pause"}, newLine);
    if (StartJobScript(platform, state, script, style) == 0) {
      platform.MessageBox(kStartProblem, buttons::kCritical, kTitle);
      return;
    }
    platform.MessageBox(" Conversion OK", buttons::kInformation, kTitle);
    return;
  }
  if (state.NbRecords < 1) {
    platform.MessageBox("Records Nb must be 1 or more", buttons::kCritical, kTitle);
    return;
  }
  ConvertSeveral(rangeText, nsText);
}

void Segy::ConvertSeveral(const std::string& rangeText, const std::string& nsText) {
  const std::string newLine = state.NewLine.empty() ? "\r\n" : state.NewLine;
  const int style = Text9.Text() == "0" ? 0 : 1;
  if (FileExists(state.OutputFile) == 1) {
    const int answer = platform.MessageBox("Output file name already exists, new file will be appended ?",
                                           buttons::kOkCancel, kTitle);
    if (answer == answers::kCancel) return;
  }
  const int records = state.NbRecords;
  ProgressBar1.SetRange(1, records);
  int32_t expected = 0;
  SkipOnFailure([&] {
    const auto first = FileSizeOf(ListLine(List1, 0));
    if (first) expected = ToInt32(double(*first - kReelHeader) * std::abs(records));
  });
  const std::string fin = Work("Fin.tmp");
  const std::string tempo = Work("tempo.su");
  const std::string convertBat = Work("convert.bat");
  const std::string addBat = Work("add.bat");
  {
    std::ofstream marker(fin, std::ios::binary | std::ios::trunc);
    marker << "end of job\r\n";
  }
  for (int i = 1; i <= records; ++i) {
    ProgressBar1.SetProgress(i);
    Text10.SetText("Convert file " + NumberText(i));
    const std::string marker = WorkFolder() + std::to_string(i) + ".tmp";
    RemoveFile(marker);
    std::string file;
    SkipOnFailure([&] { file = ListLine(List1, i - 1); });
    if (FileExists(file) == 0) {
      platform.MessageBox(file + " does not exist, squip to next file", buttons::kOk, "");
      continue;
    }
    WriteJobScript(convertBat, {ToolLine(file, tempo, nsText, rangeText), "Copy " + fin + " " + marker}, newLine);
    if (StartJobScript(platform, state, convertBat, style) == 0) {
      platform.MessageBox(kStartProblem, buttons::kCritical, kTitle);
      return;
    }
    if (!WaitUntil(platform, [&] { return Exists(marker); })) {
      platform.MessageBox(kStartProblem, buttons::kCritical, kTitle);
      return;
    }
    std::vector<std::string> join = {"copy/b " + state.OutputFile + "+" + tempo + " " + state.OutputFile};
    if (Check1.Value()) join.push_back("del " + tempo);
    join.push_back("del " + marker);
    WriteJobScript(addBat, join, newLine);
    StartJobScript(platform, state, addBat, 0);
    // The next tool writes tempo.su again: the join must have read it first,
    // and the marker goes only when it has.
    WaitUntil(platform, [&] { return !Exists(marker); });
  }
  Timer1.SetInterval(3000);
  Timer1.SetEnabled(true);
  int64_t size = -1;
  if (const auto found = FileSizeOf(state.OutputFile)) size = *found;
  const std::string text = size == expected
                               ? state.OutputFile + " has been recorded OK size:" + NumberText(double(size))
                               : std::string(" You must check file and file size");
  platform.MessageBox(text, buttons::kInformation, kTitle);
}

std::string RichTextToPlain(const std::string& rtf) {
  std::string out;
  // Depth of each open group, and the depth below which text is hidden.
  int depth = 0;
  int hiddenFrom = -1;
  for (size_t i = 0; i < rtf.size(); ++i) {
    const char c = rtf[i];
    if (c == '{') {
      ++depth;
      if (hiddenFrom < 0 && rtf.compare(i + 1, 2, "\\*") == 0) hiddenFrom = depth;
      continue;
    }
    if (c == '}') {
      if (depth == hiddenFrom) hiddenFrom = -1;
      --depth;
      continue;
    }
    const bool hidden = hiddenFrom >= 0;
    if (c == '\\' && i + 1 < rtf.size()) {
      const char n = rtf[i + 1];
      if (n == '\\' || n == '{' || n == '}') {
        if (!hidden) out += n;
        ++i;
        continue;
      }
      if (n == '\'' && i + 3 < rtf.size()) {
        const std::string hex = rtf.substr(i + 2, 2);
        if (!hidden && std::isxdigit(static_cast<unsigned char>(hex[0])) &&
            std::isxdigit(static_cast<unsigned char>(hex[1]))) {
          out += static_cast<char>(std::strtol(hex.c_str(), nullptr, 16));
        }
        i += 3;
        continue;
      }
      size_t j = i + 1;
      while (j < rtf.size() && std::isalpha(static_cast<unsigned char>(rtf[j]))) ++j;
      const std::string word = rtf.substr(i + 1, j - i - 1);
      while (j < rtf.size() && (rtf[j] == '-' || std::isdigit(static_cast<unsigned char>(rtf[j])))) ++j;
      if (j < rtf.size() && rtf[j] == ' ') ++j;
      // Fonts, colours and the like are groups of their own.
      if (word == "fonttbl" || word == "colortbl" || word == "stylesheet" || word == "info") hiddenFrom = depth;
      if (!hidden && (word == "par" || word == "line")) out += '\n';
      if (!hidden && word == "tab") out += '\t';
      i = j - 1;
      continue;
    }
    if (c == '\r' || c == '\n') continue;
    if (!hidden) out += c;
  }
  return out;
}

}  // namespace vexmor
