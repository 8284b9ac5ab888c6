// The viewer's reading of every format through the core readers, its
// command-line answers, and MainPanel starting it under its three names.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "core/su_trace.h"
#include "field_file.h"
#include "panels/script.h"
#include "platform/headless_platform.h"
#include "platform/jobs.h"
#include "test_util.h"
#include "tools_helpers.h"
#include "viewer_files.h"

namespace vexmor {
namespace {

using test::TempDir;
using view::FieldFile;

const std::string kSamples = VEXMOR_SHARED_SAMPLES;

struct Read {
  std::vector<float> samples;
  std::vector<uint8_t> header;
};

Read TraceOf(FieldFile& f, int64_t i) {
  Read r{std::vector<float>(size_t(f.Info().samples)), std::vector<uint8_t>(240)};
  f.ReadTrace(i, r.samples.data(), r.header.data());
  return r;
}

double Word(const Read& r, const char* name) { return GetWord(r.header.data(), SuWordNamed(name)); }

std::string ErrorOf(const std::string& path) {
  try {
    FieldFile::Open(path);
  } catch (const std::exception& e) {
    return e.what();
  }
  return "";
}

TEST(ViewerFormats, SegyInBothByteOrdersAndSampleFormats) {
  TempDir dir;
  const std::vector<std::vector<double>> values = {{1, -2, 3, 0}, {100, 200, -300, 4}, {7, 8, 9, 10}};
  for (const bool big : {true, false}) {
    for (const int format : {5, 3}) {
      SCOPED_TRACE(std::string(big ? "big" : "little") + " format " + std::to_string(format));
      test::WriteBytes(dir / "a.sgy", test::MakeSegy(values, format, big));
      const auto f = FieldFile::Open(dir / "a.sgy");
      EXPECT_EQ(view::InfoLine(f->Info()),
                std::string("format=SEG-Y traces=3 samples=4 interval=500 byte_order=") + (big ? "big" : "little"));
      const Read r = TraceOf(*f, 1);
      EXPECT_EQ(r.samples, (std::vector<float>{100, 200, -300, 4}));
      EXPECT_EQ(Word(r, "tracl"), 2);
      EXPECT_EQ(Word(r, "offset"), 20);
      EXPECT_EQ(Word(r, "ns"), 4);
    }
  }
  // IBM: 1.0 is 41100000, -1.0 C1100000, 0.5 40800000.
  test::WriteBytes(dir / "ibm.sgy", test::MakeSegy({{double(0x41100000u), double(0xC1100000u), double(0x40800000u)}}, 1,
                                                   true, true));
  const auto f = FieldFile::Open(dir / "ibm.sgy");
  EXPECT_EQ(TraceOf(*f, 0).samples, (std::vector<float>{1.0f, -1.0f, 0.5f}));
}

TEST(ViewerFormats, SuSeg2DztAndRamac) {
  TempDir dir;
  test::WriteBytes(dir / "a.su", test::MakeSu({{1, 2, 3}, {4, 5, 6}}, 2000));
  auto su = FieldFile::Open(dir / "a.su");
  EXPECT_EQ(view::InfoLine(su->Info()), "format=SU traces=2 samples=3 interval=2000 byte_order=little");
  EXPECT_EQ(TraceOf(*su, 1).samples, (std::vector<float>{4, 5, 6}));
  EXPECT_FALSE(su->Info().radar);
  // Our radar imports mark nhs 95 (bytes 32-33) and hold ns x 1000 in dt.
  auto radar = test::MakeSu({{1, 2, 3}, {4, 5, 6}}, 400);
  radar[32] = 95;
  radar[240 + 12 + 32] = 95;
  test::WriteBytes(dir / "r.su", radar);
  auto rsu = FieldFile::Open(dir / "r.su");
  EXPECT_TRUE(rsu->Info().radar);
  EXPECT_EQ(view::InfoLine(rsu->Info()), "format=SU traces=2 samples=3 interval=0.4 byte_order=little");

  std::vector<Seg2WriteTrace> traces(2);
  traces[0].samples = {10, -20, 30, -40};
  traces[1].samples = {1, 2, 3, 4};
  for (auto& t : traces) t.strings = {"SAMPLE_INTERVAL 0.00025", "RECEIVER_LOCATION 12"};
  test::WriteBytes(dir / "a.dat", MakeSeg2({"ACQUISITION_DATE 01/JAN/2020"}, traces, 2, true));
  auto seg2 = FieldFile::Open(dir / "a.dat");
  EXPECT_EQ(view::InfoLine(seg2->Info()), "format=SEG-2 traces=2 samples=4 interval=250 byte_order=big");
  const Read s = TraceOf(*seg2, 0);
  EXPECT_EQ(s.samples, (std::vector<float>{10, -20, 30, -40}));
  EXPECT_EQ(Word(s, "dt"), 250);

  // 16-bit DZT: stored values have their zero at 32768; 4 samples in 50 ns.
  test::WriteBytes(dir / "a.DZT", MakeDzt(4, 16, 1, {32768, 32770, 32766, 40000, 1, 2, 3, 4}, 1024, 50));
  auto dzt = FieldFile::Open(dir / "a.DZT");
  EXPECT_EQ(view::InfoLine(dzt->Info()), "format=DZT traces=2 samples=4 interval=12.5 byte_order=little");
  const Read d = TraceOf(*dzt, 0);
  EXPECT_EQ(d.samples, (std::vector<float>{0, 2, -2, 7232}));
  EXPECT_EQ(Word(d, "nhs"), 95);
  EXPECT_EQ(Word(d, "dt"), 12500);

  test::WriteRamac(dir / "line", {{1, -1, 2}, {3, -3, 4}, {5, 6, 7}}, 30);
  for (const char* name : {"line.rd3", "line.rad"}) {
    auto ramac = FieldFile::Open(dir / name);
    EXPECT_EQ(view::InfoLine(ramac->Info()), "format=RAMAC traces=3 samples=3 interval=10 byte_order=little");
    EXPECT_EQ(TraceOf(*ramac, 1).samples, (std::vector<float>{3, -3, 4}));
  }
}

TEST(ViewerFormats, Dt1AndKgsIntegerAndFloating) {
  TempDir dir;
  // 4 points in a 20 ns window: 5 ns a sample. Opened by either file.
  test::WriteDt1(dir / "line", {{1, -1, 2, 9}, {3, -3, 4, 8}, {5, 6, 7, -9}}, 20);
  for (const char* name : {"line.DT1", "line.HD"}) {
    auto dt1 = FieldFile::Open(dir / name);
    EXPECT_EQ(view::InfoLine(dt1->Info()), "format=DT1 traces=3 samples=4 interval=5 byte_order=little");
    EXPECT_TRUE(dt1->Info().radar);
    const Read r = TraceOf(*dt1, 1);
    EXPECT_EQ(r.samples, (std::vector<float>{3, -3, 4, 8}));
    EXPECT_EQ(Word(r, "tracl"), 2);
    EXPECT_EQ(Word(r, "nhs"), 95);
    EXPECT_EQ(Word(r, "dt"), 5000);
    EXPECT_TRUE(dt1->Notes().empty()) << dt1->Notes().front();
  }
  // No .HD and the last trace cut: the trace header's window, the cut
  // trace padded, both told.
  test::WriteDt1(dir / "bare", {{1, 2, 3, 4}, {5, 6, 7, 8}}, 0, 40);
  std::vector<uint8_t> bytes = test::ReadBytes(dir / "bare.DT1");
  bytes.resize(bytes.size() - 4);
  test::WriteBytes(dir / "bare.DT1", bytes);
  auto bare = FieldFile::Open(dir / "bare.DT1");
  EXPECT_EQ(view::InfoLine(bare->Info()), "format=DT1 traces=2 samples=4 interval=10 byte_order=little");
  EXPECT_EQ(TraceOf(*bare, 1).samples, (std::vector<float>{5, 6, 0, 0}));
  ASSERT_EQ(bare->Notes().size(), 2u);
  EXPECT_NE(bare->Notes()[0].find(".HD"), std::string::npos);

  // KGS floating is SU-sized: our mark tells it, whatever the name; KGS
  // integer without the mark is known by its .EVD name.
  const std::vector<std::vector<int16_t>> kgs = {{100, -200, 300}, {-4, 5, -6}};
  test::WriteBytes(dir / "f.bin", test::MakeKgs(kgs, 250, true, true));
  test::WriteBytes(dir / "i.EVD", test::MakeKgs(kgs, 250, false, false));
  test::WriteBytes(dir / "m.bin", test::MakeKgs(kgs, 250, false, true));
  test::WriteBytes(dir / "u.DAT", test::MakeKgs(kgs, 250, true, false));
  for (const auto& [name, format] : {std::pair{"f.bin", "KGS-floating"}, std::pair{"i.EVD", "KGS-integer"},
                                     std::pair{"m.bin", "KGS-integer"}, std::pair{"u.DAT", "KGS-floating"}}) {
    auto f = FieldFile::Open(dir / name);
    EXPECT_EQ(view::InfoLine(f->Info()),
              std::string("format=") + format + " traces=2 samples=3 interval=250 byte_order=little")
        << name;
    const Read r = TraceOf(*f, 1);
    EXPECT_EQ(r.samples, (std::vector<float>{-4, 5, -6})) << name;
    EXPECT_EQ(Word(r, "tracl"), 2) << name;
    EXPECT_EQ(Word(r, "offset"), 20) << name;
    EXPECT_EQ(Word(r, "nhs"), 0) << name;  // seismic, not radar
  }
  // The same unmarked integer bytes under another name are not taken for KGS.
  test::WriteBytes(dir / "i.xyz", test::MakeKgs(kgs, 250, false, false));
  EXPECT_EQ(FieldFile::Open(dir / "i.xyz")->Info().name, "SU");
}

TEST(ViewerFormats, BadFilesAreToldOrShownAsFarAsSound) {
  TempDir dir;
  test::WriteBytes(dir / "empty.sgy", {});
  EXPECT_NE(ErrorOf(dir / "empty.sgy").find("empty"), std::string::npos);
  test::WriteText(dir / "notes.txt", "These are field notes, not traces.\n");
  EXPECT_NE(ErrorOf(dir / "notes.txt").find("not a file the viewer reads"), std::string::npos);
  test::WriteRamac(dir / "alone", {{1, 2}}, 10);
  std::filesystem::remove(dir / "alone.rad");
  EXPECT_NE(ErrorOf(dir / "alone.rd3").find(".rad"), std::string::npos);
  EXPECT_NE(ErrorOf(dir / "missing.sgy").find("missing.sgy"), std::string::npos);

  // A SEG-D record whose channel sets hold no channel: headers and no trace.
  std::vector<uint8_t> segd(128, 0);
  for (const auto& [at, v] : std::vector<std::pair<int, uint8_t>>{
           {0, 0x12}, {1, 0x34}, {2, 0x80}, {3, 0x58}, {11, 0x11}, {22, 8}, {27, 1}, {28, 2}, {42, 1}, {50, 2},
           {64, 1}, {65, 1}, {69, 0x10}, {74, 0x10}, {96, 1}, {97, 2}, {101, 0x10}, {106, 0x10}}) {
    segd[size_t(at)] = v;
  }
  test::WriteBytes(dir / "empty.sgd", segd);
  EXPECT_NE(ErrorOf(dir / "empty.sgd").find("no trace"), std::string::npos) << ErrorOf(dir / "empty.sgd");

  // A SEG-Y file cut in its last trace: the whole ones shown, the cut one
  // padded, and a note.
  std::vector<uint8_t> segy = test::MakeSegy({{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}}, 5, true);
  segy.resize(segy.size() - 8);
  test::WriteBytes(dir / "cut.sgy", segy);
  auto f = FieldFile::Open(dir / "cut.sgy");
  EXPECT_EQ(f->Info().traces, 3);
  EXPECT_EQ(TraceOf(*f, 2).samples, (std::vector<float>{9, 10, 0, 0}));
  ASSERT_FALSE(f->Notes().empty());
  EXPECT_NE(f->Notes().front().find("cut short"), std::string::npos);
  EXPECT_EQ(TraceOf(*f, 99).samples, (std::vector<float>(4, 0.0f)));  // outside: zeros, no failure
  // The same for a DZT scan cut short (16-bit, zero at 32768: a missing sample shows -32768).
  test::WriteBytes(dir / "cut.DZT", MakeDzt(2, 16, 1, {32769, 32770, 32771}));
  auto dzt = FieldFile::Open(dir / "cut.DZT");
  EXPECT_EQ(dzt->Info().traces, 2);
  EXPECT_EQ(TraceOf(*dzt, 1).samples, (std::vector<float>{3, -32768}));
  ASSERT_FALSE(dzt->Notes().empty());
  EXPECT_NE(dzt->Notes().front().find("cut short: shown padded"), std::string::npos);

  // Every length of a file cut anywhere opens or is refused, never worse.
  const std::vector<uint8_t> seg2 = MakeSeg2({"NOTE x"}, {{{1, 2, 3}, {}}, {{4, 5, 6}, {}}}, 3, false);
  for (const auto& [name, whole] : {std::pair{std::string("c.sgy"), test::MakeSegy({{1, 2}, {3, 4}}, 3, false)},
                                    std::pair{std::string("c.dat"), seg2},
                                    std::pair{std::string("c.dzt"), MakeDzt(2, 8, 1, {1, 2, 3, 4})},
                                    std::pair{std::string("c.evd"), test::MakeKgs({{1, 2}, {3, 4}}, 100, false, true)},
                                    std::pair{std::string("c.dat"), test::MakeKgs({{1, 2}, {3, 4}}, 100, true, true)}}) {
    for (size_t n = 1; n < whole.size(); n += std::max<size_t>(1, whole.size() / 40)) {
      test::WriteBytes(dir / name, std::vector<uint8_t>(whole.begin(), whole.begin() + std::ptrdiff_t(n)));
      try {
        auto cut = FieldFile::Open(dir / name);
        for (int64_t t = 0; t < cut->Info().traces; ++t) TraceOf(*cut, t);
      } catch (const std::exception& e) {
        EXPECT_NE(std::string(e.what()).find(name), std::string::npos) << e.what();
      }
    }
  }
}

TEST(ViewerRealFiles, Seg2DztDt1AndSegdAsTheReferenceGivesIt) {
  if (!std::filesystem::exists(kSamples)) GTEST_SKIP() << "no field samples beside the project";
  auto seg2 = FieldFile::Open(kSamples + "/seg2/329.dat");
  EXPECT_EQ(view::InfoLine(seg2->Info()), "format=SEG-2 traces=3 samples=4096 interval=62.5 byte_order=little");
  auto dzt = FieldFile::Open(kSamples + "/radar/FILE____032.DZT");
  EXPECT_EQ(view::InfoLine(dzt->Info()), "format=DZT traces=1040 samples=512 interval=0.09375 byte_order=little");

  auto dt1 = FieldFile::Open(kSamples + "/radar/XLINE00.DT1");
  EXPECT_EQ(view::InfoLine(dt1->Info()), "format=DT1 traces=164 samples=1900 interval=0.4 byte_order=little");
  EXPECT_TRUE(dt1->Notes().empty()) << dt1->Notes().front();
  const Read last = TraceOf(*dt1, 163);
  EXPECT_EQ(Word(last, "tracl"), 164);
  EXPECT_TRUE(std::any_of(last.samples.begin(), last.samples.end(), [](float v) { return v != 0; }));

  auto segd = FieldFile::Open(kSamples + "/segd/demo-8058.segd");
  auto reference = FieldFile::Open(kSamples + "/segd/demo-8058.expected.su");
  EXPECT_EQ(view::InfoLine(segd->Info()), "format=SEG-D traces=84 samples=2001 interval=1000 byte_order=big");
  ASSERT_EQ(reference->Info().traces, 84);
  for (int64_t t : {0, 41, 83}) {
    const Read a = TraceOf(*segd, t), b = TraceOf(*reference, t);
    EXPECT_EQ(a.samples, b.samples) << "trace " << t;
    for (const char* word : {"fldr", "ep", "tracf", "trid", "ns", "dt", "year", "day", "hour", "minute", "sec"}) {
      EXPECT_EQ(Word(a, word), Word(b, word)) << word << " of trace " << t;
    }
  }
}

// The viewer is built with the desktop program only.
bool ViewerBuilt() { return std::filesystem::exists(test::Bin("vexmor-view")); }

TEST(ViewerProgram, InfoAndScreenshotWithoutAScreen) {
  if (!ViewerBuilt()) GTEST_SKIP() << "built without Qt";
  TempDir dir;
  const std::string view = "'" + test::Bin("vexmor-view") + "'";
  test::WriteBytes(dir / "a.sgy", test::MakeSegy({{1, 2}, {3, 4}}, 5, false));
  test::WriteBytes(dir / "a.su", test::MakeSu({{1, 2, 3}}, 4000));
  test::WriteBytes(dir / "a.dzt", MakeDzt(2, 8, 1, {130, 126}, 1024, 10));
  std::vector<std::vector<int16_t>> pulses(6);
  for (auto& t : pulses) {
    for (double v : test::Pulses(40)) t.push_back(static_cast<int16_t>(v));
  }
  test::WriteDt1(dir / "r", pulses, 80);
  test::WriteBytes(dir / "k.evd", test::MakeKgs(pulses, 500, false, false));
  test::WriteBytes(dir / "k.dat", test::MakeKgs(pulses, 500, true, true));
  const std::pair<std::string, std::string> cases[] = {
      {"a.sgy", "format=SEG-Y traces=2 samples=2 interval=500 byte_order=little\n"},
      {"a.su", "format=SU traces=1 samples=3 interval=4000 byte_order=little\n"},
      {"a.dzt", "format=DZT traces=1 samples=2 interval=5 byte_order=little\n"},
      {"r.DT1", "format=DT1 traces=6 samples=40 interval=2 byte_order=little\n"},
      {"k.evd", "format=KGS-integer traces=6 samples=40 interval=500 byte_order=little\n"},
      {"k.dat", "format=KGS-floating traces=6 samples=40 interval=500 byte_order=little\n"},
  };
  for (const auto& [name, line] : cases) {
    const test::ToolRun run = test::RunHeadless(dir.Str(), view + " --info " + (dir / name));
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, line);
  }
  test::WriteText(dir / "bad.sgy", std::string(5000, 'x'));
  test::ToolRun run = test::RunHeadless(dir.Str(), view + " --info " + (dir / "bad.sgy"));
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.out, "");
  EXPECT_NE(run.err.find("bad.sgy: not a file the viewer reads"), std::string::npos) << run.err;

