// The editor on screen: a file of megabytes opens, scrolls and takes typing
// without delay, and a search made from the menu starts from where the
// user put the cursor and shows what it found.
#include <gtest/gtest.h>

#include <QAction>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTest>
#include <filesystem>
#include <fstream>

#include "panel_window.h"
#include "panels/session.h"
#include "qt_platform.h"

namespace vexmor {
namespace {

class EditorWindow : public testing::Test {
 protected:
  EditorWindow() : session(platform, state) {
    platform.SetScripted(true);
    std::string pattern = (std::filesystem::temp_directory_path() / "vexmor-editor-XXXXXX").string();
    dir = mkdtemp(pattern.data());
  }
  ~EditorWindow() override {
    window.reset();
    std::error_code ec;
    std::filesystem::remove_all(dir, ec);
  }
  QPlainTextEdit* OpenOn(const std::string& text) {
    const std::string path = dir + "/job.bat";
    std::ofstream(path, std::ios::binary) << text;
    state.EditorFile = path;
    window = std::make_unique<PanelWindow>(session.Open("editor"), true);
    window->show();
    QCoreApplication::processEvents();
    return qobject_cast<QPlainTextEdit*>(window->WidgetOf("RichTextBox1"));
  }

  std::string dir;
  QtPlatform platform;
  SharedState state;
  Session session;
  std::unique_ptr<PanelWindow> window;
};

TEST_F(EditorWindow, MegabytesOpenScrollAndTakeTypingAtOnce) {
  std::string text;
  for (int k = 0; text.size() < 6'000'000; ++k) text += "segyread tape=LINE" + std::to_string(k) + ".SGY | segyclean > out.su\r\n";
  QElapsedTimer clock;
  clock.start();
  QPlainTextEdit* rich = OpenOn(text);
  ASSERT_NE(rich, nullptr);
  // Wall-clock limits, loose for a busy machine: about 0.3 s of work here.
  EXPECT_LT(clock.elapsed(), 3000);
  EXPECT_EQ(rich->blockCount(), static_cast<int>(std::count(text.begin(), text.end(), '\n')) + 1);

  clock.restart();
  rich->verticalScrollBar()->setValue(rich->verticalScrollBar()->maximum());
  rich->viewport()->repaint();
  rich->verticalScrollBar()->setValue(rich->verticalScrollBar()->maximum() / 2);
  rich->viewport()->repaint();
  EXPECT_LT(clock.elapsed(), 1000);

  QTextCursor cursor = rich->textCursor();
  cursor.setPosition(100);
  rich->setTextCursor(cursor);
  clock.restart();
  QTest::keyClicks(rich, "rem ");
  EXPECT_LT(clock.elapsed(), 2000);
  const Control& c = session.Find("editor")->operator[]("RichTextBox1");
  std::string plain;
  for (char ch : text) {
    if (ch != '\r') plain += ch;
  }
  EXPECT_EQ(c.Text(), plain.insert(100, "rem "));
}

TEST_F(EditorWindow, FindFromTheMenuStartsAtTheUsersCursorAndSelectsOnScreen) {
  QPlainTextEdit* rich = OpenOn("pause\r\nsuwind < a.su\r\nsuwind < b.su\r\n");
  ASSERT_NE(rich, nullptr);
  QTextCursor cursor = rich->textCursor();
  cursor.setPosition(8);  // inside the first "suwind", past its start
  rich->setTextCursor(cursor);
  platform.Answers().QueuePrompt("suwind");
  window->ActionOf("Find")->trigger();
  QCoreApplication::processEvents();
  EXPECT_EQ(rich->textCursor().selectedText(), "suwind");
  EXPECT_EQ(rich->textCursor().selectionStart(), 20);  // the second line's, in screen units
  // The control counts the CR LF of the file.
  EXPECT_EQ(session.Find("editor")->operator[]("RichTextBox1").SelStart(), 22u);
}

}  // namespace
}  // namespace vexmor
