// Child programs of the file service: CGI programs and the PHP interpreter.
//
// A call starts the program with the request's bytes on its standard input
// and collects its standard output into a buffer. The program sees the name
// "php-cgi" as its argv[0], whatever it is, and an environment made of the
// server's own plus the entries given.
//
// Rules a caller must know:
//   - Everything the child needs (argument vector, environment, the paths
//     to try) is prepared before `fork`; between `fork` and `exec` the child
//     calls only async-signal-safe functions, so a lock that another thread
//     of the server holds at fork time (the allocator's, the environment's)
//     cannot hang it.
//   - The parent never closes its write end before the call ends: a program
//     sees no end of file on its standard input and goes by CONTENT_LENGTH.
//   - A call has a time limit (30 s unless told otherwise). A child that has
//     not ended by then is killed with its whole process group, and reaped;
//     the output is what it wrote so far. No zombie is left behind.
//   - SIGPIPE from a child that stops reading is held back in the calling
//     thread and swallowed; the server process is never killed by it.
//   - The calls hold no lock of their own; they run in the buffer job that
//     serves the request.
#pragma once

#include <map>
#include <string>

#include <toviktwo/foundation/hkbuffers.h>

class HKXHeader;

// The time limit of a CGI or PHP child when the application sets none.
constexpr double kHKCGIDefaultTimeoutSeconds = 30.0;

// Two pipes between a server and one child program: one from parent to
// child (the child's standard input) and one back (its standard output).
// Both are made close-on-exec, so that a child started at the same time by
// another thread does not inherit them.
class HKParentChildPipe {
 public:
  // Makes the pipe from child to parent first, then the other. On failure it
  // closes what is open and throws HKException.
  HKParentChildPipe();
  HKParentChildPipe(const HKParentChildPipe&) = delete;
  HKParentChildPipe& operator=(const HKParentChildPipe&) = delete;
  // Closes whatever is still open.
  ~HKParentChildPipe();

  // false: the child's read end becomes standard input, the child's write
  // end standard output; true: the same for the parent's two ends. The ends
  // then are 0 and 1, without close-on-exec. Async-signal-safe.
  void RemapStdinStdout(bool parent);
  // true: closes the child's two ends (in the parent); false: the parent's
  // two ends (in the child). Closed ends become -1.
  void CloseUnusedPipes(bool parent);
  // false: closes the child's two ends; true: the parent's two ends.
  void ClosePipes(bool parent);
  // dup2(from, to), then close(from). Answers true only when dup2 gave 0, as
  // written for the standard-input case: (x, 1) does its work and answers
  // false. Pinned by tests/transport/test_cgi.cpp.
  static bool dup2_and_close(int from, int to);
  // Makes `in` descriptor 0 and `out` descriptor 1, also when either of them
  // already is 0 or 1 (the two swapped go through a temporary dup). Answers
  // false when a step failed. Async-signal-safe.
  static bool _stdin_stdout_piperemap(int in, int out);

  int childRead() const { return *_childRead; }
  int parentWrite() const { return *_parentWrite; }
  int parentRead() const { return *_parentRead; }
  int childWrite() const { return *_childWrite; }

 private:
  static void _close(int* fd);

  // Parent-to-child read and write end, then child-to-parent read and write.
  int _fds[4] = {-1, -1, -1, -1};
  int* _childRead = &_fds[0];
  int* _parentWrite = &_fds[1];
  int* _parentRead = &_fds[2];
  int* _childWrite = &_fds[3];
};

// Runs `program` with `env` added to the environment (overwriting), the
// whole of `data` as its standard input, and puts its output into `data` in
// place of the input. 1 on success (also when the program could not be
// started: `data` is then empty), 0 when an exception stopped the call.
// A `timeoutSeconds` of 0 or less means no limit.
int HKcgi_bin_call(const std::string& program, const std::map<std::string, std::string>& env,
                   HKInputStreamBinary& data, double timeoutSeconds = kHKCGIDefaultTimeoutSeconds);

// The same with separate buffers: the readable bytes of `in` are written (and
// consumed), the output is appended to `out`. Used by the file service.
int HKcgi_bin_call2(const std::string& program, const std::map<std::string, std::string>& env,
                    HKStringBuf& in, HKStringBuf& out, double timeoutSeconds = kHKCGIDefaultTimeoutSeconds);

// The CGI environment of a request, added to `env`: "HTTP_" plus each head
// field's name in upper case with the value of its first occurrence (names
// keep their dashes: "HTTP_USER-AGENT"; the first line's ":first:" is left
// out); GET gives "REQUEST_METHOD" "GET" and "QUERY_STRING" (the query
// without "?"); POST gives "REQUEST_METHOD" "POST", "CONTENT_TYPE" (the first
// "content-type" without trailing CR LF, or
// "application/x-www-form-urlencoded") and "CONTENT_LENGTH" when
// "content-length" is set. Other methods answer false.
bool HKFillCGIVariables(const std::string& script, std::map<std::string, std::string>& env,
                        HKXHeader& header);
