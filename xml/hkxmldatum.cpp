#include <toviktwo/xml/hkxmldatum.h>

// ---- HKXMLDateAttributeBase ----

const std::string& HKXMLDateAttributeBase::operator=(const std::string& value) {
  _assignDate(value);
  return _emptyText();
}

const std::string& HKXMLDateAttributeBase::operator=(const char* value) {
  _assignDate(value != nullptr ? std::string(value) : std::string());
  return _emptyText();
}

// ---- HKXMLDatum ----

HKXMLDatum::HKXMLDatum() : HKDatum(0) {}

HKXMLDatum::HKXMLDatum(const HKDatum& date) : HKDatum(date) {}

bool HKXMLDatum::AttributeIsSet() const { return _parsed != 0 || _valid != 0; }

void HKXMLDatum::print(std::ostream& os) const { os << _seconds << ' ' << _subseconds << ' ' << AsString(); }

void HKXMLDatum::_assignDate(const std::string& value) { HKDatum::operator=(value); }
