// The Bison 5000 panel through panel scripts: the header parser (fields by
// CR LF at even offsets, the ETX ETX marker), the gain words, and the
// conversion checked word by word and sample by sample against records
// laid out byte by byte here.
#include <gtest/gtest.h>

#include "core/binary_file.h"
#include "core/failure.h"
#include "importers/seismograph/bison_format.h"
#include "list_importer_test_util.h"

namespace vexmor {
namespace {

using test::Q;
using test::RunPanelScript;
using test::SuOutput;
using test::TempDir;

// "B5", then 17 fields each behind a CR LF, a closing CR LF and ETX ETX.
// Fields are 2 characters ("aa") but for 14 "3 " (channels), 16 "10"
// (samples) and 17 "0.25" (ms): 2 + 16 x 4 + 6 = 72, the last CR LF at 72,
// ETX ETX at 74, so the header is 76 bytes.
std::string HeaderText(const std::string& field3 = "aa") {
  std::string text = "B5";
  for (int j = 1; j <= 17; ++j) {
    text += "\r\n";
    text += j == 3 ? field3 : j == 14 ? "3 " : j == 16 ? "10" : j == 17 ? "0.25" : "aa";
  }
  return text + "\r\n\x03\x03";
}

void Le16(std::vector<uint8_t>& out, int v) {
  out.push_back(static_cast<uint8_t>(v & 0xFF));
  out.push_back(static_cast<uint8_t>((v >> 8) & 0xFF));
}

// 3 traces of W = 12 words (10 samples: 12.5 rounds to the even 12); words
// 5 and 10 are gain words. The first word of trace 1 is the file's number.
std::vector<uint8_t> Record(int file, const std::string& header = HeaderText()) {
  std::vector<uint8_t> out(header.begin(), header.end());
  const int words[3][12] = {{file, 2, 3, 4, -2, 5, 6, 7, 8, -3, 9, -10},
                            {100, -100, 7, 8, -1, 1, 2, 3, 4, 0, 5, 6},
                            {32767, -32768, 0, 0, -32768, -32768, 32767, 1, -1, 7, 0, 0}};
  for (const auto& trace : words) {
    for (int w : trace) Le16(out, w);
  }
  return out;
}

// What the words give: gain 2 only behind a gain word below -1, and 1 again
// at the start of every trace.
const std::vector<std::vector<double>> kSamples = {{0, 2, 3, 4, 10, 12, 14, 16, 18, -20},
                                                   {100, -100, 7, 8, 1, 2, 3, 4, 5, 6},
                                                   {32767, -32768, 0, 0, -65536, 65534, 2, -2, 0, 0}};

std::string Opening() { return "open MainPanel\nclick Option14\nuse Bison\n"; }

TEST(BisonSelection, HeaderFieldsSizeAndTheProbeFile) {
  TempDir dir;
  test::WriteBytes(dir / "B1.DAT", Record(1));
  // The probe is the second file; an odd CR LF inside its field 3 is no
  // line end and changes nothing.
  test::WriteBytes(dir / "B2.DAT", Record(2, HeaderText("a\r\nb")));
  const std::string out = RunPanelScript(Opening() + "answer dialog " + Q(dir.Str() + " B1.DAT B2.DAT") +
                                         "\nclick Command5\nshow Text3\nshow Text4\nshow Text5\nshow Text6\n"
                                         "show Text7\nshow Text2\nshow Label8\nshow ProgressBar1\nshow state.InputFile\n");
  const size_t size = 78 + 3 * 24;
  EXPECT_EQ(out.substr(out.find("Text3")),
            "Text3 = \"3 \"\nText4 = \"10\"\nText5 = \"250\"\nText6 = \"2\"\nText7 = \"78\"\nText2 = " +
                Q(dir / "B1.SU") + "\nLabel8 = \" " + std::to_string(size) + " bytes\"\n"
                "ProgressBar1 min=1 max=32000 value=39 visible=1\nstate.InputFile = " + Q(dir / "B2.DAT") + "\n");
  EXPECT_NE(out.find("dialog \"BISON file selection\" filter=\"Record |*.dat|All files|*.*|\" file=\"*.dat\""),
            std::string::npos);
}

TEST(BisonSelection, OddLineEndsShiftTheFieldsAndAMissingMarkerGivesTheFileSize) {
  TempDir dir;
  // Field 2 of 3 characters puts the next CR LF at an odd offset: fields 2
  // and 3 become one, and field 14 is what was written as field 15.
  std::string text = "B5";
  for (int j = 1; j <= 18; ++j) {
    text += "\r\n";
    text += j == 2 ? "abc" : j == 3 ? "d" : j == 14 ? "14" : j == 15 ? "15" : j == 17 ? "2 " : j == 18 ? "3 " : "aa";
  }
  test::WriteText(dir / "ODD.DAT", text + "\r\n\x03\x03");
  std::string out = RunPanelScript(Opening() + "answer dialog " + Q(dir / "ODD.DAT") +
                                   "\nclick Command5\nshow Text3\nshow Text4\nshow Text5\nshow Text7\n");
  EXPECT_NE(out.find("Text3 = \"15\"\nText4 = \"2 \"\nText5 = \"3000\"\nText7 = \"78\"\n"), std::string::npos) << out;
  // No marker: the header is the whole file. Fewer than 17 fields: empty
  // channels and samples, the rate unchanged.
  test::WriteText(dir / "NOETX.DAT", "B5\r\naa\r\nbb\r\n12345");
  out = RunPanelScript(Opening() + "answer dialog " + Q(dir / "NOETX.DAT") +
                       "\nclick Command5\nshow Text3\nshow Text4\nshow Text5\nshow Text7\n");
  EXPECT_NE(out.find("Text3 = \"\"\nText4 = \"\"\nText5 = \"480\"\nText7 = \"17\"\n"), std::string::npos) << out;
}

TEST(BisonFormat, LineEndsPastTheParsersReachAreNotSeen) {
  // A CR LF whose following byte is past 32767 does not count.
  std::vector<uint8_t> bytes(40000, 'x');
  for (int at : {0, 100, 32760, 32766, 33000}) {
    bytes[static_cast<size_t>(at)] = '\r';
    bytes[static_cast<size_t>(at) + 1] = '\n';
  }
  bytes[39000] = bytes[39001] = 3;
  BinaryFile file = BinaryFile::OverMemory(bytes);
  const BisonHeader header = ParseBisonHeader(file);
  EXPECT_EQ(header.lineEnds, 3);
  EXPECT_EQ(header.fields[1], std::string(98, 'x'));
  EXPECT_EQ(header.fields[2].size(), 32658u);
  EXPECT_EQ(header.headerSize, 39002);
  // W of the sample counts that fit, and those whose W holds one sample too many.
  for (int n : {1000, 1001, 1002}) EXPECT_EQ(BisonTraceWords(n) - BisonTraceWords(n) / 5, n) << n;
  EXPECT_EQ(BisonTraceWords(1000), 1250);
  EXPECT_EQ(BisonTraceWords(1003), 1254);
  EXPECT_THROW(BisonTraceWords(26214), RunTimeFailure);
}

TEST(BisonConversion, GainWordsScaleOnlyTheSamplesBehindThemAndResetEachTrace) {
  TempDir dir;
  test::WriteBytes(dir / "B1.DAT", Record(1));
  test::WriteBytes(dir / "B2.DAT", Record(2));
  const std::string out = RunPanelScript(Opening() + "answer dialog " + Q(dir.Str() + " B1.DAT B2.DAT") +
                                         "\nclick Command5\nset Text2 " + Q(dir / "OUT.SU") +
                                         "\nclick Command1\nshow ProgressBar1\n");
  EXPECT_NE(out.find("message \"OK, Conversion done\" buttons=0 title=\"\" -> 1\n"
                     "ProgressBar1 min=1 max=6 value=6 visible=0\n"),
            std::string::npos)
      << out;
  const SuOutput su(dir / "OUT.SU", 10);
  ASSERT_EQ(su.Size(), 6u * (240 + 40));
  for (int f = 1; f <= 2; ++f) {
    for (int t = 1; t <= 3; ++t) {
      const size_t i = static_cast<size_t>((f - 1) * 3 + t - 1);
      test::ExpectHeader(su, i, {{"fldr", f}, {"tracf", t}, {"trid", 1}, {"nvs", 1}, {"nhs", 1}, {"duse", 1},
                                 {"ns", 10}, {"dt", 250}});
      std::vector<double> expected = kSamples[static_cast<size_t>(t - 1)];
      if (t == 1) expected[0] = f;
      test::ExpectSamples(su, i, expected);
    }
  }
}

TEST(BisonConversion, SampleCountsWhoseTraceHoldsOneTooManyFail) {
  TempDir dir;
  test::WriteBytes(dir / "B.DAT", Record(1));
  const std::string select = Opening() + "answer dialog " + Q(dir / "B.DAT") + "\nclick Command5\nset Text2 " +
                             Q(dir / "OUT.SU") + "\n";
  // 1003 samples: W = 1254 words hold 1004 samples. The first header is
  // written, then the trace fails.
  std::string out = RunPanelScript(select + "set Text4 1003\nclick Command1\n");
  EXPECT_NE(out.find("message \"File conversion error N°  9\" buttons=0 title=\"\" -> 1\n"), std::string::npos) << out;
  EXPECT_EQ(test::ReadBytes(dir / "OUT.SU").size(), 240u);
  // W past 16 bits.
  out = RunPanelScript(select + "set Text4 30000\nclick Command1\n");
  EXPECT_NE(out.find("message \"File conversion error N°  6\""), std::string::npos) << out;
  // More files than lines: the first converts, then the missing line stops it.
  std::filesystem::remove(dir / "OUT.SU");
  out = RunPanelScript(select + "set Text6 2\nclick Command1\n");
  EXPECT_NE(out.find("message \"File conversion error N°  9\""), std::string::npos) << out;
  EXPECT_EQ(SuOutput(dir / "OUT.SU", 10).Records(), 3u);
}

TEST(BisonConversion, DefaultsShortFilesAndTheLimitOf99) {
  TempDir dir;
  // Without a selection the defaults stand: 12 traces of 1000 samples
  // (2500 bytes each) from byte 1161. The second trace starts at 3661.
  std::vector<uint8_t> bytes(1161 + 2500 + 20, 0);
  bytes[3661] = 7;
  bytes[3661 + 10] = 0xFE;  // word 6 is 254, behind the gain word 5 (0)
  bytes[3661 + 8] = 0xFE;
  bytes[3661 + 9] = 0xFF;   // word 5 is -2: gain 2 for words 6 to 9
  test::WriteBytes(dir / "D.DAT", bytes);
  const std::string out = RunPanelScript(Opening() + "set Text6 100\nset Text2 " + Q(dir / "OUT.SU") +
                                         "\nclick Command1\nshow ProgressBar1\n");
  // The list is empty: "Maximum 99 records" first, then its first line is missing.
  EXPECT_NE(out.find("message \"Maximum 99 records\" buttons=0 title=\"\" -> 1\n"
                     "message \"File conversion error N°  9\""),
            std::string::npos)
      << out;
  RunPanelScript(Opening() + "answer dialog " + Q(dir / "D.DAT") + "\nclick Command5\nset Text7 1161\nset Text4 1000\n"
                 "set Text3 12\nset Text2 " + Q(dir / "OUT2.SU") + "\nclick Command1\n");
  const SuOutput su(dir / "OUT2.SU", 1000);
  ASSERT_EQ(su.Records(), 12u);
  EXPECT_EQ(su.Sample(1, 0), 7.0f);
  EXPECT_EQ(su.Sample(1, 4), 508.0f);
  // Past the end of the file the words read as 0.
  EXPECT_EQ(su.Sample(2, 0), 0.0f);
  EXPECT_EQ(su.Sample(11, 999), 0.0f);
}

TEST(BisonPanel, HelpTextAndBrokenFiles) {
  const std::string help = RunPanelScript(Opening() + "click Command2\n");
  EXPECT_NE(help.find("message \"BISON 5000 module conversion This module convert BISON 5000 record to SU format "
                      "\\r\\n Sample rate trace number, trace number, file number are recorded \\r\\n but you must "
                      "(re)enter all geometrical data ! \\r\\n\" buttons=64 title=\"Norvane File converter\""),
            std::string::npos)
      << help;
  TempDir dir;
  test::WriteBytes(dir / "EMPTY.DAT", {});
  test::WriteBytes(dir / "ETX.DAT", {3, 3});
  test::WriteBytes(dir / "ODD.DAT", {'\r', '\n', 'x'});
  std::vector<uint8_t> garbage(5000);
  for (size_t i = 0; i < garbage.size(); ++i) garbage[i] = static_cast<uint8_t>((i * 7919) >> 3);
  test::WriteBytes(dir / "GARBAGE.DAT", garbage);
  auto cut = Record(1);
  cut.resize(90);
  test::WriteBytes(dir / "CUT.DAT", cut);
  for (const std::string name : {"EMPTY.DAT", "ETX.DAT", "ODD.DAT", "GARBAGE.DAT", "CUT.DAT", "NONE.DAT"}) {
    for (const std::string setting : {"", "set Text4 -4\n", "set Text7 -100\n", "set Text3 0\n", "set Text4 3\n",
                                      "set Text7 1e12\n", "set Text2 \"\"\n"}) {
      const std::string out = RunPanelScript(Opening() + "answer dialog " + Q(dir / name) + "\nclick Command5\n" +
                                             "set Text2 " + Q(dir / "OUT.SU") + "\n" + setting + "click Command1\n");
      test::ExpectNoEscapedFailure(out);
    }
  }
}

}  // namespace
}  // namespace vexmor
