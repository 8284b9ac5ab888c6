#include "panels/script.h"

#include <gtest/gtest.h>

#include <sstream>

#include "core/failure.h"
#include "panels/main_panel.h"
#include "panels/registry.h"
#include "platform/headless_platform.h"
#include "platform/jobs.h"
#include "test_util.h"

namespace vexmor {
namespace {

struct ScriptRun {
  int status;
  std::string out;
  std::string err;
};

ScriptRun RunScript(const std::string& text) {
  std::ostringstream out, err;
  HeadlessPlatform platform;
  platform.SetRecordOnly(true);
  const int status = RunScriptHeadless(text, platform, out, err);
  return {status, out.str(), err.str()};
}

TEST(ScriptWords, QuotesAndEscapes) {
  EXPECT_EQ(SplitScriptWords(R"(answer dialog "/tmp/rec LINE1.DAT LINE2.DAT")"),
            (std::vector<std::string>{"answer", "dialog", "/tmp/rec LINE1.DAT LINE2.DAT"}));
  EXPECT_EQ(SplitScriptWords(R"(set Text1 "")"), (std::vector<std::string>{"set", "Text1", ""}));
  EXPECT_EQ(SplitScriptWords(R"(set Text1 "a\"b\\c\r\n\t")"),
            (std::vector<std::string>{"set", "Text1", "a\"b\\c\r\n\t"}));
  EXPECT_EQ(SplitScriptWords("  click\tCommand1  "), (std::vector<std::string>{"click", "Command1"}));
  EXPECT_THROW(SplitScriptWords(R"(set Text1 "open)"), std::invalid_argument);
  EXPECT_THROW(SplitScriptWords(R"(set Text1 "\q")"), std::invalid_argument);
}

TEST(ScriptParse, CommentsBlankLinesAndLineNumbers) {
  const auto lines = ParseScript("# a comment\n\n   \nopen MainPanel\r\n  # another\nshow Check1");
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].number, 4);
  EXPECT_EQ(lines[1].number, 6);
  // A line that cannot be split ends the list, carrying its error.
  const auto broken = ParseScript("open MainPanel\nset Text1 \"x\nshow Check1\n");
  ASSERT_EQ(broken.size(), 2u);
  EXPECT_TRUE(broken[0].error.empty());
  EXPECT_EQ(broken[1].number, 2);
  EXPECT_FALSE(broken[1].error.empty());
}

TEST(Script, StartShowsTheSharedValues) {
  const ScriptRun r = RunScript(
      "open MainPanel\nshow state.CommandPrefix\nshow state.NewLine\nshow state.ToolDir\nshow state.NbSamples\n");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out,
            "opened MainPanel\n"
            "state.CommandPrefix = \"command.com /c \"\n"
            "state.NewLine = \"\\r\\n\"\n"
            "state.ToolDir = \"" VEXMOR_BIN_DIR "/\"\n"
            "state.NbSamples = 0\n");
}

TEST(Script, ShowPrintsEachKindOfControl) {
  const ScriptRun r = RunScript(
      "open MainPanel\nshow MainPanel.caption\nshow Check1\nshow Option21\nshow Command2\nshow Frame3\n");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out,
            "opened MainPanel\n"
            "MainPanel.caption = \"Norvane Seismic file conversion\"\n"
            "Check1 = off\n"
            "Option21 = on visible=0\n"
            "Command2 = \"Quit\"\n"
            "Frame3 = \"Radar files to SU\"\n");
}

TEST(Script, CheckBoxesToggleAndOptionsExcludeEachOtherInTheirFrame) {
  const ScriptRun r = RunScript(
      "open MainPanel\nclick Check1\nshow Check1\nclick Check1\nshow Check1\n"
      "click Option7\nclick Option12\nshow Option7\nshow Option21\nshow Option12\nclick Option5\nshow Option7\n");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out,
            "opened MainPanel\nCheck1 = on\nCheck1 = off\n"
            "opened sisforme\nopened Radar_F\n"  // Option7 of Frame1 is still selected: both open
            "Option7 = on\nOption21 = off visible=0\nOption12 = on\n"
            "opened abem\nOption7 = off\n");
}

