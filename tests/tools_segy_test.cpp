// SEG-Y through our tools, checked against segyio: files written with segyio
// in every sample format and both byte orders go through
// "SEGYREAD ... | SEGYCLEAN >out.su" in a job script; SU files go to SEG-Y
// through segyhdrs + copy and segyhdrs + segywrite and are read back.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

#include "core/byte_order.h"
#include "core/su_trace.h"
#include "test_util.h"
#include "tools_helpers.h"

#ifdef VEXMOR_HAVE_SEGYIO
#include <segyio/segy.h>
#endif

namespace vexmor::test {
namespace {

int BytesOf(int format) {
  switch (format) {
    case 3: case 11: return 2;
    case 6: case 9: case 12: return 8;
    case 7: case 15: return 3;
    case 8: case 16: return 1;
    default: return 4;
  }
}

// A value of trace t, sample i that the format holds, and what a float of it is.
double ValueFor(int format, int t, int i) {
  const double k = (i * 7919 + t * 104729) % 1000 - 500;
  switch (format) {
    case 1: return i == 3 ? std::ldexp(1.5, 33) : i == 4 ? -3.0517578125e-05 : k * 0.375 * (t + 1);
    case 2: return i == 0 ? -2147483648.0 : i == 1 ? 2147483647.0 : k * 1234567;
    case 3: return i == 0 ? -32768 : i == 1 ? 32767 : k * 61;
    case 5: return i == 0 ? 1e-40 : i == 1 ? -3.4e38 : k * 0.123;
    case 6: return i == 0 ? 1e300 : i == 1 ? 1.0 / 3 : k * 1e-7;
    case 7: return i == 0 ? -8388608 : i == 1 ? 8388607 : k * 16001;
    case 8: return i == 0 ? -128 : i == 1 ? 127 : std::fmod(k, 128);
    case 9: return i == 0 ? -9.2233720368547758e18 : k * 1e15;
    case 10: return i == 0 ? 4294967295.0 : (k + 500) * 4000000;
    case 11: return i == 0 ? 65535 : (k + 500) * 65;
    case 12: return i == 0 ? 18446744073709549568.0 : (k + 500) * 1e16;
    case 15: return i == 0 ? 16777215 : (k + 500) * 16000;
    case 16: return i == 0 ? 255 : std::fmod(k + 500, 256);
  }
  return 0;
}

float ExpectedFloat(int format, double v) {
  if (format == 6 && std::fabs(v) > std::numeric_limits<float>::max()) {
    return v > 0 ? std::numeric_limits<float>::infinity() : -std::numeric_limits<float>::infinity();
  }
  return static_cast<float>(v);
}

// The sample's bytes, big-endian.
std::vector<uint8_t> EncodeBE(int format, double v) {
  uint64_t bits = 0;
  switch (format) {
    case 1: bits = IbmOf(v); break;
    case 5: bits = FloatBits(static_cast<float>(v)); break;
    case 6: bits = std::bit_cast<uint64_t>(v); break;
    case 9: bits = static_cast<uint64_t>(static_cast<int64_t>(v)); break;
    case 12: bits = static_cast<uint64_t>(v); break;
    default: bits = static_cast<uint64_t>(static_cast<int64_t>(v)); break;
  }
  const int w = BytesOf(format);
  std::vector<uint8_t> out(static_cast<size_t>(w));
  for (int b = 0; b < w; ++b) out[size_t(b)] = uint8_t(bits >> (8 * (w - 1 - b)));
  return out;
}

const int kFormats[] = {1, 2, 3, 5, 6, 7, 8, 9, 10, 11, 12, 15, 16};
constexpr int kNs = 37;
constexpr int kTraces = 5;
constexpr int kDt = 500;

std::string TextHeaderText() {
  std::string text;
  for (int line = 1; line <= 40; ++line) {
    std::string l = "C" + std::string(line < 10 ? " " : "") + std::to_string(line) + " LINE 7, SHOT (12) AT 3.5 M; +/-";
    l.resize(80, ' ');
    text += l;
  }
  return text;
}

#ifdef VEXMOR_HAVE_SEGYIO

int Order(bool lsb) { return lsb ? int(SEGY_LSB) : int(SEGY_MSB); }

// Header value of a SEG-Y trace header word: distinct per word and trace.
int32_t WordValue(const SuWord& w, int t) {
  if (w.name == "ns") return kNs;
  if (w.name == "dt") return kDt;
  if (w.width == 2) return static_cast<int16_t>(w.number * 311 + t * 7 - 9000);
  return -(w.number * 1000003 + t * 17);
}

// Writes a SEG-Y file with segyio: headers through a handle that knows the
// byte order, samples as raw bytes in file order.
void WriteSegy(const std::string& path, int format, bool lsb, int revision = 1) {
  const int w = BytesOf(format);
  {
    segy_file* fp = segy_open(path.c_str(), "w+b");
    ASSERT_NE(fp, nullptr);
    ASSERT_EQ(segy_set_format(fp, int(SEGY_IBM_FLOAT_4_BYTE) | Order(lsb)), SEGY_OK);
    std::string text = TextHeaderText();
    ASSERT_EQ(segy_write_textheader(fp, 0, text.c_str()), SEGY_OK);
    char bin[400] = {};
    segy_set_bfield(bin, SEGY_BIN_INTERVAL, kDt);
    segy_set_bfield(bin, SEGY_BIN_SAMPLES, kNs);
    segy_set_bfield(bin, SEGY_BIN_FORMAT, format);
    // Major revision in byte 3501 whichever the byte order.
    segy_set_bfield(bin, SEGY_BIN_SEGY_REVISION, lsb ? revision : revision << 8);
    ASSERT_EQ(segy_write_binheader(fp, bin), SEGY_OK);
    for (int t = 0; t < kTraces; ++t) {
      char th[240] = {};
      for (const auto& word : SuWords()) {
        if (word.offset >= 180) break;
        ASSERT_EQ(segy_set_field(th, word.offset + 1, WordValue(word, t)), SEGY_OK) << word.name;
      }
      segy_set_field(th, SEGY_TR_CDP_X, 1234567 + t);
      segy_set_field(th, SEGY_TR_UNASSIGNED2, 7654321 + t);
      ASSERT_EQ(segy_write_traceheader(fp, t, th, 3600, kNs * w), SEGY_OK);
    }
    segy_close(fp);
  }
  // Samples in file order: through segyio for the formats it knows (which
  // then leaves the bytes as they are), as plain bytes for the others.
  const bool known = format == 1 || format == 2 || format == 3 || format == 5 || format == 8;
  segy_file* fp = known ? segy_open(path.c_str(), "r+b") : nullptr;
  if (known) {
    ASSERT_NE(fp, nullptr);
    ASSERT_EQ(segy_set_format(fp, format | int(SEGY_MSB)), SEGY_OK);
  }
  std::fstream raw(path, std::ios::in | std::ios::out | std::ios::binary);
  for (int t = 0; t < kTraces; ++t) {
    std::vector<uint8_t> data;
    for (int i = 0; i < kNs; ++i) {
      auto s = EncodeBE(format, ValueFor(format, t, i));
      if (lsb) std::reverse(s.begin(), s.end());
      data.insert(data.end(), s.begin(), s.end());
    }
    if (known) {
      ASSERT_EQ(segy_writetrace(fp, t, data.data(), 3600, kNs * w), SEGY_OK);
    } else {
      raw.seekp(3600 + t * (240 + kNs * w) + 240);
      raw.write(reinterpret_cast<const char*>(data.data()), std::streamsize(data.size()));
    }
  }
  if (known) segy_close(fp);
}

struct SegyRead {
  std::vector<std::vector<int32_t>> words;  // per trace, SU words 1..71
  std::vector<std::vector<float>> samples;  // for the formats segyio decodes
};

// What segyio reads of the file: header words, and samples of 1, 2, 3, 5, 8.
SegyRead ReadWithSegyio(const std::string& path, int format, bool lsb) {
  SegyRead r;
  segy_file* fp = segy_open(path.c_str(), "rb");
  EXPECT_NE(fp, nullptr);
  if (fp == nullptr) return r;
  const bool known = format == 1 || format == 2 || format == 3 || format == 5 || format == 8;
  segy_set_format(fp, (known ? format : 1) | Order(lsb));
  const int bsize = kNs * BytesOf(format);
  for (int t = 0; t < kTraces; ++t) {
    char th[240];
    EXPECT_EQ(segy_traceheader(fp, t, th, 3600, bsize), SEGY_OK);
    std::vector<int32_t> words;
    for (const auto& word : SuWords()) {
      if (word.offset >= 180) break;
      int32_t v = 0;
      segy_get_field(th, word.offset + 1, &v);
      words.push_back(v);
    }
    r.words.push_back(words);
    if (!known) continue;
    std::vector<uint8_t> raw(static_cast<size_t>(bsize));
    EXPECT_EQ(segy_readtrace(fp, t, raw.data(), 3600, bsize), SEGY_OK);
    segy_to_native(format, kNs, raw.data());
    std::vector<float> s;
    for (int i = 0; i < kNs; ++i) {
      const uint8_t* p = raw.data() + i * BytesOf(format);
      switch (format) {
        case 1: case 5: { float f; std::memcpy(&f, p, 4); s.push_back(f); break; }
        case 2: { int32_t v; std::memcpy(&v, p, 4); s.push_back(float(v)); break; }
        case 3: { int16_t v; std::memcpy(&v, p, 2); s.push_back(float(v)); break; }
        case 8: s.push_back(float(static_cast<int8_t>(p[0]))); break;
      }
    }
    r.samples.push_back(s);
  }
  segy_close(fp);
  return r;
}

std::string Dir() { return std::string(VEXMOR_BIN_DIR) + "/"; }

void ExpectSameTraces(const std::vector<SuTrace>& su, const SegyRead& ref, int format, const std::string& sgy,
                      bool lsb, bool cleaned) {
  ASSERT_EQ(su.size(), size_t(kTraces));
  const auto raw = ReadBytes(sgy);
  const int traceBytes = 240 + kNs * BytesOf(format);
  for (int t = 0; t < kTraces; ++t) {
    const auto& h = su[size_t(t)].header;
    size_t k = 0;
    for (const auto& word : SuWords()) {
      if (word.offset >= 180) break;
      const int32_t want = ref.words[size_t(t)][k++];
      // segyio 1.8 takes bytes 61-64 (water depth at source) as a 2-byte word.
      if (word.name == "swdep") continue;
      EXPECT_EQ(int32_t(GetWord(h.data(), word)), want) << word.name << " trace " << t;
    }
    for (int b = 180; b < 210; ++b) {
      const uint8_t want = cleaned ? 0 : raw[size_t(3600 + t * traceBytes + b)];
      ASSERT_EQ(h[size_t(b)], want) << "byte " << b;
    }
    for (int b = 210; b < 240; ++b) ASSERT_EQ(h[size_t(b)], raw[size_t(3600 + t * traceBytes + b)]) << "byte " << b;
    ASSERT_EQ(su[size_t(t)].samples.size(), size_t(kNs));
    for (int i = 0; i < kNs; ++i) {
      const float want = ExpectedFloat(format, ValueFor(format, t, i));
      const float got = su[size_t(t)].samples[size_t(i)];
      EXPECT_EQ(FloatBits(got), FloatBits(want)) << "format " << format << (lsb ? " LE" : " BE") << " trace " << t
                                                   << " sample " << i << ": " << got << " vs " << want;
      if (!ref.samples.empty()) {
        EXPECT_EQ(FloatBits(got), FloatBits(ref.samples[size_t(t)][size_t(i)]));
      }
    }
  }
}

TEST(ToolsSegyRead, EveryFormatBothOrdersThroughTheJobScript) {
  TempDir dir;
  for (const int format : kFormats) {
    for (const bool lsb : {false, true}) {
      SCOPED_TRACE("format " + std::to_string(format) + (lsb ? " little-endian" : " big-endian"));
      const std::string sgy = dir / ("in" + std::to_string(format) + (lsb ? "le" : "be") + ".sgy");
      WriteSegy(sgy, format, lsb);
      const SegyRead ref = ReadWithSegyio(sgy, format, lsb);
      // The line as the SEG-Y job writes it: capitals, folder in front.
      const std::string line = Dir() + "SEGYREAD tape=" + sgy + (lsb ? " endian=1 | " : " endian=0 | ") + Dir() +
                               "SEGYCLEAN >" + dir / "out.su" + "\r\n";
      const ToolRun run = RunBat(dir.Str(), line);
      ASSERT_EQ(run.status, 0) << run.err;
      ExpectSameTraces(ReadSu(dir / "out.su"), ref, format, sgy, lsb, true);

      // Without endian= the order is found and said.
      const ToolRun detect = RunIn(dir.Str(), "'" + Bin("segyread") + "' tape=" + sgy + " > plain.su");
      ASSERT_EQ(detect.status, 0) << detect.err;
      EXPECT_NE(detect.err.find(lsb ? "little-endian" : "big-endian"), std::string::npos) << detect.err;
      ExpectSameTraces(ReadSu(dir / "plain.su"), ref, format, sgy, lsb, false);

      const auto bin = ReadBytes(dir / "binary");
      ASSERT_EQ(bin.size(), 400u);
      EXPECT_EQ(GetLE16(bin.data() + 24), format);
      EXPECT_EQ(GetLE16(bin.data() + 20), kNs);
      EXPECT_EQ(GetLE16(bin.data() + 16), kDt);
      EXPECT_EQ(ReadText(dir / "header"), TextHeaderText());
    }
  }
}

TEST(ToolsSegyRead, ParametersBoundAndOverride) {
  TempDir dir;
  const std::string sgy = dir / "in.sgy";
  WriteSegy(sgy, 1, false);
  const std::string tool = "'" + Bin("segyread") + "' tape=in.sgy ";

  ToolRun run = RunIn(dir.Str(), tool + "trmin=2 trmax=3 > part.su");
  ASSERT_EQ(run.status, 0) << run.err;
  auto part = ReadSu(dir / "part.su");
  ASSERT_EQ(part.size(), 2u);
  EXPECT_EQ(GetLE32(part[0].header.data()), -(1 * 1000003 + 1 * 17));  // tracl of the second trace
  EXPECT_EQ(part[1].samples[5], ExpectedFloat(1, ValueFor(1, 2, 5)));

  // conv=0 keeps the IBM bits, in little-endian order.
  run = RunIn(dir.Str(), tool + "conv=0 trmax=1 > bits.su");
  ASSERT_EQ(run.status, 0) << run.err;
  auto bits = ReadSu(dir / "bits.su");
  ASSERT_EQ(bits.size(), 1u);
  for (int i = 0; i < kNs; ++i) EXPECT_EQ(FloatBits(bits[0].samples[size_t(i)]), IbmOf(ValueFor(1, 0, i)));

  // ns= reads the file with another trace length: 5 traces of 37 are 10 of 16 and a bit.
  run = RunIn(dir.Str(), tool + "ns=16 trmax=2 > short.su");
  ASSERT_EQ(run.status, 0) << run.err;
  auto shortTraces = ReadSu(dir / "short.su");
  ASSERT_EQ(shortTraces.size(), 2u);
  EXPECT_EQ(GetLE16(shortTraces[0].header.data() + 114), 16);

  // over=1 format=5 reads the samples as IEEE; over=0 keeps the header's code.
  run = RunIn(dir.Str(), tool + "over=1 format=5 trmax=1 > forced.su");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(FloatBits(ReadSu(dir / "forced.su")[0].samples[7]), IbmOf(ValueFor(1, 0, 7)));

  run = RunIn(dir.Str(), tool + "trmin=9 > none.su");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("no trace"), std::string::npos) << run.err;
  run = RunIn(dir.Str(), tool + "trmin=3 trmax=2 > none.su");
  EXPECT_EQ(run.status, 1);
  run = RunIn(dir.Str(), tool + "ns=abc > none.su");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("ns"), std::string::npos);
  run = RunIn(dir.Str(), tool + "endian=2 > none.su");
  EXPECT_EQ(run.status, 1);
  // The panel's usual choice on a standard file: the message says what to do.
  run = RunIn(dir.Str(), tool + "endian=1 > none.su");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("the file is big-endian, give endian=0"), std::string::npos) << run.err;
  // hfile= and bfile= name the reel header files.
  run = RunIn(dir.Str(), tool + "hfile=h.txt bfile=b.bin trmax=1 > one.su");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(ReadText(dir / "h.txt"), TextHeaderText());
  EXPECT_EQ(ReadBytes(dir / "b.bin").size(), 400u);
  // Reel headers that can't be written (a read-only field disk): said, and
  // the traces still come out.
  run = RunIn(dir.Str(), tool + "hfile=no/such/folder/header > kept.su");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("no/such/folder/header"), std::string::npos) << run.err;
  EXPECT_EQ(ReadSu(dir / "kept.su").size(), size_t(kTraces));
}

