// HKCommandCompiler: parsing "!" calls and the CSS of "linearanimation(".
#include <toviktwo/persistence/hkcommandcompiler.h>

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr const char* kError = "/* error */\n";

std::string Compile(const std::string& text) { return HKCommandCompiler().CSSCommand(text); }

bool Contains(const std::string& text, const std::string& piece) {
  return text.find(piece) != std::string::npos;
}

}  // namespace

TEST(CommandCompiler, TextWithoutTheLeadingSignIsAnError) {
  EXPECT_EQ(Compile("linearanimation(#a, 1s, infinite, 2, on, off, 0)"), kError);
  EXPECT_EQ(Compile(""), kError);
}

TEST(CommandCompiler, UnknownCommandIsAnError) { EXPECT_EQ(Compile("!rotate(#a, 1s)"), kError); }

TEST(CommandCompiler, CountOfZeroOrOneGivesAnEmptyText) {
  EXPECT_EQ(Compile("!linearanimation(#a, 1s, infinite, 0, on, off, 0)"), "");
  EXPECT_EQ(Compile("!linearanimation(#a, 1s, infinite, 1, on, off, 0)"), "");
}

TEST(CommandCompiler, TwoElementsGiveOneRuleAndTwoKeyframeBlocksEach) {
  const std::string frames0 =
      " slide0 {\n0% {\n  opacity:1\n}\n45% {\n  opacity:1\n}\n50% {\n  opacity:0\n}\n95% {\n  opacity:0\n}\n"
      "100% {\n  opacity:1\n}\n}\n\n";
  const std::string frames1 =
      " slide1 {\n0% {\n  opacity:0\n}\n45% {\n  opacity:0\n}\n50% {\n  opacity:1\n}\n95% {\n  opacity:1\n}\n"
      "100% {\n  opacity:0\n}\n}\n\n";
  const std::string expected =
      "#slide0 {\n  -webkit-animation: slide0 10s infinite;\n  animation: slide0 10s infinite;\n}\n\n"
      "@-webkit-keyframes" +
      frames0 + "@keyframes" + frames0 +
      "#slide1 {\n  -webkit-animation: slide1 10s infinite;\n  animation: slide1 10s infinite;\n}\n\n"
      "@-webkit-keyframes" +
      frames1 + "@keyframes" + frames1;
  EXPECT_EQ(Compile("!linearanimation(#slide, 10s, infinite, 2, opacity:1, opacity:0, 5)"), expected);
}

TEST(CommandCompiler, MiddleElementIsOnInItsOwnPartOfTheCycle) {
  const std::string css = Compile("!linearanimation(.s, 9s, infinite, 3, on, off, 0)");
  EXPECT_TRUE(Contains(css,
                       "@keyframes s1 {\n0% {\n  off\n}\n33.3333% {\n  off\n}\n33.3333% {\n  on\n}\n"
                       "66.6667% {\n  on\n}\n66.6667% {\n  off\n}\n100% {\n  off\n}\n}\n\n"))
      << css;
  EXPECT_TRUE(Contains(css,
                       "@keyframes s2 {\n0% {\n  off\n}\n66.6667% {\n  off\n}\n66.6667% {\n  on\n}\n"
                       "100% {\n  on\n}\n100% {\n  off\n}\n}\n\n"))
      << css;
}

TEST(CommandCompiler, OverlapLargerThanTheShareRunsBackwardsAndMayBeNegative) {
  const std::string css = Compile("!linearanimation(#a, 1s, infinite, 4, on, off, 30)");
  EXPECT_TRUE(Contains(css,
                       "@keyframes a0 {\n0% {\n  on\n}\n-5% {\n  on\n}\n25% {\n  off\n}\n70% {\n  off\n}\n"
                       "100% {\n  on\n}\n}\n\n"))
      << css;
}

