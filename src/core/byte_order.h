#pragma once
// Byte order and sample number conversions shared by the SEG-Y and SEG-D
// readers and writers: big-endian access, byte swaps, IBM System/360 floats.
//
// IBM float: | s | exponent (7 bits, excess 64, base 16) | fraction (24 bits) |
//   value = (-1)^s x 0.fraction x 16^(exponent - 64)
#include <bit>
#include <cstdint>
#include <cstring>

namespace vexmor {

inline uint16_t Swap16(uint16_t v) { return static_cast<uint16_t>((v >> 8) | (v << 8)); }
inline uint32_t Swap32(uint32_t v) { return __builtin_bswap32(v); }
inline uint64_t Swap64(uint64_t v) { return __builtin_bswap64(v); }

// Reads and writes of unaligned big-endian values.
inline uint16_t GetBE16u(const uint8_t* p) { return static_cast<uint16_t>(p[0] << 8 | p[1]); }
inline uint32_t GetBE24u(const uint8_t* p) { return uint32_t(p[0]) << 16 | uint32_t(p[1]) << 8 | p[2]; }
inline uint32_t GetBE32u(const uint8_t* p) {
  uint32_t v;
  std::memcpy(&v, p, 4);
  return Swap32(v);
}
inline uint64_t GetBE64u(const uint8_t* p) {
  uint64_t v;
  std::memcpy(&v, p, 8);
  return Swap64(v);
}
inline void PutBE16u(uint8_t* p, uint16_t v) {
  p[0] = uint8_t(v >> 8);
  p[1] = uint8_t(v);
}
inline void PutBE32u(uint8_t* p, uint32_t v) {
  v = Swap32(v);
  std::memcpy(p, &v, 4);
}

// Reverses the bytes of a field of 2, 4 or 8 bytes in place.
void SwapField(uint8_t* p, int width);

// IBM float bits to IEEE single. Every IBM fraction fits the 24-bit IEEE
// significand, so only values beyond the IEEE range change: they become
// infinities or denormals/zero.
float IbmToFloat(uint32_t ibm);
// IEEE single to IBM float bits, rounded to nearest (ties to even). Values
// beyond the IBM range give its largest magnitude; NaN gives 0.
uint32_t FloatToIbm(float value);

inline uint32_t FloatBits(float f) { return std::bit_cast<uint32_t>(f); }
inline float BitsFloat(uint32_t u) { return std::bit_cast<float>(u); }

}  // namespace vexmor
