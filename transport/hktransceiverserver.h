// The server ladder: turns bytes on connections into messages for a client,
// and a client's messages into bytes.
//
//   HKTransceiverServer      a job with a time-out, a queue of "connection has
//                            new bytes" notes and the buffer job serving it;
//   HKTransceiverServerL0    job messages (kind 2, kind 8) and initService;
//   HKTransceiverServerL0Socket  the accept job (or one outgoing connection)
//                            and the connection factory;
//   HKTransceiverServerL1HTTP    HTTP framing, limits and the access log;
//   HKTransceiverServerL1TOVIK   the same on its own port (protocol 6);
//   HKTransceiverServerL1HTTPS   the same over TLS;
//   HKTransceiverServerL1DirectSocket  no framing: one arrival, one message.
//
// Threads: one accept job and one buffer job per server. The buffer job does
// all parsing and calls the client, so the requests of one server run one
// after another. An exception from a client's handler closes that
// connection; the buffer job serves on.
//
// Limits (server options, each with a default that keeps every browser
// request working): "max_head_bytes" (65536), "max_body_bytes" (64 MiB),
// "max_connections" (10000), "head_timeout_ms" (30000: a head must be
// complete within this time of its first byte), and for HTTPS
// "tls_handshake_timeout_ms" (10000). A request over a limit closes its
// connection like any bad message; the other connections are served on.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include <toviktwo/scheduler/hkgavetascheduler2.h>
#include <toviktwo/scheduler/hkjob.h>
#include <toviktwo/transport/hkprotocols.h>
#include <toviktwo/transport/hkservercallback.h>
#include <toviktwo/transport/hksocket.h>
#include <toviktwo/transport/hktransceiverconnection.h>

class HKTransceiver;
class HKTransceiverClient;
class HKXHeader;
class HKXServerHeader;

class HKTransceiverServer : public HKJobWithTimeout {
 public:
  // A client-side server retires after this long without work.
  static constexpr long kTimeoutUs = 120000000;
  // The buffer job's longest wait for a signal.
  static constexpr int kBufferWaitMs = 500;

  HKTransceiverServer(HKGavetaScheduler2& scheduler, const std::string& clientId, const std::string& serverId,
                      const std::string& hookService, HKServerCallbackFunction callback);
  // Stops the buffer job and waits until it has ended.
  ~HKTransceiverServer() override;

  // A listening server never times out.
  bool Timeout() override;
  virtual void _bufferworkfunction(const std::string& connectionId, const std::string& clientId);
  // The base leaves the header's task and answers true.
  virtual bool _writeBuffer(const std::string& connectionId, HKXHeader& header);
  // Prints "HKTransceiverServer::stop()".
  virtual void stop();
  // Sets the transceiver (the first wins); false when another is set.
  virtual bool connect(HKTransceiver& transceiver);
  // Clears the transceiver when it is this one.
  virtual bool disconnect(HKTransceiver& transceiver);
  // The base only wakes the buffer job.
  virtual void getSignal(const std::string& connectionId);
  // For a client-side server: writes the header on its one connection;
  // false on a server-side object.
  bool writeBuffer(HKXHeader& header);
  bool joinTask(const std::string& name) override;
  std::string getLastJoinedTask() override;
  // Leaves the bus and ends the server's jobs; called before the last
  // release (see HKMakeTransportJob) and by the destructors.
  virtual void leaveBus();

  const std::string& getAssotiatedHookService() const { return _hookService; }
  // The one connection of a client-side server; "" until it is open.
  std::string clientConnection();
  // Sets the time-out (microseconds): for a client-side server, how long it
  // waits for a response or stays idle.
  void setTimeoutUs(long us);
  const std::string& serverIdentifier() const { return _serverId; }
  const std::string& clientIdentifier() const { return _clientId; }
  bool isServerSide() const { return _serverSide.load(); }
  HKTovikProtocols_t protocol() const { return _protocol; }

 protected:
  // Queues the pair and starts the buffer job at the first signal.
  void _insert_bufferSignaled(const std::string& first, const std::string& second);
  void _bufferJob();
  // Called by the buffer job after each wait; for time limits of subclasses.
  virtual void _idleRound() {}
  void _stopBufferJob();
  // Leaves every task, so that the bus delivers nothing more, and waits for
  // a delivery in progress. Destructors call it first.
  void _leaveBus();
  // Calls the callback; an exception from it is dropped.
  void _report(HKServerCallback_t& record);
  HKTransceiver* transceiver() const { return _transceiver.load(); }

  std::atomic<bool> _serverSide{true};
  std::atomic<HKTransceiver*> _transceiver{nullptr};
  std::string _clientId;
  std::string _serverId;
  std::string _lastRequest;  // job lock
  HKGavetaScheduler2& _scheduler;
  std::recursive_mutex _queue_mutex;
  std::deque<std::pair<std::string, std::string>> _queue;  // _queue_mutex
  std::atomic<bool> _bufferSignaled{false};
  uint64_t _bufferJobId = 0;  // _queue_mutex
  std::atomic<bool> _bufferRunning{false};
  std::mutex _worker_mutex;
  std::condition_variable _worker_cv;
  std::string _connection;  // job lock; the one connection of a client-side server
  std::string _hookService;
  HKServerCallbackFunction _callback;
  HKTovikProtocols_t _protocol = HK_PROTO_NONE;
};

