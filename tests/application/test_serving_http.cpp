// Request routing over real HTTP: an application serves a site folder on a
// free loopback port and curl asks. Files and index pages, the leading-dot
// test, stored pages, sessions, CGI and PHP (real shell scripts and
// php-cgi), the 404 page, containment, directories, the time limit and a
// handler that throws.
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include <toviktwo/transport/hkerrormsg404.h>

#include "../support/serving_support.h"

using tovik_test::Reply;
using tovik_test::ServedSite;
using tovik_test::writeExecutable;
using tovik_test::writeFile;

namespace {

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

void expectNotFoundPage(const Reply& r, const std::string& what) {
  EXPECT_EQ(r.status, 404) << what;
  EXPECT_EQ(r.body, HKHTML_ErrorMsg404::standardPage()) << what;
}

// True when this process has no child at all, running or zombie.
bool noChildLeft() {
  int status = 0;
  return waitpid(-1, &status, WNOHANG) == -1 && errno == ECHILD;
}

}  // namespace

// ---- files and index pages

TEST(ServingFiles, FileIsSentAsItIsWithItsLength) {
  ServedSite site;
  writeFile(site.base + "/style.css", "body { color: red; }\n");
  ASSERT_TRUE(site.start());
  const Reply r = site.fetch("/style.css");
  EXPECT_EQ(r.status, 200);
  EXPECT_EQ(r.body, "body { color: red; }\n");
  EXPECT_TRUE(contains(r.head, "Content-Length: 21\r\n")) << r.head;
}

TEST(ServingFiles, BinaryFileOfSeveralMegabytesArrivesWhole) {
  ServedSite site;
  std::string data(3 << 20, '\0');
  for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<char>((i * 2654435761u) >> 11);
  writeFile(site.base + "/big.bin", data);
  ASSERT_TRUE(site.start());
  const Reply r = site.fetch("/big.bin");
  EXPECT_EQ(r.status, 200);
  EXPECT_TRUE(r.body == data) << r.body.size();
}

TEST(ServingFiles, SlashRunsIndexPhpWhenIndexHtmlExistsToo) {
  ServedSite site;
  writeFile(site.base + "/index.php", "<?php echo 'from php';");
  writeFile(site.base + "/index.html", "from html");
  ASSERT_TRUE(site.start());
  const Reply r = site.fetch("/");
  EXPECT_EQ(r.status, 200);
  EXPECT_EQ(r.body, "from php");
}

TEST(ServingFiles, SlashServesIndexHtmlWithoutIndexPhp) {
  ServedSite site;
  writeFile(site.base + "/index.html", "from html");
  ASSERT_TRUE(site.start());
  EXPECT_EQ(site.fetch("/").body, "from html");
}

TEST(ServingFiles, SlashWithoutIndexPageGivesThe404Page) {
  ServedSite site;
  ASSERT_TRUE(site.start());
  expectNotFoundPage(site.fetch("/"), "/");
}

TEST(ServingFiles, DotFileGivesThe404PageAlthoughItExists) {
  ServedSite site;
  writeFile(site.base + "/.hidden", "hidden");
  ASSERT_TRUE(site.start());
  expectNotFoundPage(site.fetch("/.hidden"), "/.hidden");
}

// Only the first character is tested: ".." further on passes the dot test,
// and the containment check then decides.
TEST(ServingFiles, DotsAfterTheFirstCharacterPassTheDotTest) {
  ServedSite site;
  writeFile(site.base + "/b.txt", "b inside");
  writeFile(site.base + "/a/.keep", "");
  writeFile(site.dir / "x", "outside");
  ASSERT_TRUE(site.start());
  EXPECT_EQ(site.fetch("/a/../b.txt").body, "b inside");
  expectNotFoundPage(site.fetch("/a/../../x"), "/a/../../x");
}

TEST(ServingFiles, DirectoryIsNotAFileAndGivesThe404PageAtOnce) {
  ServedSite site;
  writeFile(site.base + "/sub/page.html", "page");
  ASSERT_TRUE(site.start());
  for (const char* path : {"/sub", "/sub/", "/sub/.."}) {
    const Reply r = site.fetch(path, "", 5);
    EXPECT_NE(r.curlExit, 28) << path;  // no time-out: the answer came
    expectNotFoundPage(r, path);
  }
}

TEST(ServingFiles, WithoutBaseDirectoryEveryPathGivesThe404Page) {
  ServedSite site({}, false);
  writeFile(site.base + "/index.html", "index");
  ASSERT_TRUE(site.start());
  for (const char* path : {"/", "/index.html", "/cgi-bin/x", "/x.php"})
    expectNotFoundPage(site.fetch(path), path);
}

