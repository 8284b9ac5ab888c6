// Our SU tools on damaged input and bad parameters: a trace cut short is
// padded to the length its stream has, said, and ends the tool with status
// 1 while everything readable is written; a number parameter outside its
// field is refused by name; a failed write names the file that failed.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "core/byte_order.h"
#include "core/su_trace.h"
#include "test_util.h"
#include "tools_helpers.h"

namespace vexmor::test {
namespace {

std::string Tool(const std::string& name) { return "'" + Bin(name) + "' "; }

// A big-endian SEG-Y rev 1 file of int16 samples (format 3): trace t,
// sample i holds 100 t + i. `headerNs` goes into every trace header.
std::vector<uint8_t> SegyInt16(int ns, int traces, int binaryNs, int headerNs) {
  std::vector<uint8_t> f(3600, 0x40);  // EBCDIC blanks
  std::fill(f.begin() + 3200, f.end(), 0);
  PutBE16u(f.data() + 3200 + 16, 500);  // dt
  PutBE16u(f.data() + 3200 + 20, uint16_t(binaryNs));
  PutBE16u(f.data() + 3200 + 24, 3);
  f[3200 + 300] = 1;  // rev 1
  for (int t = 0; t < traces; ++t) {
    std::vector<uint8_t> th(240, 0);
    PutBE32u(th.data(), uint32_t(t + 1));  // tracl
    PutBE16u(th.data() + 114, uint16_t(headerNs));
    f.insert(f.end(), th.begin(), th.end());
    for (int i = 0; i < ns; ++i) {
      uint8_t s[2];
      PutBE16u(s, uint16_t(100 * t + i));
      f.insert(f.end(), s, s + 2);
    }
  }
  return f;
}

// An SU stream of `traces` traces of ns samples: trace t, sample i = t + i/8.
std::vector<uint8_t> SuStream(int ns, int traces) {
  std::vector<SuTrace> list;
  for (int t = 0; t < traces; ++t) {
    SuTrace tr;
    tr.header.assign(240, 0);
    PutLE32(tr.header.data(), t + 1);
    PutLE16(tr.header.data() + 116, 250);
    for (int i = 0; i < ns; ++i) tr.samples.push_back(float(t) + float(i) / 8);
    list.push_back(tr);
  }
  return SuFile(list);
}

size_t SuBytes(int ns) { return 240 + 4 * size_t(ns); }

bool Says(const ToolRun& run, const std::string& text) { return run.err.find(text) != std::string::npos; }

TEST(ToolsDamagedInput, NumberParametersOutsideTheirFieldAreRefusedByName) {
  TempDir dir;
  WriteBytes(dir / "in.sgy", SegyInt16(8, 2, 8, 8));
  WriteBytes(dir / "in.su", SuStream(8, 2));
  WriteBytes(dir / "in.sgd", std::vector<uint8_t>(64, 0));
  struct Case {
    std::string command;  // tool and parameters
    std::string said;
  };
  const std::vector<Case> cases = {
      // 4294967301 is 2^32 + 5: it once read as format 5.
      {"segyread tape=gone.sgy over=1 format=4294967301",
       "format=4294967301 is out of range: format takes -32768 to 32767"},
      {"segyread tape=in.sgy over=1 format=99999999999", "format=99999999999 is out of range"},
      {"segyread tape=in.sgy over=1 format=-99999999999999999999999",
       "format=-99999999999999999999999 is out of range"},
      {"segyread tape=in.sgy ns=65536", "ns=65536 is out of range: ns takes 0 to 65535"},
      {"segyread tape=in.sgy ns=-1", "ns=-1 is out of range"},
      {"segyread tape=in.sgy trmin=0", "trmin=0 is out of range: trmin takes 1 to"},
      {"segyread tape=in.sgy trmax=99999999999999999999", "trmax=99999999999999999999 is out of range"},
      {"segyread tape=in.sgy conv=2", "conv=2 is out of range: conv takes 0 to 1"},
      {"segyread tape=in.sgy endian=4294967296", "endian=4294967296 is out of range"},
      {"segyread tape=in.sgy over=12x", "bad value for over: '12x'"},
      {"segyhdrs ns=70000 dt=100 < in.su", "ns=70000 is out of range"},
      {"segyhdrs ns=10 dt=65536 < in.su", "dt=65536 is out of range: dt takes 0 to 65535"},
      {"segywrite tape=out.sgy endian=2 < in.su", "endian=2 is out of range"},
      {"segywrite tape=out.sgy errmax=4294967296 < in.su", "errmax=4294967296 is out of range"},
      {"segdread tape=in.sgd aux=-1", "aux=-1 is out of range"},
  };
  for (const Case& c : cases) {
    std::filesystem::remove(dir / "header");
    const size_t gap = c.command.find(' ');
    const ToolRun run = RunIn(dir.Str(), Tool(c.command.substr(0, gap)) + c.command.substr(gap + 1) + " > out.su");
    EXPECT_EQ(run.status, 1) << c.command;
    EXPECT_TRUE(Says(run, c.said)) << c.command << ": " << run.err;
    EXPECT_TRUE(Says(run, "--help shows the usage")) << run.err;
    // Refused before anything is read or written.
    EXPECT_FALSE(std::filesystem::exists(dir / "header")) << c.command;
  }
  // Inside the range all is well, and ns=0 still leaves the count to the
  // headers (the SEGY panel's probe passes "ns= 0").
  const ToolRun probe =
      RunIn(dir.Str(), Tool("segyread") + "tape=in.sgy endian=0 conv=1 over=0 trmax=1 ns= 0 > out.su");
  EXPECT_EQ(probe.status, 0) << probe.err;
  const auto su = ReadSu(dir / "out.su");
  ASSERT_EQ(su.size(), 1u);
  EXPECT_EQ(su[0].samples.size(), 8u);
}

TEST(ToolsDamagedInput, SegyreadSaysWhichHeaderGaveTheCount) {
  TempDir dir;
  // Binary header without a count: the first trace header gives it.
  WriteBytes(dir / "trace-ns.sgy", SegyInt16(6, 3, 0, 6));
  ToolRun run = RunIn(dir.Str(), Tool("segyread") + "tape=trace-ns.sgy ns=0 > out.su");
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(ReadSu(dir / "out.su").size(), 3u);

  // Neither gives one: that is said, and ns= is the way out.
  WriteBytes(dir / "none.sgy", SegyInt16(6, 3, 0, 0));
  run = RunIn(dir.Str(), Tool("segyread") + "tape=none.sgy ns=0 > out.su");
  EXPECT_EQ(run.status, 1);
  EXPECT_TRUE(Says(run, "none.sgy: no samples per trace in the binary header nor in the first trace header; give ns="))
      << run.err;
  run = RunIn(dir.Str(), Tool("segyread") + "tape=none.sgy ns=6 > out.su");
  EXPECT_EQ(run.status, 0) << run.err;

  // Rev 2 with a 32-bit count too large for SU: the header is blamed, not ns=.
  auto big = SegyInt16(6, 1, 0, 6);
  big[3200 + 300] = 2;
  PutBE32u(big.data() + 3200 + 68, 100000);
  WriteBytes(dir / "rev2.sgy", big);
  run = RunIn(dir.Str(), Tool("segyread") + "tape=rev2.sgy > out.su");
  EXPECT_EQ(run.status, 1);
  EXPECT_TRUE(Says(run, "rev2.sgy: the binary header's 32-bit count gives 100000 samples per trace, more than an SU "
                        "trace holds (65535)"))
      << run.err;
  EXPECT_FALSE(Says(run, "ns=100000")) << run.err;
}

TEST(ToolsDamagedInput, SegyreadPadsACutTraceAndSaysATraceHeaderThatDisagrees) {
  TempDir dir;
  constexpr int kNs = 10;
  const auto whole = SegyInt16(kNs, 3, kNs, kNs);
  const size_t traceBytes = 240 + 2 * kNs;

  // Cut inside the samples of trace 3: 4 of its 20 sample bytes are there.
  WriteBytes(dir / "cut.sgy", std::vector<uint8_t>(whole.begin(), whole.end() - 16));
  ToolRun run = RunIn(dir.Str(), Tool("segyread") + "tape=cut.sgy > out.su");
  EXPECT_EQ(run.status, 1);
  EXPECT_TRUE(Says(run, "cut.sgy: trace 3 is cut short (4 of 20 sample bytes): padded with zeros")) << run.err;
  auto out = ReadBytes(dir / "out.su");
  ASSERT_EQ(out.size(), 3 * SuBytes(kNs));
  const uint8_t* third = out.data() + 2 * SuBytes(kNs);
  EXPECT_EQ(GetLE16(third + 114), kNs);
  EXPECT_EQ(GetLEFloat(third + 240 + 4 * 1), 201.0f);
  EXPECT_EQ(GetLEFloat(third + 240 + 4 * 2), 0.0f);
  EXPECT_EQ(GetLEFloat(third + 240 + 4 * 9), 0.0f);

  // Cut inside the header of trace 3: not written, said.
  WriteBytes(dir / "head.sgy", std::vector<uint8_t>(whole.begin(), whole.begin() + 3600 + 2 * traceBytes + 100));
  run = RunIn(dir.Str(), Tool("segyread") + "tape=head.sgy > out.su");
  EXPECT_EQ(run.status, 1);
  EXPECT_TRUE(Says(run, "head.sgy: trace 3 is cut short in its header (100 of 240 bytes): not written")) << run.err;
  EXPECT_EQ(ReadBytes(dir / "out.su").size(), 2 * SuBytes(kNs));

  // Trace 2's header says 7 samples where the file says 10: read at the
  // file's length (every SU trace says 10), but said, and status 1.
  auto odd = whole;
  PutBE16u(odd.data() + 3600 + traceBytes + 114, 7);
  WriteBytes(dir / "odd.sgy", odd);
  run = RunIn(dir.Str(), Tool("segyread") + "tape=odd.sgy > out.su");
  EXPECT_EQ(run.status, 1);
  EXPECT_TRUE(Says(run, "odd.sgy: trace 2 says 7 samples in its header, the file 10")) << run.err;
  out = ReadBytes(dir / "out.su");
  ASSERT_EQ(out.size(), 3 * SuBytes(kNs));
  for (int t = 0; t < 3; ++t) EXPECT_EQ(GetLE16(out.data() + t * SuBytes(kNs) + 114), kNs);
  // A header that leaves its count at 0 is usual and says nothing.
  auto zero = whole;
  PutBE16u(zero.data() + 3600 + traceBytes + 114, 0);
  WriteBytes(dir / "zero.sgy", zero);
  run = RunIn(dir.Str(), Tool("segyread") + "tape=zero.sgy > out.su");
  EXPECT_EQ(run.status, 0) << run.err;
}

TEST(ToolsDamagedInput, SuToolsPadAStreamCutMidTrace) {
  TempDir dir;
  constexpr int kNs = 6;
  auto stream = SuStream(kNs, 3);
  stream.resize(stream.size() - 12);  // trace 3 keeps 12 of its 24 sample bytes
  WriteBytes(dir / "cut.su", stream);

  // segyclean: three traces out, the third padded.
  ToolRun run = RunIn(dir.Str(), Tool("segyclean") + "< cut.su > clean.su");
  EXPECT_EQ(run.status, 1);
  EXPECT_TRUE(Says(run, "trace 3 is cut short (12 of 24 sample bytes): padded with zeros")) << run.err;
  auto out = ReadBytes(dir / "clean.su");
  ASSERT_EQ(out.size(), 3 * SuBytes(kNs));
  EXPECT_EQ(GetLEFloat(out.data() + 2 * SuBytes(kNs) + 240 + 4 * 2), 2.25f);
  EXPECT_EQ(GetLEFloat(out.data() + 2 * SuBytes(kNs) + 240 + 4 * 3), 0.0f);

  // segyhdrs, from a file and from a pipe: headers written, the cut said.
  run = RunIn(dir.Str(), Tool("segyhdrs") + "< cut.su");
  EXPECT_EQ(run.status, 1);
  EXPECT_TRUE(Says(run, "cut.su): trace 3 is cut short (12 of 24 sample bytes)")) << run.err;
  EXPECT_EQ(ReadBytes(dir / "binary").size(), 400u);
  EXPECT_EQ(GetLE16(ReadBytes(dir / "binary").data() + 20), kNs);
  run = RunIn(dir.Str(), "cat cut.su | " + Tool("segyhdrs") + "hfile=h2 bfile=b2");
  EXPECT_EQ(run.status, 1);
  EXPECT_TRUE(Says(run, "standard input: trace 3 is cut short (12 of 24 sample bytes)")) << run.err;
  EXPECT_EQ(ReadBytes(dir / "b2").size(), 400u);
  // Given ns and dt, the file is still checked.
  run = RunIn(dir.Str(), Tool("segyhdrs") + "ns=6 dt=250 < cut.su");
  EXPECT_EQ(run.status, 1);
  // A whole stream is quiet.
  WriteBytes(dir / "whole.su", SuStream(kNs, 3));
  run = RunIn(dir.Str(), Tool("segyhdrs") + "< whole.su");
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.err, "");

