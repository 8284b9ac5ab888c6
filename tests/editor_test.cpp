// The text editor through panel scripts: loading, the caption, find from
// behind the selection without wrapping, replace all, save as plain text,
// the tool bar, the font and print dialogs.
#include "utilities/editor.h"

#include <gtest/gtest.h>

#include <chrono>
#include <random>

#include "core/text.h"
#include "panel_desk.h"
#include "platform/transcript.h"

namespace vexmor {
namespace {

using test::PanelDesk;
using test::ReadText;
using test::TempDir;

class Editor : public ::testing::Test {
 protected:
  std::string Open(const std::string& file) {
    desk.state.EditorFile = file;
    return desk.Run("open editor\n");
  }
  Control& Rich() { return desk.C("editor", "RichTextBox1"); }
  std::string Find(const std::string& what) {
    return desk.Run("use editor\nanswer prompt " + Quote(what) + "\nclick Find\n");
  }
  TempDir dir;
  PanelDesk desk;
};

const std::string kFindPrompt = "prompt \"Type the text to find\" title=\"SU Batch editor\" default=\"\" -> ";

TEST_F(Editor, OpensTheFileUnderItsCaptionWithItsToolBar) {
  const std::string path = dir / "convert.bat";
  test::WriteText(path, "segyread tape=a.sgy\r\npause\r\n");
  EXPECT_EQ(Open(path), "opened editor\n");
  EXPECT_EQ(desk.Run("use editor\nshow RichTextBox1\nshow editor.caption\nshow Toolbar1\n"),
            "RichTextBox1 = \"segyread tape=a.sgy\\r\\npause\\r\\n\"\n"
            "editor.caption = " + Quote("Bravelle text editor: " + path) + "\n"
            "Toolbar1.count = 5\nToolbar1[0] = \"\"\nToolbar1[1] = \"open\"\nToolbar1[2] = \"save\"\n"
            "Toolbar1[3] = \"print\"\nToolbar1[4] = \"stop\"\n");
  EXPECT_EQ(desk.C("editor", "Toolbar1").ItemTip(3), "Print the history file");
  EXPECT_EQ(Rich().Font().name, "Arial");
  EXPECT_EQ(desk.Run("use editor\nclick stop\n"), "closed editor\n");
}

TEST_F(Editor, AMissingFileIsSaidThenTypedAndSavedAsNew) {
  const std::string path = dir / "new.txt";
  // The message comes while the panel loads, before it shows.
  EXPECT_EQ(Open(path), "message " + Quote(path + " file does not exists ") + " buttons=0 title=\"\" -> 1\nopened editor\n");
  EXPECT_EQ(desk.Run("use editor\nshow RichTextBox1\nshow editor.caption\n"),
            "RichTextBox1 = \"\"\neditor.caption = " + Quote("Bravelle text editor: " + path) + "\n");
  // The tool-bar button and the menu entry both ask for the name each time.
  EXPECT_EQ(desk.Run("use editor\nset RichTextBox1 \"suximage < a.su\"\nclick save\n"),
            "dialog \"Text selection\" filter=\"SU Batch File |*.BAT|Text files|*.txt|All files|*.*|\" file=" +
                Quote(path) + " folder=\"\" multi=0 save=1 -> " + Quote(path) + "\n");
  EXPECT_EQ(ReadText(path), "suximage < a.su");
  const std::string other = dir / "other.bat";
  desk.Run("use editor\nanswer dialog " + Quote(other) + "\nclick save\n");
  EXPECT_EQ(ReadText(other), "suximage < a.su");
  EXPECT_EQ(desk.state.EditorFile, other);
}

TEST_F(Editor, FindStartsBehindTheSelectionStartAndNeverWraps) {
  const std::string path = dir / "h.txt";
  test::WriteText(path, "abc xabc abc");
  Open(path);
  // From the cursor at 0 the search starts at the second character.
  EXPECT_EQ(Find("abc"), kFindPrompt + "\"abc\"\n");
  EXPECT_EQ(Rich().SelStart(), 5u);
  EXPECT_EQ(Rich().SelLength(), 3u);
  Find("abc");
  EXPECT_EQ(Rich().SelStart(), 9u);
  EXPECT_EQ(Find("abc"), kFindPrompt + "\"abc\"\nbeep\n");
  EXPECT_EQ(Rich().SelStart(), 9u);
  EXPECT_EQ(Find("ABC"), kFindPrompt + "\"ABC\"\nbeep\n");  // exact case
  // An empty answer changes nothing.
  EXPECT_EQ(Find(""), kFindPrompt + "\"\"\n");
  EXPECT_EQ(Rich().SelStart(), 9u);
}

TEST_F(Editor, FindCantStartPastTheSixteenBitCounter) {
  const std::string path = dir / "long.txt";
  test::WriteText(path, std::string(40000, '.') + "mark" + std::string(10, '.') + "mark");
  Open(path);
  Find("mark");
  EXPECT_EQ(Rich().SelStart(), 40000u);  // found far away from a start near the top
  Rich().SetSelection(32765, 0);         // search from position 32767: still counted
  Find("mark");
  EXPECT_EQ(Rich().SelStart(), 40000u);
  Rich().SetSelection(40000, 4);         // from 40002: past the counter
  EXPECT_EQ(Find("mark"), kFindPrompt + "\"mark\"\nbeep\n");
}

TEST_F(Editor, ReplaceAllThenSaveKeepsTheFilesLineEnds) {
  const std::string path = dir / "job.bat";
  test::WriteText(path, "segyread tape=A.SGY > A.su\r\nsegyread tape=B.SGY > B.su\r\n");
  Open(path);
  EXPECT_EQ(desk.Run("use editor\nanswer prompt segyread\nanswer prompt \"segyread endian=0\"\nclick Replacement\n"),
            "prompt \"Enter text to be replaced\" title=\"\" default=\"\" -> \"segyread\"\n"
            "prompt \"Enter new text \" title=\"\" default=\"\" -> \"segyread endian=0\"\n");
  EXPECT_EQ(Rich().Text(), "segyread endian=0 tape=A.SGY > A.su\r\nsegyread endian=0 tape=B.SGY > B.su\r\n");
  // An empty text to replace leaves the text.
  desk.Run("use editor\nanswer prompt \"\"\nanswer prompt x\nclick Replacement\n");
  EXPECT_EQ(Rich().Text(), "segyread endian=0 tape=A.SGY > A.su\r\nsegyread endian=0 tape=B.SGY > B.su\r\n");
  // The screen gives its lines back with LF alone: the file keeps CR LF.
  desk.Run("use editor\nset RichTextBox1 \"pause\\nexit\\n\"\nclick save\n");
  EXPECT_EQ(ReadText(path), "pause\r\nexit\r\n");

  const std::string unix = dir / "unix.txt";
  test::WriteText(unix, "a\nb\n");
  desk.Run("use editor\nanswer dialog " + Quote(unix) + "\nclick open\nshow RichTextBox1\nanswer dialog " +
           Quote(unix) + "\nclick save\n");
  EXPECT_EQ(ReadText(unix), "a\nb\n");
  EXPECT_EQ(desk.C("editor", "RichTextBox1").Text(), "a\nb\n");
}

TEST_F(Editor, OpenLoadsWithoutTouchingTheCaptionAndCancelKeepsTheText) {
  const std::string first = dir / "first.txt";
  const std::string second = dir / "second.txt";
  test::WriteText(first, "one");
  test::WriteText(second, "two");
  Open(first);
  EXPECT_EQ(desk.Run("use editor\nanswer dialog " + Quote(second) + "\nclick open\nshow RichTextBox1\nshow editor.caption\n"),
            "dialog \"Text selection\" filter=\"SU history File |*.TXT|ll files|*.*|\" file=\"*.TXT\" folder=\"\" "
            "multi=0 save=0 -> " + Quote(second) + "\nRichTextBox1 = \"two\"\neditor.caption = " +
                Quote("Bravelle text editor: " + first) + "\n");
  desk.Run("use editor\nclick open\n");  // cancelled
  EXPECT_EQ(Rich().Text(), "two");
  EXPECT_EQ(desk.state.EditorFile, second);
}

TEST_F(Editor, FontAndPrintGoThroughTheirDialogs) {
  const std::string path = dir / "p.txt";
  test::WriteText(path, "line one\r\nline two");
  Open(path);
  TextFont mono{"DejaVu Sans Mono", 12, true, false, true, false};
  desk.platform.QueueFont(mono);
  desk.Run("use editor\nclick Font\n");
  EXPECT_EQ(Rich().Font(), mono);
  desk.platform.QueueFont(std::nullopt);  // cancelled
  desk.Run("use editor\nclick Font\n");
  EXPECT_EQ(Rich().Font(), mono);

  desk.Run("use editor\nclick print\n");
  Rich().SetSelection(5, 3);
  desk.Run("use editor\nclick Print\n");
  const auto& printed = desk.platform.Printed();
  ASSERT_EQ(printed.size(), 2u);
  EXPECT_EQ(printed[0].text, "\r\nline one\r\nline two");
  EXPECT_FALSE(printed[0].selection);
  EXPECT_EQ(printed[0].font, mono);
  EXPECT_EQ(printed[1].text, "\r\none");
  EXPECT_TRUE(printed[1].selection);
}

TEST_F(Editor, ShownAgainItKeepsItsText) {
  const std::string path = dir / "a.txt";
  test::WriteText(path, "kept");
  Open(path);
  desk.Run("use editor\nset RichTextBox1 changed\n");
  desk.state.EditorFile = dir / "other.txt";
  desk.Run("open editor\n");
  EXPECT_EQ(Rich().Text(), "changed");
}

// The rebuild-and-search-again rule, written the plain way.
std::string ReplaceAllPlainly(std::string text, const std::string& find, const std::string& with) {
  const size_t step = with.find(find, 1) == std::string::npos ? 1 : std::max<size_t>(with.size(), 1);
  size_t at = text.find(find);
  while (at != std::string::npos) {
    text = text.substr(0, at) + with + text.substr(at + find.size());
    at = text.find(find, at + step);
  }
  return text;
}

TEST(ReplaceAllRule, AgreesWithThePlainRebuildAndStaysLinear) {
  std::mt19937 random(7);
  const auto word = [&](int most) {
    std::string s(random() % static_cast<unsigned>(most + 1), 'a');
    for (char& c : s) c = "ab\\"[random() % 3];
    return s;
  };
  for (int round = 0; round < 20000; ++round) {
    const std::string text = word(12), find = word(3), with = word(4);
    if (find.empty()) continue;
    std::string ours = text;
    ReplaceAll(ours, find, with);
    ASSERT_EQ(ours, ReplaceAllPlainly(text, find, with)) << text << " / " << find << " / " << with;
  }
  // Five megabytes with 400,000 matches: one pass.
  std::string big;
  for (int k = 0; k < 400000; ++k) big += "cd /x\r\n" "ab\r\n";
  const auto start = std::chrono::steady_clock::now();
  ReplaceAll(big, "\r\n", "\n");
  // A quadratic replace takes hours here; one pass, well under a second
  // (the bound leaves room for a sanitizer build on a busy machine).
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
  EXPECT_EQ(big.size(), 400000u * 9);
}

}  // namespace
}  // namespace vexmor
