// segyclean: zeroes the SU words d1 .. mark (bytes 180..209) that a SEG-Y
// file may fill with other things; nothing else changes.
#include <errno.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "core/su_trace.h"
#include "su_tool.h"

namespace vexmor::su {
namespace {

const char* kUsage =
    "segyclean - zero the SU words d1 to mark (bytes 181-210) of every trace\n"
    "\n"
    "  segyread tape=FILE | segyclean > out.su\n"
    "  segyclean < in.su > out.su\n";

// Bytes of the next whole trace at p, 0 when fewer than that are there.
size_t WholeTrace(const uint8_t* p, size_t available) {
  if (available < size_t(kTraceHeaderBytes)) return 0;
  const size_t size = kTraceHeaderBytes + 4 * size_t(static_cast<uint16_t>(GetLE16(p + 114)));
  return available >= size ? size : 0;
}

int Main(int argc, char** argv) {
  const Params params("segyclean", argc, argv, {"verbose"});
  RequireOutputNotTerminal();
  WidenPipe(0);
  WidenPipe(1);
  // Traces are cleaned in place in big blocks: a trace is at most 262380
  // bytes, so a block always holds the one cut by its end.
  std::vector<uint8_t> block(size_t(2) << 20);
  size_t have = 0;
  int64_t count = 0;
  Output output;
  for (;;) {
    // Whatever the pipe holds now: cleaning overlaps with the writer's work.
    const ssize_t got = read(0, block.data() + have, block.size() - have);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) throw ToolError(DescriptorName(0) + ": cannot read: " + std::strerror(errno));
    const bool end = got == 0;
    have += size_t(got);
    size_t at = 0;
    while (const size_t size = WholeTrace(block.data() + at, have - at)) {
      std::memset(block.data() + at + 180, 0, 30);
      at += size;
      ++count;
    }
    output.Write(block.data(), at);
    std::memmove(block.data(), block.data() + at, have - at);
    have -= at;
    if (end) break;
  }
  if (have > 0) {
    ++count;
    if (have < size_t(kTraceHeaderBytes)) {
      Note("standard input: trace " + std::to_string(count) + " is cut short in its header (" + std::to_string(have) +
           " of 240 bytes): not written; not an SU file, or a broken one");
    } else {
      const size_t size = kTraceHeaderBytes + 4 * size_t(static_cast<uint16_t>(GetLE16(block.data() + 114)));
      NoteCutTrace("standard input", count, int64_t(have - kTraceHeaderBytes), int64_t(size - kTraceHeaderBytes));
      std::fill(block.begin() + std::ptrdiff_t(have), block.begin() + std::ptrdiff_t(size), 0);
      std::memset(block.data() + 180, 0, 30);
      output.Write(block.data(), size);
    }
    output.Flush();
    return kDamagedInput;
  }
  output.Flush();
  if (count == 0) throw ToolError("standard input: no SU trace");
  return 0;
}

}  // namespace
}  // namespace vexmor::su

int main(int argc, char** argv) {
  return vexmor::su::RunTool("segyclean", vexmor::su::kUsage, argc, argv, true, vexmor::su::Main);
}
