// segdread and segyread on files larger than 4 GB: the tools must stream
// trace by trace, so their peak memory stays small whatever the size of the
// file. The files are sparse (headers and a first sample written, the rest
// holes), and the SU stream goes through a pipe that only counts and checks
// it, so the disk holds a few tens of MB.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "core/byte_order.h"
#include "tools_helpers.h"

namespace vexmor::test {
namespace {

constexpr int64_t kFourGiB = int64_t{1} << 32;
constexpr int kNs = 65000;
constexpr int kTraces = 16600;
constexpr long kMaxRssKiB = 64 * 1024;

// What the pipe saw: traces counted, and the first fault found.
struct StreamCheck {
  int64_t bytes = 0;
  int64_t traces = 0;
  std::string fault;
  long peakRssKiB = 0;
  int status = -1;
  std::string err;
};

// Runs args in `folder` with standard output into a pipe read here.
// Every SU trace must have kNs samples, a first sample equal to its number
// from 1, and the 4-byte SU word at `wordOffset` equal to word(number).
//
// The peak memory the kernel gives for a process counts what it held
// before its exec, and a child forked from this test program starts as big
// as the test program. So a small shell starts the tool in the background
// and ends; the tool, a fork of the shell, falls to this process (made a
// subreaper for the time), which waits for it and takes its peak.
StreamCheck RunCounting(const std::string& folder, const std::vector<std::string>& args, int wordOffset,
                        const std::function<int64_t(int64_t)>& word) {
  int fds[2];
  if (::pipe(fds) != 0) return {};
  const std::string errFile = folder + "/.stderr";
  ::prctl(PR_SET_CHILD_SUBREAPER, 1);
  const pid_t shell = ::fork();
  if (shell == 0) {
    ::dup2(fds[1], 1);
    ::close(fds[0]);
    ::close(fds[1]);
    const int in = ::open("/dev/null", O_RDONLY);
    ::dup2(in, 0);
    const int err = ::open(errFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    ::dup2(err, 2);
    if (::chdir(folder.c_str()) != 0) ::_exit(126);
    std::vector<const char*> argv = {"sh", "-c", "\"$@\" &", "sh"};
    for (const std::string& a : args) argv.push_back(a.c_str());
    argv.push_back(nullptr);
    ::execv("/bin/sh", const_cast<char* const*>(argv.data()));
    ::_exit(127);
  }
  ::waitpid(shell, nullptr, 0);
  ::close(fds[1]);
  StreamCheck check;
  const int64_t traceBytes = 240 + 4 * int64_t{kNs};
  std::array<uint8_t, 244> head{};
  std::vector<uint8_t> chunk(size_t(1) << 20);
  for (;;) {
    const ssize_t got = ::read(fds[0], chunk.data(), chunk.size());
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    size_t i = 0;
    while (i < size_t(got)) {
      const int64_t inTrace = check.bytes % traceBytes;
      size_t step = size_t(got) - i;
      if (inTrace < int64_t(head.size())) {
        step = std::min(step, head.size() - size_t(inTrace));
        std::memcpy(head.data() + inTrace, chunk.data() + i, step);
        if (inTrace + int64_t(step) == int64_t(head.size()) && check.fault.empty()) {
          const int64_t number = check.bytes / traceBytes + 1;
          const int ns = static_cast<uint16_t>(GetLE16(head.data() + 114));
          if (ns != kNs) {
            check.fault = "trace " + std::to_string(number) + " has ns " + std::to_string(ns);
          } else if (GetLE32(head.data() + wordOffset) != word(number) ||
                     GetLEFloat(head.data() + 240) != float(number)) {
            check.fault = "trace " + std::to_string(number) + " carries another trace's number or samples";
          }
        }
      } else {
        step = std::min<size_t>(step, size_t(traceBytes - inTrace));
      }
      i += step;
      check.bytes += int64_t(step);
    }
  }
  ::close(fds[0]);
  int raw = 0;
  struct rusage usage {};
  ::wait4(-1, &raw, 0, &usage);
  ::prctl(PR_SET_CHILD_SUBREAPER, 0);
  check.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + (WIFSIGNALED(raw) ? WTERMSIG(raw) : 0);
  check.peakRssKiB = usage.ru_maxrss;
  check.traces = check.bytes / traceBytes;
  check.err = ReadText(errFile);
  return check;
}

// A sparse file: the pieces written where they go, the rest holes.
class SparseFile {
 public:
  explicit SparseFile(const std::string& path) : fd_(::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0644)) {}
  ~SparseFile() { Close(); }
  bool Put(int64_t offset, const std::vector<uint8_t>& bytes) {
    return ::pwrite(fd_, bytes.data(), bytes.size(), offset) == ssize_t(bytes.size());
  }
  bool End(int64_t size) { return ::ftruncate(fd_, size) == 0; }
  void Close() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
  }

