// vexmor: the desktop program. With no arguments MainPanel comes on screen;
// --script runs a panel script on the real windows, --screenshot saves the
// window of a panel.
#include <QApplication>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>

#include "desktop.h"
#include "panels/script.h"

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
    "Without a screen, --script and --screenshot use Qt's offscreen platform.\n";

bool HasScreen() {
  const char* display = std::getenv("DISPLAY");
  const char* wayland = std::getenv("WAYLAND_DISPLAY");
  const char* qpa = std::getenv("QT_QPA_PLATFORM");
  return (display != nullptr && *display != '\0') || (wayland != nullptr && *wayland != '\0') ||
         (qpa != nullptr && *qpa != '\0');
}

// Qt's notes that the offscreen platform cannot raise a window, and the
// like, say nothing to a user of a script; everything else passes.
QtMessageHandler qtHandler = nullptr;
void QuietOffscreenNotes(QtMsgType type, const QMessageLogContext& context, const QString& text) {
  if (type == QtWarningMsg && (text.startsWith(QStringLiteral("This plugin does not support")) ||
                               text.startsWith(QStringLiteral("QStandardPaths: XDG_RUNTIME_DIR not set")))) {
    return;
  }
  if (qtHandler != nullptr) qtHandler(type, context, text);
}

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
  if (!HasScreen()) {
    if (argc == 1) {
      std::cerr << "vexmor: no screen found (DISPLAY is not set). Start it on a desktop, or run a panel\n"
                   "script without one: vexmor --script FILE, or vexmor-cli run FILE.\n";
      return 1;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
  }
  std::optional<std::string> text;
  if (script && !(text = ReadScript(argv[2]))) return 2;
  if (screenshot && argc == 5 && !(text = ReadScript(argv[4]))) return 2;

  if (script || screenshot) qtHandler = qInstallMessageHandler(QuietOffscreenNotes);
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
