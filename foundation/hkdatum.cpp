#include <toviktwo/foundation/hkdatum.h>

#include <time.h>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <stdexcept>
#include <tuple>

#include <toviktwo/foundation/hkstringmap.h>

namespace {

constexpr int64_t kSecondsPerMinute = 60;
constexpr int64_t kSecondsPerDay = 86400;
constexpr int64_t kNanosPerSecond = 1000000000;
constexpr int kNoonHour = 12;
constexpr int kTmYearBase = 1900;
constexpr int kMonthsPerYear = 12;
constexpr int kLastDayMark = -1;
constexpr int kLateDay = 29;
constexpr int kMaxDay = 31;
// Two-digit years: below kCenturyPivot they belong to the 2000s, else to the 1900s.
constexpr int kShortYearLimit = 100;
constexpr int kCenturyPivot = 50;
constexpr int kThisCentury = 2000;
constexpr int kLastCentury = 1900;

// The reentrant local time conversion, in the argument order of the
// system's small wrapper.
void hkLocaltime_s(std::tm* out, const std::time_t* seconds) { localtime_r(seconds, out); }

// Days of a month (1 to 12); February by the leap flag. Any other month counts 31.
int hkDaysInMonth(int month, bool leap) {
  switch (month) {
    case 4:
    case 6:
    case 9:
    case 11: return 30;
    case 2: return leap ? 29 : 28;
    default: return kMaxDay;
  }
}

// mktime with the weekday field as failure mark: -1 when the record cannot be expressed.
int64_t hkMakeTime(std::tm& record) {
  record.tm_wday = -1;
  const std::time_t t = std::mktime(&record);
  if (record.tm_wday == -1) return -1;
  return static_cast<int64_t>(t);
}

int64_t hkFloorDiv(int64_t a, int64_t b) { return a / b - ((a % b != 0 && (a < 0) != (b < 0)) ? 1 : 0); }

int hkCurrentYear() {
  const std::time_t now = std::time(nullptr);
  std::tm record{};
  hkLocaltime_s(&record, &now);
  return record.tm_year + kTmYearBase;
}

}  // namespace

// ---- HKDatumDiff ----

HKDatumDiff::HKDatumDiff(int days, int months, int years) : _days(days), _months(months), _years(years) {}

HKDatumDiff& HKDatumDiff::operator*=(int factor) {
  _days *= factor;
  _months *= factor;
  _years *= factor;
  return *this;
}

HKDatumDiff HKDatumDiff::operator*(int factor) const {
  HKDatumDiff result(*this);
  result *= factor;
  return result;
}

HKDatumDiff HKDatumDiff::operator-(const HKDatumDiff& other) const {
  return HKDatumDiff(_days - other._days, _months - other._months, _years - other._years);
}

// ---- HKDatum: construction ----

HKDatum::HKDatum() { _setNow(); }

HKDatum::HKDatum(int) {
  _setNow();
  _valid = 0;
}

HKDatum::HKDatum(long seconds) : _seconds(seconds) { _fillFromSeconds(); }

HKDatum::HKDatum(int day, int month, int year) { _fillFromDay(day, month, year); }

HKDatum::HKDatum(const std::string& text) {
  _eval_datestring(text);
  _valid = 1;
  _parsed = 1;
}

HKDatum::HKDatum(const char* text) : HKDatum(std::string(text != nullptr ? text : "")) {}

HKDatum::~HKDatum() = default;

HKDatum& HKDatum::operator=(const std::string& text) {
  try {
    _eval_datestring(text);
    _parsed = 1;
  } catch (const std::exception&) {
    _parsed = 0;
  }
  return *this;
}

HKDatum& HKDatum::operator=(const char* text) { return *this = std::string(text != nullptr ? text : ""); }

void HKDatum::_setNow() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  _seconds = now.tv_sec;
  _subseconds = 0;
  _valid = 1;
  _fillFromSeconds();
}

void HKDatum::_fillFromSeconds() {
  const std::time_t t = static_cast<std::time_t>(_seconds);
  hkLocaltime_s(&_tm, &t);
}

