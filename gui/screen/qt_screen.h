#pragma once
// How every Qt program of ours (vexmor, vexmor-view, seg2su, rtoaw) meets the
// screen. Called before its QApplication is made.
#include <string>

namespace vexmor {

enum class ScreenUse {
  Window,        // a window for a user: needs a display
  WindowIfAny,   // windows on the display when one is named, else drawn off screen (a script run)
  Picture,       // drawn off screen, whatever display there is
};

// False, with one line on standard error ("PROGRAM: no screen to show a
// window on: WHY; HINT"), when a window is asked for and nobody could see
// one. Otherwise true; a display that is named but cannot be opened then
// ends the program with one line and status 1 when its QApplication starts,
// never with Qt's abort.
bool PrepareScreen(const std::string& program, ScreenUse use, const std::string& hint = {});

}  // namespace vexmor
