// Tells ThreadSanitizer that a recursive mutex ends here.
//
// The standard library's recursive mutex is statically initialised and its
// destructor does nothing, so ThreadSanitizer never learns that it died.
// When a later object reuses the memory (devices on the stack, one after
// another), the sanitizer joins the old mutex's lock order to the new one's
// and reports inversions that never were. Devices and variable sets call
// this from their destructors; in other builds it does nothing.
#pragma once

#include <mutex>

#if defined(__SANITIZE_THREAD__)
#define HK_TSAN_BUILD 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define HK_TSAN_BUILD 1
#endif
#endif

#ifdef HK_TSAN_BUILD
#include <sanitizer/tsan_interface.h>
#endif

// Call when no thread holds `m` any more and it is about to be destroyed.
inline void HKMutexEnds(std::recursive_mutex& m) {
#ifdef HK_TSAN_BUILD
  __tsan_mutex_destroy(&m, 0);
#else
  (void)m;
#endif
}
