// What a newcomer meets first: the help of every program, the control
// listing of the panels, and the programs the panels start.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "core/shared_state.h"
#include "panels/describe.h"
#include "panels/registry.h"
#include "platform/headless_platform.h"
#include "platform/jobs.h"
#include "tools_helpers.h"

namespace vexmor {
namespace {

using test::Bin;
using test::TempDir;

const char* const kPrograms[] = {"vexmor",   "vexmor-cli", "vexmor-bat", "samplegen", "segyread", "segyclean",
                                 "segyhdrs", "segywrite",  "segdread",   "seg2su",    "rtoaw"};

struct Ran {
  int status;
  std::string out, err;
};

// Runs a program of ours in folder, with no desktop in reach.
Ran RunProgram(const TempDir& folder, const std::string& program, const std::string& args) {
  const test::ToolRun r =
      test::RunIn(folder.Str(), "env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM '" + Bin(program) + "' " + args +
                                    " > .stdout");
  return {r.status, test::ReadText(folder / ".stdout"), r.err};
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

TEST(ProgramHelp, EveryProgramAnswersHelpOnStandardOutput) {
  for (const char* program : kPrograms) {
    for (const char* flag : {"-h", "--help"}) {
      TempDir dir;
      const Ran r = RunProgram(dir, program, flag);
      EXPECT_EQ(r.status, 0) << program << ' ' << flag << ": " << r.err;
      EXPECT_NE(r.out.find(program), std::string::npos) << program << ' ' << flag << " printed: " << r.out;
      EXPECT_GE(Lines(r.out).size(), 2u) << program << ' ' << flag;
      EXPECT_EQ(r.err, "") << program << ' ' << flag;
      // Nothing is made: no folder, script or output named after the flag.
      EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.Path()), {}), 2)
          << program << ' ' << flag << " left files behind";
    }
  }
}

TEST(ProgramHelp, AWrongArgumentIsOneLineNamingIt) {
  for (const char* program : kPrograms) {
    TempDir dir;
    const Ran r = RunProgram(dir, program, "--no-such-thing");
    EXPECT_NE(r.status, 0) << program;
    const auto lines = Lines(r.err);
    ASSERT_EQ(lines.size(), 1u) << program << " said: " << r.err;
    EXPECT_NE(lines[0].find("--no-such-thing"), std::string::npos) << lines[0];
    EXPECT_EQ(lines[0].rfind(std::string(program) + ": ", 0), 0u) << lines[0];
  }
  // A bad value of a known key is named as well.
  TempDir dir;
  test::WriteBytes(dir / "x.sgy", std::vector<uint8_t>(3600, 0));
  const Ran r = RunProgram(dir, "segyread", "tape=x.sgy endian=big");
  EXPECT_EQ(r.err, "segyread: bad value for endian: 'big': a whole number is expected, 0 to 1 (a switch) (segyread --help "
            "shows the usage)\n");
}

Session::Loaded Unloaded(Session& session, const PanelType& type) { return type.make(session, type.name); }

TEST(ControlListing, EveryPanelListsEachControlOfItsTableOnce) {
  HeadlessPlatform platform;
  SharedState state;
  Session session(platform, state);
  for (const PanelType& type : PanelTypes()) {
    TempDir dir;
    const Ran r = RunProgram(dir, "vexmor-cli", "controls " + std::string(type.name));
    ASSERT_EQ(r.status, 0) << type.name << ": " << r.err;
    const Session::Loaded loaded = Unloaded(session, type);
    const auto& controls = loaded.form->Controls();
    const auto lines = Lines(r.out);
    if (controls.empty()) {
      ASSERT_EQ(lines.size(), 1u) << type.name;
      EXPECT_NE(lines[0].find("not built yet"), std::string::npos) << lines[0];
      continue;
    }
    ASSERT_EQ(lines.size(), controls.size()) << type.name;
    size_t i = 0;
    for (const Control& c : controls) {
      EXPECT_EQ(lines[i].rfind(c.Name() + " kind=\"" + std::string(KindName(c.Kind())) + "\" caption=", 0), 0u)
          << type.name << ": " << lines[i];
      ++i;
    }
  }
}