TEST(Script, ErrorsStopAtTheirLineWithStatus2) {
  struct Case {
    std::string script;
    std::string error;
  };
  const Case cases[] = {
      {"open Nowhere\n", "line 1: unknown panel Nowhere\n"},
      {"open MainPanel\nclick Command99\nshow Check1\n", "line 2: panel MainPanel has no control Command99\n"},
      {"show Check1\n", "line 1: no panel is open\n"},
      {"open MainPanel\nfrobnicate\n", "line 2: unknown command frobnicate\n"},
      {"open MainPanel\nuse sisforme\n", "line 2: panel sisforme is not open\n"},
      {"open MainPanel\nshow state.Nothing\n", "line 2: no shared value Nothing\n"},
      {"answer message 3\n", "line 1: a message is answered 1, 2, 6 or 7\n"},
      {"open MainPanel\nwait soon\n", "line 2: not a number: soon\n"},
      // Decimal only, and a word's control characters kept on the one line.
      {"open MainPanel\nwait 0x10\n", "line 2: not a number: 0x10\n"},
      {"open MainPanel\nwait inf\n", "line 2: not a number: inf\n"},
      {"open MainPanel\nclick Com\rmand1\n", "line 2: panel MainPanel has no control Com\\rmand1\n"},
      {"open MainPanel\nset Check1 x\n", "line 2: Check1 is not a text control\n"},
      {"open MainPanel\nclick\n", "line 2: click takes 1 word\n"},
  };
  for (const Case& c : cases) {
    const ScriptRun r = RunScript(c.script);
    EXPECT_EQ(r.status, 2) << c.script;
    EXPECT_EQ(r.err, c.error) << c.script;
  }
  // Nothing runs after the failing line, and everything before it does, even
  // when the failing line is one that cannot be read at all.
  const ScriptRun r = RunScript("open MainPanel\nbogus\nshow Check1\n");
  EXPECT_EQ(r.out, "opened MainPanel\n");
  const ScriptRun quote = RunScript("open MainPanel\nshow Check1\nset Text1 \"x\nshow Check1\n");
  EXPECT_EQ(quote.status, 2);
  EXPECT_EQ(quote.out, "opened MainPanel\nCheck1 = off\n");
  EXPECT_EQ(quote.err, "line 3: quoted word has no closing quote\n");
}

TEST(Script, WhatStandsInADisabledOrHiddenFrameCannotBeReached) {
  HeadlessPlatform p;
  SharedState s;
  Session session(p, s);
  std::vector<std::string> out;
  ScriptRunner runner(session, p.Answers(), [&](const std::string& l) { out.push_back(l); });
  runner.Run(ParseScript("\xEF\xBB\xBFopen MainPanel\n"));  // a marked UTF-8 script reads as any other
  session.Find("MainPanel")->operator[]("Frame1").SetEnabled(false);
  runner.Run(ParseScript("click Option7\nshow Option7\n"));
  session.Find("MainPanel")->operator[]("Frame1").SetEnabled(true);
  session.Find("MainPanel")->operator[]("Frame1").SetVisible(false);
  runner.Run(ParseScript("click Option7\nshow Option7\n"));
  EXPECT_EQ(out, (std::vector<std::string>{"Option7 = off", "Option7 = off"}));
  EXPECT_FALSE(session.IsShown("sisforme"));
}

TEST(Script, ClosingMainPanelEndsTheSystem) {
  const ScriptRun r = RunScript("open MainPanel\nopen sisforme\nuse MainPanel\nclose MainPanel\nuse sisforme\n");
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.out, "opened MainPanel\nopened sisforme\nclosed MainPanel\nclosed sisforme\n");
}

TEST(HeadlessPlatform, QueuedAnswersAndTheAnswersOfEnter) {
  std::vector<std::string> lines;
  HeadlessPlatform p([&](const std::string& l) { lines.push_back(l); });
  test::KeepCurrentFolder keep;
  EXPECT_EQ(p.MessageBox("Done", 0, ""), 1);
  EXPECT_EQ(p.MessageBox("Sure?", 36, "T"), 6);
  p.Answers().QueueMessage(7);
  EXPECT_EQ(p.MessageBox("Sure?", 36, "T"), 7);
  EXPECT_EQ(p.PromptValue("Channel?", "", "3"), "3");
  p.Answers().QueuePrompt("");
  EXPECT_EQ(p.PromptValue("Channel?", "", "3"), "");
  FileRequest req{"", "Output File selection", "Seismic File |*.SU|All files|*.*|", "*.SU", false, false};
  EXPECT_EQ(p.ChooseFile(req), "*.SU");
  EXPECT_EQ(lines, (std::vector<std::string>{
                       "message \"Done\" buttons=0 title=\"\" -> 1",
                       "message \"Sure?\" buttons=36 title=\"T\" -> 6",
                       "message \"Sure?\" buttons=36 title=\"T\" -> 7",
                       "prompt \"Channel?\" title=\"\" default=\"3\" -> \"3\"",
                       "prompt \"Channel?\" title=\"\" default=\"3\" -> \"\"",
                       "dialog \"Output File selection\" filter=\"Seismic File |*.SU|All files|*.*|\" "
                       "file=\"*.SU\" folder=\"\" multi=0 save=0 -> \"*.SU\"",
                   }));
}