// Level 0: job messages.
class HKTransceiverServerL0 : public HKTransceiverServer {
 public:
  using HKTransceiverServer::HKTransceiverServer;
  // Does nothing; false.
  virtual bool initService();

 protected:
  // Kind 2 expires a client-side server; kind 8 is getSignal(text).
  bool _messagereceive(HKJobMessage& message) override;
};

// The socket level: the accept job of a listening server.
class HKTransceiverServerL0Socket : public HKTransceiverServerL0 {
 public:
  // Bind retries and the accept poll.
  static constexpr int kBacklog = 16;
  static constexpr int kAcceptPollMs = 500;
  static constexpr int kBindRetryRounds = 60;
  static constexpr int kBindRetrySleepMs = 500;
  static constexpr unsigned long kDefaultMaxConnections = 10000;

  // Listening (server side).
  HKTransceiverServerL0Socket(HKGavetaScheduler2& scheduler, HKXServerHeader& header,
                              HKTransceiver& transceiver, const std::string& clientId,
                              const std::string& serverId, const std::string& hookService,
                              HKServerCallbackFunction callback, const std::string& type);
  // One outgoing connection to the request's host and port (client side),
  // opened by initService.
  HKTransceiverServerL0Socket(HKGavetaScheduler2& scheduler, HKXHeader& request, HKTransceiver& transceiver,
                              const std::string& clientId, const std::string& serverId,
                              const std::string& hookService, HKServerCallbackFunction callback,
                              const std::string& type);
  // Stops the accept job and waits for it.
  ~HKTransceiverServerL0Socket() override;

  // Opens the listener (server side) or the outgoing connection (client side).
  bool initService() override;
  void leaveBus() override;
  // Clears running: the accept job ends within one poll round.
  void stop() override;
  // A plain connection whose assign is `id`.
  virtual std::shared_ptr<HKTransceiverConnection> _createConnection(HKTransceiver& transceiver,
                                                                     const std::string& id,
                                                                     HKServerCallback_t& info,
                                                                     std::shared_ptr<HKSocketIPvx>& socket);
  const std::string& type() const { return _type; }
  // The bound port, 0 until listening.
  unsigned int listeningPort() const { return _port.load(); }
  bool isListening() const { return _listening.load(); }
  // Connections of this server alive now.
  long openConnections() const { return _open->load(); }

 protected:
  bool _openSocket();
  // Connects to the remote host and files the connection; false on failure.
  bool _openClientSocket();
  // Stops the accept and buffer jobs and waits for them; every most-derived
  // destructor calls it first, so that no job runs into a part already gone.
  void _shutdownJobs();
  void _acceptJob();
  bool _bindWithRetry(HKSocketIPvx& listener, HKServerCallback_t& record);
  void _acceptOne(HKSocketIPvx& listener, std::shared_ptr<HKSocketIPvx>& pending, HKServerCallback_t& bound);
  bool _incoming(std::map<std::string, std::string>& map);
  std::string _option(const std::string& key, const std::string& fallback) const;

  std::mutex _header_mutex;
  HKXServerHeader* _header = nullptr;  // _header_mutex; null once stopped
  std::map<std::string, std::string> _options;
  std::string _protocolString;
  std::atomic<bool> _running{true};
  uint64_t _acceptJobId = 0;
  std::string _type;
  std::atomic<unsigned int> _port{0};
  std::atomic<bool> _listening{false};
  unsigned long _maxConnections = kDefaultMaxConnections;
  std::shared_ptr<std::atomic<long>> _open = std::make_shared<std::atomic<long>>(0);
  // Client side: where the outgoing connection goes.
  std::string _remoteHost;
  long _remotePort = 0;
};

// HTTP framing: the read path assembles messages, the write path renders them.
class HKTransceiverServerL1HTTP : public HKTransceiverServerL0Socket {
 public:
  static constexpr uint64_t kDefaultMaxHeadBytes = 64 * 1024;
  static constexpr uint64_t kDefaultMaxBodyBytes = 64ull * 1024 * 1024;
  static constexpr int64_t kDefaultHeadTimeoutMs = 30000;

  HKTransceiverServerL1HTTP(HKGavetaScheduler2& scheduler, HKXServerHeader& header,
                            HKTransceiver& transceiver, const std::string& clientId,
                            const std::string& serverId, const std::string& hookService,
                            HKServerCallbackFunction callback, const std::string& type);
  // Client side: one outgoing connection.
  HKTransceiverServerL1HTTP(HKGavetaScheduler2& scheduler, HKXHeader& request, HKTransceiver& transceiver,
                            const std::string& clientId, const std::string& serverId,
                            const std::string& hookService, HKServerCallbackFunction callback,
                            const std::string& type);
  ~HKTransceiverServerL1HTTP() override;

