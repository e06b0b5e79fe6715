// A served application for end-to-end tests: a site folder, an application
// with one http interface on a free port, and requests made with curl.
#pragma once

#include <atomic>
#include <stdio.h>
#include <sys/wait.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include <toviktwo/application/hkhtmlkontextn.h>
#include <toviktwo/application/hktovikapplication2.h>
#include <toviktwo/foundation/hkexception.h>
#include <toviktwo/transport/hkxheader.h>

#include "../scheduler/test_support.h"
#include "temp_files.h"

namespace tovik_test {

// A session that answers with what it was given; the command "leave"
// leaves the response at status 500, the command "throw" throws.
class EchoContext : public HKHTMLKontextN {
 public:
  EchoContext(HKTovikApplication2* app, const std::string& id, std::map<std::string, std::string>& ext)
      : HKHTMLKontextN(app, id, 0, "", ext) {}
  void manageRequest(HKXHeader& header, HKXResponseHeader& response, const std::string& command) override {
    if (command == "leave") return;
    if (command == "throw") throw HKException("context throws", __LINE__, "src");
    std::string field;
    header.getFormString("field", field);
    response.setHTTPResponse200("context " + getMainContextID() + " command=" + command + " field=" + field);
  }
};

// Makes EchoContexts on the command URL, answers the stored page
// "stored/page", and throws for the path "boom" (while asking) and for
// the stored page "stored/boom" (while answering).
class ServingApp : public HKTovikApplication2 {
 public:
  using HKTovikApplication2::HKTovikApplication2;
  HKHTMLKontextN* createNewContext(const std::string&) override {
    ++created;
    return insertNewContext(new EchoContext(this, "new" + std::to_string(created), _ext));
  }
  bool isPreloadContent(const std::string& path, HKXHeader&) override {
    if (path == "boom") throw HKException("boom", __LINE__, "src");
    return path == "stored/page" || path == "stored/boom";
  }
  bool preloadContent(const std::string& path, HKXResponseHeader& response) override {
    if (path == "stored/boom") throw HKException("preload throws", __LINE__, "src");
    response.setHTTPResponse200("stored " + path);
    return true;
  }
  void addContext(const std::string& id) { insertNewContext(new EchoContext(this, id, _ext)); }
  std::vector<HKTovikInterfaceProps>& interfaces() { return _interfaces; }
  std::atomic<int> created{0};

 private:
  std::map<std::string, std::string> _ext;
};

struct Reply {
  int status = 0;    // 0 when no answer came
  int curlExit = 0;  // curl's exit code (28: time-out, 52: empty reply)
  std::string head;
  std::string body;
};

// A site folder and a running application that serves it on a free port.
class ServedSite {
 public:
  // `params` are added to: _baseDirectoryHTTP (the site, unless
  // `withBase` is false) and no_browser_popup.
  explicit ServedSite(std::map<std::string, std::string> params = {}, bool withBase = true) {
    if (withBase) params.emplace("_baseDirectoryHTTP", base);
    params.emplace("no_browser_popup", "1");
    app = std::make_unique<ServingApp>(
        storage, std::vector<HKTovikInterfaceProps>{HKTovikInterfaceProps("127.0.0.1", 0, HK_PROTO_HTTP)},
        params);
    writeFile(base + "/.keep", "");
  }
  ~ServedSite() {
    if (app) app->closeInterfaces();
  }
  // Starts the servers and waits until the http one listens.
  bool start() {
    app->Run();
    waitUntil([&] { return !app->getParams()["tcp_port_http"].empty(); });
    port = app->getParams()["tcp_port_http"];
    return !port.empty();
  }
  std::string url(const std::string& path) const { return "http://127.0.0.1:" + port + path; }
  // One request with curl; `args` are more curl arguments (shell text).
  Reply fetch(const std::string& path, const std::string& args = "", int maxSeconds = 15) {
    const std::string head = dir / "reply.head", body = dir / "reply.body";
    std::remove(head.c_str());
    std::remove(body.c_str());
    const std::string cmd = "curl -s --path-as-is --max-time " + std::to_string(maxSeconds) + " -D '" + head +
                            "' -o '" + body + "' -w '%{http_code}' " + args + " '" + url(path) + "'";
    Reply r;
    FILE* p = popen(cmd.c_str(), "r");
    if (p == nullptr) return r;
    char buf[64] = {};
    const size_t n = fread(buf, 1, sizeof buf - 1, p);
    const int rc = pclose(p);
    r.curlExit = WIFEXITED(rc) ? WEXITSTATUS(rc) : -1;
    r.status = std::atoi(std::string(buf, n).c_str());
    r.head = readFile(head);
    r.body = readFile(body);
    return r;
  }

  TempDir dir;
  std::string base = dir / "site";
  HKPersistentAppStorage storage;
  std::unique_ptr<ServingApp> app;
  std::string port;
};

}  // namespace tovik_test
