#include "sample_formats.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>

#include "core/byte_order.h"

namespace vexmor::su {

namespace {

constexpr std::array<SampleFormat, 13> kFormats = {{
    {1, 4, "4-byte IBM float"},
    {2, 4, "4-byte signed integer"},
    {3, 2, "2-byte signed integer"},
    {5, 4, "4-byte IEEE float"},
    {6, 8, "8-byte IEEE float"},
    {7, 3, "3-byte signed integer"},
    {8, 1, "1-byte signed integer"},
    {9, 8, "8-byte signed integer"},
    {10, 4, "4-byte unsigned integer"},
    {11, 2, "2-byte unsigned integer"},
    {12, 8, "8-byte unsigned integer"},
    {15, 3, "3-byte unsigned integer"},
    {16, 1, "1-byte unsigned integer"},
}};

// Reads one sample of w bytes as an unsigned big-endian pattern.
inline uint64_t Pattern(const uint8_t* p, int w, bool bigEndian) {
  uint64_t v = 0;
  if (bigEndian) {
    for (int i = 0; i < w; ++i) v = v << 8 | p[i];
  } else {
    for (int i = w - 1; i >= 0; --i) v = v << 8 | p[i];
  }
  return v;
}

inline void PutFloat(uint8_t* out, float f) {
  const uint32_t bits = FloatBits(f);
  std::memcpy(out, &bits, 4);  // this machine is little-endian, as SU is
}

inline uint32_t Load32(const uint8_t* p, bool bigEndian) {
  uint32_t v;
  std::memcpy(&v, p, 4);
  return bigEndian ? Swap32(v) : v;
}

// Out-of-range doubles become infinities rather than undefined casts.
inline float DoubleToFloat(double d) {
  if (d > std::numeric_limits<float>::max()) return std::numeric_limits<float>::infinity();
  if (d < -std::numeric_limits<float>::max()) return -std::numeric_limits<float>::infinity();
  return static_cast<float>(d);
}

// IBM to IEEE for exponents up to 96, where no float overflows: the 24-bit
// fraction times 2^(4e - 280) is exact in double and rounds to float as the
// general conversion does. No table and no data-dependent branch, so the
// compiler can work on several samples at once.
inline float FastIbm(uint32_t ibm) {
  const uint64_t scaleBits = uint64_t(4 * ((ibm >> 24) & 0x7F) + 743) << 52;
  const double magnitude = double(int32_t(ibm & 0x00FFFFFFu)) * std::bit_cast<double>(scaleBits);
  return BitsFloat(FloatBits(static_cast<float>(magnitude)) | (ibm & 0x80000000u));
}

}  // namespace

namespace {

// Samples whose exponents all stay in range take the fast loop, a trace at a
// time; the others the exact general conversion. Built for AVX2 as well,
// chosen when the processor has it.
__attribute__((target_clones("avx2", "default")))
void IbmSamples(bool bigEndian, const uint8_t* in, int64_t n, uint8_t* out) {
  uint32_t worst = 0;
  for (int64_t i = 0; i < n; ++i) {
    uint32_t w;
    std::memcpy(&w, in + 4 * i, 4);
    if (bigEndian) w = Swap32(w);
    worst = std::max(worst, w & 0x7FFFFFFFu);
  }
  if (worst > 0x60FFFFFFu) {
    for (int64_t i = 0; i < n; ++i) PutFloat(out + 4 * i, IbmToFloat(Load32(in + 4 * i, bigEndian)));
    return;
  }
  for (int64_t i = 0; i < n; ++i) {
    uint32_t w;
    std::memcpy(&w, in + 4 * i, 4);
    if (bigEndian) w = Swap32(w);
    const float f = FastIbm(w);
    std::memcpy(out + 4 * i, &f, 4);
  }
}

}  // namespace

const SampleFormat* FindSampleFormat(int code) {
  for (const auto& f : kFormats) {
    if (f.code == code) return &f;
  }
  return nullptr;
}

void SamplesToFloat(const SampleFormat& format, bool bigEndian, const uint8_t* in, int64_t n, uint8_t* out) {
  const int w = format.bytes;
  switch (format.code) {
    case 1:
      IbmSamples(bigEndian, in, n, out);
      return;
    case 5:
      SamplesKeepBits(bigEndian, in, n, out);
      return;
    case 2:
      for (int64_t i = 0; i < n; ++i)
        PutFloat(out + 4 * i, static_cast<float>(static_cast<int32_t>(Load32(in + 4 * i, bigEndian))));
      return;
    default:
      break;
  }
  for (int64_t i = 0; i < n; ++i) {
    const uint64_t v = Pattern(in + w * i, w, bigEndian);
    float f = 0;
    switch (format.code) {
      case 3: f = static_cast<float>(static_cast<int16_t>(v)); break;
      case 6: f = DoubleToFloat(std::bit_cast<double>(v)); break;
      case 7: f = static_cast<float>(static_cast<int32_t>(static_cast<uint32_t>(v << 8)) >> 8); break;
      case 8: f = static_cast<float>(static_cast<int8_t>(v)); break;
      case 9: f = static_cast<float>(static_cast<int64_t>(v)); break;
      case 10: f = static_cast<float>(static_cast<uint32_t>(v)); break;
      case 11: f = static_cast<float>(static_cast<uint16_t>(v)); break;
      case 12: f = static_cast<float>(v); break;
      case 15: f = static_cast<float>(static_cast<uint32_t>(v)); break;
      case 16: f = static_cast<float>(static_cast<uint8_t>(v)); break;
      default: break;
    }
    PutFloat(out + 4 * i, f);
  }
}

void SamplesKeepBits(bool bigEndian, const uint8_t* in, int64_t n, uint8_t* out) {
  if (!bigEndian) {
    std::memcpy(out, in, size_t(n) * 4);
    return;
  }
  for (int64_t i = 0; i < n; ++i) {
    uint32_t v;
    std::memcpy(&v, in + 4 * i, 4);
    v = Swap32(v);
    std::memcpy(out + 4 * i, &v, 4);
  }
}

}  // namespace vexmor::su
