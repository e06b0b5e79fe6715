#include <toviktwo/transport/hkcgi.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <toviktwo/transport/hksigpipehold.h>
#include <toviktwo/foundation/hkexception.h>
#include <toviktwo/foundation/hkprogrampath.h>
#include <toviktwo/transport/hkxheader.h>

extern char** environ;

namespace {

// The name a started program sees as argv[0], whatever it is.
constexpr const char* kChildArgv0 = "php-cgi";
// Bytes taken from the child's output per read.
constexpr size_t kReadChunk = 65536;
// Exit code of a child whose program could not be started.
constexpr int kExecFailedExit = 0;
// Longest single sleep while waiting for a child that closed its output.
constexpr auto kReapPollMax = std::chrono::milliseconds(10);

[[noreturn]] void fail(const std::string& text) { throw HKException(text, __LINE__, "src"); }

// Everything the child needs, made before fork: after fork the child only
// reads it.
class HKChildLaunch {
 public:
  HKChildLaunch(const std::string& program, const std::map<std::string, std::string>& env) {
    _paths = HKProgramCandidates(program);
    _buildEnvironment(env);
    _argv = {const_cast<char*>(kChildArgv0), nullptr};
    _shArgv = {const_cast<char*>("sh"), nullptr, nullptr};
    sigemptyset(&_noSignals);
  }

  bool startable() const { return !_paths.empty(); }

  // The child's side: own process group, default signal state, pipes on 0
  // and 1, then exec. Only async-signal-safe calls from here on.
  [[noreturn]] void exec(HKParentChildPipe& pipe) {
    setpgid(0, 0);
    sigprocmask(SIG_SETMASK, &_noSignals, nullptr);
    struct sigaction dfl {};
    dfl.sa_handler = SIG_DFL;
    sigaction(SIGPIPE, &dfl, nullptr);
    pipe.CloseUnusedPipes(false);
    pipe.RemapStdinStdout(false);
    for (const std::string& path : _paths) {
      execve(path.c_str(), _argv.data(), _envp.data());
      if (errno == ENOEXEC) {  // a script without "#!": the shell runs it, as execlp does
        _shArgv[1] = const_cast<char*>(path.c_str());
        execve("/bin/sh", _shArgv.data(), _envp.data());
      }
    }
    pipe.ClosePipes(false);
    _exit(kExecFailedExit);
  }

 private:
  void _buildEnvironment(const std::map<std::string, std::string>& env) {
    // Each entry is read once: another thread's setenv may put a new string
    // in its place meanwhile, and a name and value from two strings would be
    // garbage.
    for (char** e = environ; e && *e; ++e) {
      const std::string entry = *e;
      const size_t eq = entry.find('=');
      if (env.find(entry.substr(0, eq)) == env.end()) _envText.push_back(entry);
    }
    for (const auto& [name, value] : env) _envText.push_back(name + "=" + value);
    for (std::string& s : _envText) _envp.push_back(s.data());
    _envp.push_back(nullptr);
  }

  std::vector<std::string> _paths;
  std::vector<std::string> _envText;
  std::vector<char*> _envp;
  std::vector<char*> _argv;
  std::vector<char*> _shArgv;
  sigset_t _noSignals;
};

// A point in time after which the child is given up; none for a limit of
// zero or less.
class HKDeadline {
 public:
  explicit HKDeadline(double seconds)
      : _limited(seconds > 0),
        _end(std::chrono::steady_clock::now() +
             std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                 std::chrono::duration<double>(_limited ? seconds : 0))) {}
  bool passed() const { return _limited && std::chrono::steady_clock::now() >= _end; }
  // Milliseconds for poll: what is left (at least 1), or -1 without limit.
  int pollMillis() const {
    if (!_limited) return -1;
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(_end - std::chrono::steady_clock::now());
    return left.count() < 1 ? 1 : static_cast<int>(std::min<long long>(left.count(), 1000 * 1000));
  }

 private:
  bool _limited;
  std::chrono::steady_clock::time_point _end;
};

// A started child; whatever happens, it is reaped before this goes.
class HKChild {
 public:
  explicit HKChild(pid_t pid) : _pid(pid) {}
  HKChild(const HKChild&) = delete;
  HKChild& operator=(const HKChild&) = delete;
  ~HKChild() {
    if (_pid > 0) killAndReap();
  }

