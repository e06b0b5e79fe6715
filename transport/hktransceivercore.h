// The hub of the transport: one per application.
//
// HKTransceiver owns the tables of clients, servers, connections and sockets,
// runs the two network jobs that do all socket reading and writing, and a
// housekeeping thread that retires what has timed out (1-second rounds).
// Servers and clients never hold each other: they meet here through job
// identifiers that are resolved under a lock at each use, so either side may
// vanish between two messages.
//
// Network jobs ("HKTransceiver_tcp_rcv" and "HKTransceiver_tcp_snd" plus the
// transceiver's identifier) are injected with the first socket and stay for
// the transceiver's life. Each sleeps in epoll_wait and is woken by its
// eventfd or by the sockets: an idle transceiver uses no processor time, and
// descriptors beyond 1024 are served as well as the first ones.
//
// Locks: the socket lock together with the main lock (all or none);
// otherwise the main lock alone; the hook-service lock is outermost in send.
// Network jobs never hold a lock while they wait.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include <toviktwo/scheduler/hkgavetascheduler2.h>
#include <toviktwo/scheduler/hkjob.h>
#include <toviktwo/transport/hkservercallback.h>
#include <toviktwo/transport/hksocket.h>

class HKTransceiverClient;
class HKTransceiverConnection;
class HKTransceiverServerL0;
class HKURLHookService;
class HKXHeader;
class HKXServerHeader;

// One connected client and the servers it started; stops them when it goes.
class HKTransceiverClientRecord {
 public:
  explicit HKTransceiverClientRecord(std::shared_ptr<HKTransceiverClient> client);
  // Calls stop() on every server header.
  ~HKTransceiverClientRecord();

  std::shared_ptr<HKTransceiverClient> _client;
  std::map<std::string, std::shared_ptr<HKXServerHeader>> _servers;  // by server identifier
};

class HKTransceiver : public HKJob {
 public:
  // Creates the combined task "housekeeping" and starts the housekeeping thread.
  explicit HKTransceiver(HKGavetaScheduler2& scheduler);
  // Stops housekeeping, servers and network jobs, and waits for them.
  ~HKTransceiver() override;

  // ---- clients and servers
  // Connects the client (first transceiver wins) and files it; an empty
  // pointer or a client already known gives an empty result.
  virtual std::shared_ptr<HKTransceiverClient> connect(std::shared_ptr<HKTransceiverClient> client);
  // Disconnects the client and drops its record, which stops its servers;
  // their connections are closed.
  virtual void disconnect(std::shared_ptr<HKTransceiverClient> client);
  // The one way out for a message: the header's identifier, or getError()
  // when it could not be delivered. An answer is written in the calling job.
  virtual std::string send(HKTransceiverClient& client, std::shared_ptr<HKXHeader> header,
                           HKServerCallbackFunction callback, std::string ctask, bool unused);
  // Starts a server for the header's protocol; the result is the header's
  // identifier (empty for an unknown client or an empty header). An HTTPS
  // server without its key pair raises HKException_SSL.
  virtual std::string receive(HKTransceiverClient& client, std::shared_ptr<HKXServerHeader> header,
                              HKServerCallbackFunction callback);

  // The pool of outgoing connections of a client to a host descriptor, or null.
  std::shared_ptr<HKURLHookService> hookService(const std::string& clientId, const std::string& descriptor);
  std::shared_ptr<HKTransceiverConnection> resolveTransceiverConnection(const std::string& id);
  std::shared_ptr<HKTransceiverClient> resolveTransceiverClient(const std::string& id);
  std::shared_ptr<HKTransceiverServerL0> resolveTransceiverServer(const std::string& id);
  void addTransceiverServer(std::shared_ptr<HKTransceiverServerL0> server);
  // Files a server under another identifier: a client-side server under its connection's.
  void addTransceiverServer(const std::string& id, std::shared_ptr<HKTransceiverServerL0> server);
  // Stops the server and removes it with its connections.
  void removeServer(const std::string& id);
  // Tells the server's hook service (kind 5, with "ctask") that it is free.
  void setServerUnused(const std::string& id);

