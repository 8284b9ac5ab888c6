#include "platform/jobs.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <strings.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <iostream>
#include <map>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <cstdlib>
#include <set>

#include "core/paths.h"
#include "platform/screen.h"

extern char** environ;

namespace vexmor {

namespace {

// The jobs not reaped yet. Each has a thread of its own that waits for its
// end, so that a finished program never lingers as a zombie, whether or not
// the panels pump events meanwhile. Never destroyed: a waiting thread may
// still touch them while the program exits.
struct JobTable {
  std::mutex lock;
  std::condition_variable ended;
  std::set<pid_t> running;
  std::map<pid_t, std::string> windows;  // programs with a window of their own, by name
};

JobTable& Jobs() {
  static JobTable* jobs = new JobTable;
  return *jobs;
}

void WaitInBackground(pid_t pid) {
  std::thread([pid] {
    // Waited for without being reaped, and reaped only under the lock: while
    // a pid is in the tables it is still ours (running or a zombie), so the
    // last resort of WaitForJobs can never signal a process that took its
    // number after it.
    siginfo_t info{};
    while (waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT) < 0 && errno == EINTR) {
    }
    JobTable& jobs = Jobs();
    const std::lock_guard<std::mutex> hold(jobs.lock);
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    jobs.running.erase(pid);
    jobs.windows.erase(pid);
    jobs.ended.notify_all();
  }).detach();
}

bool StartsWithNoCase(const std::string& s, std::string_view prefix) {
  return s.size() >= prefix.size() && strncasecmp(s.c_str(), prefix.data(), prefix.size()) == 0;
}

bool EndsWithNoCase(const std::string& s, std::string_view end) {
  return s.size() >= end.size() && strcasecmp(s.c_str() + s.size() - end.size(), end.data()) == 0;
}

std::vector<std::string> SplitBlanks(const std::string& text) {
  std::vector<std::string> words;
  size_t at = 0;
  while (at < text.size()) {
    while (at < text.size() && text[at] == ' ') ++at;
    if (at >= text.size()) break;
    if (text[at] == '"') {
      const size_t close = text.find('"', at + 1);
      const size_t end = close == std::string::npos ? text.size() : close;
      words.push_back(text.substr(at + 1, end - at - 1));
      at = end + 1;
      continue;
    }
    const size_t end = std::min(text.find(' ', at), text.size());
    words.push_back(text.substr(at, end - at));
    at = end;
  }
  return words;
}

}  // namespace

ShellCommand ParseShellCommand(const std::string& commandLine, const std::string& programFolder) {
  ShellCommand command;
  std::string rest = commandLine;
  while (!rest.empty() && rest.front() == ' ') rest.erase(0, 1);
  if (StartsWithNoCase(rest, "command.com /c")) {
    command.closeAtEnd = true;
    rest.erase(0, std::string_view("command.com /c").size());
    while (!rest.empty() && rest.front() == ' ') rest.erase(0, 1);
  }
  while (!rest.empty() && rest.back() == ' ') rest.pop_back();
  if (rest.empty()) return command;

  // A whole line naming an existing file is one program, blanks and all.
  std::vector<std::string> words;
  if (FileExists(rest) == 1) {
    words.push_back(rest);
  } else {
    words = SplitBlanks(rest);
  }
  if (words.empty()) return command;
  std::string program = words.front();
  // A DOS path: folder + "\rtoaw.exe"; another system's folder stands for ours.
  if (program.find('\\') != std::string::npos && FileExists(program) == 0) {
    std::replace(program.begin(), program.end(), '\\', kSep);
    if (FileExists(program) == 0) program = program.substr(program.rfind(kSep) + 1);
  }
  if (program.find(kSep) == std::string::npos && FileExists(program) == 0) {
    program = programFolder + kSep + program;
  }
  program = ResolveExisting(program);
  if (EndsWithNoCase(program, ".bat")) {
    command.isScript = true;
    // A script that isn't there starts nothing, as the desktop's own shell says.
    if (FileExists(program) == 0) return command;
    command.argv = {programFolder + kSep + kBatchRunner};
    if (command.closeAtEnd) command.argv.push_back("--close");
    command.argv.push_back(program);
  } else {
    command.argv = {program};
  }
  command.argv.insert(command.argv.end(), words.begin() + 1, words.end());
  return command;
}

