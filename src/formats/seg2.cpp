#include "formats/seg2.h"

#include <algorithm>
#include <cerrno>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

#include "core/binary_file.h"
#include "formats/dzt.h"
#include "formats/segy.h"
#include "formats/su.h"

namespace vexmor {

namespace {

constexpr uint16_t kFileBlockId = 0x3A55;
constexpr uint16_t kTraceBlockId = 0x4422;
constexpr int kFixedPart = 32;  // fixed part of both descriptor blocks

uint16_t Get16(const uint8_t* p, bool big) {
  return big ? uint16_t(p[0] << 8 | p[1]) : uint16_t(p[1] << 8 | p[0]);
}
uint32_t Get32(const uint8_t* p, bool big) {
  return big ? uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3]
             : uint32_t(p[3]) << 24 | uint32_t(p[2]) << 16 | uint32_t(p[1]) << 8 | p[0];
}
uint64_t Get64(const uint8_t* p, bool big) {
  const uint64_t a = Get32(p, big), b = Get32(p + 4, big);
  return big ? a << 32 | b : b << 32 | a;
}
void Put16(std::vector<uint8_t>& out, size_t at, uint16_t v, bool big) {
  out[at + (big ? 0 : 1)] = uint8_t(v >> 8);
  out[at + (big ? 1 : 0)] = uint8_t(v);
}
void Put32(std::vector<uint8_t>& out, size_t at, uint32_t v, bool big) {
  for (int k = 0; k < 4; ++k) out[at + size_t(big ? 3 - k : k)] = uint8_t(v >> (8 * k));
}

std::string Hex16(uint16_t v) {
  static const char* digits = "0123456789ABCDEF";
  std::string s = "0x";
  for (int shift = 12; shift >= 0; shift -= 4) s += digits[(v >> shift) & 15];
  return s;
}

[[noreturn]] void Fail(const std::string& name, const std::string& what) {
  throw Seg2Error(name + ": " + what);
}

std::string Trim(std::string_view s) {
  const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
  while (!s.empty() && blank(s.front())) s.remove_prefix(1);
  while (!s.empty() && blank(s.back())) s.remove_suffix(1);
  return std::string(s);
}

struct Terminator {
  std::string chars;  // string terminator, one or two bytes
};

// The strings of a descriptor block, from `bytes` (the block past its fixed
// part). A broken chain ends the list and leaves a note.
std::vector<Seg2String> ParseStrings(std::span<const uint8_t> bytes, bool big, const Terminator& term,
                                     std::vector<std::string>& notes, const std::string& where) {
  std::vector<Seg2String> strings;
  size_t at = 0;
  while (at + 2 <= bytes.size()) {
    const size_t step = Get16(bytes.data() + at, big);
    if (step == 0) break;
    if (step < 2 || at + step > bytes.size()) {
      notes.push_back(where + ": string list broken at byte " + std::to_string(at) + ", rest passed over");
      break;
    }
    std::string_view text(reinterpret_cast<const char*>(bytes.data() + at + 2), step - 2);
    const size_t end = text.find(term.chars);
    if (end != std::string_view::npos) text = text.substr(0, end);
    const size_t nul = text.find('\0');  // a NUL always ends a string
    if (nul != std::string_view::npos) text = text.substr(0, nul);
    const std::string line = Trim(text);
    if (!line.empty()) {
      const size_t gap = line.find_first_of(" \t");
      Seg2String s;
      s.key = line.substr(0, gap);
      for (char& c : s.key) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
      if (gap != std::string::npos) s.value = Trim(std::string_view(line).substr(gap));
      strings.push_back(std::move(s));
    }
    at += step;
  }
  return strings;
}

std::vector<uint8_t> ReadRange(BinaryFile& source, int64_t offset, int64_t n) {
  std::vector<uint8_t> bytes(static_cast<size_t>(n));
  if (n > 0) source.Read(offset, bytes.data(), bytes.size());
  return bytes;
}

Terminator ReadTerminator(const uint8_t* fixed, std::vector<std::string>& notes) {
  Terminator term;
  const int length = fixed[8];
  if (length == 1 || length == 2) {
    term.chars.assign(reinterpret_cast<const char*>(fixed + 9), size_t(length));
  } else {
    if (length != 0) notes.push_back("string terminator length " + std::to_string(length) + " taken as NUL");
    term.chars.assign(1, '\0');
  }
  return term;
}

// tableEnd: where the trace pointer table ends; no trace block lies before.
Seg2Trace ReadTraceDescriptor(BinaryFile& source, const Seg2File& file, int64_t pointer, int64_t tableEnd,
                              size_t index, const Terminator& term, std::vector<std::string>& notes) {
  const std::string& name = file.name;
  const std::string which = "trace " + std::to_string(index + 1);
  if (pointer < tableEnd) {
    Fail(name, which + ": its pointer names byte " + std::to_string(pointer) +
                   ", inside the file descriptor and pointer table (which end at byte " + std::to_string(tableEnd) +
                   "): a damaged pointer table");
  }
  if (pointer + kFixedPart > source.Size()) {
    throw Seg2CutShort(name + ": " + which + ": its descriptor at byte " + std::to_string(pointer) +
                       " lies past the end of the file of " + std::to_string(source.Size()) + " bytes");
  }
  uint8_t fixed[kFixedPart];
  source.Read(pointer, fixed, sizeof fixed);
  const uint16_t id = Get16(fixed, file.bigEndian);
  if (id != kTraceBlockId) {
    Fail(name, which + ": no trace descriptor at byte " + std::to_string(pointer) + " (found " + Hex16(id) +
                   ", expected 0x4422)");
  }
  Seg2Trace trace;
  trace.descriptorOffset = pointer;
  trace.descriptorBytes = Get16(fixed + 2, file.bigEndian);
  trace.dataBytes = Get32(fixed + 4, file.bigEndian);
  const uint32_t samples = Get32(fixed + 8, file.bigEndian);
  trace.format = fixed[12];
  if (trace.descriptorBytes < kFixedPart) {
    Fail(name, which + ": descriptor size " + std::to_string(trace.descriptorBytes) + " is below 32");
  }
  if (trace.format < 1 || trace.format > 5) {
    Fail(name, which + ": unknown sample format code " + std::to_string(trace.format) + " (1 to 5 are defined)");
  }
  if (samples > 32767) {
    Fail(name, which + ": " + std::to_string(samples) + " samples, more than an SU trace holds (32767)");
  }
  trace.samples = static_cast<int32_t>(samples);
  trace.dataOffset = pointer + trace.descriptorBytes;
  const int64_t needed = Seg2SampleBytes(trace.format, trace.samples);
  if (trace.dataOffset > source.Size()) {
    throw Seg2CutShort(name + ": " + which + ": its descriptor ends at byte " + std::to_string(trace.dataOffset) +
                       ", past the end of the file (" + std::to_string(source.Size()) + " bytes): file cut short");
  }
  // The end of the file may cut through the samples: those there are kept.
  trace.presentBytes = std::min(needed, source.Size() - trace.dataOffset);
  if (trace.presentBytes < needed) {
    notes.push_back(which + " cut short by the end of the file: " + std::to_string(trace.presentBytes) + " of its " +
                    std::to_string(needed) + " sample bytes there, the rest padded with zeros");
  }
  if (trace.dataBytes < needed) {
    notes.push_back(which + ": data block size " + std::to_string(trace.dataBytes) + " below the " +
                    std::to_string(needed) + " bytes of its samples; samples read all the same");
  }
  const std::vector<uint8_t> block = ReadRange(source, pointer + kFixedPart, trace.descriptorBytes - kFixedPart);
  trace.strings = ParseStrings(block, file.bigEndian, term, notes, which);
  return trace;
}

// Pointers that name one block twice would make copies of one trace: a
// 200 KB file could claim 65535 traces. Refused before any descriptor is read.
void RefuseRepeatedPointers(const std::string& name, const std::vector<int64_t>& pointers) {
  std::vector<std::pair<int64_t, size_t>> sorted;
  sorted.reserve(pointers.size());
  for (size_t k = 0; k < pointers.size(); ++k) sorted.emplace_back(pointers[k], k);
  std::sort(sorted.begin(), sorted.end());
  for (size_t k = 1; k < sorted.size(); ++k) {
    if (sorted[k].first == sorted[k - 1].first) {
      Fail(name, "the pointers of traces " + std::to_string(sorted[k - 1].second + 1) + " and " +
                     std::to_string(sorted[k].second + 1) + " both name byte " + std::to_string(sorted[k].first) +
                     ": a damaged pointer table; refused rather than writing one trace twice");
    }
  }
}

// Blocks (descriptor and samples) that overlap are the same bytes read as
// two traces: refused as repeated pointers are.
void RefuseOverlaps(const std::string& name, const std::vector<Seg2Trace>& traces) {
  struct Block {
    int64_t begin, end;
    size_t trace;
  };
  std::vector<Block> blocks;
  blocks.reserve(traces.size());
  for (size_t k = 0; k < traces.size(); ++k) {
    const Seg2Trace& t = traces[k];
    blocks.push_back({t.descriptorOffset, t.dataOffset + Seg2SampleBytes(t.format, t.samples), k});
  }
  std::sort(blocks.begin(), blocks.end(), [](const Block& a, const Block& b) { return a.begin < b.begin; });
  for (size_t k = 1; k < blocks.size(); ++k) {
    const Block& a = blocks[k - 1];
    const Block& b = blocks[k];
    if (b.begin < a.end) {
      Fail(name, "the blocks of traces " + std::to_string(a.trace + 1) + " (bytes " + std::to_string(a.begin) +
                     " to " + std::to_string(a.end) + ") and " + std::to_string(b.trace + 1) + " (from byte " +
                     std::to_string(b.begin) + ") overlap: a damaged pointer table or descriptor; refused rather "
                     "than writing the same bytes twice");
    }
  }
}

}  // namespace

