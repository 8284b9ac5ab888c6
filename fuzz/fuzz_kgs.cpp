// KGS integer and KGS floating files: the layout from the first record, a
// few traces read as SU, and the way back to a KGS header.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

#include "core/binary_file.h"
#include "core/failure.h"
#include "formats/kgs.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  for (const vexmor::KgsKind kind : {vexmor::KgsKind::Integer, vexmor::KgsKind::Floating}) {
    vexmor::BinaryFile file = vexmor::BinaryFile::OverMemory(std::span<const uint8_t>(data, size), "fuzz");
    try {
      const vexmor::KgsLayout layout = vexmor::ReadKgsLayout(file, kind);
      for (int32_t i = 1; i <= std::min(layout.records, 4); ++i) {
        const vexmor::KgsTrace trace = vexmor::ReadKgsTrace(file, layout, i, 1);
        uint8_t kgs[vexmor::kKgsHeaderBytes];
        vexmor::KgsHeaderFromSu(trace.suHeader.data(), {}, i, kgs);
      }
    } catch (const vexmor::RunTimeFailure&) {
    }
  }
  return 0;
}
