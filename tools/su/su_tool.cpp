#include "su_tool.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstring>

#include "core/byte_order.h"
#include "core/paths.h"
#include "core/su_trace.h"

namespace vexmor::su {

namespace {
std::string& Name() {
  static std::string name;
  return name;
}
}  // namespace

const std::string& ToolName() { return Name(); }

void Note(const std::string& text) {
  const std::string line = Name() + ": " + text + "\n";
  // One write, so that messages of the tools of one pipe don't interleave.
  [[maybe_unused]] const ssize_t r = write(2, line.data(), line.size());
}

namespace {
// Whether the folder part of a path exists.
bool FolderPartExists(const std::string& path) {
  const size_t cut = path.rfind(kSep);
  if (cut == std::string::npos) return true;
  struct stat st {};
  return stat(cut == 0 ? "/" : path.substr(0, cut).c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}
}  // namespace

Params::Params(const std::string& tool, int argc, char** argv, const std::vector<std::string>& known) {
  std::string lastKey;
  for (int i = 1; i < argc; ++i) {
    std::string word = argv[i];
    // "ns= 1000": the job scripts put a blank between some keys and values.
    if (!word.empty() && word.back() == '=' && i + 1 < argc && std::strchr(argv[i + 1], '=') == nullptr) {
      word += argv[++i];
    }
    const size_t eq = word.find('=');
    if (eq == std::string::npos && !lastKey.empty() && values_.count(lastKey) != 0) {
      // The job scripts don't quote paths: "tape=/home/me/My Data/line.sgy".
      const std::string longer = values_[lastKey] + " " + word;
      if (FileExists(ResolveExisting(longer)) == 1 || (word.find(kSep) != std::string::npos && FolderPartExists(longer))) {
        values_[lastKey] = longer;
        continue;
      }
    }
    if (eq == std::string::npos || eq == 0) {
      throw BadParameter("'" + word + "' is not a key=value parameter");
    }
    const std::string key = word.substr(0, eq);
    bool isKnown = false;
    for (const auto& k : known) isKnown = isKnown || k == key;
    if (!isKnown) {
      Note("unknown parameter " + key + " ignored");
      continue;
    }
    values_[key] = word.substr(eq + 1);
    lastKey = key;
  }
  (void)tool;
}

std::string Params::Text(const std::string& key, const std::string& fallback) const {
  const auto it = values_.find(key);
  return it == values_.end() ? fallback : it->second;
}

std::optional<int64_t> Params::IntIfGiven(const std::string& key, const Range& range) const {
  const auto it = values_.find(key);
  if (it == values_.end()) return std::nullopt;
  const std::string& text = it->second;
  const std::string span = std::to_string(range.min) + " to " + std::to_string(range.max) + " (" + range.field + ")";
  int64_t value = 0;
  const char* begin = text.data();
  if (!text.empty() && text[0] == '+') ++begin;
  const auto [end, ec] = std::from_chars(begin, text.data() + text.size(), value);
  const bool whole = !text.empty() && end == text.data() + text.size();
  // Digits past 64 bits are out of range too, not "not a number".
  if (whole && ec == std::errc::result_out_of_range) {
    throw BadParameter(key + "=" + text + " is out of range: " + key + " takes " + span);
  }
  if (!whole || ec != std::errc()) {
    throw BadParameter("bad value for " + key + ": '" + text + "': a whole number is expected, " + span);
  }
  if (value < range.min || value > range.max) {
    throw BadParameter(key + "=" + text + " is out of range: " + key + " takes " + span);
  }
  return value;
}

int64_t Params::Int(const std::string& key, int64_t fallback, const Range& range) const {
  return IntIfGiven(key, range).value_or(fallback);
}

int RunTool(const char* tool, const char* usage, int argc, char** argv, bool usageWithoutParams,
            int (*body)(int argc, char** argv)) {
  Name() = tool;
  // A closed pipe shows as a failing write, reported, not as a silent death.
  signal(SIGPIPE, SIG_IGN);
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "-h") == 0 || std::strcmp(argv[i], "--help") == 0) {
      std::fputs(usage, stdout);
      return std::fflush(stdout) == 0 ? 0 : 1;
    }
  }
  if (argc <= 1 && usageWithoutParams && isatty(0)) {
    std::fputs(usage, stderr);
    return 1;
  }
  try {
    return body(argc, argv);
  } catch (const BadParameter& e) {
    Note(std::string(e.what()) + " (" + tool + " --help shows the usage)");
  } catch (const ToolError& e) {
    Note(e.what());
  } catch (const std::bad_alloc&) {
    Note("out of memory");
  } catch (const std::exception& e) {
    Note(e.what());
  }
  return 1;
}

