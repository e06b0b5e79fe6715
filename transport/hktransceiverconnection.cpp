#include <toviktwo/transport/hktransceiverconnection.h>

#include <fcntl.h>
#include <openssl/err.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/uio.h>

#include <cerrno>
#include <chrono>

#include <toviktwo/foundation/hkexception.h>
#include <toviktwo/foundation/hkstringtools.h>
#include <toviktwo/transport/hksigpipehold.h>
#include <toviktwo/transport/hktransceivercore.h>
#include <toviktwo/transport/hktransportjobs.h>
#include <toviktwo/transport/hkxheader.h>

namespace {

// Buffers gathered into one plain write: head and body leave together.
constexpr int kMaxGather = 16;
// Client handshake: overall limit, and the waits of its two retry codes.
constexpr auto kConnectDeadline = std::chrono::seconds(60);
constexpr int kWantReadPollMs = 24;
constexpr int kWantWritePollMs = 48000;

int descriptorOf(HKSocketIPvx& socket) {
  return socket.getDescriptor() >= 0 ? socket.getDescriptor() : socket.getDescriptor4();
}

bool wouldBlock(int e) { return e == EAGAIN || e == EWOULDBLOCK || e == EINTR; }

void setNonBlocking(int fd) {
  const int flags = fcntl(fd, F_GETFL);
  if (flags >= 0) fcntl(fd, F_SETFL, flags | O_NONBLOCK);
}

void setSocketTimeouts(int fd, long ms) {
  timeval tv{};
  tv.tv_sec = ms / 1000;
  tv.tv_usec = (ms % 1000) * 1000;
  setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &tv, sizeof tv);
  setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &tv, sizeof tv);
}

}  // namespace

void HKRemoveConnectionSocket(HKTransceiver& transceiver, HKTransceiverConnection* connection) {
  transceiver._removeWhenSent(connection->getID());
}

// ---------------------------------------------------------------- plain connection

HKTransceiverConnection::HKTransceiverConnection(HKTransceiver& transceiver, const std::string& assign,
                                                 const std::string& hookService, HKServerCallback_t& info,
                                                 CleanUp cleanUp)
    : HKJobWithTimeout(kTimeoutUs),
      _assign(assign),
      _hookService(hookService),
      _transceiver(transceiver),
      _cleanUp(std::move(cleanUp)),
      _info(info) {}

HKTransceiverConnection::~HKTransceiverConnection() {
  std::scoped_lock locks(_job_mutex, _input_mutex, _output_mutex);
  for (HKStringBuf* b : _output) delete b;
  _output.clear();
}

void HKTransceiverConnection::leaveBus() {
  _exitTasks();
  std::lock_guard<std::recursive_mutex> wait(_job_mutex);
}

HKServerCallback_t HKTransceiverConnection::info() {
  std::lock_guard<std::recursive_mutex> g(_job_mutex);
  return _info;
}

std::string HKTransceiverConnection::getCtask() {
  std::lock_guard<std::recursive_mutex> g(_job_mutex);
  return _ctask;
}

bool HKTransceiverConnection::joinTask(const std::string& name) {
  {
    std::lock_guard<std::recursive_mutex> g(_job_mutex);
    _ctask = name;
  }
  return HKJob::joinTask(name);
}

void HKTransceiverConnection::exitTask(const std::string& name) {
  {
    std::lock_guard<std::recursive_mutex> g(_job_mutex);
    _ctask.clear();
  }
  HKJob::exitTask(name);
}

bool HKTransceiverConnection::Timeout() {
  if (_expired.load()) return true;
  return HKJobWithTimeout::Timeout();
}

void HKTransceiverConnection::clear() {
  {
    std::lock_guard<std::mutex> in(_input_mutex);
    _exitTask(_lastJoinedTask);
    _input.clear();
    _signaledIn = false;
  }
  std::lock_guard<std::mutex> out(_output_mutex);
  for (HKStringBuf* b : _output) delete b;
  // The emptied entries are removed rather than kept as null ones.
  _output.clear();
  _signaledOut = false;
}

