#include <toviktwo/transport/hktransceiverclient.h>

#include <toviktwo/foundation/hkstringtools.h>
#include <toviktwo/transport/hktransceivercore.h>
#include <toviktwo/transport/hkxheader.h>

namespace {

std::string optionOr(const std::map<std::string, std::string>& options, const std::string& key,
                     const std::string& fallback) {
  auto it = options.find(key);
  return it == options.end() ? fallback : it->second;
}

}  // namespace

HKTransceiverClient::HKTransceiverClient(HKServerCallbackFunction callback,
                                         std::map<std::string, std::string> options,
                                         HKTovikApplication2* application)
    : _callback(std::move(callback)), _options(std::move(options)), _application(application) {
  _baseDirectory = optionOr(_options, "_baseDirectoryHTTP", "");
  _phpProgram = optionOr(_options, "_phpbinname", "php-cgi");
  _files = HKFileService(_baseDirectory);
  _cgiTimeout = atof_comma(optionOr(_options, "_cgitimeout", std::to_string(kHKCGIDefaultTimeoutSeconds)));
  _commandURL = optionOr(_options, "_app_context_commandurl", "");
}

HKTransceiverClient::~HKTransceiverClient() = default;

// ---------------------------------------------------------------- routing hooks

bool HKTransceiverClient::_onReceived_Response_DirectSocket(const std::string&, HKXHeader&) { return true; }

bool HKTransceiverClient::_onReceived_Response_HTTP(const std::string&, HKXHeader& header) {
  header.setReleaseServer(true);
  return true;
}

bool HKTransceiverClient::_onReceived_Response_TOVIK(const std::string&, HKXHeader&) { return true; }

bool HKTransceiverClient::_onReceived_Request_HTTP(const std::string& id, HKXHeader& header) {
  if (_virtualPage(id, header)) return true;
  if (_cgiOrPage(id, header)) return true;
  return _notFound(id, header);
}

bool HKTransceiverClient::_onReceived_Request_TOVIK(const std::string& id, HKXHeader& header) {
  if (_virtualPage(id, header)) return true;
  return _sendStatus(header, 404);
}

// ---------------------------------------------------------------- transport

bool HKTransceiverClient::connect(HKTransceiver& transceiver) {
  std::lock_guard<std::mutex> g(_lock);
  if (_transceiver != nullptr) return _transceiver == &transceiver;
  _transceiver = &transceiver;
  return true;
}

bool HKTransceiverClient::disconnect(HKTransceiver& transceiver) {
  std::lock_guard<std::mutex> g(_lock);
  if (_transceiver != &transceiver) return false;
  _transceiver = nullptr;
  return true;
}

void HKTransceiverClient::onSent(const unsigned long&) {}

void HKTransceiverClient::onError(std::string) {}

bool HKTransceiverClient::onAuthorize(HKXHeader&) { return true; }

int32_t HKTransceiverClient::knownIdentifier(const std::string& id) {
  std::lock_guard<std::mutex> g(_lock);
  auto it = _known.find(id);
  return it == _known.end() ? 0 : it->second;
}

bool HKTransceiverClient::onReceived(const std::string& id, HKXHeader& header) {
  if (knownIdentifier(id) == 0) return true;
  const HKTovikProtocols_t protocol = header.getProtocol();
  switch (header.getHeaderType()) {
    case HK_HEADER_REQUEST:
      // A raw message on a server goes to the same no-op as a TOVIK answer, deliberately.
      if (protocol == HK_PROTO_SOCKET) return _onReceived_Response_TOVIK(id, header);
      if (protocol == HK_PROTO_HTTP || protocol == HK_PROTO_HTTPS)
        return _onReceived_Request_HTTP(id, header);
      if (protocol == HK_PROTO_TOVIK) return _onReceived_Request_TOVIK(id, header);
      return false;
    case HK_HEADER_ANSWER:
      if (protocol == HK_PROTO_SOCKET) return _onReceived_Response_DirectSocket(id, header);
      if (protocol == HK_PROTO_HTTP || protocol == HK_PROTO_HTTPS)
        return _onReceived_Response_HTTP(id, header);
      if (protocol == HK_PROTO_TOVIK) return _onReceived_Response_TOVIK(id, header);
      return false;
    default: return false;
  }
}

std::string HKTransceiverClient::send(std::shared_ptr<HKXHeader> header, bool unused) {
  std::lock_guard<std::mutex> g(_lock);
  if (!header || _transceiver == nullptr) return std::string();
  const std::string task = createCombinedTask("send_" + header->getID());
  header->joinTask(task);
  const bool answer = header->getHeaderType() == HK_HEADER_ANSWER;
  const std::string result = _transceiver->send(*this, header, _callback, task, unused);
  if (answer) {
    // An answer is written before send returns: its task ends here, and it
    // is not entered among the known identifiers, which would otherwise
    // grow by one entry for every request served.
    exitTask(task);
    return result;
  }
  _known[result] = kKnownSent;
  return result;
}

std::string HKTransceiverClient::receive(std::shared_ptr<HKXServerHeader> header) {
  std::lock_guard<std::mutex> g(_lock);
  if (_transceiver == nullptr) return std::string();
  const std::string result = _transceiver->receive(*this, header, _callback);
  if (!result.empty()) _known[result] = kKnownServer;
  return result;
}

HKTransceiver* HKTransceiverClient::getTransceiver() {
  std::lock_guard<std::mutex> g(_lock);
  return _transceiver;
}

bool HKTransceiverClient::_sendAnswer(HKXHeader& request, std::shared_ptr<HKXHeader> response) {
  std::lock_guard<std::mutex> g(_lock);
  if (_transceiver == nullptr || !response) return false;
  return _transceiver->send(*this, response, _callback, request.getCtask(), true) != getError();
}

bool HKTransceiverClient::_sendStatus(HKXHeader& request, uint64_t status) {
  std::shared_ptr<HKXResponseHeader> response = request.createResponseHeader();
  response->setStatusCode(status);
  response->setJobState(6);
  _sendAnswer(request, response);
  return true;
}

bool HKTransceiverClient::_messagereceive(HKJobMessage& message) {
  if (message._type != HKMSG_JOB_LEFT) return true;
  auto it = message._map.find("ctask");
  if (it != message._map.end()) exitTask(it->second);
  return true;
}
