#include <toviktwo/transport/hktransceiverserver.h>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <chrono>
#include <exception>
#include <fstream>
#include <iostream>
#include <mutex>
#include <thread>

#include <toviktwo/foundation/hklogstream.h>
#include <toviktwo/foundation/hkstringtools.h>
#include <toviktwo/transport/hktransceiverclient.h>
#include <toviktwo/transport/hktransceivercore.h>
#include <toviktwo/transport/hktransportjobs.h>
#include <toviktwo/transport/hkxheader.h>

namespace {

// One log line for a request whose work threw: the server goes on.
void logRequestFailure(std::exception_ptr failure, const std::string& connectionId) {
  std::string what = "unknown exception";
  try {
    std::rethrow_exception(failure);
  } catch (const std::exception& e) {
    what = e.what();
  } catch (...) {
  }
  std::lock_guard<std::mutex> g(__logger.GetMtxOrdem0());
  __logger.Debugstream(log_default) << "request on " << connectionId << " failed: " << what << std::endl;
}

using namespace std::chrono_literals;

int descriptorOf(HKSocketIPvx& socket) {
  return socket.getDescriptor() >= 0 ? socket.getDescriptor() : socket.getDescriptor4();
}

}  // namespace

// ---------------------------------------------------------------- HKTransceiverServer

HKTransceiverServer::HKTransceiverServer(HKGavetaScheduler2& scheduler, const std::string& clientId,
                                         const std::string& serverId, const std::string& hookService,
                                         HKServerCallbackFunction callback)
    : HKJobWithTimeout(kTimeoutUs),
      _clientId(clientId),
      _serverId(serverId),
      _scheduler(scheduler),
      _hookService(hookService),
      _callback(std::move(callback)) {
  createCombinedTask("server_" + clientId);
}

HKTransceiverServer::~HKTransceiverServer() {
  _leaveBus();
  _stopBufferJob();
}

void HKTransceiverServer::leaveBus() {
  _leaveBus();
  _stopBufferJob();
}

void HKTransceiverServer::_leaveBus() {
  _exitTasks();
  // A delivery in progress holds the job lock: wait for it to end.
  std::lock_guard<std::recursive_mutex> wait(_job_mutex);
}

bool HKTransceiverServer::Timeout() {
  if (_serverSide) return false;
  const bool expired = HKJobWithTimeout::Timeout();
  return expired && !_serverSide;
}

void HKTransceiverServer::_bufferworkfunction(const std::string&, const std::string&) {}

bool HKTransceiverServer::_writeBuffer(const std::string&, HKXHeader& header) {
  header.exitTask(header.getCtask());
  return true;
}

void HKTransceiverServer::stop() { std::cout << "HKTransceiverServer::stop()" << std::endl; }

bool HKTransceiverServer::connect(HKTransceiver& transceiver) {
  HKTransceiver* none = nullptr;
  return _transceiver.compare_exchange_strong(none, &transceiver);
}

bool HKTransceiverServer::disconnect(HKTransceiver& transceiver) {
  HKTransceiver* expected = &transceiver;
  return _transceiver.compare_exchange_strong(expected, nullptr);
}

void HKTransceiverServer::getSignal(const std::string&) {
  { std::lock_guard<std::mutex> w(_worker_mutex); }
  _worker_cv.notify_one();
}

bool HKTransceiverServer::writeBuffer(HKXHeader& header) {
  if (_serverSide) return false;
  std::string connection;
  {
    std::lock_guard<std::recursive_mutex> g(_job_mutex);
    if (header.getHeaderType() == HK_HEADER_REQUEST) _lastRequest = header.getID();
    connection = _connection;
  }
  return _writeBuffer(connection, header);
}

bool HKTransceiverServer::joinTask(const std::string& name) {
  std::lock_guard<std::recursive_mutex> g(_job_mutex);
  // Joining the task already joined last changes nothing (speed only).
  if (!name.empty() && name == _lastJoinedTask) return true;
  return HKJob::joinTask(name);
}

std::string HKTransceiverServer::clientConnection() {
  std::lock_guard<std::recursive_mutex> g(_job_mutex);
  return _connection;
}

void HKTransceiverServer::setTimeoutUs(long us) {
  std::lock_guard<std::recursive_mutex> g(_timer_mutex);
  _timeout = us;
  _timer.Restart(us);
}

std::string HKTransceiverServer::getLastJoinedTask() {
  std::lock_guard<std::recursive_mutex> g(_job_mutex);
  return _lastJoinedTask;
}

