// Feeds the grammar "html" with whole pages, style sheets and style
// attribute texts: reading into a document, printing, duplicating elements.
// Reading errors are expected (they end up on the page); crashes, leaks and
// hangs are not.
#include <toviktwo/toviktwo.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <sstream>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  HKDataReader reader;

  // A whole template into a document, printed.
  {
    HKHTML_Document2 document(0);
    reader.ReadHTMLDocumentFromString(text, document, 0);
    std::ostringstream os;
    document.print(os);
    // A successful read prints a text that can be read again.
    HKHTML_Document2 again(0);
    reader.ReadHTMLDocumentFromString(os.str(), again, 0);
  }

  // The text as the content of a style element.
  {
    std::string error;
    unsigned long end = 0;
    std::unique_ptr<HKXMLGenericElement> style(
        reader.Read("<style>" + text + "</style>", 0, end, "html", error, false));
    if (style) {
      std::ostringstream os;
      style->print(os);
      std::unique_ptr<HKXMLGenericElement> copy(reader.DuplicateHTMLElement(style.get(), 0));
    }
  }

  // The first element of the text, duplicated and turned into script.
  {
    HKXMLGenericElement* element = nullptr;
    reader.ReadHTMLElement(text, element);
    std::unique_ptr<HKXMLGenericElement> owned(element);
    if (auto* html = dynamic_cast<HKHTML_BaseElement2*>(element)) {
      html->AsJavaScriptAdd();
      std::unique_ptr<HKXMLGenericElement> copy(reader.DuplicateHTMLElement(html, 0));
    }
  }

  // The text as a style attribute.
  {
    HKStyleAttribute style;
    try {
      style = text;
    } catch (const HKException&) {
    }
    std::ostringstream os;
    style.print(os);
  }
  return 0;
}
