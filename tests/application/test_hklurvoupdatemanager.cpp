// The update channel: the script, the exchange through the session's "/"
// command, delays, the end of a channel, reporting elements, failures.
#include <toviktwo/application/hklurvoupdatemanager.h>

#include <gtest/gtest.h>

#include <stdexcept>

#include <toviktwo/application/hkscenario.h>

#include "support/hktestrequests.h"
#include "support/hktestsession.h"

using hktest::TestApplication;
using hktest::TestSession;

namespace {

// An element that counts its destruction.
class CountedElement : public HKHTML_ElementType0 {
 public:
  CountedElement(int& deaths) : HKHTML_ElementType0("span"), _deaths(deaths) {
    PushBackChildElement(new HKHTML_text2("42"));
  }
  ~CountedElement() override { ++_deaths; }

 private:
  int& _deaths;
};

class UpdateTest : public ::testing::Test {
 protected:
  // Counted deaths of scenarios; the first member, because the session
  // deletes the scenarios still registered when the fixture ends.
  int scenarioDeaths = 0;
  TestApplication app;
  TestSession session{&app, "s1"};
  HKLurvoUpdateManager& updates = session.getUpdateManager();

  // One exchange as the page's script asks for it.
  std::string Poll(const std::string& reference) {
    auto request = hktest::UpdatePoll("s1", reference);
    HKXResponseHeader response(HK_SCHEME_ANSWER, false, HK_PROTO_HTTP);
    session.manageRequest(*request, response, "lurvoupdate");
    EXPECT_EQ(response.statusCode(), 200u);
    return hktest::Body(response);
  }
};

std::string Novelty(const std::string& fim, const std::string& ref, const std::string& time,
                    const std::string& inner = "") {
  return "<div id=\"novidade\" lurvofim=\"" + fim + "\" lurvoref=\"" + ref + "\" lurvoupdatetime=\"" + time +
         "\">" + inner + "</div>";
}

}  // namespace

TEST(HKcommonLurvoJS, BeginsWithTheGlobalsAndHasAFixedScriptOf2290Characters) {
  const std::string head = "tovikid = \"id*7\";\nlurvoupdatepagename = \"/page\";\n\n";
  std::string script = hkcommonLurvoJS("id*7", "/page");
  ASSERT_EQ(script.substr(0, head.size()), head);
  EXPECT_EQ(script.size() - head.size(), 2290u);
  for (const char* part :
       {"parseFromString(\"\", \"text/html\")", "document.implementation.createHTMLDocument(\"\")",
        "xmlhttp_tu = null", "localtimeout = null", "new ActiveXObject(\"Microsoft.XMLHTTP\")",
        "getElementById(\"novidade\")", "tagName == \"DIV\"", "alert(ex)",
        "data.append(\"tovikcommand\", \"lurvoupdate\");", "data.append(\"reference\", reference);",
        "data.append(\"tovikid\", tovikid);", "function lurvoupdate(reference)"})
    EXPECT_NE(script.find(part), std::string::npos) << part;
}

TEST(AddLurvoUpdate, PutsTheScriptInTheHeadAndTheCallInTheBody) {
  HKHTML_Document2 doc;
  addLurvoUpdate(doc, "id*7", "ref1");
  std::string page = doc.GetBuffer();
  const std::string wrapped = "<script>\n<!--\n" + hkcommonLurvoJS("id*7", "/") + "\n//-->\n</script>";
  EXPECT_NE(page.find(wrapped), std::string::npos);
  EXPECT_LT(page.find(wrapped), page.find("</head>"));
  EXPECT_NE(
      page.find(
          "<script async=\"yes\" type=\"text/javascript\">\n<!--\nlurvoupdate(\"ref1\");\n//-->\n</script>"),
      std::string::npos);
  EXPECT_EQ(lurvoUpdateCallJS("ref1"), "lurvoupdate(\"ref1\");\n");
}

TEST_F(UpdateTest, UnregisteredReferenceEndsTheChannelWithNone) {
  std::string answer = Poll("nobody");
  EXPECT_NE(answer.find(Novelty("sim", "_none_", "500")), std::string::npos) << answer;
  EXPECT_EQ(updates.countResponses(), 0u);
}

TEST_F(UpdateTest, MissingReferenceFieldIsNone) {
  auto request = hktest::FormPost("/", {{"tovikcommand", "lurvoupdate"}, {"tovikid", "s1"}});
  EXPECT_EQ(updates.lurvoUpdateResponse(*request, "reference"), "_none_");
  EXPECT_FALSE(updates.lurvoUpdateResponseValid("_none_"));
}

TEST_F(UpdateTest, ADelayOfOneIsStillARepeat) {
  updates.registerReference("sc", "r", [](const std::string&) { return 1L; });
  EXPECT_NE(Poll("r").find(Novelty("nao", "r", "1")), std::string::npos);
  EXPECT_TRUE(updates.hasReference("r"));
}

TEST_F(UpdateTest, ZeroAndNegativeDelaysEndTheChannel) {
  updates.registerReference("sc", "zero", [](const std::string&) { return 0L; });
  updates.registerReference("sc", "neg", [](const std::string&) { return -5L; });
  EXPECT_NE(Poll("zero").find(Novelty("sim", "zero", "500")), std::string::npos);
  EXPECT_NE(Poll("neg").find(Novelty("sim", "neg", "500")), std::string::npos);
  EXPECT_FALSE(updates.hasReference("zero"));
  EXPECT_FALSE(updates.hasReference("neg"));
}

