// The variables of a connector, numbered from 1, and who subscribes to
// which.
//
// The set owns what is inserted and deletes it with itself; configuration
// entries stay with their makers. Changes take both recursive mutexes
// together, searches `_variables_mutex` alone. Variables themselves have no
// lock: whoever uses one holds `_variables_mutex` (`VariablesMutex()`).
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <set>

#include <toviktwo/devices/hkdevice_w_queue.h>
#include <toviktwo/devices/hkdynamicvariable.h>
#include <toviktwo/devices/hkvarconfigaddress.h>

class HKDynamicVariableSet {
 public:
  HKDynamicVariableSet() = default;
  HKDynamicVariableSet(const HKDynamicVariableSet&) = delete;
  HKDynamicVariableSet& operator=(const HKDynamicVariableSet&) = delete;
  // Deletes every variable, one by one under both mutexes.
  ~HKDynamicVariableSet();

  // Enters `v` with the next number (count + 1) and writes the number into
  // its `_refID`; a variable already in the set keeps its number. Either way
  // `subscriber` joins the subscribers of that number. Returns the number;
  // a null variable gives 0 and changes nothing.
  long InsertDynamicVariable(HKDynamicVariable_basic* v, HKDevice_w_queue* subscriber);
  // The first number (in order) whose "address" entry equals `*a`, or 0;
  // null gives 0.
  long LocateIfExists(HKVarConfigAddress* a);

  // The variable of `number`, or null. Use it under VariablesMutex().
  HKDynamicVariable_basic* GetVariable(uint64_t number);
  // Adds `subscriber` to the subscribers of `number`, unless it is there.
  void AddSubscriber(uint64_t number, HKDevice_w_queue* subscriber);
  // Erases `subscriber` from the subscribers of `number`, when it is there:
  // a consumer that goes away leaves its subscriptions this way.
  void RemoveSubscriber(uint64_t number, HKDevice_w_queue* subscriber);
  // A copy of the subscribers of `number`; empty when it has no entry.
  std::set<HKDevice_w_queue*> GetSubscribers(uint64_t number);
  // The count of variables.
  size_t size();
  std::recursive_mutex& VariablesMutex() { return _variables_mutex; }

 private:
  std::recursive_mutex _variables_mutex;
  std::recursive_mutex _subscribers_mutex;
  std::map<uint64_t, HKDynamicVariable_basic*> _variables;       // _variables_mutex; owned
  std::map<uint64_t, std::set<HKDevice_w_queue*>> _subscribers;  // _subscribers_mutex
};