TEST(HeadlessPlatform, ChosenFileFolderBecomesTheCurrentFolder) {
  test::TempDir dir;
  test::KeepCurrentFolder keep;
  HeadlessPlatform p;
  p.Answers().QueueDialog(dir.Str() + " A.DAT B.DAT");
  p.ChooseFile({"", "t", "f", "*.*", true, false});
  EXPECT_EQ(std::filesystem::current_path(), dir.Path());
}

TEST(HeadlessPlatform, ShellReallyStartsTheProgramAndReapsIt) {
  test::TempDir dir;
  const std::string marker = dir / "ran";
  test::WriteText(dir / "tool", "#!/bin/sh\necho \"$@\" > '" + marker + "'\n");
  std::filesystem::permissions(dir / "tool", std::filesystem::perms::owner_all);
  std::vector<std::string> lines;
  HeadlessPlatform p([&](const std::string& l) { lines.push_back(l); });
  p.SetProgramFolder(dir.Str());
  const int task = p.Shell("TOOL.EXE one two", 1);  // found whatever its case, .exe or not
  EXPECT_GT(task, 0);
  WaitForJobs();
  EXPECT_EQ(test::ReadText(marker), "one two\n");
  EXPECT_EQ(p.Shell("nothing-here.exe", 1), 0);
  EXPECT_EQ(lines.back(), "shell \"nothing-here.exe\" style=1 -> 0");
  EXPECT_EQ(p.ShellOpen("MainPanel", "open", dir / "quartel.exe", dir.Str()), 2);
  EXPECT_EQ(lines.back(), "shellopen \"" + (dir / "quartel.exe") + "\" folder=\"" + dir.Str() + "\" -> 2");
}

TEST(ShellCommand, InterpreterPrefixAndScripts) {
  test::TempDir dir;
  const std::string script = dir / "convert.bat";
  test::WriteText(script, "rem\r\n");
  const ShellCommand c = ParseShellCommand("command.com /c " + script, "/opt/bin");
  EXPECT_TRUE(c.closeAtEnd);
  EXPECT_TRUE(c.isScript);
  ASSERT_FALSE(c.argv.empty());
  EXPECT_EQ(c.argv.front(), "/opt/bin/vexmor-bat");
  EXPECT_EQ(c.argv.back(), script);
  const ShellCommand d = ParseShellCommand(script, "/opt/bin");
  EXPECT_FALSE(d.closeAtEnd);
  ASSERT_FALSE(d.argv.empty());
  EXPECT_EQ(d.argv.front(), "/opt/bin/vexmor-bat");
  EXPECT_TRUE(ParseShellCommand("   ", "/opt/bin").argv.empty());
  // A script that isn't there starts nothing.
  EXPECT_TRUE(ParseShellCommand("command.com /c " + (dir / "gone.bat"), "/opt/bin").argv.empty());
  // Paths written the DOS way: a backslash before the name, another system's folder.
  const ShellCommand dos = ParseShellCommand("command.com /c " + dir.Str() + "\\convert.bat", "/opt/bin");
  ASSERT_FALSE(dos.argv.empty());
  EXPECT_EQ(dos.argv.back(), script);
  const std::string bin = VEXMOR_BIN_DIR;
  EXPECT_EQ(ParseShellCommand(bin + "\\rtoaw.exe", bin).argv, std::vector<std::string>{bin + "/rtoaw"});
  EXPECT_EQ(ParseShellCommand("C:\\tarvix\\bin\\SEG2SU.EXE", bin).argv, std::vector<std::string>{bin + "/seg2su"});
}

