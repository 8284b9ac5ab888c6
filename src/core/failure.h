#pragma once
// A run-time failure: the one exception type of the system's own logic. It
// carries a number, shown to the user in "File conversion error N° ...".
#include <stdexcept>
#include <string>

namespace vexmor {

enum class FailureCode : int {
  InvalidCall = 5,
  Overflow = 6,
  OutOfMemory = 7,
  OutOfRange = 9,
  DivisionByZero = 11,
  BadFileName = 52,
  FileNotFound = 53,
  DiskFull = 61,
  PastEndOfFile = 62,
  PathAccess = 75,
};

class RunTimeFailure : public std::runtime_error {
 public:
  RunTimeFailure(FailureCode code, const std::string& what)
      : std::runtime_error(what), code_(code) {}
  int Number() const { return static_cast<int>(code_); }
  FailureCode Code() const { return code_; }

 private:
  FailureCode code_;
};

}  // namespace vexmor
