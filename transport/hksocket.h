// Sockets: the dual-stack listener / stream socket of the transport, and the
// older IPv4 socket pair kept for applications.
//
// Failures are return codes (0 success, 1 bind failure, 2 connect failure,
// 3 short write), with texts on the error stream or the debug log.
#pragma once

#include <netinet/in.h>

#include <functional>
#include <string>

// What a host filter sees of a peer: numeric host and numeric port.
struct HKHostInfo_t {
  HKHostInfo_t(std::string h, std::string p) : host(std::move(h)), port(std::move(p)) {}
  std::string host;
  std::string port;
};

// Either a listener with up to two descriptors (a dual-stack IPv6 one and an
// IPv4 one) or one connected stream. Blocking throughout.
class HKSocketIPvx {
 public:
  explicit HKSocketIPvx(bool unused = false);
  HKSocketIPvx(const HKSocketIPvx&) = delete;
  HKSocketIPvx& operator=(const HKSocketIPvx&) = delete;
  // Shuts down (the stream for writing, the IPv4 listener both ways) and closes.
  virtual ~HKSocketIPvx();

  // Binds the wildcard addresses whatever `host` says. A `port` of 0 comes
  // back as the port the system chose. 0 when a descriptor listens, else 1.
  int BindAndListen(std::string host, unsigned int& port, int backlog, int unused);
  // 0 or 2.
  int Connect(std::string host, int port);
  // Polls the listening descriptors (each up to `timeoutMs`) and accepts into
  // `out`; the new descriptor or -1.
  int Accept(HKSocketIPvx& out, long timeoutMs, std::function<bool(HKHostInfo_t&)> filter);
  int DoAccept(int listener, std::function<bool(HKHostInfo_t&)> filter);

  long Poll(long ms) { return _poll(ms, _fd); }
  long Poll6(long ms) { return _poll(ms, _fd); }
  long Poll4(long ms) { return _poll(ms, _fd4); }
  bool CharsWaiting();

  // 0 on a full write, 3 when fewer bytes were written.
  virtual int Send(const void* data, unsigned long n, unsigned long& written);
  // Always 0; the outcome is in `got` (0 at end of stream or on error).
  virtual int Receive(void* data, unsigned long n, long& got);
  // Receives only when bytes are waiting; otherwise `got` is 0.
  virtual int ReceiveNB(void* data, unsigned long n, long& got);
  void Shutdown();
  virtual std::string Hoststring();
  virtual std::string Portstring();

  int getPort() const { return _port; }
  std::string& getName() { return _name; }
  bool isListening() const { return _listening; }
  bool isEndOfStream() const { return _eos; }
  bool isReadable() const { return _readable; }
  int lastError() const { return _lastError; }
  bool isAccepted() const { return _accepted; }
  int getDescriptor() const { return _fd; }
  int getDescriptor4() const { return _fd4; }

 private:
  long _poll(long ms, int fd);

  int32_t _port = -1;
  std::string _name;
  bool _listening = false;
  bool _eos = true;
  bool _readable = false;
  int32_t _lastError = 0;
  bool _accepted = false;
  int32_t _fd = -1;
  int32_t _fd4 = -1;
  char _peerHost[1025] = {0};
  char _peerPort[32] = {0};
};

// The older IPv4 socket. Derived classes create the descriptor.
class HKSocket {
 public:
  explicit HKSocket(int mode);
  HKSocket(const HKSocket&) = delete;
  HKSocket& operator=(const HKSocket&) = delete;
  virtual int CreateSocket() = 0;
  virtual ~HKSocket();
  virtual int Send(const void* data, int n, int* written) = 0;
  virtual int Receive(void* data, int n, int& got) = 0;
  virtual std::string Hoststring() { return std::string(); }
  virtual std::string Portstring() { return std::string(); }

  // Binds `addr` (the wildcard for null) and listens. With `wait` not 0 a
  // failed bind is retried every second for as long as it takes.
  int BindAndListen(const char* addr, unsigned int& port, int backlog, int wait);
  int BindAndListen(const std::string& addr, unsigned int& port, int backlog, int wait);
  int DoAccept(int listener);
  // -1 for null; otherwise this object accepts on the other's descriptor.
  int Accept(HKSocket* listener);
  int Poll(int ms);
  int Connect(const char* host, int port);
  int Connect(const std::string& host, int port);
  // Resolves `host` into the stored address; false when it cannot.
  bool Init_Sockaddr(const char* host, int port);
  bool socketwritable();
  int CharsWaiting();
  void ErrorMessage(std::string message) { _message = std::move(message); }

  int getDescriptor() const { return _fd; }
  int getPort() const { return _port; }
  const std::string& getMessage() const { return _message; }
  int lastError() const { return _lastError; }
  bool isListening() const { return _listening; }
  bool isEndOfStream() const { return _eos; }
  bool isReadable() const { return _readable; }

 protected:
  int _fd = -1;
  sockaddr_in _addr{};
  int _lastError = 0;
  std::string _message;
  bool _listening = false;
  bool _eos = false;
  int _mode;
  bool _readable = false;
  int _port = -1;
};

// An IPv4 datagram socket (mode 0; any other mode makes no descriptor).
class HKUDPSocket : public HKSocket {
 public:
  explicit HKUDPSocket(int mode = 0) : HKSocket(mode) {}
  int CreateSocket() override;
  // Sends to the stored address; 0 when all `n` bytes went, else 3.
  int Send(const void* data, int n, int* written) override;
  // Always 0; `got` holds the bytes received (0 on error).
  int Receive(void* data, int n, int& got) override;
};
