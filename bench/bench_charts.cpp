// Drawing a chart of 100,000 points (one HKPointSeriesXY on a bottom and a
// left axis, ranges computed) into a complete SVG file, beside the floor for
// this output: a plain loop that writes the same polyline's points with
// snprintf into a string. Reported: time per chart, the SVG size
// (svg_bytes, floor_bytes) and bytes_per_second. Goal: within 3 times the floor.
#include <benchmark/benchmark.h>
#include <toviktwo/toviktwo.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

namespace {

constexpr int kPoints = 100000;
constexpr int kPairsPerLine = 31;

// The chart with its dataset; the dataset lives as long as the chart.
struct BigChart {
  BigChart() {
    for (int i = 0; i < kPoints; ++i) {
      const double x = i * 0.001;
      series.Append(x, 50 + 40 * std::sin(x) + 3 * std::sin(37 * x));
    }
    chart.AddDataset(&series);
  }
  HKCoordinateSystem chart{16, 9};
  HKPointSeriesXY series{chart.Axis(HK_AXIS_BOTTOM), chart.Axis(HK_AXIS_LEFT)};
};

void BM_Chart_SVG_100k(benchmark::State& state) {
  BigChart big;
  std::size_t bytes = 0;
  for (auto _ : state) {
    std::string svg = big.chart.SVG(HKSize{});
    bytes = svg.size();
    benchmark::DoNotOptimize(svg.data());
  }
  state.counters["svg_bytes"] = static_cast<double>(bytes);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}
BENCHMARK(BM_Chart_SVG_100k)->Unit(benchmark::kMillisecond);

// The floor: the polyline's mapped points (as the chart computed them)
// written "x,y" with a blank or, after every 31st pair, a line end.
void BM_Snprintf_Polyline_100k(benchmark::State& state) {
  BigChart big;
  big.chart.SVG(HKSize{});  // computes ranges and axis lengths
  std::vector<HKPointXY> mapped;
  for (HKPointXY p : big.series.Points()) {
    big.chart.Axis(HK_AXIS_BOTTOM)->Transform(p.x);
    big.chart.Axis(HK_AXIS_LEFT)->Transform(p.y);
    mapped.push_back(p);
  }
  std::size_t bytes = 0;
  for (auto _ : state) {
    std::string out;
    char pair[64];
    for (std::size_t i = 0; i < mapped.size(); ++i) {
      if (i > 0) out += (i % kPairsPerLine == 0) ? '\n' : ' ';
      const int n = std::snprintf(pair, sizeof pair, "%g,%g", mapped[i].x, mapped[i].y);
      out.append(pair, static_cast<std::size_t>(n));
    }
    bytes = out.size();
    benchmark::DoNotOptimize(out.data());
  }
  state.counters["floor_bytes"] = static_cast<double>(bytes);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}
BENCHMARK(BM_Snprintf_Polyline_100k)->Unit(benchmark::kMillisecond);

}  // namespace
