// The driver connector, pumped by hand: subscriptions, connect messages,
// fan-out, late subscribers and the messages it drops.
#include <toviktwo/devices/hkdriverconnector.h>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>

#include "../support/devicetest.h"

namespace {

using tovik_test::RecordingDevice;
using Connector = tovik_test::ManualDevice<HKDriverConnector>;
using IntValue = HKValueChangeMessageOf<HK_INT32>;

// A value message that counts its deletions (duplicates are plain ones).
class CountedValue : public IntValue {
 public:
  CountedValue(std::string refID, int value, std::atomic<int>* deleted)
      : IntValue(std::move(refID), value), _deleted(deleted) {}
  ~CountedValue() override { ++*_deleted; }

 private:
  std::atomic<int>* _deleted;
};

class ConnectorTest : public ::testing::Test {
 protected:
  void SetUp() override {
    connector.ConnectDriver("plc", &driver);
    for (RecordingDevice* c : {&c1, &c2, &c3}) c->ConnectTo(&connector);
  }
  // Driver to connector, connector to consumers, consumers' inboxes.
  void pumpAll() {
    driver.Pump();
    connector.Pump();
    driver.Pump();
    for (RecordingDevice* c : {&c1, &c2, &c3}) c->Pump();
  }
  void driverSends(HKMessage* m) {
    driver.SendMessage(m, &connector);
    pumpAll();
  }
  int valueOf(long number) {
    std::lock_guard<std::recursive_mutex> guard(connector.GetVariableSet().VariablesMutex());
    auto* v = dynamic_cast<HKDynamicVariableOf<HK_INT32>*>(connector.GetVariableSet().GetVariable(number));
    return v == nullptr ? -1 : v->GetValue();
  }

