// rtoaw: the DZT header reader, the column text for the ASCII importer, and
// the program itself.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <thread>

#include "core/text_reader.h"
#include "dzt_text.h"
#include "platform/headless_platform.h"
#include "platform/jobs.h"
#include "test_util.h"
#include "tools_helpers.h"

namespace vexmor {
namespace {

using test::TempDir;

const std::string kBin = VEXMOR_BIN_DIR;
const std::string kSample = std::string(VEXMOR_SHARED_SAMPLES) + "/radar/FILE____032.DZT";

using test::ToolRun;

ToolRun RunTool(const TempDir& dir, const std::string& command) { return test::RunHeadless(dir.Str(), command); }

// All values of a text as the ASCII importer reads them, one after the other.
std::vector<double> ImporterValues(const std::string& path) {
  ValueReader reader = ValueReader::FromFile(path);
  std::vector<double> values;
  std::string field;
  while (reader.Next(field)) values.push_back(std::stod(field));
  return values;
}

DztHeader HeaderOf(const std::vector<uint8_t>& bytes, const std::string& name = "t.DZT") {
  return ParseDztHeader(bytes.data(), bytes.size(), static_cast<int64_t>(bytes.size()), name);
}

TEST(DztRealFile, HeaderAndFirstValues) {
  if (!std::filesystem::exists(kSample)) GTEST_SKIP() << "no sample folder";
  const DztHeader h = ReadDztHeader(kSample);
  EXPECT_EQ(h.samplesPerScan, 512);
  EXPECT_EQ(h.bits, 16);
  EXPECT_EQ(h.channels, 1);
  EXPECT_EQ(h.headerBytes, 1024);
  EXPECT_EQ(h.scans, 1040);
  EXPECT_EQ(h.leftoverBytes, 0);
  EXPECT_FLOAT_EQ(h.rangeNs, 48.0f);
  const std::vector<int32_t> raw = ReadDztChannel(kSample, h, 0, false);
  ASSERT_EQ(raw.size(), 1040u * 512u);
  EXPECT_EQ(std::vector<int32_t>(raw.begin(), raw.begin() + 5), (std::vector<int32_t>{0, 25600, 32767, 32767, 32768}));
  EXPECT_EQ(std::vector<int32_t>(raw.begin() + 512, raw.begin() + 515), (std::vector<int32_t>{1, 0, 32768}));
  const std::vector<int32_t> centred = ReadDztChannel(kSample, h, 0, true);
  EXPECT_EQ(centred[1], 25600 - 32768);
}

TEST(DztRealFile, ProgramWritesColumnsTheImporterReads) {
  if (!std::filesystem::exists(kSample)) GTEST_SKIP() << "no sample folder";
  TempDir dir;
  const ToolRun r = RunTool(dir, kBin + "/rtoaw " + kSample + " " + dir / "radar.txt");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("1040 scans of 512 samples"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("Samples per scan: 512"), std::string::npos) << r.out;
  const std::vector<std::string> lines = SplitLines(test::ReadText(dir / "radar.txt"));
  ASSERT_EQ(lines.size(), 512u);
  EXPECT_EQ(lines[0].substr(0, 14), "-32768,-32767,");  // sample 1 of scans 1 and 2
  EXPECT_EQ(lines[1].substr(0, 8), "-7168,-3");
  const std::vector<double> values = ImporterValues(dir / "radar.txt");
  ASSERT_EQ(values.size(), 512u * 1040u);
  // Value (s-1) x T + t is sample s of trace t.
  EXPECT_EQ(values[1 * 1040 + 0], 25600 - 32768);
  EXPECT_EQ(values[0 * 1040 + 1], 1 - 32768);
}

class DztBits : public ::testing::TestWithParam<int> {};

TEST_P(DztBits, ScansComeOutAsColumns) {
  const int bits = GetParam();
  // 3 scans of 4 samples; stored values around the zero of each width.
  const uint32_t zero = bits == 8 ? 128 : bits == 16 ? 32768 : 0;
  std::vector<uint32_t> stored;
  for (uint32_t scan = 0; scan < 3; ++scan) {
    for (uint32_t k = 0; k < 4; ++k) stored.push_back(zero + 10 * scan + k - (bits == 32 ? 5u : 0u));
  }
  TempDir dir;
  test::WriteBytes(dir / "a.DZT", MakeDzt(4, bits, 1, stored));
  const DztToTextResult r = DztToText(dir / "a.DZT", "", {});
  ASSERT_EQ(r.outputs, std::vector<std::string>{dir / "a.TXT"});
  EXPECT_EQ(r.header.scans, 3);
  const std::string expected32 = "-5,5,15\r\n-4,6,16\r\n-3,7,17\r\n-2,8,18\r\n";
  const std::string expected = "0,10,20\r\n1,11,21\r\n2,12,22\r\n3,13,23\r\n";
  EXPECT_EQ(test::ReadText(dir / "a.TXT"), bits == 32 ? expected32 : expected);

  DztToTextOptions raw;
  raw.centre = false;
  DztToText(dir / "a.DZT", dir / "raw.txt", raw);
  EXPECT_EQ(ImporterValues(dir / "raw.txt")[0], static_cast<double>(static_cast<int32_t>(stored[0])));
}

INSTANTIATE_TEST_SUITE_P(Widths, DztBits, ::testing::Values(8, 16, 32));

TEST(DztLayout, HeaderSizeFromTheDataFieldAndChannels) {
  // A data field below 1024 counts blocks of 1024 bytes.
  std::vector<uint8_t> bytes = MakeDzt(2, 16, 1, {}, 2);
  bytes.resize(2048, 0);
  for (int k = 0; k < 4; ++k) bytes.push_back(uint8_t(k));
  EXPECT_EQ(HeaderOf(bytes).headerBytes, 2048);
  EXPECT_EQ(HeaderOf(bytes).scans, 1);
  // Otherwise one block for each channel.
  EXPECT_EQ(HeaderOf(MakeDzt(2, 8, 3, {1, 2, 3, 4, 5, 6})).headerBytes, 3072);
}

TEST(DztLayout, SeveralChannelsGiveOneTextEach) {
  TempDir dir;
  // 2 channels, 2 samples, 2 scans: scan 1 = ch1 {1,2} ch2 {3,4}; scan 2 = ch1 {5,6} ch2 {7,8}.
  test::WriteBytes(dir / "two.dzt", MakeDzt(2, 32, 2, {1, 2, 3, 4, 5, 6, 7, 8}));
  const DztToTextResult all = DztToText(dir / "two.dzt", "", {});
  ASSERT_EQ(all.outputs, (std::vector<std::string>{dir / "two_1.txt", dir / "two_2.txt"}));
  EXPECT_EQ(test::ReadText(dir / "two_1.txt"), "1,5\r\n2,6\r\n");
  EXPECT_EQ(test::ReadText(dir / "two_2.txt"), "3,7\r\n4,8\r\n");
  DztToTextOptions second;
  second.channel = 2;
  DztToText(dir / "two.dzt", dir / "only.txt", second);
  EXPECT_EQ(test::ReadText(dir / "only.txt"), "3,7\r\n4,8\r\n");
  second.channel = 3;
  EXPECT_THROW(DztToText(dir / "two.dzt", dir / "none.txt", second), DztError);
}

TEST(DztLayout, TheTextNeverReplacesTheRadarFile) {
  TempDir dir;
  const std::vector<uint8_t> bytes = MakeDzt(2, 16, 1, {1, 2});
  test::WriteBytes(dir / "misnamed.txt", bytes);  // the text would take the same name
  EXPECT_THROW(DztToText(dir / "misnamed.txt", "", {}), DztError);
  EXPECT_EQ(test::ReadBytes(dir / "misnamed.txt"), bytes);
}

TEST(DztLayout, ACutLastScanIsWrittenPaddedAndSaid) {
  TempDir dir;
  std::vector<uint8_t> bytes = MakeDzt(4, 16, 1, {1, 2, 3, 4, 5, 6});
  test::WriteBytes(dir / "cut.DZT", bytes);
  const DztToTextResult r = DztToText(dir / "cut.DZT", dir / "cut.TXT", {});
  EXPECT_EQ(r.header.scans, 1);
  EXPECT_EQ(r.header.leftoverBytes, 4);
  EXPECT_EQ(r.columns, 2);
  EXPECT_TRUE(r.damaged);
  ASSERT_EQ(r.notes.size(), 1u);
  EXPECT_EQ(r.notes[0], "Scan 2 is cut short (4 of 8 bytes): written padded with zeros.");
  // Centred 16-bit: a stored 0 is -32768.
  EXPECT_EQ(test::ReadText(dir / "cut.TXT"), "-32767,-32763\r\n-32766,-32762\r\n-32765,-32768\r\n-32764,-32768\r\n");
  // Two channels, the cut scan ends inside the first: the second is all padding.
  test::WriteBytes(dir / "two.DZT", MakeDzt(2, 8, 2, {1, 2, 3, 4, 5}));
  const DztToTextResult two = DztToText(dir / "two.DZT", "", {.channel = 0, .centre = false});
  EXPECT_EQ(test::ReadText(dir / "two_1.TXT"), "1,5\r\n2,0\r\n");
  EXPECT_EQ(test::ReadText(dir / "two_2.TXT"), "3,0\r\n4,0\r\n");
}

TEST(DztRobustness, BrokenFilesAreRefusedWithTheirName) {
  std::vector<uint8_t> bytes = MakeDzt(4, 16, 1, {1, 2, 3, 4});
  EXPECT_THROW(HeaderOf(std::vector<uint8_t>(bytes.begin(), bytes.begin() + 1000)), DztError);  // header cut
  std::vector<uint8_t> noScan(bytes.begin(), bytes.begin() + 1030);
  EXPECT_THROW(HeaderOf(noScan), DztError);
  bytes[6] = 12;  // 12 bits
  try {
    HeaderOf(bytes, "odd.DZT");
    ADD_FAILURE() << "12-bit file read";
  } catch (const DztError& e) {
    EXPECT_EQ(std::string(e.what()).rfind("odd.DZT: ", 0), 0u) << e.what();
  }
  std::mt19937 random(3);
  for (int round = 0; round < 2000; ++round) {
    std::vector<uint8_t> noise(1024 + random() % 2048);
    for (uint8_t& b : noise) b = static_cast<uint8_t>(random());
    if (round % 2 == 0) noise[6] = 16, noise[7] = 0;  // get past the first check
    try {
      const DztHeader h = HeaderOf(noise);
      EXPECT_GT(h.scans, 0);
      EXPECT_LE(h.headerBytes + h.scans * h.ScanBytes(), static_cast<int64_t>(noise.size()));
    } catch (const DztError&) {
    }
  }
}

TEST(RtoawProgram, MessagesAndExitStatus) {
  TempDir dir;
  test::WriteText(dir / "text.DZT", std::string(2000, 'a'));
  ToolRun r = RunTool(dir, kBin + "/rtoaw " + dir / "text.DZT");
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("text.DZT: not a DZT file"), std::string::npos) << r.err;
  r = RunTool(dir, kBin + "/rtoaw " + dir / "missing.DZT");
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("missing.DZT"), std::string::npos) << r.err;
  r = RunTool(dir, kBin + "/rtoaw");
  EXPECT_EQ(r.status, 2);
  EXPECT_NE(r.err.find("usage: rtoaw"), std::string::npos);
  test::WriteBytes(dir / "ok.DZT", MakeDzt(2, 8, 1, {130, 126}));
  r = RunTool(dir, kBin + "/rtoaw " + dir / "ok.DZT");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(test::ReadText(dir / "ok.TXT"), "2\r\n-2\r\n");
  EXPECT_NE(r.out.find("Samples per scan: 2."), std::string::npos);
  // Damaged input: everything written, said, and the status says so.
  test::WriteBytes(dir / "cut.DZT", MakeDzt(2, 8, 1, {130, 126, 129}));
  r = RunTool(dir, kBin + "/rtoaw " + dir / "cut.DZT");
  EXPECT_EQ(r.status, 1) << r.err;
  EXPECT_EQ(test::ReadText(dir / "cut.TXT"), "2,1\r\n-2,-128\r\n");
  EXPECT_NE(r.out.find("of 2 columns (scans)"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("Scan 2 is cut short (1 of 2 bytes): written padded with zeros."), std::string::npos) << r.out;
  // A channel number is the whole word, in range: "1x" and 2^32 + 1 are
  // refused, not read as 1.
  for (const std::string bad : {"1x", "4294967297", "0"}) {
    r = RunTool(dir, kBin + "/rtoaw -c " + bad + " " + dir / "ok.DZT");
    EXPECT_EQ(r.status, 2) << bad;
    EXPECT_NE(r.err.find("-c takes a channel number from 1 to 65535, not '" + bad + "'"), std::string::npos) << r.err;
  }
}

// The window, where it is built: file in, Convert pressed, final message.
TEST(RtoawProgram, WindowConvertsAndEndsWithItsMessage) {
  TempDir dir;
  if (RunTool(dir, kBin + "/rtoaw -h").out.find("--screenshot") == std::string::npos) {
    GTEST_SKIP() << "built without the window";
  }
  test::WriteBytes(dir / "a.DZT", MakeDzt(2, 16, 1, {32770, 32766}));
  const ToolRun r = RunTool(dir, "QT_QPA_PLATFORM=offscreen " + kBin + "/rtoaw --screenshot " + dir / "w.png " +
                                     dir / "a.DZT " + dir / "a.txt");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(test::ReadText(dir / "a.txt"), "2\r\n-2\r\n");
  EXPECT_TRUE(std::filesystem::exists(dir / "w-message.png"));
}

// The two-step route starts the program folder's "rtoaw.exe": our rtoaw,
// which with no desktop prints its usage and ends.
TEST(RtoawProgram, TwoStepRouteNameStartsOurProgram) {
  struct Saved {
    std::string name;
    bool had;
    std::string value;
  };
  std::vector<Saved> saved;
  for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
    const char* v = std::getenv(name);
    saved.push_back({name, v != nullptr, v ? v : ""});
    unsetenv(name);
  }
  HeadlessPlatform platform;
  platform.SetProgramFolder(kBin);
  EXPECT_NE(platform.Shell(platform.ProgramFolder() + "/rtoaw.exe", 1), 0);
  const auto start = std::chrono::steady_clock::now();
  while (RunningJobs() > 0 && std::chrono::steady_clock::now() - start < std::chrono::seconds(10)) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    ReapJobs();
  }
  EXPECT_EQ(RunningJobs(), 0) << "rtoaw did not end";
  for (const Saved& s : saved) {
    if (s.had) setenv(s.name.c_str(), s.value.c_str(), 1);
  }
}

}  // namespace
}  // namespace vexmor