  run = test::RunHeadless(dir.Str(), "timeout 60 " + view + " --screenshot " + (dir / "a.png") + " " + (dir / "a.sgy"));
  EXPECT_EQ(run.status, 0) << run.err;
  const std::vector<uint8_t> png = test::ReadBytes(dir / "a.png");
  ASSERT_GT(png.size(), 8u);
  EXPECT_EQ(std::string(png.begin() + 1, png.begin() + 4), "PNG");
  // Each new format drawn: a PNG with more than one colour in it.
  std::vector<std::string> pictures = {"r.DT1", "k.evd", "k.dat"};
  if (std::filesystem::exists(kSamples + "/radar/XLINE00.DT1")) {
    run = test::RunHeadless(dir.Str(), view + " --info " + kSamples + "/radar/XLINE00.DT1");
    EXPECT_EQ(run.out, "format=DT1 traces=164 samples=1900 interval=0.4 byte_order=little\n") << run.err;
    pictures.push_back(kSamples + "/radar/XLINE00.DT1");
  }
  for (const std::string& name : pictures) {
    const std::string input = name.find('/') == std::string::npos ? dir / name : name;
    const std::string out = dir / (std::filesystem::path(name).filename().string() + ".png");
    run = test::RunHeadless(dir.Str(), "timeout 60 " + view + " --screenshot " + out + " --mode image " + input);
    EXPECT_EQ(run.status, 0) << name << ": " << run.err;
    const std::vector<uint8_t> picture = test::ReadBytes(out);
    ASSERT_GT(picture.size(), 8u) << name;
    EXPECT_EQ(std::string(picture.begin() + 1, picture.begin() + 4), "PNG") << name;
    EXPECT_GT(picture.size(), 1000u) << name << ": a blank picture compresses to almost nothing";
  }

