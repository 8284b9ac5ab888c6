// The panel Convert on screen: "Conversion OK" goes by itself after three
// seconds, and the end of a tool job shows in the window as the job ends.
#include <gtest/gtest.h>

#include <QApplication>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QInputDialog>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>

#include "desktop.h"
#include "platform/jobs.h"

namespace vexmor {
namespace {

namespace fs = std::filesystem;

struct Folder {
  Folder() {
    std::string pattern = (fs::temp_directory_path() / "vexmor-gui-XXXXXX").string();
    path = mkdtemp(pattern.data());
    fs::current_path(path);
  }
  ~Folder() {
    std::error_code ec;
    fs::current_path(saved, ec);
    fs::remove_all(path, ec);
  }
  std::string operator/(const std::string& name) const { return (path / name).string(); }
  fs::path saved = fs::current_path();
  fs::path path;
};

void WriteAll(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

// Runs f on the next modal dialog once it is on screen.
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
  QTimer::singleShot(0, [attempt] { (*attempt)(500); });
}

TEST(ConvertWindow, ConversionOkGoesByItselfAfterThreeSeconds) {
  Folder dir;
  // One KGS integer record of 4 samples: ns at byte 114.
  std::string record(240 + 8, '\0');
  record[114] = 4;
  WriteAll(dir / "R.EVD", record);

  QtPlatform platform;
  SharedState state;
  state.ConvertMode = "KGSI2SU";
  Session session(platform, state);
  Desktop desktop(session, false);
  Form& form = session.Open("Convert");
  PanelWindow* window = desktop.WindowOf("Convert");
  ASSERT_NE(window, nullptr);
  EXPECT_EQ(window->windowTitle().toStdString(), " Conversion KGS Integers to SU ");
  form["Text1"].SetText(dir / "R.EVD");
  form["Text2"].SetText(dir / "R.SU");

  OnNextDialog([](QWidget* d) {
    if (auto* input = qobject_cast<QInputDialog*>(d)) input->accept();
  });
  // Should the timer not close the message, this answers it late.
  QTimer watchdog;
  watchdog.setSingleShot(true);
  QObject::connect(&watchdog, &QTimer::timeout, [] {
    if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) box->reject();
  });
  watchdog.start(20000);
  QElapsedTimer clock;
  clock.start();
  qobject_cast<QPushButton*>(window->WidgetOf("Command2"))->click();
  const qint64 elapsed = clock.elapsed();
  EXPECT_TRUE(watchdog.isActive()) << "the message was not taken off by its timer";
  EXPECT_GE(elapsed, 2900);
  EXPECT_FALSE(session.IsShown("Convert"));
  EXPECT_EQ(fs::file_size(dir / "R.SU"), 240u + 16);
}

TEST(ConvertWindow, TheEndOfASegyJobShowsBelowTheButtons) {
  Folder dir;
  // A little-endian SEG-Y file of two traces of 3 IEEE samples.
  std::string segy(3600, '\0');
  segy[3216] = char(250);
  segy[3220] = 3;
  segy[3224] = 5;
  for (int t = 0; t < 2; ++t) {
    std::string trace(240 + 12, '\0');
    trace[114] = 3;
    trace[116] = char(250);
    segy += trace;
  }
  WriteAll(dir / "L.SGY", segy);

  QtPlatform platform;
  SharedState state;
  state.ConvertMode = "SEGY2SU";
  state.ToolDir = std::string(VEXMOR_BIN_DIR) + "/";
  Session session(platform, state);
  Desktop desktop(session, false);
  Form& form = session.Open("Convert");
  PanelWindow* window = desktop.WindowOf("Convert");
  ASSERT_NE(window, nullptr);
  form["Text1"].SetText(dir / "L.SGY");
  form["Text2"].SetText(dir / "L.SU");
  auto* label = qobject_cast<QLabel*>(window->WidgetOf("Label1"));
  ASSERT_NE(label, nullptr);
  EXPECT_FALSE(label->isVisible());
  qobject_cast<QPushButton*>(window->WidgetOf("Command2"))->click();
  EXPECT_TRUE(label->isVisible());
  QDeadlineTimer deadline(20000);
  while (!label->text().startsWith("Job ended") && !deadline.hasExpired()) QTest::qWait(50);
  EXPECT_EQ(label->text().toStdString(), "Job ended: " + (dir / "L.SU") + " written, 2 traces of 3 samples");
  EXPECT_TRUE(session.IsShown("Convert"));
  WaitForJobs();
}

}  // namespace
}  // namespace vexmor
