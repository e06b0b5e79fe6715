#include <toviktwo/foundation/hklogstream.h>

#include <cstdio>
#include <ctime>

HKLogStream __logger("/dev/null");

HKLogStream::HKLogStream(std::string filename) : _dest{}, _dest0(nullptr) {
  _file.open(filename, std::ios::out | std::ios::trunc);
  for (auto& d : _dest) d = &_file;
  _dest0 = &_file;
}

HKLogStream::~HKLogStream() { _file.close(); }

void HKLogStream::redirect(log_dest dest, std::ostream& stream) {
  const int d = static_cast<int>(dest);
  if (d == 0) {
    _dest0 = &stream;
  } else if (d >= 1 && d <= 8) {
    _dest[d - 1] = &stream;
  }
}

std::ostream& HKLogStream::Debugstream(log_dest dest) {
  const int d = static_cast<int>(dest);
  if (d >= 1 && d <= 8) return *_dest[d - 1];
  return *_dest0;
}

std::string to_timestring(std::chrono::system_clock::time_point tp) {
  const std::time_t t = std::chrono::system_clock::to_time_t(tp);
  char buf[64] = {0};
  if (ctime_r(&t, buf) == nullptr) return std::string();
  std::string s(buf);
  while (!s.empty() && (s.back() == '\n' || s.back() == '\r')) s.pop_back();
  return s;
}

std::string asString(std::chrono::system_clock::time_point tp) { return to_timestring(tp); }

std::string timeLDSOf(std::chrono::system_clock::time_point tp) {
  using namespace std::chrono;
  const auto ms = duration_cast<milliseconds>(tp.time_since_epoch()).count();
  long secs = static_cast<long>(ms / 1000);
  long rest = static_cast<long>(ms % 1000);
  if (rest < 0) {  // before the epoch: keep the milliseconds positive
    rest += 1000;
    secs -= 1;
  }
  char buf[64];
  std::snprintf(buf, sizeof buf, "%ld.%ld", secs, rest);
  return buf;
}

std::string timeLDS(void* /*unused*/) { return timeLDSOf(std::chrono::system_clock::now()); }