void HKTransceiverConnection::doShutdown() { cleanDeps(); }

void HKTransceiverConnection::cleanDeps() {
  std::lock_guard<std::recursive_mutex> g(_job_mutex);
  _expired = true;
  if (_cleanUp) _cleanUp(_transceiver, this);
}

// ---- writing

int HKTransceiverConnection::sputn(const char* data, unsigned long n, unsigned long& written) {
  _resetTimer();
  written = n;
  auto* b = new HKStringBuf();
  b->sputn(data, static_cast<std::streamsize>(n));
  std::lock_guard<std::mutex> out(_output_mutex);
  _output.push_back(b);
  _signaledOut = true;
  return 0;
}

int HKTransceiverConnection::sputn(HKStringBuf** p) {
  _resetTimer();
  if (p == nullptr || *p == nullptr || (*p)->getSizeReadable() == 0) return 0;
  std::lock_guard<std::mutex> out(_output_mutex);
  _output.push_back(*p);
  *p = new HKStringBuf();
  _signaledOut = true;
  return 0;
}

void HKTransceiverConnection::_getBufferCopy(std::string& out) {
  std::lock_guard<std::mutex> o(_output_mutex);
  out.clear();
  if (_output.empty() || _output.front() == nullptr) return;
  HKStringBuf* b = _output.front();
  out.assign(b->getStartReadout(), b->getSizeReadable());
}

void HKTransceiverConnection::_updateSignalOutNL() {
  if (_output.empty() || _output.front() == nullptr || _output.front()->getSizeReadable() == 0)
    _signaledOut = false;
}

void HKTransceiverConnection::_discardBytesWritten(unsigned long n) {
  std::lock_guard<std::mutex> o(_output_mutex);
  if (!_output.empty() && _output.front() != nullptr) {
    HKStringBuf* b = _output.front();
    // Only the first buffer: a rest of `n` beyond it is dropped. Pinned by
    // tests/transport/test_connection.cpp.
    b->consume(n);
    if (b->getSizeReadable() == 0) {
      delete b;
      _output.pop_front();
    }
  }
  _updateSignalOutNL();
}

void HKTransceiverConnection::_discardAcrossNL(unsigned long n) {
  while (!_output.empty()) {
    HKStringBuf* b = _output.front();
    const unsigned long readable = b == nullptr ? 0 : b->getSizeReadable();
    if (readable > n) {
      b->consume(n);
      break;
    }
    n -= readable;
    delete b;
    _output.pop_front();
  }
  _updateSignalOutNL();
}

int HKTransceiverConnection::doSend(HKSocketIPvx& socket) {
  // One non-blocking gathered write of the leading buffers: a head and a
  // small body leave in one segment, and a slow peer never holds the send
  // job. What the socket does not take stays queued, in order.
  const int fd = descriptorOf(socket);
  std::lock_guard<std::mutex> s(_send_mutex);
  std::lock_guard<std::mutex> o(_output_mutex);
  iovec iov[kMaxGather];
  int count = 0;
  for (HKStringBuf* b : _output) {
    if (b == nullptr || b->getSizeReadable() == 0) continue;
    iov[count].iov_base = b->getStartReadout();
    iov[count].iov_len = b->getSizeReadable();
    if (++count == kMaxGather) break;
  }
  if (count == 0 || fd < 0) {
    _updateSignalOutNL();
    return 0;
  }
  msghdr message{};
  message.msg_iov = iov;
  message.msg_iovlen = static_cast<size_t>(count);
  const ssize_t r = sendmsg(fd, &message, MSG_NOSIGNAL | MSG_DONTWAIT);
  if (r > 0) {
    _discardAcrossNL(static_cast<unsigned long>(r));
    return static_cast<int>(r);
  }
  return r < 0 && !wouldBlock(errno) ? -1 : 0;
}

// ---- reading