  void _bufferworkfunction(const std::string& connectionId, const std::string& clientId) override;
  bool _writeBuffer(const std::string& connectionId, HKXHeader& header) override;
  void getSignal(const std::string& connectionId) override;
  // Heads in progress now (tests).
  size_t headsInProgress();

 protected:
  struct HeadInProgress {
    std::shared_ptr<HKXHeader> header;
    uint64_t headBytes = 0;  // bytes taken while the head was not complete
    int64_t startNs = 0;     // steady clock at the first byte
  };

  void _idleRound() override;
  bool _messagereceive(HKJobMessage& message) override;
  HeadInProgress _headFor(const std::string& connectionId, HKTransceiverConnection& connection,
                          HKTransceiverClient& client);
  // Head bytes, head time, body size: false when the message broke a limit.
  bool _withinLimits(const HeadInProgress& head, int64_t nowNs);
  void _addHeadBytes(const std::string& connectionId, uint64_t n);
  void _dropHead(const std::string& connectionId);
  // Answers 400 and closes: for a message the server does not route.
  void _refuse(HKXHeader& request, HKTransceiverConnection& connection, const std::string& connectionId);
  void _complete(const std::string& connectionId, HKXHeader& header, HKTransceiverConnection& connection,
                 HKTransceiverClient& client);
  uint64_t _queueBody(HKXHeader& header, HKTransceiverConnection& connection, HKStringBuf*& buffer);

  std::recursive_mutex _l1_mutex;
  std::map<std::string, HeadInProgress> _heads;  // _l1_mutex
  uint64_t _maxHeadBytes = kDefaultMaxHeadBytes;
  uint64_t _maxBodyBytes = kDefaultMaxBodyBytes;
  int64_t _headTimeoutNs = kDefaultHeadTimeoutMs * 1000000;
};

// The private protocol: HTTP on its own port.
class HKTransceiverServerL1TOVIK : public HKTransceiverServerL1HTTP {
 public:
  HKTransceiverServerL1TOVIK(HKGavetaScheduler2& scheduler, HKXServerHeader& header,
                             HKTransceiver& transceiver, const std::string& clientId,
                             const std::string& serverId, const std::string& hookService,
                             HKServerCallbackFunction callback, const std::string& type);
  HKTransceiverServerL1TOVIK(HKGavetaScheduler2& scheduler, HKXHeader& request, HKTransceiver& transceiver,
                             const std::string& clientId, const std::string& serverId,
                             const std::string& hookService, HKServerCallbackFunction callback,
                             const std::string& type);
};

// HTTP over TLS.
class HKTransceiverServerL1HTTPS : public HKTransceiverServerL1HTTP, public HKTransceiverServerL1_SSLAddon {
 public:
  HKTransceiverServerL1HTTPS(HKGavetaScheduler2& scheduler, HKXServerHeader& header,
                             HKTransceiver& transceiver, const std::string& clientId,
                             const std::string& serverId, const std::string& hookService,
                             HKServerCallbackFunction callback, const std::string& type);
  HKTransceiverServerL1HTTPS(HKGavetaScheduler2& scheduler, HKXHeader& request, HKTransceiver& transceiver,
                             const std::string& clientId, const std::string& serverId,
                             const std::string& hookService, HKServerCallbackFunction callback,
                             const std::string& type);
  ~HKTransceiverServerL1HTTPS() override;
  // Both forms stay callable: the add-on's, and the server's below.
  using HKTransceiverServerL1_SSLAddon::_createConnection;
  std::shared_ptr<HKTransceiverConnection> _createConnection(HKTransceiver& transceiver,
                                                             const std::string& id, HKServerCallback_t& info,
                                                             std::shared_ptr<HKSocketIPvx>& socket) override;
};

// No framing: what arrived in one batch is one message.
class HKTransceiverServerL1DirectSocket : public HKTransceiverServerL0Socket {
 public:
  HKTransceiverServerL1DirectSocket(HKGavetaScheduler2& scheduler, HKXServerHeader& header,
                                    HKTransceiver& transceiver, const std::string& clientId,
                                    const std::string& serverId, const std::string& hookService,
                                    HKServerCallbackFunction callback, const std::string& type);
  HKTransceiverServerL1DirectSocket(HKGavetaScheduler2& scheduler, HKXHeader& request,
                                    HKTransceiver& transceiver, const std::string& clientId,
                                    const std::string& serverId, const std::string& hookService,
                                    HKServerCallbackFunction callback, const std::string& type);
  ~HKTransceiverServerL1DirectSocket() override;
  void _bufferworkfunction(const std::string& connectionId, const std::string& clientId) override;
  bool _writeBuffer(const std::string& connectionId, HKXHeader& header) override;
  void getSignal(const std::string& connectionId) override;
};
