// segdread against the real SEG-D record beside the project and against
// small records written here in each sample format.
#include <gtest/gtest.h>

#include <cmath>
#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "core/byte_order.h"
#include "core/paths.h"
#include "core/su_trace.h"
#include "test_util.h"
#include "tools_helpers.h"

namespace vexmor::test {
namespace {

const std::string kSegdFolder = std::string(VEXMOR_SHARED_SAMPLES) + "/segd";

TEST(ToolsSegdRead, RealRecordGivesTheReferenceSu) {
  const std::string segd = kSegdFolder + "/demo-8058.segd";
  const std::string expected = kSegdFolder + "/demo-8058.expected.su";
  if (FileExists(segd) == 0 || FileExists(expected) == 0) GTEST_SKIP() << "no SEG-D sample here";
  TempDir dir;
  // The line of the SEG-D job, run by the batch runner.
  const ToolRun run =
      RunBat(dir.Str(), std::string(VEXMOR_BIN_DIR) + "/SEGDREAD tape=" + segd + " >" + dir / "OUT.SU" + "\r\n");
  ASSERT_EQ(run.status, 0) << run.err;
  const auto ours = ReadSu(dir / "OUT.SU");
  const auto reference = ReadSu(expected);
  ASSERT_EQ(ours.size(), 84u);
  ASSERT_EQ(reference.size(), 84u);
  for (size_t t = 0; t < ours.size(); ++t) {
    for (const char* word : {"fldr", "ep", "tracf", "trid", "ns", "dt", "year", "day", "hour", "minute", "sec"}) {
      const SuWord& w = SuWordNamed(word);
      ASSERT_EQ(GetWord(ours[t].header.data(), w), GetWord(reference[t].header.data(), w)) << word << " trace " << t;
    }
    ASSERT_EQ(ours[t].samples, reference[t].samples) << "trace " << t;
  }
  EXPECT_EQ(GetWord(ours[83].header.data(), SuWordNamed("tracf")), 84);
  EXPECT_EQ(GetWord(ours[0].header.data(), SuWordNamed("year")), 2007);

  // Two records one behind the other, as a field tape copied to disk.
  auto twice = ReadBytes(segd);
  const auto once = twice;
  twice.insert(twice.end(), once.begin(), once.end());
  WriteBytes(dir / "two.sgd", twice);
  const ToolRun both = RunIn(dir.Str(), "'" + Bin("segdread") + "' tape=two.sgd > two.su");
  ASSERT_EQ(both.status, 0) << both.err;
  const auto two = ReadBytes(dir / "two.su");
  const auto one = ReadBytes(dir / "OUT.SU");
  ASSERT_EQ(two.size(), 2 * one.size());
  EXPECT_TRUE(std::equal(one.begin(), one.end(), two.begin() + std::ptrdiff_t(one.size())));
  EXPECT_NE(both.err.find("2 record(s), 168 traces"), std::string::npos) << both.err;
}

TEST(ToolsSegdRead, CutAndDamagedRealRecord) {
  const std::string segd = kSegdFolder + "/demo-8058.segd";
  if (FileExists(segd) == 0) GTEST_SKIP() << "no SEG-D sample here";
  TempDir dir;
  const auto bytes = ReadBytes(segd);
  const std::string tool = "'" + Bin("segdread") + "' tape=";
  for (const size_t keep : {size_t(0), size_t(20), size_t(100), size_t(3000), size_t(6000), bytes.size() - 10}) {
    WriteBytes(dir / "cut.sgd", std::vector<uint8_t>(bytes.begin(), bytes.begin() + std::ptrdiff_t(keep)));
    const ToolRun run = RunIn(dir.Str(), tool + "cut.sgd > out.su");
    EXPECT_EQ(run.status, 1) << keep;
    EXPECT_NE(run.err.find("cut.sgd"), std::string::npos) << keep << ": " << run.err;
  }
  // Cut inside the last trace: the whole traces before it are kept, and it
  // too, padded to the record's 2001 samples.
  const auto cut = ReadSu(dir / "out.su");
  ASSERT_EQ(cut.size(), 84u);
  EXPECT_EQ(cut[83].samples.size(), 2001u);
  EXPECT_EQ(cut[83].samples[2000], 0.0f);

  uint32_t seed = 7;
  for (int round = 0; round < 30; ++round) {
    auto damaged = bytes;
    for (int k = 0; k < 40; ++k) {
      seed = seed * 1664525u + 1013904223u;
      const size_t at = (seed >> 8) % 6000;
      seed = seed * 1664525u + 1013904223u;
      damaged[at] = uint8_t(seed >> 24);
    }
    WriteBytes(dir / "bad.sgd", damaged);
    const ToolRun run = RunIn(dir.Str(), tool + "bad.sgd > out.su");
    EXPECT_LE(run.status, 1) << run.err;
    if (run.status != 0) {
      EXPECT_NE(run.err.find("bad.sgd"), std::string::npos) << run.err;
    }
  }
}

// A SEG-D rev 1 record of one seismic channel set (and one auxiliary
// channel) with samples in the given format.
std::vector<uint8_t> MakeSegd(int format, const std::vector<uint8_t>& samples, int ns, int channels) {
  std::vector<uint8_t> f(32 * 2 + 32 * 2, 0);
  auto bcd = [](int v) { return uint8_t((v / 10) << 4 | (v % 10)); };
  f[0] = 0x12;  // file 1234
  f[1] = 0x34;
  f[2] = bcd(format / 100);
  f[3] = bcd(format % 100);
  f[10] = 0x24;          // 2024
  f[11] = 0x10 | 0x01;   // one more general header; day 1xx
  f[12] = 0x23;          // day 123
  f[13] = 0x08;
  f[14] = 0x30;
  f[15] = 0x59;
  f[22] = 8;             // 0.5 ms
  f[27] = 1;             // scan types
  f[28] = 2;             // channel sets
  f[32 + 10] = 1;        // rev 1.0
  f[32 + 18] = 2;
  for (int set = 0; set < 2; ++set) {
    uint8_t* csd = f.data() + 64 + 32 * set;
    csd[0] = 1;
    csd[1] = uint8_t(set + 1);
    PutBE16u(csd + 4, uint16_t(ns / 4));  // end time in 2 ms units
    csd[8] = 0;
    csd[9] = set == 0 ? 1 : bcd(channels);
    csd[10] = set == 0 ? 0x90 : 0x10;
  }
  for (int set = 0; set < 2; ++set) {
    const int count = set == 0 ? 1 : channels;
    for (int c = 1; c <= count; ++c) {
      std::vector<uint8_t> th(20 + 32, 0);
      th[0] = 0x12;
      th[1] = 0x34;
      th[2] = 1;
      th[3] = uint8_t(set + 1);
      th[5] = bcd(c);
      th[9] = 1;
      th[20 + 7] = 0;  // no sample count: taken from the channel set's times
      f.insert(f.end(), th.begin(), th.end());
      f.insert(f.end(), samples.begin(), samples.end());
    }
  }
  return f;
}

TEST(ToolsSegdRead, EverySampleFormat) {
  TempDir dir;
  constexpr int kNs = 17;  // 8 ms at 0.5 ms, and the first sample
  struct Case {
    int format;
    std::vector<uint8_t> bytes;
    std::vector<float> values;
  };
  std::vector<Case> cases;
  auto repeat = [](std::vector<uint8_t> unit, size_t times) {
    std::vector<uint8_t> out;
    for (size_t i = 0; i < times; ++i) out.insert(out.end(), unit.begin(), unit.end());
    return out;
  };
  // The word layouts of the SEG-D standard. 8015: exponents 0,1 | 15,3 and
  // one's complement mantissas 0x4000, -1 (0xFFFE), 0x7fff, -0x7fff (x 2^(e-15)).
  cases.push_back({8015, repeat({0x01, 0xF3, 0x40, 0x00, 0xFF, 0xFE, 0x7F, 0xFF, 0x80, 0x00}, 5),
                   {0.5f, -1.0f / 16384, 32767.0f, -32767.0f / 4096}});
  // 8022: S CCC QQQQ, one's complement: 0 001 1000 = 0.5 x 4; 1 010 0111 =
  // -0.5 x 16; 1 010 1111 is a negative zero; 1 010 1000 = -7/16 x 16.
  cases.push_back({8022, repeat({0x18, 0xA7, 0xAF, 0xA8}, 5), {2.0f, -8.0f, 0.0f, -7.0f}});
  // 8024: S CCC Q x 12, one's complement: 0 011 0100 0000 0000 = 0.25 x 64;
  // 1 100 0111 1111 1111 = -0.5 x 256; 1 100 1000 0000 0000 = -2047/4096 x 256.
  cases.push_back({8024, repeat({0x34, 0x00, 0xC7, 0xFF, 0xC8, 0x00}, 6), {16.0f, -128.0f, -127.9375f}});
  // 8042: S CC Q x 5, sign and magnitude: 0 01 10000 = 0.5 x 16;
  // 1 10 10000 = -0.5 x 256; 1 10 11000 = -0.75 x 256; 1 00 00000 = 0.
  cases.push_back({8042, repeat({0x30, 0xD0, 0xD8, 0x80}, 5), {8.0f, -128.0f, -192.0f, 0.0f}});
  // 8044: S CC Q x 13, sign and magnitude: 0 01 01000 00000000 = 0.25 x 16;
  // 1 11 10000 00000001 = -4097/8192 x 4096.
  cases.push_back({8044, repeat({0x28, 0x00, 0xF0, 0x01}, 9), {4.0f, -2048.5f}});
  cases.push_back({8036, repeat({0x80, 0x00, 0x00, 0x00, 0x01, 0x00, 0xFF, 0xFF, 0xFF}, 6), {-8388608.0f, 256.0f, -1.0f}});
  cases.push_back({8038, repeat({0xFF, 0xFF, 0xFF, 0xFE, 0x00, 0x01, 0x00, 0x00}, 9), {-2.0f, 65536.0f}});
  cases.push_back({8048, repeat({0xC2, 0x76, 0xA0, 0x00}, 17), {-118.625f}});
  cases.push_back({8058, repeat({0x3F, 0xC0, 0x00, 0x00}, 17), {1.5f}});
  for (const auto& c : cases) {
    SCOPED_TRACE("format " + std::to_string(c.format));
    const std::map<int, size_t> need = {{8015, 50}, {8022, 17}, {8042, 17}, {8024, 34}, {8044, 34}, {8036, 51}};
    auto bytes = c.bytes;
    bytes.resize(need.count(c.format) ? need.at(c.format) : 68);
    WriteBytes(dir / "rec.sgd", MakeSegd(c.format, bytes, kNs, 3));
    ToolRun run = RunIn(dir.Str(), "'" + Bin("segdread") + "' tape=rec.sgd > out.su");
    ASSERT_EQ(run.status, 0) << run.err;
    auto su = ReadSu(dir / "out.su");
    ASSERT_EQ(su.size(), 3u);
    for (size_t t = 0; t < su.size(); ++t) {
      const auto* h = su[t].header.data();
      EXPECT_EQ(GetWord(h, SuWordNamed("fldr")), 1234);
      EXPECT_EQ(GetWord(h, SuWordNamed("tracf")), double(t + 1));
      EXPECT_EQ(GetWord(h, SuWordNamed("dt")), 500);
      EXPECT_EQ(GetWord(h, SuWordNamed("day")), 123);
      EXPECT_EQ(GetWord(h, SuWordNamed("year")), 2024);
      EXPECT_EQ(GetWord(h, SuWordNamed("sec")), 59);
      ASSERT_EQ(su[t].samples.size(), size_t(kNs));
      for (size_t i = 0; i < size_t(kNs); ++i) {
        ASSERT_EQ(su[t].samples[i], c.values[i % c.values.size()]) << "sample " << i;
        ASSERT_FALSE(std::signbit(su[t].samples[i]) && su[t].samples[i] == 0.0f) << "negative zero, sample " << i;
      }
    }
    // aux=1 adds the auxiliary channel, first.
    run = RunIn(dir.Str(), "'" + Bin("segdread") + "' tape=rec.sgd aux=1 > all.su");
    ASSERT_EQ(run.status, 0) << run.err;
    su = ReadSu(dir / "all.su");
    ASSERT_EQ(su.size(), 4u);
    EXPECT_EQ(GetWord(su[0].header.data(), SuWordNamed("trid")), 0);
  }

  // A trace number past 9999: FFFF in the header, the number in the extension.
  auto record = MakeSegd(8058, std::vector<uint8_t>(4 * kNs, 0), kNs, 3);
  const size_t first = 128 + (20 + 32 + 4 * kNs);  // behind the auxiliary trace
  record[first + 4] = 0xFF;
  record[first + 5] = 0xFF;
  record[first + 20 + 21] = 0x01;  // 99999
  record[first + 20 + 22] = 0x86;
  record[first + 20 + 23] = 0x9F;
  WriteBytes(dir / "big.sgd", record);
  const ToolRun run = RunIn(dir.Str(), "'" + Bin("segdread") + "' tape=big.sgd > big.su");
  ASSERT_EQ(run.status, 0) << run.err;
  const auto su = ReadSu(dir / "big.su");
  ASSERT_EQ(su.size(), 3u);
  EXPECT_EQ(GetWord(su[0].header.data(), SuWordNamed("tracf")), 99999);
  EXPECT_EQ(GetWord(su[1].header.data(), SuWordNamed("tracf")), 2);
}

// Float samples of 8058, trace by trace: trace c holds 100 c + i.
std::vector<uint8_t> Float8058(int ns, int c) {
  std::vector<uint8_t> out;
  for (int i = 0; i < ns; ++i) {
    uint8_t word[4];
    PutBE32u(word, FloatBits(float(100 * c + i)));
    out.insert(out.end(), word, word + 4);
  }
  return out;
}

// MakeSegd's record with each seismic trace's own samples (aux gets c = 0).
std::vector<uint8_t> DistinctSegd(int ns, int channels) {
  auto f = MakeSegd(8058, Float8058(ns, 0), ns, channels);
  const size_t trace = 20 + 32 + 4 * size_t(ns);
  for (int c = 1; c <= channels; ++c) {
    const auto samples = Float8058(ns, c);
    std::copy(samples.begin(), samples.end(), f.begin() + std::ptrdiff_t(128 + size_t(c) * trace + 52));
  }
  return f;
}

TEST(ToolsSegdRead, ATraceCutShortIsPaddedToTheLengthOfItsChannelSet) {
  TempDir dir;
  constexpr int kNs = 17;  // the channel set's span is 16 samples, or 17
  const size_t trace = 20 + 32 + 4 * kNs;
  const auto whole = DistinctSegd(kNs, 3);
  const std::string tool = "'" + Bin("segdread") + "' tape=";
  auto samplesOf = [](const SuTrace& t, size_t i) { return t.samples.at(i); };

  // One sample short at the end of the file: 16 samples would fit the span
  // too, but the set's first trace said 17, so the trace is padded.
  WriteBytes(dir / "end.sgd", std::vector<uint8_t>(whole.begin(), whole.end() - 4));
  ToolRun run = RunIn(dir.Str(), tool + "end.sgd > out.su");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("end.sgd: record 1: trace 3 is cut short (64 of 68 sample bytes): padded with zeros"),
            std::string::npos)
      << run.err;
  EXPECT_NE(run.err.find("1 record(s), 3 traces written (1 of them cut short and padded with zeros)"),
            std::string::npos)
      << run.err;
  auto su = ReadSu(dir / "out.su");
  ASSERT_EQ(su.size(), 3u);
  for (const auto& t : su) EXPECT_EQ(GetLE16(t.header.data() + 114), kNs);
  EXPECT_EQ(samplesOf(su[2], 15), 315.0f);
  EXPECT_EQ(samplesOf(su[2], 16), 0.0f);

