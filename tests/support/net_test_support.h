// Shared helpers of the network tests: a server of our own on a loopback
// port chosen by the system, a client whose answers a test decides, raw
// socket clients, external commands with a time limit, and a throwaway TLS
// key pair. Every wait is bounded; everything started is stopped again.
#pragma once

#include <arpa/inet.h>
#include <dirent.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <toviktwo/transport/hktransceiver.h>
#include "../scheduler/test_support.h"

namespace tovik_test {

// ---- processes and files

// Runs a shell command (its time bounded by `timeout`), returns its standard output.
inline std::string runCommand(const std::string& command, int* status = nullptr, int seconds = 20) {
  const std::string bounded = "timeout " + std::to_string(seconds) + " " + command;
  std::string out;
  FILE* p = popen(bounded.c_str(), "r");
  if (p == nullptr) return out;
  char buf[4096];
  size_t n;
  while ((n = fread(buf, 1, sizeof buf, p)) > 0) out.append(buf, n);
  const int rc = pclose(p);
  if (status != nullptr) *status = WIFEXITED(rc) ? WEXITSTATUS(rc) : -1;
  return out;
}

// A temporary directory, removed with everything in it.
class TempDir {
 public:
  TempDir() {
    char tmpl[] = "/tmp/toviktest.XXXXXX";
    _path = mkdtemp(tmpl);
  }
  ~TempDir() { std::filesystem::remove_all(_path); }
  const std::string& path() const { return _path; }
  std::string file(const std::string& name) const { return _path + "/" + name; }

 private:
  std::string _path;
};

// A self-signed certificate and its key, made by the openssl command.
inline bool makeKeyPair(const TempDir& dir) {
  int status = -1;
  runCommand("openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -keyout " +
                 dir.file("key.pem") + " -out " + dir.file("cert.pem") +
                 " -days 1 -subj /CN=localhost 2>/dev/null",
             &status);
  return status == 0;
}

inline size_t countOpenDescriptors() {
  size_t n = 0;
  if (DIR* d = opendir("/proc/self/fd")) {
    while (dirent* e = readdir(d))
      if (e->d_name[0] != '.') ++n;
    closedir(d);
  }
  return n;
}

// ---- raw clients

class RawClient {
 public:
  explicit RawClient(unsigned int port) {
    _fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_port = htons(static_cast<uint16_t>(port));
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(_fd, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0) {
      close(_fd);
      _fd = -1;
    }
  }
  ~RawClient() {
    if (_fd >= 0) close(_fd);
  }
  bool ok() const { return _fd >= 0; }
  int fd() const { return _fd; }
  bool send(const std::string& s) {
    size_t at = 0;
    while (at < s.size()) {
      const ssize_t r = ::send(_fd, s.data() + at, s.size() - at, MSG_NOSIGNAL);
      if (r <= 0) return false;
      at += static_cast<size_t>(r);
    }
    return true;
  }
  // Reads until `done(data)` holds, the peer closes, or the time is up.
  std::string readUntil(const std::function<bool(const std::string&)>& done,
                        std::chrono::milliseconds limit = std::chrono::milliseconds(10000)) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!done(_in) && !_closed) {
      const auto left =
          std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
      if (left.count() <= 0) break;
      pollfd p{_fd, POLLIN, 0};
      if (poll(&p, 1, static_cast<int>(left.count())) <= 0) continue;
      char buf[65536];
      const ssize_t r = recv(_fd, buf, sizeof buf, 0);
      if (r <= 0) {
        _closed = true;
        break;
      }
      _in.append(buf, static_cast<size_t>(r));
    }
    return _in;
  }
  // Reads until `n` whole answers with Content-Length bodies have arrived.
  std::string readAnswers(size_t n, std::chrono::milliseconds limit = std::chrono::milliseconds(10000)) {
    return readUntil([n](const std::string& s) { return countAnswers(s) >= n; }, limit);
  }
  std::string readToClose(std::chrono::milliseconds limit = std::chrono::milliseconds(10000)) {
    return readUntil([](const std::string&) { return false; }, limit);
  }
  bool closed() const { return _closed; }
  void reset() {
    linger l{1, 0};
    setsockopt(_fd, SOL_SOCKET, SO_LINGER, &l, sizeof l);
    close(_fd);
    _fd = -1;
  }

  // Complete answers in `s` (head plus Content-Length bytes each).
  static size_t countAnswers(const std::string& s) {
    size_t at = 0, n = 0;
    for (;;) {
      const size_t end = s.find("\r\n\r\n", at);
      if (end == std::string::npos) return n;
      size_t length = 0;
      const size_t cl = s.find("Content-Length: ", at);
      if (cl != std::string::npos && cl < end) length = std::stoul(s.substr(cl + 16));
      if (s.size() < end + 4 + length) return n;
      at = end + 4 + length;
      ++n;
    }
  }

 private:
  int _fd = -1;
  bool _closed = false;
  std::string _in;
};

