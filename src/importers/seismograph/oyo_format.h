#pragma once
// OYO McSeis 170 record, a modified SEG-1 layout, one file for each shot.
// A block of text fields at fixed offsets, then the traces one after the
// other from byte 6144, with no trace headers:
//
//   2816 +0   record number    (4)    -> fldr
//        +50  channels         (4)    proposal for the trace count
//        +54  samples          (4)
//        +59  interval, ms     (5)    "0.25" is 250 us
//        +65  delay            (9)    -> delrt
//        +75  low cut          (4)    -> lcf
//        +80  high cut         (4)    -> hcf
//        +85  notch            (4)    -> nofilf
//        +90  source X         (6)    -> sx
//        +97  source Y         (6)    -> sy
//        +104, +111            (6)    two further coordinates, no SU word
//   6144      trace 1: S samples, int32 (long) or int16 (short), low byte first
//             trace 2 ... trace N
//
// Each field is text, read by the leading-number rule.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vexmor {

class BinaryFile;

struct OyoField {
  int64_t offset;
  int width;
};
inline constexpr OyoField kOyoRecordNumber{2816, 4};
inline constexpr OyoField kOyoChannels{2866, 4};
inline constexpr OyoField kOyoSamples{2870, 4};
inline constexpr OyoField kOyoInterval{2875, 5};
inline constexpr OyoField kOyoDelay{2881, 9};
inline constexpr OyoField kOyoLowCut{2891, 4};
inline constexpr OyoField kOyoHighCut{2896, 4};
inline constexpr OyoField kOyoNotch{2901, 4};
inline constexpr OyoField kOyoSourceX{2906, 6};
inline constexpr OyoField kOyoSourceY{2913, 6};
inline constexpr OyoField kOyoFurther1{2920, 6};
inline constexpr OyoField kOyoFurther2{2927, 6};
inline constexpr int64_t kOyoDataStart = 6144;

// The characters of a field as they stand; bytes past the end of the file,
// and NULs, read as blanks.
std::string ReadOyoField(BinaryFile& file, OyoField field);

// The values of one file's text block that reach every trace of that file.
// A field that holds no number gives 0, and so does one too large for its
// SU word.
struct OyoTextBlock {
  int32_t recordNumber = 0;
  int16_t delay = 0;
  int16_t lowCut = 0;
  int16_t highCut = 0;
  int16_t notch = 0;
  int32_t sourceX = 0;
  int32_t sourceY = 0;
  double further1 = 0;  // kept, though no SU word takes them
  double further2 = 0;
};
OyoTextBlock ReadOyoTextBlock(BinaryFile& file);

// 0-based offset of trace t (from 1) with samples of `sampleBytes` bytes.
int64_t OyoTraceOffset(int t, int32_t nbSamples, int sampleBytes);

// A record in this layout, for the sample generator and the tests. Text
// fields are written left-aligned and blank-padded to their width.
struct OyoRecordContent {
  std::string recordNumber = "101";
  std::string channels = "12";
  std::string samples = "512";
  std::string interval = "0.25";
  std::string delay = "0";
  std::string lowCut = "10";
  std::string highCut = "250";
  std::string notch = "50";
  std::string sourceX = "1000";
  std::string sourceY = "2000";
  std::string further1 = "0";
  std::string further2 = "0";
  bool longSamples = true;
  std::vector<std::vector<int32_t>> traces;
};
std::vector<uint8_t> BuildOyoRecord(const OyoRecordContent& record);

}  // namespace vexmor
