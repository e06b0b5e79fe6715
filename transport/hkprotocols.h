// Protocol numbers of listening interfaces, URLs and message heads.
#pragma once

#include <string>

// 5 is the "file" scheme of a URL; a message head never carries it.
enum HKTovikProtocols_t : int {
  HK_PROTO_NONE = 0,
  HK_PROTO_HTTP = 3,
  HK_PROTO_HTTPS = 4,
  HK_PROTO_FILE = 5,
  HK_PROTO_TOVIK = 6,
  HK_PROTO_TOVIKS = 7,
  HK_PROTO_SOCKET = 9,
};

// "http", "https", "tovik", "toviks", "socket"; "unknown" for any other number.
std::string getProtocolString(HKTovikProtocols_t protocol);
