#include "formats/column_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <iterator>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace vexmor {

namespace {

inline bool IsBlank(char c) { return c == ' ' || c == '\t'; }
inline bool IsLineEnd(char c) { return c == '\r' || c == '\n'; }
constexpr auto kSeparators = [] {
  std::array<bool, 256> table{};
  for (const unsigned char c : {',', ' ', '\t', '\r', '\n'}) table[c] = true;
  return table;
}();
inline bool IsSeparator(char c) { return kSeparators[static_cast<unsigned char>(c)]; }
inline bool IsDigit(char c) { return static_cast<unsigned char>(c - '0') < 10; }

// Without a popcount instruction of the target, a call to the library's
// would cost more than these few operations.
inline int BitsSet16(unsigned v) {
  v = v - ((v >> 1) & 0x5555u);
  v = (v & 0x3333u) + ((v >> 2) & 0x3333u);
  v = (v + (v >> 4)) & 0x0F0Fu;
  return static_cast<int>((v + (v >> 8)) & 0x1Fu);
}

// Parses the field that begins at p; on a number sets `value` and gives
// true. Leaves p behind the field.
inline bool ParseField(const char*& p, const char* end, float& value) {
  const char* const start = p;
  // Whole numbers of up to 18 digits, the usual samples, on the fast path.
  const bool negative = *p == '-';
  const char* q = p + ((*p == '-' || *p == '+') ? 1 : 0);
  const char* const digits = q;
  int64_t whole = 0;
  if (end - q >= 8) {
    // Up to seven digits read from one 8-byte load, with no branch for
    // each digit (a run of eight or more takes the loop below).
    uint64_t chunk;
    std::memcpy(&chunk, q, 8);
    const uint64_t x = chunk ^ 0x3030303030303030ull;  // digits become 0..9
    const uint64_t notDigit = (((x & 0x7F7F7F7F7F7F7F7Full) + 0x7676767676767676ull) | x) & 0x8080808080808080ull;
    const int n = notDigit == 0 ? 8 : __builtin_ctzll(notDigit) / 8;
    if (n > 0 && n < 8) {
      // The n digits to the top bytes, zeros before them, then the
      // classic halving of eight digits to one number.
      uint64_t v = x << (8 * (8 - n));
      v = (v * 10) + (v >> 8);
      v = (((v & 0x000000FF000000FFull) * (100 + (1000000ull << 32))) +
           (((v >> 16) & 0x000000FF000000FFull) * (1 + (10000ull << 32)))) >> 32;
      whole = static_cast<int64_t>(v);
      q += n;
    }
  }
  if (q == digits) {
    const char* const limit = end - q > 18 ? q + 18 : end;
    while (q < limit && IsDigit(*q)) whole = whole * 10 + (*q++ - '0');
  }
  if (q > digits && (q == end || IsSeparator(*q))) {
    p = q;
    value = static_cast<float>(negative ? -whole : whole);
    return true;
  }
  while (q < end && !IsSeparator(*q)) ++q;
  p = q;
  // from_chars reads neither a plus sign nor, as we want it, nan or inf.
  const char* first = start + (*start == '+' ? 1 : 0);
  if (first == p || !(IsDigit(*first) || *first == '.' || (*first == '-' && first + 1 < p))) return false;
  if (*first == '-' && !(IsDigit(first[1]) || first[1] == '.')) return false;
  float parsed = 0;
  const auto [stop, ec] = std::from_chars(first, p, parsed, std::chars_format::general);
  if (ec != std::errc() || stop == first) return false;
  value = parsed;
  return true;
}

// Runs through the fields; sink(isNumber, value) for each value, false
// from the sink stops the run.
template <bool kParse, typename Sink>
void Scan(std::string_view text, Sink&& sink) {
  const char* p = text.data();
  const char* const end = p + text.size();
  bool afterComma = false;  // a comma since the last field or line end
  while (p < end) {
    const char c = *p;
    if (IsBlank(c)) {
      ++p;
    } else if (IsLineEnd(c)) {
      afterComma = false;
      ++p;
    } else if (c == ',') {
      ++p;
      if (!afterComma) {
        afterComma = true;
        continue;
      }
      // Two commas with nothing between: an empty field.
      if (!sink(false, 0.0f)) return;
    } else {
      afterComma = false;
      float value = 0;
      bool number = false;
      if constexpr (kParse) {
        number = ParseField(p, end, value);
      } else {
        while (p < end && !IsSeparator(*p)) ++p;
      }
      if (!sink(number, value)) return;
    }
  }
}

}  // namespace

int64_t CountColumnValues(std::string_view text) {
#ifdef __SSE2__
  // Sixteen characters at a time: a value starts where a field character
  // follows a separator. Empty fields (a comma after a comma, blanks
  // between) need the character-by-character rules: a text that may hold
  // one is counted by them.
  int64_t count = 0;
  unsigned afterSeparator = 1, afterComma = 0, afterBlank = 0;
  bool plain = true;
  auto block = [&](__m128i v) {
    const auto is = [v](char c) { return _mm_cmpeq_epi8(v, _mm_set1_epi8(c)); };
    const __m128i blank = _mm_or_si128(is(' '), is('\t'));
    const __m128i comma = is(',');
    const auto sep = static_cast<unsigned>(
        _mm_movemask_epi8(_mm_or_si128(_mm_or_si128(blank, comma), _mm_or_si128(is('\r'), is('\n')))));
    const auto commas = static_cast<unsigned>(_mm_movemask_epi8(comma));
    const auto blanks = static_cast<unsigned>(_mm_movemask_epi8(blank));
    count += BitsSet16(~sep & ((sep << 1) | afterSeparator) & 0xFFFFu);
    if (commas & (((commas | blanks) << 1) | afterComma | afterBlank)) plain = false;
    afterSeparator = (sep >> 15) & 1u;
    afterComma = (commas >> 15) & 1u;
    afterBlank = (blanks >> 15) & 1u;
  };
  size_t at = 0;
  for (; at + 16 <= text.size(); at += 16) block(_mm_loadu_si128(reinterpret_cast<const __m128i*>(text.data() + at)));
  if (at < text.size()) {
    char tail[16];
    std::fill(std::begin(tail), std::end(tail), '\n');  // line ends start nothing
    std::copy(text.begin() + static_cast<std::ptrdiff_t>(at), text.end(), tail);
    block(_mm_loadu_si128(reinterpret_cast<const __m128i*>(tail)));
  }
  if (plain) return count;
#endif
  int64_t slow = 0;
  Scan<false>(text, [&slow](bool, float) {
    ++slow;
    return true;
  });
  return slow;
}

int64_t ReadColumnValues(std::string_view text, std::span<float> cells) {
  if (cells.empty()) return 0;
  int64_t n = 0;
  const int64_t room = static_cast<int64_t>(cells.size());
  Scan<true>(text, [&](bool number, float value) {
    if (number) cells[static_cast<size_t>(n)] = value;
    return ++n < room;
  });
  return n;
}

}  // namespace vexmor
