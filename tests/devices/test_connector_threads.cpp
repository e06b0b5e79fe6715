// The connector under load: producer drivers and consumers on threads of
// their own, each device driven by a scheduler job.
//
// The big run sends kValueChanges value changes from 8 producer drivers
// (4 variables each) through one connector to 8 consumers, each of which
// subscribes to the variables of two producers. Every consumer must see
// every change of its variables once, in order, plus exactly one start
// value and state for each variable it subscribed to as second consumer.
#include <toviktwo/devices/hkdriverconnector.h>

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "../scheduler/test_support.h"
#include "../support/devicetest.h"

#if defined(__SANITIZE_THREAD__)
#define TOVIK_TEST_UNDER_TSAN 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define TOVIK_TEST_UNDER_TSAN 1
#endif
#endif

namespace {

using namespace std::chrono_literals;
using tovik_test::PumpedDevice;
using LongValue = HKValueChangeMessageOf<HK_INT64>;

// ThreadSanitizer slows the run about ten times (the full count took 66 s
// on a loaded two-core machine); it gets a tenth.
#ifdef TOVIK_TEST_UNDER_TSAN
constexpr long kValueChanges = 100000;
#else
constexpr long kValueChanges = 1000000;
#endif
constexpr int kProducers = 8;
constexpr int kConsumers = 8;
constexpr int kVariablesPerProducer = 4;
constexpr int kSubscribersPerVariable = 2;
constexpr long kChangesPerVariable = kValueChanges / (kProducers * kVariablesPerProducer);
// Changes in flight (sent, not yet received by all subscribers), bounding
// the memory the queues take.
constexpr long kWindow = 20000;
constexpr auto kRunLimit = std::chrono::milliseconds(600000);

struct Traffic {
  std::atomic<long> sent{0};
  std::atomic<long> received{0};  // value changes, counted per subscriber
  std::atomic<bool> abort{false};
};

// A driver that remembers the numbers the connector gives its addresses.
class ProducerDriver : public HKDevice_w_queue {
 public:
  using HKDevice_w_queue::HKDevice_w_queue;
  bool _process_inbox_hook() override {
    std::lock_guard<std::mutex> guard(_known_mutex);
    for (HKMessageContainer* c : _inbox) {
      for (HKMessage* m : c->Messages()) {
        if (auto* connect = dynamic_cast<HKDriverConnectMessage*>(m))
          _known[connect->_address1] = connect->_refID;
      }
    }
    return false;
  }
  std::map<std::string, std::string> Known() {
    std::lock_guard<std::mutex> guard(_known_mutex);
    return _known;
  }

 private:
  std::mutex _known_mutex;
  std::map<std::string, std::string> _known;  // _known_mutex
};

// Checks each variable's sequence as it arrives: 1, 2, 3, ... after an
// optional start value 0 and start state.
class CountingConsumer : public HKDevice_w_queue {
 public:
  CountingConsumer(HKGavetaScheduler2& scheduler, Traffic* traffic)
      : HKDevice_w_queue(scheduler), _traffic(traffic) {}
  bool _process_inbox_hook() override {
    for (HKMessageContainer* c : _inbox) {
      for (HKMessage* m : c->Messages()) take(m);
    }
    return false;
  }
  struct Seen {
    long last = 0;
    int start_values = 0;
    int start_states = 0;
    long errors = 0;
  };
  std::map<std::string, Seen> Result() {
    std::lock_guard<std::mutex> guard(_seen_mutex);
    return _seen;
  }

 private:
  void take(HKMessage* m) {
    std::lock_guard<std::mutex> guard(_seen_mutex);
    Seen& seen = _seen[m->GetRefID()];
    if (auto* state = dynamic_cast<HKStateChangeMessage*>(m)) {
      if (seen.last == 0 && state->GetState() == 0)
        ++seen.start_states;
      else
        ++seen.errors;
      return;
    }
    auto* value = dynamic_cast<LongValue*>(m);
    if (value == nullptr) {
      ++seen.errors;
    } else if (value->GetValue() == seen.last + 1) {
      seen.last = value->GetValue();
      ++_traffic->received;
    } else if (value->GetValue() == 0 && seen.last == 0) {
      ++seen.start_values;
    } else {
      ++seen.errors;
    }
  }

