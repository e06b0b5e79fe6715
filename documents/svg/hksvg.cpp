#include <toviktwo/documents/svg/hksvg.h>

#include <list>
#include <sstream>

#include <toviktwo/foundation/hkexception.h>

// ---- HKXMLPointsXYHKAttribute ----

bool HKXMLPointsXYHKAttribute::AttributeIsSet() const { return _set; }

void HKXMLPointsXYHKAttribute::print(std::ostream& os) const {
  if (_points.size() < 2) return;
  for (std::size_t i = 0; i < _points.size(); ++i) {
    if (i > 0) os << (i % 31 == 0 ? '\n' : ' ');
    os << _points[i].x << ',' << _points[i].y;
  }
}

const std::string& HKXMLPointsXYHKAttribute::operator=(const std::string&) {
  throw HKException("@todo function is missing", __LINE__, "src");
}

const std::string& HKXMLPointsXYHKAttribute::operator=(const char*) {
  throw HKException("@todo function is missing", __LINE__, "src");
}

void HKXMLPointsXYHKAttribute::push_back(const HKPointXY& point) {
  _points.push_back(point);
  _set = true;
}

// ---- HKXMLTransformHKAttribute ----

bool HKXMLTransformHKAttribute::AttributeIsSet() const { return _set; }

void HKXMLTransformHKAttribute::print(std::ostream& os) const {
  if (!_set) return;
  if (_translate) os << " translate(" << _x << ',' << _y << ')';
  if (_rotate) os << " rotate(" << _angle << ')';
}

const std::string& HKXMLTransformHKAttribute::operator=(const std::string&) { return _emptyText(); }

const std::string& HKXMLTransformHKAttribute::operator=(const char*) { return _emptyText(); }

void HKXMLTransformHKAttribute::Translate(double x, double y) {
  _set = true;
  _translate = true;
  _x = x;
  _y = y;
}

void HKXMLTransformHKAttribute::Rotate(double angle) {
  _set = true;
  _rotate = true;
  _angle = angle;
}

// ---- base elements ----

HKSVG_BaseElement2::HKSVG_BaseElement2(const std::string& name, bool shortPermitted) : HKXMLGenericElement(name, true) {
  _shortTagPermitted = shortPermitted;
  ReplaceAttributeContent("id", _id);
}

HKSVG_BaseElement2::~HKSVG_BaseElement2() {
  // The proxies refer to members: the table goes first.
  if (_attributes) {
    for (auto& entry : *_attributes) delete entry.second;
    _attributes.reset();
  }
}

std::string HKSVG_BaseElement2::GetBuffer() {
  std::ostringstream os;
  print(os);
  return os.str();
}

HKXMLGenericElement* HKSVG_BaseElement2::Last() const { return _last; }

HKXMLGenericElement* HKSVG_BaseElement2::PushBackChildElement(HKXMLGenericElement* child) {
  HKXMLGenericElement* added = *this << child;
  if (added != nullptr) _last = added;
  return added;
}

void HKSVG_BaseElement2::SetID(const std::string& id) { _id = id; }

HKSVG_BaseElement2a::HKSVG_BaseElement2a(const std::string& name, bool shortPermitted)
    : HKSVG_BaseElement2(name, shortPermitted) {}

// ---- presentation attribute groups ----

HKSVG_presentation_attributes_shape::HKSVG_presentation_attributes_shape()
    : stroke(std::string("black")), stroke_width(std::string("1")) {}

std::string HKSVG_presentation_attributes_shape::Stroke_Width(double width, const std::string& dash) {
  std::ostringstream os;
  os << width;
  stroke_width = os.str();
  if (!dash.empty()) stroke_dasharray = dash;
  return os.str();
}

void HKSVG_presentation_attributes_shape::_registerShape(HKXMLGenericElement& element) {
  element.ReplaceAttributeContent("stroke", stroke);
  element.ReplaceAttributeContent("stroke-dasharray", stroke_dasharray);
  element.ReplaceAttributeContent("stroke-width", stroke_width);
}

