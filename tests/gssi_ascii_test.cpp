// The GSSI and ASCII routes: DZT_old reading the DZT file itself, ASCII2SU
// reading column text, the DZT2 guide, and both routes giving the same
// samples for one file. Expected values are worked out from the bytes and
// the text written here.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>

#include "formats/column_text.h"
#include "peak_memory.h"
#include "platform/transcript.h"
#include "radar_test_util.h"
#include "tools_helpers.h"

namespace vexmor {
namespace {

using test::TempDir;

// A DZT file as the direct reader sees it: H and B at 4 and 6 of a
// 1024-byte header, then the samples as stored, low byte first.
std::vector<uint8_t> MakeDztBytes(int h, int bits, const std::vector<int32_t>& samples) {
  std::vector<uint8_t> bytes(1024, 0);
  PutLE16(bytes.data(), 0x00FF);
  PutLE16(bytes.data() + 2, 1024);
  PutLE16(bytes.data() + 4, static_cast<int16_t>(h));
  PutLE16(bytes.data() + 6, static_cast<int16_t>(bits));
  for (int32_t v : samples) {
    for (int b = 0; b < bits / 8; ++b) bytes.push_back(static_cast<uint8_t>(static_cast<uint32_t>(v) >> (8 * b)));
  }
  return bytes;
}

// Stored sample n (from 0) of the generated files.
int32_t Stored16(int n) { return (n * 2503 + 17) % 65536; }
int32_t Stored8(int n) { return (n * 37 + 5) % 256; }

std::string OpenDztOld() { return "click Option18\nuse DZT2\nclick Command2\nuse DZT_old\n"; }

TEST(DztOld, HeaderGivesWordsWidthAndTracesAndEachWordIsTwoSamples) {
  TempDir dir;
  const std::string dzt = dir / "F16.DZT";
  std::vector<int32_t> stored;
  for (int n = 0; n < 5 * 8; ++n) stored.push_back(Stored16(n));
  test::WriteBytes(dzt, MakeDztBytes(8, 16, stored));
  const std::string out = test::RunPanelScript(
      OpenDztOld() + "show Combo1\nanswer dialog " + dzt +
      "\nclick Command1\nshow Text2\nshow Text3\nshow Combo1\nshow Text5\nanswer prompt 2\nclick Command3\n"
      "show Text4\nshow ProgressBar1\nshow DZT_old.caption\n");
  EXPECT_EQ(test::From(out, "Combo1"),
            "Combo1 index=1 text=\"16\"\n"
            "dialog \"DZT file selection\" filter=\"Radar DZT |*.DZT\" file=\"\" folder=\"\" multi=0 save=0 -> \"" +
                dzt + "\"\n"
            "Text2 = \"" + dir / "F16.SU" + "\"\nText3 = \"4\"\nCombo1 index=1 text=\"16\"\nText5 = \"5\"\n"
            "prompt \" Enter the sampling rate (nanoS)\" title=\"\" default=\"0\" -> \"2\"\n"
            "message \"Conversion OK! " + dir / "F16.SU" + " has been recorded\" buttons=64 "
            "title=\"Norvane File converter\" -> 1\n"
            "Text4 = \"2\"\nProgressBar1 min=1 max=5 value=5 visible=1\nDZT_old.caption = \"GSSI Radar DZT to SU\"\n");
  const test::SuRecords su = test::ReadSuRecords(dir / "F16.SU");
  ASSERT_EQ(su.ns, 4);
  ASSERT_EQ(su.bytes.size(), 5 * su.RecordSize());
  for (int i = 1; i <= 5; ++i) {
    EXPECT_EQ(su.Word(i, "tracl"), 0);
    EXPECT_EQ(su.Word(i, "tracr"), 0);
    EXPECT_EQ(su.Word(i, "fldr"), 1);
    for (const char* word : {"tracf", "cdp", "cdpt"}) EXPECT_EQ(su.Word(i, word), i) << word;
    EXPECT_EQ(su.Word(i, "nvs"), 1);
    EXPECT_EQ(su.Word(i, "nhs"), 95);
    EXPECT_EQ(su.Word(i, "duse"), 1);
    EXPECT_EQ(su.Word(i, "dt"), 2);  // the nanoseconds as typed
    EXPECT_EQ(su.Word(i, "d1"), 0.1f);
    EXPECT_EQ(su.Word(i, "d2"), 0.1f);
    for (int k = 1; k <= 4; ++k) {
      // The later sample of the pair is the high half of a signed 32-bit word.
      const int n = (i - 1) * 8 + 2 * (k - 1);
      const auto word = static_cast<int32_t>(static_cast<uint32_t>(Stored16(n)) |
                                             static_cast<uint32_t>(Stored16(n + 1)) << 16);
      EXPECT_EQ(su.Sample(i, k), static_cast<float>(word)) << i << " " << k;
    }
  }
}

TEST(DztOld, EightBitFilesReadSixteenBitWordsAndTheFieldsFilterKeys) {
  TempDir dir;
  const std::string dzt = dir / "f8.dzt";
  std::vector<int32_t> stored;
  for (int n = 0; n < 100 * 512; ++n) stored.push_back(Stored8(n));
  test::WriteBytes(dzt, MakeDztBytes(512, 8, stored));
  const std::string out = test::RunPanelScript(OpenDztOld() + "answer dialog " + dzt +
                                               "\nclick Command1\nshow Text3\nshow Combo1\nshow Text5\n"
                                               "key Text4 x\nkey Text4 3\nkey Text6 .\nkey Text3 .\nshow Text4\n"
                                               "click Command3\n");
  EXPECT_EQ(test::From(out, "Text3"), "Text3 = \"256\"\nCombo1 index=0 text=\"8\"\nText5 = \"100\"\nbeep\nbeep\n"
                                      "Text4 = \"03\"\nmessage \"Conversion OK! " + dir / "f8.SU" +
                                          " has been recorded\" buttons=64 title=\"Norvane File converter\" -> 1\n");
  const test::SuRecords su = test::ReadSuRecords(dir / "f8.SU");
  ASSERT_EQ(su.Traces(), 100u);
  // Trace 2 starts at byte 1536: two 8-bit samples to a signed 16-bit word.
  const int n = 512;
  EXPECT_EQ(su.Sample(2, 1), static_cast<float>(static_cast<int16_t>(Stored8(n) | Stored8(n + 1) << 8)));
  EXPECT_EQ(su.Word(2, "dt"), 3);
}

TEST(DztOld, MissingInputLimitsAndAShortFile) {
  TempDir dir;
  const std::string su = dir / "o.SU";
  std::string out = test::RunPanelScript(OpenDztOld() + "set Text1 " + dir / "none.DZT" + "\nset Text2 " + su +
                                         "\nset Text4 2\nclick Command3\n");
  EXPECT_EQ(test::From(out, "message"), "message \"Input file does not exists!\" buttons=16 "
                                        "title=\"Norvane File converter\" -> 1\n");
  const std::string dzt = dir / "s.DZT";
  test::WriteBytes(dzt, MakeDztBytes(8, 16, {1, 2, 3, 4, 5, 6, 7, 8, 9}));
  out = test::RunPanelScript(OpenDztOld() + "answer dialog " + dzt + "\nclick Command1\nset Text2 " + su +
                             "\nset Text4 2\nset Text3 9000\nclick Command3\nset Text3 4\nset Text5 0\n"
                             "click Command3\nset Text5 3\nclick Command4\n");
  EXPECT_NE(out.find("message \"Number of samples must be from 1 to 8131, nothing was converted\" buttons=16"),
            std::string::npos) << out;
  EXPECT_NE(out.find("message \"Trace number must be from 1 to 2147483647, nothing"), std::string::npos) << out;
  EXPECT_NE(out.find("closed DZT_old"), std::string::npos);
  EXPECT_FALSE(std::filesystem::exists(su));
  // A file that ends inside trace 2: what is missing reads as 0.
  out = test::RunPanelScript(OpenDztOld() + "answer dialog " + dzt + "\nclick Command1\nshow Text5\nset Text2 " + su +
                             "\nset Text4 2\nset Text5 3\nclick Command3\n");
  EXPECT_NE(out.find("Text5 = \"1\""), std::string::npos) << out;  // 18 bytes of 16 make one trace
  const test::SuRecords records = test::ReadSuRecords(su);
  ASSERT_EQ(records.Traces(), 3u);
  EXPECT_EQ(records.Sample(2, 1), static_cast<float>(9));
  EXPECT_EQ(records.Sample(2, 2), 0.0f);
  EXPECT_EQ(records.Sample(3, 4), 0.0f);
}

TEST(ColumnText, ValuesOneAfterTheOtherWhateverTheLines) {
  EXPECT_EQ(CountColumnValues("1,2\r\n3,4\r\n5,6\r\n"), 6);
  EXPECT_EQ(CountColumnValues("1, 2,3,\n\n4\n"), 4);  // trailing comma and blank line add none
  EXPECT_EQ(CountColumnValues("1,,3"), 3);           // an empty field between commas is a value
  EXPECT_EQ(CountColumnValues("  7\t8   9 "), 3);
  EXPECT_EQ(CountColumnValues(""), 0);

  // Random texts against the rules stated character by character: a value
  // starts at a field character after a non-field one, or at a comma after
  // a comma with only blanks between.
  uint32_t seed = 7;
  for (int round = 0; round < 3000; ++round) {
    std::string text;
    seed = seed * 1664525u + 1013904223u;
    const size_t length = (seed >> 8) % 70;
    for (size_t k = 0; k < length; ++k) {
      seed = seed * 1664525u + 1013904223u;
      text += "12,, \t\r\nx-"[(seed >> 10) % 11];
    }
    int64_t expected = 0;
    bool prevField = false, lastComma = false;
    for (const char c : text) {
      const bool blank = c == ' ' || c == '\t', comma = c == ',', field = !blank && !comma && c != '\r' && c != '\n';
      expected += (field && !prevField) + (comma && lastComma);
      prevField = field;
      lastComma = comma || (lastComma && blank);
    }
    ASSERT_EQ(CountColumnValues(text), expected) << Quote(text);
  }

  // Whole numbers of every length, as the fast path reads them.
  std::string many;
  std::vector<float> expectedValues;
  for (int k = 0; k < 5000; ++k) {
    seed = seed * 1664525u + 1013904223u;
    const int64_t v = (static_cast<int64_t>(seed) - 2147483648LL) >> (seed % 31);
    expectedValues.push_back(static_cast<float>(v));
    many += std::to_string(v) + ",\n\r \t"[seed % 5];
  }
  std::vector<float> parsed(expectedValues.size());
  ASSERT_EQ(ReadColumnValues(many, parsed), 5000);
  EXPECT_EQ(parsed, expectedValues);

  std::vector<float> cells(9, -1.0f);
  EXPECT_EQ(ReadColumnValues("1.5e3,-0.25, +7\n abc,,3.4028236e38, 0.1,-12345678901,16777217", cells), 9);
  EXPECT_EQ(cells[0], 1500.0f);
  EXPECT_EQ(cells[1], -0.25f);
  EXPECT_EQ(cells[2], 7.0f);
  EXPECT_EQ(cells[3], -1.0f);  // no number: the cell keeps what it held
  EXPECT_EQ(cells[4], -1.0f);  // empty field
  EXPECT_EQ(cells[5], -1.0f);  // beyond the float range
  EXPECT_EQ(cells[6], 0.1f);   // correctly rounded
  EXPECT_EQ(cells[7], -12345678901.0f);
  EXPECT_EQ(cells[8], 16777216.0f);  // 2^24 + 1 rounds to even
  std::vector<float> two(2, 0.0f);
  EXPECT_EQ(ReadColumnValues("1,2,3,4", two), 2);
  EXPECT_EQ(ReadColumnValues("nan,inf,-inf,-", two), 2);
  EXPECT_EQ(two[0], 1.0f);
  EXPECT_EQ(two[1], 2.0f);
}

std::string OpenAscii() { return "click Option23\nuse ASCII2SU\n"; }

TEST(Ascii2Su, SelectionCountsAsksAndConvertsRowsAsSamples) {
  TempDir dir;
  const std::string txt = dir / "two.TXT";
  // The line breaks do not follow the columns: values are taken in order.
  test::WriteText(txt, "1,2,3\r\n4\r\n5,6\r\n");
  const std::string out = test::RunPanelScript(OpenAscii() + "answer dialog " + txt +
                                               "\nanswer prompt 3\nclick Check1\nclick Command1\nshow Text3\n"
                                               "show Text5\nshow Text4\nshow state.TraceTotal\nshow ASCII2SU.caption\n");
  EXPECT_EQ(test::From(out, "dialog"),
            "dialog \"ASCII file selection\" filter=\"TXT file |*.TXT\" file=\"\" folder=\"\" multi=1 save=0 -> \"" +
                txt + "\"\n"
            "prompt \"Enter the number of samples / trace\" title=\"\" default=\"512\" -> \"3\"\n"
            "prompt \"Enter the sampling rate (ns)\" title=\"\" default=\"100\" -> \"100\"\n"
            "message \"Conversion OK! " + dir / "two.SU" + " has been recorded\" buttons=64 "
            "title=\"Norvane File converter\" -> 1\n"
            "Text3 = \"3\"\nText5 = \"2\"\nText4 = \"100\"\nstate.TraceTotal = 2\nASCII2SU.caption = \"ASCII to SU\"\n");
  const test::SuRecords su = test::ReadSuRecords(dir / "two.SU");
  ASSERT_EQ(su.ns, 3);
  ASSERT_EQ(su.bytes.size(), 2 * su.RecordSize());
  const float expected[2][3] = {{1, 3, 5}, {2, 4, 6}};
  for (int i = 1; i <= 2; ++i) {
    for (int k = 1; k <= 3; ++k) EXPECT_EQ(su.Sample(i, k), expected[i - 1][k - 1]);
    EXPECT_EQ(su.Word(i, "tracl"), 0);
    EXPECT_EQ(su.Word(i, "fldr"), 1);
    EXPECT_EQ(su.Word(i, "tracf"), i);
    EXPECT_EQ(su.Word(i, "cdp"), i);
    EXPECT_EQ(su.Word(i, "cdpt"), 0);
    EXPECT_EQ(su.Word(i, "trid"), 1);
    EXPECT_EQ(su.Word(i, "nvs"), 1);
    EXPECT_EQ(su.Word(i, "nhs"), 95);
    EXPECT_EQ(su.Word(i, "duse"), 1);
    EXPECT_EQ(su.Word(i, "dt"), 100);  // as typed: no scale for radar either
    EXPECT_EQ(su.Word(i, "d1"), 0);
  }
}

TEST(Ascii2Su, TheTraceCountComesFromTheValuesOrIsAskedFor) {
  TempDir dir;
  const std::string txt = dir / "v.txt";
  auto values = [](int n) {
    std::string text;
    for (int v = 1; v <= n; ++v) text += std::to_string(v) + (v % 10 == 0 ? "\n" : ",");
    return text;
  };
  auto select = [&](const std::string& more) {
    return test::RunPanelScript(OpenAscii() + "answer dialog " + txt + "\n" + more + "click Command1\nshow Text5\n");
  };
  test::WriteText(txt, values(10 * 512));
  EXPECT_NE(select("").find("Text5 = \"10\""), std::string::npos);
  // 299 / 512 rounds to 1: no question, and the matrix is filled as far as the file goes.
  test::WriteText(txt, values(300));
  std::string out = select("");
  EXPECT_EQ(out.find("traces"), std::string::npos);
  const test::SuRecords su = test::ReadSuRecords(dir / "v.SU");
  ASSERT_EQ(su.ns, 512);
  EXPECT_EQ(su.Sample(1, 300), 300.0f);
  EXPECT_EQ(su.Sample(1, 301), 0.0f);
  // 99 / 512 rounds to 0: asked for, with two blanks, once.
  test::WriteText(txt, values(100));
  out = select("answer prompt 512\nanswer prompt 2\nanswer message 6\n");
  EXPECT_NE(out.find("prompt \"Enter the number of  traces\" title=\"\" default=\"0\" -> \"2\"\n"), std::string::npos);
  EXPECT_NE(out.find("message \"Outfile name already exists, kill this file ?\" buttons=36"), std::string::npos);
  EXPECT_EQ(test::ReadSuRecords(dir / "v.SU").Traces(), 2u);
}

TEST(Ascii2Su, ConvertAsksForWhatIsMissingAndRefusesTheLimits) {
  TempDir dir;
  const std::string txt = dir / "c.txt", su = dir / "c.SU";
  test::WriteText(txt, "1,2\n3,4\n");
  const std::string fields = "set Text1 " + txt + "\nset Text2 " + su + "\n";
  std::string out = test::RunPanelScript(OpenAscii() + fields + "set Text3 \"\"\nset Text4 7\nset Text5 2\n"
                                         "answer prompt 2\nclick Command3\n");
  EXPECT_EQ(test::From(out, "prompt"),
            "prompt \"Enter the number of samples / trace\" title=\"\" default=\"0\" -> \"2\"\n"
            "message \"Conversion OK! " + su + " has been recorded\" buttons=64 title=\"Norvane File converter\" -> 1\n");
  test::SuRecords records = test::ReadSuRecords(su);
  EXPECT_EQ(records.Word(2, "nhs"), 1);  // not marked as radar
  EXPECT_EQ(records.Word(2, "dt"), 7);
  EXPECT_EQ(records.Sample(2, 2), 4.0f);
  std::filesystem::remove(su);

  // Cancel ends the questions with nothing written.
  out = test::RunPanelScript(OpenAscii() + fields + "set Text5 0\nanswer prompt \"\"\nclick Command3\n");
  EXPECT_NE(out.find("prompt \"Enter the number of traces\" title=\"\" default=\"0\" -> \"\""), std::string::npos);
  for (const char* limit : {"set Text3 8132\n", "set Text5 32768\n", "set Text4 40000\n"}) {
    out = test::RunPanelScript(OpenAscii() + fields + "set Text3 2\nset Text4 7\nset Text5 2\n" + limit +
                               "click Command3\n");
    EXPECT_NE(out.find("nothing was converted\" buttons=16 title=\"Norvane File converter\""), std::string::npos)
        << out;
  }
  EXPECT_NE(out.find("Sample rate must be from -32768 to 32767"), std::string::npos);
  EXPECT_FALSE(std::filesystem::exists(su));
  out = test::RunPanelScript(OpenAscii() + "set Text1 " + dir / "none.txt" + "\nset Text2 " + su +
                             "\nset Text4 7\nset Text5 2\nclick Command3\nclick Command5\nclick Command4\n");
  EXPECT_EQ(test::From(out, "message"),
            "message \"Input file does not exists!\" buttons=16 title=\"Norvane File converter\" -> 1\n"
            "message \" ASCII SEISMIC FILE CONVERSION\\r\\n This module will convert ASCII file to SU format \\r\\n "
            "DATA must be in column and with a comma as delimiter ! \\r\\n You must only select ASCII file and the "
            "output file name\\r\\n Number of samples per trace, sample rate and number of traces input is "
            "necessary ! \\r\\n  \" buttons=64 title=\"Norvane File converter\" -> 1\n"
            "closed ASCII2SU\n");
}

TEST(Ascii2Su, TypedCountsFarBeyondTheFileCostNoMemory) {
  TempDir dir;
  const std::string txt = dir / "few.txt", su = dir / "few.SU";
  test::WriteText(txt, "1,2,3,4\n");
  // 2000 traces of 8131 samples: 65 MB of cells that only four values fill.
  const int traces = 2000, samples = 8131;
  const std::string script = OpenAscii() + "set Text1 " + txt + "\nset Text2 " + su + "\nset Text3 " +
                             std::to_string(samples) + "\nset Text4 7\nset Text5 " + std::to_string(traces) +
                             "\nclick Command3\n";
  const std::optional<int64_t> growth = test::PeakGrowthKb([&] { test::RunPanelScript(script); });
  if (!growth) GTEST_SKIP() << "peak memory can't be measured here";
  EXPECT_LT(*growth, 24 * 1024) << "kB";
  // Every trace is still written, the four values in the first sample of
  // the first four traces and 0 everywhere else.
  const size_t record = 240 + 4 * static_cast<size_t>(samples);
  ASSERT_EQ(std::filesystem::file_size(su), record * traces);
  std::ifstream in(su, std::ios::binary);
  auto sample = [&](int trace, int k) {
    uint8_t bytes[4] = {};
    in.seekg(static_cast<std::streamoff>(record * (trace - 1) + 240 + 4 * (k - 1)));
    in.read(reinterpret_cast<char*>(bytes), 4);
    return GetLEFloat(bytes);
  };
  EXPECT_EQ(sample(1, 1), 1.0f);
  EXPECT_EQ(sample(4, 1), 4.0f);
  EXPECT_EQ(sample(5, 1), 0.0f);
  EXPECT_EQ(sample(1, 2), 0.0f);
  EXPECT_EQ(sample(traces, samples), 0.0f);
}

TEST(Dzt2, StepOneStartsRtoawAndTheOtherButtonsOpenThePanels) {
  TempDir dir;
  const std::string script = "click Option18\nuse DZT2\nclick Command3\n";
  const std::string shell = "shell \"" + dir / "rtoaw.exe" + "\" style=1 -> ";
  // Not beside the program: the message, and the guide stays open.
  std::string out = test::RunPanelScript(script + "show DZT2.caption\nshow Picture1\n", dir.Str());
  EXPECT_EQ(test::From(out, "shell"), shell + "0\n"
                                      "message \"rtoaw.exe must be in the same folder as VEXMOR.EXE\" buttons=0 "
                                      "title=\"\" -> 1\nDZT2.caption = \"GSSI DZT file conversion\"\n"
                                      "Picture1 = \"rtoaw-parameters.png\"\n");
  // An rtoaw beside the program (a stand-in that ends at once): started, no message.
  test::WriteText(dir / "rtoaw", "#!/bin/sh\nexit 0\n");
  std::filesystem::permissions(dir / "rtoaw", std::filesystem::perms::owner_all);
  out = test::RunPanelScript(script + "click Command1\nuse DZT2\nclick Command2\n", dir.Str());
  EXPECT_EQ(out.find(shell + "0"), std::string::npos) << out;
  EXPECT_EQ(out.find("message"), std::string::npos) << out;
  EXPECT_NE(out.find("opened ASCII2SU\n"), std::string::npos);
  EXPECT_NE(out.find("opened DZT_old\n"), std::string::npos);
}

// Both routes of one DZT file: DZT_old, and rtoaw's word text through
// ASCII2SU with the words per trace typed. Gives the SU files.
std::pair<test::SuRecords, test::SuRecords> BothRoutes(const std::string& dzt, const TempDir& dir,
                                                       const std::string& words) {
  const std::string direct = dir / "direct.su", text = dir / "words.txt";
  test::RunPanelScript(OpenDztOld() + "answer dialog " + dzt + "\nclick Command1\nset Text2 " + direct +
                       "\nset Text4 5\nclick Command3\n");
  const test::ToolRun run = test::RunHeadless(dir.Str(), test::Bin("rtoaw") + " -w '" + dzt + "' '" + text + "'");
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("Samples per scan for the ASCII import: " + words), std::string::npos) << run.out;
  test::RunPanelScript(OpenAscii() + "answer dialog " + text + "\nanswer prompt " + words +
                       "\nanswer prompt 5\nclick Check1\nclick Command1\n");
  return {test::ReadSuRecords(direct), test::ReadSuRecords(dir / "words.SU")};
}

void ExpectSameSamples(const test::SuRecords& a, const test::SuRecords& b) {
  ASSERT_EQ(a.ns, b.ns);
  ASSERT_EQ(a.Traces(), b.Traces());
  ASSERT_GT(a.Traces(), 0u);
  for (size_t i = 1; i <= a.Traces(); ++i) {
    const int t = static_cast<int>(i);
    ASSERT_EQ(0, std::memcmp(a.Record(t) + 240, b.Record(t) + 240, 4 * static_cast<size_t>(a.ns))) << "trace " << i;
    EXPECT_EQ(a.Word(t, "ns"), b.Word(t, "ns"));
    EXPECT_EQ(a.Word(t, "dt"), b.Word(t, "dt"));
    EXPECT_EQ(a.Word(t, "nhs"), b.Word(t, "nhs"));
  }
}

TEST(GssiRoutes, RtoawWordTextThroughAsciiGivesTheDirectSamples) {
  TempDir dir;
  const std::string dzt = dir / "g.DZT";
  std::vector<int32_t> stored;
  for (int n = 0; n < 7 * 6; ++n) stored.push_back(Stored8(n));
  test::WriteBytes(dzt, MakeDztBytes(6, 8, stored));
  const auto [direct, ascii] = BothRoutes(dzt, dir, "3");
  ExpectSameSamples(direct, ascii);
  EXPECT_EQ(direct.Traces(), 7u);

  // Cut inside the last word: the byte that is missing reads as 0 both ways.
  std::filesystem::resize_file(dzt, std::filesystem::file_size(dzt) - 1);
  const auto [cutDirect, cutAscii] = BothRoutes(dzt, dir, "3");
  ExpectSameSamples(cutDirect, cutAscii);
  EXPECT_EQ(cutDirect.Traces(), 7u);
}

TEST(GssiRoutes, TheRealFileGivesTheSameSamplesBothWays) {
  const std::string dzt = test::SharedSample("radar/FILE____032.DZT");
  if (!std::filesystem::exists(dzt)) GTEST_SKIP() << "no shared samples";
  TempDir dir;
  const auto [direct, ascii] = BothRoutes(dzt, dir, "256");
  ASSERT_EQ(direct.ns, 256);
  ASSERT_EQ(direct.Traces(), 1040u);
  ExpectSameSamples(direct, ascii);
  // Word k of trace i straight from the file: 4 bytes at 1024 + (i - 1) x 1024 + 4 (k - 1).
  const std::vector<uint8_t> raw = test::ReadBytes(dzt);
  for (int i : {1, 2, 517, 1040}) {
    for (int k : {1, 2, 128, 256}) {
      EXPECT_EQ(direct.Sample(i, k), static_cast<float>(GetLE32(raw.data() + 1024 + 1024 * (i - 1) + 4 * (k - 1))));
    }
  }
}

}  // namespace
}  // namespace vexmor