TEST(ServingFiles, NotFoundPageHasItsExactTexts) {
  ServedSite site;
  ASSERT_TRUE(site.start());
  const Reply r = site.fetch("/nothing-here.html");
  EXPECT_EQ(r.status, 404);
  EXPECT_TRUE(contains(r.body, "<title>Error 404 - not found</title>")) << r.body;
  EXPECT_TRUE(contains(r.body,
                       "<h1>Error 404 - not found</h1>The requested page was not found or the project was "
                       "timed out."))
      << r.body;
  EXPECT_TRUE(contains(r.body, "<a href=\"/\">Startseite</a>")) << r.body;
}

// ---- containment

TEST(ServingContainment, HostilePathsNeverReachFilesOutsideTheBase) {
  ServedSite site;
  writeFile(site.dir / "outside/secret.txt", "SECRET");
  writeFile(site.base + "/sub/page.html", "page");
  writeExecutable(site.dir / "outside/run.sh",
                  "#!/bin/sh\nprintf 'Content-Type: text/plain\\r\\n\\r\\nSECRET'\n");
  symlink((site.dir / "outside/secret.txt").c_str(), (site.base + "/link_out").c_str());
  symlink("../outside", (site.base + "/link_dir_out").c_str());
  symlink("../../outside/run.sh", (site.base + "/cgi-bin_link").c_str());
  writeFile(site.base + "/cgi-bin/.keep", "");
  symlink("../../outside/run.sh", (site.base + "/cgi-bin/escape.sh").c_str());
  ASSERT_TRUE(site.start());
  const std::vector<std::string> hostile = {
      "/../outside/secret.txt",
      "/sub/../../outside/secret.txt",
      "/a/../../outside/secret.txt",
      "/sub/../sub/../../outside/secret.txt",
      "/sub/./../../outside/secret.txt",
      "/x/../../site/../outside/secret.txt",
      "/sub/../../../../../../../../etc/passwd",
      "//etc/passwd",
      "/%2e%2e/outside/secret.txt",
      "/%2E%2E/outside/secret.txt",
      "/%2e%2e%2foutside%2fsecret.txt",
      "/sub/..%2f..%2foutside%2fsecret.txt",
      "/sub/%2e%2e/%2e%2e/outside/secret.txt",
      "/%252e%252e/outside/secret.txt",
      "/%252e%252e%252foutside%252fsecret.txt",
      "/sub/..%252f..%252foutside%252fsecret.txt",
      "/%c0%ae%c0%ae/outside/secret.txt",
      "/sub/..%c0%af..%c0%afoutside%c0%afsecret.txt",
      "/sub/..%5c..%5coutside%5csecret.txt",
      "/sub/..\\..\\outside\\secret.txt",
      "/....//outside/secret.txt",
      "/sub/..;/..;/outside/secret.txt",
      "/link_out",
      "/link_out/",
      "/link_dir_out/secret.txt",
      "/sub/../link_out",
      "/link_dir_out/../outside/secret.txt",
      "/cgi-bin/escape.sh",
      "/cgi-bin/../../outside/run.sh",
      "/cgi-bin/%2e%2e/%2e%2e/outside/run.sh",
      "/cgi-bin_link",
      "/sub/../../outside/secret.txt?x=1",
      "/sub/../../outside/secret.txt#frag",
  };
  ASSERT_GE(hostile.size(), 30u);
  for (const std::string& path : hostile) {
    const Reply r = site.fetch(path);
    EXPECT_FALSE(contains(r.body, "SECRET")) << path;
    EXPECT_EQ(r.status, 404) << path;
  }
  EXPECT_EQ(site.fetch("/sub/page.html").body, "page");  // the server still serves
}

// ---- stored pages and sessions

TEST(ServingApplication, StoredPageIsAnsweredByTheApplication) {
  ServedSite site;
  ASSERT_TRUE(site.start());
  const Reply r = site.fetch("/stored/page");
  EXPECT_EQ(r.status, 200);
  EXPECT_EQ(r.body, "stored stored/page");
}

TEST(ServingApplication, PostWithBodyAndSessionIdReachesInvokeContext) {
  ServedSite site;
  site.app->addContext("sess1");
  ASSERT_TRUE(site.start());
  const Reply r = site.fetch("/any/path", "--data 'tovikid=sess1&tovikcommand=save&field=value'");
  EXPECT_EQ(r.status, 200);
  EXPECT_EQ(r.body, "context sess1 command=save field=value");
}