TEST(Registry, EveryScriptPanelNameIsKnown) {
  for (const char* name : {"MainPanel", "sisforme", "abem", "es1225", "oyo", "HandyViewer", "Bison", "DOLANG", "pasi",
                           "Ambrogeo", "Radar_F", "DT1", "DZT_old", "ASCII2SU", "DZT2", "Convert", "SEGY", "SU2SGY",
                           "Add_SU_files", "pick", "editor"}) {
    EXPECT_NE(FindPanelType(name), nullptr) << name;
  }
}

TEST(Events, AChangeFiresWhoeverMakesIt) {
  HeadlessPlatform p;
  SharedState s;
  Session session(p, s);
  static constexpr ControlDef defs[] = {
      {"Text1", ControlKind::Text, "", "", "a"},
      {"List1", ControlKind::List},
  };
  Form form(session, "T", "T", defs);
  int changes = 0, clicks = 0;
  form.On("Text1", "Change", [&](EventArgs&) { ++changes; });
  form.On("List1", "Click", [&](EventArgs&) { ++clicks; });
  form["Text1"].SetText("b");
  form["Text1"].SetText("b");  // no change, no event
  EXPECT_EQ(changes, 1);
  form["List1"].AddItem("x");
  form["List1"].AddItem("y");
  form["List1"].SetListIndex(1);
  form["List1"].SetListIndex(1);
  form["List1"].SetListIndex(7);  // out of range: no line chosen
  EXPECT_EQ(clicks, 1);
  EXPECT_EQ(form["List1"].ListIndex(), -1);
  EXPECT_THROW(form["Nothing"], std::out_of_range);
}

TEST(Events, AFailureEscapingAnOperationIsShownNotThrown) {
  std::vector<std::string> lines;
  HeadlessPlatform p([&](const std::string& l) { lines.push_back(l); });
  SharedState s;
  Session session(p, s);
  Form form(session, "T", "T", {});
  form.On("Form", "Load", [](EventArgs&) { throw RunTimeFailure(FailureCode::Overflow, "too big"); });
  EXPECT_TRUE(form.Raise("Form", "Load"));
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0], "message \"Run-time error 6: too big\" buttons=16 title=\"\" -> 1");
}

}  // namespace
}  // namespace vexmor

namespace vexmor {
namespace {

// The program itself, as outside checks run it.
TEST(VexmorCli, RunPrintsTheTranscriptAndExitsWithTheScriptStatus) {
  test::TempDir dir;
  test::WriteText(dir / "ok.txt", "open MainPanel\nshow state.NewLine\n");
  test::WriteText(dir / "bad.txt", "open MainPanel\nclick Nothing\n");
  const std::string cli = std::string(VEXMOR_BIN_DIR) + "/vexmor-cli";
  auto run = [&](const std::string& args, std::string& out) {
    FILE* pipe = popen((cli + " " + args + " 2>" + (dir / "err")).c_str(), "r");
    out.clear();
    char buf[256];
    while (fgets(buf, sizeof buf, pipe)) out += buf;
    return WEXITSTATUS(pclose(pipe));
  };
  std::string out;
  EXPECT_EQ(run("run " + (dir / "ok.txt"), out), 0);
  EXPECT_EQ(out, "opened MainPanel\nstate.NewLine = \"\\r\\n\"\n");
  EXPECT_EQ(run("run " + (dir / "bad.txt"), out), 2);
  EXPECT_EQ(test::ReadText(dir / "err"), "line 2: panel MainPanel has no control Nothing\n");
  EXPECT_EQ(run("run - < " + (dir / "ok.txt"), out), 0);
  EXPECT_EQ(out, "opened MainPanel\nstate.NewLine = \"\\r\\n\"\n");
  EXPECT_EQ(run("run " + (dir / "missing.txt"), out), 2);
  EXPECT_EQ(run("", out), 2);
  // A folder is no empty script, and a device without end is not read for ever.
  EXPECT_EQ(run("run " + dir.Str(), out), 2);
  EXPECT_EQ(test::ReadText(dir / "err"), "vexmor-cli: cannot read the script " + dir.Str() + ": it is a folder\n");
  EXPECT_EQ(run("run /dev/zero", out), 2);
  EXPECT_EQ(test::ReadText(dir / "err"), "vexmor-cli: cannot read the script /dev/zero: longer than 16 MB, no panel script\n");
  EXPECT_EQ(out, "");
}

}  // namespace
}  // namespace vexmor
