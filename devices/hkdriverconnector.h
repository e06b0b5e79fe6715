// The driver connector: stands between an application's consumers and its
// drivers.
//
// Drivers are devices registered by name (`ConnectDriver`). A consumer,
// once connected (`consumer.ConnectTo(&connector)`), asks for a variable by
// its address (`InsertDynamicVariable`). The connector creates each
// variable once, tells the responsible driver by an HKDriverConnectMessage
// which number (`_refID`) the variable has, takes in the driver's value and
// state messages with that number, updates the variable and fans each
// message out to every subscriber: the last subscriber gets the message
// itself, the others duplicates. A late subscriber gets the latest
// published value and state at once.
//
// Failures are results or silence: a type without a variable class gives 0,
// an unknown driver a variable that stays mute, an unknown number loses the
// message, a subscriber that isn't a partner loses its copy.
//
// Processing: the inbox hook walks the inbox without `_inbox_mutex`; it
// must run with `_device_mutex` held, as it is inside a delivery or in a
// pass run under that lock. The connector does not override
// `_process_in_and_out`, so, like its base, it blocks on its first delivery
// unless a subclass drives it (see hkdevice_w_queue.h).
//
// Lock order: `_device_mutex` (with `_inbox_mutex` inside a delivery), then
// the set's `_variables_mutex`, then `_device_mutex` and `_outbox_mutex`
// for each posting. `InsertDynamicVariable` takes `_device_mutex` first,
// so it keeps that order from any thread and may run inside a delivery.
#pragma once

#include <map>
#include <string>

#include <toviktwo/devices/hkdevice_w_queue.h>
#include <toviktwo/devices/hkdynamicvariableset.h>
#include <toviktwo/devices/hkvarconfigaddress.h>

class HKDriverConnector : public HKDevice_w_queue {
 public:
  explicit HKDriverConnector(HKGavetaScheduler2& scheduler);
  // Takes in the drivers' value and state messages and fans them out;
  // returns false, so that the inbox pass deletes what is left.
  bool _process_inbox_hook() override;
  // Destroys the variables before the device part.
  ~HKDriverConnector() override;
  // Further information for subclasses; null here.
  virtual void* _extrainfo();

  // Enters or replaces the driver of `name`, then `driver->ConnectTo(this)`.
  void ConnectDriver(std::string name, HKDevice_w_queue* driver);
  // The consumer's subscription to the variable at `address`: its number,
  // or 0 for a null address or a type without a variable class. The
  // address is kept by the variable and must stay valid.
  long InsertDynamicVariable(HKVarConfigAddress* address, HKDevice_w_queue* subscriber);

  // The variables, for reading under `GetVariableSet().VariablesMutex()`.
  HKDynamicVariableSet& GetVariableSet() { return _set; }

 protected:
  // One message of the inbox: update its variable and fan it out.
  void _dispatch(HKMessage* message);
  // A late subscriber's start: the published value, then the state.
  void _sendLatest(HKDynamicVariable_basic* variable, HKDevice_w_queue* subscriber);

  std::map<std::string, HKDevice_w_queue*> _drivers;  // _device_mutex
  HKDynamicVariableSet _set;
};
