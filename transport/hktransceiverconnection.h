// The memory of one TCP connection: the bytes that came in and were not yet
// taken, the buffers waiting to go out, two signal flags, a time-out and an
// identity. It never opens or closes a socket: the network jobs of
// HKTransceiver pass the socket to each doSend and doReceive.
//
// Threads: the transceiver's receive job calls doReceive, its send job (and
// the first attempt right after a response was queued) calls doSend, a
// server's buffer job calls getBytesIn and sputn. Three locks: the job lock
// (TLS session, clean-up, info, task), the input lock and the output lock;
// only the destructor takes more than one, all or none.
//
// The TLS pair: HKTransceiverConnection_SSLAddon overrides only doSend and
// doReceive; HKTransceiverServerL1_SSLAddon owns the TLS context and makes
// connections of that type. Everything above sees plain bytes.
#pragma once

#include <openssl/ssl.h>

#include <atomic>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <string>

#include <toviktwo/foundation/hkbuffers.h>
#include <toviktwo/scheduler/hkjob.h>
#include <toviktwo/transport/hkservercallback.h>
#include <toviktwo/transport/hksocket.h>

class HKTransceiver;
class HKXServerHeader;

class HKTransceiverConnection : public HKJobWithTimeout {
 public:
  using CleanUp = std::function<void(HKTransceiver&, HKTransceiverConnection*)>;

  // Idle connections are retired by the transceiver's housekeeping after this.
  static constexpr long kTimeoutUs = 115000000;
  // Bytes read from a plain socket per call.
  static constexpr unsigned long kPlainReadSize = 2048;

  HKTransceiverConnection(HKTransceiver& transceiver, const std::string& assign,
                          const std::string& hookService, HKServerCallback_t& info, CleanUp cleanUp);
  // Deletes the buffers still waiting to go out.
  ~HKTransceiverConnection() override;

  // ---- identity
  // The job identifier of the server that owns this connection.
  const std::string& assign() const { return _assign; }
  // The hook service this connection was made for, else empty.
  const std::string& getAssotiatedHookService() const { return _hookService; }
  // The description ("remoteaddress", ...), copied under the job lock.
  HKServerCallback_t info();
  // The combined task last joined, empty after exitTask.
  std::string getCtask();
  bool joinTask(const std::string& name) override;
  void exitTask(const std::string& name) override;

  // ---- state
  bool signaledIn() const { return _signaledIn.load(); }
  bool signaledOut() const { return _signaledOut.load(); }
  // True while the send job has work here (TLS adds a read that waits for room).
  virtual bool needsSendRound() { return signaledOut(); }
  // A hook run before each read; the base does nothing.
  void bufferPrepare() { _receive(nullptr, 0); }
  // Empties both sides and leaves the joined task: ready for the next request.
  virtual void clear();
  // Marks the time-out expired and runs the clean-up (which removes the socket).
  virtual void doShutdown();
  // True from doShutdown on; before it, as for any job with a time-out.
  bool Timeout() override;
  void cleanDeps();

  // ---- writing
  // Queues a copy of `n` bytes; `written` becomes `n`; the result is 0.
  virtual int sputn(const char* data, unsigned long n, unsigned long& written);
  // Takes the buffer over and leaves a new empty one in `*p`; an empty or
  // missing buffer is ignored. The result is 0.
  virtual int sputn(HKStringBuf** p);
  // The readable content of the first waiting buffer ("" with none).
  virtual void _getBufferCopy(std::string& out);
  // Skips `n` bytes of the first buffer only; a rest beyond it is dropped.
  virtual void _discardBytesWritten(unsigned long n);
  // Writes what is waiting, without blocking; the result does not matter.
  virtual int doSend(HKSocketIPvx& socket);

  // ---- reading
  // Appends bytes to the input, restarts the time-out and signals the server.
  virtual void _receive(const char* data, unsigned long n);
  // Reads what the socket has. 0 or less: the connection is dead.
  virtual int doReceive(HKSocketIPvx& socket);
  // Moves every readable input byte into `dest`; returns the count.
  virtual unsigned long getBytesIn(HKStringBuf& dest);

  // ---- limits (additions beside the message layer)
  // Kept until the connection dies; the server's count of open connections.
  void holdSlot(std::shared_ptr<void> slot) { _slot = std::move(slot); }

 protected:
  bool _messagereceive(HKJobMessage&) override { return true; }
  // Skips `n` bytes across the leading buffers; caller holds the output lock.
  void _discardAcrossNL(unsigned long n);
  // Whether the first buffer (or none) leaves nothing to send; output lock held.
  void _updateSignalOutNL();

