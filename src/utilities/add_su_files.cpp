#include "utilities/add_su_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <vector>

#include "core/binary_file.h"
#include "core/failure.h"
#include "core/numbers.h"
#include "core/paths.h"
#include "core/shared_state.h"
#include "importers/seismograph/selection.h"
#include "platform/platform.h"

namespace vexmor {

namespace {

using enum ControlKind;

constexpr ControlDef kControls[] = {
    {"Command1", Button, "Press here to select  SU files"},
    {"List1", List},
    {"Text4", Text, "Number of samples / trace", "number of sample per trace", "1024"},
    {"Text5", Text, "Number of traces per shot", "", "24"},
    {"Text9", Text, "Number of files", "0=no display 1= display SU batch", "1"},
    {"Check1", Check, "Delete  single SU file", "if checked, unitary SU files are deleted", "", "", kSelected},
    {"Text2", Text},
    {"Command4", Button, "Output SU  file"},
    {"Command2", Button, "Convert"},
    {"Command6", Button, "?"},
    {"Text10", Text, "", "", "  "},
    {"ProgressBar1", ProgressBar},
};

constexpr EventRow<Add_SU_files> kEvents[] = {
    {"Command1", "Click", Op<&Add_SU_files::Command1_Click>},
    {"Command2", "Click", Op<&Add_SU_files::Command2_Click>},
};

constexpr const char* kPanel = "Add_SU_files";
constexpr const char* kPreset = "*.su";
constexpr size_t kMaxEntries = 100;
constexpr int64_t kNsOffset = 114;
constexpr size_t kCopyBuffer = size_t{1} << 20;

// The busy pointer on this panel and on the main panel, for as long as the
// join runs, whichever way it ends.
class BusyWhileJoining {
 public:
  explicit BusyWhileJoining(Platform& platform) : platform_(platform) {
    platform_.BusyPointer(true, kPanel);
    platform_.BusyPointer(true, "MainPanel");
  }
  ~BusyWhileJoining() {
    platform_.BusyPointer(false, "MainPanel");
    platform_.BusyPointer(false, kPanel);
  }
  BusyWhileJoining(const BusyWhileJoining&) = delete;
  BusyWhileJoining& operator=(const BusyWhileJoining&) = delete;

 private:
  Platform& platform_;
};

class Fd {
 public:
  explicit Fd(int fd) : fd_(fd) {}
  ~Fd() {
    if (fd_ >= 0) ::close(fd_);
  }
  Fd(const Fd&) = delete;
  Fd& operator=(const Fd&) = delete;
  int get() const { return fd_; }
  bool Close() {
    const int fd = fd_;
    fd_ = -1;
    return ::close(fd) == 0;
  }

