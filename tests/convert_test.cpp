// The panel Convert through panel scripts: its six modes, the opening that
// every job shares, the job scripts to the byte and what our tools make of
// them, and the KGS conversions word by word.
#include "toolchains/convert.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <sstream>

#include "core/paths.h"
#include "core/su_trace.h"
#include "panels/script.h"
#include "platform/headless_platform.h"
#include "platform/jobs.h"
#include "platform/transcript.h"
#include "test_util.h"
#include "tools_helpers.h"

#ifdef VEXMOR_HAVE_SEGYIO
#include <segyio/segy.h>
#endif

namespace vexmor {
namespace {

namespace fs = std::filesystem;
using test::ReadBytes;
using test::ReadText;
using test::TempDir;
using test::WriteBytes;
using test::WriteText;

const std::string kToolDir = std::string(VEXMOR_BIN_DIR) + "/";
constexpr const char* kTitle = "Norvane File converter";

// A session on the headless platform that keeps its panels open between
// steps, so that a test can wait for a job and go on.
class PanelSession {
 public:
  explicit PanelSession(SharedState initial = {}, bool recordOnly = false) : state_(std::move(initial)) {
    platform_.SetRecordOnly(recordOnly);
    platform_.SetSink([this](const std::string& line) { lines_.push_back(line); });
    session_ = std::make_unique<Session>(platform_, state_);
    session_->onShown = [this](Form& f) { lines_.push_back(transcript::Opened(f.Name())); };
    session_->onHidden = [this](Form& f) { lines_.push_back(transcript::Closed(f.Name())); };
    runner_ = std::make_unique<ScriptRunner>(*session_, platform_.Answers(),
                                             [this](const std::string& line) { lines_.push_back(line); });
  }
  ~PanelSession() {
    runner_.reset();
    session_.reset();
    WaitForJobs();
  }
  // Runs the commands; gives the transcript lines they wrote.
  std::string Do(const std::string& commands) {
    const size_t from = lines_.size();
    runner_->Run(ParseScript(commands));
    std::string out;
    for (size_t k = from; k < lines_.size(); ++k) out += lines_[k] + "\n";
    return out;
  }
  SharedState& State() { return state_; }
  Session& GetSession() { return *session_; }

