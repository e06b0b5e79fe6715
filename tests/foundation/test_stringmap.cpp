// Columns, key/value maps and marked content.
#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include <toviktwo/foundation/hkstringmap.h>

TEST(HKStringMap1Test, EmptyPiecesKeptOrSkipped) {
  HKStringMap1 keep("a,,b", ",", false);
  EXPECT_EQ(keep.GetTheStrings(), (std::vector<std::string>{"a", "", "b"}));
  HKStringMap1 skip("a,,b", ",", true);
  EXPECT_EQ(skip.GetTheStrings(), (std::vector<std::string>{"a", "b"}));
}

TEST(HKStringMap1Test, TrailingEmptyPieceNeverCounts) {
  HKStringMap1 m("a,", ",", false);
  EXPECT_EQ(m.size(), 1u);
  EXPECT_EQ(m.GetColumn(0), "a");
}

TEST(HKStringMap1Test, EmptyTextNoColumns) {
  HKStringMap1 m("", ",", false);
  EXPECT_EQ(m.size(), 0u);
  EXPECT_EQ(m.NumberOfColumns(), 0u);
  EXPECT_EQ(m.GetColumn(0), "");
}

TEST(HKStringMap1Test, NoSeparatorOneColumnAndLongSeparators) {
  HKStringMap1 one("abc", ";", false);
  EXPECT_EQ(one.size(), 1u);
  EXPECT_EQ(one[0], "abc");
  HKStringMap1 leading(",x", ",", false);
  EXPECT_EQ(leading.GetTheStrings(), (std::vector<std::string>{"", "x"}));
  HKStringMap1 multi("1<>2<><>3", "<>", false);
  EXPECT_EQ(multi.GetTheStrings(), (std::vector<std::string>{"1", "2", "", "3"}));
  EXPECT_EQ(multi.GetColumn(7), "");
  multi[1] = "two";
  EXPECT_EQ(multi.GetColumn(1), "two");
}

TEST(HKStringMap1Test, EmptySeparatorGivesWholeText) {
  HKStringMap1 m("abc", "", false);
  EXPECT_EQ(m.GetTheStrings(), (std::vector<std::string>{"abc"}));
}

TEST(HKStringMap2Test, KeysValuesAndDroppedLines) {
  HKStringMap2 m("a=1\nb\nc=2=3", "\n", "=", "");
  const auto& map = m.GetMap();
  ASSERT_EQ(map.size(), 2u);
  EXPECT_EQ(map.at("a"), "1");
  EXPECT_EQ(map.at("b"), "");
  EXPECT_EQ(map.count("c"), 0u);
}

TEST(HKStringMap2Test, StripSetAndLastLineDecides) {
  HKStringMap2 m(" k = v1 ;k=v2; other = x ;;", ";", "=", " ");
  const auto& map = m.GetMap();
  EXPECT_EQ(map.at("k"), "v2");
  EXPECT_EQ(map.at("other"), "x");
  EXPECT_EQ(map.size(), 2u);
}

TEST(HKStringMap2Test, WithoutStripSetSpacesStay) {
  HKStringMap2 m(" k = v ", "\n", "=", "");
  EXPECT_EQ(m.GetMap().at(" k "), " v ");
}

TEST(HKStringMap2Test, DumpFormat) {
  HKStringMap2 m("b=2&a=1", "&", "=", "");
  testing::internal::CaptureStdout();
  m.Dump();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "[a] = 1\n[b] = 2\n");
}

TEST(ReplaceMarkedContent, ReplacesBetweenMarks) {
  std::string t = "<!--begin_x-->old<!--end_x-->";
  EXPECT_TRUE(ReplaceMarkedContentHTML(t, "x", "new"));
  EXPECT_EQ(t, "<!--begin_x-->new<!--end_x-->");
  // The marks stay: the page can be filled again.
  EXPECT_TRUE(ReplaceMarkedContentHTML(t, "x", "newer"));
  EXPECT_EQ(t, "<!--begin_x-->newer<!--end_x-->");
}

TEST(ReplaceMarkedContent, AllOccurrences) {
  std::string t = "A<!--begin_n-->1<!--end_n-->B<!--begin_n--><!--end_n-->C";
  EXPECT_TRUE(ReplaceMarkedContentHTML(t, "n", "z"));
  EXPECT_EQ(t, "A<!--begin_n-->z<!--end_n-->B<!--begin_n-->z<!--end_n-->C");
}

TEST(ReplaceMarkedContent, BeginWithoutEndUnchanged) {
  std::string t = "<!--begin_x-->old";
  EXPECT_FALSE(ReplaceMarkedContentHTML(t, "x", "new"));
  EXPECT_EQ(t, "<!--begin_x-->old");
}

TEST(ReplaceMarkedContent, EndBeforeBeginUnchanged) {
  std::string t = "<!--end_x-->mid<!--begin_x-->";
  EXPECT_FALSE(ReplaceMarkedContentHTML(t, "x", "new"));
  EXPECT_EQ(t, "<!--end_x-->mid<!--begin_x-->");
}

TEST(ReplaceMarkedContent, OtherNamesUntouched) {
  std::string t = "<!--begin_y-->keep<!--end_y-->";
  EXPECT_FALSE(ReplaceMarkedContentHTML(t, "x", "new"));
  EXPECT_EQ(t, "<!--begin_y-->keep<!--end_y-->");
}

