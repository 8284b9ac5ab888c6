#include "core/text_reader.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "core/failure.h"
#include "core/numbers.h"
#include "core/paths.h"

namespace vexmor {

std::string ReadWholeFile(const std::string& path) {
  int64_t length = 0;
  const int fd = OpenPlainFile(path, length);
  // The texts read whole (records, headers, settings) are a few MB at most;
  // a wrong pick of a many-GB file is said, not paged in until the system
  // ends us.
  if (length > kLargestWholeText) {
    ::close(fd);
    throw RunTimeFailure(FailureCode::OutOfMemory, path + ": " + std::to_string(length) +
                                                       " bytes, too large to be read whole as a text");
  }
  std::string text;
  text.resize(static_cast<size_t>(length));
  size_t got = 0;
  while (got < text.size()) {
    const ssize_t n = ::read(fd, text.data() + got, text.size() - got);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      ::close(fd);
      throw RunTimeFailure(FailureCode::PathAccess, path + ": " + std::strerror(errno));
    }
    if (n == 0) break;  // cut short since the size was taken
    got += static_cast<size_t>(n);
  }
  ::close(fd);
  text.resize(got);
  return text;
}

bool LineReader::Next(std::string& line) {
  if (at_ >= text_.size()) return false;
  const size_t end = text_.find_first_of("\r\n", at_);
  if (end == std::string::npos) {
    line = text_.substr(at_);
    at_ = text_.size();
    return true;
  }
  line = text_.substr(at_, end - at_);
  at_ = end + 1;
  if (text_[end] == '\r' && at_ < text_.size() && text_[at_] == '\n') ++at_;
  return true;
}

std::vector<std::string> SplitLines(std::string_view text) {
  LineReader reader{std::string(text)};
  std::vector<std::string> lines;
  std::string line;
  while (reader.Next(line)) lines.push_back(line);
  return lines;
}

void ValueReader::SkipBlanks() {
  while (at_ < text_.size() && (text_[at_] == ' ' || text_[at_] == '\t')) ++at_;
}

bool ValueReader::AtEnd() {
  size_t i = at_;
  while (i < text_.size() && (text_[i] == ' ' || text_[i] == '\t' || text_[i] == '\r' || text_[i] == '\n')) ++i;
  return i >= text_.size();
}

bool ValueReader::Next(std::string& field) {
  // Line ends between values are separators too.
  while (at_ < text_.size() &&
         (text_[at_] == ' ' || text_[at_] == '\t' || text_[at_] == '\r' || text_[at_] == '\n')) {
    ++at_;
  }
  if (at_ >= text_.size()) return false;
  field.clear();
  if (text_[at_] == '"') {
    const size_t close = text_.find('"', at_ + 1);
    const size_t end = close == std::string::npos ? text_.size() : close;
    field = text_.substr(at_ + 1, end - at_ - 1);
    at_ = close == std::string::npos ? text_.size() : close + 1;
    SkipBlanks();
  } else {
    const size_t end = text_.find_first_of(",\r\n", at_);
    const size_t stop = end == std::string::npos ? text_.size() : end;
    field = text_.substr(at_, stop - at_);
    while (!field.empty() && (field.back() == ' ' || field.back() == '\t')) field.pop_back();
    at_ = stop;
  }
  if (at_ < text_.size() && text_[at_] == ',') ++at_;
  return true;
}

double ValueReader::NextNumber() {
  std::string field;
  return Next(field) ? LeadingNumber(field) : 0.0;
}

}  // namespace vexmor
