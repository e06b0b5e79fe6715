// Servers that the HTTP client of the tests talks to: nginx with a
// configuration of its own (plain and TLS, on free loopback ports), and a
// scripted server that answers each request with bytes a test decides,
// closes early or stays silent. Both are stopped, and leave nothing behind,
// when they go out of scope; every wait is bounded.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "net_test_support.h"

namespace tovik_test {

// A loopback port that was free a moment ago.
inline unsigned int freeLoopbackPort() {
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in a{};
  a.sin_family = AF_INET;
  a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  a.sin_port = 0;
  socklen_t len = sizeof a;
  unsigned int port = 0;
  if (bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0 &&
      getsockname(fd, reinterpret_cast<sockaddr*>(&a), &len) == 0)
    port = ntohs(a.sin_port);
  close(fd);
  return port;
}

inline bool nginxInstalled() { return access("/usr/sbin/nginx", X_OK) == 0; }

// nginx serving `root` on a plain and a TLS port of 127.0.0.1. Its access
// log records the connection serial number of each request, so that a test
// can count the connections it saw.
class NginxServer {
 public:
  explicit NginxServer(const std::string& root) : _root(root) {
    if (!nginxInstalled() || !makeKeyPair(_dir)) return;
    for (int attempt = 0; attempt < 5 && !_running; ++attempt) {
      port = freeLoopbackPort();
      tlsPort = freeLoopbackPort();
      _writeConfig();
      int status = -1;
      runCommand("/usr/sbin/nginx -e " + _dir.file("error.log") + " -p " + _dir.path() + " -c " +
                     _dir.file("nginx.conf") + " 2>&1",
                 &status);
      if (status == 0) _running = waitUntil([this] { return _pid() > 0 && RawClient(port).ok(); });
    }
  }
  ~NginxServer() {
    const pid_t pid = _pid();
    if (pid <= 0) return;
    kill(pid, SIGTERM);
    waitUntil([pid] { return kill(pid, 0) != 0; });
  }
  bool running() const { return _running; }
  // Requests in the access log, and the distinct connections they came on.
  size_t loggedRequests() { return _logLines().size(); }
  size_t loggedConnections() {
    std::set<std::string> connections;
    for (const auto& line : _logLines()) connections.insert(line.substr(0, line.find(' ')));
    return connections.size();
  }

  unsigned int port = 0;
  unsigned int tlsPort = 0;

 private:
  void _writeConfig() {
    std::ofstream conf(_dir.file("nginx.conf"));
    conf << "user root;\nworker_processes 1;\ndaemon on;\npid " << _dir.file("nginx.pid") << ";\n"
         << "error_log " << _dir.file("error.log") << ";\n"
         << "events { worker_connections 256; }\n"
         << "http {\n  log_format counted '$connection $connection_requests $request';\n"
         << "  access_log " << _dir.file("access.log") << " counted;\n"
         << "  client_body_temp_path " << _dir.path() << "/body;\n  proxy_temp_path " << _dir.path()
         << "/proxy;\n"
         << "  fastcgi_temp_path " << _dir.path() << "/fcgi;\n  uwsgi_temp_path " << _dir.path()
         << "/uwsgi;\n"
         << "  scgi_temp_path " << _dir.path() << "/scgi;\n"
         << "  keepalive_requests 100000;\n  keepalive_timeout 60s;\n"
         << "  server {\n    listen 127.0.0.1:" << port << ";\n    listen 127.0.0.1:" << tlsPort << " ssl;\n"
         << "    ssl_certificate " << _dir.file("cert.pem") << ";\n    ssl_certificate_key "
         << _dir.file("key.pem") << ";\n    root " << _root << ";\n  }\n}\n";
  }
  pid_t _pid() {
    std::ifstream in(_dir.file("nginx.pid"));
    long pid = 0;
    in >> pid;
    return static_cast<pid_t>(pid);
  }
  std::vector<std::string> _logLines() {
    // nginx writes the line after the answer has gone: a short wait lets the
    // last one arrive.
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    std::ifstream in(_dir.file("access.log"));
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);)
      if (!line.empty()) lines.push_back(line);
    return lines;
  }

  TempDir _dir;
  std::string _root;
  bool _running = false;
};

// A server on a loopback port that reads each request head and answers with
// what `reply` returns for it; after the reply it closes the connection when
// `closeAfter` is set. An empty reply with `closeAfter` false leaves the
// request unanswered (the server stays silent until it is destroyed).
class ScriptedServer {
 public:
  using Reply = std::function<std::string(const std::string& head)>;
  ScriptedServer(Reply reply, bool closeAfter) : _reply(std::move(reply)), _closeAfter(closeAfter) {
    _listener = socket(AF_INET, SOCK_STREAM, 0);
    const int one = 1;
    setsockopt(_listener, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof a;
    bind(_listener, reinterpret_cast<sockaddr*>(&a), sizeof a);
    listen(_listener, 16);
    getsockname(_listener, reinterpret_cast<sockaddr*>(&a), &len);
    port = ntohs(a.sin_port);
    _thread = std::thread([this] { _serve(); });
  }
  ~ScriptedServer() {
    _running = false;
    _thread.join();
    for (int fd : _open) close(fd);
    close(_listener);
  }
  int connections() const { return _connections.load(); }
  int requests() const { return _requests.load(); }

  unsigned int port = 0;

 private:
  void _serve() {
    std::vector<std::pair<int, std::string>> peers;
    while (_running) {
      std::vector<pollfd> fds{{_listener, POLLIN, 0}};
      for (auto& [fd, in] : peers) fds.push_back({fd, POLLIN, 0});
      if (poll(fds.data(), fds.size(), 50) <= 0) continue;
      if (fds[0].revents & POLLIN) {
        const int fd = accept(_listener, nullptr, nullptr);
        if (fd >= 0) {
          ++_connections;
          peers.emplace_back(fd, std::string());
          _open.push_back(fd);
        }
      }
      for (size_t i = 1; i < fds.size(); ++i)
        if (fds[i].revents & (POLLIN | POLLHUP)) _readFrom(peers[i - 1]);
      std::erase_if(peers, [](auto& p) { return p.first < 0; });
    }
  }
  void _readFrom(std::pair<int, std::string>& peer) {
    char buf[65536];
    const ssize_t r = recv(peer.first, buf, sizeof buf, 0);
    if (r <= 0) {
      peer.first = -1;
      return;
    }
    peer.second.append(buf, static_cast<size_t>(r));
    const auto end = peer.second.find("\r\n\r\n");
    if (end == std::string::npos) return;
    const std::string head = peer.second.substr(0, end + 4);
    peer.second.erase(0, end + 4);
    ++_requests;
    const std::string reply = _reply(head);
    size_t at = 0;
    while (at < reply.size()) {
      const ssize_t w = ::send(peer.first, reply.data() + at, reply.size() - at, MSG_NOSIGNAL);
      if (w <= 0) break;
      at += static_cast<size_t>(w);
    }
    if (_closeAfter) {
      shutdown(peer.first, SHUT_RDWR);
      peer.first = -1;
    }
  }

  Reply _reply;
  bool _closeAfter;
  int _listener = -1;
  std::vector<int> _open;
  std::atomic<bool> _running{true};
  std::atomic<int> _connections{0};
  std::atomic<int> _requests{0};
  std::thread _thread;
};

}  // namespace tovik_test
