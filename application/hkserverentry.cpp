#include <toviktwo/application/hkserverentry.h>

#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include <toviktwo/application/hktovikapplication2.h>
#include <toviktwo/application/hktovikinterfaceprops.h>
#include <toviktwo/foundation/hkexception.h>
#include <toviktwo/foundation/hkstringtools.h>

namespace {

// The handle: the storage as its first part, the application and its
// parameters beside it.
struct HKServerEntry : HKPersistentAppStorage {
  HKTovikApplication2* application = nullptr;
  std::map<std::string, std::string> params;
};

void fail(const char* text) { throw HKException(text, __LINE__, "src"); }

}  // namespace

void* StartHTTPServer(char const* address, int port, char const* startpath, char const* cgibinpath,
                      char const* cacertificate, char const* privatekey) {
  if (address == nullptr || startpath == nullptr || cgibinpath == nullptr) fail("options are missing");
  if (cacertificate == nullptr || privatekey == nullptr) fail("keys are missing");
  auto* entry = new HKServerEntry();
  try {
    entry->SelectApplication("toviktwodll");
  } catch (...) {
    delete entry;
    throw;
  }
  const std::string files = HKPath(startpath).str();
  entry->params = {{"no_standard_handler", "true"},
                   {"no_browser_popup", "true"},
                   {"startpath", files},
                   {"cgibinpath", HKPath(cgibinpath).str()},
                   // The file service reads its folder from this key; without
                   // it the server would serve no files at all.
                   {"_baseDirectoryHTTP", files}};
  const std::map<std::string, std::string> options = {{"cacertificate", cacertificate},
                                                      {"privatekey", privatekey}};
  // A negative port counts as positive; the protocol is always https.
  std::vector<HKTovikInterfaceProps> interfaces{
      HKTovikInterfaceProps(address, static_cast<uint32_t>(std::abs(port)), HK_PROTO_HTTPS, options)};
  try {
    entry->application = new HKTovikApplication2(*entry, interfaces, entry->params);
    entry->application->Init();
    entry->application->Run();
  } catch (...) {
    delete entry->application;
    delete entry;
    throw;
  }
  return entry;
}

int StopHTTPserver(void* handle) {
  if (handle == nullptr) return 0;
  auto* entry = static_cast<HKServerEntry*>(handle);
  entry->application->Stop();
  entry->application->closeInterfaces();
  delete entry->application;
  delete entry;
  return 0;
}

unsigned long ServerPort(void* handle) {
  if (handle == nullptr) return 0;
  auto* entry = static_cast<HKServerEntry*>(handle);
  const std::map<std::string, std::string> params = entry->application->getParams();
  auto it = params.find("tcp_port_https");
  if (it == params.end()) it = params.find("tcp_port_http");
  if (it == params.end() || it->second.empty()) return 0;
  return std::stoul(it->second, nullptr, 10);
}