 private:
  HeadlessPlatform platform_;
  SharedState state_;
  std::vector<std::string> lines_;
  std::unique_ptr<Session> session_;
  std::unique_ptr<ScriptRunner> runner_;
};

// How each mode is reached from the main panel, as a user reaches it; the
// SU-to-SEG-Y mode has no way in there and is set directly.
std::string OpenIn(const std::string& mode) {
  if (mode == "KGSI2SU") return "open MainPanel\nclick Option3\nuse Convert\n";
  if (mode == "KGS2SU") return "open MainPanel\nclick Option9\nuse Convert\n";
  if (mode == "SU2KGS") return "open MainPanel\nclick Option11\nuse Convert\n";
  if (mode == "SEGD2SU") return "open MainPanel\nclick Option13\nuse Convert\n";
  if (mode == "SEGY2SU") return "open MainPanel\nclick Option2\nopen Convert\n";
  return "open MainPanel\nopen Convert\n";
}

std::unique_ptr<PanelSession> OpenConvert(const std::string& mode, bool recordOnly = false, SharedState initial = {}) {
  if (mode == "SU2SEGY") initial.ConvertMode = mode;
  auto s = std::make_unique<PanelSession>(std::move(initial), recordOnly);
  s->Do(OpenIn(mode));
  return s;
}

std::string Q(const std::string& text) { return Quote(text); }

class ConvertTest : public ::testing::Test {
 protected:
  void SetUp() override {
    // No INI of the user's decides where the tools are.
    setenv("XDG_CONFIG_HOME", config_.Str().c_str(), 1);
    setenv("VEXMOR_WORKDIR", (config_ / "work").c_str(), 1);
    fs::current_path(dir.Path());
  }
  TempDir config_;
  test::KeepCurrentFolder keep_;
  TempDir dir;
};

const char* const kModes[] = {"KGSI2SU", "KGS2SU", "SU2KGS", "SEGD2SU", "SEGY2SU", "SU2SEGY"};

TEST_F(ConvertTest, EachModeHasItsCaptionFrameDialogAndProposal) {
  struct Expect {
    const char* caption;
    const char* title;
    const char* filter;
    const char* preset;
    const char* proposed;  // from the answer LINE1.ABCD
  };
  const Expect expect[] = {
      {" Conversion KGS Integers to SU ", "KGS Integer File selection", "KGS File |*.EVD|All files|*.*|", "*.EVD",
       "LINE1.ASU"},
      {" Conversion KGS-FPT to SU", "KGS File selection", "KGS File |*.SU|All files|*.*|", "*.DAT", "LINE1.ASU"},
      {" Conversion SU to KGS_FPT", "SU File selection", "SU File |*.SU|All files|*.*|", "*.SU", "LINE1.ABDAT"},
      {" Conversion SEG-D to SU ", "SEG-D File selection", "SEG-D File |*.SGD|All files|*.*|", "*.SGD", "LINE1.ASU"},
      {" Conversion SEG-Y to SU", "SEG-Y File selection", "SEG-Y File |*.SGY|All files|*.*|", "*.SGY", "LINE1.ASU"},
      {" Conversion SU to SEG-Y", "SU File selection", "SU File |*.SU|All files|*.*|", "*.SU", "LINE1.ABSGY"},
  };
  for (size_t m = 0; m < std::size(kModes); ++m) {
    const std::string mode = kModes[m];
    SCOPED_TRACE(mode);
    SharedState initial;
    initial.FolderOf = "/start/";
    initial.InputFile = "held.in";
    auto s = OpenConvert(mode, true, initial);
    const std::string answer = dir / "LINE1.ABCD";
    const std::string out =
        s->Do("show Convert.caption\nshow Frame1\nshow Option1\nshow Text1\nanswer dialog " + Q(answer) +
              "\nclick Command3\nshow Text1\nshow Text2\ndblclick Text2\nshow Text2\ndblclick Text1\nshow Text1\n");
    const Expect& e = expect[m];
    FileRequest in{"/start/", e.title, e.filter, e.preset};
    FileRequest outReq{"/start/", "KGS Integer File selection", "SU File |*.SU|All files|*.*|", "*.SU"};
    const std::string frame = mode == "SEGY2SU" ? "Frame1 = \"\"\n" : "Frame1 = \"\" visible=0\n";
    EXPECT_EQ(out, "Convert.caption = " + Q(e.caption) + "\n" + frame +
                       "Option1 = on\n" +
                       "Text1 = \"held.in\"\n" + transcript::Dialog(in, answer) + "\n" + "Text1 = " + Q(answer) +
                       "\n" + "Text2 = " + Q(dir / e.proposed) + "\n" + transcript::Dialog(outReq, "*.SU") + "\n" +
                       "Text2 = \"*.SU\"\n" + transcript::Dialog(in, e.preset) + "\n" + "Text1 = " + Q(e.preset) +
                       "\n");
  }
  // The SU file last chosen in the utilities comes first.
  SharedState initial;
  initial.SuFile = "chosen.su";
  initial.InputFile = "held.in";
  EXPECT_EQ(OpenConvert("SU2KGS", true, initial)->Do("show Text1\n"), "Text1 = \"chosen.su\"\n");
}

TEST_F(ConvertTest, OpeningStopsWithItsMessageAndNothingChanged) {
  WriteText(dir / "empty.dat", "");
  WriteText(dir / "in.dat", std::string(480, 'x'));
  for (const std::string mode : kModes) {
    SCOPED_TRACE(mode);
    WriteText(dir / "OUT.SU", "keep");
    const std::pair<std::string, std::string> cases[] = {
        {"set Text1 \"\"\nset Text2 OUT.SU", "File name missing"},
        {"set Text1 " + Q(dir / "none.dat") + "\nset Text2 OUT.SU", "Input file " + dir / "none.dat" + " does not exist !"},
        {"set Text1 " + Q(dir / "empty.dat") + "\nset Text2 OUT.SU", "Input file " + dir / "empty.dat" + " is empty !"},
        {"set Text1 " + Q(dir / "in.dat") + "\nset Text2 " + Q(dir / "in.dat"), "Same Input / Output"},
        // The same file by another spelling is still the input.
        {"set Text1 " + Q(dir / "in.dat") + "\nset Text2 " + Q(dir.Str() + "/./in.dat"), "Same Input / Output"},
        {"set Text1 " + Q(dir / "in.dat") + "\nset Text2 *.SU", "Output file *.SU is not a file name !"},
        {"set Text1 " + Q(dir / "in.dat") + "\nset Text2 \"\"", "Output file name missing"},
        // A pattern that matches files names none: it has no length.
        {"set Text1 " + Q(dir / "*.dat") + "\nset Text2 OUT.SU", "Input file " + dir / "*.dat" + " is empty !"},
    };
    for (const auto& [fields, message] : cases) {
      auto s = OpenConvert(mode, true);
      EXPECT_EQ(s->Do(fields + "\nclick Command2\n"), transcript::Message(message, 0, "", 1) + "\n");
      EXPECT_TRUE(s->GetSession().IsShown("Convert"));
      EXPECT_EQ(ReadText(dir / "OUT.SU"), "keep");
      EXPECT_EQ(ReadText(dir / "in.dat"), std::string(480, 'x'));
    }
  }
  EXPECT_FALSE(fs::exists(dir / "convert.bat"));
}

TEST_F(ConvertTest, ToolJobsDeleteTheOutputAtTheStartAndWriteTheirScript) {
  std::vector<uint8_t> su(2 * (240 + 4 * 4));
  PutLE16(su.data() + 114, 4);
  PutLE16(su.data() + 240 + 16 + 114, 4);
  WriteBytes(dir / "in.su", su);
  struct Case {
    std::string mode, extra, line;
  };
  const std::string in = dir / "in.su", out = dir / "OUT.SU";
  const Case cases[] = {
      {"SEGD2SU", "", kToolDir + "SEGDREAD tape=" + in + " >" + out},
      {"SEGY2SU", "", kToolDir + "SEGYREAD tape=" + in + " endian=1 | " + kToolDir + "SEGYCLEAN >" + out},
      {"SEGY2SU", "click Option2\n", kToolDir + "SEGYREAD tape=" + in + " endian=0 | " + kToolDir + "SEGYCLEAN >" + out},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.line);
    WriteText(out, "old");
    auto s = OpenConvert(c.mode, true);
    // A check box ticked on the main panel puts the interpreter in front.
    const std::string t = s->Do("set Text1 " + Q(in) + "\nset Text2 " + Q(out) + "\n" + c.extra +
                                "click Command2\nshow Label1\nshow Timer2\n");
    EXPECT_EQ(t, "shell \"convert.bat\" style=1 -> 1\nLabel1 = \"Job running: " + out +
                     "\"\nTimer2 enabled=1 interval=500\n");
    EXPECT_FALSE(fs::exists(out));
    EXPECT_EQ(ReadText(dir / "convert.bat"), c.line + "\r\n");
    EXPECT_TRUE(s->GetSession().IsShown("Convert"));
    // Nothing ran: the watch says so at its next tick, and stops.
    EXPECT_EQ(s->Do("tick Timer2\nshow Label1\nshow Timer2\n"),
              "Label1 = \"Job ended: no output file " + out + "\"\nTimer2 enabled=0 interval=500\n");
  }
  // With the box ticked the prefix stands in front of the script's path.
  PanelSession s({}, true);
  s.Do("open MainPanel\nclick Check1\nclick Option13\nuse Convert\n");
  EXPECT_EQ(s.Do("set Text1 " + Q(in) + "\nset Text2 " + Q(out) + "\nclick Command2\n"),
            "shell \"command.com /c convert.bat\" style=1 -> 1\n");

