// The command-line program toviktwo-template, run as a user runs it.
#include <gtest/gtest.h>

#include <stdio.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace {

constexpr int kReads = 0;
constexpr int kFails = 1;
constexpr int kUsage = 2;

// A temporary folder removed with everything in it.
class TempDir {
 public:
  TempDir() {
    char pattern[] = "/tmp/toviktwo-template-test-XXXXXX";
    _path = mkdtemp(pattern);
  }
  ~TempDir() { std::filesystem::remove_all(_path); }
  std::string File(const std::string& name, const std::string& content) const {
    const std::string path = _path + "/" + name;
    std::ofstream(path, std::ios::binary) << content;
    return path;
  }
  const std::string& Path() const { return _path; }

 private:
  std::string _path;
};

std::string Slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream os;
  os << in.rdbuf();
  return os.str();
}

struct ToolRun {
  int status = -1;
  std::string out;
};

// Runs the tool with `args` (already quoted as needed); stdout only.
ToolRun Tool(const std::string& args) {
  ToolRun run;
  FILE* pipe = popen((std::string(TOVIK_TEMPLATE_TOOL) + " " + args + " 2>/dev/null").c_str(), "r");
  if (pipe == nullptr) return run;
  char buffer[4096];
  std::size_t n;
  while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0) run.out.append(buffer, n);
  const int raw = pclose(pipe);
  run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  return run;
}

const char* const kGoodPage = "<!DOCTYPE html>\n<html><body><p>a<br/>b</p></body></html>\n";
const char* const kBadPage = "<!DOCTYPE html>\n<html><body>\n<p>a<br></p>\n<ul><li>x</ul></body></html>\n";

}  // namespace

TEST(TemplateTool, CheckExitsZeroWhenEveryFileReads) {
  TempDir dir;
  const ToolRun run = Tool("check " + dir.File("good.html", kGoodPage));
  EXPECT_EQ(run.status, kReads);
  EXPECT_NE(run.out.find("good.html: reads as a template"), std::string::npos);
}

TEST(TemplateTool, CheckExitsOneAndListsEveryProblemWithItsHint) {
  TempDir dir;
  const std::string bad = dir.File("bad.html", kBadPage);
  const ToolRun run = Tool("check " + dir.File("good.html", kGoodPage) + " " + bad);
  EXPECT_EQ(run.status, kFails);
  EXPECT_NE(run.out.find(bad + ":3:5: wrong closing tag '/p' instead '/br' around line 3\n"),
            std::string::npos);
  EXPECT_NE(run.out.find("  hint [void-tag]: "), std::string::npos);
  EXPECT_NE(run.out.find(bad + ":4:10: wrong closing tag '/ul' instead '/li'"), std::string::npos);
  EXPECT_NE(run.out.find("  hint [omitted-end-tag]: "), std::string::npos);
  EXPECT_NE(run.out.find(bad + ": does not read (2 problems)"), std::string::npos);
}

TEST(TemplateTool, CheckQuietPrintsOneLinePerFile) {
  TempDir dir;
  const ToolRun run = Tool("check -q " + dir.File("bad.html", kBadPage));
  EXPECT_EQ(run.out,
            dir.Path() + "/bad.html: fails: wrong closing tag '/p' instead '/br' around line 3 [void-tag]\n");
}

TEST(TemplateTool, FixWritesTheDialectFormBesideTheFileAndItReads) {
  TempDir dir;
  const std::string bad = dir.File("bad.html", kBadPage);
  const ToolRun run = Tool("fix " + bad);
  EXPECT_EQ(run.status, kReads);
  EXPECT_EQ(Slurp(bad), kBadPage);
  EXPECT_EQ(Slurp(dir.Path() + "/bad.tpl.html"),
            "<!DOCTYPE html>\n<html><body>\n<p>a<br/></p>\n<ul><li>x</li></ul>\n</body></html>");
  EXPECT_NE(run.out.find("1 x void tags closed with \"/>\""), std::string::npos);
  EXPECT_EQ(Tool("check " + dir.Path() + "/bad.tpl.html").status, kReads);
}

TEST(TemplateTool, FixInPlaceKeepsABackup) {
  TempDir dir;
  const std::string bad = dir.File("bad.html", kBadPage);
  EXPECT_EQ(Tool("fix -q -i " + bad).status, kReads);
  EXPECT_EQ(Slurp(bad + ".orig"), kBadPage);
  EXPECT_EQ(Tool("check " + bad).status, kReads);
}

TEST(TemplateTool, FixToANamedOutput) {
  TempDir dir;
  const std::string out = dir.Path() + "/out.html";
  EXPECT_EQ(Tool("fix -q -o " + out + " " + dir.File("bad.html", kBadPage)).status, kReads);
  EXPECT_EQ(Tool("check " + out).status, kReads);
}

TEST(TemplateTool, PrintWritesThePageAsASessionServesIt) {
  TempDir dir;
  const ToolRun run = Tool("print " + dir.File("good.html", kGoodPage));
  EXPECT_EQ(run.status, kReads);
  EXPECT_NE(run.out.find("<p>a<br />b</p>"), std::string::npos);
}

TEST(TemplateTool, WrongCommandLineExitsTwo) {
  EXPECT_EQ(Tool("").status, kUsage);
  EXPECT_EQ(Tool("frobnicate x.html").status, kUsage);
  EXPECT_EQ(Tool("check -z x.html").status, kUsage);
  EXPECT_EQ(Tool("fix -o a b c").status, kUsage);
}

TEST(TemplateTool, MissingFileFails) {
  TempDir dir;
  const ToolRun run = Tool("check " + dir.Path() + "/none.html");
  EXPECT_EQ(run.status, kFails);
  EXPECT_NE(run.out.find("cannot be opened"), std::string::npos);
}
