// vexmor: the desktop program. With no arguments MainPanel comes on screen;
// --script runs a panel script on the real windows, --screenshot saves the
// window of a panel.
#include <QApplication>
#include <filesystem>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>

#include "desktop.h"
#include "panels/script.h"
#include "qt_screen.h"

namespace {

constexpr const char* kUsage =
    "usage: vexmor                          MainPanel on screen\n"
    "       vexmor --script FILE            run a panel script on the windows (FILE or - for\n"
    "                                       standard input); the transcript goes to standard output\n"
    "       vexmor --screenshot PANEL FILE [SCRIPT]\n"
    "                                       save the window of a panel as a PNG picture; with a\n"
    "                                       panel script, as the script leaves it\n"
    "       vexmor --screenshot PANEL FILE [SCRIPT] --size WIDTHxHEIGHT\n"
    "                                       the same with the window at that size\n"
    "       vexmor -h | --help              this text\n"
    "--screenshot draws off screen; --script does too when no display is named.\n";

std::optional<std::string> ReadScript(const std::string& file) {
  std::string text;
  const std::string problem = vexmor::ReadScriptFile(file, text);
  if (!problem.empty()) {
    std::cerr << "vexmor: cannot read the script " << file << ": " << problem << '\n';
    return std::nullopt;
  }
  return text;
}

// "--size 900x700" behind the screenshot's arguments: taken out of argv.
bool TakeSize(int& argc, char** argv, int& width, int& height) {
  for (int i = 1; i + 1 < argc; ++i) {
    if (std::string(argv[i]) != "--size") continue;
    char x = 0;
    std::istringstream in(argv[i + 1]);
    if (!(in >> width >> x >> height) || x != 'x' || width <= 0 || height <= 0 || !in.eof()) return false;
    for (int k = i; k + 2 <= argc; ++k) argv[k] = argv[k + 2];
    argc -= 2;
    return true;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  int width = 0, height = 0;
  if (!TakeSize(argc, argv, width, height)) {
    std::cerr << "vexmor: --size takes WIDTHxHEIGHT in pixels, such as 900x700 (vexmor --help shows the usage)\n";
    return 2;
  }
  const std::string mode = argc > 1 ? argv[1] : "";
  const bool script = mode == "--script" && argc == 3;
  const bool screenshot = mode == "--screenshot" && (argc == 4 || argc == 5);
  if (mode == "-h" || mode == "--help") {
    std::cout << kUsage;
    return 0;
  }
  if (!(argc == 1 || script || screenshot)) {
    if (mode == "--script" || mode == "--screenshot") {
      std::cerr << "vexmor: " << mode << " takes " << (mode == "--script" ? "one script file" : "PANEL FILE [SCRIPT]")
                << " (vexmor --help shows the usage)\n";
    } else {
      std::cerr << "vexmor: unknown argument '" << mode << "' (vexmor --help shows the usage)\n";
    }
    return 2;
  }
  std::optional<std::string> text;
  if (script && !(text = ReadScript(argv[2]))) return 2;
  if (screenshot && argc == 5 && !(text = ReadScript(argv[4]))) return 2;
  // A picture is always drawn off screen, so that the programs its script
  // starts know that nobody will see their windows either.
  const vexmor::ScreenUse use = screenshot ? vexmor::ScreenUse::Picture
                                : script   ? vexmor::ScreenUse::WindowIfAny
                                           : vexmor::ScreenUse::Window;
  if (!vexmor::PrepareScreen("vexmor", use, "start it on a desktop, or run a panel script: vexmor --script FILE")) {
    return 1;
  }
  QApplication app(argc, argv);
  QApplication::setApplicationName(QStringLiteral("Vexmor"));
  // Only MainPanel's closing ends the program, not that of the last window.
  QApplication::setQuitOnLastWindowClosed(false);
  if (script) return vexmor::RunScriptOnScreen(*text, std::cout, std::cerr);
  if (screenshot) {
    vexmor::SetScreenshotSize(width, height);
    // A file dialog of the script makes its folder the current one: the
    // picture goes where the user asked from.
    std::error_code ec;
    std::string picture = std::filesystem::absolute(argv[3], ec).string();
    if (ec) picture = argv[3];
    if (text) return vexmor::SaveScreenshotAfter(*text, argv[2], picture, std::cout, std::cerr);
    return vexmor::SaveScreenshot(argv[2], picture, std::cerr);
  }
  return vexmor::RunDesktop();
}