const std::string* FindSeg2Value(const std::vector<Seg2String>& strings, std::string_view key) {
  for (const Seg2String& s : strings) {
    if (s.key == key) return &s.value;
  }
  return nullptr;
}

namespace {

constexpr int64_t kDescribeBytes = 3600;  // a SEG-Y file's text and binary headers

bool LooksLikeText(std::span<const uint8_t> b) {
  if (b.empty()) return false;
  const size_t n = std::min<size_t>(b.size(), 512);
  size_t odd = 0, high = 0;
  for (size_t k = 0; k < n; ++k) {
    const uint8_t c = b[k];
    if (c == 0) return false;
    if ((c < 32 && c != '\n' && c != '\r' && c != '\t' && c != '\f') || c == 127) ++odd;
    if (c > 127) ++high;  // accented letters, a few
  }
  return odd * 50 <= n && high * 4 <= n;
}

// The first line of a text, cut to something a message can quote.
std::string FirstLine(std::span<const uint8_t> b) {
  std::string line;
  for (const uint8_t c : b) {
    if (c == '\n' || c == '\r' || line.size() == 40) break;
    line += c < 32 || c >= 127 ? '?' : static_cast<char>(c);
  }
  return line;
}

}  // namespace

std::string DescribeNotSeg2(std::span<const uint8_t> b, int64_t size) {
  if (segy::LooksLikeSegy(b)) return "it looks like a SEG-Y file (segyread converts it)";
  if (LooksLikeDzt(b, size)) return "it looks like a GSSI DZT radar file (rtoaw reads it)";
  if (LooksLikeText(b)) return "it is text, beginning \"" + FirstLine(b) + "\"";
  if (LooksLikeSu(b, size, true)) {
    const int64_t ns = b[114] | b[115] << 8;
    return "it looks like an SU file already (" + std::to_string(size / (240 + 4 * ns)) + " traces of " +
           std::to_string(ns) + " samples)";
  }
  return "its first bytes are no format seg2su knows (a SEG-2 file begins with 55 3A or 3A 55)";
}