  run = test::RunHeadless(dir.Str(), "timeout 60 " + view + " --screenshot " + (dir / "b.png") + " " + (dir / "bad.sgy"));
  EXPECT_EQ(run.status, 1);
  EXPECT_FALSE(std::filesystem::exists(dir / "b.png"));

  // A window with no screen to show it on: told, not waited for.
  run = test::RunHeadless(dir.Str(), "timeout 60 " + view + " " + (dir / "a.sgy"));
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("no screen"), std::string::npos) << run.err;
}

TEST(MainPanelViewers, TheThreeOptionsStartTheViewerUnderItsNames) {
  if (!ViewerBuilt()) GTEST_SKIP() << "built without Qt";
  TempDir dir;
  const std::string probe = dir / "started.txt";
  setenv("VEXMOR_VIEW_PROBE", probe.c_str(), 1);
  HeadlessPlatform platform;
  platform.SetProgramFolder(VEXMOR_BIN_DIR);
  std::ostringstream out, err;
  RunScriptHeadless("open MainPanel\nclick Option25\nclick Option26\nclick Option27\n", platform, out, err);
  WaitForJobs();
  unsetenv("VEXMOR_VIEW_PROBE");
  const std::string bin = VEXMOR_BIN_DIR;
  EXPECT_EQ(out.str(),
            "opened MainPanel\n"
            "shellopen \"" + bin + "/quartel.exe\" folder=\"" + bin + "\" -> 33\n"
            "shellopen \"" + bin + "/quartely.exe\" folder=\"" + bin + "\" -> 33\n"
            "shellopen \"" + bin + "/tolmix.exe\" folder=\"" + bin + "\" -> 33\n");
  // The three start at once: their lines may come in any order.
  std::istringstream started(test::ReadText(probe));
  std::vector<std::string> lines;
  for (std::string line; std::getline(started, line);) lines.push_back(line + "\n");
  std::sort(lines.begin(), lines.end());
  std::string sorted;
  for (const std::string& line : lines) sorted += line;
  EXPECT_EQ(sorted,
            "name=quartel filter=SEG-2 files (*.dat *.sg2 *.seg2 *.DAT *.SG2)\n"
            "name=quartely filter=SEG-Y files (*.sgy *.segy *.SGY *.SEGY)\n"
            "name=tolmix filter=GSSI radar files (*.dzt *.DZT)\n");
}

}  // namespace
}  // namespace vexmor
