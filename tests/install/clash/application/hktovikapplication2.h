// A consumer's own header that shares its folder and file name with one of
// the library's. The library's headers must never reach this one.
#pragma once
#define CLASH_CONSUMER_OWN_APPLICATION 1
inline int consumerOwnApplication() { return 56; }