  // Waits for the child until the deadline; after it, kills and reaps.
  void reap(const HKDeadline& deadline) {
    auto nap = std::chrono::microseconds(100);
    while (_pid > 0) {
      int status = 0;
      const pid_t r = waitpid(_pid, &status, WNOHANG);
      if (r == _pid || (r < 0 && errno != EINTR)) {
        _pid = -1;
        return;
      }
      if (deadline.passed()) break;
      std::this_thread::sleep_for(nap);
      nap = std::min<std::chrono::microseconds>(nap * 2, kReapPollMax);
    }
    killAndReap();
  }

  // The whole process group goes, so that a script's own children do not
  // outlive it; then the child is waited for, which SIGKILL makes quick.
  void killAndReap() {
    if (_pid <= 0) return;
    kill(-_pid, SIGKILL);
    kill(_pid, SIGKILL);
    int status = 0;
    while (waitpid(_pid, &status, 0) < 0 && errno == EINTR) {
    }
    _pid = -1;
  }

 private:
  pid_t _pid;
};

// The bytes still to be written to the child.
struct HKChildInput {
  std::function<const char*()> data;
  std::function<size_t()> size;
  std::function<void(size_t)> consumed;
};

// Writes what the child can take without blocking; false when the child's
// input is closed for good.
bool feedChild(int fd, HKChildInput& input) {
  const ssize_t w = write(fd, input.data(), input.size());
  if (w > 0) {
    input.consumed(static_cast<size_t>(w));
    return input.size() > 0;
  }
  return w < 0 && (errno == EAGAIN || errno == EINTR);
}

// Moves bytes in both directions until the output ends (true) or the
// deadline passes (false). Writing and reading interleave, so that a child
// that writes much before it reads cannot lock both sides.
bool pumpChild(HKParentChildPipe& pipe, HKChildInput& input, const std::function<long(int)>& readOut,
               const HKDeadline& deadline) {
  const int wfd = pipe.parentWrite();
  const int rfd = pipe.parentRead();
  fcntl(wfd, F_SETFL, fcntl(wfd, F_GETFL) | O_NONBLOCK);
  bool writing = input.size() > 0;
  for (;;) {
    if (deadline.passed()) return false;
    pollfd fds[2] = {{rfd, POLLIN | POLLPRI, 0}, {wfd, POLLOUT, 0}};
    const int r = poll(fds, writing ? 2 : 1, deadline.pollMillis());
    if (r < 0 && errno != EINTR) return true;
    if (r <= 0) continue;
    if (writing && fds[1].revents != 0) writing = (fds[1].revents & POLLOUT) != 0 && feedChild(wfd, input);
    if (fds[0].revents & POLLIN) {
      if (readOut(rfd) <= 0) return true;
    } else if (fds[0].revents & (POLLERR | POLLHUP | POLLNVAL)) {
      return true;
    }
  }
}

// Starts the program on a fresh pipe pair, feeds it, collects its output,
// and reaps it within the deadline.
void runChild(const std::string& program, const std::map<std::string, std::string>& env, HKChildInput& input,
              const std::function<long(int)>& readOut, double timeoutSeconds) {
  HKChildLaunch launch(program, env);
  if (!launch.startable()) return;
  const HKDeadline deadline(timeoutSeconds);
  HKSigpipeHold hold;
  HKParentChildPipe pipe;
  const pid_t pid = fork();
  if (pid < 0) fail("fork failed, cant call external process");
  if (pid == 0) launch.exec(pipe);
  HKChild child(pid);
  setpgid(pid, pid);  // also here, so that a kill never finds the group missing
  pipe.CloseUnusedPipes(true);
  if (pumpChild(pipe, input, readOut, deadline))
    child.reap(deadline);
  else
    child.killAndReap();
}

}  // namespace

// ---------------------------------------------------------------- the pipe pair

HKParentChildPipe::HKParentChildPipe() {
  if (pipe2(&_fds[2], O_CLOEXEC) != 0 || pipe2(&_fds[0], O_CLOEXEC) != 0) {
    for (int& fd : _fds) _close(&fd);
    fail("pipes for a child program can't be made");
  }
}

HKParentChildPipe::~HKParentChildPipe() {
  for (int& fd : _fds) _close(&fd);
}

void HKParentChildPipe::_close(int* fd) {
  if (*fd >= 0) close(*fd);
  *fd = -1;
}

void HKParentChildPipe::RemapStdinStdout(bool parent) {
  int* in = parent ? _parentRead : _childRead;
  int* out = parent ? _parentWrite : _childWrite;
  if (_stdin_stdout_piperemap(*in, *out)) {
    *in = 0;
    *out = 1;
  }
}

