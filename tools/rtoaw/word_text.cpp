#include "word_text.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <span>

#include "core/binary_file.h"
#include "core/mapped_file.h"
#include "core/paths.h"
#include "core/su_trace.h"
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
  WordTextResult result{layout.words, layout.traces, {}};
  in.Close();
  // Every row takes a word from each trace: the file is mapped, not copied,
  // and the pages walked are handed back every few thousand rows. Words
  // past the end of the file are 0.
  const MappedFile mapped(ResolveExisting(input), MappedFile::Use::Walk);
  const std::span<const uint8_t> bytes = mapped.Bytes();
  const auto wordBytes = static_cast<size_t>(2 * layout.width);
  const auto value = [&](size_t trace, size_t k) -> int32_t {
    const auto offset = static_cast<size_t>(DztWordsTraceOffset(int64_t(trace) + 1, layout.words, layout.width)) +
                    k * wordBytes;
    uint8_t raw[4] = {0, 0, 0, 0};
    if (offset < bytes.size()) std::memcpy(raw, bytes.data() + offset, std::min(wordBytes, bytes.size() - offset));
    return layout.width == 2 ? GetLE32(raw) : GetLE16(raw);
  };
  BinaryFile out(output, BinaryFile::Mode::Create);
  int64_t at = 0, done = 0;
  WriteColumnText(layout.words, layout.traces, value, [&](std::string_view row) {
    out.Write(at, row.data(), row.size());
    at += static_cast<int64_t>(row.size());
    if (++done % 4096 == 0) mapped.Forget();
    if (progress && done % 64 == 0) progress(done, layout.words);
  });
  out.Close();
  if (progress) progress(layout.words, layout.words);
  if (mapped.CutWhileRead()) result.notes.push_back(CutWhileReadNote(input));
  return result;
}

}  // namespace vexmor
