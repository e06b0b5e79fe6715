// A web client of its own (scheduler, transceiver, client) for the tests of
// outgoing requests, with a bounded fetch.
#pragma once

#include <map>
#include <memory>
#include <string>

#include <toviktwo/transport/hkurlhookservice.h>
#include <toviktwo/transport/hkwebclient.h>
#include "net_test_support.h"

namespace tovik_test {

class WebClientHarness {
 public:
  using Options = std::map<std::string, std::string>;
  explicit WebClientHarness(Options options = {})
      : _transceiver(std::make_unique<HKTransceiver>(_scheduler)) {
    client =
        std::make_shared<HKTransceiverClientWEBClient>([](HKServerCallback_t&) { return true; }, options);
    _transceiver->connect(client);
  }
  ~WebClientHarness() {
    _transceiver->disconnect(client);
    _transceiver.reset();
  }
  // Sends a GET for `url`; the identifier.
  std::string send(const std::string& url) {
    auto request = std::make_shared<HKXRequestHeader>(HK_SCHEME_GET, false, HK_PROTO_HTTP);
    request->setAddress(url, "");
    return client->send(request, false);
  }
  // Sends and waits (bounded) until the request is finished.
  std::string fetch(const std::string& url,
                    std::chrono::milliseconds limit = std::chrono::milliseconds(15000)) {
    const std::string id = send(url);
    waitUntil([&] { return client->requestReady(id); }, limit);
    return id;
  }
  // As fetch, then waits until the pool of the URL's host has taken the
  // connection back (the pool learns it by a message after the response
  // has been filed), so that the next request can reuse it.
  std::string fetchAndSettle(const std::string& url) {
    const std::string id = fetch(url);
    HKXRequestHeader probe(HK_SCHEME_GET, false, HK_PROTO_HTTP);
    probe.setAddress(url, "");
    auto service = pool(probe.getUniqueURLHostDescriptor());
    if (service) waitUntil([&] { return service->sizeRunningJobs() == 0; }, std::chrono::milliseconds(5000));
    return id;
  }
  bool ready(const std::string& id, std::chrono::milliseconds limit = std::chrono::milliseconds(15000)) {
    return waitUntil([&] { return client->requestReady(id); }, limit);
  }
  std::shared_ptr<HKURLHookService> pool(const std::string& descriptor) {
    return _transceiver->hookService(client->getID(), descriptor);
  }
  HKTransceiver& transceiver() { return *_transceiver; }

  std::shared_ptr<HKTransceiverClientWEBClient> client;

 private:
  HKGavetaScheduler2 _scheduler;
  std::unique_ptr<HKTransceiver> _transceiver;
};

inline std::string localURL(unsigned int port, const std::string& path, const std::string& scheme = "http") {
  return scheme + "://127.0.0.1:" + std::to_string(port) + path;
}

}  // namespace tovik_test
