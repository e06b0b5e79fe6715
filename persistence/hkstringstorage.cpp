#include <toviktwo/persistence/hkstringstorage.h>

#include <fstream>

#include <toviktwo/foundation/hkexception.h>

namespace {

constexpr unsigned long kStreamBlock = 2048;
constexpr unsigned long kEmptyStreamBlock = 1;
constexpr unsigned kLineLimit = 75;  // a line end once the counter exceeds this: 76 characters
constexpr size_t kPadIndex = 64;

struct HKMIMERow {
  HKMIMEtype type;
  const char* text;
  const char* name;
};

constexpr HKMIMERow kMIMETable[] = {
    {HK_MIME_TYPE_NONE, "application/octet-stream", "HK_MIME_TYPE_NONE"},
    {HK_MIME_TYPE_TEXT_HTML, "text/html", "HK_MIME_TYPE_TEXT_HTML"},
    {HK_MIME_TYPE_TEXT_JAVASCRIPT, "text/javascript", "HK_MIME_TYPE_TEXT_JAVASCRIPT"},
    {HK_MIME_TYPE_TEXT_CSS, "text/css", "HK_MIME_TYPE_TEXT_CSS"},
    {HK_MIME_TYPE_IMAGE_PNG, "image/png", "HK_MIME_TYPE_IMAGE_PNG"},
    {HK_MIME_TYPE_IMAGE_JPEG, "image/jpeg", "HK_MIME_TYPE_IMAGE_JPEG"},
    {HK_MIME_TYPE_IMAGE_X_ICON, "image/x-icon", "HK_MIME_TYPE_IMAGE_X_ICON"},
};

}  // namespace

bool HKMIMEtypeIsBinary(HKMIMEtype type) {
  return type == HK_MIME_TYPE_IMAGE_PNG || type == HK_MIME_TYPE_IMAGE_JPEG ||
         type == HK_MIME_TYPE_IMAGE_X_ICON;
}

// ---- HKMIMETypeEncoder

HKMIMETypeEncoder::HKMIMETypeEncoder() {
  for (const HKMIMERow& row : kMIMETable) {
    _byText[row.text] = row.type;
    _byType[row.type] = row.text;
    _enumNames[row.type] = row.name;
  }
}

HKMIMEtype HKMIMETypeEncoder::GetEnum(const std::string& text) { return _byText[text]; }

std::string HKMIMETypeEncoder::GetMIMEText(HKMIMEtype type) { return _byType[type]; }

std::string HKMIMETypeEncoder::GetMIMEEnum(HKMIMEtype type) { return _enumNames[type]; }

// ---- HKStringStorage

const std::string HKStringStorage::base64 =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=";

HKStringStorage::HKStringStorage() = default;

HKStringStorage::HKStringStorage(std::string name, std::string path, HKMIMEtype type) {
  if (!HKMIMEtypeIsBinary(type)) return;
  std::ifstream in(path, std::ios::binary);
  if (!in) return;
  _binary = new HKInputStreamBinary(kStreamBlock);
  char c;
  while (in.get(c)) *_binary += c;
  _name = std::move(name);
  _length = _binary->length();
  _type = type;
}

HKStringStorage::HKStringStorage(std::string name, HKMIMEtype type, std::string content, bool isBase64)
    : _name(std::move(name)), _type(type) {
  if (!HKMIMEtypeIsBinary(type)) {
    if (!isBase64) {
      _text = std::move(content);
    } else {
      // The decoded bytes are read as a C string: a zero byte ends the text.
      HKInputStreamBinary decoded(kStreamBlock);
      _ibase64(content, decoded);
      decoded += '\0';
      _text = reinterpret_cast<const char*>(decoded.GetBuffer());
    }
    _length = _text.size();
    return;
  }
  if (!isBase64) throw HKException("can't read that type from direct string", __LINE__, "src");
  _binary = new HKInputStreamBinary(kStreamBlock);
  _ibase64(content, *_binary);
  _length = _binary->length();
}

HKStringStorage::HKStringStorage(const HKStringStorage& other)
    : _text(other._text), _name(other._name), _length(other._length), _type(other._type) {
  if (other._binary != nullptr) _binary = new HKInputStreamBinary(*other._binary);
}

HKStringStorage& HKStringStorage::operator=(const HKStringStorage& other) {
  if (this == &other) return *this;
  HKInputStreamBinary* copy = other._binary != nullptr ? new HKInputStreamBinary(*other._binary) : nullptr;
  delete _binary;
  _binary = copy;
  _text = other._text;
  _name = other._name;
  _length = other._length;
  _type = other._type;
  return *this;
}

HKStringStorage::~HKStringStorage() { delete _binary; }

std::string HKStringStorage::str() const {
  if (_binary == nullptr) return _text;
  return std::string(reinterpret_cast<const char*>(_binary->GetBuffer()), _binary->length());
}

HKInputStreamBinary* HKStringStorage::bin() {
  if (_binary == nullptr) _binary = new HKInputStreamBinary(kEmptyStreamBlock);
  return _binary;
}

void HKStringStorage::CPPstore(std::ostringstream& out) {
  HKMIMETypeEncoder encoder;
  out << "{\"" << _name << "\", HKStringStorage(\"" << _name << "\", " << encoder.GetMIMEEnum(_type)
      << ",\nR\"tovik(";
  if (HKMIMEtypeIsBinary(_type) && _binary != nullptr)
    _base64(reinterpret_cast<const char*>(_binary->GetBuffer()), _binary->length(), out);
  else
    _base64(_text.data(), _text.size(), out);
  out << ")tovik\", true)}";
}

void HKStringStorage::_base64(char const* data, unsigned long size, std::ostringstream& out) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(data);
  unsigned counter = 0;
  for (unsigned long i = 0; i < size; i += 3) {
    unsigned long left = size - i;
    uint32_t group = uint32_t(bytes[i]) << 16;
    if (left > 1) group |= uint32_t(bytes[i + 1]) << 8;
    if (left > 2) group |= uint32_t(bytes[i + 2]);
    out << base64[(group >> 18) & 63] << base64[(group >> 12) & 63];
    out << (left > 1 ? base64[(group >> 6) & 63] : base64[kPadIndex]);
    out << (left > 2 ? base64[group & 63] : base64[kPadIndex]);
    counter += 4;
    if (counter > kLineLimit) {
      out << '\n';
      counter = 0;
    }
  }
}

void HKStringStorage::_ibase64(std::string const& text, HKInputStreamBinary& out) {
  uint32_t group = 0;
  int filled = 0;
  int pads = 0;
  for (char c : text) {
    size_t index = base64.find(c);
    if (index == std::string::npos || c == '\0') continue;
    group <<= 6;
    if (index == kPadIndex)
      ++pads;
    else
      group |= uint32_t(index);
    if (++filled < 4) continue;
    out += char((group >> 16) & 0xff);
    if (pads < 2) out += char((group >> 8) & 0xff);
    if (pads < 1) out += char(group & 0xff);
    group = 0;
    filled = 0;
    pads = 0;
  }
}
