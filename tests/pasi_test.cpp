// The PASI LCM-12 panel through panel scripts: the selection, values
// rounded half to even before they become floats, fldr and tracf across
// files, and the header words at their places.
#include <gtest/gtest.h>

#include <filesystem>

#include "list_importer_test_util.h"

namespace vexmor {
namespace {

using test::Q;
using test::RunPanelScript;
using test::SuOutput;
using test::TempDir;

std::string Opening() { return "open MainPanel\nclick Option16\nuse pasi\n"; }

TEST(PasiSelection, ListOutputNameAndSize) {
  TempDir dir;
  test::WriteText(dir / "P1.ASC", std::string(2048, '1'));
  test::WriteText(dir / "P2.ASC", "1");
  const std::string out = RunPanelScript(Opening() + "answer dialog " + Q(dir.Str() + " P1.ASC P2.ASC") +
                                         "\nclick Command5\nanswer dialog " + Q(dir / "P.ASC") +
                                         "\nclick Command5\nshow List1\nshow Text6\nshow Text2\nshow Label8\n"
                                         "show state.InputFile\nclick Command4\nshow Text2\n");
  // A one-file answer is the folder alone: it adds nothing.
  EXPECT_EQ(out.substr(out.find("List1")),
            "List1.count = 2\nList1[0] = " + Q(dir / "P1.ASC") + "\nList1[1] = " + Q(dir / "P2.ASC") +
                "\nText6 = \"0\"\nText2 = " + Q(dir / "P1.SU") + "\nLabel8 = \" 2048 bytes\"\nstate.InputFile = " +
                Q(dir / "P1.ASC") + "\n"
                "dialog \"LCM-1 file selection\" filter=\"SU File |*.SU|\" file=\"*.SU\" folder=\"\" multi=1 save=1 "
                "-> \"*.SU\"\nText2 = \"*.SU\"\n");
}

TEST(PasiConversion, HalfToEvenAcrossFilesWordByWord) {
  TempDir dir;
  // 2 traces of 4 values in each file; what follows the last value needed
  // is not read.
  test::WriteText(dir / "P1.ASC", "12.5,13.5,-2.5,0.49\r\n-0.5,1.5,2147483647,7\r\n99,99\r\n");
  test::WriteText(dir / "P2.ASC", "10\r\n2\r\n3\r\n4\r\n5,6,7\r\n");
  const std::string out = RunPanelScript(Opening() + "answer dialog " + Q(dir.Str() + " P1.ASC P2.ASC") +
                                         "\nclick Command5\nset Text3 2\nset Text4 4\nset Text2 " + Q(dir / "OUT.SU") +
                                         "\nclick Command1\n");
  EXPECT_EQ(out.substr(out.find("message")),
            "message \"Conversion, done !\" buttons=64 title=\"Norvane File converter\" -> 1\n");
  const SuOutput su(dir / "OUT.SU", 4);
  ASSERT_EQ(su.Size(), 4u * (240 + 16));
  const std::vector<std::vector<double>> samples = {
      {12, 14, -2, 0}, {-0.0, 2, 2147483648.0, 7}, {10, 2, 3, 4}, {5, 6, 7, 0}};
  for (size_t i = 0; i < 4; ++i) {
    test::ExpectHeader(su, i, {{"fldr", static_cast<double>(i / 2 + 1)}, {"tracf", static_cast<double>(i % 2 + 1)},
                               {"trid", 1}, {"nvs", 1}, {"nhs", 1}, {"ns", 4}, {"dt", 500}});
    test::ExpectSamples(su, i, samples[i]);
  }
  // The third trace starts at 2 x (240 + 16).
  EXPECT_EQ(test::ReadBytes(dir / "OUT.SU")[2 * 256 + 8], 2);
}

TEST(PasiConversion, AMissingFileRepeatsTheTraceBeforeAndBadSizesAreRefused) {
  TempDir dir;
  test::WriteText(dir / "P1.ASC", "1,2,3,4,5,6");
  std::string out = RunPanelScript(Opening() + "answer dialog " + Q(dir.Str() + " P1.ASC") +
                                   "\nclick Command5\nset Text6 2\nset Text3 2\nset Text4 3\nset Text5 250\nset Text2 " +
                                   Q(dir / "OUT.SU") + "\nclick Command1\n");
  const SuOutput su(dir / "OUT.SU", 3);
  ASSERT_EQ(su.Records(), 4u);
  test::ExpectSamples(su, 1, std::vector<double>{4, 5, 6});
  test::ExpectSamples(su, 2, std::vector<double>{4, 5, 6});
  test::ExpectSamples(su, 3, std::vector<double>{4, 5, 6});
  EXPECT_EQ(su.Word(3, "fldr"), 2);
  EXPECT_EQ(su.Word(3, "dt"), 250);
  // 70000 x 8131-sample traces would pass the 32-bit positions.
  out = RunPanelScript(Opening() + "set Text3 70000\nset Text4 8131\nset Text2 " + Q(dir / "BIG.SU") +
                       "\nclick Command1\n");
  EXPECT_NE(out.find("message \"Too many traces: 70000 traces would not fit one SU file of 2 GB\" buttons=16"),
            std::string::npos)
      << out;
  EXPECT_FALSE(std::filesystem::exists(dir / "BIG.SU"));
  for (const std::string n : {"8132", "0", "-1"}) {
    out = RunPanelScript(Opening() + "set Text4 " + n + "\nclick Command1\n");
    EXPECT_NE(out.find("message \"Number of sample must be 1 to 8131, not " + n + "\" buttons=16"), std::string::npos);
  }
}

TEST(PasiPanel, HelpAndBrokenFiles) {
  const std::string help = RunPanelScript(Opening() + "click Command2\n");
  EXPECT_NE(help.find("message \" This modules convert LCM-12 seismograph data to SU format, just select files and "
                      "press on CONVERT button\" buttons=64 title=\"Norvane File converter\""),
            std::string::npos);
  TempDir dir;
  test::WriteBytes(dir / "BIN.ASC", {0, 0xFF, ',', 0x80, '\r', '9', '9', '9', '9', '9', '9', '9', '9', '9', '9', '9'});
  test::WriteText(dir / "EMPTY.ASC", "");
  for (const std::string setting : {"", "set Text3 -5\n", "set Text6 -2\n", "set Text3 0\n", "set Text4 8131\n",
                                    "set Text6 5\n", "set Text2 \"\"\n"}) {
    const std::string out = RunPanelScript(Opening() + "answer dialog " + Q(dir.Str() + " BIN.ASC EMPTY.ASC NONE.ASC") +
                                           "\nclick Command5\nset Text2 " + Q(dir / "OUT.SU") + "\n" + setting +
                                           "click Command1\n");
    test::ExpectNoEscapedFailure(out);
  }
}

}  // namespace
}  // namespace vexmor
