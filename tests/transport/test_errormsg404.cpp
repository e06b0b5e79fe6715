// The 404 page: its exact texts and how it prints.
#include <gtest/gtest.h>

#include <sstream>

#include <toviktwo/transport/hkerrormsg404.h>

TEST(HKHTML_ErrorMsg404, TextsAreTheLibrarysOwn) {
  EXPECT_STREQ(kHK404Title, "Error 404 - not found");
  EXPECT_STREQ(
      kHK404Message,
      "<h1>Error 404 - not found</h1>The requested page was not found or the project was timed out.");
  EXPECT_STREQ(kHK404LinkTarget, "/");
  EXPECT_STREQ(kHK404LinkText, "Startseite");
}

TEST(HKHTML_ErrorMsg404, PrintsTitleMessageAsItStandsAndTheLink) {
  std::ostringstream out;
  HKHTML_ErrorMsg404("T", "<b>m</b>", "/x", "go").print(out);
  EXPECT_EQ(out.str(),
            "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\" />\n<title>T</title>\n</head>\n"
            "<body><b>m</b><p><a href=\"/x\">go</a>\n</p>\n</body>\n</html>");
}

TEST(HKHTML_ErrorMsg404, StandardPageCarriesTheLibrarysTexts) {
  const std::string page = HKHTML_ErrorMsg404::standardPage();
  EXPECT_NE(page.find("<title>Error 404 - not found</title>"), std::string::npos) << page;
  EXPECT_NE(
      page.find("<body><h1>Error 404 - not found</h1>The requested page was not found or the project was "
                "timed out.<p><a href=\"/\">Startseite</a>"),
      std::string::npos)
      << page;
}
