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
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace vexmor {

class DztError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
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

// The header of a file on disk.
DztHeader ReadDztHeader(const std::string& path);

// One channel of the file as signed values: scan after scan, samplesPerScan
// values each. With `centre`, unsigned samples have their zero (128, 32768)
// taken off; without it they stay as stored.
std::vector<int32_t> ReadDztChannel(const std::string& path, const DztHeader& header, int channel, bool centre);

// The column text that the ASCII importer reads: one row for each sample,
// one column for each scan, values separated by commas, rows by CR LF.
std::string DztColumnText(const std::vector<int32_t>& values, int samplesPerScan, int64_t scans);
// The same, row by row, for files too large to hold as one text.
void WriteDztColumns(const std::vector<int32_t>& values, int samplesPerScan, int64_t scans,
                     const std::function<void(std::string_view row)>& put);

// A DZT file for the tests: one header block per channel, then the scans
// (values as stored).
std::vector<uint8_t> MakeDzt(int samplesPerScan, int bits, int channels, const std::vector<uint32_t>& stored,
                             int dataField = 1024, float rangeNs = 50);

}  // namespace vexmor

namespace vexmor {

struct DztToTextOptions {
  int channel = 0;     // 1.. for one channel; 0 for all of them
  bool centre = true;  // take the zero of unsigned samples off
};

struct DztToTextResult {
  DztHeader header;
  std::vector<std::string> outputs;  // the text files written
  std::vector<std::string> notes;    // for the user, each a full sentence
};

// The text file names for the channels: the output as given for a file of
// one channel, NAME_1.TXT, NAME_2.TXT ... for several. An empty output is
// the input's name with the extension TXT (in the input's letter case).
std::vector<std::string> DztTextNames(const std::string& input, const std::string& output, int channels,
                                      int onlyChannel);

// Writes the column text of the file's channels. Throws DztError (bad input)
// or vexmor::RunTimeFailure (a file that can't be opened or written).
// `progress` gets (rows done, rows in all).
DztToTextResult DztToText(const std::string& input, const std::string& output, const DztToTextOptions& options,
                          const std::function<void(int64_t, int64_t)>& progress = {});

}  // namespace vexmor
