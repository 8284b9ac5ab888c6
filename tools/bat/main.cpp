// vexmor-bat [--close] [--wait] SCRIPT.bat [args]: runs a job script.
// --close: the command had the interpreter prefix; its window closes at the
// end. --wait: the script runs in a window of its own that stays until the
// user closes it, so the end waits for a key.
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include "batch.h"
#include "core/paths.h"

namespace {

// Job scripts are a few lines: anything past this is no script (a device
// such as /dev/zero would never end).
constexpr std::streamsize kLongestScript = std::streamsize(16) << 20;

// The script's text, or false after a message when it can't be one.
bool ReadScript(const std::string& script, std::string& text) {
  std::error_code ec;
  if (std::filesystem::is_directory(script, ec)) {
    std::cerr << "vexmor-bat: " << script << ": is a folder, not a script\n";
    return false;
  }
  std::ifstream in(script, std::ios::binary);
  if (!in) {
    std::cerr << "vexmor-bat: " << script << ": cannot open the script\n";
    return false;
  }
  char block[1 << 16];
  while (in && static_cast<std::streamsize>(text.size()) <= kLongestScript) {
    in.read(block, sizeof block);
    text.append(block, size_t(in.gcount()));
  }
  if (in.bad()) {
    std::cerr << "vexmor-bat: " << script << ": cannot be read\n";
    return false;
  }
  if (static_cast<std::streamsize>(text.size()) > kLongestScript) {
    std::cerr << "vexmor-bat: " << script << ": longer than 16 MB, not a job script\n";
    return false;
  }
  return true;
}

constexpr const char* kUsage =
    "usage: vexmor-bat [--close] [--wait] SCRIPT.bat [ARGS...]\n"
    "  runs a job script (.bat) line by line: our Seismic Unix tools, pipes and\n"
    "  redirections, copy, del, pause, echo, rem, cd, exit; %1..%9 are ARGS\n"
    "  --close   the window closes at the end (the job had the interpreter prefix)\n"
    "  --wait    at the end, wait for Enter on a terminal before closing\n"
    "  -h, --help  this text\n"
    "Exit status: that of the last line of the script.\n";

}  // namespace

int main(int argc, char** argv) {
  signal(SIGPIPE, SIG_IGN);
  bool wait = false;
  int at = 1;
  for (; at < argc; ++at) {
    const std::string a = argv[at];
    if (a == "--close") {
      wait = false;
    } else if (a == "--wait") {
      wait = true;
    } else if (a == "-h" || a == "--help") {
      std::cout << kUsage;
      return 0;
    } else if (a.size() > 1 && a[0] == '-') {
      std::cerr << "vexmor-bat: unknown option " << a << " (vexmor-bat --help shows the usage)\n";
      return 2;
    } else {
      break;
    }
  }
  if (at >= argc) {
    std::cerr << kUsage;
    return 1;
  }
  vexmor::bat::Options options;
  options.programFolder = vexmor::RunningProgramFolder();
  const std::string script = vexmor::ResolveExisting(argv[at]);
  for (int i = at; i < argc && options.args.size() < 10; ++i) options.args.push_back(argv[i]);
  int status = 1;
  try {
    std::string text;
    if (ReadScript(script, text)) status = vexmor::bat::RunScript(text, options);
  } catch (const std::exception& e) {
    std::cerr << "vexmor-bat: " << script << ": " << e.what() << "\n";
  }
  if (wait && isatty(0)) {
    std::cout << "\nThe job has ended. Press Enter to close this window." << std::flush;
    std::string line;
    std::getline(std::cin, line);
  }
  return status;
}
