#pragma once
// Whether a desktop is there for a window: what Qt would connect to.
#include <cstdlib>

namespace vexmor {

inline bool DesktopPresent() {
  for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
    const char* value = std::getenv(name);
    if (value != nullptr && *value != '\0') return true;
  }
  return false;
}

}  // namespace vexmor
