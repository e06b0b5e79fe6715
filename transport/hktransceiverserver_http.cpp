// The read and write paths of the HTTP server level and of the direct
// socket, kept apart from the accept job and the buffer job they run on.
#include <toviktwo/transport/hktransceiverserver.h>

#include <chrono>
#include <fstream>

#include <toviktwo/foundation/hklogstream.h>
#include <toviktwo/foundation/hkstringtools.h>
#include <toviktwo/transport/hktransceiverclient.h>
#include <toviktwo/transport/hktransceivercore.h>
#include <toviktwo/transport/hktransportjobs.h>
#include <toviktwo/transport/hkurl.h>
#include <toviktwo/transport/hkxheader.h>

namespace {

// File bodies are read into the output buffer in pieces of this size.
constexpr std::streamsize kFileChunk = 64 * 1024;
constexpr int64_t kNsPerMs = 1000000;

int64_t steadyNs() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

// The first value of a field of the request, "-" when absent.
std::string firstOr(HKXHeader& header, const std::string& name) {
  auto& values = header.getInitialField(name);
  return values.empty() ? std::string("-") : values.front();
}

}  // namespace

HKTransceiverServerL1HTTP::HKTransceiverServerL1HTTP(HKGavetaScheduler2& scheduler, HKXServerHeader& header,
                                                     HKTransceiver& transceiver, const std::string& clientId,
                                                     const std::string& serverId,
                                                     const std::string& hookService,
                                                     HKServerCallbackFunction callback,
                                                     const std::string& type)
    : HKTransceiverServerL0Socket(scheduler, header, transceiver, clientId, serverId, hookService,
                                  std::move(callback), type) {
  _protocol = HK_PROTO_HTTP;
  _maxHeadBytes =
      to_unumber(_option("max_head_bytes", std::to_string(kDefaultMaxHeadBytes)), kDefaultMaxHeadBytes);
  _maxBodyBytes =
      to_unumber(_option("max_body_bytes", std::to_string(kDefaultMaxBodyBytes)), kDefaultMaxBodyBytes);
  _headTimeoutNs =
      static_cast<int64_t>(to_unumber(_option("head_timeout_ms", std::to_string(kDefaultHeadTimeoutMs)),
                                      kDefaultHeadTimeoutMs)) *
      kNsPerMs;
}

HKTransceiverServerL1HTTP::HKTransceiverServerL1HTTP(HKGavetaScheduler2& scheduler, HKXHeader& request,
                                                     HKTransceiver& transceiver, const std::string& clientId,
                                                     const std::string& serverId,
                                                     const std::string& hookService,
                                                     HKServerCallbackFunction callback,
                                                     const std::string& type)
    : HKTransceiverServerL0Socket(scheduler, request, transceiver, clientId, serverId, hookService,
                                  std::move(callback), type) {
  _protocol = HK_PROTO_HTTP;
}

HKTransceiverServerL1HTTP::~HKTransceiverServerL1HTTP() { _shutdownJobs(); }

void HKTransceiverServerL1HTTP::getSignal(const std::string& connectionId) {
  _insert_bufferSignaled(connectionId, _clientId);
  HKTransceiverServer::getSignal(connectionId);
}

bool HKTransceiverServerL1HTTP::_messagereceive(HKJobMessage& message) {
  // A connection that has gone takes its head in progress with it.
  if (message._type == HKMSG_SOCKET_GONE) _dropHead(message._data);
  return HKTransceiverServerL0Socket::_messagereceive(message);
}

size_t HKTransceiverServerL1HTTP::headsInProgress() {
  std::lock_guard<std::recursive_mutex> g(_l1_mutex);
  return _heads.size();
}

// ---------------------------------------------------------------- read path

HKTransceiverServerL1HTTP::HeadInProgress HKTransceiverServerL1HTTP::_headFor(
    const std::string& connectionId, HKTransceiverConnection& connection, HKTransceiverClient&) {
  std::lock_guard<std::recursive_mutex> g(_l1_mutex);
  auto it = _heads.find(connectionId);
  if (it != _heads.end()) return it->second;
  std::string ctask = connection.getCtask();
  if (ctask.empty()) {
    // The task is owned by the connection, so that it ends with it instead
    // of staying with the client for good.
    ctask = connection.createCombinedTask("receive_" + _clientId);
    connection.joinTask(ctask);
  }
  HeadInProgress head;
  // It joins the connection's task below, so the bus may deliver to it:
  // it leaves the bus before its destruction begins.
  head.header = HKMakeTransportJob<HKXHeader>(HK_SCHEME_POST, false, _protocol);
  head.startNs = steadyNs();
  HKXHeader& h = *head.header;
  h.setHeaderType(HK_HEADER_REQUEST);
  h.addAnswerPath(connectionId);
  h.addAnswerPath(_jobID);
  h.setParsed();
  h.setInfo(connection.info());
  h.setCtask(ctask);
  h.joinTask(ctask);
  _heads[connectionId] = head;
  return head;
}

