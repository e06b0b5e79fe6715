#include <toviktwo/foundation/hkdateformater.h>

#include <toviktwo/foundation/hkstringmap.h>

namespace {

const std::string kFallbackLanguage = "en-us";

struct HKLanguageEntry {
  const char* key;
  const char* months;
  const char* separator;
};

constexpr HKLanguageEntry kLanguages[] = {
    {"pt-br", "janeiro,fevereiro,março,abril,maio,junho,julho,agosto,setembro,outubro,novembro,dezembro",
     " de "},
    {"de-de", "Januar,Februar,März,April,Mai,Juni,Juli,August,September,Oktober,November,Dezember", ". "},
    {"en-us", "January,February,March,April,May,June,July,August,September,October,November,December",
     " of "},
};

}  // namespace

HKDateFormater::HKDateFormater() {
  for (const HKLanguageEntry& entry : kLanguages) {
    _months[entry.key] = entry.months;
    _separators[entry.key] = entry.separator;
  }
}

const std::string& HKDateFormater::_language(const std::string& language) const {
  return _months.count(language) != 0 ? language : kFallbackLanguage;
}

std::string HKDateFormater::VerboseMonth(unsigned long month, const std::string& language) const {
  if (month < 1) return std::string();
  return HKStringMap1(_months.at(_language(language)), ",", false).GetColumn(month - 1);
}

std::string HKDateFormater::VerboseDate(HKDatum& date, const std::string& language) const {
  const std::string& key = _language(language);
  const std::string& separator = _separators.at(key);
  return std::to_string(date.Tag()) + separator +
         VerboseMonth(static_cast<unsigned long>(date.Monat()), key) + separator +
         std::to_string(date.Jahr());
}
