#pragma once
// SEG-2 records to one SU file: the keyword strings into SU header words,
// and the conversion of a list of files that seg2su's terminal and window
// fronts share.
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "core/su_trace.h"
#include "formats/seg2.h"

namespace vexmor {

struct Seg2SuOptions {
  bool descale = false;  // multiply the samples by DESCALING_FACTOR
};

// Where a trace stands in the output.
struct Seg2TracePlace {
  int32_t outputTrace = 1;  // running over the whole output, from 1
  int32_t filePlace = 1;    // place of the file in the list, from 1
  int32_t traceInFile = 1;  // from 1
};

// The SU header of one trace. Words that the strings don't fill stay 0; a
// value that does not fit its word is left out and noted.
SuHeader Seg2TraceHeader(const Seg2File& file, const Seg2Trace& trace, const Seg2TracePlace& place,
                         int32_t outputSamples, std::vector<std::string>& notes);

// Date words from "DD/MON/YYYY" (also "DD/MM/YYYY", "YYYY-MM-DD") and
// "HH:MM:SS"; false when the text is not a date.
bool Seg2Date(const std::string& text, int& year, int& dayOfYear);
bool Seg2Time(const std::string& text, int& hour, int& minute, int& second);

struct Seg2SuReport {
  int filesDone = 0;
  int filesFailed = 0;
  int64_t traces = 0;
  int32_t samples = 0;                // ns of the output
  int64_t tracesLost = 0;             // traces of files cut short, left out
  int64_t tracesCut = 0;              // traces the end of a file cut through, padded
  std::vector<std::string> messages;  // one line each, naming the file
};

// The last line of a conversion: what was written where, or that nothing was.
std::string Seg2SuSummary(const Seg2SuReport& report, const std::string& output);

// Converts the files in order; each trace goes to `write` as one record
// (header and samples). A file that can't be read is named in the report and
// passed over whole; the others are converted all the same. `progress` gets
// (files handled, files in all).
using SuRecordWriter = std::function<void(const uint8_t* record, size_t bytes)>;
Seg2SuReport ConvertSeg2ToSu(const std::vector<std::string>& inputs, const SuRecordWriter& write,
                             const Seg2SuOptions& options = {},
                             const std::function<void(int, int)>& progress = {});

}  // namespace vexmor
