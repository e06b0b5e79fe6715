// HKCanvas: the plot area's background and the layer under the data.
//
// Draws a rectangle of the plot size in its colour, then asks every axis of
// its chart for pass 1 (tick computation and grid lines), so that grids lie
// under the curves. It refers to the chart's map of axes, which must outlive it.
#pragma once

#include <map>
#include <string>

#include <toviktwo/documents/charts/hkaxis.h>

class HKCanvas : public HKSVGChild {
 public:
  explicit HKCanvas(std::map<int, HKAxis*>& axes);
  // The background, then pass 1 of every axis in position order; returns 1.
  int SVGChild(HKSize& size, HKSVG_BaseElement2& parent, int pass) override;
  const std::string& Colour() const { return _colour; }
  void SetColour(const std::string& colour) { _colour = colour; }

 private:
  std::string _colour = "mintcream";
  std::map<int, HKAxis*>& _axes;
};
