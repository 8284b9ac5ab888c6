// The batch runner runs the job scripts as the DOS interpreter would, and
// Shell starts them hidden or in a terminal window.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <optional>
#include <string>

#include "platform/jobs.h"
#include "test_util.h"
#include "tools_helpers.h"

namespace vexmor::test {
namespace {

TEST(ToolsBatchRunner, CopyInEveryFormTheScriptsUse) {
  TempDir dir;
  WriteText(dir / "a", "AAA");
  WriteText(dir / "b", "BB");
  WriteText(dir / "c", "C");
  const std::string script =
      "copy /b " + dir / "a" + " + " + dir / "b" + " + " + dir / "c" + " " + dir / "abc\r\n" +
      "copy/b a+b ab\r\n"
      "Copy a a2\r\n"
      "COPY /B A + B + C UPPER\r\n"  // names in another letter case
      "copy /b a + missing nothing\r\n"
      "copy /b ab + c ab\r\n"        // appends to the first source
      "copy/b joined+a joined\r\n"     // the first join makes its target
      "copy/b joined+b joined\r\n";
  const ToolRun run = RunBat(dir.Str(), script);
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(ReadText(dir / "abc"), "AAABBC");
  EXPECT_EQ(ReadText(dir / "ab"), "AAABBC");
  EXPECT_EQ(ReadText(dir / "a2"), "AAA");
  EXPECT_EQ(ReadText(dir / "UPPER"), "AAABBC");
  EXPECT_FALSE(std::filesystem::exists(dir / "nothing"));
  EXPECT_EQ(ReadText(dir / "joined"), "AAABB");
  EXPECT_NE(run.err.find("missing"), std::string::npos) << run.err;
}

TEST(ToolsBatchRunner, DelPauseAndFailingLines) {
  TempDir dir;
  WriteText(dir / "old.su", "x");
  WriteText(dir / "w1.tmp", "x");
  WriteText(dir / "w2.TMP", "x");
  const std::string script =
      "del OLD.SU\r\n"
      "del *.tmp\r\n"
      "del gone.su\r\n"
      "pause\r\n"
      "nosuchprogram arg\r\n"
      "echo still here> after.txt\r\n";
  const ToolRun run = RunBat(dir.Str(), script);
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_FALSE(std::filesystem::exists(dir / "old.su"));
  EXPECT_FALSE(std::filesystem::exists(dir / "w1.tmp"));
  EXPECT_FALSE(std::filesystem::exists(dir / "w2.TMP"));
  EXPECT_NE(run.err.find("Could Not Find gone.su"), std::string::npos) << run.err;
  EXPECT_NE(run.err.find("'nosuchprogram' is not recognized"), std::string::npos) << run.err;
  EXPECT_EQ(ReadText(dir / "after.txt"), "still here\r\n");
}

// What is no script is named in a message: a folder (whose reading used to
// end the runner with an uncaught exception), a device without end, a name
// that is not there.
TEST(ToolsBatchRunner, NoScriptToRun) {
  TempDir dir;
  std::filesystem::create_directory(dir / "jobs.bat");
  const struct {
    const char* script;
    const char* message;
  } cases[] = {{"jobs.bat", "jobs.bat: is a folder, not a script"},
               {"/dev/zero", "/dev/zero: longer than 16 MB, not a job script"},
               {"gone.bat", "gone.bat: cannot open the script"}};
  for (const auto& c : cases) {
    const ToolRun run = RunIn(dir.Str(), "'" + Bin("vexmor-bat") + "' " + c.script);
    EXPECT_EQ(run.status, 1) << c.script;
    EXPECT_NE(run.err.find(c.message), std::string::npos) << run.err;
  }
}

TEST(ToolsBatchRunner, PipesRedirectionsAndToolNamesInAnyCase) {
  TempDir dir;
  std::vector<SuTrace> traces(3);
  for (int t = 0; t < 3; ++t) {
    traces[size_t(t)].header.assign(240, 0xAB);
    traces[size_t(t)].samples = {1.0f, 2.0f, float(t)};
  }
  WriteBytes(dir / "in.su", SuFile(traces));
  const std::string bin = std::string(VEXMOR_BIN_DIR) + "/";
  const std::string script = bin + "SEGYCLEAN.EXE <in.su >clean.su\r\n" + bin + "SegyClean < in.su | " + bin +
                             "segyclean > piped.su\r\n" + "cat in.su >> twice.su\r\n" + "cat in.su >>twice.su\r\n" +
                             bin + "SEGYCLEAN <missing.su >x.su\r\n";
  const ToolRun run = RunBat(dir.Str(), script);
  EXPECT_NE(run.status, 0);  // the last line failed
  EXPECT_NE(run.err.find("missing.su"), std::string::npos) << run.err;
  const auto clean = ReadBytes(dir / "clean.su");
  ASSERT_EQ(clean.size(), 3u * (240 + 12));
  EXPECT_EQ(clean[179], 0xAB);
  EXPECT_EQ(clean[180], 0);
  EXPECT_EQ(clean[209], 0);
  EXPECT_EQ(clean[210], 0xAB);
  EXPECT_EQ(ReadBytes(dir / "piped.su"), clean);
  EXPECT_EQ(ReadBytes(dir / "twice.su").size(), 2 * clean.size());

  // Tools named the DOS way: a backslash behind the folder, a redirection in
  // the middle of the line, or the folder of another system.
  const ToolRun dos = RunBat(dir.Str(), bin + "\\segyclean <in.su >dos1.su\r\n" + bin +
                                            "\\SEGYCLEAN.EXE <in.su >dos2.su verbose=0\r\n" +
                                            "C:\\tarvix\\bin\\SEGYCLEAN <in.su >dos3.su\r\n");
  EXPECT_EQ(dos.status, 0) << dos.err;
  for (const char* name : {"dos1.su", "dos2.su", "dos3.su"}) EXPECT_EQ(ReadBytes(dir / name), clean) << name;
}

TEST(ToolsBatchRunner, ToolsReportBrokenStreams) {
  TempDir dir;
  WriteText(dir / "garbage.su", std::string(1000, '\x7f'));
  WriteText(dir / "short.su", std::string(100, '\0'));
  const std::string bin = "'" + std::string(VEXMOR_BIN_DIR) + "/";
  ToolRun run = RunIn(dir.Str(), bin + "segyclean' < garbage.su > out.su");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("segyclean: standard input: trace 1 is cut short"), std::string::npos) << run.err;
  run = RunIn(dir.Str(), bin + "segyclean' < short.su > out.su");
  EXPECT_EQ(run.status, 1);
  run = RunIn(dir.Str(), bin + "segyclean' < /dev/null > out.su");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("no SU trace"), std::string::npos);
  run = RunIn(dir.Str(), bin + "segyhdrs' < short.su");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("ns="), std::string::npos) << run.err;
  run = RunIn(dir.Str(), bin + "segyhdrs' ns=0 dt=100 < /dev/null");
  EXPECT_EQ(run.status, 1);
  // segywrite without the reel headers, then with a cut SU stream.
  run = RunIn(dir.Str(), bin + "segywrite' tape=out.sgy < garbage.su");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("header"), std::string::npos) << run.err;
  run = RunIn(dir.Str(), bin + "segyhdrs' ns=10 dt=100 < /dev/null && " + bin + "segywrite' tape=out.sgy < garbage.su");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("cut short"), std::string::npos) << run.err;
  run = RunIn(dir.Str(), bin + "segywrite' tape=out.sgy < /dev/null");
  EXPECT_EQ(run.status, 1);
  run = RunIn(dir.Str(), bin + "segywrite' tape=/nonexistent/folder/out.sgy < short.su");
  EXPECT_EQ(run.status, 1);
  run = RunIn(dir.Str(), bin + "segyclean' notakey < short.su > out.su");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("notakey"), std::string::npos);
}

