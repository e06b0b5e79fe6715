// The C wrappers of the procedural server entry: every exception stops
// here, its message goes to the log.
#include <toviktwo/application/hkserverentry_c.h>

#include <exception>
#include <mutex>
#include <ostream>

#include <toviktwo/application/hkserverentry.h>
#include <toviktwo/foundation/hklogstream.h>

namespace {

void logFailure(const char* function, const char* what) {
  std::lock_guard<std::mutex> g(__logger.GetMtxOrdem0());
  __logger.Debugstream(log_default) << function << ": " << what << std::endl;
}

}  // namespace

void* HKStartHTTPServerC(const char* address, int port, const char* startpath, const char* cgibinpath,
                         const char* cacertificate, const char* privatekey) {
  try {
    return StartHTTPServer(address, port, startpath, cgibinpath, cacertificate, privatekey);
  } catch (const std::exception& e) {
    logFailure("HKStartHTTPServerC", e.what());
  } catch (...) {
    logFailure("HKStartHTTPServerC", "unknown exception");
  }
  return nullptr;
}

int HKStopHTTPServerC(void* handle) {
  try {
    return StopHTTPserver(handle);
  } catch (const std::exception& e) {
    logFailure("HKStopHTTPServerC", e.what());
  } catch (...) {
    logFailure("HKStopHTTPServerC", "unknown exception");
  }
  return 0;
}

unsigned long HKServerPortC(void* handle) {
  try {
    return ServerPort(handle);
  } catch (const std::exception& e) {
    logFailure("HKServerPortC", e.what());
  } catch (...) {
    logFailure("HKServerPortC", "unknown exception");
  }
  return 0;
}
