// The SEG-Y panels through panel scripts: the header probe and its
// proposals, the 24-trace test display worked out by hand, the multi-file
// conversion through our real tools checked against segyio, and the
// SU-to-SEG-Y script to the byte.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sstream>

#include "core/byte_order.h"
#include "panels/script.h"
#include "panels/session.h"
#include "platform/headless_platform.h"
#include "toolchains/segy.h"
#include "tools_helpers.h"

#ifdef VEXMOR_HAVE_SEGYIO
#include <segyio/segy.h>
#endif

namespace vexmor {
namespace {

using test::IbmOf;
using test::ReadBytes;
using test::ReadText;
using test::TempDir;

std::string Q(const std::string& text) { return "\"" + text + "\""; }

// Points jobs and work files at a folder of the test's own.
class WorkDir {
 public:
  WorkDir() {
    setenv("VEXMOR_WORKDIR", dir.Str().c_str(), 1);
    setenv("VEXMOR_TERMINAL", "none", 1);
  }
  ~WorkDir() { unsetenv("VEXMOR_WORKDIR"); }
  std::string operator/(const std::string& name) const { return dir / name; }
  TempDir dir;
};

std::string RunScript(const std::string& script, bool recordOnly) {
  test::KeepCurrentFolder keep;
  HeadlessPlatform platform;
  platform.SetRecordOnly(recordOnly);
  std::ostringstream out, err;
  EXPECT_EQ(RunScriptHeadless(script, platform, out, err), 0) << err.str();
  return out.str();
}

const std::string kOpen = "open MainPanel\nclick Option2\nuse SEGY\n";

// A SEG-Y file written byte by byte: rev 0 reel header, IBM samples (format
// 1) or IEEE (format 5), in the order asked for. Sample j of trace t is
// (t * 100 + j) / 4 with the sign of the parity of j: exact in IBM.
float SampleOf(int file, int t, int j) {
  return float((j % 2 ? -1 : 1) * (file * 10000 + t * 100 + j) / 4.0);
}

std::vector<uint8_t> SegyBytes(int file, int traces, int ns, int dt, bool big, int format = 1,
                               int traceNs = -1) {
  std::vector<uint8_t> b(3600 + size_t(traces) * (240 + 4 * size_t(ns)), 0);
  auto put16 = [&](size_t at, int v) {
    if (big) PutBE16u(b.data() + at, uint16_t(v)); else PutLE16(b.data() + at, int16_t(v));
  };
  auto put32 = [&](size_t at, uint32_t v) {
    if (big) PutBE32u(b.data() + at, v); else PutLE32(b.data() + at, int32_t(v));
  };
  for (size_t i = 0; i < 3200; ++i) b[i] = 0x40;  // EBCDIC blanks
  put16(3216, dt);
  put16(3220, ns);
  put16(3224, format);
  for (int t = 0; t < traces; ++t) {
    const size_t at = 3600 + size_t(t) * (240 + 4 * size_t(ns));
    put32(at, uint32_t(t + 1));
    put32(at + 12, uint32_t(t + 1));
    put16(at + 114, traceNs < 0 ? ns : traceNs);
    put16(at + 116, dt);
    for (int j = 0; j < ns; ++j) {
      const float v = SampleOf(file, t + 1, j);
      uint32_t bits;
      if (format == 1) {
        bits = IbmOf(v);
      } else {
        std::memcpy(&bits, &v, 4);
      }
      put32(at + 240 + 4 * size_t(j), bits);
    }
  }
  return b;
}

// The samples segyio reads of a file, trace by trace.
std::vector<std::vector<float>> SegyioSamples(const std::string& path, bool big) {
  std::vector<std::vector<float>> all;
#ifdef VEXMOR_HAVE_SEGYIO
  segy_file* fp = segy_open(path.c_str(), "rb");
  if (fp == nullptr) return all;
  segy_set_format(fp, int(SEGY_IBM_FLOAT_4_BYTE) | int(big ? SEGY_MSB : SEGY_LSB));
  char bin[SEGY_BINARY_HEADER_SIZE];
  segy_binheader(fp, bin);
  const int ns = segy_samples(bin);
  const int format = segy_format(bin);
  segy_set_format(fp, format | int(big ? SEGY_MSB : SEGY_LSB));
  const int bsize = segy_trsize(format, ns);
  int count = 0;
  segy_traces(fp, &count, 3600, bsize);
  for (int t = 0; t < count; ++t) {
    std::vector<float> s(static_cast<size_t>(ns));
    segy_readtrace(fp, t, s.data(), 3600, bsize);
    segy_to_native(format, ns, s.data());
    all.push_back(s);
  }
  segy_close(fp);
#else
  (void)path;
  (void)big;
#endif
  return all;
}

// --- Selection and the proposals from the first trace header ---

TEST(SegySelection, ByteOrderOfTheTwoWordsDecidesTheProposals) {
  TempDir dir;
  // 1024 high byte first reads as 4: swapped, sound header.
  test::WriteBytes(dir / "big.sgy", SegyBytes(1, 3, 1024, 500, true));
  // 300 high byte first reads as 44 x 256 + 1: kept, Text4 stays.
  test::WriteBytes(dir / "odd.sgy", SegyBytes(1, 2, 300, 500, true));
  // 1000 little-endian reads right and is kept as is.
  test::WriteBytes(dir / "le.sgy", SegyBytes(1, 5, 1000, 250, false));
  const std::string big = RunScript(kOpen + "answer dialog " + Q(dir / "big.sgy") +
                              "\nclick Command1\nshow Text4\nshow Text12\nshow Text5\nshow Text3\nshow Text6\n"
                              "show Text7\nshow Text8\nshow Text11\nshow Text2\nshow state.NbTraces\n", true);
  EXPECT_NE(big.find("Text4 = \"1024\"\nText12 = \"500\"\nText5 = \"3\"\nText3 = \"3\"\nText6 = \"1\"\n"
                     "Text7 = \"0\"\nText8 = \"0\"\nText11 = \"1\"\nText2 = " + Q(dir / "big.SU") +
                     "\nstate.NbTraces = 3\n"), std::string::npos) << big;

  const std::string odd = RunScript(kOpen + "answer dialog " + Q(dir / "odd.sgy") +
                              "\nclick Command1\nshow Text4\nshow Text12\nshow Text5\n", true);
  // 11265 x 4 + 240 overflows 16 bits: the count keeps its start value 0.
  EXPECT_NE(odd.find("Text4 = \"1024\"\nText12 = \"100\"\nText5 = \"0\"\n"), std::string::npos) << odd;

  // Two files: the second is the probe, the count multiplies "To trace".
  const std::string two = RunScript(kOpen + "answer dialog " + Q(dir.Str() + " big.sgy le.sgy") +
                              "\nclick Command1\nshow List1\nshow Text11\nshow Text5\nshow Text3\nshow Text4\n"
                              "show Text2\n", true);
  EXPECT_NE(two.find("List1.count = 2\nList1[0] = " + Q(dir / "big.sgy") + "\nList1[1] = " + Q(dir / "le.sgy") +
                     "\nText11 = \"2\"\nText5 = \"5\"\nText3 = \"10\"\nText4 = \"1024\"\nText2 = " +
                     Q(dir / "big.SU") + "\n"), std::string::npos) << two;
}

TEST(SegySelection, CancelledDialogAndUnreadableFileChangeNothing) {
  TempDir dir;
  test::WriteBytes(dir / "short.sgy", std::vector<uint8_t>(100, 1));
  const std::string out = RunScript(kOpen + "click Command1\nshow List1\nanswer dialog " + Q(dir / "short.sgy") +
                              "\nclick Command1\nshow Text5\nshow Command2\n", true);
  EXPECT_NE(out.find("-> \"*.sgy\"\nList1.count = 0\n"), std::string::npos) << out;
  EXPECT_NE(out.find("message " + Q(dir / "short.sgy" + " can't be read as SEG-Y: it holds no first trace header") +
                     " buttons=16"), std::string::npos) << out;
  EXPECT_NE(out.find("Text5 = \"24\"\nCommand2 = \"Convert\" enabled=0\n"), std::string::npos) << out;
}

TEST(SegySelection, ZeroSampleCountIsProbedWithTheToolAndUnloadRemovesTheProbe) {
  WorkDir work;
  TempDir dir;
  // The binary header holds the count, the first trace header 0.
  test::WriteBytes(dir / "zero.sgy", SegyBytes(1, 6, 400, 1000, true, 1, 0));
  const std::string out = RunScript(kOpen + "answer dialog " + Q(dir / "zero.sgy") +
                                    "\nclick Command1\nshow Text4\nshow Text5\nshow Text6\nshow Text7\nshow Text8\n",
                                    false);
  EXPECT_EQ(ReadText(work / "tmp.bat"), std::string(VEXMOR_BIN_DIR) + "//segyread tape=" + dir / "zero.sgy" + " >" +
                                            work / "tmp.su" + " endian=0 conv=1 over=0 trmax=1 ns= 0\r\n");
  EXPECT_NE(out.find("shell " + Q(work / "tmp.bat") + " style=2 -> "), std::string::npos) << out;
  EXPECT_NE(out.find("message " + Q(dir / "zero.sgy" + " Bytes are swapped, endian must be set at zero") +
                     " buttons=64 title=\"Norvane File converter\" -> 1\n"
                     "Text4 = \"0\"\nText5 = \"6\"\nText6 = \"0\"\nText7 = \"1\"\nText8 = \"0\"\n"),
            std::string::npos) << out;
  ASSERT_TRUE(std::filesystem::exists(work / "tmp.su"));
  test::WriteText(work / "tmp", "x");
  test::WriteText(work / "keep.su", "x");
  RunScript("open SEGY\nclose SEGY\n", true);
  EXPECT_FALSE(std::filesystem::exists(work / "tmp.bat"));
  EXPECT_FALSE(std::filesystem::exists(work / "tmp.su"));
  EXPECT_FALSE(std::filesystem::exists(work / "tmp"));
  EXPECT_TRUE(std::filesystem::exists(work / "keep.su"));
}

// --- The test display ---

// An SU file of traces of ns samples, dt 1000.
void WriteSu(const std::string& path, const std::vector<std::vector<float>>& traces, int dt = 1000) {
  std::vector<test::SuTrace> su;
  for (const auto& s : traces) {
    test::SuTrace t;
    t.header.assign(240, 0);
    PutLE16(t.header.data() + 116, int16_t(dt));
    t.samples = s;
    su.push_back(t);
  }
  test::WriteBytes(path, test::SuFile(su));
}

struct Display {
  HeadlessPlatform platform;
  SharedState state;
  Session session{platform, state};
  Segy* panel = nullptr;
  Display() {
    platform.SetRecordOnly(true);
    session.Open("SEGY");
    panel = session.Panel<Segy>("SEGY");
  }
  Control& ecran() { return panel->ecran; }
  int Polygons() { return ecran().PolygonCount(); }
  size_t Figures() { return ecran().Figures().size(); }
};

// Trace 1 has one positive lobe, 2 is dead, 3 ends inside a lobe, the rest
// are zero. ns 10 on 433 x 345 pixels: ux = 480/433, uy = 9/345.
std::vector<std::vector<float>> KnownTraces() {
  std::vector<std::vector<float>> t(24, std::vector<float>(10, 0.0f));
  t[0] = {0, 1, 2, 1, 0, -1, -2, -1, 0, 0};
  t[2] = {-1, 1, -1, 1, 1, 1, 1, 1, 1, 1};
  return t;
}

TEST(SegyDisplay, FiguresAndPolygonsOfKnownTracesWorkedOutByHand) {
  WorkDir work;
  WriteSu(work / "conv_test.su", KnownTraces());
  Display d;
  d.panel->Text13.SetText("1");
  EXPECT_EQ(d.panel->SSTab1.Tab(), 1);
  // Trace 1: polygon, curve, open-lobe list = 3; 2: 2; 3: its closed lobe
  // at sample 3, curve, the open lobe outlined = 3; 4: the lobe carried
  // from trace 3 closes at its first sample = 3; 5..24: 2 each.
  EXPECT_EQ(d.Figures(), 3u + 2 + 3 + 3 + 40);
  EXPECT_EQ(d.Polygons(), 3);
  // The first lobe of trace 1: factor 5, amplitudes 5, 10, 5 at samples
  // 2..4, closed at 5. Baseline round(10*433/480) = 9; px of 15 and 20
  // units: 14 and 18; py = round(j * 345 / 9).
  const Figure& lobe = d.ecran().Figures()[0];
  EXPECT_TRUE(lobe.filled);
  const std::vector<std::pair<double, double>> want = {{9, 77}, {14, 77}, {18, 115}, {14, 153}, {9, 192}};
  EXPECT_EQ(lobe.points, want);
  // Trace 1's curve: 10 points; its fill list only the bottom point.
  EXPECT_EQ(d.ecran().Figures()[1].points.size(), 10u);
  EXPECT_EQ(d.ecran().Figures()[2].points, (std::vector<std::pair<double, double>>{{9, 383}}));
  // Trace 3's open lobe: outlined from its start on the baseline to the
  // bottom point, not filled. Baseline of trace 3 = round(50*433/480) = 45.
  const Figure& open = d.ecran().Figures()[2 + 2 + 3];
  EXPECT_FALSE(open.filled);
  EXPECT_EQ(open.points.front(), (std::pair<double, double>{45, 153}));
  EXPECT_EQ(open.points.back(), (std::pair<double, double>{45, 383}));
  EXPECT_EQ(open.points.size(), 1u + 7 + 1);  // baseline, samples 4..10, bottom
  EXPECT_TRUE(d.ecran().CrossPointer());

  // Gain 0 (or no number): 24 straight lines, nothing filled.
  d.panel->Text13.SetText("x");
  EXPECT_EQ(d.Figures(), 48u);
  EXPECT_EQ(d.Polygons(), 0);
  // A negative gain fills the negative swings: trace 1's one, trace 3's two.
  d.panel->Text13.SetText("-1");
  EXPECT_EQ(d.Figures(), 3u + 2 + 4 + 42);
  EXPECT_EQ(d.Polygons(), 3);
}

TEST(SegyDisplay, ShortFilesOverflowAndTheReadOut) {
  WorkDir work;
  Display d;
  // Two traces: the other 22 columns stay empty.
  WriteSu(work / "conv_test.su", {{0, 1, 0, 0}, {0, -1, 0, 0}});
  d.panel->Text13.SetText("3");
  EXPECT_EQ(d.Figures(), 3u + 2);
  // ns 0 draws nothing and leaves the plot as it stands.
  WriteSu(work / "conv_test.su", {{}});
  d.panel->Text13.SetText("4");
  EXPECT_EQ(d.Figures(), 5u);
  // 8132 samples overflow the 16-bit trace length: on a first drawing all
  // 24 columns show the first trace.
  std::vector<float> longTrace(8132, 0.0f);
  longTrace[5] = 1;
  WriteSu(work / "conv_test.su", {longTrace});
  Display fresh;
  fresh.panel->Text13.SetText("1");
  EXPECT_EQ(fresh.Figures(), 24u * 3);
  EXPECT_EQ(fresh.Polygons(), 24);
  // Only 10000 samples would enter a curve; 8132 all do.
  EXPECT_EQ(fresh.ecran().Figures()[1].points.size(), 8132u);

  WriteSu(work / "conv_test.su", KnownTraces(), 1000);
  const std::string out = RunScript("open SEGY\nset Text13 1\nmousemove ecran 70 100\nshow ecran\nmousemove ecran 20 1\n"
                              "show ecran\n", true);
  EXPECT_NE(out.find("ecran.figures = 51\necran.polygons = 3\necran.tooltip = \" 100 ms Trace= 3\"\n"),
            std::string::npos) << out;
  EXPECT_NE(out.find("ecran.tooltip = \" 1 ms Trace= 1\"\n"), std::string::npos) << out;
}

// --- The conversion through the tools ---

std::vector<float> SuSamples(const std::vector<test::SuTrace>& traces, size_t t) { return traces[t].samples; }

TEST(SegyConvert, ThreeBigEndianFilesJoinedSizeCheckedAndEqualToSegyio) {
#ifndef VEXMOR_HAVE_SEGYIO
  GTEST_SKIP() << "segyio is not installed";
#endif
  WorkDir work;
  TempDir dir;
  for (int f = 1; f <= 3; ++f) {
    test::WriteBytes(dir / ("L" + std::to_string(f) + ".sgy"), SegyBytes(f, 24, 1000, 250, true));
  }
  const int64_t one = 24 * (240 + 4000);
  const std::string out = RunScript(kOpen + "answer dialog " + Q(dir.Str() + " L1.sgy L2.sgy L3.sgy") +
                              "\nclick Command1\nclick Command5\nshow ecran\nshow Command2\nclick Command2\n"
                              "show ProgressBar1\nshow Text10\nshow Timer1\ntick Timer1\nshow Timer1\n", false);
  EXPECT_NE(out.find("ecran.figures = "), std::string::npos) << out;
  EXPECT_EQ(out.find("ecran.figures = 0"), std::string::npos) << out;
  EXPECT_NE(out.find("Command2 = \"Convert\"\n"), std::string::npos) << out;
  const std::string su = dir / "L1.SU";
  EXPECT_NE(out.find("message " + Q(su + " has been recorded OK size: " + std::to_string(3 * one)) +
                     " buttons=64 title=\"Norvane File converter\" -> 1\n"),
            std::string::npos) << out;
  EXPECT_NE(out.find("ProgressBar1 min=1 max=3 value=3 visible=1\nText10 = \"Convert file  3\"\n"
                     "Timer1 enabled=1 interval=3000\nTimer1 enabled=0 interval=3000\n"),
            std::string::npos) << out;
  // The per-file script of the last file, and the join.
  const std::string bin = std::string(VEXMOR_BIN_DIR) + "/";
  EXPECT_EQ(ReadText(work / "convert.bat"),
            bin + "SEGYREAD tape=" + dir / "L3.sgy" + " conv=1 over=0 endian=0 ns=1000 trmin= 1 trmax= 72 | " + bin +
                "SEGYCLEAN >" + work / "tempo.su" + "\r\nCopy " + work / "Fin.tmp" + " " + work / "3.tmp" + "\r\n");
  EXPECT_EQ(ReadText(work / "add.bat"), "copy/b " + su + "+" + work / "tempo.su" + " " + su + "\r\ndel " +
                                            work / "tempo.su" + "\r\ndel " + work / "3.tmp" + "\r\n");
  EXPECT_TRUE(std::filesystem::exists(work / "Fin.tmp"));
  EXPECT_FALSE(std::filesystem::exists(work / "tempo.su"));
  EXPECT_FALSE(std::filesystem::exists(work / "1.tmp"));
  // Every sample as segyio reads it, in file order.
  const auto traces = test::ReadSu(su);
  ASSERT_EQ(traces.size(), 72u);
  for (int f = 1; f <= 3; ++f) {
    const auto want = SegyioSamples(dir / ("L" + std::to_string(f) + ".sgy"), true);
    ASSERT_EQ(want.size(), 24u);
    for (size_t t = 0; t < 24; ++t) {
      EXPECT_EQ(SuSamples(traces, size_t(f - 1) * 24 + t), want[t]) << f << " " << t;
      EXPECT_EQ(want[t][7], SampleOf(f, int(t) + 1, 7));
    }
  }
}

TEST(SegyConvert, LittleEndianFileAloneConvertsWithItsOwnParameters) {
#ifndef VEXMOR_HAVE_SEGYIO
  GTEST_SKIP() << "segyio is not installed";
#endif
  WorkDir work;
  TempDir dir;
  test::WriteBytes(dir / "pc.sgy", SegyBytes(4, 5, 1000, 500, false, 5));
  test::WriteText(dir / "pc.SU", "old");
  const std::string out = RunScript(kOpen + "answer dialog " + Q(dir / "pc.sgy") +
                              "\nclick Command1\nset Text8 1\nset Text4 0\nset Text9 0\nclick Command5\n"
                              "answer message 6\nclick Command2\n", false);
  EXPECT_NE(out.find("message \"Outfile name already exists, kill this file ?\" buttons=36 "
                     "title=\"Norvane File converter\" -> 6\n"),
            std::string::npos) << out;
  EXPECT_NE(out.find("style=0 -> "), std::string::npos) << out;
  EXPECT_NE(out.find("message \" Conversion OK\" buttons=64 title=\"Norvane File converter\" -> 1\n"),
            std::string::npos) << out;
  const std::string bin = std::string(VEXMOR_BIN_DIR) + "/";
  EXPECT_EQ(ReadText(work / "convert.bat"), bin + "SEGYREAD tape=" + dir / "pc.sgy" +
                                                " conv=1 over=0 endian=1 trmin= 1 trmax= 5 | " + bin + "SEGYCLEAN >" +
                                                dir / "pc.SU" + "\r\npause\r\n");
  const auto traces = test::ReadSu(dir / "pc.SU");
  ASSERT_EQ(traces.size(), 5u);
  for (size_t t = 0; t < 5; ++t) {
    for (int j = 0; j < 1000; j += 97) EXPECT_EQ(traces[t].samples[size_t(j)], SampleOf(4, int(t) + 1, j));
  }
}

TEST(SegyConvert, FailingToolAndMissingFileAreToldAndTheJoinedOutputKept) {
  WorkDir work;
  TempDir dir;
  test::WriteBytes(dir / "A.sgy", SegyBytes(1, 4, 1000, 250, true));
  test::WriteBytes(dir / "B.sgy", SegyBytes(2, 4, 1000, 250, true));
  test::WriteBytes(dir / "C.sgy", std::vector<uint8_t>(20000, 7));  // not SEG-Y
  const std::string out = RunScript(kOpen + "answer dialog " + Q(dir.Str() + " A.sgy B.sgy C.sgy D.sgy") +
                              "\nclick Command1\nclick Command5\nclick Check1\nclick Command2\n", false);
  EXPECT_NE(out.find("message " + Q(dir / "D.sgy" + " does not exist, squip to next file") + " buttons=0 title=\"\""),
            std::string::npos) << out;
  EXPECT_NE(out.find("message \" You must check file and file size\" buttons=64"), std::string::npos) << out;
  const auto traces = test::ReadSu(dir / "A.SU");
  ASSERT_EQ(traces.size(), 8u);
  EXPECT_EQ(traces[4].samples[3], SampleOf(2, 1, 3));
  // Check1 clear: the last file's result stays.
  EXPECT_TRUE(std::filesystem::exists(work / "tempo.su"));
}

// --- SU to SEG-Y ---

const std::string kOpenSu2Sgy = "open MainPanel\nclick Option15\nuse SU2SGY\n";

TEST(Su2Sgy, ProposalsKeysAndSilentStop) {
  TempDir dir;
  std::vector<std::vector<float>> traces(24, std::vector<float>(1000, 0.5f));
  WriteSu(dir / "line.su", traces, 250);
  std::vector<uint8_t> half(4240 * 2 + 2120, 0);
  PutLE16(half.data() + 114, 1000);
  test::WriteBytes(dir / "half.su", half);
  const std::string out = RunScript(kOpenSu2Sgy + "set Text1 typed.su\nclick Command2\n"
                              "answer dialog " + Q(dir / "line.su") + "\nclick Command3\nshow Text1\nshow Text2\n"
                              "show Text4\nanswer dialog " + Q(dir / "half.su") + "\nclick Command3\nshow Text4\n"
                              "key Text5 2\nkey Text5 \\b\nkey Text5 0\nshow Text5\nkey Text8 a\n", true);
  EXPECT_NE(out.find("opened SU2SGY\ndialog \"SU file selection\""), std::string::npos) << out;
  EXPECT_NE(out.find("Text1 = " + Q(dir / "line.su") + "\nText2 = " + Q(dir / "line.SGY") + "\nText4 = \"24\"\n"),
            std::string::npos) << out;
  EXPECT_NE(out.find("Text4 = \"2.5\"\nbeep\nText5 = \"0\"\nbeep\n"), std::string::npos) << out;
}

TEST(Su2Sgy, ScriptToTheByteAndItsOutputReadBack) {
#ifndef VEXMOR_HAVE_SEGYIO
  GTEST_SKIP() << "segyio is not installed";
#endif
  WorkDir work;
  TempDir dir;
  std::vector<std::vector<float>> traces;
  for (int t = 1; t <= 6; ++t) {
    std::vector<float> s;
    for (int j = 0; j < 100; ++j) s.push_back(SampleOf(0, t, j));
    traces.push_back(s);
  }
  WriteSu(dir / "in.su", traces, 500);
  test::WriteText(dir / "in.SGY", "old");
  const std::string out = RunScript(kOpenSu2Sgy + "answer dialog " + Q(dir / "in.su") +
                              "\nclick Command3\nanswer message 6\nclick Command2\nclick Command5\n", false);
  const std::string bin = std::string(VEXMOR_BIN_DIR) + "/";
  EXPECT_EQ(ReadText(work / "convert.bat"),
            bin + "SEGYHDRS <" + dir / "in.su" + "\r\n\r\n" + bin + "SEGYWRITE <" + dir / "in.su" + " tape=" +
                dir / "in.SGY" + " conv=1 trmin=1 trmax=6 endian=0 buffer=1 errmax=0\r\n");
  EXPECT_NE(out.find("message " + Q(dir / "in.SGY" + " already exists, delete this file ?") +
                     " buttons=36 title=\"Norvane File converter\" -> 6\nshell \"" + work / "convert.bat" +
                     "\" style=1 -> "),
            std::string::npos) << out;
  EXPECT_NE(out.find("message \" Conversion OK\" buttons=64"), std::string::npos) << out;
  EXPECT_NE(out.find("message \"Optional parameter:\\r\\n\\r\\n buff=1 for buffered device (9-track reel tape "
                     "drive)\\r\\n"),
            std::string::npos) << out;
  const auto got = SegyioSamples(dir / "in.SGY", true);
  ASSERT_EQ(got.size(), 6u);
  for (size_t t = 0; t < 6; ++t) EXPECT_EQ(got[t], traces[t]) << t;
}

}  // namespace
}  // namespace vexmor