  HKGavetaScheduler2 scheduler;
  Connector connector{scheduler};
  RecordingDevice driver{scheduler}, c1{scheduler}, c2{scheduler}, c3{scheduler};
  HKVarConfigAddress speed{"pump", "speed", 1, "plc", HK_INT32};
  std::atomic<int> deleted{0};
};

TEST_F(ConnectorTest, FirstSubscriptionCreatesTheVariableAndTellsTheDriver) {
  EXPECT_EQ(connector.InsertDynamicVariable(&speed, &c1), 1);
  pumpAll();
  ASSERT_EQ(driver.received.size(), 1u);
  auto* connect = dynamic_cast<HKDriverConnectMessage*>(driver.received[0].get());
  ASSERT_NE(connect, nullptr);
  EXPECT_EQ(connect->_refID, "1");
  EXPECT_EQ(connect->_address1, "pump");
  EXPECT_EQ(connect->_address2, "speed");
  EXPECT_EQ(connect->_mode, 1);
  EXPECT_EQ(connect->_driver, "plc");
  EXPECT_EQ(connect->_vartype, HK_INT32);
  EXPECT_TRUE(c1.received.empty());
}

TEST_F(ConnectorTest, SecondConsumerGetsTheSameNumberAndOneValueAndOneStateMessage) {
  connector.InsertDynamicVariable(&speed, &c1);
  EXPECT_EQ(connector.InsertDynamicVariable(&speed, &c2), 1);
  pumpAll();
  ASSERT_EQ(c2.received.size(), 2u);
  EXPECT_EQ(c2.received[0]->GetMessageTypeID(), HK_MSG_VALUE_CHANGE);
  EXPECT_EQ(c2.received[0]->GetRefID(), "1");
  EXPECT_EQ(c2.received[1]->GetMessageTypeID(), HK_MSG_STATE_CHANGE);
  EXPECT_EQ(driver.received.size(), 1u);
  EXPECT_TRUE(c1.received.empty());
}

TEST_F(ConnectorTest, LateSubscriberStartsWithTheLatestPublishedValueAndState) {
  connector.InsertDynamicVariable(&speed, &c1);
  driverSends(new IntValue("1", 55));
  connector.InsertDynamicVariable(&speed, &c2);
  pumpAll();
  ASSERT_EQ(c2.received.size(), 2u);
  EXPECT_EQ(static_cast<IntValue*>(c2.received[0].get())->GetValue(), 55);
  EXPECT_EQ(static_cast<HKStateChangeMessage*>(c2.received[1].get())->GetState(), HK_VARSTATE_GOOD);
}

TEST_F(ConnectorTest, Type23GivesZeroAndNoVariable) {
  HKVarConfigAddress floats("pump", "curve", 0, "plc", HK_FLOAT_ARRAY);
  EXPECT_EQ(connector.InsertDynamicVariable(&floats, &c1), 0);
  EXPECT_EQ(connector.GetVariableSet().size(), 0u);
  pumpAll();
  EXPECT_TRUE(driver.received.empty());
}

TEST_F(ConnectorTest, TypesWithoutAVariableClassAreRefused) {
  for (int t : {0, 13, 15, 23, 25}) {
    HKVarConfigAddress a("pump", "x", t, "plc", static_cast<HKVarType>(t));
    EXPECT_EQ(connector.InsertDynamicVariable(&a, &c1), 0) << t;
  }
  EXPECT_EQ(connector.GetVariableSet().size(), 0u);
}

TEST_F(ConnectorTest, EveryTypeWithAVariableClassIsCreated) {
  std::vector<std::unique_ptr<HKVarConfigAddress>> addresses;
  long expected = 0;
  for (int t = 1; t <= 24; ++t) {
    if (t == HK_STRING_ARRAY || t == HK_CHAR_ARRAY || t == HK_FLOAT_ARRAY) continue;
    addresses.push_back(std::make_unique<HKVarConfigAddress>("v", "", t, "plc", static_cast<HKVarType>(t)));
    EXPECT_EQ(connector.InsertDynamicVariable(addresses.back().get(), &c1), ++expected);
    std::lock_guard<std::recursive_mutex> guard(connector.GetVariableSet().VariablesMutex());
    EXPECT_EQ(connector.GetVariableSet().GetVariable(expected)->GetType(), t);
  }
  EXPECT_EQ(expected, 21);
}

TEST_F(ConnectorTest, UnregisteredDriverGivesANumberAndNoConnectMessage) {
  HKVarConfigAddress elsewhere("pump", "speed", 1, "nodriver", HK_INT32);
  EXPECT_EQ(connector.InsertDynamicVariable(&elsewhere, &c1), 1);
  EXPECT_EQ(connector.OutboxSize(), 0u);
  pumpAll();
  EXPECT_TRUE(driver.received.empty());
}

TEST_F(ConnectorTest, ValueReachesThreeSubscribersTwoOfThemByDuplicates) {
  for (RecordingDevice* c : {&c1, &c2, &c3}) connector.InsertDynamicVariable(&speed, c);
  pumpAll();
  for (RecordingDevice* c : {&c1, &c2, &c3}) c->received.clear();
  auto* original = new IntValue("1", 7);
  driverSends(original);
  int originals = 0;
  for (RecordingDevice* c : {&c1, &c2, &c3}) {
    ASSERT_EQ(c->received.size(), 1u);
    EXPECT_EQ(static_cast<IntValue*>(c->received[0].get())->GetValue(), 7);
    if (c->received[0].get() == original) ++originals;
  }
  EXPECT_EQ(originals, 1);
  EXPECT_EQ(valueOf(1), 7);
}

TEST_F(ConnectorTest, LastSubscriberInSetOrderGetsTheMessageItself) {
  for (RecordingDevice* c : {&c1, &c2, &c3}) connector.InsertDynamicVariable(&speed, c);
  pumpAll();
  auto* original = new IntValue("1", 8);
  driverSends(original);
  RecordingDevice* last = std::max({&c1, &c2, &c3});
  EXPECT_EQ(last->received.back().get(), original);
}

TEST_F(ConnectorTest, ValueForAVariableWithNoSubscribersUpdatesItAndIsDeleted) {
  connector.InsertDynamicVariable(&speed, &c1);
  connector.GetVariableSet().RemoveSubscriber(1, &c1);
  pumpAll();
  driverSends(new CountedValue("1", 9, &deleted));
  EXPECT_EQ(valueOf(1), 9);
  EXPECT_EQ(deleted, 1);
  EXPECT_TRUE(c1.received.empty());
}

TEST_F(ConnectorTest, ConnectMessageInTheConnectorsInboxIsDeleted) {
  struct CountedConnect : HKDriverConnectMessage {
    explicit CountedConnect(std::atomic<int>* d)
        : HKDriverConnectMessage("a", "b", 0, "plc", "1", HK_INT32), n(d) {}
    ~CountedConnect() override { ++*n; }
    std::atomic<int>* n;
  };
  connector.InsertDynamicVariable(&speed, &c1);
  pumpAll();
  driverSends(new CountedConnect(&deleted));
  EXPECT_EQ(deleted, 1);
  EXPECT_TRUE(c1.received.empty());
}

TEST_F(ConnectorTest, UnknownOrNonNumericNumberLosesTheMessage) {
  connector.InsertDynamicVariable(&speed, &c1);
  pumpAll();
  driverSends(new CountedValue("2", 1, &deleted));
  driverSends(new CountedValue("abc", 1, &deleted));
  driverSends(new CountedValue("0", 1, &deleted));
  EXPECT_EQ(deleted, 3);
  EXPECT_TRUE(c1.received.empty());
  EXPECT_EQ(valueOf(1), 0);
}

TEST_F(ConnectorTest, AddressesDifferingOnlyInTypeLocateTheSameVariable) {
  HKVarConfigAddress asDouble("pump", "speed", 1, "plc", HK_DOUBLE);
  EXPECT_EQ(connector.InsertDynamicVariable(&speed, &c1), 1);
  EXPECT_EQ(connector.GetVariableSet().LocateIfExists(&asDouble), 1);
  EXPECT_EQ(connector.InsertDynamicVariable(&asDouble, &c2), 1);
  std::lock_guard<std::recursive_mutex> guard(connector.GetVariableSet().VariablesMutex());
  EXPECT_EQ(connector.GetVariableSet().GetVariable(1)->GetType(), HK_INT32);
}

TEST_F(ConnectorTest, StateMessageSetsTheStateAndIsFannedOut) {
  connector.InsertDynamicVariable(&speed, &c1);
  connector.InsertDynamicVariable(&speed, &c2);
  pumpAll();
  c2.received.clear();
  driverSends(new HKStateChangeMessage("1", HK_VARSTATE_STALE));
  for (RecordingDevice* c : {&c1, &c2}) {
    ASSERT_EQ(c->received.size(), 1u);
    EXPECT_EQ(static_cast<HKStateChangeMessage*>(c->received[0].get())->GetState(), HK_VARSTATE_STALE);
  }
  std::lock_guard<std::recursive_mutex> guard(connector.GetVariableSet().VariablesMutex());
  EXPECT_EQ(connector.GetVariableSet().GetVariable(1)->GetStatePublished(), HK_VARSTATE_STALE);
}

TEST_F(ConnectorTest, SubscriberThatIsNotAPartnerLosesItsCopy) {
  RecordingDevice stranger(scheduler);
  connector.InsertDynamicVariable(&speed, &c1);
  connector.InsertDynamicVariable(&speed, &stranger);
  pumpAll();
  stranger.Pump();
  driverSends(new IntValue("1", 4));
  stranger.Pump();
  EXPECT_TRUE(stranger.received.empty());
  ASSERT_EQ(c1.received.size(), 1u);
}

TEST_F(ConnectorTest, NullAddressGivesZero) { EXPECT_EQ(connector.InsertDynamicVariable(nullptr, &c1), 0); }

TEST_F(ConnectorTest, ConnectDriverReplacesTheDriverOfAName) {
  RecordingDevice second(scheduler);
  connector.ConnectDriver("plc", &second);
  connector.InsertDynamicVariable(&speed, &c1);
  connector.Pump();
  second.Pump();
  driver.Pump();
  EXPECT_EQ(second.received.size(), 1u);
  EXPECT_TRUE(driver.received.empty());
}

TEST_F(ConnectorTest, ValuesOfOneVariableArriveInTheOrderSent) {
  connector.InsertDynamicVariable(&speed, &c1);
  pumpAll();
  for (int i = 1; i <= 50; ++i) driver.SendMessage(new IntValue("1", i), &connector);
  pumpAll();
  ASSERT_EQ(c1.received.size(), 50u);
  for (int i = 0; i < 50; ++i) EXPECT_EQ(static_cast<IntValue*>(c1.received[i].get())->GetValue(), i + 1);
}

// Subscribes a consumer from within its own inbox pass, which runs inside
// the connector's locks.
class SubscribingConnector : public Connector {
 public:
  using Connector::Connector;
  bool _process_inbox_hook() override {
    if (subscriber != nullptr) number = InsertDynamicVariable(address, subscriber);
    subscriber = nullptr;
    return Connector::_process_inbox_hook();
  }
  HKVarConfigAddress* address = nullptr;
  HKDevice_w_queue* subscriber = nullptr;
  long number = -1;
};

TEST(ConnectorInDelivery, SubscriptionFromWithinTheInboxPassWorks) {
  HKGavetaScheduler2 scheduler;
  SubscribingConnector connector(scheduler);
  RecordingDevice consumer(scheduler), driver(scheduler);
  HKVarConfigAddress address("pump", "speed", 1, "plc", HK_INT32);
  connector.ConnectDriver("plc", &driver);
  consumer.ConnectTo(&connector);
  connector.address = &address;
  connector.subscriber = &consumer;
  connector.Pump();
  driver.Pump();
  EXPECT_EQ(connector.number, 1);
  EXPECT_EQ(driver.received.size(), 1u);
}

}  // namespace
