// vexmor-bat [--close] [--wait] SCRIPT.bat [args]: runs a job script.
// --close: the command had the interpreter prefix; its window closes at the
// end. --wait: the script runs in a window of its own that stays until the
// user closes it, so the end waits for a key.
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

#include "batch.h"
#include "core/paths.h"

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
    } else {
      break;
    }
  }
  if (at >= argc) {
    std::cerr << "usage: vexmor-bat [--close] [--wait] SCRIPT.bat [args]\n";
    return 1;
  }
  vexmor::bat::Options options;
  options.programFolder = vexmor::RunningProgramFolder();
  const std::string script = vexmor::ResolveExisting(argv[at]);
  for (int i = at; i < argc && options.args.size() < 10; ++i) options.args.push_back(argv[i]);
  std::ifstream in(script, std::ios::binary);
  int status = 1;
  if (!in) {
    std::cerr << "vexmor-bat: " << script << ": cannot open the script\n";
  } else {
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    status = vexmor::bat::RunScript(text, options);
  }
  if (wait && isatty(0)) {
    std::cout << "\nThe job has ended. Press Enter to close this window." << std::flush;
    std::string line;
    std::getline(std::cin, line);
  }
  return status;
}
