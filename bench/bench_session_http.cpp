// Session layer benchmarks over real HTTP on loopback, against the example
// application toviktwo_demo (started with "--port 0 --no-browser", ended with
// "quit"): the click round trip of one page on one keep-alive connection
// (p50 and p99 over 1,000 clicks), clicks per second with 16 concurrent
// sessions, new sessions per second (GET of "/" without an id), and the
// demo's resident growth per session over 1,000 sessions. The client posts
// the widget form exactly as the page's script does.
#include <benchmark/benchmark.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

extern char** environ;

namespace {

constexpr int kClicks = 1000;
constexpr int kConcurrentSessions = 16;
constexpr int kClicksPerSession = 200;
constexpr int kMemorySessions = 1000;
constexpr size_t kReadChunk = 65536;
constexpr int kReadTimeoutSeconds = 10;

// The demo as a child process: its port, and "quit" on its standard input at the end.
class Demo {
 public:
  Demo() {
    int in[2], out[2];
    if (pipe(in) != 0 || pipe(out) != 0) throw std::runtime_error("pipe");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in[0], 0);
    posix_spawn_file_actions_adddup2(&actions, out[1], 1);
    posix_spawn_file_actions_addclose(&actions, in[1]);
    posix_spawn_file_actions_addclose(&actions, out[0]);
    std::string program = TOVIK_DEMO_PROGRAM;
    char* argv[] = {program.data(), const_cast<char*>("--port"), const_cast<char*>("0"),
                    const_cast<char*>("--no-browser"), nullptr};
    if (posix_spawn(&_pid, program.c_str(), &actions, nullptr, argv, environ) != 0)
      throw std::runtime_error("cannot start the demo");
    posix_spawn_file_actions_destroy(&actions);
    close(in[0]);
    close(out[1]);
    _stdin = in[1];
    std::string text;
    const std::string marker = "toviktwo demo: open http://127.0.0.1:";
    char buffer[4096];
    while (text.find(marker) == std::string::npos ||
           text.find('/', text.find(marker) + marker.size()) == std::string::npos) {
      const ssize_t n = read(out[0], buffer, sizeof buffer);
      if (n <= 0) throw std::runtime_error("the demo printed no address: " + text);
      text.append(buffer, n);
    }
    _port = std::stoi(text.substr(text.find(marker) + marker.size()));
    _stdout = out[0];
    // The demo logs every request on its standard output: read it away, or
    // the demo stops at a full pipe.
    _drain = std::thread([fd = _stdout] {
      char sink[kReadChunk];
      while (read(fd, sink, sizeof sink) > 0) {
      }
    });
  }
  ~Demo() {
    (void)!write(_stdin, "quit\n", 5);
    close(_stdin);
    for (int i = 0; i < 100 && waitpid(_pid, nullptr, WNOHANG) == 0; ++i)
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    if (waitpid(_pid, nullptr, WNOHANG) == 0) {
      kill(_pid, SIGKILL);
      waitpid(_pid, nullptr, 0);
    }
    _drain.join();  // the demo has ended: its output is at end of file
    close(_stdout);
  }
  int port() const { return _port; }
  long residentBytes() const {
    std::ifstream statm("/proc/" + std::to_string(_pid) + "/statm");
    long size = 0, resident = 0;
    statm >> size >> resident;
    return resident * sysconf(_SC_PAGESIZE);
  }

 private:
  pid_t _pid = 0;
  int _stdin = -1, _stdout = -1, _port = 0;
  std::thread _drain;
};

