// Feeds arbitrary bytes to the grammar-driven reader in each standard
// grammar, from a text and from a stream, in one go and token by token, and
// prints, searches and destroys whatever tree came out (also the partial
// tree of a failed read). Reading errors are reported as HKException and are
// expected; anything else (a crash, a leak, a hang, another exception) is a
// finding.
#include <toviktwo/toviktwo.h>

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <sstream>
#include <string>

namespace {

void Exercise(HKXMLComplexElement* top) {
  if (top == nullptr) return;
  std::ostringstream os;
  top->print(os);
  top->AsText(os);
  std::list<HKXMLComplexElement*> found;
  top->findObjects("a", found, -1);
  if (auto* generic = dynamic_cast<HKXMLGenericElement*>(top)) {
    std::unique_ptr<std::list<HKXMLGenericElement*>> q(generic->query("HKXMLContentSplitter::TOP.a[b].c"));
    (void)generic->FindObject("id", "x");
  }
}

void ReadText(const std::string& input, const char* grammar, bool single) {
  std::string text = input;
  HKDTDElementReaderString reader(text, 0);
  try {
    if (single) {
      // Token by token, as a caller reading several objects from one text does.
      for (int i = 0; i < 100000 && !reader.eof(); ++i) reader.read(grammar, true);
    } else {
      reader.read(grammar, false);
    }
  } catch (const HKException&) {
  }
  Exercise(reader.Splitter().getTopElement());
}

// Until the document classes fill in the HTML and CSS factories, stand-ins
// let the fuzzer reach the grammar switches: "style" moves "xml" to "css",
// a rule moves "css" to "cssRule".
class StyleStandIn : public HKXMLGenericElement {
 public:
  StyleStandIn() : HKXMLGenericElement("style", true) {}
  std::string dtdRequest(const std::string& dtd) override {
    if (dtd.empty()) return GetDTDName();
    _setDTDName(dtd);
    return "css";
  }
};

class RuleStandIn : public HKXMLGenericElement {
 public:
  explicit RuleStandIn(const std::string& name) : HKXMLGenericElement(name, true) {}
  std::string dtdRequest(const std::string& dtd) override {
    if (dtd.empty()) return GetDTDName();
    _setDTDName(dtd);
    return "cssRule";
  }
};

void InstallStandIns(HKDTDElementReader& reader) {
  HKDTD xml = HKDTDStandardGrammar("xml");
  xml.insertIntoDTDObjectFactory("xmlelement", [](const std::string& name, HKDTD&) -> HKXMLComplexElement* {
    if (name == "style") return new StyleStandIn();
    return new HKXMLGenericElement(name, true);
  });
  reader.addDTD(xml);
  auto text = [](const std::string& c, HKDTD&) -> HKXMLComplexElement* { return new HKXMLGenericText(c); };
  HKDTD css = HKDTDStandardGrammar("css");
  css.insertIntoDTDObjectFactory("css_aa_whitespace", [](const std::string&, HKDTD&) -> HKXMLComplexElement* {
    return new HKXMLGenericElement("csshtmlcomment", true);
  });
  css.insertIntoDTDObjectFactory("css_d_mediaquery", [](const std::string&, HKDTD&) -> HKXMLComplexElement* {
    return new HKXMLGenericElement("cssmediaquery", true);
  });
  css.insertIntoDTDObjectFactory("css_e_rule", [](const std::string&, HKDTD&) -> HKXMLComplexElement* {
    return new RuleStandIn("cssRule");
  });
  css.insertIntoDTDObjectFactory("css_f_property", text);
  css.insertIntoDTDObjectFactory("xmlelement", [](const std::string& name, HKDTD&) -> HKXMLComplexElement* {
    return new HKXMLGenericElement(name, true);
  });
  reader.addDTD(css);
  HKDTD cssRule = HKDTDStandardGrammar("cssRule");
  cssRule.insertIntoDTDObjectFactory("css_f_property", text);
  reader.addDTD(cssRule);
}

void ReadWithStandIns(const std::string& input, const char* grammar) {
  std::string text = input;
  HKDTDElementReaderString reader(text, 0);
  InstallStandIns(reader);
  try {
    reader.read(grammar, false);
  } catch (const HKException&) {
  }
  Exercise(reader.Splitter().getTopElement());
}

void ReadStream(const std::string& input, const char* grammar) {
  std::istringstream in(input);
  HKDTDElementReaderStream reader(in);
  try {
    reader.read(grammar, false);
  } catch (const HKException&) {
  }
  Exercise(reader.Splitter().getTopElement());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  for (const char* grammar : {"xml", "html", "xmlhtml", "css", "cssRule"}) ReadText(input, grammar, false);
  ReadText(input, "xml", true);
  for (const char* grammar : {"xml", "css", "cssRule"}) ReadWithStandIns(input, grammar);
  ReadStream(input, "xml");
  return 0;
}
