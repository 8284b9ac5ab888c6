#include "core/byte_order.h"

#include <cmath>
#include <utility>

namespace vexmor {

void SwapField(uint8_t* p, int width) {
  for (int i = 0, j = width - 1; i < j; ++i, --j) std::swap(p[i], p[j]);
}

float IbmToFloat(uint32_t ibm) {
  const uint32_t sign = ibm & 0x80000000u;
  const uint32_t fraction = ibm & 0x00FFFFFFu;
  if (fraction == 0) return BitsFloat(sign);
  const int top = 31 - std::countl_zero(fraction);  // 0..23
  // 0.f x 16^(e-64) = 1.x * 2^(top + 4e - 280); biased by 127.
  const int exponent = 4 * static_cast<int>((ibm >> 24) & 0x7F) + top - 153;
  if (exponent >= 255) return BitsFloat(sign | 0x7F800000u);
  if (exponent <= 0) {
    const double v = std::ldexp(static_cast<double>(fraction), 4 * static_cast<int>((ibm >> 24) & 0x7F) - 280);
    return static_cast<float>(sign ? -v : v);
  }
  const uint32_t mantissa = (fraction << (23 - top)) & 0x007FFFFFu;
  return BitsFloat(sign | static_cast<uint32_t>(exponent) << 23 | mantissa);
}

namespace {

// m >> r rounded to nearest, ties to even.
uint64_t ShiftRounded(uint64_t m, int r) {
  if (r <= 0) return m;
  if (r >= 64) return 0;
  const uint64_t kept = m >> r;
  const uint64_t rest = m & ((uint64_t(1) << r) - 1);
  const uint64_t half = uint64_t(1) << (r - 1);
  if (rest > half || (rest == half && (kept & 1))) return kept + 1;
  return kept;
}

}  // namespace

uint32_t FloatToIbm(float value) {
  const uint32_t bits = FloatBits(value);
  const uint32_t sign = bits & 0x80000000u;
  const int biased = static_cast<int>((bits >> 23) & 0xFF);
  uint32_t m = bits & 0x007FFFFFu;
  if (biased == 255) return m != 0 ? 0 : (sign | 0x7FFFFFFFu);
  if (biased == 0 && m == 0) return sign;
  // value = m x 2^(k - 24) with m a 24-bit significand, bit 23 set.
  int k;
  if (biased == 0) {
    const int top = 31 - std::countl_zero(m);
    m <<= (23 - top);
    k = -126 - 23 + top + 1;
  } else {
    m |= 0x00800000u;
    k = biased - 126;
  }
  // 16^(E-64) = 2^k rounded up to a multiple of 4.
  const int r = ((k % 4) + 4) % 4 == 0 ? 0 : 4 - ((k % 4) + 4) % 4;
  int e = (k + r) / 4 + 64;
  uint64_t f = ShiftRounded(m, r);
  if (f >= 0x01000000u) {
    f >>= 4;
    ++e;
  }
  if (e > 127) return sign | 0x7FFFFFFFu;
  if (e < 0) {
    f = ShiftRounded(f, 4 * -e);
    e = 0;
    if (f >= 0x01000000u) {  // rounded up into the smallest normal one
      f >>= 4;
      e = 1;
    }
    if (f == 0) return sign;
  }
  return sign | static_cast<uint32_t>(e) << 24 | static_cast<uint32_t>(f);
}

}  // namespace vexmor
