// The RAMAC importer Radar_F through panel scripts: reading the .rad header
// text, the conversion's prompts and refusals, and the SU bytes it writes.
#include "importers/radar/ramac.h"

#include <gtest/gtest.h>
#include <utime.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <sstream>

#include "core/su_trace.h"
#include "importers/radar/ramac_format.h"
#include "panels/script.h"
#include "platform/headless_platform.h"
#include "test_util.h"

namespace vexmor {
namespace {

using test::TempDir;

int16_t InputSample(int trace, int k) { return static_cast<int16_t>(trace * 1000 - 3 * k); }

void WriteRd3(const std::string& path, int traces, int samples) {
  std::vector<uint8_t> bytes;
  for (int t = 1; t <= traces; ++t) {
    for (int k = 1; k <= samples; ++k) {
      uint8_t b[2];
      PutLE16(b, InputSample(t, k));
      bytes.insert(bytes.end(), b, b + 2);
    }
  }
  test::WriteBytes(path, bytes);
}

// Sets a file's last-change time to a local date and time.
void SetLocalTime(const std::string& path, int year, int month, int day, int hour, int minute) {
  std::tm local{};
  local.tm_year = year - 1900;
  local.tm_mon = month - 1;
  local.tm_mday = day;
  local.tm_hour = hour;
  local.tm_min = minute;
  local.tm_isdst = -1;
  const utimbuf times{std::mktime(&local), std::mktime(&local)};
  ASSERT_EQ(utime(path.c_str(), &times), 0);
}

std::string RunRadar(const std::string& commands) {
  test::KeepCurrentFolder keep;
  HeadlessPlatform platform;
  std::ostringstream out, err;
  EXPECT_EQ(RunScriptHeadless("open MainPanel\nclick Option12\nuse Radar_F\n" + commands, platform, out, err), 0)
      << err.str();
  return out.str();
}

struct SuOut {
  std::vector<uint8_t> bytes;
  int ns;
  size_t RecordSize() const { return 240 + 4 * static_cast<size_t>(ns); }
  size_t Traces() const { return bytes.size() / RecordSize(); }
  const uint8_t* Record(int i) const { return bytes.data() + RecordSize() * (i - 1); }
  double Word(int i, const char* name) const { return GetWord(Record(i), SuWordNamed(name)); }
  float Sample(int i, int k) const { return GetLEFloat(Record(i) + 240 + 4 * (k - 1)); }
};

SuOut ReadSu(const std::string& path) {
  SuOut su{test::ReadBytes(path), 0};
  if (su.bytes.size() >= 240) su.ns = GetLE16(su.bytes.data() + 114);
  return su;
}

// The lines of a panel's fields set for a conversion of the profile.
std::string Fields(const std::string& rd3, const std::string& traces, const std::string& samples,
                   const std::string& interval, const std::string& zero, const std::string& spacing = ".2") {
  return "set Text1 " + rd3 + "\nset Text2 \"" + traces + "\"\nset Text6 \"" + samples + "\"\nset Text4 \"" +
         interval + "\"\nset Text8 \"" + zero + "\"\nset Text3 \"" + spacing + "\"\n";
}

TEST(RamacHeader, WithoutRadFileTheFieldsComeFromTheFileSize) {
  TempDir dir;
  const std::string rd3 = dir / "LINE1.rd3";
  test::WriteBytes(rd3, std::vector<uint8_t>(400 * 1024));
  const std::string out = RunRadar("answer dialog " + rd3 +
                                   "\nclick Command3\nshow Text6\nshow Text2\nshow Text5\nshow RichTextBox1\n"
                                   "show state.FolderOf\nshow state.InputFile\nshow Radar_F.caption\n");
  EXPECT_EQ(out, "opened MainPanel\nopened Radar_F\n"
                 "dialog \"File selection\" filter=\"Radar files|*.rd3|All files|*.*|\" file=\"*.rd3\" "
                 "folder=\"\" multi=0 save=0 -> \"" + rd3 + "\"\n"
                 "Text6 = \"512\"\nText2 = \" 400\"\n"
                 "Text5 = \"" + dir / "LINE1.SU" + "\"\n"
                 "RichTextBox1 = \" No RAD file available for " + rd3 + "\\r\\n\"\n"
                 "state.FolderOf = \"" + dir.Str() + "/\"\n"
                 "state.InputFile = \"" + rd3 + "\"\n"
                 "Radar_F.caption = \"RAMAC  file conversion\"\n");
  // A size that is no whole number of 1024 bytes keeps its fraction.
  test::WriteBytes(rd3, std::vector<uint8_t>(1536));
  EXPECT_NE(RunRadar("answer dialog " + rd3 + "\ndblclick Text1\nshow Text2\n").find("Text2 = \" 1.5\""),
            std::string::npos);
}

TEST(RamacHeader, LowerCaseKeywordsAndTheIntervalFromTheTimeWindow) {
  TempDir dir;
  const std::string rd3 = dir / "p.rd3";
  WriteRd3(rd3, 3, 500);
  const std::string rad =
      "samples:500\r\nfrequency:250\r\nlast trace:3\r\ntime interval:0\r\ntimewindow:200\r\n"
      "distance interval:-0.05\r\n";
  test::WriteText(dir / "p.rad", rad);
  const std::string out = RunRadar("answer dialog " + rd3 +
                                   "\nclick Command3\nshow Text6\nshow Text2\nshow Text4\nshow Text7\nshow Text3\n"
                                   "show RichTextBox1\nclick Command1\n");
  EXPECT_EQ(out.substr(out.find("Text6")),
            "Text6 = \"500\"\nText2 = \"3\"\nText4 = \"0.4\"\nText7 = \"200\"\nText3 = \"0.05\"\n"
            "RichTextBox1 = " + Quote(rad) + "\n"
            "message \"OK Conversion done " + dir / "p.SU" + "   " + std::to_string(3 * (240 + 4 * 500)) +
                "\" buttons=0 title=\"\" -> 1\n");
  const SuOut su = ReadSu(dir / "p.SU");
  EXPECT_EQ(su.ns, 500);
  EXPECT_EQ(su.Word(1, "dt"), 400);
  EXPECT_FLOAT_EQ(su.Word(3, "d2"), 0.05f);
}

TEST(RamacHeader, MissingKeywordsBeepAndLeaveTheTimingToBeAskedFor) {
  TempDir dir;
  const std::string rd3 = dir / "q.RD3";
  WriteRd3(rd3, 4, 256);
  test::WriteText(dir / "q.RAD", "SAMPLES:256\r\nANTENNAS:100 MHz\r\n");
  const std::string out = RunRadar("answer dialog " + rd3 +
                                   "\nclick Command3\nshow Text6\nshow Text2\nshow Text4\nshow Text7\nshow Text3\n");
  EXPECT_EQ(out.substr(out.find("beep")),
            "beep\nbeep\nbeep\nbeep\nText6 = \"256\"\nText2 = \" 4\"\nText4 = \"0\"\nText7 = \"0\"\n"
            "Text3 = \".20\"\n");
}

TEST(RamacHeader, LinesEndingInLineFeedAloneAreReadToo) {
  TempDir dir;
  const std::string rd3 = dir / "u.rd3";
  WriteRd3(rd3, 2, 100);
  test::WriteText(dir / "u.rad", "SAMPLES:100\nLAST TRACE:2\nTIME INTERVAL:0\nTIMEWINDOW:50\nDISTANCE INTERVAL:0.1\n");
  const std::string out = RunRadar("answer dialog " + rd3 + "\nclick Command3\nshow Text6\nshow Text2\nshow Text4\n");
  EXPECT_EQ(out.find("beep"), std::string::npos) << out;
  EXPECT_NE(out.find("Text6 = \"100\"\nText2 = \"2\"\nText4 = \"0.5\""), std::string::npos) << out;
}

TEST(RamacConvert, NothingIsWrittenBeforeAProfileIsPicked) {
  const std::string out = RunRadar("set Text2 3\nclick Command1\n");
  EXPECT_EQ(out, "opened MainPanel\nopened Radar_F\nmessage \"Output SU file name is not a file name: \\\"*.SU\\\"\" "
                 "buttons=16 title=\"Norvane File converter\" -> 1\n");
}

TEST(RamacHeader, ACancelledDialogIsTakenAsABarePath) {
  const std::string out = RunRadar("click Command3\nshow Text1\nshow Text5\nshow Text6\nshow Text2\n"
                                   "show RichTextBox1\nshow state.FolderOf\nshow state.InputFile\n");
  EXPECT_EQ(out.substr(out.find("Text1")),
            "Text1 = \"*.rd3\"\nText5 = \"*.SU\"\nText6 = \"512\"\nText2 = \" \"\n"
            "RichTextBox1 = \" No RAD file available for *.rd3\\r\\n\"\n"
            "state.FolderOf = \"/\"\nstate.InputFile = \"*.rd3\"\n");
}

TEST(RamacConvert, TheProfileItselfIsNeverTheOutput) {
  TempDir dir;
  const std::string rd3 = dir / "x.rd3";
  WriteRd3(rd3, 2, 8);
  const auto before = test::ReadBytes(rd3);
  const std::string out =
      RunRadar(Fields(rd3, "2", "8", "1", "0") + "set Text5 " + dir / "X.RD3" + "\nclick Command1\n");
  EXPECT_EQ(out.substr(out.find("message")), "message \"Output SU file name is the input file: \\\"" + dir / "X.RD3" +
                                                 "\\\"\" buttons=16 title=\"Norvane File converter\" -> 1\n");
  EXPECT_EQ(test::ReadBytes(rd3), before);
}

TEST(RamacHeader, OutputNameFollowsTheInputName) {
  const std::string out = RunRadar("set Text1 ab\nshow Text5\nset Text1 /data/LINE7.rd3\nshow Text5\n");
  EXPECT_EQ(out, "opened MainPanel\nopened Radar_F\nText5 = \"*.SU\"\nText5 = \"/data/LINE7.SU\"\n");
}

TEST(RamacConvert, TimeZeroAndTheHeaderWordsOfEachTrace) {
  TempDir dir;
  const std::string rd3 = dir / "t.rd3";
  WriteRd3(rd3, 6, 512);
  SetLocalTime(rd3, 2026, 3, 15, 14, 7);
  for (const int zero : {0, 10}) {
    const std::string output = dir / ("z" + std::to_string(zero) + ".su");
    const std::string out = RunRadar(Fields(rd3, "6", "512", "0.8", std::to_string(zero)) + "set Text5 " + output +
                                     "\nclick Command1\nshow ProgressBar1\n");
    const int ns = 512 - zero;
    EXPECT_NE(out.find("OK Conversion done " + output + "   " + std::to_string(6 * (240 + 4 * ns))),
              std::string::npos)
        << out;
    EXPECT_NE(out.find("ProgressBar1 min=1 max=6 value=6"), std::string::npos) << out;
    const SuOut su = ReadSu(output);
    ASSERT_EQ(su.ns, ns);
    ASSERT_EQ(su.Traces(), 6u);
    ASSERT_EQ(su.bytes.size() % su.RecordSize(), 0u);
    const int expectedX[] = {0, 0, 0, 1, 1, 1};  // 0, 0.2, ... 1.0 rounded half to even
    for (int i = 1; i <= 6; ++i) {
      for (const char* word : {"tracl", "tracr", "tracf", "cdp", "cdpt"}) EXPECT_EQ(su.Word(i, word), i) << word;
      for (const char* word : {"ep", "offset", "sx", "gx"}) EXPECT_EQ(su.Word(i, word), expectedX[i - 1]) << word;
      EXPECT_EQ(su.Word(i, "fldr"), 1);
      EXPECT_EQ(su.Word(i, "trid"), 1);
      EXPECT_EQ(su.Word(i, "nhs"), 95);
      EXPECT_EQ(su.Word(i, "scalco"), 1);
      EXPECT_EQ(su.Word(i, "dt"), 800);
      EXPECT_EQ(su.Word(i, "year"), 26);
      EXPECT_EQ(su.Word(i, "day"), 75);
      EXPECT_EQ(su.Word(i, "hour"), 14);
      EXPECT_EQ(su.Word(i, "minute"), 7);
      EXPECT_EQ(su.Word(i, "d1"), 0.2f);
      EXPECT_EQ(su.Word(i, "d2"), 0.2f);
      for (const char* word : {"nvs", "duse", "gelev", "sy", "gy", "counit", "delrt", "f1", "ntr"}) {
        EXPECT_EQ(su.Word(i, word), 0) << word;
      }
      if (zero == 0) {
        EXPECT_EQ(su.Sample(i, 1), 0.0f);
        EXPECT_EQ(su.Sample(i, 2), InputSample(i, 1));
      } else {
        EXPECT_EQ(su.Sample(i, 1), InputSample(i, 10));
      }
      // The last input sample is never copied.
      EXPECT_EQ(su.Sample(i, ns), InputSample(i, 511));
    }
  }
}

TEST(RamacConvert, SamplingIntervalGoesIntoDtAsNanosecondsTimesThousand) {
  TempDir dir;
  const std::string rd3 = dir / "d.rd3";
  WriteRd3(rd3, 1, 16);
  const std::pair<const char*, int> cases[] = {{"0.8", 800}, {"0.4005", 400}, {"0.4015", 402}, {"32.767", 32767}};
  for (const auto& [text, dt] : cases) {
    RunRadar(Fields(rd3, "1", "16", text, "0") + "answer message 6\nclick Command1\n");
    EXPECT_EQ(ReadSu(dir / "d.SU").Word(1, "dt"), dt) << text;
  }
}

TEST(RamacConvert, AnExistingOutputIsKilledOrWrittenOver) {
  TempDir dir;
  const std::string rd3 = dir / "e.rd3";
  const std::string output = dir / "e.SU";
  WriteRd3(rd3, 2, 8);
  const size_t size = 2 * (240 + 32);
  test::WriteBytes(output, std::vector<uint8_t>(size + 100, 0xAB));
  const std::string no = RunRadar(Fields(rd3, "2", "8", "1", "0") + "answer message 7\nclick Command1\n");
  EXPECT_NE(no.find("message \"Output file name already exists, kill this file ?\" buttons=36 title=\"\" -> 7"),
            std::string::npos);
  std::vector<uint8_t> bytes = test::ReadBytes(output);
  ASSERT_EQ(bytes.size(), size + 100);
  EXPECT_EQ(bytes[184], 0xAB);   // f1 is not written
  EXPECT_EQ(bytes[239], 0xAB);
  EXPECT_EQ(bytes[183], 0x3E);   // the high byte of d1 = 0.2f
  EXPECT_EQ(bytes[size], 0xAB);  // past the last record
  RunRadar(Fields(rd3, "2", "8", "1", "0") + "answer message 6\nclick Command1\n");
  bytes = test::ReadBytes(output);
  ASSERT_EQ(bytes.size(), size);
  EXPECT_EQ(bytes[184], 0);
}

TEST(RamacConvert, MissingNumbersAreAskedFor) {
  TempDir dir;
  const std::string rd3 = dir / "m.rd3";
  WriteRd3(rd3, 2, 64);
  const std::string out = RunRadar(Fields(rd3, "2", "", "0", "0") +
                                   "answer prompt 3\nanswer prompt 64\nclick Command1\nshow Text4\nshow Text6\n");
  EXPECT_NE(out.find("prompt \" Enter the sampling rate (nanoS)\" title=\"\" default=\"0\" -> \"3\"\n"
                     "prompt \" Enter the number of sample per trace\" title=\"\" default=\"0\" -> \"64\"\n"),
            std::string::npos)
      << out;
  EXPECT_NE(out.find("Text4 = \"3000\"\nText6 = \"64\""), std::string::npos);
  EXPECT_EQ(ReadSu(dir / "m.SU").Word(2, "dt"), 3000);
  // Cancel, or the default handed back, ends the conversion with nothing written.
  std::filesystem::remove(dir / "m.SU");
  const std::string cancelled = RunRadar(Fields(rd3, "2", "", "1", "0") + "click Command1\n");
  EXPECT_EQ(cancelled.substr(cancelled.find("prompt")),
            "prompt \" Enter the number of sample per trace\" title=\"\" default=\"0\" -> \"0\"\n");
  EXPECT_FALSE(std::filesystem::exists(dir / "m.SU"));
}

TEST(RamacLimits, SixteenBitLimitsAreRefusedWithAMessage) {
  TempDir dir;
  const std::string rd3 = dir / "l.rd3";
  WriteRd3(rd3, 1, 64);
  const std::string title = " buttons=16 title=\"Norvane File converter\" -> 1\n";
  const std::pair<std::string, std::string> cases[] = {
      {Fields(rd3, "40000", "64", "1", "0"), "Number of channel must be from 1 to 32767"},
      {Fields(rd3, "0", "64", "1", "0"), "Number of channel must be from 1 to 32767"},
      {Fields(rd3, "1", "16384", "1", "0"), "Samples per trace must be from 1 to 16383"},
      {Fields(rd3, "1", "64", "1", "64"), "Time zero at point must be from 0 to 63"},
      {Fields(rd3, "1", "64", "1", "-2"), "Time zero at point must be from 0 to 63"},
      {Fields(rd3, "1", "9000", "1", "868"),
       "At most 8131 samples per output trace: Samples per trace less Time zero at point gives 8132"},
  };
  for (const auto& [fields, reason] : cases) {
    const std::string out = RunRadar(fields + "click Command1\n");
    EXPECT_EQ(out.substr(out.find("message")), "message \"" + reason + ", nothing was converted\"" + title);
    EXPECT_FALSE(std::filesystem::exists(dir / "l.SU")) << reason;
  }
  // At the limit itself the file is written.
  RunRadar(Fields(rd3, "1", "9000", "1", "869") + "click Command1\n");
  EXPECT_EQ(ReadSu(dir / "l.SU").ns, 8131);
}

TEST(RamacLimits, AnIntervalAboveThe16BitDtIsAskedForAgain) {
  TempDir dir;
  const std::string rd3 = dir / "i.rd3";
  WriteRd3(rd3, 1, 8);
  const std::string prompt = "prompt \" Enter the sampling rate (nanoS)\" title=\"\" default=\"0\" -> ";
  const std::string out = RunRadar(Fields(rd3, "1", "8", "40", "0") +
                                   "answer prompt 33\nanswer prompt 12\nclick Command1\nshow Text4\n");
  EXPECT_EQ(out.substr(out.find("prompt")),
            prompt + "\"33\"\n" + prompt + "\"12\"\n"
            "message \"OK Conversion done " + dir / "i.SU" + "   272\" buttons=0 title=\"\" -> 1\n"
            "Text4 = \"12000\"\n");
  EXPECT_EQ(ReadSu(dir / "i.SU").Word(1, "dt"), 12000);
  // Text4 now shows dt: a second press multiplies once more, which no
  // longer fits, and the prompt comes back.
  const std::string again = RunRadar(Fields(rd3, "1", "8", "12000", "0") + "answer message 6\nanswer prompt 2\n"
                                     "click Command1\n");
  EXPECT_NE(again.find(prompt + "\"2\"\n"), std::string::npos) << again;
  EXPECT_EQ(ReadSu(dir / "i.SU").Word(1, "dt"), 2000);
}

TEST(RamacConvert, ShortOrMissingInputGivesZeroSamples) {
  TempDir dir;
  const std::string rd3 = dir / "s.rd3";
  WriteRd3(rd3, 2, 16);
  RunRadar(Fields(rd3, "3", "16", "1", "1") + "click Command1\n");
  SuOut su = ReadSu(dir / "s.SU");
  ASSERT_EQ(su.Traces(), 3u);
  EXPECT_EQ(su.Sample(2, 1), InputSample(2, 1));
  EXPECT_EQ(su.Sample(3, 1), 0.0f);
  EXPECT_EQ(su.Word(3, "tracl"), 3);

  RunRadar(Fields(dir / "none.rd3", "2", "16", "1", "1") + "click Command1\n");
  su = ReadSu(dir / "none.SU");
  ASSERT_EQ(su.Traces(), 2u);
  EXPECT_EQ(su.Sample(1, 1), 0.0f);
  EXPECT_EQ(su.Word(1, "day"), -30);

  // A folder by that name reads as nothing; a spacing beyond a float leaves
  // the distances and d1, d2 at 0.
  std::filesystem::create_directory(dir / "folder.rd3");
  const std::string out =
      RunRadar(Fields(dir / "folder.rd3", "2", "16", "1", "0", "1e39") + "click Command1\n");
  EXPECT_NE(out.find("OK Conversion done"), std::string::npos) << out;
  su = ReadSu(dir / "folder.SU");
  ASSERT_EQ(su.Traces(), 2u);
  EXPECT_EQ(su.Sample(2, 2), 0.0f);
  EXPECT_EQ(su.Word(2, "offset"), 0);
  EXPECT_EQ(su.Word(2, "d1"), 0.0f);
  EXPECT_EQ(su.Word(2, "d2"), 0.0f);
}

TEST(RamacConvert, AnOutputThatCannotBeWrittenIsReported) {
  TempDir dir;
  const std::string rd3 = dir / "w.rd3";
  WriteRd3(rd3, 1, 8);
  const std::string out =
      RunRadar(Fields(rd3, "1", "8", "1", "0") + "set Text5 " + dir / "no/such/folder.SU" + "\nclick Command1\n");
  EXPECT_NE(out.find("message \"The SU file can't be written: "), std::string::npos) << out;
  EXPECT_EQ(out.find("OK Conversion done"), std::string::npos);
}

}  // namespace
}  // namespace vexmor

