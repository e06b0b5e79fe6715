// The messages that carry a variable's value and its state word.
//
// `HKValueChangeMessage<S, VT>` carries a value of the stored type `S` of
// value type `VT` (a scalar, or a vector for the array types); all value
// changes share the type identifier HK_MSG_VALUE_CHANGE and differ by
// `GetValueType`. `HKStateChangeMessage` carries the 64-bit state word.
// Both name their variable by its number in decimal (`_refID`).
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include <toviktwo/devices/hkmessage.h>
#include <toviktwo/devices/hkvartype.h>

template <class S, HKVarType VT>
class HKValueChangeMessage : public HKMessage {
 public:
  HKValueChangeMessage(std::string refID, S value) : _refID(std::move(refID)), _value(std::move(value)) {}

  // HK_MSG_VALUE_CHANGE.
  int GetMessageTypeID() override { return HK_MSG_VALUE_CHANGE; }
  // A copy of the variable's number.
  std::string GetRefID() override { return _refID; }
  // A new message with copies of number and value.
  HKMessage* Duplicate() override { return new HKValueChangeMessage<S, VT>(_refID, _value); }
  // VT.
  int GetValueType() override { return VT; }
  // The value, for reading or taking.
  virtual S& GetValue() { return _value; }

 private:
  std::string _refID;
  S _value;
};

class HKStateChangeMessage : public HKMessage {
 public:
  HKStateChangeMessage(std::string refID, uint64_t state);

  // HK_MSG_STATE_CHANGE.
  int GetMessageTypeID() override;
  // A copy of the variable's number.
  std::string GetRefID() override;
  // A new message with copies of number and state.
  HKMessage* Duplicate() override;
  // The state word.
  uint64_t GetState() const { return _state; }

 private:
  std::string _refID;
  uint64_t _state;
};

// The value change message of a value type: HKValueChangeMessageOf<HK_INT32>
// is HKValueChangeMessage<int, HK_INT32>.
template <HKVarType VT>
using HKValueChangeMessageOf = HKValueChangeMessage<typename HKVarTypeOf<VT>::stored, VT>;

#define HK_VALUE_MESSAGE_EXTERN(vt, T) \
  extern template class HKValueChangeMessage<HKVarTypeOf<vt>::stored, vt>;
HK_SCALAR_VARTYPES(HK_VALUE_MESSAGE_EXTERN)
HK_ARRAY_VARTYPES(HK_VALUE_MESSAGE_EXTERN)
#undef HK_VALUE_MESSAGE_EXTERN
