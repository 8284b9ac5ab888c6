#pragma once
// Readers of the text files of the instruments: lines ending in CR LF, LF or
// CR, and values separated by commas or line ends.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vexmor {

// The largest file ReadWholeFile takes.
inline constexpr int64_t kLargestWholeText = int64_t{256} << 20;

// The whole file as text; throws RunTimeFailure when it cannot be read, is
// no plain file (a folder, a device, a pipe) or is larger than the above.
std::string ReadWholeFile(const std::string& path);

class LineReader {
 public:
  explicit LineReader(std::string text) : text_(std::move(text)) {}
  static LineReader FromFile(const std::string& path) { return LineReader(ReadWholeFile(path)); }
  // The next line without its end; false at the end of the text.
  bool Next(std::string& line);
  bool AtEnd() const { return at_ >= text_.size(); }

 private:
  std::string text_;
  size_t at_ = 0;
};

// Lines of a text, split as LineReader does.
std::vector<std::string> SplitLines(std::string_view text);

class ValueReader {
 public:
  explicit ValueReader(std::string text) : text_(std::move(text)) {}
  static ValueReader FromFile(const std::string& path) { return ValueReader(ReadWholeFile(path)); }
  // The next field, blanks around it removed and quotes taken off; false at
  // the end of the text.
  bool Next(std::string& field);
  // The next field read as a number (leading-number rule); 0 at the end.
  double NextNumber();
  bool AtEnd();

 private:
  void SkipBlanks();
  std::string text_;
  size_t at_ = 0;
};

}  // namespace vexmor
