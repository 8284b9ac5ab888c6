#include "qt_screen.h"

#include <unistd.h>

#include <QByteArray>
#include <QString>
#include <QtGlobal>

#include <cstdlib>
#include <iostream>
#include <string>

#include "platform/screen.h"

namespace vexmor {

namespace {

// One write for the whole line: the programs a script starts share its
// standard error, and their lines must not mix.
void SayLine(const std::string& line) {
  std::cerr.flush();
  size_t done = 0;
  while (done < line.size()) {
    const ssize_t put = ::write(STDERR_FILENO, line.data() + done, line.size() - done);
    if (put <= 0) break;
    done += static_cast<size_t>(put);
  }
}

std::string& ProgramName() {
  static std::string name;
  return name;
}
bool drawingOffScreen = false;
QtMessageHandler qtHandler = nullptr;

void Handler(QtMsgType type, const QMessageLogContext& context, const QString& text) {
  // Qt gives up on a platform it cannot start with a fatal message and an
  // abort; the one thing a user needs to know is which display failed.
  if (type == QtFatalMsg && text.contains(QStringLiteral("platform plugin"))) {
    std::string line = ProgramName() + ": ";
    if (drawingOffScreen) {
      line += "Qt cannot draw off screen: its offscreen platform is not installed (qt6-qpa-plugins)\n";
    } else {
      const char* display = std::getenv("DISPLAY");
      line += "no display can be opened";
      if (display != nullptr && *display != '\0') line += std::string(" (DISPLAY=") + display + ")";
      line += "\n";
    }
    SayLine(line);
    std::_Exit(1);
  }
  // Said once, above, in the program's own words.
  if (text.startsWith(QStringLiteral("could not connect to display")) ||
      text.startsWith(QStringLiteral("Could not load the Qt platform plugin"))) {
    return;
  }
  if (type == QtWarningMsg) {
    // Notes of the offscreen platform (it cannot raise a window, no runtime
    // folder) say nothing to whoever asked for a picture.
    if (drawingOffScreen && (text.startsWith(QStringLiteral("This plugin does not support")) ||
                             text.startsWith(QStringLiteral("QStandardPaths: XDG_RUNTIME_DIR not set")))) {
      return;
    }
  }
  if (qtHandler != nullptr) {
    qtHandler(type, context, text);
  } else {
    std::cerr << text.toStdString() << '\n';
  }
}

}  // namespace

bool PrepareScreen(const std::string& program, ScreenUse use, const std::string& hint) {
  ProgramName() = program;
  const Screen screen = ScreenOfEnvironment();
  if (use == ScreenUse::Window && screen != Screen::Display) {
    SayLine(program + ": no screen to show a window on: " + NoScreenReason() + (hint.empty() ? "" : "; ") + hint +
            '\n');
    return false;
  }
  // A picture never waits on a display, and a script run without one draws
  // its windows where the picture can still be taken.
  if (use == ScreenUse::Picture || (use == ScreenUse::WindowIfAny && screen == Screen::None)) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
  }
  drawingOffScreen = ScreenOfEnvironment() == Screen::Offscreen;
  qtHandler = qInstallMessageHandler(Handler);
  return true;
}

}  // namespace vexmor
