#pragma once
// The SU trace writer of the seismograph importers. A record of index i
// (from 0) starts at TracePos = i x (240 + 4 x NbSamples); its header is
// written word by word at positions, in the order of the importer's table,
// and its float samples behind the header in one block. Records are never
// appended, so traces may be made in any order, and a byte that is not
// written keeps what the output held there.
//
// Each importer says which words it writes with a table of steps:
//
//   constexpr HeaderStep kWords[] = {
//       Put("fldr", HeaderValue::FileNumber), ZeroFill(36, 87, 4), Put("ns", HeaderValue::NbSamplesLow16)};
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace vexmor {

class BinaryFile;
struct SharedState;

// What a header step writes.
enum class HeaderValue : uint8_t {
  Zero,
  One,
  FileNumber,      // f, the file's place in the selection, from 1
  TraceNumber,     // t, the trace's place in the file, from 1
  NbSamplesLow16,  // NbSamples, its low 16 bits in a 2-byte word
  SampleInterval,
};

// One step: an SU word set to a value, or a zero fill of the bytes from..to
// (inclusive) in writes of `width` bytes.
struct HeaderStep {
  std::string_view word;
  HeaderValue value = HeaderValue::Zero;
  int from = 0;
  int to = 0;
  int width = 0;
};

constexpr HeaderStep Put(std::string_view word, HeaderValue value) { return {word, value, 0, 0, 0}; }
constexpr HeaderStep ZeroFill(int from, int to, int width) { return {{}, HeaderValue::Zero, from, to, width}; }

// The words of the generic importer. tracl and tracr stay 0: a trace is
// known by fldr and tracf alone. ep is not written. ns and dt come after
// the zero fill of their range.
inline constexpr HeaderStep kGenericHeaderWords[] = {
    Put("tracl", HeaderValue::Zero),
    Put("tracr", HeaderValue::Zero),
    Put("fldr", HeaderValue::FileNumber),
    Put("tracf", HeaderValue::TraceNumber),
    Put("cdp", HeaderValue::Zero),
    Put("cdpt", HeaderValue::Zero),
    Put("trid", HeaderValue::One),
    Put("nvs", HeaderValue::One),
    Put("nhs", HeaderValue::One),
    Put("duse", HeaderValue::One),
    ZeroFill(36, 87, 4),
    ZeroFill(88, 179, 2),
    ZeroFill(180, 239, 4),
    Put("ns", HeaderValue::NbSamplesLow16),
    Put("dt", HeaderValue::SampleInterval),
};

// Record index of trace t of file f (both from 1): (f - 1) x channels +
// (t - 1), a signed 16-bit value; past 32767 it is a run-time failure.
int16_t RecordIndex(int f, int t, int nbChannels);

class SuTraceWriter {
 public:
  // The steps are resolved once here; NbSamples and SampleInterval are
  // read from the state at each header.
  SuTraceWriter(BinaryFile& output, SharedState& state, std::span<const HeaderStep> steps);

  // Sets TracePos to the record's byte offset; a position that does not
  // fit 32 bits is a run-time failure.
  int32_t Seek(int32_t index);
  // Writes the header of the record at TracePos.
  void WriteHeader(int32_t file, int32_t trace);
  // One further word at TracePos, by SU name; a 2-byte word takes the low
  // 16 bits of the value.
  void WriteWord(std::string_view word, int32_t value);
  // The samples at byte 240 of the record, in one block.
  void WriteSamples(std::span<const float> samples);

 private:
  struct Resolved {
    int offset;
    int width;
    int to;         // last byte of a zero fill, -1 for a word
    HeaderValue value;
  };
  void WriteAt(int offset, int width, int32_t value);
  BinaryFile& output_;
  SharedState& state_;
  std::vector<Resolved> steps_;
  std::vector<uint8_t> bytes_;  // samples turned low byte first, on big-endian hosts only
};

// How the samples of a binary record are stored.
enum class SampleType : uint8_t {
  Int16,    // signed 16-bit integer, low byte first
  Int32,    // signed 32-bit integer, low byte first
  Float32,  // IEEE float, low byte first
  None,     // no reader: nothing is read and the samples stay 0
};

// Bytes that one sample takes in the input.
int SampleBytes(SampleType type);

// Turns n raw samples into floats: integers to the nearest float of their
// value, floats bit for bit. No scale, no gain.
void SamplesToFloat(const uint8_t* raw, SampleType type, std::span<float> out);

}  // namespace vexmor
