#pragma once
// SEG-D, rev 1, 2 and 3, demultiplexed disk files: the layout is drawn at
// the top of segd.cpp. A file may hold several records one behind the
// other; the reader walks them trace by trace and reads only what it is
// asked for.
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "formats/format_error.h"

namespace vexmor {

class BinaryFile;

class SegdError : public FormatError {
 public:
  using FormatError::FormatError;
};

struct SegdTrace {
  int record = 0;           // 1.. in the file
  int fileNumber = 0;
  int64_t traceNumber = 0;  // as the trace header gives it, 0 when unreadable
  int channelType = 0;      // 1 seismic; others auxiliary
  int dtUs = 0;
  int year = 0, day = 0, hour = 0, minute = 0, second = 0;
  int64_t ns = 0;
  int64_t headerOffset = 0;   // of its 20-byte trace header
  int64_t samplesOffset = 0;
  int formatCode = 0;
  // Sample bytes the trace should have and those the file holds: fewer for
  // a trace cut short, whose missing samples read as zeros.
  int64_t sampleBytes = 0;
  int64_t presentBytes = 0;
  bool CutShort() const { return presentBytes < sampleBytes; }
  // Every trace of a channel set is given the count of the set's first
  // trace, so that an SU stream keeps one ns. A trace whose own header
  // extension says another count has it here (else 0): fewer are padded
  // (and it is cut short), the samples past ns are left out.
  int64_t ownNs = 0;
};

class SuHeader;
// The SU words a SEG-D trace fills: fldr, ep, tracf, trid, ns, dt, year,
// day, hour, minute, sec.
SuHeader SegdSuHeader(const SegdTrace& trace);

// Whether the first bytes (at least 32) begin like a SEG-D record: a BCD
// sample format code of one we read. Cheap, never throws.
bool LooksLikeSegd(std::span<const uint8_t> head);

class SegdReader {
 public:
  // Throws SegdError when the file is too short for a general header.
  explicit SegdReader(BinaryFile& file);
  ~SegdReader();
  SegdReader(const SegdReader&) = delete;
  SegdReader& operator=(const SegdReader&) = delete;

  // The next trace, auxiliary ones included; false at the end of the file.
  // A trace cut short (by the end of the file, or by the next trace header
  // coming early) is given with CutShort(); within a record every trace of
  // a channel set has the sample count of the set's first one. Throws
  // SegdError naming the file for what can't be read; the traces given
  // before stay good.
  bool Next(SegdTrace& trace);
  // The samples of the trace Next gave last; out has room for its ns.
  void ReadSamples(float* out);
  // The samples of any trace that Next gave, read again from the file.
  void ReadSamplesOf(const SegdTrace& trace, float* out);
  int Records() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace vexmor
