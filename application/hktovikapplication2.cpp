#include <toviktwo/application/hktovikapplication2.h>

#include <toviktwo/foundation/hkexception.h>

HKTovikApplication2::HKTovikApplication2(HKPersistentAppStorage& storage,
                                         std::vector<HKTovikInterfaceProps> interfaces,
                                         std::map<std::string, std::string> params)
    : _storage(storage), _interfaces(std::move(interfaces)), _params(std::move(params)), _idgen("id") {}

HKTovikApplication2::~HKTovikApplication2() {
  // Contexts die before the transport and the scheduler do.
  std::lock_guard<std::recursive_mutex> lock(_context_lock);
  for (auto& [id, context] : _contexts) {
    delete context;
    context = nullptr;
  }
  _contexts.clear();
}

void HKTovikApplication2::Init() {}

void HKTovikApplication2::Run() {
  if (_interfaces.empty()) return;
  throw HKException("listening interfaces can't be opened: the transport is not part of this build", __LINE__,
                    "src");
}

void HKTovikApplication2::Stop() {}

HKHTMLKontextN* HKTovikApplication2::createNewContext(const std::string&) { return nullptr; }

HKHTMLKontextN* HKTovikApplication2::insertNewContext(HKHTMLKontextN* context) {
  if (context == nullptr) return nullptr;
  std::lock_guard<std::recursive_mutex> lock(_context_lock);
  _contexts[context->getMainContextID()] = context;
  return context;
}

std::string HKTovikApplication2::newID(const std::string& suggestion) {
  return _idgen.getAnyString(suggestion);
}

HKPersistentAppStorage& HKTovikApplication2::GetAppstorage() { return _storage; }

bool HKTovikApplication2::checkContext(const std::string& id) {
  std::lock_guard<std::recursive_mutex> lock(_context_lock);
  return _contexts.find(id) != _contexts.end();
}

HKTransceiver& HKTovikApplication2::getTransceiver() { return _transceiver; }

HKGavetaScheduler2& HKTovikApplication2::getScheduler() { return _scheduler; }

std::map<std::string, std::string> HKTovikApplication2::getParams() { return _params; }
