#include "batch.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <fnmatch.h>
#include <spawn.h>
#include <strings.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "core/paths.h"

extern char** environ;

namespace vexmor::bat {

namespace fs = std::filesystem;

namespace {

void Say(const std::string& text) {
  std::fflush(stdout);
  const std::string line = text + "\n";
  [[maybe_unused]] const ssize_t r = write(2, line.data(), line.size());
}

std::string Lower(std::string s) {
  for (auto& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

std::string Trim(const std::string& s) {
  const size_t b = s.find_first_not_of(" \t");
  if (b == std::string::npos) return "";
  const size_t e = s.find_last_not_of(" \t");
  return s.substr(b, e - b + 1);
}

// %0..%9, %NAME% and %%.
std::string Substitute(const std::string& line, const Options& options) {
  std::string out;
  for (size_t i = 0; i < line.size(); ++i) {
    if (line[i] != '%' || i + 1 >= line.size()) {
      out += line[i];
      continue;
    }
    const char next = line[i + 1];
    if (next == '%') {
      out += '%';
      ++i;
    } else if (next >= '0' && next <= '9') {
      const size_t n = size_t(next - '0');
      if (n < options.args.size()) out += options.args[n];
      ++i;
    } else {
      const size_t close = line.find('%', i + 1);
      const char* value = close == std::string::npos ? nullptr : std::getenv(line.substr(i + 1, close - i - 1).c_str());
      if (value != nullptr) {
        out += value;
        i = close;
      } else {
        out += '%';
      }
    }
  }
  return out;
}

struct Stage {
  std::vector<std::string> words;
  std::string in, out, err;
  bool append = false;
};

bool IsFolder(const std::string& path) {
  std::error_code ec;
  return !path.empty() && fs::is_directory(path, ec);
}

std::string ParentOf(const std::string& path) {
  const size_t cut = path.rfind(kSep);
  return cut == std::string::npos ? "." : (cut == 0 ? "/" : path.substr(0, cut));
}

// The scripts put paths into lines without quotes, so a blank inside a
// folder name splits it. A name is taken with the words behind it when the
// longer name is what exists: an input file, or the folder of an output.
bool BetterInput(const std::string& name, const std::string& longer) {
  return FileExists(ResolveExisting(name)) == 0 && FileExists(ResolveExisting(longer)) == 1;
}
bool BetterOutput(const std::string& name, const std::string& longer) {
  return longer.find(kSep, name.size()) != std::string::npos && IsFolder(ParentOf(longer));
}

// One stage: words and its redirections, quotes kept together.
Stage ParseStage(const std::string& text) {
  Stage stage;
  std::string rest;
  size_t i = 0;
  auto takeName = [&]() {
    while (i < text.size() && text[i] == ' ') ++i;
    std::string name;
    bool quoted = false;
    for (; i < text.size(); ++i) {
      const char c = text[i];
      if (c == '"') {
        quoted = !quoted;
        continue;
      }
      if (!quoted && (c == ' ' || c == '<' || c == '>' || c == '|')) break;
      name += c;
    }
    return name;
  };
  // Takes up to four more plain words when together they make a better name.
  auto extend = [&](std::string name, bool output) {
    size_t at = i;
    std::string longer = name;
    for (int k = 0; k < 4 && at < text.size(); ++k) {
      size_t b = at;
      while (b < text.size() && text[b] == ' ') ++b;
      size_t e = b;
      while (e < text.size() && text[e] != ' ' && text[e] != '<' && text[e] != '>' && text[e] != '|' && text[e] != '"') ++e;
      if (e == b) break;
      longer += " " + text.substr(b, e - b);
      at = e;
      if (output ? BetterOutput(name, longer) : BetterInput(name, longer)) {
        i = at;
        return longer;
      }
    }
    return name;
  };
  bool quoted = false;
  while (i < text.size()) {
    const char c = text[i];
    if (c == '"') quoted = !quoted;
    if (!quoted && c == '<') {
      ++i;
      stage.in = extend(takeName(), false);
      continue;
    }
    if (!quoted && c == '>') {
      const bool toErr = !rest.empty() && rest.back() == '2' && (rest.size() == 1 || rest[rest.size() - 2] == ' ');
      if (toErr) rest.pop_back();
      ++i;
      bool append = false;
      if (i < text.size() && text[i] == '>') {
        append = true;
        ++i;
      }
      if (toErr) {
        stage.err = takeName();
      } else {
        stage.out = extend(takeName(), true);
        stage.append = append;
      }
      continue;
    }
    rest += c;
    ++i;
  }
  stage.words = SplitWords(rest);
  return stage;
}

std::vector<std::string> SplitPipes(const std::string& line) {
  std::vector<std::string> parts(1);
  bool quoted = false;
  for (const char c : line) {
    if (c == '"') quoted = !quoted;
    if (c == '|' && !quoted) {
      parts.emplace_back();
      continue;
    }
    parts.back() += c;
  }
  return parts;
}

bool IsSwitch(const std::string& w) {
  return (w.size() == 2 && w[0] == '/' && std::isalpha(static_cast<unsigned char>(w[1]))) ||
         (w.size() == 3 && w[0] == '/' && w[1] == '-' && std::isalpha(static_cast<unsigned char>(w[2])));
}

// The existing files that a name with wildcards matches (letter case
// ignored), sorted; a plain name is resolved as the other readers do.
std::vector<std::string> Expand(const std::string& name) {
  if (!HasWildcards(name)) {
    const std::string found = ResolveExisting(name);
    return FileExists(found) == 1 ? std::vector<std::string>{found} : std::vector<std::string>{};
  }
  const size_t cut = name.rfind(kSep);
  const std::string folder = cut == std::string::npos ? "." : (cut == 0 ? "/" : name.substr(0, cut));
  const std::string pattern = cut == std::string::npos ? name : name.substr(cut + 1);
  std::vector<std::string> found;
  std::error_code ec;
  for (const auto& entry : fs::directory_iterator(folder, ec)) {
    const std::string file = entry.path().filename().string();
    if (entry.is_regular_file(ec) && fnmatch(pattern.c_str(), file.c_str(), FNM_CASEFOLD) == 0) {
      found.push_back(cut == std::string::npos ? file : name.substr(0, cut + 1) + file);
    }
  }
  std::sort(found.begin(), found.end());
  return found;
}

int Copy(const std::vector<std::string>& words) {
  std::vector<std::string> tokens;
  for (size_t w = 1; w < words.size(); ++w) {
    if (IsSwitch(words[w])) continue;
    std::string part;
    for (const char c : words[w]) {
      if (c == '+') {
        if (!part.empty()) tokens.push_back(part);
        tokens.push_back("+");
        part.clear();
      } else {
        part += c;
      }
    }
    if (!part.empty()) tokens.push_back(part);
  }
  // A source split by a blank in a folder name is joined again when the
  // joined name exists.
  auto takeSource = [&](size_t& t) {
    std::string name = tokens[t++];
    std::string longer = name;
    for (size_t k = t; k < tokens.size() && k < t + 4 && tokens[k] != "+"; ++k) {
      longer += " " + tokens[k];
      if (BetterInput(name, longer)) {
        t = k + 1;
        return longer;
      }
    }
    return name;
  };
  std::vector<std::string> sources;
  size_t t = 0;
  while (t < tokens.size() && tokens[t] == "+") ++t;
  if (t < tokens.size()) sources.push_back(takeSource(t));
  while (t + 1 < tokens.size() && tokens[t] == "+") {
    ++t;
    sources.push_back(takeSource(t));
  }
  while (t < tokens.size() && tokens[t] == "+") ++t;
  std::string destination = t < tokens.size() ? tokens[t++] : "";
  // The destination likewise, when its folder exists only with the blank.
  if (t < tokens.size()) {
    std::string longer = destination;
    for (size_t k = t; k < tokens.size(); ++k) longer += " " + tokens[k];
    if (BetterOutput(destination, longer)) {
      destination = longer;
      t = tokens.size();
    }
  }
  if (sources.empty() || t < tokens.size()) {
    Say("copy: The syntax of the command is incorrect.");
    return 1;
  }
  std::vector<std::string> files;
  for (size_t k = 0; k < sources.size(); ++k) {
    const std::string& s = sources[k];
    const auto found = Expand(s);
    // "copy /b all + part all": a first join finds no "all" yet and makes it.
    if (found.empty() && k == 0 && sources.size() > 1 && !HasWildcards(s) && s == destination) continue;
    if (found.empty()) {
      Say("copy: " + s + ": The system cannot find the file specified.");
      return 1;
    }
    files.insert(files.end(), found.begin(), found.end());
  }
  if (destination.empty()) destination = ".";
  std::error_code ec;
  if (fs::is_directory(destination, ec)) destination = (fs::path(destination) / fs::path(files.front()).filename()).string();
  destination = ResolveExisting(destination);

  // "copy /b a + b a" appends to a; any other source as destination is refused.
  bool append = false;
  for (size_t i = 0; i < files.size(); ++i) {
    if (fs::exists(destination, ec) && fs::equivalent(files[i], destination, ec)) {
      if (i != 0 || files.size() == 1) {
        Say("copy: " + files[i] + ": The file cannot be copied onto itself.");
        return 1;
      }
      append = true;
    }
  }
  // Plain descriptors, so that a failure says which file and why (a full
  // disk is not "cannot read").
  const int out = open(destination.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | (append ? O_APPEND : O_TRUNC), 0644);
  if (out < 0) {
    Say("copy: " + destination + ": cannot write: " + std::strerror(errno));
    return 1;
  }
  std::vector<char> buffer(size_t(1) << 20);
  std::string failure;
  for (size_t i = append ? 1 : 0; i < files.size() && failure.empty(); ++i) {
    const int in = open(files[i].c_str(), O_RDONLY | O_CLOEXEC);
    if (in < 0) {
      failure = "copy: " + files[i] + ": cannot read: " + std::strerror(errno);
      break;
    }
    for (;;) {
      const ssize_t got = read(in, buffer.data(), buffer.size());
      if (got < 0 && errno == EINTR) continue;
      if (got < 0) failure = "copy: " + files[i] + ": cannot read: " + std::strerror(errno);
      if (got <= 0) break;
      for (ssize_t done = 0; done < got && failure.empty();) {
        errno = 0;
        const ssize_t w = write(out, buffer.data() + done, size_t(got - done));
        if (w < 0 && errno == EINTR) continue;
        if (w <= 0) {
          const char* why = errno != 0 ? std::strerror(errno) : "nothing more was taken";
          failure = "copy: " + destination + ": cannot write: " + why;
        }
        done += std::max<ssize_t>(w, 0);
      }
      if (!failure.empty()) break;
    }
    close(in);
  }
  if (close(out) != 0 && failure.empty()) failure = "copy: " + destination + ": cannot write: " + std::strerror(errno);
  if (!failure.empty()) {
    Say(failure);
    return 1;
  }
  std::cout << "        1 file(s) copied." << std::endl;
  return 0;
}

int Delete(const std::vector<std::string>& words) {
  int status = 0;
  bool any = false;
  for (size_t w = 1; w < words.size(); ++w) {
    if (IsSwitch(words[w])) continue;
    any = true;
    const auto found = Expand(words[w]);
    if (found.empty()) {
      Say("del: Could Not Find " + words[w]);
      status = 1;
    }
    for (const auto& f : found) {
      if (std::remove(f.c_str()) != 0) {
        Say("del: " + f + ": " + std::strerror(errno));
        status = 1;
      }
    }
  }
  if (!any) {
    Say("del: The syntax of the command is incorrect.");
    return 1;
  }
  return status;
}

int Pause() {
  if (!isatty(0)) return 0;
  std::cout << "Press any key to continue . . . " << std::flush;
  termios saved {};
  const bool raw = tcgetattr(0, &saved) == 0;
  if (raw) {
    termios t = saved;
    t.c_lflag &= ~tcflag_t(ICANON | ECHO);
    t.c_cc[VMIN] = 1;
    t.c_cc[VTIME] = 0;
    tcsetattr(0, TCSANOW, &t);
  }
  char c = 0;
  [[maybe_unused]] const ssize_t r = read(0, &c, 1);
  if (raw) tcsetattr(0, TCSANOW, &saved);
  std::cout << std::endl;
  return 0;
}

std::string FindProgram(const std::string& name, const Options& options) {
  // Scripts written the DOS way put a backslash between folder and tool.
  if (name.find('\\') != std::string::npos && FileExists(ResolveExisting(name)) == 0) {
    std::string slashed = name;
    std::replace(slashed.begin(), slashed.end(), '\\', kSep);
    const std::string found = FindProgram(slashed, options);
    if (!found.empty()) return found;
    // "C:\tarvix\bin\SEGYREAD": a folder of another system; the tool is ours.
    const std::string base = slashed.substr(slashed.rfind(kSep) + 1);
    return base.empty() ? "" : FindProgram(base, options);
  }
  if (name.find(kSep) != std::string::npos) {
    const std::string found = ResolveExisting(name);
    return FileExists(found) == 1 ? found : "";
  }
  const std::string here = ResolveExisting(name);
  if (FileExists(here) == 1 && access(here.c_str(), X_OK) == 0) return "./" + here;
  const std::string beside = ResolveExisting(options.programFolder + kSep + name);
  if (FileExists(beside) == 1) return beside;
  const char* path = std::getenv("PATH");
  std::string dirs = path != nullptr ? path : "/usr/bin:/bin";
  size_t at = 0;
  while (at <= dirs.size()) {
    const size_t end = std::min(dirs.find(':', at), dirs.size());
    const std::string dir = dirs.substr(at, end - at);
    if (!dir.empty()) {
      const std::string candidate = ResolveExisting(dir + kSep + name);
      if (FileExists(candidate) == 1 && access(candidate.c_str(), X_OK) == 0) return candidate;
    }
    at = end + 1;
  }
  return "";
}

int StatusOf(int raw, const std::string& program) {
  if (WIFEXITED(raw)) return WEXITSTATUS(raw);
  if (WIFSIGNALED(raw)) {
    Say(program + ": ended by signal " + std::to_string(WTERMSIG(raw)));
    return 128 + WTERMSIG(raw);
  }
  return 1;
}

int OpenFor(const std::string& name, int flags) {
  const std::string path = ResolveExisting(name);
  const int fd = open(path.c_str(), flags | O_CLOEXEC, 0644);
  if (fd < 0) Say(name + ": " + std::strerror(errno));
  return fd;
}

int RunPipeline(std::vector<Stage>& stages, const Options& options) {
  const size_t n = stages.size();
  std::vector<int> fds;  // every descriptor opened here, closed at the end
  std::vector<pid_t> pids(n, 0);
  std::vector<std::string> programs(n);
  int readEnd = -1;
  int lastStatus = 0;
  for (size_t i = 0; i < n; ++i) {
    Stage& stage = stages[i];
    int in = readEnd;
    int out = -1;
    int next = -1;
    if (i + 1 < n) {
      int p[2];
      if (pipe2(p, O_CLOEXEC) != 0) {
        Say(std::string("pipe: ") + std::strerror(errno));
        break;
      }
      fds.push_back(p[0]);
      fds.push_back(p[1]);
      out = p[1];
      next = p[0];
    }
    bool ok = true;
    if (!stage.in.empty()) {
      in = OpenFor(stage.in, O_RDONLY);
      ok = ok && in >= 0;
      if (in >= 0) fds.push_back(in);
    }
    if (!stage.out.empty()) {
      out = OpenFor(stage.out, O_WRONLY | O_CREAT | (stage.append ? O_APPEND : O_TRUNC));
      ok = ok && out >= 0;
      if (out >= 0) fds.push_back(out);
    }
    int err = -1;
    if (!stage.err.empty()) {
      err = OpenFor(stage.err, O_WRONLY | O_CREAT | O_TRUNC);
      ok = ok && err >= 0;
      if (err >= 0) fds.push_back(err);
    }
    readEnd = next;
    if (!ok || stage.words.empty()) {
      lastStatus = 1;
      continue;
    }
    programs[i] = FindProgram(stage.words[0], options);
    // A tool folder with a blank in its name: "/home/me/SU tools/SEGYREAD".
    for (size_t k = 1; programs[i].empty() && k < std::min<size_t>(stage.words.size(), 5); ++k) {
      std::string longer = stage.words[0];
      for (size_t j = 1; j <= k; ++j) longer += " " + stage.words[j];
      programs[i] = FindProgram(longer, options);
      if (!programs[i].empty()) {
        stage.words.erase(stage.words.begin() + 1, stage.words.begin() + std::ptrdiff_t(k + 1));
        stage.words[0] = longer;
      }
    }
    if (programs[i].empty()) {
      Say("'" + stage.words[0] + "' is not recognized as an internal or external command, operable program or batch file.");
      lastStatus = 1;
      continue;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (in >= 0) posix_spawn_file_actions_adddup2(&actions, in, 0);
    if (out >= 0) posix_spawn_file_actions_adddup2(&actions, out, 1);
    if (err >= 0) posix_spawn_file_actions_adddup2(&actions, err, 2);
    std::vector<char*> argv;
    for (auto& w : stage.words) argv.push_back(w.data());
    argv[0] = programs[i].data();
    argv.push_back(nullptr);
    pid_t pid = 0;
    const int rc = posix_spawn(&pid, programs[i].c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (rc != 0) {
      Say(stage.words[0] + ": cannot start: " + std::strerror(rc));
      lastStatus = 1;
      continue;
    }
    pids[i] = pid;
  }
  for (const int fd : fds) close(fd);
  for (size_t i = 0; i < n; ++i) {
    if (pids[i] == 0) continue;
    int raw = 0;
    while (waitpid(pids[i], &raw, 0) < 0 && errno == EINTR) {
    }
    const int status = StatusOf(raw, stages[i].words[0]);
    if (i + 1 == n) lastStatus = status;
  }
  if (pids[n - 1] == 0 && lastStatus == 0) lastStatus = 1;
  return lastStatus;
}

}  // namespace

std::vector<std::string> SplitWords(const std::string& text) {
  std::vector<std::string> words;
  std::string word;
  bool quoted = false;
  bool have = false;
  for (const char c : text) {
    if (c == '"') {
      quoted = !quoted;
      have = true;
      continue;
    }
    if ((c == ' ' || c == '\t') && !quoted) {
      if (have) words.push_back(word);
      word.clear();
      have = false;
      continue;
    }
    word += c;
    have = true;
  }
  if (have) words.push_back(word);
  return words;
}

std::vector<std::string> ScriptLines(const std::string& text) {
  std::vector<std::string> lines;
  std::string line;
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '\r' || c == '\n') {
      lines.push_back(line);
      line.clear();
      if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
      continue;
    }
    line += c;
  }
  if (!line.empty()) lines.push_back(line);
  return lines;
}

int RunLine(const std::string& rawLine, Options& options, bool& exitRequested) {
  std::string line = Trim(rawLine);
  bool quiet = false;
  while (!line.empty() && line[0] == '@') {
    quiet = true;
    line = Trim(line.substr(1));
  }
  if (line.empty() || line[0] == ':') return 0;
  line = Substitute(line, options);
  if (options.echo && !quiet) {
    std::error_code ec;
    std::cout << "\n" << fs::current_path(ec).string() << ">" << line << std::endl;
  }

  // A built-in name may run into its first switch: "copy/b", "del/q".
  std::string first = line.substr(0, line.find_first_of(" \t"));
  const size_t slash = first.find('/');
  std::string name = Lower(slash == std::string::npos ? first : first.substr(0, slash));
  if (name == "rem") return 0;
  if (name == "echo" || name == "echo.") {
    const std::string text = name == "echo." ? "" : Trim(line.substr(std::min(line.size(), size_t(5))));
    if (Lower(text) == "off" || Lower(text) == "on") {
      options.echo = Lower(text) == "on";
      return 0;
    }
    Stage stage = ParseStage(text);
    std::string shown;
    for (size_t i = 0; i < stage.words.size(); ++i) shown += (i ? " " : "") + stage.words[i];
    if (!stage.out.empty()) {
      const std::string target = ResolveExisting(stage.out);
      errno = 0;
      std::ofstream out(target, stage.append ? std::ios::app : std::ios::trunc);
      out << shown << "\r\n";
      out.close();
      if (out) return 0;
      Say("echo: " + target + ": cannot write" + (errno != 0 ? std::string(": ") + std::strerror(errno) : std::string()));
      return 1;
    }
    std::cout << shown << std::endl;
    return 0;
  }
  if (name == "exit") {
    exitRequested = true;
    return 0;
  }
  if (name == "copy" || name == "del" || name == "erase" || name == "pause" || name == "cd" || name == "chdir") {
    std::string rest = line.substr(name.size());
    Stage stage = ParseStage(rest);
    std::vector<std::string> words = {name};
    words.insert(words.end(), stage.words.begin(), stage.words.end());
    if (name == "copy") return Copy(words);
    if (name == "del" || name == "erase") return Delete(words);
    if (name == "pause") return Pause();
    if (words.size() < 2) {
      std::error_code ec;
      std::cout << fs::current_path(ec).string() << std::endl;
      return 0;
    }
    std::error_code ec;
    fs::current_path(words[1], ec);
    if (ec) {
      Say("cd: " + words[1] + ": The system cannot find the path specified.");
      return 1;
    }
    return 0;
  }

  std::vector<Stage> stages;
  for (const auto& part : SplitPipes(line)) stages.push_back(ParseStage(part));
  for (const auto& stage : stages) {
    if (stage.words.empty()) {
      Say("The syntax of the command is incorrect.");
      return 1;
    }
  }
  return RunPipeline(stages, options);
}

int RunScript(const std::string& text, Options& options) {
  int status = 0;
  bool exitRequested = false;
  for (const auto& line : ScriptLines(text)) {
    status = RunLine(line, options, exitRequested);
    if (exitRequested) break;
  }
  return status;
}

}  // namespace vexmor::bat
