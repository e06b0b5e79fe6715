// Test devices for the device-variable tests: devices that can be driven
// by hand or by a scheduler job of their own, a consumer that records what
// it receives, and a message that counts its deletions.
//
// The library's devices block on their first delivery unless a subclass
// overrides the processing step; these classes do so. `ManualDevice` only
// counts the step and is pumped by the test (`Pump`), one thread at a time.
// `PumpedDevice` wakes a job of its own that runs the passes, so deliveries
// from any thread move on without the test's help.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include <toviktwo/devices/hkdevice_w_queue.h>
#include <toviktwo/scheduler/hkgavetascheduler2.h>

namespace tovik_test {

// A message that counts its deletions in a counter the test owns.
class CountedMessage : public HKMessage {
 public:
  explicit CountedMessage(std::atomic<int>* deleted, std::string refID = "1")
      : _deleted(deleted), _refID(std::move(refID)) {}
  ~CountedMessage() override { ++*_deleted; }
  int GetMessageTypeID() override { return 0x7777; }
  std::string GetRefID() override { return _refID; }

 private:
  std::atomic<int>* _deleted;
  std::string _refID;
};

// A device whose processing step does nothing but count; the test runs the
// passes itself with `Pump`.
template <class Base>
class ManualDevice : public Base {
 public:
  explicit ManualDevice(HKGavetaScheduler2& scheduler) : Base(scheduler) {}
  ~ManualDevice() override { dropBoxes(); }

  void _process_in_and_out() override { ++steps; }
  // One inbox pass (under the device lock, as a pump runs it) and one
  // outbox pass.
  void Pump() {
    {
      std::lock_guard<std::recursive_mutex> guard(this->_device_mutex);
      this->_process_inbox();
    }
    this->_process_outbox();
  }
  std::set<HKDevice_w_queue*> First() {
    std::lock_guard<std::recursive_mutex> guard(this->_device_mutex);
    return this->_first;
  }
  std::set<HKDevice_w_queue*> Second() {
    std::lock_guard<std::recursive_mutex> guard(this->_device_mutex);
    return this->_second;
  }
  size_t InboxSize() {
    std::lock_guard<std::recursive_mutex> guard(this->_device_mutex);
    return this->_inbox.size();
  }
  size_t OutboxSize() {
    std::lock_guard<std::recursive_mutex> guard(this->_device_mutex);
    return this->_outbox.size();
  }
  std::list<HKMessageContainer*>& InboxList() { return this->_inbox; }

  std::atomic<int> steps{0};

 protected:
  // The library's device gives queued containers up; the tests free them.
  void dropBoxes() {
    std::lock_guard<std::recursive_mutex> guard(this->_device_mutex);
    for (HKMessageContainer* c : this->_inbox) delete c;
    for (HKMessageContainer* c : this->_outbox) delete c;
    this->_inbox.clear();
    this->_outbox.clear();
  }
};

// Takes every message of its inbox into `received`, in order.
class RecordingDevice : public ManualDevice<HKDevice_w_queue> {
 public:
  using ManualDevice::ManualDevice;
  bool _process_inbox_hook() override {
    for (HKMessageContainer* c : _inbox) {
      for (HKMessage*& m : c->Messages()) {
        received.emplace_back(m);
        m = nullptr;
      }
      delete c;
    }
    _inbox.clear();
    return true;
  }
  std::vector<std::unique_ptr<HKMessage>> received;  // the test's thread only
};

// A device driven by a scheduler job of its own: every processing step
// wakes the job, which runs an inbox pass under the device lock and an
// outbox pass. Stop the pumps of all partners before destroying any.
template <class Base>
class PumpedDevice : public Base {
 public:
  template <class... Args>
  explicit PumpedDevice(HKGavetaScheduler2& scheduler, Args&&... args)
      : Base(scheduler, std::forward<Args>(args)...) {}
  ~PumpedDevice() override {
    StopPump();
    std::lock_guard<std::recursive_mutex> guard(this->_device_mutex);
    for (HKMessageContainer* c : this->_inbox) delete c;
    for (HKMessageContainer* c : this->_outbox) delete c;
    this->_inbox.clear();
    this->_outbox.clear();
  }

  void _process_in_and_out() override { wake(); }

  void StartPump() {
    _run = true;
    HKGavetaJobAtttributes attributes;
    attributes._jo_name = "devicepump";
    attributes._jo_stop = [this] {
      _run = false;
      wake();
    };
    _job = this->_scheduler.Inject(
        [this](HKGavetaJobParametersAndResult* p) {
          loop();
          return p;
        },
        nullptr, attributes);
  }

  // Ends the job (bounded wait) and fetches its result.
  void StopPump() {
    if (_job == 0) return;
    _run = false;
    wake();
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!this->_scheduler.IsReady(_job) && std::chrono::steady_clock::now() < end) {
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    delete this->_scheduler.GetResult(_job);
    _job = 0;
  }

 private:
  static constexpr auto kIdleRecheck = std::chrono::milliseconds(20);
  static constexpr auto kNap = std::chrono::microseconds(500);
  static constexpr int kNapsBeforeSleep = 4;

  void wake() {
    _work.fetch_add(1);
    if (_sleeping.load()) {
      std::lock_guard<std::mutex> guard(_wait_mutex);
      _wake.notify_one();
    }
  }

  // While traffic flows the job takes short naps, so that work gathers
  // and wakers need not signal; only after a few empty naps does it sleep
  // until woken.
  void loop() {
    int empty_naps = 0;
    uint64_t done = _work.load();
    while (_run.load()) {
      const uint64_t seen = _work.load();
      if (seen != done || empty_naps == 0) {
        {
          std::lock_guard<std::recursive_mutex> guard(this->_device_mutex);
          this->_process_inbox();
        }
        this->_process_outbox();
        done = seen;
        empty_naps = 1;
        std::this_thread::sleep_for(kNap);
        continue;
      }
      if (empty_naps < kNapsBeforeSleep) {
        ++empty_naps;
        std::this_thread::sleep_for(kNap);
        continue;
      }
      std::unique_lock<std::mutex> lock(_wait_mutex);
      _sleeping = true;
      if (_work.load() == done && _run.load()) _wake.wait_for(lock, kIdleRecheck);
      _sleeping = false;
      empty_naps = 0;
    }
  }

  std::atomic<bool> _run{false};
  std::atomic<uint64_t> _work{0};
  std::atomic<bool> _sleeping{false};
  std::mutex _wait_mutex;
  std::condition_variable _wake;
  unsigned long _job = 0;
};

}  // namespace tovik_test