TEST(ToolsSegyRead, UnknownFormatCodeNeedsOver) {
  TempDir dir;
  const std::string sgy = dir / "in.sgy";
  WriteSegy(sgy, 1, false);
  auto bytes = ReadBytes(sgy);
  bytes[3224] = 0;
  bytes[3225] = 4;  // fixed point with gain: not read
  WriteBytes(sgy, bytes);
  ToolRun run = RunIn(dir.Str(), "'" + Bin("segyread") + "' tape=in.sgy endian=0 > out.su");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("in.sgy"), std::string::npos) << run.err;
  EXPECT_NE(run.err.find("format code 4"), std::string::npos) << run.err;
  run = RunIn(dir.Str(), "'" + Bin("segyread") + "' tape=in.sgy endian=0 over=1 format=1 > out.su");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(ReadSu(dir / "out.su").size(), size_t(kTraces));
}

TEST(ToolsSegyRead, Rev2ExtendedTextHeadersAreSkipped) {
  TempDir dir;
  const std::string sgy = dir / "in.sgy";
  WriteSegy(sgy, 5, true, 2);
  auto bytes = ReadBytes(sgy);
  PutLE16(bytes.data() + 3504, 2);  // two extended text headers
  std::vector<uint8_t> extended(6400, 0x40);
  bytes.insert(bytes.begin() + 3600, extended.begin(), extended.end());
  WriteBytes(sgy, bytes);
  const ToolRun run = RunIn(dir.Str(), "'" + Bin("segyread") + "' tape=in.sgy endian=1 > out.su");
  ASSERT_EQ(run.status, 0) << run.err;
  const auto su = ReadSu(dir / "out.su");
  ASSERT_EQ(su.size(), size_t(kTraces));
  EXPECT_EQ(su[4].samples[9], ExpectedFloat(5, ValueFor(5, 4, 9)));
}

