#include <toviktwo/devices/hkvaluechangemessage.h>

#define HK_VALUE_MESSAGE_INSTANCE(vt, T) template class HKValueChangeMessage<HKVarTypeOf<vt>::stored, vt>;
HK_SCALAR_VARTYPES(HK_VALUE_MESSAGE_INSTANCE)
HK_ARRAY_VARTYPES(HK_VALUE_MESSAGE_INSTANCE)
#undef HK_VALUE_MESSAGE_INSTANCE

HKStateChangeMessage::HKStateChangeMessage(std::string refID, uint64_t state)
    : _refID(std::move(refID)), _state(state) {}

int HKStateChangeMessage::GetMessageTypeID() { return HK_MSG_STATE_CHANGE; }

std::string HKStateChangeMessage::GetRefID() { return _refID; }

HKMessage* HKStateChangeMessage::Duplicate() { return new HKStateChangeMessage(_refID, _state); }
