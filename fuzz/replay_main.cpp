// Runs kept inputs through a fuzz target once each, without libFuzzer:
//   vexmor_fuzz_replay TARGET PATH...
// A PATH is a file or a folder of files; a missing PATH is skipped, so a
// target with no regressions yet needs no empty folder. Exit 0 when every
// input came back; a fault ends the program under the sanitizers.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz_entries.h"

namespace {

int RunFile(const FuzzEntry& entry, const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    std::fprintf(stderr, "replay: cannot read %s\n", path.c_str());
    return 1;
  }
  const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  std::printf("%s: %s (%zu bytes)\n", entry.name, path.c_str(), bytes.size());
  std::fflush(stdout);
  // Like libFuzzer, never hand a null pointer for an empty input.
  static const uint8_t kNothing = 0;
  entry.run(bytes.empty() ? &kNothing : bytes.data(), bytes.size());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || std::strcmp(argv[1], "-h") == 0 || std::strcmp(argv[1], "--help") == 0) {
    std::fprintf(stderr, "usage: vexmor_fuzz_replay TARGET PATH...\ntargets:");
    for (const FuzzEntry& e : kFuzzEntries) std::fprintf(stderr, " %s", e.name);
    std::fprintf(stderr, "\n");
    return argc < 2 ? 2 : 0;
  }
  const FuzzEntry* entry = nullptr;
  for (const FuzzEntry& e : kFuzzEntries) {
    if (std::strcmp(e.name, argv[1]) == 0) entry = &e;
  }
  if (entry == nullptr) {
    std::fprintf(stderr, "replay: no target '%s'\n", argv[1]);
    return 2;
  }
  int failed = 0;
  int count = 0;
  for (int i = 2; i < argc; ++i) {
    const std::filesystem::path path(argv[i]);
    std::error_code ec;
    if (std::filesystem::is_directory(path, ec)) {
      std::vector<std::filesystem::path> files;
      for (const auto& item : std::filesystem::directory_iterator(path, ec)) {
        if (item.is_regular_file()) files.push_back(item.path());
      }
      std::sort(files.begin(), files.end());
      for (const auto& f : files) failed |= RunFile(*entry, f), ++count;
    } else if (std::filesystem::is_regular_file(path, ec)) {
      failed |= RunFile(*entry, path), ++count;
    }
  }
  std::printf("%s: %d inputs replayed\n", entry->name, count);
  return failed;
}
