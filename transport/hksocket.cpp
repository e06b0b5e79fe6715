#include <toviktwo/transport/hksocket.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <mutex>
#include <thread>

#include <toviktwo/foundation/hklogstream.h>

namespace {

// One line into the shared log; the log's lock keeps lines of several
// threads (two servers binding at once) from mixing in its buffer.
template <typename... Parts>
void logLine(log_dest dest, const Parts&... parts) {
  std::lock_guard<std::mutex> g(__logger.GetMtxOrdem0());
  std::ostream& out = __logger.Debugstream(dest);
  (out << ... << parts) << std::endl;
}

}  // namespace

// ---------------------------------------------------------------- HKSocketIPvx

HKSocketIPvx::HKSocketIPvx(bool /*unused*/) {}

HKSocketIPvx::~HKSocketIPvx() {
  Shutdown();
  if (_fd >= 0) close(_fd);
  if (_fd4 >= 0) close(_fd4);
}

int HKSocketIPvx::BindAndListen(std::string /*host*/, unsigned int& port, int backlog, int /*unused*/) {
  // The host is deliberately not looked up: the wildcard addresses are bound.
  const std::string service = std::to_string(port);
  addrinfo hints{};
  hints.ai_flags = AI_PASSIVE;
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_protocol = IPPROTO_TCP;
  addrinfo* result = nullptr;
  const int rc = getaddrinfo(nullptr, service.c_str(), &hints, &result);
  if (rc != 0) {
    std::cerr << "getaddrinfo: " << gai_strerror(rc) << std::endl;
    return 1;
  }
  for (const int family : {AF_INET6, AF_INET}) {
    int32_t& fd = family == AF_INET6 ? _fd : _fd4;
    for (addrinfo* ai = result; ai != nullptr && fd < 0; ai = ai->ai_next) {
      if (ai->ai_family != family) continue;
      fd = socket(ai->ai_family, ai->ai_socktype, ai->ai_protocol);
      if (fd < 0) continue;
      if (family == AF_INET6) {
        int off = 0;  // one dual-stack socket serves both families
        setsockopt(fd, IPPROTO_IPV6, IPV6_V6ONLY, &off, sizeof off);
      }
      // Once the system has chosen a port for the first descriptor, the
      // second one asks for the same port, so that one number serves both
      // families (and a dual-stack host keeps a single descriptor).
      if (port != 0) {
        if (ai->ai_family == AF_INET6)
          reinterpret_cast<sockaddr_in6*>(ai->ai_addr)->sin6_port = htons(static_cast<uint16_t>(port));
        else
          reinterpret_cast<sockaddr_in*>(ai->ai_addr)->sin_port = htons(static_cast<uint16_t>(port));
      }
      if (bind(fd, ai->ai_addr, ai->ai_addrlen) != 0) {
        // On a dual-stack host the IPv4 bind fails with the port in use:
        // the IPv6 descriptor already serves IPv4.
        close(fd);
        fd = -1;
        continue;
      }
      if (listen(fd, backlog) != 0) {
        close(fd);
        fd = -1;
        continue;
      }
      if (port == 0) {
        sockaddr_storage bound{};
        socklen_t len = sizeof bound;
        if (getsockname(fd, reinterpret_cast<sockaddr*>(&bound), &len) == 0) {
          port = ntohs(bound.ss_family == AF_INET6 ? reinterpret_cast<sockaddr_in6*>(&bound)->sin6_port
                                                   : reinterpret_cast<sockaddr_in*>(&bound)->sin_port);
        }
        logLine(log_socket, "bound at port number ", port);
      }
      _port = static_cast<int32_t>(port);
    }
  }
  freeaddrinfo(result);
  if (_fd < 0 && _fd4 < 0) {
    std::cerr << "Could not bind" << std::endl;
    return 1;
  }
  _listening = true;
  return 0;
}