  // Two samples missing inside the record: the next header comes early,
  // is found there, and the traces behind it are read whole.
  const auto secondEnd = std::ptrdiff_t(128 + 3 * trace);
  std::vector<uint8_t> middle(whole.begin(), whole.begin() + secondEnd - 8);
  middle.insert(middle.end(), whole.begin() + secondEnd, whole.end());
  WriteBytes(dir / "middle.sgd", middle);
  run = RunIn(dir.Str(), tool + "middle.sgd > out.su");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("middle.sgd: record 1: trace 2 is cut short (60 of 68 sample bytes): padded with zeros"),
            std::string::npos)
      << run.err;
  su = ReadSu(dir / "out.su");
  ASSERT_EQ(su.size(), 3u);
  for (const auto& t : su) ASSERT_EQ(t.samples.size(), size_t(kNs));
  EXPECT_EQ(samplesOf(su[1], 14), 214.0f);
  EXPECT_EQ(samplesOf(su[1], 15), 0.0f);
  EXPECT_EQ(samplesOf(su[1], 16), 0.0f);
  for (size_t i = 0; i < size_t(kNs); ++i) EXPECT_EQ(samplesOf(su[2], i), float(300 + i));
  EXPECT_EQ(GetWord(su[2].header.data(), SuWordNamed("tracf")), 3);

