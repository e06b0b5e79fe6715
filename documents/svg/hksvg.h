// SVG elements, enough for charts. Documents are built by program only;
// there is no grammar for reading SVG.
#pragma once

#include <ostream>
#include <set>
#include <string>
#include <vector>

#include <toviktwo/xml/hkxmlattribute.h>
#include <toviktwo/xml/hkxmlelement.h>

// An attribute for generated ids.
class HKId : public HKXMLStringHKAttribute {
 public:
  HKId() = default;
  explicit HKId(const std::string& id) : HKXMLStringHKAttribute(id) {}
  using HKXMLStringHKAttribute::operator=;
};

struct HKPointXY {
  double x = 0.0;
  double y = 0.0;
};

// A list of points, written "x,y x,y ..." with a line end after every 31st
// pair; fewer than two points write nothing. Reading from text is not
// provided.
class HKXMLPointsXYHKAttribute : public HKXMLComplexAttribute2 {
 public:
  HKXMLPointsXYHKAttribute() = default;
  bool AttributeIsSet() const override;
  void print(std::ostream& os) const override;
  // Both throw "@todo function is missing".
  const std::string& operator=(const std::string& value) override;
  const std::string& operator=(const char* value) override;
  void push_back(const HKPointXY& point);
  const std::vector<HKPointXY>& operator()() const { return _points; }

 private:
  std::vector<HKPointXY> _points;
  bool _set = false;
};

// " translate(x,y)" and/or " rotate(angle)" when set; text is ignored.
class HKXMLTransformHKAttribute : public HKXMLComplexAttribute2 {
 public:
  HKXMLTransformHKAttribute() = default;
  bool AttributeIsSet() const override;
  void print(std::ostream& os) const override;
  const std::string& operator=(const std::string& value) override;
  const std::string& operator=(const char* value) override;
  void Translate(double x, double y);
  void Rotate(double angle);

 private:
  bool _set = false;
  bool _translate = false;
  double _x = 0.0;
  double _y = 0.0;
  bool _rotate = false;
  double _angle = 0.0;
};

// Categories of SVG content, for the content description of the elements.
enum svgcategories : int {
  HKSVG_animation = 1,
  HKSVG_basic_shape = 2,
  HKSVG_shape = 3,
  HKSVG_graphics = 4,
  HKSVG_graphics_referencing = 5,
  HKSVG_container = 6,
  HKSVG_descriptive = 7,
  HKSVG_gradient = 8,
  HKSVG_structural = 9,
  HKSVG_text_content = 10,
  HKSVG_text_content_child = 11,
  HKSVG_filter_primitive = 12,
  HKSVG_light_source = 13,
  HKSVG_paint_server = 14,
};

// What an element may contain (documentation of the content model; nothing
// consults it when linking children).
struct HKSVGCategoryAndElement {
  std::set<svgcategories> categories;
  std::set<svgcategories> further;
  std::set<std::string> elements;
};

class HKSVG_BaseElement2 : public HKXMLGenericElement {
 public:
  HKSVG_BaseElement2(const std::string& name, bool shortPermitted);
  ~HKSVG_BaseElement2() override;

  using HKXMLComplexElement::PushBackChildElement;
  // The element printed into a text.
  virtual std::string GetBuffer();
  // The child added last through PushBackChildElement(HKXMLGenericElement*).
  virtual HKXMLGenericElement* Last() const;
  // Adds through operator<< and remembers the child as the last one.
  virtual HKXMLGenericElement* PushBackChildElement(HKXMLGenericElement* child);
  void SetID(const std::string& id);
  HKXMLStringHKAttribute& id() { return _id; }

 protected:
  HKXMLStringHKAttribute _id;
  HKXMLGenericElement* _last = nullptr;
};

class HKSVG_BaseElement2a : public HKSVG_BaseElement2 {
 public:
  HKSVG_BaseElement2a(const std::string& name, bool shortPermitted);
  const HKSVGCategoryAndElement& Content() const { return _content; }

 protected:
  HKSVGCategoryAndElement _content;
};

// Presentation attribute groups; the element registers their members.
class HKSVG_presentation_attributes_shape {
 public:
  HKSVG_presentation_attributes_shape();
  // Writes the width into stroke-width and stores a non-empty dash pattern;
  // returns the width's text.
  std::string Stroke_Width(double width, const std::string& dash);

  HKXMLStringHKAttribute stroke;
  HKXMLStringHKAttribute stroke_width;
  HKXMLStringHKAttribute stroke_dasharray;

