// The common base of the configuration entries attached to a dynamic
// variable by name. The entries in use are "channel" (HKChannel, where the
// variable pulls its value from) and "address" (HKVarConfigAddress, where
// its driver finds it). Entries are owned by whoever made them, never by
// the variable or its set.
#pragma once

class HKVariableConfiguration {
 public:
  HKVariableConfiguration() = default;
  HKVariableConfiguration(const HKVariableConfiguration&) = default;
  HKVariableConfiguration& operator=(const HKVariableConfiguration&) = default;
  virtual ~HKVariableConfiguration();
};
