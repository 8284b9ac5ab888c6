#include "core/numbers.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

#include "core/failure.h"

namespace vexmor {

namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

template <typename T>
T Narrow(double value, const char* what) {
  const double r = RoundHalfEven(value);
  if (!(r >= static_cast<double>(std::numeric_limits<T>::min()) &&
        r <= static_cast<double>(std::numeric_limits<T>::max()))) {
    throw RunTimeFailure(FailureCode::Overflow, std::string("value does not fit ") + what);
  }
  return static_cast<T>(r);
}

}  // namespace

double LeadingNumber(std::string_view text) {
  size_t i = 0;
  while (i < text.size() && (text[i] == ' ' || text[i] == '\t')) ++i;
  const size_t start = i;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
  size_t digits = 0;
  while (i < text.size() && IsDigit(text[i])) ++i, ++digits;
  if (i < text.size() && text[i] == '.') {
    ++i;
    while (i < text.size() && IsDigit(text[i])) ++i, ++digits;
  }
  if (digits == 0) return 0.0;
  size_t end = i;
  // An exponent counts only when digits follow it.
  if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
    size_t j = i + 1;
    if (j < text.size() && (text[j] == '+' || text[j] == '-')) ++j;
    if (j < text.size() && IsDigit(text[j])) {
      while (j < text.size() && IsDigit(text[j])) ++j;
      end = j;
    }
  }
  std::string_view number = text.substr(start, end - start);
  if (!number.empty() && number[0] == '+') number.remove_prefix(1);
  double value = 0.0;
  const auto result = std::from_chars(number.data(), number.data() + number.size(), value);
  if (result.ec == std::errc::result_out_of_range) {
    // Too small for a double is 0; too large keeps its sign, and narrowing
    // reports it. Which one it is follows from the decimal magnitude.
    const bool negative = number[0] == '-';
    const size_t mark = number.find_first_of("eE");
    const std::string_view mantissa = number.substr(0, mark);
    long magnitude = 0;
    const size_t point = std::min(mantissa.find('.'), mantissa.size());
    const size_t firstSignificant = mantissa.find_first_of("123456789");
    if (firstSignificant != std::string_view::npos) {
      magnitude = firstSignificant < point ? static_cast<long>(point - firstSignificant)
                                           : -static_cast<long>(firstSignificant - point - 1);
    }
    long exponent = 0;
    if (mark != std::string_view::npos) {
      std::string_view e = number.substr(mark + 1);
      if (!e.empty() && e[0] == '+') e.remove_prefix(1);
      const auto parsed = std::from_chars(e.data(), e.data() + e.size(), exponent);
      if (parsed.ec == std::errc::result_out_of_range) exponent = e[0] == '-' ? -100000 : 100000;
      // Far past any double either way: bounded, so that adding the
      // magnitude cannot overflow.
      exponent = std::clamp(exponent, -100000L, 100000L);
    }
    if (magnitude + exponent <= 0) return 0.0;
    return negative ? -std::numeric_limits<double>::infinity() : std::numeric_limits<double>::infinity();
  }
  return value;
}

double RoundHalfEven(double value) { return std::nearbyint(value); }

int16_t ToInt16(double value) { return Narrow<int16_t>(value, "a 16-bit field"); }
int32_t ToInt32(double value) { return Narrow<int32_t>(value, "a 32-bit field"); }

namespace {

// Whole numbers as digits, the usual range in fixed notation, the rest with
// an exponent; always the fewest digits that read back as the same value.
template <typename T>
std::string Shortest(T value) {
  if (std::isnan(value)) return "NaN";
  if (std::isinf(value)) return value < 0 ? "-Infinity" : "Infinity";
  if (value == 0) return "0";
  char buffer[400];
  std::to_chars_result r;
  if (value == std::trunc(value) && std::fabs(value) < T(1e15)) {
    r = std::to_chars(buffer, buffer + sizeof buffer, static_cast<long long>(value));
  } else if (std::fabs(value) >= T(1e-5) && std::fabs(value) < T(1e15)) {
    r = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed);
  } else {
    r = std::to_chars(buffer, buffer + sizeof buffer, value);
  }
  return std::string(buffer, r.ptr);
}

std::string WithSignPlace(const std::string& text) { return text[0] != '-' ? " " + text : text; }

}  // namespace

std::string ShortestText(double value) { return Shortest(value); }
std::string ShortestTextOfSingle(float value) { return Shortest(value); }

std::string NumberText(double value) { return WithSignPlace(ShortestText(value)); }
std::string NumberTextOfSingle(float value) { return WithSignPlace(ShortestTextOfSingle(value)); }

}  // namespace vexmor
