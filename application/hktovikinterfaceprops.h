// One listening interface of an application.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include <toviktwo/application/hkforthcoming.h>
#include <toviktwo/transport/hktransceiverclient.h>

class HKTovikInterfaceProps {
 public:
  HKTovikInterfaceProps(std::string address, uint32_t port, HKTovikProtocols_t protocol)
      : address(std::move(address)), port(port), protocol(protocol) {}
  HKTovikInterfaceProps(std::string address, uint32_t port, HKTovikProtocols_t protocol,
                        std::map<std::string, std::string> options)
      : address(std::move(address)), port(port), protocol(protocol), options(std::move(options)) {}

  std::string address;  // local address to bind
  uint32_t port;
  HKTovikProtocols_t protocol;
  std::map<std::string, std::string> options;  // "cacertificate", "privatekey"
  // Empty until Run has connected this interface; copies share it.
  std::shared_ptr<HKTransceiverClient> client;
};
