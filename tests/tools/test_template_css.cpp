// Style sheets compacted into the form the reader takes.
#include <gtest/gtest.h>

#include <string>

#include "hktemplatecss.h"

using namespace hktpl;

TEST(TemplateCss, CompactsRulesAndPropertiesWithoutWhitespace) {
  HKTplCssFindings f;
  EXPECT_EQ(HKTplCompactCss("\n  body { margin: 0 }\n  p,\n  h1 { color : red;  font: 1em  serif; }\n", f),
            "body{margin:0;}p, h1{color:red;font:1em serif;}");
  EXPECT_GT(f.whitespace, 0);
}

TEST(TemplateCss, DropsCommentsAndHtmlCommentMarkers) {
  HKTplCssFindings f;
  EXPECT_EQ(HKTplCompactCss("<!--\n/* a */ p{color:red}\n-->", f), "p{color:red;}");
  EXPECT_EQ(f.htmlComments, 2);
  EXPECT_EQ(f.comments, 1);
}

TEST(TemplateCss, PutsAStarBeforeSelectorsThatBeginWithAColonOrBracket) {
  HKTplCssFindings f;
  EXPECT_EQ(HKTplCompactCss(":root{color:red}[type=x]{margin:0}", f),
            "*:root{color:red;}*[type=x]{margin:0;}");
  EXPECT_EQ(f.selectorsPrefixed, 2);
}

TEST(TemplateCss, LeavesOutPrefixedPropertiesAndSubstitutesCustomOnes) {
  HKTplCssFindings f;
  EXPECT_EQ(HKTplCompactCss(":root{--c:#fff}p{-webkit-x:1;*zoom:1;color:var(--c);margin:var(--m, 2px)}", f),
            "*:root{}p{color:#fff;margin:2px;}");
  EXPECT_EQ(f.prefixedProperties, 2);
  EXPECT_EQ(f.customProperties, 1);
}

TEST(TemplateCss, LeavesOutValuesWithASemicolonAndUnknownVariables) {
  HKTplCssFindings f;
  EXPECT_EQ(HKTplCompactCss("p{background:url(data:image/png;base64,AAA);color:var(--x);width:1px}", f),
            "p{width:1px;}");
  EXPECT_EQ(f.semicolonValues, 1);
  EXPECT_EQ(f.unresolvedVars, 1);
}

TEST(TemplateCss, KeepsMediaRulesAndTurnsImportsIntoUrls) {
  HKTplCssFindings f;
  EXPECT_EQ(HKTplCompactCss("@charset \"utf-8\";\n@import url(\"a.css\");\n@font-face { font-family: x }\n"
                            "@media screen and (max-width: 600px) {\n p { margin: 0 }\n}\n",
                            f),
            "@media screen and (max-width: 600px){p{margin:0;}}");
  EXPECT_EQ(f.atRulesDropped, 2);
  ASSERT_EQ(f.importUrls.size(), 1u);
  EXPECT_EQ(f.importUrls[0], "a.css");
}

TEST(TemplateCss, StyleAttributeKeepsOnlyPairsWithOneColon) {
  int dropped = 0;
  EXPECT_EQ(HKTplNormalizeStyleAttribute(" color: red ;background:url(http://x/a.png); ;width:1px", dropped),
            "color:red;width:1px");
  EXPECT_EQ(dropped, 1);
}

TEST(TemplateCss, DropsDeclarationsWithAnOpenQuoteOrBracketSoThatCompactingAgainChangesNothing) {
  for (const std::string css : {"p{content:'x}", "p{a:b(c;d:e}", "p{x y:1;color:red}"}) {
    HKTplCssFindings f;
    const std::string once = HKTplCompactCss(css, f);
    HKTplCssFindings again;
    EXPECT_EQ(HKTplCompactCss(once, again), once) << css;
  }
  HKTplCssFindings f;
  EXPECT_EQ(HKTplCompactCss("p{a:b(c;d:e}", f), "p{}");
  EXPECT_EQ(HKTplCompactCss("p{x y:1;color:red}", f), "p{color:red;}");
}
