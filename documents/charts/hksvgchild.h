// The small types every part of a chart shares: a size, a margin, a value
// range, and HKSVGChild, the interface of everything that draws itself into
// an SVG element (axes, datasets, the canvas).
#pragma once

#include <toviktwo/documents/svg/hksvg.h>

// A drawing size in SVG units.
struct HKSize {
  double width = 0.0;
  double height = 0.0;
};

// Four distances in SVG units, in the order top, left, bottom, right.
struct HKMargin {
  double top = 0.0;
  double left = 0.0;
  double bottom = 0.0;
  double right = 0.0;
};

// A range of values; `empty` says that no range is known.
template <typename T>
struct HKMinMax {
  T minimum{};
  T maximum{};
  bool empty = true;

  // Stores the range and marks it known.
  void Set(T lo, T hi) {
    minimum = lo;
    maximum = hi;
    empty = false;
  }
};

// Something that draws itself into an SVG element.
class HKSVGChild {
 public:
  virtual ~HKSVGChild() = default;
  // Appends this object's drawing to `parent`, for a drawing area of `size`;
  // `pass` tells layered drawings which layer is asked for. Returns non-zero.
  virtual int SVGChild(HKSize& size, HKSVG_BaseElement2& parent, int pass) = 0;
};
