// The KGS integer and KGS floating layouts: both readers and the writer
// checked against words placed by hand at the offsets of the format, and the
// 16-bit limit of every KGS word.
#include "formats/kgs.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <vector>

#include "core/binary_file.h"
#include "core/failure.h"
#include "core/su_trace.h"

namespace vexmor {
namespace {

// A KGS header whose word at byte offset o holds a value of its own, every
// other one negative, so that a word taken from the wrong place or without
// its sign shows.
int16_t KgsWordAt(int o) { return static_cast<int16_t>((o % 4 == 0 ? -1 : 1) * (o * 100 + 7)); }

std::array<uint8_t, 240> DistinctKgsHeader() {
  std::array<uint8_t, 240> h{};
  for (int o = 0; o < 240; o += 2) PutLE16(h.data() + o, KgsWordAt(o));
  return h;
}

struct Expected {
  int suOffset;
  int width;
  int32_t value;
};

// The SU header that a KGS record gives, word by word, from the format's
// table: (SU offset, width, value).
std::vector<Expected> ExpectedSu(bool integer, int32_t depth) {
  const auto w = [](int o) { return static_cast<int32_t>(KgsWordAt(o)); };
  return {
      {0, 4, w(integer ? 170 : 172)},  // tracl
      {4, 4, w(integer ? 182 : 184)},  // tracr
      {8, 4, w(12)},                   // fldr
      {12, 4, w(integer ? 16 : 26)},   // tracf
      {16, 4, w(172)},                 // ep
      {20, 4, w(22)},                  // cdp
      {24, 4, w(26)},                  // cdpt
      {28, 2, w(28)},                  // trid
      {30, 2, w(30)},                  // nvs
      {32, 2, w(32)},                  // nhs
      {34, 2, 1},                      // duse
      {36, 4, w(36)},                  // offset
      {40, 4, w(40)},                  // gelev
      {44, 4, w(44)},                  // selev
      {48, 4, depth},                  // sdepth
      {52, 4, w(52)},                  // gdel
      {56, 4, w(52)},                  // sdel, from the same word
      {68, 2, 1},                      // scalel
      {70, 2, w(70)},                  // scalco
      {72, 4, w(76)},                  // sx
      {76, 4, w(78)},                  // sy
      {80, 4, w(70)},                  // gx, from scalco's word
      {84, 4, w(72)},                  // gy
      {88, 2, 1},                      // counit
      {98, 2, w(98)},                  // sstat
      {100, 2, w(100)},                // gstat
      {102, 2, w(102)},                // tstat
      {108, 2, w(108)},                // delrt
      {114, 2, w(114)},                // ns
      {116, 2, w(116)},                // dt
      {118, 2, 3},                     // gain
      {148, 2, w(148)},                // lcf
      {150, 2, w(150)},                // hcf
  };
}

void ExpectSuHeader(const uint8_t* su, bool integer, int32_t depth) {
  std::array<bool, 240> covered{};
  for (const Expected& e : ExpectedSu(integer, depth)) {
    const int32_t got = e.width == 4 ? GetLE32(su + e.suOffset) : GetLE16(su + e.suOffset);
    EXPECT_EQ(got, e.value) << "SU offset " << e.suOffset;
    for (int b = 0; b < e.width; ++b) covered[size_t(e.suOffset + b)] = true;
  }
  for (int b = 0; b < 240; ++b) {
    if (!covered[size_t(b)]) {
      EXPECT_EQ(su[b], 0) << "SU byte " << b << " should be 0";
    }
  }
}

TEST(KgsToSu, BothReadersTakeEachWordFromItsOwnPlace) {
  const auto kgs = DistinctKgsHeader();
  for (const bool integer : {true, false}) {
    SCOPED_TRACE(integer ? "integer" : "floating");
    std::array<uint8_t, 240> su;
    su.fill(0xEE);  // every byte is written, zeros included
    SuHeaderFromKgs(integer ? KgsKind::Integer : KgsKind::Floating, kgs.data(), -123456, su.data());
    ExpectSuHeader(su.data(), integer, -123456);
  }
}

TEST(KgsToSu, IntegerSamplesBecomeFloatsOfTheSameValue) {
  auto record = std::vector<uint8_t>(240 + 2 * 5);
  const int16_t samples[] = {-32768, 32767, 0, -1, 1234};
  for (int k = 0; k < 5; ++k) PutLE16(record.data() + 240 + 2 * k, samples[k]);
  std::vector<uint8_t> su(240 + 4 * 5);
  SuRecordFromKgs(KgsKind::Integer, record, 5, 0, su);
  for (int k = 0; k < 5; ++k) EXPECT_EQ(GetLEFloat(su.data() + 240 + 4 * k), float(samples[k])) << k;

  // A record cut short reads as if padded with zeros.
  record.resize(240 + 2 * 2);
  std::fill(su.begin(), su.end(), 0xEE);
  SuRecordFromKgs(KgsKind::Integer, record, 5, 0, su);
  EXPECT_EQ(GetLEFloat(su.data() + 240 + 4), 32767.0f);
  EXPECT_EQ(GetLE32(su.data() + 240 + 8), 0);
  EXPECT_EQ(GetLE32(su.data() + 240 + 16), 0);

  // Floating samples keep their bits.
  std::vector<uint8_t> fl(240 + 4 * 2);
  const uint32_t nanBits = 0x7FC01234;
  std::memcpy(fl.data() + 240, &nanBits, 4);
  PutLEFloat(fl.data() + 244, -0.0f);
  std::vector<uint8_t> out(240 + 8);
  SuRecordFromKgs(KgsKind::Floating, fl, 2, 0, out);
  EXPECT_EQ(std::memcmp(out.data() + 240, fl.data() + 240, 8), 0);
}

// An SU header with a value of its own in each word, all within 16 bits.
std::array<uint8_t, 240> DistinctSuHeader() {
  std::array<uint8_t, 240> h{};
  for (const SuWord& w : SuWords()) {
    if (w.type == WordType::Float32) continue;
    SetWord(h.data(), w, (w.number % 2 ? -1 : 1) * (w.number * 300 + 11));
  }
  return h;
}

int32_t SuValue(const char* name) {
  const SuWord& w = SuWordNamed(name);
  return (w.number % 2 ? -1 : 1) * (w.number * 300 + 11);
}

TEST(SuToKgs, EveryWordAtItsOffsetAndTheRestZero) {
  const auto su = DistinctSuHeader();
  KgsAnswers answers{2, 24, 12, 0, -1};
  std::array<uint8_t, 240> kgs;
  kgs.fill(0xEE);
  KgsHeaderFromSu(su.data(), answers, 17, kgs.data());
  const std::pair<int, int32_t> expected[] = {
      {0, 2},   {2, 24},  {4, 12},  {6, 0},   {8, -1},  {10, SuValue("fldr")}, {22, 17},
      {26, SuValue("tracf")},  {28, SuValue("trid")},   {30, SuValue("nvs")},   {32, SuValue("nhs")},
      {36, SuValue("offset")}, {40, SuValue("gelev")},  {44, SuValue("selev")}, {52, SuValue("gdel")},
      {56, SuValue("sdel")},   {70, SuValue("gx")},     {72, SuValue("gy")},    {76, SuValue("sx")},
      {78, SuValue("sy")},     {98, SuValue("sstat")},  {100, SuValue("gstat")}, {102, SuValue("tstat")},
      {108, SuValue("delrt")}, {114, SuValue("ns")},    {116, SuValue("dt")},   {118, 21930},
      {148, SuValue("lcf")},   {150, SuValue("hcf")},   {172, SuValue("ep")},   {174, SuValue("tracl")},
      {182, SuValue("tracr")},
  };
  std::array<bool, 240> covered{};
  for (const auto& [offset, value] : expected) {
    EXPECT_EQ(GetLE16(kgs.data() + offset), static_cast<int16_t>(value)) << "KGS offset " << offset;
    covered[size_t(offset)] = covered[size_t(offset + 1)] = true;
  }
  for (int b = 0; b < 240; ++b) {
    if (!covered[size_t(b)]) {
      EXPECT_EQ(kgs[size_t(b)], 0) << "KGS byte " << b;
    }
  }
  EXPECT_EQ(GetLE16(kgs.data() + 118), 0x55AA);
}

TEST(SuToKgs, AWordBeyondSixteenBitsFailsAndWritesNothing) {
  for (const char* name : {"gx", "offset", "tracl", "ep"}) {
    for (const int32_t value : {32767, -32768, 32768, -32769, 40000}) {
      auto su = DistinctSuHeader();
      SetWord(su.data(), SuWordNamed(name), value);
      std::array<uint8_t, 240> kgs;
      kgs.fill(0xEE);
      const bool fits = value >= -32768 && value <= 32767;
      if (fits) {
        EXPECT_NO_THROW(KgsHeaderFromSu(su.data(), {}, 1, kgs.data())) << name << " " << value;
      } else {
        try {
          KgsHeaderFromSu(su.data(), {}, 1, kgs.data());
          ADD_FAILURE() << name << " " << value << " did not fail";
        } catch (const RunTimeFailure& f) {
          EXPECT_EQ(f.Code(), FailureCode::Overflow);
        }
        EXPECT_EQ(kgs[0], 0xEE) << "the header was touched";
      }
    }
  }
  // The trace number is a 16-bit word as well.
  std::array<uint8_t, 240> kgs{};
  const auto su = DistinctSuHeader();
  EXPECT_NO_THROW(KgsHeaderFromSu(su.data(), {}, 32767, kgs.data()));
  EXPECT_THROW(KgsHeaderFromSu(su.data(), {}, 32768, kgs.data()), RunTimeFailure);
}

TEST(KgsLayout, CountsRoundHalfToEvenAndShortFilesReadAsZeros) {
  // Integer records of 10 samples are 260 bytes.
  EXPECT_EQ(KgsRecordCount(390, KgsKind::Integer, 10), 2);   // 1.5
  EXPECT_EQ(KgsRecordCount(650, KgsKind::Integer, 10), 2);   // 2.5
  EXPECT_EQ(KgsRecordCount(651, KgsKind::Integer, 10), 3);
  EXPECT_EQ(KgsRecordCount(560, KgsKind::Floating, 10), 2);  // 280-byte records
  EXPECT_THROW(KgsRecordCount(1000, KgsKind::Integer, -120), RunTimeFailure);

  std::array<int16_t, 120> words{};
  words[8] = 1001;   // offset 16: channels
  words[57] = 3;     // offset 114: ns
  words[58] = 500;   // offset 116: dt
  const float samples[] = {1, -2, 3};
  std::vector<uint8_t> bytes;
  for (int r = 0; r < 4; ++r) {
    const auto rec = MakeKgsRecord(KgsKind::Integer, words, samples);
    bytes.insert(bytes.end(), rec.begin(), rec.end());
  }
  ASSERT_EQ(bytes.size(), 4u * 246);
  EXPECT_EQ(GetLE16(bytes.data() + 246 + 240 + 2), -2);
  BinaryFile file = BinaryFile::OverMemory(bytes);
  const KgsLayout layout = ReadKgsLayout(file, KgsKind::Integer);
  EXPECT_EQ(layout.ns, 3);
  EXPECT_EQ(layout.dt, 500);
  EXPECT_EQ(layout.channels, 1001);
  EXPECT_EQ(layout.recordSize, 246);
  EXPECT_EQ(layout.records, 4);
  const KgsTrace trace = ReadKgsTrace(file, layout, 4, 9);
  EXPECT_EQ(trace.samples, (std::vector<float>{1, -2, 3}));
  EXPECT_EQ(GetLE32(trace.suHeader.data() + 48), 9);
  EXPECT_EQ(GetLE32(trace.suHeader.data() + 12), 1001);  // tracf of an integer record

  // Too short to hold a header: every word reads as 0, and no record.
  const std::vector<uint8_t> scrap = {1, 2, 3};
  BinaryFile small = BinaryFile::OverMemory(scrap);
  const KgsLayout none = ReadKgsLayout(small, KgsKind::Floating);
  EXPECT_EQ(none.ns, 0);
  EXPECT_EQ(none.records, 0);
  // A negative ns gives no record size, and no count.
  std::vector<uint8_t> odd(240);
  PutLE16(odd.data() + 114, -200);
  BinaryFile negative = BinaryFile::OverMemory(odd);
  EXPECT_EQ(ReadKgsLayout(negative, KgsKind::Integer).records, 0);
  EXPECT_TRUE(ReadKgsTrace(negative, ReadKgsLayout(negative, KgsKind::Integer), 1).samples.empty());
}

}  // namespace
}  // namespace vexmor
