#pragma once
// Drawing a field file: wiggles with filled positive lobes or an image,
// after gain and scaling, with axes. Only what the picture can show is read
// and drawn: one trace for each column of pixels at most, one sample for
// each row.
#include <QPainter>
#include <QRect>

#include <array>
#include <cstdint>
#include <list>
#include <string>
#include <unordered_map>
#include <vector>

#include "field_file.h"

namespace vexmor::view {

enum class Mode { Wiggle, Grey, BlueWhiteRed };
enum class Gain { None, TimePower, Agc };

struct ViewSettings {
  Mode mode = Mode::Wiggle;
  bool perTrace = true;        // each trace scaled by itself, else the section as one
  Gain gain = Gain::None;
  double multiplier = 1.0;     // constant gain, on top of the rest
  double power = 2.0;          // time-power exponent
  double agcWindow = 250.0;    // ms, or ns for radar
  double clipPercentile = 99.5;
  std::string xWord;           // SU word for the trace axis, empty for the trace number
};

// The part of the section in view: traces [t0, t1) and samples [s0, s1),
// both as fractional indices from 0.
struct ViewRange {
  double t0 = 0, t1 = 1, s0 = 0, s1 = 1;
};
ViewRange WholeRange(const FieldInfo& info);

// Traces read from the file, the most recent kept.
class TraceCache {
 public:
  explicit TraceCache(FieldFile& file) : file_(file) {}
  struct Trace {
    std::vector<float> samples;
    std::array<uint8_t, 240> header{};
  };
  const Trace& Get(int64_t index);
  FieldFile& File() { return file_; }

 private:
  FieldFile& file_;
  std::list<int64_t> order_;
  std::unordered_map<int64_t, std::pair<Trace, std::list<int64_t>::iterator>> traces_;
  size_t bytes_ = 0;
};

// Where the plot lies inside the area given to RenderSection.
QRect PlotRect(const QRect& area);

// Trace and sample (fractional) under a point of the plot.
struct Position {
  double trace = 0;
  double sample = 0;
};
Position PositionAt(const QRect& plot, const ViewRange& range, const QPointF& point);

// Time of a sample in the axis unit (ms, or ns for radar).
double SampleTime(const FieldInfo& info, double sample);
const char* TimeUnit(const FieldInfo& info);

// The samples after gain, multiplier included (not yet scaled).
std::vector<float> ApplyGain(const std::vector<float>& samples, const FieldInfo& info, const ViewSettings& settings);

// Draws the view into the area (background included).
void RenderSection(QPainter& painter, const QRect& area, TraceCache& cache, const ViewSettings& settings,
                   const ViewRange& range);

}  // namespace vexmor::view
