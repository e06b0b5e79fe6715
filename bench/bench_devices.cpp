// Value changes through the driver connector: how many per second go from
// one driver to one subscriber and to 100 subscribers, and how long one
// change takes from the driver's posting to the subscriber's inbox.
//
// Throughput runs single-threaded with every device pumped by hand, so it
// measures the library's own path (posting, forwarding, variable update,
// fan-out, delivery) and no thread hand-over. Latency runs with each device
// driven by a thread of its own (a scheduler job woken by every delivery),
// one change at a time; it reports p50 and p99 in microseconds. No peer.
#include <benchmark/benchmark.h>
#include <toviktwo/toviktwo.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

namespace {

using LongValue = HKValueChangeMessageOf<HK_INT64>;
constexpr int kBatch = 1000;  // changes per benchmark iteration

int64_t nowNs() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

// A device pumped by hand.
template <class Base>
struct HandDriven : Base {
  using Base::Base;
  void _process_in_and_out() override {}
  void Pump() {
    {
      std::lock_guard<std::recursive_mutex> guard(this->_device_mutex);
      this->_process_inbox();
    }
    this->_process_outbox();
  }
};

// A driver that learns its variable's number.
template <class Base>
struct Driver : Base {
  using Base::Base;
  bool _process_inbox_hook() override {
    for (HKMessageContainer* c : this->_inbox) {
      for (HKMessage* m : c->Messages()) {
        if (m->GetMessageTypeID() == HK_MSG_DRIVER_CONNECT) ref = m->GetRefID();
      }
    }
    return false;
  }
  std::string ref;
};

// A subscriber that counts value changes and notes the latest value.
template <class Base>
struct Subscriber : Base {
  using Base::Base;
  bool _process_inbox_hook() override {
    for (HKMessageContainer* c : this->_inbox) {
      for (HKMessage* m : c->Messages()) {
        if (auto* value = dynamic_cast<LongValue*>(m)) {
          last = value->GetValue();
          ++count;
        }
      }
    }
    return false;
  }
  std::atomic<long> count{0};
  std::atomic<long> last{0};
};

// `subscribers` consumers of one variable of one driver, pumped by hand.
void BM_Connector_ValueChanges(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  HKGavetaScheduler2 scheduler;
  HandDriven<HKDriverConnector> connector(scheduler);
  Driver<HandDriven<HKDevice_w_queue>> driver(scheduler);
  std::vector<std::unique_ptr<Subscriber<HandDriven<HKDevice_w_queue>>>> subscribers;
  connector.ConnectDriver("drv", &driver);
  HKVarConfigAddress address("x", "", 0, "drv", HK_INT64);
  for (int i = 0; i < n; ++i) {
    subscribers.push_back(std::make_unique<Subscriber<HandDriven<HKDevice_w_queue>>>(scheduler));
    subscribers.back()->ConnectTo(&connector);
    connector.InsertDynamicVariable(&address, subscribers.back().get());
  }
  connector.Pump();
  driver.Pump();
  long value = 0;
  for (auto _ : state) {
    for (int i = 0; i < kBatch; ++i) driver.SendMessage(new LongValue(driver.ref, ++value), &connector);
    driver.Pump();
    connector.Pump();
    for (auto& s : subscribers) s->Pump();
  }
  if (subscribers.back()->last != value) state.SkipWithError("changes lost");
  state.SetItemsProcessed(state.iterations() * kBatch);
  state.counters["deliveries_per_second"] =
      benchmark::Counter(static_cast<double>(state.iterations()) * kBatch * n, benchmark::Counter::kIsRate);
}
BENCHMARK(BM_Connector_ValueChanges)->Arg(1)->Arg(100)->UseRealTime()->Unit(benchmark::kMillisecond);

// A device driven by a scheduler job that every delivery wakes at once.
template <class Base>
class Threaded : public Base {
 public:
  explicit Threaded(HKGavetaScheduler2& scheduler) : Base(scheduler) {
    HKGavetaJobAtttributes attributes;
    attributes._jo_name = "benchpump";
    attributes._jo_stop = [this] { stop(); };
    _job = scheduler.Inject(
        [this](HKGavetaJobParametersAndResult* p) {
          loop();
          return p;
        },
        nullptr, attributes);
  }
  std::atomic<long> deliveries{0};  // processing steps: for a subscriber, arrivals

  ~Threaded() override {
    stop();
    while (!this->_scheduler.IsReady(_job)) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    delete this->_scheduler.GetResult(_job);
  }
  void _process_in_and_out() override {
    ++deliveries;
    std::lock_guard<std::mutex> guard(_mutex);
    ++_work;
    _wake.notify_one();
  }

 private:
  void stop() {
    std::lock_guard<std::mutex> guard(_mutex);
    _run = false;
    _wake.notify_one();
  }
  void loop() {
    uint64_t done = 0;
    for (;;) {
      {
        std::unique_lock<std::mutex> lock(_mutex);
        while (_run && _work == done) _wake.wait(lock);
        if (!_run) return;
        done = _work;
      }
      {
        std::lock_guard<std::recursive_mutex> guard(this->_device_mutex);
        this->_process_inbox();
      }
      this->_process_outbox();
    }
  }
  std::mutex _mutex;
  std::condition_variable _wake;
  uint64_t _work = 0;  // _mutex
  bool _run = true;    // _mutex
  unsigned long _job = 0;
};

// Driver posting -> arrival in the subscriber's inbox (its processing
// step, which runs inside the delivery), one change at a time.
void BM_Connector_Latency(benchmark::State& state) {
  HKGavetaScheduler2 scheduler;
  auto connector = std::make_unique<Threaded<HKDriverConnector>>(scheduler);
  auto driver = std::make_unique<Threaded<Driver<HKDevice_w_queue>>>(scheduler);
  auto subscriber = std::make_unique<Threaded<Subscriber<HKDevice_w_queue>>>(scheduler);
  connector->ConnectDriver("drv", driver.get());
  subscriber->ConnectTo(connector.get());
  HKVarConfigAddress address("x", "", 0, "drv", HK_INT64);
  connector->InsertDynamicVariable(&address, subscriber.get());
  while (driver->ref.empty()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  std::vector<double> micros;
  for (auto _ : state) {
    const long before = subscriber->deliveries;
    const int64_t start = nowNs();
    driver->SendMessage(new LongValue(driver->ref, start), connector.get());
    while (subscriber->deliveries == before) std::this_thread::yield();
    micros.push_back((nowNs() - start) / 1000.0);
  }
  std::sort(micros.begin(), micros.end());
  state.counters["p50_us"] = micros[micros.size() / 2];
  state.counters["p99_us"] = micros[micros.size() * 99 / 100];
  subscriber.reset();
  driver.reset();
  connector.reset();
}
BENCHMARK(BM_Connector_Latency)->Iterations(20000)->UseRealTime()->Unit(benchmark::kMicrosecond);

}  // namespace
