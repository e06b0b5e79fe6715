// Outgoing requests through the pool of connections: the same 1.4 KB file
// fetched 10,000 times from nginx on loopback, with pools of 1, 4 and 10
// connections (requests per second in the counter "req/s"). Peer: curl
// fetching the same file 1,000 times over one connection from a URL list.
// Skipped when nginx or curl is not installed.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <string>

#include "../tests/support/http_peers.h"
#include "../tests/support/webclient_support.h"

using namespace tovik_test;

namespace {

constexpr int kPoolRequests = 10000;
constexpr int kCurlRequests = 1000;
constexpr size_t kFileBytes = 1400;
// Requests handed to the client ahead of those finished.
constexpr size_t kInFlight = 64;

struct Site {
  Site() {
    std::ofstream(files.file("small.txt")) << std::string(kFileBytes, 's');
    nginx = std::make_unique<NginxServer>(files.path());
  }
  TempDir files;
  std::unique_ptr<NginxServer> nginx;
};

Site& site() {
  static Site s;
  return s;
}

// Sends `count` requests with at most kInFlight outstanding; the number that
// arrived whole.
int fetchMany(WebClientHarness& web, const std::string& url, int count) {
  std::deque<std::string> open;
  int sent = 0, whole = 0;
  while (sent < count || !open.empty()) {
    while (sent < count && open.size() < kInFlight) {
      open.push_back(web.send(url));
      ++sent;
    }
    if (!web.ready(open.front(), std::chrono::milliseconds(10000))) return whole;
    if (web.client->getResponseBody(open.front()).size() == kFileBytes) ++whole;
    web.client->releaseID(open.front());
    open.pop_front();
  }
  return whole;
}

void BM_PoolFetch(benchmark::State& state) {
  if (!site().nginx->running()) {
    state.SkipWithError("nginx is not installed or did not start");
    return;
  }
  const std::string url = localURL(site().nginx->port, "/small.txt");
  for (auto _ : state) {
    WebClientHarness web;
    web.fetch(url);  // makes the pool
    web.pool("http://127.0.0.1:" + std::to_string(site().nginx->port))->maxHooks(state.range(0));
    const auto start = std::chrono::steady_clock::now();
    const int whole = fetchMany(web, url, kPoolRequests);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    state.SetIterationTime(seconds);
    state.counters["req/s"] = whole / seconds;
    if (whole != kPoolRequests) state.SkipWithError("requests failed");
  }
}
BENCHMARK(BM_PoolFetch)
    ->Arg(1)
    ->Arg(4)
    ->Arg(10)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

void BM_CurlUrlList(benchmark::State& state) {
  if (!site().nginx->running() || std::system("command -v curl >/dev/null 2>&1") != 0) {
    state.SkipWithError("nginx or curl is not installed");
    return;
  }
  TempDir dir;
  {
    std::ofstream list(dir.file("urls.txt"));
    for (int i = 0; i < kCurlRequests; ++i)
      list << "url = \"" << localURL(site().nginx->port, "/small.txt") << "\"\noutput = \"/dev/null\"\n";
  }
  for (auto _ : state) {
    const auto start = std::chrono::steady_clock::now();
    int status = -1;
    runCommand("curl -s --config " + dir.file("urls.txt"), &status, 120);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    state.SetIterationTime(seconds);
    state.counters["req/s"] = kCurlRequests / seconds;
    if (status != 0) state.SkipWithError("curl failed");
  }
}
BENCHMARK(BM_CurlUrlList)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
