#include <toviktwo/documents/charts/hkcanvas.h>

namespace {
constexpr int kUnderDataPass = 1;
}  // namespace

HKCanvas::HKCanvas(std::map<int, HKAxis*>& axes) : _axes(axes) {}

int HKCanvas::SVGChild(HKSize& size, HKSVG_BaseElement2& parent, int) {
  auto* background = new HKSVG_rect2(size.width, size.height);
  background->fill = _colour;
  parent.PushBackChildElement(static_cast<HKXMLGenericElement*>(background));
  for (auto& entry : _axes) entry.second->SVGChild(size, parent, kUnderDataPass);
  return 1;
}