TEST(ServingApplication, GetWithSessionIdInTheQueryReachesInvokeContext) {
  ServedSite site;
  site.app->addContext("sess1");
  ASSERT_TRUE(site.start());
  EXPECT_EQ(site.fetch("/x?tovikid=sess1&tovikcommand=show").body, "context sess1 command=show field=");
}

TEST(ServingApplication, ContextLeavingStatus500FallsThroughToTheFileAndThe404Page) {
  ServedSite site;
  site.app->addContext("sess1");
  writeFile(site.base + "/f.txt", "file");
  ASSERT_TRUE(site.start());
  EXPECT_EQ(site.fetch("/f.txt?tovikid=sess1&tovikcommand=leave").body, "file");
  expectNotFoundPage(site.fetch("/none?tovikid=sess1&tovikcommand=leave"), "leave");
  expectNotFoundPage(site.fetch("/none?tovikid=timed-out"), "unknown session");
}

TEST(ServingApplication, CommandUrlWithoutSessionIdCreatesAContext) {
  ServedSite site(std::map<std::string, std::string>{{"_app_context_commandurl", "/start"}});
  ASSERT_TRUE(site.start());
  const Reply r = site.fetch("/start");
  EXPECT_EQ(r.body, "context new1 command=&new field=");
  EXPECT_EQ(site.app->created, 1);
  EXPECT_TRUE(site.app->checkContext("new1"));
  expectNotFoundPage(site.fetch("/start/"), "no full match");
  EXPECT_EQ(site.app->created, 1);
}

TEST(ServingApplication, EmptyCommandUrlCreatesNoContext) {
  ServedSite site;
  writeFile(site.base + "/index.html", "index");
  ASSERT_TRUE(site.start());
  EXPECT_EQ(site.fetch("/").body, "index");
  EXPECT_EQ(site.app->created, 0);
}

TEST(ServingApplication, ThrowingHandlerClosesThatConnectionAndTheServerServesOn) {
  ServedSite site;
  writeFile(site.base + "/ok.txt", "ok");
  ASSERT_TRUE(site.start());
  const Reply boom = site.fetch("/boom", "", 10);
  EXPECT_EQ(boom.status, 0);
  EXPECT_NE(boom.curlExit, 28);  // closed, not left waiting
  for (int i = 0; i < 3; ++i) EXPECT_EQ(site.fetch("/ok.txt").body, "ok");
}

void expectClosedAndServingOn(ServedSite& site, const std::string& path, const std::string& args) {
  const Reply r = site.fetch(path, args, 10);
  EXPECT_EQ(r.status, 0) << path;
  EXPECT_NE(r.curlExit, 28) << path;  // closed, not left waiting
  for (int i = 0; i < 3; ++i) EXPECT_EQ(site.fetch("/ok.txt").body, "ok") << path;
}

TEST(ServingApplication, ThrowingPreloadClosesThatConnectionAndTheServerServesOn) {
  ServedSite site;
  writeFile(site.base + "/ok.txt", "ok");
  ASSERT_TRUE(site.start());
  expectClosedAndServingOn(site, "/stored/boom", "");
  EXPECT_EQ(site.fetch("/stored/page").body, "stored stored/page");
}

TEST(ServingApplication, ThrowingContextClosesThatConnectionAndTheServerServesOn) {
  ServedSite site;
  site.app->addContext("sess1");
  writeFile(site.base + "/ok.txt", "ok");
  ASSERT_TRUE(site.start());
  expectClosedAndServingOn(site, "/x", "--data 'tovikid=sess1&tovikcommand=throw'");
  EXPECT_EQ(site.fetch("/x?tovikid=sess1&tovikcommand=show").body, "context sess1 command=show field=");
}

// ---- CGI programs

TEST(ServingCgi, MissingCgiProgramGivesThe404Page) {
  ServedSite site;
  writeFile(site.base + "/cgi-bin/.keep", "");
  ASSERT_TRUE(site.start());
  expectNotFoundPage(site.fetch("/cgi-bin/x"), "/cgi-bin/x");
}

TEST(ServingCgi, ScriptGetsTheQueryAndItsHeadLinesReachTheBrowser) {
  ServedSite site;
  writeExecutable(site.base + "/cgi-bin/env.sh",
                  "#!/bin/sh\nprintf 'Content-Type: text/plain\\r\\nX-Script: yes\\r\\n\\r\\n'\n"
                  "echo \"$REQUEST_METHOD $QUERY_STRING $SCRIPT_FILENAME $REDIRECT_STATUS\"\n");
  ASSERT_TRUE(site.start());
  const Reply r = site.fetch("/cgi-bin/env.sh?a=1&b=2");
  EXPECT_EQ(r.status, 200);
  EXPECT_TRUE(contains(r.head, "X-Script: yes\r\n")) << r.head;
  EXPECT_EQ(r.body, "GET a=1&b=2 " + site.base + "/cgi-bin/env.sh CGI\n");
}

