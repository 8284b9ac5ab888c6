// The viewer's window without a screen: opening, the read-out under the
// cursor, the settings, the exports. VEXMOR_VIEW_DOCS=FOLDER also keeps
// pictures of the window there (how the README's pictures are made).
#include <gtest/gtest.h>

#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QMouseEvent>
#include <QStatusBar>
#include <QTableWidget>
#include <QtTest/QTest>

#include <cstdlib>
#include <filesystem>
#include <tuple>

#include "section_render.h"
#include "tools_helpers.h"
#include "view_window.h"
#include "viewer_files.h"

namespace vexmor {
namespace {

using test::TempDir;
using view::ViewWindow;

void KeepForDocs(QWidget& window, const std::string& name) {
  const char* folder = std::getenv("VEXMOR_VIEW_DOCS");
  if (folder == nullptr) return;
  QApplication::processEvents();
  window.grab().save(QString::fromStdString(std::string(folder) + "/" + name));
}

// Moves the cursor over the section, at a share of its plot's width and height.
void HoverAt(ViewWindow& window, double fx, double fy) {
  view::SectionView* section = window.View();
  const QRect plot = view::PlotRect(section->rect());
  const QPointF at(plot.left() + fx * plot.width(), plot.top() + fy * plot.height());
  QMouseEvent move(QEvent::MouseMove, at, section->mapToGlobal(at), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
  QApplication::sendEvent(section, &move);
}

// A short line of 48 traces: two dipping reflections.
std::vector<std::vector<double>> Line() {
  std::vector<std::vector<double>> traces;
  for (int t = 0; t < 48; ++t) {
    std::vector<double> v(500, 0.0);
    for (const auto& [at, dip, amplitude] : {std::tuple{120.0, 1.5, 900.0}, std::tuple{300.0, 0.6, -600.0}}) {
      const double centre = at + dip * t;
      for (int k = 0; k < 500; ++k) {
        const double x = (k - centre) / 6.0;
        v[size_t(k)] += amplitude * (1 - 2 * x * x) * std::exp(-x * x);
      }
    }
    traces.push_back(v);
  }
  return traces;
}

TEST(ViewerWindow, ReadOutHeaderTableSettingsAndExports) {
  TempDir dir;
  test::WriteBytes(dir / "line.sgy", test::MakeSegy(Line(), 5, true));
  ViewWindow window;
  window.resize(1100, 700);
  window.show();
  EXPECT_FALSE(window.OpenFile(QString::fromStdString(dir / "nothing.sgy")));
  EXPECT_TRUE(window.statusBar()->currentMessage().contains("nothing.sgy"));
  ASSERT_TRUE(window.OpenFile(QString::fromStdString(dir / "line.sgy")));
  QApplication::processEvents();

  // The cursor over trace 11 (from 1), at the middle of the section.
  view::SectionView* section = window.View();
  const QRect plot = view::PlotRect(section->rect());
  const QPoint at(plot.left() + int(10.5 * plot.width() / 48.0), plot.top() + plot.height() / 2);
  HoverAt(window, 10.5 / 48.0, 0.5);
  KeepForDocs(window, "viewer-segy-wiggle.png");
  const auto labels = window.statusBar()->findChildren<QLabel*>();
  bool found = false;
  for (QLabel* l : labels) found = found || l->text().startsWith("trace 11   time ");
  EXPECT_TRUE(found);
  auto* table = window.findChild<QTableWidget*>();
  ASSERT_NE(table, nullptr);
  ASSERT_EQ(table->rowCount(), 79);
  EXPECT_EQ(table->item(0, 0)->text(), "tracl");
  EXPECT_EQ(table->item(0, 1)->text(), "11");
  EXPECT_EQ(table->item(11, 0)->text(), "offset");
  EXPECT_EQ(table->item(11, 1)->text(), "110");

  // Zoom with the wheel keeps the point under the cursor where it was.
  const view::ViewRange before = section->Range();
  QWheelEvent wheel(QPointF(at), section->mapToGlobal(QPointF(at)), QPoint(), QPoint(0, 240), Qt::NoButton,
                    Qt::NoModifier, Qt::NoScrollPhase, false);
  QApplication::sendEvent(section, &wheel);
  const view::ViewRange after = section->Range();
  EXPECT_LT(after.t1 - after.t0, before.t1 - before.t0);
  EXPECT_NEAR(view::PositionAt(plot, after, QPointF(at)).trace, view::PositionAt(plot, before, QPointF(at)).trace, 0.01);
  section->ShowWhole();

  // Image mode, blue-white-red, AGC.
  auto combos = window.findChildren<QComboBox*>();
  for (QComboBox* c : combos) {
    if (c->toolTip().startsWith("How the traces")) c->setCurrentIndex(2);
    if (c->toolTip().startsWith("Gain along")) c->setCurrentIndex(2);
  }
  EXPECT_EQ(section->Settings().mode, view::Mode::BlueWhiteRed);
  EXPECT_EQ(section->Settings().gain, view::Gain::Agc);

  HoverAt(window, 30.5 / 48.0, 0.3);
  KeepForDocs(window, "viewer-segy-bwr-agc.png");
  ASSERT_TRUE(window.ExportPng(QString::fromStdString(dir / "view.png")));
  const QImage png(QString::fromStdString(dir / "view.png"));
  EXPECT_EQ(png.size(), section->size());
  bool red = false, blue = false;
  for (int y = plot.top(); y < plot.bottom(); y += 3) {
    for (int x = plot.left(); x < plot.right(); x += 3) {
      const QColor c = png.pixelColor(x, y);
      red = red || (c.red() > 200 && c.blue() < 100);
      blue = blue || (c.blue() > 200 && c.red() < 100);
    }
  }
  EXPECT_TRUE(red && blue);
  ASSERT_TRUE(window.ExportPdf(QString::fromStdString(dir / "view.pdf")));
  EXPECT_EQ(test::ReadText(dir / "view.pdf").substr(0, 5), "%PDF-");
}

TEST(ViewerWindow, RealRecordsForThePictures) {
  const std::string samples = VEXMOR_SHARED_SAMPLES;
  if (!std::filesystem::exists(samples)) GTEST_SKIP() << "no field samples beside the project";
  for (const auto& [file, picture] : {std::pair{"/seg2/329.dat", "viewer-seg2.png"},
                                      std::pair{"/radar/FILE____032.DZT", "viewer-dzt-image.png"}}) {
    ViewWindow window;
    window.resize(1100, 700);
    window.show();
    ASSERT_TRUE(window.OpenFile(QString::fromStdString(samples + file)));
    EXPECT_EQ(window.View()->Settings().mode,
              std::string(file).ends_with(".DZT") ? view::Mode::Grey : view::Mode::Wiggle);
    HoverAt(window, 0.5, 0.4);
    KeepForDocs(window, picture);
  }
}

}  // namespace
}  // namespace vexmor
