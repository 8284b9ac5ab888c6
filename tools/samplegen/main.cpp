// samplegen OUTDIR: writes small synthetic records of the ABEM Mark 3,
// ES-1225, OYO McSeis 170, McSeis 3, Bison 5000, Dolang, PASI LCM-12,
// Ambrogeo, KGS integer and KGS floating formats into OUTDIR/<format>/.
// The same bytes come out on every run, so the committed samples can be
// checked against a fresh run.
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "importers/seismograph/abem_format.h"
#include "importers/seismograph/ambrogeo_format.h"
#include "importers/seismograph/bison_format.h"
#include "importers/seismograph/dolang_format.h"
#include "importers/seismograph/es1225_format.h"
#include "importers/seismograph/handy_viewer_format.h"
#include "importers/seismograph/oyo_format.h"
#include "importers/seismograph/pasi_format.h"
#include "formats/kgs.h"

namespace fs = std::filesystem;
using namespace vexmor;

namespace {

// A shot gather: a 60 Hz Ricker wavelet that reaches channel c (geophones
// every 2 m from the source) at 5 ms + offset / 800 m/s, weakening with
// distance, over a little deterministic noise.
std::vector<std::vector<double>> ShotGather(int channels, int samples, double intervalUs, double sourceShiftM) {
  std::vector<std::vector<double>> gather(static_cast<size_t>(channels), std::vector<double>(static_cast<size_t>(samples)));
  uint32_t seed = 12345u + static_cast<uint32_t>(sourceShiftM * 10);
  const double pi = 3.14159265358979323846;
  for (int c = 0; c < channels; ++c) {
    const double offset = std::abs(2.0 * (c + 1) - sourceShiftM);
    const double arrival = 0.005 + offset / 800.0;
    const double gain = 1.0 / (1.0 + offset / 10.0);
    for (int j = 0; j < samples; ++j) {
      const double t = j * intervalUs * 1e-6 - arrival;
      const double a = pi * 60.0 * t;
      const double ricker = (1.0 - 2.0 * a * a) * std::exp(-a * a);
      seed = seed * 1664525u + 1013904223u;
      const double noise = (static_cast<double>(seed >> 8) / 16777216.0 - 0.5) * 0.02;
      gather[static_cast<size_t>(c)][static_cast<size_t>(j)] = gain * ricker + noise;
    }
  }
  return gather;
}

template <typename T>
std::vector<std::vector<T>> Scaled(const std::vector<std::vector<double>>& gather, double scale) {
  std::vector<std::vector<T>> out;
  for (const auto& trace : gather) {
    std::vector<T> samples;
    for (double v : trace) samples.push_back(static_cast<T>(std::lround(v * scale)));
    out.push_back(std::move(samples));
  }
  return out;
}

void Write(const fs::path& path, const std::vector<uint8_t>& bytes) {
  fs::create_directories(path.parent_path());
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  if (!out) throw std::runtime_error("cannot write " + path.string());
  std::printf("%s %zu bytes\n", path.string().c_str(), bytes.size());
}

void Abem(const fs::path& dir) {
  const char* times[] = {"14:32", "14:35", "14:39"};
  for (int shot = 1; shot <= 3; ++shot) {
    AbemRecordContent record;
    record.lineName = "LINE 1";
    record.date = "980615";
    record.time = times[shot - 1];
    record.intervalText = "250";
    record.channelsText = "12";
    record.traces = Scaled<int16_t>(ShotGather(12, 256, 250, 4.0 * (shot - 1)), 8000);
    Write(dir / ("SHOT" + std::to_string(shot) + ".ABM"), BuildAbemRecord(record));
  }
}

void Es1225(const fs::path& dir) {
  for (int shot = 1; shot <= 2; ++shot) {
    const auto traces = Scaled<int16_t>(ShotGather(12, 1000, 250, 6.0 * (shot - 1)), 8000);
    Write(dir / ("REC" + std::to_string(shot) + ".DAT"), BuildEs1225Record(traces, 254));
  }
}

void Oyo(const fs::path& dir) {
  const char* records[] = {"101", "102", "105"};
  const char* sourceX[] = {"1000", "1010", "1030"};
  for (int shot = 0; shot < 3; ++shot) {
    OyoRecordContent record;
    record.recordNumber = records[shot];
    record.channels = "12";
    record.samples = "512";
    record.interval = "0.25";
    record.delay = "0";
    record.lowCut = "10";
    record.highCut = "250";
    record.notch = "50";
    record.sourceX = sourceX[shot];
    record.sourceY = "2000";
    record.traces = Scaled<int32_t>(ShotGather(12, 512, 250, 5.0 * shot), 400000);
    Write(dir / (std::string(records[shot]) + ".ORG"), BuildOyoRecord(record));
  }
}

void McSeis3(const fs::path& dir) {
  const int16_t intervals[] = {50, 100, 50};
  for (int shot = 0; shot < 3; ++shot) {
    const auto traces = Scaled<int16_t>(ShotGather(3, 445, intervals[shot], 1.0 * shot), 8000);
    Write(dir / ("MS" + std::to_string(shot + 1) + ".DAT"), BuildMcSeis3Record(intervals[shot], traces));
  }
}

void WriteText(const fs::path& path, const std::string& text) { Write(path, std::vector<uint8_t>(text.begin(), text.end())); }

// Three Bison 5000 shots of 12 channels x 500 samples at 0.25 ms. The
// gather is scaled past 16 bits near the first arrivals, so that gain words
// of -2 appear there.
void Bison(const fs::path& dir) {
  const char* times[] = {"09:12:05", "09:14:40", "09:17:22"};
  for (int shot = 1; shot <= 3; ++shot) {
    BisonRecordContent record;
    record.preamble = "BISON INSTRUMENTS 5000";
    record.fields = {"SHOT " + std::to_string(shot), "LINE A", "12/06/1995", times[shot - 1], "OPERATOR", "STACKS 1",
                     "FILTER OUT", "NOTCH OUT", "DELAY 0", "GAIN AUTO", "SOURCE HAMMER", "OFFSET 2", "SPACING 2",
                     "12", "FORMAT 16", "500", "0.25", "END"};
    const auto gather = Scaled<int32_t>(ShotGather(12, 500, 250, 4.0 * (shot - 1)), 60000);
    for (const auto& trace : gather) record.traces.push_back(EncodeBisonTrace(trace));
    Write(dir / ("SHOT" + std::to_string(shot) + ".DAT"), BuildBisonRecord(record));
  }
}

// One Dolang shot: 12 channel files of 256 samples at 0.5 ms, and its
// info file (128 ms of 256 samples).
void Dolang(const fs::path& dir) {
  const auto gather = Scaled<int32_t>(ShotGather(12, 256, 500, 0.0), 20000);
  for (int c = 1; c <= 12; ++c) {
    WriteText(dir / ("SHOT1.A" + std::string(c < 10 ? "0" : "") + std::to_string(c)),
              BuildChannelText(gather[static_cast<size_t>(c - 1)]));
  }
  WriteText(dir / "SHOT1.ADT", BuildAdtText(12, 1, 128, 256));
}

// Two LCM-12 records of 12 traces x 256 values, with fractions that the
// reader rounds away.
void Pasi(const fs::path& dir) {
  for (int shot = 1; shot <= 2; ++shot) {
    std::vector<std::vector<double>> traces;
    for (const auto& trace : ShotGather(12, 256, 500, 3.0 * (shot - 1))) {
      std::vector<double> values;
      for (double v : trace) values.push_back(std::round(v * 40000) / 4);
      traces.push_back(values);
    }
    WriteText(dir / ("REC" + std::to_string(shot) + ".ASC"), BuildPasiText(traces));
  }
}

// Two Ambrogeo records of 24 channels x 200 samples at 0.25 ms.
void Ambrogeo(const fs::path& dir) {
  const char* dates[] = {" 01506  24", " 01506  24"};
  const char* times[] = {" 10:42", " 10:47"};
  for (int shot = 1; shot <= 2; ++shot) {
    AmbrogeoRecordContent record;
    record.dateLine = dates[shot - 1];
    record.timeLine = times[shot - 1];
    record.channels = "24";
    record.rate12 = "500";
    record.rate24 = "250";
    record.samples = Scaled<int16_t>(ShotGather(24, 200, 250, 6.0 * (shot - 1)), 8000);
    WriteText(dir / ("LINE" + std::to_string(shot) + ".DTA"), BuildAmbrogeoText(record));
  }
}

// KGS integer: two shots of 12 channels, 500 int16 samples at 250 us, one
// file. Word 16 holds the channel count of the record, which the reader
// also takes as tracf.
void KgsInteger(const fs::path& dir) {
  std::vector<uint8_t> file;
  int n = 0;
  for (int shot = 0; shot < 2; ++shot) {
    const auto traces = Scaled<int16_t>(ShotGather(12, 500, 250, 6.0 * shot), 8000);
    for (int c = 1; c <= 12; ++c) {
      ++n;
      std::array<int16_t, 120> w{};
      const auto set = [&w](int offset, int value) { w[size_t(offset / 2)] = static_cast<int16_t>(value); };
      set(12, 201 + shot);                // field record
      set(16, 12);                        // channels
      set(22, 10 * shot + c);             // cdp
      set(26, c);                         // cdpt
      set(28, 1);                         // trace id
      set(30, 1);                         // vertical sum
      set(32, 1);                         // horizontal stack
      set(36, 2 * c - 6 * shot);          // offset, m
      set(40, 120);                       // receiver elevation
      set(44, 120);                       // source elevation
      set(70, 1000 + 2 * c);              // receiver X
      set(72, 500);                       // receiver Y
      set(76, 1000 + 6 * shot);           // source X
      set(78, 500);                       // source Y
      set(114, 500);                      // ns
      set(116, 250);                      // dt
      set(118, kKgsMark);
      set(148, 10);                       // low cut
      set(150, 250);                      // high cut
      set(170, n);                        // trace in the line
      set(172, 301 + shot);               // source point
      set(182, n);                        // trace in the reel
      const auto& t = traces[size_t(c - 1)];
      const std::vector<float> samples(t.begin(), t.end());
      const auto record = MakeKgsRecord(KgsKind::Integer, w, samples);
      file.insert(file.end(), record.begin(), record.end());
    }
  }
  Write(dir / "LINE1.EVD", file);
}

// KGS floating: one shot of 24 channels, 400 float samples at 500 us, with
// the words where the SU to KGS conversion puts them.
void KgsFloating(const fs::path& dir) {
  std::vector<uint8_t> file;
  const auto traces = ShotGather(24, 400, 500, 0);
  for (int c = 1; c <= 24; ++c) {
    std::array<int16_t, 120> w{};
    const auto set = [&w](int offset, int value) { w[size_t(offset / 2)] = static_cast<int16_t>(value); };
    set(0, 0);                         // raw field data
    set(2, 24);                        // channels
    set(4, 12);                        // record number word
    set(8, 1);                         // ascending
    set(10, 7);                        // field record
    set(22, c);                        // trace in the file
    set(26, c);                        // trace in the record
    set(28, 1);
    set(30, 1);
    set(32, 1);
    set(36, 3 * c);                    // offset, m
    set(40, 85);
    set(44, 85);
    set(70, 200 + 3 * c);              // receiver X
    set(76, 200);                      // source X
    set(114, 400);
    set(116, 500);
    set(118, kKgsMark);
    set(172, 11);                      // source point
    set(174, c);                       // trace in the line
    set(182, c);                       // trace in the reel
    std::vector<float> samples;
    for (double v : traces[size_t(c - 1)]) samples.push_back(static_cast<float>(v * 1000));
    const auto record = MakeKgsRecord(KgsKind::Floating, w, samples);
    file.insert(file.end(), record.begin(), record.end());
  }
  Write(dir / "LINE2.DAT", file);
}

}  // namespace