int HKSocketIPvx::Connect(std::string host, int port) {
  const std::string service = std::to_string(port);
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* result = nullptr;
  const int rc = getaddrinfo(host.c_str(), service.c_str(), &hints, &result);
  if (rc != 0) {
    std::cerr << "getaddrinfo: " << gai_strerror(rc) << std::endl;
    return 2;
  }
  int last = -1;
  for (addrinfo* ai = result; ai != nullptr; ai = ai->ai_next) {
    const int fd = socket(ai->ai_family, ai->ai_socktype, ai->ai_protocol);
    last = fd;
    if (fd < 0) continue;
    if (connect(fd, ai->ai_addr, ai->ai_addrlen) == 0) {
      freeaddrinfo(result);
      if (_fd >= 0) close(_fd);
      _fd = fd;
      _eos = false;
      return 0;
    }
    close(fd);
  }
  freeaddrinfo(result);
  std::cerr << "Could not connect, fd: " << last << std::endl;
  return 2;
}

int HKSocketIPvx::Accept(HKSocketIPvx& out, long timeoutMs, std::function<bool(HKHostInfo_t&)> filter) {
  if (_fd >= 0) {
    if (Poll6(timeoutMs) > 0 && _readable) {
      const int r = out.DoAccept(_fd, filter);
      if (r >= 0) return r;
    }
  }
  if (_fd4 >= 0) {
    if (Poll4(timeoutMs) > 0 && _readable) return out.DoAccept(_fd4, filter);
  }
  return -1;
}

int HKSocketIPvx::DoAccept(int listener, std::function<bool(HKHostInfo_t&)> filter) {
  unsigned char address[128] = {0};
  socklen_t len = sizeof address;
  if (_fd >= 0) close(_fd);
  _fd = accept(listener, reinterpret_cast<sockaddr*>(address), &len);
  if (getnameinfo(reinterpret_cast<sockaddr*>(address), len, _peerHost, sizeof _peerHost, _peerPort,
                  sizeof _peerPort, NI_NUMERICHOST | NI_NUMERICSERV) != 0) {
    if (_fd >= 0) close(_fd);
    _fd = -1;
    return -1;
  }
  _accepted = true;
  HKHostInfo_t info(_peerHost, _peerPort);
  if (!filter(info)) {  // an empty filter raises std::bad_function_call
    close(_fd);
    _fd = -1;
  }
  return _fd;
}

long HKSocketIPvx::_poll(long ms, int fd) {
  _readable = false;
  pollfd p{};
  p.fd = fd;
  p.events = POLLIN | POLLPRI;
  const int r = poll(&p, 1, static_cast<int>(ms));
  if (r < 0) logLine(log_default, "poll() failed");
  if (r > 0 && (p.revents & POLLIN)) _readable = true;
  return r;
}

bool HKSocketIPvx::CharsWaiting() { return Poll(1) > 0 && _readable; }

int HKSocketIPvx::Send(const void* data, unsigned long n, unsigned long& written) {
  if (_fd < 0) {
    std::cerr << "no socket" << std::endl;
    written = 0;
    return 0;
  }
  // A peer that has gone must not end the process with SIGPIPE.
  const ssize_t r = send(_fd, data, n, MSG_NOSIGNAL);
  written = r < 0 ? 0 : static_cast<unsigned long>(r);
  return static_cast<unsigned long>(r) == n && r >= 0 ? 0 : 3;
}

int HKSocketIPvx::Receive(void* data, unsigned long n, long& got) {
  const ssize_t r = read(_fd, data, n);
  got = r;
  if (r == 0) _eos = true;
  if (r < 0) {
    const int e = errno;
    std::cerr << "HKSocketIPvx::Receive(): error in read (errno=" << e << ") " << std::strerror(e)
              << std::endl;
    _lastError = e;
    got = 0;
  }
  return 0;
}

int HKSocketIPvx::ReceiveNB(void* data, unsigned long n, long& got) {
  if (CharsWaiting()) return Receive(data, n, got);
  got = 0;
  return 0;
}