TEST_F(UpdateTest, LateRequestAfterTheEndGetsNoneAndSim) {
  updates.registerReference("sc", "r", [](const std::string&) { return 0L; });
  Poll("r");
  EXPECT_NE(Poll("r").find(Novelty("sim", "_none_", "500")), std::string::npos);
}

TEST_F(UpdateTest, ReportedElementsBecomeChildDivsOfTheNovelty) {
  updates.registerReference("sc", "r", [this](const std::string& ref) {
    updates.add2LurvoUpdateResponse(ref, "bar", new HKHTML_text2("<b>50%</b>"));
    updates.add2LurvoUpdateResponse(ref, "out", new HKHTML_text2("half"));
    return 250L;
  });
  std::string answer = Poll("r");
  EXPECT_NE(answer.find(
                Novelty("nao", "r", "250", "<div id=\"bar\"><b>50%</b></div>\n<div id=\"out\">half</div>\n")),
            std::string::npos)
      << answer;
}

TEST_F(UpdateTest, ReportWithoutAnAnswerLeavesTheElementWithTheCaller) {
  int deaths = 0;
  auto* element = new CountedElement(deaths);
  EXPECT_EQ(updates.add2LurvoUpdateResponse("r", "x", element), 0);
  EXPECT_EQ(deaths, 0);
  delete element;
}

TEST_F(UpdateTest, ReportWithoutAScenarioIsPrintedAndDeleted) {
  int deaths = 0;
  auto request = hktest::UpdatePoll("s1", "r");
  updates.lurvoUpdateResponse(*request, "reference");
  updates.add2LurvoUpdateResponse("r", "x", new CountedElement(deaths));
  EXPECT_EQ(deaths, 1);
  EXPECT_NE(updates.getBufferLurvoUpdateResponse("r").find("<div id=\"x\"><span>42</span></div>\n"),
            std::string::npos);
  EXPECT_EQ(updates.getBufferLurvoUpdateResponse("r"), "");
}

TEST_F(UpdateTest, ThrowingUpdateFunctionReleasesTheLockAndKeepsTheHalfAnswer) {
  updates.registerReference("sc", "r", [](const std::string&) -> long { throw std::runtime_error("boom"); });
  auto request = hktest::UpdatePoll("s1", "r");
  HKXResponseHeader response(HK_SCHEME_ANSWER, false, HK_PROTO_HTTP);
  EXPECT_THROW(session.manageRequest(*request, response, "lurvoupdate"), std::runtime_error);
  EXPECT_EQ(updates.countResponses(), 1u);
  // The lock is free again, and the next exchange replaces the half answer.
  updates.registerReference("sc", "r", [](const std::string&) { return 0L; });
  EXPECT_NE(Poll("r").find(Novelty("sim", "r", "500")), std::string::npos);
  EXPECT_EQ(updates.countResponses(), 0u);
}

TEST_F(UpdateTest, EmptyUpdateFunctionIsABadFunctionCall) {
  updates.registerReference("sc", "r", HKLurvoUpdateFunction());
  EXPECT_THROW(updates.doResponse("r"), std::bad_function_call);
}

TEST_F(UpdateTest, DoResponseOfAnUnknownReferenceIsMinusTwo) { EXPECT_EQ(updates.doResponse("ghost"), -2); }

TEST_F(UpdateTest, ReleasedReferenceIsNoLongerValid) {
  updates.registerReference("sc", "r", [](const std::string&) { return 5L; });
  updates.releaseReference("r");
  EXPECT_FALSE(updates.lurvoUpdateResponseValid("r"));
}

TEST_F(UpdateTest, RepeatWithoutAnAnswerDoesNothing) {
  updates.registerReference("sc", "r", [](const std::string&) { return 5L; });
  updates.repeatLurvoUpdateResponse("r", 0);
  EXPECT_TRUE(updates.hasReference("r"));
}

namespace {

// A scenario whose id the test chooses, and which counts its destruction.
class NamedScenario : public HKScenario {
 public:
  NamedScenario(HKHTMLKontextN& context, HKLurvoUpdateManager& manager, const std::string& id, int& deaths)
      : HKScenario(context, manager), _deaths(deaths) {
    _jobID = id;
  }
  ~NamedScenario() override { ++_deaths; }

 private:
  int& _deaths;
};

}  // namespace

TEST_F(UpdateTest, ScenarioRegisteredTwiceUnderOneIdDeletesTheFirst) {
  int& deaths = scenarioDeaths;
  EXPECT_EQ(updates.addScenario(new NamedScenario(session, updates, "same", deaths)), "same");
  EXPECT_EQ(updates.addScenario(new NamedScenario(session, updates, "same", deaths)), "same");
  EXPECT_EQ(deaths, 1);
  EXPECT_EQ(updates.countScenarios(), 1u);
  EXPECT_EQ(updates.addScenario(nullptr), "");
}

TEST_F(UpdateTest, ReproduceOfAnUnknownScenarioIsFalse) {
  auto request = hktest::Get("/");
  HKXResponseHeader response(HK_SCHEME_ANSWER, false, HK_PROTO_HTTP);
  EXPECT_FALSE(updates.reproduceScenario("ghost", *request, response, ""));
  int& deaths = scenarioDeaths;
  std::string id = updates.addScenario(new NamedScenario(session, updates, "sc", deaths));
  EXPECT_FALSE(updates.reproduceScenario(id, *request, response, ""));
}
