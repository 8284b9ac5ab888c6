// Windows built from a control table: what the table says is on screen, and
// the widgets stay bound to the controls both ways.
#include "panel_window.h"

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDeadlineTimer>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QAction>
#include <QCoreApplication>
#include <QImage>
#include <QTabWidget>
#include <QTableWidget>
#include <QTest>
#include <QPlainTextEdit>
#include <QTimer>
#include <cmath>
#include <map>

#include "core/text.h"
#include "panels/session.h"
#include "qt_platform.h"

namespace vexmor {
namespace {

using enum ControlKind;

// A panel made for these tests only: one control of each kind that a
// window shows, with the events a real panel hangs on them.
constexpr ControlDef kTestControls[] = {
    {"Frame1", Frame, "Data type", "Pick one"},
    {"Option1", Option, "Integer 2 bytes", "two", "", "Frame1"},
    {"Option2", Option, "Integer 4 bytes", "", "", "Frame1", kSelected},
    {"Option3", Option, "Hidden choice", "", "", "Frame1", kHidden},
    {"Frame2", Frame, "Other frame"},
    {"Option4", Option, "Alone", "", "", "Frame2"},
    {"Text3", Text, "Trace number per record", "Correct here the trace number", " 24"},
    {"Text4", Text, "Number of sample", "", "1024", "", 0, "0123456789"},
    {"Text1", Text, "Hidden field", "nobody sees me", " ", "", kHidden},
    {"Text2", Text, "", "This will be the SU file", " "},
    {"Text5", Text, "Locked", "", "fixed", "", kLocked},
    {"Label8", Label, "Input file size", "", " "},
    {"Label1", Label, "A plain label"},
    {"Check1", Check, "Close windows", "tip of the box"},
    {"List1", List},
    {"Combo1", Combo, "", "", "250 ms"},
    {"Grid1", Grid},
    {"RichTextBox1", RichText, "", "", "first line"},
    {"ProgressBar1", ProgressBar, "", "", "", "", kHidden},
    {"Timer1", Timer, "", "", "20"},
    {"Command1", Button, "Convert", "Press to convert"},
    {"Command2", Button, "Hidden button", "", "", "", kHidden},
};

struct TestPanel {
  explicit TestPanel(Session& s) : session(s), platform(s.GetPlatform()), form(s, "TestPanel", "Test caption", kTestControls) {
    form.On("Option1", "Click", [this](EventArgs&) { ++counts["Option1.Click"]; });
    form.On("Option2", "Click", [this](EventArgs&) { ++counts["Option2.Click"]; });
    form.On("Check1", "Click", [this](EventArgs&) { ++counts["Check1.Click"]; });
    form.On("Command1", "Click", [this](EventArgs&) { ++counts["Command1.Click"]; });
    form.On("Text3", "Change", [this](EventArgs&) { ++counts["Text3.Change"]; });
    form.On("Text4", "Change", [this](EventArgs&) { ++counts["Text4.Change"]; });
    form.On("Text4", "KeyPress", [this](EventArgs& a) { KeyFilter(a.key, form["Text4"].KeySet(), true, platform); });
    form.On("Text2", "DblClick", [this](EventArgs&) { ++counts["Text2.DblClick"]; });
    form.On("List1", "Click", [this](EventArgs&) { ++counts["List1.Click"]; });
    form.On("Combo1", "Click", [this](EventArgs&) { ++counts["Combo1.Click"]; });
    form.On("Timer1", "Timer", [this](EventArgs&) { ++counts["Timer1.Timer"]; });
  }
  Session& session;
  Platform& platform;
  Form form;
  std::map<std::string, int> counts;
};

class PanelWindowTest : public testing::Test {
 protected:
  PanelWindowTest() : session(platform, state), panel(session), window(panel.form, true) {
    platform.SetScripted(true);
    platform.SetSink([this](const std::string& line) { lines.push_back(line); });
    window.show();
  }
  template <typename W>
  W* Widget(const char* name) {
    return qobject_cast<W*>(window.WidgetOf(name));
  }
  Control& C(const char* name) { return panel.form[name]; }

