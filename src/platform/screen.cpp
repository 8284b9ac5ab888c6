#include "platform/screen.h"

#include <cstdlib>
#include <string_view>

namespace vexmor {

namespace {

std::string_view Variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string_view() : std::string_view(value);
}

// The first platform Qt would try: "offscreen", "xcb;offscreen", "vnc:size=800x600".
std::string_view FirstPlatform() {
  const std::string_view qpa = Variable("QT_QPA_PLATFORM");
  return qpa.substr(0, qpa.find_first_of(";:"));
}

bool DrawsOffScreen(std::string_view platform) {
  return platform == "offscreen" || platform == "minimal" || platform == "minimalegl";
}

}  // namespace

Screen ScreenOfEnvironment() {
  const std::string_view platform = FirstPlatform();
  if (DrawsOffScreen(platform)) return Screen::Offscreen;
  // vnc, eglfs, linuxfb ... are screens of their own, with no DISPLAY.
  if (!platform.empty()) return Screen::Display;
  return Variable("DISPLAY").empty() && Variable("WAYLAND_DISPLAY").empty() ? Screen::None : Screen::Display;
}

std::string NoScreenReason() {
  switch (ScreenOfEnvironment()) {
    case Screen::None:
      return "no display is named (DISPLAY is not set)";
    case Screen::Offscreen:
      return "QT_QPA_PLATFORM=" + std::string(FirstPlatform()) + " draws off screen, where nobody sees a window";
    case Screen::Display:
      break;
  }
  return "";
}

}  // namespace vexmor
