#include <toviktwo/documents/html/hkhtmlform.h>

#include <atomic>
#include <cstdio>
#include <sstream>

namespace {
std::string hkFormatF(double v) {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%f", v);
  return buffer;
}
}  // namespace

// ---- HKHTML_form2 ----

HKHTML_form2::HKHTML_form2(const std::string& method, const std::string& action)
    : HKHTML_ElementType0("form"), HKHTML_ElementType0A("form"), HKHTML_ElementType0B("form") {
  ReplaceAttributeContent("action", _action);
  ReplaceAttributeContent("method", _method);
  if (!method.empty()) _method = method;
  if (!action.empty()) _action = action;
}

HKHTML_input2_hidden* HKHTML_form2::input_hidden(const std::string& name, const std::string& value) {
  return dynamic_cast<HKHTML_input2_hidden*>(PushBackChildElement(new HKHTML_input2_hidden("", name, value)));
}

HKHTML_input2_button* HKHTML_form2::input_button(const std::string& name, const std::string& value) {
  return dynamic_cast<HKHTML_input2_button*>(PushBackChildElement(new HKHTML_input2_button("", name, value)));
}

HKHTML_select2* HKHTML_form2::select(const std::string& name, const std::string& id) {
  auto* select = new HKHTML_select2(name);
  if (!id.empty()) select->setID(id);
  return dynamic_cast<HKHTML_select2*>(PushBackChildElement(select));
}

// ---- inputs ----

HKHTML_input2::HKHTML_input2() : HKHTML_ElementType2("input") {
  ReplaceAttributeContent("name", _name);
  ReplaceAttributeContent("type", _type);
  ReplaceAttributeContent("value", _value);
}

HKHTML_input2::HKHTML_input2(const std::string& type, const std::string& id, const std::string& name,
                             const std::string& value)
    : HKHTML_input2() {
  _type = type;
  if (!id.empty()) setID(id);
  _name = name;
  _value = value;
}

HKHTML_input2_hidden::HKHTML_input2_hidden(const std::string& id, const std::string& name, const std::string& value)
    : HKHTML_input2("hidden", id, name, value) {}

HKHTML_input2_text::HKHTML_input2_text(const std::string& id, const std::string& name, const std::string& value)
    : HKHTML_input2("text", id, name, value) {}

HKHTML_input2_button::HKHTML_input2_button(const std::string& id, const std::string& name, const std::string& value)
    : HKHTML_input2("submit", id, name, value) {}

HKHTML_input2_file::HKHTML_input2_file(const std::string& id, const std::string& name, const std::string& accept)
    : HKHTML_input2() {
  ReplaceAttributeContent("accept", _accept);
  _type = std::string("file");
  if (!id.empty()) setID(id);
  _name = name;
  if (!accept.empty()) _accept = accept;
}

HKHTML_input2_slider::HKHTML_input2_slider(const std::string& id, const std::string& name, double value, double min,
                                           double max)
    : HKHTML_input2() {
  ReplaceAttributeContent("max", _max);
  ReplaceAttributeContent("min", _min);
  _type = std::string("range");
  if (!id.empty()) setID(id);
  _name = name;
  _min = min;
  _max = max;
  setValue(value);
}

void HKHTML_input2_slider::setValue(double value) { _value = hkFormatF(value); }

HKHTML_input2_blob::HKHTML_input2_blob(const std::string& id, const std::string& name, const std::string& data)
    : HKHTML_input2("blob", id, name, "") {
  _data = data;
}

HKHTML_input2_blob::HKHTML_input2_blob(const std::string& id, const std::string& name, const unsigned long* data,
                                       unsigned long count)
    : HKHTML_input2("blob", id, name, "") {
  append(data, count);
}

void HKHTML_input2_blob::append(const std::string& data) { _data += data; }

