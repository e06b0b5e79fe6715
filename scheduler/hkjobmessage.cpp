#include <toviktwo/scheduler/hkjobmessage.h>

#include <utility>

HKJobMessage::HKJobMessage(std::string sender, HKMsgStdType_t type, const std::string& data)
    : _sender(std::move(sender)), _data(data), _type(type) {}
