// Dynamic variables: typed values that live in the application, are fed by
// a driver and are passed to interested devices when they change.
//
// A variable keeps its live value (`_value`, written by `SetFromMessage` or
// pulled through its channel by `RetrieveValue`), the value last published
// (`_published`), a time stamp of each, and a 64-bit state word. A change is
// noticed by comparing time stamps, never values: writing the same value
// again counts as a change. `CalcUpdates` publishes a new value and tells
// what a subscriber needs to hear (HK_UPDATE_ codes).
//
// State word: bits 0 and 1 set with bits 2 and 3 clear is "good"; a read
// through a missing or failing channel clears bit 1 and sets bit 3, which
// is how a consumer learns that the value is stale. The next new value
// published by `CalcUpdates` makes the state good again.
//
// Variables have no lock. Their set's `_variables_mutex` guards them (the
// driver connector takes it around every use). Configuration entries are
// not owned by the variable.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <toviktwo/devices/hkchannel.h>
#include <toviktwo/devices/hkmessage.h>
#include <toviktwo/devices/hkvaluechangemessage.h>
#include <toviktwo/devices/hkvariableconfiguration.h>
#include <toviktwo/devices/hkvartype.h>
#include <toviktwo/foundation/hkexception.h>

// Bits of the state word.
constexpr uint64_t HK_VARSTATE_GOOD = 0x3;     // bits 0 and 1: a valid, current value
constexpr uint64_t HK_VARSTATE_CURRENT = 0x2;  // bit 1, cleared by a failed read
constexpr uint64_t HK_VARSTATE_FAULTS = 0xC;   // bits 2 and 3, cleared by a new value
constexpr uint64_t HK_VARSTATE_STALE = 0x8;    // bit 3, set by a failed read

// Results of CalcUpdates.
constexpr int HK_UPDATE_NONE = 0;
constexpr int HK_UPDATE_VALUE = 1;
constexpr int HK_UPDATE_STATE = 2;
constexpr int HK_UPDATE_VALUE_AND_STATE = 3;

class HKDynamicVariable_basic {
 public:
  using TimePoint = std::chrono::time_point<std::chrono::system_clock, std::chrono::nanoseconds>;

  // All four time stamps become the moment of construction.
  explicit HKDynamicVariable_basic(HKVarType type);
  HKDynamicVariable_basic(const HKDynamicVariable_basic&) = delete;
  HKDynamicVariable_basic& operator=(const HKDynamicVariable_basic&) = delete;

  // ---- overridable
  // Copies the live value to the published one; the base does nothing.
  virtual void _cycle();
  // Calls `_cycle` when the cycle count is above 0; the count becomes 0.
  virtual void _cycle0();
  virtual ~HKDynamicVariable_basic();
  // Does nothing.
  virtual void Debug();
  // Pulls the value through the channel (see HKDynamicVariable).
  virtual void RetrieveValue(void* context) = 0;
  // Publishes a new value and returns an HK_UPDATE_ code.
  virtual int CalcUpdates() = 0;
  // A new value message with the published value; null in the base.
  virtual HKMessage* GetValueAsMessage();
  // Takes a state message's state; the typed variables also take values.
  virtual void SetFromMessage(HKMessage* message);
  // A new state message with the published state; null in the base.
  virtual HKMessage* GetStateAsMessage();

  // ---- configuration
  // The entry of `key`, or null.
  HKVariableConfiguration* GetConfig(std::string key);
  // Enters or replaces the entry of `key`; the entry is not owned.
  void SetConfig(std::string key, HKVariableConfiguration* c);
  // The "channel" entry when it is an HKChannel, else null.
  HKChannel* GetChannel();
  // Sets the "channel" entry.
  void SetChannel(HKChannel* channel);

  // ---- reading
  HKVarType GetType() const { return _type; }
  const std::string& GetRefID() const { return _refID; }
  // Set by the variable set to the variable's number in decimal.
  void SetRefID(std::string refID) { _refID = std::move(refID); }
  uint64_t GetState() const { return _state; }
  uint64_t GetStatePublished() const { return _state_published; }
  TimePoint GetTimeValue() const { return _t_value; }
  TimePoint GetTimePublished() const { return _t_published; }

 protected:
  static TimePoint _now();

  HKVarType _type;
  int32_t _cycle_count = -1;
  int32_t _enabled = 1;
  int32_t _spare = 0;                                       // kept in the record; nothing reads it
  std::map<std::string, HKVariableConfiguration*> _config;  // not owned
  TimePoint _t_created;
  TimePoint _t_published;  // when the value was last copied to `_published`
  TimePoint _t_reserved;
  TimePoint _t_value;  // when the live value was last written
  std::string _refID;
  uint64_t _state_published = 0;
  uint64_t _state = 0;
};

// A variable of element type `T`, stored type `S` (`T`, or a vector of `T`
// in HKDynamicVariable_Array) and value type `VT`.
template <class T, class S, HKVarType VT>
class HKDynamicVariable : public HKDynamicVariable_basic {
 public:
  HKDynamicVariable() : HKDynamicVariable_basic(VT), _value(), _published() {}