void HKDatum::_fillFromDay(int day, int month, int year) {
  if (day == kLastDayMark) day = hkDaysInMonth(month, Schaltjahr(year));
  std::tm record{};
  record.tm_mday = day;
  record.tm_mon = month - 1;
  record.tm_year = year - kTmYearBase;
  record.tm_hour = kNoonHour;
  // Daylight saving assumed: in a zone with summer time, noon of every day
  // then falls on the same universal hour, whatever the season.
  record.tm_isdst = 1;
  _seconds = hkMakeTime(record);
  _tm = record;
  _subseconds = 0;
  _valid = 1;
}

void HKDatum::_normalise() {
  std::tm record = _tm;
  const int64_t seconds = hkMakeTime(record);
  _seconds = seconds;
  if (seconds != -1) _tm = record;
}

// ---- HKDatum: the date grammar ----

void HKDatum::_eval_datestring(const std::string& text) {
  if (_evalMachineForm(text)) return;
  _evalDayMonthYear(text);
}

// "<seconds> <subseconds> [<valid>]" when the text has blanks and none of the
// date separators. Returns false when the text is not of that form.
bool HKDatum::_evalMachineForm(const std::string& text) {
  const HKStringMap1 blank(text, " ", false);
  if (blank.size() < 2 || text.find_first_of("./-") != std::string::npos) return false;
  const int64_t seconds = std::stoll(blank.GetColumn(0));
  const uint64_t subseconds = std::stoull(blank.GetColumn(1));
  const int valid = blank.size() > 2 ? std::stoi(blank.GetColumn(2)) : 1;
  _seconds = seconds;
  _subseconds = subseconds;
  _valid = valid;
  _fillFromSeconds();
  return true;
}

void HKDatum::_evalDayMonthYear(const std::string& text) {
  const HKStringMap1 dot(text, ".", false);
  const HKStringMap1 slash(text, "/", false);
  const HKStringMap1 dash(text, "-", false);
  if (dot.size() == 1 && slash.size() == 1 && dash.size() == 1) {
    // No separator at all: the present moment.
    _setNow();
    return;
  }
  const HKStringMap1& columns = dot.size() > 1     ? dot
                                : slash.size() > 1 ? slash
                                : dash.size() > 1  ? dash
                                                   : dot;
  const int first = std::stoi(columns.GetColumn(0));
  const int month = std::clamp(std::stoi(columns.GetColumn(1)), 1, kMonthsPerYear);
  int day = first;
  int year = 0;
  if (columns.GetColumn(2).empty()) {
    year = hkCurrentYear();
  } else {
    const int third = std::stoi(columns.GetColumn(2));
    // Day first unless the first column cannot be a day and the third can.
    if (first < kMaxDay + 1 || third > kMaxDay) {
      year = third;
    } else {
      year = first;
      day = third;
    }
  }
  day = std::clamp(day, 1, kMaxDay);
  if (year < kShortYearLimit) year += year < kCenturyPivot ? kThisCentury : kLastCentury;
  _fillFromDay(day, month, year);
}

// ---- HKDatum: no date and fields ----

void HKDatum::SetNAD(int v) { _valid = v != 0 ? 1 : 0; }

bool HKDatum::IsNAD() const { return _valid == 0; }

int HKDatum::Tag() const { return _tm.tm_mday; }

int HKDatum::Monat() const { return _tm.tm_mon + 1; }

int HKDatum::Jahr() const { return _tm.tm_year + kTmYearBase; }

int HKDatum::Wochentag() const { return _tm.tm_wday; }

int HKDatum::Woche() const { return _tm.tm_yday / 7; }

bool HKDatum::Schaltjahr(int year) const {
  // Required: 0 tests the raw year field; pinned by tests/foundation/test_datum.cpp.
  const int y = year == 0 ? _tm.tm_year : year;
  return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
}

// ---- HKDatum: differences and comparison ----

long HKDatum::Differenz(const HKDatum& other) const {
  return static_cast<long>((getDayInt() - other.getDayInt()) / kSecondsPerDay);
}

long HKDatum::operator-(const HKDatum& other) const { return Differenz(other); }

bool HKDatum::operator<(const HKDatum& other) const {
  return std::tie(_tm.tm_year, _tm.tm_mon, _tm.tm_mday) <
         std::tie(other._tm.tm_year, other._tm.tm_mon, other._tm.tm_mday);
}

bool HKDatum::operator>(const HKDatum& other) const { return other < *this; }

bool HKDatum::operator<=(const HKDatum& other) const { return !(other < *this); }

bool HKDatum::operator>=(const HKDatum& other) const { return !(*this < other); }