std::string DescriptorName(int fd) {
  std::string name = fd == 0 ? "standard input" : fd == 1 ? "standard output" : "descriptor " + std::to_string(fd);
  struct stat st {};
  if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) return name;
  std::array<char, 4096> path{};
  const std::string link = "/proc/self/fd/" + std::to_string(fd);
  const ssize_t n = readlink(link.c_str(), path.data(), path.size() - 1);
  if (n > 0) name += " (" + std::string(path.data(), size_t(n)) + ")";
  return name;
}

namespace {
[[noreturn]] void WriteFailed(const std::string& name, int err) {
  // A write that takes nothing and says no error is a full device too.
  throw ToolError(name + ": cannot write: " + (err != 0 ? std::strerror(err) : "nothing more was taken"));
}
}  // namespace

Output::Output(int fd, std::string name)
    : fd_(fd), name_(name.empty() ? DescriptorName(fd) : std::move(name)), buffer_(size_t(1) << 20) {}

Output::~Output() {
  try {
    Flush();
  } catch (...) {
  }
}

void Output::WriteAll(const uint8_t* p, size_t n) {
  size_t done = 0;
  while (done < n) {
    errno = 0;
    const ssize_t w = write(fd_, p + done, n - done);
    if (w < 0 && errno == EINTR) continue;
    if (w <= 0) WriteFailed(name_, w < 0 ? errno : 0);
    done += size_t(w);
  }
}

void Output::Write(const void* data, size_t n) {
  const auto* p = static_cast<const uint8_t*>(data);
  // A big block goes out as it is: copying it into the buffer first costs
  // more than the write it would save.
  if (used_ + n > buffer_.size() || n >= buffer_.size() / 4) Flush();
  if (n >= buffer_.size() / 4) {
    WriteAll(p, n);
    return;
  }
  std::memcpy(buffer_.data() + used_, p, n);
  used_ += n;
}

void Output::Flush() {
  const size_t n = used_;
  // Dropped either way: a failed block is not tried again by the destructor.
  used_ = 0;
  WriteAll(buffer_.data(), n);
}

size_t ReadFully(int fd, void* data, size_t n, const std::string& name) {
  auto* p = static_cast<uint8_t*>(data);
  size_t done = 0;
  while (done < n) {
    const ssize_t r = read(fd, p + done, n - done);
    if (r < 0 && errno == EINTR) continue;
    if (r < 0) throw ToolError(name + ": cannot read: " + std::strerror(errno));
    if (r == 0) break;
    done += size_t(r);
  }
  return done;
}

void NoteCutTrace(const std::string& source, int64_t trace, int64_t got, int64_t wanted) {
  Note(source + ": trace " + std::to_string(trace) + " is cut short (" + std::to_string(got) + " of " +
       std::to_string(wanted) + " sample bytes): padded with zeros");
}

void WidenPipe(int fd) {
  struct stat st {};
  if (fstat(fd, &st) != 0 || !S_ISFIFO(st.st_mode)) return;
  for (int size = 1 << 20; size >= (64 << 10); size /= 2) {
    if (fcntl(fd, F_SETPIPE_SZ, size) >= 0) return;
  }
}

void RequireOutputNotTerminal() {
  if (isatty(1)) throw ToolError("standard output is a terminal: send the traces to a file or a pipe");
}

std::vector<uint8_t> ReadSmallFile(const std::string& path, size_t limit) {
  const int fd = open(path.c_str(), O_RDONLY);
  if (fd < 0) throw ToolError(path + ": cannot open: " + std::strerror(errno));
  struct stat st {};
  const bool known = fstat(fd, &st) == 0;
  if (known && S_ISDIR(st.st_mode)) {
    close(fd);
    throw ToolError(path + ": is a folder, not a file");
  }
  // A pipe or a device tells no size: the buffer grows with what comes,
  // rather than being the whole limit from the start.
  const bool plain = known && S_ISREG(st.st_mode);
  if (plain) limit = std::min(limit, size_t(st.st_size) + 1);
  std::vector<uint8_t> data(plain ? limit : std::min(limit, size_t(1) << 16));
  size_t got = 0;
  try {
    for (;;) {
      got += ReadFully(fd, data.data() + got, data.size() - got, path);
      if (got < data.size() || data.size() == limit) break;
      data.resize(std::min(limit, 2 * data.size()));
    }
  } catch (const ToolError&) {
    close(fd);
    throw;
  }
  close(fd);
  data.resize(got);
  return data;
}

void WriteWholeFile(const std::string& path, const uint8_t* data, size_t n) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  if (fd < 0) throw ToolError(path + ": cannot write: " + std::strerror(errno));
  try {
    Output out(fd, path);
    out.Write(data, n);
    out.Flush();
  } catch (const ToolError&) {
    close(fd);
    throw;
  }
  if (close(fd) != 0) throw ToolError(path + ": cannot write: " + std::strerror(errno));
}

}  // namespace vexmor::su
