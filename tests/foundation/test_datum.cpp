// HKDatum and HKDatumDiff: construction, the date grammar, arithmetic,
// comparison and texts. Every test sets the time zone it runs in; most run
// once in a zone without summer time and once in one with it.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include <toviktwo/foundation/hkdatum.h>

#include "../support/hktimezone.h"

namespace {

constexpr int64_t kNanos = 1000000000;

class DatumInZone : public ::testing::TestWithParam<const char*> {
 protected:
  HKScopedTimeZone _zone{GetParam()};
};

class DatumInBerlin : public ::testing::Test {
 protected:
  HKScopedTimeZone _zone{kHKZoneBerlin};
};

class DatumInUTC : public ::testing::Test {
 protected:
  HKScopedTimeZone _zone{kHKZoneUTC};
};

void ExpectDay(const HKDatum& d, int day, int month, int year) {
  EXPECT_EQ(d.Tag(), day);
  EXPECT_EQ(d.Monat(), month);
  EXPECT_EQ(d.Jahr(), year);
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(Zones, DatumInZone, ::testing::Values(kHKZoneUTC, kHKZoneBerlin));

// ---- construction ----

TEST_P(DatumInZone, LastDayMarkGivesTwentyNineInLeapFebruaryAndTwentyEightOtherwise) {
  EXPECT_EQ(HKDatum(-1, 2, 2024).Tag(), 29);
  EXPECT_EQ(HKDatum(-1, 2, 2023).Tag(), 28);
}

TEST_P(DatumInZone, LastDayMarkGivesThirtyInShortMonthsAndThirtyOneElse) {
  for (int month : {4, 6, 9, 11}) EXPECT_EQ(HKDatum(-1, month, 2026).Tag(), 30) << month;
  for (int month : {1, 3, 5, 7, 8, 10, 12}) EXPECT_EQ(HKDatum(-1, month, 2026).Tag(), 31) << month;
}

TEST_P(DatumInZone, DayAndMonthOutOfRangeRollOver) {
  ExpectDay(HKDatum(32, 1, 2026), 1, 2, 2026);
  ExpectDay(HKDatum(1, 13, 2026), 1, 1, 2027);
  ExpectDay(HKDatum(0, 3, 2024), 29, 2, 2024);
}

TEST_P(DatumInZone, DateFromDayIsValidAndFieldsAreRead) {
  const HKDatum d(15, 11, 2026);
  EXPECT_FALSE(d.IsNAD());
  ExpectDay(d, 15, 11, 2026);
  EXPECT_EQ(d.Wochentag(), 0);  // a Sunday
  EXPECT_EQ(d.Woche(), 318 / 7);
  EXPECT_EQ(d.SubSeconds(), 0u);
}

TEST_F(DatumInBerlin, DatesFromDaysLieOnTheSameUniversalHourSummerAndWinter) {
  // Noon with summer time assumed: 10:00 UTC in winter and in summer.
  EXPECT_EQ(HKDatum(15, 11, 2026).asInt(), 1794736800);
  EXPECT_EQ(HKDatum(15, 7, 2026).asInt() % 86400, 10 * 3600);
}

TEST_F(DatumInUTC, SecondsConstructorFillsTheFields) {
  const HKDatum d(1794744000L);
  ExpectDay(d, 15, 11, 2026);
  EXPECT_EQ(d.Tm().tm_hour, 12);
  EXPECT_EQ(d.asInt(), 1794744000);
  EXPECT_FALSE(d.IsNAD());
}

TEST_P(DatumInZone, DefaultIsNowAndIntConstructorIsNoDate) {
  const HKDatum now;
  EXPECT_FALSE(now.IsNAD());
  EXPECT_GT(now.asInt(), 1700000000);
  const HKDatum empty(0);
  EXPECT_TRUE(empty.IsNAD());
  EXPECT_GE(empty.asInt(), now.asInt());
}

TEST_P(DatumInZone, SetNadOneMakesADateAndZeroMarksNoDate) {
  HKDatum d(0);
  ASSERT_TRUE(d.IsNAD());
  d.SetNAD(1);
  EXPECT_FALSE(d.IsNAD());
  d.SetNAD(0);
  EXPECT_TRUE(d.IsNAD());
  d.SetNAD(-7);
  EXPECT_FALSE(d.IsNAD());
}

// ---- the date grammar ----

TEST_P(DatumInZone, SlashTextWithTwoDigitYearIsDayMonthYear) { ExpectDay(HKDatum("01/02/03"), 1, 2, 2003); }

TEST_P(DatumInZone, ThirdColumnAboveThirtyOneIsTheYearAndLimitsApply) {
  ExpectDay(HKDatum("99.13.40"), 31, 12, 2040);
}

TEST_P(DatumInZone, DottedAndDashedFormsGiveTheSameDay) {
  ExpectDay(HKDatum("15.11.2026"), 15, 11, 2026);
  ExpectDay(HKDatum(std::string("2026-11-15")), 15, 11, 2026);
  EXPECT_EQ(HKDatum("2026-11-15").asInt(), HKDatum(15, 11, 2026).asInt());
}

TEST_P(DatumInZone, TwoDigitYearsFromFiftyOnBelongToTheLastCentury) {
  EXPECT_EQ(HKDatum("1.2.49").Jahr(), 2049);
  EXPECT_EQ(HKDatum("1.2.50").Jahr(), 1950);
  EXPECT_EQ(HKDatum("1.2.99").Jahr(), 1999);
}

TEST_P(DatumInZone, TwoColumnsMeanDayAndMonthOfTheCurrentYear) {
  const HKDatum d("5.3");
  EXPECT_EQ(d.Tag(), 5);
  EXPECT_EQ(d.Monat(), 3);
  EXPECT_EQ(d.Jahr(), HKDatum().Jahr());
}

TEST_P(DatumInZone, EmptyTextThrowsInTheConstructor) {
  EXPECT_THROW(HKDatum(std::string("")), std::invalid_argument);
  EXPECT_THROW(HKDatum(""), std::invalid_argument);
}

TEST_P(DatumInZone, EmptyTextAssignedIsNotedAsNotParsedAndChangesNothing) {
  HKDatum d(15, 11, 2026);
  d = "1.1.2020";
  EXPECT_EQ(d.Parsed(), 1);
  d = std::string("");
  EXPECT_EQ(d.Parsed(), 0);
  ExpectDay(d, 1, 1, 2020);
  d = "3.4.2021";
  EXPECT_EQ(d.Parsed(), 1);
  d = "ab.cd.ef";
  EXPECT_EQ(d.Parsed(), 0);
  ExpectDay(d, 3, 4, 2021);
}

TEST_P(DatumInZone, ColumnThatIsNoNumberThrowsInTheConstructor) {
  EXPECT_THROW(HKDatum("ab.cd.2026"), std::invalid_argument);
  EXPECT_THROW(HKDatum("1..2026"), std::invalid_argument);
}

TEST_P(DatumInZone, DigitsWithoutSeparatorGiveThePresentDate) {
  const HKDatum now;
  const HKDatum d("20261115");
  EXPECT_LE(d.asInt() - now.asInt(), 2);
  EXPECT_GE(d.asInt(), now.asInt());
  EXPECT_FALSE(d.IsNAD());
}

TEST_F(DatumInUTC, MachineFormSetsSecondsSubsecondsAndValidity) {
  HKDatum d(15, 11, 2026);
  d = "1794744000 7";
  EXPECT_EQ(d.Parsed(), 1);
  EXPECT_EQ(d.asInt(), 1794744000);
  EXPECT_EQ(d.SubSeconds(), 7u);
  EXPECT_FALSE(d.IsNAD());
  EXPECT_EQ(d.Tm().tm_hour, 12);
  d = "1794744000 0 0";
  EXPECT_TRUE(d.IsNAD());
  EXPECT_EQ(d.SubSeconds(), 0u);
}

TEST_F(DatumInUTC, ConstructorMakesADateEvenFromAMachineFormMarkedNoDate) {
  EXPECT_FALSE(HKDatum("1794744000 0 0").IsNAD());
}

// ---- comparison and differences ----

TEST_P(DatumInZone, EqualityIgnoresTheYear) {
  EXPECT_TRUE(HKDatum(15, 11, 2026) == HKDatum(15, 11, 1999));
  EXPECT_FALSE(HKDatum(15, 11, 2026) == HKDatum(16, 11, 2026));
  EXPECT_TRUE(HKDatum(15, 11, 2026) != HKDatum(15, 10, 2026));
}

TEST_P(DatumInZone, OrderingComparesYearMonthDay) {
  const HKDatum a(31, 12, 2025), b(1, 1, 2026), c(1, 1, 2026);
  EXPECT_TRUE(a < b);
  EXPECT_TRUE(b > a);
  EXPECT_FALSE(b < c);
  EXPECT_TRUE(b <= c);
  EXPECT_TRUE(b >= c);
  EXPECT_TRUE(a <= b);
  EXPECT_FALSE(a >= b);
}

TEST_P(DatumInZone, DifferenceWithItselfIsZeroAndSignFollowsTheOrder) {
  const HKDatum d(15, 11, 2026);
  EXPECT_EQ(d.Differenz(d), 0);
  EXPECT_EQ(HKDatum(15, 11, 2026) - HKDatum(1, 11, 2026), 14);
  EXPECT_EQ(HKDatum(1, 11, 2026).Differenz(HKDatum(15, 11, 2026)), -14);
  EXPECT_EQ(HKDatum(1, 1, 2027) - HKDatum(1, 1, 2026), 365);
}

TEST_F(DatumInBerlin, DifferenceAcrossDaylightSavingChangesIsExactInDays) {
  EXPECT_EQ(HKDatum(30, 3, 2026) - HKDatum(28, 3, 2026), 2);
  EXPECT_EQ(HKDatum(29, 3, 2026) - HKDatum(28, 3, 2026), 1);
  EXPECT_EQ(HKDatum(26, 10, 2026) - HKDatum(24, 10, 2026), 2);
  EXPECT_EQ(HKDatum(25, 10, 2026) - HKDatum(24, 10, 2026), 1);
  EXPECT_EQ(HKDatum(1, 1, 2027) - HKDatum(1, 1, 2026), 365);
}

TEST_F(DatumInBerlin, DifferenceOfTimesOfDayCountsWholeDaysBetweenNoons) {
  // 23:30 on 28 March and 00:30 on 30 March (summer time begins on the 29th).
  const HKDatum late(1774737000L);
  const HKDatum early(1774823400L);
  ASSERT_EQ(late.Tag(), 28);
  ASSERT_EQ(early.Tag(), 30);
  EXPECT_EQ(early - late, 2);
}

// ---- arithmetic ----

TEST_P(DatumInZone, OneMonthFromThirtyFirstJanuaryIsEndOfFebruary) {
  const HKDatum d = HKDatum(31, 1, 2026) + HKDatumDiff(0, 1, 0);
  ExpectDay(d, 28, 2, 2026);
  ExpectDay(HKDatum(31, 1, 2024) + HKDatumDiff(0, 1, 0), 29, 2, 2024);
}

TEST_P(DatumInZone, OneDayFromThirtyFirstJanuaryIsFirstFebruary) {
  ExpectDay(HKDatum(31, 1, 2026) + HKDatumDiff(1, 0, 0), 1, 2, 2026);
}

TEST_P(DatumInZone, LateDayMonthStepsCarryYearsAndCutToShortMonths) {
  ExpectDay(HKDatum(31, 8, 2026) + HKDatumDiff(0, 1, 0), 30, 9, 2026);
  ExpectDay(HKDatum(31, 12, 2026) + HKDatumDiff(0, 14, 0), 29, 2, 2028);
  ExpectDay(HKDatum(29, 2, 2024) + HKDatumDiff(0, 0, 1), 28, 2, 2025);
  HKDatum march(31, 3, 2026);
  march -= HKDatumDiff(0, 1, 0);
  ExpectDay(march, 28, 2, 2026);
  HKDatum january(30, 1, 2026);
  january -= HKDatumDiff(0, 2, 0);
  ExpectDay(january, 30, 11, 2025);
}

TEST_P(DatumInZone, EarlyDayMonthStepsAreAddedAndNormalised) {
  ExpectDay(HKDatum(15, 11, 2026) + HKDatumDiff(0, 3, 0), 15, 2, 2027);
  ExpectDay(HKDatum(28, 1, 2026) + HKDatumDiff(0, 1, 1), 28, 2, 2027);
}

TEST_P(DatumInZone, IncrementAndDecrementMoveOneDay) {
  HKDatum d(28, 2, 2026);
  const HKDatum before = d++;
  ExpectDay(before, 28, 2, 2026);
  ExpectDay(d, 1, 3, 2026);
  ExpectDay(--d, 28, 2, 2026);
  ExpectDay(++d, 1, 3, 2026);
  const HKDatum old = d--;
  ExpectDay(old, 1, 3, 2026);
  ExpectDay(d, 28, 2, 2026);
  d += HKDatumDiff(3, 0, 0);
  ExpectDay(d, 3, 3, 2026);
  d -= HKDatumDiff(3, 0, 0);
  ExpectDay(d, 28, 2, 2026);
}

TEST_P(DatumInZone, FirstAndLastDayOfMonth) {
  HKDatum d(17, 2, 2024);
  d.LastDayOfMonth();
  ExpectDay(d, 29, 2, 2024);
  EXPECT_EQ(d.asInt(), HKDatum(29, 2, 2024).asInt());
  d.FirstDayOfMonth();
  ExpectDay(d, 1, 2, 2024);
  EXPECT_EQ(d.asInt(), HKDatum(1, 2, 2024).asInt());
}

TEST_P(DatumInZone, FirstDayOfQuarterStaysInTheMonthAndKeepsTheSeconds) {
  HKDatum d(17, 8, 2026);
  const int64_t seconds = d.asInt();
  d.FirstDayOfQuarter();
  ExpectDay(d, 1, 8, 2026);
  EXPECT_EQ(d.asInt(), seconds);
}

TEST(DatumDiff, MultiplyAndSubtractWorkOnAllFields) {
  HKDatumDiff a(1, 2, 3);
  const HKDatumDiff b = a * 3;
  EXPECT_EQ(b.Days(), 3);
  EXPECT_EQ(b.Months(), 6);
  EXPECT_EQ(b.Years(), 9);
  a *= -2;
  EXPECT_EQ(a.Days(), -2);
  const HKDatumDiff c = b - HKDatumDiff(1, 1, 1);
  EXPECT_EQ(c.Days(), 2);
  EXPECT_EQ(c.Months(), 5);
  EXPECT_EQ(c.Years(), 8);
}

// ---- leap years ----

TEST_P(DatumInZone, LeapYearFollowsTheGregorianRule) {
  const HKDatum d(1, 1, 2026);
  EXPECT_TRUE(d.Schaltjahr(2024));
  EXPECT_FALSE(d.Schaltjahr(2026));
  EXPECT_FALSE(d.Schaltjahr(1900));
  EXPECT_TRUE(d.Schaltjahr(2000));
}

TEST_P(DatumInZone, LeapYearOfZeroTestsTheRawYearFieldSoTwoThousandIsNot) {
  EXPECT_FALSE(HKDatum(1, 6, 2000).Schaltjahr(0));  // raw field 100
  EXPECT_TRUE(HKDatum(1, 6, 2004).Schaltjahr(0));   // raw field 104
}

// ---- numbers and texts ----

TEST_P(DatumInZone, DateTextHasTwoPlacesForMonthAndDay) {
  EXPECT_EQ(HKDatum(15, 11, 2026).AsString(), "2026-11-15");
  EXPECT_EQ(HKDatum(5, 3, 2026).str(), "2026-03-05");
}

TEST_F(DatumInUTC, LongTextHasTheTimeOfDay) {
  EXPECT_EQ(HKDatum(1794744065L).AsStringL(), "2026-11-15 12:01:05");
}

TEST_F(DatumInUTC, NextMinuteIsAtSecondZeroInNanoseconds) {
  const HKDatum d(1794744065L);
  EXPECT_EQ(d.getNextMinute(1), (1794744000LL + 120) * kNanos);
  EXPECT_EQ(d.getNextMinute(0), 1794744060LL * kNanos);
  EXPECT_EQ(d.getNextMinute(-2), (1794744060LL - 120) * kNanos);
}

TEST_P(DatumInZone, DayIntIsNoonOfTheSameDay) {
  const HKDatum d(15, 11, 2026);
  EXPECT_EQ(d.getDayInt(), d.asInt());
  const HKDatum later(d.asInt() + 3 * 3600L);
  EXPECT_EQ(later.getDayInt(), d.asInt());
}

TEST_P(DatumInZone, ShortDumpWritesTheDateTextAndALineEnd) {
  ::testing::internal::CaptureStdout();
  HKDatum(15, 11, 2026).ShortDump();
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "2026-11-15\n");
}

TEST_P(DatumInZone, DumpWritesTheFields) {
  ::testing::internal::CaptureStdout();
  HKDatum(15, 11, 2026).Dump();
  const std::string out = ::testing::internal::GetCapturedStdout();
  EXPECT_NE(out.find("2026-11-15"), std::string::npos) << out;
  EXPECT_NE(out.find("valid 1"), std::string::npos) << out;
}
