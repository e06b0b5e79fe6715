#include <toviktwo/xml/hkxmlattribute.h>

#include <stdexcept>

#include <toviktwo/xml/hkxmlnodepool.h>

// ---- HKXMLComplexAttribute2 ----

HKXMLComplexAttribute2::~HKXMLComplexAttribute2() = default;

void* HKXMLComplexAttribute2::operator new(std::size_t size) { return HKXMLPoolAllocate(size); }

void HKXMLComplexAttribute2::operator delete(void* p, std::size_t size) noexcept { HKXMLPoolFree(p, size); }

bool HKXMLComplexAttribute2::AttributeIsSet() const { return true; }

void HKXMLComplexAttribute2::print(std::ostream&) const {}

const std::string& HKXMLComplexAttribute2::_emptyText() {
  static const std::string empty;
  return empty;
}

const std::string& HKXMLComplexAttribute2::operator=(const std::string&) { return _emptyText(); }

const std::string& HKXMLComplexAttribute2::operator=(const char*) { return _emptyText(); }

// ---- HKXMLGenericAttribute ----

HKXMLGenericAttribute::HKXMLGenericAttribute(std::string text) : _text(std::move(text)) {}

void HKXMLGenericAttribute::print(std::ostream& os) const { os << _text; }

const std::string& HKXMLGenericAttribute::operator=(const std::string& value) {
  _text = value;
  return _text;
}

const std::string& HKXMLGenericAttribute::operator=(const char* value) {
  if (value == nullptr) {
    _text.clear();
  } else {
    _text = value;
  }
  return _text;
}

// ---- HKXMLStringHKAttribute ----

HKXMLStringHKAttribute::HKXMLStringHKAttribute(std::string text) : _text(std::move(text)), _set(true) {}

bool HKXMLStringHKAttribute::AttributeIsSet() const { return _set; }

void HKXMLStringHKAttribute::print(std::ostream& os) const {
  if (_set) os << _text;
}

const std::string& HKXMLStringHKAttribute::operator=(const std::string& value) {
  _text = value;
  _set = true;
  return _text;
}

const std::string& HKXMLStringHKAttribute::operator=(const char* value) {
  if (value == nullptr) {
    _text.clear();
    _set = false;
  } else {
    _text = value;
    _set = true;
  }
  return _text;
}

// ---- numeric attributes ----
// The lenient char const* form: empty text or a failing conversion store 0.
namespace {
template <typename T, typename Convert>
T hkLenientNumber(const char* value, Convert convert) {
  if (value == nullptr || *value == '\0') return T{};
  try {
    return convert(std::string(value));
  } catch (...) {
    return T{};
  }
}
}  // namespace

HKXMLDoubleHKAttribute::HKXMLDoubleHKAttribute(double value) : _value(value), _set(true) {}

bool HKXMLDoubleHKAttribute::AttributeIsSet() const { return _set; }

void HKXMLDoubleHKAttribute::print(std::ostream& os) const {
  if (_set) os << _value;
}

const std::string& HKXMLDoubleHKAttribute::operator=(const std::string& value) {
  _value = std::stod(value);
  _set = true;
  return _emptyText();
}

const std::string& HKXMLDoubleHKAttribute::operator=(const char* value) {
  _value = hkLenientNumber<double>(value, [](const std::string& s) { return std::stod(s); });
  _set = true;
  return _emptyText();
}

HKXMLUint64_tHKAttribute::HKXMLUint64_tHKAttribute(uint64_t value) : _value(value), _set(true) {}

bool HKXMLUint64_tHKAttribute::AttributeIsSet() const { return _set; }

void HKXMLUint64_tHKAttribute::print(std::ostream& os) const {
  if (_set) os << _value;
}

const std::string& HKXMLUint64_tHKAttribute::operator=(const std::string& value) {
  _value = std::stoull(value, nullptr, 10);
  _set = true;
  return _emptyText();
}

const std::string& HKXMLUint64_tHKAttribute::operator=(const char* value) {
  _value = hkLenientNumber<uint64_t>(value, [](const std::string& s) { return std::stoull(s, nullptr, 10); });
  _set = true;
  return _emptyText();
}

HKXMLInt64_tHKAttribute::HKXMLInt64_tHKAttribute(int64_t value) : _value(value), _set(true) {}

bool HKXMLInt64_tHKAttribute::AttributeIsSet() const { return _set; }

void HKXMLInt64_tHKAttribute::print(std::ostream& os) const {
  if (_set) os << _value;
}

const std::string& HKXMLInt64_tHKAttribute::operator=(const std::string& value) {
  _value = std::stoll(value, nullptr, 10);
  _set = true;
  return _emptyText();
}

const std::string& HKXMLInt64_tHKAttribute::operator=(const char* value) {
  _value = hkLenientNumber<int64_t>(value, [](const std::string& s) { return std::stoll(s, nullptr, 10); });
  _set = true;
  return _emptyText();
}

// ---- HKXMLBoolHKAttribute ----

namespace {
bool hkTextTruth(const std::string& text) {
  try {
    return std::stoll(text, nullptr, 10) != 0;
  } catch (...) {
    return text == "true";
  }
}
}  // namespace

HKXMLBoolHKAttribute::HKXMLBoolHKAttribute(bool value) : _value(value), _set(true) {}

bool HKXMLBoolHKAttribute::AttributeIsSet() const { return _set; }

void HKXMLBoolHKAttribute::print(std::ostream& os) const {
  if (_set) os << _value;
}

const std::string& HKXMLBoolHKAttribute::operator=(const std::string& value) {
  _value = hkTextTruth(value);
  _set = true;
  return _emptyText();
}

const std::string& HKXMLBoolHKAttribute::operator=(const char* value) {
  _value = (value == nullptr || *value == '\0') ? false : hkTextTruth(value);
  _set = true;
  return _emptyText();
}

// ---- HKXMLComplexAttributeProxy2 ----

HKXMLComplexAttributeProxy2::HKXMLComplexAttributeProxy2(HKXMLComplexAttribute2& target) : _target(target) {}

bool HKXMLComplexAttributeProxy2::AttributeIsSet() const { return _target.AttributeIsSet(); }

void HKXMLComplexAttributeProxy2::print(std::ostream& os) const { _target.print(os); }

const std::string& HKXMLComplexAttributeProxy2::operator=(const std::string& value) { return _target = value; }

const std::string& HKXMLComplexAttributeProxy2::operator=(const char* value) { return _target = value; }
