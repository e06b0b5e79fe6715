// HKFaelligkeit: the pattern is held as given; "once" looks at the first three numbers.
#include <gtest/gtest.h>

#include <toviktwo/foundation/hkfaelligkeit.h>

#include "../support/hktimezone.h"

namespace {

class FaelligkeitTest : public ::testing::Test {
 protected:
  HKScopedTimeZone _zone{kHKZoneBerlin};
};

}  // namespace

TEST_F(FaelligkeitTest, ConstructorKeepsDatesAndPattern) {
  const HKFaelligkeit due(HKDatum(1, 1, 2026), HKDatum(31, 12, 2026), 1, 2, 3, 4);
  EXPECT_EQ(due.First().AsString(), "2026-01-01");
  EXPECT_EQ(due.Last().AsString(), "2026-12-31");
  EXPECT_EQ(due.Schema1(), 1);
  EXPECT_EQ(due.Schema2(), 2);
  EXPECT_EQ(due.Schema3(), 3);
  EXPECT_EQ(due.Schema4(), 4);
  EXPECT_FALSE(due.Once());
}

TEST_F(FaelligkeitTest, OnceWhenFirstThreeNumbersAreZeroWhateverTheFourth) {
  const HKFaelligkeit due(HKDatum(1, 1, 2026), HKDatum(1, 1, 2026), 0, 0, 0, 9);
  EXPECT_TRUE(due.Once());
  for (int i = 0; i < 3; ++i) {
    HKFaelligkeit other = due;
    other.Schema(i == 0, i == 1, i == 2, 0);
    EXPECT_FALSE(other.Once()) << i;
  }
}

TEST_F(FaelligkeitTest, SchemaRecomputesOnceAndGetSchemaCopiesTheRecord) {
  HKFaelligkeit due(HKDatum(1, 1, 2026), HKDatum(1, 2, 2026), 1, 0, 0, 0);
  ASSERT_FALSE(due.Once());
  due.Schema(0, 0, 0, 5);
  EXPECT_TRUE(due.Once());
  HKFaelligkeit copy = due.GetSchema();
  due.Schema(7, 0, 0, 0);
  EXPECT_TRUE(copy.Once());
  EXPECT_EQ(copy.Schema4(), 5);
  EXPECT_EQ(copy.Last().AsString(), "2026-02-01");
  EXPECT_FALSE(due.Once());
}
