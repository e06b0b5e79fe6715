// A due schedule: a first and a last date with a repetition pattern.
//
// The pattern is four integers, held and handed back as given; the
// schedule's own interpretation of them belongs to the application. Only one
// rule is built in: the schedule happens once when the first three numbers
// are all zero (the fourth does not count).
#pragma once

#include <toviktwo/foundation/hkdatum.h>

class HKFaelligkeit {
 public:
  HKFaelligkeit(HKDatum first, HKDatum last, int a, int b, int c, int d);
  // Stores the pattern and recomputes the once flag.
  void Schema(int a, int b, int c, int d);
  // A copy of the whole record.
  HKFaelligkeit GetSchema() const;

  const HKDatum& First() const { return _first; }
  const HKDatum& Last() const { return _last; }
  // True when the first three pattern numbers are all zero.
  bool Once() const { return _once != 0; }
  int Schema1() const { return _schema1; }
  int Schema2() const { return _schema2; }
  int Schema3() const { return _schema3; }
  int Schema4() const { return _schema4; }

 private:
  HKDatum _first;
  HKDatum _last;
  int32_t _once = 0;
  int32_t _schema1 = 0;
  int32_t _schema2 = 0;
  int32_t _schema3 = 0;
  int32_t _schema4 = 0;
};