bool HKDatum::operator==(const HKDatum& other) const {
  // Required: the year is not compared; pinned by tests/foundation/test_datum.cpp.
  return _tm.tm_mon == other._tm.tm_mon && _tm.tm_mday == other._tm.tm_mday;
}

// ---- HKDatum: arithmetic ----

void HKDatum::plusgleich(const HKDatumDiff& diff) {
  if (diff.Days() != 0 || _tm.tm_mday < kLateDay) {
    _tm.tm_mday += diff.Days();
    _tm.tm_mon += diff.Months();
    _tm.tm_year += diff.Years();
    _normalise();
    return;
  }
  // A pure month and year step from a late day: carry whole years out of the
  // month count, then cut the day back to what the target month has.
  const int64_t months = static_cast<int64_t>(_tm.tm_mon) + diff.Months();
  const int64_t carry = hkFloorDiv(months, kMonthsPerYear);
  _tm.tm_mon = static_cast<int>(months - carry * kMonthsPerYear);
  _tm.tm_year += static_cast<int>(carry) + diff.Years();
  const int targetDays = hkDaysInMonth(_tm.tm_mon + 1, Schaltjahr(_tm.tm_year + kTmYearBase));
  _tm.tm_mday = std::min(_tm.tm_mday, targetDays);
  _normalise();
  if (_seconds != -1) _fillFromSeconds();
}

HKDatum& HKDatum::operator+=(const HKDatumDiff& diff) {
  plusgleich(diff);
  return *this;
}

HKDatum& HKDatum::operator-=(const HKDatumDiff& diff) {
  plusgleich(diff * -1);
  return *this;
}

HKDatum HKDatum::operator+(const HKDatumDiff& diff) const {
  HKDatum result(*this);
  result += diff;
  return result;
}

HKDatum& HKDatum::operator++() { return *this += HKDatumDiff(1, 0, 0); }

HKDatum HKDatum::operator++(int) {
  HKDatum before(*this);
  ++*this;
  return before;
}

HKDatum& HKDatum::operator--() { return *this -= HKDatumDiff(1, 0, 0); }

HKDatum HKDatum::operator--(int) {
  HKDatum before(*this);
  --*this;
  return before;
}

void HKDatum::FirstDayOfMonth() {
  _tm.tm_mday = 1;
  _normalise();
}

void HKDatum::LastDayOfMonth() {
  _tm.tm_mday = hkDaysInMonth(Monat(), Schaltjahr(Jahr()));
  _normalise();
}

void HKDatum::FirstDayOfQuarter() {
  // Required: only the day field changes (the month is written back as it
  // was), without recalculation; pinned by tests/foundation/test_datum.cpp.
  _tm.tm_mday = 1;
}

// ---- HKDatum: numbers and texts ----

int64_t HKDatum::getNextMinute(long n) const {
  const int64_t later = _seconds + static_cast<int64_t>(n) * kSecondsPerMinute;
  return hkFloorDiv(later, kSecondsPerMinute) * kSecondsPerMinute * kNanosPerSecond;
}

int64_t HKDatum::asInt() const { return _seconds; }

int64_t HKDatum::getDayInt() const {
  std::tm noon = _tm;
  noon.tm_hour = kNoonHour;
  noon.tm_min = 0;
  noon.tm_sec = 0;
  noon.tm_isdst = 1;
  return hkMakeTime(noon);
}

std::string HKDatum::AsString() const {
  char text[48];
  std::snprintf(text, sizeof text, "%d-%02d-%02d", Jahr(), Monat(), Tag());
  return text;
}

std::string HKDatum::str() const { return AsString(); }

std::string HKDatum::AsStringL() const {
  char text[64];
  std::snprintf(text, sizeof text, "%d-%02d-%02d %02d:%02d:%02d", Jahr(), Monat(), Tag(), _tm.tm_hour,
                _tm.tm_min, _tm.tm_sec);
  return text;
}

void HKDatum::ShortDump() const {
  // Console output is this function's purpose.
  std::cout << AsString() << std::endl;
}

void HKDatum::Dump() const {
  // Console output is this function's purpose.
  std::cout << "seconds " << _seconds << " subseconds " << _subseconds << " valid " << _valid << " parsed "
            << _parsed << " date " << AsStringL() << " weekday " << _tm.tm_wday << " yearday " << _tm.tm_yday
            << " dst " << _tm.tm_isdst << std::endl;
}