TEST(CommandCompiler, IdSelectorNumbersTheRulesAndNamesKeyframesWithoutTheHash) {
  const std::string css = Compile("!linearanimation(#pic, 1s, infinite, 2, on, off, 0)");
  EXPECT_TRUE(Contains(css, "#pic0 {\n"));
  EXPECT_TRUE(Contains(css, "#pic1 {\n"));
  EXPECT_TRUE(Contains(css, "@keyframes pic1 {\n"));
  EXPECT_FALSE(Contains(css, "keyframes #"));
}

TEST(CommandCompiler, SelectorWithoutDotOrHashIsTakenWholeAsBaseName) {
  const std::string css = Compile("!linearanimation(div, 1s, infinite, 2, on, off, 0)");
  EXPECT_TRUE(Contains(css, "div0 {\n  -webkit-animation: div0 1s infinite;\n"));
  EXPECT_TRUE(Contains(css, "@-webkit-keyframes div1 {\n"));
}

TEST(CommandCompiler, QuotesAroundArgumentsAreDropped) {
  const std::string css = Compile(
      "!linearanimation(\"#a\", '2s', \"ease-in infinite\", 2, 'opacity: 1', "
      "\"opacity: 0\", 0)");
  EXPECT_TRUE(Contains(css, "#a0 {\n  -webkit-animation: a0 2s ease-in infinite;\n")) << css;
  EXPECT_TRUE(Contains(css, "0% {\n  opacity: 1\n}\n")) << css;
}

TEST(CommandCompiler, QuotesProtectNoComma) {
  // The comma splits "#a,b": every later argument moves one place, and
  // "ease" stands where the count should.
  EXPECT_EQ(Compile("!linearanimation(\"#a,b\", 1s, ease, 2, on, off, 0)"), kError);
}

TEST(CommandCompiler, WhiteSpaceBeforeASeparatorStaysInTheArgument) {
  const std::string css = Compile("!linearanimation( #a , 1s ,x,2,on,off,0)");
  EXPECT_TRUE(Contains(css, "#a 0 {\n  -webkit-animation: a 0 1s  x;\n")) << css;
}

TEST(CommandCompiler, FewerThanSevenArgumentsIsAnError) {
  EXPECT_EQ(Compile("!linearanimation(#a, 1s, infinite, 2)"), kError);
}

TEST(CommandCompiler, CountThatIsNoNumberIsAnError) {
  EXPECT_EQ(Compile("!linearanimation(#a, 1s, infinite, many, on, off, 0)"), kError);
  EXPECT_EQ(Compile("!linearanimation(#a, 1s, infinite, 2, on, off, much)"), kError);
}

TEST(CommandCompiler, OverlapIsReadAsAWholeNumber) {
  const std::string css = Compile("!linearanimation(#a, 1s, infinite, 2, on, off, 2.5)");
  EXPECT_TRUE(Contains(css, "48% {\n  on\n}\n")) << css;
}

TEST(CommandCompiler, StripContentDropsAnyPairOfQuoteSigns) {
  HKCommandCompiler compiler;
  EXPECT_EQ(compiler._stripcontent("'a\""), "a");
  EXPECT_EQ(compiler._stripcontent("'a"), "'a");
  EXPECT_EQ(compiler._stripcontent("a"), "a");
}

TEST(CommandCompiler, ScannersReturnTheFailureResultWhenNothingMatches) {
  HKCommandCompiler compiler;
  EXPECT_EQ(compiler._IsWS("abc", 0, 99), 99u);
  EXPECT_EQ(compiler._IsWS("  abc", 0, 99), 2u);
  EXPECT_EQ(compiler._IsFct("9fn(", 0, 99), 99u);
  EXPECT_EQ(compiler._IsFct("fn_2(x", 0, 99), 5u);
  EXPECT_EQ(compiler._IsFct("fn (x", 0, 99), 99u);
  EXPECT_EQ(compiler._IsArg("ab)c", 0, 99), 2u);
  EXPECT_EQ(compiler._IsArg("abc", 0, 99), 99u);
  EXPECT_EQ(compiler._IsListSep(",", 0, 99), 1u);
  EXPECT_EQ(compiler._IsFktCallClose("x", 0, 99), 99u);
  EXPECT_EQ(compiler._IsCssCommand("!x", 0, 99), 1u);
}