  Traffic* _traffic;
  std::mutex _seen_mutex;
  std::map<std::string, Seen> _seen;  // _seen_mutex
};

using Producer = PumpedDevice<ProducerDriver>;
using Consumer = PumpedDevice<CountingConsumer>;

class ConnectorLoadTest : public ::testing::Test {
 protected:
  ~ConnectorLoadTest() override {
    traffic.abort = true;
    for (unsigned long job : producing) {
      tovik_test::waitUntil([&] { return scheduler.IsReady(job); });
      delete scheduler.GetResult(job);
    }
    connector.StopPump();
    for (auto& p : producers) p->StopPump();
    for (auto& c : consumers) c->StopPump();
  }

  static std::string name(int p) { return "producer" + std::to_string(p); }
  static std::string variable(int p, int v) { return "p" + std::to_string(p) + "v" + std::to_string(v); }

  void build() {
    connector.StartPump();
    for (int p = 0; p < kProducers; ++p) {
      producers.push_back(std::make_unique<Producer>(scheduler));
      producers.back()->StartPump();
      connector.ConnectDriver(name(p), producers.back().get());
      for (int v = 0; v < kVariablesPerProducer; ++v) {
        addresses.push_back(std::make_unique<HKVarConfigAddress>(variable(p, v), "", 0, name(p), HK_INT64));
      }
    }
    for (int c = 0; c < kConsumers; ++c) {
      consumers.push_back(std::make_unique<Consumer>(scheduler, &traffic));
      consumers.back()->StartPump();
      consumers.back()->ConnectTo(&connector);
    }
  }

  // Consumer c takes the variables of producers c and c + 1; a consumer
  // that comes second to a variable expects its start value and state.
  void subscribe() {
    std::set<int> created;
    for (int c = 0; c < kConsumers; ++c) {
      for (int p : {c, (c + 1) % kProducers}) {
        for (int v = 0; v < kVariablesPerProducer; ++v) {
          const int index = p * kVariablesPerProducer + v;
          const long number = connector.InsertDynamicVariable(addresses[index].get(), consumers[c].get());
          ASSERT_GT(number, 0);
          const bool second = !created.insert(index).second;
          expected[c][std::to_string(number)] = second ? 1 : 0;
        }
      }
    }
  }

  void startProducing() {
    for (int p = 0; p < kProducers; ++p) {
      ASSERT_TRUE(
          tovik_test::waitUntil([&] { return producers[p]->Known().size() == kVariablesPerProducer; }));
      std::vector<std::string> refs;
      for (int v = 0; v < kVariablesPerProducer; ++v)
        refs.push_back(producers[p]->Known().at(variable(p, v)));
      Producer* producer = producers[p].get();
      HKGavetaJobAtttributes attributes;
      attributes._jo_name = "producer";
      producing.push_back(scheduler.Inject(
          [this, producer, refs](HKGavetaJobParametersAndResult* params) {
            produce(producer, refs);
            return params;
          },
          nullptr, attributes));
    }
  }

  void produce(Producer* producer, const std::vector<std::string>& refs) {
    for (long i = 1; i <= kChangesPerVariable; ++i) {
      for (const std::string& ref : refs) {
        while (traffic.sent * kSubscribersPerVariable - traffic.received >
               kWindow * kSubscribersPerVariable) {
          if (traffic.abort) return;
          std::this_thread::sleep_for(100us);
        }
        ++traffic.sent;
        producer->SendMessage(new LongValue(ref, i), &connector);
      }
    }
  }

