// The typed HTML elements.
//
// Every HTML tag the library knows is a small class, HKHTML_ + tag + 2
// (HKHTML_h12 is "h1"). What carries meaning is which of a few family bases
// a tag has:
//   HKHTML_ElementType0   always written with its end tag: "<div></div>"
//   HKHTML_ElementType1   the same; marks tags whose end tag HTML lets one omit
//   HKHTML_ElementType2   a void tag: "<br />", adding a child throws
//   HKHTML_ElementType0A  mixin: an owned helper object (null by default)
//   HKHTML_ElementType0B  mixin for block containers: button(), p(), div(), hr(), span()
//   HKHTML_ElementType0C  mixin: form()
// All families derive virtually from HKHTML_BaseElement2, which carries the
// id, class and style attributes.
//
// Templates are read through the grammar "html": HKDTD_HTML_fillelements
// registers one factory per class, and HKCreateHTMLElement makes a generic
// element for any other tag (so custom tags are no error).
#pragma once

#include <memory>
#include <ostream>
#include <string>

#include <toviktwo/documents/css/hkcss.h>
#include <toviktwo/xml/hkdtd.h>
#include <toviktwo/xml/hkxmlattribute.h>
#include <toviktwo/xml/hkxmlelement.h>

class HKHTML_button2;
class HKHTML_p2;
class HKHTML_div2;
class HKHTML_hr2;
class HKHTML_span2;
class HKHTML_form2;
class HKHTML_head2;
class HKHTML_body2;

// The id, class and style members are attributes of every HTML element:
// reading, operator[] and the other attribute operations reach them under
// "id", "class" and "style", and they print only when set.
//
// A page holds one element per word of text, and most elements never carry
// any of the three; so the proxy that puts a member into the attribute table
// is registered with the first operation that may set it (an assignment or
// operator[] naming it, RemoveAttribute naming it, and the accessors and
// setters below). Until then the member is unset, and the queries
// (ContainsAttribute, getAttributeText, IdentAttribute) answer for it as the
// table would.
class HKHTML_BaseElement2 : public HKXMLGenericElement {
 public:
  // A structural element whose short-tag flags are exactly the ones given
  // (this overrides the generic element's "permitted" default).
  HKHTML_BaseElement2(const std::string& name, bool shortForced, bool shortPermitted);
  ~HKHTML_BaseElement2() override;

  // The element printed into a text (for partial page updates).
  virtual std::string GetBuffer();
  // JavaScript that creates this element on the client and appends it to
  // the document. Attribute values are not escaped.
  virtual std::string AsJavaScriptAdd();

  void setID(const std::string& id);
  void setStyle(const std::string& style);

  HKXMLStringHKAttribute& id();
  HKXMLStringHKAttribute& cssClass();
  HKStyleAttribute& style();

  using HKXMLGenericElement::ReplaceAttributeContent;
  bool ReplaceAttributeContent(const std::string& name, const std::string& value) override;
  HKXMLComplexAttribute2& operator[](const std::string& name) override;
  std::string getAttributeText(const std::string& name, const std::string& fallback) override;
  bool IdentAttribute(const std::string& name, const std::string& value) override;
  bool ContainsAttribute(const std::string& name) override;
  bool RemoveAttribute(const std::string& name) override;

 protected:
  // The constructor the families use: placeholder name, then they assign
  // the tag to the type name.
  HKHTML_BaseElement2();
  // The bit of a member name (0 for any other name).
  static unsigned _memberBit(const std::string& name);
  // Puts the members of `bits` into the attribute table, each once. A name
  // that was registered otherwise in the meantime keeps its entry.
  void _registerMembers(unsigned bits);
  // Whether the table answers for this name (the name is no member, or the
  // member is registered).
  bool _tableAnswers(const std::string& name) const;

 private:
  static constexpr unsigned kIdBit = 1;
  static constexpr unsigned kClassBit = 2;
  static constexpr unsigned kStyleBit = 4;

  HKXMLStringHKAttribute _id;
  HKXMLStringHKAttribute _class;
  HKStyleAttribute _style;
  unsigned _registered = 0;
};

