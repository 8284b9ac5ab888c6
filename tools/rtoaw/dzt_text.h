#pragma once
// The column text of a DZT file for the ASCII importer, and the rtoaw
// conversion that writes it.
#include <charconv>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "formats/dzt.h"

namespace vexmor {

// The column text that the ASCII importer reads: one row for each sample,
// one column for each scan, values separated by commas, rows by CR LF.
std::string DztColumnText(const std::vector<int32_t>& values, int samplesPerScan, int64_t scans);
// The same, row by row, for files too large to hold as one text.
void WriteDztColumns(const std::vector<int32_t>& values, int samplesPerScan, int64_t scans,
                     const std::function<void(std::string_view row)>& put);

// The rows of the column text, each value given by value(scan, sample):
// the exports read it straight from a map of the file.
template <typename Value>
void WriteColumnText(int samplesPerScan, int64_t scans, const Value& value,
                     const std::function<void(std::string_view row)>& put) {
  std::string row;
  row.reserve(static_cast<size_t>(scans) * 7 + 2);
  char number[16];
  for (size_t k = 0; k < static_cast<size_t>(samplesPerScan); ++k) {
    row.clear();
    for (size_t s = 0; s < static_cast<size_t>(scans); ++s) {
      if (s > 0) row += ',';
      const auto [end, ec] = std::to_chars(number, number + sizeof number, int32_t{value(s, k)});
      row.append(number, end);
    }
    row += "\r\n";
    put(row);
  }
}

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
  int64_t columns = 0;               // scans written, a last one cut short included
  bool damaged = false;              // a scan was cut short and padded
};

// The note of a DZT file that another program cut short while we read it.
std::string CutWhileReadNote(const std::string& input);

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
