// Dates spelt out in words, in three languages.
//
// Language keys are "pt-br", "de-de" and "en-us"; any other key falls back
// on "en-us". A date reads day, separator, month name, separator, year:
// "15 of November of 2026", "15 de novembro de 2026", "15. November. 2026".
// The tables are filled by the constructor and only read afterwards.
#pragma once

#include <map>
#include <string>

#include <toviktwo/foundation/hkdatum.h>

class HKDateFormater {
 public:
  HKDateFormater();
  // The name of month 1 to 12; empty for any other number.
  std::string VerboseMonth(unsigned long month, const std::string& language) const;
  // "15 of November of 2026" in "en-us".
  std::string VerboseDate(HKDatum& date, const std::string& language) const;

 private:
  // The key itself when known, else "en-us".
  const std::string& _language(const std::string& language) const;

  std::map<std::string, std::string> _months;
  std::map<std::string, std::string> _separators;
};
