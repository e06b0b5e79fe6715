// Text identities of jobs, tasks and sessions.
//
// An identity is the prefix, "*", the microseconds within the present second
// padded to 7 digits and the seconds since the epoch padded to 11 digits,
// e.g. "_job*012345601700000000". Two readings of the clock by one
// generator lie at least 2 µs apart, so two identities from one generator
// differ.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>

class HKJIDGenerator {
 public:
  explicit HKJIDGenerator(const std::string& prefix);
  HKJIDGenerator(const HKJIDGenerator&) = delete;
  HKJIDGenerator& operator=(const HKJIDGenerator&) = delete;

  std::string getID();
  // The same digits behind the caller's prefix, without "*" and without the
  // pause: two quick calls with one prefix can give equal texts.
  std::string getAnyString(const std::string& prefix);

 private:
  std::mutex _mutex;
  std::string _prefix;
  int64_t _lastRead = 0;  // nanoseconds of the clock reading of the last identity
};
