#include <toviktwo/devices/hkboxmutex.h>

#include <condition_variable>

namespace {

// The wait of a thread that locks what it holds: nothing ever notifies.
[[noreturn]] void waitForGood() {
  std::mutex never;
  std::condition_variable nobody;
  std::unique_lock<std::mutex> lock(never);
  for (;;) nobody.wait(lock);
}

}  // namespace

void HKBoxMutex::lock() {
  if (_owner.load(std::memory_order_relaxed) == std::this_thread::get_id()) waitForGood();
  _mutex.lock();
  _owner.store(std::this_thread::get_id(), std::memory_order_relaxed);
}

bool HKBoxMutex::try_lock() {
  if (_owner.load(std::memory_order_relaxed) == std::this_thread::get_id()) return false;
  if (!_mutex.try_lock()) return false;
  _owner.store(std::this_thread::get_id(), std::memory_order_relaxed);
  return true;
}

void HKBoxMutex::unlock() {
  _owner.store(std::thread::id(), std::memory_order_relaxed);
  _mutex.unlock();
}