bool LooksLikeSeg2(std::span<const uint8_t> b) {
  return b.size() >= 2 && ((b[0] == 0x55 && b[1] == 0x3A) || (b[0] == 0x3A && b[1] == 0x55));
}

Seg2File ReadSeg2(BinaryFile& source) {
  const std::string& name = source.Path();
  Seg2File file;
  file.name = name;
  if (source.Size() < kFixedPart) {
    Fail(name, "only " + std::to_string(source.Size()) + " bytes, too short for a SEG-2 file");
  }
  uint8_t fixed[kFixedPart];
  source.Read(0, fixed, sizeof fixed);
  if (!LooksLikeSeg2(fixed)) {
    const std::vector<uint8_t> head = ReadRange(source, 0, std::min<int64_t>(source.Size(), kDescribeBytes));
    Fail(name, "not a SEG-2 file: " + DescribeNotSeg2(head, source.Size()));
  }
  file.bigEndian = fixed[0] == 0x3A;
  file.revision = Get16(fixed + 2, file.bigEndian);
  if (file.revision > 1) {
    file.notes.push_back("revision " + std::to_string(file.revision) + ", read as revision 1");
  }
  int64_t pointerBytes = Get16(fixed + 4, file.bigEndian);
  const int64_t count = Get16(fixed + 6, file.bigEndian);
  if (count == 0) Fail(name, "the file holds no trace");
  if (pointerBytes < 4 * count) {
    file.notes.push_back("trace pointer block of " + std::to_string(pointerBytes) + " bytes holds fewer than " +
                         std::to_string(count) + " pointers; taken as " + std::to_string(4 * count));
    pointerBytes = 4 * count;
  }
  if (kFixedPart + 4 * count > source.Size()) {
    Fail(name, "its " + std::to_string(count) + " trace pointers run past the end of the file (" +
                   std::to_string(source.Size()) + " bytes): file cut short");
  }
  const Terminator term = ReadTerminator(fixed, file.notes);
  const std::vector<uint8_t> table = ReadRange(source, kFixedPart, 4 * count);
  std::vector<int64_t> pointers(static_cast<size_t>(count));
  for (size_t k = 0; k < pointers.size(); ++k) pointers[k] = Get32(table.data() + 4 * k, file.bigEndian);
  RefuseRepeatedPointers(name, pointers);

  // The file strings run from the end of the pointer block to the first trace.
  const int64_t stringsStart = kFixedPart + pointerBytes;
  const int64_t stringsEnd = std::min(*std::min_element(pointers.begin(), pointers.end()), source.Size());
  if (stringsEnd > stringsStart) {
    file.strings = ParseStrings(ReadRange(source, stringsStart, stringsEnd - stringsStart), file.bigEndian, term,
                                file.notes, "file descriptor");
  }
  file.traces.reserve(pointers.size());
  std::string firstLost;
  for (size_t k = 0; k < pointers.size(); ++k) {
    try {
      const int64_t tableEnd = kFixedPart + 4 * count;
      file.traces.push_back(ReadTraceDescriptor(source, file, pointers[k], tableEnd, k, term, file.notes));
    } catch (const Seg2CutShort& e) {
      // A record cut short in the field: its complete traces are still data.
      if (file.lostTraces++ == 0) firstLost = e.what();
    }
  }
  if (file.traces.empty()) throw Seg2CutShort(firstLost);
  RefuseOverlaps(name, file.traces);
  for (const Seg2Trace& t : file.traces) {
    if (t.presentBytes < Seg2SampleBytes(t.format, t.samples)) ++file.cutTraces;
  }
  if (file.lostTraces > 0) {
    // Blocks don't overlap, so the end of the file cuts through one at most.
    const size_t whole = file.traces.size() - size_t(file.cutTraces);
    std::string kept = "the " + std::to_string(whole) + " complete ones kept";
    if (file.cutTraces > 0) {
      const std::string cut = "the one the end cuts through";
      kept = whole == 0 ? cut + " kept, padded" : kept + " and " + cut + " padded";
    }
    file.notes.push_back("file cut short at " + std::to_string(source.Size()) + " bytes: " +
                         std::to_string(file.lostTraces) + " of its " + std::to_string(count) + " traces lost, " +
                         kept);
  }
  return file;
}

