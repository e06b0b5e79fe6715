#include <toviktwo/documents/html/hkdatareader.h>

#include <cstdio>
#include <fstream>
#include <list>

#include <toviktwo/documents/html/hkhtmldocument.h>
#include <toviktwo/foundation/hkexception.h>
#include <toviktwo/foundation/hkstringtools.h>
#include <toviktwo/xml/hkdtdelementreader.h>

namespace {

// The first structural child of the reader's top element, detached from it.
HKXMLGenericElement* hkTakeFirstElement(HKXMLComplexElement* top) {
  if (top == nullptr) return nullptr;
  std::list<HKXMLComplexElement*> children;
  top->GetChilds(children);
  for (HKXMLComplexElement* child : children) {
    if (child == nullptr || !child->noSpecial()) continue;
    auto* element = dynamic_cast<HKXMLGenericElement*>(child);
    if (element == nullptr) return nullptr;
    top->DetachChild(element);
    element->setParent(nullptr);
    return element;
  }
  return nullptr;
}
}  // namespace

// Takes the rest of the stream into text through its buffer, leaving the
// stream's state flags alone. False when the stream cannot be read that way.
static bool hkTakeRest(std::istream& in, std::string& text) {
  std::streambuf* sb = in.rdbuf();
  if (!in.good() || sb == nullptr) return false;
  constexpr std::streamsize kChunk = 64 * 1024;
  std::streamsize got = 0;
  do {
    const std::size_t at = text.size();
    text.resize(at + static_cast<std::size_t>(kChunk));
    got = sb->sgetn(text.data() + at, kChunk);
    text.resize(at + static_cast<std::size_t>(got));
  } while (got == kChunk);
  return true;
}

HKXMLGenericElement* HKDataReader::Read(std::istream& in, const std::string& dtd, std::string& error) {
  // The rest of the stream is taken whole and read in place, which is much
  // faster than asking the stream for every character and gives the same
  // tree, error text and line. An empty rest goes the stream's own way (an
  // empty tree, where a text reader would report a stream error).
  std::streambuf* sb = in.rdbuf();
  const std::streampos start =
      sb != nullptr ? sb->pubseekoff(0, std::ios::cur, std::ios::in) : std::streampos(-1);
  std::string text;
  const bool taken = hkTakeRest(in, text);
  try {
    if (!taken || text.empty()) {
      HKDTDElementReaderStream reader(in);
      return hkTakeFirstElement(reader.read(dtd, false));
    }
    HKDTDElementReaderString reader(text, 0);
    try {
      HKXMLGenericElement* element = hkTakeFirstElement(reader.read(dtd, false));
      in.setstate(std::ios::eofbit);
      return element;
    } catch (...) {
      // As if the stream had been read character by character up to the error.
      if (start != std::streampos(-1))
        sb->pubseekpos(start + std::streamoff(reader.position()), std::ios::in);
      throw;
    }
  } catch (const HKException& e) {
    error = e.what();
  } catch (...) {
    error = "error while reading";
  }
  return nullptr;
}

HKXMLGenericElement* HKDataReader::Read(std::string text, unsigned long start, unsigned long& end,
                                        const std::string& dtd, std::string& error, bool single) {
  try {
    HKDTDElementReaderString reader(text, start);
    HKXMLGenericElement* element = nullptr;
    try {
      element = hkTakeFirstElement(reader.read(dtd, single));
    } catch (...) {
      end = reader.position();
      throw;
    }
    end = reader.position();
    return element;
  } catch (const HKException& e) {
    error = e.what();
  } catch (...) {
    error = "error while reading";
  }
  return nullptr;
}

std::string HKDataReader::ReadHTMLElement(std::string text, HKXMLGenericElement*& element) {
  std::string error;
  try {
    std::istringstream in(text);
    element = Read(in, "html", error);
  } catch (...) {
    element = nullptr;
    return "error while creating HTML element";
  }
  return error;
}

