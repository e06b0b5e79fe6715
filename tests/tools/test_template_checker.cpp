// The checker: every hint it gives, with a page that triggers it, the places
// it reports, and how it goes on after the first problem.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "hktemplatechecker.h"
#include "hktemplatediagnose.h"

using namespace hktpl;

namespace {
std::vector<std::string> HintIds(const HKTplCheckResult& r) {
  std::vector<std::string> ids;
  for (const auto& p : r.problems) {
    for (const auto& h : p.hints) ids.push_back(h.id);
  }
  return ids;
}

// The hint ids of the first problem of a page that must fail.
std::vector<std::string> FirstHints(const std::string& page) {
  const HKTplCheckResult r = HKTplCheckText(page);
  EXPECT_FALSE(r.reads);
  if (r.problems.empty()) return {};
  std::vector<std::string> ids;
  for (const auto& h : r.problems[0].hints) ids.push_back(h.id);
  return ids;
}

using Ids = std::vector<std::string>;
}  // namespace

TEST(TemplateChecker, PageInTheDialectReadsWithoutProblemsOrWarnings) {
  const HKTplCheckResult r = HKTplCheckText(
      "<!DOCTYPE html>\n<html><head><style>p{color:red;}</style></head><body><p>a<br/>b</p></body></html>");
  EXPECT_TRUE(r.reads);
  EXPECT_TRUE(r.problems.empty());
  EXPECT_TRUE(r.warnings.empty());
}

TEST(TemplateChecker, LowerCaseDoctypeGivesTheReadersMessageAtLineOne) {
  const HKTplCheckResult r = HKTplCheckText("<!doctype html>\n<html></html>");
  ASSERT_EQ(r.problems.size(), 1u);
  EXPECT_EQ(r.problems[0].message, "reading error  around line 1");
  EXPECT_EQ(r.problems[0].place.line, 1u);
  EXPECT_EQ(r.problems[0].place.column, 1u);
  EXPECT_EQ(HintIds(r), Ids{"doctype"});
  EXPECT_TRUE(r.complete);
}

TEST(TemplateChecker, ProblemMessageIsTheOneASessionGets) {
  const std::string page = "<html><body><p>a<br></p></body></html>";
  std::string message;
  ASSERT_FALSE(HKTplReadTextAsSession(page, message));
  const HKTplCheckResult r = HKTplCheckText(page);
  ASSERT_FALSE(r.problems.empty());
  EXPECT_EQ(r.problems[0].message, message);
  EXPECT_EQ(message, "wrong closing tag '/p' instead '/br' around line 1");
}

TEST(TemplateChecker, UnclosedVoidTagPointsAtTheVoidTag) {
  const HKTplCheckResult r = HKTplCheckText("<html><body>\n<p>a <br></p></body></html>");
  ASSERT_EQ(r.problems.size(), 1u);
  EXPECT_EQ(r.problems[0].place.line, 2u);
  EXPECT_EQ(r.problems[0].place.column, 6u);
  EXPECT_EQ(HintIds(r), Ids{"void-tag"});
}

TEST(TemplateChecker, WhitespaceInStyleSheet) {
  EXPECT_EQ(FirstHints("<html><head><style>\np{color:red}\n</style></head></html>"), Ids{"css-whitespace"});
}

TEST(TemplateChecker, HtmlCommentAroundStyleSheet) {
  EXPECT_EQ(FirstHints("<html><head><style><!--p{color:red}--></style></head></html>"),
            Ids{"css-html-comment"});
}

TEST(TemplateChecker, SelectorBeginningWithAColon) {
  EXPECT_EQ(FirstHints("<html><head><style>:root{color:red}</style></head></html>"), Ids{"css-selector"});
}

TEST(TemplateChecker, VendorPrefixedProperty) {
  EXPECT_EQ(FirstHints("<html><head><style>p{-webkit-x:1}</style></head></html>"), Ids{"css-property-name"});
}

TEST(TemplateChecker, CustomProperty) {
  EXPECT_EQ(FirstHints("<html><head><style>p{--x:1}</style></head></html>"), Ids{"css-custom-property"});
}

TEST(TemplateChecker, SemicolonInsideACssValue) {
  EXPECT_EQ(FirstHints("<html><head><style>p{background:url(data:a;b)}</style></head></html>"),
            Ids{"css-semicolon-value"});
}

TEST(TemplateChecker, AtRuleThatHoldsNoRules) {
  EXPECT_EQ(FirstHints("<html><head><style>@font-face{font-family:x}</style></head></html>"),
            Ids{"css-at-rule"});
}

