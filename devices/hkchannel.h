// A source from which a dynamic variable pulls its value by itself
// (`RetrieveValue`). One `Get` per value type; a channel overrides those it
// can serve. The base versions do nothing and return false, which the
// variable shows as a stale value in its state word. The `void*` is the
// caller's context, passed through from `RetrieveValue`.
#pragma once

#include <string>
#include <vector>

#include <toviktwo/devices/hkvariableconfiguration.h>

class HKChannel : public HKVariableConfiguration {
 public:
  // Each writes `value` and returns true when it could read; base: false.
  virtual bool Get(double& value, void* context);
  virtual bool Get(float& value, void* context);
  virtual bool Get(std::string& value, void* context);
  virtual bool Get(char& value, void* context);
  virtual bool Get(unsigned char& value, void* context);
  virtual bool Get(short& value, void* context);
  virtual bool Get(unsigned short& value, void* context);
  virtual bool Get(int& value, void* context);
  virtual bool Get(unsigned int& value, void* context);
  virtual bool Get(long& value, void* context);
  virtual bool Get(unsigned long& value, void* context);
  virtual bool Get(bool& value, void* context);
  virtual bool Get(std::vector<double>& value, void* context);
  virtual bool Get(std::vector<short>& value, void* context);
  virtual bool Get(std::vector<int>& value, void* context);
  virtual bool Get(std::vector<long>& value, void* context);
  virtual bool Get(std::vector<unsigned short>& value, void* context);
  virtual bool Get(std::vector<unsigned int>& value, void* context);
  virtual bool Get(std::vector<unsigned long>& value, void* context);
  virtual bool Get(std::vector<unsigned char>& value, void* context);
  virtual bool Get(std::vector<bool>& value, void* context);
};
