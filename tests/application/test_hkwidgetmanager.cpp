// The widget manager: the script and form it puts into a page, registration
// and the hook texts, modal widgets, removal, changes, and answering a
// posted widget form.
#include <toviktwo/application/hkwidgetmanager.h>

#include <gtest/gtest.h>

#include "support/hktestrequests.h"
#include "support/hktestsession.h"

using hktest::TestApplication;
using hktest::TestSession;

namespace {

std::string Printed(HKXMLComplexElement* element) {
  std::ostringstream out;
  element->print(out);
  return out.str();
}

class WidgetManagerTest : public ::testing::Test {
 protected:
  TestApplication app;
  TestSession session{&app, "s1"};
  HKWidgetManager& widgets = session.getWidgetManager();
  std::map<std::string, std::string> options;

  HKWidgetFunction Answer(const std::string& text) {
    return [text](std::string, HKXHeader&) { return text; };
  }
  std::string Post(const std::string& element, const std::string& action = "onclick") {
    auto request = hktest::WidgetClick("s1", element, action);
    HKXResponseHeader response(HK_SCHEME_ANSWER, false, HK_PROTO_HTTP);
    widgets.RequestWidget(*request, response);
    EXPECT_EQ(response.statusCode(), 200u);
    return hktest::Body(response);
  }
};

}  // namespace

TEST_F(WidgetManagerTest, FirstRegistrationInsertsScriptInHeadAndFormAtEndOfBody) {
  widgets.AddWidgetObject("b1", session, "onclick", Answer(""), options);
  HKHTML_Document2* doc = session.getTheDocument();
  HKXMLGenericElement* script = doc->FindObject("id", "tovikwidget");
  ASSERT_NE(script, nullptr);
  EXPECT_EQ(script->getParent(), doc->Html()->theHead());
  EXPECT_EQ(script->GetTypeName(), "script");
  HKXMLComplexElement* last = doc->Html()->theBody()->Children().back();
  EXPECT_EQ(Printed(last), HKWidgetManager::WidgetFormText("s1"));
  EXPECT_EQ(widgets.ContextID(), "s1");
}

TEST_F(WidgetManagerTest, WidgetFormHasTheExactFieldsOfTheProtocol) {
  EXPECT_EQ(
      HKWidgetManager::WidgetFormText("id*1"),
      "<form action=\"tovikwidget.handler\" id=\"tovikwidgetform\" method=\"post\" "
      "enctype=\"multipart/form-data\" onsubmit=\"return false\">\n"
      "<input name=\"tovikid\" type=\"hidden\" value=\"id*1\" />\n"
      "<input id=\"tovikactionfrm\" name=\"tovikaction\" type=\"hidden\" value=\"none\" />\n"
      "<input id=\"tovikactionelementfrm\" name=\"tovikactionelement\" type=\"hidden\" value=\"none\" />\n"
      "<input id=\"tovikactionparam1frm\" name=\"tovikactionparam1\" type=\"hidden\" value=\"none\" />\n"
      "</form>\n");
}

TEST_F(WidgetManagerTest, ScriptStartsWithTheAppendGuardAheadOfItsFourFunctions) {
  const std::string& script = HKWidgetManager::kWidgetScript;
  const size_t guard = script.find("document.appendChild = function (elem)");
  const size_t p1 = script.find("function tovikwidgethandlerP1(theobject, theaction, param1)");
  const size_t handler = script.find("function tovikwidgethandler(theobject, theaction)");
  const size_t success = script.find("function tovikwidgetsuccess()");
  const size_t submit = script.find("function toviksubmit(theform)");
  ASSERT_NE(guard, std::string::npos);
  EXPECT_LT(guard, p1);
  EXPECT_LT(p1, handler);
  EXPECT_LT(handler, success);
  EXPECT_LT(success, submit);
  EXPECT_NE(script.find("tovikwidgethandlerP1(theobject, theaction, \"none\");"), std::string::npos);
  EXPECT_NE(script.find("if (tovikat < 0 || tovikat > 10) eval(tovikanswer);"), std::string::npos);
  EXPECT_NE(script.find("tovikrequest.send(new FormData(theform));"), std::string::npos);
}

TEST_F(WidgetManagerTest, ScriptIsInsertedOnceForOneDocument) {
  widgets.AddWidgetObject("b1", session, "onclick", Answer(""), options);
  widgets.AddWidgetObject("out", session, "onclick", Answer(""), options);
  std::list<HKXMLGenericElement*> scripts;
  session.getTheDocument()->FindObjects("id", "tovikwidget", scripts);
  EXPECT_EQ(scripts.size(), 1u);
}

TEST_F(WidgetManagerTest, RegistrationReturnsTheHookScriptAndSetsTheHookAttribute) {
  EXPECT_EQ(widgets.AddWidgetObject("b1", session, "onclick", Answer(""), options),
            "document.getElementById(\"b1\").setAttribute(\"onclick\",\"tovikwidgethandler(this, "
            "'onclick');\");\n");
  HKXMLGenericElement* button = session.getTheDocument()->FindObject("id", "b1");
  EXPECT_EQ(button->getAttributeText("onclick", ""), "tovikwidgethandler(this, 'onclick');");
  EXPECT_EQ(button->GetWidgetManager(), &widgets);
}