void HKTransceiverConnection::_receive(const char* data, unsigned long n) {
  if (data == nullptr || n == 0) return;
  _resetTimer();
  {
    std::lock_guard<std::mutex> in(_input_mutex);
    _input.sputn(data, static_cast<std::streamsize>(n));
    _signaledIn = true;
  }
  _transceiver.signal_client(_assign, _jobID);
}

int HKTransceiverConnection::doReceive(HKSocketIPvx& socket) {
  char data[kPlainReadSize];
  const int fd = descriptorOf(socket);
  if (fd < 0) return 0;
  // Non-blocking: a wake-up with nothing to read keeps the connection.
  const ssize_t r = recv(fd, data, sizeof data, MSG_DONTWAIT);
  if (r > 0) {
    _receive(data, static_cast<unsigned long>(r));
    return static_cast<int>(r);
  }
  if (r < 0 && wouldBlock(errno)) return 1;
  return 0;
}

unsigned long HKTransceiverConnection::getBytesIn(HKStringBuf& dest) {
  std::lock_guard<std::mutex> in(_input_mutex);
  const unsigned long n = _input.getSizeReadable();
  if (n > 0) dest.sputn(_input.getStartReadout(), static_cast<std::streamsize>(n));
  // A fresh buffer: a long-lived connection does not keep what it once read.
  _input.clear();
  _signaledIn = false;
  return n;
}

// ---------------------------------------------------------------- TLS connection

