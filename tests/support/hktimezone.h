// Tests that depend on the local time zone set it for their own duration.
//
// HKScopedTimeZone sets TZ and calls tzset; its destructor puts the former
// value (or its absence) back, so that a test run in one zone leaves the
// process as it found it, whatever zone the machine itself is in.
#pragma once

#include <stdlib.h>
#include <time.h>

#include <optional>
#include <string>

class HKScopedTimeZone {
 public:
  explicit HKScopedTimeZone(const char* zone) {
    if (const char* old = getenv("TZ")) _old = std::string(old);
    setenv("TZ", zone, 1);
    tzset();
  }
  ~HKScopedTimeZone() {
    if (_old) {
      setenv("TZ", _old->c_str(), 1);
    } else {
      unsetenv("TZ");
    }
    tzset();
  }
  HKScopedTimeZone(const HKScopedTimeZone&) = delete;
  HKScopedTimeZone& operator=(const HKScopedTimeZone&) = delete;

 private:
  std::optional<std::string> _old;
};

// The two zones the date tests run in: one without summer time, one with.
inline constexpr const char* kHKZoneUTC = "UTC";
inline constexpr const char* kHKZoneBerlin = "Europe/Berlin";
