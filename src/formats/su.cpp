#include "formats/su.h"

#include <cstring>
#include <string>

#include "core/binary_file.h"
#include "core/su_trace.h"

namespace vexmor {

namespace {
constexpr int kNsOffset = 114;
constexpr int kDtOffset = 116;

int64_t NsAt(const uint8_t* header) { return static_cast<uint16_t>(GetLE16(header + kNsOffset)); }
}  // namespace

bool LooksLikeSu(std::span<const uint8_t> head, int64_t fileSize, bool strict) {
  if (head.size() < size_t(kSuHeaderBytes) || fileSize < kSuHeaderBytes) return false;
  const int64_t ns = NsAt(head.data());
  if (ns <= 0) return false;
  const int64_t traceBytes = kSuHeaderBytes + 4 * ns;
  if (!strict) return fileSize >= traceBytes / 2;
  if (fileSize % traceBytes != 0) return false;
  if (fileSize >= 2 * traceBytes && head.size() >= size_t(traceBytes + kSuHeaderBytes)) {
    return NsAt(head.data() + traceBytes) == ns;
  }
  return true;
}

SuLayout ReadSuLayout(BinaryFile& file) {
  if (file.Size() < kSuHeaderBytes) {
    throw FormatError(file.Path() + ": " + std::to_string(file.Size()) +
                      " bytes, shorter than one SU trace header (240)");
  }
  uint8_t header[kSuHeaderBytes];
  file.Read(0, header, sizeof header);
  SuLayout layout;
  layout.ns = NsAt(header);
  if (layout.ns == 0) throw FormatError(file.Path() + ": the first trace header gives no sample count (ns 0)");
  layout.dt = static_cast<uint16_t>(GetLE16(header + kDtOffset));
  layout.traceBytes = kSuHeaderBytes + 4 * layout.ns;
  layout.wholeTraces = file.Size() / layout.traceBytes;
  layout.lastCutShort = file.Size() % layout.traceBytes != 0;
  return layout;
}

}  // namespace vexmor
