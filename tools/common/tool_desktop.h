#pragma once
// What the outside programs with a window of their own (seg2su, rtoaw)
// share: whether a desktop is there, and a screenshot of a whole round.
#include <cstdlib>

namespace vexmor {

// Whether a desktop is there for a window: what Qt would connect to.
inline bool DesktopPresent() {
  for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
    const char* value = std::getenv(name);
    if (value != nullptr && *value != '\0') return true;
  }
  return false;
}

}  // namespace vexmor
