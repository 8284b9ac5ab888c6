// vexmor-cli convert, the text-header seismograph and radar routes: each
// gives the bytes its panel gives when driven by a hand-written script, and
// keeps the output whole when an input is missing, cut short or the output
// exists.
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "cli_test_util.h"
#include "convert.h"
#include "importers/seismograph/ambrogeo_format.h"
#include "core/su_trace.h"
#include "importers/seismograph/bison_format.h"
#include "importers/seismograph/dolang_format.h"
#include "importers/seismograph/pasi_format.h"

namespace vexmor {
namespace {

namespace fs = std::filesystem;
using test::ReadBytes;
using test::TempDir;

using test::Concat;
using test::Convert;
using test::RouteCase;
using test::RunScript;
using Result = test::CliResult;

int Word16(const std::vector<uint8_t>& bytes, size_t at) { return static_cast<int16_t>(bytes[at] | bytes[at + 1] << 8); }

// A Bison record of `channels` traces of 8 samples, interval 0.25 ms.
void WriteBison(const std::string& path, int channels, int seed) {
  BisonRecordContent record;
  record.fields = std::vector<std::string>(17, "x");
  record.fields[kBisonChannelsField - 1] = std::to_string(channels);
  record.fields[kBisonSamplesField - 1] = "8";
  record.fields[kBisonIntervalField - 1] = "0.25";
  for (int c = 0; c < channels; ++c) {
    std::vector<int32_t> samples;
    for (int s = 0; s < 8; ++s) samples.push_back(seed * 100 + c * 10 + s);
    record.traces.push_back(EncodeBisonTrace(samples));
  }
  test::WriteBytes(path, BuildBisonRecord(record));
}

void WritePasi(const std::string& path, int channels, int samples, int seed) {
  std::vector<std::vector<double>> traces;
  for (int c = 0; c < channels; ++c) {
    traces.emplace_back();
    for (int s = 0; s < samples; ++s) traces.back().push_back(seed * 1000 + c * 10 - s);
  }
  test::WriteText(path, BuildPasiText(traces));
}

void WriteAmbrogeo(const std::string& path, int samples, int seed) {
  AmbrogeoRecordContent record;
  record.channels = "12";
  for (int c = 0; c < 12; ++c) {
    record.samples.emplace_back();
    for (int s = 0; s < samples; ++s) record.samples.back().push_back(static_cast<int16_t>(seed * 100 + c - s));
  }
  test::WriteText(path, BuildAmbrogeoText(record));
}

TEST(ConvertTextHeaderRoutes, BisonPasiAmbrogeoWriteThePanelsBytes) {
  TempDir dir;
  // Bison: the numbers from the header, interval 0.25 ms -> 250 us.
  WriteBison(dir / "B1.DAT", 3, 1);
  WriteBison(dir / "B2.DAT", 3, 2);
  RunScript("open MainPanel\nclick Option14\nuse Bison\nanswer dialog \"" + dir.Str() +
            " B1.DAT B2.DAT\"\nclick Command5\nset Text2 " + (dir / "b.panel.su") + "\nclick Command1\n");
  Result r = Convert({"bison", dir / "B1.DAT", dir / "B2.DAT", "-o", dir / "b.su"});
  ASSERT_EQ(r.status, 0) << r.err;
  const auto b = ReadBytes(dir / "b.su");
  EXPECT_EQ(b, ReadBytes(dir / "b.panel.su"));
  ASSERT_EQ(b.size(), 6u * (240 + 32));
  EXPECT_EQ(Word16(b, 116), 250);
  // An interval typed over the header's.
  r = Convert({"bison", dir / "B1.DAT", "--interval", "125", "-o", dir / "b125.su"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(Word16(ReadBytes(dir / "b125.su"), 116), 125);

  // PASI: no header, the numbers are typed.
  WritePasi(dir / "P1.ASC", 2, 16, 1);
  WritePasi(dir / "P2.ASC", 2, 16, 2);
  RunScript("open MainPanel\nclick Option16\nuse pasi\nanswer dialog \"" + dir.Str() +
            " P1.ASC P2.ASC\"\nclick Command5\nset Text3 2\nset Text4 16\nset Text5 250\nset Text2 " +
            (dir / "p.panel.su") + "\nclick Command1\n");
  r = Convert({"pasi", dir / "P1.ASC", dir / "P2.ASC", "--channels", "2", "--samples", "16", "--interval", "250", "-o",
               dir / "p.su"});
  ASSERT_EQ(r.status, 0) << r.err;
  const auto p = ReadBytes(dir / "p.su");
  EXPECT_EQ(p, ReadBytes(dir / "p.panel.su"));
  ASSERT_EQ(p.size(), 4u * (240 + 64));
  EXPECT_EQ(Word16(p, 116), 250);

  // Ambrogeo: the rate asked for, its default line 11 for 12 channels.
  WriteAmbrogeo(dir / "A1.DTA", 6, 1);
  WriteAmbrogeo(dir / "A2.DTA", 6, 2);
  RunScript("open MainPanel\nclick Option19\nuse Ambrogeo\nanswer dialog \"" + dir.Str() +
            " A1.DTA A2.DTA\"\nclick Command5\nset Text2 " + (dir / "a.panel.su") + "\nclick Command1\n");
  r = Convert({"ambrogeo", dir / "A1.DTA", dir / "A2.DTA", "-o", dir / "a.su"});
  ASSERT_EQ(r.status, 0) << r.err;
  const auto a = ReadBytes(dir / "a.su");
  EXPECT_EQ(a, ReadBytes(dir / "a.panel.su"));
  ASSERT_EQ(a.size(), 24u * (240 + 24));
  EXPECT_EQ(Word16(a, 116), 250);
  // The prompt's answer as an option.
  RunScript("open MainPanel\nclick Option19\nuse Ambrogeo\nanswer dialog " + (dir / "A1.DTA") +
            "\nanswer prompt 1000\nclick Command5\nset Text2 " + (dir / "a1.panel.su") + "\nclick Command1\n");
  r = Convert({"ambrogeo", dir / "A1.DTA", "--interval", "1000", "-o", dir / "a1.su"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(ReadBytes(dir / "a1.su"), ReadBytes(dir / "a1.panel.su"));
  EXPECT_EQ(Word16(ReadBytes(dir / "a1.su"), 116), 1000);
}

// An EKKO line: traces of a 128-byte header and `points` int16 samples,
// with the header text beside it.
void WriteDt1(const TempDir& dir, const std::string& name, int traces, int points) {
  std::vector<uint8_t> bytes;
  for (int t = 1; t <= traces; ++t) {
    uint8_t header[128] = {};
    PutLEFloat(header + 0, static_cast<float>(t));
    PutLEFloat(header + 8, static_cast<float>(points));
    bytes.insert(bytes.end(), header, header + 128);
    for (int k = 1; k <= points; ++k) {
      uint8_t b[2];
      PutLE16(b, static_cast<int16_t>(t * 100 - k));
      bytes.insert(bytes.end(), b, b + 2);
    }
  }
  test::WriteBytes(dir / (name + ".DT1"), bytes);
  test::WriteText(dir / (name + ".HD"), "NUMBER OF TRACES   = " + std::to_string(traces) +
                                            " \r\r\nNUMBER OF PTS/TRC  = " + std::to_string(points) +
                                            " \r\r\nTIMEZERO AT POINT  = 2 \r\r\nTOTAL TIME WINDOW  = " +
                                            std::to_string(points / 2) +
                                            " \r\r\nSTARTING POSITION  = 0 \r\r\nFINAL POSITION     = 2 \r\r\n");
}

// Rows of comma-separated values: sample s of each trace on row s.
void WriteColumns(const std::string& path, int traces, int samples) {
  std::string text;
  for (int s = 0; s < samples; ++s) {
    for (int t = 0; t < traces; ++t) text += std::to_string(t * 1000 - s) + (t + 1 < traces ? "," : "\r\n");
  }
  test::WriteText(path, text);
}

// A direct-read DZT file: samples per scan at byte 4, bits at byte 6, the
// traces behind 1024 bytes.
void WriteDzt(const std::string& path, int samplesPerScan, int bits, int traces) {
  std::vector<uint8_t> bytes(1024, 0);
  PutLE16(bytes.data() + 4, static_cast<int16_t>(samplesPerScan));
  PutLE16(bytes.data() + 6, static_cast<int16_t>(bits));
  const int sampleBytes = bits == 16 ? 2 : 1;
  for (int k = 0; k < traces * samplesPerScan * sampleBytes; ++k) bytes.push_back(static_cast<uint8_t>(k * 7));
  test::WriteBytes(path, bytes);
}

// A Dolang shot: one text file for each channel and the info file.
std::vector<std::string> WriteDolang(const TempDir& dir, int channels, int samples) {
  std::vector<std::string> paths = {dir / "shot1.adt"};
  test::WriteText(paths[0], BuildAdtText(channels, 1, samples / 2, samples));
  for (int c = 1; c <= channels; ++c) {
    std::vector<int32_t> values;
    for (int s = 0; s < samples; ++s) values.push_back(c * 100 - s);
    paths.push_back(dir / ("shot1.a0" + std::to_string(c)));
    test::WriteText(paths.back(), BuildChannelText(values));
  }
  return paths;
}

TEST(ConvertRadarRoutes, Dt1AsciiDztDolangWriteThePanelsBytes) {
  TempDir dir;
  // DT1: 5 traces of 20 points, time zero 2 from the .HD, 10 ns window / 20 points.
  WriteDt1(dir, "L1", 5, 20);
  RunScript("open MainPanel\nclick Option17\nuse DT1\nanswer dialog " + (dir / "L1.DT1") +
            "\nclick Command1\nset Text2 " + (dir / "l.panel.su") + "\nclick Command3\n");
  Result r = Convert({"dt1", dir / "L1.DT1", "-o", dir / "l.su"});
  ASSERT_EQ(r.status, 0) << r.err;
  const auto l = ReadBytes(dir / "l.su");
  EXPECT_EQ(l, ReadBytes(dir / "l.panel.su"));
  ASSERT_EQ(l.size(), 5u * (240 + 4 * 18));
  EXPECT_EQ(Word16(l, 116), 500);
  r = Convert({"dt1", dir / "L1.DT1", "--time-zero", "0", "-o", dir / "l0.su"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(ReadBytes(dir / "l0.su").size(), 5u * (240 + 4 * 20));

  // ASCII: 3 columns of 7 rows; the panel counts (21 - 1) / 7 -> 3 traces.
  WriteColumns(dir / "C.TXT", 3, 7);
  RunScript("open MainPanel\nclick Option23\nuse ASCII2SU\nclick Check1\nset Text1 " + (dir / "C.TXT") +
            "\nset Text2 " + (dir / "c.panel.su") + "\nset Text3 7\nset Text5 3\nset Text4 2\nclick Command3\n");
  r = Convert({"ascii", dir / "C.TXT", "--samples", "7", "--interval", "2", "--radar", "-o", dir / "c.su"});
  ASSERT_EQ(r.status, 0) << r.err;
  const auto c = ReadBytes(dir / "c.su");
  EXPECT_EQ(c, ReadBytes(dir / "c.panel.su"));
  ASSERT_EQ(c.size(), 3u * (240 + 28));
  EXPECT_EQ(Word16(c, 32), 95);  // nhs: the mark of a radar trace

  // DZT: 16-bit, 8 samples a scan -> 4 words a trace, 6 traces; the rate typed.
  WriteDzt(dir / "G.DZT", 8, 16, 6);
  RunScript("open MainPanel\nclick Option18\nuse DZT2\nclick Command2\nuse DZT_old\nanswer dialog " +
            (dir / "G.DZT") + "\nclick Command1\nset Text4 3\nset Text2 " + (dir / "g.panel.su") +
            "\nclick Command3\n");
  r = Convert({"dzt", dir / "G.DZT", "--interval", "3", "-o", dir / "g.su"});
  ASSERT_EQ(r.status, 0) << r.err;
  const auto g = ReadBytes(dir / "g.su");
  EXPECT_EQ(g, ReadBytes(dir / "g.panel.su"));
  ASSERT_EQ(g.size(), 6u * (240 + 16));
  EXPECT_EQ(Word16(g, 116), 3);
  // Without a rate the panel would ask: refused, nothing written.
  r = Convert({"dzt", dir / "G.DZT", "-o", dir / "g0.su"});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("--interval"), std::string::npos) << r.err;
  EXPECT_FALSE(fs::exists(dir / "g0.su"));

  // Dolang: 3 channel files of 10 samples, 5 ms -> 500 us.
  const std::vector<std::string> dolang = WriteDolang(dir, 3, 10);
  RunScript("open MainPanel\nclick Option6\nuse DOLANG\nanswer dialog \"" + dir.Str() +
            " shot1.a01 shot1.a02 shot1.a03\"\nanswer dialog " + dolang[0] + "\nclick Command6\nset Text5 " +
            (dir / "d.panel.su") + "\nclick Command1\n");
  r = Convert(Concat({"dolang", "-o", dir / "d.su"}, dolang));
  ASSERT_EQ(r.status, 0) << r.err;
  const auto d = ReadBytes(dir / "d.su");
  EXPECT_EQ(d, ReadBytes(dir / "d.panel.su"));
  ASSERT_EQ(d.size(), 3u * (240 + 40));
  EXPECT_EQ(Word16(d, 116), 500);
  // The info file left out: named, nothing written.
  r = Convert({"dolang", dolang[1], dolang[2], dolang[3], "-o", dir / "d2.su"});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("one info file (.ADT)"), std::string::npos) << r.err;
  EXPECT_FALSE(fs::exists(dir / "d2.su"));
}

std::vector<RouteCase> TheseRoutes(const TempDir& dir) {
  std::vector<RouteCase> cases;
  WriteBison(dir / "B1.DAT", 4, 1);
  WriteBison(dir / "B2.DAT", 4, 2);
  cases.push_back({"bison", {dir / "B1.DAT", dir / "B2.DAT"}, {}});
  WritePasi(dir / "P1.ASC", 3, 40, 1);
  cases.push_back({"pasi", {dir / "P1.ASC"}, {"--channels", "3", "--samples", "40"}});
  WriteAmbrogeo(dir / "A1.DTA", 10, 1);
  WriteAmbrogeo(dir / "A2.DTA", 10, 2);
  cases.push_back({"ambrogeo", {dir / "A1.DTA", dir / "A2.DTA"}, {}});
  WriteDt1(dir, "L", 4, 30);
  cases.push_back({"dt1", {dir / "L.DT1"}, {}});
  WriteColumns(dir / "C.TXT", 4, 30);
  cases.push_back({"ascii", {dir / "C.TXT"}, {"--samples", "30", "--traces", "4"}});
  WriteDzt(dir / "G.DZT", 40, 16, 5);
  cases.push_back({"dzt", {dir / "G.DZT"}, {"--interval", "2"}});
  cases.push_back({"dolang", WriteDolang(dir, 3, 40), {}});
  return cases;
}

TEST(ConvertSeismicRadarRoutes, EachChecksItsInputsAndKeepsItsOutput) {
  TempDir dir;
  for (const RouteCase& c : TheseRoutes(dir)) test::ExpectRouteKeepsItsOutput(dir, c);
}

}  // namespace
}  // namespace vexmor
