// Our desktop programs where nobody can see a window: a picture is drawn off
// screen, a window is refused with one line, a display that cannot be
// opened is said plainly (never Qt's abort), and a panel script that starts
// a program with a window still ends.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <sstream>
#include <string>

#include "platform/headless_platform.h"
#include "platform/jobs.h"
#include "platform/screen.h"
#include "panels/script.h"
#include "tools_helpers.h"

namespace vexmor::test {
namespace {

namespace fs = std::filesystem;

bool WindowsBuilt() { return fs::exists(Bin("vexmor")) && fs::exists(Bin("vexmor-view")); }

// A display number with no X server behind it.
std::string UnreachableDisplay() {
  for (int n = 97; n < 200; ++n) {
    const std::string k = std::to_string(n);
    if (!fs::exists("/tmp/.X11-unix/X" + k) && !fs::exists("/tmp/.X" + k + "-lock")) return ":" + k;
  }
  return ":199";
}

// Runs a command line in folder with the environment given in front
// ("DISPLAY=:97", "QT_QPA_PLATFORM=offscreen" or nothing) and no other
// display in reach; a hang ends after 60 s as status 124.
ToolRun RunWith(const TempDir& folder, const std::string& environment, const std::string& command) {
  const ToolRun r = RunIn(folder.Str(), "env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM " + environment +
                                            " timeout 60 " + command + " > .stdout");
  return {r.status, ReadText(folder / ".stdout"), r.err};
}

size_t CountOf(const std::string& text, const std::string& part) {
  size_t n = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
  return n;
}

void ExpectPicture(const std::string& path, const std::string& what) {
  const std::vector<uint8_t> png = ReadBytes(path);
  ASSERT_GT(png.size(), 1000u) << what << ": no picture, or a blank one";
  EXPECT_EQ(std::string(png.begin() + 1, png.begin() + 4), "PNG") << what;
  // Width and height, high byte first, in the IHDR chunk.
  const uint32_t width = uint32_t(png[16]) << 24 | uint32_t(png[17]) << 16 | uint32_t(png[18]) << 8 | png[19];
  const uint32_t height = uint32_t(png[20]) << 24 | uint32_t(png[21]) << 16 | uint32_t(png[22]) << 8 | png[23];
  EXPECT_GE(width, 200u) << what;
  EXPECT_GE(height, 100u) << what;
}

TEST(NoScreen, TheEnvironmentTellsWhetherAWindowCanBeSeen) {
  struct Case {
    const char* qpa;
    const char* display;
    Screen expected;
  };
  const Case cases[] = {
      {nullptr, nullptr, Screen::None},        {nullptr, "", Screen::None},
      {nullptr, ":0", Screen::Display},        {"offscreen", ":0", Screen::Offscreen},
      {"minimal", nullptr, Screen::Offscreen}, {"offscreen:fontengine=freetype", ":0", Screen::Offscreen},
      {"xcb;offscreen", nullptr, Screen::Display},  // Qt tries xcb first
      {"vnc:size=800x600", nullptr, Screen::Display}, {"", nullptr, Screen::None},
  };
  EnvVar wayland("WAYLAND_DISPLAY", nullptr);
  for (const Case& c : cases) {
    EnvVar qpa("QT_QPA_PLATFORM", c.qpa);
    EnvVar display("DISPLAY", c.display);
    EXPECT_EQ(ScreenOfEnvironment(), c.expected) << (c.qpa ? c.qpa : "-") << ' ' << (c.display ? c.display : "-");
    EXPECT_EQ(NoScreenReason().empty(), c.expected == Screen::Display);
  }
  EnvVar qpa("QT_QPA_PLATFORM", nullptr);
  EnvVar display("DISPLAY", nullptr);
  EnvVar onlyWayland("WAYLAND_DISPLAY", "wayland-0");
  EXPECT_EQ(ScreenOfEnvironment(), Screen::Display);
}

TEST(NoScreen, EveryQtProgramDrawsItsPictureOffScreen) {
  if (!WindowsBuilt()) GTEST_SKIP() << "built without Qt";
  TempDir dir;
  std::vector<SuTrace> traces(24);
  for (size_t t = 0; t < traces.size(); ++t) {
    traces[t].header.assign(240, 0);
    PutLE16(traces[t].header.data() + 116, 500);
    for (int i = 0; i < 200; ++i) traces[t].samples.push_back(float(std::sin(i * 0.2 + double(t)) * 100));
  }
  WriteBytes(dir / "line.su", SuFile(traces));
  const std::string pictures[][2] = {
      {"vexmor", "--screenshot MainPanel PICTURE"},
      {"vexmor-view", "--screenshot PICTURE " + dir / "line.su"},
      {"seg2su", "--screenshot PICTURE"},
      {"rtoaw", "--screenshot PICTURE"},
  };
  // With no display named, and with one that cannot be reached: a picture
  // needs neither.
  for (const std::string& environment : {std::string(), "DISPLAY=" + UnreachableDisplay()}) {
    for (const auto& [program, args] : pictures) {
      const std::string picture = dir / (program + (environment.empty() ? "" : "-unreachable") + ".png");
      std::string line = args;
      line.replace(line.find("PICTURE"), 7, "'" + picture + "'");
      const ToolRun run = RunWith(dir, environment, "'" + Bin(program) + "' " + line);
      EXPECT_EQ(run.status, 0) << program << ' ' << environment << ": " << run.err;
      EXPECT_EQ(run.err, "") << program << ' ' << environment;
      ExpectPicture(picture, program + ' ' + environment);
    }
  }
}

TEST(NoScreen, AWindowWithoutAReachableDisplayIsOneLineAndAFailure) {
  if (!WindowsBuilt()) GTEST_SKIP() << "built without Qt";
  TempDir dir;
  const std::string display = UnreachableDisplay();
  for (const std::string program : {"vexmor", "vexmor-view", "seg2su", "rtoaw"}) {
    // No display named, or Qt told to draw off screen: nobody could see the
    // window, so none is opened.
    for (const char* environment : {"", "QT_QPA_PLATFORM=offscreen"}) {
      const ToolRun run = RunWith(dir, environment, "'" + Bin(program) + "'");
      EXPECT_EQ(run.err.rfind(program + ": no screen to show a window on: ", 0), 0u) << program << ": " << run.err;
      // The tools that also convert from a terminal show how, as ever.
      if (program == "seg2su" || program == "rtoaw") {
        EXPECT_EQ(run.status, 2) << program << ' ' << environment << ": " << run.err;
        EXPECT_NE(run.err.find("\nusage: " + program), std::string::npos) << program << ": " << run.err;
      } else {
        EXPECT_EQ(run.status, 1) << program << ' ' << environment << ": " << run.err;
        EXPECT_EQ(CountOf(run.err, "\n"), 1u) << program << ": " << run.err;
      }
    }
    // A display named that is not there: Qt would abort; we say so and end.
    for (const std::string& environment : {"DISPLAY=" + display, "QT_QPA_PLATFORM=xcb DISPLAY=" + display}) {
      const ToolRun run = RunWith(dir, environment, "'" + Bin(program) + "'");
      EXPECT_EQ(run.status, 1) << program << ' ' << environment << " (124 is a hang, 134 an abort): " << run.err;
      EXPECT_EQ(run.err, program + ": no display can be opened (DISPLAY=" + display + ")\n") << program;
    }
  }
  // The script front of the desktop program too, but it draws off screen
  // when no display is named at all.
  WriteText(dir / "s.script", "open MainPanel\nshow MainPanel.caption\n");
  ToolRun run = RunWith(dir, "DISPLAY=" + display, "'" + Bin("vexmor") + "' --script s.script");
  EXPECT_EQ(run.status, 1) << run.err;
  EXPECT_EQ(run.err, "vexmor: no display can be opened (DISPLAY=" + display + ")\n");
  run = RunWith(dir, "", "'" + Bin("vexmor") + "' --script s.script");
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("MainPanel.caption = "), std::string::npos) << run.out;
}

// Every program MainPanel and DZT2 start that has a window of its own.
const char* const kStartingScript =
    "open MainPanel\n"
    "click Option1\n"   // SEG-2 to Seismic Unix
    "click Option25\n"  // the three viewers
    "click Option26\n"
    "click Option27\n"
    "open DZT2\n"  // its third button starts rtoaw
    "click Command3\n";

void ExpectEveryStartedWindowRefused(const ToolRun& run, const std::string& front) {
  EXPECT_EQ(run.status, 0) << front << " (124 is a hang): " << run.err;
  EXPECT_NE(run.out.find("shell \"SEG2SU.EXE\" style=1 -> "), std::string::npos) << front << ": " << run.out;
  EXPECT_EQ(run.out.find("-> 0\n"), std::string::npos) << front << ": every program was found\n" << run.out;
  EXPECT_EQ(CountOf(run.out, "shellopen "), 3u) << front << ": " << run.out;
  EXPECT_EQ(CountOf(run.err, "seg2su: no screen to show a window on"), 1u) << front << ": " << run.err;
  EXPECT_EQ(CountOf(run.err, "rtoaw: no screen to show a window on"), 1u) << front << ": " << run.err;
  EXPECT_EQ(CountOf(run.err, "vexmor-view: no screen to show a window on"), 3u) << front << ": " << run.err;
  // They ended of themselves, not by the runner's last resort.
  EXPECT_EQ(run.err.find("still runs"), std::string::npos) << front << ": " << run.err;
}

TEST(NoScreen, AScriptThatStartsWindowProgramsEnds) {
  if (!WindowsBuilt()) GTEST_SKIP() << "built without Qt";
  TempDir dir;
  WriteText(dir / "start.script", kStartingScript);
  const std::string cli = "'" + Bin("vexmor-cli") + "' run start.script";
  const std::string desktop = "'" + Bin("vexmor") + "'";
  ExpectEveryStartedWindowRefused(RunWith(dir, "", cli), "vexmor-cli run");
  ExpectEveryStartedWindowRefused(RunWith(dir, "QT_QPA_PLATFORM=offscreen", cli), "offscreen vexmor-cli run");
  ExpectEveryStartedWindowRefused(RunWith(dir, "", desktop + " --script start.script"), "vexmor --script");
  ExpectEveryStartedWindowRefused(RunWith(dir, "QT_QPA_PLATFORM=offscreen", desktop + " --script start.script"),
                                  "offscreen vexmor --script");
  const ToolRun shot = RunWith(dir, "DISPLAY=" + UnreachableDisplay(),
                               desktop + " --screenshot DZT2 '" + dir / "dzt2.png" + "' start.script");
  ExpectEveryStartedWindowRefused(shot, "vexmor --screenshot");
  ExpectPicture(dir / "dzt2.png", "DZT2 after the script");
}

TEST(NoScreen, AWindowProgramThatNeverEndsIsEndedAfterTheScript) {
  // Someone else's program in the tool folder, under the name MainPanel
  // starts, that waits for a user who cannot see it.
  TempDir bin;
  WriteText(bin / "seg2su", "#!/bin/sh\nexec sleep 120\n");
  fs::permissions(bin / "seg2su", fs::perms::owner_all);
  EnvVar qpa("QT_QPA_PLATFORM", "offscreen");
  HeadlessPlatform platform;
  platform.SetProgramFolder(bin.Str());
  std::ostringstream out, err;
  testing::internal::CaptureStderr();
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(RunScriptHeadless("open MainPanel\nclick Option1\n", platform, out, err), 0);
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  const std::string said = testing::internal::GetCapturedStderr();
  EXPECT_GE(seconds, double(kWindowGrace.count()) - 0.5);
  EXPECT_LT(seconds, double(kWindowGrace.count()) + 4);
  EXPECT_NE(said.find("seg2su still runs 5 s on with no screen to show its window on; ended"), std::string::npos)
      << said;
  const std::string line = "shell \"SEG2SU.EXE\" style=1 -> ";
  const size_t at = out.str().find(line);
  ASSERT_NE(at, std::string::npos) << out.str();
  const int pid = std::stoi(out.str().substr(at + line.size()));
  ASSERT_GT(pid, 0);
  EXPECT_EQ(RunningJobs(), 0);
  EXPECT_NE(kill(pid, 0), 0) << "the program still runs";
}

}  // namespace
}  // namespace vexmor::test
