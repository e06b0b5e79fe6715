// The fixer: ordinary pages rewritten into the template dialect, which then
// read as a session reads them and show the same text.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include <toviktwo/documents/html/hkdatareader.h>
#include <toviktwo/documents/html/hkhtmldocument.h>

#include "hktemplatechecker.h"
#include "hktemplatefixer.h"

using namespace hktpl;

namespace {
std::string Fixed(const std::string& page) {
  HKTplFixStats stats;
  return HKTplFixPage(page, stats);
}

bool Reads(const std::string& page) {
  std::string message;
  return HKTplReadTextAsSession(page, message);
}

// The text of the page a session reads from `page`.
std::string SessionText(const std::string& page) {
  HKHTML_Document2 document(0);
  HKDataReader reader;
  EXPECT_TRUE(reader.ReadHTMLDocumentFromString(page, document));
  std::ostringstream os;
  document.AsText(os);
  return os.str();
}
}  // namespace

TEST(TemplateFixer, ClosesVoidTagsWithSlash) {
  const std::string page = "<html><body><p>a<br>b<img src=x></p></body></html>";
  EXPECT_FALSE(Reads(page));
  const std::string fixed = Fixed(page);
  EXPECT_EQ(fixed, "<html><body><p>a<br/>b<img src=\"x\"/></p></body></html>");
  EXPECT_TRUE(Reads(fixed));
}

TEST(TemplateFixer, WritesOutListItemEndTagsThatHtmlLetsOneLeaveOut) {
  EXPECT_EQ(Fixed("<html><ul><li>one<li>two</ul></html>"), "<html><ul><li>one</li><li>two</li></ul></html>");
}

TEST(TemplateFixer, EndsAParagraphWhereABlockBegins) {
  EXPECT_EQ(Fixed("<html><p>a<div>b</div><p>c</html>"), "<html><p>a</p><div>b</div><p>c</p></html>");
}

TEST(TemplateFixer, WritesOutTableRowAndCellEndTags) {
  EXPECT_EQ(Fixed("<html><table><tr><td>a<td>b<tr><td>c</table></html>"),
            "<html><table><tr><td>a</td><td>b</td></tr><tr><td>c</td></tr></table></html>");
}

TEST(TemplateFixer, LeavesOutEndTagsWithoutAnOpenElement) {
  EXPECT_EQ(Fixed("<html><body>x</span></p>y</body></html>"), "<html><body>xy</body></html>");
}

TEST(TemplateFixer, WritesTagNamesInLowerCaseAndTheDoctypeInCapitals) {
  EXPECT_EQ(Fixed("<!doctype html>\n<HTML><P CLASS=a>x</P></HTML>"),
            "<!DOCTYPE html>\n<html><p class=\"a\">x</p></html>");
}

TEST(TemplateFixer, WritesEndTagsWithoutBlanks) {
  EXPECT_EQ(Fixed("<html><div>x</div ></html>"), "<html><div>x</div></html>");
}

TEST(TemplateFixer, RenamesXmlLangAndLeavesOutOtherNamesWithColons) {
  EXPECT_EQ(Fixed("<html xmlns:x=\"u\" xml:lang=\"en\"><o:p>x</o:p></html>"), "<html lang=\"en\">x</html>");
}

TEST(TemplateFixer, QuotesValuesAndRemovesBlanksAroundEquals) {
  EXPECT_EQ(Fixed("<html><a href = 'x' title=it's>y</a></html>"),
            "<html><a href=\"x\" title=\"it's\">y</a></html>");
  EXPECT_EQ(Fixed("<html><a title='say \"hi\"'>y</a></html>"), "<html><a title='say \"hi\"'>y</a></html>");
}

TEST(TemplateFixer, EnclosesScriptTextInAComment) {
  const std::string fixed = Fixed("<html><script>if (a<b && i-->0) x();</script></html>");
  EXPECT_EQ(fixed, "<html><script><!--\nif (a<b && i-- >0) x();\n//--></script></html>");
  EXPECT_TRUE(Reads(fixed));
}

