// Messages and containers: type identifiers, value types, duplicates and
// ownership.
#include <toviktwo/devices/hkdriverconnectmessage.h>
#include <toviktwo/devices/hkmessage.h>
#include <toviktwo/devices/hkvaluechangemessage.h>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>

#include "../support/devicetest.h"

namespace {

using tovik_test::CountedMessage;

// A message that defines only what the base leaves to derived classes.
class PlainMessage : public HKMessage {
 public:
  int GetMessageTypeID() override { return 1; }
  std::string GetRefID() override { return "7"; }
};

TEST(Message, BaseDuplicateIsNullAndValueTypeZero) {
  PlainMessage m;
  EXPECT_EQ(m.Duplicate(), nullptr);
  EXPECT_EQ(m.GetValueType(), 0);
}

TEST(Message, TypeIdentifiersAre256And512And514) {
  EXPECT_EQ(HK_MSG_DRIVER_CONNECT, 0x100);
  EXPECT_EQ(HK_MSG_VALUE_CHANGE, 0x200);
  EXPECT_EQ(HK_MSG_STATE_CHANGE, 0x202);
}

TEST(MessageContainer, EmptyContainerHasNoSenderAndNoMessages) {
  HKMessageContainer c;
  EXPECT_EQ(c.GetSender(), nullptr);
  EXPECT_EQ(c.GetDestination(), nullptr);
  EXPECT_TRUE(c.Messages().empty());
}

TEST(MessageContainer, DeletesItsMessagesWithItself) {
  std::atomic<int> deleted{0};
  {
    HKMessageContainer c(new CountedMessage(&deleted), nullptr);
    c.Messages().push_back(new CountedMessage(&deleted));
    EXPECT_EQ(c.Messages().size(), 2u);
  }
  EXPECT_EQ(deleted, 2);
}

TEST(StateChangeMessage, CarriesNumberAndStateWithTheBasesValueType) {
  HKStateChangeMessage m("12", 0x8);
  EXPECT_EQ(m.GetMessageTypeID(), HK_MSG_STATE_CHANGE);
  EXPECT_EQ(m.GetRefID(), "12");
  EXPECT_EQ(m.GetState(), 0x8u);
  EXPECT_EQ(m.GetValueType(), 0);
  std::unique_ptr<HKMessage> copy(m.Duplicate());
  auto* state = dynamic_cast<HKStateChangeMessage*>(copy.get());
  ASSERT_NE(state, nullptr);
  EXPECT_EQ(state->GetRefID(), "12");
  EXPECT_EQ(state->GetState(), 0x8u);
}

TEST(DriverConnectMessage, Is256WithTheBasesDuplicateAndValueType) {
  HKDriverConnectMessage m("a1", "a2", 3, "drv", "5", HK_INT32);
  EXPECT_EQ(m.GetMessageTypeID(), HK_MSG_DRIVER_CONNECT);
  EXPECT_EQ(m.GetRefID(), "5");
  EXPECT_EQ(m.Duplicate(), nullptr);
  EXPECT_EQ(m.GetValueType(), 0);
}

// ---- every value type

template <class Tag>
class ValueChangeMessageTest : public ::testing::Test {};

template <HKVarType VT>
struct TypeTag {
  static constexpr HKVarType value = VT;
};

#define HK_TAG(vt, T) TypeTag<vt>,
using AllValueTypes =
    ::testing::Types<HK_SCALAR_VARTYPES(HK_TAG) HK_ARRAY_VARTYPES(HK_TAG) TypeTag<HK_DOUBLE>>;
#undef HK_TAG
TYPED_TEST_SUITE(ValueChangeMessageTest, AllValueTypes);

// A stored value that differs from the default one.
template <class S>
S sampleValue() {
  if constexpr (std::is_same_v<S, std::string>) {
    return "sample";
  } else if constexpr (std::is_same_v<S, bool>) {
    return true;
  } else if constexpr (std::is_arithmetic_v<S>) {
    return static_cast<S>(42);
  } else {
    return S{static_cast<typename S::value_type>(1), static_cast<typename S::value_type>(0),
             static_cast<typename S::value_type>(1)};
  }
}

TYPED_TEST(ValueChangeMessageTest, CarriesValueTypeNumberAndValueAndDuplicates) {
  constexpr HKVarType vt = TypeParam::value;
  using S = typename HKVarTypeOf<vt>::stored;
  HKValueChangeMessageOf<vt> m("3", sampleValue<S>());
  EXPECT_EQ(m.GetMessageTypeID(), HK_MSG_VALUE_CHANGE);
  EXPECT_EQ(m.GetValueType(), vt);
  EXPECT_EQ(m.GetRefID(), "3");
  EXPECT_EQ(m.GetValue(), sampleValue<S>());
  std::unique_ptr<HKMessage> copy(m.Duplicate());
  auto* typed = dynamic_cast<HKValueChangeMessageOf<vt>*>(copy.get());
  ASSERT_NE(typed, nullptr);
  EXPECT_EQ(typed->GetRefID(), "3");
  EXPECT_EQ(typed->GetValue(), sampleValue<S>());
  EXPECT_NE(&typed->GetValue(), &m.GetValue());
}

}  // namespace