void HKTransceiverServerL1HTTP::_addHeadBytes(const std::string& connectionId, uint64_t n) {
  std::lock_guard<std::recursive_mutex> g(_l1_mutex);
  auto it = _heads.find(connectionId);
  if (it != _heads.end()) it->second.headBytes += n;
}

void HKTransceiverServerL1HTTP::_dropHead(const std::string& connectionId) {
  std::lock_guard<std::recursive_mutex> g(_l1_mutex);
  _heads.erase(connectionId);
}

bool HKTransceiverServerL1HTTP::_withinLimits(const HeadInProgress& head, int64_t nowNs) {
  HKXHeader& h = *head.header;
  if (h.isHeadPending()) return head.headBytes <= _maxHeadBytes && nowNs - head.startNs <= _headTimeoutNs;
  return h.contentLength() <= _maxBodyBytes;
}

void HKTransceiverServerL1HTTP::_bufferworkfunction(const std::string& connectionId,
                                                    const std::string& clientId) {
  HKTransceiver* t = transceiver();
  if (t == nullptr) return;
  std::shared_ptr<HKTransceiverConnection> connection = t->resolveTransceiverConnection(connectionId);
  std::shared_ptr<HKTransceiverClient> client = t->resolveTransceiverClient(clientId);
  if (!connection || !client) {
    _dropHead(connectionId);
    return;
  }
  HeadInProgress head = _headFor(connectionId, *connection, *client);
  // A connection that left the hub meanwhile has had (or will have) its
  // "socket gone" message, which drops its head; one that left before the
  // head was made would keep it for good. Checked after the head exists,
  // the one case or the other always holds.
  if (!t->resolveTransceiverConnection(connectionId)) {
    _dropHead(connectionId);
    return;
  }
  HKXHeader& header = *head.header;
  unsigned long arrived = 0;
  {
    std::lock_guard<std::mutex> g(header.getMutex());
    arrived = connection->getBytesIn(*header.getDataBuffer());
  }
  const bool headPending = header.isHeadPending();
  int result = 1;
  if (_withinLimits(head, steadyNs()))
    result = header.parseInputData2([&client](HKXHeader& h) { return client->onAuthorize(h); });
  if (headPending) {
    // The bytes of this arrival that went into the head (not those of the body behind it).
    const unsigned long body = header.isHeadPending() ? 0 : header.getDataBuffer()->getSizeReadable();
    const unsigned long used = arrived > body ? arrived - body : 0;
    head.headBytes += used;
    _addHeadBytes(connectionId, used);
    if (head.headBytes > _maxHeadBytes) result = 1;
  }
  // A head or body over its limit ends like a bad message.
  if (result != 1 && !_withinLimits(head, steadyNs())) result = 1;
  if (result == 0) return;
  if (result == 1) {
    _dropHead(connectionId);
    connection->doShutdown();
    return;
  }
  if (!_serverSide) {
    // What a server sent us that is no answer (a bad status line, garbage)
    // closes the connection; the pool then ends the request with an error.
    if (header.getHeaderType() != HK_HEADER_ANSWER) {
      _dropHead(connectionId);
      connection->doShutdown();
    } else {
      _complete(connectionId, header, *connection, *client);
    }
    return;
  }
  const bool routable = header.isSet(":first:") && header.getHeaderType() == HK_HEADER_REQUEST &&
                        (header.getMethod() == HK_SCHEME_GET || header.getMethod() == HK_SCHEME_POST);
  if (!routable)
    _refuse(header, *connection, connectionId);
  else
    _complete(connectionId, header, *connection, *client);
}

