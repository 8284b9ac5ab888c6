#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <sstream>

#include <sys/time.h>

#include "core/failure.h"
#include "core/file_date.h"
#include "core/numbers.h"
#include "core/paths.h"
#include "core/shared_state.h"
#include "core/text.h"
#include "core/text_reader.h"
#include "platform/headless_platform.h"
#include "test_util.h"
#include "toolchains/job_script.h"

namespace vexmor {
namespace {

using test::TempDir;

// Months count 30 days each, and a name in another letter case is found.
TEST(FileDate, WordsFromTheLastChangeInLocalTime) {
  TempDir dir;
  test::WriteText(dir / "line1.rd3", "x");
  std::tm when{};
  when.tm_year = 2024 - 1900;
  when.tm_mon = 2;  // March
  when.tm_mday = 5;
  when.tm_hour = 14;
  when.tm_min = 7;
  when.tm_isdst = -1;
  const timeval times[2] = {{std::mktime(&when), 0}, {std::mktime(&when), 0}};
  ASSERT_EQ(utimes((dir / "line1.rd3").c_str(), times), 0);
  const SuDateWords words = DateWordsOf(dir / "LINE1.RD3");
  EXPECT_EQ(words.year, 24);
  EXPECT_EQ(words.day, 2 * 30 + 5);
  EXPECT_EQ(words.hour, 14);
  EXPECT_EQ(words.minute, 7);

  const SuDateWords none = DateWordsOf(dir / "missing.rd3");
  EXPECT_EQ(none.day, -30);
  EXPECT_EQ(none.year, 0);
}

TEST(LeadingNumber, TakesTheNumberTheTextBeginsWith) {
  EXPECT_EQ(LeadingNumber(" 24"), 24);
  EXPECT_EQ(LeadingNumber("480 microseconds"), 480);
  EXPECT_EQ(LeadingNumber("-3.5x"), -3.5);
  EXPECT_EQ(LeadingNumber(".25"), 0.25);
  EXPECT_EQ(LeadingNumber("1e3"), 1000);
  EXPECT_EQ(LeadingNumber("2E"), 2);      // an exponent needs digits
  EXPECT_EQ(LeadingNumber("abc"), 0);
  EXPECT_EQ(LeadingNumber(""), 0);
  EXPECT_EQ(LeadingNumber("-"), 0);
  EXPECT_EQ(LeadingNumber("."), 0);
  EXPECT_TRUE(std::isinf(LeadingNumber("1e999")));
  EXPECT_TRUE(std::isinf(LeadingNumber("-1e999")));
  // Too small for a double is 0, not out of range.
  EXPECT_EQ(LeadingNumber("1e-999"), 0);
  EXPECT_EQ(LeadingNumber("-0.0001e-400"), 0);
  EXPECT_TRUE(std::isinf(LeadingNumber("1" + std::string(400, '0') + "e-5")));
  // Exponents at the very ends of a long: the sum with the magnitude must
  // not overflow (the sanitizer build stops on it).
  EXPECT_TRUE(std::isinf(LeadingNumber("05E" + std::string(300, '0') + "9223372036854775807")));
  EXPECT_EQ(LeadingNumber("0.05e-9223372036854775808"), 0);
}

TEST(Rounding, HalfGoesToEven) {
  EXPECT_EQ(RoundHalfEven(2.5), 2);
  EXPECT_EQ(RoundHalfEven(3.5), 4);
  EXPECT_EQ(RoundHalfEven(-2.5), -2);
  EXPECT_EQ(RoundHalfEven(2.51), 3);
  EXPECT_EQ(ToInt16(0.5), 0);
  EXPECT_EQ(ToInt16(1.5), 2);
}

TEST(Narrowing, ValuesThatDoNotFitAreRunTimeFailures) {
  EXPECT_EQ(ToInt16(32767), 32767);
  EXPECT_EQ(ToInt16(32767.4), 32767);
  EXPECT_EQ(ToInt16(-32768.5), -32768);  // rounds to the even -32768
  try {
    ToInt16(32767.5);  // rounds to 32768
    FAIL() << "no failure";
  } catch (const RunTimeFailure& f) {
    EXPECT_EQ(f.Code(), FailureCode::Overflow);
  }
  EXPECT_THROW(ToInt32(2147483648.0), RunTimeFailure);
  EXPECT_THROW(ToInt32(NAN), RunTimeFailure);
  EXPECT_THROW(ToInt16(INFINITY), RunTimeFailure);
  EXPECT_EQ(ToInt32(-2147483648.0), INT32_MIN);
  EXPECT_EQ(TextToInt16(" 24 traces"), 24);
}

TEST(NumberText, LeadingBlankForZeroAndAbove) {
  EXPECT_EQ(NumberText(24), " 24");
  EXPECT_EQ(NumberText(0), " 0");
  EXPECT_EQ(NumberText(-3), "-3");
  EXPECT_EQ(NumberText(0.4), " 0.4");
  EXPECT_EQ(PlainDigits(2048), "2048");
  EXPECT_EQ(PlainDigits(-0.0), "0");
}

TEST(ShortestText, RoundTripsWithoutNoise) {
  EXPECT_EQ(ShortestText(0.1), "0.1");
  EXPECT_EQ(ShortestText(0.1 + 0.2), "0.30000000000000004");
  EXPECT_EQ(ShortestText(76000000), "76000000");
  EXPECT_EQ(ShortestText(-12.75), "-12.75");
  EXPECT_EQ(ShortestText(1e20), "1e+20");
  EXPECT_EQ(std::strtod(ShortestText(1.0 / 3).c_str(), nullptr), 1.0 / 3);
  // A float word reads as the float it is, not as its widened double.
  EXPECT_EQ(ShortestTextOfSingle(0.1f), "0.1");
  EXPECT_EQ(NumberTextOfSingle(0.25f), " 0.25");
  EXPECT_EQ(NumberTextOfSingle(-1.1f), "-1.1");
  EXPECT_EQ(NumberTextOfSingle(3e20f), " 3e+20");
  EXPECT_EQ(NumberTextOfSingle(-0.0f), " 0");
  EXPECT_EQ(ShortestText(static_cast<double>(0.1f)), "0.10000000149011612");
}

TEST(KeyFilter, LetsTheSetThroughAndBeepsOtherwise) {
  std::vector<std::string> lines;
  HeadlessPlatform p([&](const std::string& l) { lines.push_back(l); });
  int key = '7';
  EXPECT_EQ(KeyFilter(key, "0123456789", true, p), '7');
  key = kBackspace;
  EXPECT_EQ(KeyFilter(key, "0123456789", true, p), kBackspace);
  EXPECT_TRUE(lines.empty());
  key = 'a';
  EXPECT_EQ(KeyFilter(key, "0123456789", true, p), 0);
  EXPECT_EQ(key, 0);
  EXPECT_EQ(lines, std::vector<std::string>{"beep"});
  key = kBackspace;
  EXPECT_EQ(KeyFilter(key, "01", false, p), 0);
  // Letter case counts as one.
  key = 'X';
  EXPECT_EQ(KeyFilter(key, "xyz", true, p), 'X');
  key = 'y';
  EXPECT_EQ(KeyFilter(key, "XYZ", true, p), 'y');
}

std::optional<double> Tagged(std::string text, std::string tag, int* beeps = nullptr) {
  int count = 0;
  HeadlessPlatform p([&](const std::string&) { ++count; });
  std::optional<double> value;
  ReadTaggedValue(text, tag, value, p);
  if (beeps) *beeps = count;
  return value;
}

TEST(ReadTaggedValue, ReadsDigitsAndPointsUpToTheLineEnd) {
  EXPECT_EQ(Tagged("SAMPLES:512\r\nFREQUENCY:1000\r\n", "SAMPLES:"), 512);
  EXPECT_EQ(Tagged("samples:512\r\n", "SAMPLES:"), 512);         // found on upper-case copies
  EXPECT_EQ(Tagged("Frequency: 2500.5 MHz\r\n", "frequency"), 2500.5);
  EXPECT_EQ(Tagged("DISTANCE:-1.5\r\n", "DISTANCE:"), 1.5);      // the sign is lost
  EXPECT_EQ(Tagged("TIMEWINDOW:1E-3\r\n", "TIMEWINDOW:"), 13);   // so is the exponent
  EXPECT_EQ(Tagged("LAST TRACE:99", "LAST TRACE:"), 99);          // no CR behind it
  EXPECT_EQ(Tagged("A:1\nB:2\r\n", "A:"), 12);                    // only CR ends it
}

TEST(ReadTaggedValue, SixtyCharacterWindowAndMissingTag) {
  const std::string pad(60, ' ');
  EXPECT_FALSE(Tagged("TAG:" + pad + "5\r\n", "TAG:").has_value());
  EXPECT_EQ(Tagged("TAG:" + std::string(50, ' ') + "5\r\n", "TAG:"), 5);
  // The CR at exactly p + 60 still ends it.
  EXPECT_EQ(Tagged("TAG:7" + std::string(55, ' ') + "\r", "TAG:"), 7);
  int beeps = 0;
  EXPECT_FALSE(Tagged("NOTHING HERE\r\n", "TAG:", &beeps).has_value());
  EXPECT_EQ(beeps, 1);
  std::string text = "abc:1\r", tag = "abc:";
  HeadlessPlatform p;
  std::optional<double> v;
  ReadTaggedValue(text, tag, v, p);
  EXPECT_EQ(text, "ABC:1\r");  // the caller's strings come back in upper case
  EXPECT_EQ(tag, "ABC:");
}

TEST(ReplaceAll, RunsOfSeparators) {
  auto replaced = [](std::string text, std::string_view find, std::string_view with) {
    ReplaceAll(text, find, with);
    return text;
  };
  EXPECT_EQ(replaced(R"(a\\b)", R"(\\)", R"(\)"), R"(a\b)");
  EXPECT_EQ(replaced(R"(a\\\b)", R"(\\)", R"(\)"), R"(a\\b)");
  EXPECT_EQ(replaced(R"(a\\\\b)", R"(\\)", R"(\)"), R"(a\\b)");
  EXPECT_EQ(replaced("a//b//c", "//", "/"), "a/b/c");
  EXPECT_EQ(replaced("aaa", "a", "b"), "bbb");
  EXPECT_EQ(replaced("abc", "", "x"), "abc");
  EXPECT_EQ(replaced("xyz", "q", "r"), "xyz");
  // A match formed with the tail of what was put in is replaced too.
  EXPECT_EQ(replaced("abb", "ab", "xa"), "xxa");
  // What a user may type in a replace command ends, and replaces each once.
  EXPECT_EQ(replaced("a-a", "a", "aa"), "aa-aa");
  EXPECT_EQ(replaced("ab", "ab", "xab"), "xab");
}

TEST(FolderPart, FolderOrFirstTwoCharacters) {
  SharedState s;
  FolderPart("/data/line1/a.sg2", s);
  EXPECT_EQ(s.FolderOf, "/data/line1/");
  FolderPart("a.sg2", s);
  EXPECT_EQ(s.FolderOf, "a.");
  FolderPart("", s);
  EXPECT_EQ(s.FolderOf, "");
  FolderPart("x", s);
  EXPECT_EQ(s.FolderOf, "x");
}

TEST(Paths, ExistingNamesFoundWhateverTheirCase) {
  TempDir dir;
  test::WriteText(dir / "line1.hd", "x");
  test::WriteText(dir / "segyread", "x");
  EXPECT_EQ(ResolveExisting(dir / "LINE1.HD"), dir / "line1.hd");
  EXPECT_EQ(ResolveExisting(dir / "SEGYREAD.EXE"), dir / "segyread");
  EXPECT_EQ(ResolveExisting(dir / "nothing.dat"), dir / "nothing.dat");
  EXPECT_EQ(FileExists(dir / "Line1.Hd"), 1);
  EXPECT_EQ(FileExists(dir / "*.HD"), 1);
  EXPECT_EQ(FileExists(dir / "*.su"), 0);
  // Wildcards find a folder in any case, and ".*" also takes a name with no
  // extension, as "*.*" does on the machines the records come from.
  EXPECT_EQ(FileExists(dir.Str() + "/SUB/*.dat"), 0);
  std::filesystem::create_directory(dir / "sub");
  test::WriteText(dir / "sub/README", "x");
  EXPECT_EQ(FileExists(dir.Str() + "/SUB/*.*"), 1);
  EXPECT_EQ(FileExists(dir.Str() + "/sub/readme.*"), 1);
  EXPECT_EQ(FileExists(dir.Str() + "/sub/*.txt"), 0);
  EXPECT_EQ(FileExists(dir.Str()), 0);  // a folder is not a file
  EXPECT_EQ(FileExists(""), 0);
}

TEST(Paths, WorkFolderFromTheEnvironmentCreatedOnDemand) {
  TempDir dir;
  const char* saved = std::getenv("VEXMOR_WORKDIR");
  const std::string keep = saved ? saved : "";
  setenv("VEXMOR_WORKDIR", (dir / "deep/work").c_str(), 1);
  EXPECT_EQ(WorkFolder(), dir / "deep/work/");
  EXPECT_TRUE(std::filesystem::is_directory(dir / "deep/work"));
  test::WriteText(dir / "file", "x");
  setenv("VEXMOR_WORKDIR", (dir / "file").c_str(), 1);
  EXPECT_EQ(WorkFolder(), "");  // a file in the way: no folder, no throw
  if (saved) setenv("VEXMOR_WORKDIR", keep.c_str(), 1); else unsetenv("VEXMOR_WORKDIR");
}

TEST(JobScript, LinesEndedByTheNewLineAndStartedWithThePrefix) {
  TempDir dir;
  ASSERT_TRUE(WriteJobScript(dir / "convert.bat", {"A >b", "C"}, "\r\n"));
  EXPECT_EQ(test::ReadText(dir / "convert.bat"), "A >b\r\nC\r\n");
  EXPECT_FALSE(WriteJobScript(dir / "no/such/convert.bat", {"A"}, "\r\n"));
  std::string transcript;
  HeadlessPlatform platform([&](const std::string& line) { transcript += line + "\n"; });
  platform.SetRecordOnly(true);
  SharedState state;
  state.CommandPrefix = "command.com /c ";
  StartJobScript(platform, state, "x.bat", 1);
  EXPECT_NE(transcript.find("command.com /c x.bat"), std::string::npos);
}

TEST(FindToolDir, IniFolderWhenItHoldsTheToolsElseProgramFolder) {
  TempDir config, tools;
  const char* old = std::getenv("XDG_CONFIG_HOME");
  const std::string saved = old ? old : "";
  setenv("XDG_CONFIG_HOME", config.Str().c_str(), 1);
  HeadlessPlatform p;
  p.SetProgramFolder("/opt/vexmor/bin");
  SharedState s;

  FindToolDir(s, p);  // no INI at all
  EXPECT_EQ(s.ToolDir, "/opt/vexmor/bin/");

  test::WriteText(config / "tarvix.INI", "[Other]\nDirectory1=/x/\n[TARVIX_SU]\r\n directory1 = " + tools.Str() +
                                              "/\r\n");
  FindToolDir(s, p);  // the folder holds no segyread yet
  EXPECT_EQ(s.ToolDir, "/opt/vexmor/bin/");
  test::WriteText(tools / "segyread", "");
  FindToolDir(s, p);
  EXPECT_EQ(s.ToolDir, tools.Str() + "/");

  EXPECT_EQ(p.ReadIniString("TARVIX_SU", "Missing", "C:\\tarvix\\bin\\", "Tarvix.ini", 90), "C:\\tarvix\\bin\\");
  EXPECT_EQ(p.ReadIniString("TARVIX_SU", "Directory1", "", "Tarvix.ini", 4), tools.Str().substr(0, 3));
  if (old) setenv("XDG_CONFIG_HOME", saved.c_str(), 1); else unsetenv("XDG_CONFIG_HOME");
}

TEST(TextReaders, LinesEndInCrLfLfOrCr) {
  EXPECT_EQ(SplitLines("a\r\nb\nc\rd"), (std::vector<std::string>{"a", "b", "c", "d"}));
  EXPECT_EQ(SplitLines("a\r\n\r\nb\r\n"), (std::vector<std::string>{"a", "", "b"}));
  EXPECT_TRUE(SplitLines("").empty());
  TempDir dir;
  EXPECT_THROW(ReadWholeFile(dir.Str()), RunTimeFailure);  // a folder is no text
  EXPECT_THROW(ReadWholeFile(dir / "missing.txt"), RunTimeFailure);
}

TEST(TextReaders, ValuesSeparatedByCommasOrLineEnds) {
  ValueReader r("1, 2.5,\"x y\"\r\n-4,,7\n");
  EXPECT_EQ(r.NextNumber(), 1);
  EXPECT_EQ(r.NextNumber(), 2.5);
  std::string field;
  ASSERT_TRUE(r.Next(field));
  EXPECT_EQ(field, "x y");
  EXPECT_EQ(r.NextNumber(), -4);
  ASSERT_TRUE(r.Next(field));
  EXPECT_EQ(field, "");
  EXPECT_EQ(r.NextNumber(), 7);
  EXPECT_TRUE(r.AtEnd());
  EXPECT_FALSE(r.Next(field));
  EXPECT_EQ(r.NextNumber(), 0);
}

}  // namespace
}  // namespace vexmor
