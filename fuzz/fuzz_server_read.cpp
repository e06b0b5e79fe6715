// Feeds arbitrary bytes, cut into arbitrary pieces, through a server's read
// path: each piece arrives on a connection as the receive job would deliver
// it, and the HTTP server level's buffer work assembles messages from them,
// answers complete ones through a client and closes on bad ones, exactly as
// its buffer job does. The first byte chooses the piece size.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include <toviktwo/transport/hktransceiver.h>
#include <toviktwo/transport/hktransportjobs.h>

namespace {

class Answering : public HKTransceiverClient {
 public:
  Answering() : HKTransceiverClient(nullptr, {}, nullptr) {}
  bool _virtualPage(const std::string&, HKXHeader& request) override {
    request.parseContent2();
    auto response = request.createResponseHeader();
    response->setHTTPResponse200("ok");
    return _sendAnswer(request, response);
  }
};

struct Rig {
  Rig() {
    client = std::make_shared<Answering>();
    transceiver.connect(client);
    header = std::make_shared<HKXServerHeader>(false, HK_PROTO_HTTP);
    header->setOption("max_head_bytes", "4096");
    header->setOption("max_body_bytes", "65536");
    client->receive(header);  // known to the client; its listener is not used here
    server =
        HKMakeTransportJob<HKTransceiverServerL1HTTP>(scheduler, *header, transceiver, client->getID(),
                                                      header->getID(), transceiver.getID(), nullptr, "HTTP");
    transceiver.addTransceiverServer(server);
  }
  // A connection without a descriptor: answers stay queued and are dropped.
  std::shared_ptr<HKTransceiverConnection> connection() {
    HKServerCallback_t info;
    info.map["remoteaddress"] = "fuzz";
    // Its signals go to no server: the fuzzer runs the buffer work itself.
    auto c =
        std::make_shared<HKTransceiverConnection>(transceiver, "fuzz", "", info, HKRemoveConnectionSocket);
    auto socket = std::make_shared<HKSocketIPvx>(true);
    transceiver._addTCPSocket(socket, c);
    return c;
  }
  HKGavetaScheduler2 scheduler;
  HKTransceiver transceiver{scheduler};
  std::shared_ptr<Answering> client;
  std::shared_ptr<HKXServerHeader> header;
  std::shared_ptr<HKTransceiverServerL1HTTP> server;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static Rig* rig = new Rig();  // lives for the process
  if (size == 0) return 0;
  const size_t piece = 1 + data[0] % 64;
  const char* bytes = reinterpret_cast<const char*>(data + 1);
  const size_t n = size - 1;
  std::shared_ptr<HKTransceiverConnection> c = rig->connection();
  const std::string id = c->getID();
  for (size_t at = 0; at < n; at += piece) {
    if (!rig->transceiver.resolveTransceiverConnection(id)) break;  // closed: a bad message
    const size_t len = at + piece <= n ? piece : n - at;
    c->_receive(bytes + at, len);
    rig->server->_bufferworkfunction(id, rig->client->getID());
    c->clear();
  }
  rig->transceiver._removeTCPSocket(id, true);
  rig->server->_bufferworkfunction(id, rig->client->getID());  // drops the head in progress
  return 0;
}