TEST(ReplaceMarkedContent, ContentHoldingTheBeginMarkNotProcessedAgain) {
  std::string t = "<!--begin_x-->old<!--end_x-->";
  EXPECT_TRUE(ReplaceMarkedContentHTML(t, "x", "a<!--begin_x-->b"));
  EXPECT_EQ(t, "<!--begin_x-->a<!--begin_x-->b<!--end_x-->");
  // A mark that stands behind the resumed position is handled.
  std::string u = "<!--begin_x-->1<!--end_x-->|<!--begin_x-->2<!--end_x-->";
  EXPECT_TRUE(ReplaceMarkedContentHTML(u, "x", "<!--begin_x-->"));
  EXPECT_EQ(u, "<!--begin_x--><!--begin_x--><!--end_x-->|<!--begin_x--><!--begin_x--><!--end_x-->");
}

namespace {
std::string readAll(const std::string& path) {
  std::ifstream i(path, std::ios::binary);
  std::stringstream s;
  s << i.rdbuf();
  return s.str();
}
}  // namespace

TEST(ReplaceMarkedContentFile, OnePagePerLanguage) {
  const std::string dir = testing::TempDir();
  const std::string tmpl = dir + "hk_tmpl_" + std::to_string(getpid()) + ".html";
  {
    std::ofstream o(tmpl);
    o << "<!--begin_LangCodes-->EN,DE<!--end_LangCodes-->\n"
         "<!--begin_title_EN-->Welcome<!--end_title_EN-->\n"
         "<!--begin_title_DE-->Willkommen<!--end_title_DE-->\n"
         "<!--begin_text_EN-->Only English<!--end_text_EN-->\n"
         "<!--begin_HTMLBase--><html><head><!--begin_PageCode--><!--end_PageCode--></head>"
         "<body><h1><!--begin_title-->?<!--end_title--></h1>"
         "<p><!--begin_text-->?<!--end_text--></p></body></html><!--end_HTMLBase-->\n";
  }
  const std::string out = dir + "hk_page_" + std::to_string(getpid()) + ".html";
  testing::internal::CaptureStdout();
  EXPECT_EQ(ReplaceMarkedContentHTMLFile(tmpl, out, "/site/"), 2u);
  const std::string said = testing::internal::GetCapturedStdout();
  const std::string en = out.substr(0, out.size() - 5) + "_EN.html";
  const std::string de = out.substr(0, out.size() - 5) + "_DE.html";
  EXPECT_NE(said.find("writing " + en + "\n"), std::string::npos);
  EXPECT_NE(said.find("writing " + de + "\n"), std::string::npos);

  const std::string pageEN = readAll(en);
  const std::string pageDE = readAll(de);
  EXPECT_NE(pageEN.find("<h1><!--begin_title-->Welcome<!--end_title--></h1>"), std::string::npos);
  EXPECT_NE(pageDE.find("<h1><!--begin_title-->Willkommen<!--end_title--></h1>"), std::string::npos);
  // No German text: the first language's text is used.
  EXPECT_NE(pageDE.find("<!--begin_text-->Only English<!--end_text-->"), std::string::npos);
  EXPECT_NE(pageDE.find("var HKPageCode=\"DE\";"), std::string::npos);
  EXPECT_NE(pageDE.find("content=\"de\""), std::string::npos);
  const std::string enName = en.substr(en.find_last_of('/') + 1);
  EXPECT_NE(pageDE.find("<link rel=\"alternate\" hreflang=\"en\" href=\"/site/" + enName + "\" />"),
            std::string::npos);
  EXPECT_EQ(pageEN.find("LangCodes"), std::string::npos);
  std::remove(tmpl.c_str());
  std::remove(en.c_str());
  std::remove(de.c_str());
}

TEST(ReplaceMarkedContentFile, DefaultLanguageAndMissingInput) {
  const std::string dir = testing::TempDir();
  const std::string tmpl = dir + "hk_tmpl2_" + std::to_string(getpid()) + ".html";
  {
    std::ofstream o(tmpl);
    o << "<!--begin_HTMLBase--><p><!--begin_PageCode--><!--end_PageCode--></p><!--end_HTMLBase-->";
  }
  const std::string out = dir + "hk_page2_" + std::to_string(getpid()) + ".html";
  testing::internal::CaptureStdout();
  EXPECT_EQ(ReplaceMarkedContentHTMLFile(tmpl, out, ""), 1u);
  testing::internal::GetCapturedStdout();
  const std::string en = out.substr(0, out.size() - 5) + "_EN.html";
  EXPECT_NE(readAll(en).find("var HKPageCode=\"EN\";"), std::string::npos);
  EXPECT_EQ(ReplaceMarkedContentHTMLFile(dir + "no_such_template.html", out, ""), 0u);
  std::remove(tmpl.c_str());
  std::remove(en.c_str());
}

TEST(HKStringMap1Test, RangeForOverATemporaryIsSafe) {
  std::vector<std::string> seen;
  for (const auto& c : HKStringMap1("x;y;z", ";", false).GetTheStrings()) seen.push_back(c);
  EXPECT_EQ(seen, (std::vector<std::string>{"x", "y", "z"}));
}