void HKSocketIPvx::Shutdown() {
  if (_fd >= 0) shutdown(_fd, SHUT_WR);
  if (_fd4 >= 0) shutdown(_fd4, SHUT_RDWR);
}

std::string HKSocketIPvx::Hoststring() { return _peerHost; }
std::string HKSocketIPvx::Portstring() { return _peerPort; }

// ---------------------------------------------------------------- HKSocket

HKSocket::HKSocket(int mode) : _mode(mode) { std::cout << "Socket created" << std::endl; }

HKSocket::~HKSocket() {
  if (_fd >= 0) {
    shutdown(_fd, SHUT_RDWR);
    close(_fd);
  }
  logLine(log_socket, "socket closed, port ", _port);
}

int HKSocket::BindAndListen(const char* addr, unsigned int& port, int backlog, int wait) {
  std::memset(&_addr, 0, sizeof _addr);
  _addr.sin_family = AF_INET;
  if (addr == nullptr)
    _addr.sin_addr.s_addr = htonl(INADDR_ANY);
  else
    inet_pton(AF_INET, addr, &_addr.sin_addr);
  _addr.sin_port = htons(static_cast<uint16_t>(port));
  int off = 0;  // address reuse is deliberately left off
  setsockopt(_fd, SOL_SOCKET, SO_REUSEADDR, &off, sizeof off);
  int rc = bind(_fd, reinterpret_cast<sockaddr*>(&_addr), sizeof _addr);
  while (wait != 0 && rc != 0) {
    if (errno == EADDRINUSE) logLine(log_default, "address in use");
    logLine(log_default, "waiting...");
    std::this_thread::sleep_for(std::chrono::seconds(1));
    rc = bind(_fd, reinterpret_cast<sockaddr*>(&_addr), sizeof _addr);
  }
  if (rc == 0 && port == 0) {
    sockaddr_in bound{};
    socklen_t len = sizeof bound;
    if (getsockname(_fd, reinterpret_cast<sockaddr*>(&bound), &len) == 0) port = ntohs(bound.sin_port);
  }
  _port = static_cast<int>(port);
  logLine(log_default, "bound at port number ", port);
  if (rc != 0) return rc;
  if (listen(_fd, backlog) != 0) return errno;
  _listening = true;
  return 0;
}

int HKSocket::BindAndListen(const std::string& addr, unsigned int& port, int backlog, int wait) {
  return BindAndListen(addr.c_str(), port, backlog, wait);
}

int HKSocket::DoAccept(int listener) {
  sockaddr_in peer{};
  socklen_t len = sizeof peer;
  const int fd = accept(listener, reinterpret_cast<sockaddr*>(&peer), &len);
  if (fd < 0) return fd;
  if (_fd >= 0) close(_fd);
  _fd = fd;
  char host[INET_ADDRSTRLEN] = {0};
  inet_ntop(AF_INET, &peer.sin_addr, host, sizeof host);
  // The port is logged as stored, in network byte order.
  logLine(log_socket, "connected with ", host, " on port ", peer.sin_port);
  int on = 1;
  socklen_t optlen = sizeof on;
  if (fcntl(_fd, F_SETFL, O_NONBLOCK) != 0 ||
      setsockopt(_fd, SOL_SOCKET, SO_KEEPALIVE, &on, sizeof on) != 0 ||
      getsockopt(_fd, SOL_SOCKET, SO_KEEPALIVE, &on, &optlen) != 0)
    logLine(log_default, "setsockopt() keepalive  failed");
  return _fd;
}

int HKSocket::Accept(HKSocket* listener) {
  if (listener == nullptr) return -1;
  return DoAccept(listener->_fd);
}

