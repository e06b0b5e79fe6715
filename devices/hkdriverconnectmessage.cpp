#include <toviktwo/devices/hkdriverconnectmessage.h>

#include <utility>

HKDriverConnectMessage::HKDriverConnectMessage(std::string address1, std::string address2, int32_t mode,
                                               std::string driver, std::string refID, HKVarType vartype)
    : _address1(std::move(address1)),
      _address2(std::move(address2)),
      _mode(mode),
      _driver(std::move(driver)),
      _refID(std::move(refID)),
      _vartype(vartype) {}

int HKDriverConnectMessage::GetMessageTypeID() { return HK_MSG_DRIVER_CONNECT; }

std::string HKDriverConnectMessage::GetRefID() { return _refID; }
