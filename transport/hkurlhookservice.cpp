#include <toviktwo/transport/hkurlhookservice.h>

#include <toviktwo/transport/hktransceiverclient.h>
#include <toviktwo/transport/hktransceivercore.h>
#include <toviktwo/transport/hkwebclient.h>
#include <toviktwo/transport/hkxheader.h>

HKURLHookService::HKURLHookService(HKGavetaScheduler2& scheduler, HKTransceiver& transceiver,
                                   const std::string& clientId, HKServerCallbackFunction callback,
                                   const std::string& serverId, HookFactory factory)
    : HKTransceiverServer(scheduler, clientId, serverId, transceiver.getID(), std::move(callback)),
      _factory(std::move(factory)) {
  _task = createCombinedTask("urlhook_" + _jobID);
  connect(transceiver);
}

HKURLHookService::~HKURLHookService() {
  std::lock_guard<std::recursive_mutex> g(_job_mutex);
  for (auto& [id, hook] : _hooks.all()) hook->stop();
  HKJob::_exitTasks();
  _hooks.clear();
  _stack.clear();
  _stackCount = 0;
  _running.clear();
}

std::shared_ptr<HKXHeader> HKURLHookService::addRequest(std::shared_ptr<HKXHeader> header, bool& error,
                                                        bool front) {
  HKTransceiver* t = transceiver();
  if (!header || t == nullptr) return header;
  std::lock_guard<std::recursive_mutex> g(_job_mutex);
  std::shared_ptr<HKTransceiverServerL0> hook = _hooks.takeIdle();
  if (!hook) {
    if (_hooks.sizeAll() >= _maxHooks) {
      if (front)
        _stack.push_front(std::move(header));
      else
        _stack.push_back(std::move(header));
      ++_stackCount;
      return nullptr;
    }
    hook = _factory ? _factory(*header, _jobID) : nullptr;
    if (!hook || !hook->initService()) {
      error = true;
      return header;
    }
    _hooks.add(hook->getID(), hook);
    t->addTransceiverServer(hook);
  }
  _running[hook->getID()] = header->getID();
  hook->joinTask(header->getCtask());
  hook->writeBuffer(*header);
  return header;
}

uint64_t HKURLHookService::sizeMessageStack() {
  std::lock_guard<std::recursive_mutex> g(_job_mutex);
  return _stackCount;
}

uint64_t HKURLHookService::sizeRunningJobs() {
  std::lock_guard<std::recursive_mutex> g(_job_mutex);
  return _stackCount + _hooks.sizeAll() - _hooks.sizeIdle();
}

void HKURLHookService::maxHooks(uint64_t n) {
  std::lock_guard<std::recursive_mutex> g(_job_mutex);
  _maxHooks = n;
}

uint64_t HKURLHookService::sizeHooks() {
  std::lock_guard<std::recursive_mutex> g(_job_mutex);
  return _hooks.sizeAll();
}

bool HKURLHookService::_messagereceive(HKJobMessage& message) {
  if (message._type == HKMSG_SERVER_DEAD)
    _hookRetired(message._data);
  else if (message._type == HKMSG_SERVER_UNUSED)
    _hookFinished(message);
  return true;
}

void HKURLHookService::_hookRetired(const std::string& hookId) {
  HKTransceiver* t = transceiver();
  std::shared_ptr<HKTransceiverServerL0> hook;
  {
    std::lock_guard<std::recursive_mutex> g(_job_mutex);
    hook = _hooks.find(hookId);
  }
  if (t != nullptr) {
    t->removeServer(hookId);
    // The housekeeping may have dropped the server from its table already;
    // the connection is closed here in any case, so that a peer that never
    // answered sees it end.
    if (hook && !hook->clientConnection().empty()) t->_removeTCPSocket(hook->clientConnection(), true);
  }
  std::string failed;
  {
    std::lock_guard<std::recursive_mutex> g(_job_mutex);
    _hooks.remove(hookId);
    auto it = _running.find(hookId);
    if (it != _running.end()) {
      failed = it->second;
      _running.erase(it);
    }
  }
  if (!failed.empty()) _failRequest(failed);
}

void HKURLHookService::_hookFinished(HKJobMessage& message) {
  std::shared_ptr<HKXHeader> next;
  {
    std::lock_guard<std::recursive_mutex> g(_job_mutex);
    HKJobMessage left(_jobID, HKMSG_JOB_LEFT, message._data);
    left._map = message._map;
    _combinedTasks.sendTo(_clientId, left);
    _running.erase(message._data);
    // The hook becomes idle first, so that a waiting request (taken from the
    // front of the stack) goes out on it at once.
    _hooks.setIdle(message._data);
    if (_stack.empty()) return;
    next = std::move(_stack.front());
    _stack.pop_front();
    --_stackCount;
  }
  bool error = false;
  const std::string id = next->getID();
  addRequest(std::move(next), error, true);
  if (error) _failRequest(id);
}

void HKURLHookService::_failRequest(const std::string& requestId) {
  HKTransceiver* t = transceiver();
  if (t == nullptr) return;
  std::shared_ptr<HKTransceiverClient> client = t->resolveTransceiverClient(_clientId);
  if (auto* web = dynamic_cast<HKTransceiverClientWEBClient*>(client.get())) web->_onRequestFailed(requestId);
}
