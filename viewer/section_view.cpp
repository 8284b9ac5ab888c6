#include "section_view.h"

#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace vexmor::view {

SectionView::SectionView(QWidget* parent) : QWidget(parent) {
  setMouseTracking(true);
  setMinimumSize(320, 240);
  setAttribute(Qt::WA_OpaquePaintEvent);
}

void SectionView::SetFile(FieldFile* file) {
  file_ = file;
  cache_ = file != nullptr ? std::make_unique<TraceCache>(*file) : nullptr;
  ShowWhole();
}

void SectionView::SetSettings(const ViewSettings& settings) {
  settings_ = settings;
  Invalidate();
}

void SectionView::ShowWhole() {
  range_ = file_ != nullptr ? WholeRange(file_->Info()) : ViewRange{};
  Invalidate();
}

void SectionView::SetRange(const ViewRange& range) {
  range_ = Clamped(range);
  Invalidate();
}

ViewRange SectionView::Clamped(ViewRange r) const {
  if (file_ == nullptr) return r;
  const ViewRange whole = WholeRange(file_->Info());
  const auto fit = [](double& a, double& b, double lo, double hi, double least) {
    double span = std::clamp(b - a, least, hi - lo);
    a = std::clamp(a, lo, hi - span);
    b = a + span;
  };
  fit(r.t0, r.t1, whole.t0, whole.t1, std::min(2.0, whole.t1));
  fit(r.s0, r.s1, whole.s0, whole.s1, std::min(8.0, whole.s1));
  return r;
}

void SectionView::Invalidate() {
  dirty_ = true;
  update();
}

void SectionView::resizeEvent(QResizeEvent*) { Invalidate(); }

void SectionView::paintEvent(QPaintEvent*) {
  if (dirty_ || picture_.size() != size()) {
    picture_ = QImage(size(), QImage::Format_RGB32);
    QPainter p(&picture_);
    if (cache_ != nullptr) {
      RenderSection(p, picture_.rect(), *cache_, settings_, range_);
    } else {
      p.fillRect(picture_.rect(), palette().window());
      p.drawText(picture_.rect(), Qt::AlignCenter, tr("Open a field file (File > Open), or drop one here"));
    }
    dirty_ = false;
  }
  QPainter painter(this);
  painter.drawImage(0, 0, picture_);
}

void SectionView::wheelEvent(QWheelEvent* event) {
  if (file_ == nullptr) return;
  const QRect plot = PlotRect(rect());
  const Position at = PositionAt(plot, range_, event->position());
  const double factor = std::pow(0.85, event->angleDelta().y() / 120.0);
  ViewRange r = range_;
  // Ctrl zooms time alone, Shift traces alone.
  if (!(event->modifiers() & Qt::ControlModifier)) {
    r.t0 = at.trace - (at.trace - r.t0) * factor;
    r.t1 = at.trace + (r.t1 - at.trace) * factor;
  }
  if (!(event->modifiers() & Qt::ShiftModifier)) {
    r.s0 = at.sample - (at.sample - r.s0) * factor;
    r.s1 = at.sample + (r.s1 - at.sample) * factor;
  }
  SetRange(r);
  event->accept();
}

void SectionView::mousePressEvent(QMouseEvent* event) {
  if (file_ == nullptr) return;
  if (event->button() == Qt::RightButton ||
      (event->button() == Qt::LeftButton && (event->modifiers() & Qt::ShiftModifier))) {
    if (band_ == nullptr) band_ = new QRubberBand(QRubberBand::Rectangle, this);
    bandFrom_ = event->position().toPoint();
    band_->setGeometry(QRect(bandFrom_, QSize()));
    band_->show();
  } else if (event->button() == Qt::LeftButton) {
    panning_ = true;
    pressAt_ = event->position().toPoint();
    pressRange_ = range_;
    setCursor(Qt::ClosedHandCursor);
  }
}

void SectionView::mouseMoveEvent(QMouseEvent* event) {
  if (file_ == nullptr) return;
  const QRect plot = PlotRect(rect());
  if (band_ != nullptr && band_->isVisible()) {
    band_->setGeometry(QRect(bandFrom_, event->position().toPoint()).normalized());
  } else if (panning_) {
    const QPoint d = event->position().toPoint() - pressAt_;
    ViewRange r = pressRange_;
    const double dt = -d.x() * (r.t1 - r.t0) / std::max(1, plot.width());
    const double ds = -d.y() * (r.s1 - r.s0) / std::max(1, plot.height());
    r.t0 += dt;
    r.t1 += dt;
    r.s0 += ds;
    r.s1 += ds;
    SetRange(r);
  }
  if (plot.contains(event->position().toPoint())) {
    const Position at = PositionAt(plot, range_, event->position());
    emit Hovered(static_cast<int64_t>(std::floor(at.trace)), static_cast<int64_t>(std::floor(at.sample)));
  } else {
    emit Hovered(-1, -1);
  }
}

void SectionView::mouseReleaseEvent(QMouseEvent*) {
  if (band_ != nullptr && band_->isVisible()) {
    band_->hide();
    const QRect box = band_->geometry();
    if (box.width() > 4 && box.height() > 4) {
      const QRect plot = PlotRect(rect());
      const Position a = PositionAt(plot, range_, box.topLeft());
      const Position b = PositionAt(plot, range_, box.bottomRight());
      SetRange({a.trace, b.trace, a.sample, b.sample});
    }
  }
  if (panning_) {
    panning_ = false;
    unsetCursor();
  }
}

void SectionView::mouseDoubleClickEvent(QMouseEvent*) { ShowWhole(); }

void SectionView::leaveEvent(QEvent*) { emit Hovered(-1, -1); }

}  // namespace vexmor::view
