// What a browser draws from a chart: a chart with two axes, a dataset and a
// function plot is written as an SVG file, shown by headless chromium, and
// the screenshot is checked pixel by pixel against the chart's own
// transform. The SVG and the PNG stay in the build folder
// (test-artifacts/chart_screenshot.*) for a look by eye. Skips when chromium
// is not installed.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>

#include <toviktwo/documents/charts/hkcoordinatesystem.h>
#include <toviktwo/documents/charts/hkfunctionplot.h>
#include <toviktwo/documents/charts/hkpointseries.h>

#include "../support/hkbrowsershot.h"
#include "../support/hkpngread.h"

namespace {

constexpr int kWindowWidth = 1500;
constexpr int kWindowHeight = 844;  // the chart is 843.75 high at 16:9
constexpr int kSearchRadius = 3;

bool IsDark(const HKPngImage::Pixel& p) { return p.r + p.g + p.b < 3 * 160 && std::abs(p.r - p.b) < 60; }
bool IsRed(const HKPngImage::Pixel& p) { return p.r > 180 && p.g < 100 && p.b < 100; }

template <typename Test>
bool FoundNear(const HKPngImage& image, int cx, int cy, int radius, Test test) {
  for (int y = cy - radius; y <= cy + radius; ++y) {
    for (int x = cx - radius; x <= cx + radius; ++x) {
      if (x < 0 || y < 0 || x >= static_cast<int>(image.width) || y >= static_cast<int>(image.height))
        continue;
      if (test(image.At(x, y))) return true;
    }
  }
  return false;
}

class ChartScreenshot : public ::testing::Test {
 protected:
  void SetUp() override {
    _chromium = HKFindChromium();
    if (_chromium.empty())
      GTEST_SKIP() << "chromium is not installed (Debian package chromium): no screenshot check";
    _chart.SetCaption("Screenshot check");
    _chart.SetLabel("x", HK_AXIS_BOTTOM);
    _chart.SetLabel("y", HK_AXIS_LEFT);
    _series.SetStroke("red", 3);
    for (int i = 0; i <= 20; ++i) _series.Append(0.5 * i, 10 - 0.5 * i);
    _chart.AddDataset(&_wave);
    _chart.AddDataset(&_series);
    // Room on the right for the half of the last bottom label that reaches
    // beyond the plot: a shown axis that no dataset uses draws nothing.
    _chart.Axis(HK_AXIS_RIGHT)->SetShown(true);
    _chart.Axis(HK_AXIS_RIGHT)->SetLabelSpace(0);
  }

  // The pixel where the chart puts (x, y), by the axes' transform.
  void Where(double x, double y, int& px, int& py) const {
    double tx = x, ty = y;
    _chart.Axis(HK_AXIS_BOTTOM)->Transform(tx);
    _chart.Axis(HK_AXIS_LEFT)->Transform(ty);
    px = static_cast<int>(std::lround(_chart.PlotX() + tx));
    py = static_cast<int>(std::lround(_chart.PlotY() + ty));
  }

  // Rows of the plot that hold a horizontal grid line.
  std::set<int> GridRows() const {
    std::set<int> rows;
    for (const auto& entry : _chart.Axis(HK_AXIS_LEFT)->MajorTickPositions()) {
      const int row = static_cast<int>(std::lround(_chart.PlotY() + entry.second));
      for (int d = -2; d <= 2; ++d) rows.insert(row + d);
    }
    return rows;
  }

  HKPngImage Shoot() {
    const std::filesystem::path dir(TOVIK_TEST_ARTIFACT_DIR);
    std::filesystem::create_directories(dir);
    const std::string svg = (dir / "chart_screenshot.svg").string();
    const std::string png = (dir / "chart_screenshot.png").string();
    std::filesystem::remove(png);
    std::ofstream(svg) << _chart.SVG(HKSize{});
    const HKBrowserShotResult shot =
        HKBrowserShot(_chromium, "file://" + svg, png, kWindowWidth, kWindowHeight);
    EXPECT_TRUE(shot.ok) << shot.error;
    return HKReadPng(png);
  }

  std::string _chromium;
  HKCoordinateSystem _chart{16, 9};
  HKFunctionPlot_SinSin _wave{_chart.Axis(HK_AXIS_BOTTOM), _chart.Axis(HK_AXIS_LEFT)};
  HKPointSeriesXY _series{_chart.Axis(HK_AXIS_BOTTOM), _chart.Axis(HK_AXIS_LEFT)};
};

}  // namespace

TEST_F(ChartScreenshot, BrowserDrawsBothCurvesWhereTheTransformPutsThem) {
  const HKPngImage image = Shoot();
  ASSERT_TRUE(image.error.empty()) << image.error;
  ASSERT_EQ(image.width, static_cast<uint32_t>(kWindowWidth));
  ASSERT_EQ(image.height, static_cast<uint32_t>(kWindowHeight));

  // Not blank: the frame colour, the canvas colour and dark strokes are all there.
  std::size_t frame = 0, canvas = 0, dark = 0;
  for (uint32_t y = 0; y < image.height; ++y) {
    for (uint32_t x = 0; x < image.width; ++x) {
      const auto p = image.At(x, y);
      if (p.r == 0xb3 && p.g == 0xff && p.b == 0x1a) ++frame;
      if (p.r == 245 && p.g == 255 && p.b == 250) ++canvas;
      if (IsDark(p)) ++dark;
    }
  }
  const std::size_t all = static_cast<std::size_t>(image.width) * image.height;
  EXPECT_GT(frame, all / 10);
  EXPECT_GT(canvas, all / 4);
  EXPECT_GT(dark, 2000u);

  // The function plot (black, 1 unit): at each sampled x the only dark pixels
  // of that column inside the plot, apart from grid rows, lie at f(x).
  const std::set<int> gridRows = GridRows();
  const int top = static_cast<int>(_chart.PlotY()) + 4;
  const int bottom = static_cast<int>(_chart.PlotY() + _chart.PlotHeight()) - 4;
  for (double x : {2.2, 4.1, 6.0, 7.4, 9.0}) {
    int px = 0, py = 0;
    Where(x, _wave._value(x), px, py);
    EXPECT_TRUE(FoundNear(image, px, py, kSearchRadius, IsDark))
        << "no curve at x=" << x << " (" << px << "," << py << ")";
    for (int row = top; row < bottom; ++row) {
      if (gridRows.count(row) != 0 || !IsDark(image.At(px, row))) continue;
      EXPECT_LE(std::abs(row - py), 4) << "stray dark pixel at (" << px << "," << row << "), curve at " << py;
    }
  }

  // The dataset (red, 3 units): present at its points, absent 40 pixels off.
  for (double x : {2.9, 5.8, 8.6}) {
    int px = 0, py = 0;
    Where(x, 10 - x, px, py);
    EXPECT_TRUE(FoundNear(image, px, py, kSearchRadius, IsRed)) << "no dataset at x=" << x;
    EXPECT_FALSE(FoundNear(image, px, py - 40, kSearchRadius, IsRed)) << "dataset too high at x=" << x;
    EXPECT_FALSE(FoundNear(image, px, py + 40, kSearchRadius, IsRed)) << "dataset too low at x=" << x;
  }
}
