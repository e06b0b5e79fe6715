#include <toviktwo/devices/hkdriverconnector.h>

#include <cstdlib>
#include <iterator>
#include <memory>

HKDriverConnector::HKDriverConnector(HKGavetaScheduler2& scheduler) : HKDevice_w_queue(scheduler) {}

HKDriverConnector::~HKDriverConnector() = default;

void* HKDriverConnector::_extrainfo() { return nullptr; }

void HKDriverConnector::ConnectDriver(std::string name, HKDevice_w_queue* driver) {
  {
    std::lock_guard<std::recursive_mutex> guard(_device_mutex);
    _drivers[std::move(name)] = driver;
  }
  if (driver != nullptr) driver->ConnectTo(this);
}

long HKDriverConnector::InsertDynamicVariable(HKVarConfigAddress* address, HKDevice_w_queue* subscriber) {
  if (address == nullptr) return 0;
  std::lock_guard<std::recursive_mutex> device(_device_mutex);
  std::lock_guard<std::recursive_mutex> variables(_set.VariablesMutex());
  if (const long number = _set.LocateIfExists(address); number != 0) {
    _set.AddSubscriber(number, subscriber);
    if (HKDynamicVariable_basic* variable = _set.GetVariable(number)) _sendLatest(variable, subscriber);
    return number;
  }
  HKDynamicVariable_basic* variable = HKNewDynamicVariable(address->_vartype);
  if (variable == nullptr) return 0;
  const long number = _set.InsertDynamicVariable(variable, subscriber);
  variable->SetConfig("address", address);
  std::unique_ptr<HKDriverConnectMessage> connect(address->GetConnectMessage(variable->GetRefID()));
  auto driver = _drivers.find(connect->_driver);
  // No such driver: the variable exists and stays mute.
  if (driver != _drivers.end()) SendMessage(connect.release(), driver->second);
  return number;
}

void HKDriverConnector::_sendLatest(HKDynamicVariable_basic* variable, HKDevice_w_queue* subscriber) {
  if (HKMessage* value = variable->GetValueAsMessage()) SendMessage(value, subscriber);
  if (HKMessage* state = variable->GetStateAsMessage()) SendMessage(state, subscriber);
}

bool HKDriverConnector::_process_inbox_hook() {
  // Runs under `_device_mutex` (see the header), which keeps deliveries
  // from appending while the inbox is walked.
  while (!_inbox.empty()) {
    std::unique_ptr<HKMessageContainer> container(_inbox.front());
    _inbox.pop_front();
    for (HKMessage*& message : container->Messages()) {
      HKMessage* taken = message;
      message = nullptr;
      _dispatch(taken);
    }
  }
  return false;
}

void HKDriverConnector::_dispatch(HKMessage* message) {
  std::unique_ptr<HKMessage> owned(message);
  if (!owned) return;
  const int type = owned->GetMessageTypeID();
  if (type != HK_MSG_VALUE_CHANGE && type != HK_MSG_STATE_CHANGE) return;
  std::lock_guard<std::recursive_mutex> variables(_set.VariablesMutex());
  // strtol: a text that is not a number gives 0, which no variable has.
  const std::string refID = owned->GetRefID();
  const long number = std::strtol(refID.c_str(), nullptr, 10);
  HKDynamicVariable_basic* variable = number > 0 ? _set.GetVariable(number) : nullptr;
  if (variable == nullptr) return;
  variable->SetFromMessage(owned.get());
  variable->CalcUpdates();  // the code is not looked at: every message is passed on
  const std::set<HKDevice_w_queue*> subscribers = _set.GetSubscribers(number);
  for (auto it = subscribers.begin(); it != subscribers.end(); ++it) {
    if (std::next(it) == subscribers.end()) {
      SendMessage(owned.release(), *it);
    } else {
      SendMessage(owned->Duplicate(), *it);
    }
  }
}
