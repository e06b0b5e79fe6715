// The lock of a device's inbox or outbox: a plain, non-recursive mutex
// whose second lock by the thread that holds it waits for good.
//
// A device's entry points hold the box lock across the processing step, and
// the base processing step takes the same lock again, so the base class
// blocks itself on its first delivery (see hkdevice_w_queue.h). With a
// standard mutex that second lock would be undefined; this lock makes it a
// defined wait that nothing ends, and `try_lock` by the holder fails. It
// satisfies Lockable, so it works with std::lock and the standard guards.
#pragma once

#include <atomic>
#include <mutex>
#include <thread>

class HKBoxMutex {
 public:
  HKBoxMutex() = default;
  HKBoxMutex(const HKBoxMutex&) = delete;
  HKBoxMutex& operator=(const HKBoxMutex&) = delete;

  // Waits until the lock is free, then takes it; waits for good when the
  // calling thread holds it already.
  void lock();
  // Takes the lock when it is free; false otherwise (also for the holder).
  bool try_lock();
  // Frees the lock.
  void unlock();

 private:
  std::mutex _mutex;
  // The holder, or no thread. Only the holder writes its own id here, so a
  // thread that reads its own id holds the lock.
  std::atomic<std::thread::id> _owner{};
};
