// vexmor-cli: the panels without a screen.
#include <unistd.h>

#include <iostream>
#include <string>
#include <vector>

#include "convert.h"

#include "panels/describe.h"
#include "panels/registry.h"
#include "panels/script.h"

namespace {

constexpr const char* kUsage =
    "usage: vexmor-cli run FILE          run a panel script (FILE or - for standard input);\n"
    "                                    the transcript goes to standard output\n"
    "       vexmor-cli panels [PANEL...] the panels a script can open, with their captions\n"
    "       vexmor-cli controls PANEL    the controls of a panel, one a line: name, kind,\n"
    "                                    caption (or label), default, frame, keys let through\n"
    "       vexmor-cli convert ROUTE [OPTIONS] INPUT... -o OUTPUT\n"
    "                                    a panel's conversion, safe for scripts\n"
    "                                    (vexmor-cli convert --help lists the routes)\n"
    "       vexmor-cli -h | --help       this text\n"
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

int NoSuchPanel(const std::string& name) {
  std::cerr << "vexmor-cli: no panel named " << name << " (vexmor-cli panels lists them)\n";
  return 2;
}

// One line a panel: its name, its caption, and whether it is built yet.
int Panels(int argc, char** argv) {
  const auto panels = vexmor::DescribePanels();
  int status = 0;
  const auto print = [](const vexmor::PanelSummary& p) {
    std::cout << p.name << std::string(p.name.size() < 14 ? 14 - p.name.size() : 1, ' ');
    if (p.built) {
      std::cout << '"' << p.caption << "\", " << p.controls << " controls\n";
    } else {
      std::cout << "not built yet: opens as an empty window\n";
    }
  };
  if (argc == 2) {
    for (const auto& p : panels) print(p);
    return 0;
  }
  for (int i = 2; i < argc; ++i) {
    bool found = false;
    const std::string name = vexmor::PanelNameAnyCase(argv[i]);
    for (const auto& p : panels) {
      if (p.name == name) {
        print(p);
        found = true;
      }
    }
    if (!found) status = NoSuchPanel(argv[i]);
  }
  return status;
}

int Controls(const std::string& typed) {
  const std::string panel = vexmor::PanelNameAnyCase(typed);
  const auto lines = vexmor::ControlLines(panel);
  if (!lines) return NoSuchPanel(panel);
  if (lines->empty()) {
    std::cout << panel << " is not built yet: it opens as an empty window with no controls\n";
    return 0;
  }
  for (const std::string& line : *lines) std::cout << line << '\n';
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string command = argc > 1 ? argv[1] : "";
  if (command == "convert") {
    const std::vector<std::string> args(argv + 2, argv + argc);
    return vexmor::cli::RunConvert(args, std::cout, std::cerr, isatty(STDERR_FILENO) == 1);
  }
  if (command == "-h" || command == "--help" || command == "help") {
    std::cout << kUsage;
    return 0;
  }
  if (command == "run" && argc == 3) return Run(argv[2]);
  if (command == "panels") return Panels(argc, argv);
  if (command == "controls" && argc == 3) return Controls(argv[2]);
  if (command.empty()) {
    std::cerr << kUsage;
  } else if (command == "run" || command == "controls") {
    std::cerr << "vexmor-cli: " << command << " takes " << (command == "run" ? "one script file" : "one panel name")
              << " (vexmor-cli --help shows the usage)\n";
  } else {
    std::cerr << "vexmor-cli: unknown command '" << command << "' (vexmor-cli --help shows the usage)\n";
  }
  return 2;
}