TEST(ControlListing, RowsSayCaptionDefaultFrameAndState) {
  const auto main = ControlLines("MainPanel");
  ASSERT_TRUE(main.has_value());
  const auto has = [&](const std::string& line) {
    return std::find(main->begin(), main->end(), line) != main->end();
  };
  // The invisible options that stand selected at the start, and the box
  // that is clear.
  EXPECT_TRUE(has("Option21 kind=\"option\" caption=\"Option21\" default=on frame=Frame1 visible=0"));
  EXPECT_TRUE(has("Option22 kind=\"option\" caption=\"Option22\" default=on frame=Frame2 visible=0"));
  EXPECT_TRUE(has("Check1 kind=\"check box\" caption=\"Close SU windows automatically\" default=off"));
  EXPECT_TRUE(has("Command2 kind=\"button\" caption=\"Quit\""));
  EXPECT_TRUE(has("Option7 kind=\"option\" caption=\"Other files to Seismic Unix\" default=off frame=Frame1"));
  EXPECT_FALSE(ControlLines("NoSuchPanel").has_value());
}

TEST(ControlListing, PanelsDescribesOneOrAllAndRefusesAnUnknownName) {
  TempDir dir;
  const Ran one = RunProgram(dir, "vexmor-cli", "panels sisforme");
  EXPECT_EQ(one.status, 0);
  ASSERT_EQ(Lines(one.out).size(), 1u) << one.out;
  EXPECT_EQ(one.out.rfind("sisforme ", 0), 0u);
  EXPECT_NE(one.out.find("\"Norvane Seismic file converter\""), std::string::npos) << one.out;

  const Ran all = RunProgram(dir, "vexmor-cli", "panels");
  EXPECT_EQ(Lines(all.out).size(), PanelTypes().size());
  for (const PanelSummary& p : DescribePanels()) {
    if (!p.built) {
      EXPECT_NE(all.out.find(p.name + std::string(std::max<size_t>(1, 14 - p.name.size()), ' ') + "not built yet"),
                std::string::npos);
    }
  }

  const Ran unknown = RunProgram(dir, "vexmor-cli", "panels sisforme nopanel");
  EXPECT_EQ(unknown.status, 2);
  EXPECT_EQ(unknown.err, "vexmor-cli: no panel named nopanel (vexmor-cli panels lists them)\n");
  const Ran controls = RunProgram(dir, "vexmor-cli", "controls");
  EXPECT_EQ(controls.status, 2);
  EXPECT_EQ(Lines(controls.err).size(), 1u);

  // Typed in another letter case, a name is the panel's own.
  const Ran lower = RunProgram(dir, "vexmor-cli", "panels segy dolang");
  EXPECT_EQ(lower.status, 0) << lower.err;
  ASSERT_EQ(Lines(lower.out).size(), 2u) << lower.out;
  EXPECT_EQ(lower.out.rfind("SEGY ", 0), 0u) << lower.out;
  EXPECT_EQ(Lines(lower.out)[1].rfind("DOLANG ", 0), 0u) << lower.out;
  EXPECT_EQ(RunProgram(dir, "vexmor-cli", "controls MAINPANEL").out, RunProgram(dir, "vexmor-cli", "controls MainPanel").out);
  EXPECT_EQ(PanelNameAnyCase("add_su_files"), "Add_SU_files");
  EXPECT_EQ(PanelNameAnyCase("nopanel"), "nopanel");
}

// Children of this process that have ended and are not reaped.
int Zombies() {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    std::ifstream stat(entry.path() / "stat");
    std::string line;
    if (!std::getline(stat, line)) continue;
    // pid (name) state ppid ...: the name may hold blanks, so read behind ')'.
    const size_t close = line.rfind(')');
    if (close == std::string::npos) continue;
    std::istringstream rest(line.substr(close + 1));
    char state = 0;
    long ppid = 0;
    rest >> state >> ppid;
    if (state == 'Z' && ppid == static_cast<long>(getpid())) ++count;
  }
  return count;
}

TEST(StartedPrograms, AreReapedWhenTheyEndWithoutAnyoneAsking) {
  TempDir dir;
  const std::string program = dir / "quick";
  test::WriteText(program, "#!/bin/sh\nexit 3\n");
  chmod(program.c_str(), 0755);
  HeadlessPlatform platform;
  const int task = platform.Shell(program, 1);
  ASSERT_GT(task, 0);
  EXPECT_EQ(platform.ShellOpen("MainPanel", "open", program, dir.Str()), 33);
  // No event is pumped and nothing polls: the ended programs go by themselves.
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while ((kill(task, 0) == 0 || Zombies() > 0) && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  EXPECT_NE(kill(task, 0), 0) << "the program is still there, as a zombie";
  EXPECT_EQ(Zombies(), 0);
}

}  // namespace
}  // namespace vexmor