namespace vexmor {
namespace {

const std::string kSampleFolder = std::string(VEXMOR_SOURCE_DIR) + "/samples/ramac";

TEST(RamacSample, TheBundledProfileConverts) {
  TempDir dir;
  const std::string output = dir / "PROFILE1.SU";
  const std::string out = RunRadar("answer dialog " + kSampleFolder + "/PROFILE1.rd3\nclick Command3\nset Text5 " +
                                   output + "\nclick Command1\nshow Text4\n");
  EXPECT_NE(out.find("Text4 = \"0.5\""), std::string::npos) << out;
  const SuOut su = ReadSu(output);
  ASSERT_EQ(su.ns, 256);
  ASSERT_EQ(su.Traces(), 80u);
  EXPECT_EQ(su.Word(1, "dt"), 500);
  EXPECT_EQ(su.Word(80, "tracl"), 80);
  EXPECT_EQ(su.Word(80, "d2"), 0.05f);
  EXPECT_EQ(su.Word(80, "offset"), 4);  // 79 x 0.05 = 3.95
  // The direct wave peaks at 10 ns: input sample 21, output sample 22.
  float peak = 0;
  int at = 0;
  for (int k = 1; k <= 256; ++k) {
    if (su.Sample(1, k) > peak) peak = su.Sample(1, k), at = k;
  }
  EXPECT_EQ(at, 22);
}

TEST(RamacSample, TheGeneratorWritesTheCommittedBytes) {
  if (std::system("python3 -c '' 2>/dev/null") != 0) GTEST_SKIP() << "no python3";
  TempDir dir;
  ASSERT_EQ(std::system(("python3 " + kSampleFolder + "/make_profile.py " + dir.Str()).c_str()), 0);
  for (const char* name : {"PROFILE1.rd3", "PROFILE1.rad"}) {
    EXPECT_EQ(test::ReadBytes(dir / name), test::ReadBytes(kSampleFolder + "/" + name)) << name;
  }
}

}  // namespace
}  // namespace vexmor
