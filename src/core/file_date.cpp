#include "core/file_date.h"

#include <sys/stat.h>

#include <ctime>

#include "core/paths.h"

namespace vexmor {

SuDateWords DateWordsOf(const std::string& path) {
  SuDateWords words;
  int month = 0, dayOfMonth = 0;
  struct stat info {};
  std::tm local{};
  if (::stat(ResolveExisting(path).c_str(), &info) == 0 && localtime_r(&info.st_mtime, &local) != nullptr) {
    month = local.tm_mon + 1;
    dayOfMonth = local.tm_mday;
    words.year = static_cast<int16_t>(local.tm_year % 100);
    words.hour = static_cast<int16_t>(local.tm_hour);
    words.minute = static_cast<int16_t>(local.tm_min);
  }
  // Months of 30 days, as the short date mm/dd/yy gives them.
  words.day = static_cast<int16_t>((month - 1) * 30 + dayOfMonth);
  return words;
}

}  // namespace vexmor
