// The socket table and the two network jobs of HKTransceiver, kept apart
// from the tables of clients and servers.
//
// Both jobs sleep in epoll_wait. The receive job watches every socket for
// input and is woken by its eventfd only to end; the send job watches only
// sockets whose output did not fit at once, and is woken by its eventfd when
// a connection has something to send. An answer is first written by the job
// that made it (non-blocking), so that an ordinary response needs no hand-over.
#include <toviktwo/transport/hktransceivercore.h>

#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>

#include <toviktwo/foundation/hkexception.h>
#include <toviktwo/transport/hktransceiverconnection.h>
#include <toviktwo/transport/hktransceiverserver.h>
#include <toviktwo/transport/hktransportjobs.h>

namespace {

using namespace std::chrono_literals;

constexpr uint64_t kWakeKey = 0;
constexpr int kEventBatch = 256;
constexpr auto kValidityScanPeriod = 1000ms;
constexpr int kValidityScanMs = 1000;
constexpr uint32_t kReadEvents = EPOLLIN | EPOLLPRI | EPOLLRDHUP;

void wake(int fd) {
  const uint64_t one = 1;
  [[maybe_unused]] const ssize_t r = write(fd, &one, sizeof one);
}

void drain(int fd) {
  uint64_t value = 0;
  [[maybe_unused]] const ssize_t r = read(fd, &value, sizeof value);
}

int descriptorOf(HKSocketIPvx& socket) {
  return socket.getDescriptor() >= 0 ? socket.getDescriptor() : socket.getDescriptor4();
}

}  // namespace

// ---------------------------------------------------------------- table

std::string HKTransceiver::_addTCPSocket(std::shared_ptr<HKSocketIPvx>& socket,
                                         std::shared_ptr<HKTransceiverConnection> connection) {
  if (!socket || !connection) throw HKException("socket and connection must be defined", __LINE__, "src");
  const std::string id = connection->getID();
  {
    std::scoped_lock locks(_socket_mutex, _main_mutex);
    if (_sockets.count(id) == 0) {
      SocketEntry entry{socket, connection, _nextKey++, descriptorOf(*socket)};
      _connections[id] = connection;
      _socketKeys[entry.key] = id;
      if (entry.fd >= 0) {
        epoll_event ev{};
        ev.events = kReadEvents;
        ev.data.u64 = entry.key;
        epoll_ctl(_rcv_epoll, EPOLL_CTL_ADD, entry.fd, &ev);
      }
      _sockets[id] = std::move(entry);
    }
  }
  _startNetworkJobs();
  return id;
}

void HKTransceiver::_startNetworkJobs() {
  std::lock_guard<std::recursive_mutex> g(_socket_mutex);
  if (_rcv_jobid == 0) {
    _rcv_running = true;
    _rcv_jobid = HKInjectLoopJob(
        _scheduler, "HKTransceiver_tcp_rcv" + _jobID, [this] { _receiveLoop(); },
        [this] {
          _rcv_running = false;
          wake(_rcv_wake);
        });
  }
  if (_snd_jobid == 0) {
    _snd_running = true;
    _snd_jobid = HKInjectLoopJob(
        _scheduler, "HKTransceiver_tcp_snd" + _jobID, [this] { _sendLoop(); },
        [this] {
          _snd_running = false;
          wake(_snd_wake);
        });
  }
}

void HKTransceiver::_stopNetworkJobs() {
  uint64_t rcv = 0;
  uint64_t snd = 0;
  {
    std::lock_guard<std::recursive_mutex> g(_socket_mutex);
    rcv = _rcv_jobid;
    snd = _snd_jobid;
  }
  HKReapLoopJob(_scheduler, rcv);
  HKReapLoopJob(_scheduler, snd);
}

void HKTransceiver::_removeTCPSocket(const std::string& id, bool) {
  std::shared_ptr<HKTransceiverConnection> keep;
  SocketEntry entry;
  std::string hook;
  {
    std::scoped_lock locks(_socket_mutex, _main_mutex);
    auto it = _sockets.find(id);
    if (it == _sockets.end()) {
      // A connection filed without a socket still leaves the table.
      _connections.erase(id);
      return;
    }
    entry = it->second;
    keep = entry.connection;
    _servers.erase(id);  // a client-side server goes with its connection
    if (entry.fd >= 0) {
      epoll_ctl(_rcv_epoll, EPOLL_CTL_DEL, entry.fd, nullptr);
      epoll_ctl(_snd_epoll, EPOLL_CTL_DEL, entry.fd, nullptr);
    }
    _socketKeys.erase(entry.key);
    _sockets.erase(it);
    _connections.erase(id);
    std::lock_guard<std::mutex> g(_snd_mutex);
    _closing.erase(id);
  }
  HKJobMessage gone(_jobID, HKMSG_SOCKET_GONE, id);
  if (!keep->getAssotiatedHookService().empty()) _sendto(keep->getAssotiatedHookService(), gone);
  _sendto(keep->assign(), gone);
  _sendto(id, gone);
}