 private:
  int fd_;
};

std::vector<uint8_t> BigEndianFloat(float v) {
  std::vector<uint8_t> b(4);
  PutBE32u(b.data(), FloatBits(v));
  return b;
}

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VEXMOR_ASAN_BUILD 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define VEXMOR_ASAN_BUILD 1
#endif

bool Sanitized() {
#if defined(VEXMOR_ASAN_BUILD)
  return true;
#else
  return false;
#endif
}

// The sanitizers' shadow memory and their speed make both the bound and the
// time meaningless there; the plain build measures.
#define SKIP_WHEN_SANITIZED()                                                        \
  if (Sanitized()) GTEST_SKIP() << "peak memory is measured in the plain build only"

// One SEG-D rev 3 record of kTraces IEEE-float traces of kNs samples: the
// channel set gives the count in binary, so trace headers need no extension.
TEST(ToolsBigFile, SegdOverFourGigabytesStreamsInLittleMemory) {
  SKIP_WHEN_SANITIZED();
  TempDir dir;
  const std::string path = dir / "big.sgd";
  SparseFile file(path);
  std::vector<uint8_t> h(32 * 3, 0);
  h[1] = 0x07;          // file 7
  h[2] = 0x80;
  h[3] = 0x58;          // 8058
  h[10] = 0x24;         // 2024
  h[11] = 0x20 | 0x01;  // two more general headers; day 1xx
  h[12] = 0x50;         // day 150
  h[27] = 1;            // scan types
  h[28] = 1;            // channel sets
  h[32 + 10] = 3;       // rev 3.0
  std::vector<uint8_t> csd(96, 0);
  csd[0] = 1;
  PutBE16u(csd.data() + 1, 1);
  csd[3] = 0x10;  // seismic
  PutBE32u(csd.data() + 12, kNs);
  csd[20] = uint8_t(kTraces >> 16);
  csd[21] = uint8_t(kTraces >> 8);
  csd[22] = uint8_t(kTraces);
  csd[24] = 0x03;  // 1000 us, 3 bytes
  csd[25] = 0xE8;
  h.insert(h.end(), csd.begin(), csd.end());
  ASSERT_TRUE(file.Put(0, h));
  const int64_t traceBytes = 20 + 4 * int64_t{kNs};
  const auto bcd = [](int v) { return uint8_t((v / 10) << 4 | (v % 10)); };
  for (int t = 1; t <= kTraces; ++t) {
    std::vector<uint8_t> th(20, 0);
    th[2] = 1;
    th[3] = 1;
    th[4] = bcd(t % 10000 / 100);
    th[5] = bcd(t % 100);
    const auto first = BigEndianFloat(float(t));
    th.insert(th.end(), first.begin(), first.end());
    ASSERT_TRUE(file.Put(int64_t(h.size()) + (t - 1) * traceBytes, th));
  }
  const int64_t size = int64_t(h.size()) + kTraces * traceBytes;
  ASSERT_GT(size, kFourGiB);
  ASSERT_TRUE(file.End(size));
  file.Close();

  // tracf is the BCD trace number of the header, which wraps at 10000.
  const StreamCheck run =
      RunCounting(dir.Str(), {Bin("segdread"), "tape=big.sgd"}, 12, [](int64_t n) { return n % 10000; });
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.fault, "");
  EXPECT_EQ(run.traces, kTraces) << run.err;
  EXPECT_EQ(run.bytes, kTraces * (240 + 4 * int64_t{kNs}));
  EXPECT_LT(run.peakRssKiB, kMaxRssKiB) << "segdread peak memory";
  std::printf("segdread on %lld bytes: peak memory %ld KiB\n", static_cast<long long>(size), run.peakRssKiB);
}