  // ---- sockets
  // Files socket and connection and starts the network jobs with the first
  // one. Raises "socket and connection must be defined" for an empty pointer.
  std::string _addTCPSocket(std::shared_ptr<HKSocketIPvx>& socket,
                            std::shared_ptr<HKTransceiverConnection> connection);
  // Drops the connection (kind 2 to hook service, server and connection); the
  // socket closes with its last pointer. Unknown identifiers are ignored.
  void _removeTCPSocket(const std::string& id, bool unused);
  void _removeCorrenspondingTCPSocket(const std::string& id);
  // Removes the connection once its waiting output has left (at once when
  // nothing waits): an answer queued before a close still reaches the peer.
  void _removeWhenSent(const std::string& id);
  // Kind 8 for the server `assign`: the connection has new bytes.
  void signal_client(const std::string& assign, const std::string& connectionId);
  // Wakes the send job for every connection with output waiting.
  void _signal_out_tcp();
  // Writes what the connection has waiting right now, without blocking, and
  // leaves any rest to the send job.
  void _signal_out_tcp(const std::string& connectionId);
  // Ends both network jobs' loops and empties the socket table.
  void _clear_tcp();

  // ---- reports
  // For kind 7 with "logging": prints the line and a new line to standard
  // output. Other kinds are ignored. Usable as a server callback.
  static bool reportInfo(HKServerCallback_t& info);

  // ---- inspection (tests, benchmarks)
  size_t countSockets();
  size_t countConnections();
  size_t countServers();
  size_t countClients();
  // Rounds of the receive job so far: a job that waits does not count up.
  uint64_t receiveRounds() const { return _rcv_rounds.load(); }
  uint64_t sendRounds() const { return _snd_rounds.load(); }
  HKGavetaScheduler2& getScheduler() { return _scheduler; }

 protected:
  bool _sendto(std::string target, HKJobMessage& message) override;
  // The request branch of send: through the client's pool for the host.
  std::string _sendRequest(HKTransceiverClient& client, std::shared_ptr<HKXHeader> header,
                           HKServerCallbackFunction callback, const std::string& ctask, std::string result);

  struct SocketEntry {
    std::shared_ptr<HKSocketIPvx> socket;
    std::shared_ptr<HKTransceiverConnection> connection;
    uint64_t key = 0;  // epoll tag; never reused, so a stale event finds nothing
    int fd = -1;
  };

  void _startNetworkJobs();
  void _stopNetworkJobs();
  void _receiveLoop();
  void _sendLoop();
  void _receiveEvent(uint32_t events, uint64_t key, std::vector<std::string>& removals);
  void _sendOne(const std::string& id, std::vector<std::string>& removals);
  // True when the connection was waiting to close and has nothing left to send.
  bool _doneClosing(const std::string& id, HKTransceiverConnection& connection);
  void _armWrite(const SocketEntry& entry);
  bool _lookup(uint64_t key, SocketEntry& out);
  bool _lookup(const std::string& id, SocketEntry& out);
  // Removes entries whose descriptor was closed behind the jobs' back.
  void _validityScan(std::vector<std::string>& removals);
  void _on_healthaction();
  void _retireTimedOutServers();
  void _retireTimedOutConnections();
  void _removeServerConnections(const std::string& serverId);

  std::recursive_mutex _hook_mutex;
  std::map<std::string, std::shared_ptr<HKTransceiverClientRecord>> _clients;  // _main_mutex
  HKGavetaScheduler2& _scheduler;
  std::recursive_mutex _main_mutex;
  std::map<std::string, std::shared_ptr<HKTransceiverConnection>> _connections;  // _main_mutex
  std::map<std::string, std::shared_ptr<HKTransceiverServerL0>> _servers;        // _main_mutex
  std::map<std::string, std::map<std::string, std::shared_ptr<HKURLHookService>>>
      _hooksByClient;                                               // _hook_mutex
  std::map<std::string, std::shared_ptr<HKURLHookService>> _hooks;  // _hook_mutex

  std::recursive_mutex _socket_mutex;
  std::map<std::string, SocketEntry> _sockets;            // _socket_mutex
  std::unordered_map<uint64_t, std::string> _socketKeys;  // _socket_mutex
  uint64_t _nextKey = 1;                                  // _socket_mutex

  std::atomic<bool> _rcv_running{false};
  std::atomic<bool> _snd_running{false};
  uint64_t _snd_jobid = 0;  // _socket_mutex
  uint64_t _rcv_jobid = 0;  // _socket_mutex
  int _rcv_epoll = -1;
  int _rcv_wake = -1;
  int _snd_epoll = -1;
  int _snd_wake = -1;
  std::mutex _snd_mutex;
  std::vector<std::string> _snd_queue;  // _snd_mutex
  std::set<std::string> _closing;       // _snd_mutex
  std::atomic<uint64_t> _rcv_rounds{0};
  std::atomic<uint64_t> _snd_rounds{0};

  std::string _housekeeping_task;
  std::atomic<bool> _running{true};
  std::mutex _health_mutex;
  std::condition_variable _health_cv;
  std::thread _health_thread;
};