void HKTransceiver::_removeCorrenspondingTCPSocket(const std::string& id) { _removeTCPSocket(id, false); }

void HKTransceiver::_removeWhenSent(const std::string& id) {
  SocketEntry entry;
  if (!_lookup(id, entry) || !entry.connection->signaledOut()) {
    _removeTCPSocket(id, false);
    return;
  }
  {
    std::lock_guard<std::mutex> g(_snd_mutex);
    _closing.insert(id);
    _snd_queue.push_back(id);
  }
  wake(_snd_wake);
}

bool HKTransceiver::_doneClosing(const std::string& id, HKTransceiverConnection& connection) {
  if (connection.needsSendRound()) return false;
  std::lock_guard<std::mutex> g(_snd_mutex);
  return _closing.count(id) != 0;
}

void HKTransceiver::_clear_tcp() {
  _rcv_running = false;
  _snd_running = false;
  wake(_rcv_wake);
  wake(_snd_wake);
  std::map<std::string, SocketEntry> gone;
  {
    std::lock_guard<std::recursive_mutex> g(_socket_mutex);
    for (auto& [id, entry] : _sockets) {
      if (entry.fd < 0) continue;
      epoll_ctl(_rcv_epoll, EPOLL_CTL_DEL, entry.fd, nullptr);
      epoll_ctl(_snd_epoll, EPOLL_CTL_DEL, entry.fd, nullptr);
    }
    gone.swap(_sockets);
    _socketKeys.clear();
  }
}

bool HKTransceiver::_lookup(uint64_t key, SocketEntry& out) {
  std::lock_guard<std::recursive_mutex> g(_socket_mutex);
  auto k = _socketKeys.find(key);
  if (k == _socketKeys.end()) return false;
  auto it = _sockets.find(k->second);
  if (it == _sockets.end()) return false;
  out = it->second;
  return true;
}

bool HKTransceiver::_lookup(const std::string& id, SocketEntry& out) {
  std::lock_guard<std::recursive_mutex> g(_socket_mutex);
  auto it = _sockets.find(id);
  if (it == _sockets.end()) return false;
  out = it->second;
  return true;
}

// ---------------------------------------------------------------- signals

void HKTransceiver::signal_client(const std::string& assign, const std::string& connectionId) {
  // A server of this transceiver gets the signal directly; the bus would
  // add a thread hand-over per read (speed only). Anything else, such as a
  // hook service, is reached through the bus as a message of kind 8.
  std::shared_ptr<HKTransceiverServerL0> server = resolveTransceiverServer(assign);
  if (server) {
    server->getSignal(connectionId);
    return;
  }
  HKJobMessage message(_jobID, HKMSG_CLIENT_SIGNAL, connectionId);
  _sendto(assign, message);
}

void HKTransceiver::_signal_out_tcp() {
  {
    std::scoped_lock locks(_socket_mutex, _snd_mutex);
    for (auto& [id, entry] : _sockets)
      if (entry.connection->needsSendRound()) _snd_queue.push_back(id);
  }
  wake(_snd_wake);
}

void HKTransceiver::_signal_out_tcp(const std::string& connectionId) {
  SocketEntry entry;
  if (!_lookup(connectionId, entry)) return;
  // The first attempt in the calling job: a response that fits into the
  // socket leaves at once, with no hand-over to the send job.
  const int r = entry.connection->doSend(*entry.socket);
  if (r < 0 || _doneClosing(connectionId, *entry.connection)) {
    _removeTCPSocket(connectionId, true);
    return;
  }
  if (!entry.connection->needsSendRound()) return;
  {
    std::lock_guard<std::mutex> g(_snd_mutex);
    _snd_queue.push_back(connectionId);
  }
  wake(_snd_wake);
}

// ---------------------------------------------------------------- receive job

