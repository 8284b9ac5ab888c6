// segywrite: SU traces on standard input to a SEG-Y file, with the reel
// headers `header` and `binary` that segyhdrs (or segyread) left in the
// current folder. The text header goes out in EBCDIC; the binary header
// gets the format code of the samples written.
#include <fcntl.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <vector>

#include "core/byte_order.h"
#include "core/paths.h"
#include "core/su_trace.h"
#include "su_stream.h"
#include "su_tool.h"

namespace vexmor::su {
namespace {

const char* kUsage =
    "segywrite - write SU traces as a SEG-Y file\n"
    "\n"
    "  segywrite < in.su tape=FILE [parameters]\n"
    "\n"
    "  tape=        the SEG-Y file written (required)\n"
    "  hfile=header the text header (from segyhdrs or segyread)\n"
    "  bfile=binary the binary header (from segyhdrs or segyread, either byte order)\n"
    "  conv=1       samples as IBM float (format 1); 0 as IEEE float (format 5)\n"
    "  endian=0     0 big-endian (standard) file, 1 little-endian\n"
    "  trmin=1      first trace written (from 1)\n"
    "  trmax=       last trace written (default: the last one)\n"
    "  buffer=, errmax=  accepted for tape drives; no effect on disk files\n";

std::vector<uint8_t> TextHeaderFor(const std::string& path) {
  auto text = ReadSmallFile(path, kTextHeaderBytes + 1);
  if (text.size() < size_t(kTextHeaderBytes)) {
    throw ToolError(path + ": " + std::to_string(text.size()) + " bytes, a text header has 3200 (run segyhdrs first)");
  }
  text.resize(kTextHeaderBytes);
  if (!LooksEbcdic(text.data(), text.size())) {
    for (auto& c : text) c = AsciiToEbcdic(c);
  }
  return text;
}

// The binary header in little-endian order, whichever order the file had.
std::vector<uint8_t> BinaryHeaderFor(const std::string& path) {
  auto bin = ReadSmallFile(path, kBinHeaderBytes + 1);
  if (bin.size() < size_t(kBinHeaderBytes)) {
    throw ToolError(path + ": " + std::to_string(bin.size()) + " bytes, a binary header has 400 (run segyhdrs first)");
  }
  bin.resize(kBinHeaderBytes);
  bool big = false;
  if (GetBE32u(bin.data() + bin::kByteOrder) == 0x01020304u) {
    big = true;
  } else if (GetBE32u(bin.data() + bin::kByteOrder) != 0x04030201u) {
    const bool knownLE = FindSampleFormat(GetLE16(bin.data() + bin::kFormat)) != nullptr;
    const bool knownBE = FindSampleFormat(static_cast<int16_t>(GetBE16u(bin.data() + bin::kFormat))) != nullptr;
    big = knownBE && !knownLE;
  }
  if (big) SwapBinaryHeader(bin.data());
  return bin;
}

void SetU16(uint8_t* p, int64_t v) { PutLE16(p, static_cast<int16_t>(static_cast<uint16_t>(v))); }

int Main(int argc, char** argv) {
  const Params params("segywrite", argc, argv,
                      {"tape", "hfile", "bfile", "conv", "endian", "trmin", "trmax", "buffer", "errmax", "verbose"});
  if (!params.Has("tape")) throw ToolError("tape= is missing: give the SEG-Y file to write");
  const std::string tape = params.Text("tape", "");
  const bool conv = params.Int("conv", 1, kSwitch) != 0;
  const int64_t endian = params.Int("endian", 0, kSwitch);
  const bool big = endian == 0;
  const int64_t trmin = params.Int("trmin", 1, kTraceNumber);
  const int64_t trmax = params.Int("trmax", INT64_MAX, kTraceNumber);
  if (trmin < 1 || trmax < trmin) throw ToolError("trmin and trmax must give 1 <= trmin <= trmax");
  params.Int("buffer", 0, kCount);
  params.Int("errmax", 0, kCount);

  const auto text = TextHeaderFor(ResolveExisting(params.Text("hfile", "header")));
  auto bin = BinaryHeaderFor(ResolveExisting(params.Text("bfile", "binary")));

  SuReader reader;
  bool have = reader.Next();
  while (have && reader.Count() < trmin) have = reader.Next();
  if (!have) throw ToolError("standard input: no SU trace" + std::string(trmin > 1 ? " from trmin on" : ""));

  // The binary header says what is written: format, sample count, order.
  SetU16(bin.data() + bin::kFormat, conv ? 1 : 5);
  SetU16(bin.data() + bin::kNs, reader.Ns());
  if (GetLE16(bin.data() + bin::kDt) == 0) SetU16(bin.data() + bin::kDt, static_cast<uint16_t>(GetLE16(reader.Trace().data() + 116)));
  PutLE32(bin.data() + bin::kByteOrder, 0x01020304);
  PutLE16(bin.data() + bin::kExtTextHeaders, 0);
  std::memset(bin.data() + bin::kFirstTrace64, 0, 8);
  if (!big && bin[bin::kMajorRev] < 2) {  // little-endian SEG-Y exists from rev 2 on
    bin[bin::kMajorRev] = 2;
    bin[bin::kMinorRev] = 0;
  }
  if (big) SwapBinaryHeader(bin.data());

  const int fd = open(tape.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  if (fd < 0) throw ToolError(tape + ": cannot write: " + std::strerror(errno));
  int status = 0;
  try {
    Output output(fd, tape);
    output.Write(text.data(), text.size());
    output.Write(bin.data(), bin.size());
    std::vector<uint8_t> out;
    const int firstNs = reader.Ns();
    bool told = false;
    while (have && reader.Count() <= trmax) {
      auto& trace = reader.Trace();
      const int ns = reader.Ns();
      if (ns != firstNs && !told) {
        Note("trace " + std::to_string(reader.Count()) + " has " + std::to_string(ns) + " samples, the first " +
             std::to_string(firstNs) + ": written as it is, but most readers expect one length");
        told = true;
      }
      out.resize(trace.size());
      std::memcpy(out.data(), trace.data(), kTraceHeaderBytes);
      if (big) SwapTraceWords(out.data());
      for (int i = 0; i < ns; ++i) {
        const uint8_t* s = trace.data() + kTraceHeaderBytes + 4 * i;
        uint32_t bits = static_cast<uint32_t>(GetLE32(s));
        if (conv) bits = FloatToIbm(BitsFloat(bits));
        if (big) bits = Swap32(bits);
        std::memcpy(out.data() + kTraceHeaderBytes + 4 * i, &bits, 4);
      }
      output.Write(out.data(), out.size());
      have = reader.Next();
    }
    output.Flush();
  } catch (const ToolError&) {
    // The message names the file that failed: the tape, or standard input.
    close(fd);
    throw;
  }
  if (close(fd) != 0) throw ToolError(tape + ": cannot write: " + std::strerror(errno));
  if (reader.Truncated()) status = kDamagedInput;
  return status;
}

}  // namespace
}  // namespace vexmor::su

int main(int argc, char** argv) {
  return vexmor::su::RunTool("segywrite", vexmor::su::kUsage, argc, argv, true, vexmor::su::Main);
}