HKSVG_presentation_attributes_fill::HKSVG_presentation_attributes_fill() : fill(std::string("none")) {}

void HKSVG_presentation_attributes_fill::_registerFill(HKXMLGenericElement& element) {
  element.ReplaceAttributeContent("fill", fill);
}

HKSVG_presentation_attributes_text::HKSVG_presentation_attributes_text()
    : text_anchor(std::string("start")), font_size(std::string("37")) {}

std::string HKSVG_presentation_attributes_text::Text_Anchor(const std::string& anchor) {
  if (!anchor.empty()) text_anchor = anchor;
  return text_anchor.str();
}

void HKSVG_presentation_attributes_text::_registerText(HKXMLGenericElement& element) {
  element.ReplaceAttributeContent("font-size", font_size);
  element.ReplaceAttributeContent("text-anchor", text_anchor);
}

// ---- elements ----

namespace {
const std::set<std::string>& hkContainerNames() {
  static const std::set<std::string> names{"altGlyphDef", "clipPath", "color-profile", "cursor", "filter", "font",
                                           "font-face", "foreignObject", "image", "marker", "mask", "pattern",
                                           "script", "style", "switch", "text", "view"};
  return names;
}
}  // namespace

HKSVG_g2::HKSVG_g2() : HKSVG_BaseElement2a("g", false) {
  _content.categories = {HKSVG_animation, HKSVG_descriptive, HKSVG_shape, HKSVG_structural, HKSVG_gradient};
  _content.elements = hkContainerNames();
  ReplaceAttributeContent("clip-path", _clipPath);
  ReplaceAttributeContent("transform", _transform);
}

void HKSVG_g2::Translation(double x, double y) { _transform.Translate(x, y); }

HKSVG_defs2::HKSVG_defs2() : HKSVG_BaseElement2a("defs", false) {
  _content.categories = {HKSVG_animation, HKSVG_descriptive, HKSVG_shape, HKSVG_structural, HKSVG_gradient};
  _content.elements = hkContainerNames();
}

HKSVG_clipPath2::HKSVG_clipPath2() : HKSVG_BaseElement2a("clipPath", false) {
  _content.categories = {HKSVG_animation, HKSVG_descriptive, HKSVG_shape};
  _content.elements = {"text"};
}

HKSVG_rect2::HKSVG_rect2(double w, double h)
    : HKSVG_BaseElement2a("rect", true), x(std::string("0")), y(std::string("0")), width(w), height(h) {
  _content.categories = {HKSVG_animation, HKSVG_descriptive};
  _registerFill(*this);
  ReplaceAttributeContent("height", height);
  ReplaceAttributeContent("width", width);
  ReplaceAttributeContent("x", x);
  ReplaceAttributeContent("y", y);
}

HKSVG_line2::HKSVG_line2(double ax1, double ay1, double ax2, double ay2, int dashed)
    : HKSVG_BaseElement2a("line", true), x1(ax1), y1(ay1), x2(ax2), y2(ay2) {
  _content.categories = {static_cast<svgcategories>(1), static_cast<svgcategories>(2), static_cast<svgcategories>(3)};
  _content.further = {static_cast<svgcategories>(4), static_cast<svgcategories>(5)};
  _registerShape(*this);
  ReplaceAttributeContent("x1", x1);
  ReplaceAttributeContent("x2", x2);
  ReplaceAttributeContent("y1", y1);
  ReplaceAttributeContent("y2", y2);
  if (dashed != 0) stroke_dasharray = std::string("8,8");
}

HKSVG_polyline2::HKSVG_polyline2() : HKSVG_BaseElement2a("polyline", true) {
  _content.categories = {HKSVG_animation, HKSVG_descriptive};
  _registerShape(*this);
  _registerFill(*this);
  ReplaceAttributeContent("points", points);
}

