#include <toviktwo/devices/hkvarconfigaddress.h>

#include <utility>

HKVarConfigAddress::HKVarConfigAddress(std::string address1, std::string address2, int32_t mode,
                                       std::string driver, HKVarType vartype)
    : _address1(std::move(address1)),
      _address2(std::move(address2)),
      _mode(mode),
      _driver(std::move(driver)),
      _vartype(vartype) {}

bool HKVarConfigAddress::operator==(const HKVarConfigAddress& other) const {
  return _address1 == other._address1 && _address2 == other._address2 && _mode == other._mode &&
         _driver == other._driver;
}

HKDriverConnectMessage* HKVarConfigAddress::GetConnectMessage(std::string refID) const {
  return new HKDriverConnectMessage(_address1, _address2, _mode, _driver, std::move(refID), _vartype);
}