class HKHTML_ElementType0 : public virtual HKHTML_BaseElement2 {
 public:
  explicit HKHTML_ElementType0(const std::string& tag);
};

class HKHTML_ElementType1 : public virtual HKHTML_BaseElement2 {
 public:
  explicit HKHTML_ElementType1(const std::string& tag);
};

class HKHTML_ElementType2 : public virtual HKHTML_BaseElement2 {
 public:
  explicit HKHTML_ElementType2(const std::string& tag);
};

// The helper object an element of the family 0A may own.
class HKHTML_ElementHelper {
 public:
  virtual ~HKHTML_ElementHelper();
};

class HKHTML_ElementType0A : public virtual HKHTML_BaseElement2 {
 public:
  explicit HKHTML_ElementType0A(const std::string& tag);
  HKHTML_ElementHelper* GetHelper() const { return _helper.get(); }
  // Takes ownership; the former helper is destroyed.
  void SetHelper(HKHTML_ElementHelper* helper) { _helper.reset(helper); }

 private:
  std::unique_ptr<HKHTML_ElementHelper> _helper;
};

// Creating operations append the new element to this one and return it
// typed (the tree owns it), or null.
class HKHTML_ElementType0B : public virtual HKHTML_BaseElement2 {
 public:
  explicit HKHTML_ElementType0B(const std::string& tag);
  HKHTML_button2* button();
  HKHTML_p2* p();
  HKHTML_div2* div(const std::string& id, bool draggable);
  HKHTML_hr2* hr();
  HKHTML_span2* span();
};

class HKHTML_ElementType0C : public virtual HKHTML_BaseElement2 {
 public:
  explicit HKHTML_ElementType0C(const std::string& tag);
  HKHTML_form2* form(const std::string& method, const std::string& action);
};

// Text ("xmltext"): never written with a tag, only the text as it stands.
class HKHTML_text2 : public HKHTML_BaseElement2 {
 public:
  HKHTML_text2();
  explicit HKHTML_text2(const std::string& text);
  void print(std::ostream& os) const override;
  void AsText(std::ostream& os) const override;
  bool IsXMLText() override;
  HKHTML_text2& operator+=(const std::string& text);
  const std::string& GetText() const { return _text; }
  void SetText(const std::string& text) { _text = text; }

 private:
  std::string _text;
};

// ---- the tag classes ----

#define HKHTML_TAG_TYPE0(tag)                                  \
  class HKHTML_##tag##2 : public HKHTML_ElementType0 {         \
   public:                                                     \
    HKHTML_##tag##2() : HKHTML_ElementType0(#tag) {}           \
  };
#define HKHTML_TAG_TYPE1(tag)                                  \
  class HKHTML_##tag##2 : public HKHTML_ElementType1 {         \
   public:                                                     \
    HKHTML_##tag##2() : HKHTML_ElementType1(#tag) {}           \
  };
#define HKHTML_TAG_TYPE2(tag)                                  \
  class HKHTML_##tag##2 : public HKHTML_ElementType2 {         \
   public:                                                     \
    HKHTML_##tag##2() : HKHTML_ElementType2(#tag) {}           \
  };
#define HKHTML_TAG_TYPE0_0A(tag)                                                    \
  class HKHTML_##tag##2 : public HKHTML_ElementType0, public HKHTML_ElementType0A { \
   public:                                                                          \
    HKHTML_##tag##2() : HKHTML_ElementType0(#tag), HKHTML_ElementType0A(#tag) {}    \
  };
#define HKHTML_TAG_TYPE0_0A_0B(tag)                                                                              \
  class HKHTML_##tag##2 : public HKHTML_ElementType0, public HKHTML_ElementType0A, public HKHTML_ElementType0B { \
   public:                                                                                                       \
    HKHTML_##tag##2() : HKHTML_ElementType0(#tag), HKHTML_ElementType0A(#tag), HKHTML_ElementType0B(#tag) {}     \
  };

