#pragma once
// Whether a window of ours can reach a user, read from the environment alone
// (no Qt here): the desktop programs, the tools with windows and the job
// starter all decide the same way.
#include <string>

namespace vexmor {

enum class Screen {
  None,       // no display named: nobody could see a window
  Offscreen,  // Qt is told to draw off screen (offscreen, minimal): nobody sees it either
  Display,    // a display is named; whether it can be opened shows when Qt starts
};

Screen ScreenOfEnvironment();

// Why a window cannot be shown, for a message: empty when a display is named.
std::string NoScreenReason();

}  // namespace vexmor