// ---- a server of our own

// A client whose answer to each request a test decides; by default a 200
// with "hello " and the URL path.
class TestClient : public HKTransceiverClient {
 public:
  using Handler = std::function<bool(TestClient&, HKXHeader&)>;
  TestClient(HKServerCallbackFunction callback, Handler handler)
      : HKTransceiverClient(std::move(callback), {}, nullptr), _handler(std::move(handler)) {}
  bool _virtualPage(const std::string&, HKXHeader& header) override {
    ++requests;
    if (_handler) return _handler(*this, header);
    return answer(header, 200, "hello " + header.getURLPath());
  }
  bool onAuthorize(HKXHeader&) override { return authorize.load(); }
  bool answer(HKXHeader& request, uint64_t status, const std::string& body) {
    auto response = request.createResponseHeader();
    response->getDataBuffer()->stringput(body);
    response->setStatusCode(status);
    response->setJobState(6);
    return _sendAnswer(request, response);
  }
  std::atomic<int> requests{0};
  std::atomic<bool> authorize{true};

 private:
  Handler _handler;
};

// Reports of one server, collected under a lock.
class Reports {
 public:
  bool operator()(HKServerCallback_t& r) {
    std::lock_guard<std::mutex> g(_m);
    _all.push_back(r);
    return true;
  }
  std::vector<HKServerCallback_t> ofKind(int32_t kind) {
    std::lock_guard<std::mutex> g(_m);
    std::vector<HKServerCallback_t> out;
    for (auto& r : _all)
      if (r.kind == kind) out.push_back(r);
    return out;
  }
  std::vector<std::string> logLines() {
    std::vector<std::string> out;
    for (auto& r : ofKind(HK_SERVER_LOG)) out.push_back(r.map["logging"]);
    return out;
  }

 private:
  std::mutex _m;
  std::vector<HKServerCallback_t> _all;
};

// Scheduler, transceiver, client and one listening server on a free port.
class TestServer {
 public:
  explicit TestServer(HKTovikProtocols_t protocol = HK_PROTO_HTTP,
                      std::map<std::string, std::string> options = {}, TestClient::Handler handler = nullptr)
      : _transceiver(std::make_unique<HKTransceiver>(_scheduler)) {
    client = std::make_shared<TestClient>([this](HKServerCallback_t& r) { return reports(r); },
                                          std::move(handler));
    _transceiver->connect(client);
    header = std::make_shared<HKXServerHeader>(false, protocol);
    header->setOption("tcp_port", "0");
    for (auto& [k, v] : options) header->setOption(k, v);
    serverId = client->receive(header);
    auto server = std::dynamic_pointer_cast<HKTransceiverServerL0Socket>(header->getTransceiverServer());
    if (server)
      waitUntil([&] { return server->isListening() || !reports.ofKind(HK_SERVER_BIND_FAILED).empty(); });
    if (server) port = server->listeningPort();
  }
  ~TestServer() {
    _transceiver->disconnect(client);
    header.reset();
    _transceiver.reset();
  }
  HKTransceiver& transceiver() { return *_transceiver; }
  std::shared_ptr<HKTransceiverServerL1HTTP> http() {
    return std::dynamic_pointer_cast<HKTransceiverServerL1HTTP>(header->getTransceiverServer());
  }
  std::string get(const std::string& path) {
    RawClient c(port);
    c.send("GET " + path + " HTTP/1.1\r\nHost: localhost\r\n\r\n");
    return c.readAnswers(1);
  }

  Reports reports;
  std::shared_ptr<TestClient> client;
  std::shared_ptr<HKXServerHeader> header;
  std::string serverId;
  unsigned int port = 0;

 private:
  HKGavetaScheduler2 _scheduler;
  std::unique_ptr<HKTransceiver> _transceiver;
};

}  // namespace tovik_test
