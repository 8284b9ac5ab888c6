#pragma once
// The batch runner: the few things of the DOS command interpreter that the
// job scripts use. A line is a pipeline of programs with < > >> and |, or
// one of the built-in commands copy, del, pause, echo, rem, exit. A failing
// line is reported and the next one runs.
#include <string>
#include <vector>

namespace vexmor::bat {

struct Options {
  std::string programFolder;        // where the tools are looked for last
  std::vector<std::string> args;    // %0 .. %9
  bool echo = true;                 // show each line before it runs
};

// Splits a script text into lines (CR LF, LF or CR).
std::vector<std::string> ScriptLines(const std::string& text);

// Runs one line; gives its status (0 success).
int RunLine(const std::string& line, Options& options, bool& exitRequested);

// Runs every line; gives the status of the last one.
int RunScript(const std::string& text, Options& options);

// Words of a command, blanks outside double quotes separating them; the
// quotes themselves are dropped.
std::vector<std::string> SplitWords(const std::string& text);

}  // namespace vexmor::bat
