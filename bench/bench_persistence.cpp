// The persistence layer on large files: loading a 10 MB project file into an
// HKXMLDatabase and dotted-path look-ups in it (per second), and reading
// 5 MB of nested elements with attributes through the reader's stream
// source, its text source and from a file, side by side with libxml2's
// xmlReadMemory on the same bytes (when present); the stream source asked
// character by character is measured too, as it was read before. Rates are bytes_per_second
// or items_per_second.
#include <benchmark/benchmark.h>
#include <toviktwo/toviktwo.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#ifdef TOVIK_HAVE_LIBXML2
#include <libxml/parser.h>
#include <libxml/tree.h>
#endif

namespace {

constexpr std::size_t kProjectBytes = 10u * 1024 * 1024;
constexpr std::size_t kNestedBytes = 5u * 1024 * 1024;
constexpr int kRecordsPerGroup = 100;

// A project file: settings first, then groups of records with attributes
// and string variables at the end, as an application's project grows.
const std::string& ProjectText() {
  static const std::string text = [] {
    std::string s = "<tovik>\n<project>\n<settings><window width=\"800\" height=\"600\"/></settings>\n";
    for (int g = 0; s.size() < kProjectBytes; ++g) {
      s += "<group id=\"g" + std::to_string(g) + "\">\n";
      for (int r = 0; r < kRecordsPerGroup; ++r) {
        const std::string n = std::to_string(g * kRecordsPerGroup + r);
        s += "  <record id=\"r" + n + "\" value=\"" + n + ".25\" unit=\"mV\" state=\"ok\"/>\n";
      }
      s += "</group>\n";
    }
    s += "<stringvariables><stringvariable name=\"title\">A <b>big</b> "
         "project</stringvariable></stringvariables>\n";
    s += "<last marker=\"end\"/>\n</project>\n</tovik>\n";
    return s;
  }();
  return text;
}

// 5 MB of nested elements with attributes.
const std::string& NestedText() {
  static const std::string text = [] {
    std::string s = "<root>\n";
    for (int i = 0; s.size() < kNestedBytes; ++i) {
      const std::string n = std::to_string(i);
      s += "<a id=\"a" + n + "\" kind=\"outer\"><b id=\"b" + n + "\" x=\"1\" y=\"2\"><c name=\"c" + n +
           "\" value=\"" + n + "\"/><c name=\"d\" value=\"e\"/></b></a>\n";
    }
    s += "</root>\n";
    return s;
  }();
  return text;
}

// A file with text in the system's temporary folder, removed at exit.
struct TempFile {
  explicit TempFile(const std::string& text) {
    path =
        (std::filesystem::temp_directory_path() / ("toviktwo-bench-" + std::to_string(text.size()) + ".xml"))
            .string();
    std::ofstream(path, std::ios::binary) << text;
  }
  ~TempFile() { std::remove(path.c_str()); }
  std::string path;
};

const TempFile& ProjectFile() {
  static const TempFile file(ProjectText());
  return file;
}

const TempFile& NestedFile() {
  static const TempFile file(NestedText());
  return file;
}

void NoFile(std::string) {}

void BM_Database_Load10MBProject(benchmark::State& state) {
  const TempFile& file = ProjectFile();
  for (auto _ : state) {
    HKXMLDatabase db("");
    db.DBReadFromDisk(file.path, NoFile);
    benchmark::DoNotOptimize(db.GetBaseName());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(ProjectText().size()));
}
BENCHMARK(BM_Database_Load10MBProject)->Unit(benchmark::kMillisecond);

// A look-up whose elements come first among their siblings.
void BM_Database_LookupNearPath(benchmark::State& state) {
  HKXMLDatabase db("");
  db.DBReadFromDisk(ProjectFile().path, NoFile);
  if (db.GetElementAttribute("project.settings.window.width", "") != "800")
    state.SkipWithError("wrong value");
  for (auto _ : state) benchmark::DoNotOptimize(db.GetElementAttribute("project.settings.window.width", ""));
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}
BENCHMARK(BM_Database_LookupNearPath);

// A look-up through an element behind all the groups (every sibling is passed).
void BM_Database_LookupBehindAllGroups(benchmark::State& state) {
  HKXMLDatabase db("");
  db.DBReadFromDisk(ProjectFile().path, NoFile);
  if (db.GetElementAttribute("project.last.marker", "") != "end") state.SkipWithError("wrong value");
  for (auto _ : state) benchmark::DoNotOptimize(db.GetElementAttribute("project.last.marker", ""));
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}
BENCHMARK(BM_Database_LookupBehindAllGroups);

void BM_Database_StringVariable(benchmark::State& state) {
  HKXMLDatabase db("");
  db.DBReadFromDisk(ProjectFile().path, NoFile);
  for (auto _ : state) benchmark::DoNotOptimize(db.GetStringVariable("title", ""));
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}
BENCHMARK(BM_Database_StringVariable);

void BM_Reader_5MBFromIstringstream(benchmark::State& state) {
  const std::string& text = NestedText();
  for (auto _ : state) {
    std::istringstream in(text);
    std::string error;
    HKXMLGenericElement* root = HKDataReader().Read(in, "xml", error);
    benchmark::DoNotOptimize(root);
    delete root;
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_Reader_5MBFromIstringstream)->Unit(benchmark::kMillisecond);

// The stream source asked for every character (how HKDataReader read streams before).
void BM_Reader_5MBStreamSourceCharacterWise(benchmark::State& state) {
  const std::string& text = NestedText();
  for (auto _ : state) {
    std::istringstream in(text);
    HKDTDElementReaderStream reader(in);
    benchmark::DoNotOptimize(reader.read("xml", false));
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_Reader_5MBStreamSourceCharacterWise)->Unit(benchmark::kMillisecond);

void BM_Reader_5MBFromIfstream(benchmark::State& state) {
  const TempFile& file = NestedFile();
  for (auto _ : state) {
    std::ifstream in(file.path, std::ios::binary);
    std::string error;
    HKXMLGenericElement* root = HKDataReader().Read(in, "xml", error);
    benchmark::DoNotOptimize(root);
    delete root;
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(NestedText().size()));
}
BENCHMARK(BM_Reader_5MBFromIfstream)->Unit(benchmark::kMillisecond);

void BM_Reader_5MBFromString(benchmark::State& state) {
  std::string text = NestedText();
  for (auto _ : state) {
    HKDTDElementReaderString reader(text, 0);
    benchmark::DoNotOptimize(reader.read("xml", false));
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_Reader_5MBFromString)->Unit(benchmark::kMillisecond);

void BM_Database_5MBFromFile(benchmark::State& state) {
  const TempFile& file = NestedFile();
  for (auto _ : state) {
    HKXMLDatabase db("");
    db.DBReadFromDisk(file.path, NoFile);
    benchmark::DoNotOptimize(db.GetBaseName());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(NestedText().size()));
}
BENCHMARK(BM_Database_5MBFromFile)->Unit(benchmark::kMillisecond);

#ifdef TOVIK_HAVE_LIBXML2
void BM_Libxml2_5MBReadMemory(benchmark::State& state) {
  const std::string& text = NestedText();
  for (auto _ : state) {
    xmlDocPtr doc = xmlReadMemory(text.data(), static_cast<int>(text.size()), "bench.xml", nullptr, 0);
    benchmark::DoNotOptimize(doc);
    xmlFreeDoc(doc);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_Libxml2_5MBReadMemory)->Unit(benchmark::kMillisecond);
#endif

}  // namespace
