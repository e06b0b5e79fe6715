// toviktwo_demo: an application that answers a browser. It serves a folder
// of files (pages, a style sheet, an image), runs a CGI script and a PHP
// page, over HTTP and, when asked, HTTPS, and opens the user's browser on
// its start page: "/" is a session page of its own for every browser page
// (demo_session.cpp, templates/), the files of the folder stay reachable by
// name (/index.html).
//
//   toviktwo_demo [--port N] [--https-port N] [--root DIR] [--no-browser] [--cgi-timeout S]
//
// Start: viewport (with the storage) -> console driver -> XRun, which makes
// the application through the factory, calls Init() and Run(). Run() opens
// one listening interface per entry of the interface list and returns; when
// the http server reports that it listens, the library opens the browser
// (unless no_browser_popup is set). Stop: "quit" on standard input, end of
// input, Ctrl-C (SIGINT) or SIGTERM; the exit code is 0.
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <iostream>
#include <sstream>
#include <string>
#include <thread>

#include <toviktwo/toviktwo.h>

#include "demo_certificate.h"
#include "demo_session.h"

namespace {

// ---- the command line

struct DemoOptions {
  unsigned port = 2098;                    // --port; 0 takes a free port
  bool https = false;                      // whether --https-port was given
  unsigned httpsPort = 0;                  // --https-port; 0 takes a free port
  std::string root = TOVIK_DEMO_SITE_DIR;  // --root: files, cgi-bin/, PHP pages
  bool noBrowser = false;                  // --no-browser
  std::string cgiTimeout = "30";           // --cgi-timeout, seconds
};

const char* const kUsage =
    "usage: toviktwo_demo [--port N] [--https-port N] [--root DIR] [--no-browser] [--cgi-timeout S]\n";

bool readNumber(const std::string& text, double min, double max, double& out) {
  std::istringstream in(text);
  return (in >> out) && in.eof() && out >= min && out <= max;
}

bool parseCommandLine(int argc, char** argv, DemoOptions& o) {
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    const bool hasValue = i + 1 < argc;
    double number = 0;
    if (arg == "--no-browser") {
      o.noBrowser = true;
    } else if (arg == "--port" && hasValue && readNumber(argv[++i], 0, 65535, number)) {
      o.port = static_cast<unsigned>(number);
    } else if (arg == "--https-port" && hasValue && readNumber(argv[++i], 0, 65535, number)) {
      o.https = true;
      o.httpsPort = static_cast<unsigned>(number);
    } else if (arg == "--root" && hasValue) {
      o.root = argv[++i];
    } else if (arg == "--cgi-timeout" && hasValue && readNumber(argv[++i], 0.001, 86400, number)) {
      o.cgiTimeout = argv[i];
    } else {
      return false;
    }
  }
  return true;
}

// ---- stopping on a signal

volatile sig_atomic_t signalled = 0;

void onSignal(int) { signalled = 1; }

void catchStopSignals() {
  struct sigaction sa {};
  sa.sa_handler = onSignal;  // no SA_RESTART: a waiting poll returns at once
  sigaction(SIGINT, &sa, nullptr);
  sigaction(SIGTERM, &sa, nullptr);
  signal(SIGPIPE, SIG_IGN);  // a browser that leaves early must not end the server
}

// ---- the console: ends on "quit", end of input, or a signal

class DemoConsole : public HKTovikCLAppAddOn {
 public:
  using HKTovikCLAppAddOn::HKTovikCLAppAddOn;
  bool withHttps = false;  // whether to wait for the HTTPS address as well

  long _Xrun() override {
    printWhereToOpen();
    std::string pending;
    while (!signalled && !quitTyped(pending)) {
      pollfd in{STDIN_FILENO, POLLIN, 0};
      if (poll(&in, 1, 200) <= 0) continue;
      char buf[256];
      const ssize_t n = read(STDIN_FILENO, buf, sizeof buf);
      if (n <= 0) break;  // end of input
      pending.append(buf, static_cast<size_t>(n));
    }
    _stop = 1;
    return 1;
  }

 private:
  // True when a whole word "quit" was typed; keeps only an unfinished word.
  static bool quitTyped(std::string& pending) {
    const size_t end = pending.find_last_of(" \t\r\n");
    if (end == std::string::npos) return false;
    std::istringstream words(pending.substr(0, end));
    pending.erase(0, end + 1);
    for (std::string w; words >> w;)
      if (w == "quit") return true;
    return false;
  }

  // The servers write the ports they took into the params when they listen;
  // each interface listens in its own job, so both are waited for.
  void printWhereToOpen() {
    HKTovikApplication2* app = _viewport->GetApplication();
    std::map<std::string, std::string> params;
    for (int i = 0; i < 100 && !signalled; ++i) {
      params = app->getParams();
      if (params.count("tcp_port_http") && (!withHttps || params.count("tcp_port_https"))) break;
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    if (params.count("tcp_port_http"))
      std::cout << "toviktwo demo: open http://127.0.0.1:" << params["tcp_port_http"] << "/" << std::endl;
    if (params.count("tcp_port_https"))
      std::cout << "               or https://127.0.0.1:" << params["tcp_port_https"] << "/" << std::endl;
    std::cout << "type quit (or press Ctrl-C) to end" << std::endl;
  }
};

// ---- the application: which interfaces, which parameters

HKTovikApplication2* makeApplication(HKAppViewportBase* viewport, const DemoOptions& o) {
  std::vector<HKTovikInterfaceProps> interfaces = {HKTovikInterfaceProps("127.0.0.1", o.port, HK_PROTO_HTTP)};
  if (o.https)
    interfaces.emplace_back(
        "127.0.0.1", o.httpsPort, HK_PROTO_HTTPS,
        std::map<std::string, std::string>{{"cacertificate", "cacert.pem"}, {"privatekey", "privkey.pem"}});
  std::map<std::string, std::string> params = {
      {"_baseDirectoryHTTP", o.root},                // files, cgi-bin/ and PHP pages come from here
      {"_cgitimeout", o.cgiTimeout},                 // a CGI or PHP child that takes longer is killed
      {"no_browser_popup", o.noBrowser ? "1" : ""},  // any text at all suppresses the browser
      {"_app_context_commandurl", "/"},              // "/" without a session id opens a new session page
      {"_app_context_idle_seconds", "1800"},         // a page left alone for half an hour is closed
      {"_app_context_max_count", "1000"},            // at most this many sessions at a time
  };
  // The session page, its template and style sheet: demo_session.cpp.
  return new DemoApplication(viewport->GetStorage(), interfaces, params, TOVIK_DEMO_TEMPLATE_DIR);
}

}  // namespace

int main(int argc, char** argv) {
  DemoOptions options;
  if (!parseCommandLine(argc, argv, options)) {
    std::cerr << kUsage;
    return 2;
  }
  std::string error;
  if (options.https && !ensureSelfSignedCertificate("cacert.pem", "privkey.pem", error)) {
    std::cerr << "toviktwo demo: " << error << std::endl;
    return 1;
  }
  catchStopSignals();
  HKAppViewportBase viewport(
      "toviktwo demo", "demo", [&](HKAppViewportBase* v, bool) { return makeApplication(v, options); },
      [](HKPersistentAppStorage&) {});
  DemoConsole console(viewport, argc, argv);
  console.withHttps = options.https;
  console.XRun();
  std::cout << "bye" << std::endl;
  return 0;  // ~viewport: application (servers, then the scheduler), then storage
}
