// vexmor-view --screenshot on every format: a picture that shows the data,
// wiggles whose positive lobes are filled, radar as an image.
#include <gtest/gtest.h>

#include <QColor>
#include <QImage>

#include <filesystem>

#include "tools_helpers.h"
#include "viewer_files.h"

namespace vexmor {
namespace {

using test::TempDir;

// The plot lies 64 pixels in from the left, 40 down, 14 in from right and bottom.
constexpr int kLeft = 64, kTop = 40, kRight = 14, kBottom = 14;

QImage Shoot(const TempDir& dir, const std::string& file, const std::string& options) {
  const std::string out = dir / "shot.png";
  std::filesystem::remove(out);
  const test::ToolRun run = test::RunHeadless(
      dir.Str(), "timeout 60 '" + test::Bin("vexmor-view") + "' --screenshot '" + out + "' " + options + " '" + file + "'");
  EXPECT_EQ(run.status, 0) << run.err;
  return QImage(QString::fromStdString(out));
}

bool Dark(const QImage& image, int x, int y) { return qGray(image.pixel(x, y)) < 100; }

// Share of the plot's pixels that are not white, and how many greys it uses.
std::pair<double, int> Ink(const QImage& image) {
  int64_t inked = 0, all = 0;
  std::vector<bool> seen(256, false);
  for (int y = kTop + 1; y < image.height() - kBottom - 1; ++y) {
    for (int x = kLeft + 1; x < image.width() - kRight - 1; ++x) {
      const int g = qGray(image.pixel(x, y));
      inked += g < 250;
      seen[size_t(g)] = true;
      ++all;
    }
  }
  return {double(inked) / double(std::max<int64_t>(1, all)), int(std::count(seen.begin(), seen.end(), true))};
}

TEST(ViewerScreenshot, WigglesFillThePositiveLobesOnly) {
  TempDir dir;
  // 4 traces of 400 samples: a positive pulse at a third, a negative one at two thirds.
  const std::vector<double> pulses = test::Pulses(400);
  test::WriteBytes(dir / "line.sgy", test::MakeSegy({pulses, pulses, pulses, pulses}, 5, true));
  const QImage image = Shoot(dir, dir / "line.sgy", "--width 478 --height 454 --mode wiggle");
  ASSERT_EQ(image.size(), QSize(478, 454));
  // Plot 400 x 400: a trace every 100 pixels, the first centred at 50; a
  // sample a pixel.
  for (int t = 0; t < 4; ++t) {
    const int centre = kLeft + 50 + 100 * t;
    const int positive = kTop + 133, negative = kTop + 267;
    for (int dx = 3; dx < 45; dx += 4) {
      EXPECT_TRUE(Dark(image, centre + dx, positive)) << "trace " << t << " +" << dx;
      EXPECT_FALSE(Dark(image, centre - dx, negative)) << "trace " << t << " -" << dx;
      EXPECT_FALSE(Dark(image, centre + dx, negative)) << "trace " << t << " +" << dx;
    }
    // The negative lobe is drawn as a line, out to the left.
    bool line = false;
    for (int dx = 45; dx < 99 && centre - dx > kLeft; ++dx) line = line || Dark(image, centre - dx, negative);
    if (t > 0) {
      EXPECT_TRUE(line) << "trace " << t;
    }
  }
}

TEST(ViewerScreenshot, EveryFormatInBothModes) {
  TempDir dir;
  std::vector<std::vector<double>> segy;
  std::vector<std::vector<float>> su;
  std::vector<std::vector<int16_t>> rd3;
  std::vector<uint32_t> dzt;
  for (int t = 0; t < 30; ++t) {
    const std::vector<double> p = test::Pulses(200, 1000 + 50 * t);
    segy.push_back(p);
    su.emplace_back(p.begin(), p.end());
    rd3.emplace_back(p.begin(), p.end());
    for (double v : p) dzt.push_back(uint32_t(32768 + v));
  }
  test::WriteBytes(dir / "a.sgy", test::MakeSegy(segy, 3, false));
  test::WriteBytes(dir / "a.su", test::MakeSu(su, 1000));
  test::WriteBytes(dir / "a.dzt", MakeDzt(200, 16, 1, dzt));
  test::WriteRamac(dir / "a", rd3, 100);
  std::vector<Seg2WriteTrace> seg2(30);
  for (size_t t = 0; t < seg2.size(); ++t) seg2[t].samples = segy[t];
  test::WriteBytes(dir / "a.dat", MakeSeg2({}, seg2, 4, false));
  std::vector<std::string> files = {dir / "a.sgy", dir / "a.su", dir / "a.dzt", dir / "a.rd3", dir / "a.dat"};
  const std::string samples = VEXMOR_SHARED_SAMPLES;
  if (std::filesystem::exists(samples)) {
    for (const char* real : {"/seg2/329.dat", "/segd/demo-8058.segd", "/radar/FILE____032.DZT"}) files.push_back(samples + real);
  }
  for (const std::string& file : files) {
    SCOPED_TRACE(file);
    const auto [wiggleInk, wiggleGreys] = Ink(Shoot(dir, file, "--width 600 --height 400 --mode wiggle"));
    EXPECT_GT(wiggleInk, 0.03);
    EXPECT_LT(wiggleInk, 0.97);
    const auto [imageInk, imageGreys] = Ink(Shoot(dir, file, "--width 600 --height 400 --mode image"));
    EXPECT_GT(imageInk, 0.5);
    EXPECT_GT(imageGreys, 20);
  }
}

}  // namespace
}  // namespace vexmor