void HKTransceiverServerL1HTTP::_complete(const std::string& connectionId, HKXHeader& header,
                                          HKTransceiverConnection& connection, HKTransceiverClient& client) {
  // Bytes beyond the message (a pipelined request without a length) would
  // wait for ever: the connection closes after this answer instead.
  const HKStringBuf* data = header.getDataBuffer();
  const bool surplus = const_cast<HKStringBuf*>(data)->getSizeReadable() > header.contentLength();
  // Kept alive past the handler, which may drop the head in progress.
  std::shared_ptr<HKXHeader> keep;
  {
    std::lock_guard<std::recursive_mutex> g(_l1_mutex);
    auto it = _heads.find(connectionId);
    if (it != _heads.end()) keep = it->second.header;
  }
  // An answer on a client-side server belongs to the request it wrote last.
  std::string target = _serverId;
  if (!_serverSide) {
    std::lock_guard<std::recursive_mutex> g(_job_mutex);
    target = _lastRequest;
  }
  try {
    client.onReceived(target, header);
  } catch (...) {
    _dropHead(connectionId);
    throw;
  }
  if (header.isConnectionClose() || surplus) connection.doShutdown();
  {
    std::lock_guard<std::recursive_mutex> g(_l1_mutex);
    auto it = _heads.find(connectionId);
    if (it != _heads.end() && it->second.header.get() == &header) _heads.erase(it);
  }
  if (!header.getReleaseServer()) return;
  const std::string path = header.answerPath(1);
  HKTransceiver* t = transceiver();
  if (t == nullptr) return;
  // The connection is looked up before the job lock is taken: the hub takes
  // its own lock first and a server's job lock second, never the other way.
  if (auto c = t->resolveTransceiverConnection(connectionId)) {
    std::lock_guard<std::recursive_mutex> g(_job_mutex);
    c->clear();
  }
  t->setServerUnused(path);
}

void HKTransceiverServerL1HTTP::_refuse(HKXHeader& request, HKTransceiverConnection& connection,
                                        const std::string& connectionId) {
  std::shared_ptr<HKXHeader> keep;
  {
    std::lock_guard<std::recursive_mutex> g(_l1_mutex);
    auto it = _heads.find(connectionId);
    if (it != _heads.end()) keep = it->second.header;
    _heads.erase(connectionId);
  }
  // A first line that is no GET or POST request (another method, a status
  // line, garbage) gets a 400 and the end of its connection, never silence.
  std::shared_ptr<HKXResponseHeader> response = request.createResponseHeader();
  response->setStatusCode(400);
  response->setJobState(6);
  response->setCtask(request.getCtask());
  _writeBuffer(connectionId, *response);
  connection.doShutdown();
}

// ---------------------------------------------------------------- write path

uint64_t HKTransceiverServerL1HTTP::_queueBody(HKXHeader& header, HKTransceiverConnection& connection,
                                               HKStringBuf*& buffer) {
  uint64_t bytes = 0;
  if (!header.getFilename().empty()) {
    std::ifstream file(header.getFilename(), std::ios::binary);
    if (!file) return 0;  // a failed open sends nothing
    char chunk[kFileChunk];
    while (file.read(chunk, kFileChunk) || file.gcount() > 0) buffer->sputn(chunk, file.gcount());
    bytes = buffer->getSizeReadable();
    connection.sputn(&buffer);
    return bytes;
  }
  HKStringBuf* data = header.moveDataBuffer();
  if (data == nullptr) return 0;
  bytes = data->getSizeReadable();
  if (bytes > 0) connection.sputn(&data);
  delete data;
  return bytes;
}

bool HKTransceiverServerL1HTTP::_writeBuffer(const std::string& connectionId, HKXHeader& header) {
  {
    std::lock_guard<std::recursive_mutex> g(_l1_mutex);
    if (header.getHeaderType() == HK_HEADER_REQUEST) _heads.erase(connectionId);
  }
  const bool expired = Timeout();
  _resetTimer();
  HKTransceiver* t = transceiver();
  if (expired || t == nullptr) {
    header.exitTask(header.getCtask());
    return !expired;
  }
  std::shared_ptr<HKTransceiverConnection> connection = t->resolveTransceiverConnection(connectionId);
  if (connection) {
    const std::string ctask = header.getCtask();
    if (connection->getCtask() != ctask) connection->joinTask(ctask);
    HKServerCallback_t info = connection->info();
    auto remote = info.map.find("remoteaddress");
    std::string line = (remote == info.map.end() ? std::string("none") : remote->second) + " - " +
                       HKURL::getProtocol(header.getProtocol()) + " - [" +
                       to_timestring(header.requestTime()) + "] \"" + header.getHTTPFirstLine();
    auto* buffer = new HKStringBuf();
    uint64_t bytes = 0;
    {
      std::ostream out(buffer);
      if (header.getHeader(out)) {
        bytes += buffer->getSizeReadable();
        connection->sputn(&buffer);
      }
    }
    bytes += _queueBody(header, *connection, buffer);
    delete buffer;
    // One flush for head and body: they leave in one write when they fit.
    t->_signal_out_tcp(connectionId);
    HKServerCallback_t record;
    record.kind = HK_SERVER_LOG;
    // Required form of the access log line; pinned by tests/transport/test_server_http.cpp.
    record.map["logging"] = line + "\" --> " + std::to_string(header.statusCode()) + " " +
                            std::to_string(bytes) + " \"" + firstOr(header, "referer") + "\" \"" +
                            firstOr(header, "user-agent") + "\"";
    _report(record);
  }
  header.exitTask(header.getCtask());
  return true;
}

