// segyread: SEG-Y (rev 0, 1, 2) to SU traces on standard output.
//
//   | text header 3200 | binary header 400 | extended text headers 3200 x N |
//   | trace header 240 | (rev 2: extra 240-byte headers) | ns samples | ...
//
// Trace header bytes 1..180 are the SU words 1..71; bytes 181..240 are
// copied as they stand. SU output is little-endian whatever the file.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "core/byte_order.h"
#include "core/paths.h"
#include "core/su_trace.h"
#include "sample_formats.h"
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

struct Layout {
  bool bigEndian = true;
  std::string byteOrderFoundBy;
  const SampleFormat* format = nullptr;
  int formatCode = 0;
  int64_t ns = 0;
  int dt = 0;
  int revision = 0;
  int64_t firstTrace = kSegyHeaderBytes;
  int64_t extraHeaders = 0;
  int64_t traceBytes = 0;
};

uint16_t Get16(const uint8_t* p, bool big) { return big ? GetBE16u(p) : static_cast<uint16_t>(GetLE16(p)); }
uint32_t Get32(const uint8_t* p, bool big) { return big ? GetBE32u(p) : static_cast<uint32_t>(GetLE32(p)); }

// How well the headers read in one byte order: a known format code, a
// sample count that the first trace header repeats, traces that fill the file.
int OrderScore(const uint8_t* head, int64_t size, bool big) {
  const uint8_t* bin = head + kTextHeaderBytes;
  int score = 0;
  const auto* format = FindSampleFormat(static_cast<int16_t>(Get16(bin + bin::kFormat, big)));
  if (format != nullptr) score += 2;
  const int ns = Get16(bin + bin::kNs, big);
  const int64_t traceNs = size >= kSegyHeaderBytes + kTraceHeaderBytes ? Get16(head + kSegyHeaderBytes + 114, big) : -1;
  if (ns > 0 && ns == traceNs) score += 2;
  if (format != nullptr && ns > 0) {
    const int64_t traceBytes = kTraceHeaderBytes + int64_t(ns) * format->bytes;
    if ((size - kSegyHeaderBytes) % traceBytes == 0) score += 1;
  }
  return score;
}

void FindByteOrder(const Params& params, const uint8_t* head, int64_t size, Layout& layout) {
  const auto endian = params.IntIfGiven("endian");
  if (endian) {
    if (*endian != 0 && *endian != 1) throw ToolError("endian must be 0 (big-endian file) or 1 (little-endian file)");
    layout.bigEndian = *endian == 0;
    layout.byteOrderFoundBy = "as endian= says";
    const uint32_t mark = GetBE32u(head + kTextHeaderBytes + bin::kByteOrder);
    if ((mark == 0x01020304u && !layout.bigEndian) || (mark == 0x04030201u && layout.bigEndian)) {
      Note("warning: the binary header's byte order mark says " + std::string(layout.bigEndian ? "little" : "big") +
           "-endian, against endian=" + std::to_string(*endian));
    }
    return;
  }
  const uint8_t* mark = head + kTextHeaderBytes + bin::kByteOrder;
  if (GetBE32u(mark) == 0x01020304u) {
    layout.bigEndian = true;
    layout.byteOrderFoundBy = "from the byte order mark of the binary header";
    return;
  }
  if (GetBE32u(mark) == 0x04030201u) {
    layout.bigEndian = false;
    layout.byteOrderFoundBy = "from the byte order mark of the binary header";
    return;
  }
  layout.bigEndian = OrderScore(head, size, true) >= OrderScore(head, size, false);
  layout.byteOrderFoundBy = "from the format code and sample count of the binary header";
}

// Where the traces start: behind the extended text headers, which rev 1
// counts and rev 2 may leave open (-1), ending with an EndText stanza.
int64_t FirstTraceOffset(int fd, const std::string& tape, const uint8_t* bin, bool big, int64_t size, int revision) {
  if (revision < 1) return kSegyHeaderBytes;
  const int extText = static_cast<int16_t>(Get16(bin + bin::kExtTextHeaders, big));
  if (revision >= 2) {
    const uint64_t first = big ? GetBE64u(bin + bin::kFirstTrace64) : [&] {
      uint64_t v;
      std::memcpy(&v, bin + bin::kFirstTrace64, 8);
      return v;
    }();
    if (first >= uint64_t(kSegyHeaderBytes) && first < uint64_t(size)) return static_cast<int64_t>(first);
  }
  if (extText >= 0) {
    const int64_t first = kSegyHeaderBytes + int64_t(extText) * kTextHeaderBytes;
    if (first > size) {
      throw ToolError(tape + ": the binary header announces " + std::to_string(extText) +
                      " extended text headers, more than the file holds");
    }
    return first;
  }
  std::vector<uint8_t> block(kTextHeaderBytes);
  for (int64_t at = kSegyHeaderBytes; at + kTextHeaderBytes <= size; at += kTextHeaderBytes) {
    if (pread(fd, block.data(), block.size(), at) != ssize_t(block.size())) break;
    const bool ebcdic = LooksEbcdic(block.data(), block.size());
    std::string text(block.size(), ' ');
    for (size_t i = 0; i < block.size(); ++i) text[i] = char(ebcdic ? EbcdicToAscii(block[i]) : block[i]);
    if (text.find("EndText") != std::string::npos) return at + kTextHeaderBytes;
  }
  throw ToolError(tape + ": open count of extended text headers, but no EndText stanza");
}