TEST_F(WidgetManagerTest, TwoActionsLiveInOneSetAndASecondRegistrationReplacesTheFunction) {
  widgets.AddWidgetObject("b1", session, "onclick", Answer("a();"), options);
  widgets.AddWidgetObject("b1", session, "onmouseover", Answer("b();"), options);
  std::string again = widgets.AddWidgetObject("b1", session, "onclick", Answer("c();"), options);
  EXPECT_EQ(again,
            "document.getElementById(\"b1\").setAttribute(\"onclick\",\"tovikwidgethandler(this, "
            "'onclick');\");\n");
  ASSERT_EQ(widgets.Handlers().size(), 1u);
  EXPECT_EQ(widgets.Handlers().at("b1").actions.size(), 2u);
  EXPECT_EQ(Post("b1"), "// TovikWidget handler\nc();");
  EXPECT_EQ(Post("b1", "onmouseover"), "// TovikWidget handler\nb();");
}

TEST_F(WidgetManagerTest, RegistrationForAnIdNotInTheDocumentRegistersNothing) {
  EXPECT_EQ(widgets.AddWidgetObject("nosuch", session, "onclick", Answer(""), options), "");
  EXPECT_TRUE(widgets.Handlers().empty());
}

TEST_F(WidgetManagerTest, SilentRegistrationAddsNoHookAndMarksTheCallersOptions) {
  EXPECT_EQ(widgets.AddWidgetObjectSilent("b1", session, "onclick", Answer("x();"), options), "");
  EXPECT_EQ(options.at("silent"), "true");
  EXPECT_EQ(session.getTheDocument()->FindObject("id", "b1")->getAttributeText("onclick", "none"), "none");
  EXPECT_EQ(Post("b1"), "// TovikWidget handler\nx();");
}

TEST_F(WidgetManagerTest, UnknownElementIsAnsweredWithTheNotFoundComment) {
  EXPECT_EQ(Post("ghost"), "// TovikWidget handler\n// a handler for ghost/onclick was not found.\n");
}

TEST_F(WidgetManagerTest, MissingFieldsDefaultToNix) {
  widgets.AddWidgetObject("b1", session, "onclick", Answer("x();"), options);
  auto request = hktest::FormPost("/tovikwidget.handler", {{"tovikid", "s1"}});
  HKXResponseHeader response(HK_SCHEME_ANSWER, false, HK_PROTO_HTTP);
  testing::internal::CaptureStdout();
  widgets.RequestWidget(*request, response);
  std::string out = testing::internal::GetCapturedStdout();
  EXPECT_EQ(hktest::Body(response), "// TovikWidget handler\n// a handler for nix/nix was not found.\n");
  EXPECT_EQ(out, "content: nix\ncontent1: nix\ncontent2: nix\n");
}

TEST_F(WidgetManagerTest, HandlerGetsTheElementIdAndReadsParam1ItselfFromTheRequest) {
  std::string seenID, seenParam;
  widgets.AddWidgetObject(
      "b1", session, "onclick",
      [&](std::string id, HKXHeader& header) {
        seenID = id;
        header.getFormString("tovikactionparam1", seenParam);
        return std::string();
      },
      options);
  auto request = hktest::WidgetClick("s1", "b1", "onclick", "42");
  HKXResponseHeader response(HK_SCHEME_ANSWER, false, HK_PROTO_HTTP);
  widgets.RequestWidget(*request, response);
  EXPECT_EQ(seenID, "b1");
  EXPECT_EQ(seenParam, "42");
}

TEST_F(WidgetManagerTest, RegisteredEmptyFunctionIsABadFunctionCall) {
  widgets.AddWidgetObject("b1", session, "onclick", HKWidgetFunction(), options);
  auto request = hktest::WidgetClick("s1", "b1");
  HKXResponseHeader response(HK_SCHEME_ANSWER, false, HK_PROTO_HTTP);
  EXPECT_THROW(widgets.RequestWidget(*request, response), std::bad_function_call);
}

TEST_F(WidgetManagerTest, ChangeWidgetAttributeChangesDocumentAndReturnsScript) {
  widgets.AddWidgetObject("out", session, "onclick", Answer(""), options);
  EXPECT_EQ(widgets.ChangeWidgetAttribute("out", "class", "done"),
            "document.getElementById(\"out\").setAttribute(\"class\",\"done\");\n");
  EXPECT_EQ(session.getTheDocument()->FindObject("id", "out")->getAttributeText("class", ""), "done");
  EXPECT_EQ(widgets.ChangeWidgetAttribute("unregistered", "class", "x"), "");
}

