#pragma once
// How much the peak resident memory grows while a piece of work runs, for
// tests that prove an allocation is bounded by the file rather than by a
// count that the file claims. The work runs in a forked child so that the
// test program's own earlier peak does not hide the growth.
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <fstream>
#include <functional>
#include <optional>
#include <string>

namespace vexmor::test {

// VmHWM of this process, in kB (-1 when the system does not say).
inline int64_t PeakResidentKb() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind("VmHWM:", 0) == 0) return std::stoll(line.substr(6));
  }
  return -1;
}

// The growth in kB, or nothing when it can't be measured (no /proc, the
// peak can't be reset, or the work died).
inline std::optional<int64_t> PeakGrowthKb(const std::function<void()>& work) {
  int fds[2];
  if (pipe(fds) != 0) return std::nullopt;
  const pid_t pid = fork();
  if (pid < 0) return std::nullopt;
  if (pid == 0) {
    close(fds[0]);
    int64_t growth = -1;
    // "5" resets the peak to the present size.
    if (std::ofstream("/proc/self/clear_refs") << "5") {
      const int64_t before = PeakResidentKb();
      work();
      const int64_t after = PeakResidentKb();
      if (before >= 0 && after >= 0) growth = after - before;
    }
    (void)!write(fds[1], &growth, sizeof growth);
    _exit(0);
  }
  close(fds[1]);
  int64_t growth = -1;
  const bool got = read(fds[0], &growth, sizeof growth) == static_cast<ssize_t>(sizeof growth);
  close(fds[0]);
  int status = 0;
  waitpid(pid, &status, 0);
  if (!got || growth < 0 || !WIFEXITED(status)) return std::nullopt;
  return growth;
}

}  // namespace vexmor::test