TEST(TemplateChecker, PropertyWithoutColonGetsTheGeneralCssHint) {
  EXPECT_EQ(FirstHints("<html><head><style>p{color}</style></head></html>"), Ids{"css-other"});
}

TEST(TemplateChecker, LessThanInScriptText) {
  EXPECT_EQ(FirstHints("<html><body><script>if (a<b) x();</script></body></html>"), Ids{"script-text"});
}

TEST(TemplateChecker, AttributeNameWithColon) {
  EXPECT_EQ(FirstHints("<html xml:lang=\"en\"></html>"), Ids{"attribute-name"});
}

TEST(TemplateChecker, BlankAroundEquals) {
  EXPECT_EQ(FirstHints("<html><body><a href = \"x\">y</a></body></html>"), Ids{"attribute-blank"});
}

TEST(TemplateChecker, UnquotedAttributeValue) {
  const HKTplCheckResult r = HKTplCheckText("<html><body><a class=\"c\" href=x>y</a></body></html>");
  ASSERT_EQ(r.problems.size(), 1u);
  EXPECT_EQ(HintIds(r), Ids{"attribute-unquoted"});
  EXPECT_EQ(r.problems[0].place.column, 26u);  // at href, not at the tag
}

TEST(TemplateChecker, OneTagWithSeveralCausesGetsOneHintForEach) {
  EXPECT_EQ(FirstHints("<html><body><input type=text name = \"x\"></body></html>"),
            (Ids{"attribute-unquoted", "attribute-blank", "void-tag"}));
}

TEST(TemplateChecker, TagTheReaderCannotTake) {
  EXPECT_EQ(FirstHints("<html><a/b>x</a></html>"), Ids{"tag-syntax"});
}

TEST(TemplateChecker, CommentEndingInThreeDashes) {
  EXPECT_EQ(FirstHints("<html><!-- a ---></html>"), Ids{"comment-end"});
}

TEST(TemplateChecker, CdataSection) {
  EXPECT_EQ(FirstHints("<html><body><![CDATA[x]]></body></html>"), Ids{"declaration"});
}

TEST(TemplateChecker, LessThanInText) {
  EXPECT_EQ(FirstHints("<html><body>a < b</body></html>"), Ids{"less-than"});
}

TEST(TemplateChecker, TagNameWithColon) {
  const HKTplCheckResult r = HKTplCheckText("<html><body><o:p>x</o:p></body></html>");
  ASSERT_FALSE(r.problems.empty());
  EXPECT_EQ(r.problems[0].message, "incomplete tag 'o' around line 1");
  EXPECT_EQ(r.problems[0].hints[0].id, "tag-name");
  EXPECT_TRUE(r.complete);
}

TEST(TemplateChecker, BlankInEndTag) {
  EXPECT_EQ(FirstHints("<html><body><div>x</div ></body></html>"), Ids{"end-tag-blank"});
}

TEST(TemplateChecker, EndTagWithoutStartTag) {
  EXPECT_EQ(FirstHints("<html><body>x</span></body></html>"), Ids{"stray-end-tag"});
  EXPECT_EQ(FirstHints("</p><html></html>"), Ids{"stray-end-tag"});
}

TEST(TemplateChecker, StartAndEndTagInDifferentCase) {
  EXPECT_EQ(FirstHints("<html><body><P>x</p></body></html>"), Ids{"tag-case"});
}

TEST(TemplateChecker, ListItemEndTagLeftOut) {
  EXPECT_EQ(FirstHints("<html><body><ul><li>a</ul></body></html>"), Ids{"omitted-end-tag"});
}

TEST(TemplateChecker, ElementsClosedOutOfOrder) {
  EXPECT_EQ(FirstHints("<html><body><b><i>x</b></i></body></html>"), Ids{"misnested"});
}

TEST(TemplateChecker, StyleAttributeWithColonInValue) {
  const HKTplCheckResult r =
      HKTplCheckText("<html><body><p id=\"a\" style=\"background:url(http://x)\">y</p></body></html>");
  EXPECT_EQ(HintIds(r), Ids{"style-attribute"});
  ASSERT_FALSE(r.problems.empty());
  EXPECT_EQ(r.problems[0].message.rfind("style syntax wrong at: >", 0), 0u);
  EXPECT_EQ(r.problems[0].place.column, 23u);
}

TEST(TemplateChecker, ProgressValueThatIsNoNumber) {
  const HKTplCheckResult r =
      HKTplCheckText("<html><body><progress max=\"1\" value=\"half\"></progress></body></html>");
  ASSERT_EQ(r.problems.size(), 1u);
  EXPECT_EQ(r.problems[0].message, "element type 'xmlelement' not defined in DTD around line 1");
  EXPECT_EQ(HintIds(r), Ids{"attribute-number"});
  EXPECT_EQ(r.problems[0].place.column, 31u);
}

