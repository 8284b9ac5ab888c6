// segyread: SEG-Y (rev 0, 1, 2) to SU traces on standard output.
//
//   | text header 3200 | binary header 400 | extended text headers 3200 x N |
//   | trace header 240 | (rev 2: extra 240-byte headers) | ns samples | ...
//
// Trace header bytes 1..180 are the SU words 1..71; bytes 181..240 are
// copied as they stand. SU output is little-endian whatever the file.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "core/binary_file.h"
#include "core/byte_order.h"
#include "core/paths.h"
#include "core/su_trace.h"
#include "su_tool.h"

namespace vexmor::su {
namespace {

const char* kUsage =
    "segyread - read a SEG-Y file (rev 0, 1, 2) and write SU traces\n"
    "\n"
    "  segyread tape=FILE [parameters] > out.su\n"
    "\n"
    "  tape=        the SEG-Y file (required)\n"
    "  hfile=header where the 3200-byte text header goes, as ASCII\n"
    "  bfile=binary where the 400-byte binary header goes, little-endian\n"
    "  conv=1       convert samples to native float; 0 keeps the bits of 4-byte samples\n"
    "  endian=      0 big-endian (standard) file, 1 little-endian; found from\n"
    "               the binary header when not given\n"
    "  over=0       1 with format=N reads the samples as format N\n"
    "  format=      sample format code forced with over=1\n"
    "  ns=          samples per trace, instead of the binary header's\n"
    "  trmin=1      first trace taken (from 1)\n"
    "  trmax=       last trace taken (default: the last one)\n"
    "\n"
    "  Sample formats: 1 IBM float, 2 int32, 3 int16, 5 IEEE float, 6 IEEE\n"
    "  double, 7 int24, 8 int8, 9 int64, 10 uint32, 11 uint16, 12 uint64,\n"
    "  15 uint24, 16 uint8.\n";

void WriteReelHeaders(const Params& params, const uint8_t* head, bool big) {
  std::vector<uint8_t> text(head, head + kTextHeaderBytes);
  if (LooksEbcdic(text.data(), text.size())) {
    for (auto& c : text) c = EbcdicToAscii(c);
  }
  WriteWholeFile(params.Text("hfile", "header"), text.data(), text.size());
  std::vector<uint8_t> bin(head + kTextHeaderBytes, head + kSegyHeaderBytes);
  if (big) SwapBinaryHeader(bin.data());
  WriteWholeFile(params.Text("bfile", "binary"), bin.data(), bin.size());
}

int Main(int argc, char** argv) {
  const Params params("segyread", argc, argv,
                      {"tape", "hfile", "bfile", "conv", "over", "format", "endian", "ns", "trmin", "trmax",
                       "verbose", "vblock", "buff", "remap", "byte", "errmax"});
  if (!params.Has("tape")) throw ToolError("tape= is missing: give the SEG-Y file to read");
  const std::string tape = ResolveExisting(params.Text("tape", ""));
  const bool conv = params.Int("conv", 1, kSwitch) != 0;
  const int64_t trmin = params.Int("trmin", 1, kTraceNumber);
  const int64_t trmax = params.Int("trmax", INT64_MAX, kTraceNumber);
  if (trmin < 1 || trmax < trmin) throw ToolError("trmin and trmax must give 1 <= trmin <= trmax");
  // Every parameter is checked before the file is looked at.
  SegyOptions options;
  options.endian = params.IntIfGiven("endian", kSwitch);
  options.over = static_cast<int>(params.Int("over", 0, kSwitch));
  options.format = params.IntIfGiven("format", kWord16);
  // ns=0 leaves the count to the headers: the SEGY panel's probe passes it.
  options.ns = params.IntIfGiven("ns", kSamples);
  RequireOutputNotTerminal();

  struct stat st {};
  if (stat(tape.c_str(), &st) != 0) throw ToolError(tape + ": cannot open: " + std::strerror(errno));
  if (!S_ISREG(st.st_mode)) throw ToolError(tape + ": not a plain file");
  BinaryFile file(tape, BinaryFile::Mode::Read);
  file.AdviseSequential();
  const SegyLayout layout = ReadSegyLayout(file, options, Note);
  const int64_t size = layout.fileSize;
  std::vector<uint8_t> head(kSegyHeaderBytes, 0);
  file.Read(0, head.data(), head.size());

  const int64_t traceCount = (size - layout.firstTrace) / layout.traceBytes;
  const int64_t rest = (size - layout.firstTrace) % layout.traceBytes;
  Note(tape + ": " + (layout.bigEndian ? "big" : "little") + "-endian SEG-Y (" + layout.byteOrderFoundBy +
       "), rev " + std::to_string(layout.revision) + ", format " + std::to_string(layout.formatCode) + " (" +
       std::string(layout.format->name) + "), " + std::to_string(layout.ns) + " samples per trace, dt " +
       std::to_string(layout.dt) + " us, " + std::to_string(traceCount + (rest > 0 ? 1 : 0)) + " traces");
  if (!conv && layout.format->bytes != 4) Note("conv=0 keeps only 4-byte samples; these are converted to float");

  // A field disk or a folder of someone else's may not take the reel headers;
  // the traces are what the user came for, so they still go out.
  bool headersWritten = true;
  try {
    WriteReelHeaders(params, head.data(), layout.bigEndian);
  } catch (const ToolError& e) {
    Note(std::string(e.what()) + "; the traces are converted all the same");
    headersWritten = false;
  }

  const int64_t available = traceCount + (rest > 0 ? 1 : 0);
  const int64_t first = trmin;
  const int64_t last = std::min(trmax, available);
  if (first > last) {
    throw ToolError(tape + ": no trace in trmin=" + std::to_string(trmin) + " .. trmax=" +
                    (trmax == INT64_MAX ? std::string("end") : std::to_string(trmax)) + " (the file has " +
                    std::to_string(available) + ")");
  }

  const int64_t suBytes = kTraceHeaderBytes + 4 * layout.ns;
  const int64_t perChunk = std::max<int64_t>(1, (int64_t(1) << 20) / layout.traceBytes);
  std::vector<uint8_t> in(size_t(perChunk * layout.traceBytes));
  std::vector<uint8_t> out(size_t(perChunk * suBytes));
  WidenPipe(1);
  Output output;
  int status = 0;
  const int64_t headerBytes = int64_t(kTraceHeaderBytes) * (1 + layout.extraHeaders);
  // Trace headers whose own count disagrees: the traces are read at the
  // fixed length, which is wrong if they really vary, so it is said.
  int64_t otherNs = 0;
  const bool nsForced = options.ns.value_or(0) > 0;
  for (int64_t trace = first; trace <= last; trace += perChunk) {
    int64_t count = std::min(perChunk, last - trace + 1);
    const int64_t offset = layout.firstTrace + (trace - 1) * layout.traceBytes;
    const size_t want = size_t(count * layout.traceBytes);
    const size_t got = file.Read(offset, in.data(), want);
    if (got < want) {
      const int64_t complete = int64_t(got) / layout.traceBytes;
      const int64_t part = int64_t(got) % layout.traceBytes;
      const int64_t cut = trace + complete;
      if (part >= headerBytes) {
        std::fill(in.begin() + std::ptrdiff_t(got), in.begin() + std::ptrdiff_t((complete + 1) * layout.traceBytes), 0);
        NoteCutTrace(tape, cut, part - headerBytes, layout.traceBytes - headerBytes);
        count = complete + 1;
      } else {
        Note(tape + ": trace " + std::to_string(cut) + " is cut short in its header (" + std::to_string(part) +
             " of " + std::to_string(headerBytes) + " bytes): not written");
        count = complete;
      }
      status = kDamagedInput;
    }
    for (int64_t i = 0; i < count; ++i) {
      const uint8_t* p = in.data() + i * layout.traceBytes;
      const int ns = layout.bigEndian ? GetBE16u(p + 114) : static_cast<uint16_t>(GetLE16(p + 114));
      if (ns != 0 && ns != layout.ns && !nsForced && otherNs++ == 0) {
        Note(tape + ": trace " + std::to_string(trace + i) + " says " + std::to_string(ns) +
             " samples in its header, the file " + std::to_string(layout.ns) + ": read at the file's length");
      }
      SegyTraceToSu(layout, conv, p, out.data() + i * suBytes);
    }
    output.Write(out.data(), size_t(count * suBytes));
    if (got < want) break;
  }
  if (otherNs > 0) {
    Note(tape + ": " + std::to_string(otherNs) + " trace header(s) give another sample count than " +
         std::to_string(layout.ns) + "; if the traces really differ in length, the SU traces are wrong from the "
         "first of them on");
    status = kDamagedInput;
  }
  output.Flush();
  return headersWritten ? status : 1;
}

}  // namespace
}  // namespace vexmor::su

int main(int argc, char** argv) {
  return vexmor::su::RunTool("segyread", vexmor::su::kUsage, argc, argv, true, vexmor::su::Main);
}
