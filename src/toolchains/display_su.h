#pragma once
// The test display of the SEG-Y panel: the first 24 traces of an SU file as
// a variable-area wiggle plot on a drawing surface, one column each, and the
// time and trace read-out under the mouse.
#include <cstdint>
#include <string>

#include "core/shared_state.h"
#include "panels/control.h"

namespace vexmor {

// The drawing surface in pixels (6495 by 5175 twips at 15 twips a pixel).
inline constexpr int kDisplayWidthPx = 433;
inline constexpr int kDisplayHeightPx = 345;
inline constexpr int kDisplayTraces = 24;

// What carries from one drawing to the next: the bytes per trace stay what
// they were when a sample count overflows their 16-bit computation.
struct DisplayMemory {
  int16_t bytesPerTrace = 0;
};

// Draws the file's first 24 traces on the surface, scaled each by its own
// positive peak times the gain. Positive lobes are filled, a lobe still open
// at the last sample only outlined. Sets SampleInterval from the file's dt.
// A column whose trace the file does not hold whole is left empty. Nothing
// is drawn when the file is missing or its first ns is 0.
void DrawTestTraces(const std::string& path, double gain, Control& surface, SharedState& state,
                    DisplayMemory& memory);

// The read-out at x, y in user units: " 100 ms Trace= 3".
std::string TestDisplayReadOut(double x, double y, int16_t sampleInterval);

}  // namespace vexmor