void ReadSeg2Trace(BinaryFile& source, const Seg2File& file, const Seg2Trace& trace, float* out) {
  const int64_t needed = Seg2SampleBytes(trace.format, trace.samples);
  std::vector<uint8_t> data(static_cast<size_t>(needed), 0);
  const int64_t present = std::clamp<int64_t>(trace.presentBytes, 0, needed);
  if (present > 0) source.Read(trace.dataOffset, data.data(), static_cast<size_t>(present));
  DecodeSeg2Samples(data.data(), trace.format, file.bigEndian, trace.samples, out);
}

int64_t Seg2SampleBytes(int format, int64_t samples) {
  switch (format) {
    case 1: return 2 * samples;
    case 2: return 4 * samples;
    case 3: return 10 * ((samples + 3) / 4);
    case 4: return 4 * samples;
    case 5: return 8 * samples;
    default: return 0;
  }
}

void DecodeSeg2Samples(const uint8_t* data, int format, bool big, int32_t samples, float* out) {
  const auto n = static_cast<size_t>(samples);
  switch (format) {
    case 1:
      for (size_t k = 0; k < n; ++k) out[k] = static_cast<int16_t>(Get16(data + 2 * k, big));
      break;
    case 2:
      for (size_t k = 0; k < n; ++k) out[k] = static_cast<float>(static_cast<int32_t>(Get32(data + 4 * k, big)));
      break;
    case 3:
      for (size_t k = 0; k < n; ++k) {
        const uint8_t* group = data + 10 * (k / 4);
        const int exponent = (Get16(group, big) >> (4 * (k % 4))) & 15;
        int32_t mantissa = static_cast<int16_t>(Get16(group + 2 + 2 * (k % 4), big));
        if (mantissa < 0) mantissa += 1;  // one's complement
        out[k] = static_cast<float>(std::ldexp(static_cast<double>(mantissa), exponent));
      }
      break;
    case 4:
      if (!big && std::endian::native == std::endian::little) {
        // A trace of no samples may come with no buffer at all.
        if (n > 0) std::memcpy(out, data, 4 * n);
      } else {
        for (size_t k = 0; k < n; ++k) out[k] = std::bit_cast<float>(Get32(data + 4 * k, big));
      }
      break;
    case 5:
      for (size_t k = 0; k < n; ++k) out[k] = static_cast<float>(std::bit_cast<double>(Get64(data + 8 * k, big)));
      break;
    default:
      std::fill(out, out + n, 0.0f);
  }
}

