#include "toolchains/convert.h"

#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <optional>
#include <vector>

#include "core/binary_file.h"
#include "core/failure.h"
#include "core/numbers.h"
#include "core/paths.h"
#include "core/su_trace.h"
#include "formats/kgs.h"
#include "toolchains/job_script.h"

namespace vexmor {

namespace fs = std::filesystem;

namespace {

using enum ControlKind;

constexpr ControlDef kControls[] = {
    {"Text1", Text},
    {"Command3", Button, "Input file"},
    {"Text2", Text},
    {"Command4", Button, "Output file"},
    {"Frame1", Frame, "", "", "", "", kHidden},
    {"Option1", Option, "Liitle Endian", "Usual PC format", "", "Frame1", kSelected},
    {"Option2", Option, "Big Endian", "Mainframe type format", "", "Frame1"},
    {"Command2", Button, "Convert"},
    {"Command1", Button, "Cancel"},
    {"ProgressBar1", ProgressBar},
    {"Timer1", Timer, "", "", "", "", kDisabled},
    // How the last tool job ended; shown once one has been started.
    {"Label1", Label, "", "", "", "", kHidden},
    {"Timer2", Timer, "", "", "", "", kDisabled},
};

constexpr EventRow<Convert> kEvents[] = {
    {kFormEvents, "Load", Op<&Convert::Form_Load>},
    {"Command3", "Click", Op<&Convert::Lecture>},
    {"Text1", "DblClick", Op<&Convert::Lecture>},
    {"Command4", "Click", Op<&Convert::Choix_out>},
    {"Text2", "DblClick", Op<&Convert::Choix_out>},
    {"Command2", "Click", Op<&Convert::Command2_Click>},
    {"Command1", "Click", Op<&Convert::Command1_Click>},
    {"Timer1", "Timer", Op<&Convert::timer1_timer>},
    {"Timer2", "Timer", Op<&Convert::Timer2_Timer>},
};

// What each job shows and proposes, and which operation it runs.
struct Mode {
  std::string_view name;
  std::string_view caption;
  std::string_view title;        // of the input dialog
  std::string_view filter;
  std::string_view defaultName;
  size_t cut;                    // characters taken off the input's end
  std::string_view ending;       // put in their place for the output
  void (Convert::*run)();
};

constexpr Mode kModes[] = {
    {"SU2KGS", " Conversion SU to KGS_FPT", "SU File selection", "SU File |*.SU|All files|*.*|", "*.SU", 2, "DAT",
     &Convert::Convert_SU_2_KGS},
    {"KGS2SU", " Conversion KGS-FPT to SU", "KGS File selection", "KGS File |*.SU|All files|*.*|", "*.DAT", 3, "SU",
     &Convert::Convert_KGS_2_SU},
    {"SEGY2SU", " Conversion SEG-Y to SU", "SEG-Y File selection", "SEG-Y File |*.SGY|All files|*.*|", "*.SGY", 3,
     "SU", &Convert::Convert_SEGY_2_SU},
    {"SU2SEGY", " Conversion SU to SEG-Y", "SU File selection", "SU File |*.SU|All files|*.*|", "*.SU", 2, "SGY",
     &Convert::Convert_SU_2_SEGY},
    {"KGSI2SU", " Conversion KGS Integers to SU ", "KGS Integer File selection", "KGS File |*.EVD|All files|*.*|",
     "*.EVD", 3, "SU", &Convert::Convert_KGSI_2_SU},
    {"SEGD2SU", " Conversion SEG-D to SU ", "SEG-D File selection", "SEG-D File |*.SGD|All files|*.*|", "*.SGD", 3,
     "SU", &Convert::Convert_SEGD_2_SU},
};

const Mode* FindMode(std::string_view name) {
  for (const Mode& mode : kModes) {
    if (mode.name == name) return &mode;
  }
  return nullptr;
}

constexpr const char* kKgsPromptTitle = "Enter Values not available in KGS header";
constexpr const char* kSuPromptTitle = "Enter Values not available in SU header";

// A step that fails is passed over and the next one runs.
template <typename Step>
bool PassOver(Step&& step) {
  try {
    step();
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

// Shows the panel and the main panel busy for as long as a job runs here.
class Busy {
 public:
  explicit Busy(Platform& platform) : platform_(platform) {
    platform_.BusyPointer(true, "Convert");
    platform_.BusyPointer(true, "MainPanel");
  }
  ~Busy() {
    platform_.BusyPointer(false, "Convert");
    platform_.BusyPointer(false, "MainPanel");
  }
  Busy(const Busy&) = delete;
  Busy& operator=(const Busy&) = delete;

 private:
  Platform& platform_;
};

std::optional<int64_t> LengthOf(const std::string& path) {
  std::error_code ec;
  const std::string found = ResolveExisting(path);
  if (!fs::is_regular_file(found, ec)) return std::nullopt;
  const auto size = fs::file_size(found, ec);
  if (ec) return std::nullopt;
  return static_cast<int64_t>(size);
}

void DeleteIfThere(const std::string& path) {
  // Only the file of that name: a pattern such as "*.SU" deletes nothing.
  if (HasWildcards(path) || FileExists(path) == 0) return;
  std::error_code ec;
  fs::remove(ResolveExisting(path), ec);
}

// The 32-bit shared TracePos where the position fits it; our own arithmetic
// stays in 64 bits, so that no file is too long for it.
void SetTracePos(SharedState& state, int64_t position) {
  if (position >= INT32_MIN && position <= INT32_MAX) state.TracePos = static_cast<int32_t>(position);
}

// What the user learns of a tool job's output once the job has ended.
std::string EndOfJobText(const std::string& output) {
  const auto length = LengthOf(output);
  if (!length) return "Job ended: no output file " + output;
  if (*length == 0) return "Job ended: " + output + " is empty";
  int16_t ns = 0;
  PassOver([&] {
    BinaryFile file(output, BinaryFile::Mode::Read);
    ns = file.ReadI16(114);
  });
  const int64_t record = kSuHeaderBytes + 4 * static_cast<int64_t>(ns);
  if (ns <= 0 || *length % record != 0) {
    return "Job ended: " + output + " written, " + std::to_string(*length) + " bytes";
  }
  return "Job ended: " + output + " written, " + std::to_string(*length / record) + " traces of " +
         std::to_string(ns) + " samples";
}

// A name for the work copy beside the output, made so that no file is
// written over.
std::string TemporaryBeside(const std::string& target) {
  std::string pattern = target + ".vexmor-XXXXXX";
  const int fd = mkstemp(pattern.data());
  if (fd < 0) throw RunTimeFailure(FailureCode::PathAccess, target + ": no work copy can be made beside it");
  close(fd);
  return pattern;
}

}  // namespace

std::span<const ControlDef> ConvertControls() { return kControls; }

Convert::Convert(Session& s)
    : session(s), state(s.State()), platform(s.GetPlatform()), form(s, "Convert", "Conversion", kControls) {
  BindEvents<Convert>(form, *this, kEvents);
}

void Convert::Form_Load() {
  if (const Mode* mode = FindMode(state.ConvertMode)) form.SetCaption(std::string(mode->caption));
  Frame1.SetVisible(state.ConvertMode == "SEGY2SU");
  Text1.SetText(state.SuFile.empty() ? state.InputFile : state.SuFile);
}

void Convert::Lecture() {
  const Mode* mode = FindMode(state.ConvertMode);
  FileRequest request;
  request.folder = state.FolderOf;
  if (mode != nullptr) {
    request.title = mode->title;
    request.filter = mode->filter;
    request.fileName = mode->defaultName;
  }
  Text1.SetText(platform.ChooseFile(request));
  const std::string& input = Text1.Text();
  if (mode != nullptr && input.size() >= mode->cut) {
    Text2.SetText(input.substr(0, input.size() - mode->cut) + std::string(mode->ending));
  }
}

void Convert::Choix_out() {
  FileRequest request;
  request.folder = state.FolderOf;
  request.title = "KGS Integer File selection";
  request.filter = "SU File |*.SU|All files|*.*|";
  request.fileName = "*.SU";
  Text2.SetText(platform.ChooseFile(request));
}

void Convert::Command2_Click() {
  Busy busy(platform);
  if (const Mode* mode = FindMode(state.ConvertMode)) (this->*(mode->run))();
}

void Convert::Command1_Click() { session.Close(form.Name()); }

void Convert::timer1_timer() {
  Timer1.SetEnabled(false);
  platform.CloseMessageNamed(kConverterTitle);
}

void Convert::Timer2_Timer() {
  if (platform.TaskRunning(watchedTask_)) return;
  Timer2.SetEnabled(false);
  Label1.SetText(EndOfJobText(watchedOutput_));
}

bool Convert::CommonOpening(bool deleteOutput) {
  state.InputFile = Text1.Text();
  state.OutputFile = Text2.Text();
  const std::string& in = state.InputFile;
  const std::string& out = state.OutputFile;
  if (in.empty()) {
    platform.MessageBox("File name missing", buttons::kOk, "");
    return false;
  }
  if (FileExists(in) == 0) {
    platform.MessageBox("Input file " + in + " does not exist !", buttons::kOk, "");
    return false;
  }
  // A pattern that matches files has no length of its own: the test fails,
  // and a failing test runs its block.
  const auto length = HasWildcards(in) ? std::nullopt : LengthOf(in);
  if (!length || *length == 0) {
    platform.MessageBox("Input file " + in + " is empty !", buttons::kOk, "");
    return false;
  }
  // The same file under another spelling would be deleted or written over.
  if (out == in || SameExistingFile(in, out)) {
    platform.MessageBox("Same Input / Output", buttons::kOk, "");
    return false;
  }
  std::error_code ec;
  if (out.empty()) {
    platform.MessageBox("Output file name missing", buttons::kOk, "");
    return false;
  }
  if (HasWildcards(out) || fs::is_directory(out, ec)) {
    platform.MessageBox("Output file " + out + " is not a file name !", buttons::kOk, "");
    return false;
  }
  if (deleteOutput) DeleteIfThere(out);
  return true;
}

std::string Convert::ScriptPath() const { return state.FolderOf + "convert.bat"; }

void Convert::StartToolJob(const std::vector<std::string>& lines) {
  watchedOutput_ = state.OutputFile;
  // An old script of that name would run in place of the new one.
  if (!WriteJobScript(ScriptPath(), lines, state.NewLine)) {
    watchedTask_ = 0;
    Label1.SetText("Job not started: " + ScriptPath() + " can't be written");
    Label1.SetVisible(true);
    return;
  }
  // In the script's own folder, so that files a tool makes without a folder
  // are where the next line of the script looks for them.
  watchedTask_ = StartJobScript(platform, state, ScriptPath(), 1, state.FolderOf);
  Label1.SetText(watchedTask_ == 0 ? "Job not started: " + ScriptPath() : "Job running: " + state.OutputFile);
  Label1.SetVisible(true);
  if (watchedTask_ != 0) {
    Timer2.SetInterval(500);
    Timer2.SetEnabled(true);
  }
}

void Convert::CloseWithMessage() {
  Timer1.SetInterval(3000);
  Timer1.SetEnabled(true);
  platform.MessageBox("Conversion OK", buttons::kInformation, kConverterTitle);
  session.Close(form.Name());
}

void Convert::Convert_SEGD_2_SU() {
  if (!CommonOpening(true)) return;
  StartToolJob({state.ToolDir + "SEGDREAD tape=" + state.InputFile + " >" + state.OutputFile});
}

void Convert::Convert_SEGY_2_SU() {
  if (!CommonOpening(true)) return;
  const std::string endian = Option1.Value() ? " endian=1 | " : " endian=0 | ";
  StartToolJob({state.ToolDir + "SEGYREAD tape=" + state.InputFile + endian + state.ToolDir + "SEGYCLEAN >" +
                state.OutputFile});
}

void Convert::Convert_SU_2_SEGY() {
  if (!CommonOpening(false)) return;
  PassOver([&] { ScanSuGeometry(state.InputFile, state); });
  DeleteIfThere(state.OutputFile);
  const std::vector<std::string> lines = {
      state.ToolDir + "SEGYHDRS <" + state.InputFile + " ns=" + NumberText(state.NbSamples) +
          " dt=" + NumberText(state.SampleInterval) + " bfile=binary hfile=header",
      "copy /b " + state.FolderOf + "header + " + state.FolderOf + "binary + " + state.InputFile + " " +
          state.OutputFile};
  platform.MessageBox(lines[0] + state.NewLine + lines[1], buttons::kOk, "");
  StartToolJob(lines);
  // The panel goes with the message; there is nothing left to watch from.
  Timer2.SetEnabled(false);
  CloseWithMessage();
}

int32_t Convert::AskSourceDepth() {
  const std::string answer = platform.PromptValue(" Source depth below surface", kKgsPromptTitle, "1");
  int32_t depth = 0;
  PassOver([&] { depth = ToInt32(LeadingNumber(answer)); });
  return depth;
}

int16_t Convert::AskSuToKgs(const std::string& prompt, const std::string& defaultText) {
  return ToInt16(LeadingNumber(platform.PromptValue(prompt, kSuPromptTitle, defaultText)));
}

void Convert::Convert_KGSI_2_SU() {
  if (!CommonOpening(true)) return;
  int16_t ns = 0;
  PassOver([&] {
    BinaryFile in(state.InputFile, BinaryFile::Mode::Read);
    state.NbChannels = in.ReadI16(kKgsChannelsOffset);
    ns = in.ReadI16(kKgsNsOffset);
  });
  state.NbSamples = ns;
  // No record size, no records: a count left over from another job would
  // write traces that this file doesn't have.
  state.NbTraces = 0;
  PassOver([&] { state.NbTraces = KgsRecordCount(LengthOf(state.InputFile).value_or(0), KgsKind::Integer, ns); });
  if (state.NbTraces >= 1) ProgressBar1.SetRange(1, state.NbTraces);
  const int32_t depth = AskSourceDepth();

  const int32_t samples = std::max<int32_t>(ns, 0);
  const int64_t inSize = KgsRecordSize(KgsKind::Integer, samples);
  const int64_t outSize = kSuHeaderBytes + 4 * static_cast<int64_t>(samples);
  PassOver([&] {
    BinaryFile in(state.InputFile, BinaryFile::Mode::Read);
    BinaryFile out(state.OutputFile, BinaryFile::Mode::Update);
    std::vector<uint8_t> record(static_cast<size_t>(inSize));
    std::vector<uint8_t> su(static_cast<size_t>(outSize));
    for (int32_t i = 1; i <= state.NbTraces; ++i) {
      ProgressBar1.SetProgress(i);
      PassOver([&] {
        // The record is read whole and written whole.
        in.Read(inSize * (i - 1), record.data(), record.size());
        SuRecordFromKgs(KgsKind::Integer, record, samples, depth, su);
        SetTracePos(state, outSize * (i - 1));
        out.Write(outSize * (i - 1), su.data(), su.size());
      });
    }
    out.Close();
  });
  CloseWithMessage();
}

void Convert::Convert_KGS_2_SU() {
  if (!CommonOpening(true)) return;
  ReadSuSizes(state.InputFile, state);
  state.NbTraces = 0;
  PassOver([&] { state.NbTraces = TraceCountOf(LengthOf(state.InputFile).value_or(0), state.NbSamples); });
  if (state.NbTraces >= 1) ProgressBar1.SetRange(1, state.NbTraces);
  // Same record size as SU: the samples are copied once and never touched.
  PassOver([&] { fs::copy_file(ResolveExisting(state.InputFile), state.OutputFile, fs::copy_options::overwrite_existing); });
  const int32_t depth = AskSourceDepth();

  const int64_t size = kSuHeaderBytes + 4 * static_cast<int64_t>(state.NbSamples);
  PassOver([&] {
    BinaryFile in(state.InputFile, BinaryFile::Mode::Read);
    BinaryFile out(state.OutputFile, BinaryFile::Mode::Update);
    uint8_t kgs[kKgsHeaderBytes];
    uint8_t su[kSuHeaderBytes];
    for (int32_t i = 1; i <= state.NbTraces; ++i) {
      ProgressBar1.SetProgress(i);
      PassOver([&] {
        SetTracePos(state, size * (i - 1));
        in.Read(size * (i - 1), kgs, sizeof kgs);
        SuHeaderFromKgs(KgsKind::Floating, kgs, depth, su);
        out.Write(size * (i - 1), su, sizeof su);
      });
    }
    out.Close();
  });
  CloseWithMessage();
}

void Convert::Convert_SU_2_KGS() {
  if (!CommonOpening(false)) return;
  std::string work;
  try {
    ReadSuSizes(state.InputFile, state);
    state.NbTraces = TraceCountOf(LengthOf(state.InputFile).value_or(0), state.NbSamples);
    if (state.NbTraces >= 1) ProgressBar1.SetRange(1, state.NbTraces);
    CountChannels(state.InputFile, state.NbTraces, state.NbChannels, state);

    KgsAnswers answers;
    answers.channels = state.NbChannels;
    if (state.NbChannels == 0) {
      answers.dataType = AskSuToKgs(" Data type: 0 = raw field; 1 = CDP gather" + state.NewLine +
                                        "2 = CDP stacked; 3 = trace number index" + state.NewLine +
                                        "4 = Velocity Scan" + state.NewLine,
                                    "2");
    }
    answers.recordWord = AskSuToKgs(
        "Trace-header word of record number for this data set:" + state.NewLine +
            "8   = common recording charnel number   12 = common depth point" + state.NewLine +
            "19 = common offset          86 = commun receiver station number" + state.NewLine +
            "87 = common source station number   92 = common source sequence number" + state.NewLine,
        "12");
    answers.traceWord = AskSuToKgs("Trace-header word of trace number within each record" + state.NewLine +
                                       "0   = input order of seismic data to be sorted " + state.NewLine,
                                   "0");
    answers.direction = AskSuToKgs(" Trace direction 1=ascending -1= descending", "1");

    // The job works on a copy beside the output and puts it in place at the
    // end: a job that fails leaves the output as it was.
    const std::string target = ResolveExisting(state.OutputFile);
    work = TemporaryBeside(target);
    const std::string source = ResolveExisting(state.InputFile);
    fs::copy_file(source, work, fs::copy_options::overwrite_existing);
    fs::permissions(work, fs::status(source).permissions() | fs::perms::owner_write);
    ReadSuSizes(state.InputFile, state);

    const int64_t size = kSuHeaderBytes + 4 * static_cast<int64_t>(state.NbSamples);
    BinaryFile in(state.InputFile, BinaryFile::Mode::Read);
    BinaryFile out(work, BinaryFile::Mode::Update);
    uint8_t su[kSuHeaderBytes];
    uint8_t kgs[kKgsHeaderBytes];
    for (int32_t i = 1; i <= state.NbTraces; ++i) {
      ProgressBar1.SetProgress(i);
      SetTracePos(state, size * (i - 1));
      in.Read(size * (i - 1), su, sizeof su);
      // Every word not in the table is 0.
      KgsHeaderFromSu(su, answers, i, kgs);
      out.Write(size * (i - 1), kgs, sizeof kgs);
    }
    out.Close();
    fs::rename(work, target);
  } catch (const std::exception&) {
    if (!work.empty()) {
      std::error_code ec;
      fs::remove(work, ec);
    }
    platform.MessageBox("File conversion error", buttons::kOk, "");
    return;
  }
  CloseWithMessage();
}

}  // namespace vexmor
