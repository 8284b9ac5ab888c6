#pragma once
// GSSI DZT radar files. All numbers low byte first.
//
// Header, one block of 1024 bytes for each channel (channel c at c x 1024):
//
//    0      2      4        6      8      10     14     18     22      26     30
//   | tag  | data | nsamp  | bits | zero | sps  | spm  | mpm  | posn   | range| npass |
//   | 00FF | offs | /scan  |8/16/ |      | f32  | f32  | f32  | f32 ns | f32ns|       |
//   |      |      |        |  32  |      |scans |scans | m a  |        |      |       |
//   |      |      |        |      |      |per s |per m | mark |        |      |       |
//    32       36       40     42      44     46      48     50      52      54
//   | created | changed| rgain| nrgain| text | ntext | proc | nproc | nchan | epsr f32 ...
//
//   The data offset (bytes 2..3) is the header size: a value below 1024 is
//   counted in blocks of 1024 bytes, otherwise the header is 1024 bytes for
//   each channel. Old files that give neither take 1024 x channels.
//
// Data, from the end of the header to the end of the file:
//
//   | scan 1: channel 1 (nsamp samples), channel 2, ... | scan 2: ... | ...
//
//   8- and 16-bit samples are unsigned, with their zero at the middle of the
//   range (128, 32768); 32-bit samples are signed.
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "formats/format_error.h"

namespace vexmor {

class BinaryFile;

class DztError : public FormatError {
 public:
  using FormatError::FormatError;
};

struct DztHeader {
  int tag = 0;
  int samplesPerScan = 0;
  int bits = 0;
  int channels = 1;
  float scansPerSecond = 0;
  float scansPerMeter = 0;
  float rangeNs = 0;          // time window of a scan
  int64_t headerBytes = 0;    // where the data begin
  int64_t scans = 0;          // whole scans the file holds
  int64_t leftoverBytes = 0;  // bytes of a last scan cut short

  int BytesPerSample() const { return bits / 8; }
  int64_t ScanBytes() const { return int64_t(samplesPerScan) * BytesPerSample() * channels; }
};

// Reads and checks the header of a file of `fileSize` bytes whose first
// bytes are `head` (at least 64, more is not needed). Throws DztError
// naming `name`.
DztHeader ParseDztHeader(const uint8_t* head, size_t headBytes, int64_t fileSize, const std::string& name);

// The header of a file on disk, or of any byte source.
DztHeader ReadDztHeader(const std::string& path);
DztHeader ReadDztHeader(BinaryFile& file);

// Whether the first bytes (at least 64) look like a DZT header: cheap, never
// throws. The format has no magic number, so the fields must agree: data
// bits, samples, channels, header size and time range.
bool LooksLikeDzt(std::span<const uint8_t> head, int64_t fileSize);

// `count` scans of one channel from scan `first` on, as ReadDztChannel gives
// them, into out (count x samplesPerScan values). Only those bytes are read.
void ReadDztScans(BinaryFile& file, const DztHeader& header, int channel, int64_t first, int64_t count, bool centre,
                  int32_t* out);

// One channel of the file as signed values: scan after scan, samplesPerScan
// values each. With `centre`, unsigned samples have their zero (128, 32768)
// taken off; without it they stay as stored.
std::vector<int32_t> ReadDztChannel(const std::string& path, const DztHeader& header, int channel, bool centre);

// A DZT file for the tests: one header block per channel, then the scans
// (values as stored).
std::vector<uint8_t> MakeDzt(int samplesPerScan, int bits, int channels, const std::vector<uint32_t>& stored,
                             int dataField = 1024, float rangeNs = 50);

}  // namespace vexmor
