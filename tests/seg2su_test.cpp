// seg2su: the SEG-2 reader, the SEG-2 to SU word mapping, the conversion of
// a list of files, and the program itself.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <thread>

#include "core/binary_file.h"
#include "core/byte_order.h"
#include "core/su_trace.h"
#include "platform/headless_platform.h"
#include "platform/jobs.h"
#include "formats/seg2.h"
#include "seg2_to_su.h"
#include "test_util.h"
#include "tools_helpers.h"

namespace vexmor {
namespace {

using test::TempDir;

const std::string kBin = VEXMOR_BIN_DIR;
const std::string kSample = std::string(VEXMOR_SHARED_SAMPLES) + "/seg2/329.dat";

using ProgramRun = test::ToolRun;

ProgramRun RunCommand(const TempDir& dir, const std::string& command) { return test::RunHeadless(dir.Str(), command); }

Seg2File ReadBuffer(const std::vector<uint8_t>& bytes, const std::string& name = "test.dat") {
  BinaryFile f = BinaryFile::OverMemory(bytes, name);
  return ReadSeg2(f);
}

// Through the reader's own read, which a trace cut short needs (its
// samples run past the end of the bytes).
std::vector<float> Decode(const std::vector<uint8_t>& bytes, const Seg2File& f, size_t trace) {
  const Seg2Trace& t = f.traces[trace];
  std::vector<float> out(static_cast<size_t>(t.samples));
  BinaryFile source = BinaryFile::OverMemory(bytes, f.name);
  ReadSeg2Trace(source, f, t, out.data());
  return out;
}

// The SU records of a conversion, kept in memory.
struct Collected {
  std::vector<uint8_t> bytes;
  SuRecordWriter Writer() {
    return [this](const uint8_t* p, size_t n) { bytes.insert(bytes.end(), p, p + n); };
  }
};

double Word(const std::vector<uint8_t>& su, int32_t ns, int trace, const char* name) {
  const size_t at = static_cast<size_t>(TraceSize(ns)) * static_cast<size_t>(trace - 1);
  return GetWord(su.data() + at, SuWordNamed(name));
}

float Sample(const std::vector<uint8_t>& su, int32_t ns, int trace, int k) {
  const size_t at = static_cast<size_t>(TraceSize(ns)) * static_cast<size_t>(trace - 1) + 240 + 4 * size_t(k);
  return GetLEFloat(su.data() + at);
}

std::vector<Seg2WriteTrace> ThreeTraces(const std::vector<double>& samples) {
  std::vector<Seg2WriteTrace> traces;
  for (int t = 0; t < 3; ++t) {
    Seg2WriteTrace w;
    for (double v : samples) w.samples.push_back(v * (t + 1));
    w.strings = {"CHANNEL_NUMBER " + std::to_string(t + 1), "SAMPLE_INTERVAL 0.00025"};
    traces.push_back(w);
  }
  return traces;
}

// --- the real record -------------------------------------------------------

TEST(Seg2RealRecord, DescriptorsMatchTheRecord) {
  if (!std::filesystem::exists(kSample)) GTEST_SKIP() << "no sample folder";
  const std::vector<uint8_t> bytes = test::ReadBytes(kSample);
  const Seg2File f = ReadBuffer(bytes, kSample);
  EXPECT_FALSE(f.bigEndian);
  EXPECT_EQ(f.revision, 1);
  ASSERT_EQ(f.traces.size(), 3u);
  for (size_t t = 0; t < 3; ++t) {
    EXPECT_EQ(f.traces[t].samples, 4096);
    EXPECT_EQ(f.traces[t].format, 4);
    ASSERT_NE(f.traces[t].Find("CHANNEL_NUMBER"), nullptr);
    EXPECT_EQ(*f.traces[t].Find("CHANNEL_NUMBER"), std::to_string(t + 1));
    EXPECT_EQ(*f.traces[t].Find("SAMPLE_INTERVAL"), "0.0000625");
  }
  EXPECT_EQ(*f.Find("ACQUISITION_DATE"), "08/May/2007");
  EXPECT_TRUE(f.notes.empty());
}

TEST(Seg2RealRecord, ProgramWritesThreeTracesWithTheirWords) {
  if (!std::filesystem::exists(kSample)) GTEST_SKIP() << "no sample folder";
  TempDir dir;
  const std::string out = dir / "329.su";
  const ProgramRun r = RunCommand(dir, kBin + "/seg2su -o " + out + " " + kSample);
  EXPECT_EQ(r.status, 0) << r.err;
  const std::vector<uint8_t> su = test::ReadBytes(out);
  ASSERT_EQ(su.size(), 3u * static_cast<size_t>(TraceSize(4096)));
  const std::vector<uint8_t> raw = test::ReadBytes(kSample);
  const Seg2File f = ReadBuffer(raw, kSample);
  for (int t = 1; t <= 3; ++t) {
    EXPECT_EQ(Word(su, 4096, t, "tracl"), t);
    EXPECT_EQ(Word(su, 4096, t, "tracf"), t);
    EXPECT_EQ(Word(su, 4096, t, "fldr"), 329);  // SHOT_SEQUENCE_NUMBER
    EXPECT_EQ(Word(su, 4096, t, "ns"), 4096);
    EXPECT_EQ(Word(su, 4096, t, "dt"), 62);  // 62.5 microseconds, rounded half to even
    EXPECT_EQ(Word(su, 4096, t, "nvs"), 2);
    EXPECT_EQ(Word(su, 4096, t, "gx"), t - 1);
    EXPECT_EQ(Word(su, 4096, t, "year"), 2007);
    EXPECT_EQ(Word(su, 4096, t, "day"), 128);
    EXPECT_EQ(Word(su, 4096, t, "hour"), 14);
    const std::vector<float> samples = Decode(raw, f, size_t(t - 1));
    for (int k : {0, 1, 2047, 4095}) EXPECT_EQ(Sample(su, 4096, t, k), samples[size_t(k)]);
  }
  EXPECT_NE(r.err.find("3 traces of 4096 samples"), std::string::npos) << r.err;
}

// --- every sample format, both byte orders, both revisions ------------------

struct Layout {
  int format;
  bool bigEndian;
  int revision;
};

class Seg2Layouts : public ::testing::TestWithParam<Layout> {};

TEST_P(Seg2Layouts, SamplesAndStringsComeBackExactly) {
  const Layout l = GetParam();
  std::vector<double> values = {0, 1, -1, 1234, -4321, 10000, -10000, 7};  // x3 still fits int16
  if (l.format != 1) values.insert(values.end(), {100000, -70000, 123456});
  if (l.format >= 4) values.insert(values.end(), {0.5, -2.25, 1e-3});
  const std::vector<Seg2WriteTrace> traces = ThreeTraces(values);
  const std::vector<uint8_t> bytes =
      MakeSeg2({"ACQUISITION_DATE 01/JAN/2020", "NOTE a test"}, traces, l.format, l.bigEndian, l.revision);
  const Seg2File f = ReadBuffer(bytes);
  EXPECT_EQ(f.bigEndian, l.bigEndian);
  EXPECT_EQ(f.revision, l.revision);
  ASSERT_EQ(f.traces.size(), 3u);
  EXPECT_EQ(*f.Find("ACQUISITION_DATE"), "01/JAN/2020");
  EXPECT_EQ(*f.Find("NOTE"), "a test");
  for (size_t t = 0; t < 3; ++t) {
    EXPECT_EQ(f.traces[t].format, l.format);
    EXPECT_EQ(*f.traces[t].Find("CHANNEL_NUMBER"), std::to_string(t + 1));
    const std::vector<float> got = Decode(bytes, f, t);
    ASSERT_EQ(got.size(), values.size());
    for (size_t k = 0; k < values.size(); ++k) {
      EXPECT_EQ(got[k], static_cast<float>(traces[t].samples[k])) << "trace " << t << " sample " << k;
    }
  }
}

TEST_P(Seg2Layouts, ConversionGivesTheSameFloatsInSu) {
  const Layout l = GetParam();
  const std::vector<double> values = {3, -5, 250, -1000, 0, 17, 19, -23, 29};  // not a multiple of 4
  TempDir dir;
  const std::string path = dir / "a.dat";
  test::WriteBytes(path, MakeSeg2({}, ThreeTraces(values), l.format, l.bigEndian, l.revision));
  Collected su;
  const Seg2SuReport report = ConvertSeg2ToSu({path}, su.Writer());
  EXPECT_EQ(report.filesDone, 1);
  EXPECT_EQ(report.traces, 3);
  ASSERT_EQ(su.bytes.size(), 3u * static_cast<size_t>(TraceSize(9)));
  for (int t = 1; t <= 3; ++t) {
    EXPECT_EQ(Word(su.bytes, 9, t, "dt"), 250);
    for (int k = 0; k < 9; ++k) EXPECT_EQ(Sample(su.bytes, 9, t, k), values[size_t(k)] * t);
  }
}

std::vector<Layout> AllLayouts() {
  std::vector<Layout> all;
  for (int format = 1; format <= 5; ++format) {
    for (bool big : {false, true}) {
      for (int revision : {0, 1}) all.push_back({format, big, revision});
    }
  }
  return all;
}

INSTANTIATE_TEST_SUITE_P(AllFormats, Seg2Layouts, ::testing::ValuesIn(AllLayouts()),
                         [](const ::testing::TestParamInfo<Layout>& info) {
                           return "format" + std::to_string(info.param.format) +
                                  (info.param.bigEndian ? "_big" : "_little") + "_rev" +
                                  std::to_string(info.param.revision);
                         });

TEST(Seg2Packed20, OnesComplementMantissasAndExponents) {
  // One group by hand, low byte first: exponents 0, 1, 2, 15 (lowest nibble
  // first); mantissas 5, -5 (one's complement 0xFFFA), 0x7FFF, -0 (0xFFFF).
  const std::vector<uint8_t> group = {0x10, 0xF2, 5, 0, 0xFA, 0xFF, 0xFF, 0x7F, 0xFF, 0xFF};
  float out[4];
  DecodeSeg2Samples(group.data(), 3, false, 4, out);
  EXPECT_EQ(out[0], 5.0f);
  EXPECT_EQ(out[1], -10.0f);
  EXPECT_EQ(out[2], 32767.0f * 4);
  EXPECT_EQ(out[3], 0.0f);
  EXPECT_FALSE(std::signbit(out[3]));
  // The same group high byte first: each 16-bit word turned round.
  const std::vector<uint8_t> high = {0xF2, 0x10, 0, 5, 0xFF, 0xFA, 0x7F, 0xFF, 0xFF, 0xFF};
  float big[4];
  DecodeSeg2Samples(high.data(), 3, true, 4, big);
  for (int k = 0; k < 4; ++k) EXPECT_EQ(big[k], out[k]) << k;
  // A last group of fewer than four samples still takes its exponents.
  DecodeSeg2Samples(group.data(), 3, false, 2, big);
  EXPECT_EQ(big[1], -10.0f);
}

// --- the SU words ------------------------------------------------------------

SuHeader HeaderOf(const std::vector<std::string>& fileStrings, const std::vector<std::string>& traceStrings,
                  std::vector<std::string>& notes, Seg2TracePlace place = {5, 2, 3}) {
  Seg2WriteTrace w;
  w.samples = {1, 2, 3, 4};
  w.strings = traceStrings;
  const std::vector<uint8_t> bytes = MakeSeg2(fileStrings, {w}, 2, false);
  const Seg2File f = ReadBuffer(bytes);
  return Seg2TraceHeader(f, f.traces[0], place, 4, notes);
}

TEST(Seg2Words, KeywordsGoWhereAGeophysicistLooksForThem) {
  std::vector<std::string> notes;
  const SuHeader h = HeaderOf({"ACQUISITION_DATE 29/FEB/2008", "ACQUISITION_TIME 23:59:58.75"},
                              {"SHOT_SEQUENCE_NUMBER 42", "CHANNEL_NUMBER 7", "SAMPLE_INTERVAL 0.000125",
                               "DELAY -0.010", "STACK 4", "SOURCE_LOCATION 10.25", "RECEIVER_LOCATION 12.5 0 101.75",
                               "LOW_CUT_FILTER 10 12", "HIGH_CUT_FILTER 250 24", "ALIAS_FILTER 500 18",
                               "NOTCH_FREQUENCY 50", "FIXED_GAIN 24 DB", "CDP_NUMBER 88", "SOURCE_STATION_NUMBER 101",
                               "TRACE_TYPE SEISMIC_DATA", "STATIC_CORRECTIONS 4 -2.5 1.5"},
                              notes);
  EXPECT_EQ(h.GetInt("tracl"), 5);
  EXPECT_EQ(h.GetInt("tracr"), 5);
  EXPECT_EQ(h.GetInt("fldr"), 42);
  EXPECT_EQ(h.GetInt("tracf"), 7);
  EXPECT_EQ(h.GetInt("ep"), 101);
  EXPECT_EQ(h.GetInt("cdp"), 88);
  EXPECT_EQ(h.GetInt("trid"), 1);
  EXPECT_EQ(h.GetInt("nvs"), 4);
  EXPECT_EQ(h.GetInt("ns"), 4);
  EXPECT_EQ(h.GetInt("dt"), 125);
  EXPECT_EQ(h.GetInt("delrt"), -10);
  // Fractions kept through scalco: hundredths here.
  EXPECT_EQ(h.GetInt("scalco"), -100);
  EXPECT_EQ(h.GetInt("sx"), 1025);
  EXPECT_EQ(h.GetInt("gx"), 1250);
  EXPECT_EQ(h.GetInt("gy"), 0);
  EXPECT_EQ(h.GetInt("offset"), 2);  // 2.25 m, whole units
  EXPECT_EQ(h.GetInt("scalel"), -100);
  EXPECT_EQ(h.GetInt("gelev"), 10175);
  EXPECT_EQ(h.GetInt("lcf"), 10);
  EXPECT_EQ(h.GetInt("lcs"), 12);
  EXPECT_EQ(h.GetInt("hcf"), 250);
  EXPECT_EQ(h.GetInt("hcs"), 24);
  EXPECT_EQ(h.GetInt("afilf"), 500);
  EXPECT_EQ(h.GetInt("afils"), 18);
  EXPECT_EQ(h.GetInt("nofilf"), 50);
  EXPECT_EQ(h.GetInt("igc"), 24);
  EXPECT_EQ(h.GetInt("sstat"), 4);
  EXPECT_EQ(h.GetInt("gstat"), -2);  // whole milliseconds, half to even
  EXPECT_EQ(h.GetInt("tstat"), 2);
  EXPECT_EQ(h.GetInt("year"), 2008);
  EXPECT_EQ(h.GetInt("day"), 60);
  EXPECT_EQ(h.GetInt("hour"), 23);
  EXPECT_EQ(h.GetInt("minute"), 59);
  EXPECT_EQ(h.GetInt("sec"), 58);
  EXPECT_TRUE(notes.empty()) << notes.front();
}

TEST(Seg2Words, WithoutShotOrChannelTheirPlacesStandIn) {
  std::vector<std::string> notes;
  const SuHeader h = HeaderOf({}, {"SAMPLE_INTERVAL 0.001"}, notes, {9, 4, 6});
  EXPECT_EQ(h.GetInt("fldr"), 4);
  EXPECT_EQ(h.GetInt("tracf"), 6);
  EXPECT_EQ(h.GetInt("dt"), 1000);
  EXPECT_EQ(h.GetInt("nvs"), 1);
  EXPECT_EQ(h.GetInt("scalco"), 0);  // no position given
  EXPECT_EQ(h.GetInt("year"), 0);
}

TEST(Seg2Words, RadarIntervalsUseTheRadarConvention) {
  std::vector<std::string> notes;
  const SuHeader h = HeaderOf({}, {"SAMPLE_INTERVAL 2.0E-10", "TRACE_TYPE RADAR_DATA"}, notes);
  EXPECT_EQ(h.GetInt("dt"), 200);  // 0.2 ns x 1000
  EXPECT_EQ(h.GetInt("nhs"), 95);
}

TEST(Seg2Words, ValuesThatDoNotFitAreLeftOutWithANote) {
  std::vector<std::string> notes;
  const SuHeader h = HeaderOf({"ACQUISITION_DATE yesterday"},
                              {"SAMPLE_INTERVAL 0.1", "DELAY 100", "CHANNEL_NUMBER 5e12"}, notes, {1, 1, 1});
  EXPECT_EQ(h.GetInt("dt"), 0);     // 100000 microseconds: too large for dt
  EXPECT_EQ(h.GetInt("delrt"), 0);  // 100 s
  EXPECT_EQ(h.GetInt("tracf"), 0);
  EXPECT_EQ(notes.size(), 4u);
}

TEST(Seg2Words, DatesInTheFormsFoundInTheField) {
  int y = 0, d = 0;
  EXPECT_TRUE(Seg2Date("08/May/2007", y, d));
  EXPECT_EQ(y, 2007);
  EXPECT_EQ(d, 128);
  EXPECT_TRUE(Seg2Date("31/12/2000", y, d));
  EXPECT_EQ(d, 366);
  EXPECT_TRUE(Seg2Date("2001-03-01", y, d));
  EXPECT_EQ(d, 60);
  EXPECT_TRUE(Seg2Date("01/JAN/99", y, d));
  EXPECT_EQ(y, 1999);
  EXPECT_FALSE(Seg2Date("30/FEB/2001", y, d));
  EXPECT_FALSE(Seg2Date("", y, d));
  int h = 0, m = 0, s = 0;
  EXPECT_TRUE(Seg2Time("07:05:09", h, m, s));
  EXPECT_EQ(h * 10000 + m * 100 + s, 70509);
  EXPECT_FALSE(Seg2Time("25:00:00", h, m, s));
}

// --- many files, bad files -------------------------------------------------

TEST(Seg2Conversion, BadFilesAreNamedAndTheOthersStillConverted) {
  TempDir dir;
  const std::vector<uint8_t> good = MakeSeg2({}, ThreeTraces({1, 2, 3, 4}), 4, false);
  test::WriteBytes(dir / "a.dat", good);
  test::WriteBytes(dir / "cut.dat", std::vector<uint8_t>(good.begin(), good.end() - 3));
  test::WriteText(dir / "text.dat", "this is a text file, not a record\n");
  test::WriteBytes(dir / "e.dat", MakeSeg2({}, ThreeTraces({5, 6, 7, 8}), 1, true));
  Collected su;
  int calls = 0;
  const Seg2SuReport r = ConvertSeg2ToSu(
      {dir / "a.dat", dir / "cut.dat", dir / "text.dat", dir / "missing.dat", dir / "e.dat"}, su.Writer(), {},
      [&calls](int done, int total) {
        ++calls;
        EXPECT_EQ(done, calls);
        EXPECT_EQ(total, 5);
      });
  EXPECT_EQ(calls, 5);
  // The record cut short keeps its two complete traces and the cut one, padded.
  EXPECT_EQ(r.filesDone, 3);
  EXPECT_EQ(r.filesFailed, 2);
  EXPECT_EQ(r.traces, 9);
  EXPECT_EQ(r.tracesLost, 0);
  EXPECT_EQ(r.tracesCut, 1);
  ASSERT_EQ(su.bytes.size(), 9u * static_cast<size_t>(TraceSize(4)));
  for (const char* name : {"cut.dat", "text.dat", "missing.dat"}) {
    bool named = false;
    for (const std::string& m : r.messages) named = named || m.find(name) != std::string::npos;
    EXPECT_TRUE(named) << name;
  }
  for (int t = 1; t <= 9; ++t) EXPECT_EQ(Word(su.bytes, 4, t, "tracl"), t);
  EXPECT_EQ(Word(su.bytes, 4, 1, "fldr"), 1);
  EXPECT_EQ(Word(su.bytes, 4, 4, "fldr"), 2);
  EXPECT_EQ(Sample(su.bytes, 4, 6, 2), 9.0f);
  EXPECT_EQ(Sample(su.bytes, 4, 6, 3), 0.0f);  // the cut trace's missing sample
  EXPECT_EQ(Word(su.bytes, 4, 7, "fldr"), 5);  // the file's place in the list
  EXPECT_EQ(Sample(su.bytes, 4, 7, 0), 5.0f);
}

TEST(Seg2Conversion, ShorterRecordsArePaddedToTheLongest) {
  TempDir dir;
  test::WriteBytes(dir / "short.dat", MakeSeg2({}, ThreeTraces({1, 2}), 2, false));
  test::WriteBytes(dir / "long.dat", MakeSeg2({}, ThreeTraces({1, 2, 3, 4, 5}), 2, false));
  Collected su;
  const Seg2SuReport r = ConvertSeg2ToSu({dir / "short.dat", dir / "long.dat"}, su.Writer());
  EXPECT_EQ(r.samples, 5);
  ASSERT_EQ(su.bytes.size(), 6u * static_cast<size_t>(TraceSize(5)));
  EXPECT_EQ(Word(su.bytes, 5, 1, "ns"), 5);
  EXPECT_EQ(Sample(su.bytes, 5, 1, 1), 2.0f);
  EXPECT_EQ(Sample(su.bytes, 5, 1, 2), 0.0f);
  EXPECT_EQ(Sample(su.bytes, 5, 4, 4), 5.0f);
  ASSERT_FALSE(r.messages.empty());
  EXPECT_NE(r.messages[0].find("padded"), std::string::npos);
}

// Traces of no samples: a record of bare headers, with no sample buffer to
// copy from or to (float samples are copied as they stand).
TEST(Seg2Robustness, TracesOfNoSamples) {
  TempDir dir;
  test::WriteBytes(dir / "empty.dat", MakeSeg2({}, ThreeTraces({}), 4, false));
  Collected su;
  const Seg2SuReport r = ConvertSeg2ToSu({dir / "empty.dat"}, su.Writer());
  EXPECT_EQ(r.samples, 0);
  ASSERT_EQ(su.bytes.size(), 3u * static_cast<size_t>(TraceSize(0)));
  EXPECT_EQ(Word(su.bytes, 0, 2, "ns"), 0);
}

TEST(Seg2Robustness, EveryCutOfAFileKeepsItsTracesWithAWholeDescriptorOrIsRefusedWithItsName) {
  const std::vector<uint8_t> good = MakeSeg2({"COMPANY x"}, ThreeTraces({1, -2, 3, -4, 5}), 3, true);
  const Seg2File whole = ReadBuffer(good);
  for (size_t n = 0; n < good.size(); ++n) {
    const std::vector<uint8_t> cut(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(n));
    size_t kept = 0, complete = 0;
    for (const Seg2Trace& t : whole.traces) {
      if (t.dataOffset <= static_cast<int64_t>(n)) ++kept;
      if (t.dataOffset + Seg2SampleBytes(t.format, t.samples) <= static_cast<int64_t>(n)) ++complete;
    }
    try {
      const Seg2File f = ReadBuffer(cut, "cut.dat");
      EXPECT_EQ(f.traces.size(), kept) << "cut to " << n << " bytes";
      EXPECT_EQ(f.lostTraces, static_cast<int>(3 - kept));
      EXPECT_EQ(f.cutTraces, static_cast<int>(kept - complete));
      for (size_t t = 0; t < f.traces.size(); ++t) {
        const std::vector<float> v = Decode(cut, f, t);
        // 20-bit packing: groups of 4 in 10 bytes, the exponents first; the
        // first mantissa (bytes 2, 3) missing reads as zero.
        const int64_t present = f.traces[t].presentBytes;
        if (present == 10 * 2) {
          EXPECT_EQ(v[4], 5.0f * float(t + 1));
        }
        if (present <= 2) {
          EXPECT_EQ(v[0], 0.0f) << present;
        }
      }
    } catch (const Seg2Error& e) {
      EXPECT_EQ(kept, 0u) << "cut to " << n << " bytes: " << e.what();
      EXPECT_EQ(std::string(e.what()).rfind("cut.dat: ", 0), 0u) << e.what();
    }
  }
}

TEST(Seg2Robustness, RepeatedOrOverlappingTracePointersAreRefused) {
  const std::vector<uint8_t> good = MakeSeg2({}, ThreeTraces({1, 2, 3, 4}), 4, false);
  const Seg2File whole = ReadBuffer(good);
  const auto pointerOf = [](size_t t) { return 32 + 4 * t; };
  // Every pointer names trace 1: copies of one trace.
  std::vector<uint8_t> same = good;
  const auto first = static_cast<int32_t>(whole.traces[0].descriptorOffset);
  for (size_t t = 1; t < 3; ++t) PutLE32(same.data() + pointerOf(t), first);
  try {
    ReadBuffer(same, "same.dat");
    ADD_FAILURE() << "repeated pointers read";
  } catch (const Seg2Error& e) {
    EXPECT_NE(std::string(e.what()).find("same.dat: the pointers of traces 1 and 2 both name byte " +
                                         std::to_string(whole.traces[0].descriptorOffset)),
              std::string::npos)
        << e.what();
  }
  // Trace 1 claims 8 samples: its samples then run into trace 2's block.
  std::vector<uint8_t> overlap = good;
  PutLE32(overlap.data() + whole.traces[0].descriptorOffset + 8, 8);
  try {
    ReadBuffer(overlap, "overlap.dat");
    ADD_FAILURE() << "overlapping blocks read";
  } catch (const Seg2Error& e) {
    EXPECT_NE(std::string(e.what()).find("overlap.dat: the blocks of traces 1 (bytes " +
                                         std::to_string(whole.traces[0].descriptorOffset) + " to " +
                                         std::to_string(whole.traces[0].dataOffset + 32) + ") and 2 (from byte " +
                                         std::to_string(whole.traces[1].descriptorOffset) + ") overlap"),
              std::string::npos)
        << e.what();
  }
  // A pointer into the pointer table itself.
  std::vector<uint8_t> inside = good;
  PutLE32(inside.data() + pointerOf(2), 36);
  EXPECT_THROW(ReadBuffer(inside, "inside.dat"), Seg2Error);
}

TEST(Seg2Robustness, DamagedFilesNeverReadOutsideThemselves) {
  const std::vector<uint8_t> good = MakeSeg2({"COMPANY x"}, ThreeTraces({1, -2, 3, -4, 5, 6, 7, 8}), 2, false);
  std::mt19937 random(8);
  for (int round = 0; round < 3000; ++round) {
    std::vector<uint8_t> bytes = good;
    const int flips = 1 + round % 6;
    for (int k = 0; k < flips; ++k) bytes[random() % bytes.size()] = static_cast<uint8_t>(random());
    try {
      const Seg2File f = ReadBuffer(bytes, "damaged.dat");
      for (size_t t = 0; t < f.traces.size(); ++t) Decode(bytes, f, t);
      std::vector<std::string> notes;
      for (const Seg2Trace& t : f.traces) Seg2TraceHeader(f, t, {}, 8, notes);
    } catch (const Seg2Error&) {
    }
  }
}

TEST(Seg2Robustness, GarbageWithTheRightBlockId) {
  std::mt19937 random(2);
  for (int round = 0; round < 500; ++round) {
    std::vector<uint8_t> bytes(32 + random() % 400);
    for (uint8_t& b : bytes) b = static_cast<uint8_t>(random());
    bytes[0] = 0x55;
    bytes[1] = 0x3A;
    try {
      const Seg2File f = ReadBuffer(bytes, "noise.dat");
      for (size_t t = 0; t < f.traces.size(); ++t) Decode(bytes, f, t);
    } catch (const Seg2Error&) {
    }
  }
}

// --- the program -------------------------------------------------------------

TEST(Seg2SuProgram, ReportsBadFilesAndEndsNonZero) {
  TempDir dir;
  test::WriteBytes(dir / "good.dat", MakeSeg2({}, ThreeTraces({1, 2, 3}), 4, false));
  test::WriteText(dir / "bad.dat", std::string(100, 'x'));
  const ProgramRun r = RunCommand(dir, kBin + "/seg2su -o " + dir / "out.su " + dir / "good.dat " + dir / "bad.dat " +
                                    dir / "gone.dat");
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("bad.dat: not a SEG-2 file"), std::string::npos) << r.err;
  EXPECT_NE(r.err.find("gone.dat"), std::string::npos) << r.err;
  EXPECT_NE(r.err.find("2 files could not be converted"), std::string::npos) << r.err;
  EXPECT_EQ(test::ReadBytes(dir / "out.su").size(), 3u * static_cast<size_t>(TraceSize(3)));
}

TEST(Seg2SuProgram, ARecordCutShortPadsTheCutTraceAndSaysHowManyWereLost) {
  TempDir dir;
  const std::vector<uint8_t> good = MakeSeg2({}, ThreeTraces({1, 2, 3, 4}), 4, false);
  // 3 bytes short: trace 3 keeps 3 of its 4 samples' bytes whole.
  test::WriteBytes(dir / "cut.dat", std::vector<uint8_t>(good.begin(), good.end() - 3));
  const ProgramRun r = RunCommand(dir, kBin + "/seg2su -o " + dir / "out.su " + dir / "cut.dat");
  EXPECT_EQ(r.status, 1) << "a trace was cut";
  EXPECT_NE(r.err.find("cut.dat: trace 3 cut short by the end of the file: 13 of its 16 sample bytes there, the rest "
                       "padded with zeros"),
            std::string::npos)
      << r.err;
  EXPECT_NE(r.err.find("seg2su: 3 traces of 4 samples from 1 file written to " + dir / "out.su" +
                       "; 1 trace cut short, padded with zeros\n"),
            std::string::npos)
      << r.err;
  // Three records of 240 + 4 x 4 bytes; trace 3 was written as 3, 6, 9, 12.
  std::vector<uint8_t> out = test::ReadBytes(dir / "out.su");
  ASSERT_EQ(out.size(), 3u * 256u);
  EXPECT_EQ(Sample(out, 4, 3, 2), 9.0f);
  EXPECT_EQ(Sample(out, 4, 3, 3), 0.0f);
  EXPECT_EQ(Word(out, 4, 3, "ns"), 4);

  // Cut inside trace 3's descriptor: that trace is lost, the others kept.
  const Seg2File whole = [&] {
    BinaryFile f = BinaryFile::OverMemory(good, "good.dat");
    return ReadSeg2(f);
  }();
  const auto keep = static_cast<std::ptrdiff_t>(whole.traces[2].descriptorOffset + 20);
  test::WriteBytes(dir / "lost.dat", std::vector<uint8_t>(good.begin(), good.begin() + keep));
  const ProgramRun lost = RunCommand(dir, kBin + "/seg2su -o " + dir / "out.su " + dir / "lost.dat");
  EXPECT_EQ(lost.status, 1);
  EXPECT_NE(lost.err.find("lost.dat: file cut short at " + std::to_string(keep) +
                          " bytes: 1 of its 3 traces lost, the 2 complete ones kept"),
            std::string::npos)
      << lost.err;
  EXPECT_NE(lost.err.find("; 1 trace lost in files cut short\n"), std::string::npos) << lost.err;
  EXPECT_EQ(test::ReadBytes(dir / "out.su").size(), 2u * 256u);
}

TEST(Seg2SuProgram, PointersNamingOneTraceAgainAndAgainWriteNothing) {
  TempDir dir;
  // 2000 pointers, all to the one trace: once gigabytes of copies.
  Seg2WriteTrace one;
  one.samples.assign(1000, 1.5);
  std::vector<uint8_t> bytes = MakeSeg2({}, {one}, 4, false);
  const Seg2File whole = [&] {
    BinaryFile f = BinaryFile::OverMemory(bytes, "x");
    return ReadSeg2(f);
  }();
  constexpr size_t kCount = 2000;
  std::vector<uint8_t> hostile(32 + 4 * kCount, 0);
  std::copy(bytes.begin(), bytes.begin() + 32, hostile.begin());
  PutLE16(hostile.data() + 4, static_cast<int16_t>(4 * kCount));
  PutLE16(hostile.data() + 6, static_cast<int16_t>(kCount));
  const int64_t shift = static_cast<int64_t>(hostile.size()) - whole.traces[0].descriptorOffset;
  hostile.insert(hostile.end(), bytes.begin() + whole.traces[0].descriptorOffset, bytes.end());
  for (size_t t = 0; t < kCount; ++t) {
    PutLE32(hostile.data() + 32 + 4 * t, static_cast<int32_t>(whole.traces[0].descriptorOffset + shift));
  }
  test::WriteBytes(dir / "copies.dat", hostile);
  const ProgramRun r = RunCommand(dir, kBin + "/seg2su -o " + dir / "out.su " + dir / "copies.dat");
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("copies.dat: the pointers of traces 1 and 2 both name byte"), std::string::npos) << r.err;
  EXPECT_NE(r.err.find("nothing written to"), std::string::npos) << r.err;
  EXPECT_FALSE(std::filesystem::exists(dir / "out.su"));
}

