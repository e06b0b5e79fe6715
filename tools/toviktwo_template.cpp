// toviktwo-template: checks page templates the way a session reads them, and
// rewrites ordinary pages into the template dialect.
//
//   toviktwo-template check [-q] FILE...
//   toviktwo-template fix [-q] [-i | -o OUT] FILE...
//   toviktwo-template print FILE
//
// check prints every problem with the reader's message, the place, and a
// hint; -q prints one line per file. fix writes FILE's dialect form to
// NAME.tpl.EXT beside it (or to OUT, or with -i over FILE, keeping FILE.orig)
// and reads the result again. print writes the page as a session serves it
// after reading FILE (with the reader's message on it when reading fails).
// Exit status: 0 when every file (every fixed
// file) reads, 1 otherwise, 2 for a wrong command line.
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include <toviktwo/documents/html/hkdatareader.h>
#include <toviktwo/documents/html/hkhtmldocument.h>

#include "hktemplatechecker.h"
#include "hktemplatefixer.h"

namespace {

constexpr int kExitReads = 0;
constexpr int kExitFails = 1;
constexpr int kExitUsage = 2;

const char* const kUsage =
    "usage: toviktwo-template check [-q] FILE...\n"
    "       toviktwo-template fix [-q] [-i | -o OUT] FILE...\n"
    "check  reads each FILE as a session reads its template and lists every problem with a hint\n"
    "fix    writes each FILE in the template dialect to NAME.tpl.EXT (-o OUT: to OUT, one FILE only;\n"
    "       -i: over FILE, keeping the original as FILE.orig), then checks the result\n"
    "       toviktwo-template print FILE\n"
    "print  writes FILE as a session serves it after reading it\n"
    "-q     one line per file\n";

bool hkReadFile(const std::string& path, std::string& text) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  std::ostringstream os;
  os << in.rdbuf();
  text = os.str();
  return true;
}

bool hkWriteFile(const std::string& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << text;
  return static_cast<bool>(out.flush());
}

// One line for -q: the verdict, and for a failure the first message and the hint ids.
std::string hkSummary(const std::string& file, const hktpl::HKTplCheckResult& result) {
  if (result.reads) return file + ": reads\n";
  std::string line = file + ": fails";
  if (!result.problems.empty()) {
    const hktpl::HKTplProblem& p = result.problems.front();
    line += ": " + p.message + " [";
    for (std::size_t i = 0; i < p.hints.size(); ++i) line += (i > 0 ? "," : "") + p.hints[i].id;
    line += "]";
  }
  return line + "\n";
}

int hkCheck(const std::vector<std::string>& files, bool quiet) {
  int status = kExitReads;
  for (const std::string& file : files) {
    std::string text;
    if (!hkReadFile(file, text)) {
      std::cout << file << ": cannot be opened\n";
      status = kExitFails;
      continue;
    }
    const hktpl::HKTplCheckResult result = hktpl::HKTplCheckFile(file, text);
    std::cout << (quiet ? hkSummary(file, result) : hktpl::HKTplFormatReport(file, text, result));
    if (!result.reads) status = kExitFails;
  }
  return status;
}

std::string hkFixedName(const std::string& file) {
  const std::size_t slash = file.find_last_of('/');
  const std::size_t dot = file.find_last_of('.');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return file + ".tpl";
  return file.substr(0, dot) + ".tpl" + file.substr(dot);
}

// Fixes one file into `target`; true when the result reads.
bool hkFixOne(const std::string& file, const std::string& target, bool inPlace, bool quiet) {
  std::string text;
  if (!hkReadFile(file, text)) {
    std::cout << file << ": cannot be opened\n";
    return false;
  }
  hktpl::HKTplFixStats stats;
  const std::string fixed = hktpl::HKTplFixPage(text, stats);
  if ((inPlace && !hkWriteFile(file + ".orig", text)) || !hkWriteFile(target, fixed)) {
    std::cout << file << ": cannot write " << target << "\n";
    return false;
  }
  const hktpl::HKTplCheckResult result = hktpl::HKTplCheckFile(target, fixed);
  if (quiet) {
    std::cout << file << " -> " << hkSummary(target, result);
    return result.reads;
  }
  std::cout << file << " -> " << target << "\n";
  for (const auto& [kind, count] : stats.changes) std::cout << "  " << count << " x " << kind << "\n";
  std::cout << hktpl::HKTplFormatReport(target, fixed, result);
  return result.reads;
}

int hkFix(const std::vector<std::string>& files, bool quiet, bool inPlace, const std::string& output) {
  if (!output.empty() && (files.size() != 1 || inPlace)) {
    std::cerr << "-o takes one FILE and excludes -i\n" << kUsage;
    return kExitUsage;
  }
  int status = kExitReads;
  for (const std::string& file : files) {
    const std::string target = inPlace ? file : (output.empty() ? hkFixedName(file) : output);
    if (!hkFixOne(file, target, inPlace, quiet)) status = kExitFails;
  }
  return status;
}

int hkPrint(const std::vector<std::string>& files) {
  if (files.size() != 1) {
    std::cerr << kUsage;
    return kExitUsage;
  }
  HKHTML_Document2 document(0);
  HKDataReader reader;
  const bool reads = reader.ReadHTMLDocument(files[0], document);
  document.print(std::cout);
  return reads ? kExitReads : kExitFails;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> args(argv + 1, argv + argc);
  if (args.empty() || args[0] == "-h" || args[0] == "--help") {
    std::cout << kUsage;
    return args.empty() ? kExitUsage : kExitReads;
  }
  bool quiet = false;
  bool inPlace = false;
  std::string output;
  std::vector<std::string> files;
  for (std::size_t i = 1; i < args.size(); ++i) {
    if (args[i] == "-q") {
      quiet = true;
    } else if (args[i] == "-i" && args[0] == "fix") {
      inPlace = true;
    } else if (args[i] == "-o" && args[0] == "fix" && i + 1 < args.size()) {
      output = args[++i];
    } else if (!args[i].empty() && args[i][0] == '-') {
      std::cerr << "unknown option " << args[i] << "\n" << kUsage;
      return kExitUsage;
    } else {
      files.push_back(args[i]);
    }
  }
  if (files.empty() || (args[0] != "check" && args[0] != "fix" && args[0] != "print")) {
    std::cerr << kUsage;
    return kExitUsage;
  }
  if (args[0] == "print") return hkPrint(files);
  return args[0] == "check" ? hkCheck(files, quiet) : hkFix(files, quiet, inPlace, output);
}
