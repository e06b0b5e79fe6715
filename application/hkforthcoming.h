// Types of the application frame whose subsystems are not in the library
// yet. Each entry names what replaces it; when that arrives, delete the entry
// here and include the real header in its place. Nothing else in the frame
// has to change.
#pragma once

// Protocol of a listening interface (3 http, 4 https, 5 file, 6 tovik,
// 7 toviks, 9 socket). Declared without its names; the URL code of the
// transport defines them with the same underlying type.
enum HKTovikProtocols_t : int;

// PLACEHOLDER until the application storage (persistence/) arrives: the
// frame itself needs only the default constructor and the destructor, all
// else is done by the viewport's storage initialiser.
class HKPersistentAppStorage {
 public:
  HKPersistentAppStorage() = default;
  virtual ~HKPersistentAppStorage() = default;
};
