// MainPanel through panel scripts: the dispatch of Lance, the viewers, the
// help text and the end of the system.
#include "panels/main_panel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>

#include "panels/script.h"
#include "platform/headless_platform.h"
#include "test_util.h"

namespace vexmor {
namespace {

using test::TempDir;

struct PanelRun {
  int status;
  std::string out;
};

PanelRun RunOn(HeadlessPlatform& platform, const std::string& script) {
  std::ostringstream out, err;
  const int status = RunScriptHeadless(script, platform, out, err);
  return {status, out.str() + err.str()};
}

PanelRun RunRecorded(const std::string& script) {
  HeadlessPlatform platform;
  platform.SetRecordOnly(true);
  return RunOn(platform, script);
}

TEST(MainPanelTable, FramesHoldTheirOptionsAndOnlyTheHiddenOnesStartSelected) {
  std::map<std::string, std::set<std::string>> frames;
  for (const ControlDef& c : MainPanelControls()) {
    if (c.kind != ControlKind::Option) continue;
    frames[std::string(c.frame)].insert(std::string(c.name));
    const bool hidden = c.name == "Option21" || c.name == "Option22";
    EXPECT_EQ((c.flags & kHidden) != 0, hidden) << c.name;
    EXPECT_EQ((c.flags & kSelected) != 0, hidden) << c.name;
  }
  using S = std::set<std::string>;
  EXPECT_EQ(frames["Frame1"], (S{"Option1", "Option2", "Option3", "Option4", "Option5", "Option6", "Option7",
                                 "Option9", "Option10", "Option13", "Option14", "Option16", "Option19",
                                 "Option21", "Option23"}));
  EXPECT_EQ(frames["Frame2"], (S{"Option8", "Option11", "Option15", "Option20", "Option22", "Option24"}));
  EXPECT_EQ(frames["Frame3"], (S{"Option12", "Option17", "Option18"}));
  EXPECT_EQ(frames["Frame4"], (S{"Option25", "Option26", "Option27"}));
  EXPECT_EQ(frames.size(), 4u);
}

TEST(MainPanelLance, EachOptionOpensItsPanel) {
  const std::pair<const char*, const char*> routes[] = {
      {"Option2", "SEGY"},      {"Option3", "Convert"},  {"Option4", "es1225"},    {"Option5", "abem"},
      {"Option6", "DOLANG"},    {"Option7", "sisforme"}, {"Option9", "Convert"},   {"Option10", "oyo"},
      {"Option11", "Convert"},  {"Option12", "Radar_F"}, {"Option13", "Convert"},  {"Option14", "Bison"},
      {"Option15", "SU2SGY"},   {"Option16", "pasi"},    {"Option17", "DT1"},      {"Option18", "DZT2"},
      {"Option19", "Ambrogeo"}, {"Option20", "Add_SU_files"}, {"Option23", "ASCII2SU"},
  };
  for (const auto& [option, panel] : routes) {
    const PanelRun r = RunRecorded(std::string("open MainPanel\nclick ") + option + "\n");
    EXPECT_EQ(r.out, std::string("opened MainPanel\nopened ") + panel + "\n") << option;
  }
}

TEST(MainPanelLance, SelectedOptionsOfSeveralFramesRunInTheBoardsOrder) {
  const PanelRun r = RunRecorded(
      "open MainPanel\n"
      "click Option7\nclose sisforme\n"
      "click Option15\n"  // Frame2: sisforme (step 8) comes before SU2SGY (step 16)
      "close sisforme\nclose SU2SGY\n"
      "click Option12\n"  // Frame3: Radar_F (step 13) stands between them
      "click Option7\n");  // already selected: no click, nothing runs
  EXPECT_EQ(r.status, 0) << r.out;
  EXPECT_EQ(r.out,
            "opened MainPanel\nopened sisforme\nclosed sisforme\n"
            "opened sisforme\nopened SU2SGY\nclosed sisforme\nclosed SU2SGY\n"
            "opened sisforme\nopened Radar_F\nopened SU2SGY\n");
}

TEST(MainPanelLance, TheLaterStepSetsConvertMode) {
  const PanelRun r = RunRecorded(
      "open MainPanel\n"
      "click Option3\nshow state.ConvertMode\n"
      "click Option11\nshow state.ConvertMode\n"   // KGSI2SU (step 4), then SU2KGS (step 12)
      "click Option13\nshow state.ConvertMode\n"   // SU2KGS (step 12), then SEGD2SU (step 15)
      "click Option2\nshow state.ConvertMode\n");  // SEGY2SU (step 3), then SU2KGS (step 12)
  EXPECT_EQ(r.out,
            "opened MainPanel\nopened Convert\nstate.ConvertMode = \"KGSI2SU\"\n"
            "state.ConvertMode = \"SU2KGS\"\nstate.ConvertMode = \"SEGD2SU\"\n"
            "opened SEGY\nstate.ConvertMode = \"SU2KGS\"\n");
}

TEST(MainPanelLance, ExportsRunInPlaceBehindTheEarlierSteps) {
  // Option3 (step 4) opens Convert before Option8 (step 9) runs its export.
  const PanelRun r = RunRecorded("open MainPanel\nclick Option3\nclose Convert\nclick Option8\n"
                                 "show state.ConvertMode\n");
  const std::string after = r.out.substr(r.out.find("closed Convert\n") + 15);
  EXPECT_EQ(after.substr(0, 15), "opened Convert\n") << r.out;
  EXPECT_GT(std::count(after.begin(), after.end(), '\n'), 2) << "the export said nothing: " << r.out;
  const std::string mode = "state.ConvertMode = \"KGSI2SU\"\n";
  ASSERT_GT(after.size(), mode.size());
  EXPECT_EQ(after.substr(after.size() - mode.size()), mode);
}

TEST(MainPanelLance, CommandPrefixFollowsCheck1) {
  const PanelRun r = RunRecorded(
      "open MainPanel\nshow state.CommandPrefix\n"
      "click Option5\nshow state.CommandPrefix\n"
      "click Check1\nclick Option20\nshow state.CommandPrefix\n");
  EXPECT_EQ(r.out,
            "opened MainPanel\nstate.CommandPrefix = \"command.com /c \"\n"
            "opened abem\nstate.CommandPrefix = \"\"\n"
            "opened Add_SU_files\nstate.CommandPrefix = \"command.com /c \"\n");
}

TEST(MainPanelLance, Seg2SuIsStartedAndItsAbsenceReported) {
  const PanelRun started = RunRecorded("open MainPanel\nclick Option1\n");
  EXPECT_EQ(started.out, "opened MainPanel\nshell \"SEG2SU.EXE\" style=1 -> 1\n");

  TempDir empty;
  HeadlessPlatform platform;
  platform.SetProgramFolder(empty.Str());
  const PanelRun missing = RunOn(platform, "open MainPanel\nclick Option1\n");
  EXPECT_EQ(missing.out,
            "opened MainPanel\nshell \"SEG2SU.EXE\" style=1 -> 0\n"
            "message \"SEG2SU.EXE must be in the same folder as VEXMOR.EXE\" buttons=0 title=\"\" -> 1\n");
}

TEST(MainPanelViewers, MissingProgramsAreReported) {
  TempDir bin;
  HeadlessPlatform platform;
  platform.SetProgramFolder(bin.Str());
  const std::string folder = bin.Str();
  PanelRun r = RunOn(platform, "open MainPanel\nclick Option25\nclick Option26\nclick Option27\n");
  EXPECT_EQ(r.out,
            "opened MainPanel\n"
            "shellopen \"" + folder + "/quartel.exe\" folder=\"" + folder + "\" -> 2\n"
            "message \"Unable to shell application:" + folder + "/quartel.exe\" buttons=0 title=\"\" -> 1\n"
            "shellopen \"" + folder + "/quartely.exe\" folder=\"" + folder + "\" -> 2\n"
            "message \"Unable to shell application:" + folder + "/quartely.exe\" buttons=0 title=\"\" -> 1\n"
            "message \"Download TOLMIX.EXE from web and put this file in BIN folder\" buttons=16 "
            "title=\"Norvane File converter\" -> 1\n");

  // tolmix.exe there but not a program: it is tried, and its failure told.
  test::WriteText(bin / "tolmix.exe", "not a program");
  r = RunOn(platform, "open MainPanel\nclick Option27\n");
  EXPECT_EQ(r.out,
            "opened MainPanel\n"
            "shellopen \"" + folder + "/tolmix.exe\" folder=\"" + folder + "\" -> 2\n"
            "message \"Unable to shell application:" + folder + "/tolmix.exe\" buttons=0 title=\"\" -> 1\n");

  platform.SetRecordOnly(true);
  r = RunOn(platform, "open MainPanel\nclick Option27\n");
  EXPECT_EQ(r.out, "opened MainPanel\nshellopen \"" + folder + "/tolmix.exe\" folder=\"" + folder + "\" -> 33\n");
}

TEST(MainPanelButtons, HelpExplorerAndQuit) {
  const PanelRun r = RunRecorded("open MainPanel\nclick Command3\nclick Command4\nuse MainPanel\nclick Command2\nshow Check1\n");
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.out,
            "opened MainPanel\n"
            "message \"Select the type of file and press on CONVERT\\r\\n"
            " If you don't know what type of file your seismograph\\r\\n"
            " produce, you must read the owner manual. \\r\\n"
            " If your seismograph don't appears on the panel  \\r\\n"
            " you can contact Norvane.  \\r\\n"
            " E-mail us some file sample and all available informations \\r\\n"
            " Number of samples, sample rate, traces per record...  \\r\\n"
            " ALL TYPE OF FILES CAN BE CONVERTED !\\r\\n"
            " If you are familiar with \xC2\xA8seismic data use OTHER FILE TO SU menu !\\r\\n"
            " This module can convert nearly all type of seismic file \\r\\n\" buttons=64 "
            "title=\"Norvane File converter\" -> 1\n"
            "opened pick\n"
            "closed MainPanel\nclosed pick\n"
            "line 6: panel MainPanel is not open\n");
}

TEST(MainPanelButtons, QuitEndsTheSession) {
  HeadlessPlatform platform;
  platform.SetRecordOnly(true);
  SharedState state;
  Session session(platform, state);
  session.Open("MainPanel");
  session.Open("sisforme");
  session.Find("MainPanel")->Raise("Command2", "Click");
  EXPECT_TRUE(session.Ended());
  EXPECT_TRUE(session.ShownPanels().empty());
}

}  // namespace
}  // namespace vexmor