// Type0 alone (a, html, head, script, select, style come with more below
// or in their own headers).
HKHTML_TAG_TYPE0(abbr)
HKHTML_TAG_TYPE0(acronym)
HKHTML_TAG_TYPE0(address)
HKHTML_TAG_TYPE0(article)
HKHTML_TAG_TYPE0(aside)
HKHTML_TAG_TYPE0(audio)
HKHTML_TAG_TYPE0(b)
HKHTML_TAG_TYPE0(bdi)
HKHTML_TAG_TYPE0(bdo)
HKHTML_TAG_TYPE0(big)
HKHTML_TAG_TYPE0(blockquote)
HKHTML_TAG_TYPE0(canvas)
HKHTML_TAG_TYPE0(caption)
HKHTML_TAG_TYPE0(cite)
HKHTML_TAG_TYPE0(code)
HKHTML_TAG_TYPE0(datalist)
HKHTML_TAG_TYPE0(del)
HKHTML_TAG_TYPE0(details)
HKHTML_TAG_TYPE0(dfn)
HKHTML_TAG_TYPE0(dialog)
HKHTML_TAG_TYPE0(dl)
HKHTML_TAG_TYPE0(em)
HKHTML_TAG_TYPE0(fieldset)
HKHTML_TAG_TYPE0(figcaption)
HKHTML_TAG_TYPE0(figure)
HKHTML_TAG_TYPE0(footer)
HKHTML_TAG_TYPE0(frameset)
HKHTML_TAG_TYPE0(h1)
HKHTML_TAG_TYPE0(h3)
HKHTML_TAG_TYPE0(h4)
HKHTML_TAG_TYPE0(h5)
HKHTML_TAG_TYPE0(h6)
HKHTML_TAG_TYPE0(head)
HKHTML_TAG_TYPE0(header)
HKHTML_TAG_TYPE0(hgroup)
HKHTML_TAG_TYPE0(i)
HKHTML_TAG_TYPE0(iframe)
HKHTML_TAG_TYPE0(ins)
HKHTML_TAG_TYPE0(kbd)
HKHTML_TAG_TYPE0(legend)
HKHTML_TAG_TYPE0(main)
HKHTML_TAG_TYPE0(map)
HKHTML_TAG_TYPE0(mark)
HKHTML_TAG_TYPE0(menu)
HKHTML_TAG_TYPE0(menuitem)
HKHTML_TAG_TYPE0(meter)
HKHTML_TAG_TYPE0(nav)
HKHTML_TAG_TYPE0(noframes)
HKHTML_TAG_TYPE0(noscript)
HKHTML_TAG_TYPE0(object)
HKHTML_TAG_TYPE0(ol)
HKHTML_TAG_TYPE0(optgroup)
HKHTML_TAG_TYPE0(output)
HKHTML_TAG_TYPE0(pre)
HKHTML_TAG_TYPE0(q)
HKHTML_TAG_TYPE0(rp)
HKHTML_TAG_TYPE0(rt)
HKHTML_TAG_TYPE0(ruby)
HKHTML_TAG_TYPE0(s)
HKHTML_TAG_TYPE0(samp)
HKHTML_TAG_TYPE0(section)
HKHTML_TAG_TYPE0(small)
HKHTML_TAG_TYPE0(strong)
HKHTML_TAG_TYPE0(sub)
HKHTML_TAG_TYPE0(summary)
HKHTML_TAG_TYPE0(sup)
HKHTML_TAG_TYPE0(table)
HKHTML_TAG_TYPE0(tbody)
HKHTML_TAG_TYPE0(textarea)
HKHTML_TAG_TYPE0(time)
HKHTML_TAG_TYPE0(title)
HKHTML_TAG_TYPE0(tt)
HKHTML_TAG_TYPE0(u)
HKHTML_TAG_TYPE0(ul)
HKHTML_TAG_TYPE0(var)
HKHTML_TAG_TYPE0(video)

// Type1 alone (option comes with the form elements).
HKHTML_TAG_TYPE1(colgroup)
HKHTML_TAG_TYPE1(dd)
HKHTML_TAG_TYPE1(dt)
HKHTML_TAG_TYPE1(li)
HKHTML_TAG_TYPE1(td)
HKHTML_TAG_TYPE1(tfoot)
HKHTML_TAG_TYPE1(th)
HKHTML_TAG_TYPE1(thead)
HKHTML_TAG_TYPE1(tr)

