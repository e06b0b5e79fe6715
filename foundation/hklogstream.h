// The process-wide log object and the time formatting helpers.
//
// Nine destinations (0 to 8) each write to a stream. At start all of them
// write to the log object's own file, which for the global `__logger` is
// "/dev/null": nothing is logged until an application calls `redirect`.
// Lines carry no prefix, time stamp or level; the writer adds std::endl.
#pragma once

#include <chrono>
#include <fstream>
#include <mutex>
#include <ostream>
#include <string>

// Destination 0 is the default; 1 is used by the socket layer for its
// connection messages; 2 to 8 are free for applications.
enum log_dest : int {
  log_default = 0,
  log_socket = 1,
  log_app2 = 2,
  log_app3 = 3,
  log_app4 = 4,
  log_app5 = 5,
  log_app6 = 6,
  log_app7 = 7,
  log_app8 = 8,
};

class HKLogStream {
 public:
  explicit HKLogStream(std::string filename);
  ~HKLogStream();
  HKLogStream(const HKLogStream&) = delete;
  HKLogStream& operator=(const HKLogStream&) = delete;

  // Makes `dest` write to `stream`, which stays the caller's and must outlive
  // its use. A destination outside 0..8 is ignored.
  void redirect(log_dest dest, std::ostream& stream);
  // The stream of `dest`; a destination outside 1..8 gives destination 0.
  std::ostream& Debugstream(log_dest dest);
  // For callers that want their lines kept together; the log object itself
  // never takes it.
  std::mutex& GetMtxOrdem0() { return _mtx; }

 private:
  std::ostream* _dest[8];  // destinations 1 to 8
  std::ostream* _dest0;    // destination 0
  std::ofstream _file;
  std::mutex _mtx;
};

extern HKLogStream __logger;

// ctime text of the whole seconds of `tp`, local time, without newline,
// e.g. "Sun Nov 15 23:56:06 2026".
std::string to_timestring(std::chrono::system_clock::time_point tp);
std::string asString(std::chrono::system_clock::time_point tp);
// Seconds since the epoch, ".", milliseconds of the second, both as "%ld":
// 5 ms past the second gives "1700000000.5" (milliseconds not padded).
std::string timeLDS(void* unused);
// The same text for a given time point.
std::string timeLDSOf(std::chrono::system_clock::time_point tp);