TEST(Seg2SuProgram, SaysWhatAFileThatIsNotSeg2LooksLike) {
  TempDir dir;
  test::WriteText(dir / "notes.dat", "LINE 4 shot log\r\nshot 1 at 0 m\r\nshot 2 at 2 m\r\n");
  std::vector<uint8_t> segy(3600 + 240 + 40, 0);
  segy[0] = 0xC3;  // "C" of the EBCDIC card image header
  segy[3221] = 10;  // ns, high byte first
  segy[3225] = 5;   // format 5
  test::WriteBytes(dir / "line.sgy", segy);
  std::vector<uint8_t> su(2 * (240 + 40), 0);
  su[114] = 10;  // ns of each trace
  su[280 + 114] = 10;
  test::WriteBytes(dir / "line.su", su);
  std::vector<uint8_t> dzt(4096, 0);
  dzt[0] = 0xFF;
  dzt[3] = 4;   // data at 1024, low byte first
  dzt[5] = 2;   // 512 samples a scan
  dzt[6] = 16;  // data bits
  dzt[52] = 1;  // one channel
  test::WriteBytes(dir / "radar.dzt", dzt);
  test::WriteBytes(dir / "noise.bin", std::vector<uint8_t>(300, 0x80));
  const ProgramRun r = RunCommand(dir, kBin + "/seg2su -o " + dir / "out.su " + dir / "notes.dat " +
                                    dir / "line.sgy " + dir / "line.su " + dir / "radar.dzt " + dir / "noise.bin");
  EXPECT_EQ(r.status, 1);
  for (const std::string& said : std::vector<std::string>{
           "notes.dat: not a SEG-2 file: it is text, beginning \"LINE 4 shot log\"",
           "line.sgy: not a SEG-2 file: it looks like a SEG-Y file (segyread converts it)",
           "line.su: not a SEG-2 file: it looks like an SU file already (2 traces of 10 samples)",
           "radar.dzt: not a SEG-2 file: it looks like a GSSI DZT radar file (rtoaw reads it)",
           "noise.bin: not a SEG-2 file: its first bytes are no format seg2su knows",
           "seg2su: nothing written to " + dir / "out.su" + ": none of the 5 files could be converted\n"}) {
    EXPECT_NE(r.err.find(said), std::string::npos) << said << "\nin:\n" << r.err;
  }
  EXPECT_FALSE(std::filesystem::exists(dir / "out.su"));
}