 private:
  int fd_;
};

bool WriteAll(int fd, const uint8_t* data, size_t n) {
  while (n > 0) {
    const ssize_t done = ::write(fd, data, n);
    if (done < 0 && errno == EINTR) continue;
    if (done <= 0) return false;
    data += done;
    n -= static_cast<size_t>(done);
  }
  return true;
}

// Copies from the input's start to the output's end. The kernel copies
// when it can; otherwise the bytes go through one fixed buffer.
bool CopyStream(int in, int out, int64_t length) {
  int64_t left = length;
  while (left > 0) {
    const ssize_t done = ::copy_file_range(in, nullptr, out, nullptr, static_cast<size_t>(std::min<int64_t>(left, 1 << 30)), 0);
    if (done < 0 && errno == EINTR) continue;
    if (done <= 0) break;
    left -= done;
  }
  if (left == length) {
    // Nothing went through the kernel (another file system, a pipe): read
    // and write to the end of what the input really holds.
    std::vector<uint8_t> buffer(kCopyBuffer);
    for (;;) {
      const ssize_t got = ::read(in, buffer.data(), buffer.size());
      if (got < 0 && errno == EINTR) continue;
      if (got < 0) return false;
      if (got == 0) return true;
      if (!WriteAll(out, buffer.data(), static_cast<size_t>(got))) return false;
    }
  }
  return left == 0;
}

}  // namespace

std::span<const ControlDef> AddSuFilesControls() { return kControls; }

bool AppendWholeFile(const std::string& input, const std::string& output) {
  if (output.empty()) return false;
  // Not blocking: a named pipe nobody reads would hold the open for ever.
  Fd out(::open(ResolveExisting(output).c_str(), O_WRONLY | O_CREAT | O_NONBLOCK | O_CLOEXEC, 0644));
  if (out.get() < 0) return false;
  if (input.empty()) return false;
  // Plain files only: a device or a pipe has no end to join up to.
  struct stat before {};
  if (::stat(ResolveExisting(input).c_str(), &before) != 0 || !S_ISREG(before.st_mode)) return false;
  Fd in(::open(ResolveExisting(input).c_str(), O_RDONLY | O_CLOEXEC));
  if (in.get() < 0) return false;
  struct stat inInfo {}, outInfo {};
  if (::fstat(in.get(), &inInfo) != 0 || !S_ISREG(inInfo.st_mode)) return false;
  if (::fstat(out.get(), &outInfo) != 0 || !S_ISREG(outInfo.st_mode)) return false;
  // Never the output into itself: it would grow for ever.
  if (inInfo.st_dev == outInfo.st_dev && inInfo.st_ino == outInfo.st_ino) return false;
  const off_t start = ::lseek(out.get(), 0, SEEK_END);
  if (start < 0) return false;
  const bool copied = CopyStream(in.get(), out.get(), inInfo.st_size);
  if (copied && out.Close()) return true;
  // A half-joined file would hide the failure: the output goes back to what
  // it was before this input.
  if (::truncate(ResolveExisting(output).c_str(), start) != 0) return false;
  return false;
}

Add_SU_files::Add_SU_files(Session& s)
    : session(s), state(s.State()), platform(s.GetPlatform()), form(s, kPanel, "Add Seismic Unix files", kControls) {
  BindEvents<Add_SU_files>(form, *this, kEvents);
}

void Add_SU_files::Command1_Click() {
  FileRequest request;
  request.folder = state.FolderOf;
  request.title = "SU file to convert selection";
  request.filter = "Record |*.su|All files|*.*|";
  request.fileName = kPreset;
  request.multi = true;
  std::string answer = platform.ChooseFile(request);
  // A cancelled dialog hands back its preset: the panel stays as it was.
  if (answer == kPreset) return;
  answer += ' ';
  std::vector<std::string> entries = SplitAnswer(answer, kMaxEntries);
  // The blank put behind the answer ends its last name; it starts none.
  if (entries.size() > 1 && entries.back().empty()) entries.pop_back();
  const std::string& folder = entries.front();
  for (size_t k = 1; k < entries.size(); ++k) List1.AddItem(folder + kSep + entries[k]);
  Text2.SetText(folder + kSep + "data_raw.su");

  // The first line of the list tells the trace size; the list keeps the
  // lines of earlier selections, so it is the first ever chosen.
  int16_t ns = 0;
  SkipOnFailure([&] {
    BinaryFile probe(List1.Items().at(0), BinaryFile::Mode::Read);
    ns = probe.ReadI16(kNsOffset);
    const int16_t traceSize = ToInt16(ns * 4.0 + 240);  // held in 16 bits
    if (traceSize == 0) throw RunTimeFailure(FailureCode::DivisionByZero, "trace size 0");
    state.NbTraces = ToInt32(static_cast<double>(probe.Size()) / traceSize);
  });
  Text4.SetText(PlainDigits(ns));
  Text5.SetText(PlainDigits(state.NbTraces));
  Text9.SetText(PlainDigits(static_cast<double>(entries.size() - 1)));
}

void Add_SU_files::Command2_Click() {
  BusyWhileJoining busy(platform);
  int nbFiles = 0;
  SkipOnFailure([&] { nbFiles = TextToInt32(Text9.Text()); });
  state.OutputFile = Text2.Text();
  if (OutputIsAnInput(nbFiles)) {
    platform.MessageBox(state.OutputFile + " is one of the files to add: choose another output file",
                        buttons::kCritical, kConverterTitle);
    return;
  }
  if (FileExists(state.OutputFile) == 1 && !ClearOldOutput()) return;
  if (nbFiles >= 1) ProgressBar1.SetRange(1, nbFiles);
  Join(nbFiles);
  const int64_t size = FileSizeOf(state.OutputFile).value_or(0);
  platform.MessageBox(state.OutputFile + " has been recorded OK size:" + NumberText(static_cast<double>(size)),
                      buttons::kInformation, kConverterTitle);
}

bool Add_SU_files::OutputIsAnInput(int nbFiles) const {
  const auto& items = List1.Items();
  const size_t joined = std::min<size_t>(items.size(), static_cast<size_t>(std::max(nbFiles, 0)));
  for (size_t k = 0; k < joined; ++k) {
    if (SameExistingFile(items[k], state.OutputFile)) return true;
  }
  return false;
}

// Two questions before an existing output goes: it is never appended to.
bool Add_SU_files::ClearOldOutput() {
  const std::string& out = state.OutputFile;
  if (platform.MessageBox(out + " file already exists, append new files ?", buttons::kQuestionYesNo,
                          kConverterTitle) != answers::kYes) {
    return false;
  }
  if (platform.MessageBox("Erase " + out + " ?", buttons::kQuestionYesNo, kConverterTitle) != answers::kYes) {
    return false;
  }
  std::error_code ec;
  std::filesystem::remove(ResolveExisting(out), ec);
  if (FileExists(out) == 1) {
    platform.MessageBox(out + " can't be erased", buttons::kCritical, kConverterTitle);
    return false;
  }
  return true;
}

void Add_SU_files::Join(int nbFiles) {
  // Lines past the end of the list name no file: a count typed too large
  // stops there instead of counting on for nothing.
  const int lines = static_cast<int>(std::min<size_t>(List1.Items().size(), INT32_MAX));
  for (int i = 1; i <= std::min(nbFiles, lines); ++i) {
    ProgressBar1.SetProgress(i);
    Text10.SetText("Adding file" + NumberText(i));
    const std::string input = List1.Items()[static_cast<size_t>(i - 1)];
    // An input is deleted only once its bytes are safely in the output.
    if (AppendWholeFile(input, state.OutputFile) && Check1.Value()) {
      std::error_code ec;
      std::filesystem::remove(ResolveExisting(input), ec);
    }
  }
}

}  // namespace vexmor
