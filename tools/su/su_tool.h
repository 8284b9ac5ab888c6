#pragma once
// What the Seismic Unix tools share: key=value parameters, messages on
// standard error, big unbuffered reads and writes of standard input and
// output.
#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
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

class Params {
 public:
  // Reads key=value words; anything else is an error. Keys not in `known`
  // are reported and ignored.
  Params(const std::string& tool, int argc, char** argv, const std::vector<std::string>& known);
  bool Has(const std::string& key) const { return values_.count(key) != 0; }
  std::string Text(const std::string& key, const std::string& fallback) const;
  // A whole integer, or fallback when absent; anything else is an error.
  int64_t Int(const std::string& key, int64_t fallback) const;
  std::optional<int64_t> IntIfGiven(const std::string& key) const;
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

// Standard output written in big blocks; failing writes are ToolErrors.
class Output {
 public:
  explicit Output(int fd = 1);
  ~Output();
  void Write(const void* data, size_t n);
  void Flush();
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

 private:
  int fd_;
  std::vector<uint8_t> buffer_;
  size_t used_ = 0;
};

// Reads up to n bytes of the descriptor; gives how many it got (less only
// at its end).
size_t ReadFully(int fd, void* data, size_t n);

// Gives a pipe the largest buffer the system allows: fewer, bigger hand-overs
// between the tools of a pipeline. Nothing happens for other descriptors.
void WidenPipe(int fd);

// Fails when standard output is a terminal: traces are binary.
void RequireOutputNotTerminal();

// Whole small files.
std::vector<uint8_t> ReadSmallFile(const std::string& path, size_t limit);
void WriteWholeFile(const std::string& path, const uint8_t* data, size_t n);

}  // namespace vexmor::su
