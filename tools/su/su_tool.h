#pragma once
// What the Seismic Unix tools share: key=value parameters, messages on
// standard error, big unbuffered reads and writes of standard input and
// output.
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "formats/segy.h"

namespace vexmor::su {

// The SEG-Y layout, sample formats and text codes are the core's.
using namespace vexmor::segy;

// A failure that ends the tool with exit status 1; the text is the message.
struct ToolError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// A parameter the tool cannot take; the message points to the usage.
struct BadParameter : ToolError {
  using ToolError::ToolError;
};

// The values a number parameter may take: those of the field it fills.
struct Range {
  int64_t min;
  int64_t max;
  const char* field;  // "a 16-bit header word", said when a value is refused
};
inline constexpr Range kSwitch{0, 1, "a switch"};
inline constexpr Range kWord16{-32768, 32767, "a 16-bit header word"};
inline constexpr Range kSamples{0, 65535, "an SU trace's sample count"};
inline constexpr Range kMicroseconds{0, 65535, "the 16-bit sample interval"};
inline constexpr Range kTraceNumber{1, std::numeric_limits<int64_t>::max(), "a trace number"};
inline constexpr Range kCount{0, std::numeric_limits<int32_t>::max(), "a count"};

class Params {
 public:
  // Reads key=value words; anything else is an error. Keys not in `known`
  // are reported and ignored.
  Params(const std::string& tool, int argc, char** argv, const std::vector<std::string>& known);
  bool Has(const std::string& key) const { return values_.count(key) != 0; }
  std::string Text(const std::string& key, const std::string& fallback) const;
  // A whole number inside range, or fallback when absent; anything else is
  // a BadParameter naming the key and the range: a value never wraps.
  int64_t Int(const std::string& key, int64_t fallback, const Range& range) const;
  std::optional<int64_t> IntIfGiven(const std::string& key, const Range& range) const;
  bool Empty() const { return values_.empty(); }

 private:
  std::map<std::string, std::string> values_;
};

// Runs body, turning a ToolError (or any other exception) into a message
// "tool: text" on standard error and exit status 1. -h or --help prints the
// usage on standard output (status 0); with no parameters and a terminal as
// standard input it goes to standard error (status 1).
int RunTool(const char* tool, const char* usage, int argc, char** argv, bool usageWithoutParams,
            int (*body)(int argc, char** argv));

// Prints "tool: text" on standard error (a warning or a report).
void Note(const std::string& text);
const std::string& ToolName();

// A descriptor written in big blocks; a failing write is a ToolError that
// names where the bytes were going and why they did not get there.
class Output {
 public:
  explicit Output(int fd = 1, std::string name = "");
  ~Output();
  void Write(const void* data, size_t n);
  void Flush();
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

 private:
  void WriteAll(const uint8_t* data, size_t n);
  int fd_;
  std::string name_;
  std::vector<uint8_t> buffer_;
  size_t used_ = 0;
};

// "standard output (/data/out.su)": a descriptor as a message names it,
// with the file behind it when it is one.
std::string DescriptorName(int fd);

// Reads up to n bytes of the descriptor; gives how many it got (less only
// at its end). A failing read is a ToolError naming `name`.
size_t ReadFully(int fd, void* data, size_t n, const std::string& name);

// The one report of a trace cut short: "NAME: trace N is cut short (G of
// W sample bytes): padded with zeros". The tool then ends with
// kDamagedInput, having written everything it could read.
void NoteCutTrace(const std::string& source, int64_t trace, int64_t got, int64_t wanted);
inline constexpr int kDamagedInput = 1;

// Gives a pipe the largest buffer the system allows: fewer, bigger hand-overs
// between the tools of a pipeline. Nothing happens for other descriptors.
void WidenPipe(int fd);

// Fails when standard output is a terminal: traces are binary.
void RequireOutputNotTerminal();

// Whole small files.
std::vector<uint8_t> ReadSmallFile(const std::string& path, size_t limit);
void WriteWholeFile(const std::string& path, const uint8_t* data, size_t n);

}  // namespace vexmor::su
