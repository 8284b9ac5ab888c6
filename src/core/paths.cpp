#include "core/paths.h"

#include <fcntl.h>
#include <fnmatch.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "core/failure.h"

namespace vexmor {

namespace fs = std::filesystem;

namespace {

bool IsPlainFile(const fs::path& p) {
  std::error_code ec;
  return fs::is_regular_file(p, ec);
}

bool EndsWithNoCase(std::string_view s, std::string_view end) {
  return s.size() >= end.size() && strncasecmp(s.data() + s.size() - end.size(), end.data(), end.size()) == 0;
}

// A name in the folder that equals the wanted one but for letter case.
std::string FindNoCase(const fs::path& folder, const std::string& name) {
  std::error_code ec;
  fs::directory_iterator it(folder.empty() ? fs::path(".") : folder, ec);
  if (ec) return {};
  for (const auto& entry : it) {
    const std::string candidate = entry.path().filename().string();
    if (candidate.size() == name.size() && strcasecmp(candidate.c_str(), name.c_str()) == 0) {
      return (folder / candidate).string();
    }
  }
  return {};
}

std::string ResolveOne(const std::string& path) {
  if (path.empty()) return {};
  std::error_code ec;
  if (fs::exists(fs::path(path), ec)) return path;
  const fs::path p(path);
  const std::string name = p.filename().string();
  if (name.empty()) return {};
  std::string found = FindNoCase(p.parent_path(), name);
  if (!found.empty()) return found;
  // The folder may be in another case too.
  const fs::path parent = p.parent_path();
  if (!parent.empty() && parent != p.root_path() && !fs::exists(parent, ec)) {
    const std::string folder = ResolveOne(parent.string());
    if (!folder.empty()) {
      found = FindNoCase(fs::path(folder), name);
      if (!found.empty()) return found;
    }
  }
  return {};
}

}  // namespace

std::string ResolveExisting(const std::string& path) {
  std::string found = ResolveOne(path);
  if (found.empty() && EndsWithNoCase(path, ".exe")) found = ResolveOne(path.substr(0, path.size() - 4));
  return found.empty() ? path : found;
}

bool HasWildcards(std::string_view name) { return name.find_first_of("*?") != std::string_view::npos; }

bool SameExistingFile(const std::string& a, const std::string& b) {
  std::error_code ec;
  const bool same = fs::equivalent(ResolveExisting(a), ResolveExisting(b), ec);
  return same && !ec;
}

int OpenPlainFile(const std::string& path, int64_t& size) {
  const int fd = ::open(ResolveExisting(path).c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) throw RunTimeFailure(FailureCode::FileNotFound, path + ": cannot be opened");
  struct stat st {};
  if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
    const bool folder = S_ISDIR(st.st_mode);
    ::close(fd);
    throw RunTimeFailure(FailureCode::PathAccess, path + (folder ? ": is a folder" : ": not a plain file"));
  }
  size = st.st_size;
  return fd;
}

int FileExists(const std::string& path) {
  if (path.empty()) return 0;
  const fs::path p(path);
  if (HasWildcards(p.filename().string())) {
    std::error_code ec;
    const fs::path folder = p.parent_path().empty() ? fs::path(".") : fs::path(ResolveExisting(p.parent_path()));
    fs::directory_iterator it(folder, ec);
    if (ec) return 0;
    const std::string pattern = p.filename().string();
    // As on the system the names come from, "NAME.*" also matches "NAME"
    // with no extension, so "*.*" matches every file.
    const bool anyExtension = pattern.size() >= 2 && pattern.compare(pattern.size() - 2, 2, ".*") == 0;
    const std::string bare = anyExtension ? pattern.substr(0, pattern.size() - 2) : pattern;
    for (const auto& entry : it) {
      const std::string name = entry.path().filename().string();
      const bool matches = fnmatch(pattern.c_str(), name.c_str(), FNM_CASEFOLD) == 0 ||
                           (anyExtension && name.find('.') == std::string::npos &&
                            fnmatch(bare.c_str(), name.c_str(), FNM_CASEFOLD) == 0);
      if (matches && IsPlainFile(entry.path())) {
        return 1;
      }
    }
    return 0;
  }
  const std::string found = ResolveExisting(path);
  return IsPlainFile(fs::path(found)) ? 1 : 0;
}

std::string FolderOf(const std::string& path) {
  const size_t at = path.rfind(kSep);
  if (at != std::string::npos) return path.substr(0, at + 1);
  return path.substr(0, std::min<size_t>(2, path.size()));
}

std::string ReplaceLastThree(const std::string& path, std::string_view with) {
  return path.substr(0, path.size() >= 3 ? path.size() - 3 : 0) + std::string(with);
}

std::string RunningProgramFolder() {
  std::error_code ec;
  const fs::path self = fs::read_symlink("/proc/self/exe", ec);
  if (ec) return fs::current_path(ec).string();
  return self.parent_path().string();
}

std::string WorkFolder() {
  fs::path folder;
  if (const char* work = std::getenv("VEXMOR_WORKDIR"); work && *work) {
    folder = work;
  } else if (const char* cache = std::getenv("XDG_CACHE_HOME"); cache && *cache) {
    folder = fs::path(cache) / "vexmor";
  } else if (const char* home = std::getenv("HOME"); home && *home) {
    folder = fs::path(home) / ".cache" / "vexmor";
  } else {
    folder = fs::temp_directory_path() / "vexmor";
  }
  std::error_code ec;
  fs::create_directories(folder, ec);
  if (!fs::is_directory(folder, ec)) return {};
  std::string text = folder.string();
  if (text.empty() || text.back() != kSep) text += kSep;
  return text;
}

}  // namespace vexmor
