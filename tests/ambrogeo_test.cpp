// The Ambrogeo panel through panel scripts: the probe's header lines and
// the sampling-rate prompt, rows of 24 values of which only the channels
// are kept, the date words of each file, and the zero fill that runs into
// the samples before they are written.
#include <gtest/gtest.h>

#include "list_importer_test_util.h"

namespace vexmor {
namespace {

using test::Q;
using test::RunPanelScript;
using test::SuOutput;
using test::TempDir;

std::string Opening() { return "open MainPanel\nclick Option19\nuse Ambrogeo\n"; }

// Value of channel c (from 1) at sample s (from 1) of file f.
int Value(int f, int c, int s) { return (c % 2 ? -1 : 1) * (f * 1000 + c * 10 + s); }

// 37 header lines written by hand, then `samples` rows of 24 values.
std::string Record(int f, const std::string& channels, int samples, const std::string& date, const std::string& time) {
  std::string text = "AMBROGEO\r\nL2\r\nL3\r\nL4\r\n" + date + "\r\n" + time + "\r\nL7\r\n" + channels + "\r\n" +
                     std::to_string(samples) + "\r\nL10\r\n250\r\n125\r\nL13\r\n";
  for (int c = 1; c <= 24; ++c) text += "CHANNEL " + std::to_string(c) + "\r\n";
  for (int s = 1; s <= samples; ++s) {
    for (int c = 1; c <= 24; ++c) text += std::to_string(Value(f, c, s)) + (c == 24 ? "\r\n" : ",");
  }
  return text;
}

TEST(AmbrogeoSelection, ProbeLinesAndTheProposedRate) {
  TempDir dir;
  test::WriteText(dir / "A1.DTA", Record(1, "24", 3, "", ""));
  test::WriteText(dir / "A2.DTA", Record(2, "12", 5, "", ""));
  // Two files: the header comes from the second; 12 channels propose line
  // 11. The folder's closing separator and the one joined to it make one.
  std::string out = RunPanelScript(Opening() + "answer dialog " + Q(dir.Str() + "/ A1.DTA A2.DTA") +
                                   "\nanswer prompt 333\nclick Command5\nshow Text1\nshow Text3\nshow Text4\n"
                                   "show Text6\nshow Text2\nshow state.OutputFile\n");
  EXPECT_EQ(out.substr(out.find("prompt")),
            "prompt \"Enter the sampling rate:\" title=\"Norvane File converter\" default=\"250\" -> \"333\"\n"
            "Text1 = \"12\"\nText3 = \"5\"\nText4 = \"333\"\nText6 = \"2\"\nText2 = " + Q(dir / "A1.SU") +
            "\nstate.OutputFile = " + Q(dir / "A1.SU") + "\n");
  // One 24-channel file proposes line 12; any other count proposes nothing.
  out = RunPanelScript(Opening() + "answer dialog " + Q(dir / "A1.DTA") + "\nclick Command5\nshow Text4\n");
  EXPECT_NE(out.find("default=\"125\" -> \"125\"\nText4 = \"125\"\n"), std::string::npos) << out;
  test::WriteText(dir / "A3.DTA", Record(3, "6", 2, "", ""));
  out = RunPanelScript(Opening() + "answer dialog " + Q(dir / "A3.DTA") + "\nanswer prompt \"\"\nclick Command5\n"
                       "show Text1\nshow Text4\n");
  EXPECT_NE(out.find("default=\"\" -> \"\"\nText1 = \"6\"\nText4 = \"\"\n"), std::string::npos) << out;
}

TEST(AmbrogeoConversion, TwelveChannelsOfRowsOf24AndTheDateOfEachFile) {
  TempDir dir;
  // Characters 2-4 "012", 5-6 "03", last four "   2": 12 March 2002; 09:07.
  test::WriteText(dir / "A1.DTA", Record(1, "12", 6, " 01203   2", " 09:07"));
  test::WriteText(dir / "A2.DTA", Record(2, "12", 6, " 02811  10", " 23:59"));
  const std::string out = RunPanelScript(Opening() + "answer dialog " + Q(dir.Str() + " A1.DTA A2.DTA") +
                                         "\nanswer prompt 500\nclick Command5\nset Text2 " + Q(dir / "OUT.SU") +
                                         "\nclick Command1\nshow ProgressBar1\n");
  EXPECT_NE(out.find("message \"OK, Conversion done\" buttons=0 title=\"\" -> 1\n"
                     "ProgressBar1 min=1 max=2 value=2 visible=0\n"),
            std::string::npos)
      << out;
  const SuOutput su(dir / "OUT.SU", 6);
  ASSERT_EQ(su.Size(), 24u * (240 + 24));
  for (int f = 1; f <= 2; ++f) {
    for (int c = 1; c <= 12; ++c) {
      // Channel 12 of file 2 has the index 11 + 12 = 23.
      const size_t i = static_cast<size_t>(c - 1 + 12 * (f - 1));
      test::ExpectHeader(su, i, {{"fldr", f}, {"tracf", c}, {"trid", 1}, {"nvs", 1}, {"nhs", 1}, {"duse", 1},
                                 {"ns", 6}, {"dt", 500}, {"year", f == 1 ? 2002 : 2010},
                                 {"day", f == 1 ? 3 * 30 + 12 : 11 * 30 + 28}, {"hour", f == 1 ? 9 : 23},
                                 {"minute", f == 1 ? 7 : 59}});
      std::vector<int> expected;
      for (int s = 1; s <= 6; ++s) expected.push_back(Value(f, c, s));
      test::ExpectSamples(su, i, expected);
    }
  }
}

TEST(AmbrogeoConversion, TwentyFourChannelsShortFilesAndWideValues) {
  TempDir dir;
  test::WriteText(dir / "A1.DTA", Record(1, "24", 4, " 00101  24", " 00:00"));
  // File 2: its first value is past 16 bits and keeps the cell of file 1;
  // its text ends within row 3, so the rest of the samples are 0.
  std::string text = Record(2, "24", 4, "", "");
  text.replace(text.find("-2011"), 5, "40000");
  text.resize(text.find(std::to_string(Value(2, 5, 3))));
  test::WriteText(dir / "A2.DTA", text);
  RunPanelScript(Opening() + "answer dialog " + Q(dir.Str() + " A1.DTA A2.DTA") + "\nclick Command5\nset Text3 4\n"
                 "set Text2 " + Q(dir / "OUT.SU") + "\nclick Command1\n");
  const SuOutput su(dir / "OUT.SU", 4);
  ASSERT_EQ(su.Records(), 48u);
  test::ExpectSamples(su, 23, std::vector<int>{Value(1, 24, 1), Value(1, 24, 2), Value(1, 24, 3), Value(1, 24, 4)});
  test::ExpectSamples(su, 24, std::vector<int>{Value(1, 1, 1), Value(2, 1, 2), Value(2, 1, 3), 0});
  test::ExpectSamples(su, 27, std::vector<int>{Value(2, 4, 1), Value(2, 4, 2), Value(2, 4, 3), 0});
  test::ExpectSamples(su, 28, std::vector<int>{Value(2, 5, 1), Value(2, 5, 2), 0, 0});
  // A line 5 too short for its positions gives 0: year 2000, day 0.
  EXPECT_EQ(su.Word(24, "year"), 2000);
  EXPECT_EQ(su.Word(24, "day"), 0);
  EXPECT_EQ(su.Word(0, "day"), 31);
}

TEST(AmbrogeoConversion, TheZeroFillRunsIntoTheSamplesButNotPastTheLastRecord) {
  TempDir dir;
  test::WriteText(dir / "A.DTA", Record(1, "24", 2, "", ""));
  // An output full of 0xFF: the fill from byte 180 zeroes up to byte 255,
  // and only the samples written behind it replace it.
  test::WriteBytes(dir / "OUT.SU", std::vector<uint8_t>(24 * 248, 0xFF));
  RunPanelScript(Opening() + "answer dialog " + Q(dir / "A.DTA") + "\nclick Command5\nset Text1 2\nset Text2 " +
                 Q(dir / "OUT.SU") + "\nclick Command1\n");
  const auto bytes = test::ReadBytes(dir / "OUT.SU");
  ASSERT_EQ(bytes.size(), 24u * 248);
  // Two records of 2 samples (248 bytes): record 1's fill stops at its
  // end, so record 2's header and the bytes past it are as they were.
  for (size_t b = 180; b < 240; ++b) EXPECT_EQ(bytes[b], 0) << b;
  EXPECT_EQ(GetLEFloat(bytes.data() + 240), static_cast<float>(Value(1, 1, 1)));
  EXPECT_EQ(bytes[16], 0xFF);  // ep is not written
  EXPECT_EQ(bytes[2 * 248], 0xFF);
}

TEST(AmbrogeoPanel, LimitsHelpAndBrokenFiles) {
  TempDir dir;
  test::WriteText(dir / "A.DTA", Record(1, "12", 2, "", ""));
  std::string out = RunPanelScript(Opening() + "answer dialog " + Q(dir / "A.DTA") + "\nclick Command5\n"
                                   "set Text6 120\nset Text2 " + Q(dir / "OUT.SU") + "\nclick Command1\nclick Command2\n"
                                   "click Command4\n");
  EXPECT_NE(out.find("message \"Maximum 99 records\" buttons=0 title=\"\" -> 1\n"
                     "message \"The list holds 1 files: files 2 to 99 are not converted\" buttons=48 "
                     "title=\"Norvane File converter\" -> 1\nmessage \"OK, Conversion done\""),
            std::string::npos)
      << out;
  EXPECT_NE(out.find("message \"AMBROGEO module conversion\\r\\n This module convert AMBREGEO record to SU format "
                     "\\r\\n"),
            std::string::npos);
  EXPECT_EQ(SuOutput(dir / "OUT.SU", 2).Records(), 12u);
  out = RunPanelScript(Opening() + "click Command1\n");
  EXPECT_NE(out.find("message \"Number of sample must be 1 to 32767, not 0\" buttons=16"), std::string::npos);
  test::WriteBytes(dir / "BIN.DTA", {0, 0xFF, '\r', '\n', 0x80, ',', '9', '9', '9', '9', '9', '9'});
  test::WriteText(dir / "EMPTY.DTA", "");
  for (const std::string setting : {"", "set Text1 -3\n", "set Text1 30000\nset Text3 2\n", "set Text3 40000\n",
                                    "set Text6 -1\n", "set Text3 32767\nset Text1 1\n", "set Text2 \"\"\n"}) {
    out = RunPanelScript(Opening() + "answer dialog " + Q(dir.Str() + " BIN.DTA EMPTY.DTA NONE.DTA") +
                         "\nclick Command5\nset Text3 3\nset Text6 3\nset Text2 " + Q(dir / "OUT.SU") + "\n" +
                         setting + "click Command1\n");
    test::ExpectNoEscapedFailure(out);
  }
}

}  // namespace
}  // namespace vexmor