TEST(ToolsSegyRead, CutAndBrokenFiles) {
  TempDir dir;
  const std::string sgy = dir / "in.sgy";
  WriteSegy(sgy, 3, false);
  auto bytes = ReadBytes(sgy);
  const std::string tool = "'" + Bin("segyread") + "' tape=";

  // The last trace cut short: padded with zeros, reported, status 1.
  WriteBytes(dir / "cut.sgy", std::vector<uint8_t>(bytes.begin(), bytes.end() - 30));
  ToolRun run = RunIn(dir.Str(), tool + "cut.sgy > out.su");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("cut.sgy"), std::string::npos);
  EXPECT_NE(run.err.find("cut short"), std::string::npos) << run.err;
  auto su = ReadSu(dir / "out.su");
  ASSERT_EQ(su.size(), size_t(kTraces));
  EXPECT_EQ(su[4].samples[kNs - 1], 0.0f);
  EXPECT_EQ(su[4].samples[kNs - 16], ExpectedFloat(3, ValueFor(3, 4, kNs - 16)));

  const std::vector<std::pair<std::string, std::vector<uint8_t>>> broken = {
      {"empty.sgy", {}},
      {"headers.sgy", std::vector<uint8_t>(bytes.begin(), bytes.begin() + 3000)},
      {"zeros.sgy", std::vector<uint8_t>(10000, 0)},
      {"text.sgy", std::vector<uint8_t>(8000, 'x')},
  };
  for (const auto& [name, data] : broken) {
    WriteBytes(dir / name, data);
    run = RunIn(dir.Str(), tool + name + " > out.su");
    EXPECT_EQ(run.status, 1) << name;
    EXPECT_NE(run.err.find(name), std::string::npos) << name << ": " << run.err;
  }
  uint32_t seed = 12345;
  std::vector<uint8_t> garbage(50000);
  for (int round = 0; round < 20; ++round) {
    for (auto& b : garbage) {
      seed = seed * 1664525u + 1013904223u;
      b = uint8_t(seed >> 24);
    }
    WriteBytes(dir / "garbage.sgy", garbage);
    run = RunIn(dir.Str(), tool + "garbage.sgy > out.su");
    EXPECT_LE(run.status, 1) << run.err;  // 0 only if it happened to look like SEG-Y
    if (run.status == 1) {
      EXPECT_NE(run.err.find("garbage.sgy"), std::string::npos);
    }
  }
  run = RunIn(dir.Str(), tool + "missing.sgy > out.su");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("missing.sgy"), std::string::npos);
  run = RunIn(dir.Str(), "'" + Bin("segyread") + "' > out.su");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("tape="), std::string::npos);
}

