// The OYO McSeis 170 panel through panel scripts: the text block read per
// file, the channel question, the existing-output question, Text6 x 1000
// into the sample interval, and short and long integer traces.
#include "importers/seismograph/oyo.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "core/binary_file.h"
#include "importers/seismograph/oyo_format.h"
#include "list_importer_test_util.h"

namespace vexmor {
namespace {

using test::Q;
using test::RunPanelScript;
using test::SuOutput;
using test::TempDir;

std::vector<std::vector<int32_t>> Traces(int file, int n, int s, bool wide) {
  std::vector<std::vector<int32_t>> traces;
  for (int t = 1; t <= n; ++t) {
    std::vector<int32_t> trace;
    for (int j = 0; j < s; ++j) {
      const int32_t v = file * 1000 + t * 50 + j;
      trace.push_back(wide ? (j % 2 ? -v * 1000 : v * 1000) : (j % 2 ? -v : v));
    }
    traces.push_back(trace);
  }
  return traces;
}

OyoRecordContent Record(const std::string& number, int file, int n, int s, bool wide = true) {
  OyoRecordContent record;
  record.recordNumber = number;
  record.channels = std::to_string(n);
  record.samples = std::to_string(s);
  record.interval = "0.25";
  record.delay = std::to_string(10 * file);
  record.lowCut = std::to_string(file);
  record.highCut = std::to_string(200 + file);
  record.notch = "60";
  record.sourceX = std::to_string(5000 + file);
  record.sourceY = "-12";
  record.longSamples = wide;
  record.traces = Traces(file, n, s, wide);
  return record;
}

std::string Opening() { return "open MainPanel\nclick Option10\nuse oyo\n"; }

TEST(OyoSelection, TheFirstFileProposesAndTheUserIsAsked) {
  TempDir dir;
  OyoRecordContent record = Record("7", 1, 12, 1024);
  record.interval = "0.25";
  test::WriteBytes(dir / "A.ORG", BuildOyoRecord(record));
  OyoRecordContent other = Record("8", 2, 9, 100);
  other.interval = "2";
  test::WriteBytes(dir / "C.ORG", BuildOyoRecord(other));
  const std::string out = RunPanelScript(Opening() + "answer dialog " + Q(dir.Str() + " A.ORG B.ORG") +
                                         "\nanswer prompt 10\nclick Command3\nshow List1\nshow Text5\nshow Text2\n"
                                         "show Text3\nshow Text4\nshow Text6\nshow Text1\n"
                                         "answer dialog " + Q(dir.Str() + " C.ORG") + "\nclick Command3\nshow Text5\n"
                                         "show Text4\n");
  EXPECT_EQ(out.substr(out.find("prompt")),
            "prompt \"Enter the number of channels\" title=\"Norvane File converter\" default=\"12\" -> \"10\"\n"
            "List1.count = 2\nList1[0] = " + Q(dir / "A.ORG") + "\nList1[1] = " + Q(dir / "B.ORG") + "\n"
            "Text5 = \"2\"\nText2 = " + Q(dir / "oyo.su") + "\nText3 = \"10\"\nText4 = \"1024\"\n"
            "Text6 = \"0.25 \"\nText1 = \"256\"\n"
            // A second selection comes behind the first: the first line of
            // the list, A, is still the file that proposes the numbers.
            "dialog \"OYO McSeis file selection\" filter=\"Record |*.org|All files|*.*|\" file=\"*.org\" folder=\"\" "
            "multi=1 save=0 -> " + Q(dir.Str() + " C.ORG") + "\n"
            "prompt \"Enter the number of channels\" title=\"Norvane File converter\" default=\"12\" -> \"12\"\n"
            "Text5 = \"1\"\nText4 = \"1024\"\n");
}

TEST(OyoSelection, TheQuestionIsAskedEvenWithoutAFile) {
  const std::string out = RunPanelScript(Opening() + "click Command3\nshow List1\nshow Text5\nshow Text3\n");
  EXPECT_NE(out.find("dialog \"OYO McSeis file selection\" filter=\"Record |*.org|All files|*.*|\" file=\"*.org\" "
                     "folder=\"\" multi=1 save=0 -> \"*.org\"\n"
                     "prompt \"Enter the number of channels\" title=\"Norvane File converter\" default=\" 12\" -> "
                     "\" 12\"\nList1.count = 0\nText5 = \"0\"\nText3 = \" 12\"\n"),
            std::string::npos)
      << out;
}

TEST(OyoConversion, RecordNumbers101_102_105ReachFldrWordByWord) {
  TempDir dir;
  const char* numbers[] = {"101", "102", "105"};
  for (int f = 1; f <= 3; ++f) {
    test::WriteBytes(dir / (std::string(numbers[f - 1]) + ".ORG"), BuildOyoRecord(Record(numbers[f - 1], f, 3, 6)));
  }
  const std::string out = RunPanelScript(Opening() + "answer dialog " + Q(dir.Str() + " 101.ORG 102.ORG 105.ORG") +
                                         "\nclick Command3\nclick Command1\nshow ProgressBar1\n");
  EXPECT_NE(out.find("message \"Conversion done\" buttons=0 title=\"\" -> 1\n"
                     "ProgressBar1 min=1 max=3 value=3 visible=1\n"),
            std::string::npos)
      << out;
  const SuOutput su(dir / "oyo.su", 6);
  ASSERT_EQ(su.Size(), 9u * (240 + 24));
  for (int f = 1; f <= 3; ++f) {
    for (int t = 1; t <= 3; ++t) {
      const size_t i = static_cast<size_t>((f - 1) * 3 + t - 1);
      test::ExpectHeader(su, i,
                         {{"fldr", std::stoi(numbers[f - 1])}, {"tracf", t}, {"trid", 1}, {"nvs", 1}, {"nhs", 1},
                          {"duse", 1}, {"sx", 5000 + f}, {"sy", -12}, {"delrt", 10 * f}, {"nofilf", 60},
                          {"lcf", f}, {"hcf", 200 + f}, {"ns", 6}, {"dt", 250}});
      test::ExpectSamples(su, i, Traces(f, 3, 6, true)[static_cast<size_t>(t - 1)]);
    }
  }
}

TEST(OyoConversion, ShortIntegersAndTheChannelAnswer) {
  TempDir dir;
  test::WriteBytes(dir / "A.ORG", BuildOyoRecord(Record("1", 1, 4, 5, false)));
  // The file says 4 channels; the answer 2 is what is converted.
  RunPanelScript(Opening() + "answer dialog " + Q(dir.Str() + " A.ORG") +
                 "\nanswer prompt 2\nclick Command3\nclick sinteger\nclick Command1\n");
  const SuOutput su(dir / "oyo.su", 5);
  ASSERT_EQ(su.Records(), 2u);
  // The second trace starts at 6144 + 2 x 5.
  test::ExpectSamples(su, 1, Traces(1, 4, 5, false)[1]);
}

TEST(OyoConversion, TheDefaultSampleRateOf200LeavesTheIntervalAsItWas) {
  TempDir dir;
  test::WriteBytes(dir / "A.ORG", BuildOyoRecord(Record("1", 1, 1, 3)));
  const std::string out = RunPanelScript(
      Opening() + "answer dialog " + Q(dir.Str() + " A.ORG") + "\nclick Command3\nclick Command1\n" +
      "set Text6 200\nanswer message 1\nclick Command1\nshow state.SampleInterval\n" +
      "set Text6 0.5\nanswer message 1\nclick Command1\nshow state.SampleInterval\n");
  EXPECT_NE(out.find("state.SampleInterval = 250\n"), std::string::npos) << out;
  EXPECT_NE(out.find("state.SampleInterval = 500\n"), std::string::npos) << out;
}

TEST(OyoConversion, AnExistingOutputIsKeptOnCancelAndReplacedOnOk) {
  TempDir dir;
  test::WriteBytes(dir / "A.ORG", BuildOyoRecord(Record("1", 1, 1, 3)));
  test::WriteBytes(dir / "oyo.su", std::vector<uint8_t>(5000, 0xEE));
  const std::string select = Opening() + "answer dialog " + Q(dir.Str() + " A.ORG") + "\nclick Command3\n";
  const std::string question = "message " + Q(dir / "oyo.su" + " file name already exists, this will will remplaced !") +
                               " buttons=33 title=\"Norvane File converter\" -> ";
  std::string out = RunPanelScript(select + "answer message 2\nclick Command1\n");
  EXPECT_NE(out.find(question + "2\n"), std::string::npos) << out;
  EXPECT_EQ(out.find("Conversion done"), std::string::npos);
  EXPECT_EQ(test::ReadBytes(dir / "oyo.su"), std::vector<uint8_t>(5000, 0xEE));
  out = RunPanelScript(select + "click Command1\n");
  EXPECT_NE(out.find(question + "1\nmessage \"Conversion done\""), std::string::npos) << out;
  const SuOutput su(dir / "oyo.su", 3);
  ASSERT_EQ(su.Size(), 240u + 12);
  // Bytes 224 to 239 are not written: zero in the new file.
  for (size_t at = 224; at < 240; ++at) EXPECT_EQ(su.Record(0)[at], 0) << at;
}

TEST(OyoConversion, NothingHappensWithoutASelection) {
  const std::string out = RunPanelScript(Opening() + "click Command1\n");
  EXPECT_EQ(out, "opened MainPanel\nopened oyo\n");
}

TEST(OyoConversion, AFileThatCannotBeOpenedGivesZeroValuesAndTheSamplesBefore) {
  TempDir dir;
  test::WriteBytes(dir / "A.ORG", BuildOyoRecord(Record("101", 1, 1, 3)));
  const std::string out = RunPanelScript(Opening() + "answer dialog " + Q(dir.Str() + " A.ORG GONE.ORG") +
                                         "\nclick Command3\nclick Command1\n");
  EXPECT_NE(out.find("message \"Conversion done\""), std::string::npos) << out;
  const SuOutput su(dir / "oyo.su", 3);
  ASSERT_EQ(su.Records(), 2u);
  test::ExpectHeader(su, 1, {{"tracf", 1}, {"trid", 1}, {"nvs", 1}, {"nhs", 1}, {"duse", 1}, {"ns", 3}, {"dt", 250}});
  test::ExpectSamples(su, 1, Traces(1, 1, 3, true)[0]);
}

TEST(OyoFormat, FieldsAsTheyStand) {
  TempDir dir;
  OyoRecordContent record = Record("1234", 1, 1, 1);
  record.delay = "100000";  // too large for delrt: 0
  record.sourceX = "abc";   // no number: 0
  record.further1 = "12.5";
  test::WriteBytes(dir / "A.ORG", BuildOyoRecord(record));
  BinaryFile file(dir / "A.ORG", BinaryFile::Mode::Read);
  EXPECT_EQ(ReadOyoField(file, kOyoRecordNumber), "1234");
  const OyoTextBlock block = ReadOyoTextBlock(file);
  EXPECT_EQ(block.recordNumber, 1234);
  EXPECT_EQ(block.delay, 0);
  EXPECT_EQ(block.sourceX, 0);
  EXPECT_EQ(block.sourceY, -12);
  EXPECT_EQ(block.further1, 12.5);
  // The block written by hand at its byte offsets, every field at its full
  // width, with no blank between neighbours where the layout has none.
  std::vector<uint8_t> bytes(6144 + 8, ' ');
  const auto put = [&](size_t at, const std::string& text) {
    std::copy(text.begin(), text.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
  };
  put(2816, "4321");
  put(2866, "0024");
  put(2870, "1000");
  put(2875, "0.125");
  put(2881, "-00012345");
  put(2891, "0008");
  put(2896, "0400");
  put(2901, "0050");
  put(2906, "-99999");
  put(2913, "123456");
  put(2920, "777777");
  put(2927, "-88888");
  test::WriteBytes(dir / "HAND.ORG", bytes);
  BinaryFile hand(dir / "HAND.ORG", BinaryFile::Mode::Read);
  EXPECT_EQ(ReadOyoField(hand, kOyoChannels), "0024");
  EXPECT_EQ(ReadOyoField(hand, kOyoSamples), "1000");
  EXPECT_EQ(ReadOyoField(hand, kOyoInterval), "0.125");
  const OyoTextBlock fields = ReadOyoTextBlock(hand);
  EXPECT_EQ(fields.recordNumber, 4321);
  EXPECT_EQ(fields.delay, -12345);
  EXPECT_EQ(fields.lowCut, 8);
  EXPECT_EQ(fields.highCut, 400);
  EXPECT_EQ(fields.notch, 50);
  EXPECT_EQ(fields.sourceX, -99999);
  EXPECT_EQ(fields.sourceY, 123456);
  EXPECT_EQ(fields.further1, 777777);
  EXPECT_EQ(fields.further2, -88888);
  EXPECT_EQ(OyoTraceOffset(2, 1, 4), 6148);
  EXPECT_EQ(OyoTraceOffset(3, 1000, 2), 6144 + 4000);
  // A file that ends before the block reads blanks.
  test::WriteBytes(dir / "B.ORG", std::vector<uint8_t>(100, 0));
  BinaryFile shortFile(dir / "B.ORG", BinaryFile::Mode::Read);
  EXPECT_EQ(ReadOyoField(shortFile, kOyoInterval), "     ");
  EXPECT_EQ(ReadOyoTextBlock(shortFile).recordNumber, 0);
}

TEST(OyoPanel, HelpTextAndTheWayToMcSeis3) {
  const std::string out = RunPanelScript(Opening() + "click Command2\nclick Command5\nshow HandyViewer.caption\n");
  EXPECT_NE(out.find("message \"OYO McSeis 170  to SU format conversion\\r\\n\\r\\nThis module will convert OYO "
                     "McSeis 170 ( modified SEG-1) 12 channels and 1000 samples records  \\r\\nto Seismic Unix "
                     "format. \\r\\n\\r\\n 1- Select"),
            std::string::npos)
      << out;
  EXPECT_NE(out.find("opened HandyViewer\nHandyViewer.caption = \"Mc Seis 3 HandyViewer\"\n"), std::string::npos);
}

TEST(BundledSamples, OyoRecordsConvert) {
  TempDir dir;
  const std::string folder = std::string(VEXMOR_SOURCE_DIR) + "/samples/oyo";
  const std::string out = RunPanelScript(Opening() + "answer dialog " + Q(folder + " 101.ORG 102.ORG 105.ORG") +
                                         "\nclick Command3\nshow Text4\nset Text2 " + Q(dir / "LINE.SU") +
                                         "\nclick Command1\n");
  EXPECT_NE(out.find("Text4 = \"512 \"\n"), std::string::npos) << out;
  const SuOutput su(dir / "LINE.SU", 512);
  ASSERT_EQ(su.Records(), 36u);
  EXPECT_EQ(su.Word(0, "fldr"), 101);
  EXPECT_EQ(su.Word(35, "fldr"), 105);
  EXPECT_EQ(su.Word(35, "sx"), 1030);
  const auto raw = test::ReadBytes(folder + "/105.ORG");
  for (size_t j = 0; j < 512; ++j) EXPECT_EQ(su.Sample(35, j), static_cast<float>(GetLE32(raw.data() + 6144 + 11 * 2048 + 4 * j))) << j;
}

TEST(OyoRobustness, BrokenFilesAndOddValues) {
  TempDir dir;
  test::WriteBytes(dir / "EMPTY.ORG", {});
  test::WriteBytes(dir / "A.ORG", BuildOyoRecord(Record("1", 1, 2, 3)));
  const std::vector<std::string> settings = {"set Text4 -5\n", "set Text4 0\n", "set Text4 99999999\n",
                                             "set Text4 40000\n", "set Text3 -1\n", "set Text3 70000\n",
                                             "set Text5 300\n", "set Text6 abc\n", "set Text2 \"\"\n",
                                             "set Text4 2000000000\nset Text3 30000\n"};
  for (const std::string names : {"EMPTY.ORG A.ORG", "A.ORG EMPTY.ORG", "GONE.ORG"}) {
    for (const std::string& setting : settings) {
      std::filesystem::remove(dir / "oyo.su");
      const std::string out = RunPanelScript(Opening() + "answer dialog " + Q(dir.Str() + " " + names) +
                                             "\nclick Command3\n" + setting + "click Command1\n");
      test::ExpectNoEscapedFailure(out);
    }
  }
}

}  // namespace
}  // namespace vexmor
