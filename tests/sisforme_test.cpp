// The generic importer through panel scripts, and the shared blocks of the
// seismograph importers on their own.
#include "importers/seismograph/sisforme.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>
#include <sstream>

#include "core/binary_file.h"
#include "core/failure.h"
#include "core/su_trace.h"
#include "importers/seismograph/seismograph.h"
#include "panels/script.h"
#include "platform/headless_platform.h"
#include "test_util.h"

namespace vexmor {
namespace {

using test::TempDir;
using Bytes = std::vector<uint8_t>;

std::string RunScript(const std::string& script) {
  test::KeepCurrentFolder keep;
  HeadlessPlatform platform;
  platform.SetRecordOnly(true);
  std::ostringstream out, err;
  EXPECT_EQ(RunScriptHeadless(script, platform, out, err), 0) << err.str();
  return out.str();
}

void Put16(Bytes& b, size_t at, int16_t v) { PutLE16(b.data() + at, v); }
void Put32(Bytes& b, size_t at, int32_t v) { PutLE32(b.data() + at, v); }

// One SU record as the generic importer writes it.
Bytes ExpectedRecord(int f, int t, int16_t dt, const std::vector<uint32_t>& sampleBits) {
  Bytes r(240 + 4 * sampleBits.size(), 0);
  Put32(r, 8, f);
  Put32(r, 12, t);
  for (size_t at : {28, 30, 32, 34}) Put16(r, at, 1);
  Put16(r, 114, static_cast<int16_t>(sampleBits.size()));
  Put16(r, 116, dt);
  for (size_t j = 0; j < sampleBits.size(); ++j) Put32(r, 240 + 4 * j, static_cast<int32_t>(sampleBits[j]));
  return r;
}

uint32_t Bits(float f) { return std::bit_cast<uint32_t>(f); }

std::string Selecting(const std::string& answer) {
  return "open MainPanel\nclick Option7\nuse sisforme\nanswer dialog \"" + answer + "\"\nclick Command5\n";
}

TEST(SisformeSelection, OneFile) {
  TempDir dir;
  test::WriteBytes(dir / "LINE1.DAT", Bytes(1234));
  const std::string out = RunScript(Selecting(dir / "LINE1.DAT") +
                                    "show Grid1\nshow Text6\nshow Text2\nshow Label8\nshow state.NbRecords\n"
                                    "show state.InputFile\n");
  EXPECT_EQ(out,
            "opened MainPanel\nopened sisforme\n"
            "dialog \"ES1225 file selection\" filter=\"Record |*.a*|All files|*.*|\" file=\"*.*\" folder=\"\" "
            "multi=1 save=0 -> \"" + (dir / "LINE1.DAT") + "\"\n"
            "Grid1.count = 2\nGrid1[0] = \"" + dir.Str() + "/\"\nGrid1[1] = \"LINE1.DAT\"\n"
            "Text6 = \"1\"\nText2 = \"" + (dir / "LINE1.SU") + "\"\nLabel8 = \" 1234\"\n"
            "state.NbRecords = 1\nstate.InputFile = \"" + (dir / "LINE1.DAT") + "\"\n");
}

TEST(SisformeSelection, SeveralFilesKeepTheLastNameForTheSize) {
  TempDir dir;
  test::WriteBytes(dir / "LINE1.DAT", Bytes(10));
  test::WriteBytes(dir / "LINE2.DAT", Bytes(20));
  test::WriteBytes(dir / "LINE3.DAT", Bytes(30));
  const std::string out = RunScript(Selecting(dir.Str() + " LINE1.DAT LINE2.DAT LINE3.DAT") +
                                    "show Grid1\nshow Text6\nshow Text2\nshow Label8\nshow state.InputFile\n");
  EXPECT_NE(out.find("Grid1.count = 4\nGrid1[0] = \"" + dir.Str() +
                     "\"\nGrid1[1] = \"LINE1.DAT\"\nGrid1[2] = \"LINE2.DAT\"\nGrid1[3] = \"LINE3.DAT\"\n"
                     "Text6 = \"3\"\nText2 = \"" + (dir / "LINE1.SU") + "\"\nLabel8 = \" 30\"\n"
                     "state.InputFile = \"LINE3.DAT\"\n"),
            std::string::npos)
      << out;
}

TEST(SisformeSelection, CancelAndBlanksAreTakenAsTheySplit) {
  // A cancel answers "*.*", which is treated as a path; no size is shown.
  std::string out = RunScript(
      "open sisforme\nclick Command5\nshow Grid1\nshow Text6\nshow Text2\nshow Label8\n");
  EXPECT_NE(out.find("Grid1.count = 2\nGrid1[0] = \"\"\nGrid1[1] = \"*.*\"\nText6 = \"1\"\nText2 = \"SU\"\n"
                     "Label8 = \" \"\n"),
            std::string::npos)
      << out;
  // A path with one blank splits in two; the proposal is its first part.
  out = RunScript("open sisforme\nanswer dialog \"/data/my line/a.dat\"\nclick Command5\nshow Grid1\n"
                  "show Text6\nshow Text2\n");
  EXPECT_NE(out.find("Grid1.count = 2\nGrid1[0] = \"/data/my\"\nGrid1[1] = \"line/a.dat\"\nText6 = \"1\"\n"
                     "Text2 = \"/data/my\"\n"),
            std::string::npos)
      << out;
}

TEST(SisformeSelection, TheGridTakes900Entries) {
  std::string answer = "/data";
  for (int k = 1; k <= 1000; ++k) answer += " F" + std::to_string(k) + ".DAT";
  std::string rest = answer;
  const auto entries = SplitAnswer(rest, kGridEntries);
  ASSERT_EQ(entries.size(), 900u);
  EXPECT_EQ(entries[899], "F899.DAT");
  EXPECT_EQ(rest.substr(0, 9), "F900.DAT ");  // what the table could not take

  HeadlessPlatform platform;
  SharedState state;
  Session session(platform, state);
  session.Open("sisforme");
  auto* panel = session.Panel<Sisforme>("sisforme");
  std::string input = answer;
  panel->Affiche_file(input);
  EXPECT_EQ(panel->Grid1.Cells().size(), 900u);
  EXPECT_EQ(panel->Text6.Text(), "899");
  EXPECT_EQ(state.NbRecords, 899);
  EXPECT_EQ(panel->Text2.Text(), "/data/F1.SU");
}

TEST(SisformeSelection, OutputDialogAnswerGoesToText2Unchecked) {
  const std::string out = RunScript(
      "open sisforme\nclick Command4\nshow Text2\nanswer dialog /tmp/out.su\ndblclick Text2\nshow Text2\n");
  EXPECT_EQ(out,
            "opened sisforme\n"
            "dialog \"Output File selection\" filter=\"Seismic File |*.SU|All files|*.*|\" file=\"*.SU\" "
            "folder=\"\" multi=0 save=0 -> \"*.SU\"\nText2 = \"*.SU\"\n"
            "dialog \"Output File selection\" filter=\"Seismic File |*.SU|All files|*.*|\" file=\"*.SU\" "
            "folder=\"\" multi=0 save=0 -> \"/tmp/out.su\"\nText2 = \"/tmp/out.su\"\n");
}

TEST(SisformeHeaderSize, SizeIsShownBeforeTheHeaderIsFitted) {
  TempDir dir;
  test::WriteBytes(dir / "REC.DAT", Bytes(2048 + 24 * 1024 * 4));
  const std::string out = RunScript(Selecting(dir / "REC.DAT") +
                                    "set Text7 100\nclick Command6\nshow Text9\nshow Text7\n"
                                    "click Command6\nshow Text9\nshow Text7\n"
                                    "click Option1\nclick Command6\nshow Text9\nshow Text7\n");
  EXPECT_NE(out.find("Text9 = \"98404\"\nText7 = \"2048\"\n"       // (4 x 1024) x 24 + 100
                     "Text9 = \"100352\"\nText7 = \"2048\"\n"      // the file's own size
                     "Text9 = \"51200\"\nText7 = \"51200\"\n"),    // 2-byte samples
            std::string::npos)
      << out;
}

// Two files of three traces of five samples, behind a 16-byte file header
// and 8-byte trace headers.
struct TypeCase {
  const char* option;
  int bytes;
  std::vector<Bytes> samples;  // raw samples of each trace, by file
  std::vector<uint32_t> bits;  // the float bits they become, same order
};

TypeCase MakeCase(const char* option) {
  TypeCase c{option, 0, {}, {}};
  const std::string o = option;
  c.bytes = o == "Option1" ? 2 : 4;
  for (int f = 0; f < 2; ++f) {
    Bytes raw;
    for (int k = 0; k < 15; ++k) {
      uint8_t b[4];
      if (o == "Option1") {
        const int16_t v = k == 0 ? -32768 : k == 1 ? 32767 : static_cast<int16_t>((f + 1) * 100 - k * 37);
        PutLE16(b, v);
        c.bits.push_back(Bits(static_cast<float>(v)));
      } else if (o == "Option2") {
        const int32_t v = k == 0 ? 16777217 : k == 1 ? std::numeric_limits<int32_t>::min()
                                                     : (f + 1) * 100000 - k * 12345;
        PutLE32(b, v);
        c.bits.push_back(Bits(static_cast<float>(v)));  // 16777217 becomes 16777216
      } else {
        const uint32_t v = k == 0 ? 0x7FA00001u : k == 1 ? 0x80000000u : Bits(0.5f * k - f);  // NaN payload, -0
        PutLE32(b, static_cast<int32_t>(v));
        c.bits.push_back(v);
      }
      raw.insert(raw.end(), b, b + c.bytes);
    }
    c.samples.push_back(raw);
  }
  return c;
}

Bytes InputFile(const Bytes& samples, int bytes) {
  Bytes file(16, 0xAA);
  for (int t = 0; t < 3; ++t) {
    file.insert(file.end(), 8, 0xBB);
    file.insert(file.end(), samples.begin() + t * 5 * bytes, samples.begin() + (t + 1) * 5 * bytes);
  }
  return file;
}

std::string ConvertScript(const std::string& folder, const std::string& output, const std::string& option) {
  return Selecting(folder + " A.DAT B.DAT") + "set Text3 3\nset Text4 5\nset Text5 250\nset Text7 16\n"
         "set Text8 8\nclick " + option + "\nset Text2 " + output + "\nclick Command1\nshow ProgressBar1\n";
}

TEST(SisformeConversion, TwoFilesOfEachSampleTypeByteForByte) {
  for (const char* option : {"Option1", "Option2", "Option3"}) {
    SCOPED_TRACE(option);
    TempDir dir;
    const TypeCase c = MakeCase(option);
    test::WriteBytes(dir / "A.DAT", InputFile(c.samples[0], c.bytes));
    test::WriteBytes(dir / "B.DAT", InputFile(c.samples[1], c.bytes));
    const std::string out = RunScript(ConvertScript(dir.Str(), dir / "OUT.SU", option));
    EXPECT_NE(out.find("message \"OK, Conversion done\" buttons=0 title=\"\" -> 1\n"
                       "ProgressBar1 min=1 max=6 value=6 visible=0\n"),
              std::string::npos)
        << out;
    Bytes expected;
    for (int f = 1; f <= 2; ++f) {
      for (int t = 1; t <= 3; ++t) {
        const auto from = c.bits.begin() + ((f - 1) * 3 + (t - 1)) * 5;
        const Bytes r = ExpectedRecord(f, t, 250, {from, from + 5});
        expected.insert(expected.end(), r.begin(), r.end());
      }
    }
    EXPECT_EQ(test::ReadBytes(dir / "OUT.SU"), expected);
  }
}

TEST(SisformeConversion, ReadOffsetsFollowTheHeaderSizes) {
  // 3600-byte file header, 240-byte trace headers, 2 traces of 1000 int32:
  // the traces stand at 3840 and 8080.
  TempDir dir;
  Bytes file(3600 + 2 * (240 + 4000), 0xCC);
  for (int j = 0; j < 1000; ++j) {
    Put32(file, 3840 + 4 * j, j);
    Put32(file, 8080 + 4 * j, -j);
  }
  test::WriteBytes(dir / "S.DAT", file);
  RunScript(Selecting(dir / "S.DAT") +
            "set Text3 2\nset Text4 1000\nset Text7 3600\nset Text8 240\nset Text2 " + (dir / "S.SU") +
            "\nclick Command1\n");
  BinaryFile su(dir / "S.SU", BinaryFile::Mode::Read);
  ASSERT_EQ(su.Size(), 2 * 4240);
  EXPECT_EQ(su.ReadF32(240 + 4 * 999), 999.0f);
  EXPECT_EQ(su.ReadF32(4240 + 240 + 4 * 999), -999.0f);
  EXPECT_EQ(su.ReadI16(114), 1000);
  EXPECT_EQ(su.ReadI16(116), 480);  // the default sample rate
}

TEST(SisformeConversion, ALongerOutputKeepsItsTailAndTheWordsNotWritten) {
  TempDir dir;
  test::WriteBytes(dir / "A.DAT", Bytes(2048 + 2 * 4 * 4, 1));
  test::WriteBytes(dir / "OUT.SU", Bytes(10000, 0x5A));
  RunScript(Selecting(dir / "A.DAT") + "set Text3 2\nset Text4 4\nset Text2 " + (dir / "OUT.SU") +
            "\nclick Command1\n");
  const Bytes out = test::ReadBytes(dir / "OUT.SU");
  ASSERT_EQ(out.size(), 10000u);
  for (size_t at = 512; at < out.size(); ++at) ASSERT_EQ(out[at], 0x5A) << at;
  // Every header byte is written but those of ep: the zero fill covers 36
  // to 239 whatever the file held, with ns and dt written after it.
  for (int t = 1; t <= 2; ++t) {
    const size_t record = (t - 1) * 256u;
    Bytes header = ExpectedRecord(1, t, 480, std::vector<uint32_t>(4, Bits(1.0f + 256 + 65536 + 16777216)));
    for (size_t at = 16; at < 20; ++at) header[at] = 0x5A;  // ep is never written
    header.resize(240);
    EXPECT_EQ(Bytes(out.begin() + static_cast<long>(record), out.begin() + static_cast<long>(record) + 240), header)
        << "trace " << t;
  }
}

TEST(SisformeConversion, MoreThan99FilesAreCutTo99) {
  TempDir dir;
  std::string answer = dir.Str();
  for (int k = 1; k <= 100; ++k) {
    const std::string name = "R" + std::to_string(k) + ".DAT";
    test::WriteBytes(dir / name, Bytes{static_cast<uint8_t>(k), 0});
    answer += " " + name;
  }
  const std::string out = RunScript(Selecting(answer) +
                                    "set Text3 1\nset Text4 1\nset Text7 0\nclick Option1\nset Text6 120\n"
                                    "set Text2 " + (dir / "ALL.SU") + "\nclick Command1\nshow ProgressBar1\n");
  const std::string tail = out.substr(out.find("message"));
  EXPECT_EQ(tail,
            "message \"Maximum 99 records\" buttons=0 title=\"\" -> 1\n"
            "message \"OK, Conversion done\" buttons=0 title=\"\" -> 1\n"
            "ProgressBar1 min=1 max=120 value=99 visible=0\n");
  BinaryFile su(dir / "ALL.SU", BinaryFile::Mode::Read);
  ASSERT_EQ(su.Size(), 99 * 244);
  EXPECT_EQ(su.ReadI32(98 * 244 + 8), 99);  // fldr of the last record
  EXPECT_EQ(su.ReadF32(98 * 244 + 240), 99.0f);
}

TEST(SisformeConversion, ANegativePositionStopsWithWhatWasWritten) {
  // 100 - 60 t + 20 (t - 1): traces 1 and 2 stand at 40 and 0, trace 3 at -40.
  TempDir dir;
  test::WriteBytes(dir / "A.DAT", Bytes(200, 0));
  const std::string out = RunScript(Selecting(dir / "A.DAT") +
                                    "set Text3 3\nset Text4 10\nclick Option1\nset Text7 100\nset Text8 -60\n"
                                    "set Text2 " + (dir / "N.SU") + "\nclick Command1\nshow ProgressBar1\n");
  EXPECT_EQ(out.substr(out.find("message")),
            "message \"Verify your parameters...\" buttons=16 title=\"Norvane File converter\" -> 1\n"
            "ProgressBar1 min=1 max=3 value=3 visible=1\n");
  EXPECT_EQ(std::filesystem::file_size(dir / "N.SU"), 2u * 280u);
}

TEST(SisformeConversion, RunTimeFailuresAreReportedOnce) {
  TempDir dir;
  test::WriteBytes(dir / "A.DAT", Bytes(4096, 0));
  const auto failure = [&](const std::string& settings, const std::string& names = " A.DAT GONE.DAT") {
    const std::string out = RunScript(Selecting(dir.Str() + names) + "set Text3 1\nset Text4 8\n" +
                                      settings + "click Command1\n");
    const size_t at = out.find("message");
    return at == std::string::npos ? out : out.substr(at);
  };
  const std::string su = "set Text2 " + (dir / "F.SU") + "\n";
  EXPECT_EQ(failure(su + "set Text6 2\n"),  // the second file is missing
            "message \"File conversion error N°  53\" buttons=0 title=\"\" -> 1\n");
  EXPECT_EQ(std::filesystem::file_size(dir / "F.SU"), 272u);  // the first file's trace stays
  EXPECT_EQ(failure(su + "set Text4 0\n"), "message \"File conversion error N°  9\" buttons=0 title=\"\" -> 1\n");
  EXPECT_EQ(failure(su + "set Text3 40000\n"),
            "message \"File conversion error N°  6\" buttons=0 title=\"\" -> 1\n");
  EXPECT_EQ(failure(su + "set Text6 3\n", " A.DAT A.DAT"),  // no third file in the selection
            "message \"File conversion error N°  9\" buttons=0 title=\"\" -> 1\n");
  // A cancelled output dialog leaves "*.SU", which names no file.
  test::KeepCurrentFolder keep;
  std::filesystem::current_path(dir.Path());
  EXPECT_EQ(failure("set Text2 *.SU\n"), "message \"File conversion error N°  52\" buttons=0 title=\"\" -> 1\n");
  EXPECT_FALSE(std::filesystem::exists(dir / "*.SU"));
}

TEST(SisformeConversion, PastTheSampleIndexTheFirstHeaderIsWrittenThenItFails) {
  TempDir dir;
  test::WriteBytes(dir / "A.DAT", Bytes(100, 0));
  const std::string out = RunScript(Selecting(dir / "A.DAT") + "set Text3 2\nset Text4 40000\nset Text2 " +
                                    (dir / "BIG.SU") + "\nclick Command1\n");
  EXPECT_NE(out.find("message \"File conversion error N°  6\""), std::string::npos) << out;
  const Bytes su = test::ReadBytes(dir / "BIG.SU");
  ASSERT_EQ(su.size(), 240u);
  EXPECT_EQ(GetLE16(su.data() + 114), static_cast<int16_t>(40000 & 0xFFFF));
}

TEST(SisformeHelp, OneMessageWithEmptyLines) {
  const std::string out = RunScript("open MainPanel\nclick Option7\nuse sisforme\nclick Command2\n");
  EXPECT_NE(out.find("message \"SEISMIC FILE CONVERSION\\r\\n\\r\\nThis module will convert nearly any kind of "
                     "seismic file  \\r\\nto SU format"),
            std::string::npos);
  EXPECT_NE(out.find("trace header size \\r\\nThe result will be a single SU file with all the selected inpu "
                     "files\\r\\nFor OYO McSeis 170 enter 24 channel, 1024 samples, Long Integers\" buttons=0 "
                     "title=\"\" -> 1\n"),
            std::string::npos);
}

TEST(SuTraceWriter, WordsCostNoSystemCallEachAndIndexesAreChecked) {
  TempDir dir;
  SharedState state;
  state.NbSamples = 4;
  state.SampleInterval = -3;
  BinaryFile out(dir / "w.su", BinaryFile::Mode::Create);
  SuTraceWriter writer(out, state, kGenericHeaderWords);
  const int64_t before = out.SystemCalls();
  for (int i = 0; i < 100; ++i) {
    writer.Seek(i);
    writer.WriteHeader(1, i + 1);
  }
  EXPECT_EQ(state.TracePos, 99 * 256);
  EXPECT_LE(out.SystemCalls() - before, 1);
  out.Close();
  BinaryFile in(dir / "w.su", BinaryFile::Mode::Read);
  EXPECT_EQ(in.ReadI32(99 * 256 + 12), 100);
  EXPECT_EQ(in.ReadI16(99 * 256 + 116), -3);

  EXPECT_EQ(RecordIndex(2, 1, 24), 24);
  EXPECT_EQ(RecordIndex(2, 1, 32767), 32767);
  EXPECT_THROW(RecordIndex(2, 2, 32767), RunTimeFailure);  // the 32769th record
  state.NbSamples = 32767;
  EXPECT_THROW(writer.Seek(32767), RunTimeFailure);         // past 2^31 bytes
}

TEST(SamplesToFloat, EveryTypeInBlocksAndTail) {
  // 19 samples: two blocks of eight and a tail of three.
  Bytes raw16, raw32, rawF;
  std::vector<float> want16, want32;
  std::vector<uint32_t> wantF;
  for (int j = 0; j < 19; ++j) {
    const int16_t a = static_cast<int16_t>(j % 2 ? -32768 + j * 911 : 32767 - j * 1733);
    const int32_t b = j % 3 ? (1 << 30) + 2 * j + 1 : -16777217 * (j + 1);
    const uint32_t c = j == 4 ? 0xFFC12345u : Bits(1.0f / static_cast<float>(j + 1));
    uint8_t bytes[4];
    PutLE16(bytes, a);
    raw16.insert(raw16.end(), bytes, bytes + 2);
    PutLE32(bytes, b);
    raw32.insert(raw32.end(), bytes, bytes + 4);
    PutLE32(bytes, static_cast<int32_t>(c));
    rawF.insert(rawF.end(), bytes, bytes + 4);
    want16.push_back(static_cast<float>(a));
    want32.push_back(static_cast<float>(b));
    wantF.push_back(c);
  }
  std::vector<float> out(19);
  SamplesToFloat(raw16.data(), SampleType::Int16, out);
  EXPECT_EQ(out, want16);
  SamplesToFloat(raw32.data(), SampleType::Int32, out);
  EXPECT_EQ(out, want32);
  SamplesToFloat(rawF.data(), SampleType::Float32, out);
  for (size_t j = 0; j < out.size(); ++j) EXPECT_EQ(Bits(out[j]), wantF[j]) << j;
  SamplesToFloat(nullptr, SampleType::None, out);
  EXPECT_EQ(out, std::vector<float>(19, 0.0f));
}

}  // namespace
}  // namespace vexmor
