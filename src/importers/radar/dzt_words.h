#pragma once
// GSSI DZT files read the way the direct importer reads them: a header of
// 1024 bytes whatever the file says, then traces of M = H / 2 words, each
// word two of the file's samples (the later one in its high half).
//
//    0     4        6       8                 1024
//   | -- | H int16 | B int16 | --- (not read) --- | trace 1 | trace 2 | ...
//
//   B = 16: a word is a signed 32-bit value (two 16-bit samples)
//   B = anything else: a signed 16-bit value (two 8-bit samples)
//   trace i (from 1) at 1024 + (i - 1) x 2 x M x W, W = 1 or 2
//
// So a 16-bit file of 512 samples per scan gives traces of 256 words.
// Nothing is centred, scaled or swapped: the number is the word's value.
// rtoaw writes the same words as text, so that both routes to SU agree.
#include <cstdint>
#include <span>

#include "core/binary_file.h"

namespace vexmor {

inline constexpr int64_t kDztWordsHeaderBytes = 1024;

struct DztWordsLayout {
  int16_t samplesPerScan = 0;  // H
  int16_t bits = 0;            // B
  int16_t words = 0;           // M = H / 2, rounded half to even
  int width = 1;               // W: 2 for 16-bit files, else 1
  // Traces of M words in the bytes after the header, rounded half to even
  // (a last trace more than half there counts); nullopt-like -1 when
  // M x B does not fit 16 bits or gives no trace size.
  int64_t traces = -1;
};

DztWordsLayout ReadDztWordsLayout(BinaryFile& file);

// Byte offset of trace i (from 1) of M words of width W.
inline int64_t DztWordsTraceOffset(int64_t i, int64_t words, int width) {
  return kDztWordsHeaderBytes + (i - 1) * 2 * words * width;
}

// Reads trace i into `values` (M words); words past the end of the file
// are 0. Gives how many words the file held.
size_t ReadDztWords(BinaryFile& file, int64_t i, int width, std::span<int32_t> values);

}  // namespace vexmor
