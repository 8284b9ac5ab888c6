#pragma once
// A file that is not of the format its reader was asked for, or is broken
// past reading. The message names the file and says what is wrong.
#include <stdexcept>

namespace vexmor {

class FormatError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace vexmor
