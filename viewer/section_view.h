#pragma once
// The section on screen: wheel to zoom about the cursor, drag to pan, a
// rubber band with the right button (or Shift) to zoom into a box,
// double click for the whole file. Tells what lies under the cursor.
#include <QImage>
#include <QPoint>
#include <QRubberBand>
#include <QWidget>

#include <memory>

#include "section_render.h"

namespace vexmor::view {

class SectionView : public QWidget {
  Q_OBJECT

 public:
  explicit SectionView(QWidget* parent = nullptr);
  // The file to show (nullptr for none); the view shows it whole.
  void SetFile(FieldFile* file);
  void SetSettings(const ViewSettings& settings);
  const ViewSettings& Settings() const { return settings_; }
  const ViewRange& Range() const { return range_; }
  void SetRange(const ViewRange& range);
  void ShowWhole();
  TraceCache* Cache() { return cache_.get(); }

 signals:
  // trace and sample from 0; trace -1 when the cursor is off the section.
  void Hovered(int64_t trace, int64_t sample);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void leaveEvent(QEvent* event) override;

 private:
  void Invalidate();
  ViewRange Clamped(ViewRange r) const;

  FieldFile* file_ = nullptr;
  std::unique_ptr<TraceCache> cache_;
  ViewSettings settings_;
  ViewRange range_;
  QImage picture_;  // the last drawing, kept while only the cursor moves
  bool dirty_ = true;
  bool panning_ = false;
  QPoint pressAt_;
  ViewRange pressRange_;
  QRubberBand* band_ = nullptr;
  QPoint bandFrom_;
};

}  // namespace vexmor::view