Layout ReadLayout(const Params& params, int fd, const std::string& tape, const uint8_t* head, int64_t size) {
  Layout layout;
  FindByteOrder(params, head, size, layout);
  const bool big = layout.bigEndian;
  const uint8_t* bin = head + kTextHeaderBytes;

  const int fileCode = static_cast<int16_t>(Get16(bin + bin::kFormat, big));
  const int over = static_cast<int>(params.Int("over", 0));
  layout.formatCode = fileCode;
  if (params.Has("format")) {
    if (over == 1) {
      layout.formatCode = static_cast<int>(params.Int("format", 1));
    } else {
      Note("format= is taken only with over=1; the binary header's code " + std::to_string(fileCode) + " is used");
    }
  }
  layout.format = FindSampleFormat(layout.formatCode);
  if (layout.format == nullptr) {
    if (over == 1 && !params.Has("format")) {
      Note(tape + ": unknown sample format code " + std::to_string(fileCode) + ", read as 4-byte IBM float (over=1)");
      layout.format = FindSampleFormat(1);
      layout.formatCode = 1;
    } else if (params.Has("format") && over == 1) {
      throw ToolError("format=" + std::to_string(layout.formatCode) + " is not a sample format we read");
    } else {
      const int other = static_cast<int16_t>(Get16(bin + bin::kFormat, !big));
      const bool otherKnown = FindSampleFormat(other) != nullptr;
      if (otherKnown && params.Has("endian")) {
        throw ToolError(tape + ": sample format code " + std::to_string(fileCode) + " read " +
                        (big ? "big" : "little") + "-endian is not one we know, but read " + (big ? "little" : "big") +
                        "-endian it is " + std::to_string(other) + ": the file is " + (big ? "little" : "big") +
                        "-endian, give endian=" + (big ? "1" : "0") + " or leave endian= out");
      }
      throw ToolError(tape + (otherKnown ? ": " : ": not a SEG-Y file we can read: ") + "sample format code " +
                      std::to_string(fileCode) + " in the binary header (" + (big ? "big" : "little") +
                      "-endian) is not one we know; over=1 format=N forces one");
    }
  }

  layout.revision = bin[bin::kMajorRev];
  if (layout.revision > 3) layout.revision = 0;  // rev 0 files hold anything here
  layout.firstTrace = FirstTraceOffset(fd, tape, bin, big, size, layout.revision);
  if (layout.revision >= 2) {
    const uint32_t extra = Get32(bin + bin::kExtraTraceHeaders, big);
    layout.extraHeaders = extra < 1000 ? extra : 0;
  }

  layout.ns = Get16(bin + bin::kNs, big);
  if (layout.ns == 0 && layout.revision >= 2) layout.ns = static_cast<int32_t>(Get32(bin + bin::kExtNs, big));
  if (layout.ns <= 0 && layout.firstTrace + kTraceHeaderBytes <= size) {
    uint8_t header[kTraceHeaderBytes];
    if (pread(fd, header, sizeof header, layout.firstTrace) == ssize_t(sizeof header)) layout.ns = Get16(header + 114, big);
  }
  // ns=0 (a probe that found no count) leaves the count to the headers.
  if (const auto ns = params.IntIfGiven("ns"); ns && *ns > 0) layout.ns = *ns;
  if (layout.ns <= 0) {
    throw ToolError(tape + ": no samples per trace in the binary header nor in the first trace header; give ns=");
  }
  if (layout.ns > 65535) throw ToolError("ns=" + std::to_string(layout.ns) + " is more than an SU trace holds (65535)");
  layout.dt = Get16(bin + bin::kDt, big);
  layout.traceBytes = kTraceHeaderBytes * (1 + layout.extraHeaders) + layout.ns * layout.format->bytes;
  return layout;
}

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