// Type2, void (input comes with the form elements).
HKHTML_TAG_TYPE2(area)
HKHTML_TAG_TYPE2(base)
HKHTML_TAG_TYPE2(br)
HKHTML_TAG_TYPE2(col)
HKHTML_TAG_TYPE2(embed)
HKHTML_TAG_TYPE2(frame)
HKHTML_TAG_TYPE2(hr)
HKHTML_TAG_TYPE2(img)
HKHTML_TAG_TYPE2(keygen)
HKHTML_TAG_TYPE2(link)
HKHTML_TAG_TYPE2(meta)
HKHTML_TAG_TYPE2(param)
HKHTML_TAG_TYPE2(source)
HKHTML_TAG_TYPE2(track)
HKHTML_TAG_TYPE2(wbr)

// Type0 and Type0A (label and progress come with more).
HKHTML_TAG_TYPE0_0A(h2)
HKHTML_TAG_TYPE0_0A(span)

// Type0, Type0A and Type0B (form comes with the form elements).
HKHTML_TAG_TYPE0_0A_0B(button)

#undef HKHTML_TAG_TYPE0
#undef HKHTML_TAG_TYPE1
#undef HKHTML_TAG_TYPE2
#undef HKHTML_TAG_TYPE0_0A
#undef HKHTML_TAG_TYPE0_0A_0B

// Type0, Type0A, Type0B and Type0C.
class HKHTML_body2 : public HKHTML_ElementType0,
                     public HKHTML_ElementType0A,
                     public HKHTML_ElementType0B,
                     public HKHTML_ElementType0C {
 public:
  HKHTML_body2();
};

// A div; with draggable, onmousedown starts dragging it in the browser.
class HKHTML_div2 : public HKHTML_ElementType0,
                    public HKHTML_ElementType0A,
                    public HKHTML_ElementType0B,
                    public HKHTML_ElementType0C {
 public:
  // A non-empty id is set.
  explicit HKHTML_div2(const std::string& id = "", bool draggable = false);
  HKXMLStringHKAttribute& onmousedown() { return _onmousedown; }

 private:
  HKXMLStringHKAttribute _onmousedown;
};

// Type1, Type0A, Type0B and Type0C.
class HKHTML_p2 : public HKHTML_ElementType1,
                  public HKHTML_ElementType0A,
                  public HKHTML_ElementType0B,
                  public HKHTML_ElementType0C {
 public:
  HKHTML_p2();
};

// A link: href and name; a non-empty text becomes a text child.
class HKHTML_a2 : public HKHTML_ElementType0 {
 public:
  HKHTML_a2();
  HKHTML_a2(const std::string& href, const std::string& text);
  HKXMLStringHKAttribute& href() { return _href; }
  HKXMLStringHKAttribute& name() { return _name; }

 private:
  HKXMLStringHKAttribute _href;
  HKXMLStringHKAttribute _name;
};

// A label: the attribute for, and a text child when a text is given.
class HKHTML_label2 : public HKHTML_ElementType0, public HKHTML_ElementType0A {
 public:
  HKHTML_label2();
  explicit HKHTML_label2(const std::string& text, const std::string& forId = "");
  HKXMLStringHKAttribute& labelFor() { return _for; }
  // Replaces the children by one text.
  void setText(const std::string& text);

 private:
  HKXMLStringHKAttribute _for;
};

// The html element of a document; head and body are its children.
class HKHTML_html2 : public HKHTML_ElementType0 {
 public:
  HKHTML_html2();
  // The head child; created and put in front when missing.
  HKHTML_head2* theHead();
  // The body child; created and appended when missing.
  HKHTML_body2* theBody();
  // Sets lang here, the content of meta http-equiv="language" and the lang
  // of meta name="description".
  void addLanguageInfo(const std::string& lang);
};

// The factory behind the "xmlelement" token of "html", "xmlhtml" and "css":
// the grammar's element factory for `name` when it has one, otherwise a
// generic element (which prints as a short tag when empty).
HKXMLGenericElement* HKCreateHTMLElement(const std::string& name, HKDTD& dtd);

// Registers one element factory per HTML class by its tag, and the sixteen
// void tags as no-closing-tag elements.
void HKDTD_HTML_fillelements(HKDTD& dtd);
