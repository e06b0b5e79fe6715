// Dynamic variables: change detection by time stamps, the state word,
// channels, messages and every variable class.
#include <toviktwo/devices/hkdriverconnectmessage.h>
#include <toviktwo/devices/hkdynamicvariable.h>

#include <gtest/gtest.h>

#include <memory>
#include <thread>

namespace {

using DoubleVariable = HKDynamicVariableOf<HK_DOUBLE>;

// Exposes the cycle count and lets a test set the live value.
class OpenDouble : public DoubleVariable {
 public:
  int32_t CycleCount() const { return _cycle_count; }
  void SetCycleCount(int32_t n) { _cycle_count = n; }
  void SetLive(double v) { _value = v; }
};

// A channel that serves doubles only, with the context as a counter.
class DoubleChannel : public HKChannel {
 public:
  bool Get(double& value, void* context) override {
    ++*static_cast<int*>(context);
    value = next;
    return ok;
  }
  double next = 1.5;
  bool ok = true;
};

std::unique_ptr<HKMessage> valueMessage(double v) {
  return std::make_unique<HKValueChangeMessageOf<HK_DOUBLE>>("1", v);
}

TEST(DynamicVariable, FreshVariableHasNothingToPublish) {
  DoubleVariable v;
  EXPECT_EQ(v.CalcUpdates(), HK_UPDATE_NONE);
  EXPECT_EQ(v.GetState(), 0u);
  EXPECT_EQ(v.GetType(), HK_DOUBLE);
}

TEST(DynamicVariable, FirstValueGivesValueAndStateThenNothing) {
  DoubleVariable v;
  v.SetFromMessage(valueMessage(2.5).get());
  EXPECT_EQ(v.GetValue(), 2.5);
  EXPECT_EQ(v.CalcUpdates(), HK_UPDATE_VALUE_AND_STATE);
  EXPECT_EQ(v.GetState(), HK_VARSTATE_GOOD);
  EXPECT_EQ(v.GetState(), 3u);
  EXPECT_EQ(v.GetPublished(), 2.5);
  EXPECT_EQ(v.CalcUpdates(), HK_UPDATE_NONE);
}

TEST(DynamicVariable, FurtherValueWithUnchangedStateGivesValueOnly) {
  DoubleVariable v;
  v.SetFromMessage(valueMessage(2.5).get());
  v.CalcUpdates();
  v.SetFromMessage(valueMessage(3.5).get());
  EXPECT_EQ(v.CalcUpdates(), HK_UPDATE_VALUE);
  EXPECT_EQ(v.GetPublished(), 3.5);
}

TEST(DynamicVariable, SameValueAgainCountsAsAChange) {
  DoubleVariable v;
  v.SetFromMessage(valueMessage(2.5).get());
  v.CalcUpdates();
  v.SetFromMessage(valueMessage(2.5).get());
  EXPECT_EQ(v.CalcUpdates(), HK_UPDATE_VALUE);
}

TEST(DynamicVariable, StateOnlyMessageGivesStateChange) {
  DoubleVariable v;
  HKStateChangeMessage state("1", 0x10);
  v.SetFromMessage(&state);
  EXPECT_EQ(v.GetState(), 0x10u);
  EXPECT_EQ(v.CalcUpdates(), HK_UPDATE_STATE);
  EXPECT_EQ(v.GetStatePublished(), 0x10u);
  EXPECT_EQ(v.CalcUpdates(), HK_UPDATE_NONE);
}

TEST(DynamicVariable, ValueOfAnotherTypeIsIgnored) {
  DoubleVariable v;
  HKValueChangeMessageOf<HK_INT32> other("1", 7);
  v.SetFromMessage(&other);
  EXPECT_EQ(v.GetValue(), 0.0);
  EXPECT_EQ(v.CalcUpdates(), HK_UPDATE_NONE);
}

TEST(DynamicVariable, OtherMessageKindsAreIgnored) {
  DoubleVariable v;
  HKDriverConnectMessage connect("a", "b", 0, "d", "1", HK_DOUBLE);
  v.SetFromMessage(&connect);
  v.SetFromMessage(nullptr);
  EXPECT_EQ(v.CalcUpdates(), HK_UPDATE_NONE);
}

TEST(DynamicVariable, RetrieveWithoutChannelMarksStaleAndGivesStateChange) {
  DoubleVariable v;
  HKStateChangeMessage good("1", HK_VARSTATE_GOOD);
  v.SetFromMessage(&good);
  v.CalcUpdates();
  v.RetrieveValue(nullptr);
  EXPECT_EQ(v.GetState() & HK_VARSTATE_STALE, HK_VARSTATE_STALE);
  EXPECT_EQ(v.GetState() & HK_VARSTATE_CURRENT, 0u);
  EXPECT_EQ(v.GetState(), 0x9u);
  EXPECT_EQ(v.CalcUpdates(), HK_UPDATE_STATE);
}

TEST(DynamicVariable, RetrieveThroughChannelStampsTheValue) {
  DoubleVariable v;
  DoubleChannel channel;
  int calls = 0;
  v.SetChannel(&channel);
  EXPECT_EQ(v.GetChannel(), &channel);
  v.RetrieveValue(&calls);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(v.GetValue(), 1.5);
  EXPECT_EQ(v.CalcUpdates(), HK_UPDATE_VALUE_AND_STATE);
  EXPECT_EQ(v.GetPublished(), 1.5);
}

TEST(DynamicVariable, FailingChannelMarksStaleAndNextValueMakesItGood) {
  DoubleVariable v;
  DoubleChannel channel;
  channel.ok = false;
  int calls = 0;
  v.SetChannel(&channel);
  v.RetrieveValue(&calls);
  EXPECT_EQ(v.GetState(), HK_VARSTATE_STALE);
  EXPECT_EQ(v.CalcUpdates(), HK_UPDATE_STATE);
  channel.ok = true;
  v.RetrieveValue(&calls);
  EXPECT_EQ(v.CalcUpdates(), HK_UPDATE_VALUE_AND_STATE);
  EXPECT_EQ(v.GetState(), HK_VARSTATE_GOOD);
}

TEST(DynamicVariable, ChannelOfAnotherTypeDoesNotServe) {
  HKDynamicVariableOf<HK_INT32> v;
  DoubleChannel channel;
  int calls = 0;
  v.SetChannel(&channel);
  v.RetrieveValue(&calls);
  EXPECT_EQ(calls, 0);
  EXPECT_EQ(v.GetState(), HK_VARSTATE_STALE);
}

TEST(DynamicVariable, ConfigEntriesAreFoundByNameAndReplaced) {
  DoubleVariable v;
  HKVariableConfiguration first, second;
  EXPECT_EQ(v.GetConfig("address"), nullptr);
  v.SetConfig("address", &first);
  EXPECT_EQ(v.GetConfig("address"), &first);
  v.SetConfig("address", &second);
  EXPECT_EQ(v.GetConfig("address"), &second);
  EXPECT_EQ(v.GetChannel(), nullptr);
}

TEST(DynamicVariable, Cycle0CyclesOnlyWithAPositiveCountAndResetsIt) {
  OpenDouble v;
  v.SetLive(4.0);
  EXPECT_EQ(v.CycleCount(), -1);
  v._cycle0();
  EXPECT_EQ(v.GetPublished(), 0.0);
  EXPECT_EQ(v.CycleCount(), 0);
  v.SetCycleCount(2);
  v._cycle0();
  EXPECT_EQ(v.GetPublished(), 4.0);
  EXPECT_EQ(v.CycleCount(), 0);
}

TEST(DynamicVariable, MessagesCarryTheNumberAndPublishedValueAndState) {
  DoubleVariable v;
  v.SetRefID("9");
  v.SetFromMessage(valueMessage(6.0).get());
  std::unique_ptr<HKMessage> before(v.GetValueAsMessage());
  EXPECT_EQ(static_cast<HKValueChangeMessageOf<HK_DOUBLE>*>(before.get())->GetValue(), 0.0);
  v.CalcUpdates();
  std::unique_ptr<HKMessage> value(v.GetValueAsMessage());
  std::unique_ptr<HKMessage> state(v.GetStateAsMessage());
  EXPECT_EQ(value->GetRefID(), "9");
  EXPECT_EQ(value->GetValueType(), HK_DOUBLE);
  EXPECT_EQ(static_cast<HKValueChangeMessageOf<HK_DOUBLE>*>(value.get())->GetValue(), 6.0);
  EXPECT_EQ(state->GetMessageTypeID(), HK_MSG_STATE_CHANGE);
  EXPECT_EQ(static_cast<HKStateChangeMessage*>(state.get())->GetState(), HK_VARSTATE_GOOD);
}

TEST(DynamicVariableArray, SizeAndElementsReadTheLiveValue) {
  HKDynamicVariableOf<HK_INT32_ARRAY> v;
  EXPECT_EQ(v.size(), 0u);
  HKValueChangeMessageOf<HK_INT32_ARRAY> m("1", {4, 5, 6});
  v.SetFromMessage(&m);
  EXPECT_EQ(v.size(), 3u);
  EXPECT_EQ(v[0], 4);
  EXPECT_EQ(v[2], 6);
  EXPECT_THROW(v[3], HKException);
}

TEST(DynamicVariableArray, ScalarFormHasSizeOne) {
  HKDynamicVariableOf<HK_STRING> v;
  EXPECT_EQ(v.size(), 1u);
}

// ---- every variable class

template <HKVarType VT>
struct TypeTag {
  static constexpr HKVarType value = VT;
};
template <class Tag>
class EveryVariableTest : public ::testing::Test {};
#define HK_TAG(vt, T) TypeTag<vt>,
using AllVariableTypes =
    ::testing::Types<HK_SCALAR_VARTYPES(HK_TAG) HK_ARRAY_VARTYPES(HK_TAG) TypeTag<HK_DOUBLE>>;
#undef HK_TAG
TYPED_TEST_SUITE(EveryVariableTest, AllVariableTypes);

TYPED_TEST(EveryVariableTest, TakesPublishesAndSendsItsValue) {
  constexpr HKVarType vt = TypeParam::value;
  using S = typename HKVarTypeOf<vt>::stored;
  std::unique_ptr<HKDynamicVariable_basic> v(HKNewDynamicVariable(vt));
  ASSERT_NE(v, nullptr);
  EXPECT_EQ(v->GetType(), vt);
  EXPECT_NE(dynamic_cast<HKDynamicVariableOf<vt>*>(v.get()), nullptr);
  S sample{};
  if constexpr (std::is_same_v<S, std::string>)
    sample = "x";
  else if constexpr (std::is_arithmetic_v<S>)
    sample = static_cast<S>(1);
  else
    sample.assign(2, static_cast<typename S::value_type>(1));
  HKValueChangeMessageOf<vt> m("1", sample);
  v->SetFromMessage(&m);
  EXPECT_EQ(v->CalcUpdates(), HK_UPDATE_VALUE_AND_STATE);
  std::unique_ptr<HKMessage> out(v->GetValueAsMessage());
  EXPECT_EQ(out->GetValueType(), vt);
  EXPECT_EQ(dynamic_cast<HKValueChangeMessageOf<vt>*>(out.get())->GetValue(), sample);
}

TEST(DynamicVariableFactory, TypesWithoutAVariableClassGiveNull) {
  for (int t : {0, 13, 15, 23, 25, -1}) EXPECT_EQ(HKNewDynamicVariable(t), nullptr) << t;
}

}  // namespace
