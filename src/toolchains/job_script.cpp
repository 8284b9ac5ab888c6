#include "toolchains/job_script.h"

#include <filesystem>
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

int StartJobScript(Platform& platform, const SharedState& state, const std::string& path, int style,
                   const std::string& folder) {
  // A relative script path would name another file from another folder.
  if (folder.empty() || std::filesystem::path(path).is_relative()) {
    return platform.Shell(state.CommandPrefix + path, style);
  }
  // The job takes the current folder at its start; ours is given back.
  std::error_code ec;
  const std::filesystem::path before = std::filesystem::current_path(ec);
  std::filesystem::current_path(folder, ec);
  const bool moved = !ec;
  const int task = platform.Shell(state.CommandPrefix + path, style);
  if (moved && !before.empty()) std::filesystem::current_path(before, ec);
  return task;
}

}  // namespace vexmor
