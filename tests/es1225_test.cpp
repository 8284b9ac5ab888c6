// The ES-1225 panel through panel scripts: the selection, the traces
// counted back from the end of each file, "Wrong file length", and the
// words written without a zero fill.
#include "importers/seismograph/es1225.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>

#include "importers/seismograph/es1225_format.h"
#include "list_importer_test_util.h"

namespace vexmor {
namespace {

using test::Q;
using test::RunPanelScript;
using test::SuOutput;
using test::TempDir;

std::vector<std::vector<int16_t>> Traces(int file, int n, int s) {
  std::vector<std::vector<int16_t>> traces;
  for (int t = 1; t <= n; ++t) {
    std::vector<int16_t> trace;
    for (int j = 0; j < s; ++j) trace.push_back(static_cast<int16_t>((j % 3 ? 1 : -1) * (file * 3000 + t * 100 + j % 97)));
    traces.push_back(trace);
  }
  return traces;
}

std::string Opening() { return "open MainPanel\nclick Option4\nuse es1225\n"; }

std::string Selecting(const TempDir& dir, const std::string& names) {
  return Opening() + "answer dialog " + Q(dir.Str() + " " + names) + "\nclick Command3\n";
}

TEST(Es1225Selection, SeveralFilesAndTheFixedOutputName) {
  TempDir dir;
  const std::string out = RunPanelScript(Selecting(dir, "R1.DAT R2.DAT R3.DAT") +
                                         "show List1\nshow Text5\nshow Text2\nshow Combo1\nshow Text3\n");
  EXPECT_EQ(out, "opened MainPanel\nopened es1225\n"
                 "dialog \"ES1225 file selection\" filter=\"Record |*.dat|All files|*.*|\" file=\"*.dat\" folder=\"\" "
                 "multi=1 save=0 -> " + Q(dir.Str() + " R1.DAT R2.DAT R3.DAT") + "\n"
                 "List1.count = 3\nList1[0] = " + Q(dir / "R1.DAT") + "\nList1[1] = " + Q(dir / "R2.DAT") +
                 "\nList1[2] = " + Q(dir / "R3.DAT") + "\nText5 = \"3\"\nText2 = " + Q(dir / "es1225.su") +
                 "\nCombo1 index=-1 text=\"250 ms\"\nText3 = \" 12\" enabled=0\n");
}

TEST(Es1225Selection, OneFileIsTakenForTheFolderAndAddsNothing) {
  TempDir dir;
  const std::string out = RunPanelScript(Opening() + "answer dialog " + Q(dir / "R1.DAT") +
                                         "\nclick Command3\nshow List1\nshow Text5\nshow Text2\n"
                                         "set Text2 " + Q(dir / "OUT.SU") + "\nclick Command1\n");
  EXPECT_NE(out.find("List1.count = 0\nText5 = \"0\"\nText2 = " + Q(dir / "R1.DAT/es1225.su") + "\n"
                     "message \"Conversion done\" buttons=0 title=\"\" -> 1\nclosed es1225\n"),
            std::string::npos)
      << out;
  EXPECT_EQ(std::filesystem::file_size(dir / "OUT.SU"), 0u);
}

TEST(Es1225Selection, ARootFolderGivesADoubleSeparatorThatIsReduced) {
  const std::string out = RunPanelScript(Opening() + "answer dialog \"/ A.DAT\"\nclick Command3\nshow List1\nshow Text2\n");
  EXPECT_NE(out.find("List1[0] = \"//A.DAT\"\nText2 = \"/es1225.su\"\n"), std::string::npos) << out;
}

TEST(Es1225Conversion, ASecondSelectionIsAppendedAndTheFirstLinesConvert) {
  TempDir dir;
  for (int f = 1; f <= 3; ++f) {
    test::WriteBytes(dir / ("R" + std::to_string(f) + ".DAT"), BuildEs1225Record(Traces(f, 12, 4), 60));
  }
  const std::string out = RunPanelScript(Opening() + "answer dialog " + Q(dir.Str() + " R1.DAT") + "\nclick Command3\n" +
                                         "answer dialog " + Q(dir.Str() + " R2.DAT R3.DAT") +
                                         "\nclick Command3\nshow Text5\nshow List1\nset Text4 4\nclick Command1\n");
  EXPECT_NE(out.find("Text5 = \"2\"\nList1.count = 3\nList1[0] = " + Q(dir / "R1.DAT") + "\n"), std::string::npos)
      << out;
  // Two files from the first line of the list: R1, then R2.
  const SuOutput su(dir / "es1225.su", 4);
  ASSERT_EQ(su.Records(), 24u);
  test::ExpectSamples(su, 0, Traces(1, 12, 4)[0]);
  test::ExpectSamples(su, 23, Traces(2, 12, 4)[11]);
  EXPECT_EQ(su.Word(23, "fldr"), 2);
}

TEST(Es1225Selection, NumberFieldsTakeDigitsOnly) {
  const std::string out = RunPanelScript(Opening() + "set Text4 \"\"\nkey Text4 7\nkey Text4 a\nkey Text4 .\nkey Text4 5\n"
                                         "key Text5 \\b\nkey Text5 2\nshow Text4\nshow Text5\n");
  EXPECT_NE(out.find("beep\nbeep\nText4 = \"75\"\nText5 = \"2\"\n"), std::string::npos) << out;
}

TEST(Es1225Format, TracesCountedBackFromTheEnd) {
  // 12 channels of 1000 samples: B = 2048; the smallest file has 12 x 2048 + 49 bytes.
  const int64_t smallest = 12 * 2048 + 49;
  EXPECT_EQ(Es1225BlockSize(1000), 2048);
  EXPECT_EQ(Es1225DataStart(smallest, 12, 1000), 48);
  EXPECT_EQ(Es1225DataStart(smallest - 1, 12, 1000), 47);
  EXPECT_EQ(Es1225TraceOffset(smallest, 12, 1000, 1), 47);
  EXPECT_EQ(Es1225TraceOffset(smallest, 12, 1000, 2), 2095);
  // The last trace's samples end 50 bytes before the end of the file.
  EXPECT_EQ(Es1225TraceOffset(smallest, 12, 1000, 12) + 2000, smallest - 50);
  EXPECT_EQ(BuildEs1225Record(Traces(1, 12, 1000), 47).size(), static_cast<size_t>(smallest));
}

TEST(Es1225Conversion, TheSmallestFileWordByWordAndSampleBySample) {
  TempDir dir;
  // The samples are put at the offsets by hand: 47 for trace 1, 2095 for trace 2...
  std::vector<uint8_t> bytes(12 * 2048 + 49, 0xAB);
  const auto traces = Traces(1, 12, 1000);
  for (int t = 0; t < 12; ++t) {
    for (int j = 0; j < 1000; ++j) PutLE16(bytes.data() + 47 + 2048 * t + 2 * j, traces[static_cast<size_t>(t)][static_cast<size_t>(j)]);
  }
  test::WriteBytes(dir / "R1.DAT", bytes);
  test::WriteBytes(dir / "R2.DAT", BuildEs1225Record(Traces(2, 12, 1000), 300));
  const std::string out = RunPanelScript(Selecting(dir, "R1.DAT R2.DAT") + "choose Combo1 6\nclick Command1\n");
  EXPECT_NE(out.find("message \"Conversion done\" buttons=0 title=\"\" -> 1\nclosed es1225\n"), std::string::npos) << out;
  const SuOutput su(dir / "es1225.su", 1000);
  ASSERT_EQ(su.Size(), 12u * 2 * (240 + 4 * 1000));
  for (int f = 1; f <= 2; ++f) {
    const auto expected = Traces(f, 12, 1000);
    for (int t = 1; t <= 12; ++t) {
      const size_t i = static_cast<size_t>((f - 1) * 12 + t - 1);
      test::ExpectHeader(su, i, {{"fldr", f}, {"tracf", t}, {"trid", 1}, {"nvs", 1}, {"nhs", 1}, {"ns", 1000}, {"dt", 2000}});
      test::ExpectSamples(su, i, expected[static_cast<size_t>(t - 1)]);
    }
  }
}

TEST(Es1225Conversion, OneByteTooShortStopsAtThatFileWithTheFilesBeforeItWritten) {
  TempDir dir;
  test::WriteBytes(dir / "R1.DAT", BuildEs1225Record(Traces(1, 12, 1000), 47));
  test::WriteBytes(dir / "R2.DAT", std::vector<uint8_t>(12 * 2048 + 48, 0));
  const std::string out = RunPanelScript(Selecting(dir, "R1.DAT R2.DAT") + "click Command1\nshow Text5\n");
  EXPECT_NE(out.find("message \"Wrong file length\" buttons=16 title=\"Norvane File converter\" -> 1\nText5 = \"2\"\n"),
            std::string::npos)
      << out;
  EXPECT_EQ(out.find("closed es1225"), std::string::npos);
  const SuOutput su(dir / "es1225.su", 1000);
  ASSERT_EQ(su.Records(), 12u);
  test::ExpectSamples(su, 11, Traces(1, 12, 1000)[11]);
  EXPECT_EQ(su.Word(11, "dt"), 250);
}

TEST(Es1225Conversion, OnlyItsWordsAreWrittenOverAnOldFile) {
  TempDir dir;
  test::WriteBytes(dir / "R1.DAT", BuildEs1225Record(Traces(1, 12, 4), 100));
  test::WriteBytes(dir / "OLD.SU", std::vector<uint8_t>(5000, 0xFF));
  // Text3 is locked at 12 channels; the samples per trace can be typed.
  RunPanelScript(Selecting(dir, "R1.DAT") + "set Text4 4\nset Text2 " + Q(dir / "OLD.SU") +
                 "\nchoose Combo1 0\nclick Command1\n");
  const SuOutput su(dir / "OLD.SU", 4);
  ASSERT_EQ(su.Size(), 5000u);
  EXPECT_EQ(su.Record(12)[0], 0xFF);
  // Every word this panel does not write keeps the old bytes: -1 as integers.
  std::map<std::string, double> old;
  for (const SuWord& word : SuWords()) {
    if (word.type != WordType::Float32) old[std::string(word.name)] = -1;
  }
  for (size_t i = 0; i < 12; ++i) {
    std::map<std::string, double> words = {{"fldr", 1}, {"tracf", static_cast<double>(i + 1)}, {"cdp", 0}, {"cdpt", 0},
                                           {"trid", 1}, {"nvs", 1}, {"nhs", 1}, {"tstat", 0}, {"laga", 0},
                                           {"muts", 0}, {"mute", 0}, {"ns", 4}, {"dt", 25}};
    for (auto& [name, value] : old) words.emplace(name, value);
    for (const SuWord& word : SuWords()) {
      if (word.type == WordType::Float32) {
        EXPECT_TRUE(std::isnan(su.Word(i, word.name))) << word.name;
      }
    }
    for (const auto& [name, value] : words) EXPECT_EQ(su.Word(i, name), value) << i << " " << name;
    test::ExpectSamples(su, i, Traces(1, 12, 4)[i]);
  }
}

TEST(Es1225Conversion, AMissingFileAsksToCheckTheFolder) {
  TempDir dir;
  test::WriteBytes(dir / "R1.DAT", BuildEs1225Record(Traces(1, 12, 1000), 47));
  const std::string out = RunPanelScript(Selecting(dir, "R1.DAT R2.DAT") + "click Command1\n");
  EXPECT_NE(out.find("message \"File conversion error N°  53 Check if all files are in the folder !\" buttons=0 "
                     "title=\"\" -> 1\n"),
            std::string::npos)
      << out;
  EXPECT_EQ(SuOutput(dir / "es1225.su", 1000).Records(), 12u);
}

TEST(Es1225Panel, HelpText) {
  const std::string out = RunPanelScript(Opening() + "click Command2\n");
  EXPECT_NE(out.find("message \"ES-1225 to SU format conversionThis module will convert ES-1225 (SEG-1) 12 channels "
                     "and 1000 samples records  \\r\\nto SU format. \\r\\n\\r\\n 1- Select all the files of your line"
                     "\\r\\n 2- Select the record length \\r\\n 3- click on convert \\r\\n\\r\\nYou MUST"),
            std::string::npos)
      << out;
}

TEST(BundledSamples, Es1225RecordsConvert) {
  TempDir dir;
  const std::string folder = std::string(VEXMOR_SOURCE_DIR) + "/samples/es1225";
  RunPanelScript(Opening() + "answer dialog " + Q(folder + " REC1.DAT REC2.DAT") + "\nclick Command3\nset Text2 " +
                 Q(dir / "LINE.SU") + "\nclick Command1\n");
  const SuOutput su(dir / "LINE.SU", 1000);
  ASSERT_EQ(su.Records(), 24u);
  const auto raw = test::ReadBytes(folder + "/REC2.DAT");
  const size_t start = raw.size() - 12 * 2048 - 2;
  for (size_t j = 0; j < 1000; ++j) EXPECT_EQ(su.Sample(12, j), GetLE16(raw.data() + start + 2 * j)) << j;
}

TEST(Es1225Robustness, BrokenFilesAndOddValues) {
  TempDir dir;
  test::WriteBytes(dir / "EMPTY.DAT", {});
  test::WriteBytes(dir / "R1.DAT", BuildEs1225Record(Traces(1, 12, 1000), 47));
  const std::vector<std::string> settings = {"set Text4 0\n", "set Text4 40000\n", "set Text4 99999999999\n",
                                             "set Text5 0\n", "set Text5 99999\n", "set Text5 120\n",
                                             "set Text2 \"\"\n", "set Text4 1\n"};
  for (const std::string names : {"EMPTY.DAT R1.DAT", "R1.DAT EMPTY.DAT", "R1.DAT"}) {
    for (const std::string& setting : settings) {
      const std::string out = RunPanelScript(Selecting(dir, names) + setting + "click Command1\n");
      test::ExpectNoEscapedFailure(out);
    }
  }
}

}  // namespace
}  // namespace vexmor
