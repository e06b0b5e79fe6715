// Queued devices: partners, delivery, posting, forwarding, the sink and
// the one-off burst of the base processing step.
#include <toviktwo/devices/hkdevice_w_queue.h>

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>

#include "../support/devicetest.h"

namespace {

using tovik_test::CountedMessage;
using Device = tovik_test::ManualDevice<HKDevice_w_queue>;
using tovik_test::RecordingDevice;

// Hooks that claim both boxes, and count their calls.
class ClaimingDevice : public HKDevice_w_queue {
 public:
  using HKDevice_w_queue::HKDevice_w_queue;
  bool _process_inbox_hook() override {
    ++inbox_passes;
    return true;
  }
  bool _process_outbox_hook() override {
    ++outbox_passes;
    return true;
  }
  std::atomic<int> inbox_passes{0};
  std::atomic<int> outbox_passes{0};
};

// An inbox hook that only looks at the inbox and leaves it.
class LookingDevice : public Device {
 public:
  using Device::Device;
  bool _process_inbox_hook() override {
    seen = _inbox.size();
    return false;
  }
  size_t seen = 0;
};

class DeviceTest : public ::testing::Test {
 protected:
  HKGavetaScheduler2 scheduler;
  std::atomic<int> deleted{0};
};

TEST_F(DeviceTest, ConnectToNullDoesNothing) {
  Device a(scheduler);
  a.ConnectTo(nullptr);
  EXPECT_TRUE(a.First().empty());
  EXPECT_TRUE(a.Second().empty());
}

TEST_F(DeviceTest, DeviceCannotRegisterWithItself) {
  Device a(scheduler);
  a.ConnectTo(&a);
  a.RegisterSecond(&a);
  EXPECT_TRUE(a.First().empty());
  EXPECT_TRUE(a.Second().empty());
  EXPECT_FALSE(a._ckeck_sender(&a));
}

TEST_F(DeviceTest, ConnectToEntersEachInTheOthersSet) {
  Device a(scheduler), b(scheduler);
  a.ConnectTo(&b);
  EXPECT_EQ(b.First(), std::set<HKDevice_w_queue*>{&a});
  EXPECT_EQ(a.Second(), std::set<HKDevice_w_queue*>{&b});
  EXPECT_TRUE(a.First().empty());
  EXPECT_TRUE(b.Second().empty());
  EXPECT_TRUE(a._ckeck_sender(&b));
  EXPECT_TRUE(b._ckeck_sender(&a));
}

TEST_F(DeviceTest, PartnersAcceptEachOthersMessages) {
  Device a(scheduler), b(scheduler);
  a.ConnectTo(&b);
  a.SetMessage(new CountedMessage(&deleted), &b);
  b.SetMessage(new CountedMessage(&deleted), &a);
  EXPECT_EQ(a.InboxSize(), 1u);
  EXPECT_EQ(b.InboxSize(), 1u);
  EXPECT_EQ(a.InboxList().front()->GetSender(), &b);
  EXPECT_EQ(deleted, 0);
}

TEST_F(DeviceTest, SendMessageToAStrangerDeletesTheMessage) {
  Device a(scheduler), stranger(scheduler);
  a.SendMessage(new CountedMessage(&deleted), &stranger);
  EXPECT_EQ(deleted, 1);
  EXPECT_EQ(a.OutboxSize(), 0u);
}

TEST_F(DeviceTest, SetMessageWithNullSenderDeletesTheMessage) {
  Device a(scheduler);
  a.SetMessage(new CountedMessage(&deleted), nullptr);
  EXPECT_EQ(deleted, 1);
  EXPECT_EQ(a.InboxSize(), 0u);
}

TEST_F(DeviceTest, RefusedContainersAreDeletedWithTheirMessages) {
  Device a(scheduler), stranger(scheduler);
  a.SetMessages(new HKMessageContainer(new CountedMessage(&deleted), &stranger), &stranger);
  a.SendMessages(new HKMessageContainer(new CountedMessage(&deleted), &a), &stranger);
  EXPECT_EQ(deleted, 2);
}

TEST_F(DeviceTest, NullMessageOnlyRunsTheProcessingStep) {
  Device a(scheduler), b(scheduler);
  a.ConnectTo(&b);
  a.SetMessage(nullptr, &b);
  a.SendMessage(nullptr, &b);
  a.SetMessages(nullptr, &b);
  a.SendMessages(nullptr, &b);
  EXPECT_EQ(a.steps, 4);
  EXPECT_EQ(a.InboxSize(), 0u);
  EXPECT_EQ(a.OutboxSize(), 0u);
}

TEST_F(DeviceTest, PostedContainerNamesSenderAndDestination) {
  Device a(scheduler), b(scheduler);
  a.ConnectTo(&b);
  auto* container = new HKMessageContainer(new CountedMessage(&deleted), nullptr);
  a.SendMessages(container, &b);
  ASSERT_EQ(a.OutboxSize(), 1u);
  EXPECT_EQ(container->GetSender(), &a);
  EXPECT_EQ(container->GetDestination(), &b);
}

TEST_F(DeviceTest, OutboxPassForwardsToThePartnersInbox) {
  Device a(scheduler);
  RecordingDevice b(scheduler);
  a.ConnectTo(&b);
  a.SendMessage(new CountedMessage(&deleted, "first"), &b);
  a.SendMessage(new CountedMessage(&deleted, "second"), &b);
  a.Pump();
  EXPECT_EQ(a.OutboxSize(), 0u);
  b.Pump();
  ASSERT_EQ(b.received.size(), 2u);
  EXPECT_EQ(b.received[0]->GetRefID(), "first");
  EXPECT_EQ(b.received[1]->GetRefID(), "second");
  EXPECT_EQ(deleted, 0);
}

TEST_F(DeviceTest, PartnerThatLeftBeforeForwardingLosesTheMessage) {
  Device a(scheduler), b(scheduler);
  a.ConnectTo(&b);
  a.SendMessage(new CountedMessage(&deleted), &b);
  a.UnregisterSecond(&b);
  b.UnregisterFirst(&a);
  a.Pump();
  EXPECT_EQ(deleted, 1);
  EXPECT_EQ(b.InboxSize(), 0u);
}

TEST_F(DeviceTest, InboxHookReturningFalseSeesItsInboxEmptiedBehindIt) {
  LookingDevice a(scheduler);
  Device b(scheduler);
  a.ConnectTo(&b);
  a.SetMessage(new CountedMessage(&deleted), &b);
  a.SetMessage(new CountedMessage(&deleted), &b);
  a.Pump();
  EXPECT_EQ(a.seen, 2u);
  EXPECT_EQ(a.InboxSize(), 0u);
  EXPECT_EQ(deleted, 2);
}

TEST_F(DeviceTest, DestroyingADeviceRemovesItFromItsPartnersSets) {
  Device a(scheduler), c(scheduler);
  {
    Device b(scheduler);
    a.ConnectTo(&b);
    b.ConnectTo(&c);
    ASSERT_EQ(a.Second().size(), 1u);
    ASSERT_EQ(c.First().size(), 1u);
  }
  EXPECT_TRUE(a.Second().empty());
  EXPECT_TRUE(c.First().empty());
}

TEST_F(DeviceTest, DestroyedDeviceGivesUpQueuedContainersWithoutDeletingThem) {
  // A base device whose inbox is filled by hand, so that no processing
  // step runs; the test keeps the container to free it afterwards.
  struct Fillable : HKDevice_w_queue {
    using HKDevice_w_queue::HKDevice_w_queue;
    void put(HKMessageContainer* c) { _inbox.push_back(c); }
  };
  auto* a = new Fillable(scheduler);
  auto* kept = new HKMessageContainer(new CountedMessage(&deleted), nullptr);
  a->put(kept);
  delete a;
  EXPECT_EQ(deleted, 0);
  delete kept;
  EXPECT_EQ(deleted, 1);
}

TEST_F(DeviceTest, ClaimingHooksGetOneBurstOf99RoundsInTheLifeOfADevice) {
  ClaimingDevice a(scheduler);
  Device b(scheduler);
  a.ConnectTo(&b);
  a.SetMessage(nullptr, &b);
  EXPECT_EQ(a.inbox_passes, 99);
  EXPECT_EQ(a.outbox_passes, 99);
  a.SetMessage(nullptr, &b);
  a.SendMessage(nullptr, &b);
  EXPECT_EQ(a.inbox_passes, 99);
  EXPECT_EQ(a.outbox_passes, 99);
}

// The base processing step takes the box lock that the entry point holds:
// a plain base device blocks itself for good on its first delivery or
// posting. The child process shows it by being ended by its alarm.
void deliverToABaseDevice(bool posting) {
  alarm(1);
  HKGavetaScheduler2 own;
  HKDevice_w_queue a(own);
  HKDevice_w_queue b(own);
  a.ConnectTo(&b);
  if (posting) {
    a.SendMessage(nullptr, &b);
  } else {
    a.SetMessage(nullptr, &b);
  }
  std::_Exit(0);
}

TEST_F(DeviceTest, BaseDeviceBlocksItselfOnItsFirstDelivery) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(deliverToABaseDevice(false), ::testing::KilledBySignal(SIGALRM), "");
}

TEST_F(DeviceTest, BaseDeviceBlocksItselfOnItsFirstPosting) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(deliverToABaseDevice(true), ::testing::KilledBySignal(SIGALRM), "");
}

}  // namespace
