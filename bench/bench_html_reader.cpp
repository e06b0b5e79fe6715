// Reading a generated HTML template of about 1 MB into a document and
// printing it, side by side with libxml2's HTML reader on the same bytes
// (when present). Rates are reported as bytes_per_second.
#include <benchmark/benchmark.h>
#include <toviktwo/toviktwo.h>

#include <sstream>
#include <string>

#ifdef TOVIK_HAVE_LIBXML2
#include <libxml/HTMLparser.h>
#include <libxml/HTMLtree.h>
#include <libxml/tree.h>
#endif

namespace {

// A page as the templates look: a head with a style sheet and a script,
// then sections of nested divs, a table and a form each, until 1 MB.
const std::string& Page() {
  static const std::string text = [] {
    std::string s =
        "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\"/>\n<title>Generated page</title>\n"
        "<style type=\"text/css\">";
    for (int i = 0; i < 60; ++i) {
      const std::string n = std::to_string(i);
      s += ".c" + n + "{color:#" + std::to_string(100 + i) + ";margin:" + n + "px;}";
      s += "#d" + n + " td{border:1px solid gray;padding:2px;}";
    }
    s += "@media print{.noprint{display:none;}}</style>\n";
    s += "<script type=\"text/javascript\"><!--\nfunction go(f) { f.submit(); }\n//--></script>\n</head>\n<body>\n";
    for (int i = 0; s.size() < 1024u * 1024u; ++i) {
      const std::string n = std::to_string(i);
      s += "<div id=\"d" + n + "\" class=\"c" + std::to_string(i % 60) + "\">\n";
      s += "  <div class=\"head\"><h2>Section " + n + "</h2><span>updated at run " + n + "</span></div>\n";
      s += "  <div class=\"body\">\n    <p>Some running text of section " + n +
           " with <b>bold</b> and <i>italic</i> words.<br/>And a second line.</p>\n";
      s += "    <table>\n      <tr><th>Name</th><th>Value</th></tr>\n";
      for (int r = 0; r < 4; ++r) {
        s += "      <tr><td>row " + std::to_string(r) + "</td><td>" + std::to_string(i * 4 + r) + ".5</td></tr>\n";
      }
      s += "    </table>\n";
      s += "    <form method=\"POST\" action=\"/tovikwidget.handler\">\n";
      s += "      <input type=\"text\" name=\"field" + n + "\" value=\"v" + n + "\"/>\n";
      s += "      <select name=\"s" + n + "\"><option value=\"1\">one</option><option value=\"2\">two</option></select>\n";
      s += "      <input type=\"submit\" name=\"ok\" value=\"Save\"/>\n    </form>\n  </div>\n</div>\n";
    }
    s += "</body>\n</html>\n";
    return s;
  }();
  return text;
}

void BM_Toviktwo_HtmlRead(benchmark::State& state) {
  const std::string& page = Page();
  HKDataReader reader;
  for (auto _ : state) {
    HKHTML_Document2 doc(0);
    if (!reader.ReadHTMLDocumentFromString(page, doc, 0)) state.SkipWithError("reading failed");
    benchmark::DoNotOptimize(doc.ChildCount());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(page.size()));
}
BENCHMARK(BM_Toviktwo_HtmlRead)->Unit(benchmark::kMillisecond);

void BM_Toviktwo_HtmlReadAndPrint(benchmark::State& state) {
  const std::string& page = Page();
  HKDataReader reader;
  for (auto _ : state) {
    HKHTML_Document2 doc(0);
    if (!reader.ReadHTMLDocumentFromString(page, doc, 0)) state.SkipWithError("reading failed");
    std::ostringstream os;
    doc.print(os);
    benchmark::DoNotOptimize(os.tellp());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(page.size()));
}
BENCHMARK(BM_Toviktwo_HtmlReadAndPrint)->Unit(benchmark::kMillisecond);

#ifdef TOVIK_HAVE_LIBXML2
void BM_LibXml2_HtmlRead(benchmark::State& state) {
  const std::string& page = Page();
  for (auto _ : state) {
    htmlDocPtr doc = htmlReadMemory(page.data(), static_cast<int>(page.size()), "page.html", "UTF-8",
                                    HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING | HTML_PARSE_NONET);
    if (doc == nullptr) state.SkipWithError("libxml2 failed");
    xmlFreeDoc(doc);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(page.size()));
}
BENCHMARK(BM_LibXml2_HtmlRead)->Unit(benchmark::kMillisecond);

void BM_LibXml2_HtmlReadAndPrint(benchmark::State& state) {
  const std::string& page = Page();
  for (auto _ : state) {
    htmlDocPtr doc = htmlReadMemory(page.data(), static_cast<int>(page.size()), "page.html", "UTF-8",
                                    HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING | HTML_PARSE_NONET);
    if (doc == nullptr) state.SkipWithError("libxml2 failed");
    xmlChar* out = nullptr;
    int length = 0;
    htmlDocDumpMemory(doc, &out, &length);
    benchmark::DoNotOptimize(length);
    xmlFree(out);
    xmlFreeDoc(doc);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(page.size()));
}
BENCHMARK(BM_LibXml2_HtmlReadAndPrint)->Unit(benchmark::kMillisecond);
#endif

}  // namespace
