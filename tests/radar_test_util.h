#pragma once
// What the radar importer tests share: running a panel script headlessly
// and reading the SU records that a conversion wrote.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "core/su_trace.h"
#include "panels/script.h"
#include "platform/headless_platform.h"
#include "test_util.h"

namespace vexmor::test {

// Runs the commands after `open MainPanel`; the transcript.
// A program folder given, Shell finds the programs there.
inline std::string RunPanelScript(const std::string& commands, const std::string& programFolder = "") {
  KeepCurrentFolder keep;
  HeadlessPlatform platform;
  if (!programFolder.empty()) platform.SetProgramFolder(programFolder);
  std::ostringstream out, err;
  EXPECT_EQ(RunScriptHeadless("open MainPanel\n" + commands, platform, out, err), 0) << err.str();
  return out.str();
}

// The transcript from the first line that holds `from`.
inline std::string From(const std::string& transcript, const std::string& from) {
  const size_t at = transcript.find(from);
  return at == std::string::npos ? "(no " + from + " in)\n" + transcript : transcript.substr(at);
}

struct SuRecords {
  std::vector<uint8_t> bytes;
  int ns = 0;
  size_t RecordSize() const { return 240 + 4 * static_cast<size_t>(ns); }
  size_t Traces() const { return bytes.size() / RecordSize(); }
  const uint8_t* Record(int i) const { return bytes.data() + RecordSize() * (i - 1); }
  double Word(int i, const char* name) const { return GetWord(Record(i), SuWordNamed(name)); }
  float Sample(int i, int k) const { return GetLEFloat(Record(i) + 240 + 4 * (k - 1)); }
};

inline SuRecords ReadSuRecords(const std::string& path) {
  SuRecords su{ReadBytes(path), 0};
  if (su.bytes.size() >= 240) su.ns = static_cast<uint16_t>(GetLE16(su.bytes.data() + 114));
  return su;
}

inline std::string SharedSample(const std::string& name) { return std::string(VEXMOR_SHARED_SAMPLES) + "/" + name; }

}  // namespace vexmor::test
