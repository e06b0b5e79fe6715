// Message heads parsed per second: a typical browser GET head, and a
// multipart POST carrying a 1 MB file part (head, body and blocks).
#include <benchmark/benchmark.h>

#include <string>

#include <toviktwo/transport/hkxheader.h>

namespace {

const std::string kGet =
    "GET /app/index.html?tovikid=_job*012345601700000000&x=1 HTTP/1.1\r\n"
    "Host: localhost:2098\r\n"
    "User-Agent: Mozilla/5.0 (X11; Linux x86_64; rv:128.0) Gecko/20100101 Firefox/128.0\r\n"
    "Accept: text/html,application/xhtml+xml,application/xml;q=0.9,*/*;q=0.8\r\n"
    "Accept-Language: en-US,en;q=0.5\r\n"
    "Accept-Encoding: gzip, deflate, br\r\n"
    "Referer: http://localhost:2098/app/\r\n"
    "Connection: keep-alive\r\n"
    "Cookie: session=abcdef0123456789; theme=dark\r\n"
    "Upgrade-Insecure-Requests: 1\r\n"
    "Sec-Fetch-Dest: document\r\n"
    "Sec-Fetch-Mode: navigate\r\n"
    "Sec-Fetch-Site: same-origin\r\n"
    "\r\n";

std::string multipartPost() {
  const std::string boundary = "----WebKitFormBoundary7MA4YWxkTrZu0gW";
  std::string file(1 << 20, '\0');
  for (size_t i = 0; i < file.size(); ++i) file[i] = static_cast<char>((i * 2654435761u) >> 13);
  std::string body = "--" + boundary +
                     "\r\nContent-Disposition: form-data; name=\"tovikaction\"\r\n\r\nupload\r\n--" +
                     boundary +
                     "\r\nContent-Disposition: form-data; name=\"f\"; filename=\"data.bin\"\r\n"
                     "Content-Type: application/octet-stream\r\n\r\n" +
                     file + "\r\n--" + boundary + "--\r\n";
  return "POST /tovikwidget.handler HTTP/1.1\r\nHost: localhost:2098\r\n"
         "Content-Type: multipart/form-data; boundary=" +
         boundary + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

void BM_BrowserGetHead(benchmark::State& state) {
  for (auto _ : state) {
    HKXHeader h(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
    h.getDataBuffer()->stringput(kGet);
    const int r = h.parseInputData2([](HKXHeader&) { return true; });
    if (r != 2) state.SkipWithError("head not complete");
    benchmark::DoNotOptimize(r);
  }
  state.SetItemsProcessed(state.iterations());
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kGet.size()));
}
BENCHMARK(BM_BrowserGetHead);

// The same head without the identity each header takes as a job: what the
// parser itself costs.
void BM_BrowserGetHeadParseOnly(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    auto* h = new HKXHeader(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
    h->getDataBuffer()->stringput(kGet);
    state.ResumeTiming();
    const int r = h->parseInputData2([](HKXHeader&) { return true; });
    benchmark::DoNotOptimize(r);
    state.PauseTiming();
    delete h;
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_BrowserGetHeadParseOnly);

void BM_MultipartPost1MB(benchmark::State& state) {
  const std::string msg = multipartPost();
  for (auto _ : state) {
    HKXHeader h(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
    h.getDataBuffer()->stringput(msg);
    int r = h.parseInputData2([](HKXHeader&) { return true; });
    if (r == 2) r = h.parseContent2();
    if (r != 2 || h.messageBlocks().size() != 2) state.SkipWithError("multipart not parsed");
  }
  state.SetItemsProcessed(state.iterations());
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(msg.size()));
}
BENCHMARK(BM_MultipartPost1MB)->Unit(benchmark::kMillisecond);

}  // namespace
