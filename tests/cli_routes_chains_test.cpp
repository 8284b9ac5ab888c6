// vexmor-cli convert, the KGS routes and the join of SU files: the bytes of the panel Convert for the
// same inputs and answers, and outputs kept whole when an input is refused.
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "cli_test_util.h"
#include "convert.h"
#include "core/su_trace.h"
#include "panels/script.h"
#include "platform/jobs.h"
#include "tools_helpers.h"

namespace vexmor {
namespace {

namespace fs = std::filesystem;
using test::ReadBytes;
using test::TempDir;

using test::Convert;
using test::ExpectOnly;
using test::RunScript;
using Result = test::CliResult;

void Put16(std::vector<uint8_t>& f, size_t at, int16_t v) {
  f[at] = static_cast<uint8_t>(v);
  f[at + 1] = static_cast<uint8_t>(static_cast<uint16_t>(v) >> 8);
}

// `records` KGS records of ns samples (2 bytes each for integers, 4 for
// floating), every header word numbered so that a misplaced one shows.
std::vector<uint8_t> KgsFile(int records, int ns, bool integer) {
  const size_t size = 240 + (integer ? 2u : 4u) * static_cast<size_t>(ns);
  std::vector<uint8_t> file(size * static_cast<size_t>(records));
  for (int r = 0; r < records; ++r) {
    const size_t at = size * static_cast<size_t>(r);
    for (int o = 0; o < 240; o += 2) Put16(file, at + static_cast<size_t>(o), static_cast<int16_t>(r * 1000 + o));
    Put16(file, at + 16, 12);   // channels (integer files)
    Put16(file, at + 114, static_cast<int16_t>(ns));
    Put16(file, at + 116, 250);
    for (size_t k = 240; k < size; ++k) file[at + k] = static_cast<uint8_t>(k * 7 + static_cast<size_t>(r));
  }
  return file;
}

std::vector<uint8_t> SuRecords(int records, int channels, int ns) {
  std::vector<test::SuTrace> traces;
  for (int r = 1; r <= records; ++r) {
    for (int c = 1; c <= channels; ++c) {
      SuHeader h;
      h.Set("tracl", (r - 1) * channels + c);
      h.Set("fldr", 100 + r);
      h.Set("tracf", c);
      h.Set("dt", 500);
      test::SuTrace t;
      t.header.assign(h.Data(), h.Data() + 240);
      for (int k = 0; k < ns; ++k) t.samples.push_back(static_cast<float>(c) - static_cast<float>(k) / 4);
      traces.push_back(t);
    }
  }
  return test::SuFile(traces);
}

TEST(ConvertChainRoutes, KgsRoutesWriteThePanelsBytes) {
  TempDir dir;
  test::WriteBytes(dir / "L.EVD", KgsFile(3, 10, true));
  RunScript("open MainPanel\nclick Option3\nuse Convert\nanswer dialog " + (dir / "L.EVD") +
            "\nclick Command3\nset Text2 " + (dir / "panel.su") + "\nanswer prompt 7\nclick Command2\n");
  Result r = Convert({"kgsi", dir / "L.EVD", "--depth", "7", "-o", dir / "cli.su"});
  ASSERT_EQ(r.status, 0) << r.err;
  const auto su = ReadBytes(dir / "cli.su");
  ASSERT_EQ(su.size(), 3u * (240 + 40));
  EXPECT_EQ(su, ReadBytes(dir / "panel.su"));
  EXPECT_EQ(su[48], 7);  // sdepth, the prompt's answer

  test::WriteBytes(dir / "F.DAT", KgsFile(4, 6, false));
  RunScript("open MainPanel\nclick Option9\nuse Convert\nanswer dialog " + (dir / "F.DAT") +
            "\nclick Command3\nset Text2 " + (dir / "fpanel.su") + "\nanswer prompt 1\nclick Command2\n");
  r = Convert({"kgs", dir / "F.DAT", "-o", dir / "fcli.su"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(ReadBytes(dir / "fcli.su").size(), 4u * 264);
  EXPECT_EQ(ReadBytes(dir / "fcli.su"), ReadBytes(dir / "fpanel.su"));

  // SU to KGS: 2 records of 8 channels, so the data type is not asked.
  test::WriteBytes(dir / "S.SU", SuRecords(2, 8, 5));
  RunScript("open MainPanel\nclick Option11\nuse Convert\nanswer dialog " + (dir / "S.SU") +
            "\nclick Command3\nset Text2 " + (dir / "kpanel.dat") +
            "\nanswer prompt 8\nanswer prompt 0\nanswer prompt -1\nclick Command2\n");
  r = Convert({"su2kgs", dir / "S.SU", "--record-word", "8", "--direction", "-1", "-o", dir / "kcli.dat"});
  ASSERT_EQ(r.status, 0) << r.err;
  const auto kgs = ReadBytes(dir / "kcli.dat");
  EXPECT_EQ(kgs, ReadBytes(dir / "kpanel.dat"));
  ASSERT_EQ(kgs.size(), 16u * 260);
  EXPECT_EQ(kgs[2], 8);      // channels
  EXPECT_EQ(kgs[4], 8);      // record word
  EXPECT_EQ(kgs[8], 0xff);   // direction -1
}

TEST(ConvertChainRoutes, KgsRoutesRefuseAndLeaveTheOutput) {
  TempDir dir;
  test::WriteBytes(dir / "L.EVD", KgsFile(2, 10, true));
  auto cut = KgsFile(2, 10, true);
  cut.resize(cut.size() - 5);
  test::WriteBytes(dir / "CUT.EVD", cut);
  test::WriteText(dir / "old.su", "keep me");

  // A missing input, an existing output, a cut record: nothing written.
  Result r = Convert({"kgsi", dir / "NONE.EVD", "-o", dir / "new.su"});
  EXPECT_NE(r.status, 0);
  EXPECT_NE(r.err.find("NONE.EVD"), std::string::npos) << r.err;
  r = Convert({"kgsi", dir / "L.EVD", "-o", dir / "old.su"});
  EXPECT_NE(r.status, 0);
  EXPECT_NE(r.err.find("old.su"), std::string::npos) << r.err;
  r = Convert({"kgsi", dir / "CUT.EVD", "--force", "-o", dir / "old.su"});
  EXPECT_NE(r.status, 0);
  EXPECT_NE(r.err.find("CUT.EVD: 515 bytes"), std::string::npos) << r.err;
  r = Convert({"su2kgs", dir / "CUT.EVD", "--force", "-o", dir / "old.su"});
  EXPECT_NE(r.status, 0);
  EXPECT_NE(r.err.find("CUT.EVD"), std::string::npos) << r.err;
  EXPECT_EQ(test::ReadText(dir / "old.su"), "keep me");

  r = Convert({"kgs", dir / "L.EVD", "--dry-run", "-o", dir / "dry.su"});
  EXPECT_NE(r.status, 0);  // integer records are not whole floating records
  r = Convert({"kgsi", dir / "L.EVD", "--dry-run", "-o", dir / "dry.su"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("traces 2, samples 10"), std::string::npos) << r.out;
  ExpectOnly(dir, {"L.EVD", "CUT.EVD", "old.su"});
}

TEST(ConvertChainRoutes, AddJoinsWholeFilesAndDeletesOnlyWhenAsked) {
  TempDir dir;
  const auto a = SuRecords(1, 4, 6);
  const auto b = SuRecords(2, 4, 6);
  test::WriteBytes(dir / "A.su", a);
  test::WriteBytes(dir / "B.su", b);
  // The panel with its check box unticked, as the route leaves it.
  RunScript("open MainPanel\nclick Option20\nuse Add_SU_files\nanswer dialog \"" + dir.Str() +
            " A.su B.su\"\nclick Command1\nclick Check1\nset Text2 " + (dir / "panel.su") + "\nclick Command2\n");
  Result r = Convert({"add", dir / "A.su", dir / "B.su", "-o", dir / "cli.su"});
  ASSERT_EQ(r.status, 0) << r.err;
  auto joined = a;
  joined.insert(joined.end(), b.begin(), b.end());
  EXPECT_EQ(ReadBytes(dir / "cli.su"), joined);
  EXPECT_EQ(ReadBytes(dir / "panel.su"), joined);
  ExpectOnly(dir, {"A.su", "B.su", "cli.su", "panel.su"});

  // A cut input refuses the whole join; nothing is deleted.
  auto cut = b;
  cut.resize(cut.size() - 3);
  test::WriteBytes(dir / "C.su", cut);
  r = Convert({"add", dir / "A.su", dir / "C.su", "--delete-inputs", "-o", dir / "bad.su"});
  EXPECT_NE(r.status, 0);
  EXPECT_NE(r.err.find("C.su"), std::string::npos) << r.err;
  r = Convert({"add", dir / "A.su", dir / "B.su", "-o", dir / "cli.su"});
  EXPECT_NE(r.status, 0);
  EXPECT_NE(r.err.find("cli.su: exists already"), std::string::npos) << r.err;
  r = Convert({"add", dir / "A.su", dir / "B.su", "--dry-run", "-o", dir / "dry.su"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("traces 12, samples 6"), std::string::npos) << r.out;
  ExpectOnly(dir, {"A.su", "B.su", "C.su", "cli.su", "panel.su"});

  r = Convert({"add", dir / "A.su", dir / "B.su", "--delete-inputs", "-o", dir / "all.su"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(ReadBytes(dir / "all.su"), joined);
  ExpectOnly(dir, {"C.su", "all.su", "cli.su", "panel.su"});
}

// The job's output is the judge: the panel shows nothing when it ends.
TEST(ConvertChainRoutes, SegdRunsTheJobAndJudgesItsOutput) {
  TempDir dir;
  test::WriteBytes(dir / "BAD.SGD", std::vector<uint8_t>(100, 0x11));
  test::WriteText(dir / "old.su", "keep me");
  Result r = Convert({"segd", dir / "BAD.SGD", "--force", "-o", dir / "old.su"});
  EXPECT_NE(r.status, 0);
  EXPECT_NE(r.err.find("old.su: not written"), std::string::npos) << r.err;
  EXPECT_EQ(test::ReadText(dir / "old.su"), "keep me");
  r = Convert({"segd", dir / "NONE.SGD", "-o", dir / "new.su"});
  EXPECT_NE(r.status, 0);
  EXPECT_NE(r.err.find("NONE.SGD"), std::string::npos) << r.err;

  const std::string sample = std::string(VEXMOR_SHARED_SAMPLES) + "/segd/demo-8058.segd";
  if (!fs::exists(sample)) GTEST_SKIP() << "no SEG-D sample here";
  // Read in place through a link: the panel's job script goes beside it.
  const std::string segd = dir / "demo.segd";
  fs::create_symlink(sample, segd);
  RunScript("open MainPanel\nclick Option13\nuse Convert\nanswer dialog " + segd + "\nclick Command3\nset Text2 " +
            (dir / "panel.su") + "\nclick Command2\n");
  WaitForJobs();
  r = Convert({"segd", segd, "-o", dir / "cli.su"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_FALSE(ReadBytes(dir / "cli.su").empty());
  EXPECT_EQ(ReadBytes(dir / "cli.su"), ReadBytes(dir / "panel.su"));
}

// A big-endian SEG-Y file of IEEE samples, traces of ns samples.
std::vector<uint8_t> SegyFile(int traces, int ns) {
  std::vector<uint8_t> f(3600, 0);
  const auto put16 = [&f](size_t at, int v) {
    f[at] = static_cast<uint8_t>(static_cast<uint16_t>(v) >> 8);
    f[at + 1] = static_cast<uint8_t>(v);
  };
  put16(3216, 250);
  put16(3220, ns);
  put16(3224, 5);
  for (int t = 1; t <= traces; ++t) {
    const size_t h = f.size();
    f.resize(h + 240 + 4 * static_cast<size_t>(ns), 0);
    put16(h + 2, t);
    put16(h + 114, ns);
    put16(h + 116, 250);
    for (int k = 0; k < ns; ++k) f[h + 240 + 4 * static_cast<size_t>(k)] = static_cast<uint8_t>(0x40 + t);
  }
  return f;
}

TEST(ConvertChainRoutes, SegyWaitsForItsJobAndRefusesACutTrace) {
  TempDir dir;
  test::WriteBytes(dir / "L.sgy", SegyFile(3, 128));
  // The panel's test run leaves the reel headers in the current folder.
  test::KeepCurrentFolder keep;
  fs::current_path(dir.Path());
  RunScript("open MainPanel\nclick Option2\nuse SEGY\nanswer dialog " + (dir / "L.sgy") +
            "\nclick Command1\nset Text9 0\nset Text2 " + (dir / "panel.su") + "\nclick Command5\nclick Command2\n");
  WaitForJobs();
  Result r = Convert({"segy", dir / "L.sgy", "-o", dir / "cli.su"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(ReadBytes(dir / "cli.su").size(), 3u * (240 + 512));
  EXPECT_EQ(ReadBytes(dir / "cli.su"), ReadBytes(dir / "panel.su"));

  auto cut = SegyFile(3, 128);
  cut.resize(cut.size() - 8);
  test::WriteBytes(dir / "CUT.sgy", cut);
  test::WriteText(dir / "old.su", "keep me");
  r = Convert({"segy", dir / "CUT.sgy", "--force", "-o", dir / "old.su"});
  EXPECT_NE(r.status, 0);
  EXPECT_NE(r.err.find("CUT.sgy: 5,848 bytes"), std::string::npos) << r.err;
  EXPECT_EQ(test::ReadText(dir / "old.su"), "keep me");
  r = Convert({"segy", dir / "L.sgy", "--dry-run", "-o", dir / "dry.su"});
  EXPECT_EQ(r.status, 0) << r.err;
  // The panel's run left its reel headers beside the input; the route's
  // runs leave nothing there.
  ExpectOnly(dir, {"L.sgy", "CUT.sgy", "old.su", "cli.su", "panel.su", "binary", "header"});
  fs::remove(dir / "binary");
  fs::remove(dir / "header");
  r = Convert({"segy", dir / "L.sgy", "--force", "-o", dir / "cli.su"});
  EXPECT_EQ(r.status, 0) << r.err;
  ExpectOnly(dir, {"L.sgy", "CUT.sgy", "old.su", "cli.su", "panel.su"});
}

TEST(ConvertChainRoutes, Su2SegyWaitsForItsJobAndChecksTheSize) {
  TempDir dir;
  test::WriteBytes(dir / "S.su", SuRecords(1, 6, 16));
  // The panel's job leaves its header files in the current folder.
  test::KeepCurrentFolder keep;
  fs::current_path(dir.Path());
  RunScript("open MainPanel\nclick Option15\nuse SU2SGY\nanswer dialog " + (dir / "S.su") +
            "\nclick Command3\nset Text2 " + (dir / "panel.sgy") + "\nclick Command2\n");
  WaitForJobs();
  Result r = Convert({"su2segy", dir / "S.su", "-o", dir / "cli.sgy"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(ReadBytes(dir / "cli.sgy").size(), 3600u + 6 * (240 + 64));
  EXPECT_EQ(ReadBytes(dir / "cli.sgy"), ReadBytes(dir / "panel.sgy"));

  auto cut = SuRecords(1, 6, 16);
  cut.resize(cut.size() - 4);
  test::WriteBytes(dir / "CUT.su", cut);
  test::WriteText(dir / "old.sgy", "keep me");
  r = Convert({"su2segy", dir / "CUT.su", "--force", "-o", dir / "old.sgy"});
  EXPECT_NE(r.status, 0);
  EXPECT_NE(r.err.find("CUT.su: 1,820 bytes"), std::string::npos) << r.err;
  EXPECT_EQ(test::ReadText(dir / "old.sgy"), "keep me");
  r = Convert({"su2segy", dir / "S.su", "--dry-run", "-o", dir / "dry.sgy"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_FALSE(fs::exists(dir / "dry.sgy"));
  // The route's own runs leave nothing in the current folder.
  ExpectOnly(dir, {"S.su", "CUT.su", "old.sgy", "cli.sgy", "panel.sgy", "binary", "header"});
}

}  // namespace
}  // namespace vexmor