namespace {

// The 20-bit packed form of four samples: the smallest exponent that lets
// the mantissa fit in 15 bits.
void Pack20(const double* v, size_t count, uint8_t* group, bool big) {
  std::vector<uint8_t> tmp(10, 0);
  uint16_t exponents = 0;
  for (size_t k = 0; k < 4; ++k) {
    const double value = k < count ? v[k] : 0.0;
    int e = 0;
    while (e < 15 && std::fabs(value) / std::ldexp(1.0, e) > 32767.0) ++e;
    int32_t m = static_cast<int32_t>(value / std::ldexp(1.0, e));
    if (m < 0) m -= 1;  // one's complement
    exponents = uint16_t(exponents | e << (4 * k));
    Put16(tmp, 2 + 2 * k, static_cast<uint16_t>(m), big);
  }
  Put16(tmp, 0, exponents, big);
  std::memcpy(group, tmp.data(), 10);
}

std::vector<uint8_t> StringBlock(const std::vector<std::string>& strings, bool big) {
  std::vector<uint8_t> out;
  for (const std::string& s : strings) {
    size_t step = 2 + s.size() + 1;
    step += (4 - step % 4) % 4;
    const size_t at = out.size();
    out.resize(at + step, 0);
    Put16(out, at, static_cast<uint16_t>(step), big);
    std::memcpy(out.data() + at + 2, s.data(), s.size());
  }
  out.resize(out.size() + 4, 0);  // the zero offset that ends the list
  return out;
}

void EncodeSamples(const std::vector<double>& v, int format, bool big, uint8_t* out) {
  std::vector<uint8_t> word(8);
  const size_t n = v.size();
  for (size_t k = 0; k < n; ++k) {
    switch (format) {
      case 1: Put16(word, 0, static_cast<uint16_t>(static_cast<int16_t>(v[k])), big); std::memcpy(out + 2 * k, word.data(), 2); break;
      case 2: Put32(word, 0, static_cast<uint32_t>(static_cast<int32_t>(v[k])), big); std::memcpy(out + 4 * k, word.data(), 4); break;
      case 4: Put32(word, 0, std::bit_cast<uint32_t>(static_cast<float>(v[k])), big); std::memcpy(out + 4 * k, word.data(), 4); break;
      case 5: {
        const uint64_t bits = std::bit_cast<uint64_t>(v[k]);
        Put32(word, big ? 0 : 4, uint32_t(bits >> 32), big);
        Put32(word, big ? 4 : 0, uint32_t(bits), big);
        std::memcpy(out + 8 * k, word.data(), 8);
        break;
      }
      default: break;
    }
  }
  if (format == 3) {
    for (size_t k = 0; k < n; k += 4) Pack20(v.data() + k, std::min<size_t>(4, n - k), out + 10 * (k / 4), big);
  }
}

}  // namespace

