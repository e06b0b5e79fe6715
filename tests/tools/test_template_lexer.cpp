// The template tool's HTML tokenizer: reads pages as a browser does.
#include <gtest/gtest.h>

#include <string>

#include "hktemplatelexer.h"

using namespace hktpl;

TEST(TemplateLexer, ReadsUnquotedValuesBlanksAroundEqualsAndFlags) {
  const auto tokens = HKTplTokenize("<input type=text name = \"x\" checked>");
  ASSERT_EQ(tokens.size(), 1u);
  const auto& a = tokens[0].attributes;
  ASSERT_EQ(a.size(), 3u);
  EXPECT_EQ(a[0].name, "type");
  EXPECT_EQ(a[0].value, "text");
  EXPECT_EQ(a[0].quote, 0);
  EXPECT_FALSE(a[0].blankAroundEq);
  EXPECT_EQ(a[1].value, "x");
  EXPECT_TRUE(a[1].blankAroundEq);
  EXPECT_FALSE(a[2].hasValue);
  EXPECT_FALSE(tokens[0].selfClosing);
}

TEST(TemplateLexer, TokensCoverTheInputWithoutGaps) {
  const std::string text = "<!doctype html><p>a < b<br/>c<!-- x --></p>";
  const auto tokens = HKTplTokenize(text);
  std::size_t at = 0;
  for (const auto& t : tokens) {
    EXPECT_EQ(t.begin, at);
    at = t.end;
  }
  EXPECT_EQ(at, text.size());
  EXPECT_EQ(tokens[0].kind, HKTplKind::Doctype);
}

TEST(TemplateLexer, ScriptContentIsOneRawTokenUpToItsEndTag) {
  const auto tokens = HKTplTokenize("<script>if (a<b) x('</div>');</SCRIPT>");
  ASSERT_EQ(tokens.size(), 3u);
  EXPECT_EQ(tokens[1].kind, HKTplKind::RawText);
  EXPECT_EQ(tokens[1].body, "if (a<b) x('</div>');");
  EXPECT_EQ(tokens[2].kind, HKTplKind::EndTag);
}

TEST(TemplateLexer, CommentEndsAtTheFirstDoubleDashAndGreaterThan) {
  const auto tokens = HKTplTokenize("<!-- a ---><p>");
  ASSERT_EQ(tokens.size(), 2u);
  EXPECT_EQ(tokens[0].body, " a -");
  EXPECT_EQ(tokens[1].kind, HKTplKind::StartTag);
}