// A record whose general header claims 99 scan types of 65535 channel sets
// (all empty): the 200 MB of descriptors are walked, not held.
TEST(ToolsBigFile, SegdClaimingEveryChannelSetStaysSmall) {
  TempDir dir;
  SparseFile file(dir / "sets.sgd");
  std::vector<uint8_t> h(64, 0);
  h[2] = 0x80;
  h[3] = 0x58;    // 8058
  h[11] = 0x10;   // one more general header
  h[27] = 0x99;   // 99 scan types
  h[28] = 0xFF;   // channel sets: in the second general header
  PutBE16u(h.data() + 32 + 3, 65535);
  h[32 + 10] = 1;  // rev 1
  ASSERT_TRUE(file.Put(0, h));
  ASSERT_TRUE(file.End(64 + int64_t{99} * 65535 * 32));
  file.Close();
  const StreamCheck run = RunCounting(dir.Str(), {Bin("segdread"), "tape=sets.sgd"}, 0, [](int64_t n) { return n; });
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("no seismic trace"), std::string::npos) << run.err;
  EXPECT_EQ(run.bytes, 0);
  if (!Sanitized()) {
    EXPECT_LT(run.peakRssKiB, kMaxRssKiB) << "segdread peak memory";
  }
}

// A big-endian IEEE-float SEG-Y file of kTraces traces of kNs samples.
TEST(ToolsBigFile, SegyOverFourGigabytesStreamsInLittleMemory) {
  SKIP_WHEN_SANITIZED();
  TempDir dir;
  SparseFile file(dir / "big.sgy");
  std::vector<uint8_t> h(3600, 0);
  PutBE16u(h.data() + 3216, 1000);  // dt
  PutBE16u(h.data() + 3220, kNs);
  PutBE16u(h.data() + 3224, 5);     // IEEE float
  ASSERT_TRUE(file.Put(0, h));
  const int64_t traceBytes = 240 + 4 * int64_t{kNs};
  for (int t = 1; t <= kTraces; ++t) {
    std::vector<uint8_t> th(240, 0);
    PutBE32u(th.data(), uint32_t(t));  // tracl
    PutBE16u(th.data() + 114, kNs);
    PutBE16u(th.data() + 116, 1000);
    const auto first = BigEndianFloat(float(t));
    th.insert(th.end(), first.begin(), first.end());
    ASSERT_TRUE(file.Put(3600 + (t - 1) * traceBytes, th));
  }
  const int64_t size = 3600 + kTraces * traceBytes;
  ASSERT_GT(size, kFourGiB);
  ASSERT_TRUE(file.End(size));
  file.Close();

  const StreamCheck run =
      RunCounting(dir.Str(), {Bin("segyread"), "tape=big.sgy"}, 0, [](int64_t n) { return n; });
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.fault, "");
  EXPECT_EQ(run.traces, kTraces) << run.err;
  EXPECT_EQ(run.bytes, kTraces * traceBytes);
  EXPECT_LT(run.peakRssKiB, kMaxRssKiB) << "segyread peak memory";
  std::printf("segyread on %lld bytes: peak memory %ld KiB\n", static_cast<long long>(size), run.peakRssKiB);
}

}  // namespace
}  // namespace vexmor::test