void HKTransceiverServer::_insert_bufferSignaled(const std::string& first, const std::string& second) {
  std::lock_guard<std::recursive_mutex> q(_queue_mutex);
  _queue.emplace_back(first, second);
  _bufferSignaled = true;
  if (_bufferJobId != 0) return;
  _bufferRunning = true;
  _bufferJobId = HKInjectLoopJob(
      _scheduler, "HKTransceiverServer_bufferprocess" + _jobID, [this] { _bufferJob(); },
      [this] {
        _bufferRunning = false;
        _worker_cv.notify_all();
      });
}

void HKTransceiverServer::_bufferJob() {
  auto nextIdle = std::chrono::steady_clock::now() + std::chrono::milliseconds(kBufferWaitMs);
  while (_bufferRunning) {
    for (;;) {
      std::pair<std::string, std::string> item;
      {
        std::lock_guard<std::recursive_mutex> q(_queue_mutex);
        if (_queue.empty()) break;
        item = std::move(_queue.front());
        _queue.pop_front();
        if (_queue.empty()) _bufferSignaled = false;
      }
      _resetTimer();
      try {
        _bufferworkfunction(item.first, item.second);
      } catch (...) {
        // Whatever one request does, the server serves on: its connection
        // is closed, and nothing else is touched.
        logRequestFailure(std::current_exception(), item.first);
        if (HKTransceiver* t = transceiver()) {
          if (auto c = t->resolveTransceiverConnection(item.first)) c->doShutdown();
        }
      }
      if (!_bufferRunning) return;
    }
    {
      std::unique_lock<std::mutex> w(_worker_mutex);
      const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kBufferWaitMs);
      while (!_bufferSignaled && _bufferRunning)
        if (_worker_cv.wait_until(w, deadline) == std::cv_status::timeout) break;
    }
    if (std::chrono::steady_clock::now() >= nextIdle) {
      _idleRound();
      nextIdle = std::chrono::steady_clock::now() + std::chrono::milliseconds(kBufferWaitMs);
    }
  }
}

void HKTransceiverServer::_stopBufferJob() {
  uint64_t id = 0;
  {
    std::lock_guard<std::recursive_mutex> q(_queue_mutex);
    id = _bufferJobId;
    _bufferRunning = false;
  }
  { std::lock_guard<std::mutex> w(_worker_mutex); }
  _worker_cv.notify_all();
  HKReapLoopJob(_scheduler, id);
}

void HKTransceiverServer::_report(HKServerCallback_t& record) {
  if (!_callback) return;
  try {
    _callback(record);
  } catch (...) {
    // A report never stops a server.
  }
}

// ---------------------------------------------------------------- HKTransceiverServerL0

bool HKTransceiverServerL0::initService() { return false; }

bool HKTransceiverServerL0::_messagereceive(HKJobMessage& message) {
  if (message._type == HKMSG_SOCKET_GONE) {
    if (!_serverSide) {
      std::lock_guard<std::recursive_mutex> g(_timer_mutex);
      _timer.Restart(0);
    }
  } else if (message._type == HKMSG_CLIENT_SIGNAL) {
    getSignal(message._data);
  }
  return true;
}

// ---------------------------------------------------------------- HKTransceiverServerL0Socket

HKTransceiverServerL0Socket::HKTransceiverServerL0Socket(
    HKGavetaScheduler2& scheduler, HKXServerHeader& header, HKTransceiver& transceiver,
    const std::string& clientId, const std::string& serverId, const std::string& hookService,
    HKServerCallbackFunction callback, const std::string& type)
    : HKTransceiverServerL0(scheduler, clientId, serverId, hookService, std::move(callback)),
      _header(&header),
      _options(header.getOptions()),
      _protocolString(header.getProtocolString()),
      _type(type) {
  _maxConnections =
      to_unumber(_option("max_connections", std::to_string(kDefaultMaxConnections)), kDefaultMaxConnections);
  connect(transceiver);
}

HKTransceiverServerL0Socket::HKTransceiverServerL0Socket(
    HKGavetaScheduler2& scheduler, HKXHeader& request, HKTransceiver& transceiver,
    const std::string& clientId, const std::string& serverId, const std::string& hookService,
    HKServerCallbackFunction callback, const std::string& type)
    : HKTransceiverServerL0(scheduler, clientId, serverId, hookService, std::move(callback)),
      _protocolString(request.getProtocolString()),
      _type(type),
      _remoteHost(request.getURLHostPart()),
      _remotePort(request.getURLPort()) {
  _serverSide = false;
  connect(transceiver);
}

HKTransceiverServerL0Socket::~HKTransceiverServerL0Socket() { _shutdownJobs(); }

void HKTransceiverServerL0Socket::leaveBus() { _shutdownJobs(); }

