#pragma once
// Numbers as the panels read and show them: the leading-number rule, rounding
// half to even, checked narrowing, and the two ways of writing a number.
#include <cstdint>
#include <string>
#include <string_view>

namespace vexmor {

// The number with which the text begins (blanks ahead of it passed over),
// 0 when it begins with none.
double LeadingNumber(std::string_view text);

// Nearest whole number, a tie going to the even one. Not range-checked.
double RoundHalfEven(double value);

// Rounded half to even and checked: a value that does not fit is a
// run-time failure (Overflow), as is NaN.
int16_t ToInt16(double value);
int32_t ToInt32(double value);

// Leading-number rule followed by the checked narrowing.
inline int16_t TextToInt16(std::string_view t) { return ToInt16(LeadingNumber(t)); }
inline int32_t TextToInt32(std::string_view t) { return ToInt32(LeadingNumber(t)); }

// Shortest decimal text that reads back as the same double; whole numbers
// below 1e15 as plain digits ("2048", "0.4", "-3.25").
std::string ShortestText(double value);

// Number text: one leading blank for 0 or more, the minus sign otherwise.
std::string NumberText(double value);

// The same for a 32-bit float word or sample: the shortest text that reads
// back as the same float, so 0.1f is "0.1", not its double's 17 digits.
std::string ShortestTextOfSingle(float value);
std::string NumberTextOfSingle(float value);

// Plain digits: the shortest text with no leading blank.
inline std::string PlainDigits(double value) { return ShortestText(value); }

}  // namespace vexmor
