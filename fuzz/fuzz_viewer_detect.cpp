// The viewer's opening of a file: detection by content, then a few traces,
// from a file held in memory (memfd), never on the disk.
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <string>
#include <vector>

#include "field_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const int fd = memfd_create("fuzz", MFD_CLOEXEC);
  if (fd < 0) return 0;
  size_t done = 0;
  while (done < size) {
    const ssize_t put = write(fd, data + done, size - done);
    if (put <= 0) break;
    done += static_cast<size_t>(put);
  }
  const std::string path = "/proc/self/fd/" + std::to_string(fd);
  try {
    auto file = vexmor::view::FieldFile::Open(path);
    const auto& info = file->Info();
    if (info.samples >= 0 && info.samples <= 1 << 20) {
      std::vector<float> samples(static_cast<size_t>(info.samples));
      uint8_t header[240];
      for (int64_t i = 0; i < std::min<int64_t>(info.traces, 8); ++i) file->ReadTrace(i, samples.data(), header);
    }
  } catch (const std::exception&) {
  }
  close(fd);
  return 0;
}
