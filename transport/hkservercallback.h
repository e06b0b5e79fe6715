// The one shape in which the transport reports to the application.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>

enum HKServerCallbackKind_t : int32_t {
  HK_SERVER_STARTED = 1,
  HK_SERVER_BIND_FAILED = 3,
  HK_SERVER_LISTENING = 4,
  HK_SERVER_CONNECTED = 5,
  HK_SERVER_DIRECT_SENT = 6,
  HK_SERVER_LOG = 7,
};

// A kind number and a map of texts.
struct HKServerCallback_t {
  int32_t kind = 0;
  std::map<std::string, std::string> map;
};

using HKServerCallbackFunction = std::function<bool(HKServerCallback_t&)>;
