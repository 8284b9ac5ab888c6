#pragma once
// The SU trace file: a plain run of trace records, no file header, no
// trailer. One record is a 240-byte header followed by ns 32-bit IEEE
// floats, everything little-endian:
//
//   0        4        8       12  ...  114  116  ...  180 ... 210   240
//   | tracl  | tracr  | fldr  | ... | ns | dt | ... | d1 ... mark | pad | samples ...
//
// The header words are described once, in SuWords(); code that reads or
// writes a word goes by its name through that table.
#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace vexmor {

struct SharedState;

enum class WordType : uint8_t { Int16, Int32, Float32 };

struct SuWord {
  int number;              // 1..79, the number shown in the word list
  int offset;              // byte offset in the header
  int width;               // 2 or 4
  WordType type;
  std::string_view name;   // SU name: "tracl", "ns", ...
  std::string_view text;   // the word list's own wording
};

inline constexpr int kSuHeaderBytes = 240;
// The most samples a trace can have where a panel holds its record size,
// 240 + 4 x samples, in 16 bits.
inline constexpr int kMaxSamples16BitRecord = 8131;
inline constexpr int kSuWordCount = 79;

const std::array<SuWord, kSuWordCount>& SuWords();
// The word of that SU name, nullptr for an unknown name.
const SuWord* FindSuWord(std::string_view name);
// The word of that SU name; an unknown name is a programming error (throws).
const SuWord& SuWordNamed(std::string_view name);

// Little-endian access to raw bytes; no alignment needed.
inline int16_t GetLE16(const uint8_t* p) { return static_cast<int16_t>(p[0] | (p[1] << 8)); }
inline int32_t GetLE32(const uint8_t* p) {
  return static_cast<int32_t>(uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 |
                              uint32_t(p[3]) << 24);
}
inline float GetLEFloat(const uint8_t* p) {
  const uint32_t bits = static_cast<uint32_t>(GetLE32(p));
  float f;
  std::memcpy(&f, &bits, 4);
  return f;
}
inline void PutLE16(uint8_t* p, int16_t v) {
  const auto u = static_cast<uint16_t>(v);
  p[0] = uint8_t(u);
  p[1] = uint8_t(u >> 8);
}
inline void PutLE32(uint8_t* p, int32_t v) {
  const auto u = static_cast<uint32_t>(v);
  p[0] = uint8_t(u);
  p[1] = uint8_t(u >> 8);
  p[2] = uint8_t(u >> 16);
  p[3] = uint8_t(u >> 24);
}
inline void PutLEFloat(uint8_t* p, float f) {
  uint32_t bits;
  std::memcpy(&bits, &f, 4);
  PutLE32(p, static_cast<int32_t>(bits));
}

// One trace header held in memory, read and written by word name. Writers
// that build a whole header at once (tools, radar importers) use this.
class SuHeader {
 public:
  SuHeader() { bytes_.fill(0); }
  double Get(std::string_view name) const;          // any word, as a number
  void Set(std::string_view name, double value);    // checked narrowing for integer words
  // Checked: a float word that does not fit is a run-time failure.
  int32_t GetInt(std::string_view name) const;
  uint8_t* Data() { return bytes_.data(); }
  const uint8_t* Data() const { return bytes_.data(); }

 private:
  std::array<uint8_t, kSuHeaderBytes> bytes_;
};

// Reads a word of any type from a header image, as a number.
double GetWord(const uint8_t* header, const SuWord& word);
// Writes a word; integer words are rounded half to even and range-checked.
void SetWord(uint8_t* header, const SuWord& word, double value);

// Trace size in bytes: 240 + 4 x ns (32-bit, checked).
int32_t TraceSize(int32_t nbSamples);
// Byte offset of trace i (from 1): (240 + 4 x ns) x (i - 1), 32-bit, checked.
int32_t TracePosOf(int32_t i, int32_t nbSamples);
// Traces in a file of that length: length / trace size rounded half to even,
// so a last trace more than half there counts.
int32_t TraceCountOf(int64_t fileLength, int32_t nbSamples);

// Sets NbSamples (0 gives 1024) and SampleInterval (0 gives 1) from the
// first trace. Never fails: an unreadable file gives NbSamples 1024.
void ReadSuSizes(const std::string& path, SharedState& state);
// Sets NbSamples, SampleInterval (0 gives 1000), NbTraces and NbChannels.
// Failures reach the caller.
void ScanSuGeometry(const std::string& path, SharedState& state);
// Channels per field record from the run of tracf, 0 when none can be given
// (stacked data, fewer than 6, a constant tracf). NbSamples must be set.
void CountChannels(const std::string& path, int32_t traceCount, int16_t& channels,
                   SharedState& state);

// The two bytes of a 16-bit value exchanged.
int16_t SwapBytes16(int16_t value);

}  // namespace vexmor