  HKGavetaScheduler2 scheduler;
  Traffic traffic;
  PumpedDevice<HKDriverConnector> connector{scheduler};
  std::vector<std::unique_ptr<HKVarConfigAddress>> addresses;
  std::vector<std::unique_ptr<Producer>> producers;
  std::vector<std::unique_ptr<Consumer>> consumers;
  std::vector<unsigned long> producing;
  std::map<int, std::map<std::string, int>> expected;  // consumer -> number -> start messages
};

TEST_F(ConnectorLoadTest, EveryConsumerSeesEveryChangeOfItsVariablesOnceAndInOrder) {
  build();
  ASSERT_NO_FATAL_FAILURE(subscribe());
  ASSERT_NO_FATAL_FAILURE(startProducing());
  const long total = kChangesPerVariable * kProducers * kVariablesPerProducer * kSubscribersPerVariable;
  ASSERT_TRUE(tovik_test::waitUntil([&] { return traffic.received >= total; }, kRunLimit))
      << traffic.received << " of " << total;
  for (int c = 0; c < kConsumers; ++c) {
    const auto seen = consumers[c]->Result();
    ASSERT_EQ(seen.size(), expected[c].size()) << "consumer " << c;
    for (const auto& [ref, starts] : expected[c]) {
      const auto& s = seen.at(ref);
      EXPECT_EQ(s.last, kChangesPerVariable) << "consumer " << c << " variable " << ref;
      EXPECT_EQ(s.errors, 0) << "consumer " << c << " variable " << ref;
      EXPECT_EQ(s.start_values, starts) << "consumer " << c << " variable " << ref;
      EXPECT_EQ(s.start_states, starts) << "consumer " << c << " variable " << ref;
    }
  }
  EXPECT_EQ(traffic.received, total);
}

// ---- subscriptions from many threads at once

// Counts what arrives, by kind.
class TallyDevice : public HKDevice_w_queue {
 public:
  using HKDevice_w_queue::HKDevice_w_queue;
  bool _process_inbox_hook() override {
    for (HKMessageContainer* c : _inbox) {
      for (HKMessage* m : c->Messages()) {
        if (m->GetMessageTypeID() == HK_MSG_DRIVER_CONNECT) ++connects;
        if (m->GetMessageTypeID() == HK_MSG_VALUE_CHANGE) ++values;
        if (m->GetMessageTypeID() == HK_MSG_STATE_CHANGE) ++states;
      }
    }
    return false;
  }
  std::atomic<int> connects{0}, values{0}, states{0};
};

TEST(ConnectorConcurrency, SimultaneousSubscriptionsCreateEachVariableOnce) {
  constexpr int kThreads = 8;
  constexpr int kAddresses = 16;
  HKGavetaScheduler2 scheduler;
  PumpedDevice<HKDriverConnector> connector(scheduler);
  PumpedDevice<TallyDevice> driver(scheduler);
  std::vector<std::unique_ptr<PumpedDevice<TallyDevice>>> consumers;
  std::vector<std::unique_ptr<HKVarConfigAddress>> addresses;
  for (int a = 0; a < kAddresses; ++a) {
    addresses.push_back(
        std::make_unique<HKVarConfigAddress>("a" + std::to_string(a), "", 0, "drv", HK_DOUBLE));
  }
  connector.StartPump();
  driver.StartPump();
  connector.ConnectDriver("drv", &driver);
  std::vector<std::vector<long>> numbers(kThreads, std::vector<long>(kAddresses));
  std::vector<unsigned long> jobs;
  for (int t = 0; t < kThreads; ++t) {
    consumers.push_back(std::make_unique<PumpedDevice<TallyDevice>>(scheduler));
    consumers.back()->StartPump();
    consumers.back()->ConnectTo(&connector);
  }
  for (int t = 0; t < kThreads; ++t) {
    jobs.push_back(scheduler.Inject(
        [&, t](HKGavetaJobParametersAndResult* p) {
          for (int a = 0; a < kAddresses; ++a) {
            numbers[t][a] = connector.InsertDynamicVariable(addresses[a].get(), consumers[t].get());
          }
          return p;
        },
        nullptr, HKGavetaJobAtttributes()));
  }
  for (unsigned long job : jobs) {
    ASSERT_TRUE(tovik_test::waitUntil([&] { return scheduler.IsReady(job); }));
    delete scheduler.GetResult(job);
  }
  EXPECT_EQ(connector.GetVariableSet().size(), static_cast<size_t>(kAddresses));
  for (int t = 1; t < kThreads; ++t) EXPECT_EQ(numbers[t], numbers[0]);
  const int late = kAddresses * (kThreads - 1);
  EXPECT_TRUE(tovik_test::waitUntil([&] {
    int values = 0;
    for (auto& c : consumers) values += c->values;
    return driver.connects == kAddresses && values == late;
  }));
  int states = 0;
  for (auto& c : consumers) states += c->states;
  EXPECT_EQ(states, late);
  EXPECT_EQ(driver.connects, kAddresses);
  connector.StopPump();
  driver.StopPump();
  for (auto& c : consumers) c->StopPump();
}

}  // namespace