  // The file ends between two traces: what came before is written, the
  // missing trace is said.
  WriteBytes(dir / "gone.sgd", std::vector<uint8_t>(whole.begin(), whole.end() - std::ptrdiff_t(trace)));
  run = RunIn(dir.Str(), tool + "gone.sgd > out.su");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("gone.sgd: the file ends in record 1 after 3 of its 4 traces"), std::string::npos) << run.err;
  EXPECT_EQ(ReadSu(dir / "out.su").size(), 2u);

  // The whole record is quiet and ends 0.
  WriteBytes(dir / "whole.sgd", whole);
  run = RunIn(dir.Str(), tool + "whole.sgd > out.su");
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.err.find("cut short"), std::string::npos) << run.err;
}

// Rev 2 traces give their own sample counts in their header extension. A
// channel set's traces all take the count of its first, so that the SU
// stream keeps one ns: a longer trace loses its tail, a shorter one is
// padded, both are said, and the next trace is still found.
TEST(ToolsSegdRead, ExtensionCountsThatDifferWithinASetKeepOneNs) {
  TempDir dir;
  constexpr int kNs = 17;
  const size_t trace = 20 + 32 + 4 * kNs;
  const auto whole = DistinctSegd(kNs, 3);
  std::vector<uint8_t> record(whole.begin(), whole.begin() + std::ptrdiff_t(128 + trace));  // to the aux trace's end
  for (const auto& [c, own] : std::vector<std::pair<int, int>>{{1, kNs}, {2, kNs + 2}, {3, kNs - 2}}) {
    std::vector<uint8_t> head(whole.begin() + std::ptrdiff_t(128 + size_t(c) * trace),
                              whole.begin() + std::ptrdiff_t(128 + size_t(c) * trace + 52));
    head[20 + 9] = uint8_t(own);  // samples per trace, 24 bits from byte 7 of the extension
    record.insert(record.end(), head.begin(), head.end());
    const auto samples = Float8058(own, c);
    record.insert(record.end(), samples.begin(), samples.end());
  }
  WriteBytes(dir / "own.sgd", record);
  const ToolRun run = RunIn(dir.Str(), "'" + Bin("segdread") + "' tape=own.sgd > out.su");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("own.sgd: record 1: trace 2 says 19 samples, the first of its channel set 17: written with "
                         "17, the rest left out"),
            std::string::npos)
      << run.err;
  EXPECT_NE(run.err.find("own.sgd: record 1: trace 3 is cut short (60 of 68 sample bytes): padded with zeros"),
            std::string::npos)
      << run.err;
  const auto su = ReadSu(dir / "out.su");
  ASSERT_EQ(su.size(), 3u);
  for (const auto& t : su) ASSERT_EQ(GetLE16(t.header.data() + 114), kNs);
  for (size_t i = 0; i < size_t(kNs); ++i) {
    EXPECT_EQ(su[0].samples[i], float(100 + i));
    EXPECT_EQ(su[1].samples[i], float(200 + i));
    EXPECT_EQ(su[2].samples[i], i < size_t(kNs - 2) ? float(300 + i) : 0.0f);
  }
  EXPECT_EQ(GetWord(su[2].header.data(), SuWordNamed("tracf")), 3);
}

