#pragma once
// Ambrogeo record (.dta): lines of text, counted from 1.
//
//   1-4   not used
//   5     date: characters 2-4 the day, 5-6 the month, the last four the
//         year less 2000
//   6     time: characters 2-3 the hour, 5-6 the minute
//   7     not used
//   8     channels, "12" or "24"
//   9     samples per trace
//   10    not used
//   11    sampling rate of a 12-channel record
//   12    sampling rate of a 24-channel record
//   13    not used
//   14-37 one line for each of the 24 channels, not used
//   38-   one row for each sample: 24 whole numbers separated by commas or
//         line ends, sample s of channels 1 to 24
//
// A row always has 24 values, whatever the channels; each is a signed
// 16-bit value. Every number is taken by the leading-number rule.
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vexmor {

inline constexpr int kAmbrogeoProbeLines = 12;
inline constexpr int kAmbrogeoHeaderLines = 37;
inline constexpr int kAmbrogeoRowValues = 24;

// The first 12 lines of a record's text (fewer when it has fewer).
std::vector<std::string> AmbrogeoProbeLines(const std::string& text);

// The rate that line 8 points at: line 11 for "12", line 12 for "24",
// otherwise none (empty).
std::string AmbrogeoProposedRate(const std::vector<std::string>& lines);

// The date words of lines 5 and 6. A number that does not fit its 16-bit
// word is left out (empty), and the caller keeps the value it had.
struct AmbrogeoDate {
  std::optional<int16_t> year;    // 2000 + the number of the last four characters
  std::optional<int16_t> day;     // month x 30 + day
  std::optional<int16_t> hour;
  std::optional<int16_t> minute;
};
AmbrogeoDate DecodeAmbrogeoDate(const std::string& line5, const std::string& line6);

// The samples of one record: rows[c - 1][s - 1] for the kept channels c.
struct AmbrogeoRecord {
  std::vector<std::string> headerLines;  // lines 1 to 37 (fewer if the text is short)
  int rowsRead = 0;                      // rows that had all 24 values
};

// Reads a record's text into `matrix`: `matrix[c - 1]` holds nbSamples
// values of channel c, for the first matrix.size() channels (at most 24).
// A value past 16 bits is dropped and its cell keeps what it held; cells
// past the end of the text are set to 0.
AmbrogeoRecord ReadAmbrogeoRecord(std::string text, int nbSamples, std::vector<std::vector<int16_t>>& matrix);

// A record in this layout, for the sample generator and the tests.
// `samples[c][s]` for the channels written; rows are padded to 24 values
// with zeros.
struct AmbrogeoRecordContent {
  std::string dateLine = " 015 06  24";  // day 15, June, 2024
  std::string timeLine = " 10:42";
  std::string channels = "24";
  std::string rate12 = "250";
  std::string rate24 = "500";
  std::vector<std::vector<int16_t>> samples;
};
std::string BuildAmbrogeoText(const AmbrogeoRecordContent& record);

}  // namespace vexmor