TEST(Seg2SuProgram, WritesToStandardOutputAndLeavesAnOutputAloneWhenNothingConverts) {
  TempDir dir;
  test::WriteBytes(dir / "good.dat", MakeSeg2({}, ThreeTraces({1, 2, 3}), 1, true));
  ProgramRun r = RunCommand(dir, kBin + "/seg2su " + dir / "good.dat");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out.size(), 3u * static_cast<size_t>(TraceSize(3)));

  test::WriteText(dir / "keep.su", "old");
  r = RunCommand(dir, kBin + "/seg2su -o " + dir / "keep.su " + dir / "none.dat");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(test::ReadText(dir / "keep.su"), "old");

  r = RunCommand(dir, kBin + "/seg2su -o " + dir / "good.dat " + dir / "good.dat");
  EXPECT_EQ(r.status, 2);
  EXPECT_NE(r.err.find("one of the input files"), std::string::npos);
}

TEST(Seg2SuProgram, WithoutArgumentsOrDesktopItPrintsItsUsage) {
  TempDir dir;
  const ProgramRun r = RunCommand(dir, kBin + "/seg2su");
  EXPECT_EQ(r.status, 2);
  EXPECT_NE(r.err.find("usage: seg2su"), std::string::npos);
}

TEST(Seg2SuProgram, ListShowsTheKeywordsThatNoWordTakes) {
  TempDir dir;
  test::WriteBytes(dir / "a.dat", MakeSeg2({"CLIENT Someone"}, ThreeTraces({1}), 5, false, 0));
  const ProgramRun r = RunCommand(dir, kBin + "/seg2su -l " + dir / "a.dat");
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("SEG-2 revision 0, low byte first, 3 traces"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("CLIENT Someone"), std::string::npos);
  EXPECT_NE(r.out.find("trace 3: 1 samples, float64"), std::string::npos);
  const ProgramRun full = RunCommand(dir, "sh -c '" + kBin + "/seg2su -l " + dir / "a.dat >/dev/full'");
  EXPECT_EQ(full.status, 1);
  EXPECT_NE(full.err.find("standard output: the listing could not be written"), std::string::npos) << full.err;
}

