#include "formats/column_text.h"

#include <array>
#include <charconv>
#include <cmath>

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

// Parses the field that begins at p; on a number sets `value` and gives
// true. Leaves p behind the field.
inline bool ParseField(const char*& p, const char* end, float& value) {
  const char* const start = p;
  // Whole numbers of up to 18 digits, the usual samples, on the fast path.
  const bool negative = *p == '-';
  const char* q = p + ((*p == '-' || *p == '+') ? 1 : 0);
  const char* const digits = q;
  const char* const limit = end - q > 18 ? q + 18 : end;
  int64_t whole = 0;
  while (q < limit && IsDigit(*q)) whole = whole * 10 + (*q++ - '0');
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
  int64_t count = 0;
  Scan<false>(text, [&count](bool, float) {
    ++count;
    return true;
  });
  return count;
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
