// A server of ours for the load benchmarks (bench/http_load.sh): answers
// every GET with the same 1.4 KB body over keep-alive, on HTTP and, given a
// key pair, HTTPS. Prints "http <port>" and "https <port>" when listening
// and runs until its standard input closes.
//
//   http_bench_server <body file> [<cert.pem> <key.pem>]
#include <sys/resource.h>

#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <thread>

#include <toviktwo/transport/hktransceiver.h>

namespace {

class FixedAnswer : public HKTransceiverClient {
 public:
  explicit FixedAnswer(std::string body)
      : HKTransceiverClient(nullptr, {}, nullptr), _body(std::move(body)) {}
  bool _virtualPage(const std::string&, HKXHeader& request) override {
    auto response = request.createResponseHeader();
    response->getDataBuffer()->sputn(_body.data(), static_cast<std::streamsize>(_body.size()));
    response->setStatusCode(200);
    response->setJobState(6);
    return _sendAnswer(request, response);
  }

 private:
  std::string _body;
};

unsigned int waitForPort(const std::shared_ptr<HKXServerHeader>& header) {
  auto server = std::dynamic_pointer_cast<HKTransceiverServerL0Socket>(header->getTransceiverServer());
  for (int i = 0; i < 500 && server && !server->isListening(); ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  return server ? server->listeningPort() : 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::cerr << "usage: http_bench_server <body file> [<cert.pem> <key.pem>]" << std::endl;
    return 2;
  }
  // Room for the scale measurement's ten thousand connections.
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);

  std::ifstream file(argv[1], std::ios::binary);
  std::stringstream body;
  body << file.rdbuf();
  HKGavetaScheduler2 scheduler;
  {
    HKTransceiver transceiver(scheduler);
    auto client = std::make_shared<FixedAnswer>(body.str());
    transceiver.connect(client);
    auto http = std::make_shared<HKXServerHeader>(false, HK_PROTO_HTTP);
    http->setOption("tcp_port", "0");
    http->setOption("max_connections", "20000");
    client->receive(http);
    std::cout << "http " << waitForPort(http) << std::endl;
    std::shared_ptr<HKXServerHeader> https;
    if (argc >= 4) {
      https = std::make_shared<HKXServerHeader>(false, HK_PROTO_HTTPS);
      https->setOption("tcp_port", "0");
      https->setOption("cacertificate", argv[2]);
      https->setOption("privatekey", argv[3]);
      client->receive(https);
      std::cout << "https " << waitForPort(https) << std::endl;
    }
    std::string line;
    while (std::getline(std::cin, line)) {
    }
    transceiver.disconnect(client);
  }
  return 0;
}