std::vector<uint8_t> MakeSeg2(const std::vector<std::string>& fileStrings, const std::vector<Seg2WriteTrace>& traces,
                              int format, bool big, int revision) {
  const size_t count = traces.size();
  const size_t pointerBytes = 4 * count;
  std::vector<uint8_t> out(kFixedPart + pointerBytes, 0);
  Put16(out, 0, kFileBlockId, big);
  Put16(out, 2, static_cast<uint16_t>(revision), big);
  Put16(out, 4, static_cast<uint16_t>(pointerBytes), big);
  Put16(out, 6, static_cast<uint16_t>(count), big);
  if (revision >= 1) {  // revision 0 leaves the terminators unsaid
    out[8] = 1;
    out[9] = 0;
    out[11] = 1;
    out[12] = '\n';
  }
  const std::vector<uint8_t> fileBlock = StringBlock(fileStrings, big);
  out.insert(out.end(), fileBlock.begin(), fileBlock.end());
  for (size_t t = 0; t < count; ++t) {
    Put32(out, kFixedPart + 4 * t, static_cast<uint32_t>(out.size()), big);
    const std::vector<uint8_t> strings = StringBlock(traces[t].strings, big);
    const int64_t ns = static_cast<int64_t>(traces[t].samples.size());
    const auto dataBytes = static_cast<size_t>(Seg2SampleBytes(format, ns));
    std::vector<uint8_t> block(kFixedPart + strings.size() + dataBytes, 0);
    Put16(block, 0, kTraceBlockId, big);
    Put16(block, 2, static_cast<uint16_t>(kFixedPart + strings.size()), big);
    Put32(block, 4, static_cast<uint32_t>(dataBytes), big);
    Put32(block, 8, static_cast<uint32_t>(ns), big);
    block[12] = static_cast<uint8_t>(format);
    std::memcpy(block.data() + kFixedPart, strings.data(), strings.size());
    EncodeSamples(traces[t].samples, format, big, block.data() + kFixedPart + strings.size());
    out.insert(out.end(), block.begin(), block.end());
  }
  return out;
}

}  // namespace vexmor
