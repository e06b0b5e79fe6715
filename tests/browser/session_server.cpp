// A minimal loopback HTTP server for the browser tests of the session layer.
//
// It routes exactly as the library's request routing does for session pages:
// a request with a "tovikid" goes through invokeContext (with the form field
// "tovikcommand" as command); "/" without an id gets a new session from
// createNewContext and its "&new" page; a response left at status 500 gets a
// 404 page. It serves the example application's DemoSession, so that the
// browser test drives the same session code as toviktwo_demo.
//
//   toviktwo_session_server TEMPLATE_DIR    prints "port N", serves until stdin ends
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <iostream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "demo_session.h"

namespace {

constexpr size_t kReadChunk = 16384;
constexpr int kPollMs = 200;

struct Connection {
  int fd;
  std::unique_ptr<HKXHeader> request = std::make_unique<HKXHeader>(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
};

void answer(HKTovikApplication2& app, HKXHeader& request, HKXResponseHeader& response) {
  request.parseContent2();
  std::string id, command;
  request.getFormString("tovikid", id);
  request.getFormString("tovikcommand", command);
  if (!id.empty()) {
    app.invokeContext(id, request, response, command);
  } else if (request.getURLPath() == "/") {
    app.createNewContext("tovikid")->manageRequest(request, response, "&new");
  }
  if (response.statusCode() == 500) {
    response.setHTTPResponse200(
        "<!DOCTYPE html>\n<html><head><title>Error 404 - not found</title></head><body>"
        "<h1>Error 404 - not found</h1></body></html>");
    response.setStatusCode(404);
  }
}

// Reads what arrived; false when the connection is to be closed.
bool serve(HKTovikApplication2& app, Connection& c) {
  char buffer[kReadChunk];
  const ssize_t n = read(c.fd, buffer, sizeof buffer);
  if (n <= 0) return false;
  c.request->getDataBuffer()->stringput(std::string(buffer, static_cast<size_t>(n)));
  const int state = c.request->parseInputData2([](HKXHeader&) { return true; });
  if (state == 0) return true;
  if (state != 2) return false;
  HKXResponseHeader response(HK_SCHEME_ANSWER, false, HK_PROTO_HTTP);
  answer(app, *c.request, response);
  std::ostringstream out;
  response.getHeader(out);
  HKStringBuf* body = response.getDataBuffer();
  std::string bytes = out.str() + (body != nullptr ? body->str() : std::string());
  for (size_t sent = 0; sent < bytes.size();) {
    const ssize_t w = write(c.fd, bytes.data() + sent, bytes.size() - sent);
    if (w <= 0) return false;
    sent += static_cast<size_t>(w);
  }
  const bool keep = !c.request->isConnectionClose();
  c.request = std::make_unique<HKXHeader>(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  return keep;
}

int listenOnLoopback() {
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  const int yes = 1;
  setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 || listen(fd, 16) != 0) return -1;
  socklen_t length = sizeof address;
  getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
  std::cout << "port " << ntohs(address.sin_port) << std::endl;
  return fd;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: toviktwo_session_server TEMPLATE_DIR\n";
    return 2;
  }
  HKPersistentAppStorage storage;
  DemoApplication app(storage, {}, {{"_app_context_commandurl", "/"}, {"_app_context_idle_seconds", "600"}},
                      argv[1]);
  const int listener = listenOnLoopback();
  if (listener < 0) return 1;
  std::vector<Connection> connections;
  for (;;) {
    std::vector<pollfd> watched{{STDIN_FILENO, POLLIN, 0}, {listener, POLLIN, 0}};
    for (const Connection& c : connections) watched.push_back({c.fd, POLLIN, 0});
    if (poll(watched.data(), watched.size(), kPollMs) < 0) break;
    if (watched[0].revents != 0) {
      char b[64];
      if (read(STDIN_FILENO, b, sizeof b) <= 0) break;  // the test ends: stdin closes
    }
    if (watched[1].revents & POLLIN) connections.push_back(Connection{accept(listener, nullptr, nullptr)});
    for (size_t i = 2, k = 0; i < watched.size(); ++i, ++k) {
      if (watched[i].revents == 0 || serve(app, connections[k])) continue;
      close(connections[k].fd);
      connections[k].fd = -1;
    }
    std::erase_if(connections, [](const Connection& c) { return c.fd < 0; });
  }
  for (Connection& c : connections) close(c.fd);
  close(listener);
  return 0;
}