TEST(ToolsBatchRunner, BlanksInFolderNamesWithoutQuotes) {
  // The scripts join paths as they stand; a folder named "My Data" and a
  // tool folder "SU tools" still work.
  TempDir top;
  const std::string data = top / "My Data";
  const std::string tools = top / "SU tools";
  std::filesystem::create_directories(data);
  std::filesystem::create_directories(tools);
  for (const char* tool : {"segyread", "segyclean", "segyhdrs", "segywrite"}) {
    std::filesystem::create_symlink(Bin(tool), tools + "/" + tool);
  }
  std::vector<SuTrace> traces(4);
  for (int t = 0; t < 4; ++t) {
    traces[size_t(t)].header.assign(240, 0);
    PutLE32(traces[size_t(t)].header.data(), t + 1);
    PutLE16(traces[size_t(t)].header.data() + 116, 1000);
    for (int i = 0; i < 50; ++i) traces[size_t(t)].samples.push_back(float(i * 4 - 100 + t));
  }
  WriteBytes(data + "/in.su", SuFile(traces));
  const std::string script = tools + "/SEGYHDRS <" + data + "/in.su ns= 50 dt= 1000 bfile=binary hfile=header\r\n" +
                             "copy /b " + data + "/header + " + data + "/binary + " + data + "/in.su " + data +
                             "/joined.sgy\r\n" + tools + "/SEGYWRITE <" + data + "/in.su tape=" + data +
                             "/out.sgy conv=1 trmin= 1 trmax= 4 endian=0 buffer=0 errmax=0\r\n" + tools +
                             "/SEGYREAD tape=" + data + "/out.sgy endian=0 | " + tools + "/SEGYCLEAN >" + data +
                             "/back.su\r\n";
  const ToolRun run = RunBat(data, script);
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(ReadBytes(data + "/joined.sgy").size(), 3600 + ReadBytes(data + "/in.su").size());
  // Small whole numbers pass IBM float unchanged: the SU file comes back.
  EXPECT_EQ(ReadBytes(data + "/back.su"), ReadBytes(data + "/in.su"));
}

