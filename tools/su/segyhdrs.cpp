// segyhdrs: writes the two SEG-Y reel headers for an SU file: `header`
// (3200 bytes, 40 lines of 80 ASCII characters) and `binary` (400 bytes).
// The binary header is little-endian and says IEEE float (code 5), so that
// header + binary + the SU file, joined as they stand, is a little-endian
// SEG-Y rev 2 file.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "core/su_trace.h"
#include "su_stream.h"
#include "su_tool.h"

namespace vexmor::su {
namespace {

const char* kUsage =
    "segyhdrs - write the SEG-Y text and binary headers for an SU file\n"
    "\n"
    "  segyhdrs < in.su [ns=N dt=US] [hfile=header] [bfile=binary]\n"
    "\n"
    "  ns=, dt=     samples per trace and sample interval (microseconds);\n"
    "               taken from the first trace of standard input when not given\n"
    "  hfile=header the 3200-byte text header (ASCII)\n"
    "  bfile=binary the 400-byte binary header (little-endian, IEEE float)\n"
    "\n"
    "  header + binary + in.su make a little-endian SEG-Y file:\n"
    "  cat header binary in.su > out.sgy\n";

std::string Line(int number, const std::string& text) {
  char head[8];
  std::snprintf(head, sizeof head, "C%2d ", number);
  std::string line = head + text;
  line.resize(80, ' ');
  return line;
}

std::vector<uint8_t> TextHeader(int ns, int dt) {
  const std::time_t now = std::time(nullptr);
  char date[32] = "";
  std::tm tm {};
  if (localtime_r(&now, &tm) != nullptr) std::strftime(date, sizeof date, "%Y-%m-%d", &tm);
  std::vector<std::string> lines(41);
  lines[1] = "SEG-Y FILE MADE FROM SU TRACES";
  lines[2] = "HEADERS WRITTEN BY SEGYHDRS " + std::string(date);
  lines[4] = "SAMPLES PER TRACE: " + std::to_string(ns) + "   SAMPLE INTERVAL: " + std::to_string(dt) + " US";
  lines[5] = "SAMPLE FORMAT: 4-BYTE IEEE FLOAT (CODE 5)";
  lines[6] = "BYTE ORDER: LITTLE-ENDIAN (LOW BYTE FIRST)";
  lines[7] = "TRACE HEADERS: SEG-Y BYTES 1-180 AS THE SU WORDS";
  lines[39] = "SEG-Y_REV2.0";
  lines[40] = "END TEXTUAL HEADER";
  std::string text;
  for (int i = 1; i <= 40; ++i) text += Line(i, lines[size_t(i)]);
  return std::vector<uint8_t>(text.begin(), text.end());
}

std::vector<uint8_t> BinaryHeader(int ns, int dt) {
  std::vector<uint8_t> bin(kBinHeaderBytes, 0);
  PutLE32(bin.data() + 0, 1);   // job
  PutLE32(bin.data() + 4, 1);   // line
  PutLE32(bin.data() + 8, 1);   // reel
  PutLE16(bin.data() + bin::kDt, static_cast<int16_t>(static_cast<uint16_t>(dt)));
  PutLE16(bin.data() + bin::kDtOrig, static_cast<int16_t>(static_cast<uint16_t>(dt)));
  PutLE16(bin.data() + bin::kNs, static_cast<int16_t>(static_cast<uint16_t>(ns)));
  PutLE16(bin.data() + bin::kNsOrig, static_cast<int16_t>(static_cast<uint16_t>(ns)));
  PutLE16(bin.data() + bin::kFormat, 5);
  PutLE16(bin.data() + 26, 1);  // ensemble fold
  PutLE16(bin.data() + 28, 1);  // traces as recorded
  PutLE16(bin.data() + 30, 1);  // no vertical sum
  PutLE16(bin.data() + 54, 1);  // metres
  PutLE32(bin.data() + bin::kExtNs, ns);
  PutLE32(bin.data() + bin::kByteOrder, 0x01020304);
  bin[bin::kMajorRev] = 2;
  bin[bin::kMinorRev] = 0;
  PutLE16(bin.data() + bin::kFixedLength, 1);
  return bin;
}

// What a walk over an SU file found: the first trace's ns and dt (-1 when
// the file has no trace header), and whether the file ends inside a trace.
struct Walk {
  int64_t ns = -1, dt = -1;
  bool damaged = false;
};

// Only the ns word of each trace is read: a whole SU file is checked at the
// cost of one small read a trace.
Walk WalkSuFile(int fd, int64_t size, const std::string& name, int64_t headerNs) {
  Walk walk;
  int64_t at = 0, trace = 0;
  bool toldLength = false;
  while (at < size) {
    ++trace;
    if (size - at < kTraceHeaderBytes) {
      Note(name + ": trace " + std::to_string(trace) + " is cut short in its header (" + std::to_string(size - at) +
           " of 240 bytes); the SEG-Y made with these headers ends there");
      walk.damaged = true;
      break;
    }
    uint8_t words[4];
    if (pread(fd, words, sizeof words, at + 114) != ssize_t(sizeof words)) {
      throw ToolError(name + ": cannot read: " + std::strerror(errno));
    }
    const int64_t ns = static_cast<uint16_t>(GetLE16(words));
    if (trace == 1) {
      walk.ns = ns;
      walk.dt = static_cast<uint16_t>(GetLE16(words + 2));
    }
    const int64_t expected = headerNs > 0 ? headerNs : walk.ns;
    if (ns != expected && !toldLength) {
      Note(name + ": trace " + std::to_string(trace) + " has " + std::to_string(ns) + " samples, the headers say " +
           std::to_string(expected) + ": most SEG-Y readers expect one length");
      toldLength = true;
    }
    const int64_t bytes = kTraceHeaderBytes + 4 * ns;
    if (size - at < bytes) {
      NoteCutTrace(name, trace, size - at - kTraceHeaderBytes, 4 * ns);
      walk.damaged = true;
      break;
    }
    at += bytes;
  }
  return walk;
}

int Main(int argc, char** argv) {
  const Params params("segyhdrs", argc, argv, {"ns", "dt", "hfile", "bfile", "verbose"});
  // 0 (as an empty field of a panel gives it) means "from the traces";
  // dt -1: not given.
  int64_t ns = params.Int("ns", 0, kSamples);
  int64_t dt = params.Int("dt", -1, kMicroseconds);
  int status = 0;
  struct stat st {};
  const std::string name = DescriptorName(0);
  if (fstat(0, &st) == 0 && S_ISREG(st.st_mode)) {
    // A file (the job scripts' "<input") is checked whole: headers for a
    // file that ends inside a trace would make a broken SEG-Y.
    const Walk walk = WalkSuFile(0, st.st_size, name, ns);
    if (walk.damaged) status = kDamagedInput;
    const bool firstWhole = walk.ns >= 0 && st.st_size >= kTraceHeaderBytes + 4 * walk.ns;
    if (ns == 0 && !firstWhole) throw ToolError(name + ": no whole SU trace to take ns and dt from; give ns= and dt=");
    if (ns == 0) ns = walk.ns;
    if (dt < 0 && firstWhole) dt = walk.dt;
  } else if ((ns == 0 || dt < 0) && !isatty(0)) {
    SuReader reader;
    if (reader.Next() && !reader.Truncated()) {
      if (ns == 0) ns = reader.Ns();
      if (dt < 0) dt = static_cast<uint16_t>(GetLE16(reader.Trace().data() + 116));
    } else if (ns == 0) {
      throw ToolError(reader.Name() + ": no whole SU trace to take ns and dt from; give ns= and dt=");
    }
    // The rest of the pipe is read too, so that a trace cut short is said.
    while (reader.Next()) {
    }
    if (reader.Truncated()) status = kDamagedInput;
  }
  if (ns <= 0 || ns > 65535) throw ToolError("ns must be given or found, from 1 to 65535");
  if (dt < 0) dt = 0;
  const auto text = TextHeader(static_cast<int>(ns), static_cast<int>(dt));
  const auto bin = BinaryHeader(static_cast<int>(ns), static_cast<int>(dt));
  WriteWholeFile(params.Text("hfile", "header"), text.data(), text.size());
  WriteWholeFile(params.Text("bfile", "binary"), bin.data(), bin.size());
  return status;
}

}  // namespace
}  // namespace vexmor::su

int main(int argc, char** argv) {
  return vexmor::su::RunTool("segyhdrs", vexmor::su::kUsage, argc, argv, true, vexmor::su::Main);
}
