#include <toviktwo/devices/hkdynamicvariable.h>

#define HK_VARIABLE_SCALAR_INSTANCE(vt, T) template class HKDynamicVariable<T, T, vt>;
#define HK_VARIABLE_ARRAY_INSTANCE(vt, T)                  \
  template class HKDynamicVariable<T, std::vector<T>, vt>; \
  template class HKDynamicVariable_Array<T, std::vector<T>, vt>;
HK_SCALAR_VARTYPES(HK_VARIABLE_SCALAR_INSTANCE)
HK_ARRAY_VARTYPES(HK_VARIABLE_ARRAY_INSTANCE)
#undef HK_VARIABLE_SCALAR_INSTANCE
#undef HK_VARIABLE_ARRAY_INSTANCE

HKDynamicVariable_basic::HKDynamicVariable_basic(HKVarType type) : _type(type) {
  const TimePoint now = _now();
  _t_created = now;
  _t_published = now;
  _t_reserved = now;
  _t_value = now;
}

HKDynamicVariable_basic::~HKDynamicVariable_basic() = default;

HKDynamicVariable_basic::TimePoint HKDynamicVariable_basic::_now() {
  return std::chrono::time_point_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now());
}

void HKDynamicVariable_basic::_cycle() {}

void HKDynamicVariable_basic::_cycle0() {
  if (_cycle_count > 0) _cycle();
  _cycle_count = 0;
}

void HKDynamicVariable_basic::Debug() {}

HKMessage* HKDynamicVariable_basic::GetValueAsMessage() { return nullptr; }

HKMessage* HKDynamicVariable_basic::GetStateAsMessage() { return nullptr; }

void HKDynamicVariable_basic::SetFromMessage(HKMessage* message) {
  if (message == nullptr || message->GetMessageTypeID() != HK_MSG_STATE_CHANGE) return;
  // Safety: another class with the state identifier is ignored.
  if (auto* state = dynamic_cast<HKStateChangeMessage*>(message)) _state = state->GetState();
}

HKVariableConfiguration* HKDynamicVariable_basic::GetConfig(std::string key) {
  auto found = _config.find(key);
  return found == _config.end() ? nullptr : found->second;
}

void HKDynamicVariable_basic::SetConfig(std::string key, HKVariableConfiguration* c) {
  _config[std::move(key)] = c;
}

HKChannel* HKDynamicVariable_basic::GetChannel() { return dynamic_cast<HKChannel*>(GetConfig("channel")); }

void HKDynamicVariable_basic::SetChannel(HKChannel* channel) { SetConfig("channel", channel); }

HKDynamicVariable_basic* HKNewDynamicVariable(int type) {
  switch (type) {
#define HK_NEW_VARIABLE_CASE(vt, T) \
  case vt: return new HKDynamicVariableOf<vt>();
    HK_SCALAR_VARTYPES(HK_NEW_VARIABLE_CASE)
    HK_ARRAY_VARTYPES(HK_NEW_VARIABLE_CASE)
#undef HK_NEW_VARIABLE_CASE
    default: return nullptr;
  }
}
