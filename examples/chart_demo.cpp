// A chart drawn on the server: a function plot and a measured dataset, with
// axes whose ranges the library works out, written as a stand-alone SVG file.
//
// Run it with the file to write (default "chart_demo.svg") and open that file
// in a browser. It ends as soon as the file is written. In an application the
// same chart is shown in an iframe of a page: HKCoordinateSystem::Work_IFrame
// gives the text for it, and every call draws the chart afresh.
#include <toviktwo/toviktwo.h>

#include <cmath>
#include <fstream>
#include <iostream>

int main(int argc, char** argv) {
  const char* path = argc > 1 ? argv[1] : "chart_demo.svg";

  HKCoordinateSystem chart(16, 9);  // 1500 units wide, 16:9
  chart.SetCaption("Tank temperature");
  chart.SetLabel("time / h", HK_AXIS_BOTTOM);
  chart.SetLabel("model", HK_AXIS_LEFT);
  chart.SetLabel("measured / °C", HK_AXIS_RIGHT);

  // The function plot: 10 sin²(πx/10) against the bottom and left axes.
  HKFunctionPlot_SinSin model(chart.Axis(HK_AXIS_BOTTOM), chart.Axis(HK_AXIS_LEFT));
  // The dataset: measured values against the bottom and right axes.
  HKPointSeriesXY measured(chart.Axis(HK_AXIS_BOTTOM), chart.Axis(HK_AXIS_RIGHT));
  measured.SetStroke("crimson", 3);
  for (int i = 0; i <= 40; ++i) {
    const double hour = 0.25 * i;
    measured.Append(hour, 18 + 6 * std::sin(hour / 2) + 0.8 * std::cos(3 * hour));
  }

  // Datasets are not owned: they must live as long as the chart.
  chart.AddDataset(&model);
  chart.AddDataset(&measured);

  std::ofstream out(path);
  out << chart.SVG(HKSize{});  // an empty size keeps the chart's own size
  if (!out) {
    std::cerr << "cannot write " << path << std::endl;
    return 1;
  }
  std::cout << "wrote " << path << ": bottom axis " << chart.Axis(HK_AXIS_BOTTOM)->Minimum() << " to "
            << chart.Axis(HK_AXIS_BOTTOM)->Maximum() << ", right axis "
            << chart.Axis(HK_AXIS_RIGHT)->Minimum() << " to " << chart.Axis(HK_AXIS_RIGHT)->Maximum()
            << std::endl;
  return 0;
}
