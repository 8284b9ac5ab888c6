// vexmor-cli: the panels without a screen.
#include <unistd.h>

#include <iostream>
#include <string>
#include <vector>

#include "convert.h"

#include "panels/registry.h"
#include "panels/script.h"

namespace {

constexpr const char* kUsage =
    "usage: vexmor-cli run FILE      run a panel script (FILE or - for standard input);\n"
    "                                the transcript goes to standard output\n"
    "       vexmor-cli panels        list the panels a script can open\n"
    "       vexmor-cli convert ROUTE [OPTIONS] INPUT... -o OUTPUT\n"
    "                                a panel's conversion, safe for scripts\n"
    "                                (vexmor-cli convert --help lists the routes)\n"
    "Exit status of run: 0 when the script ran to its end, 2 on a script error.\n";

int Run(const std::string& file) {
  std::string text;
  const std::string problem = vexmor::ReadScriptFile(file, text);
  if (!problem.empty()) {
    std::cerr << "vexmor-cli: cannot read the script " << file << ": " << problem << '\n';
    return 2;
  }
  return vexmor::RunScriptHeadless(text, std::cout, std::cerr);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string command = argc > 1 ? argv[1] : "";
  if (command == "convert") {
    const std::vector<std::string> args(argv + 2, argv + argc);
    return vexmor::cli::RunConvert(args, std::cout, std::cerr, isatty(STDERR_FILENO) == 1);
  }
  if (command == "run" && argc == 3) return Run(argv[2]);
  if (command == "panels" && argc == 2) {
    for (const auto& type : vexmor::PanelTypes()) std::cout << type.name << '\n';
    return 0;
  }
  if (command == "-h" || command == "--help" || command == "help") {
    std::cout << kUsage;
    return 0;
  }
  std::cerr << kUsage;
  return 2;
}
