// The program as a browser: a client that sends requests to other servers
// and keeps the text of each request and of its response, and lists the
// images a page names so that the application can fetch them.
//
// An application fills an HKXRequestHeader (setAddress or setData), hands it
// to `send`, keeps the identifier it gets, and later asks `requestReady` and
// the getters. Requests go out through the transceiver's pool of connections
// per host (HKURLHookService). A request that ends without a complete
// response (the server closed early, sent something that is no HTTP answer,
// or did not answer within the time-out) is finished with an error text
// (`getRequestError`) and an empty response; the client keeps running.
//
// Options beside the base's: "request_timeout_ms", the time a connection may
// wait for a response or stay idle before it is closed (default 120000).
//
// Threads: every operation takes the object's lock; responses are handled
// in the buffer job of the connection's hook.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <toviktwo/foundation/hkbuffers.h>
#include <toviktwo/transport/hktransceiverclient.h>

// One request and its response.
struct HKWCinfo_t {
  std::string identifier;
  std::string requestHead;
  std::string requestBody;
  std::string sendTime;
  std::string hostDescriptor;
  std::string urlDirectory;
  std::string responseHead;
  std::string responseBody;
  std::unique_ptr<HKStringBuf> responseBuffer;
  std::map<std::string, std::string> images;
  // Empty unless the request ended without a complete response.
  std::string error;
};

class HKTransceiverClientWEBClient : public HKTransceiverClient {
 public:
  // The text of a request that ended without a complete response.
  static constexpr const char* kNoResponse = "no complete response";
  // The images entry that marks that the page was scanned.
  static constexpr const char* kImagesMarkerKey = "AA noch nix fertig";
  static constexpr const char* kImagesMarkerValue = "nixda";

  HKTransceiverClientWEBClient(HKServerCallbackFunction callback, std::map<std::string, std::string> options,
                               HKTovikApplication2* application = nullptr);

  // Sends the request; its identifier, under which the record is kept. The
  // transceiver's error identifier (or "") when it could not go out; then no
  // record is made.
  std::string send(std::shared_ptr<HKXHeader> header, bool unused) override;
  // The head and body as sent; "" for an unknown identifier.
  std::string getRequestHeader(const std::string& id);
  std::string getRequestBody(const std::string& id);
  // Of finished requests only; "" otherwise.
  std::string getResponseHeader(const std::string& id);
  std::string getResponseBody(const std::string& id);
  // One line per image entry: key " : " value "\n"; "" for an unknown id.
  std::string getResponseImages(const std::string& id);
  // The error text of a finished request, "" when it has a response.
  std::string getRequestError(const std::string& id);
  // True once the request is finished (with a response or with an error).
  bool requestReady(const std::string& id);
  // Forgets a finished request.
  void releaseID(const std::string& id);
  // Requests still in progress (tests).
  size_t requestsInProgress();

  // Files the response under `id` and sets release server on the header.
  bool _onReceived_Response_HTTP(const std::string& id, HKXHeader& header) override;
  // Finishes the request with kNoResponse (called by the pool).
  virtual void _onRequestFailed(const std::string& id);
  // Milliseconds a connection of this client waits for a response.
  long requestTimeoutMs() const { return _requestTimeoutMs; }

 protected:
  // The images named by "<img ... />" in the body, as complete URLs.
  static void _collectImages(HKWCinfo_t& info);
  HKWCinfo_t* _find(const std::string& id, bool alsoInProgress);
  // Moves the requests reported as failed into the finished ones; _wclock held.
  void _applyFailuresNL();

  std::mutex _wclock;
  std::map<std::string, HKWCinfo_t> _inProgress;  // _wclock
  std::map<std::string, HKWCinfo_t> _finished;    // _wclock
  long _requestTimeoutMs;
  // Failures arrive from the pool's message handler, which may not wait for
  // _wclock (a sender holding it may be waiting for the pool): they are
  // noted here and applied by the next operation. Order: _wclock, then this.
  std::mutex _failLock;
  std::vector<std::string> _failed;  // _failLock
};