int HKSocket::Poll(int ms) {
  pollfd fds[200]{};
  fds[0].fd = _fd;
  fds[0].events = POLLIN | POLLPRI | POLLOUT | POLLERR | POLLHUP;
  const int r = poll(fds, 1, ms);
  if (r < 0) {
    logLine(log_default, "poll() failed");
    std::cout << "poll() failed" << std::endl;
  } else if (r > 0) {
    const short ev = fds[0].revents;
    if (ev & POLLIN) {
      _readable = true;
      std::cout << r << " poll() POLLIN" << std::endl;
    } else {
      if (ev & POLLHUP) std::cout << r << " poll() POLLHUP" << std::endl;
      if (ev & POLLOUT) std::cout << r << " poll() POLLOUT" << std::endl;
      if (ev & POLLPRI) std::cout << r << " poll() POLLPRI" << std::endl;
      if (ev & POLLERR) std::cout << r << " poll() POLLERR" << std::endl;
    }
  }
  return r;
}

bool HKSocket::Init_Sockaddr(const char* host, int port) {
  std::memset(&_addr, 0, sizeof _addr);
  _addr.sin_family = AF_INET;
  _addr.sin_port = htons(static_cast<uint16_t>(port));
  // getaddrinfo is the thread-safe form of the host look-up.
  addrinfo hints{};
  hints.ai_family = AF_INET;
  addrinfo* result = nullptr;
  if (host == nullptr || getaddrinfo(host, nullptr, &hints, &result) != 0 || result == nullptr) {
    errno = EHOSTUNREACH;
    std::perror("gethostbyname");
    return false;
  }
  _addr.sin_addr = reinterpret_cast<sockaddr_in*>(result->ai_addr)->sin_addr;
  freeaddrinfo(result);
  return true;
}

int HKSocket::Connect(const char* host, int port) {
  if (!Init_Sockaddr(host, port)) return 2;
  errno = 0;
  const int rc = connect(_fd, reinterpret_cast<sockaddr*>(&_addr), sizeof _addr);
  const int e = errno;
  if (rc != 0 && e != EINPROGRESS && e != 0) {
    _lastError = e;
    logLine(log_default, "connect error (", _lastError, ", ", e, ":", std::strerror(e), ")");
    return 2;
  }
  logLine(log_default, "errno=", e);
  _eos = false;
  return 0;
}

int HKSocket::Connect(const std::string& host, int port) { return Connect(host.c_str(), port); }

bool HKSocket::socketwritable() {
  if (_fd < 0 || _fd >= FD_SETSIZE) return false;
  fd_set w;
  FD_ZERO(&w);
  FD_SET(_fd, &w);
  timeval tv{0, 1};
  const int r = select(_fd + 1, nullptr, &w, nullptr, &tv);
  if (r <= 0) return false;
  int err = 0;
  socklen_t len = sizeof err;
  return getsockopt(_fd, SOL_SOCKET, SO_ERROR, &err, &len) == 0;
}

int HKSocket::CharsWaiting() {
  if (_fd < 0 || _fd >= FD_SETSIZE) return -1;
  fd_set r;
  FD_ZERO(&r);
  FD_SET(_fd, &r);
  timeval tv{0, 10000};
  return select(_fd + 1, &r, nullptr, nullptr, &tv);
}

// ---------------------------------------------------------------- HKUDPSocket

int HKUDPSocket::CreateSocket() {
  if (_mode != 0) {
    _fd = -1;
    return -1;
  }
  _fd = socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
  if (_fd < 0) {
    _message = "Failed to create socket";
    _lastError = 1;
  }
  fcntl(_fd, F_SETFL, O_NONBLOCK);
  return _fd;
}

int HKUDPSocket::Send(const void* data, int n, int* written) {
  const ssize_t r =
      sendto(_fd, data, static_cast<size_t>(n), 0, reinterpret_cast<sockaddr*>(&_addr), sizeof _addr);
  if (written) *written = r < 0 ? 0 : static_cast<int>(r);
  if (r == n) return 0;
  _lastError = errno;
  return 3;
}

int HKUDPSocket::Receive(void* data, int n, int& got) {
  const ssize_t r = recvfrom(_fd, data, static_cast<size_t>(n), 0, nullptr, nullptr);
  got = static_cast<int>(r);
  if (r == 0) _eos = true;
  if (r < 0) {
    _lastError = errno;
    got = 0;
  }
  return 0;
}
