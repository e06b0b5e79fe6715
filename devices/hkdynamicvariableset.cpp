#include <toviktwo/devices/hkdynamicvariableset.h>

#include <string>

#include <toviktwo/devices/hkmutexend.h>

HKDynamicVariableSet::~HKDynamicVariableSet() {
  for (;;) {
    HKDynamicVariable_basic* variable = nullptr;
    {
      std::scoped_lock both(_variables_mutex, _subscribers_mutex);
      if (_variables.empty()) break;
      variable = _variables.begin()->second;
      _variables.erase(_variables.begin());
    }
    delete variable;
  }
  HKMutexEnds(_variables_mutex);
  HKMutexEnds(_subscribers_mutex);
}

long HKDynamicVariableSet::InsertDynamicVariable(HKDynamicVariable_basic* v, HKDevice_w_queue* subscriber) {
  if (v == nullptr) return 0;
  std::scoped_lock both(_variables_mutex, _subscribers_mutex);
  for (const auto& [number, variable] : _variables) {
    if (variable == v) {
      _subscribers[number].insert(subscriber);
      return static_cast<long>(number);
    }
  }
  const uint64_t number = _variables.size() + 1;
  _variables[number] = v;
  v->SetRefID(std::to_string(number));
  _subscribers[number].insert(subscriber);
  return static_cast<long>(number);
}

long HKDynamicVariableSet::LocateIfExists(HKVarConfigAddress* a) {
  if (a == nullptr) return 0;
  std::lock_guard<std::recursive_mutex> guard(_variables_mutex);
  for (const auto& [number, variable] : _variables) {
    auto* address = dynamic_cast<HKVarConfigAddress*>(variable->GetConfig("address"));
    if (address != nullptr && *address == *a) return static_cast<long>(number);
  }
  return 0;
}

HKDynamicVariable_basic* HKDynamicVariableSet::GetVariable(uint64_t number) {
  std::lock_guard<std::recursive_mutex> guard(_variables_mutex);
  auto found = _variables.find(number);
  return found == _variables.end() ? nullptr : found->second;
}

void HKDynamicVariableSet::AddSubscriber(uint64_t number, HKDevice_w_queue* subscriber) {
  std::scoped_lock both(_variables_mutex, _subscribers_mutex);
  _subscribers[number].insert(subscriber);
}

void HKDynamicVariableSet::RemoveSubscriber(uint64_t number, HKDevice_w_queue* subscriber) {
  std::scoped_lock both(_variables_mutex, _subscribers_mutex);
  auto found = _subscribers.find(number);
  if (found != _subscribers.end()) found->second.erase(subscriber);
}

std::set<HKDevice_w_queue*> HKDynamicVariableSet::GetSubscribers(uint64_t number) {
  std::lock_guard<std::recursive_mutex> guard(_subscribers_mutex);
  auto found = _subscribers.find(number);
  return found == _subscribers.end() ? std::set<HKDevice_w_queue*>() : found->second;
}

size_t HKDynamicVariableSet::size() {
  std::lock_guard<std::recursive_mutex> guard(_variables_mutex);
  return _variables.size();
}