TEST_F(WidgetManagerTest, ChangeWidgetHTMLReplacesTheContent) {
  widgets.AddWidgetObject("out", session, "onclick", Answer(""), options);
  EXPECT_EQ(widgets.ChangeWidgetHTML("out", "<b>new</b>"),
            "document.getElementById(\"out\").innerHTML=\"<b>new</b>\";\n");
  EXPECT_EQ(Printed(session.getTheDocument()->FindObject("id", "out")),
            "<p id=\"out\" onclick=\"tovikwidgethandler(this, 'onclick');\"><b>new</b></p>");
  EXPECT_EQ(widgets.ChangeWidgetHTML("unregistered", "x"), "");
}

TEST_F(WidgetManagerTest, ChangeWidgetHTMLWithALineEndGivesAStatementSplitInsideItsString) {
  widgets.AddWidgetObject("out", session, "onclick", Answer(""), options);
  // The line end stands unescaped inside the string literal: not valid script.
  EXPECT_EQ(widgets.ChangeWidgetHTML("out", "a\nb"),
            "document.getElementById(\"out\").innerHTML=\"a\nb\";\n");
}

TEST_F(WidgetManagerTest, RemoveActionClearsTheHookButTheFunctionStillServes) {
  widgets.AddWidgetObject("b1", session, "onclick", Answer("x();"), options);
  EXPECT_EQ(widgets.RemoveActionWidgetObject("b1", "onclick"),
            "document.getElementById(\"b1\").setAttribute(\"onclick\",\"\");\n");
  EXPECT_EQ(session.getTheDocument()->FindObject("id", "b1")->getAttributeText("onclick", "none"), "");
  EXPECT_EQ(Post("b1"), "// TovikWidget handler\nx();");
  EXPECT_EQ(widgets.RemoveActionWidgetObject("b1", "onchange"), "");
}

TEST_F(WidgetManagerTest, RemoveWidgetObjectRemovesTheWholeElementFromDocument) {
  widgets.AddWidgetObject("b1", session, "onclick", Answer(""), options);
  testing::internal::CaptureStdout();
  std::string script = widgets.RemoveWidgetObject("b1", session);
  std::string out = testing::internal::GetCapturedStdout();
  EXPECT_EQ(script,
            "{\nvar elem = document.getElementById(\"b1\");\nelem.parentElement.removeChild(elem);\n}\n");
  EXPECT_EQ(out, "ret: " + script + "\n");
  EXPECT_EQ(session.getTheDocument()->FindObject("id", "b1"), nullptr);
  EXPECT_TRUE(widgets.Handlers().empty());
  // Head and body stay: the empty cover and envelope ids remove nothing.
  EXPECT_NE(session.getTheDocument()->FindObject("id", "out"), nullptr);
  EXPECT_NE(session.getTheDocument()->FindObject("id", "tovikwidget"), nullptr);
}

TEST_F(WidgetManagerTest, RemoveWidgetObjectOfUnknownIdReturnsEmpty) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(widgets.RemoveWidgetObject("ghost", session), "");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "ret: \n");
}

TEST_F(WidgetManagerTest, RemoveWidgetObjectByElementForgetsItWithoutTouchingTheDocument) {
  widgets.AddWidgetObject("b1", session, "onclick", Answer(""), options);
  HKXMLGenericElement* button = session.getTheDocument()->FindObject("id", "b1");
  widgets.RemoveWidgetObject(button);
  EXPECT_TRUE(widgets.Handlers().empty());
  EXPECT_EQ(session.getTheDocument()->FindObject("id", "b1"), button);
}

TEST_F(WidgetManagerTest, ElementThatGoesAwayLeavesTheTable) {
  widgets.AddWidgetObject("b1", session, "onclick", Answer(""), options);
  session.getTheDocument()->Html()->theBody()->RemoveSubelement("id", "b1");
  EXPECT_TRUE(widgets.Handlers().empty());
}

TEST_F(WidgetManagerTest, NewDocumentGivesACleanManagerAtTheNextRegistration) {
  widgets.AddWidgetObject("b1", session, "onclick", Answer(""), options);
  session._setDocument(nullptr);  // the old page and its elements go
  EXPECT_TRUE(widgets.Handlers().empty());
  std::map<std::string, HKStringStorage> pages{
      {"p",
       HKStringStorage("p", HK_MIME_TYPE_TEXT_HTML, "<html><body><p id=\"x\">x</p></body></html>", false)}};
  ASSERT_TRUE(session._loadDocumentTemplate("p", pages));
  widgets.AddWidgetObject("x", session, "onclick", Answer(""), options);
  EXPECT_EQ(widgets.Document(), session.getTheDocument());
  EXPECT_NE(session.getTheDocument()->FindObject("id", "tovikwidget"), nullptr);
  EXPECT_EQ(widgets.Handlers().size(), 1u);
}

TEST_F(WidgetManagerTest, ClearForgetsRegistrationsAndUnhooksElements) {
  widgets.AddWidgetObject("b1", session, "onclick", Answer(""), options);
  widgets.clear();
  EXPECT_TRUE(widgets.Handlers().empty());
  EXPECT_EQ(session.getTheDocument()->FindObject("id", "b1")->GetWidgetManager(), nullptr);
}
