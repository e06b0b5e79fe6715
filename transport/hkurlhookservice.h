// The pool of outgoing connections: one service per client and per host
// descriptor ("http://host:port"). Every request the program sends to another
// server passes through `addRequest`, which gives it a client-side server
// object (a "hook") with one TCP connection: an idle one, a new one, or, when
// the limit of hooks is reached, a place on the stack of waiting requests.
//
// A hook runs from `addRequest` until its response has been read; the
// transceiver then tells the service (kind 5) and the hook serves the first
// waiting request or becomes idle. An idle hook retires after its time-out,
// a hook whose connection dies at once (kind 1). A request whose hook
// retires before its response was complete ends with an error, which a web
// client learns through `_onRequestFailed`.
//
// Threads: `addRequest` runs in the sender's job, messages in the bus; both
// take the job lock. `HKTransceiver::send` makes the service on first use.
#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <string>

#include <toviktwo/transport/hktransceiverserver.h>

class HKXHeader;

// All hooks by identifier, the idle ones, and the order in which they became idle.
template <class T>
class HKJobWithTimeoutAndIdleList {
 public:
  // Enters the hook among all hooks.
  void add(const std::string& id, std::shared_ptr<T> hook) { _all[id] = std::move(hook); }
  // Marks a known hook idle, behind the others; false for an unknown one.
  bool setIdle(const std::string& id) {
    auto it = _all.find(id);
    if (it == _all.end() || _idle.count(id) != 0) return false;
    _idle[id] = it->second;
    _idleList.push_back(id);
    ++_idleCount;
    return true;
  }
  // The first idle hook that is still known and has not timed out; stale and
  // timed-out entries on the way are dropped from all three. Null when none.
  std::shared_ptr<T> takeIdle() {
    while (!_idleList.empty()) {
      const std::string id = _idleList.front();
      _idleList.pop_front();
      --_idleCount;
      auto idle = _idle.find(id);
      std::shared_ptr<T> hook = idle == _idle.end() ? nullptr : idle->second;
      if (idle != _idle.end()) _idle.erase(idle);
      auto known = _all.find(id);
      if (!hook || known == _all.end() || known->second != hook || hook->Timeout()) {
        _all.erase(id);
        continue;
      }
      return hook;
    }
    return nullptr;
  }
  // Drops the hook from all three.
  void remove(const std::string& id) {
    _all.erase(id);
    if (_idle.erase(id) == 0) return;
    _idleList.remove(id);
    _idleCount = _idleList.size();
  }
  bool isIdle(const std::string& id) const { return _idle.count(id) != 0; }
  std::shared_ptr<T> find(const std::string& id) const {
    auto it = _all.find(id);
    return it == _all.end() ? nullptr : it->second;
  }
  uint64_t sizeAll() const { return _all.size(); }
  uint64_t sizeIdle() const { return _idleCount; }
  void clear() {
    _all.clear();
    _idle.clear();
    _idleList.clear();
    _idleCount = 0;
  }
  const std::map<std::string, std::shared_ptr<T>>& all() const { return _all; }

 private:
  std::map<std::string, std::shared_ptr<T>> _all;
  std::map<std::string, std::shared_ptr<T>> _idle;
  std::list<std::string> _idleList;
  uint64_t _idleCount = 0;
};

class HKURLHookService : public HKTransceiverServer {
 public:
  // Makes the hook (with its outgoing connection not yet open) for a request;
  // the second argument is the service's identifier, the hook's hook service.
  using HookFactory =
      std::function<std::shared_ptr<HKTransceiverServerL0>(HKXHeader& request, const std::string& serviceId)>;
  static constexpr uint64_t kDefaultMaxHooks = 10;

  // Joins the task "urlhook_" plus its own identifier; connected to `transceiver`.
  HKURLHookService(HKGavetaScheduler2& scheduler, HKTransceiver& transceiver, const std::string& clientId,
                   HKServerCallbackFunction callback, const std::string& serverId, HookFactory factory);
  // Stops the hooks (their tasks end) and empties the tables.
  ~HKURLHookService() override;

  // Sends the request on an idle or a new hook and returns it; an empty
  // result when it waits on the stack (at the front with `front`). A hook
  // that cannot connect sets `error` and returns the request unsent.
  virtual std::shared_ptr<HKXHeader> addRequest(std::shared_ptr<HKXHeader> header, bool& error, bool front);
  // Requests waiting on the stack.
  virtual uint64_t sizeMessageStack();
  // Waiting requests plus the hooks that are not idle.
  virtual uint64_t sizeRunningJobs();
  void maxHooks(uint64_t n);
  // All hooks, idle or not (tests).
  uint64_t sizeHooks();

 protected:
  // Kind 1: a hook retired; kind 5: a hook finished its request.
  bool _messagereceive(HKJobMessage& message) override;
  // Tells the web client that the request has ended without a response.
  void _failRequest(const std::string& requestId);
  void _hookRetired(const std::string& hookId);
  void _hookFinished(HKJobMessage& message);

  uint64_t _maxHooks = kDefaultMaxHooks;                      // job lock
  HKJobWithTimeoutAndIdleList<HKTransceiverServerL0> _hooks;  // job lock
  std::string _task;
  std::list<std::shared_ptr<HKXHeader>> _stack;  // job lock
  uint64_t _stackCount = 0;                      // job lock
  // The request each running hook is serving, by hook identifier.
  std::map<std::string, std::string> _running;  // job lock
  HookFactory _factory;
};