HKTransceiverConnection_SSLAddon::HKTransceiverConnection_SSLAddon(HKTransceiver& transceiver,
                                                                   const std::string& assign,
                                                                   const std::string& hookService,
                                                                   HKServerCallback_t& info, CleanUp cleanUp,
                                                                   SSL_CTX* ctx, int fd, bool isServer)
    : HKTransceiverConnection(transceiver, assign, hookService, info, std::move(cleanUp)) {
  _ssl = SSL_new(ctx);
  if (_ssl == nullptr) throw HKException("Error getting SSL context", __LINE__, "src");
  SSL_set_mode(_ssl, SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
  SSL_set_fd(_ssl, fd);
  if (isServer) {
    ERR_clear_error();
    // One blocking call in the accept job; its result is not examined (a
    // failed handshake shows at the first read). The socket's time-outs,
    // set by the caller, bound it.
    HKSigpipeHold hold;  // a peer gone mid-handshake must not end the program
    SSL_accept(_ssl);
    return;
  }
  try {
    _clientHandshake(fd);
  } catch (...) {
    SSL_free(_ssl);
    _ssl = nullptr;
    throw;
  }
}

void HKTransceiverConnection_SSLAddon::_clientHandshake(int fd) {
  HKSigpipeHold hold;
  setNonBlocking(fd);
  const auto deadline = std::chrono::steady_clock::now() + kConnectDeadline;
  while (std::chrono::steady_clock::now() < deadline) {
    ERR_clear_error();
    const int r = SSL_connect(_ssl);
    const int e = SSL_get_error(_ssl, r);
    if (e == SSL_ERROR_NONE) {
      _fd = fd;
      return;
    }
    pollfd p{};
    p.fd = fd;
    if (e == SSL_ERROR_WANT_READ) {
      p.events = POLLIN | POLLPRI;
      if (poll(&p, 1, kWantReadPollMs) < 0) throw HKException("Error getting SSL read", __LINE__, "src");
    } else if (e == SSL_ERROR_WANT_WRITE) {
      // Bounded by poll (a select would write out of bounds beyond 1024 descriptors).
      p.events = POLLIN;
      if (poll(&p, 1, kWantWritePollMs) <= 0) throw HKException("Error getting SSL write", __LINE__, "src");
    } else {
      break;  // any other failure ends the handshake with the exception below
    }
  }
  throw HKException("Error getting SSL_connect", __LINE__, "src");
}

HKTransceiverConnection_SSLAddon::~HKTransceiverConnection_SSLAddon() {
  std::lock_guard<std::recursive_mutex> g(_job_mutex);
  if (_ssl != nullptr) SSL_free(_ssl);
  _ssl = nullptr;
}

bool HKTransceiverConnection_SSLAddon::needsSendRound() { return signaledOut() || _readWantsWrite.load(); }

int HKTransceiverConnection_SSLAddon::doSend(HKSocketIPvx& socket) { return _doSendReceive(socket, true); }

int HKTransceiverConnection_SSLAddon::doReceive(HKSocketIPvx& socket) {
  return _doSendReceive(socket, false);
}

int HKTransceiverConnection_SSLAddon::_doSendReceive(HKSocketIPvx&, bool send) {
  std::lock_guard<std::recursive_mutex> g(_job_mutex);
  // TLS writes with plain write(2): a peer that has gone raises SIGPIPE.
  HKSigpipeHold hold;
  if (_ssl == nullptr) return -1;
  // A write that waits for incoming data is retried from the receive side,
  // and then answers 0, which removes the socket: deliberately, the flag is
  // rare and a client's retry is cheap. Pinned by tests/transport/test_connection.cpp.
  if ((send || _writeWantsRead) && !_readWantsWrite) {
    _doSendA();
    return 0;
  }
  return _doReceiveA();
}

void HKTransceiverConnection_SSLAddon::_doSendA() {
  for (int round = 0; round < kTLSRounds; ++round) {
    if (_writeWantsRead || _writeWantsWrite) {
      // A retry must offer the same bytes again.
      _writeWantsRead = false;
      _writeWantsWrite = false;
    } else {
      // The leading buffers up to one record: a head and a small body go
      // out as one record.
      std::lock_guard<std::mutex> o(_output_mutex);
      _pending.clear();
      for (HKStringBuf* b : _output) {
        if (b == nullptr) continue;
        const unsigned long room = kTLSChunk - _pending.size();
        _pending.append(b->getStartReadout(), std::min<unsigned long>(room, b->getSizeReadable()));
        if (_pending.size() >= static_cast<unsigned long>(kTLSChunk)) break;
      }
    }
    const int count = static_cast<int>(std::min<size_t>(_pending.size(), kTLSChunk));
    if (count == 0) {
      std::lock_guard<std::mutex> o(_output_mutex);
      _updateSignalOutNL();
      if (!_signaledOut) return;
      continue;
    }
    ERR_clear_error();
    const int r = SSL_write(_ssl, _pending.data(), count);
    if (r < 1) {
      const int e = SSL_get_error(_ssl, r);
      if (e == SSL_ERROR_WANT_READ) _writeWantsRead = true;
      if (e == SSL_ERROR_WANT_WRITE) _writeWantsWrite = true;
      return;
    }
    {
      std::lock_guard<std::mutex> o(_output_mutex);
      _discardAcrossNL(static_cast<unsigned long>(r));
    }
    if (r < count) return;
  }
}

int HKTransceiverConnection_SSLAddon::_doReceiveA() {
  _readWantsRead = false;
  _readWantsWrite = false;
  char data[kTLSChunk];
  int total = 0;
  for (int round = 0; round < kTLSRounds; ++round) {
    ERR_clear_error();
    const int r = SSL_read(_ssl, data, kTLSChunk);
    if (r < 0) {
      const int e = SSL_get_error(_ssl, r);
      if (e == SSL_ERROR_WANT_READ) {
        _readWantsRead = true;
        return 1;
      }
      if (e == SSL_ERROR_WANT_WRITE) {
        _readWantsWrite = true;
        return 1;
      }
      if (e == SSL_ERROR_NONE) return total;
      return -1;
    }
    if (r == 0) return SSL_has_pending(_ssl);
    total += r;
    _receive(data, static_cast<unsigned long>(r));
    if (r < kTLSChunk) return total;
  }
  return 1;
}

// ---------------------------------------------------------------- TLS context

std::atomic<long> HKTransceiverServerL1_SSLAddon::_ssl_initialized{0};

namespace {

void initialiseTLSLibrary() {
  OPENSSL_init_ssl(0, nullptr);
  OPENSSL_init_ssl(OPENSSL_INIT_LOAD_SSL_STRINGS | OPENSSL_INIT_LOAD_CRYPTO_STRINGS, nullptr);
  // Still called, as the library's first add-on has always done; OpenSSL 3
  // marks it deprecated (it does nothing there).
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
  ERR_load_SSL_strings();
#pragma GCC diagnostic pop
}

}  // namespace

HKTransceiverServerL1_SSLAddon::HKTransceiverServerL1_SSLAddon() {
  if (_ssl_initialized.fetch_add(1) == 0) initialiseTLSLibrary();
  _ctx = SSL_CTX_new(TLS_client_method());
  if (_ctx == nullptr) {
    _ssl_initialized.fetch_sub(1);
    throw HKException_SSL("problem with SSL method initialization (client)", __LINE__, "src");
  }
  // Outgoing connections stay at TLS 1.2: a TLS 1.3 server sends its session
  // tickets after the handshake, and a write that meets them waiting ends the
  // connection (see _doSendReceive), so that a kept-alive connection of the
  // pool would not be reused. Pinned by tests/transport/test_webclient_nginx.cpp.
  SSL_CTX_set_max_proto_version(_ctx, TLS1_2_VERSION);
}

HKTransceiverServerL1_SSLAddon::HKTransceiverServerL1_SSLAddon(HKXServerHeader& header) : _isServer(true) {
  if (_ssl_initialized.fetch_add(1) == 0) initialiseTLSLibrary();
  _caCertificate = header.getOption("cacertificate", "");
  _privateKey = header.getOption("privatekey", "");
  _handshakeTimeoutMs = static_cast<long>(
      to_unumber(header.getOption("tls_handshake_timeout_ms", std::to_string(kHandshakeTimeoutMs)),
                 kHandshakeTimeoutMs));
  const char* failure = nullptr;
  if (_caCertificate.empty() || _privateKey.empty()) {
    failure = "can't find ca certificate and/or private key";
  } else if ((_ctx = SSL_CTX_new(TLS_server_method())) == nullptr) {
    failure = "problem with SSL method initialization";
  } else if (SSL_CTX_use_certificate_file(_ctx, _caCertificate.c_str(), SSL_FILETYPE_PEM) != 1 ||
             SSL_CTX_use_PrivateKey_file(_ctx, _privateKey.c_str(), SSL_FILETYPE_PEM) != 1) {
    failure = "problem with SSL key pair";
  }
  if (failure == nullptr) return;
  if (_ctx != nullptr) SSL_CTX_free(_ctx);
  _ctx = nullptr;
  _ssl_initialized.fetch_sub(1);
  ERR_clear_error();
  throw HKException_SSL(failure, __LINE__, "src");
}

HKTransceiverServerL1_SSLAddon::~HKTransceiverServerL1_SSLAddon() {
  if (_ctx != nullptr) SSL_CTX_free(_ctx);
  _ssl_initialized.fetch_sub(1);
}

std::shared_ptr<HKTransceiverConnection> HKTransceiverServerL1_SSLAddon::_createConnection(
    HKTransceiver& transceiver, const std::string& id, const std::string& hookService,
    HKServerCallback_t& info, std::shared_ptr<HKSocketIPvx>& socket) {
  const int fd = descriptorOf(*socket);
  // The handshake blocks the accept job: the socket's time-outs bound it, so
  // that a client that sends nothing cannot hold the server.
  if (_isServer) setSocketTimeouts(fd, _handshakeTimeoutMs);
  auto connection = HKMakeTransportJob<HKTransceiverConnection_SSLAddon>(
      transceiver, id, hookService, info, HKRemoveConnectionSocket, _ctx, fd, _isServer);
  if (_isServer) {
    setSocketTimeouts(fd, 0);
    // From here on no TLS call may wait: the network jobs serve every connection.
    setNonBlocking(fd);
  }
  return connection;
}
