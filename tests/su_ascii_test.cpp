// The SU to ASCII exports, run from MainPanel through panel scripts, and the
// channel count behind the one-file-per-channel export.
#include "utilities/su_ascii.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <sstream>

#include "core/byte_order.h"
#include "core/shared_state.h"
#include "core/su_trace.h"
#include "panels/script.h"
#include "platform/headless_platform.h"
#include "test_util.h"

namespace vexmor {
namespace {

using test::ReadText;
using test::TempDir;

// An SU file whose trace t (from 1) has tracf = tracf(t) and samples
// sample(t, j) (j from 1).
template <typename Tracf, typename Sample>
void WriteSu(const std::string& path, int traces, int ns, Tracf tracf, Sample sample, int dt = 500) {
  std::vector<uint8_t> bytes;
  for (int t = 1; t <= traces; ++t) {
    SuHeader h;
    h.Set("tracl", t);
    h.Set("tracf", tracf(t));
    h.Set("ns", ns);
    h.Set("dt", dt);
    bytes.insert(bytes.end(), h.Data(), h.Data() + kSuHeaderBytes);
    for (int j = 1; j <= ns; ++j) {
      uint8_t b[4];
      PutLEFloat(b, sample(t, j));
      bytes.insert(bytes.end(), b, b + 4);
    }
  }
  test::WriteBytes(path, bytes);
}

float Sample(int t, int j) { return static_cast<float>(t * 100 + j) - 0.5f; }

std::string Formatted(float v) {
  char text[32];
  return std::string(text, static_cast<size_t>(FormatSample(v, text)));
}

// The text that the one-file-per-channel export gives for trace t.
std::string ChannelText(int t, int ns) {
  std::string text;
  for (int j = 1; j <= ns; ++j) text += Formatted(Sample(t, j)) + "\r\n";
  return text;
}

std::string RunExport(const std::string& script) {
  test::KeepCurrentFolder keep;
  HeadlessPlatform platform;
  std::ostringstream out, err;
  EXPECT_EQ(RunScriptHeadless(script, platform, out, err), 0) << err.str();
  return out.str();
}

TEST(SuAsciiFormat, ScientificWithEightDecimalsAndTwoExponentDigits) {
  EXPECT_EQ(Formatted(0.0f), "0.00000000E+00");
  EXPECT_EQ(Formatted(-0.0f), "0.00000000E+00");
  EXPECT_EQ(Formatted(1.5f), "1.50000000E+00");
  EXPECT_EQ(Formatted(-1234.5f), "-1.23450000E+03");
  EXPECT_EQ(Formatted(32767.0f), "3.27670000E+04");
  EXPECT_EQ(Formatted(0.1f), "1.00000001E-01");
  EXPECT_EQ(Formatted(3.4028235e38f), "3.40282347E+38");
  EXPECT_EQ(Formatted(1.4e-45f), "1.40129846E-45");
  EXPECT_EQ(Formatted(1000000.125f), "1.00000012E+06");  // an exact tie goes to the even digit
  EXPECT_EQ(Formatted(std::numeric_limits<float>::quiet_NaN()), "NaN");
  EXPECT_EQ(Formatted(-std::numeric_limits<float>::infinity()), "-Infinity");
}

TEST(SuAsciiFormat, NineDigitsGiveBackTheSameFloat) {
  std::mt19937 random(7);
  std::uniform_int_distribution<uint32_t> bits;
  for (int i = 0; i < 20000; ++i) {
    const uint32_t b = bits(random);
    float v;
    std::memcpy(&v, &b, 4);
    if (!std::isfinite(v)) continue;
    const std::string text = Formatted(v);
    ASSERT_EQ(std::strtof(text.c_str(), nullptr), v == 0.0f ? 0.0f : v) << text;
    // The same digits as C's %.8E, ties and all.
    char printed[32];
    std::snprintf(printed, sizeof printed, "%.8E", static_cast<double>(v == 0.0f ? 0.0f : v));
    ASSERT_EQ(text, printed);
  }
}

TEST(SuAsciiChannels, ChannelsThreeToFiveGiveEndingsOneToThree) {
  TempDir dir;
  const std::string su = dir / "line.su";
  WriteSu(su, 6, 5, [](int t) { return t; }, Sample);
  const std::string out = RunExport("open MainPanel\nanswer dialog " + su +
                              "\nanswer prompt 3\nanswer prompt 5\nclick Option8\nshow state.SuFile\n"
                              "show state.NbTraces\nshow state.NbChannels\nshow state.NbSamples\n"
                              "show state.SampleInterval\nshow state.TracePos\n");
  EXPECT_EQ(out, "opened MainPanel\n"
                 "message \" This module writes one file per channel in ASCII format of the current data  \" "
                 "buttons=1 title=\"Norvane File converter\" -> 1\n"
                 "dialog \"Seismic Unix File selection\" filter=\"SU File |*.SU|All files|*.*|\" file=\"*.SU\" "
                 "folder=\"\" multi=0 save=0 -> \"" + su + "\"\n"
                 "prompt \"First channel to print\" title=\"Norvane File converter\" default=\"1\" -> \"3\"\n"
                 "prompt \"Last channel to print\" title=\"Norvane File converter\" default=\" 6\" -> \"5\"\n"
                 "message \"Conversion OK\" buttons=64 title=\"Norvane File converter\" -> 1\n"
                 "state.SuFile = \"" + su + "\"\n"
                 "state.NbTraces = 6\nstate.NbChannels = 6\nstate.NbSamples = 5\n"
                 "state.SampleInterval = 500\nstate.TracePos = " + std::to_string(4 * (240 + 20)) + "\n");
  for (int k = 1; k <= 3; ++k) EXPECT_EQ(ReadText(dir / ("line.0" + std::to_string(k))), ChannelText(k + 2, 5)) << k;
  EXPECT_FALSE(std::filesystem::exists(dir / "line.04"));
}

TEST(SuAsciiChannels, TheHundredthFileEndsInZeroZeroAndTheNextReplacesTheFirst) {
  TempDir dir;
  const std::string su = dir / "big.SU";
  WriteSu(su, 101, 2, [](int t) { return t; }, Sample);
  RunExport("open MainPanel\nanswer dialog " + su + "\nanswer prompt 1\nanswer prompt 101\nclick Option8\n");
  EXPECT_EQ(ReadText(dir / "big.00"), ChannelText(100, 2));
  EXPECT_EQ(ReadText(dir / "big.01"), ChannelText(101, 2));
  EXPECT_EQ(ReadText(dir / "big.99"), ChannelText(99, 2));
}

TEST(SuAsciiChannels, NoChannelCountMeansADefaultOfZeroAndNoFile) {
  TempDir dir;
  const std::string su = dir / "flat.su";
  WriteSu(su, 8, 3, [](int) { return 1; }, Sample);
  const std::string out = RunExport("open MainPanel\nanswer dialog " + su + "\nclick Option8\nshow state.NbChannels\n");
  EXPECT_NE(out.find("default=\" 0\" -> \" 0\""), std::string::npos) << out;
  EXPECT_NE(out.find("\"Conversion OK\""), std::string::npos);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.Path()), {}), 1);
}

