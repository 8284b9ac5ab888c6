#include "core/mapped_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/failure.h"
#include "core/paths.h"
#include "core/text_reader.h"

namespace vexmor {

MappedFile::MappedFile(const std::string& path, Use use) {
  const std::string actual = ResolveExisting(path);
  const int fd = ::open(actual.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) throw RunTimeFailure(FailureCode::FileNotFound, path + ": cannot be opened");
  struct stat st{};
  if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
    ::close(fd);
    // A folder, a device or a pipe: no text of a known end.
    throw RunTimeFailure(FailureCode::PathAccess, path + ": not a plain file");
  }
  if (st.st_size > 0) {
    const int flags = MAP_PRIVATE | (use == Use::Whole ? MAP_POPULATE : 0);
    void* p = ::mmap(nullptr, static_cast<size_t>(st.st_size), PROT_READ, flags, fd, 0);
    if (p != MAP_FAILED) {
      mapped_ = static_cast<char*>(p);
      size_ = static_cast<size_t>(st.st_size);
      if (use == Use::Whole) ::madvise(p, size_, MADV_SEQUENTIAL);
    }
  }
  ::close(fd);
  if (mapped_ == nullptr && st.st_size > 0) copy_ = ReadWholeFile(path);
}

void MappedFile::Forget() const {
  // Nothing is written through the map, so no page is lost.
  if (mapped_ != nullptr) ::madvise(mapped_, size_, MADV_DONTNEED);
}

MappedFile::~MappedFile() {
  if (mapped_ != nullptr) ::munmap(mapped_, size_);
}

}  // namespace vexmor
