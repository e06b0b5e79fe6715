#include <toviktwo/devices/hkboxmutex.h>

void HKBoxMutex::lock() {
  std::unique_lock<std::mutex> guard(_guard);
  ++_waiting;
  while (_held) _freed.wait(guard);
  --_waiting;
  _held = true;
}

bool HKBoxMutex::try_lock() {
  std::lock_guard<std::mutex> guard(_guard);
  if (_held) return false;
  _held = true;
  return true;
}

void HKBoxMutex::unlock() {
  bool wake = false;
  {
    std::lock_guard<std::mutex> guard(_guard);
    _held = false;
    wake = _waiting > 0;
  }
  if (wake) _freed.notify_one();
}