  QtPlatform platform;
  SharedState state;
  Session session;
  TestPanel panel;
  PanelWindow window;
  std::vector<std::string> lines;
};

TEST_F(PanelWindowTest, EveryCaptionAndToolTipOfTheTableIsOnScreen) {
  EXPECT_EQ(window.windowTitle(), "Test caption");
  for (const ControlDef& row : kTestControls) {
    QWidget* w = window.WidgetOf(std::string(row.name));
    if (row.kind == Timer) {
      EXPECT_EQ(w, nullptr);
      continue;
    }
    ASSERT_NE(w, nullptr) << row.name;
    EXPECT_EQ(w->toolTip().toStdString(), row.toolTip) << row.name;
    QString shown;
    if (auto* b = qobject_cast<QAbstractButton*>(w)) shown = b->text();
    if (auto* g = qobject_cast<QGroupBox*>(w)) shown = g->title();
    if (QLabel* beside = window.LabelOf(std::string(row.name))) {
      shown = beside->text();
      EXPECT_EQ(beside->toolTip().toStdString(), row.toolTip) << row.name;
      EXPECT_EQ(beside->buddy(), w) << row.name;
    } else if (auto* l = qobject_cast<QLabel*>(w)) {
      shown = l->text();
    }
    if (!row.caption.empty()) {
      EXPECT_EQ(shown.toStdString(), row.caption) << row.name;
    }
  }
  // A label with a value shows the value, its caption beside it.
  EXPECT_EQ(Widget<QLabel>("Label8")->text(), " ");
  EXPECT_EQ(window.LabelOf("Label8")->text(), "Input file size");
}

TEST_F(PanelWindowTest, FramesHoldTheirOptionsAndHiddenControlsAreHidden) {
  auto* frame1 = Widget<QGroupBox>("Frame1");
  auto* frame2 = Widget<QGroupBox>("Frame2");
  ASSERT_TRUE(frame1 && frame2);
  EXPECT_TRUE(frame1->isAncestorOf(Widget<QRadioButton>("Option1")));
  EXPECT_TRUE(frame1->isAncestorOf(Widget<QRadioButton>("Option3")));
  EXPECT_TRUE(frame2->isAncestorOf(Widget<QRadioButton>("Option4")));
  EXPECT_FALSE(frame1->isAncestorOf(Widget<QLineEdit>("Text3")));
  for (const char* hidden : {"Option3", "Text1", "Command2"}) {
    EXPECT_FALSE(window.WidgetOf(hidden)->isVisible()) << hidden;
  }
  EXPECT_FALSE(window.LabelOf("Text1")->isVisible());
  EXPECT_TRUE(window.LabelOf("Text3")->isVisible());
  C("Text1").SetVisible(true);
  EXPECT_TRUE(window.WidgetOf("Text1")->isVisible());
  EXPECT_TRUE(window.LabelOf("Text1")->isVisible());
  C("Command1").SetVisible(false);
  EXPECT_FALSE(window.WidgetOf("Command1")->isVisible());
  // Defaults stand in the fields.
  EXPECT_EQ(Widget<QLineEdit>("Text3")->text(), " 24");
  EXPECT_TRUE(Widget<QRadioButton>("Option2")->isChecked());
  EXPECT_TRUE(Widget<QLineEdit>("Text5")->isReadOnly());
  EXPECT_EQ(Widget<QComboBox>("Combo1")->placeholderText(), "250 ms");
}

TEST_F(PanelWindowTest, OptionsClickOnlyWhenNewlySelected) {
  auto* option1 = Widget<QRadioButton>("Option1");
  auto* option4 = Widget<QRadioButton>("Option4");
  option1->click();
  EXPECT_EQ(panel.counts["Option1.Click"], 1);
  EXPECT_TRUE(C("Option1").Value());
  EXPECT_FALSE(C("Option2").Value());
  EXPECT_FALSE(Widget<QRadioButton>("Option2")->isChecked());
  option1->click();  // already selected: nothing
  EXPECT_EQ(panel.counts["Option1.Click"], 1);
  // Another frame keeps its own selection.
  option4->click();
  EXPECT_TRUE(C("Option1").Value());
  EXPECT_TRUE(C("Option4").Value());
  // Code that selects an option moves the dot and raises the click once.
  C("Option2").SetValue(true);
  EXPECT_TRUE(Widget<QRadioButton>("Option2")->isChecked());
  EXPECT_FALSE(option1->isChecked());
  EXPECT_EQ(panel.counts["Option2.Click"], 1);
  // Code may clear the last option of a frame.
  C("Option2").SetValue(false);
  EXPECT_FALSE(Widget<QRadioButton>("Option2")->isChecked());
}

TEST_F(PanelWindowTest, TextsGoBothWays) {
  auto* text3 = Widget<QLineEdit>("Text3");
  C("Text3").SetText("48");
  EXPECT_EQ(text3->text(), "48");
  EXPECT_EQ(panel.counts["Text3.Change"], 1);  // raised by the control, not again by the widget
  text3->selectAll();
  QTest::keyClicks(text3, "12");
  EXPECT_EQ(C("Text3").Text(), "12");
  EXPECT_EQ(panel.counts["Text3.Change"], 3);  // one for each key
  // Typing in the middle stays in the middle.
  text3->setCursorPosition(1);
  QTest::keyClick(text3, '5');
  EXPECT_EQ(C("Text3").Text(), "152");
  EXPECT_EQ(text3->cursorPosition(), 2);
  // A locked field takes no typing.
  QTest::keyClicks(Widget<QLineEdit>("Text5"), "xy");
  EXPECT_EQ(C("Text5").Text(), "fixed");
}

TEST_F(PanelWindowTest, KeyFilterDecidesWhichKeysGoIn) {
  auto* text4 = Widget<QLineEdit>("Text4");
  text4->end(false);
  QTest::keyClick(text4, '7');
  QTest::keyClick(text4, 'a');
  QTest::keyClick(text4, Qt::Key_Backspace);
  QTest::keyClick(text4, '9');
  EXPECT_EQ(C("Text4").Text(), "10249");
  EXPECT_EQ(text4->text(), "10249");
  EXPECT_EQ(lines, std::vector<std::string>{"beep"});
  // Moving along the text is no key press.
  QTest::keyClick(text4, Qt::Key_Home);
  QTest::keyClick(text4, '0');
  EXPECT_EQ(C("Text4").Text(), "010249");
}

TEST_F(PanelWindowTest, ButtonsCheckBoxesListsAndDoubleClicks) {
  Widget<QPushButton>("Command1")->click();
  EXPECT_EQ(panel.counts["Command1.Click"], 1);
  C("Command1").SetEnabled(false);
  Widget<QPushButton>("Command1")->click();
  EXPECT_EQ(panel.counts["Command1.Click"], 1);

  Widget<QCheckBox>("Check1")->click();
  EXPECT_TRUE(C("Check1").Value());
  EXPECT_EQ(panel.counts["Check1.Click"], 1);
  C("Check1").SetValue(false);
  EXPECT_FALSE(Widget<QCheckBox>("Check1")->isChecked());
  EXPECT_EQ(panel.counts["Check1.Click"], 2);

  C("List1").AddItem("/data/a.abm");
  C("List1").AddItem("/data/b.abm");
  auto* list = Widget<QListWidget>("List1");
  EXPECT_EQ(list->count(), 0);  // drawn once the operation is through
  QCoreApplication::processEvents();
  ASSERT_EQ(list->count(), 2);
  list->setCurrentRow(1);
  EXPECT_EQ(C("List1").ListIndex(), 1);
  EXPECT_EQ(panel.counts["List1.Click"], 1);
  C("List1").ClearItems();
  QCoreApplication::processEvents();
  EXPECT_EQ(list->count(), 0);

  C("Combo1").AddItem("100 ms");
  C("Combo1").AddItem("250 ms");
  QCoreApplication::processEvents();
  Widget<QComboBox>("Combo1")->setCurrentIndex(1);
  EXPECT_EQ(C("Combo1").Text(), "250 ms");
  EXPECT_EQ(panel.counts["Combo1.Click"], 1);

  QTest::mouseDClick(Widget<QLineEdit>("Text2"), Qt::LeftButton);
  EXPECT_EQ(panel.counts["Text2.DblClick"], 1);
}

TEST_F(PanelWindowTest, GridRichTextAndProgressFollowTheirControls) {
  C("Grid1").SetCellCount(3);
  C("Grid1").SetCell(0, "/tmp/rec");
  C("Grid1").SetCell(2, "LINE2.DAT");
  auto* grid = Widget<QTableWidget>("Grid1");
  QCoreApplication::processEvents();
  ASSERT_EQ(grid->columnCount(), 3);
  EXPECT_EQ(grid->item(0, 0)->text(), "/tmp/rec");
  EXPECT_EQ(grid->item(0, 2)->text(), "LINE2.DAT");

  auto* rich = Widget<QPlainTextEdit>("RichTextBox1");
  EXPECT_EQ(rich->toPlainText(), "first line");
  rich->setPlainText("typed\ntext");
  EXPECT_EQ(C("RichTextBox1").Text(), "typed\ntext");

  // Shown and moved by a conversion that lets no event run meanwhile.
  auto* bar = Widget<QProgressBar>("ProgressBar1");
  EXPECT_FALSE(bar->isVisible());
  C("ProgressBar1").SetVisible(true);
  C("ProgressBar1").SetRange(1, 48);
  C("ProgressBar1").SetProgress(12);
  EXPECT_TRUE(bar->isVisible());
  EXPECT_GT(bar->width(), 50);
  EXPECT_GT(bar->height(), 5);
  EXPECT_TRUE(window.rect().contains(bar->geometry()));
  EXPECT_EQ(bar->minimum(), 1);
  EXPECT_EQ(bar->maximum(), 48);
  EXPECT_EQ(bar->value(), 12);
  C("ProgressBar1").SetProgress(480);  // past the end: shown full
  EXPECT_EQ(bar->value(), 48);
}

TEST_F(PanelWindowTest, DetachedWindowLeavesTheControlsAlone) {
  window.Detach();
  C("Text3").SetText("99");
  EXPECT_EQ(Widget<QLineEdit>("Text3")->text(), " 24");
  Widget<QPushButton>("Command1")->click();
  EXPECT_EQ(panel.counts["Command1.Click"], 0);
}

TEST(PanelWindowTimer, RunsWhileEnabledAndNotUnderAScript) {
  QtPlatform platform;
  SharedState state;
  Session session(platform, state);
  TestPanel panel(session);
  {
    PanelWindow scripted(panel.form, true);
    EXPECT_FALSE(scripted.TimerOf("Timer1")->isActive());
  }
  PanelWindow window(panel.form, false);
  QTimer* timer = window.TimerOf("Timer1");
  ASSERT_NE(timer, nullptr);
  EXPECT_TRUE(timer->isActive());
  EXPECT_EQ(timer->interval(), 20);
  QDeadlineTimer deadline(5000);
  while (panel.counts["Timer1.Timer"] < 2 && !deadline.hasExpired()) QTest::qWait(10);
  EXPECT_GE(panel.counts["Timer1.Timer"], 2);
  panel.form["Timer1"].SetEnabled(false);
  EXPECT_FALSE(timer->isActive());
  panel.form["Timer1"].SetInterval(500);
  panel.form["Timer1"].SetEnabled(true);
  EXPECT_TRUE(timer->isActive());
  EXPECT_EQ(timer->interval(), 500);
}

// The kinds that the editor, the explorer and the test display use.
constexpr ControlDef kMoreControls[] = {
    {"mnuFile", Menu, "&File"},
    {"mnuOpen", MenuEntry, "Open...", "", "", "mnuFile"},
    {"mnuQuit", MenuEntry, "Quit", "", "", "mnuFile", kHidden},
    {"Toolbar1", Toolbar},
    {"SSTab1", Tabs, "Files|Headers"},
    {"Text1", Text, "Header word", "", "", "SSTab1:1"},
    {"Picture1", Drawing},
};

TEST(PanelWindowMore, MenusToolBarsTabsAndDrawings) {
  QtPlatform platform;
  SharedState state;
  Session session(platform, state);
  Form form(session, "More", "More", kMoreControls);
  std::vector<std::string> events;
  form.On("mnuOpen", "Click", [&](EventArgs&) { events.push_back("open"); });
  form.On("Toolbar1", "ButtonClick", [&](EventArgs& a) { events.push_back("button " + a.itemKey); });
  form.On("SSTab1", "Click", [&](EventArgs&) { events.push_back("tab"); });
  form.On("Picture1", "MouseMove", [&](EventArgs& a) {
    events.push_back("move " + std::to_string(static_cast<int>(std::lround(a.x))) + " " +
                     std::to_string(static_cast<int>(std::lround(a.y))));
  });
  form["Toolbar1"].AddItem("Save");
  form["Toolbar1"].AddItem("Find");
  PanelWindow window(form, true);
  window.show();

  ASSERT_NE(window.ActionOf("mnuOpen"), nullptr);
  EXPECT_EQ(window.ActionOf("mnuOpen")->text(), "Open...");
  EXPECT_FALSE(window.ActionOf("mnuQuit")->isVisible());
  window.ActionOf("mnuOpen")->trigger();

  ASSERT_NE(window.ActionOf("Toolbar1", "Find"), nullptr);
  window.ActionOf("Toolbar1", "Find")->trigger();

  auto* tabs = qobject_cast<QTabWidget*>(window.WidgetOf("SSTab1"));
  ASSERT_NE(tabs, nullptr);
  ASSERT_EQ(tabs->count(), 2);
  EXPECT_EQ(tabs->tabText(1), "Headers");
  EXPECT_TRUE(tabs->widget(1)->isAncestorOf(window.WidgetOf("Text1")));
  tabs->setCurrentIndex(1);
  EXPECT_EQ(form["SSTab1"].Tab(), 1);
  form["SSTab1"].SetTab(0);
  EXPECT_EQ(tabs->currentIndex(), 0);

  // A square of 100 units drawn over the whole surface: the middle of the
  // widget is (50, 50) in the figure's units.
  form["Picture1"].AddFigure(Figure{false, {{0, 0}, {100, 0}, {100, 100}, {0, 100}}});
  QWidget* surface = window.WidgetOf("Picture1");
  ASSERT_NE(surface, nullptr);
  QTest::mouseMove(surface, QPoint(surface->width() / 2, surface->height() / 2));
  const QImage drawn = surface->grab().toImage();
  EXPECT_EQ(events.front(), "open");
  EXPECT_EQ(events.at(1), "button Find");
  EXPECT_EQ(events.at(2), "tab");
  EXPECT_EQ(events.at(3), "tab");  // code that turns the tab raises its click too
  ASSERT_GE(events.size(), 5u);
  EXPECT_EQ(events.at(4), "move 50 50");
  // Something black is drawn on the white surface.
  bool ink = false;
  for (int y = 0; y < drawn.height() && !ink; ++y) {
    for (int x = 0; x < drawn.width() && !ink; ++x) ink = qGray(drawn.pixel(x, y)) < 100;
  }
  EXPECT_TRUE(ink);
}

}  // namespace
}  // namespace vexmor
