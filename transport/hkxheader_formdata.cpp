// A request filled from a document element: a link, or a form with its input
// fields as a query (GET) or as a multipart body (POST). Kept apart so that
// the message heads do not need the document classes.
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include <toviktwo/documents/html/hkhtmlelement.h>
#include <toviktwo/documents/html/hkhtmlform.h>
#include <toviktwo/foundation/hkstringtools.h>
#include <toviktwo/transport/hkxheader.h>

namespace {

constexpr int kJobStateReady = 6;
constexpr const char* kCRLF = "\r\n";
constexpr const char* kBoundaryPrefix = "------TovikFormBoundary";

// The characters that a query field has percent-encoded, as URLencode has them.
constexpr const char* kQueryEncodedSet = " !\"#$%&'()*+,-./:;<=>?@[\\]{|}";

// One pass of URLencode's encoding: each character of the set and each byte
// with the high bit set becomes "%" and its lower-case hex value. For a plain
// value the result is URLencode's; URLencode itself does not finish on a
// value holding a character of the set (it re-encodes the "%" it has just
// written, a behaviour kept in the foundation), and form values are user
// input, so the fields are encoded here. Pinned by
// tests/transport/test_xheader_formdata.cpp.
std::string queryEncode(const std::string& text) {
  const std::string set = kQueryEncodedSet;
  std::string out;
  out.reserve(text.size());
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte & 0x80) != 0 || set.find(c) != std::string::npos) {
      char hex[8];
      std::snprintf(hex, sizeof hex, "%%%x", static_cast<unsigned>(byte));
      out += hex;
    } else {
      out += c;
    }
  }
  return out;
}

// The part head every multipart field starts with, up to the name's closing quote.
std::string partStart(const std::string& boundary, const std::string& name) {
  return std::string("--") + boundary + kCRLF + "Content-Disposition: form-data; name=\"" + name + "\"";
}

// The file's bytes, read in binary mode; false when it cannot be opened.
bool readWholeFile(const std::string& path, std::string& out) {
  unsigned long size = 0;
  if (!TryOpenFile(path, &size)) return false;
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  out.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  return true;
}

// The direct children named "input" that are generic elements, in document order.
std::list<HKXMLGenericElement*> inputChildren(HKHTML_form2& form) {
  std::list<HKXMLGenericElement*> inputs;
  for (HKXMLComplexElement* child : form.Children()) {
    auto* element = dynamic_cast<HKXMLGenericElement*>(child);
    if (element != nullptr && element->GetTypeName() == "input") inputs.push_back(element);
  }
  return inputs;
}

// One multipart part for the input, or nothing for a type that is not sent
// (or a file that cannot be read).
void appendPart(HKStringBuf& body, const std::string& boundary, HKXMLGenericElement& input) {
  const std::string name = input.getAttributeText("name", "");
  const std::string type = input.getAttributeText("type", "");
  const std::string value = input.getAttributeText("value", "");
  if (type == "text" || type == "hidden") {
    body.stringput(partStart(boundary, name) + kCRLF + kCRLF + value + kCRLF);
  } else if (type == "file") {
    std::string bytes;
    if (!readWholeFile(value, bytes)) return;
    body.stringput(partStart(boundary, name) + "; filename=\"" + value + "\"" + kCRLF +
                   "Content-Type: application/octet-stream" + kCRLF + kCRLF);
    body.stringput(bytes);
    body.stringput(kCRLF);
  } else if (type == "blob") {
    auto* blob = dynamic_cast<HKHTML_input2_blob*>(&input);
    if (blob == nullptr) return;
    body.stringput(partStart(boundary, name) + "; blob" + kCRLF + "Content-Type: application/octet-stream" +
                   kCRLF + kCRLF);
    blob->appendToStringBuffer(body);
    body.stringput(kCRLF);
  }
}

}  // namespace

void HKXRequestHeader::setData(HKHTML_a2& link, const std::string& base) {
  const std::string href = link.getAttributeText("href", "");
  if (!href.empty()) {
    setAddress(href, base);
    return;
  }
  std::lock_guard<std::mutex> g(_lock);
  _urlPath.assign(1, '#');  // not `= "#"`: g++ 12 -O3 warns falsely (-Wrestrict) on that
  _urlHostPart = "localhost";
  _headerType = HK_HEADER_REQUEST;
  setJobState(kJobStateReady);
}

void HKXRequestHeader::setData(HKHTML_form2& form, const std::string& base) {
  getDataBuffer();
  setAddress(form.getAttributeText("action", ""), base);
  const std::string method = form.getAttributeText("method", "");
  std::lock_guard<std::mutex> g(_lock);
  if (method == "GET") {
    for (HKXMLGenericElement* input : inputChildren(form)) {
      const std::string name = input->getAttributeText("name", "");
      const std::string type = input->getAttributeText("type", "");
      if (name.empty() || (type != "text" && type != "hidden")) continue;
      _query += _query.empty() ? "?" : "&";
      _query += queryEncode(name) + "=" + queryEncode(input->getAttributeText("value", ""));
    }
  } else if (method == "POST") {
    _boundary = _jobidgen.getAnyString(kBoundaryPrefix);
    for (HKXMLGenericElement* input : inputChildren(form)) {
      if (input->getAttributeText("name", "").empty()) continue;
      appendPart(*_data, _boundary, *input);
    }
    _data->stringput(std::string("--") + _boundary + "--" + kCRLF);
    _bytes2Write = _data->getSizeWritten();
  }
  _headerType = HK_HEADER_REQUEST;
  setJobState(kJobStateReady);
}
