// The same panel scripts through `vexmor --script` (real windows, under Qt's
// offscreen platform) and `vexmor-cli run`: the same transcript, the same
// errors, the same output bytes.
#include <gtest/gtest.h>

#include <QImage>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <string>
#include <vector>

namespace vexmor {
namespace {

namespace fs = std::filesystem;

struct Folder {
  Folder() {
    std::string pattern = (fs::temp_directory_path() / "vexmor-fronts-XXXXXX").string();
    path = mkdtemp(pattern.data());
  }
  ~Folder() {
    std::error_code ec;
    fs::remove_all(path, ec);
  }
  std::string operator/(const std::string& name) const { return (path / name).string(); }
  fs::path path;
};

std::string ReadAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void WriteAll(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

struct FrontRun {
  int status = -1;
  std::string out, err;
};

// Runs a program on the script in the folder; "-" feeds it on standard input.
FrontRun RunFront(const Folder& dir, const std::string& program, const std::string& how,
                  const std::string& launcher = "QT_QPA_PLATFORM=offscreen ") {
  const std::string bin = VEXMOR_BIN_DIR;
  const std::string command = "cd '" + dir.path.string() + "' && " + launcher + "'" + bin + "/" + program + "' " +
                              how + " > front.out 2> front.err";
  const int rc = std::system(command.c_str());
  FrontRun r;
  r.status = WIFEXITED(rc) ? WEXITSTATUS(rc) : -1;
  r.out = ReadAll(dir / "front.out");
  r.err = ReadAll(dir / "front.err");
  return r;
}

FrontRun Cli(const Folder& dir, bool stdinScript = false) {
  return RunFront(dir, "vexmor-cli", stdinScript ? "run - < script.txt" : "run script.txt");
}
FrontRun Gui(const Folder& dir, bool stdinScript = false) {
  return RunFront(dir, "vexmor", stdinScript ? "--script - < script.txt" : "--script script.txt");
}

// Lines of the desktop's standard error that are script errors (Qt may
// add notes of its own there).
std::string ScriptErrors(const std::string& err) {
  std::string lines;
  size_t at = 0;
  while (at < err.size()) {
    size_t end = err.find('\n', at);
    if (end == std::string::npos) end = err.size();
    const std::string line = err.substr(at, end - at);
    if (line.rfind("line ", 0) == 0) lines += line + "\n";
    at = end + 1;
  }
  return lines;
}

void ExpectSameRun(const FrontRun& cli, const FrontRun& gui) {
  EXPECT_EQ(gui.status, cli.status);
  EXPECT_EQ(gui.out, cli.out);
  EXPECT_EQ(ScriptErrors(gui.err), ScriptErrors(cli.err));
}

TEST(ScriptFronts, MainPanelOptionsButtonsAndClosing) {
  Folder dir;
  WriteAll(dir / "script.txt",
           "open MainPanel\n"
           "show MainPanel.caption\n"
           "show Option21\n"
           "show Check1\n"
           "click Check1\n"
           "show Check1\n"
           "click Command3\n"
           "answer message 2\n"
           "click Command3\n"
           "click Option7\n"
           "use sisforme\n"
           "show Text3\n"
           "close sisforme\n"
           "use MainPanel\n"
           "show Option7\n"
           "click Option7\n"
           "show state.CommandPrefix\n"
           "click Command2\n");
  const FrontRun cli = Cli(dir);
  const FrontRun gui = Gui(dir);
  ExpectSameRun(cli, gui);
  EXPECT_EQ(cli.status, 0) << cli.err;
  EXPECT_NE(cli.out.find("opened sisforme\n"), std::string::npos) << cli.out;
  EXPECT_NE(cli.out.find("closed MainPanel\n"), std::string::npos) << cli.out;
  EXPECT_NE(cli.out.find("title=\"Norvane File converter\" -> 2\n"), std::string::npos) << cli.out;
}

TEST(ScriptFronts, KeyFiltersLetTheSameKeysThrough) {
  Folder dir;
  WriteAll(dir / "script.txt",
           "open es1225\n"
           "show Text3\n"
           "key Text3 7\n"
           "key Text3 a\n"
           "key Text3 \\b\n"
           "key Text3 9\n"
           "show Text3\n"
           "set Text4 12\n"
           "key Text4 x\n"
           "key Text4 5\n"
           "show Text4\n");
  const FrontRun cli = Cli(dir);
  const FrontRun gui = Gui(dir);
  ExpectSameRun(cli, gui);
  EXPECT_EQ(cli.status, 0) << cli.err;
  EXPECT_NE(cli.out.find("beep\n"), std::string::npos) << cli.out;
  EXPECT_NE(cli.out.find("Text4 = \"125\"\n"), std::string::npos) << cli.out;
}

TEST(ScriptFronts, ScriptErrorsStopAtTheSameLine) {
  Folder dir;
  WriteAll(dir / "script.txt", "open MainPanel\nclick Check1\nclick NoSuchControl\nclick Check1\nshow Check1\n");
  const FrontRun cli = Cli(dir);
  const FrontRun gui = Gui(dir, true);
  ExpectSameRun(cli, gui);
  EXPECT_EQ(cli.status, 2);
  EXPECT_EQ(ScriptErrors(gui.err), "line 3: panel MainPanel has no control NoSuchControl\n");
}

// Two records of the generic importer's layout: a file header of 100 bytes,
// then 3 traces, each a trace header of 20 bytes and 16 samples of 16 bits.
void WriteRecords(const Folder& dir) {
  for (int f = 1; f <= 2; ++f) {
    std::string bytes(100, '\x11');
    for (int t = 1; t <= 3; ++t) {
      bytes += std::string(20, '\x22');
      for (int s = 0; s < 16; ++s) {
        const int v = (f * 1000 + t * 100 + s) * (s % 2 == 0 ? 1 : -1);
        bytes += static_cast<char>(v & 0xFF);
        bytes += static_cast<char>((v >> 8) & 0xFF);
      }
    }
    WriteAll(dir / ("LINE" + std::to_string(f) + ".DAT"), bytes);
  }
}

TEST(ScriptFronts, GenericImporterConvertsTheSameBytes) {
  Folder dir;
  WriteRecords(dir);
  const std::string d = dir.path.string();
  const std::string common =
      "open MainPanel\n"
      "click Option7\n"
      "use sisforme\n"
      "answer dialog \"" + d + " LINE1.DAT LINE2.DAT\"\n"
      "click Command5\n"
      "show Grid1\n"
      "show Text6\n"
      "show Text2\n"
      "show Label8\n"
      "set Text3 3\n"
      "set Text4 16\n"
      "set Text7 100\n"
      "set Text8 20\n"
      "click Option1\n"
      "click Command6\n"
      "show Text9\n"
      "show Text7\n"
      "click Command6\n"
      "show Text9\n"
      "answer dialog \"" + d + "/OUT.SU\"\n"
      "click Command4\n"
      "show Text2\n"
      "click Command1\n"
      "show ProgressBar1\n"
      "show state.NbSamples\n"
      "click Command2\n"
      "close sisforme\n";
  WriteAll(dir / "script.txt", common);
  const FrontRun cli = Cli(dir);
  ASSERT_EQ(cli.status, 0) << cli.err;
  const std::string cliBytes = ReadAll(dir / "OUT.SU");
  fs::remove(dir.path / "OUT.SU");
  const FrontRun gui = Gui(dir);
  ExpectSameRun(cli, gui);
  const std::string guiBytes = ReadAll(dir / "OUT.SU");
  EXPECT_EQ(cliBytes.size(), 6u * (240 + 16 * 4));
  EXPECT_TRUE(guiBytes == cliBytes) << "the output files differ";
  EXPECT_NE(cli.out.find("message \"OK, Conversion done\""), std::string::npos) << cli.out;
}

TEST(ScriptFronts, OnAnXServerToo) {
  if (std::system("command -v xvfb-run > /dev/null 2>&1") != 0) GTEST_SKIP() << "no xvfb-run";
  Folder dir;
  WriteRecords(dir);
  const std::string d = dir.path.string();
  WriteAll(dir / "script.txt",
           "open MainPanel\nclick Option7\nuse sisforme\nanswer dialog \"" + d +
               " LINE1.DAT LINE2.DAT\"\nclick Command5\nset Text3 3\nset Text4 16\nset Text7 100\n"
               "set Text8 20\nclick Option1\nanswer dialog \"" + d + "/OUT.SU\"\nclick Command4\n"
               "click Command1\nclick Command2\nclose sisforme\nuse MainPanel\nclick Command2\n");
  const FrontRun cli = Cli(dir);
  const std::string cliBytes = ReadAll(dir / "OUT.SU");
  fs::remove(dir.path / "OUT.SU");
  const std::string suppressions = std::string(VEXMOR_SOURCE_DIR) + "/tests/gui/lsan.supp";
  const FrontRun gui = RunFront(dir, "vexmor", "--script script.txt",
                                "env -u QT_QPA_PLATFORM LSAN_OPTIONS=suppressions='" + suppressions + "' xvfb-run -a ");
  ExpectSameRun(cli, gui);
  EXPECT_TRUE(ReadAll(dir / "OUT.SU") == cliBytes) << "the output files differ";
}

TEST(ScriptFronts, ConversionFailureShowsTheSameMessage) {
  Folder dir;
  WriteRecords(dir);
  const std::string d = dir.path.string();
  WriteAll(dir / "script.txt",
           "open MainPanel\nclick Option7\nuse sisforme\n"
           "answer dialog \"" + d + "/LINE1.DAT\"\nclick Command5\n"
           "set Text7 -5000\nanswer dialog \"" + d + "/BAD.SU\"\nclick Command4\n"
           "click Command1\nshow ProgressBar1\n");
  const FrontRun cli = Cli(dir);
  fs::remove(dir.path / "BAD.SU");
  const FrontRun gui = Gui(dir);
  ExpectSameRun(cli, gui);
  EXPECT_NE(cli.out.find("message \"Verify your parameters...\" buttons=16"), std::string::npos) << cli.out;
}

// A SEG-Y record of 24 traces of 1024 big-endian IEEE samples, each a
// decaying sine with a trace-dependent start.
void WriteSegy(const std::string& path) {
  std::string bytes(3600, '\0');
  auto be16 = [](std::string& b, size_t at, int v) {
    b[at] = static_cast<char>((v >> 8) & 0xFF);
    b[at + 1] = static_cast<char>(v & 0xFF);
  };
  be16(bytes, 3216, 500);
  be16(bytes, 3220, 1024);
  be16(bytes, 3224, 5);
  for (int t = 0; t < 24; ++t) {
    std::string trace(240 + 4 * 1024, '\0');
    be16(trace, 114, 1024);
    be16(trace, 116, 500);
    for (int j = 0; j < 1024; ++j) {
      const float v = j < 10 * t ? 0.0f : static_cast<float>(std::sin((j - 10 * t) * 0.2) * std::exp(-j / 300.0));
      uint32_t bits;
      std::memcpy(&bits, &v, 4);
      for (int k = 0; k < 4; ++k) trace[240 + 4 * size_t(j) + size_t(k)] = static_cast<char>(bits >> (24 - 8 * k));
    }
    bytes += trace;
  }
  WriteAll(path, bytes);
}

// The task numbers of started jobs differ from run to run.
std::string WithoutTasks(std::string out) {
  std::string kept;
  size_t at = 0;
  while (at < out.size()) {
    size_t end = out.find('\n', at);
    if (end == std::string::npos) end = out.size();
    std::string line = out.substr(at, end - at);
    if (line.rfind("shell ", 0) == 0) line = line.substr(0, line.rfind("-> "));
    kept += line + "\n";
    at = end + 1;
  }
  return kept;
}

TEST(ScriptFronts, SegyTestDisplayAndReadOutAlike) {
  Folder dir;
  WriteSegy(dir / "LINE.SGY");
  WriteAll(dir / "script.txt",
           "open MainPanel\nclick Option2\nuse SEGY\nanswer dialog \"" + dir / "LINE.SGY" +
               "\"\nclick Command1\nshow Text4\nshow Text12\nshow Command2\nclick Command5\nshow SSTab1\n"
               "show Command2\nshow ecran\nmousemove ecran 75 300\nshow ecran\nset Text13 -2\nshow ecran\n"
               "choose SSTab1 2\nshow SSTab1\nclose SEGY\n");
  const std::string launcher = "VEXMOR_WORKDIR='" + dir / "work" + "' ";
  const FrontRun cli = RunFront(dir, "vexmor-cli", "run script.txt", launcher);
  const FrontRun gui = RunFront(dir, "vexmor", "--script script.txt", launcher + "QT_QPA_PLATFORM=offscreen ");
  EXPECT_EQ(gui.status, cli.status);
  EXPECT_EQ(WithoutTasks(gui.out), WithoutTasks(cli.out));
  EXPECT_NE(cli.out.find("Text4 = \"1024\"\nText12 = \"500\"\nCommand2 = \"Convert\" enabled=0\n"),
            std::string::npos) << cli.out;
  EXPECT_NE(cli.out.find("SSTab1 = 1\nCommand2 = \"Convert\"\necran.figures = "), std::string::npos) << cli.out;
  EXPECT_NE(cli.out.find("ecran.tooltip = \" 150 ms Trace= 3\"\n"), std::string::npos) << cli.out;
  EXPECT_NE(cli.out.find("SSTab1 = 2\n"), std::string::npos) << cli.out;
  EXPECT_FALSE(fs::exists(dir.path / "work" / "tmp.bat"));
}

// The bundled sample records through their importers, on both fronts.
struct Bundled {
  const char* panel;
  const char* option;   // of MainPanel
  const char* select;   // the panel's selection button
  const char* output;   // its output button
  const char* folder;   // under samples/
  const char* files;
};

void PrintTo(const Bundled& b, std::ostream* os) { *os << b.panel; }

class FrontsOnSamples : public testing::TestWithParam<Bundled> {};

TEST_P(FrontsOnSamples, SameTranscriptAndBytes) {
  const Bundled& b = GetParam();
  const fs::path samples = fs::path(VEXMOR_SOURCE_DIR) / "samples" / b.folder;
  if (!fs::is_directory(samples)) GTEST_SKIP() << samples << " is not there";
  Folder dir;
  WriteAll(dir / "script.txt", std::string("open MainPanel\nclick ") + b.option + "\nuse " + b.panel +
                                   "\nanswer dialog \"" + samples.string() + " " + b.files + "\"\nclick " +
                                   b.select + "\nanswer dialog \"" + (dir / "OUT.SU") + "\"\nclick " + b.output +
                                   "\nclick Command1\nshow state.NbSamples\nshow state.NbChannels\n");
  const FrontRun cli = Cli(dir);
  ASSERT_EQ(cli.status, 0) << cli.err;
  const std::string cliBytes = ReadAll(dir / "OUT.SU");
  fs::remove(dir.path / "OUT.SU");
  const FrontRun gui = Gui(dir);
  ExpectSameRun(cli, gui);
  EXPECT_GT(cliBytes.size(), 240u) << cli.out;
  EXPECT_TRUE(ReadAll(dir / "OUT.SU") == cliBytes) << "the output files differ";
}

INSTANTIATE_TEST_SUITE_P(
    Importers, FrontsOnSamples,
    testing::Values(Bundled{"abem", "Option5", "Command4", "Command3", "abem", "SHOT1.ABM SHOT2.ABM SHOT3.ABM"},
                    Bundled{"es1225", "Option4", "Command3", "Command4", "es1225", "REC1.DAT REC2.DAT"},
                    Bundled{"oyo", "Option10", "Command3", "Command4", "oyo", "101.ORG 102.ORG 105.ORG"},
                    Bundled{"Bison", "Option14", "Command5", "Command4", "bison", "SHOT1.DAT SHOT2.DAT SHOT3.DAT"},
                    Bundled{"pasi", "Option16", "Command5", "Command4", "pasi", "REC1.ASC REC2.ASC"}),
    [](const testing::TestParamInfo<Bundled>& info) { return std::string(info.param.panel); });

TEST(ScriptFronts, ScreenshotOfAPanelWindow) {
  Folder dir;
  const FrontRun main = RunFront(dir, "vexmor", "--screenshot MainPanel main.png");
  EXPECT_EQ(main.status, 0) << main.err;
  const QImage image(QString::fromStdString(dir / "main.png"));
  ASSERT_FALSE(image.isNull());
  EXPECT_GT(image.width(), 300);
  EXPECT_GT(image.height(), 300);

  // After a script, as the script left the window; its transcript as usual.
  // The script's file dialog makes another folder the current one; the
  // picture still goes where it was asked for.
  fs::create_directory(dir.path / "records");
  WriteAll(dir / "records/LINE1.DAT", std::string(64, '\0'));
  WriteAll(dir / "script.txt", "open MainPanel\nclick Option7\nuse sisforme\nanswer dialog \"" +
                                   (dir / "records/LINE1.DAT") + "\"\nclick Command5\nset Text4 512\n");
  const FrontRun after = RunFront(dir, "vexmor", "--screenshot sisforme sis.png script.txt");
  EXPECT_EQ(after.status, 0) << after.err;
  EXPECT_EQ(after.out.rfind("opened MainPanel\nopened sisforme\ndialog ", 0), 0u) << after.out;
  EXPECT_FALSE(QImage(QString::fromStdString(dir / "sis.png")).isNull());
  EXPECT_FALSE(fs::exists(dir / "records/sis.png"));

  const FrontRun unknown = RunFront(dir, "vexmor", "--screenshot NoSuchPanel x.png");
  EXPECT_EQ(unknown.status, 2);
  EXPECT_NE(unknown.err.find("no panel named NoSuchPanel"), std::string::npos);
}

// The panel Convert: the KGS integer sample to SU, and that SU file on to
// KGS floating, on both fronts.
TEST(ScriptFronts, ConvertGivesTheSameTranscriptAndBytes) {
  const std::string evd = (fs::path(VEXMOR_SOURCE_DIR) / "samples/kgsi/LINE1.EVD").string();
  Folder dir;
  WriteAll(dir / "script.txt", "open MainPanel\nclick Option3\nuse Convert\nanswer dialog \"" + evd +
                                   "\"\nclick Command3\nset Text2 \"" + (dir / "A.SU") +
                                   "\"\nanswer prompt 3\nclick Command2\nuse MainPanel\nclick Option11\nuse Convert\n"
                                   "set Text1 \"" + (dir / "A.SU") + "\"\nset Text2 \"" + (dir / "A.DAT") +
                                   "\"\nanswer prompt 0\nclick Command2\nshow state.NbChannels\n");
  const FrontRun cli = Cli(dir);
  ASSERT_EQ(cli.status, 0) << cli.err;
  const std::string su = ReadAll(dir / "A.SU"), kgs = ReadAll(dir / "A.DAT");
  EXPECT_EQ(su.size(), 24u * 2240);
  EXPECT_EQ(kgs.size(), su.size());
  fs::remove(dir.path / "A.SU");
  fs::remove(dir.path / "A.DAT");
  const FrontRun gui = Gui(dir);
  ExpectSameRun(cli, gui);
  EXPECT_NE(cli.out.find("message \"Conversion OK\" buttons=64 title=\"Norvane File converter\" -> 1\nclosed Convert\n"),
            std::string::npos)
      << cli.out;
  EXPECT_TRUE(ReadAll(dir / "A.SU") == su) << "the SU files differ";
  EXPECT_TRUE(ReadAll(dir / "A.DAT") == kgs) << "the KGS files differ";
}

}  // namespace
}  // namespace vexmor

namespace vexmor {
namespace {

// The SU utilities on both fronts: a join, a word read back from it, and
// the joined file's listing edited, searched and saved.
TEST(ScriptFronts, SuUtilitiesJoinReadAndEditAlike) {
  Folder dir;
  const std::string d = dir.path.string();
  const auto inputs = [&] {
    std::string trace(240 + 4 * 3, '\x11');
    trace[114] = 3;
    trace[115] = 0;
    WriteAll(dir / "a.su", trace + trace);
    WriteAll(dir / "b.su", trace);
    WriteAll(dir / "job.bat", "segyread tape=a.sgy\r\nsegyread tape=b.sgy\r\npause\r\n");
  };
  WriteAll(dir / "script.txt",
           "open MainPanel\nclick Option20\nuse Add_SU_files\n"
           "answer dialog \"" + d + " a.su b.su\"\nclick Command1\nclick Check1\nshow Text4\nshow Text5\n"
           "click Command2\nshow Text10\n"
           "use MainPanel\nclick Command4\nuse pick\nanswer dialog \"" + d + "/data_raw.su\"\nclick Command1\n"
           "show Text4\nclick Command2\nshow Text2\nshow Text3\nclick Option3\nclick Option5\nset Text2 " + "5\n"
           "click Command2\nshow Text3\n"
           "answer dialog \"" + d + "/job.bat\"\nclick Command1\nclick Command4\nuse editor\n"
           "show editor.caption\nanswer prompt segyread\nclick Find\nanswer prompt pause\nclick Find\n"
           "answer prompt nothing\nclick Find\n"
           "answer prompt \"tape=\"\nanswer prompt \"tape=/data/\"\nclick Replacement\nshow RichTextBox1\n"
           "answer dialog \"" + d + "/out.bat\"\nclick save\nclick stop\n");
  inputs();
  const FrontRun cli = Cli(dir);
  ASSERT_EQ(cli.status, 0) << cli.err;
  const std::string joined = ReadAll(dir / "data_raw.su");
  const std::string saved = ReadAll(dir / "out.bat");
  fs::remove(dir.path / "data_raw.su");
  inputs();
  const FrontRun gui = Gui(dir);
  ExpectSameRun(cli, gui);
  EXPECT_EQ(joined.size(), 3u * 252);
  EXPECT_TRUE(ReadAll(dir / "data_raw.su") == joined) << "the joined files differ";
  EXPECT_EQ(saved, "segyread tape=/data/a.sgy\r\nsegyread tape=/data/b.sgy\r\npause\r\n");
  EXPECT_EQ(ReadAll(dir / "out.bat"), saved);
  EXPECT_NE(cli.out.find("Text3 = \" 3\""), std::string::npos) << cli.out;
  EXPECT_NE(cli.out.find("beep\n"), std::string::npos) << cli.out;
}

}  // namespace
}  // namespace vexmor