// One SEG-Y trace (file order) to one SU trace.
void ConvertTrace(const Layout& layout, bool conv, const uint8_t* in, uint8_t* out) {
  std::memcpy(out, in, kTraceHeaderBytes);
  if (layout.bigEndian) SwapTraceWords(out);
  PutLE16(out + 114, static_cast<int16_t>(static_cast<uint16_t>(layout.ns)));
  if (GetLE16(out + 116) == 0) PutLE16(out + 116, static_cast<int16_t>(static_cast<uint16_t>(layout.dt)));
  const uint8_t* samples = in + kTraceHeaderBytes * (1 + layout.extraHeaders);
  if (conv || layout.format->bytes != 4) {
    SamplesToFloat(*layout.format, layout.bigEndian, samples, layout.ns, out + kTraceHeaderBytes);
  } else {
    SamplesKeepBits(layout.bigEndian, samples, layout.ns, out + kTraceHeaderBytes);
  }
}

class Fd {
 public:
  explicit Fd(int fd) : fd_(fd) {}
  ~Fd() {
    if (fd_ >= 0) close(fd_);
  }
  int get() const { return fd_; }

 private:
  int fd_;
};

int Main(int argc, char** argv) {
  const Params params("segyread", argc, argv,
                      {"tape", "hfile", "bfile", "conv", "over", "format", "endian", "ns", "trmin", "trmax",
                       "verbose", "vblock", "buff", "remap", "byte", "errmax"});
  if (!params.Has("tape")) throw ToolError("tape= is missing: give the SEG-Y file to read");
  const std::string tape = ResolveExisting(params.Text("tape", ""));
  const bool conv = params.Int("conv", 1) != 0;
  const int64_t trmin = params.Int("trmin", 1);
  const int64_t trmax = params.Int("trmax", INT64_MAX);
  if (trmin < 1 || trmax < trmin) throw ToolError("trmin and trmax must give 1 <= trmin <= trmax");
  RequireOutputNotTerminal();

  const Fd fd(open(tape.c_str(), O_RDONLY));
  if (fd.get() < 0) throw ToolError(tape + ": cannot open: " + std::strerror(errno));
  struct stat st {};
  if (fstat(fd.get(), &st) != 0 || !S_ISREG(st.st_mode)) throw ToolError(tape + ": not a plain file");
  const int64_t size = st.st_size;
  if (size < kSegyHeaderBytes) {
    throw ToolError(tape + ": not a SEG-Y file: " + std::to_string(size) +
                    " bytes, fewer than the 3600 of the text and binary headers");
  }
  posix_fadvise(fd.get(), 0, 0, POSIX_FADV_SEQUENTIAL);
  std::vector<uint8_t> head(kSegyHeaderBytes + kTraceHeaderBytes, 0);
  ReadFully(fd.get(), head.data(), head.size());

  const Layout layout = ReadLayout(params, fd.get(), tape, head.data(), size);
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
  for (int64_t trace = first; trace <= last; trace += perChunk) {
    const int64_t count = std::min(perChunk, last - trace + 1);
    const int64_t offset = layout.firstTrace + (trace - 1) * layout.traceBytes;
    const size_t want = size_t(count * layout.traceBytes);
    size_t got = 0;
    while (got < want) {
      const ssize_t r = pread(fd.get(), in.data() + got, want - got, offset + int64_t(got));
      if (r < 0 && errno == EINTR) continue;
      if (r < 0) throw ToolError(tape + ": read error: " + std::strerror(errno));
      if (r == 0) break;
      got += size_t(r);
    }
    if (got < want) {
      std::fill(in.begin() + std::ptrdiff_t(got), in.begin() + std::ptrdiff_t(want), 0);
      const int64_t cut = trace + int64_t(got) / layout.traceBytes;
      Note(tape + ": trace " + std::to_string(cut) + " is cut short (" +
           std::to_string(int64_t(got) % layout.traceBytes) + " of " + std::to_string(layout.traceBytes) +
           " bytes): padded with zeros");
      status = 1;
    }
    for (int64_t i = 0; i < count; ++i) {
      ConvertTrace(layout, conv, in.data() + i * layout.traceBytes, out.data() + i * suBytes);
    }
    output.Write(out.data(), size_t(count * suBytes));
  }
  output.Flush();
  return headersWritten ? status : 1;
}

}  // namespace
}  // namespace vexmor::su

int main(int argc, char** argv) {
  return vexmor::su::RunTool("segyread", vexmor::su::kUsage, argc, argv, true, vexmor::su::Main);
}
