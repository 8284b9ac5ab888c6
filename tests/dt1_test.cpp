// EKKO DT1 lines: the .HD text and trace reader, and the DT1 panel through
// panel scripts, checked against bytes written here at known offsets and
// against a real line.
#include "importers/radar/dt1.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "formats/dt1.h"
#include "platform/transcript.h"
#include "radar_test_util.h"

namespace vexmor {
namespace {

using test::TempDir;

int16_t InputSample(int trace, int k) { return static_cast<int16_t>(trace * 1000 - 7 * k); }

// A line of traces numbered from 1, each a 128-byte header (trace number,
// position, points, bytes per point, time window as floats) and its samples.
std::vector<uint8_t> MakeDt1(int traces, int points, float window = 20) {
  std::vector<uint8_t> bytes;
  for (int t = 1; t <= traces; ++t) {
    uint8_t header[128] = {};
    PutLEFloat(header + 0, static_cast<float>(t));
    PutLEFloat(header + 4, 0.5f * static_cast<float>(t - 1));
    PutLEFloat(header + 8, static_cast<float>(points));
    PutLEFloat(header + 20, 2);
    PutLEFloat(header + 24, window);
    bytes.insert(bytes.end(), header, header + 128);
    for (int k = 1; k <= points; ++k) {
      uint8_t b[2];
      PutLE16(b, InputSample(t, k));
      bytes.insert(bytes.end(), b, b + 2);
    }
  }
  return bytes;
}

const char* const kHd =
    "1234\r\r\nData Collected with a test\r\r\nNUMBER OF TRACES   = 4 \r\r\nNUMBER OF PTS/TRC  = 10 \r\r\n"
    "TIMEZERO AT POINT  = 3 \r\r\nTOTAL TIME WINDOW  = 20.000 \r\r\nSTARTING POSITION  = 0.5000 \r\r\n"
    "FINAL POSITION     = 2.5000 \r\r\nSTEP SIZE USED     = 0.5000 \r\r\n";

std::string Pick(const std::string& dt1) { return "click Option17\nuse DT1\nanswer dialog " + dt1 + "\nclick Command1\n"; }

TEST(Dt1Format, HeaderTextAndTracesAsTheFileLaysThemOut) {
  const Dt1HeaderText h = ParseDt1HeaderText(std::string(kHd) + "final position = -3\nNOTE = no number\n");
  EXPECT_EQ(h.traces, 4);
  EXPECT_EQ(h.pointsPerTrace, 10);
  EXPECT_EQ(h.timeWindow, 20);
  EXPECT_EQ(h.startPosition, 0.5);
  EXPECT_EQ(h.finalPosition, -3);  // the later line, in lower case, with its sign
  EXPECT_EQ(h.stepSize, 0.5);
  EXPECT_EQ(h.entries.at("NOTE"), "no number");
  EXPECT_EQ(Dt1HeaderPath("/a/LINE00.DT1"), "/a/LINE00.HD");

  const std::vector<uint8_t> bytes = MakeDt1(3, 10);
  BinaryFile file = BinaryFile::OverMemory(bytes);
  EXPECT_TRUE(LooksLikeDt1(file));
  EXPECT_EQ(Dt1TraceCount(file.Size(), 10), 3);
  EXPECT_EQ(Dt1SamplesOffset(2, 500), 1000 + 256);
  bool complete = false;
  const Dt1Trace second = ReadDt1Trace(file, 2, 10, &complete);
  EXPECT_TRUE(complete);
  EXPECT_EQ(second.header.at("trace number"), 2);
  EXPECT_EQ(second.header.at("position"), 0.5);
  EXPECT_EQ(second.samples.front(), InputSample(2, 1));
  EXPECT_EQ(second.samples.back(), InputSample(2, 10));

  // Cut inside trace 3: what is missing reads as 0, and is said to be so.
  const std::vector<uint8_t> cut(bytes.begin(), bytes.end() - 6);
  BinaryFile shortFile = BinaryFile::OverMemory(cut);
  const Dt1Trace third = ReadDt1Trace(shortFile, 3, 10, &complete);
  EXPECT_FALSE(complete);
  EXPECT_EQ(third.samples[6], InputSample(3, 7));
  EXPECT_EQ(third.samples[7], 0);
  EXPECT_EQ(ReadDt1Trace(shortFile, 99, 10, &complete).samples[0], 0);
  const std::vector<uint8_t> noise = {1, 2, 3};
  BinaryFile tiny = BinaryFile::OverMemory(noise);
  EXPECT_FALSE(LooksLikeDt1(tiny));
}

TEST(Dt1Panel, HeaderTextFillsTheFieldsAndTheConversionWritesEachTrace) {
  TempDir dir;
  const std::string dt1 = dir / "LINE1.DT1";
  test::WriteBytes(dt1, MakeDt1(4, 10));
  test::WriteText(dir / "LINE1.HD", kHd);
  const std::string out = test::RunPanelScript(Pick(dt1) +
                                               "show Text2\nshow Text6\nshow Text3\nshow Text8\nshow Text7\n"
                                               "show Text5\nshow Text4\nshow DT1.caption\nclick Command3\n"
                                               "show ProgressBar1\nshow state.NbChannels\n");
  EXPECT_EQ(test::From(out, "dialog"),
            "dialog \"DT1 file selection\" filter=\"Record |*.DT1|All files|*.*|\" file=\"*.dt1\" folder=\"\" "
            "multi=1 save=0 -> \"" + dt1 + "\"\n"
            "Text2 = \"" + dir / "LINE1.SU" + "\"\nText6 = \"10\"\nText3 = \"3\"\nText8 = \"4\"\n"
            "Text7 = \"20\"\nText5 = \"2\"\nText4 = \"0.5\"\nDT1.caption = \"Radar EKKO DT1 to SU\"\n"
            "message \"OK, Conversion done\" buttons=0 title=\"\" -> 1\n"
            "ProgressBar1 min=1 max=6 value=4 visible=0\nstate.NbChannels = 4\n");

  const test::SuRecords su = test::ReadSuRecords(dir / "LINE1.SU");
  ASSERT_EQ(su.ns, 7);  // 10 points less the time zero
  ASSERT_EQ(su.bytes.size(), 4 * su.RecordSize());
  for (int i = 1; i <= 4; ++i) {
    for (const char* word : {"tracl", "tracr", "tracf", "cdp"}) EXPECT_EQ(su.Word(i, word), i) << word;
    EXPECT_EQ(su.Word(i, "fldr"), 1);
    EXPECT_EQ(su.Word(i, "cdpt"), 0);
    EXPECT_EQ(su.Word(i, "ep"), 0);
    EXPECT_EQ(su.Word(i, "trid"), 1);
    EXPECT_EQ(su.Word(i, "nvs"), 1);
    EXPECT_EQ(su.Word(i, "nhs"), 95);
    EXPECT_EQ(su.Word(i, "duse"), 1);
    EXPECT_EQ(su.Word(i, "dt"), 2000);  // nanoseconds x 1000
    EXPECT_EQ(su.Word(i, "gx"), 0);
    EXPECT_EQ(su.Word(i, "d1"), 0);
    // Output sample k is input sample k + 2: the points before time zero go.
    for (int k = 1; k <= 7; ++k) EXPECT_EQ(su.Sample(i, k), InputSample(i, k + 2)) << i << " " << k;
  }
  // 0.5 x (i - 1) rounded half to even: 0, 0.5, 1, 1.5.
  EXPECT_EQ(su.Word(1, "sx"), 0);
  EXPECT_EQ(su.Word(2, "sx"), 0);
  EXPECT_EQ(su.Word(3, "sx"), 1);
  EXPECT_EQ(su.Word(4, "sx"), 2);
}

TEST(Dt1Panel, TimeZeroOfNothingKeepsSampleOneEmptyAndLosesTheLast) {
  TempDir dir;
  const std::string dt1 = dir / "z.dt1";
  test::WriteBytes(dt1, MakeDt1(2, 10));
  test::RunPanelScript(Pick(dt1) + "set Text3 0\nset Text8 2\nset Text6 10\nset Text5 0.4\nclick Command3\n");
  const test::SuRecords su = test::ReadSuRecords(dir / "z.SU");
  ASSERT_EQ(su.ns, 10);
  ASSERT_EQ(su.Traces(), 2u);
  EXPECT_EQ(su.Word(2, "dt"), 400);
  EXPECT_EQ(su.Sample(2, 1), 0.0f);
  EXPECT_EQ(su.Sample(2, 2), InputSample(2, 1));
  EXPECT_EQ(su.Sample(2, 10), InputSample(2, 9));
}

TEST(Dt1Panel, AHeaderTextWithoutItsKeywordsFallsBackOnTheTraceHeaders) {
  TempDir dir;
  const std::string dt1 = dir / "LINE2.DT1";
  test::WriteBytes(dt1, MakeDt1(5, 12, 36));
  // Lower-case keys are found; no points, traces, time zero or positions.
  test::WriteText(dir / "LINE2.HD", "total time window  = 48\nSTEP SIZE USED     = 0.25\n");
  const std::string out = test::RunPanelScript(Pick(dt1) +
                                               "show Text6\nshow Text3\nshow Text8\nshow Text7\nshow Text5\n"
                                               "show Text4\nshow RichTextBox1\n");
  EXPECT_EQ(test::From(out, "beep"),
            "beep\nbeep\nbeep\nbeep\nbeep\n"
            "Text6 = \"12\"\nText3 = \"0\"\nText8 = \"5\"\nText7 = \"48\"\nText5 = \"4\"\nText4 = \".20\"\n"
            "RichTextBox1 = \"total time window  = 48\\nSTEP SIZE USED     = 0.25\\n\"\n");

  // No header text at all: the message, and the fields as they were.
  std::filesystem::remove(dir / "LINE2.HD");
  EXPECT_EQ(test::From(test::RunPanelScript(Pick(dt1) + "show RichTextBox1\nshow Text6\n"), "RichTextBox1"),
            "RichTextBox1 = \" No RAD file available for " + dt1 + "\\r\\n\"\nText6 = \" 480\"\n");
}

TEST(Dt1Panel, NumbersBeyondTheSixteenBitArithmeticWriteNothing) {
  TempDir dir;
  const std::string dt1 = dir / "big.dt1";
  test::WriteBytes(dt1, MakeDt1(2, 10));
  const std::string su = dir / "big.SU";
  struct Case {
    const char* fields;
    const char* message;
  } cases[] = {
      {"set Text8 40000\n", "Number of channel must be from 1 to 32767"},
      {"set Text3 10\n", "Time zero at point must be from 0 to 9"},
      {"set Text6 40000\n", "At most 32767 samples per output trace: Samples per trace less Time zero at point "
                            "gives 40000"},
      {"set Text5 32.8\n", "Sampling rate (nS) must be above 0 and at most 32.767 ns (dt holds nanoseconds x "
                           "1000 in 16 bits)"},
      {"set Text5 0\n", "Sampling rate (nS) must be above 0"},
      {"set Text8 32767\nset Text6 20000\n", "The SU file would pass 2 GB"},
  };
  for (const Case& c : cases) {
    const std::string out = test::RunPanelScript(Pick(dt1) + "set Text8 2\nset Text6 10\nset Text3 0\nset Text5 4\n" +
                                                 c.fields + "click Command3\n");
    EXPECT_NE(out.find("message \"" + std::string(c.message)), std::string::npos) << out;
    EXPECT_NE(out.find("nothing was converted\" buttons=16 title=\"Norvane File converter\""), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(su)) << c.fields;
  }
  // An empty output name does nothing at all; the help text.
  const std::string out = test::RunPanelScript(Pick(dt1) + "set Text2 \"\"\nclick Command3\nclick Command5\n");
  EXPECT_EQ(test::From(out, "message"),
            "message \"DT1 to SU Translation\\r\\n This module can convert DT1 radar file to SU format using "
            "DT1TOSU.EXE\\r\\n You must only select DT1 file and the output file name\\r\\n Number of sample per "
            "trace is necessary ! \\r\\n  \" buttons=64 title=\"Norvane File converter\" -> 1\n");
}

TEST(Dt1Panel, AnExistingOutputIsAskedAboutAndTheInputNeverOverwritten) {
  TempDir dir;
  const std::string dt1 = dir / "w.dt1";
  test::WriteBytes(dt1, MakeDt1(2, 10));
  test::WriteText(dir / "w.HD", kHd);
  // Written over without emptying: bytes past the new records stay.
  test::WriteBytes(dir / "w.SU", std::vector<uint8_t>(5000, 0xAB));
  std::string out = test::RunPanelScript(Pick(dt1) + "set Text8 2\nanswer message 7\nclick Command3\n");
  EXPECT_NE(out.find("message \"Output file name already exists, kill this file ?\" buttons=36 "
                     "title=\"Norvane File converter\" -> 7"),
            std::string::npos);
  std::vector<uint8_t> bytes = test::ReadBytes(dir / "w.SU");
  ASSERT_EQ(bytes.size(), 5000u);
  EXPECT_EQ(bytes[16], 0xAB);  // ep is not written
  EXPECT_EQ(bytes[2 * (240 + 28)], 0xAB);
  test::RunPanelScript(Pick(dt1) + "set Text8 2\nanswer message 6\nclick Command3\n");
  EXPECT_EQ(test::ReadBytes(dir / "w.SU").size(), 2u * (240 + 28));

  out = test::RunPanelScript(Pick(dt1) + "set Text2 " + dt1 + "\nclick Command3\n");
  EXPECT_NE(out.find("is the input file"), std::string::npos);
  EXPECT_EQ(test::ReadBytes(dt1), MakeDt1(2, 10));
}

TEST(Dt1Sample, TheRealLineConverts) {
  const std::string dt1 = test::SharedSample("radar/XLINE00.DT1");
  if (!std::filesystem::exists(dt1)) GTEST_SKIP() << "no shared samples";
  TempDir dir;
  const std::string su = dir / "x.su";
  const std::string out = test::RunPanelScript(Pick(dt1) + "show Text6\nshow Text3\nshow Text8\nshow Text5\n"
                                               "show Text4\nset Text2 " + su + "\nclick Command3\n");
  // 760 ns over 1900 points; (16.3 - 0.6) / 164 rounded to hundredths.
  EXPECT_EQ(test::From(out, "Text6"), "Text6 = \"1900\"\nText3 = \"34.07\"\nText8 = \"164\"\nText5 = \"0.4\"\n"
                                      "Text4 = \"0.1\"\nmessage \"OK, Conversion done\" buttons=0 title=\"\" -> 1\n");
  const test::SuRecords records = test::ReadSuRecords(su);
  ASSERT_EQ(records.ns, 1900 - 34);
  ASSERT_EQ(records.bytes.size(), 164 * records.RecordSize());
  const std::vector<uint8_t> raw = test::ReadBytes(dt1);
  // sx: 0.1 x (i - 1) rounded, worked out by hand.
  const std::pair<int, int> traceAndSx[] = {{1, 0}, {2, 0}, {100, 10}, {164, 16}};
  for (const auto& [i, sx] : traceAndSx) {
    EXPECT_EQ(records.Word(i, "dt"), 400);
    EXPECT_EQ(records.Word(i, "sx"), sx);
    for (int k : {1, 2, 500, 1866}) {
      // Input sample k + 33 (from 1) of trace i, straight from the file's bytes.
      const size_t at = 2 * 1900 * size_t(i - 1) + 128 * size_t(i) + 2 * size_t(k + 33 - 1);
      EXPECT_EQ(records.Sample(i, k), GetLE16(raw.data() + at)) << i << " " << k;
    }
  }
  EXPECT_EQ(records.Sample(1, 1), -11651);  // point 34 of the first trace, read by hand
}

}  // namespace
}  // namespace vexmor
