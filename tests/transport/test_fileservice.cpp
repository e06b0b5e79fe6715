// The file service's view of the base directory: joining so that the file
// itself is named, containment against hostile paths and symlinks, and
// directories that are not files.
#include <gtest/gtest.h>

#include <unistd.h>

#include <string>
#include <vector>

#include <toviktwo/foundation/hkstringtools.h>
#include <toviktwo/transport/hkfileservice.h>

#include "../support/temp_files.h"

using tovik_test::TempDir;
using tovik_test::writeFile;

namespace {

// site/ is the base directory; outside/secret.txt lies beside it.
struct Site {
  TempDir dir;
  std::string base = dir / "site";
  Site() {
    writeFile(dir / "outside/secret.txt", "secret");
    writeFile(base + "/index.html", "<p>index</p>");
    writeFile(base + "/sub/page.html", "page");
    symlink((dir / "outside/secret.txt").c_str(), (base + "/link_out").c_str());
    symlink("../outside", (base + "/link_dir_out").c_str());
    symlink("index.html", (base + "/link_in").c_str());
    symlink("sub", (base + "/link_dir_in").c_str());
  }
};

}  // namespace

TEST(HKFileService, HKPathPlusEndsInSlashSoJoinIsUsedToNameTheFileItself) {
  EXPECT_EQ(HKPath("site") + "x.txt", "site/x.txt/");  // no regular file has this name
  HKFileService service("site");
  EXPECT_EQ(service.join("x.txt"), "site/x.txt");
  EXPECT_EQ(HKFileService("site/").join("a/b.txt"), "site/a/b.txt");
}

TEST(HKFileService, EmptyBaseDirectoryServesNothing) {
  Site site;
  HKFileService service("");
  EXPECT_FALSE(service.enabled());
  EXPECT_EQ(service.servableFile("index.html", nullptr), "");
}

TEST(HKFileService, RegularFilesInsideAreServedWithTheirSize) {
  Site site;
  HKFileService service(site.base);
  unsigned long size = 0;
  EXPECT_EQ(service.servableFile("index.html", &size), site.base + "/index.html");
  EXPECT_EQ(size, 12u);
  EXPECT_EQ(service.servableFile("sub/page.html", &size), site.base + "/sub/page.html");
  EXPECT_EQ(size, 4u);
  EXPECT_EQ(service.servableFile("sub/../index.html", &size), site.base + "/sub/../index.html");
}

TEST(HKFileService, SymlinkToAFileInsideIsServed) {
  Site site;
  HKFileService service(site.base);
  unsigned long size = 0;
  EXPECT_EQ(service.servableFile("link_in", &size), site.base + "/link_in");
  EXPECT_EQ(size, 12u);
}

TEST(HKFileService, SymlinkPointingOutOfTheBaseIsRefused) {
  Site site;
  HKFileService service(site.base);
  EXPECT_EQ(service.servableFile("link_out", nullptr), "");
  EXPECT_EQ(service.servableFile("link_dir_out/secret.txt", nullptr), "");
}

TEST(HKFileService, DirectoriesAreNotFiles) {
  Site site;
  HKFileService service(site.base);
  for (const char* dir : {"sub", "sub/", "", ".", "link_dir_in", "sub/.."})
    EXPECT_EQ(service.servableFile(dir, nullptr), "") << dir;
}

TEST(HKFileService, BaseDirectoryGivenThroughASymlinkStillServes) {
  Site site;
  symlink(site.base.c_str(), (site.dir / "alias").c_str());
  HKFileService service(site.dir / "alias");
  EXPECT_NE(service.servableFile("index.html", nullptr), "");
  EXPECT_EQ(service.servableFile("link_out", nullptr), "");
}

TEST(HKFileService, HostilePathsNeverLeaveTheBaseDirectory) {
  Site site;
  HKFileService service(site.base);
  const std::vector<std::string> hostile = {
      "../outside/secret.txt",
      "sub/../../outside/secret.txt",
      "a/../../outside/secret.txt",
      "sub/../sub/../../outside/secret.txt",
      "./../outside/secret.txt",
      "sub/./../../outside/secret.txt",
      "../site/../outside/secret.txt",
      "../../../../../../../../etc/passwd",
      "sub/../../../../../../etc/passwd",
      "/etc/passwd",
      "//etc/passwd",
      "..",
      "../",
      "../outside/",
      "%2e%2e/outside/secret.txt",
      "%2E%2E/outside/secret.txt",
      "%2e%2e%2foutside%2fsecret.txt",
      "..%2foutside%2fsecret.txt",
      "..%2Foutside%2Fsecret.txt",
      "%252e%252e/outside/secret.txt",
      "%252e%252e%252foutside%252fsecret.txt",
      "..%252f..%252foutside%252fsecret.txt",
      "sub/%2e%2e/%2e%2e/outside/secret.txt",
      "%c0%ae%c0%ae/outside/secret.txt",
      "..%c0%afoutside%c0%afsecret.txt",
      "..%5coutside%5csecret.txt",
      "..\\outside\\secret.txt",
      "....//outside/secret.txt",
      "..;/outside/secret.txt",
      "~/../outside/secret.txt",
      "link_out",
      "link_out/",
      "link_dir_out/secret.txt",
      "sub/../link_out",
      "link_dir_out/../outside/secret.txt",
      "link_dir_in/../../outside/secret.txt",
      std::string("index.html\0/../../outside/secret.txt", 36),
      std::string("\0", 1),
  };
  ASSERT_GE(hostile.size(), 30u);
  for (const std::string& path : hostile) EXPECT_EQ(service.servableFile(path, nullptr), "") << path;
}
