#pragma once
// rtoaw's word mode: the DZT file as the direct DZT-to-SU import reads it
// (1024-byte header, traces of H / 2 words of two samples each), written
// as column text, so that the text through the ASCII import gives the very
// samples of the direct import.
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace vexmor {

struct WordTextResult {
  int words = 0;       // rows: the samples per trace to type in the ASCII import
  int64_t traces = 0;  // columns
  std::vector<std::string> notes;  // for the user, each a full sentence (damaged input)
};

// Throws DztError (not such a file) or RunTimeFailure (can't be read or written).
WordTextResult DztWordsToText(const std::string& input, const std::string& output,
                              const std::function<void(int64_t, int64_t)>& progress = {});

}  // namespace vexmor