// An SU file of varied traces (as our importers write them).
std::vector<SuTrace> SampleSu(int ns, int traces) {
  std::vector<SuTrace> out;
  for (int t = 0; t < traces; ++t) {
    SuTrace tr;
    tr.header.assign(240, 0);
    SuHeader h;
    h.Set("tracl", t + 1);
    h.Set("fldr", 3);
    h.Set("tracf", t + 1);
    h.Set("offset", -250 + 50 * t);
    h.Set("dt", 250);
    h.Set("scalco", -100);
    h.Set("gx", 123456 + t);
    std::memcpy(tr.header.data(), h.Data(), 240);
    for (int i = 0; i < ns; ++i) tr.samples.push_back(std::sin(i * 0.3 + t) * 1000.0f + (i == 2 ? 1e-3f : 0));
    out.push_back(tr);
  }
  return out;
}

TEST(ToolsSuToSegy, HeadersThenCopyIsLittleEndianSegy) {
  TempDir dir;
  const auto traces = SampleSu(100, 6);
  WriteBytes(dir / "in.su", SuFile(traces));
  const std::string script = Dir() + "SEGYHDRS <" + dir / "in.su" + " ns= 100 dt= 250 bfile=binary hfile=header\r\n" +
                             "copy /b " + dir.Str() + "/header + " + dir.Str() + "/binary + " + dir / "in.su" + " " +
                             dir / "out.sgy" + "\r\n";
  const ToolRun run = RunBat(dir.Str(), script);
  ASSERT_EQ(run.status, 0) << run.err;
  const auto header = ReadBytes(dir / "header");
  ASSERT_EQ(header.size(), 3200u);
  for (int line = 0; line < 40; ++line) {
    EXPECT_EQ(header[size_t(line * 80)], 'C');
    for (int c = 0; c < 80; ++c) EXPECT_TRUE(header[size_t(line * 80 + c)] >= 0x20 && header[size_t(line * 80 + c)] < 0x7f);
  }
  ASSERT_EQ(ReadBytes(dir / "out.sgy").size(), 3600u + ReadBytes(dir / "in.su").size());

  segy_file* fp = segy_open((dir / "out.sgy").c_str(), "rb");
  ASSERT_NE(fp, nullptr);
  char bin[400];
  ASSERT_EQ(segy_set_format(fp, int(SEGY_IEEE_FLOAT_4_BYTE) | int(SEGY_LSB)), SEGY_OK);
  ASSERT_EQ(segy_binheader(fp, bin), SEGY_OK);
  EXPECT_EQ(segy_samples(bin), 100);
  EXPECT_EQ(segy_format(bin), SEGY_IEEE_FLOAT_4_BYTE);
  int count = 0;
  ASSERT_EQ(segy_traces(fp, &count, segy_trace0(bin), segy_trsize(5, 100)), SEGY_OK);
  ASSERT_EQ(count, 6);
  for (int t = 0; t < 6; ++t) {
    char th[240];
    ASSERT_EQ(segy_traceheader(fp, t, th, 3600, 400), SEGY_OK);
    int32_t v = 0;
    segy_get_field(th, SEGY_TR_OFFSET, &v);
    EXPECT_EQ(v, -250 + 50 * t);
    segy_get_field(th, SEGY_TR_GROUP_X, &v);
    EXPECT_EQ(v, 123456 + t);
    segy_get_field(th, SEGY_TR_SAMPLE_INTER, &v);
    EXPECT_EQ(v, 250);
    std::vector<float> s(100);
    ASSERT_EQ(segy_readtrace(fp, t, s.data(), 3600, 400), SEGY_OK);
    segy_to_native(5, 100, s.data());
    for (int i = 0; i < 100; ++i) ASSERT_EQ(s[size_t(i)], traces[size_t(t)].samples[size_t(i)]);
  }
  segy_close(fp);
  // And our own reader takes it back unchanged.
  const ToolRun back = RunIn(dir.Str(), "'" + Bin("segyread") + "' tape=out.sgy > back.su");
  ASSERT_EQ(back.status, 0) << back.err;
  EXPECT_NE(back.err.find("little-endian"), std::string::npos);
  EXPECT_EQ(ReadBytes(dir / "back.su"), ReadBytes(dir / "in.su"));
}

