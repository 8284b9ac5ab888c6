#pragma once
// Reading SU traces from standard input one by one; each trace says its own
// sample count in `ns` (bytes 114..115, unsigned, little-endian).
#include <cstdint>
#include <string>
#include <vector>

namespace vexmor::su {

class SuReader {
 public:
  // An empty name names the descriptor ("standard input (/data/in.su)").
  explicit SuReader(int fd = 0, std::string name = "");
  // Reads the next trace into Trace(); false at the end of input. A trace
  // cut short in its samples is padded with zeros, reported, and marks
  // Truncated(); one cut in its header is reported, marks Truncated() and
  // gives false.
  bool Next();
  std::vector<uint8_t>& Trace() { return trace_; }
  int Ns() const { return ns_; }
  bool Truncated() const { return truncated_; }
  int64_t Count() const { return count_; }
  const std::string& Name() const { return name_; }

 private:
  size_t Fill(uint8_t* data, size_t n);
  int fd_;
  std::string name_;
  std::vector<uint8_t> trace_;
  std::vector<uint8_t> buffer_;
  size_t begin_ = 0;
  size_t end_ = 0;
  int ns_ = 0;
  bool truncated_ = false;
  int64_t count_ = 0;
};

}  // namespace vexmor::su
