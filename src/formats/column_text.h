#pragma once
// Column text: numbers separated by commas or line ends (and blanks), the
// text that the ASCII importer reads and rtoaw writes. The values are read
// one after the other, so line breaks carry no meaning of their own; laid
// out as columns, one row is one sample and one column one trace:
//
//   s1t1,s1t2,s1t3      value (s - 1) x T + t (from 1) is sample s of trace t
//   s2t1,s2t2,s2t3
//
// A field is what stands between two separators. Blanks and tabs around a
// field are passed over, and a run of them parts two fields as a comma
// does. An empty field between two commas is a value (one that is no
// number); a comma at the start or the end of a line adds none. Blank
// lines add nothing.
//
// A field that begins with a number reads as that number, correctly
// rounded to a 32-bit float (whole numbers on a fast path, others through
// std::from_chars); a field that is no number, or one beyond the float
// range, leaves its cell as it was.
#include <cstdint>
#include <span>
#include <string_view>

namespace vexmor {

// How many values the text holds.
int64_t CountColumnValues(std::string_view text);

// Reads the first values of the text into `cells`, in order, and stops
// when they are full; a field that is no number leaves its cell. Gives how
// many values the text gave (at most cells.size()).
int64_t ReadColumnValues(std::string_view text, std::span<float> cells);

}  // namespace vexmor
