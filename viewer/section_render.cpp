#include "section_render.h"

#include <QFontMetrics>
#include <QImage>
#include <QPainterPath>
#include <QPolygonF>

#include <algorithm>
#include <cmath>

#include "core/su_trace.h"

namespace vexmor::view {

namespace {

constexpr int kLeft = 64, kTop = 40, kRight = 14, kBottom = 14;
constexpr size_t kCacheBytes = size_t(256) << 20;
constexpr size_t kPercentileSample = 1 << 20;
constexpr double kMinWiggleSpacing = 3.0;  // pixels between drawn wiggles

// A step of 1, 2 or 5 times a power of ten that gives about `count` ticks.
double NiceStep(double span, int count) {
  if (span <= 0 || count <= 0) return 1;
  const double raw = span / count;
  const double power = std::pow(10.0, std::floor(std::log10(raw)));
  for (const double m : {1.0, 2.0, 5.0, 10.0}) {
    if (m * power >= raw) return m * power;
  }
  return 10 * power;
}

float Percentile(std::vector<float>& values, double percentile) {
  if (values.empty()) return 0;
  const auto k = static_cast<size_t>(std::clamp(percentile / 100.0, 0.0, 1.0) * double(values.size() - 1));
  std::nth_element(values.begin(), values.begin() + std::ptrdiff_t(k), values.end());
  return values[k];
}

QRgb ColourOf(Mode mode, float a) {
  a = std::clamp(a, -1.0f, 1.0f);
  if (mode == Mode::BlueWhiteRed) {
    const int fade = static_cast<int>(std::lround(255.0f * (1.0f - std::fabs(a))));
    return a >= 0 ? qRgb(255, fade, fade) : qRgb(fade, fade, 255);
  }
  // Positive dark, as the filled lobes of the wiggles.
  const int grey = static_cast<int>(std::lround(127.5f * (1.0f - a)));
  return qRgb(grey, grey, grey);
}

QString Number(double v) {
  if (std::fabs(v) >= 1e6 || (v != 0 && std::fabs(v) < 1e-3)) return QString::number(v, 'g', 4);
  return QString::number(v, 'f', std::fabs(v - std::round(v)) < 1e-9 ? 0 : (std::fabs(v) < 10 ? 2 : 1));
}

}  // namespace

ViewRange WholeRange(const FieldInfo& info) {
  return {0, double(std::max<int64_t>(1, info.traces)), 0, double(std::max<int64_t>(1, info.samples))};
}

const TraceCache::Trace& TraceCache::Get(int64_t index) {
  const auto found = traces_.find(index);
  if (found != traces_.end()) {
    order_.splice(order_.begin(), order_, found->second.second);
    return found->second.first;
  }
  const size_t ns = static_cast<size_t>(file_.Info().samples);
  while (bytes_ + 4 * ns > kCacheBytes && !order_.empty()) {
    traces_.erase(order_.back());
    order_.pop_back();
    bytes_ -= 4 * ns;
  }
  order_.push_front(index);
  auto& slot = traces_[index];
  slot.second = order_.begin();
  slot.first.samples.assign(ns, 0.0f);
  file_.ReadTrace(index, slot.first.samples.data(), slot.first.header.data());
  bytes_ += 4 * ns;
  return slot.first;
}

QRect PlotRect(const QRect& area) { return area.adjusted(kLeft, kTop, -kRight, -kBottom); }

Position PositionAt(const QRect& plot, const ViewRange& r, const QPointF& p) {
  Position pos;
  pos.trace = r.t0 + (p.x() - plot.left()) * (r.t1 - r.t0) / std::max(1, plot.width());
  pos.sample = r.s0 + (p.y() - plot.top()) * (r.s1 - r.s0) / std::max(1, plot.height());
  return pos;
}

double SampleTime(const FieldInfo& info, double sample) {
  const double interval = info.interval > 0 ? info.interval : 1.0;
  return info.radar ? sample * interval : sample * interval / 1000.0;
}

const char* TimeUnit(const FieldInfo& info) {
  if (info.interval <= 0) return "samples";
  return info.radar ? "ns" : "ms";
}

std::vector<float> ApplyGain(const std::vector<float>& in, const FieldInfo& info, const ViewSettings& s) {
  std::vector<float> out = in;
  const size_t n = out.size();
  if (s.gain == Gain::TimePower) {
    for (size_t k = 0; k < n; ++k) out[k] = static_cast<float>(out[k] * std::pow(double(k + 1), s.power));
  } else if (s.gain == Gain::Agc && n > 0) {
    // The window in samples from its length in the axis unit.
    const double perSample = SampleTime(info, 1.0);
    const auto half = static_cast<size_t>(std::clamp(s.agcWindow / std::max(perSample, 1e-9) / 2.0, 1.0, double(n)));
    std::vector<double> sum(n + 1, 0.0);
    for (size_t k = 0; k < n; ++k) sum[k + 1] = sum[k] + std::fabs(double(in[k]));
    for (size_t k = 0; k < n; ++k) {
      const size_t a = k >= half ? k - half : 0;
      const size_t b = std::min(n, k + half + 1);
      const double mean = (sum[b] - sum[a]) / double(b - a);
      out[k] = mean > 0 ? static_cast<float>(in[k] / mean) : 0.0f;
    }
  }
  if (s.multiplier != 1.0) {
    for (float& v : out) v = static_cast<float>(v * s.multiplier);
  }
  return out;
}

void RenderSection(QPainter& painter, const QRect& area, TraceCache& cache, const ViewSettings& s,
                   const ViewRange& r) {
  const FieldInfo& info = cache.File().Info();
  painter.fillRect(area, Qt::white);
  const QRect plot = PlotRect(area);
  if (plot.width() < 4 || plot.height() < 4 || info.traces <= 0) return;
  const int width = plot.width();
  const int height = plot.height();
  const double tSpan = r.t1 - r.t0;
  const double sSpan = r.s1 - r.s0;

  // Which traces to draw, and where.
  struct Column {
    int64_t trace;
    double x;  // centre of the trace, in plot pixels
  };
  std::vector<Column> columns;
  const double spacing = width / tSpan;  // pixels a trace
  if (s.mode == Mode::Wiggle) {
    const int64_t step = std::max<int64_t>(1, static_cast<int64_t>(std::ceil(kMinWiggleSpacing / spacing)));
    const int64_t first = std::max<int64_t>(0, static_cast<int64_t>(std::floor(r.t0)) / step * step);
    const int64_t last = std::min<int64_t>(info.traces - 1, static_cast<int64_t>(std::ceil(r.t1)));
    for (int64_t t = first; t <= last; t += step) columns.push_back({t, (t + 0.5 - r.t0) * spacing});
  } else {
    int64_t previous = -1;
    for (int x = 0; x < width; ++x) {
      const auto t = static_cast<int64_t>(std::floor(r.t0 + (x + 0.5) * tSpan / width));
      if (t < 0 || t >= info.traces || t == previous) continue;
      columns.push_back({t, double(x)});
      previous = t;
    }
  }
  // One sample for each row of pixels.
  std::vector<int64_t> rowSample(static_cast<size_t>(height));
  for (int y = 0; y < height; ++y) {
    rowSample[size_t(y)] = static_cast<int64_t>(std::floor(r.s0 + (y + 0.5) * sSpan / height));
  }

  // The values at the drawn points, gained.
  std::vector<std::vector<float>> values(columns.size(), std::vector<float>(size_t(height), 0.0f));
  for (size_t c = 0; c < columns.size(); ++c) {
    const std::vector<float> gained = ApplyGain(cache.Get(columns[c].trace).samples, info, s);
    for (int y = 0; y < height; ++y) {
      const int64_t k = rowSample[size_t(y)];
      if (k >= 0 && k < int64_t(gained.size())) values[c][size_t(y)] = gained[size_t(k)];
    }
  }
  // Scaling: the clip amplitude maps to full colour, or to one trace spacing.
  std::vector<float> clip(columns.size(), 1.0f);
  if (s.perTrace) {
    for (size_t c = 0; c < columns.size(); ++c) {
      std::vector<float> a(values[c].size());
      for (size_t k = 0; k < a.size(); ++k) a[k] = std::fabs(values[c][k]);
      clip[c] = Percentile(a, s.clipPercentile);
    }
  } else {
    std::vector<float> a;
    const size_t total = columns.size() * size_t(height);
    const size_t stride = std::max<size_t>(1, total / kPercentileSample);
    a.reserve(total / stride + 1);
    for (size_t i = 0; i < total; i += stride) a.push_back(std::fabs(values[i / size_t(height)][i % size_t(height)]));
    std::fill(clip.begin(), clip.end(), Percentile(a, s.clipPercentile));
  }
  for (float& c : clip) {
    if (!(c > 0)) c = 1.0f;  // a dead trace stays flat
  }

  painter.save();
  painter.setClipRect(plot);
  if (s.mode == Mode::Wiggle) {
    // The clip amplitude reaches the next drawn trace, and no further.
    const double amplitude = std::max(1.0, 0.95 * spacing * std::max<double>(1, std::ceil(kMinWiggleSpacing / spacing)));
    painter.setRenderHint(QPainter::Antialiasing, false);
    for (size_t c = 0; c < columns.size(); ++c) {
      const double x0 = plot.left() + columns[c].x;
      QPolygonF fill;
      QPolygonF line;
      fill.reserve(height + 2);
      line.reserve(height);
      fill << QPointF(x0, plot.top());
      for (int y = 0; y < height; ++y) {
        const double a = std::clamp(values[c][size_t(y)] / clip[c], -1.0f, 1.0f) * amplitude;
        const double py = plot.top() + y + 0.5;
        fill << QPointF(x0 + std::max(0.0, a), py);
        line << QPointF(x0 + a, py);
      }
      fill << QPointF(x0, plot.bottom() + 1);
      painter.setPen(Qt::NoPen);
      painter.setBrush(Qt::black);
      painter.drawPolygon(fill);
      painter.setPen(QPen(Qt::black, 0));
      painter.drawPolyline(line);
    }
  } else {
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(s.mode == Mode::Grey ? qRgb(128, 128, 128) : qRgb(255, 255, 255));
    for (size_t c = 0; c < columns.size(); ++c) {
      const int xa = static_cast<int>(columns[c].x);
      // A trace wider than a pixel fills up to where the next one starts.
      const int xb = c + 1 < columns.size() ? static_cast<int>(columns[c + 1].x) : width;
      const int xEnd = s.mode == Mode::Wiggle ? xa + 1 : std::max(xa + 1, xb);
      for (int y = 0; y < height; ++y) {
        const QRgb colour = ColourOf(s.mode, values[c][size_t(y)] / clip[c]);
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = xa; x < xEnd && x < width; ++x) line[x] = colour;
      }
    }
    painter.drawImage(plot.topLeft(), image);
  }
  painter.restore();

