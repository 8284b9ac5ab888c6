#include "toolchains/display_su.h"

#include <cmath>
#include <vector>

#include "core/binary_file.h"
#include "core/numbers.h"
#include "core/su_trace.h"
#include "importers/seismograph/selection.h"

namespace vexmor {

namespace {

constexpr double kPlotWidth = 480.0;
constexpr double kColumn = 20.0;
constexpr double kHalfColumn = 10.0;
constexpr size_t kCurvePoints = 10000;
constexpr size_t kFillPoints = 20000;

using Points = std::vector<std::pair<double, double>>;

// The fill list holds a fixed number of points: one more is lost.
void AddFill(Points& fill, int32_t x, int32_t y) {
  if (fill.size() < kFillPoints) fill.emplace_back(x, y);
}

void Draw(Control& surface, Points& points, bool filled) {
  surface.AddFigure(Figure{filled, points});
  points.clear();
}

}  // namespace

void DrawTestTraces(const std::string& path, double gain, Control& surface, SharedState& state,
                    DisplayMemory& memory) {
  BinaryFile file;
  SkipOnFailure([&] { file = BinaryFile(path, BinaryFile::Mode::Read); });
  if (!file.IsOpen() || file.Size() < 118) return;
  const int16_t ns = file.ReadI16(114);
  if (ns == 0) return;
  state.SampleInterval = file.ReadI16(116);
  SkipOnFailure([&] { memory.bytesPerTrace = ToInt16(ns * 4.0 + 240.0); });

  const SurfaceScale scale{20.0, 1.0, 500.0, double(ns), kDisplayWidthPx, kDisplayHeightPx};
  surface.SetScale(scale);
  surface.ClearFigures();
  const double ux = kPlotWidth / scale.width;
  const double uy = (ns - 1.0) / scale.height;

  float previous = 0;
  bool inLobe = false;
  float factor = 0;
  const size_t count = ns > 0 ? size_t(ns) : 0;
  std::vector<uint8_t> raw(count * 4);
  std::vector<float> samples(count);
  Points curve, fill;
  curve.reserve(std::min(count, kCurvePoints));
  for (int i = 1; i <= kDisplayTraces; ++i) {
    curve.clear();
    fill.clear();
    state.TracePos = int32_t(memory.bytesPerTrace) * (i - 1);
    // A trace the file does not hold whole (a short test, a tool still
    // writing) leaves its column empty.
    size_t got = 0;
    SkipOnFailure([&] { got = file.Read(int64_t(state.TracePos) + 240, raw.data(), raw.size()); });
    if (count == 0 || got != raw.size()) continue;
    float peak = 0;
    for (size_t j = 0; j < count; ++j) {
      samples[j] = GetLEFloat(raw.data() + 4 * j);
      if (samples[j] > peak) peak = samples[j];
    }
    if (peak != 0) factor = 10.0f / peak;
    const double x0 = (i - 1) * kColumn + kHalfColumn;
    int32_t base = 0, bottom = 0;
    SkipOnFailure([&] { base = ToInt32(x0 / ux); });
    SkipOnFailure([&] { bottom = ToInt32(ns / uy); });
    for (size_t j = 1; j <= count; ++j) {
      // A sample whose point can't be placed (NaN, infinity) adds nothing.
      SkipOnFailure([&] {
        const float amplitude = static_cast<float>(double(samples[j - 1]) * factor * gain);
        const int32_t px = ToInt32((x0 + amplitude) / ux);
        const int32_t py = ToInt32(double(j) / uy);
        if (j == 1 && amplitude > 0) AddFill(fill, base, py);
        if (amplitude > 0 && previous <= 0) {
          AddFill(fill, base, py);
          inLobe = true;
        }
        if (amplitude > 0 && inLobe) AddFill(fill, px, py);
        if (amplitude <= 0 && previous > 0) {
          AddFill(fill, base, py);
          inLobe = false;
          Draw(surface, fill, true);
        }
        if (curve.size() < kCurvePoints) curve.emplace_back(px, py);
        previous = amplitude;
      });
    }
    AddFill(fill, base, bottom);
    Draw(surface, curve, false);
    Draw(surface, fill, false);
  }
  surface.SetCrossPointer(true);
}

std::string TestDisplayReadOut(double x, double y, int16_t sampleInterval) {
  const float time = static_cast<float>(sampleInterval * y / 1000.0);
  return NumberTextOfSingle(time) + " ms Trace=" + NumberText(std::floor(x / kColumn));
}

}  // namespace vexmor
