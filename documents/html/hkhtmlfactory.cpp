// The element factories of the HTML classes and the completion of the
// grammars "html", "xmlhtml", "css" and "cssRule".
#include <string>

#include <toviktwo/documents/css/hkcss.h>
#include <toviktwo/documents/html/hkhtmldocument.h>
#include <toviktwo/documents/html/hkhtmlelement.h>
#include <toviktwo/documents/html/hkhtmlform.h>
#include <toviktwo/xml/hkdtdelementreader.h>

namespace {
template <typename T>
HKXMLComplexElement* hkMake(const std::string&, HKDTD&) {
  return new T();
}
}  // namespace

void HKDTD_HTML_fillelements(HKDTD& dtd) {
#define HK_TAG(tag) dtd.insertElementFactory(#tag, &hkMake<HKHTML_##tag##2>);
  // Type0
  HK_TAG(a) HK_TAG(abbr) HK_TAG(acronym) HK_TAG(address) HK_TAG(article) HK_TAG(aside) HK_TAG(audio) HK_TAG(b)
  HK_TAG(bdi) HK_TAG(bdo) HK_TAG(big) HK_TAG(blockquote) HK_TAG(canvas) HK_TAG(caption) HK_TAG(cite) HK_TAG(code)
  HK_TAG(datalist) HK_TAG(del) HK_TAG(details) HK_TAG(dfn) HK_TAG(dialog) HK_TAG(dl) HK_TAG(em) HK_TAG(fieldset)
  HK_TAG(figcaption) HK_TAG(figure) HK_TAG(footer) HK_TAG(frameset) HK_TAG(h1) HK_TAG(h3) HK_TAG(h4) HK_TAG(h5)
  HK_TAG(h6) HK_TAG(head) HK_TAG(header) HK_TAG(hgroup) HK_TAG(html) HK_TAG(i) HK_TAG(iframe) HK_TAG(ins)
  HK_TAG(kbd) HK_TAG(legend) HK_TAG(main) HK_TAG(map) HK_TAG(mark) HK_TAG(menu) HK_TAG(menuitem) HK_TAG(meter)
  HK_TAG(nav) HK_TAG(noframes) HK_TAG(noscript) HK_TAG(object) HK_TAG(ol) HK_TAG(optgroup) HK_TAG(output)
  HK_TAG(pre) HK_TAG(q) HK_TAG(rp) HK_TAG(rt) HK_TAG(ruby) HK_TAG(s) HK_TAG(samp) HK_TAG(script) HK_TAG(section)
  HK_TAG(select) HK_TAG(small) HK_TAG(strong) HK_TAG(style) HK_TAG(sub) HK_TAG(summary) HK_TAG(sup) HK_TAG(table)
  HK_TAG(tbody) HK_TAG(textarea) HK_TAG(time) HK_TAG(title) HK_TAG(tt) HK_TAG(u) HK_TAG(ul) HK_TAG(var)
  HK_TAG(video)
  // Type1
  HK_TAG(colgroup) HK_TAG(dd) HK_TAG(dt) HK_TAG(li) HK_TAG(option) HK_TAG(td) HK_TAG(tfoot) HK_TAG(th)
  HK_TAG(thead) HK_TAG(tr)
  // Type2
  HK_TAG(area) HK_TAG(base) HK_TAG(br) HK_TAG(col) HK_TAG(embed) HK_TAG(frame) HK_TAG(hr) HK_TAG(img)
  HK_TAG(input) HK_TAG(keygen) HK_TAG(link) HK_TAG(meta) HK_TAG(param) HK_TAG(source) HK_TAG(track) HK_TAG(wbr)
  // Type0 with Type0A (and Type0B, Type0C)
  HK_TAG(h2) HK_TAG(label) HK_TAG(progress) HK_TAG(span) HK_TAG(button) HK_TAG(form) HK_TAG(body) HK_TAG(div)
  // Type1 with Type0A, Type0B and Type0C
  HK_TAG(p)
#undef HK_TAG
  for (const char* tag : {"area", "base", "br", "col", "frame", "hr", "img", "input", "link", "meta", "param", "wbr",
                          "embed", "keygen", "source", "track"}) {
    dtd.insertNoClosingTagElement(tag);
  }
}

namespace {

HKXMLComplexElement* hkMakeHTMLElement(const std::string& content, HKDTD& dtd) {
  return HKCreateHTMLElement(content, dtd);
}

// Fills the standard grammars in every reader built from now on.
const bool hkHTMLGrammarsRegistered = [] {
  HKDTDRegisterGrammarFiller("html", [](HKDTD& dtd) {
    dtd.insertIntoDTDObjectFactory("htmldoctype", [](const std::string& content, HKDTD&) -> HKXMLComplexElement* {
      return new HKHTML_Doctype2(content);
    });
    dtd.insertIntoDTDObjectFactory("xmltext", [](const std::string& content, HKDTD&) -> HKXMLComplexElement* {
      return new HKHTML_text2(content);
    });
    dtd.insertIntoDTDObjectFactory("xmlelement", hkMakeHTMLElement);
    HKDTD_HTML_fillelements(dtd);
  });
  HKDTDRegisterGrammarFiller("xmlhtml", [](HKDTD& dtd) {
    dtd.insertIntoDTDObjectFactory("xmlelement", hkMakeHTMLElement);
    HKDTD_HTML_fillelements(dtd);
  });
  HKDTDRegisterGrammarFiller("css", [](HKDTD& dtd) {
    dtd.insertIntoDTDObjectFactory("css_aa_whitespace", [](const std::string&, HKDTD&) -> HKXMLComplexElement* {
      return new HKCSSHTMLComment();
    });
    dtd.insertIntoDTDObjectFactory("css_d_mediaquery", [](const std::string& content, HKDTD&) -> HKXMLComplexElement* {
      return new HKCSSMediaQuery(content);
    });
    dtd.insertIntoDTDObjectFactory("css_e_rule", [](const std::string& content, HKDTD&) -> HKXMLComplexElement* {
      return new HKCSSRule(content);
    });
    dtd.insertIntoDTDObjectFactory("css_f_property", [](const std::string& content, HKDTD&) -> HKXMLComplexElement* {
      return new HKCSSProperty(content, false);
    });
    dtd.insertIntoDTDObjectFactory("xmlelement", hkMakeHTMLElement);
  });
  HKDTDRegisterGrammarFiller("cssRule", [](HKDTD& dtd) {
    dtd.insertIntoDTDObjectFactory("css_f_property", [](const std::string& content, HKDTD&) -> HKXMLComplexElement* {
      return new HKCSSProperty(content, false);
    });
  });
  return true;
}();

}  // namespace