void HKTransceiverServerL1HTTP::_idleRound() {
  std::vector<std::string> late;
  const int64_t now = steadyNs();
  {
    std::lock_guard<std::recursive_mutex> g(_l1_mutex);
    for (auto& [id, head] : _heads)
      if (!_withinLimits(head, now)) late.push_back(id);
  }
  HKTransceiver* t = transceiver();
  for (const auto& id : late) {
    _dropHead(id);
    if (t == nullptr) continue;
    if (auto c = t->resolveTransceiverConnection(id)) c->doShutdown();
  }
}

// ---------------------------------------------------------------- direct socket

HKTransceiverServerL1DirectSocket::HKTransceiverServerL1DirectSocket(
    HKGavetaScheduler2& scheduler, HKXServerHeader& header, HKTransceiver& transceiver,
    const std::string& clientId, const std::string& serverId, const std::string& hookService,
    HKServerCallbackFunction callback, const std::string& type)
    : HKTransceiverServerL0Socket(scheduler, header, transceiver, clientId, serverId, hookService,
                                  std::move(callback), type) {
  _protocol = HK_PROTO_SOCKET;
}

HKTransceiverServerL1DirectSocket::HKTransceiverServerL1DirectSocket(
    HKGavetaScheduler2& scheduler, HKXHeader& request, HKTransceiver& transceiver,
    const std::string& clientId, const std::string& serverId, const std::string& hookService,
    HKServerCallbackFunction callback, const std::string& type)
    : HKTransceiverServerL0Socket(scheduler, request, transceiver, clientId, serverId, hookService,
                                  std::move(callback), type) {
  _protocol = HK_PROTO_SOCKET;
}

HKTransceiverServerL1DirectSocket::~HKTransceiverServerL1DirectSocket() { _shutdownJobs(); }

void HKTransceiverServerL1DirectSocket::getSignal(const std::string& connectionId) {
  std::lock_guard<std::recursive_mutex> g(_job_mutex);
  _insert_bufferSignaled(connectionId, _clientId);
  HKTransceiverServer::getSignal(connectionId);
}

void HKTransceiverServerL1DirectSocket::_bufferworkfunction(const std::string& connectionId,
                                                            const std::string& clientId) {
  HKTransceiver* t = transceiver();
  if (t == nullptr) return;
  std::shared_ptr<HKTransceiverConnection> connection = t->resolveTransceiverConnection(connectionId);
  std::shared_ptr<HKTransceiverClient> client = t->resolveTransceiverClient(clientId);
  if (!connection || !client) return;
  auto* header = new HKXHeader(HK_SCHEME_POST, false, _protocol);
  header->setHeaderType(_serverSide ? HK_HEADER_REQUEST : HK_HEADER_ANSWER);
  connection->getBytesIn(*header->getDataBuffer());
  header->addAnswerPath(connectionId);
  header->addAnswerPath(_jobID);
  bool taken = false;
  try {
    taken = client->onReceived(_serverId, *header);
  } catch (...) {
    delete header;
    throw;
  }
  // On false the header has passed to the client.
  if (taken) delete header;
}

bool HKTransceiverServerL1DirectSocket::_writeBuffer(const std::string& connectionId, HKXHeader& header) {
  const bool expired = Timeout();
  _resetTimer();
  HKTransceiver* t = transceiver();
  if (expired || t == nullptr) {
    header.exitTask(header.getCtask());
    return false;
  }
  std::shared_ptr<HKTransceiverConnection> connection = t->resolveTransceiverConnection(connectionId);
  if (connection) {
    connection->joinTask(header.getCtask());
    HKServerCallback_t record;
    record.kind = HK_SERVER_DIRECT_SENT;
    record.map["ID"] = _jobID;
    header.fillInfoMap(record.map);
    HKStringBuf* data = header.moveDataBuffer();
    const unsigned long bytes = data == nullptr ? 0 : data->getSizeReadable();
    record.map["bytes"] = std::to_string(bytes);
    if (data != nullptr) connection->sputn(&data);
    delete data;
    t->_signal_out_tcp(connectionId);
    _report(record);
  }
  header.exitTask(header.getCtask());
  return true;
}
