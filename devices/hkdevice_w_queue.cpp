#include <toviktwo/devices/hkdevice_w_queue.h>

#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include <toviktwo/devices/hkmutexend.h>

namespace {

// The one-off burst of the base processing step.
constexpr int kBurstRounds = 99;
constexpr auto kBurstPause = std::chrono::milliseconds(1);

}  // namespace

HKDevice_w_queue::HKDevice_w_queue(HKGavetaScheduler2& scheduler) : _scheduler(scheduler) {}

HKDevice_w_queue::~HKDevice_w_queue() {
  // The partner sets are read under the device lock, and the partners are
  // told after it is let go: a partner's registration takes its own lock
  // and then this one's, so holding this one while taking theirs would
  // invert that order.
  std::set<HKDevice_w_queue*> first, second;
  {
    std::lock_guard<std::recursive_mutex> guard(_device_mutex);
    first = _first;
    second = _second;
  }
  for (HKDevice_w_queue* d : first) d->UnregisterSecond(this);
  for (HKDevice_w_queue* d : second) d->UnregisterFirst(this);
  // Containers still queued are given up, not deleted: whoever handed them
  // in may still know them. Pinned by tests/devices/test_device_w_queue.cpp.
  _inbox.clear();
  _outbox.clear();
  HKMutexEnds(_device_mutex);
}

bool HKDevice_w_queue::_process_inbox_hook() { return false; }

bool HKDevice_w_queue::_process_outbox_hook() { return false; }

void HKDevice_w_queue::_process_in_and_out() { _base_burst(); }

void HKDevice_w_queue::_base_burst() {
  {
    std::lock_guard<std::mutex> busy(_busy_mutex);
    if (_busy) return;
    _busy = true;
  }
  // The caller holds a box lock, so with the base passes this blocks for
  // good; pinned by tests/devices/test_device_w_queue.cpp.
  for (int round = 0; round < kBurstRounds; ++round) {
    _process_inbox();
    _process_outbox();
    std::this_thread::sleep_for(kBurstPause);  // restarts after interruptions
  }
}

// ---- partners

void HKDevice_w_queue::ConnectTo(HKDevice_w_queue* other) {
  if (other != nullptr) other->RegisterFirst(this);
}

void HKDevice_w_queue::RegisterFirst(HKDevice_w_queue* d) {
  if (d == nullptr || d == this) return;
  std::lock_guard<std::recursive_mutex> guard(_device_mutex);
  if (_first.insert(d).second) d->RegisterSecond(this);
}

void HKDevice_w_queue::RegisterSecond(HKDevice_w_queue* d) {
  if (d == nullptr || d == this) return;
  std::lock_guard<std::recursive_mutex> guard(_device_mutex);
  _second.insert(d);
}

void HKDevice_w_queue::UnregisterFirst(HKDevice_w_queue* d) {
  std::lock_guard<std::recursive_mutex> guard(_device_mutex);
  _first.erase(d);
}

void HKDevice_w_queue::UnregisterSecond(HKDevice_w_queue* d) {
  std::lock_guard<std::recursive_mutex> guard(_device_mutex);
  _second.erase(d);
}

bool HKDevice_w_queue::_ckeck_sender(HKDevice_w_queue* d) {
  if (d == nullptr) return false;
  std::lock_guard<std::recursive_mutex> guard(_device_mutex);
  return _first.count(d) != 0 || _second.count(d) != 0;
}

// ---- delivery and posting

void HKDevice_w_queue::SetMessage(HKMessage* m, HKDevice_w_queue* sender) {
  std::unique_ptr<HKMessage> owned(m);
  SetMessages(owned ? new HKMessageContainer(owned.release(), sender) : nullptr, sender);
}

void HKDevice_w_queue::SetMessages(HKMessageContainer* c, HKDevice_w_queue* sender) {
  std::unique_ptr<HKMessageContainer> owned(c);
  std::unique_lock<std::recursive_mutex> device(_device_mutex, std::defer_lock);
  std::unique_lock<HKBoxMutex> box(_inbox_mutex, std::defer_lock);
  std::lock(device, box);
  if (owned && _ckeck_sender(sender)) {
    owned->SetSender(sender);
    _inbox.push_back(owned.get());
    owned.release();
  }
  owned.reset();
  _process_in_and_out();
}

void HKDevice_w_queue::SendMessage(HKMessage* m, HKDevice_w_queue* destination) {
  std::unique_ptr<HKMessage> owned(m);
  SendMessages(owned ? new HKMessageContainer(owned.release(), this) : nullptr, destination);
}

void HKDevice_w_queue::SendMessages(HKMessageContainer* c, HKDevice_w_queue* destination) {
  std::unique_ptr<HKMessageContainer> owned(c);
  std::unique_lock<std::recursive_mutex> device(_device_mutex, std::defer_lock);
  std::unique_lock<HKBoxMutex> box(_outbox_mutex, std::defer_lock);
  std::lock(device, box);
  if (owned && _ckeck_sender(destination)) {
    owned->SetSender(this);
    owned->SetDestination(destination);
    _outbox.push_back(owned.get());
    owned.release();
  }
  owned.reset();
  _process_in_and_out();
}

// ---- passes

void HKDevice_w_queue::_process_inbox() {
  if (_process_inbox_hook()) return;
  // The device lock as well: a hook walks the inbox under it alone.
  std::unique_lock<std::recursive_mutex> device(_device_mutex, std::defer_lock);
  std::unique_lock<HKBoxMutex> box(_inbox_mutex, std::defer_lock);
  std::lock(device, box);
  for (HKMessageContainer* container : _inbox) delete container;
  _inbox.clear();
}

void HKDevice_w_queue::_process_outbox() {
  if (_process_outbox_hook()) return;
  // The partner checks need the device lock, which is let go before the
  // destinations' locks are taken. The outbox lock stays until every
  // container taken was handed over, so containers leave in the order
  // posted even when two threads run this pass.
  std::unique_lock<std::recursive_mutex> device(_device_mutex, std::defer_lock);
  std::unique_lock<HKBoxMutex> box(_outbox_mutex, std::defer_lock);
  std::lock(device, box);
  std::list<HKMessageContainer*> taken;
  taken.splice(taken.end(), _outbox);
  std::vector<bool> partner;
  partner.reserve(taken.size());
  for (HKMessageContainer* container : taken) partner.push_back(_ckeck_sender(container->GetDestination()));
  device.unlock();
  size_t i = 0;
  for (HKMessageContainer* container : taken) {
    if (partner[i++]) {
      container->GetDestination()->SetMessages(container, this);
    } else {
      delete container;
    }
  }
}
