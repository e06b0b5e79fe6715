// HKXMLDatabase: reading files (good and bad ones) and writing them, blocked
// by default and safe when switched on.
#include <toviktwo/persistence/hkxmldatabase.h>

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <string>

#include "../support/temp_directory.h"

namespace {

constexpr const char* kConfig =
    "<tovik><demo><options><option name=\"a\" value=\"1\"/></options></demo></tovik>\n";

void NoFile(std::string) {}

// A database read from a good file, for the tests that must leave it as it was.
struct ReadDatabase {
  hktest::TempDirectory dir;
  HKXMLDatabase db{""};
  ReadDatabase() {
    hktest::WriteFile(dir / "good.xml", kConfig);
    db.DBReadFromDisk(dir / "good.xml", NoFile);
  }
};

// Reads `path` into a read database and checks the refusal and that nothing changed.
void ExpectRefusedAndUnchanged(ReadDatabase& r, const std::string& path, const std::string& reason) {
  const std::string before = r.db.Printed();
  const std::string message = hktest::ExceptionMessage([&] { r.db.DBReadFromDisk(path, NoFile); });
  EXPECT_EQ(message.rfind("no config was found - " + path + " with ", 0), 0u) << message;
  EXPECT_NE(message.find(reason), std::string::npos) << message;
  EXPECT_EQ(r.db.Printed(), before);
  EXPECT_EQ(r.db.GetElementAttribute("demo.options.option.value", ""), "1");
  EXPECT_EQ(r.db.GetBaseDir(), r.dir.path() + "/");
}

std::size_t FilesIn(const std::string& folder) {
  std::size_t n = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) n += entry.is_regular_file() ? 1 : 0;
  return n;
}

