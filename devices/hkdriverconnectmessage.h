// The connector's request to a driver: "this variable is wanted". It names
// the variable's address within the driver and the number (`_refID`) under
// which the driver is to send its value and state messages from now on.
#pragma once

#include <cstdint>
#include <string>

#include <toviktwo/devices/hkmessage.h>
#include <toviktwo/devices/hkvartype.h>

class HKDriverConnectMessage : public HKMessage {
 public:
  HKDriverConnectMessage(std::string address1, std::string address2, int32_t mode, std::string driver,
                         std::string refID, HKVarType vartype);

  // HK_MSG_DRIVER_CONNECT.
  int GetMessageTypeID() override;
  // A copy of the variable's number.
  std::string GetRefID() override;

  std::string _address1;
  std::string _address2;
  int32_t _mode;
  std::string _driver;
  std::string _refID;
  HKVarType _vartype;
};
