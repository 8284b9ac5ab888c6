// The seismic file explorer through panel scripts: every word of the list
// read from an SU file and from the same trace behind a SEG-Y reel header,
// against values this test writes at the offsets of the SU header layout;
// swapped words; any number at any byte; files that are too short or none.
#include "utilities/pick.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

#include "panel_desk.h"
#include "platform/transcript.h"

namespace vexmor {
namespace {

using test::PanelDesk;
using test::TempDir;

// The SEG-Y trace header as SU files hold it: runs of words of one width.
struct LayoutRun {
  int first, last, width;
};
constexpr LayoutRun kLayout[] = {{1, 7, 4}, {8, 11, 2}, {12, 19, 4}, {20, 21, 2}, {22, 25, 4}, {26, 71, 2}};

struct Placed {
  int offset, width;
  int32_t value;
};

// Word k at its offset, with a value that tells words and signs apart.
std::vector<Placed> PlacedWords() {
  std::vector<Placed> words;
  int offset = 0;
  for (const LayoutRun& run : kLayout) {
    for (int k = run.first; k <= run.last; ++k) {
      const int sign = k % 2 ? -1 : 1;
      words.push_back({offset, run.width, run.width == 2 ? sign * (k * 311 + 5) : sign * (k * 1000003 + 17)});
      offset += run.width;
    }
  }
  return words;
}

void Put(std::vector<uint8_t>& bytes, size_t at, int32_t value, int width) {
  for (int b = 0; b < width; ++b) bytes[at + static_cast<size_t>(b)] = static_cast<uint8_t>(static_cast<uint32_t>(value) >> (8 * b));
}

std::vector<uint8_t> OneTrace() {
  std::vector<uint8_t> trace(240 + 4 * 8, 0xEE);
  for (const Placed& w : PlacedWords()) Put(trace, static_cast<size_t>(w.offset), w.value, w.width);
  return trace;
}

std::string Num(int64_t v) { return (v >= 0 ? " " : "") + std::to_string(v); }

class Pick : public ::testing::Test {
 protected:
  void SetUp() override {
    su = dir / "line.su";
    sgy = dir / "line.sgy";
    const std::vector<uint8_t> trace = OneTrace();
    test::WriteBytes(su, trace);
    std::vector<uint8_t> reel(3600 + trace.size(), 0x40);
    for (size_t k = 0; k < trace.size(); ++k) reel[3600 + k] = trace[k];
    test::WriteBytes(sgy, reel);
    desk.state.SuFile = su;
    desk.Run("open MainPanel\nclick Command4\n");
  }
  std::string Go(int item) { return desk.Run("use pick\nchoose Combo1 " + std::to_string(item - 1) + "\nclick Command2\nshow Text2\nshow Text3\nshow Option4\nshow Option5\n"); }
  TempDir dir;
  PanelDesk desk;
  std::string su, sgy;
};

TEST_F(Pick, OpensOnTheSharedFileWithTheWordList) {
  EXPECT_EQ(desk.Run("use pick\nshow pick.caption\nshow Text1\nshow Text4\nshow Combo1\nshow Frame2\nshow Text2\n"),
            "pick.caption = \"Pick any header word\"\nText1 = " + Quote(su) + "\nText4 = \"272\"\n"
            "Combo1 index=38 text=\"39  Number of samples in this trace.\"\nFrame2 = \"\" enabled=0\nText2 = \"0\"\n");
  const auto& items = desk.C("pick", "Combo1").Items();
  ASSERT_EQ(items.size(), 79u);
  EXPECT_EQ(items[0], "1   Trace sequence number within line.");
  EXPECT_EQ(items[9], "10  Number of horizontally stacked traced yielding this trace.");
  EXPECT_EQ(items[75], "75  negative of power used for dynamic range compression");
  EXPECT_EQ(items[78], "79  mark selected traces");
}

TEST_F(Pick, EveryWordOfAnSuFileAndOfTheSameTraceBehindASegyReelHeader) {
  const std::vector<Placed> words = PlacedWords();
  ASSERT_EQ(words.size(), 71u);
  for (int reel : {0, 3600}) {
    if (reel != 0) desk.Run("use pick\nclick Option2\nanswer dialog " + Quote(sgy) + "\nclick Command1\n");
    for (int k = 1; k <= 71; ++k) {
      const Placed& w = words[static_cast<size_t>(k - 1)];
      EXPECT_EQ(Go(k), "Text2 = \"" + Num(w.offset + 1 + reel) + "\"\nText3 = \"" + Num(w.value) + "\"\n" +
                           (w.width == 2 ? "Option4 = on\nOption5 = off\n" : "Option4 = off\nOption5 = on\n"))
          << "word " << k << " reel " << reel;
    }
    // The words that SU adds have no position: the last values stay.
    for (int k = 72; k <= 79; ++k) {
      EXPECT_EQ(Go(k), "message \"Not possible\" buttons=0 title=\"\" -> 1\nText2 = \"" + Num(178 + 1 + reel) +
                           "\"\nText3 = \"" + Num(words[70].value) + "\"\nOption4 = on\nOption5 = off\n");
    }
  }
}

TEST_F(Pick, SwapBytesTurnsShortWordsOnlyAndBigEndianNsReadsBack) {
  std::vector<uint8_t> reel(3600 + 240, 0);
  reel[3600 + 114] = 0x01;  // ns 500, high byte first
  reel[3600 + 115] = 0xF4;
  test::WriteBytes(sgy, reel);
  desk.Run("use pick\nanswer dialog " + Quote(sgy) + "\nclick Command1\nclick Option2\n");
  EXPECT_EQ(Go(39), "Text2 = \" 3715\"\nText3 = \"-3071\"\nOption4 = on\nOption5 = off\n");
  desk.Run("use pick\nclick Check1\n");
  EXPECT_EQ(Go(39), "Text2 = \" 3715\"\nText3 = \" 500\"\nOption4 = on\nOption5 = off\n");
  // A long word can't be swapped: the message, then the value as it stands.
  reel[3600] = 0x78;
  reel[3601] = 0x56;
  test::WriteBytes(sgy, reel);
  EXPECT_EQ(Go(1), "message \"Not available\" buttons=16 title=\"\" -> 1\nText2 = \" 3601\"\nText3 = \" 22136\"\n"
                   "Option4 = off\nOption5 = on\n");
}

TEST_F(Pick, OtherReadsAnyNumberAtAnyByte) {
  std::vector<uint8_t> bytes(300, 0);
  bytes[0] = 0xFE;
  bytes[1] = 0xFF;  // -2
  Put(bytes, 10, -123456789, 4);
  const float f = 1.5f;
  std::memcpy(&bytes[100], &f, 4);
  const char* card = "C 1 CLIENT NORTH LINE 7\x01";
  std::memcpy(&bytes[240], card, std::strlen(card));
  const std::string any = dir / "any.bin";
  test::WriteBytes(any, bytes);
  desk.Run("use pick\nanswer dialog " + Quote(any) + "\nclick Command1\nclick Option3\n");
  EXPECT_EQ(desk.Run("use pick\nshow Combo1\nshow Text2\n"),
            "Combo1 index=38 text=\"39  Number of samples in this trace.\" enabled=0\nText2 = \"0\"\n");
  const auto read = [&](const std::string& option, const std::string& position) {
    desk.Run("use pick\nclick " + option + "\nset Text2 " + position + "\nclick Command2\n");
    return desk.C("pick", "Text3").Text();
  };
  EXPECT_EQ(read("Option4", "1"), "-2");
  EXPECT_EQ(read("Option4", "0"), " 0");       // before the first byte
  EXPECT_EQ(read("Option4", "5000"), " 0");    // past the end
  EXPECT_EQ(read("Option5", "11"), "-123456789");
  EXPECT_EQ(read("Option7", "101"), " 1.5");
  EXPECT_EQ(read("Option6", "241"), "C 1 CLIENT NORTH LINE 7." + std::string(36, '.'));
  EXPECT_EQ(read("Option6", "299"), "..");     // what is left of the file
  EXPECT_EQ(desk.C("pick", "Text2").Text(), "299");

  // Too short a file name: nothing is read.
  desk.Run("use pick\nset Text1 abc\n");
  EXPECT_EQ(read("Option4", "1"), "..");
}

TEST_F(Pick, FilesTooShortOrNoneShowZero) {
  std::filesystem::create_directory(dir / "folder");
  test::WriteBytes(dir / "empty.su", {});
  std::vector<uint8_t> cut(115, 0);
  cut[114] = 42;  // half of ns
  test::WriteBytes(dir / "cut.su", cut);
  test::WriteBytes(dir / "short.sgy", std::vector<uint8_t>(3000, 7));
  const auto ns = [&](const std::string& path, const std::string& type) {
    desk.Run("use pick\nset Text1 " + Quote(path) + "\nclick " + type + "\nchoose Combo1 38\nclick Command2\n");
    return desk.C("pick", "Text3").Text();
  };
  EXPECT_EQ(ns(dir / "folder", "Option1"), " 0");
  EXPECT_EQ(ns(dir / "empty.su", "Option1"), " 0");
  EXPECT_EQ(ns(dir / "cut.su", "Option1"), " 42");
  EXPECT_EQ(ns(dir / "short.sgy", "Option2"), " 0");
  EXPECT_EQ(ns(dir / "missing.su", "Option1"), " 0");
  EXPECT_EQ(ns("", "Option1"), " 0");

  // A folder chosen in the dialog leaves the size shown before.
  desk.Run("use pick\nanswer dialog " + Quote(dir / "folder") + "\nclick Command1\n");
  EXPECT_EQ(desk.C("pick", "Text4").Text(), "272");
  // A cancelled dialog leaves the file in hand.
  desk.Run("use pick\nclick Command1\n");
  EXPECT_EQ(desk.C("pick", "Text1").Text(), dir / "folder");
}

TEST_F(Pick, HelpAndEditFile) {
  EXPECT_EQ(desk.Run("use pick\nclick Command3\n"),
            transcript::Message("How to use this module ? \r\nYou can read any value of a SU or SEG-Y seismic file \r\n"
                                " 1.- Select the word to display \r\n 2.- Select the file type SU or SEG-Y\r\n"
                                " 3.- click on GO\r\nThe first bit of this word and the value are displayed \r\n",
                                64, "Norvane File converter", 1) + "\n");
  EXPECT_EQ(desk.Run("use pick\nclick Command4\nshow editor.caption\nshow state.EditorFile\n"),
            "opened editor\neditor.caption = " + Quote("Bravelle text editor: " + su) +
                "\nstate.EditorFile = " + Quote(su) + "\n");
}

}  // namespace
}  // namespace vexmor
