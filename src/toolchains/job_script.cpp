#include "toolchains/job_script.h"

#include <fstream>

namespace vexmor {

bool WriteJobScript(const std::string& path, const std::vector<std::string>& lines, const std::string& newLine) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  if (!out) return false;
  for (const std::string& line : lines) {
    out << line << newLine;
  }
  out.close();
  return !out.fail();
}

int StartJobScript(Platform& platform, const SharedState& state, const std::string& path, int style) {
  return platform.Shell(state.CommandPrefix + path, style);
}

}  // namespace vexmor