HKSVG_text2::HKSVG_text2(double ax, double ay, const std::string& text)
    : HKSVG_BaseElement2a("text", false), x(ax), y(ay) {
  _content.categories = {HKSVG_animation, HKSVG_descriptive, HKSVG_text_content_child};
  _registerText(*this);
  ReplaceAttributeContent("transform", transform);
  ReplaceAttributeContent("x", x);
  ReplaceAttributeContent("y", y);
  PushBackChildElement(static_cast<HKXMLGenericElement*>(new HKSVG_xmltext2(text)));
}

HKSVG_xmltext2::HKSVG_xmltext2(const std::string& text) : HKSVG_BaseElement2("xmltext", true), _text(text) {
  _noSpecial = false;
}

void HKSVG_xmltext2::print(std::ostream& os) const {
  _preprint();
  os << _text;
}

HKSVG_Doctype2::HKSVG_Doctype2(const std::string& text) : HKSVG_BaseElement2("SVGDoctype", true), _text(text) {}

void HKSVG_Doctype2::print(std::ostream& os) const {
  _preprint();
  os << "<!DOCTYPE " << _text << ">\n";
}

HKSVG_svg2::HKSVG_svg2(const std::string& width, const std::string& height)
    : HKSVG_BaseElement2("svg", false),
      _xmlns(std::string("http://www.w3.org/2000/svg")),
      _xmlnsXlink(std::string("http://www.w3.org/1999/xlink")),
      _xmlnsEv(std::string("http://www.w3.org/2001/xml-events")),
      _version(std::string("1.1")),
      _baseProfile(std::string("full")),
      _width(width),
      _height(height),
      _viewBox("0 0 " + width + " " + height) {
  ReplaceAttributeContent("baseProfile", _baseProfile);
  ReplaceAttributeContent("height", _height);
  ReplaceAttributeContent("version", _version);
  ReplaceAttributeContent("viewBox", _viewBox);
  ReplaceAttributeContent("width", _width);
  ReplaceAttributeContent("xmlns", _xmlns);
  ReplaceAttributeContent("xmlns:ev", _xmlnsEv);
  ReplaceAttributeContent("xmlns:xlink", _xmlnsXlink);
}

HKSVG_Document2::HKSVG_Document2(const std::string& width, const std::string& height)
    : HKSVG_BaseElement2("svgdocument", false), _width(width), _height(height) {
  PushBackChildElement(static_cast<HKXMLGenericElement*>(
      new HKXML_Declaration2("xml version=\"1.0\" encoding=\"UTF-8\"")));
  PushBackChildElement(static_cast<HKXMLGenericElement*>(new HKSVG_Doctype2(
      "svg PUBLIC \"-//W3C//DTD SVG 1.1//EN\" \"http://www.w3.org/Graphics/SVG/1.1/DTD/svg11.dtd\"")));
  PushBackChildElement(static_cast<HKXMLGenericElement*>(new HKSVG_svg2(width, height)));
}

void HKSVG_Document2::print(std::ostream& os) const {
  _preprint();
  for (const HKXMLComplexElement* child : _children) {
    if (child != nullptr) child->print(os);
  }
}

HKSVG_svg2* HKSVG_Document2::Svg() {
  std::list<HKXMLComplexElement*> found;
  findObjects("svg", found, -1);
  for (HKXMLComplexElement* element : found) {
    if (auto* svg = dynamic_cast<HKSVG_svg2*>(element)) return svg;
  }
  return dynamic_cast<HKSVG_svg2*>(PushBackChildElement(static_cast<HKXMLGenericElement*>(new HKSVG_svg2(_width, _height))));
}

std::string HKSVG_Document2::GetBuffer_svg() {
  HKSVG_svg2* svg = Svg();
  return svg != nullptr ? svg->GetBuffer() : std::string();
}
