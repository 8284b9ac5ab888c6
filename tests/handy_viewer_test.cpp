// The McSeis 3 selection panel: the list selection with its probe file and
// the sample interval read at byte 40.
#include "importers/seismograph/handy_viewer.h"

#include <gtest/gtest.h>

#include "core/binary_file.h"
#include "core/failure.h"
#include "importers/seismograph/handy_viewer_format.h"
#include "list_importer_test_util.h"

namespace vexmor {
namespace {

using test::Q;
using test::RunPanelScript;
using test::TempDir;

std::string Record(const TempDir& dir, const std::string& name, int16_t interval) {
  test::WriteBytes(dir / name, BuildMcSeis3Record(interval, {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}));
  return dir / name;
}

TEST(HandyViewerSelection, ThreeFilesShowTheIntervalOfTheSecond) {
  TempDir dir;
  Record(dir, "M1.DAT", 50);
  Record(dir, "M2.DAT", 125);
  Record(dir, "M3.DAT", 50);
  const std::string out = RunPanelScript("open HandyViewer\nanswer dialog " + Q(dir.Str() + " M1.DAT M2.DAT M3.DAT") +
                                         "\nclick Command5\nshow List1\nshow Text6\nshow Text2\nshow Text5\n"
                                         "show Text3\nshow Text4\nshow state.InputFile\nclick Command1\nclick Command4\n");
  EXPECT_EQ(out, "opened HandyViewer\n"
                 "dialog \"McSeis3 file selection\" filter=\"Record |*.dat|All files|*.*|\" file=\"*.*\" folder=\"\" "
                 "multi=1 save=0 -> " + Q(dir.Str() + " M1.DAT M2.DAT M3.DAT") + "\n"
                 "List1.count = 3\nList1[0] = " + Q(dir / "M1.DAT") + "\nList1[1] = " + Q(dir / "M2.DAT") +
                 "\nList1[2] = " + Q(dir / "M3.DAT") + "\nText6 = \"3\"\nText2 = " + Q(dir / "M1.SU") +
                 "\nText5 = \"125\"\nText3 = \"3\"\nText4 = \"445\"\nstate.InputFile = " + Q(dir / "M2.DAT") + "\n");
}

TEST(HandyViewerSelection, OneFileAndACancel) {
  TempDir dir;
  const std::string path = Record(dir, "ONE.DAT", 75);
  std::string out = RunPanelScript("open HandyViewer\nanswer dialog " + Q(path) +
                                   "\nclick Command5\nshow Text6\nshow Text2\nshow Text5\n");
  EXPECT_NE(out.find("Text6 = \"1\"\nText2 = " + Q(dir / "ONE.SU") + "\nText5 = \"75\"\n"), std::string::npos) << out;
  // A cancel answers "*.*": the list gets that line, and Text5 stays.
  out = RunPanelScript("open HandyViewer\nclick Command5\nshow List1\nshow Text6\nshow Text5\n");
  EXPECT_NE(out.find("List1.count = 1\nList1[0] = \"*.*\"\nText6 = \"1\"\nText5 = \"50\"\n"), std::string::npos) << out;
}

TEST(HandyViewerSelection, TheProbeIsTheListsSecondLineEvenWhenItIsMissing) {
  TempDir dir;
  Record(dir, "M 1.DAT", 77);
  Record(dir, "M2.DAT", 125);
  Record(dir, "M3.DAT", 99);
  // A path with a blank is split like a multi-selection: the list gets one
  // line and has no second line to probe, so nothing is read, not even the
  // file that the whole answer names.
  const std::string out = RunPanelScript("open HandyViewer\nanswer dialog " + Q(dir / "M 1.DAT") +
                                         "\nclick Command5\nshow Text5\nshow state.InputFile\n"
                                         "answer dialog " + Q(dir.Str() + " M3.DAT M2.DAT") +
                                         "\nclick Command5\nshow Text6\nshow Text5\nshow state.InputFile\n");
  EXPECT_NE(out.find("Text5 = \"50\"\nstate.InputFile = \"\"\n"), std::string::npos) << out;
  // The second selection comes behind it: the list's second line is M3.
  EXPECT_NE(out.find("Text6 = \"2\"\nText5 = \"99\"\nstate.InputFile = " + Q(dir / "M3.DAT") + "\n"),
            std::string::npos)
      << out;
}

TEST(HandyViewerFormat, IntervalAtByte40) {
  TempDir dir;
  const std::string path = Record(dir, "A.DAT", -2);
  const auto bytes = test::ReadBytes(path);
  BinaryFile whole = BinaryFile::OverMemory(bytes, "A.DAT");
  EXPECT_EQ(ReadMcSeis3Interval(whole), -2);
  EXPECT_EQ(bytes[40], 0xFE);
  EXPECT_EQ(bytes[41], 0xFF);
  const std::vector<uint8_t> shortBytes(41, 1);
  BinaryFile cut = BinaryFile::OverMemory(shortBytes, "SHORT.DAT");
  EXPECT_THROW(ReadMcSeis3Interval(cut), RunTimeFailure);
}

TEST(BundledSamples, McSeis3Records) {
  const std::string folder = std::string(VEXMOR_SOURCE_DIR) + "/samples/mcseis3";
  const std::string out =
      RunPanelScript("open HandyViewer\nanswer dialog " + Q(folder + " MS1.DAT MS2.DAT MS3.DAT") + "\nclick Command5\nshow Text5\n");
  EXPECT_NE(out.find("Text5 = \"100\"\n"), std::string::npos) << out;
}

TEST(HandyViewerRobustness, FoldersEmptyFilesAndBlanks) {
  TempDir dir;
  test::WriteBytes(dir / "EMPTY.DAT", {});
  for (const std::string& answer : std::vector<std::string>{dir.Str(), dir / "EMPTY.DAT", dir.Str() + " ", " ", dir.Str() + "  EMPTY.DAT"}) {
    const std::string out = RunPanelScript("open HandyViewer\nanswer dialog " + Q(answer) + "\nclick Command5\nshow Text5\n");
    test::ExpectNoEscapedFailure(out);
    EXPECT_NE(out.find("Text5 = \"50\"\n"), std::string::npos) << out;
  }
}

}  // namespace
}  // namespace vexmor