// The window, where it is built: files in, Convert pressed, final message.
TEST(Seg2SuProgram, WindowConvertsAndEndsWithItsMessage) {
  TempDir dir;
  if (RunCommand(dir, kBin + "/seg2su -h").out.find("--screenshot") == std::string::npos) {
    GTEST_SKIP() << "built without the window";
  }
  test::WriteBytes(dir / "a.dat", MakeSeg2({}, ThreeTraces({1, 2, 3}), 2, true));
  const ProgramRun r = RunCommand(dir, "QT_QPA_PLATFORM=offscreen " + kBin + "/seg2su --screenshot " +
                                           dir / "w.png -o " + dir / "w.su " + dir / "a.dat " + dir / "gone.dat");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(test::ReadBytes(dir / "w.su").size(), 3u * static_cast<size_t>(TraceSize(3)));
  EXPECT_TRUE(std::filesystem::exists(dir / "w.png"));
  EXPECT_TRUE(std::filesystem::exists(dir / "w-message.png"));
}

// The main panel starts "SEG2SU.EXE"; the platform finds our seg2su, which
// with no desktop prints its usage and ends instead of waiting.
TEST(Seg2SuProgram, MainPanelNameStartsOurProgram) {
  struct SavedVariable {
    std::string name;
    bool had;
    std::string value;
  };
  std::vector<SavedVariable> saved;
  for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
    const char* v = std::getenv(name);
    saved.push_back({name, v != nullptr, v ? v : ""});
    unsetenv(name);
  }
  HeadlessPlatform platform;
  platform.SetProgramFolder(kBin);
  const int task = platform.Shell("SEG2SU.EXE", 1);
  EXPECT_NE(task, 0);
  const auto start = std::chrono::steady_clock::now();
  while (RunningJobs() > 0 && std::chrono::steady_clock::now() - start < std::chrono::seconds(10)) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    ReapJobs();
  }
  EXPECT_EQ(RunningJobs(), 0) << "seg2su did not end";
  for (const SavedVariable& s : saved) {
    if (s.had) setenv(s.name.c_str(), s.value.c_str(), 1);
  }
}

}  // namespace
}  // namespace vexmor
