// HKIFrameContent: the interface of everything that can fill an iframe of a
// page from application data.
//
// The application hands results over as vectors of one of ten element types
// (HK_IFRAME_RESULT_TYPES); every SetResult does nothing here, a subclass
// overrides the ones it understands.
#pragma once

#include <vector>

// The element types of results, in slot order. Expand with a macro taking the type.
#define HK_IFRAME_RESULT_TYPES(X) \
  X(short)                        \
  X(unsigned short)               \
  X(int)                          \
  X(unsigned int)                 \
  X(long)                         \
  X(unsigned long)                \
  X(double)                       \
  X(float)                        \
  X(bool)                         \
  X(unsigned char)

class HKIFrameContent {
 public:
  virtual ~HKIFrameContent();
#define HK_IFRAME_DECLARE_SETRESULT(T) virtual void SetResult(std::vector<T>& values);
  // Takes application results; does nothing here.
  HK_IFRAME_RESULT_TYPES(HK_IFRAME_DECLARE_SETRESULT)
#undef HK_IFRAME_DECLARE_SETRESULT
};
