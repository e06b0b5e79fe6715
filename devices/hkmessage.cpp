#include <toviktwo/devices/hkmessage.h>

HKMessage::~HKMessage() = default;

HKMessage* HKMessage::Duplicate() { return nullptr; }

int HKMessage::GetValueType() { return 0; }

HKMessageContainer::HKMessageContainer() = default;

HKMessageContainer::HKMessageContainer(HKMessage* message, HKDevice_w_queue* sender) : _sender(sender) {
  if (message != nullptr) _messages.push_back(message);
}

HKMessageContainer::~HKMessageContainer() {
  for (HKMessage* message : _messages) delete message;
}