TEST(ToolsBatchRunner, BackslashPathsInArgumentsAndRedirections) {
  // The job scripts as the panels write them, with the paths a user typed
  // the DOS way: run from work/, every file lives in ..\data.
  TempDir top;
  const std::string work = top / "work";
  const std::string data = top / "data";
  std::filesystem::create_directories(work);
  std::filesystem::create_directories(data);
  std::vector<SuTrace> traces(3);
  for (int t = 0; t < 3; ++t) {
    traces[size_t(t)].header.assign(240, 0);
    PutLE32(traces[size_t(t)].header.data(), t + 1);
    PutLE16(traces[size_t(t)].header.data() + 116, 1000);
    for (int i = 0; i < 20; ++i) traces[size_t(t)].samples.push_back(float(i - 10 + t));
  }
  const std::vector<uint8_t> su = SuFile(traces);
  WriteBytes(data + "/in.su", su);
  // A name that really holds a backslash is taken as it is spelled.
  WriteText(work + "/odd\\name.txt", "odd");
  const std::string script =
      "C:\\tarvix\\bin\\SEGYHDRS <..\\data\\in.su ns= 20 dt= 1000 bfile=binary hfile=header\r\n"
      "copy /b header + binary + ..\\data\\in.su ..\\data\\joined.sgy\r\n"
      "C:\\tarvix\\bin\\SEGYWRITE <..\\data\\in.su tape=..\\data\\out.sgy conv=1 trmin= 1 trmax= 3 endian=0\r\n"
      "C:\\tarvix\\bin\\SEGYREAD tape=..\\data\\out.sgy endian=0 | C:\\tarvix\\bin\\SEGYCLEAN >..\\data\\back.su\r\n"
      "C:\\tarvix\\bin\\SEGYCLEAN < ..\\data\\in.su >> ..\\data\\twice.su\r\n"
      "C:\\tarvix\\bin\\SEGYCLEAN <..\\data\\in.su >>..\\data\\twice.su 2>..\\data\\err.txt\r\n"
      "copy ..\\data\\in.su ..\\data\\gone.su\r\n"
      "del ..\\data\\gone.su\r\n"
      "echo Fin> ..\\data\\Fin.tmp\r\n"
      "copy odd\\name.txt kept.txt\r\n";
  const ToolRun run = RunBat(work, script);
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(ReadBytes(data + "/joined.sgy").size(), 3600 + su.size());
  // Small whole numbers pass IBM float unchanged: the SU file comes back.
  EXPECT_EQ(ReadBytes(data + "/back.su"), su);
  EXPECT_EQ(ReadBytes(data + "/twice.su").size(), 2 * su.size());
  EXPECT_TRUE(std::filesystem::exists(data + "/err.txt"));
  EXPECT_FALSE(std::filesystem::exists(data + "/gone.su"));
  EXPECT_EQ(ReadText(data + "/Fin.tmp"), "Fin\r\n");
  EXPECT_EQ(ReadText(work + "/kept.txt"), "odd");
  // Nothing was made under a name with a backslash in it.
  for (const auto& entry : std::filesystem::directory_iterator(work)) {
    const std::string name = entry.path().filename().string();
    EXPECT_TRUE(name.find('\\') == std::string::npos || name == "odd\\name.txt") << name;
  }
}