TEST(TemplateChecker, EndTagOfAStyleSheetIsJudgedAsAnEndTag) {
  EXPECT_EQ(FirstHints("<html><head><style>p{color:red}</style ></head></html>"), Ids{"end-tag-blank"});
  EXPECT_EQ(FirstHints("<html><head><style>p{color:red}</STYLE></head></html>"), Ids{"tag-case"});
}

TEST(TemplateChecker, EmptyText) {
  const HKTplCheckResult r = HKTplCheckText("");
  ASSERT_EQ(r.problems.size(), 1u);
  EXPECT_EQ(r.problems[0].message, "error in stream around line 1");
  EXPECT_EQ(HintIds(r), Ids{"empty"});
  EXPECT_FALSE(r.complete);
}

TEST(TemplateChecker, NestingDeeperThanTheReaderTakes) {
  std::string page = "<html>";
  for (int i = 0; i < 1100; ++i) page += "<div>";
  EXPECT_EQ(FirstHints(page), Ids{"nesting"});
}

TEST(TemplateChecker, MessageWithoutKnownCauseGetsTheFallbackHint) {
  HKTplFailure failure;
  failure.failed = true;
  failure.message = "something else around line 1";
  const HKTplDiagnosis d = HKTplDiagnose("<html></html>", failure);
  ASSERT_EQ(d.hints.size(), 1u);
  EXPECT_EQ(d.hints[0].id, "unknown");
  EXPECT_FALSE(d.hasRepair);
}

TEST(TemplateChecker, ListsEveryProblemAtItsPlaceInTheOriginal) {
  const std::string page =
      "<!doctype html>\n<html><head><style>\n  p { color: red }\n  a { color: blue }\n</style></head>\n"
      "<body><p>a<br></p>\n<ul><li>x</ul>\n</body></html>";
  const HKTplCheckResult r = HKTplCheckText(page);
  ASSERT_EQ(r.problems.size(), 4u);
  EXPECT_EQ(HintIds(r), (Ids{"doctype", "css-whitespace", "void-tag", "omitted-end-tag"}));
  EXPECT_EQ(r.problems[1].place.line, 2u);
  EXPECT_EQ(r.problems[2].place.line, 6u);
  EXPECT_EQ(r.problems[2].place.column, 11u);
  EXPECT_EQ(r.problems[3].place.line, 7u);
  EXPECT_TRUE(r.complete);
}

TEST(TemplateChecker, StopsListingAfterTheLimit) {
  std::string page = "<html><body>";
  for (std::size_t i = 0; i < kMaxProblems + 20; ++i) page += "<p>a<br></p>\n";
  const HKTplCheckResult r = HKTplCheckText(page + "</body></html>");
  EXPECT_EQ(r.problems.size(), kMaxProblems);
  EXPECT_FALSE(r.complete);
}

TEST(TemplateChecker, WarnsAboutAWordSwallowedByAVoidTag) {
  const HKTplCheckResult r = HKTplCheckText("<html><body><p>a<br>b</p></body></html>");
  EXPECT_TRUE(r.reads);
  ASSERT_EQ(r.warnings.size(), 1u);
  EXPECT_EQ(r.warnings[0].hint.id, "void-tag");
  EXPECT_EQ(r.warnings[0].place.column, 17u);
}

TEST(TemplateChecker, WarnsAboutACommentThatRunsOn) {
  const HKTplCheckResult r = HKTplCheckText("<html><!-- a ---> lost --></html>");
  EXPECT_TRUE(r.reads);
  ASSERT_EQ(r.warnings.size(), 1u);
  EXPECT_EQ(r.warnings[0].hint.id, "comment-end");
}

TEST(TemplateChecker, WarnsAboutAPageWithoutHtmlElement) {
  const HKTplCheckResult r = HKTplCheckText("<p>x</p>");
  EXPECT_TRUE(r.reads);
  ASSERT_EQ(r.warnings.size(), 1u);
  EXPECT_EQ(r.warnings[0].hint.id, "no-html");
}

TEST(TemplateChecker, ReportShowsPlaceMessageSourceLineMarkerAndHint) {
  const std::string page = "<html><body>\n<p>a < b</p></body></html>";
  const std::string report = HKTplFormatReport("t.html", page, HKTplCheckText(page));
  EXPECT_EQ(report,
            "t.html:2:6: reading error  around line 2\n"
            "  2 | <p>a < b</p></body></html>\n"
            "    |      ^\n"
            "  hint [less-than]: a \"<\" that does not open a tag must be written &lt;\n"
            "t.html: does not read (1 problem)\n");
}