void HKParentChildPipe::CloseUnusedPipes(bool parent) {
  if (parent) {
    _close(_childRead);
    _close(_childWrite);
  } else {
    _close(_parentRead);
    _close(_parentWrite);
  }
}

void HKParentChildPipe::ClosePipes(bool parent) { CloseUnusedPipes(!parent); }

bool HKParentChildPipe::dup2_and_close(int from, int to) {
  const int r = dup2(from, to);
  if (r >= 0 && from != to) close(from);
  return r == 0;
}

bool HKParentChildPipe::_stdin_stdout_piperemap(int in, int out) {
  bool ok = true;
  if (in == 1 && out == 0) {  // swapped: park one end on a free descriptor
    const int tmp = dup(in);
    ok = tmp >= 0 && dup2(out, 1) == 1 && dup2(tmp, 0) == 0;
    if (tmp >= 0) close(tmp);
  } else if (out == 0) {  // out first, so that moving `in` does not overwrite it
    ok = dup2(out, 1) == 1 && close(out) == 0 && (in == 0 || dup2(in, 0) == 0);
    if (in != 0) close(in);
  } else {
    if (in != 0) {
      ok = dup2(in, 0) == 0;
      close(in);
    }
    if (ok && out != 1) {
      ok = dup2(out, 1) == 1;
      close(out);
    }
  }
  // An end that already sat on 0 or 1 was never duplicated: it still has
  // close-on-exec, which the program must not inherit.
  fcntl(0, F_SETFD, 0);
  fcntl(1, F_SETFD, 0);
  return ok;
}

// ---------------------------------------------------------------- calls

int HKcgi_bin_call(const std::string& program, const std::map<std::string, std::string>& env,
                   HKInputStreamBinary& data, double timeoutSeconds) {
  try {
    // The stream is both input and output: take the input out first.
    std::string input(reinterpret_cast<const char*>(data.GetBuffer()), data.length());
    data.clear();
    size_t offset = 0;
    HKChildInput in{[&] { return input.data() + offset; }, [&] { return input.size() - offset; },
                    [&](size_t n) { offset += n; }};
    runChild(
        program, env, in, [&](int fd) { return data.AddByRead(fd, 65535); }, timeoutSeconds);
    return 1;
  } catch (const std::exception&) {
    return 0;
  }
}

int HKcgi_bin_call2(const std::string& program, const std::map<std::string, std::string>& env,
                    HKStringBuf& in, HKStringBuf& out, double timeoutSeconds) {
  try {
    HKChildInput input{[&] { return static_cast<const char*>(in.getStartReadout()); },
                       [&] { return static_cast<size_t>(in.getSizeReadable()); },
                       [&](size_t n) { in.consume(n); }};
    std::string chunk(kReadChunk, '\0');
    auto readOut = [&](int fd) {
      const ssize_t n = read(fd, chunk.data(), chunk.size());
      if (n > 0) out.sputn(chunk.data(), n);
      return static_cast<long>(n);
    };
    runChild(program, env, input, readOut, timeoutSeconds);
    return 1;
  } catch (const std::exception&) {
    return 0;
  }
}

// ---------------------------------------------------------------- environment

bool HKFillCGIVariables(const std::string&, std::map<std::string, std::string>& env, HKXHeader& header) {
  const HKHTTPScheme method = header.getMethod();
  if (method != HK_SCHEME_GET && method != HK_SCHEME_POST) return false;
  for (const auto& [name, values] : header.getFields()) {
    if (name.empty() || name[0] == ':' || values.empty()) continue;
    std::string key = "HTTP_";
    for (const char c : name) key += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    env[key] = values.front();
  }
  if (method == HK_SCHEME_GET) {
    env["REQUEST_METHOD"] = "GET";
    env["QUERY_STRING"] = header.getQuery();
    return true;
  }
  env["REQUEST_METHOD"] = "POST";
  std::string type = "application/x-www-form-urlencoded";
  if (header.isSet("content-type") && !header.getField("content-type").empty()) {
    type = header.getField("content-type").front();
    while (!type.empty() && (type.back() == '\r' || type.back() == '\n')) type.pop_back();
  }
  env["CONTENT_TYPE"] = type;
  if (header.isSet("content-length") && !header.getField("content-length").empty())
    env["CONTENT_LENGTH"] = header.getField("content-length").front();
  return true;
}
