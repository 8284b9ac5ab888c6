// What a user sees of a window: room for a path at the opening size, lists
// and texts that take the height given to the window, and a screenshot of a
// panel that its own script closed.
#include <gtest/gtest.h>

#include <QAbstractScrollArea>
#include <QApplication>
#include <QImage>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QTextEdit>
#include <filesystem>
#include <sstream>

#include "desktop.h"
#include "panels/registry.h"

namespace vexmor {
namespace {

bool Grows(QWidget* w) {
  return qobject_cast<QListWidget*>(w) != nullptr || qobject_cast<QTextEdit*>(w) != nullptr ||
         qobject_cast<QPlainTextEdit*>(w) != nullptr;
}

class WindowRoom : public testing::TestWithParam<std::string> {};

TEST_P(WindowRoom, APathFitsAndListsTakeTheHeightGiven) {
  QtPlatform platform;
  platform.SetScripted(true);
  SharedState state;
  Session session(platform, state);
  Desktop desktop(session, true);
  session.Open("MainPanel");
  const std::string name = GetParam();
  session.Open(name);
  PanelWindow* window = desktop.WindowOf(name);
  if (window == nullptr) GTEST_SKIP() << name << " closes itself on loading";
  // Let the platform place the window first: one pushed past the screen's
  // edge comes back squeezed.
  for (int i = 0; i < 5; ++i) QCoreApplication::processEvents();
  const int pathWidth = window->fontMetrics().horizontalAdvance(
      QStringLiteral("/home/geo/survey-2024/line-01/shots/SHOT0001.ABM"));

  std::map<std::string, int> heights;
  for (Control& c : window->GetForm().Controls()) {
    QWidget* w = window->WidgetOf(c.Name());
    if (w == nullptr || !w->isVisible()) continue;
    if (auto* edit = qobject_cast<QLineEdit*>(w)) {
      EXPECT_GE(edit->width(), pathWidth) << name << "." << c.Name() << " shows only the tail of a path";
    }
    if (Grows(w)) heights[c.Name()] = w->height();
  }
  window->resize(window->width() + 200, window->height() + 300);
  QCoreApplication::processEvents();
  for (const auto& [control, before] : heights) {
    const int after = window->WidgetOf(control)->height();
    EXPECT_GE(after - before, 300 / static_cast<int>(heights.size() + 1))
        << name << "." << control << " kept its height when the window grew";
  }
}

std::vector<std::string> PanelNames() {
  std::vector<std::string> names;
  for (const PanelType& type : PanelTypes()) names.emplace_back(type.name);
  return names;
}

INSTANTIATE_TEST_SUITE_P(Panels, WindowRoom, testing::ValuesIn(PanelNames()),
                         [](const testing::TestParamInfo<std::string>& info) { return info.param; });

TEST(ScreenshotAfterScript, APanelClosedByItsConversionIsDrawnAsLastSeen) {
  const std::filesystem::path samples = std::filesystem::path(VEXMOR_SOURCE_DIR) / "samples" / "abem";
  const std::filesystem::path out =
      std::filesystem::temp_directory_path() / ("vexmor-shot-" + std::to_string(QCoreApplication::applicationPid()));
  std::filesystem::create_directories(out);
  const std::string script = "open MainPanel\nclick Option5\nuse abem\nanswer dialog \"" + samples.string() +
                             " SHOT1.ABM SHOT2.ABM\"\nclick Command4\nset Text2 \"" + (out / "line.su").string() +
                             "\"\nclick Command1\n";
  std::ostringstream transcript, err;
  const std::string picture = (out / "abem.png").string();
  const int status = SaveScreenshotAfter(script, "abem", picture, transcript, err);
  EXPECT_EQ(status, 0) << err.str();
  EXPECT_NE(transcript.str().find("closed abem"), std::string::npos) << transcript.str();
  EXPECT_NE(err.str().find("closed abem"), std::string::npos) << err.str();

  const QImage panel(QString::fromStdString(picture));
  ASSERT_FALSE(panel.isNull()) << "no picture of the panel";
  EXPECT_GT(panel.width(), 300);
  // The final message, "OK, Conversion done", beside it.
  const QImage message(QString::fromStdString((out / "abem-message.png").string()));
  ASSERT_FALSE(message.isNull()) << "no picture of the message";
  EXPECT_LT(message.width(), panel.width() * 2);

  // A panel the script never opened is still an error.
  std::ostringstream t2, e2;
  EXPECT_EQ(SaveScreenshotAfter("open MainPanel\n", "abem", (out / "none.png").string(), t2, e2), 1);
  EXPECT_EQ(e2.str(), "vexmor: the panel abem was not open when the script ended\n");
  std::filesystem::remove_all(out);
}

}  // namespace
}  // namespace vexmor
