#pragma once
// SEG-Y, rev 0, 1 and 2, in either byte order:
//
//   0            3200           3600                 3600 + 3200 x E
//   | text header | binary header | extended text headers | traces ...
//   | EBCDIC or   | 400 bytes      | 3200 x E (rev 1 gives | (or from the rev 2
//   | ASCII       |                | E, rev 2 may say -1)  |  offset at 320)
//
// Binary header (offsets from its start): 16 dt (us), 20 ns, 24 sample
// format code, 68 ns (rev 2, 32-bit), 96 byte order mark 01020304, 300
// major revision, 302 fixed length, 304 extended text headers, 306 extra
// trace headers (rev 2), 312 trace count and 320 first trace offset (64-bit).
//
// One trace:
//   | trace header 240 | (rev 2: extra 240-byte headers) | ns samples |
//
// Trace header bytes 1..180 are the SU words 1..71 (114 ns, 116 dt); bytes
// 181..240 are copied as they stand. The byte order of the whole file is
// its own: the mark says it, else the header values that make sense do.
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "formats/format_error.h"

namespace vexmor {
class BinaryFile;
}

namespace vexmor::segy {

class SegyError : public FormatError {
 public:
  using FormatError::FormatError;
};

inline constexpr int kTextHeaderBytes = 3200;
inline constexpr int kBinHeaderBytes = 400;
inline constexpr int kSegyHeaderBytes = 3600;
inline constexpr int kTraceHeaderBytes = 240;
// SU header: words 1..71 (bytes 0..179) are the SEG-Y trace header words.
inline constexpr int kSegyWordsEnd = 180;

// Binary header offsets.
namespace bin {
inline constexpr int kDt = 16, kDtOrig = 18, kNs = 20, kNsOrig = 22, kFormat = 24;
inline constexpr int kExtNs = 68, kByteOrder = 96, kMajorRev = 300, kMinorRev = 301;
inline constexpr int kFixedLength = 302, kExtTextHeaders = 304, kExtraTraceHeaders = 306;
inline constexpr int kTraceCount64 = 312, kFirstTrace64 = 320;
}  // namespace bin

struct SampleFormat {
  int code;
  int bytes;
  std::string_view name;
};

// The format of that code, nullptr if we don't read it.
const SampleFormat* FindSampleFormat(int code);

// Converts n samples at `in` (file byte order given by bigEndian) to
// little-endian IEEE floats at `out` (4 x n bytes).
void SamplesToFloat(const SampleFormat& format, bool bigEndian, const uint8_t* in, int64_t n, uint8_t* out);

// Keeps the bits of 4-byte samples, only putting them in little-endian order.
void SamplesKeepBits(bool bigEndian, const uint8_t* in, int64_t n, uint8_t* out);

// Reverses the byte order of words 1..71 of a 240-byte header.
void SwapTraceWords(uint8_t* header);

// The binary header as a table of integer fields, so that a byte order
// change is one loop.
struct BinField {
  int offset;
  int width;  // 1 (not swapped), 2, 4 or 8
};
const std::vector<BinField>& BinaryHeaderFields();
void SwapBinaryHeader(uint8_t* bin);

// Text header codes.
uint8_t EbcdicToAscii(uint8_t c);
uint8_t AsciiToEbcdic(uint8_t c);
// Whether a text header is more likely EBCDIC than ASCII.
bool LooksEbcdic(const uint8_t* text, size_t n);

// What the reader may be told instead of what the headers say.
struct SegyOptions {
  std::optional<int64_t> endian;  // 0 big-endian, 1 little-endian
  int over = 0;                   // 1 with format: read the samples as that format
  std::optional<int64_t> format;
  std::optional<int64_t> ns;
};

struct SegyLayout {
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
  int64_t fileSize = 0;

  // Whole traces, and whether a last one is cut short.
  int64_t WholeTraces() const { return (fileSize - firstTrace) / traceBytes; }
  bool LastCutShort() const { return (fileSize - firstTrace) % traceBytes != 0; }
};

// Whether the first 3600 bytes (or fewer) look like a SEG-Y file: a known
// sample format code and a sample count in one byte order. Cheap, never throws.
bool LooksLikeSegy(std::span<const uint8_t> head);

// Reads the reel headers and works out where the traces are. Warnings go to
// `note`; anything that leaves the file unreadable throws SegyError naming
// the file. Only the headers are read.
SegyLayout ReadSegyLayout(BinaryFile& file, const SegyOptions& options,
                          const std::function<void(const std::string&)>& note = {});

// One SEG-Y trace (file order, traceBytes long) to one SU trace (240 + 4 x ns
// bytes, little-endian). conv=false keeps the bits of 4-byte samples.
void SegyTraceToSu(const SegyLayout& layout, bool conv, const uint8_t* in, uint8_t* out);

}  // namespace vexmor::segy
