// segyclean: zeroes the SU words d1 .. mark (bytes 180..209) that a SEG-Y
// file may fill with other things; nothing else changes.
#include <cstring>

#include "su_stream.h"
#include "su_tool.h"

namespace vexmor::su {
namespace {

const char* kUsage =
    "segyclean - zero the SU words d1 to mark (bytes 181-210) of every trace\n"
    "\n"
    "  segyread tape=FILE | segyclean > out.su\n"
    "  segyclean < in.su > out.su\n";

int Main(int argc, char** argv) {
  const Params params("segyclean", argc, argv, {"verbose"});
  RequireOutputNotTerminal();
  SuReader reader;
  Output output;
  while (reader.Next()) {
    std::memset(reader.Trace().data() + 180, 0, 30);
    output.Write(reader.Trace().data(), reader.Trace().size());
  }
  output.Flush();
  if (reader.Count() == 0) throw ToolError("standard input: no SU trace");
  return reader.Truncated() ? 1 : 0;
}

}  // namespace
}  // namespace vexmor::su

int main(int argc, char** argv) {
  return vexmor::su::RunTool("segyclean", vexmor::su::kUsage, argc, argv, true, vexmor::su::Main);
}
