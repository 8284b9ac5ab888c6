// SEG-D, rev 1, 2 and 3, demultiplexed disk files.
//
// One record:
//   | general header 32 x (1 + n) | channel set descriptors 32 x sets x scan types
//   | (skew 32 x k) | extended header 32 x e | external header 32 x x |
//   | trace: header 20 | extensions 32 x t | samples | trace | ... | trailer |
// A file may hold several records one behind the other. Numbers in the
// headers are BCD unless said otherwise; samples are big-endian. Rev 3 adds
// a third general header and gives each channel set three blocks, with its
// sample count and interval in binary.
#include "formats/segd.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <deque>
#include <memory>
#include <utility>
#include <map>
#include <string>
#include <vector>

#include "core/binary_file.h"
#include "core/byte_order.h"
#include "core/su_trace.h"

namespace vexmor {
namespace {

constexpr int kBlock = 32;

// The file through a buffer of the last range asked for; a range past the
// end of the file is refused.
struct Bytes {
  const std::string& name;
  BinaryFile& file;
  std::deque<std::vector<uint8_t>>& held;  // what At gave, until Release
  size_t Size() const { return static_cast<size_t>(file.Size()); }
  void Check(size_t offset, size_t n, const char* what) const {
    if (offset > Size() || n > Size() - offset) {
      throw SegdError(name + ": cut short in the " + what + " at byte " + std::to_string(offset) + " (file of " +
                      std::to_string(Size()) + " bytes)");
    }
  }
  const uint8_t* At(size_t offset, size_t n, const char* what) const {
    Check(offset, n, what);
    held.emplace_back(std::max<size_t>(n, 1));
    file.Read(static_cast<int64_t>(offset), held.back().data(), n);
    return held.back().data();
  }
  void Release() const { held.clear(); }
};

// Two BCD digits per byte; a digit above 9 makes the field invalid (-1).
int Bcd(const uint8_t* p, int digits, bool highFirst = true) {
  int value = 0;
  for (int i = 0; i < digits; ++i) {
    const int pos = highFirst ? i : i + 1;
    const uint8_t byte = p[pos / 2];
    const int d = pos % 2 == 0 ? byte >> 4 : byte & 0x0F;
    if (d > 9) return -1;
    value = value * 10 + d;
  }
  return value;
}

}  // namespace

struct SegdCodec {
  int code;
  int bitsPerGroup;  // bytes for a group of samples, x8
  int groupSamples;
};

namespace {

constexpr SegdCodec kCodecs[] = {
    {8015, 80, 4}, {8022, 8, 1},  {8024, 16, 1}, {8036, 24, 1}, {8038, 32, 1},
    {8042, 8, 1},  {8044, 16, 1}, {8048, 32, 1}, {8058, 32, 1},
};

const SegdCodec* FindCodec(int code) {
  for (const auto& c : kCodecs) {
    if (c.code == code) return &c;
  }
  return nullptr;
}

int64_t SampleBytes(const SegdCodec& codec, int64_t ns) {
  const int64_t groups = (ns + codec.groupSamples - 1) / codec.groupSamples;
  return groups * codec.bitsPerGroup / 8;
}

// The short exponent formats of SEG-D: a sign bit, an exponent of
// `exponentBits` and a fraction of `fractionBits`, scaled by base^exponent.
// The quaternary ones (8022, 8024) hold the sign and fraction in one's
// complement; the hexadecimal ones (8042, 8044) as sign and magnitude.
float ExponentSample(uint32_t word, int bits, int exponentBits, int base, bool onesComplement) {
  const int fractionBits = bits - 1 - exponentBits;
  const uint32_t mask = (1u << fractionBits) - 1;
  const uint32_t exponent = (word >> fractionBits) & ((1u << exponentBits) - 1);
  const bool negative = (word >> (bits - 1)) & 1;
  uint32_t magnitude = word & mask;
  if (negative && onesComplement) magnitude ^= mask;
  if (magnitude == 0) return 0.0f;  // no negative zero in the output
  const double fraction = std::ldexp(double(magnitude), -fractionBits);
  return static_cast<float>((negative ? -fraction : fraction) * std::pow(double(base), double(exponent)));
}

void Decode(const SegdCodec& codec, const uint8_t* in, int64_t ns, float* out) {
  switch (codec.code) {
    case 8015:
      for (int64_t i = 0; i < ns; ++i) {
        const uint8_t* group = in + (i / 4) * 10;
        const int k = int(i % 4);
        const int exponent = (group[k / 2] >> (k % 2 == 0 ? 4 : 0)) & 0x0F;
        // A one's complement fraction of 15 bits: a negative word is one above
        // its two's complement reading.
        int mantissa = static_cast<int16_t>(GetBE16u(group + 2 + 2 * k));
        if (mantissa < 0) mantissa += 1;
        out[i] = static_cast<float>(std::ldexp(double(mantissa), exponent - 15));
      }
      return;
    case 8022:
      for (int64_t i = 0; i < ns; ++i) out[i] = ExponentSample(in[i], 8, 3, 4, true);
      return;
    case 8024:
      for (int64_t i = 0; i < ns; ++i) out[i] = ExponentSample(GetBE16u(in + 2 * i), 16, 3, 4, true);
      return;
    case 8042:
      for (int64_t i = 0; i < ns; ++i) out[i] = ExponentSample(in[i], 8, 2, 16, false);
      return;
    case 8044:
      for (int64_t i = 0; i < ns; ++i) out[i] = ExponentSample(GetBE16u(in + 2 * i), 16, 2, 16, false);
      return;
    case 8036:
      for (int64_t i = 0; i < ns; ++i) {
        const auto v = static_cast<int32_t>(GetBE24u(in + 3 * i) << 8) >> 8;
        out[i] = static_cast<float>(v);
      }
      return;
    case 8038:
      for (int64_t i = 0; i < ns; ++i) out[i] = static_cast<float>(static_cast<int32_t>(GetBE32u(in + 4 * i)));
      return;
    case 8048:
      for (int64_t i = 0; i < ns; ++i) out[i] = IbmToFloat(GetBE32u(in + 4 * i));
      return;
    case 8058:
      for (int64_t i = 0; i < ns; ++i) out[i] = BitsFloat(GetBE32u(in + 4 * i));
      return;
    default:
      return;
  }
}

struct ChannelSet {
  int channelType = 0;
  int64_t startMs = 0;
  int64_t endMs = 0;
  int dtUs = 0;
  int64_t ns = 0;  // given by rev 3 descriptors
  // Worked out from the time span at the set's first trace of the record;
  // its other traces have the same count, so one cut short is padded.
  int64_t spanNs = 0;
  // The count of the set's first trace in the record, which its other
  // traces are given too.
  int64_t firstNs = 0;
};

struct Record {
  int fileNumber = 0;
  const SegdCodec* codec = nullptr;
  int year = 0, day = 0, hour = 0, minute = 0, second = 0;
  int baseDtUs = 0;
  int revision = 0;
  int64_t traceCount = 0;
  int64_t trailerBytes = 0;
  std::map<int, ChannelSet> sets;  // by scan type x 1000 + channel set
  size_t firstTrace = 0;
};

Record ReadRecordHeaders(const Bytes& file, size_t start) {
  Record rec;
  const uint8_t* gh1 = file.At(start, kBlock, "general header");
  const int formatCode = Bcd(gh1 + 2, 4);
  rec.codec = FindCodec(formatCode);
  int64_t additional = gh1[11] >> 4;
  const uint8_t* gh2 = additional >= 1 ? file.At(start + kBlock, kBlock, "general header") : nullptr;
  if (formatCode < 0) throw SegdError(file.name + ": not a SEG-D file: the format code is not BCD");
  rec.revision = gh2 != nullptr ? gh2[10] : 0;
  if (rec.revision > 9) {
    throw SegdError(file.name + ": not a SEG-D file: revision byte " + std::to_string(rec.revision) +
                    " in the second general header");
  }
  if (rec.revision > 3) {
    throw SegdError(file.name + ": SEG-D rev " + std::to_string(rec.revision) + "." + std::to_string(gh2[11]) +
                    " is not read (rev 1, 2 and 3 are)");
  }
  const bool rev3 = rec.revision == 3;
  if (rev3 && additional == 0xF) additional = GetBE16u(gh2 + 18);
  if (rev3 && additional < 2) {
    throw SegdError(file.name + ": SEG-D rev 3 without its third general header");
  }
  if (rec.codec == nullptr) {
    throw SegdError(file.name + ": sample format " + std::to_string(formatCode) +
                    " is not read (8015, 8022, 8024, 8036, 8038, 8042, 8044, 8048, 8058 are; multiplexed data is not)");
  }
  rec.fileNumber = Bcd(gh1, 4);
  if (rec.fileNumber < 0 && gh2 != nullptr) rec.fileNumber = int(GetBE24u(gh2));
  const int yy = Bcd(gh1 + 10, 2);
  rec.year = yy < 0 ? 0 : (yy < 50 ? 2000 + yy : 1900 + yy);
  rec.day = std::max(0, Bcd(gh1 + 11, 3, false));
  rec.hour = std::max(0, Bcd(gh1 + 13, 2));
  rec.minute = std::max(0, Bcd(gh1 + 14, 2));
  rec.second = std::max(0, Bcd(gh1 + 15, 2));
  rec.baseDtUs = static_cast<int>(std::lround(gh1[22] * 1000.0 / 16.0));

  // A count of FF in the first general header stands in the second one,
  // in 2 or (rev 3) 3 bytes.
  auto count = [&](int bcd, int gh2Offset, int bytes) -> int64_t {
    if (bcd >= 0) return bcd;
    if (gh2 == nullptr || gh2Offset < 0) return 0;
    return bytes == 3 ? GetBE24u(gh2 + gh2Offset) : GetBE16u(gh2 + gh2Offset);
  };
  const int64_t scanTypes = std::max(0, Bcd(gh1 + 27, 2));
  const int64_t setsPerScanType = count(Bcd(gh1 + 28, 2), 3, 2);
  const int64_t skewBlocks = count(Bcd(gh1 + 29, 2), rev3 ? 8 : -1, 2);
  const int64_t extendedBlocks = count(Bcd(gh1 + 30, 2), 5, rev3 ? 3 : 2);
  const int64_t externalBlocks = count(Bcd(gh1 + 31, 2), rev3 ? 22 : 7, rev3 ? 3 : 2);
  rec.trailerBytes = gh2 == nullptr ? 0 : int64_t(rev3 ? GetBE32u(gh2 + 12) : GetBE16u(gh2 + 12)) * kBlock;
  if (scanTypes == 0 || setsPerScanType == 0) {
    throw SegdError(file.name + ": not a SEG-D file we can read: no scan type or no channel set in the general header");
  }

  size_t at = start + size_t(1 + additional) * kBlock;
  const size_t descriptorBytes = rev3 ? 3 * kBlock : kBlock;
  // One descriptor at a time in one buffer: a header may claim 99 x 65535
  // of them, and what it claims must not pile up in memory.
  std::vector<uint8_t> descriptor(descriptorBytes);
  for (int64_t s = 0; s < scanTypes; ++s) {
    for (int64_t c = 0; c < setsPerScanType; ++c, at += descriptorBytes) {
      file.Check(at, descriptorBytes, "channel set descriptors");
      file.file.Read(static_cast<int64_t>(at), descriptor.data(), descriptorBytes);
      const uint8_t* csd = descriptor.data();
      if (rev3) {
        const int64_t channels = GetBE24u(csd + 20);
        if (channels == 0) continue;
        ChannelSet set;
        set.channelType = csd[3] >> 4;
        set.ns = GetBE32u(csd + 12);
        set.dtUs = static_cast<int>(GetBE24u(csd + 23));
        rec.sets[std::max(0, Bcd(csd, 2)) * 100000 + GetBE16u(csd + 1)] = set;
        rec.traceCount += channels;
        continue;
      }
      const int channels = std::max(0, Bcd(csd + 8, 4));
      if (channels == 0) continue;
      ChannelSet set;
      set.channelType = csd[10] >> 4;
      set.startMs = int64_t(GetBE16u(csd + 2)) * 2;
      set.endMs = int64_t(GetBE16u(csd + 4)) * 2;
      set.dtUs = rec.baseDtUs >> std::min(csd[11] >> 4, 8);
      int setNumber = Bcd(csd + 1, 2);
      if (setNumber < 0) setNumber = GetBE16u(csd + 26);
      rec.sets[std::max(0, Bcd(csd, 2)) * 100000 + setNumber] = set;
      rec.traceCount += channels;
    }
    at += size_t(skewBlocks) * kBlock;
  }
  at += size_t(extendedBlocks + externalBlocks) * kBlock;
  file.At(at, 0, "headers");
  rec.firstTrace = at;
  return rec;
}

// The samples a channel set's time span gives, checked against where the
// next trace starts: the span, or one more when the end time is a sample.
int64_t SpanSamples(const Bytes& file, const Record& rec, const ChannelSet& set, size_t trace, int extensions) {
  if (set.dtUs <= 0) throw SegdError(file.name + ": no sample interval in the general header");
  const int64_t span = (set.endMs - set.startMs) * 1000 / set.dtUs;
  const size_t samplesAt = trace + 20 + size_t(extensions) * kBlock;
  for (const int64_t ns : {span + 1, span}) {
    if (ns <= 0) continue;
    const size_t next = samplesAt + size_t(SampleBytes(*rec.codec, ns));
    if (next == file.Size()) return ns;
    if (next + 2 <= file.Size()) {
      uint8_t here[2], there[2];
      file.file.Read(static_cast<int64_t>(trace), here, 2);
      file.file.Read(static_cast<int64_t>(next), there, 2);
      if (std::memcmp(here, there, 2) == 0) return ns;
    }
  }
  return span;
}

// Samples per trace: the channel set says it in rev 3, the trace header
// extension from rev 2 on; else the channel set's time span, worked out at
// the set's first trace and kept for the others.
int64_t TraceSamples(const Bytes& file, const Record& rec, ChannelSet& set, size_t trace, int extensions) {
  if (set.ns > 0) return set.ns;
  if (extensions >= 1) {
    const uint8_t* ext = file.At(trace + 20, kBlock, "trace header extension");
    const int64_t ns = GetBE24u(ext + 7);
    if (ns > 0) return ns;
  }
  if (set.spanNs <= 0) set.spanNs = SpanSamples(file, rec, set, trace, extensions);
  return set.spanNs;
}

// The key of rec.sets that a trace header names: scan type and channel set
// (past 99 in the extended set number).
int SetKey(const uint8_t* th) {
  int setNumber = Bcd(th + 3, 2);
  if (setNumber < 0) setNumber = GetBE16u(th + 15);
  return std::max(0, Bcd(th + 2, 2)) * 100000 + setNumber;
}

// Whether the 20 bytes at p can be a trace header of the record of `th`:
// the same file number and a channel set the record describes.
bool LooksLikeHeader(const Record& rec, const uint8_t* th, const uint8_t* p) {
  return p[0] == th[0] && p[1] == th[1] && rec.sets.count(SetKey(p)) != 0;
}

// Where the trace header after `th` stands when it is not where the trace's
// length puts it (`expected`): a trace cut short inside a record lets the
// next header come early. Looked for back from `expected`, at whole groups
// of samples, as the next trace number (or the first of another set); 0
// when not found.
size_t EarlyNextHeader(const Bytes& file, const Record& rec, const uint8_t* th, size_t samplesAt, size_t expected) {
  const int current = Bcd(th + 4, 4);
  if (current < 0) return 0;
  const size_t step = size_t(rec.codec->bitsPerGroup / 8);
  const size_t end = std::min(expected + 20, file.Size());
  if (end < samplesAt + 20) return 0;
  std::vector<uint8_t> span(end - samplesAt);
  file.file.Read(static_cast<int64_t>(samplesAt), span.data(), span.size());
  for (size_t back = step; back <= expected - samplesAt; back += step) {
    const size_t at = expected - back;
    if (at + 20 > end) continue;
    const uint8_t* p = span.data() + (at - samplesAt);
    if (!LooksLikeHeader(rec, th, p)) continue;
    const int number = Bcd(p + 4, 4);
    if (SetKey(p) == SetKey(th) ? number == current + 1 : number == 1) return at;
  }
  return 0;
}

}  // namespace

bool LooksLikeSegd(std::span<const uint8_t> head) {
  if (head.size() < size_t(kBlock)) return false;
  const int fileNumber = Bcd(head.data(), 4);
  const bool fileNumberOk = fileNumber >= 0 || (head[0] == 0xFF && head[1] == 0xFF);
  return fileNumberOk && FindCodec(Bcd(head.data() + 2, 4)) != nullptr && Bcd(head.data() + 27, 2) > 0;
}

struct SegdReader::State {
  State(BinaryFile& f, std::string n) : file(f), name(std::move(n)) {}
  BinaryFile& file;
  std::string name;
  std::deque<std::vector<uint8_t>> held;
  Bytes bytes{name, file, held};
  size_t at = 0;
  bool inRecord = false;
  Record rec;
  int64_t traceIndex = 0;
  int records = 0;
  const SegdCodec* codec = nullptr;
  size_t samplesAt = 0;
  int64_t ns = 0;
  size_t present = 0;
  int cutTraces = 0;
  size_t padded = 0;  // zeros standing for samples cut off, over the file
  std::vector<uint8_t> raw;
};

SegdReader::SegdReader(BinaryFile& file) : state_(std::make_unique<State>(file, file.Path())) {
  if (file.Size() < kBlock) {
    throw SegdError(file.Path() + ": not a SEG-D file: " + std::to_string(file.Size()) +
                    " bytes, shorter than a general header");
  }
}

SegdReader::~SegdReader() = default;

int SegdReader::Records() const { return state_->records; }

bool SegdReader::Next(SegdTrace& out) {
  State& s = *state_;
  const Bytes& file = s.bytes;
  const size_t size = file.Size();
  for (;;) {
    s.bytes.Release();
    if (!s.inRecord) {
      if (s.at >= size) return false;
      s.rec = ReadRecordHeaders(file, s.at);
      ++s.records;
      s.at = s.rec.firstTrace;
      s.traceIndex = 0;
      s.inRecord = true;
    }
    if (s.traceIndex >= s.rec.traceCount) {
      s.inRecord = false;
      s.at += size_t(s.rec.trailerBytes);
      // Padding at the end of a file is no new record.
      if (s.at < size && size - s.at < size_t(kBlock)) s.at = size;
      continue;
    }
    Record& rec = s.rec;
    const size_t at = s.at;
    if (at >= size) {
      throw SegdError(s.name + ": the file ends in record " + std::to_string(s.records) + " after " +
                      std::to_string(s.traceIndex) + " of its " + std::to_string(rec.traceCount) + " traces");
    }
    const uint8_t* th = file.At(at, 20, "trace header");
    const auto found = rec.sets.find(SetKey(th));
    if (found == rec.sets.end()) {
      throw SegdError(s.name + ": trace header at byte " + std::to_string(at) + " names channel set " +
                      std::to_string(SetKey(th) % 100000) + ", which the record does not describe");
    }
    ChannelSet& set = found->second;
    const int extensions = th[9];
    const int bcdTraceNumber = Bcd(th + 4, 4);
    const int64_t own = TraceSamples(file, rec, set, at, extensions);
    if (own <= 0 || own > 65535) {
      throw SegdError(s.name + ": trace at byte " + std::to_string(at) + " has " + std::to_string(own) +
                      " samples; an SU trace holds 1 to 65535");
    }
    if (set.firstNs == 0) set.firstNs = own;
    const int64_t ns = set.firstNs;
    const size_t samplesAt = at + 20 + size_t(extensions) * kBlock;
    const auto bytes = size_t(SampleBytes(*rec.codec, ns));
    // Where the next trace starts is the trace's own business.
    const auto ownBytes = size_t(SampleBytes(*rec.codec, own));
    // A trace cut short keeps the samples that are there: by the end of the
    // file, or inside the record by the next trace header coming early.
    size_t present = samplesAt >= size ? 0 : std::min(ownBytes, size - samplesAt);
    size_t next = samplesAt + ownBytes;
    const bool moreInRecord = s.traceIndex + 1 < rec.traceCount;
    if (present == ownBytes && moreInRecord && next + 20 <= size) {
      uint8_t there[20];
      file.file.Read(static_cast<int64_t>(next), there, sizeof there);
      if (!LooksLikeHeader(rec, th, there)) {
        if (const size_t early = EarlyNextHeader(file, rec, th, samplesAt, next)) {
          present = early - samplesAt;
          next = early;
        }
      }
    }
    if (present < bytes) {
      // Padding is bounded by what the file holds: a record of empty trace
      // headers can't claim gigabytes of zeros.
      s.padded += bytes - present;
      if (++s.cutTraces > 1 && s.padded > size) {
        throw SegdError(s.name + ": more traces cut short than the file can hold (at byte " + std::to_string(at) +
                        "): too damaged to read on");
      }
    }
    // Trace numbers past 9999 stand in the first extension (rev 2).
    int64_t traceNumber = bcdTraceNumber;
    if (traceNumber < 0 && extensions >= 1) traceNumber = GetBE24u(file.At(at + 20, kBlock, "trace header extension") + 21);
    s.at = std::min(next, size);
    ++s.traceIndex;
    s.codec = rec.codec;
    s.samplesAt = samplesAt;
    s.ns = ns;
    s.present = present;

    out = SegdTrace{};
    out.record = s.records;
    out.fileNumber = rec.fileNumber;
    out.traceNumber = std::max<int64_t>(0, traceNumber);
    out.channelType = set.channelType;
    out.dtUs = set.dtUs;
    out.year = rec.year;
    out.day = rec.day;
    out.hour = rec.hour;
    out.minute = rec.minute;
    out.second = rec.second;
    out.ns = ns;
    out.headerOffset = static_cast<int64_t>(at);
    out.samplesOffset = static_cast<int64_t>(samplesAt);
    out.formatCode = rec.codec->code;
    out.sampleBytes = static_cast<int64_t>(bytes);
    out.presentBytes = static_cast<int64_t>(std::min(present, bytes));
    out.ownNs = own != ns ? own : 0;
    return true;
  }
}

namespace {
// Decodes the samples at `offset` of which only `present` bytes are in the
// file; the others read as zeros, which every format decodes to 0.
void DecodeFrom(BinaryFile& file, const SegdCodec& codec, int64_t offset, int64_t ns, int64_t present,
                std::vector<uint8_t>& raw, float* out) {
  const auto bytes = static_cast<size_t>(SampleBytes(codec, ns));
  raw.resize(bytes + 1);
  const auto take = static_cast<size_t>(std::clamp<int64_t>(present, 0, int64_t(bytes)));
  if (take > 0) file.Read(offset, raw.data(), take);
  std::fill(raw.begin() + std::ptrdiff_t(take), raw.end(), 0);
  Decode(codec, raw.data(), ns, out);
}
}  // namespace

void SegdReader::ReadSamples(float* out) {
  State& s = *state_;
  if (s.codec == nullptr) return;
  DecodeFrom(s.file, *s.codec, static_cast<int64_t>(s.samplesAt), s.ns, static_cast<int64_t>(s.present), s.raw, out);
}

void SegdReader::ReadSamplesOf(const SegdTrace& trace, float* out) {
  const SegdCodec* codec = FindCodec(trace.formatCode);
  if (codec == nullptr || trace.ns <= 0) return;
  std::vector<uint8_t> raw;
  DecodeFrom(state_->file, *codec, trace.samplesOffset, trace.ns, trace.presentBytes, raw, out);
}

SuHeader SegdSuHeader(const SegdTrace& trace) {
  SuHeader header;
  header.Set("fldr", trace.fileNumber);
  header.Set("ep", trace.fileNumber);
  header.Set("tracf", double(trace.traceNumber));
  header.Set("trid", trace.channelType == 1 ? 1 : 0);
  header.Set("dt", trace.dtUs);
  header.Set("year", trace.year);
  header.Set("day", trace.day);
  header.Set("hour", trace.hour);
  header.Set("minute", trace.minute);
  header.Set("sec", trace.second);
  PutLE16(header.Data() + 114, static_cast<int16_t>(static_cast<uint16_t>(trace.ns)));
  return header;
}

}  // namespace vexmor
