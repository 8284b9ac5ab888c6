// The ABEM Mark 3 panel through panel scripts: the list selection with its
// probe file, the header numbers, and the conversion checked word by word
// and sample by sample. Also the bundled samples and their generator.
#include "importers/seismograph/abem.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "core/binary_file.h"
#include "core/failure.h"
#include "importers/seismograph/abem_format.h"
#include "list_importer_test_util.h"
#include "panels/registry.h"

namespace vexmor {
namespace {

using test::Q;
using test::RunPanelScript;
using test::SuOutput;
using test::TempDir;

// n traces of s samples whose values tell file, trace and sample apart.
std::vector<std::vector<int16_t>> Traces(int file, int n, int s) {
  std::vector<std::vector<int16_t>> traces;
  for (int t = 1; t <= n; ++t) {
    std::vector<int16_t> trace;
    for (int j = 0; j < s; ++j) trace.push_back(static_cast<int16_t>((j % 2 ? -1 : 1) * (file * 1000 + t * 10 + j)));
    traces.push_back(trace);
  }
  return traces;
}

std::string WriteRecord(const TempDir& dir, const std::string& name, int file, const std::string& interval,
                        const std::string& channels, int n, int s) {
  AbemRecordContent record;
  record.intervalText = interval;
  record.channelsText = channels;
  record.traces = Traces(file, n, s);
  test::WriteBytes(dir / name, BuildAbemRecord(record));
  return dir / name;
}

std::string Opening() { return "open MainPanel\nclick Option5\nuse abem\n"; }

TEST(AbemSelection, ThreeFilesProposeTheFirstNameAndProbeTheSecond) {
  TempDir dir;
  WriteRecord(dir, "S1.ABM", 1, "125", "24", 24, 16);
  WriteRecord(dir, "S2.ABM", 2, "250", "6", 6, 100);
  WriteRecord(dir, "S3.ABM", 3, "500", "3", 3, 8);
  const std::string out = RunPanelScript(Opening() + "answer dialog " + Q(dir.Str() + " S1.ABM S2.ABM S3.ABM") +
                                         "\nclick Command4\nshow List1\nshow Text3\nshow Text4\nshow Text5\n"
                                         "show Text6\nshow Text2\nshow state.InputFile\n");
  EXPECT_EQ(out, "opened MainPanel\nopened abem\n"
                 "dialog \"ABEM file selection\" filter=\"Record |*.abm|All files|*.*|\" file=\"*.abm\" folder=\"\" "
                 "multi=1 save=0 -> " + Q(dir.Str() + " S1.ABM S2.ABM S3.ABM") + "\n"
                 "List1.count = 3\nList1[0] = " + Q(dir / "S1.ABM") + "\nList1[1] = " + Q(dir / "S2.ABM") +
                 "\nList1[2] = " + Q(dir / "S3.ABM") + "\n"
                 "Text3 = \"6\"\nText4 = \"100\"\nText5 = \"250\"\nText6 = \"3\"\nText2 = " + Q(dir / "S1.SU") +
                 "\nstate.InputFile = " + Q(dir / "S2.ABM") + "\n");
}

TEST(AbemSelection, OneFileIsItsOwnProbe) {
  TempDir dir;
  // 2048 + 24 x 2 x 1024 bytes with 24 channels: 1024 samples.
  const std::string path = WriteRecord(dir, "SHOT.ABM", 1, "480", "24", 24, 1024);
  const std::string out = RunPanelScript(Opening() + "answer dialog " + Q(path) +
                                         "\nclick Command4\nshow List1\nshow Text3\nshow Text4\nshow Text6\nshow Text2\n");
  EXPECT_NE(out.find("List1.count = 1\nList1[0] = " + Q(path) + "\nText3 = \"24\"\nText4 = \"1024\"\nText6 = \"1\"\n"
                     "Text2 = " + Q(dir / "SHOT.SU") + "\n"),
            std::string::npos)
      << out;
}

TEST(AbemSelection, IntervalOfZeroOrNoNumberIsTakenAs100) {
  TempDir dir;
  for (const std::string interval : {"0", "none", "   "}) {
    const std::string path = WriteRecord(dir, "Z.ABM", 1, interval, "12", 12, 10);
    const std::string out =
        RunPanelScript(Opening() + "answer dialog " + Q(path) + "\nclick Command4\nshow Text5\nshow Text4\n");
    EXPECT_NE(out.find("Text5 = \"100\"\nText4 = \"10\"\n"), std::string::npos) << interval << "\n" << out;
  }
}

AbemHeaderLines LinesOf(const std::string& text) {
  BinaryFile file = BinaryFile::OverMemory(
      std::span<const uint8_t>(reinterpret_cast<const uint8_t*>(text.data()), text.size()), "E.ABM");
  return ReadAbemHeaderLines(file);
}

TEST(AbemSelection, LineEndsOfEveryKindAndAShortHeader) {
  TempDir dir;
  for (const std::string end : {"\n", "\r", "\r\n"}) {
    std::string text;
    for (int line = 1; line <= 113; ++line) text += (line == 7 ? "333" : line == 113 ? "4" : "x") + end;
    const AbemHeaderLines lines = LinesOf(text);
    EXPECT_EQ(lines.intervalLine, "333");
    EXPECT_EQ(lines.channelsLine, "4");
  }
  // A line far longer than any header's still counts as one line, and its
  // number is read from its start.
  std::string longText;
  for (int line = 1; line <= 113; ++line) {
    longText += (line == 7 ? "333" + std::string(100000, 'x') : line == 113 ? "4" : std::string(9000, 'y')) + "\r\n";
  }
  const AbemHeaderLines longLines = LinesOf(longText);
  EXPECT_EQ(longLines.intervalLine.substr(0, 4), "333x");
  EXPECT_EQ(longLines.channelsLine, "4");
  // 112 lines: the reading fails and the values keep what they had.
  std::string text;
  for (int line = 1; line <= 112; ++line) text += (line == 7 ? "333\r\n" : "5\r\n");
  EXPECT_THROW(LinesOf(text), RunTimeFailure);
  const std::string good = WriteRecord(dir, "G.ABM", 1, "200", "8", 8, 4);
  const std::string out = RunPanelScript(Opening() + "answer dialog " + Q(good) + "\nclick Command4\n" +
                                         "answer dialog " + Q(dir / "SHORT.ABM") + "\nclick Command4\n" +
                                         "show Text3\nshow Text5\n");
  EXPECT_NE(out.find("Text3 = \"8\"\nText5 = \"200\"\n"), std::string::npos) << out;
}

TEST(AbemSelection, TheTableHolds100EntriesAndAOneFileAnswerIsItsOwnProbe) {
  TempDir dir;
  std::string answer = dir.Str();
  for (int k = 1; k <= 120; ++k) answer += " F" + std::to_string(k) + ".ABM";
  WriteRecord(dir, "F2.ABM", 2, "300", "4", 4, 10);
  WriteRecord(dir, "ONE.ABM", 1, "700", "2", 2, 5);
  const std::string out = RunPanelScript(Opening() + "answer dialog " + Q(answer) + "\nclick Command4\nshow Text6\n"
                                         "show Text5\nanswer dialog " + Q(dir / "ONE.ABM") +
                                         "\nclick Command4\nshow Text6\nshow Text5\nshow Text4\nshow List1\n");
  // Entry 0 is the folder: 99 names are kept; the second line of the list is probed.
  EXPECT_NE(out.find("Text6 = \"99\"\nText5 = \"300\"\n"), std::string::npos) << out.substr(0, 400);
  EXPECT_NE(out.find("Text6 = \"1\"\nText5 = \"700\"\nText4 = \"5\"\nList1.count = 100\n"), std::string::npos);
  EXPECT_NE(out.find("List1[98] = " + Q(dir / "F99.ABM") + "\nList1[99] = " + Q(dir / "ONE.ABM") + "\n"),
            std::string::npos);
}

TEST(AbemFormat, DateAndTimeOfTheFixedFields) {
  AbemRecordContent record;
  record.date = "970309";
  record.time = "08:05";
  const auto bytes = BuildAbemRecord(record);
  const AbemDateTime when = DecodeAbemDateTime(std::vector<uint8_t>(bytes.begin(), bytes.begin() + kAbemFixedBytes));
  EXPECT_EQ(when.year, 1997);
  EXPECT_EQ(when.month, 3);
  EXPECT_EQ(when.day, 9);
  EXPECT_EQ(when.hour, 8);
  EXPECT_EQ(when.minute, 5);
  // Bytes 23 to 37 are where the fields stand.
  EXPECT_EQ(std::string(bytes.begin() + 23, bytes.begin() + 38), "970309  08:05  ");
  // A file too short for the fields reads blanks: zeros, and 1900.
  EXPECT_EQ(DecodeAbemDateTime({}).year, 1900);
}

TEST(AbemSelection, TheProbeFilesDateIsDecoded) {
  TempDir dir;
  AbemRecordContent record;
  record.date = "960101";
  record.time = "23:59";
  record.traces = Traces(1, 12, 4);
  test::WriteBytes(dir / "A.ABM", BuildAbemRecord(record));
  record.date = "990720";
  record.time = "10:41";
  test::WriteBytes(dir / "B.ABM", BuildAbemRecord(record));
  HeadlessPlatform platform;
  SharedState state;
  Session session(platform, state);
  test::KeepCurrentFolder keep;
  session.Open("abem");
  platform.Answers().QueueDialog(dir.Str() + " A.ABM B.ABM");
  session.Find("abem")->Raise("Command4", "Click");
  const AbemDateTime when = session.Panel<Abem>("abem")->RecordDate;
  EXPECT_EQ(when.year, 1999);
  EXPECT_EQ(when.month, 7);
  EXPECT_EQ(when.day, 20);
  EXPECT_EQ(when.hour, 10);
  EXPECT_EQ(when.minute, 41);
}

TEST(AbemConversion, WordByWordAndSampleBySample) {
  TempDir dir;
  WriteRecord(dir, "S1.ABM", 1, "250", "3", 3, 5);
  WriteRecord(dir, "S2.ABM", 2, "250", "3", 3, 5);
  const std::string out = RunPanelScript(Opening() + "answer dialog " + Q(dir.Str() + " S1.ABM S2.ABM") +
                                         "\nclick Command4\nset Text2 " + Q(dir / "OUT.SU") +
                                         "\nclick Command1\nshow state.NbSamples\n");
  EXPECT_EQ(out.substr(out.find("message")),
            "message \"OK, Conversion done\" buttons=0 title=\"\" -> 1\nclosed abem\nstate.NbSamples = 5\n");
  const SuOutput su(dir / "OUT.SU", 5);
  ASSERT_EQ(su.Size(), 6u * (240 + 20));
  for (int f = 1; f <= 2; ++f) {
    const auto traces = Traces(f, 3, 5);
    for (int t = 1; t <= 3; ++t) {
      const size_t i = static_cast<size_t>((f - 1) * 3 + t - 1);
      test::ExpectHeader(su, i, {{"fldr", f}, {"tracf", t}, {"trid", 1}, {"nvs", 1}, {"nhs", 1}, {"ns", 5}, {"dt", 250}});
      test::ExpectSamples(su, i, traces[static_cast<size_t>(t - 1)]);
    }
  }
}

TEST(AbemConversion, DuseAndEpKeepWhatTheOutputHeldAndItsTailStays) {
  TempDir dir;
  const std::string path = WriteRecord(dir, "S1.ABM", 1, "100", "2", 2, 3);
  test::WriteBytes(dir / "OLD.SU", std::vector<uint8_t>(5000, 0xFF));
  RunPanelScript(Opening() + "answer dialog " + Q(path) + "\nclick Command4\nset Text2 " + Q(dir / "OLD.SU") +
                 "\nclick Command1\n");
  const SuOutput su(dir / "OLD.SU", 3);
  ASSERT_EQ(su.Size(), 5000u);
  for (size_t i = 0; i < 2; ++i) {
    test::ExpectHeader(su, i,
                       {{"fldr", 1}, {"tracf", static_cast<double>(i + 1)}, {"trid", 1}, {"nvs", 1}, {"nhs", 1},
                        {"ns", 3}, {"dt", 100}, {"duse", -1}, {"ep", -1}});
    test::ExpectSamples(su, i, Traces(1, 2, 3)[i]);
  }
  EXPECT_EQ(su.Record(2)[0], 0xFF);
}

TEST(AbemConversion, ASecondSelectionIsAppendedAndTheOldFilesComeFirst) {
  TempDir dir;
  WriteRecord(dir, "A1.ABM", 1, "250", "2", 2, 4);
  WriteRecord(dir, "A2.ABM", 2, "333", "2", 2, 4);
  WriteRecord(dir, "B1.ABM", 3, "444", "2", 2, 4);
  WriteRecord(dir, "B2.ABM", 4, "555", "2", 2, 4);
  const std::string out = RunPanelScript(
      Opening() + "answer dialog " + Q(dir.Str() + " A1.ABM A2.ABM") + "\nclick Command4\n" +
      "answer dialog " + Q(dir.Str() + " B1.ABM B2.ABM") + "\nclick Command4\nshow Text6\n"
      "show Text2\nshow Text5\nshow state.InputFile\nshow List1\nset Text2 " + Q(dir / "OUT.SU") +
      "\nclick Command1\n");
  // The probe is the second line of the list as it now stands: still A2.
  EXPECT_NE(out.find("Text6 = \"2\"\nText2 = " + Q(dir / "B1.SU") + "\nText5 = \"333\"\nstate.InputFile = " +
                     Q(dir / "A2.ABM") + "\nList1.count = 4\n"),
            std::string::npos)
      << out;
  const SuOutput su(dir / "OUT.SU", 4);
  ASSERT_EQ(su.Records(), 4u);
  // The first two lines of the list: the old files, A1 and A2.
  test::ExpectSamples(su, 0, Traces(1, 2, 4)[0]);
  test::ExpectSamples(su, 3, Traces(2, 2, 4)[1]);
  EXPECT_EQ(su.Word(3, "fldr"), 2);
}

TEST(AbemConversion, FewerChannelsKeepTheReadPositions) {
  TempDir dir;
  const std::string path = WriteRecord(dir, "S.ABM", 5, "250", "4", 4, 6);
  RunPanelScript(Opening() + "answer dialog " + Q(path) + "\nclick Command4\nset Text3 2\nset Text2 " +
                 Q(dir / "OUT.SU") + "\nclick Command1\n");
  const SuOutput su(dir / "OUT.SU", 6);
  ASSERT_EQ(su.Records(), 2u);
  test::ExpectSamples(su, 1, Traces(5, 4, 6)[1]);
}

TEST(AbemConversion, FailuresAreReportedOnceAndThePanelStaysOpen) {
  TempDir dir;
  const std::string path = WriteRecord(dir, "S.ABM", 1, "250", "2", 2, 4);
  const std::string select = Opening() + "answer dialog " + Q(path) + "\nclick Command4\nset Text2 " +
                             Q(dir / "OUT.SU") + "\n";
  // More samples than the 16-bit count allows.
  std::string out = RunPanelScript(select + "set Text4 40000\nclick Command1\nshow Text4\n");
  EXPECT_NE(out.find("message \"File conversion error N°  6\" buttons=0 title=\"\" -> 1\nText4 = \"40000\"\n"),
            std::string::npos)
      << out;
  // More files than the list has lines: the first is converted, then the
  // missing line stops it.
  out = RunPanelScript(select + "set Text6 2\nclick Command1\nshow Text6\n");
  EXPECT_NE(out.find("message \"File conversion error N°  9\" buttons=0 title=\"\" -> 1\nText6 = \"2\"\n"),
            std::string::npos)
      << out;
  EXPECT_EQ(SuOutput(dir / "OUT.SU", 4).Records(), 2u);
  // A file gone since the selection.
  std::filesystem::remove(path);
  out = RunPanelScript(select + "set Text4 4\nclick Command1\n");
  EXPECT_NE(out.find("message \"File conversion error N°  53\""), std::string::npos) << out;
  EXPECT_EQ(out.find("closed abem"), std::string::npos);
}

TEST(AbemConversion, MoreThan99FilesAreCut) {
  TempDir dir;
  const std::string path = WriteRecord(dir, "S.ABM", 1, "250", "1", 1, 2);
  std::string script = Opening();
  for (int k = 0; k < 100; ++k) script += "answer dialog " + Q(path) + "\nclick Command4\n";
  script += "set Text6 100\nset Text2 " + Q(dir / "OUT.SU") + "\nclick Command1\n";
  const std::string out = RunPanelScript(script);
  EXPECT_NE(out.find("message \"Maximum 99 records\" buttons=0 title=\"\" -> 1\n"
                     "message \"OK, Conversion done\""),
            std::string::npos);
  EXPECT_EQ(SuOutput(dir / "OUT.SU", 2).Records(), 99u);
}

TEST(AbemPanel, HelpText) {
  const std::string out = RunPanelScript(Opening() + "click Command2\n");
  EXPECT_NE(out.find("message \"ABEM Terralock Mark 3 to SU format conversionThis module will convert Terralock "
                     "Mark 3 records to SU format. \\r\\n 1- Select the first file of your line\\r\\n"),
            std::string::npos)
      << out;
  EXPECT_NE(out.find("The result will be a single file with all the selected data \\r\\n\" buttons=0 title=\"\""),
            std::string::npos);
}

// The bundled samples are what the generator writes, and they convert.
TEST(BundledSamples, TheGeneratorWritesTheCommittedFiles) {
  TempDir dir;
  const std::string command = std::string(VEXMOR_BIN_DIR) + "/samplegen " + dir.Str() + " > /dev/null";
  ASSERT_EQ(std::system(command.c_str()), 0);
  const std::filesystem::path committed = std::filesystem::path(VEXMOR_SOURCE_DIR) / "samples";
  int files = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(dir.Path())) {
    if (!entry.is_regular_file()) continue;
    const auto relative = std::filesystem::relative(entry.path(), dir.Path());
    EXPECT_EQ(test::ReadBytes(entry.path().string()), test::ReadBytes((committed / relative).string()))
        << relative;
    ++files;
  }
  EXPECT_GE(files, 31);
}

TEST(BundledSamples, AbemShotsConvert) {
  TempDir dir;
  const std::string folder = std::string(VEXMOR_SOURCE_DIR) + "/samples/abem";
  const std::string out = RunPanelScript(Opening() + "answer dialog " + Q(folder + " SHOT1.ABM SHOT2.ABM SHOT3.ABM") +
                                         "\nclick Command4\nshow Text3\nshow Text4\nshow Text5\nset Text2 " +
                                         Q(dir / "LINE.SU") + "\nclick Command1\n");
  EXPECT_NE(out.find("Text3 = \"12\"\nText4 = \"256\"\nText5 = \"250\"\n"), std::string::npos) << out;
  const SuOutput su(dir / "LINE.SU", 256);
  ASSERT_EQ(su.Records(), 36u);
  const auto raw = test::ReadBytes(folder + "/SHOT3.ABM");
  for (size_t j = 0; j < 256; ++j) {
    EXPECT_EQ(su.Sample(35, j), GetLE16(raw.data() + 2048 + 11 * 512 + 2 * j)) << j;
  }
}

TEST(AbemRobustness, BrokenFilesAndOddValues) {
  TempDir dir;
  test::WriteBytes(dir / "EMPTY.ABM", {});
  test::WriteBytes(dir / "TINY.ABM", std::vector<uint8_t>(100, 0x0D));
  WriteRecord(dir, "NEG.ABM", 1, "-250", "-5", 2, 3);
  WriteRecord(dir, "HUGE.ABM", 1, "99999999", "99999", 2, 3);
  WriteRecord(dir, "ZERO.ABM", 1, "250", "0", 2, 3);
  const std::vector<std::string> settings = {"", "set Text4 abc\n", "set Text3 -2\n", "set Text6 -1\n",
                                             "set Text6 0\n", "set Text4 32767\nset Text3 1\n", "set Text2 \"\"\n"};
  for (const std::string name : {"EMPTY.ABM", "TINY.ABM", "NEG.ABM", "HUGE.ABM", "ZERO.ABM", "NOFILE.ABM"}) {
    for (const std::string& setting : settings) {
      const std::string out = RunPanelScript(Opening() + "answer dialog " + Q(dir / name) + "\nclick Command4\n" +
                                             "set Text2 " + Q(dir / "OUT.SU") + "\n" + setting + "click Command1\n");
      test::ExpectNoEscapedFailure(out);
    }
  }
}

}  // namespace
}  // namespace vexmor
