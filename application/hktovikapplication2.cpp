#include <toviktwo/application/hktovikapplication2.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>

#include <toviktwo/foundation/hkexception.h>
#include <toviktwo/foundation/hkmappedvalue.h>
#include <toviktwo/transport/hktransceiverclient.h>
#include <toviktwo/transport/hkxheader.h>

namespace {

// The type under which a document is opened in the browser.
constexpr const char* kBrowserDocumentType = "text/html";

const char* const kIdleParam = "_app_context_idle_seconds";
const char* const kMaxCountParam = "_app_context_max_count";
const char* const kCloseCommand = "&close";

std::string mapped(const std::map<std::string, std::string>& map, const std::string& key) {
  auto found = map.find(key);
  return found == map.end() ? std::string() : found->second;
}

}  // namespace

HKTovikApplication2::HKTovikApplication2(HKPersistentAppStorage& storage,
                                         std::vector<HKTovikInterfaceProps> interfaces,
                                         std::map<std::string, std::string> params)
    : _intention(_scheduler),
      _storage(storage),
      _interfaces(std::move(interfaces)),
      _params(std::move(params)),
      _idgen("id") {
  const double idleSeconds = std::strtod(mapped(_params, kIdleParam).c_str(), nullptr);
  if (idleSeconds > 0)
    _contextIdleLimit = std::chrono::duration_cast<std::chrono::steady_clock::duration>(
        std::chrono::duration<double>(idleSeconds));
  const long long maxCount = std::strtoll(mapped(_params, kMaxCountParam).c_str(), nullptr, 10);
  if (maxCount > 0) _contextMaxCount = static_cast<size_t>(maxCount);
}

HKTovikApplication2::~HKTovikApplication2() {
  // No request may reach a context while the contexts die.
  closeInterfaces();
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
  for (HKTovikInterfaceProps& itf : _interfaces) {
    auto client = std::make_shared<HKTransceiverClient>(
        [this](HKServerCallback_t& report) { return _listeningReport(report); }, getParams(), this);
    itf.client = _transceiver.connect(client);
    auto header = std::make_shared<HKXServerHeader>(true, itf.protocol);
    char port[16];
    std::snprintf(port, sizeof port, "%u", static_cast<unsigned>(itf.port));
    header->setOption("tcp_port", port);
    header->setOption("tcp_address", itf.address);
    if (itf.protocol == HK_PROTO_HTTPS) {
      header->setOption(
          HKTovikInterfaceProps::kCertificateOption,
          itf.option(HKTovikInterfaceProps::kCertificateOption, HKTovikInterfaceProps::kCertificateDefault));
      header->setOption(
          HKTovikInterfaceProps::kPrivateKeyOption,
          itf.option(HKTovikInterfaceProps::kPrivateKeyOption, HKTovikInterfaceProps::kPrivateKeyDefault));
    }
    client->receive(header);
  }
}

void HKTovikApplication2::Stop() {}

void HKTovikApplication2::closeInterfaces() {
  for (HKTovikInterfaceProps& itf : _interfaces) {
    std::shared_ptr<HKTransceiverClient> client = std::move(itf.client);
    itf.client.reset();
    if (client) _transceiver.disconnect(client);
  }
}

HKHTMLKontextN* HKTovikApplication2::createNewContext(const std::string&) { return nullptr; }

HKHTMLKontextN* HKTovikApplication2::insertNewContext(HKHTMLKontextN* context) {
  if (context == nullptr) return nullptr;
  std::lock_guard<std::recursive_mutex> lock(_context_lock);
  const std::string id = context->getMainContextID();
  _contexts[id] = context;
  _touchContextNL(id);
  _closeIdleContextsNL();
  _limitContextCountNL(id);
  return context;
}

std::string HKTovikApplication2::newID(const std::string& suggestion) {
  return _idgen.getAnyString(suggestion);
}

HKPersistentAppStorage& HKTovikApplication2::GetAppstorage() { return _storage; }

bool HKTovikApplication2::checkContext(const std::string& id) {
  std::lock_guard<std::recursive_mutex> lock(_context_lock);
  _closeIdleContextsNL();
  return _contexts.find(id) != _contexts.end();
}

void HKTovikApplication2::invokeContext(const std::string& id, HKXHeader& header, HKXResponseHeader& response,
                                        const std::string& command) {
  std::lock_guard<std::recursive_mutex> lock(_context_lock);
  _closeIdleContextsNL();
  auto found = _contexts.find(id);
  if (found != _contexts.end() && found->second != nullptr) {
    _touchContextNL(id);
    const std::string outer = _contextInUse;
    _contextInUse = id;
    try {
      found->second->manageRequest(header, response, command);
    } catch (...) {
      _contextInUse = outer;
      throw;
    }
    _contextInUse = outer;
  }
  auto [resetID, resetContext] = response.resetKontext();
  if (resetID == id && resetContext != nullptr) {
    _contexts.erase(id);
    _contexts[id] = resetContext;
    _touchContextNL(id);
  }
}

