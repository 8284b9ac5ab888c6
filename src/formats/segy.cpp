#include "formats/segy.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "core/binary_file.h"
#include "core/byte_order.h"
#include "core/su_trace.h"

namespace vexmor::segy {

namespace {

constexpr std::array<SampleFormat, 13> kFormats = {{
    {1, 4, "4-byte IBM float"},
    {2, 4, "4-byte signed integer"},
    {3, 2, "2-byte signed integer"},
    {5, 4, "4-byte IEEE float"},
    {6, 8, "8-byte IEEE float"},
    {7, 3, "3-byte signed integer"},
    {8, 1, "1-byte signed integer"},
    {9, 8, "8-byte signed integer"},
    {10, 4, "4-byte unsigned integer"},
    {11, 2, "2-byte unsigned integer"},
    {12, 8, "8-byte unsigned integer"},
    {15, 3, "3-byte unsigned integer"},
    {16, 1, "1-byte unsigned integer"},
}};

// Reads one sample of w bytes as an unsigned big-endian pattern.
inline uint64_t Pattern(const uint8_t* p, int w, bool bigEndian) {
  uint64_t v = 0;
  if (bigEndian) {
    for (int i = 0; i < w; ++i) v = v << 8 | p[i];
  } else {
    for (int i = w - 1; i >= 0; --i) v = v << 8 | p[i];
  }
  return v;
}

inline void PutFloat(uint8_t* out, float f) {
  const uint32_t bits = FloatBits(f);
  std::memcpy(out, &bits, 4);  // this machine is little-endian, as SU is
}

inline uint32_t Load32(const uint8_t* p, bool bigEndian) {
  uint32_t v;
  std::memcpy(&v, p, 4);
  return bigEndian ? Swap32(v) : v;
}

// Out-of-range doubles become infinities rather than undefined casts.
inline float DoubleToFloat(double d) {
  if (d > std::numeric_limits<float>::max()) return std::numeric_limits<float>::infinity();
  if (d < -std::numeric_limits<float>::max()) return -std::numeric_limits<float>::infinity();
  return static_cast<float>(d);
}

// IBM to IEEE for exponents up to 96, where no float overflows: the 24-bit
// fraction times 2^(4e - 280) is exact in double and rounds to float as the
// general conversion does. No table and no data-dependent branch, so the
// compiler can work on several samples at once.
inline float FastIbm(uint32_t ibm) {
  const uint64_t scaleBits = uint64_t(4 * ((ibm >> 24) & 0x7F) + 743) << 52;
  const double magnitude = double(int32_t(ibm & 0x00FFFFFFu)) * std::bit_cast<double>(scaleBits);
  return BitsFloat(FloatBits(static_cast<float>(magnitude)) | (ibm & 0x80000000u));
}

}  // namespace

namespace {

// Samples whose exponents all stay in range take the fast loop, a trace at a
// time; the others the exact general conversion. Built for AVX2 as well,
// chosen when the processor has it.
__attribute__((target_clones("avx2", "default")))
void IbmSamples(bool bigEndian, const uint8_t* in, int64_t n, uint8_t* out) {
  uint32_t worst = 0;
  for (int64_t i = 0; i < n; ++i) {
    uint32_t w;
    std::memcpy(&w, in + 4 * i, 4);
    if (bigEndian) w = Swap32(w);
    worst = std::max(worst, w & 0x7FFFFFFFu);
  }
  if (worst > 0x60FFFFFFu) {
    for (int64_t i = 0; i < n; ++i) PutFloat(out + 4 * i, IbmToFloat(Load32(in + 4 * i, bigEndian)));
    return;
  }
  for (int64_t i = 0; i < n; ++i) {
    uint32_t w;
    std::memcpy(&w, in + 4 * i, 4);
    if (bigEndian) w = Swap32(w);
    const float f = FastIbm(w);
    std::memcpy(out + 4 * i, &f, 4);
  }
}

}  // namespace

const SampleFormat* FindSampleFormat(int code) {
  for (const auto& f : kFormats) {
    if (f.code == code) return &f;
  }
  return nullptr;
}

void SamplesToFloat(const SampleFormat& format, bool bigEndian, const uint8_t* in, int64_t n, uint8_t* out) {
  const int w = format.bytes;
  switch (format.code) {
    case 1:
      IbmSamples(bigEndian, in, n, out);
      return;
    case 5:
      SamplesKeepBits(bigEndian, in, n, out);
      return;
    case 2:
      for (int64_t i = 0; i < n; ++i)
        PutFloat(out + 4 * i, static_cast<float>(static_cast<int32_t>(Load32(in + 4 * i, bigEndian))));
      return;
    default:
      break;
  }
  for (int64_t i = 0; i < n; ++i) {
    const uint64_t v = Pattern(in + w * i, w, bigEndian);
    float f = 0;
    switch (format.code) {
      case 3: f = static_cast<float>(static_cast<int16_t>(v)); break;
      case 6: f = DoubleToFloat(std::bit_cast<double>(v)); break;
      case 7: f = static_cast<float>(static_cast<int32_t>(static_cast<uint32_t>(v << 8)) >> 8); break;
      case 8: f = static_cast<float>(static_cast<int8_t>(v)); break;
      case 9: f = static_cast<float>(static_cast<int64_t>(v)); break;
      case 10: f = static_cast<float>(static_cast<uint32_t>(v)); break;
      case 11: f = static_cast<float>(static_cast<uint16_t>(v)); break;
      case 12: f = static_cast<float>(v); break;
      case 15: f = static_cast<float>(static_cast<uint32_t>(v)); break;
      case 16: f = static_cast<float>(static_cast<uint8_t>(v)); break;
      default: break;
    }
    PutFloat(out + 4 * i, f);
  }
}

void SamplesKeepBits(bool bigEndian, const uint8_t* in, int64_t n, uint8_t* out) {
  if (!bigEndian) {
    std::memcpy(out, in, size_t(n) * 4);
    return;
  }
  for (int64_t i = 0; i < n; ++i) {
    uint32_t v;
    std::memcpy(&v, in + 4 * i, 4);
    v = Swap32(v);
    std::memcpy(out + 4 * i, &v, 4);
  }
}

void SwapTraceWords(uint8_t* header) {
  const auto& words = SuWords();
  for (const auto& w : words) {
    if (w.offset >= kSegyWordsEnd) break;
    SwapField(header + w.offset, w.width);
  }
}

const std::vector<BinField>& BinaryHeaderFields() {
  static const std::vector<BinField> fields = [] {
    std::vector<BinField> f = {{0, 4}, {4, 4}, {8, 4}};
    for (int at = 12; at < 60; at += 2) f.push_back({at, 2});  // ntrpr .. vpol
    for (int at : {60, 64, 68}) f.push_back({at, 4});           // extended counts
    f.push_back({72, 8});                                       // extended dt (double)
    f.push_back({80, 4});
    f.push_back({84, 8});
    f.push_back({92, 4});
    f.push_back({96, 4});  // byte order constant
    f.push_back({302, 2});
    f.push_back({304, 2});
    f.push_back({306, 4});
    f.push_back({310, 2});
    f.push_back({312, 8});
    f.push_back({320, 8});
    f.push_back({328, 4});
    return f;
  }();
  return fields;
}

void SwapBinaryHeader(uint8_t* bin) {
  for (const auto& f : BinaryHeaderFields()) SwapField(bin + f.offset, f.width);
}

namespace {

// EBCDIC (code page 037) to ASCII; characters without an ASCII twin become blanks.
const std::array<uint8_t, 256>& EbcdicTable() {
  static const std::array<uint8_t, 256> table = [] {
    std::array<uint8_t, 256> t;
    t.fill(' ');
    t[0x25] = '\n';
    t[0x15] = '\n';
    t[0x0D] = '\r';
    t[0x05] = '\t';
    const char* special =
        "\x40 \x4B.\x4C<\x4D(\x4E+\x4F|\x50&\x5A!\x5B$\x5C*\x5D)\x5E;\x5F^\x60-\x61/\x6B,\x6C%\x6D_"
        "\x6E>\x6F?\x79`\x7A:\x7B#\x7C@\x7D'\x7E=\x7F\"\xA1~\xBA[\xBB]\xC0{\xD0}\xE0\\";
    for (const char* p = special; p[0] && p[1]; p += 2) t[uint8_t(p[0])] = uint8_t(p[1]);
    for (int i = 0; i < 9; ++i) {
      t[0x81 + i] = uint8_t('a' + i);
      t[0xC1 + i] = uint8_t('A' + i);
      t[0x91 + i] = uint8_t('j' + i);
      t[0xD1 + i] = uint8_t('J' + i);
    }
    for (int i = 0; i < 8; ++i) {
      t[0xA2 + i] = uint8_t('s' + i);
      t[0xE2 + i] = uint8_t('S' + i);
    }
    for (int i = 0; i < 10; ++i) t[0xF0 + i] = uint8_t('0' + i);
    return t;
  }();
  return table;
}

const std::array<uint8_t, 256>& AsciiTable() {
  static const std::array<uint8_t, 256> table = [] {
    std::array<uint8_t, 256> t;
    t.fill(0x40);
    const auto& e = EbcdicTable();
    for (int c = 255; c >= 0; --c) {
      if (e[c] != ' ' || c == 0x40) t[e[c]] = uint8_t(c);
    }
    t['\n'] = 0x25;
    t[0] = 0x00;
    return t;
  }();
  return table;
}

}  // namespace

uint8_t EbcdicToAscii(uint8_t c) { return EbcdicTable()[c]; }
uint8_t AsciiToEbcdic(uint8_t c) { return AsciiTable()[c]; }

bool LooksEbcdic(const uint8_t* text, size_t n) {
  size_t ebcdic = 0;
  size_t ascii = 0;
  for (size_t i = 0; i < n; ++i) {
    const uint8_t c = text[i];
    if (c == 0x40 || (c >= 0xC1 && c <= 0xF9)) ++ebcdic;
    if (c == 0x20 || (c >= '0' && c <= 'z')) ++ascii;
  }
  return ebcdic > ascii;
}


namespace {

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

void FindByteOrder(const SegyOptions& options, const uint8_t* head, int64_t size, SegyLayout& layout,
                   const std::function<void(const std::string&)>& note) {
  if (options.endian) {
    const int64_t endian = *options.endian;
    if (endian != 0 && endian != 1) throw SegyError("endian must be 0 (big-endian file) or 1 (little-endian file)");
    layout.bigEndian = endian == 0;
    layout.byteOrderFoundBy = "as endian= says";
    const uint32_t mark = GetBE32u(head + kTextHeaderBytes + bin::kByteOrder);
    if ((mark == 0x01020304u && !layout.bigEndian) || (mark == 0x04030201u && layout.bigEndian)) {
      note("warning: the binary header's byte order mark says " + std::string(layout.bigEndian ? "little" : "big") +
           "-endian, against endian=" + std::to_string(endian));
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
int64_t FirstTraceOffset(BinaryFile& file, const uint8_t* bin, bool big, int64_t size, int revision) {
  if (revision < 1) return kSegyHeaderBytes;
  const std::string& tape = file.Path();
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
      throw SegyError(tape + ": the binary header announces " + std::to_string(extText) +
                      " extended text headers, more than the file holds");
    }
    return first;
  }
  std::vector<uint8_t> block(kTextHeaderBytes);
  for (int64_t at = kSegyHeaderBytes; at + kTextHeaderBytes <= size; at += kTextHeaderBytes) {
    if (file.Read(at, block.data(), block.size()) != block.size()) break;
    const bool ebcdic = LooksEbcdic(block.data(), block.size());
    std::string text(block.size(), ' ');
    for (size_t i = 0; i < block.size(); ++i) text[i] = char(ebcdic ? EbcdicToAscii(block[i]) : block[i]);
    if (text.find("EndText") != std::string::npos) return at + kTextHeaderBytes;
  }
  throw SegyError(tape + ": open count of extended text headers, but no EndText stanza");
}

}  // namespace

bool LooksLikeSegy(std::span<const uint8_t> head) {
  if (head.size() < size_t(kSegyHeaderBytes)) return false;
  const uint8_t* bin = head.data() + kTextHeaderBytes;
  for (const bool big : {true, false}) {
    const int code = static_cast<int16_t>(Get16(bin + bin::kFormat, big));
    const int ns = Get16(bin + bin::kNs, big);
    const int64_t extNs = Get32(bin + bin::kExtNs, big);
    if (FindSampleFormat(code) != nullptr && (ns > 0 || (extNs > 0 && extNs < (int64_t(1) << 24)))) return true;
  }
  return false;
}

SegyLayout ReadSegyLayout(BinaryFile& file, const SegyOptions& options,
                          const std::function<void(const std::string&)>& noteTo) {
  const auto note = [&noteTo](const std::string& text) {
    if (noteTo) noteTo(text);
  };
  const std::string& tape = file.Path();
  const int64_t size = file.Size();
  if (size < kSegyHeaderBytes) {
    throw SegyError(tape + ": not a SEG-Y file: " + std::to_string(size) +
                    " bytes, fewer than the 3600 of the text and binary headers");
  }
  std::vector<uint8_t> headBytes(kSegyHeaderBytes + kTraceHeaderBytes, 0);
  file.Read(0, headBytes.data(), headBytes.size());
  const uint8_t* head = headBytes.data();

  SegyLayout layout;
  layout.fileSize = size;
  FindByteOrder(options, head, size, layout, note);
  const bool big = layout.bigEndian;
  const uint8_t* bin = head + kTextHeaderBytes;

  const int fileCode = static_cast<int16_t>(Get16(bin + bin::kFormat, big));
  const int over = static_cast<int>(options.over);
  layout.formatCode = fileCode;
  if (options.format) {
    if (over == 1) {
      // The code is a 16-bit word: a wider number must not wrap onto a known one.
      if (*options.format < -32768 || *options.format > 32767) {
        throw SegyError("format=" + std::to_string(*options.format) + " is not a sample format we read");
      }
      layout.formatCode = static_cast<int>(*options.format);
    } else {
      note("format= is taken only with over=1; the binary header's code " + std::to_string(fileCode) + " is used");
    }
  }
  layout.format = FindSampleFormat(layout.formatCode);
  if (layout.format == nullptr) {
    if (over == 1 && !options.format) {
      note(tape + ": unknown sample format code " + std::to_string(fileCode) + ", read as 4-byte IBM float (over=1)");
      layout.format = FindSampleFormat(1);
      layout.formatCode = 1;
    } else if (options.format && over == 1) {
      throw SegyError("format=" + std::to_string(layout.formatCode) + " is not a sample format we read");
    } else {
      const int other = static_cast<int16_t>(Get16(bin + bin::kFormat, !big));
      const bool otherKnown = FindSampleFormat(other) != nullptr;
      if (otherKnown && options.endian) {
        throw SegyError(tape + ": sample format code " + std::to_string(fileCode) + " read " +
                        (big ? "big" : "little") + "-endian is not one we know, but read " + (big ? "little" : "big") +
                        "-endian it is " + std::to_string(other) + ": the file is " + (big ? "little" : "big") +
                        "-endian, give endian=" + (big ? "1" : "0") + " or leave endian= out");
      }
      throw SegyError(tape + (otherKnown ? ": " : ": not a SEG-Y file we can read: ") + "sample format code " +
                      std::to_string(fileCode) + " in the binary header (" + (big ? "big" : "little") +
                      "-endian) is not one we know; over=1 format=N forces one");
    }
  }

  layout.revision = bin[bin::kMajorRev];
  if (layout.revision > 3) layout.revision = 0;  // rev 0 files hold anything here
  layout.firstTrace = FirstTraceOffset(file, bin, big, size, layout.revision);
  if (layout.revision >= 2) {
    const uint32_t extra = Get32(bin + bin::kExtraTraceHeaders, big);
    layout.extraHeaders = extra < 1000 ? extra : 0;
  }

  // The count and where it came from, so that a refusal names the header
  // that gave it rather than blaming a parameter nobody typed.
  int64_t ns = Get16(bin + bin::kNs, big);
  std::string nsFrom = "the binary header";
  if (ns == 0 && layout.revision >= 2) {
    ns = Get32(bin + bin::kExtNs, big);
    nsFrom = "the binary header's 32-bit count";
  }
  const bool haveTrace = layout.firstTrace + kTraceHeaderBytes <= size;
  if (ns == 0 && haveTrace) {
    uint8_t header[kTraceHeaderBytes];
    if (file.Read(layout.firstTrace, header, sizeof header) == sizeof header) ns = Get16(header + 114, big);
    nsFrom = "the first trace header";
  }
  // ns=0 (a probe that found no count) leaves the count to the headers.
  if (options.ns && *options.ns > 0) {
    ns = *options.ns;
    nsFrom = "ns=";
  }
  if (ns <= 0) {
    throw SegyError(tape + (haveTrace ? ": no samples per trace in the binary header nor in the first trace header"
                                      : ": no samples per trace in the binary header, and no trace header behind it") +
                    "; give ns=");
  }
  if (ns > 65535) {
    throw SegyError(tape + ": " + nsFrom + " gives " + std::to_string(ns) +
                    " samples per trace, more than an SU trace holds (65535)");
  }
  layout.ns = ns;
  layout.dt = Get16(bin + bin::kDt, big);
  layout.traceBytes = kTraceHeaderBytes * (1 + layout.extraHeaders) + layout.ns * layout.format->bytes;
  return layout;
}

void SegyTraceToSu(const SegyLayout& layout, bool conv, const uint8_t* in, uint8_t* out) {
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

}  // namespace vexmor::segy