TEST(ServingCgi, PostBodyReachesTheScriptsStandardInput) {
  ServedSite site;
  writeExecutable(site.base + "/cgi-bin/echo.sh",
                  "#!/bin/sh\nprintf 'Content-Type: text/plain\\r\\n\\r\\n'\necho \"$CONTENT_TYPE\"\n"
                  "head -c \"$CONTENT_LENGTH\"\n");
  ASSERT_TRUE(site.start());
  const Reply r = site.fetch("/cgi-bin/echo.sh", "--data 'a=1&b=2'");
  EXPECT_EQ(r.body, "application/x-www-form-urlencoded\na=1&b=2");
}

TEST(ServingCgi, ScriptPastTheTimeLimitIsKilledAndTheAnswerIsWhatItWrote) {
  ServedSite site(std::map<std::string, std::string>{{"_cgitimeout", "1"}});
  writeExecutable(
      site.base + "/cgi-bin/stuck.sh",
      "#!/bin/sh\nprintf 'Content-Type: text/plain\\r\\n\\r\\nbefore\\n'\nsleep 60\necho after\n");
  writeFile(site.base + "/ok.txt", "ok");
  ASSERT_TRUE(site.start());
  const auto start = std::chrono::steady_clock::now();
  const Reply r = site.fetch("/cgi-bin/stuck.sh", "", 20);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
  EXPECT_EQ(r.status, 200);
  EXPECT_EQ(r.body, "before\n");
  EXPECT_EQ(site.fetch("/ok.txt").body, "ok");
  EXPECT_TRUE(noChildLeft());
}

TEST(ServingCgi, ScriptOutputLongerThan2048BytesArrivesWholeAndInOrder) {
  ServedSite site;
  writeExecutable(site.base + "/cgi-bin/long.sh",
                  "#!/bin/sh\nprintf 'Content-Type: text/plain\\r\\n\\r\\n'\n"
                  "i=0; while [ $i -lt 2000 ]; do printf '%05d\\n' $i; i=$((i+1)); done\n");
  ASSERT_TRUE(site.start());
  const Reply r = site.fetch("/cgi-bin/long.sh");
  std::string expected;
  char line[16];
  for (int i = 0; i < 2000; ++i) {
    std::snprintf(line, sizeof line, "%05d\n", i);
    expected += line;
  }
  EXPECT_EQ(r.status, 200);
  EXPECT_EQ(r.body, expected);
}

TEST(ServingCgi, ScriptWithoutOutputGivesAnEmptyAnswerAndTheServerServesOn) {
  ServedSite site;
  writeExecutable(site.base + "/cgi-bin/quiet.sh", "#!/bin/sh\nexit 0\n");
  writeFile(site.base + "/ok.txt", "ok");
  ASSERT_TRUE(site.start());
  const Reply r = site.fetch("/cgi-bin/quiet.sh", "", 10);
  EXPECT_NE(r.curlExit, 28);  // answered or closed, never left waiting
  EXPECT_TRUE(r.body.empty()) << r.body;
  EXPECT_EQ(site.fetch("/ok.txt").body, "ok");
  EXPECT_TRUE(noChildLeft());
}

// The names keep their dashes (the shell would hide such names from env).
TEST(ServingCgi, ScriptGetsExactlyTheCgiEnvironmentOfAGet) {
  ServedSite site;
  writeExecutable(site.base + "/cgi-bin/env.sh",
                  "#!/bin/sh\nprintf 'Content-Type: text/plain\\r\\n\\r\\n'\n"
                  "tr '\\0' '\\n' < /proc/$$/environ | grep -E "
                  "'^(HTTP_|REQUEST_METHOD=|QUERY_STRING=|CONTENT_|REDIRECT_STATUS=|SCRIPT_FILENAME=)'"
                  " | sort\n");
  ASSERT_TRUE(site.start());
  const Reply r = site.fetch("/cgi-bin/env.sh?q=1", "-H 'User-Agent:' -H 'Accept:' -H 'X-Mine: v'");
  EXPECT_EQ(r.body, "HTTP_HOST=127.0.0.1:" + site.port +
                        "\nHTTP_X-MINE=v\nQUERY_STRING=q=1\n"
                        "REDIRECT_STATUS=CGI\nREQUEST_METHOD=GET\nSCRIPT_FILENAME=" +
                        site.base + "/cgi-bin/env.sh\n");
}