void HKHTML_input2_blob::append(const unsigned long* data, unsigned long count) {
  if (data == nullptr || count == 0) return;
  _data.append(reinterpret_cast<const char*>(data), count * sizeof(unsigned long));
}

void HKHTML_input2_blob::appendToStringBuffer(std::string& out) const { out += _data; }

void HKHTML_input2_blob::appendToStringBuffer(HKStringBuf& out) const {
  out.sputn(_data.data(), static_cast<std::streamsize>(_data.size()));
}

// ---- select and option ----

HKHTML_select2::HKHTML_select2() : HKHTML_ElementType0("select") { ReplaceAttributeContent("name", _name); }

HKHTML_select2::HKHTML_select2(const std::string& name) : HKHTML_select2() {
  if (!name.empty()) _name = name;
}

HKHTML_option2* HKHTML_select2::option(const std::string& value, const std::string& text, bool selected) {
  return dynamic_cast<HKHTML_option2*>(PushBackChildElement(new HKHTML_option2(value, text, selected)));
}

HKHTML_option2::HKHTML_option2() : HKHTML_ElementType1("option") {
  ReplaceAttributeContent("selected", _selected);
  ReplaceAttributeContent("value", _value);
}

HKHTML_option2::HKHTML_option2(const std::string& value, const std::string& text, bool selected) : HKHTML_option2() {
  _value = value;
  setSelected(selected);
  if (!text.empty()) PushBackChildElement(new HKHTML_text2(text));
}

void HKHTML_option2::setSelected(bool selected) {
  if (selected) {
    _selected = std::string("selected");
  } else {
    _selected = static_cast<const char*>(nullptr);  // clears the set flag
  }
}

// ---- progress ----

HKHTML_progress2::HKHTML_progress2() : HKHTML_ElementType0("progress"), HKHTML_ElementType0A("progress") {
  ReplaceAttributeContent("max", _max);
  ReplaceAttributeContent("value", _value);
}

void HKHTML_progress2::setValue(double value) { _value = value; }
void HKHTML_progress2::setMax(double max) { _max = max; }
void HKHTML_progress2::setMaxValue(double max, double value) {
  _max = max;
  _value = value;
}

namespace {
std::atomic<unsigned long> hkProgressCounter{0};
}

HKProgress::HKProgress(const std::string& name, double value, double max) : _name(name) {
  char id[64];
  std::snprintf(id, sizeof id, "HKProgress_%lu", ++hkProgressCounter);
  _progressID = id;
  _progress.setID(_progressID);
  _label.labelFor() = _progressID;
  setMaxValue(max, value);
}

HKProgress::~HKProgress() = default;

void HKProgress::setMaxValue(double max, double value) {
  _progress.setMaxValue(max, value);
  _label.setText(hkFormatF(value) + "/" + hkFormatF(max));
}

void HKProgress::print(std::ostream& os) const {
  _progress.print(os);
  _label.print(os);
}

std::string HKProgress::GetBuffer() const {
  std::ostringstream os;
  print(os);
  return os.str();
}

// ---- reloading ----

HKHTMLReloadPost::HKHTMLReloadPost(const std::string& action, const std::string& command)
    : HKHTML_form2("POST", action) {
  setStyle("visibility: collapse;");
  PushBackChildElement(new HKHTML_input2_button("tovikreloadbutton", "reload", "reload"));
  PushBackChildElement(new HKHTML_input2_hidden("", "tovikid", ""));
  PushBackChildElement(new HKHTML_input2_hidden("tovikreloadcommand", "tovikcommand", command));
}

HKHTMLReloadPostFromChild::HKHTMLReloadPostFromChild(const std::string& action, const std::string& command)
    : HKHTML_Document2() {
  AddToBody(new HKHTMLReloadPost(action, command));
  AddToBody(new HKHTML_script2("",
                               "var b = (window.parent && window.parent.document.getElementById('tovikreloadbutton'))"
                               " || document.getElementById('tovikreloadbutton');\nif (b) b.click();"));
}