constexpr const char* kUsage =
    "usage: samplegen OUTDIR\n"
    "  writes small synthetic field records, one folder for each format (OUTDIR/abem,\n"
    "  OUTDIR/es1225, ...), the same bytes on every run\n";

int main(int argc, char** argv) {
  const std::string first = argc > 1 ? argv[1] : "";
  if (first == "-h" || first == "--help") {
    std::fputs(kUsage, stdout);
    return 0;
  }
  if (argc != 2 || (first.size() > 1 && first[0] == '-')) {
    if (argc > 2) {
      std::fprintf(stderr, "samplegen: one output folder only, '%s' is one too many (samplegen --help shows the usage)\n", argv[2]);
    } else if (argc == 2) {
      std::fprintf(stderr, "samplegen: unknown option %s (samplegen --help shows the usage)\n", argv[1]);
    } else {
      std::fputs(kUsage, stderr);
    }
    return 2;
  }
  try {
    const fs::path top = argv[1];
    Abem(top / "abem");
    Es1225(top / "es1225");
    Oyo(top / "oyo");
    McSeis3(top / "mcseis3");
    Bison(top / "bison");
    Dolang(top / "dolang");
    Pasi(top / "pasi");
    Ambrogeo(top / "ambrogeo");
    KgsInteger(top / "kgsi");
    KgsFloating(top / "kgs");
  } catch (const std::exception& e) {
    std::fprintf(stderr, "samplegen: %s\n", e.what());
    return 1;
  }
  return 0;
}
