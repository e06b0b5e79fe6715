// Forms and their controls, the self-reloading hidden form and a labelled
// progress bar.
#pragma once

#include <string>

#include <toviktwo/documents/html/hkhtmldocument.h>
#include <toviktwo/documents/html/hkhtmlelement.h>
#include <toviktwo/foundation/hkbuffers.h>

class HKHTML_input2_hidden;
class HKHTML_input2_button;
class HKHTML_select2;

class HKHTML_form2 : public HKHTML_ElementType0, public HKHTML_ElementType0A, public HKHTML_ElementType0B {
 public:
  // Each of method and action is assigned when not empty.
  explicit HKHTML_form2(const std::string& method = "", const std::string& action = "");
  HKHTML_input2_hidden* input_hidden(const std::string& name, const std::string& value);
  HKHTML_input2_button* input_button(const std::string& name, const std::string& value);
  // A select named `name`; a non-empty `id` is set.
  HKHTML_select2* select(const std::string& name, const std::string& id);
  HKXMLStringHKAttribute& method() { return _method; }
  HKXMLStringHKAttribute& action() { return _action; }

 private:
  HKXMLStringHKAttribute _method;
  HKXMLStringHKAttribute _action;
};

// "input": void; name, value and type.
class HKHTML_input2 : public HKHTML_ElementType2 {
 public:
  HKHTML_input2();
  HKXMLStringHKAttribute& name() { return _name; }
  HKXMLStringHKAttribute& value() { return _value; }
  HKXMLStringHKAttribute& type() { return _type; }

 protected:
  // Sets the type, a non-empty id, name and value.
  HKHTML_input2(const std::string& type, const std::string& id, const std::string& name, const std::string& value);

  HKXMLStringHKAttribute _name;
  HKXMLStringHKAttribute _value;
  HKXMLStringHKAttribute _type;
};

class HKHTML_input2_hidden : public HKHTML_input2 {
 public:
  HKHTML_input2_hidden(const std::string& id, const std::string& name, const std::string& value);
};

class HKHTML_input2_text : public HKHTML_input2 {
 public:
  HKHTML_input2_text(const std::string& id, const std::string& name, const std::string& value);
};

// type "submit".
class HKHTML_input2_button : public HKHTML_input2 {
 public:
  HKHTML_input2_button(const std::string& id, const std::string& name, const std::string& value);
};

// type "file"; `accept` limits the file types offered.
class HKHTML_input2_file : public HKHTML_input2 {
 public:
  HKHTML_input2_file(const std::string& id, const std::string& name, const std::string& accept);
  HKXMLStringHKAttribute& accept() { return _accept; }

 private:
  HKXMLStringHKAttribute _accept;
};

// type "range" with min and max; the value is written by "%f".
class HKHTML_input2_slider : public HKHTML_input2 {
 public:
  HKHTML_input2_slider(const std::string& id, const std::string& name, double value, double min, double max);
  void setValue(double value);
  HKXMLDoubleHKAttribute& min() { return _min; }
  HKXMLDoubleHKAttribute& max() { return _max; }

 private:
  HKXMLDoubleHKAttribute _min;
  HKXMLDoubleHKAttribute _max;
};

// type "blob": a hidden carrier of bulk data, sent as one part of a
// multipart form. The data is kept as bytes; numbers are appended in the
// machine's own byte order, 8 bytes each.
class HKHTML_input2_blob : public HKHTML_input2 {
 public:
  HKHTML_input2_blob(const std::string& id, const std::string& name, const std::string& data);
  HKHTML_input2_blob(const std::string& id, const std::string& name, const unsigned long* data, unsigned long count);
  void append(const std::string& data);
  void append(const unsigned long* data, unsigned long count);
  void appendToStringBuffer(std::string& out) const;
  void appendToStringBuffer(HKStringBuf& out) const;
  const std::string& data() const { return _data; }

 private:
  std::string _data;
};

class HKHTML_option2;

class HKHTML_select2 : public HKHTML_ElementType0 {
 public:
  HKHTML_select2();
  explicit HKHTML_select2(const std::string& name);
  // Appends an option and returns it.
  HKHTML_option2* option(const std::string& value, const std::string& text, bool selected);
  HKXMLStringHKAttribute& name() { return _name; }

 private:
  HKXMLStringHKAttribute _name;
};

// "option": value and selected (left out when not selected); the text is a child.
class HKHTML_option2 : public HKHTML_ElementType1 {
 public:
  HKHTML_option2();
  HKHTML_option2(const std::string& value, const std::string& text, bool selected);
  void setSelected(bool selected);
  HKXMLStringHKAttribute& value() { return _value; }
  HKXMLStringHKAttribute& selected() { return _selected; }

 private:
  HKXMLStringHKAttribute _value;
  HKXMLStringHKAttribute _selected;
};

class HKHTML_progress2 : public HKHTML_ElementType0, public HKHTML_ElementType0A {
 public:
  HKHTML_progress2();
  void setValue(double value);
  void setMax(double max);
  void setMaxValue(double max, double value);
  HKXMLDoubleHKAttribute& value() { return _value; }
  HKXMLDoubleHKAttribute& max() { return _max; }

 private:
  HKXMLDoubleHKAttribute _value;
  HKXMLDoubleHKAttribute _max;
};

// A progress bar with a label "value/max". Every object gets its own id
// "HKProgress_<n>" from a running counter; the label points to it.
class HKProgress {
 public:
  HKProgress(const std::string& name, double value, double max);
  HKProgress(const HKProgress&) = delete;
  HKProgress& operator=(const HKProgress&) = delete;
  virtual ~HKProgress();
  // Sets both and renews the label text.
  void setMaxValue(double max, double value);
  // The progress element, then the label.
  virtual void print(std::ostream& os) const;
  std::string GetBuffer() const;
  const std::string& getName() const { return _name; }
  const std::string& getID() const { return _progressID; }
  HKHTML_label2& label() { return _label; }
  HKHTML_progress2& progress() { return _progress; }

 private:
  std::string _name;
  std::string _progressID;
  HKHTML_label2 _label;
  HKHTML_progress2 _progress;
};

// The hidden form by which a page reloads itself by POST: a button
// "tovikreloadbutton", the session field "tovikid" and the command field
// "tovikcommand" (id "tovikreloadcommand").
class HKHTMLReloadPost : public HKHTML_form2 {
 public:
  HKHTMLReloadPost(const std::string& action, const std::string& command);
};

// A small page holding such a form, for reloading a parent frame from a
// child frame: its script presses the parent's reload button when there is
// one, and its own otherwise.
class HKHTMLReloadPostFromChild : public HKHTML_Document2 {
 public:
  HKHTMLReloadPostFromChild(const std::string& action, const std::string& command);
};
