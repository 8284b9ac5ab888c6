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

std::optional<int64_t> Params::IntIfGiven(const std::string& key) const {
  const auto it = values_.find(key);
  if (it == values_.end()) return std::nullopt;
  const std::string& text = it->second;
  int64_t value = 0;
  const char* begin = text.data();
  if (!text.empty() && text[0] == '+') ++begin;
  const auto [end, ec] = std::from_chars(begin, text.data() + text.size(), value);
  if (text.empty() || ec != std::errc() || end != text.data() + text.size()) {
    throw BadParameter("bad value for " + key + ": '" + text + "' (a whole number is expected)");
  }
  return value;
}

int64_t Params::Int(const std::string& key, int64_t fallback) const {
  return IntIfGiven(key).value_or(fallback);
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

Output::Output(int fd) : fd_(fd), buffer_(size_t(1) << 20) {}

Output::~Output() {
  try {
    Flush();
  } catch (...) {
  }
}

void Output::Write(const void* data, size_t n) {
  const auto* p = static_cast<const uint8_t*>(data);
  // A big block goes out as it is: copying it into the buffer first costs
  // more than the write it would save.
  if (used_ + n > buffer_.size() || n >= buffer_.size() / 4) Flush();
  if (n >= buffer_.size() / 4) {
    size_t done = 0;
    while (done < n) {
      const ssize_t w = write(fd_, p + done, n - done);
      if (w < 0 && errno == EINTR) continue;
      if (w <= 0) throw ToolError(std::string("cannot write standard output: ") + std::strerror(errno));
      done += size_t(w);
    }
    return;
  }
  std::memcpy(buffer_.data() + used_, p, n);
  used_ += n;
}

void Output::Flush() {
  size_t done = 0;
  while (done < used_) {
    const ssize_t w = write(fd_, buffer_.data() + done, used_ - done);
    if (w < 0 && errno == EINTR) continue;
    if (w <= 0) {
      used_ = 0;
      throw ToolError(std::string("cannot write standard output: ") + std::strerror(errno));
    }
    done += size_t(w);
  }
  used_ = 0;
}

size_t ReadFully(int fd, void* data, size_t n) {
  auto* p = static_cast<uint8_t*>(data);
  size_t done = 0;
  while (done < n) {
    const ssize_t r = read(fd, p + done, n - done);
    if (r < 0 && errno == EINTR) continue;
    if (r < 0) throw ToolError(std::string("read error: ") + std::strerror(errno));
    if (r == 0) break;
    done += size_t(r);
  }
  return done;
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

void SwapTraceWords(uint8_t* header) {
  const auto& words = SuWords();
  for (const auto& w : words) {
    if (w.offset >= kSegyWordsEnd) break;
    SwapField(header + w.offset, w.width);
  }
}

const std::vector<BinField>& BinaryHeaderFields() {
  static const std::vector<BinField> fields = [] {
    std::vector<BinField> f = {{0, 4}, {4, 4}, {8, 4}};
    for (int at = 12; at < 60; at += 2) f.push_back({at, 2});  // ntrpr .. vpol
    for (int at : {60, 64, 68}) f.push_back({at, 4});           // extended counts
    f.push_back({72, 8});                                       // extended dt (double)
    f.push_back({80, 4});
    f.push_back({84, 8});
    f.push_back({92, 4});
    f.push_back({96, 4});  // byte order constant
    f.push_back({302, 2});
    f.push_back({304, 2});
    f.push_back({306, 4});
    f.push_back({310, 2});
    f.push_back({312, 8});
    f.push_back({320, 8});
    f.push_back({328, 4});
    return f;
  }();
  return fields;
}

void SwapBinaryHeader(uint8_t* bin) {
  for (const auto& f : BinaryHeaderFields()) SwapField(bin + f.offset, f.width);
}

namespace {

// EBCDIC (code page 037) to ASCII; characters without an ASCII twin become blanks.
const std::array<uint8_t, 256>& EbcdicTable() {
  static const std::array<uint8_t, 256> table = [] {
    std::array<uint8_t, 256> t;
    t.fill(' ');
    t[0x25] = '\n';
    t[0x15] = '\n';
    t[0x0D] = '\r';
    t[0x05] = '\t';
    const char* special =
        "\x40 \x4B.\x4C<\x4D(\x4E+\x4F|\x50&\x5A!\x5B$\x5C*\x5D)\x5E;\x5F^\x60-\x61/\x6B,\x6C%\x6D_"
        "\x6E>\x6F?\x79`\x7A:\x7B#\x7C@\x7D'\x7E=\x7F\"\xA1~\xBA[\xBB]\xC0{\xD0}\xE0\\";
    for (const char* p = special; p[0] && p[1]; p += 2) t[uint8_t(p[0])] = uint8_t(p[1]);
    for (int i = 0; i < 9; ++i) {
      t[0x81 + i] = uint8_t('a' + i);
      t[0xC1 + i] = uint8_t('A' + i);
      t[0x91 + i] = uint8_t('j' + i);
      t[0xD1 + i] = uint8_t('J' + i);
    }
    for (int i = 0; i < 8; ++i) {
      t[0xA2 + i] = uint8_t('s' + i);
      t[0xE2 + i] = uint8_t('S' + i);
    }
    for (int i = 0; i < 10; ++i) t[0xF0 + i] = uint8_t('0' + i);
    return t;
  }();
  return table;
}

const std::array<uint8_t, 256>& AsciiTable() {
  static const std::array<uint8_t, 256> table = [] {
    std::array<uint8_t, 256> t;
    t.fill(0x40);
    const auto& e = EbcdicTable();
    for (int c = 255; c >= 0; --c) {
      if (e[c] != ' ' || c == 0x40) t[e[c]] = uint8_t(c);
    }
    t['\n'] = 0x25;
    t[0] = 0x00;
    return t;
  }();
  return table;
}

}  // namespace

uint8_t EbcdicToAscii(uint8_t c) { return EbcdicTable()[c]; }
uint8_t AsciiToEbcdic(uint8_t c) { return AsciiTable()[c]; }

bool LooksEbcdic(const uint8_t* text, size_t n) {
  size_t ebcdic = 0;
  size_t ascii = 0;
  for (size_t i = 0; i < n; ++i) {
    const uint8_t c = text[i];
    if (c == 0x40 || (c >= 0xC1 && c <= 0xF9)) ++ebcdic;
    if (c == 0x20 || (c >= '0' && c <= 'z')) ++ascii;
  }
  return ebcdic > ascii;
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
      got += ReadFully(fd, data.data() + got, data.size() - got);
      if (got < data.size() || data.size() == limit) break;
      data.resize(std::min(limit, 2 * data.size()));
    }
  } catch (const ToolError& e) {
    close(fd);
    throw ToolError(path + ": " + e.what());
  }
  close(fd);
  data.resize(got);
  return data;
}

void WriteWholeFile(const std::string& path, const uint8_t* data, size_t n) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  if (fd < 0) throw ToolError(path + ": cannot write: " + std::strerror(errno));
  size_t done = 0;
  while (done < n) {
    const ssize_t w = write(fd, data + done, n - done);
    if (w < 0 && errno == EINTR) continue;
    if (w <= 0) {
      const int err = errno;
      close(fd);
      throw ToolError(path + ": cannot write: " + std::strerror(err));
    }
    done += size_t(w);
  }
  if (close(fd) != 0) throw ToolError(path + ": cannot write: " + std::strerror(errno));
}

}  // namespace vexmor::su
