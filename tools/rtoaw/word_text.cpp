#include "word_text.h"

#include <filesystem>
#include <vector>

#include "core/binary_file.h"
#include "core/paths.h"
#include "dzt_text.h"
#include "importers/radar/dzt_words.h"

namespace vexmor {

WordTextResult DztWordsToText(const std::string& input, const std::string& output,
                              const std::function<void(int64_t, int64_t)>& progress) {
  std::error_code ec;
  if (std::filesystem::equivalent(input, output, ec)) {
    throw DztError(input + ": the text " + output + " would replace the radar file itself; name another output");
  }
  BinaryFile in(ResolveExisting(input), BinaryFile::Mode::Read);
  const DztWordsLayout layout = ReadDztWordsLayout(in);
  if (layout.words < 1 || layout.traces < 1) {
    throw DztError(input + ": no trace of words: " + std::to_string(layout.samplesPerScan) + " samples per scan of " +
                   std::to_string(layout.bits) + " bits in " + std::to_string(in.Size()) + " bytes");
  }
  WordTextResult result{layout.words, layout.traces};
  std::vector<int32_t> values(static_cast<size_t>(layout.words) * static_cast<size_t>(layout.traces));
  for (int64_t i = 1; i <= layout.traces; ++i) {
    ReadDztWords(in, i, layout.width,
                 std::span<int32_t>(values.data() + static_cast<size_t>(i - 1) * layout.words, layout.words));
  }
  BinaryFile out(output, BinaryFile::Mode::Create);
  int64_t at = 0, done = 0;
  WriteDztColumns(values, layout.words, layout.traces, [&](std::string_view row) {
    out.Write(at, row.data(), row.size());
    at += static_cast<int64_t>(row.size());
    if (progress && ++done % 64 == 0) progress(done, layout.words);
  });
  out.Close();
  if (progress) progress(layout.words, layout.words);
  return result;
}

}  // namespace vexmor
