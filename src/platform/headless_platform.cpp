#include "platform/headless_platform.h"

#include <strings.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>

#include "core/paths.h"
#include "core/text_reader.h"
#include "platform/jobs.h"

namespace vexmor {

namespace fs = std::filesystem;

int FirstButtonOf(int buttonsCode) {
  return (buttonsCode & 0x0F) == 4 || (buttonsCode & 0x0F) == 3 ? answers::kYes : answers::kOk;
}

HeadlessPlatform::~HeadlessPlatform() = default;

int HeadlessPlatform::MessageBox(const std::string& text, int buttonsCode, const std::string& title) {
  const int answer = answers_.TakeMessage().value_or(FirstButtonOf(buttonsCode));
  Write(transcript::Message(text, buttonsCode, title, answer));
  return answer;
}

std::string HeadlessPlatform::PromptValue(const std::string& prompt, const std::string& title,
                                          const std::string& defaultText) {
  const std::string answer = answers_.TakePrompt().value_or(defaultText);
  Write(transcript::Prompt(prompt, title, defaultText, answer));
  return answer;
}

std::string HeadlessPlatform::ChooseFile(const FileRequest& request) {
  const std::string answer = answers_.TakeDialog().value_or(request.fileName);
  Write(transcript::Dialog(request, answer));
  if (answer != request.fileName) EnterFolderOfAnswer(answer, request.multi);
  return answer;
}

int HeadlessPlatform::Shell(const std::string& commandLine, int style) {
  int task = 0;
  if (recordOnly_) {
    task = 1;
  } else {
    const ShellCommand command = ParseShellCommand(commandLine, ProgramFolder());
    task = StartJob(command.argv, !command.isScript);
  }
  Write(transcript::Shell(commandLine, style, task));
  return task;
}

int HeadlessPlatform::ShellOpen(const std::string&, const std::string&, const std::string& program,
                                const std::string& folder) {
  // 2 is "file not found", as the desktop's own launcher says it.
  int result = 2;
  const std::string found = ResolveExisting(program);
  if (recordOnly_) {
    result = 33;
  } else if (FileExists(found) == 1 && access(found.c_str(), X_OK) == 0) {
    std::error_code ec;
    const fs::path before = fs::current_path(ec);
    if (!folder.empty()) fs::current_path(folder, ec);
    result = StartJob({found}, true) != 0 ? 33 : 2;
    if (!before.empty()) fs::current_path(before, ec);
  }
  Write(transcript::ShellOpen(program, folder, result));
  return result;
}

void HeadlessPlatform::PumpEvents() { ReapJobs(); }

bool HeadlessPlatform::TaskRunning(int task) { return !recordOnly_ && JobRunning(task); }

double HeadlessPlatform::Clock() { return SecondsSinceMidnight(); }

void HeadlessPlatform::Beep() { Write(transcript::Beep()); }

void HeadlessPlatform::BusyPointer(bool on, const std::string&) { busy_ = on; }

std::string HeadlessPlatform::ReadIniString(const std::string& section, const std::string& key,
                                            const std::string& defaultText, const std::string& iniFile, int room) {
  return ReadIniFromConfigFolders(section, key, defaultText, iniFile, room);
}

std::string HeadlessPlatform::ProgramFolder() {
  return programFolder_.empty() ? RunningProgramFolder() : programFolder_;
}

void HeadlessPlatform::CloseMessageNamed(const std::string&) {
  // Headless message boxes are answered at once: none is ever open.
}

std::optional<TextFont> HeadlessPlatform::ChooseFont(const TextFont& preset) {
  if (fonts_.empty()) return preset;
  std::optional<TextFont> answer = std::move(fonts_.front());
  fonts_.pop_front();
  return answer;
}

bool HeadlessPlatform::PrintText(const PrintJob& job) {
  printed_.push_back(job);
  return true;
}

namespace {

std::string Trim(std::string s) {
  const size_t a = s.find_first_not_of(" \t");
  if (a == std::string::npos) return {};
  const size_t b = s.find_last_not_of(" \t");
  return s.substr(a, b - a + 1);
}

std::string ValueInIni(const std::string& path, const std::string& section, const std::string& key, bool& found) {
  found = false;
  std::string text;
  try {
    text = ReadWholeFile(path);
  } catch (const std::exception&) {
    return {};
  }
  bool inSection = false;
  for (const std::string& raw : SplitLines(text)) {
    const std::string line = Trim(raw);
    if (line.empty() || line[0] == ';') continue;
    if (line.front() == '[') {
      const size_t close = line.find(']');
      const std::string name = Trim(line.substr(1, close == std::string::npos ? std::string::npos : close - 1));
      inSection = strcasecmp(name.c_str(), section.c_str()) == 0;
      continue;
    }
    if (!inSection) continue;
    const size_t eq = line.find('=');
    if (eq == std::string::npos) continue;
    if (strcasecmp(Trim(line.substr(0, eq)).c_str(), key.c_str()) != 0) continue;
    std::string value = Trim(line.substr(eq + 1));
    if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.back() == value.front()) {
      value = value.substr(1, value.size() - 2);
    }
    found = true;
    return value;
  }
  return {};
}

}  // namespace

std::string ReadIniFromConfigFolders(const std::string& section, const std::string& key,
                                     const std::string& defaultText, const std::string& iniFile, int room) {
  std::vector<std::string> folders;
  if (const char* xdg = std::getenv("XDG_CONFIG_HOME"); xdg != nullptr && *xdg != '\0') {
    folders.push_back(xdg);
  } else if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0') {
    folders.push_back(std::string(home) + "/.config");
  }
  folders.push_back("/etc");
  std::string value = defaultText;
  for (const std::string& folder : folders) {
    const std::string path = folder + kSep + iniFile;
    if (FileExists(path) == 0) continue;
    bool found = false;
    const std::string v = ValueInIni(ResolveExisting(path), section, key, found);
    if (found) {
      value = v;
      break;
    }
  }
  const size_t limit = room > 0 ? static_cast<size_t>(room - 1) : 0;
  if (value.size() > limit) value.resize(limit);
  return value;
}

double SecondsSinceMidnight() {
  const auto now = std::chrono::system_clock::now();
  const std::time_t t = std::chrono::system_clock::to_time_t(now);
  std::tm local{};
  localtime_r(&t, &local);
  const auto fraction = std::chrono::duration<double>(now.time_since_epoch()).count() - static_cast<double>(t);
  return local.tm_hour * 3600.0 + local.tm_min * 60.0 + local.tm_sec + fraction;
}

void EnterFolderOfAnswer(const std::string& answer, bool multi) {
  std::string folder;
  const size_t blank = answer.find(' ');
  if (multi && blank != std::string::npos) {
    folder = answer.substr(0, blank);
  } else {
    const size_t sep = answer.rfind(kSep);
    if (sep == std::string::npos) return;
    folder = answer.substr(0, sep + 1);
  }
  std::error_code ec;
  if (fs::is_directory(folder, ec)) fs::current_path(folder, ec);
}

}  // namespace vexmor