TEST(TemplateFixer, ReplacesAClassicScriptCommentByItsOwn) {
  EXPECT_EQ(HKTplWrapScript("\n<!-- hide\nvar a = 1;\n// -->\n"), "<!--\nvar a = 1;\n//-->");
  EXPECT_EQ(HKTplWrapScript("  \n "), "  \n ");
}

TEST(TemplateFixer, CompactsStyleSheetsAndWritesImportsAsLinks) {
  const std::string fixed = Fixed(
      "<html><head><style type=\"text/css\">\n@import \"a.css\";\nbody { margin: 0 "
      "}\n</style></head></html>");
  EXPECT_EQ(
      fixed,
      "<html><head><link rel=\"stylesheet\" href=\"a.css\"/><style type=\"text/css\">body{margin:0;}</style>"
      "</head></html>");
  EXPECT_TRUE(Reads(fixed));
}

TEST(TemplateFixer, ReducesStyleAttributesToWhatTheReaderTakes) {
  const std::string fixed =
      Fixed("<html><p style=\"color: red; background: url(http://x/a.png)\">x</p></html>");
  EXPECT_EQ(fixed, "<html><p style=\"color:red\">x</p></html>");
  EXPECT_TRUE(Reads(fixed));
}

TEST(TemplateFixer, LeavesOutProgressValuesThatAreNoNumbers) {
  const std::string fixed = Fixed("<html><progress value=\"half\" max=\"1\"></progress></html>");
  EXPECT_EQ(fixed, "<html><progress max=\"1\"></progress></html>");
  EXPECT_TRUE(Reads(fixed));
}

TEST(TemplateFixer, EscapesLessThanInTextAndWritesCdataAsText) {
  EXPECT_EQ(Fixed("<html>a < b<![CDATA[c<d]]></html>"), "<html>a &lt; bc&lt;d</html>");
}

TEST(TemplateFixer, EndsCommentsWithADashBeforeTheEndAsTheReaderExpects) {
  const std::string fixed = Fixed("<html><!-- a ---><p>x</p></html>");
  EXPECT_EQ(fixed, "<html><!-- a - --><p>x</p></html>");
  EXPECT_NE(SessionText(fixed).find('x'), std::string::npos);
}

TEST(TemplateFixer, EnclosesAPageWithoutHtmlElement) {
  EXPECT_EQ(Fixed("<!DOCTYPE html>\n<p>x</p>"), "<!DOCTYPE html>\n<html><p>x</p></html>");
}

TEST(TemplateFixer, KeepsCaseAndSelfClosingTagsInSvg) {
  EXPECT_EQ(
      Fixed("<html><svg viewBox=\"0 0 1 1\"><linearGradient id=\"g\"/><use xlink:href=\"#g\"/></svg></html>"),
      "<html><svg viewBox=\"0 0 1 1\"><linearGradient id=\"g\"/><use href=\"#g\"/></svg></html>");
}

TEST(TemplateFixer, FixingAFixedPageChangesNothing) {
  const std::string page =
      "<!doctype html><html><head><style>p { color: red }</style><script>if (a<b) x();</script></head>"
      "<body><p>a<br>b<ul><li>c<li>d</ul><table><tr><td>e<td>f</table><!-- g ---></body></html>";
  const std::string once = Fixed(page);
  EXPECT_TRUE(Reads(once));
  EXPECT_EQ(Fixed(once), once);
}

TEST(TemplateFixer, FixedPageShowsEveryWordOfTheOriginal) {
  const std::string page =
      "<html><body><p>one<br>two<p>three<ul><li>four<li>five</ul><input type=text>six</body></html>";
  EXPECT_EQ(SessionText(Fixed(page)), "onetwothreefourfivesix");
}

TEST(TemplateFixer, CountsWhatItChanged) {
  HKTplFixStats stats;
  HKTplFixPage("<html><br><hr><a href=x>y</a></html>", stats);
  EXPECT_EQ(stats.changes["void tags closed with \"/>\""], 2);
  EXPECT_EQ(stats.changes["attribute values quoted"], 1);
}
