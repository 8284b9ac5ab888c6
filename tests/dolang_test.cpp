// The Dolang panel through panel scripts: the selection of channel files,
// the info file read by position, the missing rate, the date words of the
// first channel file, 24 channels x 2 records checked word by word, and the
// SEG-Y shaped copy made through the batch runner.
#include <gtest/gtest.h>

#include <ctime>
#include <filesystem>
#include <sstream>
#include <utime.h>

#include "list_importer_test_util.h"
#include "platform/jobs.h"

namespace vexmor {
namespace {

using test::Q;
using test::RunPanelScript;
using test::SuOutput;
using test::TempDir;

std::string Opening() { return "open MainPanel\nclick Option6\nuse DOLANG\n"; }

std::string ChannelName(int r, int c) { return "SHOT" + std::to_string(r) + ".A" + (c < 10 ? "0" : "") + std::to_string(c); }

// The eight samples of channel c of record r: r c .25 and so on.
double Value(int r, int c, int j) { return r * 1000 + c * 10 + j + 0.25; }

// 15 March 2024, 10:42, local time.
std::time_t KnownTime() {
  std::tm when{};
  when.tm_year = 124;
  when.tm_mon = 2;
  when.tm_mday = 15;
  when.tm_hour = 10;
  when.tm_min = 42;
  when.tm_isdst = -1;
  return std::mktime(&when);
}

// 2 records of 24 channel files, 8 samples each, and the info file: 24
// channels, 2 records, 4 ms of 8 samples, so 500 us.
std::string WriteShot(const TempDir& dir) {
  std::string answer = dir.Str();
  for (int r = 1; r <= 2; ++r) {
    for (int c = 1; c <= 24; ++c) {
      std::ostringstream text;
      for (int j = 0; j < 8; ++j) text << Value(r, c, j) << (j == 3 ? "\r\n" : j == 7 ? "\r\n" : ",");
      test::WriteText(dir / ChannelName(r, c), text.str());
      answer += " " + ChannelName(r, c);
    }
  }
  const utimbuf times{KnownTime(), KnownTime()};
  utime((dir / ChannelName(1, 1)).c_str(), &times);
  test::WriteText(dir / "SHOT1.ADT", "\"SHOT\",\"15-03-24\",\"10:42\",\"DOLANG\",24,2\r\n\"FIXED\",4,8,0,0,50\r\n"
                                     "0,250,0,1,0,0\r\n");
  return answer + " SHOT1.ADT";
}

TEST(DolangSelection, ChannelFilesInLowerCaseAndTheInfoFile) {
  TempDir dir;
  const std::string answer = WriteShot(dir);
  const std::string out = RunPanelScript(Opening() + "answer dialog " + Q(dir.Str() + " SHOT1.A01 SHOT1.A02 SHOT1.ADT") +
                                         "\nanswer dialog " + Q(dir / "SHOT1.ADT") +
                                         "\nclick Command6\nshow List1\nshow Text2\nshow Text3\nshow Text4\n"
                                         "show Text5\nshow Text6\nshow Text7\nshow Text8\nshow state.InputFile\n");
  EXPECT_EQ(out, "opened MainPanel\nopened DOLANG\n"
                 "dialog \"DOLANG file selection\" filter=\"Record |*.a*|All files|*.*|\" file=\"*.*\" folder=\"\" "
                 "multi=1 save=0 -> " + Q(dir.Str() + " SHOT1.A01 SHOT1.A02 SHOT1.ADT") + "\n"
                 "dialog \"DOLANG Info File selection\" filter=\"Info files|*.adt|All files|*.*|\" file=\"*.adt\" "
                 "folder=\"\" multi=0 save=0 -> " + Q(dir / "SHOT1.ADT") + "\n"
                 "List1.count = 2\nList1[0] = " + Q(dir / "shot1.a01") + "\nList1[1] = " + Q(dir / "shot1.a02") +
                 "\nText2 = \"24\"\nText3 = \"2\"\nText4 = \"500\"\nText5 = " + Q(dir / "SHOT1.SU") +
                 "\nText6 = \"8\"\nText7 = \"4\"\nText8 = " + Q(dir / "SHOT1.ADT") + "\nstate.InputFile = " +
                 Q(dir / "shot1.a01") + "\n");
  // A one-file answer adds nothing; 2048 ms of 1024 samples is 2000 us.
  test::WriteText(dir / "LONG.ADT", "a,b,c,d,12,1,e,2048,1024,0,0,0,0,0,0,0,0,0\r\n");
  const std::string one = RunPanelScript(Opening() + "answer dialog " + Q(dir / "SHOT1.A01") + "\nanswer dialog " +
                                         Q(dir / "LONG.ADT") + "\nclick Command6\nshow List1\nshow Text4\nshow Text2\n");
  EXPECT_NE(one.find("List1.count = 0\nText4 = \"2000\"\nText2 = \"12\"\n"), std::string::npos) << one;
}

TEST(DolangConversion, TwentyFourChannelsTimesTwoRecords) {
  TempDir dir;
  const std::string answer = WriteShot(dir);
  const std::string out = RunPanelScript(Opening() + "answer dialog " + Q(answer) + "\nanswer dialog " +
                                         Q(dir / "SHOT1.ADT") + "\nclick Command6\nset Text5 " + Q(dir / "OUT.SU") +
                                         "\nclick Command1\nshow Label8\nshow ProgressBar1\n");
  EXPECT_NE(out.find("message \"OK Conversion done\" buttons=64 title=\"Norvane File converter\" -> 1\n"
                     "Label8 = \"Converting " + dir.Str() + "/shot2.a24\"\nProgressBar1 min=1 max=48 value=48 visible=1\n"),
            std::string::npos)
      << out;
  const SuOutput su(dir / "OUT.SU", 8);
  ASSERT_EQ(su.Size(), 48u * (240 + 32));
  // The date of the first channel file: 24, (3 - 1) x 30 + 15 = 75, 10:42.
  for (int r = 1; r <= 2; ++r) {
    for (int c = 1; c <= 24; ++c) {
      const size_t i = static_cast<size_t>((r - 1) * 24 + c - 1);
      test::ExpectHeader(su, i, {{"fldr", r}, {"tracf", c}, {"trid", 1}, {"ns", 8}, {"dt", 500}, {"year", 24},
                                 {"day", 75}, {"hour", 10}, {"minute", 42}});
      std::vector<double> expected;
      for (int j = 0; j < 8; ++j) expected.push_back(Value(r, c, j));
      test::ExpectSamples(su, i, expected);
    }
  }
  EXPECT_EQ(su.Word(24, "fldr"), 2);
  EXPECT_EQ(su.Word(24, "tracf"), 1);
}

TEST(DolangConversion, MissingRateShortFilesAndTracesPastTheList) {
  TempDir dir;
  std::string out = RunPanelScript(Opening() + "click Command1\n");
  EXPECT_EQ(out.substr(out.find("message")), "message \"Sample rate missing, you must read the ADT file\" buttons=16 "
                                             "title=\"Norvane File converter\" -> 1\n");
  out = RunPanelScript(Opening() + "set Text8 " + Q(dir / "NONE.ADT") + "\ndblclick Text8\n");
  EXPECT_NE(out.find("message \"does not exist\" buttons=16 title=\"Norvane File converter\""), std::string::npos);
  // Two files for 3 channels x 1 record, the second holding 3 of its 8
  // values: its tail is 0; the third trace has no file and is not written.
  test::WriteText(dir / "S.A01", "1,2,3,4,5,6,7,8,9\r\n");
  test::WriteText(dir / "S.A02", "-1.5\r\n2e3,abc\r\n");
  out = RunPanelScript(Opening() + "answer dialog " + Q(dir.Str() + " S.A01 S.A02") + "\nclick Command6\n"
                       "set Text2 3\nset Text3 1\nset Text4 250\nset Text6 8\nset Text5 " + Q(dir / "OUT.SU") +
                       "\nclick Command1\n");
  EXPECT_NE(out.find("message \"The list holds 2 channel files for 3 traces: traces 3 to 3 are not written\" "
                     "buttons=48 title=\"Norvane File converter\" -> 1\nmessage \"OK Conversion done\""),
            std::string::npos)
      << out;
  const SuOutput su(dir / "OUT.SU", 8);
  ASSERT_EQ(su.Records(), 2u);
  test::ExpectSamples(su, 0, std::vector<double>{1, 2, 3, 4, 5, 6, 7, 8});
  test::ExpectSamples(su, 1, std::vector<double>{-1.5, 2000, 0, 0, 0, 0, 0, 0});
  // Past the 16-bit record size.
  out = RunPanelScript(Opening() + "set Text4 250\nset Text6 8132\nclick Command1\n");
  EXPECT_NE(out.find("message \"Samples per trace must be 1 to 8131, not 8132\" buttons=16"), std::string::npos);
}

TEST(DolangPanel, MakeSegyPutsAZeroReelHeaderAheadOfACopy) {
  TempDir dir;
  const char* saved = std::getenv("VEXMOR_WORKDIR");
  const std::string keep = saved ? saved : "";
  setenv("VEXMOR_WORKDIR", (dir / "work").c_str(), 1);
  std::vector<uint8_t> su(240 + 16);
  for (size_t i = 0; i < su.size(); ++i) su[i] = static_cast<uint8_t>(i * 3 + 1);
  test::WriteBytes(dir / "LINE.SU", su);
  {
    test::KeepCurrentFolder folder;
    HeadlessPlatform platform;
    platform.SetProgramFolder(VEXMOR_BIN_DIR);
    std::ostringstream out, err;
    RunScriptHeadless(Opening() + "set Text5 " + Q(dir / "LINE.SU") + "\nclick Command7\nshow state.FolderOf\n"
                      "set Text5 " + Q(dir / "NONE.SU") + "\nclick Command7\n",
                      platform, out, err);
    WaitForJobs();
    EXPECT_NE(out.str().find((dir / "work/sgy.bat") + "\" style=0 -> "), std::string::npos) << out.str();
    EXPECT_NE(out.str().find("message \"SGY conversion OK " + (dir / "LINE.sgy") + "\" buttons=0 title=\"\" -> 1\n"
                             "state.FolderOf = " + Q(dir.Str() + "/") + "\n"),
              std::string::npos)
        << out.str();
    EXPECT_NE(out.str().find("message \"SGY conversion error: " + (dir / "NONE.SU") + " does not exist, convert first\""),
              std::string::npos);
  }
  if (saved) setenv("VEXMOR_WORKDIR", keep.c_str(), 1); else unsetenv("VEXMOR_WORKDIR");
  EXPECT_EQ(test::ReadText(dir / "work/sgy.bat"),
            "Copy/b " + (dir / "work/header2.tmp") + "+" + (dir / "LINE.SU") + " " + (dir / "LINE.sgy") + "\r\n");
  std::vector<uint8_t> expected(3600, 0);
  expected.insert(expected.end(), su.begin(), su.end());
  EXPECT_EQ(test::ReadBytes(dir / "LINE.sgy"), expected);
}

TEST(DolangPanel, HelpExitAndBrokenFiles) {
  std::string out = RunPanelScript(Opening() + "click Command4\nclick Command2\n");
  EXPECT_NE(out.find("message \"How to convert DOLANG files \\r\\nDOLANG files a quite complicated, one ASCII file "
                     "per channel\\r\\n"),
            std::string::npos)
      << out;
  EXPECT_NE(out.find("4.- Display the result to check the conversion\" buttons=64 title=\"Norvane File converter\" -> 1\n"
                     "closed DOLANG\n"),
            std::string::npos);
  TempDir dir;
  test::WriteBytes(dir / "BIN.A01", {0, 1, 2, 0xFF, ',', '\n', 0x80});
  test::WriteText(dir / "HUGE.ADT", "1,2,3,4,99999,-7,x,1e30,0,,,,,\r\n");
  test::WriteText(dir / "EMPTY.ADT", "");
  for (const std::string adt : {"HUGE.ADT", "EMPTY.ADT", "NONE.ADT"}) {
    for (const std::string setting : {"", "set Text4 100\nset Text6 1\nset Text2 9\nset Text3 9\n",
                                      "set Text4 -5\nset Text6 -3\n", "set Text4 7\nset Text6 8131\nset Text2 0\n"}) {
      out = RunPanelScript(Opening() + "answer dialog " + Q(dir.Str() + " BIN.A01 NOPE.A02") + "\nanswer dialog " +
                           Q(dir / adt) + "\nclick Command6\nset Text5 " + Q(dir / "OUT.SU") + "\n" + setting +
                           "click Command1\n");
      test::ExpectNoEscapedFailure(out);
    }
  }
}

}  // namespace
}  // namespace vexmor
