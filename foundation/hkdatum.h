// Calendar dates: HKDatum, a local date and time that may also be "no date",
// and HKDatumDiff, a span of days, months and years.
//
// HKDatum keeps the seconds since the epoch beside the broken-down local time
// of the process's time zone (TZ). Dates made from a day, a month and a year
// stand at noon with the daylight-saving flag set before normalisation, so
// that every such date lies on the same hour of the universal clock whatever
// the season: differences of days are then exact, and adding days never
// slips into a neighbouring day.
//
// The interface keeps its German words: Tag day, Monat month, Jahr year,
// Wochentag weekday, Woche week, Schaltjahr leap year, Differenz difference.
//
// Texts are read by one date grammar (see _eval_datestring in the .cpp):
// "15.11.2026", "01/02/03", "2026-11-15", "5.3" (the current year), the
// machine form "<seconds> <subseconds> [<valid>]", and a text without any
// separator, which means "now". A column that is no number throws the
// standard conversion exception (std::invalid_argument or std::out_of_range)
// out of the constructors; the assignments catch it and note it in
// Parsed(). No locks: an object belongs to one thread at a time.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>

// A span of days, months and years; the fields are independent.
class HKDatumDiff {
 public:
  HKDatumDiff(int days, int months, int years);
  // Multiplies all three fields.
  HKDatumDiff& operator*=(int factor);
  HKDatumDiff operator*(int factor) const;
  // Field by field.
  HKDatumDiff operator-(const HKDatumDiff& other) const;

  int Days() const { return _days; }
  int Months() const { return _months; }
  int Years() const { return _years; }

 private:
  int32_t _days;
  int32_t _months;
  int32_t _years;
};

class HKDatum {
 public:
  // ---- construction ----
  // Now, a date.
  HKDatum();
  // Now, marked as no date; the argument is ignored. HKDatum(0) is the empty date.
  explicit HKDatum(int ignored);
  // From seconds since the epoch, a date.
  explicit HKDatum(long seconds);
  HKDatum(const HKDatum& other) = default;
  // Noon of that day. day -1 is the last day of the month; out-of-range days
  // and months roll over ("32.1." is 1 February).
  HKDatum(int day, int month, int year);
  // By the date grammar, then a date; conversion failures pass out.
  explicit HKDatum(const std::string& text);
  explicit HKDatum(const char* text);
  virtual ~HKDatum();

  HKDatum& operator=(const HKDatum& other) = default;
  // By the date grammar; a failure is caught and noted in Parsed() as 0.
  virtual HKDatum& operator=(const std::string& text);
  virtual HKDatum& operator=(const char* text);

  // ---- no date ----
  // Careful with the sense: SetNAD(0) marks "no date", any other value "a date".
  void SetNAD(int v);
  // True when this holds no date.
  bool IsNAD() const;
  // 1 when the last assignment from text worked, 0 when it failed.
  int Parsed() const { return _parsed; }

  // ---- fields ----
  int Tag() const;
  // 1 to 12.
  int Monat() const;
  // The full year.
  int Jahr() const;
  // 0 for Sunday.
  int Wochentag() const;
  // The day of the year (0-based) divided by 7; not an ISO week.
  int Woche() const;
  // The Gregorian rule. With 0 the raw year field (years since 1900) is
  // tested, so that Schaltjahr(0) is false in 2000 (100 is no leap year).
  bool Schaltjahr(int year) const;
  const std::tm& Tm() const { return _tm; }
  uint64_t SubSeconds() const { return _subseconds; }

  // ---- differences and comparison ----
  // Whole days between the noons of the two days, positive when this is the later one.
  long Differenz(const HKDatum& other) const;
  long operator-(const HKDatum& other) const;
  // By year, month and day fields.
  bool operator<(const HKDatum& other) const;
  bool operator>(const HKDatum& other) const;
  bool operator<=(const HKDatum& other) const;
  bool operator>=(const HKDatum& other) const;
  // Month and day only: the same day in two different years is equal.
  bool operator==(const HKDatum& other) const;

  // ---- arithmetic ----
  // A pure month or year step from a day after the 28th ends on the last day
  // of the target month: 31 January plus one month is 28 February.
  void plusgleich(const HKDatumDiff& diff);
  HKDatum& operator+=(const HKDatumDiff& diff);
  HKDatum& operator-=(const HKDatumDiff& diff);
  HKDatum operator+(const HKDatumDiff& diff) const;
  HKDatum& operator++();
  HKDatum operator++(int);
  HKDatum& operator--();
  HKDatum operator--(int);
  void FirstDayOfMonth();
  void LastDayOfMonth();
  // Sets the day field to 1 and leaves month and seconds alone: despite the
  // name it stays in the current month.
  void FirstDayOfQuarter();

  // ---- numbers and texts ----
  // The time n minutes after this one, at second 0 of its minute, in nanoseconds since the epoch.
  int64_t getNextMinute(long n) const;
  // Seconds since the epoch.
  int64_t asInt() const;
  // Seconds since the epoch of noon of the same day.
  int64_t getDayInt() const;
  // "2026-11-15".
  std::string AsString() const;
  std::string str() const;
  // "2026-11-15 12:00:00".
  std::string AsStringL() const;
  // AsString() and a line end on standard output.
  void ShortDump() const;
  // The fields on standard output.
  void Dump() const;

 protected:
  void _eval_datestring(const std::string& text);

  int64_t _seconds = 0;
  uint64_t _subseconds = 0;
  std::tm _tm{};
  int32_t _valid = 1;
  int32_t _parsed = 0;

 private:
  void _setNow();
  void _fillFromSeconds();
  void _fillFromDay(int day, int month, int year);
  void _normalise();
  bool _evalMachineForm(const std::string& text);
  void _evalDayMonthYear(const std::string& text);
};
