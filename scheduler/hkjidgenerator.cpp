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
  // The next identity falls into another microsecond: its clock reading is
  // at least 2 µs after the last one. Waiting before a reading that comes
  // too soon, instead of after every reading, gives the same guarantee and
  // costs nothing when identities are made less often than every 2 µs
  // (speed only). Should the clock be set back, waiting can't help: the
  // reading is taken as it is.
  int64_t read = nowNs();
  while (read - _lastRead < 2000 && read >= _lastRead) read = nowNs();
  _lastRead = read;
  return _prefix + "*" + identityDigits(read);
}

std::string HKJIDGenerator::getAnyString(const std::string& prefix) {
  std::lock_guard<std::mutex> lock(_mutex);
  return prefix + identityDigits(nowNs());
}
