// segdread: SEG-D (rev 1, 2 and 3) demultiplexed disk files to SU traces.
// The reader is the core's; this writes what it gives as SU.
#include <sys/stat.h>

#include <cstring>
#include <string>
#include <vector>

#include "core/binary_file.h"
#include "core/paths.h"
#include "core/su_trace.h"
#include "formats/segd.h"
#include "su_tool.h"

namespace vexmor::su {
namespace {

const char* kUsage =
    "segdread - read a SEG-D (rev 1, 2, 3) demultiplexed file and write SU traces\n"
    "\n"
    "  segdread tape=FILE [aux=0] > out.su\n"
    "\n"
    "  tape=    the SEG-D file (required); several records one behind the other are read\n"
    "  aux=0    1 also writes the auxiliary channels (trid 0)\n"
    "\n"
    "  Sample formats 8015, 8022, 8024, 8036, 8038, 8042, 8044, 8048, 8058.\n"
    "  SU words set: fldr, ep (file number), tracf (trace number), trid, ns,\n"
    "  dt, year, day, hour, minute, sec.\n";

int Main(int argc, char** argv) {
  const Params params("segdread", argc, argv, {"tape", "aux", "verbose", "ns", "buff", "use_stdio", "ptmax"});
  if (!params.Has("tape")) throw ToolError("tape= is missing: give the SEG-D file to read");
  const bool aux = params.Int("aux", 0, kSwitch) != 0;
  const std::string tape = ResolveExisting(params.Text("tape", ""));
  RequireOutputNotTerminal();
  // A device or a pipe, which has no end to wait for, is refused as
  // segyread refuses it.
  struct stat st {};
  if (stat(tape.c_str(), &st) == 0 && !S_ISREG(st.st_mode)) throw ToolError(tape + ": not a plain file");
  BinaryFile file(tape, BinaryFile::Mode::Read);
  file.AdviseSequential();
  SegdReader reader(file);

  Output output;
  std::vector<uint8_t> su;
  std::vector<float> values;
  int64_t written = 0, cut = 0;
  int status = 0;
  SegdTrace trace;
  for (;;) {
    try {
      if (!reader.Next(trace)) break;
    } catch (const SegdError& e) {
      // What came before the fault is written; the fault is said.
      if (reader.Records() == 0) throw;
      Note(e.what());
      status = kDamagedInput;
      break;
    }
    if (trace.channelType != 1 && !aux) continue;
    su.assign(size_t(kTraceHeaderBytes + 4 * trace.ns), 0);
    const SuHeader header = SegdSuHeader(trace);
    std::memcpy(su.data(), header.Data(), kTraceHeaderBytes);
    values.resize(static_cast<size_t>(trace.ns));
    reader.ReadSamples(values.data());
    for (int64_t i = 0; i < trace.ns; ++i) PutLEFloat(su.data() + kTraceHeaderBytes + 4 * i, values[size_t(i)]);
    output.Write(su.data(), su.size());
    ++written;
    if (trace.CutShort()) {
      const int64_t number = trace.traceNumber > 0 ? trace.traceNumber : written;
      NoteCutTrace(tape + ": record " + std::to_string(trace.record), number, trace.presentBytes, trace.sampleBytes);
      ++cut;
      status = kDamagedInput;
    }
    if (trace.ownNs > trace.ns) {
      const int64_t number = trace.traceNumber > 0 ? trace.traceNumber : written;
      Note(tape + ": record " + std::to_string(trace.record) + ": trace " + std::to_string(number) + " says " +
           std::to_string(trace.ownNs) + " samples, the first of its channel set " + std::to_string(trace.ns) +
           ": written with " + std::to_string(trace.ns) + ", the rest left out");
      status = kDamagedInput;
    }
  }
  output.Flush();
  Note(tape + ": " + std::to_string(reader.Records()) + " record(s), " + std::to_string(written) + " traces written" +
       (cut > 0 ? " (" + std::to_string(cut) + " of them cut short and padded with zeros)" : std::string()));
  if (written == 0) throw ToolError(tape + ": no seismic trace in the file (aux=1 writes the auxiliary ones)");
  return status;
}

}  // namespace
}  // namespace vexmor::su

int main(int argc, char** argv) {
  return vexmor::su::RunTool("segdread", vexmor::su::kUsage, argc, argv, true, vexmor::su::Main);
}
