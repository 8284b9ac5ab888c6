// vexmor-cli: the panels without a screen.
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include "panels/registry.h"
#include "panels/script.h"

namespace {

constexpr const char* kUsage =
    "usage: vexmor-cli run FILE      run a panel script (FILE or - for standard input);\n"
    "                                the transcript goes to standard output\n"
    "       vexmor-cli panels        list the panels a script can open\n"
    "Exit status: 0 when the script ran to its end, 2 on a script error.\n";

// Scripts are lines typed by hand: past this a "script" is a device with no
// end (/dev/zero) or the wrong file, not something to hold in memory.
constexpr std::streamsize kLongestScript = std::streamsize(16) << 20;

// The whole text of `in`, or a reason why it is no script.
std::string ReadScript(std::istream& in, std::string& text) {
  char block[1 << 16];
  while (in && static_cast<std::streamsize>(text.size()) <= kLongestScript) {
    in.read(block, sizeof block);
    text.append(block, static_cast<size_t>(in.gcount()));
  }
  if (in.bad()) return "it cannot be read";
  if (static_cast<std::streamsize>(text.size()) > kLongestScript) return "longer than 16 MB, no panel script";
  return {};
}

int Run(const std::string& file) {
  std::string text;
  std::string problem;
  if (file == "-") {
    problem = ReadScript(std::cin, text);
  } else {
    std::error_code ec;
    if (std::filesystem::is_directory(file, ec)) {
      std::cerr << "vexmor-cli: cannot read the script " << file << ": it is a folder\n";
      return 2;
    }
    std::ifstream in(file, std::ios::binary);
    if (!in) {
      std::cerr << "vexmor-cli: cannot read the script " << file << ": " << std::strerror(errno) << '\n';
      return 2;
    }
    problem = ReadScript(in, text);
  }
  if (!problem.empty()) {
    std::cerr << "vexmor-cli: cannot read the script " << file << ": " << problem << '\n';
    return 2;
  }
  return vexmor::RunScriptHeadless(text, std::cout, std::cerr);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string command = argc > 1 ? argv[1] : "";
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
