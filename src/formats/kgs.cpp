#include "formats/kgs.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "core/binary_file.h"
#include "core/failure.h"
#include "core/numbers.h"
#include "core/su_trace.h"

namespace vexmor {

namespace {

using enum KgsSource;

// Offsets in a KGS integer header, then in a KGS floating one. The two
// readers part on tracl, tracr and tracf; offset 70 feeds both scalco and
// gx, offset 52 both gdel and sdel.
constexpr KgsToSuWord kToSu[] = {
    {"tracl", Record, 170, 172},
    {"tracr", Record, 182, 184},
    {"fldr", Record, 12, 12},
    {"tracf", Record, 16, 26},
    {"ep", Record, 172, 172},
    {"cdp", Record, 22, 22},
    {"cdpt", Record, 26, 26},
    {"trid", Record, 28, 28},
    {"nvs", Record, 30, 30},
    {"nhs", Record, 32, 32},
    {"duse", Constant, 0, 0, 1},
    {"offset", Record, 36, 36},
    {"gelev", Record, 40, 40},
    {"selev", Record, 44, 44},
    {"sdepth", SourceDepth},
    {"gdel", Record, 52, 52},
    {"sdel", Record, 52, 52},
    {"scalel", Constant, 0, 0, 1},
    {"scalco", Record, 70, 70},
    {"sx", Record, 76, 76},
    {"sy", Record, 78, 78},
    {"gx", Record, 70, 70},
    {"gy", Record, 72, 72},
    {"counit", Constant, 0, 0, 1},
    {"sstat", Record, 98, 98},
    {"gstat", Record, 100, 100},
    {"tstat", Record, 102, 102},
    {"delrt", Record, 108, 108},
    {"ns", Record, 114, 114},
    {"dt", Record, 116, 116},
    {"gain", Constant, 0, 0, 3},
    {"lcf", Record, 148, 148},
    {"hcf", Record, 150, 150},
};

using S = SuSource;

// Offsets 0 to 8 first, then the SU words in their order, as the header of
// each trace is written.
constexpr SuToKgsWord kFromSu[] = {
    {0, S::DataType},
    {2, S::Channels},
    {4, S::RecordWord},
    {6, S::TraceWord},
    {8, S::Direction},
    {10, S::Word, "fldr"},
    {22, S::TraceNumber},
    {26, S::Word, "tracf"},
    {28, S::Word, "trid"},
    {30, S::Word, "nvs"},
    {32, S::Word, "nhs"},
    {36, S::Word, "offset"},
    {40, S::Word, "gelev"},
    {44, S::Word, "selev"},
    {52, S::Word, "gdel"},
    {56, S::Word, "sdel"},
    {70, S::Word, "gx"},
    {72, S::Word, "gy"},
    {76, S::Word, "sx"},
    {78, S::Word, "sy"},
    {98, S::Word, "sstat"},
    {100, S::Word, "gstat"},
    {102, S::Word, "tstat"},
    {108, S::Word, "delrt"},
    {114, S::Word, "ns"},
    {116, S::Word, "dt"},
    {118, S::Fixed, {}, kKgsMark},
    {148, S::Word, "lcf"},
    {150, S::Word, "hcf"},
    {172, S::Word, "ep"},
    {174, S::Word, "tracl"},
    {182, S::Word, "tracr"},
};

// The SU word of each row of a table, looked up once: a header is built
// for every trace.
template <typename Row, size_t N>
std::array<const vexmor::SuWord*, N> ResolveWords(const Row (&rows)[N]) {
  std::array<const vexmor::SuWord*, N> words{};
  for (size_t k = 0; k < N; ++k) words[k] = rows[k].suWord.empty() ? nullptr : &SuWordNamed(rows[k].suWord);
  return words;
}

}  // namespace

int32_t KgsRecordCount(int64_t fileLength, KgsKind kind, int64_t ns) {
  const int64_t size = KgsRecordSize(kind, ns);
  if (size == 0) throw RunTimeFailure(FailureCode::DivisionByZero, "record size is 0");
  return ToInt32(static_cast<double>(fileLength) / static_cast<double>(size));
}

std::span<const KgsToSuWord> KgsToSuWords() { return kToSu; }
std::span<const SuToKgsWord> SuToKgsWords() { return kFromSu; }

void SuHeaderFromKgs(KgsKind kind, const uint8_t* kgsHeader, int32_t sourceDepth, uint8_t* suHeader) {
  static const auto words = ResolveWords(kToSu);
  std::memset(suHeader, 0, kSuHeaderBytes);
  for (size_t k = 0; k < std::size(kToSu); ++k) {
    const KgsToSuWord& row = kToSu[k];
    double value = row.constant;
    if (row.source == Record) {
      value = GetLE16(kgsHeader + (kind == KgsKind::Integer ? row.integerOffset : row.floatingOffset));
    } else if (row.source == SourceDepth) {
      value = sourceDepth;
    }
    // A 16-bit value always fits its SU word, 16 or 32 bits.
    SetWord(suHeader, *words[k], value);
  }
}

void SuRecordFromKgs(KgsKind kind, std::span<const uint8_t> record, int32_t ns, int32_t sourceDepth,
                     std::span<uint8_t> suRecord) {
  const size_t samples = static_cast<size_t>(std::max(ns, 0));
  const size_t sampleBytes = static_cast<size_t>(KgsSampleBytes(kind));
  if (suRecord.size() < kSuHeaderBytes + 4 * samples) {
    throw RunTimeFailure(FailureCode::OutOfRange, "SU record too small");
  }
  uint8_t header[kKgsHeaderBytes] = {};
  std::memcpy(header, record.data(), std::min<size_t>(record.size(), kKgsHeaderBytes));
  SuHeaderFromKgs(kind, header, sourceDepth, suRecord.data());

  const size_t have = record.size() > kKgsHeaderBytes ? (record.size() - kKgsHeaderBytes) / sampleBytes : 0;
  const uint8_t* in = record.data() + kKgsHeaderBytes;
  uint8_t* out = suRecord.data() + kSuHeaderBytes;
  const size_t n = std::min(samples, have);
  if (kind == KgsKind::Integer) {
    if constexpr (std::endian::native == std::endian::little) {
      // Plain copies the compiler turns into vector code: this loop is
      // most of the conversion's time.
      for (size_t k = 0; k < n; ++k) {
        int16_t v;
        std::memcpy(&v, in + 2 * k, 2);
        const float f = v;
        std::memcpy(out + 4 * k, &f, 4);
      }
    } else {
      for (size_t k = 0; k < n; ++k) PutLEFloat(out + 4 * k, static_cast<float>(GetLE16(in + 2 * k)));
    }
  } else {
    std::memcpy(out, in, 4 * n);
  }
  std::memset(out + 4 * n, 0, 4 * (samples - n));
}

void KgsHeaderFromSu(const uint8_t* suHeader, const KgsAnswers& answers, int32_t trace, uint8_t* kgsHeader) {
  static const auto words = ResolveWords(kFromSu);
  uint8_t header[kKgsHeaderBytes] = {};
  for (size_t k = 0; k < std::size(kFromSu); ++k) {
    const SuToKgsWord& row = kFromSu[k];
    int16_t value = 0;
    switch (row.source) {
      case S::Word: value = ToInt16(GetWord(suHeader, *words[k])); break;
      case S::DataType: value = answers.dataType; break;
      case S::Channels: value = answers.channels; break;
      case S::RecordWord: value = answers.recordWord; break;
      case S::TraceWord: value = answers.traceWord; break;
      case S::Direction: value = answers.direction; break;
      case S::TraceNumber: value = ToInt16(trace); break;
      case S::Fixed: value = row.constant; break;
    }
    PutLE16(header + row.offset, value);
  }
  std::memcpy(kgsHeader, header, kKgsHeaderBytes);
}

KgsLayout ReadKgsLayout(BinaryFile& file, KgsKind kind) {
  KgsLayout layout;
  layout.kind = kind;
  layout.channels = file.ReadI16(kKgsChannelsOffset);
  layout.ns = file.ReadI16(kKgsNsOffset);
  layout.dt = file.ReadI16(kKgsDtOffset);
  layout.recordSize = KgsRecordSize(kind, layout.ns);
  if (layout.recordSize > 0) layout.records = KgsRecordCount(file.Size(), kind, layout.ns);
  return layout;
}

KgsTrace ReadKgsTrace(BinaryFile& file, const KgsLayout& layout, int32_t index, int32_t sourceDepth) {
  const int32_t ns = std::max<int32_t>(layout.ns, 0);
  std::vector<uint8_t> record(static_cast<size_t>(KgsRecordSize(layout.kind, ns)));
  file.Read(layout.recordSize * (index - 1), record.data(), record.size());
  std::vector<uint8_t> su(kSuHeaderBytes + 4 * static_cast<size_t>(ns));
  SuRecordFromKgs(layout.kind, record, ns, sourceDepth, su);
  KgsTrace trace;
  trace.suHeader.assign(su.begin(), su.begin() + kSuHeaderBytes);
  trace.samples.resize(static_cast<size_t>(ns));
  for (size_t k = 0; k < trace.samples.size(); ++k) trace.samples[k] = GetLEFloat(su.data() + kSuHeaderBytes + 4 * k);
  return trace;
}

std::vector<uint8_t> MakeKgsRecord(KgsKind kind, std::span<const int16_t, 120> words, std::span<const float> samples) {
  const size_t sampleBytes = static_cast<size_t>(KgsSampleBytes(kind));
  std::vector<uint8_t> record(kKgsHeaderBytes + sampleBytes * samples.size());
  for (size_t w = 0; w < words.size(); ++w) PutLE16(record.data() + 2 * w, words[w]);
  uint8_t* out = record.data() + kKgsHeaderBytes;
  for (size_t k = 0; k < samples.size(); ++k) {
    if (kind == KgsKind::Integer) {
      PutLE16(out + 2 * k, ToInt16(samples[k]));
    } else {
      PutLEFloat(out + 4 * k, samples[k]);
    }
  }
  return record;
}

}  // namespace vexmor
