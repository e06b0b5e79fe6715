#include <toviktwo/foundation/hkfaelligkeit.h>

#include <utility>

HKFaelligkeit::HKFaelligkeit(HKDatum first, HKDatum last, int a, int b, int c, int d)
    : _first(std::move(first)), _last(std::move(last)) {
  Schema(a, b, c, d);
}

void HKFaelligkeit::Schema(int a, int b, int c, int d) {
  _schema1 = a;
  _schema2 = b;
  _schema3 = c;
  _schema4 = d;
  _once = (a == 0 && b == 0 && c == 0) ? 1 : 0;
}

HKFaelligkeit HKFaelligkeit::GetSchema() const { return *this; }
