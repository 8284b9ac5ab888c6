// The viewer's opening of a file: detection by content, then a few traces,
// from bytes in memory. The length of the input picks the name the file goes
// by, so the rules that look at the extension (KGS .EVD and .DAT, DT1) are
// reached without taking bytes away from the content.
#include <cstddef>
#include <cstdint>
#include <exception>
#include <span>
#include <string>
#include <vector>

#include "core/binary_file.h"
#include "field_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const char* const kNames[8] = {"fuzz", "fuzz", "fuzz", "fuzz", "fuzz", "fuzz.evd", "fuzz.dat", "fuzz.DT1"};
  const std::string name = kNames[size % 8];
  try {
    auto file = vexmor::view::FieldFile::Open(name, name, vexmor::BinaryFile::OverMemory({data, size}, name));
    const auto& info = file->Info();
    if (info.samples >= 0 && info.samples <= 1 << 20) {
      std::vector<float> samples(static_cast<size_t>(info.samples));
      uint8_t header[240];
      for (int64_t i = 0; i < std::min<int64_t>(info.traces, 8); ++i) file->ReadTrace(i, samples.data(), header);
    }
  } catch (const std::exception&) {
  }
  return 0;
}
