#pragma once
// Running our command-line tools from the tests: a shell command in a
// folder, its exit status and standard error; SU files as traces.
#include <sys/wait.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "core/su_trace.h"
#include "test_util.h"

namespace vexmor::test {

inline std::string Bin(const std::string& name) { return std::string(VEXMOR_BIN_DIR) + "/" + name; }

struct ToolRun {
  int status = -1;
  std::string out;  // kept by RunHeadless only
  std::string err;
};

// Runs a /bin/sh command in `folder`, standard input from /dev/null unless
// the command says otherwise; standard error kept.
inline ToolRun RunIn(const std::string& folder, const std::string& command) {
  const std::string errFile = folder + "/.stderr";
  const std::string line = "cd '" + folder + "' && ( " + command + " ) 2>'" + errFile + "' </dev/null";
  const int raw = std::system(line.c_str());
  ToolRun run;
  run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + (WIFSIGNALED(raw) ? WTERMSIG(raw) : 0);
  run.err = ReadText(errFile);
  return run;
}

// Runs a command line from the current folder with no desktop in reach, so
// that no window opens; standard output and error are kept in `folder`.
inline ToolRun RunHeadless(const std::string& folder, const std::string& command) {
  const std::string outFile = folder + "/.stdout", errFile = folder + "/.stderr";
  const std::string line = "env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM " + command + " >'" + outFile +
                           "' 2>'" + errFile + "' </dev/null";
  const int raw = std::system(line.c_str());
  ToolRun run;
  run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + (WIFSIGNALED(raw) ? WTERMSIG(raw) : 0);
  run.out = ReadText(outFile);
  run.err = ReadText(errFile);
  return run;
}

// Writes a .bat script (CR LF lines) and runs it with the batch runner.
inline ToolRun RunBat(const std::string& folder, const std::string& script, const std::string& name = "convert.bat") {
  WriteText(folder + "/" + name, script);
  return RunIn(folder, "'" + Bin("vexmor-bat") + "' '" + folder + "/" + name + "' > .stdout");
}

// IBM float of a value that has at most 21 significant bits (exact).
inline uint32_t IbmOf(double v) {
  if (v == 0) return 0;
  const uint32_t sign = v < 0 ? 0x80000000u : 0;
  double a = std::fabs(v);
  int e = 0;
  while (a >= 1) { a /= 16; ++e; }
  while (a < 1.0 / 16) { a *= 16; --e; }
  return sign | uint32_t(e + 64) << 24 | uint32_t(std::llround(a * 16777216.0));
}

struct SuTrace {
  std::vector<uint8_t> header;  // 240 bytes
  std::vector<float> samples;
};

inline std::vector<SuTrace> ReadSu(const std::string& path) {
  const auto bytes = ReadBytes(path);
  std::vector<SuTrace> traces;
  size_t at = 0;
  while (at + 240 <= bytes.size()) {
    SuTrace t;
    t.header.assign(bytes.begin() + std::ptrdiff_t(at), bytes.begin() + std::ptrdiff_t(at + 240));
    const size_t ns = static_cast<uint16_t>(GetLE16(bytes.data() + at + 114));
    at += 240;
    if (at + 4 * ns > bytes.size()) break;
    for (size_t i = 0; i < ns; ++i) t.samples.push_back(GetLEFloat(bytes.data() + at + 4 * i));
    at += 4 * ns;
    traces.push_back(std::move(t));
  }
  return traces;
}

inline std::vector<uint8_t> SuFile(const std::vector<SuTrace>& traces) {
  std::vector<uint8_t> out;
  for (const auto& t : traces) {
    std::vector<uint8_t> h = t.header;
    PutLE16(h.data() + 114, static_cast<int16_t>(t.samples.size()));
    out.insert(out.end(), h.begin(), h.end());
    for (float f : t.samples) {
      uint8_t b[4];
      PutLEFloat(b, f);
      out.insert(out.end(), b, b + 4);
    }
  }
  return out;
}

}  // namespace vexmor::test