 protected:
  void _registerShape(HKXMLGenericElement& element);
};

class HKSVG_presentation_attributes_fill {
 public:
  HKSVG_presentation_attributes_fill();
  HKXMLStringHKAttribute fill;

 protected:
  void _registerFill(HKXMLGenericElement& element);
};

class HKSVG_presentation_attributes_text {
 public:
  HKSVG_presentation_attributes_text();
  // Stores a non-empty anchor; returns the anchor's text.
  std::string Text_Anchor(const std::string& anchor);
  HKXMLStringHKAttribute text_anchor;
  HKXMLStringHKAttribute font_size;

 protected:
  void _registerText(HKXMLGenericElement& element);
};

class HKSVG_g2 : public HKSVG_BaseElement2a {
 public:
  HKSVG_g2();
  virtual void Translation(double x, double y);
  HKXMLStringHKAttribute& clip_path() { return _clipPath; }
  HKXMLTransformHKAttribute& transform() { return _transform; }

 private:
  HKXMLStringHKAttribute _clipPath;
  HKXMLTransformHKAttribute _transform;
};

class HKSVG_defs2 : public HKSVG_BaseElement2a {
 public:
  HKSVG_defs2();
};

class HKSVG_clipPath2 : public HKSVG_BaseElement2a {
 public:
  HKSVG_clipPath2();
};

class HKSVG_rect2 : public HKSVG_BaseElement2a, public HKSVG_presentation_attributes_fill {
 public:
  HKSVG_rect2(double width, double height);
  HKXMLStringHKAttribute x;
  HKXMLStringHKAttribute y;
  HKXMLDoubleHKAttribute width;
  HKXMLDoubleHKAttribute height;
};

class HKSVG_line2 : public HKSVG_BaseElement2a, public HKSVG_presentation_attributes_shape {
 public:
  // A non-zero `dashed` sets stroke-dasharray to "8,8".
  HKSVG_line2(double x1, double y1, double x2, double y2, int dashed);
  HKXMLDoubleHKAttribute x1;
  HKXMLDoubleHKAttribute y1;
  HKXMLDoubleHKAttribute x2;
  HKXMLDoubleHKAttribute y2;
};

class HKSVG_polyline2 : public HKSVG_BaseElement2a,
                        public HKSVG_presentation_attributes_shape,
                        public HKSVG_presentation_attributes_fill {
 public:
  HKSVG_polyline2();
  HKXMLPointsXYHKAttribute points;
};

class HKSVG_text2 : public HKSVG_BaseElement2a, public HKSVG_presentation_attributes_text {
 public:
  HKSVG_text2(double x, double y, const std::string& text);
  HKXMLDoubleHKAttribute x;
  HKXMLDoubleHKAttribute y;
  HKXMLTransformHKAttribute transform;
};

// Bare text inside an SVG element.
class HKSVG_xmltext2 : public HKSVG_BaseElement2 {
 public:
  explicit HKSVG_xmltext2(const std::string& text = "");
  void print(std::ostream& os) const override;
  const std::string& GetText() const { return _text; }

 private:
  std::string _text;
};

class HKSVG_Doctype2 : public HKSVG_BaseElement2 {
 public:
  explicit HKSVG_Doctype2(const std::string& text);
  void print(std::ostream& os) const override;

 private:
  std::string _text;
};

class HKSVG_svg2 : public HKSVG_BaseElement2 {
 public:
  HKSVG_svg2(const std::string& width, const std::string& height);

 private:
  HKXMLStringHKAttribute _xmlns;
  HKXMLStringHKAttribute _xmlnsXlink;
  HKXMLStringHKAttribute _xmlnsEv;
  HKXMLStringHKAttribute _version;
  HKXMLStringHKAttribute _baseProfile;
  HKXMLStringHKAttribute _width;
  HKXMLStringHKAttribute _height;
  HKXMLStringHKAttribute _viewBox;
};

// A stand-alone SVG file: XML declaration, doctype and the svg element.
class HKSVG_Document2 : public HKSVG_BaseElement2 {
 public:
  HKSVG_Document2(const std::string& width, const std::string& height);
  // Children only; the document has no tag.
  void print(std::ostream& os) const override;
  // The svg child, created when missing.
  HKSVG_svg2* Svg();
  // The svg element alone, for embedding in an HTML page.
  std::string GetBuffer_svg();

 private:
  std::string _width;
  std::string _height;
};
