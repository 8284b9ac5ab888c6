#include "core/mapped_file.h"

#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <mutex>

#include "core/failure.h"
#include "core/paths.h"
#include "core/text_reader.h"

namespace vexmor {

namespace {

// A page of a mapped file that another program has cut short faults with
// SIGBUS when it is touched. The handler knows the mappings alive now: a
// fault inside one maps a page of zeros over the lost page and marks the
// mapping; any other SIGBUS goes to whatever handled it before.
struct Guard {
  std::atomic<bool> taken{false};
  std::atomic<uintptr_t> begin{0};
  std::atomic<uintptr_t> end{0};
  std::atomic<bool> cut{false};
};
constexpr int kGuards = 64;
Guard guards[kGuards];
uintptr_t pageSize = 4096;
struct sigaction before {};
std::once_flag installed;

void OnBusError(int signal, siginfo_t* info, void* context) {
  const auto at = reinterpret_cast<uintptr_t>(info->si_addr);
  for (Guard& g : guards) {
    const uintptr_t begin = g.begin.load(std::memory_order_acquire);
    if (begin == 0 || at < begin || at >= g.end.load(std::memory_order_acquire)) continue;
    void* page = reinterpret_cast<void*>(at & ~(pageSize - 1));
    if (::mmap(page, pageSize, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) != MAP_FAILED) {
      g.cut.store(true, std::memory_order_release);
      return;  // the read is done again, on the zeros
    }
  }
  if ((before.sa_flags & SA_SIGINFO) != 0 && before.sa_sigaction != nullptr) {
    before.sa_sigaction(signal, info, context);
  } else if (before.sa_handler != SIG_DFL && before.sa_handler != SIG_IGN && before.sa_handler != nullptr) {
    before.sa_handler(signal);
  } else {
    // The fault comes again on return, and ends the program as it would have.
    struct sigaction plain {};
    plain.sa_handler = SIG_DFL;
    ::sigaction(SIGBUS, &plain, nullptr);
  }
}

void InstallGuard() {
  const long page = ::sysconf(_SC_PAGESIZE);
  if (page > 0) pageSize = static_cast<uintptr_t>(page);
  struct sigaction action {};
  action.sa_sigaction = OnBusError;
  action.sa_flags = SA_SIGINFO | SA_NODEFER;
  sigemptyset(&action.sa_mask);
  ::sigaction(SIGBUS, &action, &before);
}

int Watch(const char* data, size_t size) {
  std::call_once(installed, InstallGuard);
  for (int i = 0; i < kGuards; ++i) {
    bool expected = false;
    if (guards[i].taken.compare_exchange_strong(expected, true)) {
      guards[i].cut.store(false);
      guards[i].end.store(reinterpret_cast<uintptr_t>(data) + size, std::memory_order_release);
      guards[i].begin.store(reinterpret_cast<uintptr_t>(data), std::memory_order_release);
      return i;
    }
  }
  return -1;  // more files mapped at once than ever happens: this one unguarded
}

void Unwatch(int i) {
  guards[i].begin.store(0, std::memory_order_release);
  guards[i].end.store(0, std::memory_order_release);
  guards[i].taken.store(false, std::memory_order_release);
}

}  // namespace

MappedFile::MappedFile(const std::string& path, Use use) {
  int64_t length = 0;
  const int fd = OpenPlainFile(path, length);
  if (length > 0) {
    const int flags = MAP_PRIVATE | (use == Use::Whole ? MAP_POPULATE : 0);
    void* p = ::mmap(nullptr, static_cast<size_t>(length), PROT_READ, flags, fd, 0);
    if (p != MAP_FAILED) {
      mapped_ = static_cast<char*>(p);
      size_ = static_cast<size_t>(length);
      guard_ = Watch(mapped_, size_);
      if (use == Use::Whole) ::madvise(p, size_, MADV_SEQUENTIAL);
    }
  }
  ::close(fd);
  if (mapped_ == nullptr && length > 0) copy_ = ReadWholeFile(path);
}

void MappedFile::Forget() const {
  // Nothing is written through the map, so no page is lost.
  if (mapped_ != nullptr) ::madvise(mapped_, size_, MADV_DONTNEED);
}

bool MappedFile::CutWhileRead() const { return guard_ >= 0 && guards[guard_].cut.load(std::memory_order_acquire); }

MappedFile::~MappedFile() {
  if (guard_ >= 0) Unwatch(guard_);
  if (mapped_ != nullptr) ::munmap(mapped_, size_);
}

}  // namespace vexmor