// ---- session limits

size_t HKTovikApplication2::closeIdleContexts() {
  std::lock_guard<std::recursive_mutex> lock(_context_lock);
  return _closeIdleContextsNL();
}

size_t HKTovikApplication2::countContexts() {
  std::lock_guard<std::recursive_mutex> lock(_context_lock);
  return _contexts.size();
}

void HKTovikApplication2::_touchContextNL(const std::string& id) {
  auto now = std::chrono::steady_clock::now();
  auto found = _contextUse.find(id);
  if (found != _contextUse.end()) {
    _contextOrder.splice(_contextOrder.end(), _contextOrder, found->second.place);
    found->second.last = now;
    return;
  }
  _contextOrder.push_back(id);
  _contextUse[id] = {now, std::prev(_contextOrder.end())};
}

void HKTovikApplication2::_closeContextNL(const std::string& id) {
  auto use = _contextUse.find(id);
  if (use != _contextUse.end()) {
    _contextOrder.erase(use->second.place);
    _contextUse.erase(use);
  }
  auto found = _contexts.find(id);
  if (found == _contexts.end()) return;
  HKHTMLKontextN* context = found->second;
  _contexts.erase(found);
  if (context == nullptr) return;
  HKXHeader header(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  HKXResponseHeader response(HK_SCHEME_ANSWER, false, HK_PROTO_HTTP);
  try {
    context->_closeContext(header, response, kCloseCommand);
  } catch (...) {
    // A failing hook must not keep the context alive.
  }
  delete context;
}

size_t HKTovikApplication2::_closeIdleContextsNL() {
  if (_contextIdleLimit.count() == 0) return 0;
  const auto now = std::chrono::steady_clock::now();
  size_t closed = 0;
  // Oldest first: the first context still within its limit ends the round.
  for (auto it = _contextOrder.begin(); it != _contextOrder.end();) {
    const std::string id = *it++;
    if (now - _contextUse[id].last < _contextIdleLimit) break;
    if (id == _contextInUse) continue;
    _closeContextNL(id);
    ++closed;
  }
  return closed;
}

void HKTovikApplication2::_limitContextCountNL(const std::string& keep) {
  if (_contextMaxCount == 0) return;
  for (auto it = _contextOrder.begin(); _contexts.size() > _contextMaxCount && it != _contextOrder.end();) {
    const std::string id = *it++;
    if (id == keep || id == _contextInUse) continue;
    _closeContextNL(id);
  }
}

HKTransceiver& HKTovikApplication2::getTransceiver() { return _transceiver; }

HKGavetaScheduler2& HKTovikApplication2::getScheduler() { return _scheduler; }

std::map<std::string, std::string> HKTovikApplication2::getParams() {
  std::lock_guard<std::mutex> g(_params_lock);
  return _params;
}

// ---- listening interfaces and browser launch

void HKTovikApplication2::AppStart(std::string address, int port, const std::string& scheme) {
  if (address.empty() && port == 0 && !_interfaces.empty()) {
    address = _interfaces.front().address;
    port = static_cast<int>(_interfaces.front().port);
  }
  char number[32];
  std::snprintf(number, sizeof number, "%d", port);
  const std::string url = scheme + "://" + address + ":" + number;
  if (!_intention.RunApplication(url, kBrowserDocumentType)) _pleaseOpen(url);
}

bool HKTovikApplication2::_listeningReport(HKServerCallback_t& report) {
  _transceiver.reportInfo(report);
  if (report.kind != HK_SERVER_LISTENING) return true;
  const std::string address = HKGetMappedValue(report.map, "address", "");
  const std::string port = HKGetMappedValue(report.map, "port", "");
  const std::string protocol = HKGetMappedValue(report.map, "protocolstring", "");
  std::string commandUrl, noPopup;
  {
    std::lock_guard<std::mutex> g(_params_lock);
    commandUrl = HKGetMappedValue(_params, "_app_context_commandurl", "");
    if (protocol == "http" || protocol == "https") {
      _params["tcp_port_" + protocol] = port;
      _params["tcp_address_" + protocol] = address;
    }
    noPopup = HKGetMappedValue(_params, "no_browser_popup", "");
  }
  if (!noPopup.empty() || protocol != "http" || address.empty() || port.empty()) return true;
  const std::string url = protocol + "://" + address + ":" + port + (commandUrl.empty() ? "/" : commandUrl);
  if (!_intention.RunApplication(url, kBrowserDocumentType)) _pleaseOpen(url);
  return true;
}

void HKTovikApplication2::_pleaseOpen(const std::string& url) {
  std::cout << "\nplease, open document at " << url << "\n\n" << std::flush;
}