bool HKDataReader::_readDocument(HKDTDElementReader& reader, HKHTML_Document2& document) {
  try {
    HKXMLComplexElement* top = reader.read("html", false);
    HKHTML_html2* html = document.Html();
    std::list<HKXMLComplexElement*> read;
    top->GetChilds(read);
    std::list<HKXMLComplexElement*> own;
    document.GetChilds(own);
    HKXMLComplexElement* readHtml = nullptr;
    HKXMLComplexElement* readDoctype = nullptr;
    for (HKXMLComplexElement* child : read) {
      if (child == nullptr) continue;
      if (readHtml == nullptr && child->GetTypeName() == "html") readHtml = child;
      if (readDoctype == nullptr && child->GetTypeName() == "HTMLDoctype") readDoctype = child;
    }
    for (HKXMLComplexElement* child : own) {
      if (child == nullptr) continue;
      if (child == html && readHtml != nullptr) {
        top->DetachChild(readHtml);
        document.ResetElement(child, readHtml);
      } else if (child->GetTypeName() == "HTMLDoctype" && readDoctype != nullptr) {
        top->DetachChild(readDoctype);
        document.ResetElement(child, readDoctype);
        readDoctype = nullptr;
      }
    }
    return true;
  } catch (const HKException& e) {
    _showError(document, e.what());
  } catch (...) {
    _showError(document, "error while reading");
  }
  return false;
}

void HKDataReader::_showError(HKHTML_Document2& document, const std::string& message) {
  // The page shows what went wrong.
  try {
    HKHTML_pre2* pre = document.pre();
    if (pre != nullptr) pre->PushBackChildElement(new HKHTML_text2(message));
  } catch (...) {
    // A document without a usable html element cannot show it.
  }
}

bool HKDataReader::ReadHTMLDocument(const std::string& path, HKHTML_Document2& document, unsigned long) {
  std::ifstream in(path, std::ios::in | std::ios::binary);
  HKDTDElementReaderStream reader(in);
  return _readDocument(reader, document);
}

bool HKDataReader::ReadHTMLDocumentFromString(std::string text, HKHTML_Document2& document, unsigned long) {
  HKDTDElementReaderString reader(text, 0);
  return _readDocument(reader, document);
}

HKXMLGenericElement* HKDataReader::DuplicateHTMLElement(HKXMLGenericElement* element, unsigned long) {
  if (element == nullptr) return nullptr;
  std::ostringstream os;
  element->print(os);
  unsigned long end = 0;
  std::string error;
  return Read(os.str(), 0, end, "html", error, false);
}

// ---- formated_output ----

formated_output::formated_output(std::ostream& numbers, std::ostream& text, bool withNumbers)
    : _numbersTarget(numbers), _textTarget(text), _withNumbers(withNumbers) {}

void formated_output::streamout(const std::string& text, const std::string& cssClass, bool,
                                const std::string& title, const std::string&) {
  std::size_t from = 0;
  while (true) {
    const std::size_t lf = text.find('\n', from);
    const std::string piece = text.substr(from, lf == std::string::npos ? std::string::npos : lf - from);
    if (!piece.empty()) _appendSpan(piece, cssClass, title);
    if (lf == std::string::npos) break;
    _endLine();
    from = lf + 1;
  }
}

void formated_output::_appendSpan(const std::string& piece, const std::string& cssClass,
                                  const std::string& title) {
  _current += "<span class=\"" + cssClass + "\" ";
  if (!title.empty()) _current += "title=\"" + title + "\" ";
  _current += ">" + piece + "</span>";
}

void formated_output::_endLine() {
  _lines.emplace_back(_lineNumber++, std::move(_current));
  _current.clear();
}

void formated_output::writebuffer() {
  for (const auto& [number, line] : _lines) {
    // The number without leading blanks and zeros.
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%8lu", number);
    const std::string n = HKStripLeadingWhitespaces(buffer, " 0");
    if (_withNumbers) {
      _numbers << "<a href=\"#\" name=\"aroundline" << n << "\">" << n << "</a>";
      _numbers << "<span class=\"toviklinenbr\" >" << n << "&nbsp;|&nbsp;</span><br/>\n";
    }
    _text << line << "<br/>\n";
  }
  _lines.clear();
}

void formated_output::streamout_comment(const std::string& text) { _text << "<li>" << text << "</li>"; }

void formated_output::EmptyBuffer() {
  format_output_buffer block{_numbers.str(), _text.str()};
  if (block.lineNumbers.empty() && block.text.empty()) return;
  _blocks.push_back(std::move(block));
  _numbers.str(std::string());
  _text.str(std::string());
}

void formated_output::WriteStreams() {
  if (!_current.empty()) _endLine();
  writebuffer();
  EmptyBuffer();
  for (const format_output_buffer& block : _blocks) {
    _numbersTarget << block.lineNumbers;
    _textTarget << block.text;
  }
  _blocks.clear();
}