TEST(ToolsSegdRead, EmptyTraceHeadersCannotClaimMoreZerosThanTheFileHolds) {
  TempDir dir;
  constexpr int kNs = 1005;  // 0 to 502 ms at 0.5 ms
  constexpr int kChannels = 99;
  const size_t trace = 20 + 32 + 4 * kNs;
  const auto full = MakeSegd(8058, Float8058(kNs, 1), kNs, kChannels);
  // The aux trace and seismic trace 1 whole; then 98 headers with no samples.
  std::vector<uint8_t> hostile(full.begin(), full.begin() + std::ptrdiff_t(128 + 2 * trace));
  for (int c = 2; c <= kChannels; ++c) {
    const auto at = full.begin() + std::ptrdiff_t(128 + size_t(c) * trace);
    hostile.insert(hostile.end(), at, at + 52);
  }
  WriteBytes(dir / "hostile.sgd", hostile);
  const ToolRun run = RunIn(dir.Str(), "'" + Bin("segdread") + "' tape=hostile.sgd > out.su");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("hostile.sgd: more traces cut short than the file can hold"), std::string::npos) << run.err;
  // Padding stops once it passes the file's size.
  const auto out = ReadBytes(dir / "out.su");
  EXPECT_LE(out.size(), 2 * (hostile.size() + 2 * (240 + 4 * size_t(kNs))));
  EXPECT_EQ(out.size() % (240 + 4 * size_t(kNs)), 0u);
}

