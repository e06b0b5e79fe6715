// The lock of a device's inbox or outbox: a plain, non-recursive mutex
// whose second lock by the thread that holds it waits for good.
//
// A device's entry points hold the box lock across the processing step, and
// the base processing step takes the same lock again, so the base class
// blocks itself on its first delivery (see hkdevice_w_queue.h). With a
// standard mutex that second lock would be undefined; this lock makes it a
// defined, plain wait that nothing ends. It satisfies Lockable, so it works
// with std::lock and the standard guards.
#pragma once

#include <condition_variable>
#include <mutex>

class HKBoxMutex {
 public:
  HKBoxMutex() = default;
  HKBoxMutex(const HKBoxMutex&) = delete;
  HKBoxMutex& operator=(const HKBoxMutex&) = delete;

  // Waits until the lock is free, whoever holds it, then takes it.
  void lock();
  // Takes the lock when it is free; false otherwise.
  bool try_lock();
  // Frees the lock and wakes one waiter.
  void unlock();

 private:
  std::mutex _guard;
  std::condition_variable _freed;
  bool _held = false;  // _guard
  int _waiting = 0;    // _guard
};
