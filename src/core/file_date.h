#pragma once
// The date words that importers take from a record's last-change time.
#include <cstdint>
#include <string>

namespace vexmor {

// The date and time words of the SU header.
struct SuDateWords {
  int16_t year = 0;    // two digits
  int16_t day = 0;     // (month - 1) x 30 + day of month
  int16_t hour = 0;
  int16_t minute = 0;
};

// Date words from the last-change time of a file, in local time. A file that
// cannot be looked at gives month, day and year 0, so day is -30.
SuDateWords DateWordsOf(const std::string& path);

}  // namespace vexmor
