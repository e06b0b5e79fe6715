// Reading a generated XML text of about 8 MB into a tree, and printing the
// tree, side by side with libxml2's DOM reader and pugixml on the same bytes
// (when they are present). Rates are reported as bytes_per_second.
#include <benchmark/benchmark.h>
#include <toviktwo/toviktwo.h>

#include <sstream>
#include <string>

#ifdef TOVIK_HAVE_LIBXML2
#include <libxml/parser.h>
#include <libxml/tree.h>
#endif
#ifdef TOVIK_HAVE_PUGIXML
#include <pugixml.hpp>
#endif

namespace {

// A catalogue of records: nested elements, attributes, running text and
// indentation, roughly as configuration and project files look.
const std::string& Document() {
  static const std::string text = [] {
    std::string s = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- generated catalogue -->\n<catalog>\n";
    for (int i = 0; s.size() < 8u * 1024 * 1024; ++i) {
      const std::string n = std::to_string(i);
      s += "  <item id=\"item" + n + "\" price=\"" + std::to_string(i % 997) + ".50\" stock=\"" + std::to_string(i % 31) +
           "\">\n";
      s += "    <title>Item number " + n + " of the catalogue</title>\n";
      s += "    <description>A longer description with several words, some punctuation; and a number " + n +
           " to keep the texts apart.</description>\n";
      s += "    <tags><tag>alpha</tag> <tag>beta</tag> <tag kind=\"x\">gamma</tag> </tags>\n";
      s += "    <empty />\n";
      s += "  </item>\n";
    }
    s += "</catalog>\n";
    return s;
  }();
  return text;
}

void BM_Tovik_Read(benchmark::State& state) {
  std::string text = Document();
  for (auto _ : state) {
    HKDTDElementReaderString reader(text, 0);
    HKXMLComplexElement* top = reader.read("xml", false);
    benchmark::DoNotOptimize(top);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_Tovik_Read)->Unit(benchmark::kMillisecond);

// A small text: the price of constructing a reader (all its grammars).
void BM_Tovik_ReadSmall(benchmark::State& state) {
  std::string text = "<div id=\"x\"><span>a b</span></div>";
  for (auto _ : state) {
    HKDTDElementReaderString reader(text, 0);
    HKXMLComplexElement* top = reader.read("xml", false);
    benchmark::DoNotOptimize(top);
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}
BENCHMARK(BM_Tovik_ReadSmall);

void BM_Tovik_Print(benchmark::State& state) {
  std::string text = Document();
  HKDTDElementReaderString reader(text, 0);
  HKXMLComplexElement* top = reader.read("xml", false);
  std::size_t bytes = 0;
  for (auto _ : state) {
    std::ostringstream os;
    for (const HKXMLComplexElement* child : top->Children()) child->print(os);
    bytes = os.str().size();
    benchmark::DoNotOptimize(bytes);
  }
  if (bytes != text.size()) state.SkipWithError("printed text differs in size from the input");
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_Tovik_Print)->Unit(benchmark::kMillisecond);

#ifdef TOVIK_HAVE_LIBXML2
void BM_Libxml2_Read(benchmark::State& state) {
  const std::string& text = Document();
  for (auto _ : state) {
    xmlDocPtr doc = xmlReadMemory(text.data(), static_cast<int>(text.size()), "bench.xml", nullptr, 0);
    benchmark::DoNotOptimize(doc);
    xmlFreeDoc(doc);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_Libxml2_Read)->Unit(benchmark::kMillisecond);

void BM_Libxml2_Print(benchmark::State& state) {
  const std::string& text = Document();
  xmlDocPtr doc = xmlReadMemory(text.data(), static_cast<int>(text.size()), "bench.xml", nullptr, 0);
  for (auto _ : state) {
    xmlChar* out = nullptr;
    int size = 0;
    xmlDocDumpMemory(doc, &out, &size);
    benchmark::DoNotOptimize(out);
    xmlFree(out);
  }
  xmlFreeDoc(doc);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_Libxml2_Print)->Unit(benchmark::kMillisecond);
#endif

#ifdef TOVIK_HAVE_PUGIXML
void BM_Pugixml_Read(benchmark::State& state) {
  const std::string& text = Document();
  for (auto _ : state) {
    pugi::xml_document doc;
    pugi::xml_parse_result result = doc.load_buffer(text.data(), text.size());
    benchmark::DoNotOptimize(result);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_Pugixml_Read)->Unit(benchmark::kMillisecond);

void BM_Pugixml_Print(benchmark::State& state) {
  const std::string& text = Document();
  pugi::xml_document doc;
  doc.load_buffer(text.data(), text.size());
  for (auto _ : state) {
    std::ostringstream os;
    doc.save(os);
    benchmark::DoNotOptimize(os);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_Pugixml_Print)->Unit(benchmark::kMillisecond);
#endif

}  // namespace
