#include "core/su_trace.h"

#include <gtest/gtest.h>

#include <set>

#include "core/binary_file.h"
#include "core/failure.h"
#include "core/shared_state.h"
#include "test_util.h"

namespace vexmor {
namespace {

using test::TempDir;

TEST(SuWordTable, WordsTileTheFirst210BytesInOrder) {
  const auto& words = SuWords();
  int offset = 0;
  std::set<std::string_view> names;
  for (size_t k = 0; k < words.size(); ++k) {
    const SuWord& w = words[k];
    EXPECT_EQ(w.number, static_cast<int>(k) + 1);
    EXPECT_EQ(w.offset, offset) << w.name;
    EXPECT_EQ(w.width, w.type == WordType::Int16 ? 2 : 4) << w.name;
    EXPECT_TRUE(names.insert(w.name).second) << "duplicate " << w.name;
    offset += w.width;
  }
  EXPECT_EQ(offset, 210);
}

TEST(SuWordTable, KnownWordsSitWhereReadersExpectThem) {
  EXPECT_EQ(SuWordNamed("fldr").offset, 8);
  EXPECT_EQ(SuWordNamed("nhs").offset, 32);
  EXPECT_EQ(SuWordNamed("ns").offset, 114);
  EXPECT_EQ(SuWordNamed("dt").offset, 116);
  EXPECT_EQ(SuWordNamed("sstat").offset, 98);
  EXPECT_EQ(SuWordNamed("mute").offset, 112);
  EXPECT_EQ(SuWordNamed("ntr").type, WordType::Int32);
  EXPECT_EQ(SuWordNamed("d1").type, WordType::Float32);
  EXPECT_EQ(FindSuWord("shortpad"), nullptr);
  EXPECT_EQ(SuWordNamed("delrt").text, "Lag time beteen shot and recording start in milliseconds.");
}

TEST(SuHeader, SetAndGetRoundTripWithRangeChecks) {
  SuHeader h;
  h.Set("ns", 8000);
  h.Set("dt", 250);
  h.Set("tracl", -70000);
  h.Set("d2", 0.25);
  EXPECT_EQ(h.GetInt("ns"), 8000);
  EXPECT_EQ(h.GetInt("tracl"), -70000);
  EXPECT_FLOAT_EQ(static_cast<float>(h.Get("d2")), 0.25f);
  EXPECT_EQ(h.Data()[114], 0x40);  // 8000 = 0x1F40, low byte first
  EXPECT_EQ(h.Data()[115], 0x1F);
  EXPECT_THROW(h.Set("dt", 40000), RunTimeFailure);
  EXPECT_THROW(h.Set("fldr", 3e9), RunTimeFailure);
}

TEST(TraceGeometry, SizesPositionsAndCounts) {
  EXPECT_EQ(TraceSize(1000), 4240);
  EXPECT_EQ(TraceSize(0), 240);
  EXPECT_EQ(TracePosOf(1, 1000), 0);
  EXPECT_EQ(TracePosOf(3, 1000), 8480);
  // A position past 2^31 - 1 is out of range, not a wrapped number.
  EXPECT_THROW(TracePosOf(600000, 1000), RunTimeFailure);
  // 2.5 traces count 2, 3.5 count 4: half to even, not truncated.
  EXPECT_EQ(TraceCountOf(4240 * 5 / 2, 1000), 2);
  EXPECT_EQ(TraceCountOf(4240 * 7 / 2, 1000), 4);
  EXPECT_EQ(TraceCountOf(4240 * 3 - 1000, 1000), 3);
  // A negative ns makes a negative size: no traces, not a failure. A size
  // of 0 is a division by zero.
  EXPECT_EQ(TraceCountOf(4800, -70), -120);
  EXPECT_THROW(TraceCountOf(4800, -60), RunTimeFailure);
}

// Writes an SU file of traces with the given tracf and nhs words.
void WriteSu(const std::string& path, int ns, int dt, const std::vector<int>& tracf,
             const std::vector<int>& nhs = {}) {
  BinaryFile f(path, BinaryFile::Mode::Create);
  for (size_t i = 0; i < tracf.size(); ++i) {
    const int64_t pos = static_cast<int64_t>(240 + 4 * std::max(ns, 0)) * static_cast<int64_t>(i);
    f.WriteI32(pos + 12, tracf[i]);
    f.WriteI16(pos + 32, static_cast<int16_t>(i < nhs.size() ? nhs[i] : 1));
    f.WriteI16(pos + 114, static_cast<int16_t>(ns));
    f.WriteI16(pos + 116, static_cast<int16_t>(dt));
    f.WriteF32(pos + 240 + 4 * std::max(ns, 1) - 4, 1.0f);
  }
}

std::vector<int> Runs(int first, int last, int traces) {
  std::vector<int> v;
  for (int i = 0; (int)v.size() < traces; ++i) v.push_back(first + i % (last - first + 1));
  return v;
}

int16_t ChannelsOf(const std::vector<int>& tracf, const std::vector<int>& nhs = {}) {
  TempDir dir;
  const std::string path = dir / "a.su";
  WriteSu(path, 10, 1000, tracf, nhs);
  SharedState s;
  s.NbSamples = 10;
  int16_t channels = -1;
  CountChannels(path, static_cast<int32_t>(tracf.size()), channels, s);
  return channels;
}

TEST(CountChannels, FollowsTheRunOfTracf) {
  EXPECT_EQ(ChannelsOf(Runs(1, 24, 96)), 24);
  EXPECT_EQ(ChannelsOf(Runs(0, 23, 96)), 23);
  EXPECT_EQ(ChannelsOf(Runs(1, 4, 40)), 0);   // trace 5 equals the first
  EXPECT_EQ(ChannelsOf(Runs(1, 5, 40)), 0);   // 5 is below 6
  EXPECT_EQ(ChannelsOf(Runs(1, 6, 40)), 6);
  EXPECT_EQ(ChannelsOf(std::vector<int>(40, 7)), 0);
  EXPECT_EQ(ChannelsOf(std::vector<int>(40, -3)), 0);
}

TEST(CountChannels, OneTraceAndLongRisingRuns) {
  // One trace: the nhs scan looks at none, the tracf scan at one: 12 stands.
  EXPECT_EQ(ChannelsOf({12}), 12);
  EXPECT_EQ(ChannelsOf({3}), 0);
  // 150 traces bound the scan, not the answer.
  EXPECT_EQ(ChannelsOf(Runs(1000, 2000, 300)), 1149);
}

TEST(CountChannels, StackedDataHasNoChannelCount) {
  std::vector<int> nhs(96, 1);
  nhs[20] = 2;  // inside the first quarter
  EXPECT_EQ(ChannelsOf(Runs(1, 24, 96), nhs), 0);
  std::vector<int> late(96, 1);
  late[60] = 2;  // past the first quarter: not looked at
  EXPECT_EQ(ChannelsOf(Runs(1, 24, 96), late), 24);
  // 10 traces: a quarter is 2.5, which rounds to 2, so trace 3 is not looked at.
  std::vector<int> third(10, 1), second(10, 1);
  third[2] = 2;
  second[1] = 2;
  EXPECT_EQ(ChannelsOf(Runs(1, 6, 10), third), 6);
  EXPECT_EQ(ChannelsOf(Runs(1, 6, 10), second), 0);
}

TEST(CountChannels, TracfThatDoesNotFitSixteenBitsKeepsThePreviousValue) {
  std::vector<int> tracf = Runs(1, 8, 32);
  tracf[3] = 100000;  // passed over: t stays 3
  EXPECT_EQ(ChannelsOf(tracf), 8);
}

TEST(CountChannels, UnreadableFileGivesZero) {
  SharedState s;
  s.NbSamples = 10;
  int16_t channels = 5;
  CountChannels("/nonexistent/x.su", 10, channels, s);
  EXPECT_EQ(channels, 0);
}

TEST(ReadSuSizes, DefaultsAndSignedWords) {
  TempDir dir;
  SharedState s;
  WriteSu(dir / "zero.su", 0, 0, {1, 2});
  ReadSuSizes(dir / "zero.su", s);
  EXPECT_EQ(s.NbSamples, 1024);
  EXPECT_EQ(s.SampleInterval, 1);

  WriteSu(dir / "big.su", 32767, -1, {1});
  ReadSuSizes(dir / "big.su", s);
  EXPECT_EQ(s.NbSamples, 32767);
  EXPECT_EQ(s.SampleInterval, -1);

  // ns is read signed: 0x8000 is -32768, not 32768.
  {
    BinaryFile f(dir / "neg.su", BinaryFile::Mode::Create);
    f.WriteI16(114, static_cast<int16_t>(0x8000));
    f.WriteI16(116, 500);
  }
  ReadSuSizes(dir / "neg.su", s);
  EXPECT_EQ(s.NbSamples, -32768);

  s.SampleInterval = 0;
  ReadSuSizes(dir / "missing.su", s);
  EXPECT_EQ(s.NbSamples, 1024);
  EXPECT_EQ(s.SampleInterval, 1);
  s.SampleInterval = 250;
  ReadSuSizes(dir / "missing.su", s);
  EXPECT_EQ(s.SampleInterval, 250);
}

TEST(ScanSuGeometry, WholeGeometryAndItsOwnDefaults) {
  TempDir dir;
  SharedState s;
  WriteSu(dir / "a.su", 100, 0, Runs(1, 12, 48));
  ScanSuGeometry(dir / "a.su", s);
  EXPECT_EQ(s.NbSamples, 100);
  EXPECT_EQ(s.SampleInterval, 1000);
  EXPECT_EQ(s.NbTraces, 48);
  EXPECT_EQ(s.NbChannels, 12);

  // ns 0: no default here, a trace of 240 bytes.
  WriteSu(dir / "b.su", 0, 0, {1, 2, 3});
  ScanSuGeometry(dir / "b.su", s);
  EXPECT_EQ(s.NbSamples, 0);
  EXPECT_EQ(TraceSize(s.NbSamples), 240);

  EXPECT_THROW(ScanSuGeometry(dir / "missing.su", s), RunTimeFailure);
}

TEST(SwapBytes16, ExchangesTheTwoBytes) {
  EXPECT_EQ(SwapBytes16(1), 256);
  EXPECT_EQ(SwapBytes16(256), 1);
  EXPECT_EQ(SwapBytes16(255), -256);
  EXPECT_EQ(SwapBytes16(-1), -1);
  EXPECT_EQ(SwapBytes16(-32768), 128);
  EXPECT_EQ(SwapBytes16(0x1234), 0x3412);
}

}  // namespace
}  // namespace vexmor
