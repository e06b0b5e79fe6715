// One listening interface of an application: where to bind, which protocol,
// its options, and the client that serves it once `Run` has connected it.
//
// The type is copyable; copies share the client. Of the options, an https
// interface reads "cacertificate" and "privatekey" (PEM files; "cacert.pem"
// and "privkey.pem" of the current folder when absent).
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include <toviktwo/application/hkforthcoming.h>
#include <toviktwo/transport/hkprotocols.h>
#include <toviktwo/transport/hktransceiverclient.h>

class HKTovikInterfaceProps {
 public:
  // Option keys and their defaults for https.
  static constexpr const char* kCertificateOption = "cacertificate";
  static constexpr const char* kCertificateDefault = "cacert.pem";
  static constexpr const char* kPrivateKeyOption = "privatekey";
  static constexpr const char* kPrivateKeyDefault = "privkey.pem";

  HKTovikInterfaceProps(std::string address, uint32_t port, HKTovikProtocols_t protocol)
      : address(std::move(address)), port(port), protocol(protocol) {}
  HKTovikInterfaceProps(std::string address, uint32_t port, HKTovikProtocols_t protocol,
                        std::map<std::string, std::string> options)
      : address(std::move(address)), port(port), protocol(protocol), options(std::move(options)) {}

  // The option `key`, or `fallback` when it is not set.
  std::string option(const std::string& key, const std::string& fallback) const {
    const auto it = options.find(key);
    return it == options.end() ? fallback : it->second;
  }

  std::string address;  // local address to bind
  uint32_t port;
  HKTovikProtocols_t protocol;
  std::map<std::string, std::string> options;  // "cacertificate", "privatekey"
  // Empty until Run has connected this interface; copies share it.
  std::shared_ptr<HKTransceiverClient> client;
};