// Runs `action` in a child process whose files may grow to `limit` bytes at
// most; the child's exit code: 0 when action returned true.
int RunWithFileSizeLimit(rlim_t limit, const std::function<bool()>& action) {
  const pid_t child = ::fork();
  if (child == 0) {
    ::signal(SIGXFSZ, SIG_IGN);
    rlimit r{limit, limit};
    ::setrlimit(RLIMIT_FSIZE, &r);
    bool ok = false;
    try {
      ok = action();
    } catch (...) {
      ok = false;
    }
    ::_exit(ok ? 0 : 1);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace

// ---- reading

TEST(XMLDatabaseFiles, ReadReplacesTheTreeByTheFilesRootElement) {
  hktest::TempDirectory dir;
  hktest::WriteFile(dir / "c.xml", kConfig);
  HKXMLDatabase db("other");
  db.SetElementAttribute("x.y", "1");
  db.DBReadFromDisk(dir / "c.xml", NoFile);
  EXPECT_EQ(db.GetBaseName(), "tovik");
  EXPECT_EQ(db.GetBaseDir(), dir.path() + "/");
  EXPECT_EQ(db.GetElementAttribute("x.y", "gone"), "gone");
  EXPECT_EQ(db.GetElementAttribute("demo.options.option.value", ""), "1");
  EXPECT_EQ(db.Printed(),
            "<tovik><demo><options><option name=\"a\" value=\"1\" />\n</options>\n</demo>\n</tovik>");
}

TEST(XMLDatabaseFiles, MissingFileWithAnOnMissingThatCreatesNothingIsNoConfig) {
  hktest::TempDirectory dir;
  HKXMLDatabase db("tovik");
  std::string asked;
  const std::string message = hktest::ExceptionMessage(
      [&] { db.DBReadFromDisk(dir / "none.xml", [&](std::string p) { asked = p; }); });
  EXPECT_EQ(asked, dir / "none.xml");
  EXPECT_EQ(message.rfind("no config was found - " + (dir / "none.xml") + " with ", 0), 0u) << message;
  EXPECT_EQ(db.GetBaseName(), "tovik");
}

TEST(XMLDatabaseFiles, OnMissingMayCreateTheFileThatIsThenRead) {
  hktest::TempDirectory dir;
  HKXMLDatabase db("");
  db.DBReadFromDisk(dir / "new.xml", [](std::string p) { hktest::WriteFile(p, "<fresh a=\"b\"/>"); });
  EXPECT_EQ(db.GetBaseName(), "fresh");
}

TEST(XMLDatabaseFiles, MissingFileWithAnEmptyOnMissingIsABadFunctionCall) {
  hktest::TempDirectory dir;
  HKXMLDatabase db("tovik");
  EXPECT_THROW(db.DBReadFromDisk(dir / "none.xml", nullptr), std::bad_function_call);
}

TEST(XMLDatabaseFiles, MissingFileLeavesTheTreeAsItWas) {
  ReadDatabase r;
  ExpectRefusedAndUnchanged(r, r.dir / "missing.xml", "cannot be read");
}

TEST(XMLDatabaseFiles, EmptyFileIsRefusedAndLeavesTheTreeAsItWas) {
  ReadDatabase r;
  hktest::WriteFile(r.dir / "empty.xml", "");
  ExpectRefusedAndUnchanged(r, r.dir / "empty.xml", "no element in the file");
}

TEST(XMLDatabaseFiles, TruncatedFileIsRefusedWithTheOpenElementAndLine) {
  ReadDatabase r;
  hktest::WriteFile(r.dir / "cut.xml", "<tovik>\n<demo>\n<options><option name=\"a\" val");
  ExpectRefusedAndUnchanged(r, r.dir / "cut.xml", "around line 3");
}

TEST(XMLDatabaseFiles, FileCutBehindATagIsRefusedAsNotClosed) {
  ReadDatabase r;
  hktest::WriteFile(r.dir / "cut.xml", "<tovik>\n<demo>\n</demo>\n");
  ExpectRefusedAndUnchanged(r, r.dir / "cut.xml", "the element 'tovik' not closed at the end around line 4");
}

TEST(XMLDatabaseFiles, PlainTextIsRefusedAsHavingNoElement) {
  ReadDatabase r;
  hktest::WriteFile(r.dir / "text.xml", "this is not a configuration file\n");
  ExpectRefusedAndUnchanged(r, r.dir / "text.xml", "no element in the file");
}

TEST(XMLDatabaseFiles, BinaryGarbageIsRefused) {
  ReadDatabase r;
  std::string garbage;
  for (int i = 0; i < 4096; ++i) garbage.push_back(static_cast<char>((i * 7919) % 256));
  hktest::WriteFile(r.dir / "bin.xml", garbage);
  ExpectRefusedAndUnchanged(r, r.dir / "bin.xml", "");
}

TEST(XMLDatabaseFiles, NestingOneHundredThousandDeepIsRefused) {
  ReadDatabase r;
  std::string deep;
  constexpr int kDepth = 100000;
  for (int i = 0; i < kDepth; ++i) deep += "<a>";
  for (int i = 0; i < kDepth; ++i) deep += "</a>";
  hktest::WriteFile(r.dir / "deep.xml", deep);
  ExpectRefusedAndUnchanged(r, r.dir / "deep.xml", "nested deeper");
}

TEST(XMLDatabaseFiles, FileOfOneHundredMegabytesIsRefusedBeforeReading) {
  ReadDatabase r;
  const std::string path = r.dir / "huge.xml";
  hktest::WriteFile(path, "<tovik>");
  // Sparse: takes no room on the disk.
  std::filesystem::resize_file(path, 100ul * 1024 * 1024);
  ExpectRefusedAndUnchanged(r, path, "a file larger than 67108864 bytes");
}

// ---- writing

TEST(XMLDatabaseFiles, WritingIsBlockedByDefaultAndSaysSo) {
  hktest::TempDirectory dir;
  HKXMLDatabase db("tovik");
  hktest::CapturedStream err(std::cerr);
  db.DBWriteOnDisk(dir / "out.xml");
  EXPECT_EQ(err.str(), "writing: " + (dir / "out.xml") + " to disk is blocked!!\n");
  EXPECT_FALSE(std::filesystem::exists(dir / "out.xml"));
  EXPECT_FALSE(db.DiskWritingEnabled());
}

TEST(XMLDatabaseFiles, EnabledWritingReplacesTheFileAndLeavesNoTemporary) {
  hktest::TempDirectory dir;
  hktest::WriteFile(dir / "c.xml", kConfig);
  HKXMLDatabase db("");
  db.DBReadFromDisk(dir / "c.xml", NoFile);
  db.SetElementAttribute("demo.window.width", "800");
  db.EnableDiskWriting(true);
  db.DBWriteOnDisk(dir / "c.xml");
  EXPECT_EQ(FilesIn(dir.path()), 1u);
  HKXMLDatabase again("");
  again.DBReadFromDisk(dir / "c.xml", NoFile);
  EXPECT_EQ(again.GetElementAttribute("demo.window.width", ""), "800");
  EXPECT_EQ(again.Printed(), db.Printed());
}

TEST(XMLDatabaseFiles, WriteIntoAMissingFolderFailsWithTheReason) {
  hktest::TempDirectory dir;
  HKXMLDatabase db("tovik");
  db.EnableDiskWriting(true);
  const std::string path = dir / "no/such/folder/c.xml";
  EXPECT_EQ(hktest::ExceptionMessage([&] { db.DBWriteOnDisk(path); }),
            "writing: " + path + " failed: No such file or directory");
}

TEST(XMLDatabaseFiles, WriteFailingMidwayLeavesTheOldFileIntact) {
  hktest::TempDirectory dir;
  const std::string path = dir / "c.xml";
  hktest::WriteFile(path, kConfig);
  constexpr rlim_t kLimit = 4096;
  const int code = RunWithFileSizeLimit(kLimit, [&] {
    HKXMLDatabase db("");
    db.DBReadFromDisk(path, NoFile);
    // Far more than the limit, so that the write breaks off in the middle.
    for (int i = 0; i < 500; ++i)
      db.SetElementAttribute("demo.e" + std::to_string(i) + ".v", std::string(40, 'x'));
    db.EnableDiskWriting(true);
    const std::string message = hktest::ExceptionMessage([&] { db.DBWriteOnDisk(path); });
    return message == "writing: " + path + " failed: File too large";
  });
  EXPECT_EQ(code, 0);
  EXPECT_EQ(hktest::ReadFile(path), kConfig);
  EXPECT_EQ(FilesIn(dir.path()), 1u);
}
