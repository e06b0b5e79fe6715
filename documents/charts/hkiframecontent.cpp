#include <toviktwo/documents/charts/hkiframecontent.h>

HKIFrameContent::~HKIFrameContent() = default;

#define HK_IFRAME_DEFINE_SETRESULT(T) \
  void HKIFrameContent::SetResult(std::vector<T>&) {}
HK_IFRAME_RESULT_TYPES(HK_IFRAME_DEFINE_SETRESULT)
#undef HK_IFRAME_DEFINE_SETRESULT