  void _cycle() override { _published = _value; }
  // Runs `_retrieve_value`.
  void RetrieveValue(void* context) override { _retrieve_value(context); }
  int CalcUpdates() override;
  // A new HKValueChangeMessage<S, VT> with the number and the published value.
  HKMessage* GetValueAsMessage() override { return new HKValueChangeMessage<S, VT>(_refID, _published); }
  // A value message sets the live value and its time; a state message the
  // state. A value message of another value type is ignored.
  void SetFromMessage(HKMessage* message) override;
  // A new HKStateChangeMessage with the number and the published state.
  HKMessage* GetStateAsMessage() override { return new HKStateChangeMessage(_refID, _state_published); }

  // Reads through the channel: success stamps the value, a missing or
  // failing channel marks the state stale. Returns the live value.
  virtual S& _retrieve_value(void* context);
  // 1 for a scalar.
  virtual unsigned long size() { return 1; }

  const S& GetValue() const { return _value; }
  const S& GetPublished() const { return _published; }

 protected:
  S _value;      // live value
  S _published;  // last published value
};

// The array form: the value is a vector of `T`.
template <class T, class S, HKVarType VT>
class HKDynamicVariable_Array : public HKDynamicVariable<T, S, VT> {
 public:
  // The element count of the live value.
  unsigned long size() override { return this->_value.size(); }
  // The element `i` of the live value; HKException past the end.
  virtual T operator[](unsigned long i);
};

// ---- template definitions

template <class T, class S, HKVarType VT>
int HKDynamicVariable<T, S, VT>::CalcUpdates() {
  if (_t_published < _t_value) {
    _t_published = _t_value;
    _published = _value;
    _state = (_state & ~HK_VARSTATE_FAULTS) | HK_VARSTATE_GOOD;
    if (_state == _state_published) return HK_UPDATE_VALUE;
    _state_published = _state;
    return HK_UPDATE_VALUE_AND_STATE;
  }
  if (_state == _state_published) return HK_UPDATE_NONE;
  _state_published = _state;
  return HK_UPDATE_STATE;
}

template <class T, class S, HKVarType VT>
void HKDynamicVariable<T, S, VT>::SetFromMessage(HKMessage* message) {
  if (message == nullptr) return;
  if (message->GetMessageTypeID() != HK_MSG_VALUE_CHANGE) {
    HKDynamicVariable_basic::SetFromMessage(message);
    return;
  }
  // Safety: a value of another type is ignored rather than misread.
  auto* value = dynamic_cast<HKValueChangeMessage<S, VT>*>(message);
  if (value == nullptr) return;
  _value = value->GetValue();
  _t_value = _now();
}

template <class T, class S, HKVarType VT>
S& HKDynamicVariable<T, S, VT>::_retrieve_value(void* context) {
  HKChannel* channel = GetChannel();
  if (channel != nullptr && channel->Get(_value, context)) {
    _t_value = _now();
  } else {
    _state = (_state & ~HK_VARSTATE_CURRENT) | HK_VARSTATE_STALE;
  }
  return _value;
}

template <class T, class S, HKVarType VT>
T HKDynamicVariable_Array<T, S, VT>::operator[](unsigned long i) {
  if (i >= this->_value.size()) throw HKException("array index out of range", __LINE__, "src");
  return this->_value[i];
}

// The variable class of a value type: HKDynamicVariableOf<HK_DOUBLE> is
// HKDynamicVariable<double, double, HK_DOUBLE>, HKDynamicVariableOf<
// HK_INT32_ARRAY> is HKDynamicVariable_Array<int, std::vector<int>, ...>.
template <HKVarType VT>
struct HKDynamicVariableClass;
#define HK_VARIABLE_SCALAR_CLASS(vt, T)       \
  template <>                                 \
  struct HKDynamicVariableClass<vt> {         \
    using type = HKDynamicVariable<T, T, vt>; \
  };                                          \
  extern template class HKDynamicVariable<T, T, vt>;
#define HK_VARIABLE_ARRAY_CLASS(vt, T)                            \
  template <>                                                     \
  struct HKDynamicVariableClass<vt> {                             \
    using type = HKDynamicVariable_Array<T, std::vector<T>, vt>;  \
  };                                                              \
  extern template class HKDynamicVariable<T, std::vector<T>, vt>; \
  extern template class HKDynamicVariable_Array<T, std::vector<T>, vt>;
HK_SCALAR_VARTYPES(HK_VARIABLE_SCALAR_CLASS)
HK_ARRAY_VARTYPES(HK_VARIABLE_ARRAY_CLASS)
#undef HK_VARIABLE_SCALAR_CLASS
#undef HK_VARIABLE_ARRAY_CLASS

template <HKVarType VT>
using HKDynamicVariableOf = typename HKDynamicVariableClass<VT>::type;

// A new variable of a value type that has a variable class; null for
// HK_NONE, HK_STRING_ARRAY, HK_CHAR_ARRAY, HK_FLOAT_ARRAY and unknown numbers.
HKDynamicVariable_basic* HKNewDynamicVariable(int type);