TEST(ToolsSuToSegy, HeadersThenSegywriteBothFormatsAndOrders) {
  TempDir dir;
  const auto traces = SampleSu(64, 5);
  WriteBytes(dir / "in.su", SuFile(traces));
  for (const int conv : {1, 0}) {
    for (const int endian : {0, 1}) {
      SCOPED_TRACE("conv " + std::to_string(conv) + " endian " + std::to_string(endian));
      const std::string script = Dir() + "SEGYHDRS <" + dir / "in.su" + "\r\n" + Dir() + "SEGYWRITE <" + dir / "in.su" +
                                 " tape=" + dir / "out.sgy" + " conv=" + std::to_string(conv) +
                                 " trmin= 2 trmax= 4 endian=" + std::to_string(endian) + " buffer=1 errmax=0\r\n";
      const ToolRun run = RunBat(dir.Str(), script);
      ASSERT_EQ(run.status, 0) << run.err;
      const auto raw = ReadBytes(dir / "out.sgy");
      ASSERT_EQ(raw.size(), 3600u + 3 * (240 + 64 * 4));
      EXPECT_EQ(raw[0], 0xC3);  // "C" in EBCDIC
      segy_file* fp = segy_open((dir / "out.sgy").c_str(), "rb");
      ASSERT_NE(fp, nullptr);
      const int format = conv ? SEGY_IBM_FLOAT_4_BYTE : SEGY_IEEE_FLOAT_4_BYTE;
      ASSERT_EQ(segy_set_format(fp, format | (endian ? int(SEGY_LSB) : int(SEGY_MSB))), SEGY_OK);
      char text[3201];
      ASSERT_EQ(segy_read_textheader(fp, text), SEGY_OK);
      EXPECT_EQ(std::string(text, 4), "C 1 ");
      char bin[400];
      ASSERT_EQ(segy_binheader(fp, bin), SEGY_OK);
      EXPECT_EQ(segy_format(bin), format);
      EXPECT_EQ(segy_samples(bin), 64);
      for (int t = 0; t < 3; ++t) {
        char th[240];
        ASSERT_EQ(segy_traceheader(fp, t, th, 3600, 256), SEGY_OK);
        int32_t v = 0;
        segy_get_field(th, SEGY_TR_SEQ_LINE, &v);
        EXPECT_EQ(v, t + 2);
        segy_get_field(th, SEGY_TR_OFFSET, &v);
        EXPECT_EQ(v, -250 + 50 * (t + 1));
        std::vector<float> s(64);
        ASSERT_EQ(segy_readtrace(fp, t, s.data(), 3600, 256), SEGY_OK);
        segy_to_native(format, 64, s.data());
        for (int i = 0; i < 64; ++i) {
          const float want = traces[size_t(t + 1)].samples[size_t(i)];
          if (conv == 0) {
            ASSERT_EQ(s[size_t(i)], want);
          } else {
            // IBM keeps 21 to 24 bits: nearest rounding stays within half a unit.
            ASSERT_NEAR(s[size_t(i)], want, std::fabs(want) * std::ldexp(1.0, -21)) << i;
            ASSERT_EQ(IbmOf(double(s[size_t(i)])), FloatToIbm(want)) << i;
          }
        }
      }
      segy_close(fp);
      // Our reader finds the order and gives the samples back.
      const ToolRun back = RunIn(dir.Str(), "'" + Bin("segyread") + "' tape=out.sgy | '" + Bin("segyclean") + "' > back.su");
      ASSERT_EQ(back.status, 0) << back.err;
      const auto su = ReadSu(dir / "back.su");
      ASSERT_EQ(su.size(), 3u);
      EXPECT_EQ(GetLE32(su[0].header.data() + 36), -200);  // offset of the second trace
    }
  }
}

