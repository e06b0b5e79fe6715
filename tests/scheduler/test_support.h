// Bounded waiting for the scheduler and bus tests: nothing in a test waits
// without a limit, and limits are generous for a loaded machine.
#pragma once

#include <chrono>
#include <thread>

namespace tovik_test {

using namespace std::chrono_literals;

template <class Pred>
bool waitUntil(Pred pred, std::chrono::milliseconds limit = std::chrono::milliseconds(15000)) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!pred()) {
    if (std::chrono::steady_clock::now() > end) return pred();
    std::this_thread::sleep_for(2ms);
  }
  return true;
}

// True when `pred` stays true for the whole of `span`.
template <class Pred>
bool staysFor(Pred pred, std::chrono::milliseconds span) {
  const auto end = std::chrono::steady_clock::now() + span;
  while (std::chrono::steady_clock::now() < end) {
    if (!pred()) return false;
    std::this_thread::sleep_for(5ms);
  }
  return pred();
}

}  // namespace tovik_test