// A SEG-D rev 3 record: three general headers, channel sets of three blocks
// with binary counts, an extended header, one trace header extension.
TEST(ToolsSegdRead, Rev3Record) {
  TempDir dir;
  constexpr int kNs = 5;
  std::vector<uint8_t> f(32 * 3, 0);
  f[0] = 0x00;
  f[1] = 0x42;  // file 42
  f[2] = 0x80;
  f[3] = 0x58;  // 8058
  f[10] = 0x23;         // 2023
  f[11] = 0x20 | 0x03;  // two more general headers; day 3xx
  f[12] = 0x65;         // day 365
  f[13] = 0x12;
  f[14] = 0x34;
  f[15] = 0x56;
  f[27] = 1;    // scan types
  f[28] = 2;    // channel sets
  f[30] = 0xFF; // extended header blocks: in the second general header
  f[32 + 7] = 1;
  f[32 + 10] = 3;  // rev 3.1
  f[32 + 11] = 1;
  for (int set = 0; set < 2; ++set) {
    std::vector<uint8_t> csd(96, 0);
    csd[0] = 1;
    PutBE16u(csd.data() + 1, uint16_t(set + 1));
    csd[3] = set == 0 ? 0x90 : 0x10;  // auxiliary, seismic
    PutBE32u(csd.data() + 12, kNs);
    csd[22] = set == 0 ? 1 : 2;  // channels, 3 bytes
    csd[25] = 0xFA;              // 250 us, 3 bytes
    f.insert(f.end(), csd.begin(), csd.end());
  }
  f.resize(f.size() + 32, 0xEE);  // the extended header
  for (int set = 0; set < 2; ++set) {
    for (int c = 1; c <= (set == 0 ? 1 : 2); ++c) {
      std::vector<uint8_t> th(20 + 32, 0);
      th[2] = 1;
      th[3] = uint8_t(set + 1);
      th[5] = uint8_t(c);
      th[9] = 1;
      f.insert(f.end(), th.begin(), th.end());
      for (int i = 0; i < kNs; ++i) {
        uint8_t word[4];
        PutBE32u(word, FloatBits(float(100 * set + 10 * c + i)));
        f.insert(f.end(), word, word + 4);
      }
    }
  }
  WriteBytes(dir / "rev3.sgd", f);
  const ToolRun run = RunIn(dir.Str(), "'" + Bin("segdread") + "' tape=rev3.sgd > out.su");
  ASSERT_EQ(run.status, 0) << run.err;
  const auto su = ReadSu(dir / "out.su");
  ASSERT_EQ(su.size(), 2u);
  for (size_t t = 0; t < 2; ++t) {
    const auto* h = su[t].header.data();
    EXPECT_EQ(GetWord(h, SuWordNamed("fldr")), 42);
    EXPECT_EQ(GetWord(h, SuWordNamed("tracf")), double(t + 1));
    EXPECT_EQ(GetWord(h, SuWordNamed("trid")), 1);
    EXPECT_EQ(GetWord(h, SuWordNamed("dt")), 250);
    EXPECT_EQ(GetWord(h, SuWordNamed("year")), 2023);
    EXPECT_EQ(GetWord(h, SuWordNamed("day")), 365);
    EXPECT_EQ(GetWord(h, SuWordNamed("minute")), 34);
    ASSERT_EQ(su[t].samples.size(), size_t(kNs));
    for (int i = 0; i < kNs; ++i) EXPECT_EQ(su[t].samples[size_t(i)], float(100 + 10 * (t + 1) + i));
  }
  // Rev 4 does not exist yet: refused, and said.
  f[32 + 10] = 4;
  WriteBytes(dir / "rev4.sgd", f);
  const ToolRun later = RunIn(dir.Str(), "'" + Bin("segdread") + "' tape=rev4.sgd > out.su");
  EXPECT_EQ(later.status, 1);
  EXPECT_NE(later.err.find("rev 4.1"), std::string::npos) << later.err;
}