void HKTransceiverServerL0Socket::_shutdownJobs() {
  _leaveBus();
  stop();
  HKReapLoopJob(_scheduler, _acceptJobId);
  _acceptJobId = 0;
  _stopBufferJob();
}

std::string HKTransceiverServerL0Socket::_option(const std::string& key, const std::string& fallback) const {
  auto it = _options.find(key);
  return it == _options.end() ? fallback : it->second;
}

bool HKTransceiverServerL0Socket::initService() { return _serverSide ? _openSocket() : _openClientSocket(); }

bool HKTransceiverServerL0Socket::_openClientSocket() {
  HKTransceiver* t = transceiver();
  if (t == nullptr || _remoteHost.empty()) return false;
  auto socket = std::make_shared<HKSocketIPvx>(true);
  if (socket->Connect(_remoteHost, static_cast<int>(_remotePort)) != 0) return false;
  if (socket->getDescriptor() < 0 && socket->getDescriptor4() < 0) return false;
  const int one = 1;
  setsockopt(descriptorOf(*socket), IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
  HKServerCallback_t info;
  info.kind = HK_SERVER_CONNECTED;
  info.map = {{"type", _type},
              {"hoststring", _remoteHost},
              {"port", std::to_string(_remotePort)},
              {"remoteaddress", _remoteHost},
              {"remoteport", std::to_string(_remotePort)},
              {"ID", _jobID}};
  std::shared_ptr<HKTransceiverConnection> connection;
  try {
    connection = _createConnection(*t, _jobID, info, socket);
  } catch (...) {
    return false;  // a TLS handshake that failed
  }
  const std::string id = t->_addTCPSocket(socket, connection);
  std::lock_guard<std::recursive_mutex> g(_job_mutex);
  _connection = id;
  return true;
}

void HKTransceiverServerL0Socket::stop() {
  _running = false;
  std::lock_guard<std::mutex> g(_header_mutex);
  _header = nullptr;
}

bool HKTransceiverServerL0Socket::_openSocket() {
  _acceptJobId = HKInjectLoopJob(
      _scheduler, "HKTransceiverServerL0" + _type + _jobID, [this] { _acceptJob(); },
      [this] { _running = false; });
  return true;
}

bool HKTransceiverServerL0Socket::_incoming(std::map<std::string, std::string>& map) {
  std::lock_guard<std::mutex> g(_header_mutex);
  return _header != nullptr && _header->incomingConnection(map);
}

bool HKTransceiverServerL0Socket::_bindWithRetry(HKSocketIPvx& listener, HKServerCallback_t& record) {
  // A port that is not a number raises std::invalid_argument, which ends the job.
  unsigned int port = static_cast<unsigned int>(std::stoul(_option("tcp_port", "2098")));
  const std::string address = _option("tcp_address", "127.0.0.1");
  listener.BindAndListen(address, port, kBacklog, 0);
  record.kind = HK_SERVER_BIND_FAILED;
  record.map = {{"address", address},
                {"port", std::to_string(port)},
                {"ID", _serverId},
                {"protocolstring", _protocolString}};
  const unsigned long retryRounds =
      to_unumber(_option("bind_retry_rounds", std::to_string(kBindRetryRounds)), kBindRetryRounds);
  while (!listener.isListening() && _running) {
    _report(record);
    for (unsigned long i = 0; i < retryRounds && _running; ++i) {
      std::this_thread::yield();
      std::this_thread::sleep_for(std::chrono::milliseconds(kBindRetrySleepMs));
    }
    if (_running) listener.BindAndListen(address, port, kBacklog, 0);
  }
  if (!_running || !listener.isListening()) return false;
  record.map["port"] = std::to_string(port);
  _port = port;
  return true;
}

void HKTransceiverServerL0Socket::_acceptJob() {
  HKSocketIPvx listener(true);
  HKServerCallback_t record;
  if (!_bindWithRetry(listener, record)) return;
  record.kind = HK_SERVER_LISTENING;
  _listening = true;
  _report(record);
  std::shared_ptr<HKSocketIPvx> pending;
  while (_running) _acceptOne(listener, pending, record);
  _listening = false;
}

void HKTransceiverServerL0Socket::_acceptOne(HKSocketIPvx& listener, std::shared_ptr<HKSocketIPvx>& pending,
                                             HKServerCallback_t& bound) {
  if (!pending) pending = std::make_shared<HKSocketIPvx>(true);
  // Every host is accepted.
  if (listener.Accept(*pending, kAcceptPollMs, [](HKHostInfo_t&) { return true; }) < 0) return;
  std::shared_ptr<HKSocketIPvx> socket = std::move(pending);
  std::map<std::string, std::string> map = {
      {"type", _type}, {"hoststring", socket->Hoststring()}, {"port", socket->Portstring()}};
  if (!_incoming(map)) return;
  // Over the limit of open connections the socket is closed at once.
  if (static_cast<unsigned long>(_open->load()) >= _maxConnections) return;
  HKTransceiver* t = transceiver();
  if (t == nullptr) return;
  // Answers are written whole by one gathered write; without Nagle's delay
  // a small answer is not held back for the peer's delayed ACK.
  const int one = 1;
  setsockopt(descriptorOf(*socket), IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
  HKServerCallback_t record;
  record.kind = HK_SERVER_CONNECTED;
  record.map = {{"remoteaddress", socket->Hoststring()},
                {"remoteport", socket->Portstring()},
                {"ID", _serverId},
                {"localaddress", bound.map["address"]},
                {"localport", bound.map["port"]},
                {"localprotocolstring", bound.map["protocolstring"]}};
  std::shared_ptr<HKTransceiverConnection> connection;
  try {
    connection = _createConnection(*t, _jobID, record, socket);
  } catch (...) {
    return;  // a connection that cannot be made is closed
  }
  _open->fetch_add(1);
  std::shared_ptr<std::atomic<long>> open = _open;
  connection->holdSlot(std::shared_ptr<void>(nullptr, [open](void*) { open->fetch_sub(1); }));
  t->_addTCPSocket(socket, connection);
  _report(record);
}

std::shared_ptr<HKTransceiverConnection> HKTransceiverServerL0Socket::_createConnection(
    HKTransceiver& transceiver, const std::string& id, HKServerCallback_t& info,
    std::shared_ptr<HKSocketIPvx>&) {
  return HKMakeTransportJob<HKTransceiverConnection>(transceiver, id, _hookService, info,
                                                     HKRemoveConnectionSocket);
}

// ---------------------------------------------------------------- TOVIK, HTTPS

HKTransceiverServerL1TOVIK::HKTransceiverServerL1TOVIK(
    HKGavetaScheduler2& scheduler, HKXServerHeader& header, HKTransceiver& transceiver,
    const std::string& clientId, const std::string& serverId, const std::string& hookService,
    HKServerCallbackFunction callback, const std::string& type)
    : HKTransceiverServerL1HTTP(scheduler, header, transceiver, clientId, serverId, hookService,
                                std::move(callback), type) {
  _protocol = HK_PROTO_TOVIK;
}

HKTransceiverServerL1HTTPS::HKTransceiverServerL1HTTPS(
    HKGavetaScheduler2& scheduler, HKXServerHeader& header, HKTransceiver& transceiver,
    const std::string& clientId, const std::string& serverId, const std::string& hookService,
    HKServerCallbackFunction callback, const std::string& type)
    : HKTransceiverServerL1HTTP(scheduler, header, transceiver, clientId, serverId, hookService,
                                std::move(callback), type),
      HKTransceiverServerL1_SSLAddon(header) {
  _protocol = HK_PROTO_HTTPS;
}

HKTransceiverServerL1TOVIK::HKTransceiverServerL1TOVIK(
    HKGavetaScheduler2& scheduler, HKXHeader& request, HKTransceiver& transceiver,
    const std::string& clientId, const std::string& serverId, const std::string& hookService,
    HKServerCallbackFunction callback, const std::string& type)
    : HKTransceiverServerL1HTTP(scheduler, request, transceiver, clientId, serverId, hookService,
                                std::move(callback), type) {
  _protocol = HK_PROTO_TOVIK;
}

HKTransceiverServerL1HTTPS::HKTransceiverServerL1HTTPS(
    HKGavetaScheduler2& scheduler, HKXHeader& request, HKTransceiver& transceiver,
    const std::string& clientId, const std::string& serverId, const std::string& hookService,
    HKServerCallbackFunction callback, const std::string& type)
    : HKTransceiverServerL1HTTP(scheduler, request, transceiver, clientId, serverId, hookService,
                                std::move(callback), type),
      HKTransceiverServerL1_SSLAddon() {
  _protocol = HK_PROTO_HTTPS;
}

// The jobs end before the TLS context of the second base goes.
HKTransceiverServerL1HTTPS::~HKTransceiverServerL1HTTPS() { _shutdownJobs(); }

std::shared_ptr<HKTransceiverConnection> HKTransceiverServerL1HTTPS::_createConnection(
    HKTransceiver& transceiver, const std::string& id, HKServerCallback_t& info,
    std::shared_ptr<HKSocketIPvx>& socket) {
  return HKTransceiverServerL1_SSLAddon::_createConnection(transceiver, id, _hookService, info, socket);
}
