#include <toviktwo/scheduler/hkjidgenerator.h>

#include <chrono>
#include <cstdio>

namespace {

// The digits of an identity for a time in nanoseconds since the epoch.
std::string identityDigits(int64_t ns) {
  const long long seconds = ns / 1000000000;
  const long long micros = (ns % 1000000000) / 1000;
  char text[48];
  std::snprintf(text, sizeof text, "%07lld%011lld", micros, seconds);
  return text;
}

int64_t nowNs() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

}  // namespace

HKJIDGenerator::HKJIDGenerator(const std::string& prefix) : _prefix(prefix) {}

std::string HKJIDGenerator::getID() {
  std::lock_guard<std::mutex> lock(_mutex);
  const int64_t read = nowNs();
  std::string id = _prefix + "*" + identityDigits(read);
  // Hold the lock until the clock has moved on by 2 µs, so that the next
  // identity falls into another microsecond. A nanosleep would cost 50 µs
  // or more under the default timer slack; a short watch on the same clock
  // that was read keeps the guarantee at the stated cost.
  // Should the clock be set back meanwhile, waiting can't help: stop then.
  for (;;) {
    const int64_t now = nowNs();
    if (now - read >= 2000 || now < read) break;
  }
  return id;
}

std::string HKJIDGenerator::getAnyString(const std::string& prefix) {
  std::lock_guard<std::mutex> lock(_mutex);
  return prefix + identityDigits(nowNs());
}
