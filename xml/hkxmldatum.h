// A date as an attribute value of the element model.
//
// HKXMLDatum is both an attribute (HKXMLComplexAttribute2) and a date
// (HKDatum). It prints the seconds, the subseconds and the date text,
// separated by single blanks ("1794740400 0 2026-11-15"), and counts as set
// when the last text assigned parsed or when it holds a date. Text assigned
// through the attribute goes through the date grammar of HKDatum; a failure
// clears the parsed flag and is swallowed, leaving the date as it was.
//
// The printed form does not read back as the same date: its date text has
// "-" in it, so the grammar takes the "-" columns, not the machine form.
// Store dates that must come back through HKDatum texts of the machine form
// or of "15.11.2026".
//
// Both bases declare a virtual assignment from text with different result
// types; HKXMLDateAttributeBase takes the attribute's side of it, so that one
// object can override both.
#pragma once

#include <ostream>
#include <string>

#include <toviktwo/foundation/hkdatum.h>
#include <toviktwo/xml/hkxmlattribute.h>

// The attribute side: text assignments go to _assignDate.
class HKXMLDateAttributeBase : public HKXMLComplexAttribute2 {
 public:
  // Runs _assignDate and returns a shared empty text.
  const std::string& operator=(const std::string& value) override;
  // A null pointer counts as the empty text.
  const std::string& operator=(const char* value) override;

 protected:
  virtual void _assignDate(const std::string& value) = 0;
};

class HKXMLDatum : public HKXMLDateAttributeBase, public HKDatum {
 public:
  // No date, and not set.
  HKXMLDatum();
  explicit HKXMLDatum(const HKDatum& date);
  using HKDatum::operator=;

  // Set when the last text parsed, or when this holds a date.
  bool AttributeIsSet() const override;
  // "<seconds> <subseconds> <yyyy-mm-dd>".
  void print(std::ostream& os) const override;

 protected:
  void _assignDate(const std::string& value) override;
};