// One keep-alive HTTP/1.1 connection to the demo.
class Connection {
 public:
  explicit Connection(int port) {
    _fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(_fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
      throw std::runtime_error("connect");
    const int one = 1;
    setsockopt(_fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    timeval limit{kReadTimeoutSeconds, 0};  // a stuck server ends the benchmark instead of hanging it
    setsockopt(_fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  }
  ~Connection() { close(_fd); }
  // Sends a request and returns the body of its answer (read by Content-Length).
  std::string exchange(const std::string& request) {
    for (size_t sent = 0; sent < request.size();) {
      const ssize_t n = write(_fd, request.data() + sent, request.size() - sent);
      if (n <= 0) throw std::runtime_error("write");
      sent += n;
    }
    size_t end;
    while ((end = _buffer.find("\r\n\r\n")) == std::string::npos) fill();
    const size_t lengthAt = _buffer.find("Content-Length: ");
    if (lengthAt == std::string::npos || lengthAt > end) throw std::runtime_error("no Content-Length");
    const size_t length = std::stoul(_buffer.substr(lengthAt + 16));
    while (_buffer.size() < end + 4 + length) fill();
    std::string body = _buffer.substr(end + 4, length);
    _buffer.erase(0, end + 4 + length);
    return body;
  }

 private:
  void fill() {
    char chunk[kReadChunk];
    const ssize_t n = read(_fd, chunk, sizeof chunk);
    if (n <= 0)
      throw std::runtime_error(n == 0 ? "connection closed" : "no answer in time: " + _buffer.substr(0, 200));
    _buffer.append(chunk, n);
  }
  int _fd;
  std::string _buffer;
};

const std::string kNewPage = "GET / HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n";

// Opens a new session with GET "/" and returns its id from the page.
std::string newSession(Connection& connection) {
  const std::string page = connection.exchange(kNewPage);
  const size_t at = page.find("tovikid=\"");
  if (at == std::string::npos) throw std::runtime_error("no session id in the page");
  return page.substr(at + 9, page.find('"', at + 9) - at - 9);
}

// The widget form as the page's script posts it: a click on "countbutton".
std::string clickRequest(const std::string& id) {
  const std::string boundary = "----WebKitFormBoundaryq3ZLx7tPHhLbd0Wr";
  std::string body;
  for (auto [name, value] : {std::pair<std::string, std::string>{"tovikid", id},
                             {"tovikaction", "onclick"},
                             {"tovikactionelement", "countbutton"},
                             {"tovikactionparam1", "none"}})
    body += "--" + boundary + "\r\nContent-Disposition: form-data; name=\"" + name + "\"\r\n\r\n" + value +
            "\r\n";
  body += "--" + boundary + "--\r\n";
  return "POST /tovikwidget.handler HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Type: multipart/form-data; "
         "boundary=" +
         boundary + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

void BM_ClickRoundTripHTTP(benchmark::State& state) {
  Demo demo;
  Connection connection(demo.port());
  const std::string request = clickRequest(newSession(connection));
  std::vector<double> micros;
  for (auto _ : state) {
    micros.clear();
    for (int i = 0; i < kClicks; ++i) {
      const auto start = std::chrono::steady_clock::now();
      const std::string script = connection.exchange(request);
      micros.push_back(
          std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count());
      if (script.find("\"count\"") == std::string::npos) state.SkipWithError("the click did not count");
    }
  }
  std::sort(micros.begin(), micros.end());
  state.counters["p50_us"] = micros[micros.size() / 2];
  state.counters["p99_us"] = micros[micros.size() * 99 / 100];
}
BENCHMARK(BM_ClickRoundTripHTTP)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_ClicksConcurrentSessionsHTTP(benchmark::State& state) {
  Demo demo;
  for (auto _ : state) {
    std::vector<std::thread> clients;
    for (int s = 0; s < kConcurrentSessions; ++s)
      clients.emplace_back([&demo] {
        Connection connection(demo.port());
        const std::string request = clickRequest(newSession(connection));
        for (int i = 0; i < kClicksPerSession; ++i) connection.exchange(request);
      });
    for (auto& client : clients) client.join();
  }
  state.counters["clicks_per_s"] =
      benchmark::Counter(static_cast<double>(state.iterations()) * kConcurrentSessions * kClicksPerSession,
                         benchmark::Counter::kIsRate);
}
BENCHMARK(BM_ClicksConcurrentSessionsHTTP)->Iterations(3)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_NewSessionsHTTP(benchmark::State& state) {
  Demo demo;
  Connection connection(demo.port());
  for (auto _ : state) benchmark::DoNotOptimize(newSession(connection));
  state.counters["sessions_per_s"] = benchmark::Counter(state.iterations(), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_NewSessionsHTTP)->Iterations(500)->Unit(benchmark::kMicrosecond)->UseRealTime();

void BM_MemoryPerSessionHTTP(benchmark::State& state) {
  for (auto _ : state) {
    Demo demo;
    Connection connection(demo.port());
    for (int i = 0; i < 10; ++i) newSession(connection);  // warm up the server's buffers
    const long before = demo.residentBytes();
    for (int i = 0; i < kMemorySessions; ++i) newSession(connection);
    const long after = demo.residentBytes();
    state.counters["bytes_per_session"] = static_cast<double>(after - before) / kMemorySessions;
  }
}
BENCHMARK(BM_MemoryPerSessionHTTP)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
