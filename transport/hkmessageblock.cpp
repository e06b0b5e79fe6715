#include <toviktwo/transport/hkmessageblock.h>

#include <toviktwo/foundation/hkexception.h>
#include <toviktwo/foundation/hkstringmap.h>
#include <toviktwo/foundation/hkstringtools.h>

HKHTTPMessageBlock::HKHTTPMessageBlock()
    : _attributes{{"mimetype", "application/octet-stream"}, {"name", ""}} {}

HKHTTPMessageBlock::HKHTTPMessageBlock(const std::string& question) : HKHTTPMessageBlock() {
  HKStringMap1 parts(HKStripWhitespaces(question, " "), "=", true);
  if (parts.size() == 2) {
    _attributes["name"] = HKStripWhitespaces(parts[0], " ");
    _content = new HKStringBuf();
    _content->stringput(HKStripWhitespaces(parts[1], " "));
  } else if (parts.size() == 1) {
    _attributes["name"] = HKStripWhitespaces(parts[0], " ");
  } else {
    throw HKException("can't create message block from empty question", __LINE__, "src");
  }
}

HKHTTPMessageBlock::HKHTTPMessageBlock(HKHTTPMessageBlock&& other) noexcept
    : _content(other._content), _fields(std::move(other._fields)), _attributes(std::move(other._attributes)) {
  other._content = nullptr;
}

HKHTTPMessageBlock& HKHTTPMessageBlock::operator=(HKHTTPMessageBlock&& other) noexcept {
  if (this != &other) {
    delete _content;
    _content = other._content;
    other._content = nullptr;
    _fields = std::move(other._fields);
    _attributes = std::move(other._attributes);
  }
  return *this;
}

HKHTTPMessageBlock::~HKHTTPMessageBlock() { delete _content; }

std::string HKHTTPMessageBlock::asString() const {
  if (_content == nullptr) return std::string();
  return std::string(_content->getStart(0), _content->getSizeWritten());
}

void HKHTTPMessageBlock::setContent(HKStringBuf* content) {
  if (content == _content) return;
  delete _content;
  _content = content;
}

std::string HKHTTPMessageBlock::name() const {
  const auto it = _attributes.find("name");
  return it == _attributes.end() ? std::string() : it->second;
}
