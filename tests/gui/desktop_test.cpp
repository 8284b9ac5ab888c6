// The desktop front: windows come and go with their panels, open beside
// MainPanel, and MainPanel's window takes the program with it.
#include "desktop.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QGroupBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QElapsedTimer>
#include <QTableWidget>
#include <QTimer>
#include <sstream>

namespace vexmor {
namespace {

class DesktopTest : public testing::Test {
 protected:
  DesktopTest() : session(platform, state), desktop(session, true, [this](const std::string& l) { lines.push_back(l); }) {
    platform.SetScripted(true);
  }
  QtPlatform platform;
  SharedState state;
  Session session;
  std::vector<std::string> lines;
  Desktop desktop;
};

TEST_F(DesktopTest, PanelsOpenBesideMainPanelAndCloseByTheirWindow) {
  session.Open("MainPanel");
  PanelWindow* main = desktop.WindowOf("MainPanel");
  ASSERT_NE(main, nullptr);
  EXPECT_TRUE(main->isVisible());
  EXPECT_EQ(main->windowTitle(), "Norvane Seismic file conversion");

  // A click on the option's radio button dispatches, as on screen.
  qobject_cast<QRadioButton*>(main->WidgetOf("Option7"))->click();
  PanelWindow* sis = desktop.WindowOf("sisforme");
  ASSERT_NE(sis, nullptr);
  EXPECT_TRUE(sis->isVisible());
  EXPECT_GT(sis->x(), main->frameGeometry().right());
  EXPECT_FALSE(sis->isModal());
  EXPECT_TRUE(main->isEnabled());

  sis->close();  // the user closes it: the panel is unloaded
  EXPECT_EQ(session.Find("sisforme"), nullptr);
  EXPECT_EQ(desktop.WindowOf("sisforme"), nullptr);
  EXPECT_FALSE(session.Ended());
  EXPECT_EQ(lines, (std::vector<std::string>{"opened MainPanel", "opened sisforme", "closed sisforme"}));
}

TEST_F(DesktopTest, ClosingMainPanelsWindowEndsEverything) {
  session.Open("MainPanel");
  session.Open("sisforme");
  int ended = 0;
  session.onEnded = [&] { ++ended; };
  desktop.WindowOf("MainPanel")->close();
  EXPECT_TRUE(session.Ended());
  EXPECT_EQ(ended, 1);
  EXPECT_EQ(desktop.WindowOf("MainPanel"), nullptr);
  EXPECT_EQ(desktop.WindowOf("sisforme"), nullptr);
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  for (QWidget* top : QApplication::topLevelWidgets()) {
    EXPECT_EQ(dynamic_cast<PanelWindow*>(top), nullptr);
  }
}

TEST_F(DesktopTest, HiddenPanelComesBackWithItsValues) {
  session.Open("MainPanel");
  session.Open("sisforme");
  auto* text3 = qobject_cast<QLineEdit*>(desktop.WindowOf("sisforme")->WidgetOf("Text3"));
  ASSERT_NE(text3, nullptr);
  text3->setText("12");
  session.Hide("sisforme");
  EXPECT_EQ(desktop.WindowOf("sisforme"), nullptr);
  session.Open("sisforme");
  ASSERT_NE(desktop.WindowOf("sisforme"), nullptr);
  EXPECT_TRUE(desktop.WindowOf("sisforme")->isVisible());
  EXPECT_EQ(qobject_cast<QLineEdit*>(desktop.WindowOf("sisforme")->WidgetOf("Text3"))->text(), "12");
  // Unloaded while hidden: nothing of it is left on screen.
  session.Hide("sisforme");
  session.Close("sisforme");
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  EXPECT_EQ(desktop.WindowOf("sisforme"), nullptr);
  for (QWidget* top : QApplication::topLevelWidgets()) {
    auto* w = dynamic_cast<PanelWindow*>(top);
    if (w != nullptr) {
      EXPECT_TRUE(w->Detached() || w->GetForm().Name() == "MainPanel");
    }
  }
}

// The program's own loop: MainPanel comes up, and its Quit, or closing its
// window, ends the loop with all windows.
PanelWindow* MainWindowOnScreen() {
  for (QWidget* top : QApplication::topLevelWidgets()) {
    auto* w = dynamic_cast<PanelWindow*>(top);
    if (w != nullptr && w->isVisible() && !w->Detached() && w->GetForm().Name() == "MainPanel") return w;
  }
  return nullptr;
}

TEST(DesktopLoop, QuitOrClosingMainPanelEndsTheProgram) {
  for (const bool byQuit : {true, false}) {
    bool timedOut = false;
    QTimer watchdog;
    watchdog.setSingleShot(true);
    QObject::connect(&watchdog, &QTimer::timeout, [&] {
      timedOut = true;
      QCoreApplication::quit();
    });
    watchdog.start(10000);
    QTimer::singleShot(50, [byQuit] {
      PanelWindow* main = MainWindowOnScreen();
      ASSERT_NE(main, nullptr);
      qobject_cast<QRadioButton*>(main->WidgetOf("Option7"))->click();  // a panel beside it
      if (byQuit) {
        qobject_cast<QPushButton*>(main->WidgetOf("Command2"))->click();
      } else {
        main->close();
      }
    });
    EXPECT_EQ(RunDesktop(), 0);
    EXPECT_FALSE(timedOut) << (byQuit ? "Quit" : "closing the window") << " did not end the program";
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    for (QWidget* top : QApplication::topLevelWidgets()) EXPECT_EQ(dynamic_cast<PanelWindow*>(top), nullptr);
  }
}

TEST(DesktopScript, NineHundredFilesFillTheGridAtOnce) {
  std::string answer = "/tmp/line";
  for (int i = 1; i <= 899; ++i) answer += " F" + std::to_string(i) + ".DAT";
  const std::string script = "open MainPanel\nclick Option7\nuse sisforme\nanswer dialog \"" + answer +
                             "\"\nclick Command5\nshow Text6\n";
  std::ostringstream out, err;
  int columns = 0;
  QString last;
  QElapsedTimer clock;
  clock.start();
  EXPECT_EQ(RunScriptOnScreen(script, out, err,
                              [&](Desktop& desktop) {
                                auto* grid = qobject_cast<QTableWidget*>(
                                    desktop.WindowOf("sisforme")->WidgetOf("Grid1"));
                                columns = grid->columnCount();
                                last = grid->item(0, columns - 1)->text();
                              }),
            0)
      << err.str();
  EXPECT_LT(clock.elapsed(), 5000);  // cell by cell redrawing took many seconds
  EXPECT_EQ(columns, 900);
  EXPECT_EQ(last, "F899.DAT");
  EXPECT_NE(out.str().find("Text6 = \"899\""), std::string::npos);
}

TEST(DesktopScript, InProcessRunGivesTheHeadlessTranscript) {
  const std::string script =
      "open MainPanel\nclick Check1\nshow Check1\nclick Option7\nuse sisforme\nset Text4 512\nshow Text4\n"
      "show sisforme.caption\n";
  std::ostringstream gui, guiErr, cli, cliErr;
  EXPECT_EQ(RunScriptOnScreen(script, gui, guiErr), 0) << guiErr.str();
  EXPECT_EQ(RunScriptHeadless(script, cli, cliErr), 0) << cliErr.str();
  EXPECT_EQ(gui.str(), cli.str());
  EXPECT_NE(gui.str().find("Text4 = \"512\""), std::string::npos);
}

}  // namespace
}  // namespace vexmor