TEST(ToolsSegyRead, IbmBitPatternsOfEveryExponent) {
  // Trace 1: exponents that every float holds (the fast path); trace 2: any
  // pattern at all, overflow and underflow included (the exact path).
  TempDir dir;
  constexpr int ns = 4000;
  std::vector<uint8_t> file(3600, 0);
  PutBE16u(file.data() + 3220, ns);
  PutBE16u(file.data() + 3224, 1);
  uint32_t seed = 2024;
  std::vector<uint32_t> words;
  for (int t = 0; t < 2; ++t) {
    std::vector<uint8_t> header(240, 0);
    PutBE16u(header.data() + 114, ns);
    file.insert(file.end(), header.begin(), header.end());
    for (int i = 0; i < ns; ++i) {
      seed = seed * 1664525u + 1013904223u;
      uint32_t w = seed;
      if (t == 0) {
        // Normalised and within normal floats, where segyio is exact too.
        w = (w & 0x80FFFFFFu) | uint32_t(34 + (seed >> 9) % 63) << 24;
        if ((w & 0x00F00000u) == 0) w |= 0x00100000u;
      }
      words.push_back(w);
      uint8_t b[4];
      PutBE32u(b, w);
      file.insert(file.end(), b, b + 4);
    }
  }
  WriteBytes(dir / "ibm.sgy", file);
  const ToolRun run = RunIn(dir.Str(), "'" + Bin("segyread") + "' tape=ibm.sgy endian=0 > out.su");
  ASSERT_EQ(run.status, 0) << run.err;
  const auto su = ReadSu(dir / "out.su");
  ASSERT_EQ(su.size(), 2u);
  std::vector<uint8_t> trace(file.begin() + 3840, file.begin() + 3840 + 4 * ns);
  segy_to_native(SEGY_IBM_FLOAT_4_BYTE, ns, trace.data());
  for (int i = 0; i < ns; ++i) {
    const float got = su[0].samples[size_t(i)];
    ASSERT_EQ(FloatBits(got), FloatBits(IbmToFloat(words[size_t(i)]))) << i;
    float theirs;
    std::memcpy(&theirs, trace.data() + 4 * i, 4);
    ASSERT_EQ(got, theirs) << std::hex << words[size_t(i)];
  }
  for (int i = 0; i < ns; ++i) {
    ASSERT_EQ(FloatBits(su[1].samples[size_t(i)]), FloatBits(IbmToFloat(words[size_t(ns + i)]))) << i;
  }
  // An unnormalised fraction still means 0.f x 16^(e-64).
  EXPECT_EQ(IbmToFloat(0xD3026490u), static_cast<float>(-std::ldexp(double(0x026490), 4 * 19 - 24)));
}

