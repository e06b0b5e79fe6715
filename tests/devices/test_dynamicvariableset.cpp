// The variable set: numbering, subscribers, search by address, ownership.
#include <toviktwo/devices/hkdynamicvariableset.h>

#include <gtest/gtest.h>

#include <atomic>

#include "../support/devicetest.h"

namespace {

using Device = tovik_test::ManualDevice<HKDevice_w_queue>;

// Counts its deletions.
class CountedVariable : public HKDynamicVariableOf<HK_INT32> {
 public:
  explicit CountedVariable(std::atomic<int>* deleted) : _deleted(deleted) {}
  ~CountedVariable() override { ++*_deleted; }

 private:
  std::atomic<int>* _deleted;
};

class VariableSetTest : public ::testing::Test {
 protected:
  HKGavetaScheduler2 scheduler;
  Device d1{scheduler}, d2{scheduler};
  HKDynamicVariableSet set;
};

TEST_F(VariableSetTest, FirstVariableGetsNumberOneAndRefIDOne) {
  auto* v = new HKDynamicVariableOf<HK_DOUBLE>();
  EXPECT_EQ(set.InsertDynamicVariable(v, &d1), 1);
  EXPECT_EQ(v->GetRefID(), "1");
  EXPECT_EQ(set.GetVariable(1), v);
}

TEST_F(VariableSetTest, NumbersFollowTheCount) {
  set.InsertDynamicVariable(new HKDynamicVariableOf<HK_DOUBLE>(), &d1);
  auto* second = new HKDynamicVariableOf<HK_BOOL>();
  EXPECT_EQ(set.InsertDynamicVariable(second, &d1), 2);
  EXPECT_EQ(second->GetRefID(), "2");
  EXPECT_EQ(set.size(), 2u);
}

TEST_F(VariableSetTest, SameVariableTwiceGivesOneNumberAndTwoSubscribers) {
  auto* v = new HKDynamicVariableOf<HK_DOUBLE>();
  EXPECT_EQ(set.InsertDynamicVariable(v, &d1), 1);
  EXPECT_EQ(set.InsertDynamicVariable(v, &d2), 1);
  EXPECT_EQ(set.size(), 1u);
  EXPECT_EQ(set.GetSubscribers(1), (std::set<HKDevice_w_queue*>{&d1, &d2}));
}

TEST_F(VariableSetTest, SubscriberIsKeptOnce) {
  auto* v = new HKDynamicVariableOf<HK_DOUBLE>();
  set.InsertDynamicVariable(v, &d1);
  set.InsertDynamicVariable(v, &d1);
  set.AddSubscriber(1, &d1);
  EXPECT_EQ(set.GetSubscribers(1).size(), 1u);
}

TEST_F(VariableSetTest, NumberWithoutEntryHasNoSubscribersAndNoVariable) {
  EXPECT_TRUE(set.GetSubscribers(5).empty());
  EXPECT_EQ(set.GetVariable(5), nullptr);
}

TEST_F(VariableSetTest, NullVariableGivesZero) { EXPECT_EQ(set.InsertDynamicVariable(nullptr, &d1), 0); }

TEST_F(VariableSetTest, LocateOfAnAddressNoVariableHasGivesZero) {
  HKVarConfigAddress known("a", "b", 1, "drv", HK_DOUBLE), other("a", "c", 1, "drv", HK_DOUBLE);
  auto* v = new HKDynamicVariableOf<HK_DOUBLE>();
  v->SetConfig("address", &known);
  set.InsertDynamicVariable(v, &d1);
  EXPECT_EQ(set.LocateIfExists(&other), 0);
  EXPECT_EQ(set.LocateIfExists(nullptr), 0);
}

TEST_F(VariableSetTest, LocateFindsTheFirstVariableWithAnEqualAddress) {
  HKVarConfigAddress a("a", "b", 1, "drv", HK_DOUBLE), b("x", "", 0, "drv", HK_DOUBLE);
  HKVarConfigAddress asked("a", "b", 1, "drv", HK_INT32);
  auto* v1 = new HKDynamicVariableOf<HK_DOUBLE>();
  auto* v2 = new HKDynamicVariableOf<HK_DOUBLE>();
  v1->SetConfig("address", &b);
  v2->SetConfig("address", &a);
  set.InsertDynamicVariable(v1, &d1);
  set.InsertDynamicVariable(v2, &d1);
  EXPECT_EQ(set.LocateIfExists(&asked), 2);
}

TEST(VariableSet, DeletesItsVariablesButNotTheirConfiguration) {
  std::atomic<int> deleted{0};
  HKVarConfigAddress address("a", "b", 1, "drv", HK_INT32);
  {
    HKDynamicVariableSet set;
    auto* v = new CountedVariable(&deleted);
    v->SetConfig("address", &address);
    set.InsertDynamicVariable(v, nullptr);
    set.InsertDynamicVariable(new CountedVariable(&deleted), nullptr);
  }
  EXPECT_EQ(deleted, 2);
  EXPECT_EQ(address._driver, "drv");
}

}  // namespace
