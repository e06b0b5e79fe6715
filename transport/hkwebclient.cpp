#include <toviktwo/transport/hkwebclient.h>

#include <cstdio>
#include <ostream>

#include <toviktwo/documents/html/hkdatareader.h>
#include <toviktwo/foundation/hkexception.h>
#include <toviktwo/foundation/hklogstream.h>
#include <toviktwo/foundation/hkstringtools.h>
#include <toviktwo/transport/hkurl.h>
#include <toviktwo/transport/hkxheader.h>

namespace {

constexpr long kDefaultRequestTimeoutMs = 120000;

std::string readable(HKStringBuf* buffer) {
  if (buffer == nullptr) return std::string();
  return std::string(buffer->getStartReadout(), buffer->getSizeReadable());
}

long timeoutOption(const std::map<std::string, std::string>& options) {
  auto it = options.find("request_timeout_ms");
  if (it == options.end()) return kDefaultRequestTimeoutMs;
  return static_cast<long>(to_unumber(it->second, kDefaultRequestTimeoutMs));
}

std::string positions(unsigned long start, unsigned long end) {
  char text[48];
  std::snprintf(text, sizeof text, "%lu:%lu", start, end);
  return text;
}

}  // namespace

HKTransceiverClientWEBClient::HKTransceiverClientWEBClient(HKServerCallbackFunction callback,
                                                           std::map<std::string, std::string> options,
                                                           HKTovikApplication2* application)
    : HKTransceiverClient(std::move(callback), options, application),
      _requestTimeoutMs(timeoutOption(options)) {}

std::string HKTransceiverClientWEBClient::send(std::shared_ptr<HKXHeader> header, bool unused) {
  std::lock_guard<std::mutex> g(_wclock);
  if (!header) return std::string();
  // The body is copied first: once sent, the transport takes the buffer.
  HKStringBuf* data = header->getDataBuffer();
  const std::string body(data->getStart(0), data->getSizeWritten());
  const std::string id = HKTransceiverClient::send(header, unused);
  if (id.empty() || id == getError()) return id;
  HKWCinfo_t& info = _inProgress[id];
  info.identifier = id;
  info.sendTime = timeLDS(nullptr);
  HKStringBuf rendered;
  {
    std::ostream out(&rendered);
    header->getHeader(out);
  }
  info.requestHead = readable(&rendered);
  info.requestBody = body;
  info.hostDescriptor = header->getUniqueURLHostDescriptor();
  info.urlDirectory = header->getURLPathDir();
  return id;
}

bool HKTransceiverClientWEBClient::_onReceived_Response_HTTP(const std::string& id, HKXHeader& header) {
  std::lock_guard<std::mutex> g(_wclock);
  _applyFailuresNL();
  auto it = _inProgress.find(id);
  if (it != _inProgress.end()) {
    HKWCinfo_t info = std::move(it->second);
    _inProgress.erase(it);
    HKStringBuf* buffer = header.moveDataBuffer();
    if (buffer != nullptr) {
      info.responseBody = readable(buffer);
      info.responseHead.assign(buffer->getStart(0), buffer->getStartReadout() - buffer->getStart(0));
    }
    info.responseBuffer.reset(buffer);
    _collectImages(info);
    _finished[id] = std::move(info);
  }
  header.setReleaseServer(true);
  return true;
}

void HKTransceiverClientWEBClient::_collectImages(HKWCinfo_t& info) {
  info.images[kImagesMarkerKey] = kImagesMarkerValue;
  const std::string& body = info.responseBody;
  HKDataReader reader;
  for (auto start = body.find("<img"); start != std::string::npos; start = body.find("<img", start)) {
    const auto close = body.find("/>", start);
    if (close == std::string::npos) break;
    unsigned long end = close + 2;
    std::string error;
    HKXMLGenericElement* element = reader.Read(body.substr(0, close + 2), start, end, "html", error, true);
    if (element != nullptr) {
      const std::string src = element->getAttributeText("src", "");
      delete element;
      try {
        if (!src.empty())
          info.images[positions(start, end)] =
              HKURL(src, info.hostDescriptor, info.urlDirectory).getURLcompleteString();
      } catch (const HKException&) {
        // A source that is no URL is not listed.
      }
    }
    start = close + 2;
  }
}

void HKTransceiverClientWEBClient::_onRequestFailed(const std::string& id) {
  std::lock_guard<std::mutex> f(_failLock);
  _failed.push_back(id);
}

void HKTransceiverClientWEBClient::_applyFailuresNL() {
  std::vector<std::string> failed;
  {
    std::lock_guard<std::mutex> f(_failLock);
    failed.swap(_failed);
  }
  for (const auto& id : failed) {
    auto it = _inProgress.find(id);
    if (it == _inProgress.end()) continue;
    HKWCinfo_t info = std::move(it->second);
    _inProgress.erase(it);
    info.error = kNoResponse;
    _finished[id] = std::move(info);
  }
}

HKWCinfo_t* HKTransceiverClientWEBClient::_find(const std::string& id, bool alsoInProgress) {
  _applyFailuresNL();
  if (alsoInProgress) {
    auto it = _inProgress.find(id);
    if (it != _inProgress.end()) return &it->second;
  }
  auto it = _finished.find(id);
  return it == _finished.end() ? nullptr : &it->second;
}

std::string HKTransceiverClientWEBClient::getRequestHeader(const std::string& id) {
  std::lock_guard<std::mutex> g(_wclock);
  HKWCinfo_t* info = _find(id, true);
  return info == nullptr ? std::string() : info->requestHead;
}

std::string HKTransceiverClientWEBClient::getRequestBody(const std::string& id) {
  std::lock_guard<std::mutex> g(_wclock);
  HKWCinfo_t* info = _find(id, true);
  return info == nullptr ? std::string() : info->requestBody;
}

std::string HKTransceiverClientWEBClient::getResponseHeader(const std::string& id) {
  std::lock_guard<std::mutex> g(_wclock);
  HKWCinfo_t* info = _find(id, false);
  return info == nullptr ? std::string() : info->responseHead;
}

std::string HKTransceiverClientWEBClient::getResponseBody(const std::string& id) {
  std::lock_guard<std::mutex> g(_wclock);
  HKWCinfo_t* info = _find(id, false);
  return info == nullptr ? std::string() : info->responseBody;
}

std::string HKTransceiverClientWEBClient::getResponseImages(const std::string& id) {
  std::lock_guard<std::mutex> g(_wclock);
  HKWCinfo_t* info = _find(id, false);
  if (info == nullptr) return std::string();
  std::string lines;
  for (const auto& [key, value] : info->images) lines += key + " : " + value + "\n";
  return lines;
}

std::string HKTransceiverClientWEBClient::getRequestError(const std::string& id) {
  std::lock_guard<std::mutex> g(_wclock);
  HKWCinfo_t* info = _find(id, false);
  return info == nullptr ? std::string() : info->error;
}

bool HKTransceiverClientWEBClient::requestReady(const std::string& id) {
  std::lock_guard<std::mutex> g(_wclock);
  return _find(id, false) != nullptr;
}

void HKTransceiverClientWEBClient::releaseID(const std::string& id) {
  std::lock_guard<std::mutex> g(_wclock);
  _applyFailuresNL();
  _finished.erase(id);
}

size_t HKTransceiverClientWEBClient::requestsInProgress() {
  std::lock_guard<std::mutex> g(_wclock);
  _applyFailuresNL();
  return _inProgress.size();
}
