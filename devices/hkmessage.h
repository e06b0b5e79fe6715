// Messages exchanged between queued devices, and the envelope that carries
// them.
//
// `HKMessage` is the base of every message: a value change, a state change
// or a driver's connect request. Each kind answers `GetMessageTypeID` with
// one of the identifiers below; all value changes share one identifier and
// tell their value type by `GetValueType`.
//
// `HKMessageContainer` is a batch of messages with a sender and a
// destination. It owns its messages and deletes them with itself; the
// devices it names are not owned. Messages travel by pointer and are never
// copied, except by `Duplicate` when one message goes to several receivers.
#pragma once

#include <string>
#include <vector>

class HKDevice_w_queue;

// Message type identifiers.
constexpr int HK_MSG_DRIVER_CONNECT = 0x100;  // HKDriverConnectMessage
constexpr int HK_MSG_VALUE_CHANGE = 0x200;    // every HKValueChangeMessage<S, VT>
constexpr int HK_MSG_STATE_CHANGE = 0x202;    // HKStateChangeMessage

class HKMessage {
 public:
  HKMessage() = default;
  HKMessage(const HKMessage&) = default;
  HKMessage& operator=(const HKMessage&) = default;
  virtual ~HKMessage();
  // The kind of message; one of the HK_MSG_ identifiers in derived classes.
  virtual int GetMessageTypeID() = 0;
  // The number (in decimal) of the variable the message is about.
  virtual std::string GetRefID() = 0;
  // A new copy for a further receiver; null in the base (no copy possible).
  virtual HKMessage* Duplicate();
  // The HKVarType of the value carried; 0 in the base.
  virtual int GetValueType();
};

class HKMessageContainer {
 public:
  // An empty batch; sender and destination null.
  HKMessageContainer();
  // A batch of one message, owned from now on (a null message is not kept).
  HKMessageContainer(HKMessage* message, HKDevice_w_queue* sender);
  HKMessageContainer(const HKMessageContainer&) = delete;
  HKMessageContainer& operator=(const HKMessageContainer&) = delete;
  // Deletes every message still in the batch.
  ~HKMessageContainer();

  void SetSender(HKDevice_w_queue* sender) { _sender = sender; }
  void SetDestination(HKDevice_w_queue* destination) { _destination = destination; }
  HKDevice_w_queue* GetSender() const { return _sender; }
  HKDevice_w_queue* GetDestination() const { return _destination; }
  // The owned messages; a receiver that keeps one sets its entry to null.
  std::vector<HKMessage*>& Messages() { return _messages; }

 private:
  HKDevice_w_queue* _sender = nullptr;       // not owned
  HKDevice_w_queue* _destination = nullptr;  // not owned
  std::vector<HKMessage*> _messages;         // owned
};
