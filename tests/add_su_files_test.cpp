// Joining SU files through the panel: the selection and its probe numbers,
// the join in list order checked byte for byte, the deletion of the inputs,
// the two questions before an old output goes, and the inputs that can't be
// joined.
#include "utilities/add_su_files.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "panel_desk.h"
#include "platform/transcript.h"

namespace vexmor {
namespace {

namespace fs = std::filesystem;
using test::PanelDesk;
using test::ReadBytes;
using test::TempDir;

// An SU file of n traces of ns samples; every byte tells file and place
// apart, with ns at byte 114 of each header.
std::vector<uint8_t> SuBytes(int ns, double traces, uint8_t seed) {
  const size_t traceSize = 240 + 4 * static_cast<size_t>(ns);
  std::vector<uint8_t> bytes(static_cast<size_t>(traces * static_cast<double>(traceSize)));
  for (size_t k = 0; k < bytes.size(); ++k) bytes[k] = static_cast<uint8_t>(seed + k * 7);
  for (size_t at = 0; at + 116 <= bytes.size(); at += traceSize) {
    bytes[at + 114] = static_cast<uint8_t>(ns & 0xFF);
    bytes[at + 115] = static_cast<uint8_t>(ns >> 8);
  }
  return bytes;
}

std::vector<uint8_t> Joined(std::initializer_list<const std::vector<uint8_t>*> parts) {
  std::vector<uint8_t> all;
  for (const auto* p : parts) all.insert(all.end(), p->begin(), p->end());
  return all;
}

class AddSuFiles : public ::testing::Test {
 protected:
  void SetUp() override {
    a = SuBytes(100, 3, 1);
    b = SuBytes(10, 5, 2);
    c = SuBytes(1000, 1, 3);
    test::WriteBytes(dir / "a.su", a);
    test::WriteBytes(dir / "b.su", b);
    test::WriteBytes(dir / "c.su", c);
    desk.Run("open MainPanel\nclick Option20\n");
  }
  std::string Select(const std::string& answer) {
    return desk.Run("use Add_SU_files\nanswer dialog " + Quote(answer) + "\nclick Command1\n");
  }
  std::string Message(const std::string& text, int buttons, int answer) {
    return transcript::Message(text, buttons, "Norvane File converter", answer) + "\n";
  }
  std::string Recorded(const std::string& out, size_t size) {
    return Message(out + " has been recorded OK size: " + std::to_string(size), 64, 1);
  }
  TempDir dir;
  PanelDesk desk;
  std::vector<uint8_t> a, b, c;
};

TEST_F(AddSuFiles, SelectionListsThePathsAndProbesTheFirstFile) {
  EXPECT_EQ(Select(dir.Str() + " a.su b.su c.su"),
            "dialog \"SU file to convert selection\" filter=\"Record |*.su|All files|*.*|\" file=\"*.su\" "
            "folder=\"\" multi=1 save=0 -> " + Quote(dir.Str() + " a.su b.su c.su") + "\n");
  EXPECT_EQ(desk.Run("use Add_SU_files\nshow List1\nshow Text2\nshow Text4\nshow Text5\nshow Text9\n"
                     "show Check1\nshow Add_SU_files.caption\n"),
            "List1.count = 3\nList1[0] = " + Quote(dir / "a.su") + "\nList1[1] = " + Quote(dir / "b.su") +
                "\nList1[2] = " + Quote(dir / "c.su") + "\nText2 = " + Quote(dir / "data_raw.su") +
                "\nText4 = \"100\"\nText5 = \"3\"\nText9 = \"3\"\nCheck1 = on\n"
                "Add_SU_files.caption = \"Add Seismic Unix files\"\n");

  // The list keeps its lines: a new selection adds to it, and the probe is
  // still its first line.
  Select(dir.Str() + " b.su c.su");
  EXPECT_EQ(desk.C("Add_SU_files", "List1").Items().size(), 5u);
  EXPECT_EQ(desk.C("Add_SU_files", "Text4").Text(), "100");
  EXPECT_EQ(desk.C("Add_SU_files", "Text9").Text(), "2");
}

TEST_F(AddSuFiles, ProbeCountsACutTraceHalfToEvenAndSingleOrCancelledSelections) {
  test::WriteBytes(dir / "cut.su", SuBytes(10, 2.5, 9));   // 2.5 traces: 2
  test::WriteBytes(dir / "cut2.su", SuBytes(10, 3.5, 9));  // 3.5 traces: 4
  Select(dir.Str() + " cut.su");
  EXPECT_EQ(desk.C("Add_SU_files", "Text5").Text(), "2");
  desk.C("Add_SU_files", "List1").ClearItems();
  Select(dir.Str() + " cut2.su");
  EXPECT_EQ(desk.C("Add_SU_files", "Text5").Text(), "4");

  // One file alone: the answer has no folder, nothing is listed.
  desk.C("Add_SU_files", "List1").ClearItems();
  Select(dir / "a.su");
  EXPECT_TRUE(desk.C("Add_SU_files", "List1").Items().empty());
  EXPECT_EQ(desk.C("Add_SU_files", "Text9").Text(), "0");

  // A cancelled dialog changes nothing.
  desk.C("Add_SU_files", "Text9").SetText("7");
  desk.Run("use Add_SU_files\nclick Command1\n");
  EXPECT_EQ(desk.C("Add_SU_files", "Text9").Text(), "7");
}

TEST_F(AddSuFiles, JoinsInListOrderAndDeletesEachInput) {
  Select(dir.Str() + " b.su c.su a.su");
  const std::string out = dir / "data_raw.su";
  const size_t size = a.size() + b.size() + c.size();
  EXPECT_EQ(desk.Run("use Add_SU_files\nclick Command2\nshow Text10\nshow ProgressBar1\nshow state.OutputFile\n"),
            Recorded(out, size) + "Text10 = \"Adding file 3\"\nProgressBar1 min=1 max=3 value=3 visible=1\n"
            "state.OutputFile = " + Quote(out) + "\n");
  EXPECT_EQ(ReadBytes(out), Joined({&b, &c, &a}));
  EXPECT_FALSE(fs::exists(dir / "a.su"));
  EXPECT_FALSE(fs::exists(dir / "b.su"));
  EXPECT_FALSE(fs::exists(dir / "c.su"));
  EXPECT_FALSE(desk.platform.Busy());
}

TEST_F(AddSuFiles, UncheckedKeepsTheInputsAndText9ChoosesHowMany) {
  Select(dir.Str() + " a.su b.su c.su");
  desk.Run("use Add_SU_files\nclick Check1\nset Text9 2\nclick Command2\n");
  EXPECT_EQ(ReadBytes(dir / "data_raw.su"), Joined({&a, &b}));
  EXPECT_TRUE(fs::exists(dir / "a.su"));
  EXPECT_TRUE(fs::exists(dir / "c.su"));

  // A count past the list joins what the list holds, at once.
  fs::remove(dir / "data_raw.su");
  desk.Run("use Add_SU_files\nset Text9 2000000000\nclick Command2\n");
  EXPECT_EQ(ReadBytes(dir / "data_raw.su"), Joined({&a, &b, &c}));

  // Text9 of no number joins nothing and only reports.
  fs::remove(dir / "data_raw.su");
  EXPECT_EQ(desk.Run("use Add_SU_files\nset Text9 none\nclick Command2\n"), Recorded(dir / "data_raw.su", 0));
  EXPECT_FALSE(fs::exists(dir / "data_raw.su"));
}

TEST_F(AddSuFiles, AnExistingOutputGoesOnlyAfterTwoYes) {
  Select(dir.Str() + " a.su c.su");
  const std::string out = dir / "data_raw.su";
  const std::vector<uint8_t> old = SuBytes(4, 2, 77);
  test::WriteBytes(out, old);
  const std::string ask1 = Message(out + " file already exists, append new files ?", 36, 7);
  EXPECT_EQ(desk.Run("use Add_SU_files\nanswer message 7\nclick Command2\n"), ask1);
  EXPECT_EQ(desk.Run("use Add_SU_files\nanswer message 6\nanswer message 7\nclick Command2\n"),
            Message(out + " file already exists, append new files ?", 36, 6) + Message("Erase " + out + " ?", 36, 7));
  EXPECT_EQ(ReadBytes(out), old);
  EXPECT_TRUE(fs::exists(dir / "a.su"));

  EXPECT_EQ(desk.Run("use Add_SU_files\nanswer message 6\nanswer message 6\nclick Command2\n"),
            Message(out + " file already exists, append new files ?", 36, 6) +
                Message("Erase " + out + " ?", 36, 6) + Recorded(out, a.size() + c.size()));
  EXPECT_EQ(ReadBytes(out), Joined({&a, &c}));
}

TEST_F(AddSuFiles, AnOutputNamedLikeAnInputIsRefusedBeforeAnythingGoes) {
  Select(dir.Str() + " a.su b.su");
  const std::string out = dir / "B.SU";  // found whatever its letter case
  EXPECT_EQ(desk.Run("use Add_SU_files\nset Text2 " + Quote(out) + "\nclick Command2\n"),
            Message(out + " is one of the files to add: choose another output file", 16, 1));
  EXPECT_EQ(ReadBytes(dir / "a.su"), a);
  EXPECT_EQ(ReadBytes(dir / "b.su"), b);
}

TEST_F(AddSuFiles, InputsThatCantBeReadAddNothingAndStay) {
  fs::create_directory(dir / "folder.su");
  test::WriteBytes(dir / "empty.su", {});
  Select(dir.Str() + " a.su missing.su folder.su empty.su c.su");
  desk.Run("use Add_SU_files\nclick Command2\n");
  EXPECT_EQ(ReadBytes(dir / "data_raw.su"), Joined({&a, &c}));
  EXPECT_TRUE(fs::is_directory(dir / "folder.su"));
  EXPECT_FALSE(fs::exists(dir / "empty.su"));  // joined (nothing), then deleted
}

TEST(AppendWholeFile, StreamsPastItsBufferAndNeverIntoItself) {
  TempDir dir;
  std::vector<uint8_t> big(5 * (1u << 20) + 123);
  for (size_t k = 0; k < big.size(); ++k) big[k] = static_cast<uint8_t>(k * 31 + (k >> 12));
  test::WriteBytes(dir / "big.su", big);
  test::WriteBytes(dir / "out.su", {9, 9});
  ASSERT_TRUE(AppendWholeFile(dir / "big.su", dir / "out.su"));
  std::vector<uint8_t> expected{9, 9};
  expected.insert(expected.end(), big.begin(), big.end());
  EXPECT_EQ(ReadBytes(dir / "out.su"), expected);

  EXPECT_FALSE(AppendWholeFile(dir / "out.su", dir / "out.su"));
  EXPECT_FALSE(AppendWholeFile("/dev/zero", dir / "out.su"));
  EXPECT_EQ(fs::file_size(dir / "out.su"), expected.size());
}

}  // namespace
}  // namespace vexmor
