// Every panel's window, as the builder makes it from the panel's table:
// every caption and tool tip on screen, nothing hidden that should show,
// nothing squeezed below its size or lying over another control.
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAbstractScrollArea>
#include <QApplication>
#include <QGroupBox>
#include <QLabel>

#include "desktop.h"
#include "panels/registry.h"

namespace vexmor {
namespace {

QString Shown(QWidget* w) {
  // A long caption may be wrapped at its blanks on screen.
  if (auto* b = qobject_cast<QAbstractButton*>(w)) return b->text().replace(QChar('\n'), QChar(' '));
  if (auto* g = qobject_cast<QGroupBox*>(w)) return g->title();
  return {};
}

QRect InWindow(QWidget* w, QWidget* window) { return QRect(w->mapTo(window, QPoint(0, 0)), w->size()); }

class AllWindows : public testing::TestWithParam<std::string> {};

TEST_P(AllWindows, CaptionsToolTipsAndRoom) {
  QtPlatform platform;
  platform.SetScripted(true);  // a dialog on loading is answered as by Enter
  SharedState state;
  Session session(platform, state);
  Desktop desktop(session, true);
  session.Open("MainPanel");
  const std::string name = GetParam();
  session.Open(name);
  PanelWindow* window = desktop.WindowOf(name);
  if (window == nullptr) GTEST_SKIP() << name << " closes itself on loading";
  QCoreApplication::processEvents();
  Form& form = window->GetForm();
  EXPECT_EQ(window->windowTitle().toStdString(), form.Caption());
  // A panel with nothing on it yet: still a window whose title can be read.
  if (form.Controls().empty()) {
    EXPECT_GE(window->width(), window->fontMetrics().horizontalAdvance(window->windowTitle()) + 80) << name;
  }

  std::vector<std::pair<std::string, QWidget*>> shown;
  for (Control& c : form.Controls()) {
    QWidget* w = window->WidgetOf(c.Name());
    if (w == nullptr) continue;
    EXPECT_EQ(w->toolTip().toStdString(), c.ToolTip()) << name << "." << c.Name();
    EXPECT_EQ(w->isHidden(), !c.Visible()) << name << "." << c.Name();
    if (QLabel* label = window->LabelOf(c.Name())) {
      EXPECT_EQ(label->text().toStdString(), c.Caption()) << name << "." << c.Name();
      // A label on a tab page not shown is not on screen either.
      if (c.Visible() && label->isVisible()) shown.emplace_back(c.Name() + " label", label);
    } else if (!Shown(w).isNull()) {
      EXPECT_EQ(Shown(w).toStdString(), c.Caption()) << name << "." << c.Name();
    }
    if (c.Visible() && w->isVisible()) shown.emplace_back(c.Name(), w);
  }
  for (const auto& [what, w] : shown) {
    // Lists, grids and text areas scroll what they cannot show at once.
    if (qobject_cast<QAbstractScrollArea*>(w) != nullptr) continue;
    const QSize least = w->minimumSizeHint();
    if (least.isValid()) {
      EXPECT_GE(w->width(), least.width()) << name << "." << what << " is squeezed";
      EXPECT_GE(w->height(), least.height()) << name << "." << what << " is squeezed";
    }
  }
  for (size_t i = 0; i < shown.size(); ++i) {
    for (size_t j = i + 1; j < shown.size(); ++j) {
      QWidget* a = shown[i].second;
      QWidget* b = shown[j].second;
      if (a->isAncestorOf(b) || b->isAncestorOf(a)) continue;  // a frame and what it holds
      EXPECT_FALSE(InWindow(a, window).intersects(InWindow(b, window)))
          << name << ": " << shown[i].first << " lies over " << shown[j].first;
    }
  }
}

std::vector<std::string> PanelNames() {
  std::vector<std::string> names;
  for (const PanelType& type : PanelTypes()) names.emplace_back(type.name);
  return names;
}

INSTANTIATE_TEST_SUITE_P(Panels, AllWindows, testing::ValuesIn(PanelNames()),
                         [](const testing::TestParamInfo<std::string>& info) { return info.param; });

}  // namespace
}  // namespace vexmor