TEST(SuAsciiChannels, CancelledDialogStillPromptsAndWritesNothing) {
  TempDir dir;
  const std::string out = RunExport("open MainPanel\nanswer prompt 1\nanswer prompt 3\nclick Option8\n");
  EXPECT_NE(out.find("-> \"*.SU\""), std::string::npos);
  EXPECT_NE(out.find("\"Conversion OK\""), std::string::npos);
  EXPECT_FALSE(std::filesystem::exists("*.01"));
  // Cancel on the first message ends it there.
  EXPECT_EQ(RunExport("open MainPanel\nanswer message 2\nclick Option8\n"),
            "opened MainPanel\nmessage \" This module writes one file per channel in ASCII format of the current "
            "data  \" buttons=1 title=\"Norvane File converter\" -> 2\n");
}

TEST(SuAsciiChannels, AnSuFileNamedLikeItsChannelFilesIsNotWrittenOver) {
  TempDir dir;
  const std::string su = dir / "shot.01";
  WriteSu(su, 2, 3, [](int t) { return t; }, Sample);
  const auto before = test::ReadBytes(su);
  RunExport("open MainPanel\nanswer dialog " + su + "\nanswer prompt 1\nanswer prompt 2\nclick Option8\n");
  EXPECT_EQ(test::ReadBytes(su), before);
  EXPECT_EQ(ReadText(dir / "shot.02"), ChannelText(2, 3));
}

TEST(SuAsciiChannels, ChannelsPastTheLastTraceAreNotWritten) {
  TempDir dir;
  const std::string su = dir / "short.su";
  WriteSu(su, 3, 4, [](int t) { return t; }, Sample);
  RunExport("open MainPanel\nanswer dialog " + su + "\nanswer prompt -1\nanswer prompt 100000000\nclick Option8\n");
  // -1 and 0 are not traces: trace 1 is the third of the run.
  EXPECT_FALSE(std::filesystem::exists(dir / "short.01"));
  EXPECT_EQ(ReadText(dir / "short.03"), ChannelText(1, 4));
  EXPECT_EQ(ReadText(dir / "short.05"), ChannelText(3, 4));
  EXPECT_FALSE(std::filesystem::exists(dir / "short.06"));
}

