// Types of the application frame whose subsystems are not in the library
// yet. Each entry names what replaces it; when that arrives, delete the entry
// here and include the real header in its place. Nothing else in the frame
// has to change.
#pragma once

// PLACEHOLDER until the application storage (persistence/) arrives: the
// frame itself needs only the default constructor and the destructor, all
// else is done by the viewport's storage initialiser.
class HKPersistentAppStorage {
 public:
  HKPersistentAppStorage() = default;
  virtual ~HKPersistentAppStorage() = default;
};
