// Reading configuration maps: every string parameter of the library travels
// in a map of string to string and is read with a default.
#pragma once

#include <map>
#include <string>

// The text mapped to `key`, or `fallback` when the key is absent (an empty
// mapped text is returned as it is).
inline std::string HKGetMappedValue(const std::map<std::string, std::string>& map, const std::string& key,
                                    const std::string& fallback) {
  const auto it = map.find(key);
  return it == map.end() ? fallback : it->second;
}