std::string ColumnText(int first, int last, int ns) {
  std::string text;
  for (int j = 1; j <= ns; ++j) {
    for (int t = first; t <= last; ++t) text += Formatted(Sample(t, j)) + ",";
    text += "\r\n";
  }
  return text;
}

TEST(SuAsciiColumns, ExportsTheTracesAsColumnsWithACommaBehindEachValue) {
  TempDir dir;
  const std::string su = dir / "shot.su";
  WriteSu(su, 5, 4, [](int t) { return t; }, Sample);
  const std::string out = RunExport("open MainPanel\nanswer dialog " + su +
                              "\nanswer prompt 2\nanswer prompt 4\nclick Option24\nshow state.NbTraces\n");
  const std::string txt = dir / "shot.txt";
  EXPECT_EQ(out, "opened MainPanel\n"
                 "message \"This module allow you to export data (amplitudes) from any SU file to a text file. "
                 "Continue ? This file can be edited using any spread sheet \" buttons=36 "
                 "title=\"Norvane File converter\" -> 6\n"
                 "dialog \"SU file to export \" filter=\"SU files|*.SU|\" file=\"\" folder=\"\" multi=0 save=0 -> \"" +
                     su + "\"\n"
                 "prompt \"First trace to export\" title=\"Norvane File converter\" default=\"1\" -> \"2\"\n"
                 "prompt \"Last trace to export\" title=\"Norvane File converter\" default=\"5\" -> \"4\"\n"
                 "message \"" + txt + " has been recorded\" buttons=64 title=\"Norvane File converter\" -> 1\n"
                 "state.NbTraces = 5\n");
  EXPECT_EQ(ReadText(txt), ColumnText(2, 4, 4));
}

TEST(SuAsciiColumns, FirstAndLastAreSwappedAndClamped) {
  TempDir dir;
  const std::string su = dir / "shot.SU";
  const std::string txt = dir / "shot.txt";
  WriteSu(su, 4, 3, [](int t) { return t; }, Sample);
  const auto exportRange = [&](const std::string& first, const std::string& last) {
    RunExport("open MainPanel\nanswer dialog " + su + "\nanswer prompt \"" + first + "\"\nanswer prompt \"" + last +
        "\"\nclick Option24\n");
    return ReadText(txt);
  };
  EXPECT_EQ(exportRange("3", "2"), ColumnText(2, 3, 3));
  EXPECT_EQ(exportRange("2.5", "9"), ColumnText(2, 4, 3));  // 2.5 rounds to 2
  EXPECT_EQ(exportRange("1", "0"), ColumnText(1, 1, 3));    // one trace: one column
  EXPECT_EQ(exportRange("1", "-3"), ColumnText(1, 1, 3));
  EXPECT_EQ(exportRange("-4", "x"), "\r\n\r\n\r\n");     // 1 to 0: no column
  EXPECT_EQ(exportRange("7", "9"), "\r\n\r\n\r\n");         // nothing left of the range
}

TEST(SuAsciiColumns, AnUnreadableFileStillAsksButWritesNothing) {
  TempDir dir;
  test::WriteText(dir / "old.txt", "keep");
  const std::string out = RunExport("open MainPanel\nanswer dialog " + dir / "old.su" +
                                    "\nclick Option24\nshow state.NbSamples\n");
  EXPECT_EQ(out.substr(out.find("prompt")),
            "prompt \"First trace to export\" title=\"Norvane File converter\" default=\"1\" -> \"1\"\n"
            "prompt \"Last trace to export\" title=\"Norvane File converter\" default=\"0\" -> \"0\"\n"
            "message \"" + dir / "old.txt" + " has been recorded\" buttons=64 title=\"Norvane File converter\" -> 1\n"
            "state.NbSamples = 0\n");
  EXPECT_EQ(ReadText(dir / "old.txt"), "keep");
}

TEST(SuAsciiColumns, AnExistingOutputIsReplacedAndNoEndsIt) {
  TempDir dir;
  const std::string su = dir / "a.su";
  WriteSu(su, 1, 2, [](int) { return 1; }, Sample);
  test::WriteText(dir / "a.txt", std::string(500, 'x'));
  RunExport("open MainPanel\nanswer dialog " + su + "\nclick Option24\n");
  EXPECT_EQ(ReadText(dir / "a.txt"), ColumnText(1, 1, 2));
  EXPECT_EQ(RunExport("open MainPanel\nanswer message 7\nclick Option24\n").find("dialog"), std::string::npos);
}