#endif  // VEXMOR_HAVE_SEGYIO

TEST(ToolsIbmFloat, KnownPatternsAndNearestRounding) {
  EXPECT_EQ(FloatToIbm(1.0f), 0x41100000u);
  EXPECT_EQ(FloatToIbm(-1.0f), 0xC1100000u);
  EXPECT_EQ(FloatToIbm(0.0f), 0u);
  EXPECT_EQ(FloatToIbm(-118.625f), 0xC276A000u);
  EXPECT_EQ(FloatToIbm(std::numeric_limits<float>::infinity()), 0x7FFFFFFFu);
  EXPECT_EQ(IbmToFloat(0xC276A000u), -118.625f);
  EXPECT_EQ(IbmToFloat(0x41100000u), 1.0f);
  EXPECT_EQ(IbmToFloat(0x00000000u), 0.0f);
  EXPECT_TRUE(std::isinf(IbmToFloat(0x7FFFFFFFu)));
  EXPECT_EQ(IbmToFloat(0x00100000u), 0.0f);  // 16^-65 is below every float
  // Near 1 an IBM fraction keeps 21 bits (unit 2^-20): ties go to even.
  EXPECT_EQ(FloatToIbm(1.0f + std::ldexp(1.0f, -23)), 0x41100000u);
  EXPECT_EQ(FloatToIbm(1.0f + std::ldexp(1.0f, -21)), 0x41100000u);
  EXPECT_EQ(FloatToIbm(1.0f + 3 * std::ldexp(1.0f, -21)), 0x41100002u);
  EXPECT_EQ(FloatToIbm(1.0f + std::ldexp(1.0f, -20) + std::ldexp(1.0f, -22)), 0x41100001u);
  EXPECT_EQ(FloatToIbm(2.0f - std::ldexp(1.0f, -23)), 0x41200000u);
  EXPECT_EQ(FloatToIbm(16.0f - std::ldexp(1.0f, -20)), 0x41FFFFFFu);
  // Every float that IBM holds exactly comes back unchanged; others within half a unit.
  uint32_t seed = 99;
  for (int i = 0; i < 200000; ++i) {
    seed = seed * 1664525u + 1013904223u;
    const float f = BitsFloat((seed & 0x807FFFFFu) | (uint32_t(((seed >> 23) & 0x7F) + 64) << 23));
    const uint32_t ibm = FloatToIbm(f);
    const double back = double(IbmToFloat(ibm));
    const int e = int((ibm >> 24) & 0x7F) - 64;
    const double unit = std::ldexp(1.0, 4 * e - 24);
    ASSERT_LE(std::fabs(back - double(f)), unit / 2) << f;
    ASSERT_EQ(FloatToIbm(IbmToFloat(ibm)), ibm);
  }
}

}  // namespace
}  // namespace vexmor::test