  // A script that can't be written is not started: no older one runs.
  SharedState elsewhere;
  elsewhere.FolderOf = dir / "nowhere/";
  auto lost = OpenConvert("SEGD2SU", true, elsewhere);
  EXPECT_EQ(lost->Do("set Text1 " + Q(in) + "\nset Text2 " + Q(out) + "\nclick Command2\nshow Label1\nshow Timer2\n"),
            "Label1 = \"Job not started: " + dir / "nowhere/convert.bat" + " can't be written\"\n"
            "Timer2 enabled=0 interval=0\n");
}

#ifdef VEXMOR_HAVE_SEGYIO
constexpr bool kHaveSegyio = true;
#else
constexpr bool kHaveSegyio = false;
#endif

TEST_F(ConvertTest, SegdJobConvertsTheRealRecordAndTellsItsEnd) {
  const std::string segd = std::string(VEXMOR_SHARED_SAMPLES) + "/segd/demo-8058.segd";
  const std::string expected = std::string(VEXMOR_SHARED_SAMPLES) + "/segd/demo-8058.expected.su";
  if (FileExists(segd) == 0 || FileExists(expected) == 0) GTEST_SKIP() << "no SEG-D sample here";
  auto s = OpenConvert("SEGD2SU");
  const std::string out = dir / "SHOT.SU";
  const std::string t = s->Do("set Text1 " + Q(segd) + "\nset Text2 " + Q(out) + "\nclick Command2\n");
  EXPECT_EQ(t.rfind("shell \"convert.bat\" style=1 -> ", 0), 0u) << t;
  EXPECT_EQ(t.find("message"), std::string::npos);
  WaitForJobs();
  EXPECT_EQ(ReadBytes(out), ReadBytes(expected));
  EXPECT_EQ(ReadText(dir / "convert.bat"), kToolDir + "SEGDREAD tape=" + segd + " >" + out + "\r\n");
  const auto traces = test::ReadSu(out);
  ASSERT_FALSE(traces.empty());
  EXPECT_EQ(s->Do("tick Timer2\nshow Label1\n"),
            "Label1 = \"Job ended: " + out + " written, " + std::to_string(traces.size()) + " traces of " +
                std::to_string(traces[0].samples.size()) + " samples\"\n");
}

// A SEG-Y file of IEEE samples in either byte order: trace t (from 1) has
// tracl 1000 + t, offset -250 + 50 t, scalco -100, and samples t x 10 + k / 4.
std::vector<uint8_t> SegyFile(bool big, int traces, int ns) {
  std::vector<uint8_t> f(3600, 0x40);
  std::fill(f.begin() + 3200, f.end(), 0);
  const auto put16 = [&](size_t at, int v) {
    const auto u = static_cast<uint16_t>(v);
    f[at + (big ? 0 : 1)] = uint8_t(u >> 8);
    f[at + (big ? 1 : 0)] = uint8_t(u);
  };
  const auto put32 = [&](size_t at, uint32_t u) {
    for (int b = 0; b < 4; ++b) f[at + size_t(big ? b : 3 - b)] = uint8_t(u >> (24 - 8 * b));
  };
  put16(3216, 250);
  put16(3220, ns);
  put16(3224, 5);
  for (int t = 1; t <= traces; ++t) {
    const size_t h = f.size();
    f.resize(h + 240 + 4 * size_t(ns), 0);
    put32(h + 0, uint32_t(1000 + t));
    put32(h + 36, static_cast<uint32_t>(-250 + 50 * t));
    put16(h + 70, -100);
    put16(h + 114, ns);
    put16(h + 116, 250);
    for (int k = 0; k < ns; ++k) {
      uint32_t bits;
      const float v = float(t) * 10 + float(k) / 4;
      std::memcpy(&bits, &v, 4);
      put32(h + 240 + 4 * size_t(k), bits);
    }
  }
  return f;
}

TEST_F(ConvertTest, SegyJobReadsBothByteOrders) {
  for (const bool big : {false, true}) {
    SCOPED_TRACE(big ? "big-endian" : "little-endian");
    const std::string in = dir / (big ? "BIG.SGY" : "LITTLE.SGY");
    const std::string out = dir / "OUT.SU";
    WriteBytes(in, SegyFile(big, 3, 7));
    auto s = OpenConvert("SEGY2SU");
    s->Do("set Text1 " + Q(in) + "\nset Text2 " + Q(out) + "\n" + (big ? "click Option2\n" : "") + "click Command2\n");
    WaitForJobs();
    EXPECT_EQ(ReadText(dir / "convert.bat"), kToolDir + "SEGYREAD tape=" + in + (big ? " endian=0 | " : " endian=1 | ") +
                                                 kToolDir + "SEGYCLEAN >" + out + "\r\n");
    const auto bytes = ReadBytes(out);
    ASSERT_EQ(bytes.size(), 3u * (240 + 28));
    for (int t = 1; t <= 3; ++t) {
      const uint8_t* h = bytes.data() + size_t(t - 1) * 268;
      EXPECT_EQ(GetLE32(h + 0), 1000 + t);
      EXPECT_EQ(GetLE32(h + 36), -250 + 50 * t);
      EXPECT_EQ(GetLE16(h + 70), -100);
      EXPECT_EQ(GetLE16(h + 114), 7);
      EXPECT_EQ(GetLE16(h + 116), 250);
      for (int k = 0; k < 7; ++k) EXPECT_EQ(GetLEFloat(h + 240 + 4 * k), float(t) * 10 + float(k) / 4);
    }
    EXPECT_EQ(s->Do("tick Timer2\nshow Label1\n"), "Label1 = \"Job ended: " + out + " written, 3 traces of 7 samples\"\n");
  }
}

// SU traces of ns samples: tracl t, tracf t, dt as given, samples sin-like.
std::vector<uint8_t> SuFileOf(int traces, int ns, int dt) {
  std::vector<test::SuTrace> su;
  for (int t = 1; t <= traces; ++t) {
    test::SuTrace tr;
    tr.header.assign(240, 0);
    PutLE32(tr.header.data() + 0, t);
    PutLE32(tr.header.data() + 12, t);
    PutLE16(tr.header.data() + 116, static_cast<int16_t>(dt));
    for (int k = 0; k < ns; ++k) tr.samples.push_back(std::sin(float(k) * 0.3f + float(t)) * 1000.0f);
    su.push_back(tr);
  }
  return test::SuFile(su);
}

TEST_F(ConvertTest, SuToSegyShowsItsScriptRunsInTheScriptsFolderAndCloses) {
  const std::string in = dir / "LINE.SU", out = dir / "LINE.SGY";
  WriteBytes(in, SuFileOf(6, 100, 250));
  WriteText(out, "old");
  // The dialogs' folder is elsewhere: the headers must land where the copy
  // command of the script looks for them.
  fs::create_directory(dir / "work");
  SharedState initial;
  initial.FolderOf = dir / "work/";
  auto s = OpenConvert("SU2SEGY", false, initial);
  const std::string t = s->Do("set Text1 " + Q(in) + "\nset Text2 " + Q(out) + "\nclick Command2\n");
  const std::string line1 = kToolDir + "SEGYHDRS <" + in + " ns= 100 dt= 250 bfile=binary hfile=header";
  const std::string line2 = "copy /b " + dir / "work/" + "header + " + dir / "work/" + "binary + " + in + " " + out;
  const std::string shell = "shell \"command.com /c " + dir / "work/convert.bat" + "\" style=1 -> ";
  ASSERT_EQ(t.substr(0, t.find(shell)), transcript::Message(line1 + "\r\n" + line2, 0, "", 1) + "\n");
  const std::string after = t.substr(t.find('\n', t.find(shell)) + 1);
  EXPECT_EQ(after, transcript::Message("Conversion OK", 64, kTitle, 1) + "\nclosed Convert\n");
  EXPECT_EQ(ReadText(dir / "work/convert.bat"), line1 + "\r\n" + line2 + "\r\n");
  WaitForJobs();
  const auto sgy = ReadBytes(out), su = ReadBytes(in);
  ASSERT_EQ(sgy.size(), 3600 + su.size());
  EXPECT_TRUE(std::equal(su.begin(), su.end(), sgy.begin() + 3600));
  EXPECT_EQ(ReadBytes(dir / "work/header").size(), 3200u);
  if (!kHaveSegyio) GTEST_SKIP() << "no segyio to read the SEG-Y back";
#ifdef VEXMOR_HAVE_SEGYIO
  segy_file* fp = segy_open(out.c_str(), "rb");
  ASSERT_NE(fp, nullptr);
  ASSERT_EQ(segy_set_format(fp, int(SEGY_IEEE_FLOAT_4_BYTE) | int(SEGY_LSB)), SEGY_OK);
  char bin[400];
  ASSERT_EQ(segy_binheader(fp, bin), SEGY_OK);
  EXPECT_EQ(segy_samples(bin), 100);
  EXPECT_EQ(segy_format(bin), SEGY_IEEE_FLOAT_4_BYTE);
  int count = 0;
  ASSERT_EQ(segy_traces(fp, &count, segy_trace0(bin), segy_trsize(5, 100)), SEGY_OK);
  ASSERT_EQ(count, 6);
  const auto traces = test::ReadSu(in);
  for (int t = 0; t < 6; ++t) {
    char th[240];
    ASSERT_EQ(segy_traceheader(fp, t, th, 3600, 400), SEGY_OK);
    int32_t v = 0;
    segy_get_field(th, SEGY_TR_SEQ_LINE, &v);
    EXPECT_EQ(v, t + 1);
    std::vector<float> samples(100);
    ASSERT_EQ(segy_readtrace(fp, t, samples.data(), 3600, 400), SEGY_OK);
    segy_to_native(5, 100, samples.data());
    EXPECT_EQ(samples, traces[size_t(t)].samples);
  }
  segy_close(fp);
#endif
}

TEST_F(ConvertTest, SuToSegyScriptTakesTheScannedSizes) {
  // dt 0 in the file: the scan's default of 1000 stands in the script.
  WriteBytes(dir / "Z.SU", SuFileOf(2, 1000, 0));
  auto s = OpenConvert("SU2SEGY", true);
  const std::string t = s->Do("set Text1 " + Q(dir / "Z.SU") + "\nset Text2 " + Q(dir / "Z.SGY") + "\nclick Command2\n");
  EXPECT_NE(t.find(" ns= 1000 dt= 1000 bfile=binary hfile=header\\r\\ncopy /b header + binary + "), std::string::npos) << t;
  EXPECT_EQ(s->State().NbTraces, 2);
}

// A KGS header word by word: 120 signed 16-bit words, low byte first.
struct KgsRecord {
  std::array<int16_t, 120> words{};
  std::vector<int16_t> intSamples;
  std::vector<float> floatSamples;
  void Set(int offset, int16_t v) { words[size_t(offset / 2)] = v; }
  void AppendTo(std::vector<uint8_t>& f) const {
    for (int16_t w : words) {
      f.push_back(uint8_t(w));
      f.push_back(uint8_t(uint16_t(w) >> 8));
    }
    for (int16_t v : intSamples) {
      f.push_back(uint8_t(v));
      f.push_back(uint8_t(uint16_t(v) >> 8));
    }
    for (float v : floatSamples) {
      uint8_t b[4];
      PutLEFloat(b, v);
      f.insert(f.end(), b, b + 4);
    }
  }
};

// Record r (from 1): each word at offset o holds r x 1000 + o, made
// negative at every fourth byte.
KgsRecord KgsRecordNumber(int r, int ns, bool integer) {
  KgsRecord rec;
  for (int o = 0; o < 240; o += 2) rec.Set(o, static_cast<int16_t>((o % 4 ? 1 : -1) * (r * 1000 + o)));
  rec.Set(114, static_cast<int16_t>(ns));
  for (int k = 0; k < ns; ++k) {
    if (integer) {
      rec.intSamples.push_back(k == 0 ? int16_t(-32768) : k == 1 ? int16_t(32767) : int16_t(r * 100 - k));
    } else {
      rec.floatSamples.push_back(float(r) + float(k) * 0.125f);
    }
  }
  return rec;
}

int32_t KgsWordOf(int r, int o) { return (o % 4 ? 1 : -1) * (r * 1000 + o); }

TEST_F(ConvertTest, KgsIntegerToSuReadsWholeRecordsAndAsksTheSourceDepth) {
  std::vector<uint8_t> file;
  for (int r = 1; r <= 3; ++r) KgsRecordNumber(r, 5, true).AppendTo(file);
  WriteBytes(dir / "SHOT.EVD", file);
  auto s = OpenConvert("KGSI2SU");
  const std::string t = s->Do("answer prompt 12.5\nset Text1 " + Q(dir / "SHOT.EVD") + "\nset Text2 " +
                              Q(dir / "SHOT.SU") + "\nclick Command2\n");
  EXPECT_EQ(t, "prompt \" Source depth below surface\" title=\"Enter Values not available in KGS header\" "
               "default=\"1\" -> \"12.5\"\n" +
                   transcript::Message("Conversion OK", 64, kTitle, 1) + "\nclosed Convert\n");
  EXPECT_EQ(s->State().NbChannels, KgsWordOf(1, 16));
  EXPECT_EQ(s->State().NbSamples, 5);
  EXPECT_EQ(s->State().NbTraces, 3);
  const auto su = ReadBytes(dir / "SHOT.SU");
  ASSERT_EQ(su.size(), 3u * (240 + 20));  // 2 x ns bytes more per trace
  // The words' places are the format's business (kgs_test); here: every
  // record, the prompt's value, and the samples.
  for (int r = 1; r <= 3; ++r) {
    SCOPED_TRACE(r);
    const uint8_t* h = su.data() + size_t(r - 1) * 260;
    EXPECT_EQ(GetLE32(h + 0), KgsWordOf(r, 170));  // tracl
    EXPECT_EQ(GetLE32(h + 48), 12);                // sdepth, 12.5 to even
    EXPECT_EQ(GetLE16(h + 114), 5);
    EXPECT_EQ(GetLEFloat(h + 240), -32768.0f);
    EXPECT_EQ(GetLEFloat(h + 244), 32767.0f);
    EXPECT_EQ(GetLEFloat(h + 248), float(r * 100 - 2));
  }
  EXPECT_EQ(ReadBytes(dir / "SHOT.EVD"), file);
}

TEST_F(ConvertTest, KgsIntegerCancelledPromptLongTracesAndACutLastRecord) {
  // 9000 samples is past what 16-bit record sizes allow; the last record
  // stops after 60 % of its samples and still counts.
  std::vector<uint8_t> file;
  for (int r = 1; r <= 3; ++r) KgsRecordNumber(r, 9000, true).AppendTo(file);
  file.resize(file.size() - 7200);
  WriteBytes(dir / "LONG.EVD", file);
  auto s = OpenConvert("KGSI2SU");
  s->Do("answer prompt \"\"\nset Text1 " + Q(dir / "LONG.EVD") + "\nset Text2 " + Q(dir / "LONG.SU") +
        "\nclick Command2\n");
  const auto su = ReadBytes(dir / "LONG.SU");
  ASSERT_EQ(su.size(), 3u * (240 + 36000));
  const uint8_t* last = su.data() + 2 * 36240;
  EXPECT_EQ(GetLE32(last + 48), 0);  // Cancel reads as 0
  EXPECT_EQ(GetLE16(last + 114), 9000);
  EXPECT_EQ(GetLEFloat(last + 240 + 4 * 5399), float(300 - 5399));
  EXPECT_EQ(GetLEFloat(last + 240 + 4 * 5400), 0.0f);
  EXPECT_EQ(GetLEFloat(last + 240 + 4 * 8999), 0.0f);
}

TEST_F(ConvertTest, KgsFloatingToSuKeepsLengthAndSamplesAndRewritesHeaders) {
  std::vector<uint8_t> file;
  for (int r = 1; r <= 4; ++r) {
    KgsRecord rec = KgsRecordNumber(r, 6, false);
    rec.Set(116, 0);  // dt 0 stays 0, whatever the size helpers assume
    rec.AppendTo(file);
  }
  WriteBytes(dir / "LINE.DAT", file);
  WriteText(dir / "LINE.SU", std::string(100000, 'z'));  // deleted first, not written over
  auto s = OpenConvert("KGS2SU");
  const std::string t =
      s->Do("answer prompt -7\nset Text1 " + Q(dir / "LINE.DAT") + "\nset Text2 " + Q(dir / "LINE.SU") + "\nclick Command2\n");
  EXPECT_NE(t.find("default=\"1\" -> \"-7\""), std::string::npos) << t;
  EXPECT_EQ(s->State().SampleInterval, 1);
  const auto su = ReadBytes(dir / "LINE.SU");
  ASSERT_EQ(su.size(), file.size());
  for (int r = 1; r <= 4; ++r) {
    SCOPED_TRACE(r);
    const size_t at = size_t(r - 1) * 264;
    const uint8_t* h = su.data() + at;
    EXPECT_EQ(GetLE32(h + 0), KgsWordOf(r, 172));  // tracl from where ep is
    EXPECT_EQ(GetLE32(h + 48), -7);
    EXPECT_EQ(GetLE16(h + 116), 0);
    EXPECT_EQ(GetLE16(h + 154), 0);  // hcs and beyond: 0
    EXPECT_TRUE(std::equal(su.begin() + std::ptrdiff_t(at + 240), su.begin() + std::ptrdiff_t(at + 264),
                           file.begin() + std::ptrdiff_t(at + 240)));
  }
}

// SU traces for the way to KGS: `records` field records of `channels`
// traces each; tracf runs 1..channels in each record unless flat.
std::vector<uint8_t> SuForKgs(int records, int channels, bool flatTracf, int ns) {
  std::vector<test::SuTrace> su;
  int n = 0;
  for (int r = 1; r <= records; ++r) {
    for (int c = 1; c <= channels; ++c) {
      ++n;
      SuHeader h;
      h.Set("tracl", n);
      h.Set("tracr", 5000 + n);
      h.Set("fldr", 100 + r);
      h.Set("tracf", flatTracf ? 1 : c);
      h.Set("ep", 700 + r);
      h.Set("offset", -30 * c);
      h.Set("gx", 20000 + n);
      h.Set("sdel", -5);
      h.Set("dt", 500);
      h.Set("nhs", 1);
      test::SuTrace tr;
      tr.header.assign(h.Data(), h.Data() + 240);
      for (int k = 0; k < ns; ++k) tr.samples.push_back(float(n) - float(k) / 8);
      su.push_back(tr);
    }
  }
  return test::SuFile(su);
}

const std::string kDataTypePrompt =
    " Data type: 0 = raw field; 1 = CDP gather\r\n2 = CDP stacked; 3 = trace number index\r\n4 = Velocity Scan\r\n";
const std::string kRecordWordPrompt =
    "Trace-header word of record number for this data set:\r\n"
    "8   = common recording charnel number   12 = common depth point\r\n"
    "19 = common offset          86 = commun receiver station number\r\n"
    "87 = common source station number   92 = common source sequence number\r\n";
const std::string kTraceWordPrompt =
    "Trace-header word of trace number within each record\r\n0   = input order of seismic data to be sorted \r\n";
const std::string kDirectionPrompt = " Trace direction 1=ascending -1= descending";

std::string PromptLine(const std::string& prompt, const std::string& def, const std::string& answer) {
  return transcript::Prompt(prompt, "Enter Values not available in SU header", def, answer) + "\n";
}

TEST_F(ConvertTest, SuToKgsAsksThreeOrFourAndWritesTheTableWords) {
  for (const bool flat : {false, true}) {
    SCOPED_TRACE(flat ? "no channel count" : "24 channels");
    const auto input = SuForKgs(2, 24, flat, 10);
    WriteBytes(dir / "IN.SU", input);
    WriteText(dir / "IN.DAT", std::string(50000, 'z'));  // replaced whole
    auto s = OpenConvert("SU2KGS");
    const std::string t = s->Do(std::string(flat ? "answer prompt 3\n" : "") +
                                "answer prompt 8\nanswer prompt \"\"\nanswer prompt -1.5\nset Text1 " +
                                Q(dir / "IN.SU") + "\nset Text2 " + Q(dir / "IN.DAT") + "\nclick Command2\n");
    std::string expected = flat ? PromptLine(kDataTypePrompt, "2", "3") : "";
    expected += PromptLine(kRecordWordPrompt, "12", "8") + PromptLine(kTraceWordPrompt, "0", "") +
                PromptLine(kDirectionPrompt, "1", "-1.5") + transcript::Message("Conversion OK", 64, kTitle, 1) +
                "\nclosed Convert\n";
    EXPECT_EQ(t, expected);
    const auto kgs = ReadBytes(dir / "IN.DAT");
    ASSERT_EQ(kgs.size(), input.size());
    for (int n = 1; n <= 48; ++n) {
      SCOPED_TRACE(n);
      const size_t at = size_t(n - 1) * 280;
      const uint8_t* h = kgs.data() + at;
      // The SU words' places are the format's business (kgs_test); here:
      // the answers, the channel count and the trace number.
      EXPECT_EQ(GetLE16(h + 0), flat ? 3 : 0);
      EXPECT_EQ(GetLE16(h + 2), flat ? 0 : 24);
      EXPECT_EQ(GetLE16(h + 4), 8);
      EXPECT_EQ(GetLE16(h + 6), 0);
      EXPECT_EQ(GetLE16(h + 8), -2);  // -1.5 to even
      EXPECT_EQ(GetLE16(h + 22), n);
      EXPECT_EQ(GetLE16(h + 26), flat ? 1 : (n - 1) % 24 + 1);
      EXPECT_EQ(GetLE16(h + 118), 21930);
      EXPECT_TRUE(std::equal(kgs.begin() + std::ptrdiff_t(at + 240), kgs.begin() + std::ptrdiff_t(at + 280),
                             input.begin() + std::ptrdiff_t(at + 240)));
    }
  }
  // Nothing is left beside the output.
  size_t files = 0;
  for ([[maybe_unused]] const auto& e : fs::directory_iterator(dir.Path())) ++files;
  EXPECT_EQ(files, 2u);
}

TEST_F(ConvertTest, SuToKgsAndBackIsNotTheIdentity) {
  WriteBytes(dir / "A.SU", SuForKgs(1, 24, false, 4));
  OpenConvert("SU2KGS")->Do("set Text1 " + Q(dir / "A.SU") + "\nset Text2 " + Q(dir / "A.DAT") + "\nclick Command2\n");
  OpenConvert("KGS2SU")->Do("answer prompt 0\nset Text1 " + Q(dir / "A.DAT") + "\nset Text2 " + Q(dir / "B.SU") +
                            "\nclick Command2\n");
  const auto before = test::ReadSu(dir / "A.SU");
  const auto after = test::ReadSu(dir / "B.SU");
  ASSERT_EQ(after.size(), 24u);
  for (size_t n = 0; n < 24; ++n) {
    const uint8_t* a = before[n].header.data();
    const uint8_t* b = after[n].header.data();
    EXPECT_EQ(GetLE32(b + 0), GetLE32(a + 16));  // tracl comes back from where ep went
    EXPECT_EQ(GetLE32(b + 8), 0);                // fldr went to offset 10, comes from 12
    EXPECT_EQ(GetLE32(b + 4), 0);                // tracr went to 182, comes from 184
    EXPECT_EQ(GetLE32(b + 12), GetLE32(a + 12)); // tracf makes it
    EXPECT_EQ(GetLE32(b + 16), GetLE32(a + 16)); // ep makes it
    EXPECT_EQ(GetLE32(b + 56), GetLE32(a + 52)); // sdel comes from gdel's word
    EXPECT_EQ(GetLE32(b + 80), GetLE32(a + 80)); // gx went to 70 ...
    EXPECT_EQ(GetLE16(b + 70), GetLE32(a + 80)); // ... and comes back as scalco too
    EXPECT_EQ(GetLE16(b + 118), 3);              // gain
    EXPECT_EQ(after[n].samples, before[n].samples);
  }
}

TEST_F(ConvertTest, SuToKgsFailureLeavesTheOutputAsItWas) {
  auto input = SuForKgs(1, 24, false, 4);
  // Trace 3's gx is beyond 16 bits.
  PutLE32(input.data() + 2 * 256 + 80, 40000);
  WriteBytes(dir / "F.SU", input);
  for (const bool existed : {true, false}) {
    SCOPED_TRACE(existed ? "output there" : "no output");
    if (existed) WriteText(dir / "F.DAT", "an older file");
    auto s = OpenConvert("SU2KGS");
    const std::string t = s->Do("set Text1 " + Q(dir / "F.SU") + "\nset Text2 " + Q(dir / "F.DAT") + "\nclick Command2\n");
    EXPECT_EQ(t.substr(t.rfind("\n", t.size() - 2) + 1), transcript::Message("File conversion error", 0, "", 1) + "\n");
    EXPECT_TRUE(s->GetSession().IsShown("Convert"));
    if (existed) {
      EXPECT_EQ(ReadText(dir / "F.DAT"), "an older file");
      fs::remove(dir / "F.DAT");
    } else {
      EXPECT_FALSE(fs::exists(dir / "F.DAT"));
    }
    EXPECT_EQ(ReadBytes(dir / "F.SU"), input);
  }
  // A prompt's answer beyond 16 bits fails the same way, before any copy.
  WriteBytes(dir / "G.SU", SuForKgs(1, 24, false, 4));
  auto s = OpenConvert("SU2KGS");
  const std::string t = s->Do("answer prompt 70000\nset Text1 " + Q(dir / "G.SU") + "\nset Text2 " +
                              Q(dir / "G.DAT") + "\nclick Command2\n");
  EXPECT_EQ(t, PromptLine(kRecordWordPrompt, "12", "70000") + transcript::Message("File conversion error", 0, "", 1) + "\n");
  EXPECT_FALSE(fs::exists(dir / "G.DAT"));
  size_t files = 0;
  for ([[maybe_unused]] const auto& e : fs::directory_iterator(dir.Path())) ++files;
  EXPECT_EQ(files, 2u);  // F.SU and G.SU
}

// Answers messages at once, but first fires the panel's Timer1 as the
// screen would while "Conversion OK" stands, and notes what it closed.
class TimedPlatform : public HeadlessPlatform {
 public:
  int MessageBox(const std::string& text, int buttonsCode, const std::string& title) override {
    if (text == "Conversion OK" && session != nullptr) {
      if (Form* form = session->Find("Convert")) {
        Control& timer = (*form)["Timer1"];
        timerWhileShown = timer.Enabled() && timer.Interval() == 3000;
        form->Raise("Timer1", "Timer");
        timerAfterTick = timer.Enabled();
      }
    }
    return HeadlessPlatform::MessageBox(text, buttonsCode, title);
  }
  void CloseMessageNamed(const std::string& title) override { closed.push_back(title); }
  Session* session = nullptr;
  bool timerWhileShown = false;
  bool timerAfterTick = true;
  std::vector<std::string> closed;
};

TEST_F(ConvertTest, Timer1TakesTheMessageOffByItsTitle) {
  std::vector<uint8_t> file;
  KgsRecordNumber(1, 3, true).AppendTo(file);
  WriteBytes(dir / "T.EVD", file);
  TimedPlatform platform;
  SharedState state;
  Session session(platform, state);
  platform.session = &session;
  ScriptRunner runner(session, platform.Answers(), [](const std::string&) {});
  runner.Run(ParseScript("open MainPanel\nclick Option3\nuse Convert\nshow Timer1\ntick Timer1\nset Text1 " +
                         Q(dir / "T.EVD") + "\nset Text2 " + Q(dir / "T.SU") + "\nclick Command2\n"));
  EXPECT_TRUE(platform.timerWhileShown);
  EXPECT_FALSE(platform.timerAfterTick);
  EXPECT_EQ(platform.closed, std::vector<std::string>{kTitle});  // the disabled tick closed nothing
  EXPECT_FALSE(session.IsShown("Convert"));
  EXPECT_EQ(ReadBytes(dir / "T.SU").size(), 240u + 12);
}

}  // namespace
}  // namespace vexmor