void HKTransceiver::_receiveLoop() {
  epoll_event events[kEventBatch];
  auto nextScan = std::chrono::steady_clock::now() + kValidityScanPeriod;
  while (_rcv_running) {
    bool empty = false;
    {
      std::lock_guard<std::recursive_mutex> g(_socket_mutex);
      empty = _sockets.empty();
    }
    // With no socket the job waits without limit: only a stop wakes it, and
    // a new socket's input wakes it through the epoll set.
    const int n = epoll_wait(_rcv_epoll, events, kEventBatch, empty ? -1 : kValidityScanMs);
    ++_rcv_rounds;
    std::vector<std::string> removals;
    for (int i = 0; i < n; ++i) {
      if (events[i].data.u64 == kWakeKey) {
        drain(_rcv_wake);
        continue;
      }
      _receiveEvent(events[i].events, events[i].data.u64, removals);
    }
    if (std::chrono::steady_clock::now() >= nextScan) {
      _validityScan(removals);
      nextScan = std::chrono::steady_clock::now() + kValidityScanPeriod;
    }
    for (const auto& id : removals) _removeTCPSocket(id, true);
  }
}

void HKTransceiver::_receiveEvent(uint32_t events, uint64_t key, std::vector<std::string>& removals) {
  SocketEntry entry;
  if (!_lookup(key, entry)) return;
  HKTransceiverConnection& connection = *entry.connection;
  connection.bufferPrepare();
  if (events & EPOLLPRI) {
    char urgent = 0;
    if (recv(entry.fd, &urgent, 1, MSG_OOB | MSG_DONTWAIT) < 1) {
      removals.push_back(connection.getID());
      return;
    }
  }
  if (events & (EPOLLIN | EPOLLHUP | EPOLLERR | EPOLLRDHUP)) {
    if (connection.doReceive(*entry.socket) < 1) {
      removals.push_back(connection.getID());
      return;
    }
    // A TLS read that waits for output room is retried by the send job.
    if (connection.needsSendRound()) {
      std::lock_guard<std::mutex> g(_snd_mutex);
      _snd_queue.push_back(connection.getID());
      wake(_snd_wake);
    }
  }
}

void HKTransceiver::_validityScan(std::vector<std::string>& removals) {
  std::vector<std::pair<std::string, int>> fds;
  {
    std::lock_guard<std::recursive_mutex> g(_socket_mutex);
    fds.reserve(_sockets.size());
    for (auto& [id, entry] : _sockets) fds.emplace_back(id, entry.fd);
  }
  for (const auto& [id, fd] : fds)
    if (fd < 0 || fcntl(fd, F_GETFL) == -1) removals.push_back(id);
}

// ---------------------------------------------------------------- send job

void HKTransceiver::_armWrite(const SocketEntry& entry) {
  epoll_event ev{};
  ev.events = EPOLLOUT | EPOLLONESHOT;
  ev.data.u64 = entry.key;
  if (epoll_ctl(_snd_epoll, EPOLL_CTL_MOD, entry.fd, &ev) != 0)
    epoll_ctl(_snd_epoll, EPOLL_CTL_ADD, entry.fd, &ev);
}

void HKTransceiver::_sendOne(const std::string& id, std::vector<std::string>& removals) {
  SocketEntry entry;
  if (!_lookup(id, entry)) return;
  HKTransceiverConnection& connection = *entry.connection;
  if (connection.needsSendRound() && connection.doSend(*entry.socket) < 0) {
    removals.push_back(id);
    return;
  }
  if (_doneClosing(id, connection)) {
    removals.push_back(id);
    return;
  }
  // What the socket did not take waits for room.
  if (connection.needsSendRound() && entry.fd >= 0) _armWrite(entry);
}

void HKTransceiver::_sendLoop() {
  epoll_event events[kEventBatch];
  std::vector<std::string> work;
  while (_snd_running) {
    {
      std::lock_guard<std::mutex> g(_snd_mutex);
      work.insert(work.end(), _snd_queue.begin(), _snd_queue.end());
      _snd_queue.clear();
    }
    std::vector<std::string> removals;
    for (const auto& id : work) _sendOne(id, removals);
    work.clear();
    for (const auto& id : removals) _removeTCPSocket(id, true);
    {
      std::lock_guard<std::mutex> g(_snd_mutex);
      if (!_snd_queue.empty()) continue;
    }
    const int n = epoll_wait(_snd_epoll, events, kEventBatch, -1);
    ++_snd_rounds;
    for (int i = 0; i < n; ++i) {
      if (events[i].data.u64 == kWakeKey) {
        drain(_snd_wake);
        continue;
      }
      std::lock_guard<std::recursive_mutex> g(_socket_mutex);
      auto k = _socketKeys.find(events[i].data.u64);
      if (k != _socketKeys.end()) work.push_back(k->second);
    }
  }
}