  // Axes: time down the left, traces (or a header word) along the top.
  painter.setPen(QPen(Qt::black, 1));
  painter.setBrush(Qt::NoBrush);
  painter.drawRect(plot.adjusted(0, 0, -1, -1));
  QFont font = painter.font();
  font.setPixelSize(11);
  painter.setFont(font);
  const QFontMetrics metrics(font);
  const double time0 = SampleTime(info, r.s0);
  const double time1 = SampleTime(info, r.s1);
  const double timeStep = NiceStep(time1 - time0, std::max(2, height / 60));
  for (double t = std::ceil(time0 / timeStep) * timeStep; t <= time1; t += timeStep) {
    const double y = plot.top() + (t - time0) / (time1 - time0) * height;
    painter.drawLine(QPointF(plot.left() - 4, y), QPointF(plot.left(), y));
    const QString label = Number(t);
    painter.drawText(QRectF(area.left(), y - 8, kLeft - 7, 16), Qt::AlignRight | Qt::AlignVCenter, label);
  }
  painter.save();
  painter.translate(area.left() + 10, plot.center().y());
  painter.rotate(-90);
  painter.drawText(QRectF(-100, -8, 200, 16), Qt::AlignCenter, QString("time (%1)").arg(TimeUnit(info)));
  painter.restore();

  const SuWord* word = s.xWord.empty() ? nullptr : FindSuWord(s.xWord);
  const double traceStep = NiceStep(tSpan, std::max(2, width / 90));
  for (double t = std::ceil(r.t0 / traceStep) * traceStep; t < r.t1; t += traceStep) {
    const auto index = static_cast<int64_t>(t);
    if (index < 0 || index >= info.traces) continue;
    const double x = plot.left() + (index + 0.5 - r.t0) * spacing;
    painter.drawLine(QPointF(x, plot.top() - 4), QPointF(x, plot.top()));
    const double value = word != nullptr ? GetWord(cache.Get(index).header.data(), *word) : double(index + 1);
    painter.drawText(QRectF(x - 45, area.top() + 18, 90, 16), Qt::AlignCenter, Number(value));
  }
  painter.drawText(QRectF(plot.left(), area.top() + 2, width, 16), Qt::AlignCenter,
                   word != nullptr ? QString::fromStdString(std::string(word->name)) : QString("trace"));
}

}  // namespace vexmor::view
