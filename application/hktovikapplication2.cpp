#include <toviktwo/application/hktovikapplication2.h>

#include <cstdio>
#include <iostream>

#include <toviktwo/foundation/hkexception.h>
#include <toviktwo/foundation/hkmappedvalue.h>
#include <toviktwo/transport/hktransceiverclient.h>
#include <toviktwo/transport/hkxheader.h>

namespace {

// The type under which a document is opened in the browser.
constexpr const char* kBrowserDocumentType = "text/html";

}  // namespace

HKTovikApplication2::HKTovikApplication2(HKPersistentAppStorage& storage,
                                         std::vector<HKTovikInterfaceProps> interfaces,
                                         std::map<std::string, std::string> params)
    : _intention(_scheduler),
      _storage(storage),
      _interfaces(std::move(interfaces)),
      _params(std::move(params)),
      _idgen("id") {}

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

void HKTovikApplication2::invokeContext(const std::string& id, HKXHeader& header, HKXResponseHeader& response,
                                        const std::string& command) {
  std::lock_guard<std::recursive_mutex> lock(_context_lock);
  const auto found = _contexts.find(id);
  if (found != _contexts.end() && found->second != nullptr)
    found->second->manageRequest(header, response, command);
}

bool HKTovikApplication2::isPreloadContent(const std::string&, HKXHeader&) { return false; }

bool HKTovikApplication2::preloadContent(const std::string&, HKXResponseHeader& response) {
  response.setHTTPResponse200("");
  return true;
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
