#pragma once
// Helpers for the tests of the list-selection importers (abem, es1225,
// oyo, HandyViewer): running a panel script, and reading an SU output
// word by word and sample by sample.
#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "core/su_trace.h"
#include "panels/script.h"
#include "platform/headless_platform.h"
#include "test_util.h"

namespace vexmor::test {

inline std::string RunPanelScript(const std::string& script) {
  KeepCurrentFolder keep;
  HeadlessPlatform platform;
  platform.SetRecordOnly(true);
  std::ostringstream out, err;
  EXPECT_EQ(RunScriptHeadless(script, platform, out, err), 0) << err.str();
  return out.str();
}

// Quotes a path for a script line.
inline std::string Q(const std::string& text) { return "\"" + text + "\""; }

class SuOutput {
 public:
  SuOutput(const std::string& path, int nbSamples) : bytes_(ReadBytes(path)), ns_(nbSamples) {}
  size_t Size() const { return bytes_.size(); }
  size_t RecordSize() const { return 240 + 4 * static_cast<size_t>(ns_); }
  size_t Records() const { return bytes_.size() / RecordSize(); }
  const uint8_t* Record(size_t i) const { return bytes_.data() + i * RecordSize(); }
  double Word(size_t i, std::string_view name) const { return GetWord(Record(i), SuWordNamed(name)); }
  float Sample(size_t i, size_t j) const { return GetLEFloat(Record(i) + 240 + 4 * j); }

 private:
  std::vector<uint8_t> bytes_;
  int ns_;
};

// Every word of the header of record i, by name: those listed hold their
// value, every other word (and the padding behind them) holds `rest`.
inline void ExpectHeader(const SuOutput& out, size_t i, const std::map<std::string, double>& words,
                         const std::map<std::string, double>& rest = {}) {
  for (const SuWord& word : SuWords()) {
    const std::string name(word.name);
    double expected = 0;
    if (auto it = words.find(name); it != words.end()) {
      expected = it->second;
    } else if (auto kept = rest.find(name); kept != rest.end()) {
      expected = kept->second;
    }
    EXPECT_EQ(out.Word(i, word.name), expected) << "record " << i << " word " << name;
  }
}

// Samples of record i, one by one.
template <typename T>
void ExpectSamples(const SuOutput& out, size_t i, const std::vector<T>& expected) {
  for (size_t j = 0; j < expected.size(); ++j) {
    EXPECT_EQ(out.Sample(i, j), static_cast<float>(expected[j])) << "record " << i << " sample " << j;
  }
}

}  // namespace vexmor::test

namespace vexmor::test {

// No failure may escape an operation of these panels: each reports its own
// or passes over the step.
inline void ExpectNoEscapedFailure(const std::string& transcript) {
  EXPECT_EQ(transcript.find("Run-time error"), std::string::npos) << transcript;
  EXPECT_EQ(transcript.find("Unexpected error"), std::string::npos) << transcript;
}

}  // namespace vexmor::test
