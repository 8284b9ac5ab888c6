// vexmor-cli convert: each route gives the bytes its panel gives for the same
// inputs and numbers (the panel driven by a script written here as a user
// would click it), and the frame keeps outputs whole: refused inputs and
// outputs, a failure in the middle and a dry run leave the output as it was.
#include "convert.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "cli_test_util.h"
#include "importers/seismograph/abem_format.h"
#include "importers/seismograph/es1225_format.h"
#include "importers/seismograph/handy_viewer_format.h"
#include "importers/seismograph/oyo_format.h"

namespace vexmor {
namespace {

namespace fs = std::filesystem;
using test::ReadBytes;
using test::TempDir;

void PutLE16(uint8_t* p, int16_t v) {
  p[0] = static_cast<uint8_t>(v);
  p[1] = static_cast<uint8_t>(static_cast<uint16_t>(v) >> 8);
}
void PutLE32(uint8_t* p, uint32_t v) {
  for (int k = 0; k < 4; ++k) p[k] = static_cast<uint8_t>(v >> (8 * k));
}
void PutF32LE(uint8_t* p, float f) { PutLE32(p, std::bit_cast<uint32_t>(f)); }
float GetF32LE(const uint8_t* p) {
  uint32_t v = 0;
  for (int k = 3; k >= 0; --k) v = v << 8 | p[k];
  return std::bit_cast<float>(v);
}

using test::Concat;
using test::Convert;
using test::ExpectOnly;
using test::RouteCase;
using test::RunScript;
using Result = test::CliResult;

std::vector<std::vector<int16_t>> Traces16(int channels, int samples, int seed) {
  std::vector<std::vector<int16_t>> traces(static_cast<size_t>(channels));
  for (int c = 0; c < channels; ++c) {
    for (int k = 0; k < samples; ++k) traces[static_cast<size_t>(c)].push_back(static_cast<int16_t>(seed * 100 + c * 10 - k));
  }
  return traces;
}

// Three ABEM records of 4 channels × 8 samples (2048 + 64 bytes each).
std::vector<std::string> WriteAbem(const TempDir& dir, int count = 3) {
  std::vector<std::string> paths;
  for (int k = 1; k <= count; ++k) {
    AbemRecordContent record;
    record.intervalText = "250";
    record.channelsText = "4";
    record.traces = Traces16(4, 8, k);
    paths.push_back(dir / ("S" + std::to_string(k) + ".ABM"));
    test::WriteBytes(paths.back(), BuildAbemRecord(record));
  }
  return paths;
}

TEST(ConvertRoutes, SeismographRoutesWriteThePanelsBytes) {
  TempDir dir;
  const std::vector<std::string> abem = WriteAbem(dir);
  RunScript("open MainPanel\nclick Option5\nuse abem\nanswer dialog \"" + dir.Str() +
            " S1.ABM S2.ABM S3.ABM\"\nclick Command4\nset Text5 500\nset Text2 " + (dir / "panel.su") +
            "\nclick Command1\n");
  Result r = Convert(Concat({"abem", "--interval", "500", "-o", dir / "cli.su"}, abem));
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(ReadBytes(dir / "cli.su"), ReadBytes(dir / "panel.su"));
  // 12 traces of 240 + 4 x 8 bytes, dt 500 at byte 116 of each.
  const auto bytes = ReadBytes(dir / "cli.su");
  ASSERT_EQ(bytes.size(), 12u * 272);
  EXPECT_EQ(bytes[116] | bytes[117] << 8, 500);

  // ES-1225: 12 channels of 100 samples, record length 500 ms.
  for (int k = 1; k <= 2; ++k) {
    std::vector<std::vector<int16_t>> traces = Traces16(12, 100, k);
    test::WriteBytes(dir / ("R" + std::to_string(k) + ".DAT"), BuildEs1225Record(traces, 254));
  }
  RunScript("open MainPanel\nclick Option4\nuse es1225\nanswer dialog \"" + dir.Str() +
            " R1.DAT R2.DAT\"\nclick Command3\nset Text4 100\nchoose Combo1 4\nset Text2 " + (dir / "es.panel.su") +
            "\nclick Command1\n");
  r = Convert({"es1225", dir / "R1.DAT", dir / "R2.DAT", "--samples", "100", "--length", "500", "-o", dir / "es.su"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(ReadBytes(dir / "es.su"), ReadBytes(dir / "es.panel.su"));
  EXPECT_EQ(ReadBytes(dir / "es.su").size(), 24u * (240 + 400));

  // OYO: the channels answered to the panel's question, 16-bit samples.
  for (int k = 1; k <= 2; ++k) {
    OyoRecordContent record;
    record.recordNumber = std::to_string(200 + k);
    record.channels = "6";
    record.samples = "20";
    record.longSamples = false;
    for (int c = 0; c < 6; ++c) record.traces.push_back(std::vector<int32_t>(20, k * 10 + c));
    test::WriteBytes(dir / ("O" + std::to_string(k) + ".ORG"), BuildOyoRecord(record));
  }
  RunScript("open MainPanel\nclick Option10\nuse oyo\nanswer prompt 5\nanswer dialog \"" + dir.Str() +
            " O1.ORG O2.ORG\"\nclick Command3\nclick sinteger\nset Text2 " + (dir / "oyo.panel.su") +
            "\nclick Command1\n");
  r = Convert({"oyo", dir / "O1.ORG", dir / "O2.ORG", "--channels", "5", "--type", "int16", "-o", dir / "oyo.su"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(ReadBytes(dir / "oyo.su"), ReadBytes(dir / "oyo.panel.su"));
  EXPECT_EQ(ReadBytes(dir / "oyo.su").size(), 10u * (240 + 80));
}

TEST(ConvertRoutes, GenericAndMcSeis3WriteThePanelsBytes) {
  TempDir dir;
  // Two records: a 16-byte header, 3 traces of an 8-byte trace header and
  // 10 int16 samples.
  for (int k = 1; k <= 2; ++k) {
    std::vector<uint8_t> bytes(16, 0xEE);
    for (int t = 0; t < 3; ++t) {
      bytes.insert(bytes.end(), 8, 0xAA);
      for (int s = 0; s < 10; ++s) {
        bytes.push_back(static_cast<uint8_t>(k * 16 + t));
        bytes.push_back(static_cast<uint8_t>(s));
      }
    }
    test::WriteBytes(dir / ("G" + std::to_string(k) + ".BIN"), bytes);
  }
  RunScript("open MainPanel\nclick Option7\nuse sisforme\nanswer dialog \"" + dir.Str() +
            " G1.BIN G2.BIN\"\nclick Command5\nset Text3 3\nset Text4 10\nset Text5 125\nset Text7 16\nset Text8 8\n"
            "click Option1\nset Text2 " + (dir / "g.panel.su") + "\nclick Command1\n");
  Result r = Convert({"generic", dir / "G1.BIN", dir / "G2.BIN", "--channels", "3", "--samples", "10", "--interval",
                      "125", "--header", "16", "--trace-header", "8", "--type", "int16", "-o", dir / "g.su"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(ReadBytes(dir / "g.su"), ReadBytes(dir / "g.panel.su"));
  ASSERT_EQ(ReadBytes(dir / "g.su").size(), 6u * 280);
  // Sample 2 of trace 2 of the second file: bytes (2 x 16 + 1, 2), 2 x 256 + 33.
  const auto g = ReadBytes(dir / "g.su");
  EXPECT_EQ(GetF32LE(g.data() + 4 * 280 + 240 + 8), 2 * 256 + 33);

  // McSeis 3: the interval of byte 40 of the second record, 3 x 445 int16
  // samples behind a 64-byte header.
  for (int k = 1; k <= 3; ++k) {
    test::WriteBytes(dir / ("M" + std::to_string(k) + ".DAT"),
                     BuildMcSeis3Record(static_cast<int16_t>(k == 2 ? 100 : 50), Traces16(3, 445, k)));
  }
  RunScript("open MainPanel\nclick Option10\nuse oyo\nclick Command5\nuse HandyViewer\nanswer dialog \"" + dir.Str() +
            " M1.DAT M2.DAT M3.DAT\"\nclick Command5\nshow Text5\nopen MainPanel\nclick Option7\nuse sisforme\n"
            "answer dialog \"" + dir.Str() + " M1.DAT M2.DAT M3.DAT\"\nclick Command5\nset Text3 3\nset Text4 445\n"
            "set Text5 100\nset Text8 0\nset Text7 64\nclick Option1\nset Text2 " + (dir / "m.panel.su") +
            "\nclick Command1\n");
  r = Convert({"mcseis3", dir / "M1.DAT", dir / "M2.DAT", dir / "M3.DAT", "--header", "64", "-o", dir / "m.su"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(ReadBytes(dir / "m.su"), ReadBytes(dir / "m.panel.su"));
  const auto m = ReadBytes(dir / "m.su");
  ASSERT_EQ(m.size(), 9u * (240 + 4 * 445));
  EXPECT_EQ(m[116] | m[117] << 8, 100);

  // Without the header size the layout is unknown: refused, nothing written.
  r = Convert({"mcseis3", dir / "M1.DAT", "-o", dir / "m2.su"});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("--header"), std::string::npos) << r.err;
  EXPECT_FALSE(fs::exists(dir / "m2.su"));
}

TEST(ConvertRoutes, RamacWritesThePanelsBytes) {
  TempDir dir;
  std::vector<uint8_t> rd3;
  for (int t = 0; t < 5; ++t) {
    for (int s = 0; s < 64; ++s) {
      rd3.push_back(static_cast<uint8_t>(t));
      rd3.push_back(static_cast<uint8_t>(s));
    }
  }
  test::WriteBytes(dir / "P.rd3", rd3);
  test::WriteText(dir / "P.rad",
                  "SAMPLES:64\r\nLAST TRACE:5\r\nTIME INTERVAL:0.5\r\nTIMEWINDOW:32\r\nDISTANCE INTERVAL:0.1\r\n");
  RunScript("open MainPanel\nclick Option12\nuse Radar_F\nanswer dialog " + (dir / "P.rd3") +
            "\nclick Command3\nset Text8 4\nset Text5 " + (dir / "p.panel.su") + "\nclick Command1\n");
  Result r = Convert({"ramac", dir / "P.rd3", "--time-zero", "4", "-o", dir / "p.su"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(ReadBytes(dir / "p.su"), ReadBytes(dir / "p.panel.su"));
  EXPECT_EQ(ReadBytes(dir / "p.su").size(), 5u * (240 + 4 * 60));

  // A profile shorter than its header says: 5 traces of 64 samples need 640 bytes.
  rd3.resize(600);
  test::WriteBytes(dir / "P.rd3", rd3);
  r = Convert({"ramac", dir / "P.rd3", "-o", dir / "short.su"});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("P.rd3: 600 bytes, a profile of 5 traces × 64 samples needs at least 640"), std::string::npos)
      << r.err;
  EXPECT_FALSE(fs::exists(dir / "short.su"));
}

void WriteSu(const std::string& path, int traces, int ns) {
  std::vector<uint8_t> bytes;
  for (int t = 1; t <= traces; ++t) {
    std::vector<uint8_t> header(240, 0);
    PutLE32(header.data() + 12, t);        // tracf
    PutLE16(header.data() + 114, static_cast<int16_t>(ns));
    PutLE16(header.data() + 116, 1000);
    bytes.insert(bytes.end(), header.begin(), header.end());
    for (int s = 0; s < ns; ++s) {
      uint8_t f[4];
      PutF32LE(f, static_cast<float>(t) + s * 0.25f);
      bytes.insert(bytes.end(), f, f + 4);
    }
  }
  test::WriteBytes(path, bytes);
}

TEST(ConvertRoutes, SuExportsWriteThePanelsText) {
  TempDir dir;
  WriteSu(dir / "line.su", 4, 5);
  RunScript("open MainPanel\nanswer message 6\nanswer dialog " + (dir / "line.su") +
            "\nanswer prompt 2\nanswer prompt 3\nclick Option24\n");
  Result r = Convert({"su2ascii", dir / "line.su", "--first", "2", "--last", "3", "-o", dir / "cols.txt"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(test::ReadText(dir / "cols.txt"), test::ReadText(dir / "line.txt"));
  EXPECT_FALSE(test::ReadText(dir / "cols.txt").empty());

  // One file for each channel, named along the run: 02..04 give 01..03.
  RunScript("open MainPanel\nanswer dialog " + (dir / "line.su") + "\nanswer prompt 2\nanswer prompt 4\nclick Option8\n");
  r = Convert({"su2ascii-channels", dir / "line.su", "--first", "2", "--last", "4", "-o", dir / "ch."});
  ASSERT_EQ(r.status, 0) << r.err;
  for (const char* ending : {"01", "02", "03"}) {
    EXPECT_EQ(test::ReadText(dir / (std::string("ch.") + ending)), test::ReadText(dir / (std::string("line.") + ending)))
        << ending;
  }
  EXPECT_FALSE(fs::exists(dir / "ch.04"));

  // Without --last, where the panel counts no channel, every trace of the
  // first record (fldr is 0 throughout: all four).
  r = Convert({"su2ascii-channels", dir / "line.su", "-o", dir / "all."});
  ASSERT_EQ(r.status, 0) << r.err;
  for (const char* ending : {"01", "02", "03", "04"}) {
    EXPECT_FALSE(test::ReadText(dir / (std::string("all.") + ending)).empty()) << ending;
  }
  EXPECT_EQ(test::ReadText(dir / "all.02"), test::ReadText(dir / "line.01"));

  // Not a whole number of traces: named, nothing written.
  std::vector<uint8_t> bad = ReadBytes(dir / "line.su");
  bad.resize(bad.size() - 3);
  test::WriteBytes(dir / "bad.su", bad);
  r = Convert({"su2ascii", dir / "bad.su", "-o", dir / "bad.txt"});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("bad.su: 1,037 bytes"), std::string::npos) << r.err;
  EXPECT_FALSE(fs::exists(dir / "bad.txt"));
}

TEST(ConvertSafety, RefusedInputsAndOutputsLeaveTheOutputAsItWas) {
  TempDir dir;
  const std::vector<std::string> abem = WriteAbem(dir);
  test::WriteText(dir / "old.su", "previous output");

  // A missing input is named; nothing is written.
  Result r = Convert({"abem", abem[0], dir / "NOPE.ABM", "-o", dir / "new.su"});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find(dir / "NOPE.ABM" + ": no such file"), std::string::npos) << r.err;
  EXPECT_FALSE(fs::exists(dir / "new.su"));

  // An output that exists is refused without --force...
  r = Convert(Concat({"abem", "-o", dir / "old.su"}, abem));
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("old.su: exists already; --force replaces it"), std::string::npos) << r.err;
  EXPECT_EQ(test::ReadText(dir / "old.su"), "previous output");

  // ...and replaced whole with it (the panel would write over its start).
  r = Convert(Concat({"abem", "--force", "-o", dir / "old.su"}, abem));
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(ReadBytes(dir / "old.su").size(), 12u * 272);

  // A truncated record, the third: its size against what the numbers need.
  test::WriteText(dir / "keep.su", "keep me");
  std::vector<uint8_t> third = ReadBytes(abem[2]);
  third.resize(2100);
  test::WriteBytes(abem[2], third);
  r = Convert(Concat({"abem", "--force", "-o", dir / "keep.su"}, abem));
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("S3.ABM: 2,100 bytes, a record of 4 channels × 8 samples needs at least 2,112"),
            std::string::npos)
      << r.err;
  EXPECT_EQ(test::ReadText(dir / "keep.su"), "keep me");
  // A longer one holds more samples a trace: its traces would be misplaced.
  third.resize(2048 + 4 * 10 * 2);
  test::WriteBytes(abem[2], third);
  r = Convert(Concat({"abem", "--force", "-o", dir / "keep.su"}, abem));
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("S3.ABM: 2,128 bytes, 10 samples a trace where the others have 8"), std::string::npos) << r.err;
  EXPECT_EQ(test::ReadText(dir / "keep.su"), "keep me");

  // A folder and an input that is also the output.
  r = Convert({"abem", dir.Str(), "-o", dir / "x.su"});
  EXPECT_NE(r.err.find("a folder, not a file"), std::string::npos) << r.err;
  r = Convert({"abem", abem[0], "--force", "-o", abem[0]});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("is an input too"), std::string::npos) << r.err;
  ExpectOnly(dir, {"S1.ABM", "S2.ABM", "S3.ABM", "old.su", "keep.su"});
}

// Inputs of each route that convert, and the options they need.
std::vector<RouteCase> EveryRoute(const TempDir& dir) {
  std::vector<RouteCase> cases;
  cases.push_back({"abem", WriteAbem(dir, 2), {}});
  for (int k = 1; k <= 2; ++k) test::WriteBytes(dir / ("E" + std::to_string(k) + ".DAT"), BuildEs1225Record(Traces16(12, 50, k), 100));
  cases.push_back({"es1225", {dir / "E1.DAT", dir / "E2.DAT"}, {"--samples", "50"}});
  OyoRecordContent oyo;
  oyo.channels = "2";
  oyo.samples = "30";
  oyo.traces = {std::vector<int32_t>(30, 7), std::vector<int32_t>(30, -7)};
  test::WriteBytes(dir / "O.ORG", BuildOyoRecord(oyo));
  cases.push_back({"oyo", {dir / "O.ORG"}, {}});
  test::WriteBytes(dir / "G.BIN", std::vector<uint8_t>(100 + 2 * 20 * 4, 3));
  cases.push_back({"generic", {dir / "G.BIN"}, {"--channels", "2", "--samples", "20", "--header", "100"}});
  test::WriteBytes(dir / "M.DAT", BuildMcSeis3Record(50, Traces16(3, 445, 1)));
  cases.push_back({"mcseis3", {dir / "M.DAT"}, {"--header", "64"}});
  test::WriteBytes(dir / "P.rd3", std::vector<uint8_t>(4 * 32 * 2, 1));
  test::WriteText(dir / "P.rad", "SAMPLES:32\r\nLAST TRACE:4\r\nTIME INTERVAL:0.25\r\n");
  cases.push_back({"ramac", {dir / "P.rd3"}, {}});
  WriteSu(dir / "S.su", 3, 10);
  cases.push_back({"su2ascii", {dir / "S.su"}, {}});
  cases.push_back({"su2ascii-channels", {dir / "S.su"}, {"--last", "3"}});
  return cases;
}

TEST(ConvertSafety, EveryRouteChecksItsInputsAndKeepsItsOutput) {
  TempDir dir;
  // Later routes run these checks in their own test files.
  for (const RouteCase& c : EveryRoute(dir)) test::ExpectRouteKeepsItsOutput(dir, c);
}

TEST(ConvertSafety, AFailureInTheMiddleLeavesTheOutputAsItWas) {
  TempDir dir;
  test::WriteBytes(dir / "R1.DAT", BuildEs1225Record(Traces16(12, 1000, 1), 254));
  // Too short for 12 traces of 1000 samples: the panel stops at it with
  // "Wrong file length" once the first record is in the output.
  test::WriteBytes(dir / "R2.DAT", std::vector<uint8_t>(5000, 1));
  test::WriteText(dir / "es.su", "the old line");
  Result r = Convert({"es1225", dir / "R1.DAT", dir / "R2.DAT", "--force", "-o", dir / "es.su"});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("R2.DAT: 5,000 bytes, a record of 12 channels × 1000 samples needs at least 24,625"),
            std::string::npos)
      << r.err;
  // Past the checks, the panel's own failure: named, and nothing left over.
  r = Convert({"es1225", dir / "R1.DAT", dir / "R2.DAT", "--no-check", "--force", "-o", dir / "es.su"});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find(dir / "es.su" + ": not written: the conversion stopped: \"Wrong file length\""),
            std::string::npos)
      << r.err;
  EXPECT_EQ(test::ReadText(dir / "es.su"), "the old line");
  ExpectOnly(dir, {"R1.DAT", "R2.DAT", "es.su"});
}

TEST(ConvertSafety, DryRunAndJsonWriteNothing) {
  TempDir dir;
  const std::vector<std::string> abem = WriteAbem(dir);
  Result r = Convert(Concat({"abem", "--dry-run", "-o", dir / "out.su"}, abem));
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("traces 12, samples 8, interval 250 us, output 3,264 bytes"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("Nothing written"), std::string::npos);
  ExpectOnly(dir, {"S1.ABM", "S2.ABM", "S3.ABM"});

  r = Convert(Concat({"abem", "--dry-run", "--json", "-o", dir / "out.su"}, abem));
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out.rfind("{\"ok\":true,\"dry_run\":true,\"route\":\"abem\",\"outputs\":[{\"output\":", 0), 0u) << r.out;
  EXPECT_NE(r.out.find("\"traces\":12,\"samples\":8,\"interval\":250,\"interval_unit\":\"us\",\"output_bytes\":3264"),
            std::string::npos)
      << r.out;
  ExpectOnly(dir, {"S1.ABM", "S2.ABM", "S3.ABM"});

  r = Convert(Concat({"abem", "--json", "-o", dir / "out.su"}, abem));
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("\"written\":true,\"error\":\"\""), std::string::npos) << r.out;

  // An interval that dt, a whole number, would hold as 0.
  r = Convert(Concat({"abem", "--interval", "0.25", "--force", "-o", dir / "out.su"}, abem));
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("a sample interval of 0.25 us is written to dt as 0; give a whole number of microseconds"), std::string::npos) << r.err;
}

// The printed script names the files a user has, never the work folder of
// the run, and does the same conversion when it is run.
TEST(ConvertSafety, PrintedScriptNamesTheRealFilesAndRunsAgain) {
  TempDir dir;
  const std::vector<std::string> abem = WriteAbem(dir);
  Result r = Convert(Concat({"abem", "--print-script", "-o", dir / "out.su"}, abem));
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out.find(".vexmor-convert-"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find(dir / "out.su"), std::string::npos) << r.out;
  const std::vector<uint8_t> first = ReadBytes(dir / "out.su");
  fs::rename(dir / "out.su", dir / "first.su");
  RunScript(r.out);
  EXPECT_EQ(ReadBytes(dir / "out.su"), first);

  // The export reads its input through a link in the work folder: the script
  // names the input itself.
  WriteSu(dir / "line.su", 4, 5);
  r = Convert({"su2ascii", dir / "line.su", "--print-script", "-o", dir / "cols.txt"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out.find(".vexmor-convert-"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("answer dialog " + (dir / "line.su")), std::string::npos) << r.out;
}

TEST(ConvertSafety, ManyInputsFromAListOneOutputEach) {
  TempDir dir;
  const std::vector<std::string> abem = WriteAbem(dir, 120);
  fs::create_directory(dir / "out");
  std::string list;
  for (const std::string& path : abem) list += path + "\n";
  test::WriteText(dir / "list.txt", list + "\n");

  // 120 records do not fit one output of the panel's 99.
  Result r = Convert({"abem", "--from-list", dir / "list.txt", "-o", dir / "all.su"});
  EXPECT_EQ(r.status, 2);
  EXPECT_NE(r.err.find("at most 99"), std::string::npos) << r.err;

  r = Convert({"abem", "--from-list", dir / "list.txt", "--output-dir", dir / "out"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(std::distance(fs::directory_iterator(dir / "out"), fs::directory_iterator()), 120);
  // Two records of one name would make one output: refused before any is written.
  fs::create_directory(dir / "b");
  fs::copy_file(abem[0], dir / "b/S1.ABM");
  fs::create_directory(dir / "out2");
  r = Convert({"abem", abem[0], abem[1], dir / "b/S1.ABM", "--output-dir", dir / "out2"});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("S1.su: made from both"), std::string::npos) << r.err;
  EXPECT_TRUE(fs::is_empty(dir / "out2"));

  // Each is the one-record conversion of its input.
  r = Convert({"abem", abem[41], "-o", dir / "one.su"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(ReadBytes(dir / "out/S42.su"), ReadBytes(dir / "one.su"));
}

TEST(ConvertUsage, HelpAndUsageErrors) {
  Result r = Convert({"--help"});
  EXPECT_EQ(r.status, 0);
  for (const cli::Route& route : cli::Routes()) EXPECT_NE(r.out.find("  " + std::string(route.name) + " "), std::string::npos);
  r = Convert({"abem", "--help"});
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("--interval VALUE"), std::string::npos) << r.out;
  EXPECT_EQ(Convert({"nosuch", "a", "-o", "b"}).status, 2);
  EXPECT_EQ(Convert({"abem", "--bogus", "a", "-o", "b"}).status, 2);
  EXPECT_EQ(Convert({"abem", "a"}).status, 2);
  EXPECT_EQ(Convert({"abem", "-o", "b"}).status, 2);
}

TEST(ConvertProgram, NoProgressWhenStandardErrorIsNoTerminal) {
  TempDir dir;
  const std::vector<std::string> abem = WriteAbem(dir);
  const std::string command = std::string(VEXMOR_BIN_DIR) + "/vexmor-cli convert abem " + abem[0] + " " + abem[1] +
                              " -o " + (dir / "o.su") + " > " + (dir / "out.txt") + " 2> " + (dir / "err.txt");
  ASSERT_EQ(std::system(command.c_str()), 0);
  EXPECT_EQ(test::ReadText(dir / "err.txt"), "");
  EXPECT_NE(test::ReadText(dir / "out.txt").find("o.su: 8 traces written"), std::string::npos);
  const std::string again = std::string(VEXMOR_BIN_DIR) + "/vexmor-cli convert abem " + abem[0] + " -o " +
                            (dir / "o.su") + " 2> " + (dir / "err.txt");
  EXPECT_NE(std::system(again.c_str()), 0);
  EXPECT_NE(test::ReadText(dir / "err.txt").find("exists already"), std::string::npos);
}

}  // namespace
}  // namespace vexmor
