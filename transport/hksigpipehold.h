// A scope in which SIGPIPE cannot end the program: the signal is blocked in
// the calling thread, and one that a write to a vanished peer raised meanwhile
// is taken off the thread before the old mask returns. Writes to sockets and
// pipes then just fail with EPIPE. Used around TLS calls (which write with
// plain write(2)) and around the pipes to child programs; the program's own
// handling of SIGPIPE elsewhere is left as it is.
#pragma once

#include <pthread.h>
#include <signal.h>
#include <time.h>

class HKSigpipeHold {
 public:
  HKSigpipeHold() {
    sigemptyset(&_pipeOnly);
    sigaddset(&_pipeOnly, SIGPIPE);
    sigset_t pending;
    sigpending(&pending);
    _wasPending = sigismember(&pending, SIGPIPE) == 1;
    pthread_sigmask(SIG_BLOCK, &_pipeOnly, &_old);
  }
  HKSigpipeHold(const HKSigpipeHold&) = delete;
  HKSigpipeHold& operator=(const HKSigpipeHold&) = delete;
  // Takes back a SIGPIPE raised within the scope (not one that was pending
  // before it), then restores the thread's signal mask.
  ~HKSigpipeHold() {
    if (!_wasPending) {
      const timespec zero{0, 0};
      while (sigtimedwait(&_pipeOnly, nullptr, &zero) > 0) {
      }
    }
    pthread_sigmask(SIG_SETMASK, &_old, nullptr);
  }

 private:
  sigset_t _pipeOnly;
  sigset_t _old;
  bool _wasPending = false;
};