TEST(SuAsciiColumns, WideSelectionsMatchTraceByTrace) {
  TempDir dir;
  const std::string su = dir / "wide.su";
  WriteSu(su, 48, 300, [](int t) { return t; }, Sample);
  RunExport("open MainPanel\nanswer dialog " + su + "\nclick Option24\n");
  EXPECT_EQ(ReadText(dir / "wide.txt"), ColumnText(1, 48, 300));
}

// The export walks a map of the file: lines past the point where the pages
// are handed back, and a last trace cut inside a sample, read as from disk.
TEST(SuAsciiColumns, LongTracesAndACutLastTrace) {
  TempDir dir;
  const std::string su = dir / "long.su";
  WriteSu(su, 3, 9000, [](int t) { return t; }, Sample);
  RunExport("open MainPanel\nanswer dialog " + su + "\nclick Option24\n");
  EXPECT_EQ(ReadText(dir / "long.txt"), ColumnText(1, 3, 9000));

  // Three traces of 4 samples, the last one cut 6 bytes into its samples:
  // its second sample keeps its two low bytes, the rest reads as 0.
  const std::string cut = dir / "cut.su";
  WriteSu(cut, 3, 4, [](int t) { return t; }, Sample);
  std::filesystem::resize_file(cut, 2 * (240 + 16) + 240 + 6);
  RunExport("open MainPanel\nanswer dialog " + cut + "\nanswer prompt 1\nanswer prompt 3\nclick Option24\n");
  const float halfSample = BitsFloat(FloatBits(Sample(3, 2)) & 0xFFFFu);
  std::string expected;
  for (int j = 1; j <= 4; ++j) {
    const float last = j == 1 ? Sample(3, 1) : j == 2 ? halfSample : 0.0f;
    expected += Formatted(Sample(1, j)) + "," + Formatted(Sample(2, j)) + "," + Formatted(last) + ",\r\n";
  }
  EXPECT_EQ(ReadText(dir / "cut.txt"), expected);
}

TEST(SuAsciiCalculChannel, CountsTracesAndChannelsAndReadsDt) {
  TempDir dir;
  const std::string su = dir / "c.su";
  WriteSu(su, 48, 10, [](int t) { return (t - 1) % 24 + 1; }, Sample, 0);
  SharedState state;
  state.NbSamples = 10;
  state.SampleInterval = 77;
  int32_t traces = -1;
  int16_t channels = -1;
  Calcul_Channel(su, traces, channels, state);
  EXPECT_EQ(traces, 48);
  EXPECT_EQ(channels, 24);
  EXPECT_EQ(state.SampleInterval, 0);  // dt as it stands, no default
  Calcul_Channel(dir / "missing.su", traces, channels, state);
  EXPECT_EQ(traces, 0);
  EXPECT_EQ(channels, 0);
}

TEST(SuAsciiCalculChannel, TraceSizeHeldInSixteenBits) {
  TempDir dir;
  SharedState state;
  int32_t traces = -1;
  int16_t channels = -1;
  const std::string wide = dir / "wide.su";
  WriteSu(wide, 8, 8132, [](int t) { return t; }, [](int, int) { return 0.0f; });
  state.NbSamples = 8132;
  Calcul_Channel(wide, traces, channels, state);
  EXPECT_EQ(traces, 0);
  EXPECT_EQ(channels, 0);
  const std::string fits = dir / "fits.su";
  WriteSu(fits, 8, 8131, [](int t) { return t; }, [](int, int) { return 0.0f; });
  state.NbSamples = 8131;
  Calcul_Channel(fits, traces, channels, state);
  EXPECT_EQ(traces, 8);
  EXPECT_EQ(channels, 8);
}

TEST(SuAsciiCalculChannel, FirstScanUsesTheNsReadAndTheSecondNbSamples) {
  // ns 0 in the file: ReadSuSizes made NbSamples 1024, so the tracf scan
  // steps by 240 + 4096 bytes while the count and the nhs scan use 240.
  TempDir dir;
  const std::string su = dir / "zero.su";
  WriteSu(su, 40, 0, [](int t) { return t; }, Sample);
  SharedState state;
  state.NbSamples = 1024;
  int32_t traces = 0;
  int16_t channels = 0;
  Calcul_Channel(su, traces, channels, state);
  EXPECT_EQ(traces, 40);
  // Its second step lands inside a header, on a 0: tracf seems to fall at once.
  EXPECT_EQ(channels, 0);
}

}  // namespace
}  // namespace vexmor
