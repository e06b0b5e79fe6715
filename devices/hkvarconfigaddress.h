// Where a variable lives: the driver's registered name, two address parts
// and a mode number whose meaning is up to the driver, and the type of the
// variable to create. A plain record filled in by the application; there
// is no text form.
//
// Equality ignores the type: two requests for one address with differing
// types name the same variable, of the type that came first. A variable
// keeps the caller's pointer to its address, which must therefore outlive
// the variable.
#pragma once

#include <cstdint>
#include <string>

#include <toviktwo/devices/hkdriverconnectmessage.h>
#include <toviktwo/devices/hkvariableconfiguration.h>
#include <toviktwo/devices/hkvartype.h>

class HKVarConfigAddress : public HKVariableConfiguration {
 public:
  HKVarConfigAddress() = default;
  HKVarConfigAddress(std::string address1, std::string address2, int32_t mode, std::string driver,
                     HKVarType vartype);

  // Compares both address parts, mode and driver; not the type.
  bool operator==(const HKVarConfigAddress& other) const;
  // A new connect message with every field of the address and `refID`.
  HKDriverConnectMessage* GetConnectMessage(std::string refID) const;

  std::string _address1;
  std::string _address2;
  int32_t _mode = 0;
  std::string _driver;
  HKVarType _vartype = HK_NONE;
};