TEST(ServingCgi, ScriptGetsExactlyTheCgiEnvironmentOfAPost) {
  ServedSite site;
  writeExecutable(
      site.base + "/cgi-bin/env.sh",
      "#!/bin/sh\nprintf 'Content-Type: text/plain\\r\\n\\r\\n'\n"
      "env | grep -E '^(REQUEST_METHOD=|QUERY_STRING=|CONTENT_|REDIRECT_STATUS=|SCRIPT_FILENAME=)'"
      " | sort\n");
  ASSERT_TRUE(site.start());
  const Reply r = site.fetch("/cgi-bin/env.sh", "--data 'a=1'");
  EXPECT_EQ(r.body,
            "CONTENT_LENGTH=3\nCONTENT_TYPE=application/x-www-form-urlencoded\n"
            "REDIRECT_STATUS=CGI\nREQUEST_METHOD=POST\nSCRIPT_FILENAME=" +
                site.base + "/cgi-bin/env.sh\n");
}

// ---- PHP pages

TEST(ServingPhp, PhpPageRunsWithScriptFilenameOfTheBaseAndTheQuery) {
  ServedSite site;
  writeFile(site.base + "/x.php", "<?php echo $_SERVER['SCRIPT_FILENAME'], ' ', $_GET['name'];");
  ASSERT_TRUE(site.start());
  const Reply r = site.fetch("/x.php?name=tovik");
  EXPECT_EQ(r.status, 200);
  EXPECT_EQ(r.body, site.base + "/x.php tovik");
  EXPECT_TRUE(contains(r.head, "Content-type: text/html")) << r.head;
}

TEST(ServingPhp, PostedFormReachesThePage) {
  ServedSite site;
  writeFile(site.base + "/form.php", "<?php echo 'message=', $_POST['message'], ' n=', $_POST['n'];");
  ASSERT_TRUE(site.start());
  EXPECT_EQ(site.fetch("/form.php", "--data 'message=hello+there&n=3'").body, "message=hello there n=3");
}

namespace {

// Uploads `size` bytes as "upload" with the field note=hi and checks what the
// page saw: name, size, md5 and the field.
void expectUploadArrivesWhole(size_t size) {
  ServedSite site;
  writeFile(
      site.base + "/up.php",
      "<?php $f = $_FILES['upload']; echo $f['name'], ' ', $f['size'], ' ', md5_file($f['tmp_name']), ' ', "
      "$_POST['note'];");
  std::string data(size, '\0');
  for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<char>(i * 7 + 3);
  writeFile(site.dir / "upload.bin", data);
  ASSERT_TRUE(site.start());
  const Reply r =
      site.fetch("/up.php", "-H 'Expect:' -F 'upload=@" + site.dir / "upload.bin" + "' -F note=hi");
  EXPECT_EQ(r.status, 200);
  FILE* md5 = popen(("md5sum '" + site.dir / "upload.bin" + "'").c_str(), "r");
  char sum[33] = {};
  ASSERT_EQ(fread(sum, 1, 32, md5), 32u);
  pclose(md5);
  EXPECT_EQ(r.body, "upload.bin " + std::to_string(size) + " " + std::string(sum) + " hi");
}

}  // namespace

TEST(ServingPhp, UploadedFileReachesThePageWhole) { expectUploadArrivesWhole(30000); }

// A body larger than one read of the connection arrives in several pieces.
TEST(ServingPhp, UploadLargerThan64KiBReachesThePageWhole) { expectUploadArrivesWhole(200000); }

// ---- opening the interfaces

// Two interfaces, each with its own client; the application then ends with
// both servers running.
TEST(ServingInterfaces, RunOpensEveryInterfaceAndGivesEachItsClient) {
  ServedSite site;
  writeFile(site.base + "/f.txt", "f");
  site.app->interfaces().emplace_back("127.0.0.1", 0, HK_PROTO_HTTP);
  ASSERT_TRUE(site.start());
  for (const HKTovikInterfaceProps& itf : site.app->interfaces()) EXPECT_NE(itf.client, nullptr);
  EXPECT_NE(site.app->interfaces()[0].client, site.app->interfaces()[1].client);
  EXPECT_EQ(site.fetch("/f.txt").body, "f");
  EXPECT_EQ(site.app->getParams()["tcp_address_http"], "127.0.0.1");
}