  std::string _assign;
  std::string _hookService;
  HKTransceiver& _transceiver;

  std::mutex _input_mutex;
  HKStringBuf _input;  // _input_mutex
  std::atomic<bool> _signaledIn{false};

  std::mutex _output_mutex;
  std::list<HKStringBuf*> _output;  // _output_mutex; owned
  std::atomic<bool> _signaledOut{false};
  // One writer at a time: the send job and a direct first attempt.
  std::mutex _send_mutex;

  CleanUp _cleanUp;
  HKServerCallback_t _info;  // job lock
  std::string _ctask;        // job lock

  std::shared_ptr<void> _slot;
  std::atomic<bool> _expired{false};
};

// A connection with TLS on the wire.
class HKTransceiverConnection_SSLAddon : public HKTransceiverConnection {
 public:
  // Bytes per TLS read and per TLS write.
  static constexpr int kTLSChunk = 16384;
  // Rounds of one doSend or doReceive call.
  static constexpr int kTLSRounds = 100;

  // Server: one blocking SSL_accept (bounded by the socket's receive time-out).
  // Client: a non-blocking handshake of at most 60 seconds.
  HKTransceiverConnection_SSLAddon(HKTransceiver& transceiver, const std::string& assign,
                                   const std::string& hookService, HKServerCallback_t& info, CleanUp cleanUp,
                                   SSL_CTX* ctx, int fd, bool isServer);
  ~HKTransceiverConnection_SSLAddon() override;

  int doSend(HKSocketIPvx& socket) override;
  int doReceive(HKSocketIPvx& socket) override;
  bool needsSendRound() override;

  // ---- for tests
  bool writeWantsRead() const { return _writeWantsRead; }
  bool writeWantsWrite() const { return _writeWantsWrite; }
  void setWriteWantsRead(bool v) { _writeWantsRead = v; }
  int descriptor() const { return _fd; }
  const std::string& pending() const { return _pending; }

 protected:
  int _doSendReceive(HKSocketIPvx& socket, bool send);
  void _doSendA();
  int _doReceiveA();
  void _clientHandshake(int fd);

  SSL* _ssl = nullptr;
  int _fd = -1;
  std::string _pending;
  std::atomic<bool> _writeWantsRead{false};
  std::atomic<bool> _writeWantsWrite{false};
  std::atomic<bool> _readWantsRead{false};
  std::atomic<bool> _readWantsWrite{false};
};

// The TLS side of a server (or of a client): the context and its key pair.
class HKTransceiverServerL1_SSLAddon {
 public:
  // A TLS handshake that has not finished after this time gives up.
  static constexpr long kHandshakeTimeoutMs = 10000;

  // Client side: no files.
  HKTransceiverServerL1_SSLAddon();
  // Server side: "cacertificate" and "privatekey" of the header, PEM files.
  // Raises HKException_SSL when either is missing or unusable.
  explicit HKTransceiverServerL1_SSLAddon(HKXServerHeader& header);
  virtual ~HKTransceiverServerL1_SSLAddon();
  HKTransceiverServerL1_SSLAddon(const HKTransceiverServerL1_SSLAddon&) = delete;
  HKTransceiverServerL1_SSLAddon& operator=(const HKTransceiverServerL1_SSLAddon&) = delete;

  // A TLS connection on the socket's descriptor (the IPv4 one when the first is negative).
  virtual std::shared_ptr<HKTransceiverConnection> _createConnection(HKTransceiver& transceiver,
                                                                     const std::string& id,
                                                                     const std::string& hookService,
                                                                     HKServerCallback_t& info,
                                                                     std::shared_ptr<HKSocketIPvx>& socket);
  // Milliseconds a server-side handshake may take (option "tls_handshake_timeout_ms").
  long handshakeTimeout() const { return _handshakeTimeoutMs; }
  // Live add-ons in the process.
  static long liveAddons() { return _ssl_initialized.load(); }

 protected:
  SSL_CTX* _ctx = nullptr;
  std::string _caCertificate;
  std::string _privateKey;
  bool _isServer = false;
  long _handshakeTimeoutMs = kHandshakeTimeoutMs;

  static std::atomic<long> _ssl_initialized;
};

// The clean-up given to server connections: removes the socket from the
// transceiver once the output already queued has left.
void HKRemoveConnectionSocket(HKTransceiver& transceiver, HKTransceiverConnection* connection);
