// QtPlatform: the real dialogs, with the buttons, icons, titles and answers
// that the panels rely on.
#include "qt_platform.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QCursor>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>
#include <filesystem>
#include <fstream>
#include <functional>

#include "platform/jobs.h"

namespace vexmor {
namespace {

namespace fs = std::filesystem;

// Runs f on the next modal dialog, once it is on screen.
void OnNextDialog(std::function<void(QWidget*)> f) {
  auto attempt = std::make_shared<std::function<void(int)>>();
  *attempt = [f, attempt](int left) {
    if (QWidget* modal = QApplication::activeModalWidget(); modal != nullptr && modal->isVisible()) {
      f(modal);
      *attempt = nullptr;
    } else if (left > 0) {
      QTimer::singleShot(10, [attempt, left] { (*attempt)(left - 1); });
    }
  };
  QTimer::singleShot(0, [attempt] { (*attempt)(300); });
}

struct TempFolder {
  TempFolder() {
    std::string pattern = (fs::temp_directory_path() / "vexmor-gui-XXXXXX").string();
    path = mkdtemp(pattern.data());
  }
  ~TempFolder() {
    std::error_code ec;
    fs::current_path(saved, ec);
    fs::remove_all(path, ec);
  }
  fs::path saved = fs::current_path();
  fs::path path;
};

TEST(QtFileFilter, PairsBecomeQtFiltersInBothCases) {
  EXPECT_EQ(QtFileFilter("SU File |*.SU|All files|*.*|").toStdString(), "SU File (*.SU *.su);;All files (*)");
  EXPECT_EQ(QtFileFilter("Record |*.a*|All files|*.*|").toStdString(), "Record (*.a* *.A*);;All files (*)");
  EXPECT_EQ(QtFileFilter("Radar|*.rd3;*.rad").toStdString(), "Radar (*.rd3 *.RD3 *.rad *.RAD)");
  EXPECT_EQ(QtFileFilter("").toStdString(), "All files (*)");
  EXPECT_EQ(QtFileFilter("odd|").toStdString(), "All files (*)");
}

TEST(MultiAnswer, FolderThenNamesOrTheOnePath) {
  EXPECT_EQ(MultiAnswer({"/tmp/rec/LINE1.DAT"}), "/tmp/rec/LINE1.DAT");
  EXPECT_EQ(MultiAnswer({"/tmp/rec/LINE1.DAT", "/tmp/rec/LINE2.DAT"}), "/tmp/rec LINE1.DAT LINE2.DAT");
  EXPECT_EQ(MultiAnswer({}), "");
}

TEST(QtPlatformMessage, ButtonsIconsAndTitleAsTheCodeSays) {
  QtPlatform platform;
  struct Case {
    int code;
    QMessageBox::Icon icon;
    QMessageBox::StandardButtons buttons;
    QMessageBox::StandardButton press;
    int answer;
  };
  const Case cases[] = {
      {0, QMessageBox::NoIcon, QMessageBox::Ok, QMessageBox::Ok, 1},
      {1, QMessageBox::NoIcon, QMessageBox::Ok | QMessageBox::Cancel, QMessageBox::Cancel, 2},
      {16, QMessageBox::Critical, QMessageBox::Ok, QMessageBox::Ok, 1},
      {33, QMessageBox::Question, QMessageBox::Ok | QMessageBox::Cancel, QMessageBox::Ok, 1},
      {36, QMessageBox::Question, QMessageBox::Yes | QMessageBox::No, QMessageBox::No, 7},
      {36, QMessageBox::Question, QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes, 6},
      {64, QMessageBox::Information, QMessageBox::Ok, QMessageBox::Ok, 1},
  };
  for (const Case& c : cases) {
    QString title, text;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QMessageBox::StandardButtons buttons;
    QMessageBox::StandardButton byDefault = QMessageBox::NoButton;
    OnNextDialog([&](QWidget* w) {
      auto* box = qobject_cast<QMessageBox*>(w);
      ASSERT_NE(box, nullptr);
      title = box->windowTitle();
      text = box->text();
      icon = box->icon();
      buttons = box->standardButtons();
      byDefault = box->standardButton(box->defaultButton());
      box->button(c.press)->click();
    });
    EXPECT_EQ(platform.MessageBox("line 1\r\nline 2", c.code, "Norvane File converter"), c.answer) << c.code;
    EXPECT_EQ(title, "Norvane File converter");
    EXPECT_EQ(text, "line 1\nline 2");
    EXPECT_EQ(icon, c.icon) << c.code;
    EXPECT_EQ(buttons, c.buttons) << c.code;
    EXPECT_NE(byDefault, QMessageBox::NoButton);
  }
}

TEST(QtPlatformMessage, NoTitleShowsTheSystemNameAndEscapeCancels) {
  QtPlatform platform;
  std::vector<std::string> lines;
  platform.SetSink([&](const std::string& l) { lines.push_back(l); });
  QString title;
  Qt::TextFormat format = Qt::AutoText;
  OnNextDialog([&](QWidget* w) {
    title = w->windowTitle();
    format = static_cast<QMessageBox*>(w)->textFormat();
    static_cast<QMessageBox*>(w)->reject();  // Escape, or the window's close box
  });
  EXPECT_EQ(platform.MessageBox("Sure <b>x</b>?", 33, ""), 2);
  EXPECT_EQ(title, "Vexmor");
  EXPECT_EQ(format, Qt::PlainText);  // a "<" in a path or header is no markup
  EXPECT_EQ(lines, std::vector<std::string>{"message \"Sure <b>x</b>?\" buttons=33 title=\"\" -> 2"});
}

TEST(QtPlatformMessage, ScriptedAnswersComeFromTheQueueOrAreEnter) {
  QtPlatform platform;
  platform.SetScripted(true);
  platform.Answers().QueueMessage(7);
  EXPECT_EQ(platform.MessageBox("Replace?", 36, "t"), 7);
  EXPECT_EQ(platform.MessageBox("Replace?", 36, "t"), 6);  // nothing queued: Enter
  platform.Answers().QueueMessage(2);
  EXPECT_EQ(platform.MessageBox("Done", 0, "t"), 2);  // as the script says, button or not
  EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

TEST(QtPlatformMessage, CloseMessageNamedAnswersTheBoxOfThatTitle) {
  QtPlatform platform;
  QTimer::singleShot(50, [&] {
    platform.CloseMessageNamed("Other title");
    platform.CloseMessageNamed("Norvane File converter");
  });
  // Were the wrong box closed, or none, this would wait for ever; the
  // watchdog answers it with Cancel instead.
  QTimer watchdog;
  watchdog.setSingleShot(true);
  QObject::connect(&watchdog, &QTimer::timeout, [] {
    if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) box->reject();
  });
  watchdog.start(5000);
  EXPECT_EQ(platform.MessageBox("Conversion done", 1, "Norvane File converter"), 1);
}

TEST(QtPlatformPrompt, DefaultStandsSelectedAndCancelGivesNothing) {
  QtPlatform platform;
  QString label, value, selected, title;
  Qt::TextFormat format = Qt::AutoText;
  OnNextDialog([&](QWidget* w) {
    auto* dialog = qobject_cast<QInputDialog*>(w);
    ASSERT_NE(dialog, nullptr);
    label = dialog->labelText();
    title = dialog->windowTitle();
    if (auto* shown = dialog->findChild<QLabel*>()) format = shown->textFormat();
    value = dialog->textValue();
    QTimer::singleShot(0, [&, dialog] {
      selected = dialog->findChild<QLineEdit*>()->selectedText();
      dialog->reject();
    });
  });
  EXPECT_EQ(platform.PromptValue("Trace number <n>", "", "24"), "");
  EXPECT_EQ(label, "Trace number <n>");
  EXPECT_EQ(format, Qt::PlainText);
  EXPECT_EQ(title, "Vexmor");
  EXPECT_EQ(value, "24");
  EXPECT_EQ(selected, "24");

  OnNextDialog([](QWidget* w) {
    auto* dialog = static_cast<QInputDialog*>(w);
    dialog->setTextValue("48");
    static_cast<QDialog*>(dialog)->accept();
  });
  EXPECT_EQ(platform.PromptValue("Trace number", "Title", "24"), "48");

  platform.SetScripted(true);
  platform.Answers().QueuePrompt("");
  EXPECT_EQ(platform.PromptValue("p", "t", "24"), "");
  EXPECT_EQ(platform.PromptValue("p", "t", "24"), "24");
  platform.Answers().QueuePrompt("12");
  EXPECT_EQ(platform.PromptValue("p", "t", "24"), "12");
}

TEST(QtPlatformFileDialog, TitleFilterFolderPresetAndMultiSelection) {
  TempFolder dir;
  for (const char* name : {"LINE1.DAT", "LINE2.DAT", "other.txt"}) std::ofstream(dir.path / name) << "x";
  QtPlatform platform;
  FileRequest request{dir.path.string(), "ES1225 file selection", "Record |*.DAT|All files|*.*|", "*.*", true};
  QString title, directory, preset;
  QStringList filters;
  bool multi = false;
  OnNextDialog([&](QWidget* w) {
    auto* dialog = qobject_cast<QFileDialog*>(w);
    ASSERT_NE(dialog, nullptr);
    title = dialog->windowTitle();
    preset = dialog->findChild<QLineEdit*>("fileNameEdit")->text();
    filters = dialog->nameFilters();
    directory = dialog->directory().absolutePath();
    multi = dialog->fileMode() == QFileDialog::ExistingFiles;
    dialog->findChild<QLineEdit*>("fileNameEdit")->setText("\"LINE1.DAT\" \"LINE2.DAT\"");
    static_cast<QDialog*>(dialog)->accept();
  });
  const std::string answer = platform.ChooseFile(request);
  EXPECT_EQ(answer, dir.path.string() + " LINE1.DAT LINE2.DAT");
  EXPECT_EQ(title, "ES1225 file selection");
  EXPECT_EQ(preset, "*.*");
  EXPECT_EQ(filters, QStringList({"Record (*.DAT *.dat)", "All files (*)"}));
  EXPECT_EQ(directory.toStdString(), dir.path.string());
  EXPECT_TRUE(multi);
  // The folder of the choice is the current folder now.
  EXPECT_EQ(fs::current_path(), dir.path);
}

TEST(QtPlatformFileDialog, CancelGivesThePresetAndANewNameCanBeTyped) {
  TempFolder dir;
  QtPlatform platform;
  FileRequest request{dir.path.string(), "Output File selection", "Seismic File |*.SU|All files|*.*|", "*.SU"};
  OnNextDialog([](QWidget* w) { static_cast<QFileDialog*>(w)->reject(); });
  EXPECT_EQ(platform.ChooseFile(request), "*.SU");

  // The preset pattern pressed as it stands only filters the list; then a
  // new name is typed.
  QStringList filtersAfterPattern;
  OnNextDialog([&](QWidget* w) {
    auto* dialog = static_cast<QFileDialog*>(w);
    EXPECT_EQ(dialog->fileMode(), QFileDialog::AnyFile);
    EXPECT_EQ(dialog->findChild<QLineEdit*>("fileNameEdit")->text(), "*.SU");
    static_cast<QDialog*>(dialog)->accept();
    OnNextDialog([&](QWidget* again) {
      auto* same = static_cast<QFileDialog*>(again);
      filtersAfterPattern = same->nameFilters();
      same->findChild<QLineEdit*>("fileNameEdit")->setText("NEW.SU");
      static_cast<QDialog*>(same)->accept();
    });
  });
  EXPECT_EQ(platform.ChooseFile(request), (dir.path / "NEW.SU").string());
  ASSERT_FALSE(filtersAfterPattern.isEmpty());
  EXPECT_EQ(filtersAfterPattern.front(), "*.SU (*.SU)");

  platform.SetScripted(true);
  EXPECT_EQ(platform.ChooseFile(request), "*.SU");
  platform.Answers().QueueDialog("/nowhere/x.SU");
  EXPECT_EQ(platform.ChooseFile(request), "/nowhere/x.SU");
}

TEST(QtPlatformShell, RunsAJobScriptWithoutWaitingForIt) {
  TempFolder dir;
  std::ofstream(dir.path / "IN.TXT") << "traces";
  std::ofstream(dir.path / "JOB.BAT") << "copy " << (dir.path / "IN.TXT").string() << " "
                                      << (dir.path / "OUT.TXT").string() << "\r\n";
  QtPlatform platform;
  const int task = platform.Shell("command.com /c " + (dir.path / "JOB.BAT").string(), 0);
  EXPECT_GT(task, 0);
  WaitForJobs();
  std::ifstream out(dir.path / "OUT.TXT");
  std::string text;
  out >> text;
  EXPECT_EQ(text, "traces");
}

TEST(QtPlatformBusy, OnePointerHoweverOftenItIsAskedFor) {
  {
    QtPlatform platform;
    platform.BusyPointer(true, "sisforme");
    platform.BusyPointer(true, "sisforme");
    ASSERT_NE(QApplication::overrideCursor(), nullptr);
    EXPECT_EQ(QApplication::overrideCursor()->shape(), Qt::WaitCursor);
    // A message in the middle of the work is answered with the normal pointer.
    Qt::CursorShape overBox = Qt::WaitCursor;
    OnNextDialog([&](QWidget* w) {
      overBox = QApplication::overrideCursor()->shape();
      static_cast<QMessageBox*>(w)->accept();
    });
    platform.MessageBox("Verify your parameters...", 16, "Norvane File converter");
    EXPECT_EQ(overBox, Qt::ArrowCursor);
    EXPECT_EQ(QApplication::overrideCursor()->shape(), Qt::WaitCursor);
    platform.BusyPointer(false, "sisforme");
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
    platform.BusyPointer(false, "sisforme");
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
    platform.BusyPointer(true, "sisforme");
  }
  // A platform that goes while busy leaves the normal pointer behind.
  EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST(QtPlatformShell, StartsNothingForAMissingProgram) {
  QtPlatform platform;
  std::vector<std::string> lines;
  platform.SetSink([&](const std::string& l) { lines.push_back(l); });
  EXPECT_EQ(platform.Shell("/nowhere/NOTHERE.EXE", 1), 0);
  EXPECT_LT(platform.ShellOpen("MainPanel", "open", "/nowhere/tolmix.exe", "/nowhere"), 32);
  EXPECT_EQ(lines, (std::vector<std::string>{"shell \"/nowhere/NOTHERE.EXE\" style=1 -> 0",
                                             "shellopen \"/nowhere/tolmix.exe\" folder=\"/nowhere\" -> 2"}));
}

}  // namespace
}  // namespace vexmor