  // segywrite: a SEG-Y of three whole traces, the last padded.
  run = RunIn(dir.Str(), Tool("segywrite") + "tape=out.sgy conv=0 < cut.su");
  EXPECT_EQ(run.status, 1);
  EXPECT_TRUE(Says(run, "cut.su): trace 3 is cut short (12 of 24 sample bytes): padded with zeros")) << run.err;
  out = ReadBytes(dir / "out.sgy");
  ASSERT_EQ(out.size(), 3600 + 3 * SuBytes(kNs));
  const uint8_t* third = out.data() + 3600 + 2 * SuBytes(kNs);
  EXPECT_EQ(GetBE16u(third + 114), kNs);
  EXPECT_EQ(BitsFloat(GetBE32u(third + 240 + 4 * 2)), 2.25f);
  EXPECT_EQ(BitsFloat(GetBE32u(third + 240 + 4 * 3)), 0.0f);

  // Cut inside a header: that trace is not written by any of them.
  stream = SuStream(kNs, 3);
  stream.resize(2 * SuBytes(kNs) + 100);
  WriteBytes(dir / "head.su", stream);
  run = RunIn(dir.Str(), Tool("segyclean") + "< head.su > clean.su");
  EXPECT_EQ(run.status, 1);
  EXPECT_TRUE(Says(run, "trace 3 is cut short in its header (100 of 240 bytes): not written")) << run.err;
  EXPECT_EQ(ReadBytes(dir / "clean.su").size(), 2 * SuBytes(kNs));
  run = RunIn(dir.Str(), Tool("segywrite") + "tape=out.sgy < head.su");
  EXPECT_EQ(run.status, 1);
  EXPECT_TRUE(Says(run, "trace 3 is cut short in its header (100 of 240 bytes): not written")) << run.err;
  EXPECT_EQ(ReadBytes(dir / "out.sgy").size(), 3600 + 2 * SuBytes(kNs));
}

TEST(ToolsDamagedInput, AFailedWriteNamesTheFileAndTheCause) {
  TempDir dir;
  WriteBytes(dir / "in.su", SuStream(50, 4));
  WriteBytes(dir / "in.sgy", SegyInt16(50, 4, 50, 50));
  ToolRun run = RunIn(dir.Str(), Tool("segyhdrs") + "< in.su");
  ASSERT_EQ(run.status, 0) << run.err;

  // The tape's disk is full: the tape is named, not standard output.
  run = RunIn(dir.Str(), Tool("segywrite") + "tape=/dev/full < in.su");
  EXPECT_EQ(run.status, 1);
  EXPECT_TRUE(Says(run, "segywrite: /dev/full: cannot write: No space left on device")) << run.err;
  EXPECT_FALSE(Says(run, "standard output")) << run.err;

  // Standard output on a full disk.
  run = RunIn(dir.Str(), Tool("segyread") + "tape=in.sgy > /dev/full");
  EXPECT_EQ(run.status, 1);
  EXPECT_TRUE(Says(run, "segyread: standard output: cannot write: No space left on device")) << run.err;
  run = RunIn(dir.Str(), Tool("segyclean") + "< in.su > /dev/full");
  EXPECT_TRUE(Says(run, "segyclean: standard output: cannot write: No space left on device")) << run.err;

  // The reel headers of segyhdrs: each named.
  run = RunIn(dir.Str(), Tool("segyhdrs") + "hfile=/dev/full < in.su");
  EXPECT_EQ(run.status, 1);
  EXPECT_TRUE(Says(run, "segyhdrs: /dev/full: cannot write: No space left on device")) << run.err;

  // The batch runner's copy on a full disk says so.
  WriteText(dir / "join.bat", "copy /b in.su+in.su /dev/full\r\n");
  run = RunIn(dir.Str(), "'" + Bin("vexmor-bat") + "' join.bat > bat.out");
  EXPECT_EQ(run.status, 1);
  EXPECT_TRUE(Says(run, "copy: /dev/full: cannot write: No space left on device")) << run.err;
  std::filesystem::create_directory(dir / "folder");

  // A read that fails names what was read: a folder as standard input.
  run = RunIn(dir.Str(), Tool("segyclean") + "< folder > out.su");
  EXPECT_EQ(run.status, 1);
  EXPECT_TRUE(Says(run, "standard input: cannot read: Is a directory")) << run.err;
  run = RunIn(dir.Str(), Tool("segywrite") + "tape=out.sgy < folder");
  EXPECT_EQ(run.status, 1);
  EXPECT_TRUE(Says(run, "standard input: cannot read: Is a directory")) << run.err;
  EXPECT_FALSE(Says(run, "out.sgy: standard input")) << run.err;
}

}  // namespace
}  // namespace vexmor::test