TEST(ToolsSegdRead, NotSegd) {
  TempDir dir;
  WriteBytes(dir / "empty.sgd", {});
  WriteText(dir / "text.sgd", std::string(5000, 'z'));
  std::vector<uint8_t> multiplexed(4000, 0);
  multiplexed[2] = 0x00;
  multiplexed[3] = 0x15;  // format 0015: multiplexed
  WriteBytes(dir / "mux.sgd", multiplexed);
  // Text whose first bytes happen to read as BCD: still no SEG-D revision.
  std::string notes = "# Vexmor\n\nA desktop converter for near-surface geophysics.\n";
  notes.resize(4000, 'x');
  WriteText(dir / "notes.sgd", notes);
  for (const char* name : {"empty.sgd", "text.sgd", "mux.sgd", "missing.sgd", "notes.sgd"}) {
    const ToolRun run = RunIn(dir.Str(), "'" + Bin("segdread") + "' tape=" + name + " > out.su");
    EXPECT_EQ(run.status, 1) << name;
    EXPECT_NE(run.err.find(name), std::string::npos) << run.err;
    if (std::string(name) == "text.sgd" || std::string(name) == "notes.sgd") {
      EXPECT_NE(run.err.find("not a SEG-D file"), std::string::npos) << run.err;
    }
  }
  // Read whole, so a folder or a device is refused before any buffer is
  // sized for it (a device has no end; the limit was gigabytes).
  std::filesystem::create_directory(dir / "folder.sgd");
  for (const std::string& name : {std::string("folder.sgd"), std::string("/dev/zero")}) {
    const ToolRun run = RunIn(dir.Str(), "'" + Bin("segdread") + "' tape=" + name + " > out.su");
    EXPECT_EQ(run.status, 1) << name;
    EXPECT_NE(run.err.find(name + ": not a plain file"), std::string::npos) << run.err;
  }
}

}  // namespace
}  // namespace vexmor::test
