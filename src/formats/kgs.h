#pragma once
// KGS integer and KGS floating: trace records one after the other, with no
// file header, every value low byte first. A record is a 240-byte header of
// 120 signed 16-bit words, then ns samples:
//
//   0     2     4     6     8     10    12  ... 22  ... 26  ... 114  116  118   ... 240
//   |type |chan |recw |trcw |dir  |fldr |...| trace |...|tracf|...| ns | dt |55AA |...| samples ...
//
//   KGS integer  (.EVD): int16 samples,   record 240 + 2 x ns
//   KGS floating (.DAT): float32 samples, record 240 + 4 x ns, an SU record's size
//
// Every header value is 16-bit, also where SU keeps 32 bits. ns and dt stand
// where SU has them, so the SU size helpers read a KGS floating file. Which
// word goes where is two tables (kgs.cpp): KGS to SU, where the two readers
// take some words from different places, and SU to KGS floating. Offset 118
// holds 21930 (55AA) when we write; no reader tests it.
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace vexmor {

class BinaryFile;

enum class KgsKind : uint8_t { Integer, Floating };

inline constexpr int kKgsHeaderBytes = 240;
inline constexpr int kKgsNsOffset = 114;
inline constexpr int kKgsDtOffset = 116;
inline constexpr int kKgsMarkOffset = 118;
inline constexpr int16_t kKgsMark = 21930;
// KGS integer: the word that also gives the record's channel count.
inline constexpr int kKgsChannelsOffset = 16;

inline constexpr int KgsSampleBytes(KgsKind kind) { return kind == KgsKind::Integer ? 2 : 4; }
// 240 + sample bytes x ns; 0 or less for a negative ns, which no file has.
inline constexpr int64_t KgsRecordSize(KgsKind kind, int64_t ns) { return kKgsHeaderBytes + KgsSampleBytes(kind) * ns; }
// Records in a file of that length: length / record size rounded half to
// even, so a last record more than half there counts. Throws RunTimeFailure
// when the record size is 0 or the count does not fit 32 bits.
int32_t KgsRecordCount(int64_t fileLength, KgsKind kind, int64_t ns);

// Where a word of the SU header comes from, read out of a KGS record.
enum class KgsSource : uint8_t { Record, Constant, SourceDepth };
struct KgsToSuWord {
  std::string_view suWord;
  KgsSource source;
  int integerOffset = 0;   // Record: byte offset in a KGS integer header
  int floatingOffset = 0;  // ... and in a KGS floating header
  int16_t constant = 0;
};
// The SU words that the readers fill; every other SU word is 0.
std::span<const KgsToSuWord> KgsToSuWords();

// A whole 240-byte SU header from a KGS header. Each 16-bit value keeps its
// sign in a 32-bit SU word; sourceDepth goes into sdepth.
void SuHeaderFromKgs(KgsKind kind, const uint8_t* kgsHeader, int32_t sourceDepth, uint8_t* suHeader);

// One KGS record (header and ns samples, as read) as one SU record of
// 240 + 4 x ns bytes: header from the table, each sample the float of the
// same value. A record shorter than its size reads as if padded with 0.
void SuRecordFromKgs(KgsKind kind, std::span<const uint8_t> record, int32_t ns, int32_t sourceDepth,
                     std::span<uint8_t> suRecord);

// What goes into a word of a KGS floating header written from SU.
enum class SuSource : uint8_t { Word, DataType, Channels, RecordWord, TraceWord, Direction, TraceNumber, Fixed };
struct SuToKgsWord {
  int offset;
  SuSource source;
  std::string_view suWord = {};
  int16_t constant = 0;
};
// The words written, in the order they are written; every other word is 0.
std::span<const SuToKgsWord> SuToKgsWords();

// The values that an SU header does not give, asked of the user.
struct KgsAnswers {
  int16_t dataType = 0;    // 0 raw field, 1 CDP gather, 2 CDP stacked, 3 trace index, 4 velocity scan
  int16_t channels = 0;
  int16_t recordWord = 0;  // header word of the record number
  int16_t traceWord = 0;   // header word of the trace number within a record
  int16_t direction = 0;   // 1 ascending, -1 descending
};

// A whole 240-byte KGS floating header from an SU header, for trace number
// `trace` (from 1). An SU word or a trace number that does not fit 16 bits
// is a RunTimeFailure (Overflow); kgsHeader is then left as it was.
void KgsHeaderFromSu(const uint8_t* suHeader, const KgsAnswers& answers, int32_t trace, uint8_t* kgsHeader);

// A KGS file as its first record describes it.
struct KgsLayout {
  KgsKind kind = KgsKind::Integer;
  int16_t ns = 0;
  int16_t dt = 0;
  int16_t channels = 0;   // word 16 of the first record
  int64_t recordSize = 0;
  int32_t records = 0;    // 0 when the record size gives none
};
// Reads the first record's words; a file too short reads as zeros.
KgsLayout ReadKgsLayout(BinaryFile& file, KgsKind kind);

// Record `index` (from 1) as an SU trace: header and float samples. For the
// viewers, which take a KGS file as they take SU.
struct KgsTrace {
  std::vector<uint8_t> suHeader;  // 240 bytes
  std::vector<float> samples;
};
KgsTrace ReadKgsTrace(BinaryFile& file, const KgsLayout& layout, int32_t index, int32_t sourceDepth = 0);

// One KGS record from its 120 header words and samples (samples of a KGS
// integer record are rounded and checked to 16 bits). For the sample
// generator and tests.
std::vector<uint8_t> MakeKgsRecord(KgsKind kind, std::span<const int16_t, 120> words, std::span<const float> samples);

}  // namespace vexmor