TEST(ToolsShellWindow, TerminalOnlyWhenAskedAndThere) {
  TempDir dir;
  // A stand-in terminal that runs what follows -e.
  const std::string terminal = dir / "term";
  WriteText(terminal, "#!/bin/sh\nshift\nexec \"$@\"\n");
  chmod(terminal.c_str(), 0755);
  WriteText(dir / "job.bat", "copy a b\r\n");
  WriteText(dir / "a", "data");
  const std::string folder = VEXMOR_BIN_DIR;

  const ShellCommand closing = ParseShellCommand("command.com /c " + dir / "job.bat", folder);
  const ShellCommand staying = ParseShellCommand(dir / "job.bat", folder);
  {
    EnvVar display("DISPLAY", nullptr);
    EnvVar wayland("WAYLAND_DISPLAY", nullptr);
    EXPECT_EQ(FindTerminal(), "");
    EXPECT_EQ(JobCommand(staying, 1), staying.argv);  // hidden: no desktop terminal
  }
  EnvVar display("DISPLAY", ":99");
  {
    EnvVar none("VEXMOR_TERMINAL", "none");
    EXPECT_EQ(FindTerminal(), "");
    EnvVar chosen("VEXMOR_TERMINAL", terminal.c_str());
    EnvVar offscreen("QT_QPA_PLATFORM", "offscreen");
    EXPECT_EQ(FindTerminal(), "");  // nobody would see the window
  }
  EnvVar onScreen("QT_QPA_PLATFORM", "xcb");
  EnvVar chosen("VEXMOR_TERMINAL", terminal.c_str());
  EXPECT_EQ(FindTerminal(), terminal);
  EXPECT_EQ(JobCommand(staying, 0), staying.argv);  // style 0 is hidden
  EXPECT_EQ(JobCommand(closing, 1),
            (std::vector<std::string>{terminal, "-e", folder + "/vexmor-bat", "--close", dir / "job.bat"}));
  EXPECT_EQ(JobCommand(staying, 2),
            (std::vector<std::string>{terminal, "-e", folder + "/vexmor-bat", "--wait", dir / "job.bat"}));
  const ShellCommand program = ParseShellCommand(folder + "/segyread", folder);
  EXPECT_EQ(JobCommand(program, 1), program.argv);  // only scripts get a window

  // The window that stays waits for a key only on a terminal: here it ends.
  KeepCurrentFolder keep;
  std::filesystem::current_path(dir.Path());
  ASSERT_NE(StartJob(JobCommand(staying, 1)), 0);
  WaitForJobs();
  EXPECT_EQ(ReadText(dir / "b"), "data");
  EXPECT_EQ(StartJob({dir / "not-there"}), 0);
  // A job script that isn't there: nothing could be started, task 0.
  const ShellCommand missing = ParseShellCommand("command.com /c " + dir / "gone.bat", folder);
  EXPECT_TRUE(missing.argv.empty());
  EXPECT_EQ(StartJob(JobCommand(missing, 1)), 0);
}

}  // namespace
}  // namespace vexmor::test
