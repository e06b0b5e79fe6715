// HKDateFormater: month names and dates in words in the three languages.
#include <gtest/gtest.h>

#include <string>

#include <toviktwo/foundation/hkdateformater.h>

#include "../support/hktimezone.h"

namespace {

class DateFormaterTest : public ::testing::Test {
 protected:
  HKScopedTimeZone _zone{kHKZoneBerlin};
  HKDateFormater _formater;
};

std::string AllMonths(const HKDateFormater& f, const std::string& language) {
  std::string all;
  for (unsigned long m = 1; m <= 12; ++m) all += (m > 1 ? "," : "") + f.VerboseMonth(m, language);
  return all;
}

}  // namespace

TEST_F(DateFormaterTest, MonthNamesOfTheThreeLanguages) {
  EXPECT_EQ(AllMonths(_formater, "pt-br"),
            "janeiro,fevereiro,março,abril,maio,junho,julho,agosto,setembro,outubro,novembro,dezembro");
  EXPECT_EQ(AllMonths(_formater, "de-de"),
            "Januar,Februar,März,April,Mai,Juni,Juli,August,September,Oktober,November,Dezember");
  EXPECT_EQ(AllMonths(_formater, "en-us"),
            "January,February,March,April,May,June,July,August,September,October,November,December");
}

TEST_F(DateFormaterTest, MonthOutsideOneToTwelveIsEmpty) {
  EXPECT_EQ(_formater.VerboseMonth(0, "en-us"), "");
  EXPECT_EQ(_formater.VerboseMonth(13, "en-us"), "");
}

TEST_F(DateFormaterTest, DatesInWordsUseTheSeparatorTwice) {
  HKDatum d(15, 11, 2026);
  EXPECT_EQ(_formater.VerboseDate(d, "en-us"), "15 of November of 2026");
  EXPECT_EQ(_formater.VerboseDate(d, "pt-br"), "15 de novembro de 2026");
  EXPECT_EQ(_formater.VerboseDate(d, "de-de"), "15. November. 2026");
}

TEST_F(DateFormaterTest, UnknownLanguageGivesTheEnglishForm) {
  HKDatum d(3, 3, 2026);
  EXPECT_EQ(_formater.VerboseDate(d, "fr"), "3 of March of 2026");
  EXPECT_EQ(_formater.VerboseMonth(3, "fr"), "March");
}