std::string FindTerminal() {
  const char* display = std::getenv("DISPLAY");
  const char* wayland = std::getenv("WAYLAND_DISPLAY");
  if ((display == nullptr || *display == 0) && (wayland == nullptr || *wayland == 0)) return "";
  // A program drawn off screen has nobody to read or close a window.
  if (ScreenOfEnvironment() != Screen::Display) return "";
  std::vector<std::string> names;
  if (const char* chosen = std::getenv("VEXMOR_TERMINAL"); chosen != nullptr && *chosen != 0) {
    if (std::string_view(chosen) == "none") return "";
    names.push_back(chosen);
  }
  for (const char* n : {"x-terminal-emulator", "xterm", "konsole", "urxvt"}) names.push_back(n);
  const char* path = std::getenv("PATH");
  const std::string dirs = path != nullptr ? path : "/usr/bin:/bin";
  for (const auto& name : names) {
    if (name.find('/') != std::string::npos) {
      if (access(name.c_str(), X_OK) == 0) return name;
      continue;
    }
    size_t at = 0;
    while (at <= dirs.size()) {
      const size_t end = std::min(dirs.find(':', at), dirs.size());
      const std::string candidate = dirs.substr(at, end - at) + "/" + name;
      if (end > at && access(candidate.c_str(), X_OK) == 0) return candidate;
      at = end + 1;
    }
  }
  return "";
}

std::vector<std::string> JobCommand(const ShellCommand& command, int style) {
  if (!command.isScript || style == 0 || command.argv.empty()) return command.argv;
  const std::string terminal = FindTerminal();
  if (terminal.empty()) return command.argv;
  std::vector<std::string> argv = {terminal, "-e", command.argv.front()};
  if (!command.closeAtEnd) argv.push_back("--wait");
  argv.insert(argv.end(), command.argv.begin() + 1, command.argv.end());
  return argv;
}

int StartJob(const std::vector<std::string>& argv, bool window) {
  if (argv.empty() || access(argv[0].c_str(), X_OK) != 0) return 0;
  std::vector<char*> args;
  for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, STDERR_FILENO, STDOUT_FILENO);
  pid_t pid = 0;
  const int rc = posix_spawn(&pid, argv[0].c_str(), &actions, nullptr, args.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (rc != 0) return 0;
  {
    JobTable& jobs = Jobs();
    const std::lock_guard<std::mutex> hold(jobs.lock);
    jobs.running.insert(pid);
    if (window) jobs.windows[pid] = argv[0].substr(argv[0].rfind('/') + 1);
  }
  WaitInBackground(pid);
  return static_cast<int>(pid);
}

void ReapJobs() {
  // Each job's own thread reaps it; nothing is left to do here.
}

void WaitForJobs() {
  JobTable& jobs = Jobs();
  std::unique_lock<std::mutex> hold(jobs.lock);
  // Our own programs refuse a window nobody can see; another program might
  // wait there for a user for ever, and the run with it.
  if (!jobs.windows.empty() && ScreenOfEnvironment() != Screen::Display) {
    const auto limit = std::chrono::steady_clock::now() + kWindowGrace;
    if (!jobs.ended.wait_until(hold, limit, [&jobs] { return jobs.windows.empty(); })) {
      for (const auto& [pid, name] : jobs.windows) {
        std::cerr << name << " still runs " << kWindowGrace.count()
                  << " s on with no screen to show its window on; ended\n";
        kill(pid, SIGTERM);
      }
      if (!jobs.ended.wait_for(hold, std::chrono::seconds(2), [&jobs] { return jobs.windows.empty(); })) {
        for (const auto& entry : jobs.windows) kill(entry.first, SIGKILL);
      }
    }
  }
  jobs.ended.wait(hold, [&jobs] { return jobs.running.empty(); });
}

int RunningJobs() {
  JobTable& jobs = Jobs();
  const std::lock_guard<std::mutex> hold(jobs.lock);
  return static_cast<int>(jobs.running.size());
}

bool JobRunning(int task) {
  if (task <= 0) return false;
  JobTable& jobs = Jobs();
  const std::lock_guard<std::mutex> hold(jobs.lock);
  return jobs.running.count(static_cast<pid_t>(task)) > 0;
}

}  // namespace vexmor
