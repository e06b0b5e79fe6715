// Session layer benchmarks, on the example application's session page
// (examples/demo/templates/session.html): making a new session and printing
// its page, one widget click from the request bytes to the answer script,
// and the resident memory one session costs. These run in the process,
// without sockets; the loopback round trip through the server is measured
// separately.
#include <benchmark/benchmark.h>

#include <unistd.h>

#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "demo_session.h"

namespace {

const std::string kTemplates = TOVIK_DEMO_TEMPLATE_DIR;
constexpr int kMemorySessions = 1000;

HKPersistentAppStorage& storage() {
  static HKPersistentAppStorage s;
  return s;
}

std::unique_ptr<HKXHeader> parsed(const std::string& text) {
  auto header = std::make_unique<HKXHeader>(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  header->getDataBuffer()->stringput(text);
  header->parseInputData2([](HKXHeader&) { return true; });
  header->parseContent2();
  return header;
}

// The widget form as the page's script posts it.
std::string clickRequest(const std::string& id, const std::string& element) {
  const std::string boundary = "----WebKitFormBoundaryq3ZLx7tPHhLbd0Wr";
  std::string body;
  for (auto [name, value] : {std::pair<std::string, std::string>{"tovikid", id},
                             {"tovikaction", "onclick"},
                             {"tovikactionelement", element},
                             {"tovikactionparam1", "none"}})
    body += "--" + boundary + "\r\nContent-Disposition: form-data; name=\"" + name + "\"\r\n\r\n" + value +
            "\r\n";
  body += "--" + boundary + "--\r\n";
  return "POST /tovikwidget.handler HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Type: multipart/form-data; "
         "boundary=" +
         boundary + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

long residentBytes() {
  std::ifstream statm("/proc/self/statm");
  long size = 0, resident = 0;
  statm >> size >> resident;
  return resident * sysconf(_SC_PAGESIZE);
}

void BM_NewSessionPage(benchmark::State& state) {
  DemoApplication app(storage(), {}, {}, kTemplates);
  const std::string get = "GET / HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n";
  for (auto _ : state) {
    auto request = parsed(get);
    HKXResponseHeader response(HK_SCHEME_ANSWER, false, HK_PROTO_HTTP);
    app.createNewContext("tovikid")->manageRequest(*request, response, "&new");
    benchmark::DoNotOptimize(response.getDataBuffer());
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_NewSessionPage)->Unit(benchmark::kMicrosecond);

void BM_ClickInProcess(benchmark::State& state) {
  DemoApplication app(storage(), {}, {}, kTemplates);
  const std::string id = app.createNewContext("tovikid")->getMainContextID();
  const std::string click = clickRequest(id, "countbutton");
  for (auto _ : state) {
    auto request = parsed(click);
    HKXResponseHeader response(HK_SCHEME_ANSWER, false, HK_PROTO_HTTP);
    app.invokeContext(id, *request, response, "");
    benchmark::DoNotOptimize(response.getDataBuffer());
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ClickInProcess)->Unit(benchmark::kMicrosecond);

// Resident growth over 1,000 sessions of the example page, divided by their number.
void BM_MemoryPerSession(benchmark::State& state) {
  double perSession = 0;
  for (auto _ : state) {
    auto app = std::make_unique<DemoApplication>(storage(), std::vector<HKTovikInterfaceProps>{},
                                                 std::map<std::string, std::string>{}, kTemplates);
    app->createNewContext("tovikid");  // warm up the allocator and the grammar tables
    const long before = residentBytes();
    for (int i = 0; i < kMemorySessions; ++i) app->createNewContext("tovikid");
    perSession = double(residentBytes() - before) / kMemorySessions;
  }
  state.counters["bytes_per_session"] = perSession;
}
BENCHMARK(BM_MemoryPerSession)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
