// What the tests of vexmor-cli convert share: running the command and a
// script in-process, and the checks every route must pass on its inputs and
// its output.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "convert.h"
#include "panels/script.h"
#include "test_util.h"

namespace vexmor::test {

struct CliResult {
  int status;
  std::string out;
  std::string err;
};

inline CliResult Convert(const std::vector<std::string>& args) {
  KeepCurrentFolder keep;
  std::ostringstream out, err;
  const int status = cli::RunConvert(args, out, err, false);
  return {status, out.str(), err.str()};
}

inline void RunScript(const std::string& script) {
  KeepCurrentFolder keep;
  std::ostringstream out, err;
  ASSERT_EQ(RunScriptHeadless(script, out, err), 0) << err.str();
}

inline std::vector<std::string> Concat(std::vector<std::string> a, const std::vector<std::string>& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

// Nothing but the files named is left in the folder: no work folder, no
// half-written output.
inline void ExpectOnly(const TempDir& dir, std::vector<std::string> names) {
  std::vector<std::string> found;
  for (const auto& entry : std::filesystem::directory_iterator(dir.Path())) {
    found.push_back(entry.path().filename().string());
  }
  std::sort(found.begin(), found.end());
  std::sort(names.begin(), names.end());
  EXPECT_EQ(found, names);
}

struct RouteCase {
  std::string route;
  std::vector<std::string> inputs;
  std::vector<std::string> options;
};

// A dry run writes nothing; a missing input, an existing output and a last
// record cut short are refused with the file named and the output left as it
// was; with --force and good inputs the output is replaced whole.
inline void ExpectRouteKeepsItsOutput(const TempDir& dir, const RouteCase& c) {
  SCOPED_TRACE(c.route);
  ASSERT_NE(cli::FindRoute(c.route), nullptr);
  const std::string out = dir / ("out-" + c.route);
  const auto args = [&](const std::vector<std::string>& inputs, const std::vector<std::string>& more) {
    return Concat(Concat(Concat(Concat({c.route}, c.options), inputs), {"-o", out}), more);
  };
  // The export to one file a channel names its first file with 01.
  const std::string first = c.route == "su2ascii-channels" ? out + "01" : out;
  CliResult r = Convert(args(c.inputs, {"--dry-run"}));
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("Nothing written (dry run)."), std::string::npos) << r.out;
  EXPECT_FALSE(std::filesystem::exists(first));
  r = Convert(args({dir / "GONE"}, {}));
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find(dir / "GONE: no such file"), std::string::npos) << r.err;
  EXPECT_FALSE(std::filesystem::exists(first));

  WriteText(first, "mine");
  r = Convert(args(c.inputs, {}));
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find(first + ": exists already"), std::string::npos) << r.err;
  EXPECT_EQ(ReadText(first), "mine");

  const std::string last = c.inputs.back();
  const std::vector<uint8_t> whole = ReadBytes(last);
  WriteBytes(last, std::vector<uint8_t>(whole.begin(), whole.end() - 60));
  r = Convert(args(c.inputs, {"--force"}));
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find(last + ": "), std::string::npos) << r.err;
  EXPECT_EQ(ReadText(first), "mine");
  WriteBytes(last, whole);

  r = Convert(args(c.inputs, {"--force"}));
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_NE(ReadText(first), "mine");
  for (const auto& entry : std::filesystem::directory_iterator(dir.Path())) {
    EXPECT_EQ(entry.path().filename().string().find(".vexmor-convert"), std::string::npos);
  }
}

}  // namespace vexmor::test
