// samplegen OUTDIR: writes small synthetic records of the ABEM Mark 3,
// ES-1225, OYO McSeis 170 and McSeis 3 formats into OUTDIR/<format>/.
// The same bytes come out on every run, so the committed samples can be
// checked against a fresh run.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "importers/seismograph/abem_format.h"
#include "importers/seismograph/es1225_format.h"
#include "importers/seismograph/handy_viewer_format.h"
#include "importers/seismograph/oyo_format.h"

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
  } catch (const std::exception& e) {
    std::fprintf(stderr, "samplegen: %s\n", e.what());
    return 1;
  }
  return 0;
}
