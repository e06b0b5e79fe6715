// Session contexts: construction, the command map and dispatch, templates,
// tying a document to its session, POST forms for elements, coloured titles.
#include <toviktwo/application/hkhtmlkontextn.h>

#include <gtest/gtest.h>

#include <toviktwo/foundation/hkexception.h>

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

HKXResponseHeader NewResponse() { return HKXResponseHeader(HK_SCHEME_ANSWER, false, HK_PROTO_HTTP); }

}  // namespace

TEST(HKHTMLKontextN, NullApplicationIsRefused) {
  std::map<std::string, std::string> params;
  try {
    HKHTMLKontextN context(nullptr, "x", 0, "", params);
    FAIL() << "no exception";
  } catch (const HKException& e) {
    EXPECT_STREQ(e.what(), "App must be defined, but is nullptr");
  }
}

TEST(HKHTMLKontextN, CommandMapHoldsRootAndWidgetHandlerAfterConstruction) {
  TestApplication app;
  TestSession session(&app, "s1");
  auto& commands = session._GetCommandMap();
  ASSERT_EQ(commands.size(), 2u);
  EXPECT_EQ(commands.count("/"), 1u);
  EXPECT_EQ(commands.count("/tovikwidget.handler"), 1u);
}

TEST(HKHTMLKontextN, EmptyMainIdGivesEmptyMainContextID) {
  TestApplication app;
  auto* session = new TestSession(&app, "");
  EXPECT_EQ(session->getMainContextID(), "");
  EXPECT_TRUE(session->getContextIDs().empty());
  EXPECT_EQ(app.insertNewContext(session), session);
  EXPECT_TRUE(app.checkContext(""));
}

TEST(HKHTMLKontextN, MainContextIDIsTheFirstIdWithMarkZero) {
  TestApplication app;
  TestSession session(&app, "b");
  session.SetMainContextID("a");
  session.SetMainContextID("");
  EXPECT_EQ(session.getMainContextID(), "a");
  EXPECT_EQ(session.getContextIDs(), (std::map<std::string, int>{{"a", 0}, {"b", 0}}));
}

TEST(HKHTMLKontextN, StartPageWithNewCommandPrintsTheDocument) {
  TestApplication app;
  TestSession session(&app, "s1");
  auto request = hktest::Get("/");
  HKXResponseHeader response = NewResponse();
  session.manageRequest(*request, response, "&new");
  EXPECT_EQ(response.statusCode(), 200u);
  EXPECT_EQ(hktest::Body(response), session.getTheDocument()->GetBuffer());
  EXPECT_NE(hktest::Body(response).find("<button id=\"b1\""), std::string::npos);
}

TEST(HKHTMLKontextN, ReloadWithIdPrintsThePageWithAllWidgetChanges) {
  TestApplication app;
  TestSession session(&app, "s1");
  std::map<std::string, std::string> options;
  session.getWidgetManager().AddWidgetObject(
      "out", session, "onclick", [](std::string, HKXHeader&) { return std::string(); }, options);
  session.getWidgetManager().ChangeWidgetHTML("out", "changed on the server");
  auto request = hktest::Get("/?tovikid=s1");
  HKXResponseHeader response = NewResponse();
  session.manageRequest(*request, response, "");
  EXPECT_NE(hktest::Body(response).find(">changed on the server</p>"), std::string::npos);
}

TEST(HKHTMLKontextN, UnknownPathLeavesTheResponseAt500) {
  TestApplication app;
  TestSession session(&app, "s1");
  auto request = hktest::Get("/nothing.here");
  HKXResponseHeader response = NewResponse();
  session.manageRequest(*request, response, "");
  EXPECT_EQ(response.statusCode(), 500u);
  EXPECT_EQ(hktest::Body(response), "");
}

TEST(HKHTMLKontextN, ResetPathIsUsedInsteadOfTheRequestPath) {
  TestApplication app;
  TestSession session(&app, "s1");
  std::string called;
  session._GetCommandMap()["/x"] = [&](HKXHeader&, HKXResponseHeader& r, const std::string& c) {
    called = "x " + c;
    r.setHTTPResponse200("x");
  };
  auto request = hktest::Get("/");
  request->setResetURLPath("/x");
  HKXResponseHeader response = NewResponse();
  session.manageRequest(*request, response, "cmd");
  EXPECT_EQ(called, "x cmd");
  EXPECT_EQ(hktest::Body(response), "x");
}

TEST(HKHTMLKontextN, EmptyCommandFunctionIsABadFunctionCall) {
  TestApplication app;
  TestSession session(&app, "s1");
  session._GetCommandMap()["/empty"] = HKKontextCommand();
  auto request = hktest::Get("/empty");
  HKXResponseHeader response = NewResponse();
  EXPECT_THROW(session.manageRequest(*request, response, ""), std::bad_function_call);
}

TEST(HKHTMLKontextN, WidgetPathGoesToTheWidgetManager) {
  TestApplication app;
  TestSession session(&app, "s1");
  auto request = hktest::WidgetClick("s1", "ghost");
  HKXResponseHeader response = NewResponse();
  testing::internal::CaptureStdout();
  session.manageRequest(*request, response, "");
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(hktest::Body(response),
            "// TovikWidget handler\n// a handler for ghost/onclick was not found.\n");
}

TEST(HKHTMLKontextN, TemplateFromStoredPagesIsReadWithItsVariablesExpanded) {
  TestApplication app;
  app.GetAppstorage().SetStringVariable("x", "42");
  TestSession session(&app, "s1", "<html><body><p id=\"only\">[[x]]</p><p id=\"unknown\">[[y]]</p></body></html>");
  app.GetAppstorage().RemoveStringVariable("x");
  EXPECT_EQ(Printed(session.getTheDocument()->FindObject("id", "only")), "<p id=\"only\">42</p>");
  EXPECT_EQ(Printed(session.getTheDocument()->FindObject("id", "unknown")), "<p id=\"unknown\"></p>");
}

TEST(HKHTMLKontextN, TemplateFromFileUnderStartpathIsReadAndStartpathIsCreatedWhenMissing) {
  TestApplication app;
  TestSession session(&app, "s1");
  std::map<std::string, HKStringStorage> none;
  (*session.getExtendedParams())["startpath"] = TOVIK_TEST_DATA_DIR;
  ASSERT_TRUE(session._loadDocumentTemplate("session_page.html", none));
  EXPECT_NE(session.getTheDocument()->FindObject("id", "greeting"), nullptr);
  session.getExtendedParams()->clear();
  session._loadDocumentTemplate("session_page.html", none);
  EXPECT_EQ(session.getExtendedParams()->count("startpath"), 1u);
}

TEST(HKHTMLKontextN, UnreadableTemplateGivesFalseAndAnEmptyDocument) {
  TestApplication app;
  TestSession session(&app, "s1");
  std::map<std::string, HKStringStorage> none;
  (*session.getExtendedParams())["startpath"] = TOVIK_TEST_DATA_DIR;
  EXPECT_FALSE(session._loadDocumentTemplate("no_such_page.html", none));
  ASSERT_NE(session.getTheDocument(), nullptr);
  EXPECT_EQ(session.getTheDocument()->GetBuffer(), "");
}

TEST(HKHTMLKontextN, InsertFormTovikidAddsScriptAndFieldsToEveryForm) {
  TestApplication app;
  TestSession session(
      &app, "s1",
      "<html><head></head><body><form id=\"a\"><input name=\"tovikid\" value=\"old\" /></form>"
      "<div><form id=\"b\"></form></div></body></html>");
  session.insertFormTovikid("s1");
  HKHTML_Document2* doc = session.getTheDocument();
  EXPECT_EQ(Printed(doc->Html()->theHead()->Children().back()),
            "<script type=\"text/javascript\">\n<!--\ntovikid=\"s1\";\n//-->\n</script>");
  EXPECT_EQ(Printed(doc->FindObject("id", "a")),
            "<form id=\"a\"><input name=\"tovikid\" value=\"s1\" />\n"
            "<input name=\"tovikgeometry\" type=\"hidden\" value=\"empty\" />\n</form>");
  EXPECT_EQ(Printed(doc->FindObject("id", "b")),
            "<form id=\"b\"><input name=\"tovikid\" type=\"hidden\" value=\"s1\" />\n"
            "<input name=\"tovikgeometry\" type=\"hidden\" value=\"empty\" />\n</form>");
}

TEST(HKHTMLKontextN, PageWithoutFormsGetsOnlyTheScriptAndTheWidgetFormCarriesTheId) {
  TestApplication app;
  TestSession session(&app, "s1", "<html><head></head><body><p id=\"p\">x</p></body></html>");
  session.insertFormTovikid("s1");
  std::list<HKXMLGenericElement*> forms;
  session.getTheDocument()->findObjects("form", forms, -1);
  EXPECT_TRUE(forms.empty());
  std::map<std::string, std::string> options;
  session.getWidgetManager().AddWidgetObject(
      "p", session, "onclick", [](std::string, HKXHeader&) { return std::string(); }, options);
  std::string page = session._getBuffer();
  EXPECT_NE(page.find("tovikid=\"s1\";"), std::string::npos);
  EXPECT_NE(page.find("<input name=\"tovikid\" type=\"hidden\" value=\"s1\" />"), std::string::npos);
}

TEST(HKHTMLKontextN, InsertFormTovikidWithoutDocumentThrows) {
  TestApplication app;
  TestSession session(&app, "s1");
  session._setDocument(nullptr);
  try {
    session.insertFormTovikid("s1");
    FAIL() << "no exception";
  } catch (const HKException& e) {
    EXPECT_STREQ(e.what(), "the document can't be a nullptr");
  }
  EXPECT_EQ(session._getBuffer(), "");
}

TEST(HKHTMLKontextN, ConnectElementMethodPostAddsAFormAndAnOnclickWhateverTheEvent) {
  TestApplication app;
  TestSession session(&app, "s1");
  EXPECT_TRUE(session._connect_element_method_POST("b1", HK_EVENT_ONCHANGE));
  HKHTML_Document2* doc = session.getTheDocument();
  EXPECT_EQ(doc->FindObject("name", "b1")->getAttributeText("onclick", ""),
            "javascript:document.forms['formcommand0'].submit();");
  EXPECT_EQ(Printed(doc->FindObject("id", "formcommand0")),
            "<form action=\"b1\" id=\"formcommand0\" method=\"POST\">"
            "<input name=\"tovikid\" type=\"hidden\" value=\"s1\" />\n</form>");
  EXPECT_TRUE(session._connect_element_method_POST("b1", HK_EVENT_ONCLICK));
  EXPECT_NE(doc->FindObject("id", "formcommand1"), nullptr);
}

TEST(HKHTMLKontextN, ConnectElementMethodPostForAMissingElementLeavesTheCounter) {
  TestApplication app;
  TestSession session(&app, "s1");
  EXPECT_FALSE(session._connect_element_method_POST("ghost", HK_EVENT_ONCLICK));
  EXPECT_TRUE(session._connect_element_method_POST("b1", HK_EVENT_ONCLICK));
  EXPECT_NE(session.getTheDocument()->FindObject("id", "formcommand0"), nullptr);
}

TEST(HKHTMLKontextN, ColourTextRotatesFourColoursPerByte) {
  TestApplication app;
  TestSession session(&app, "s1");
  auto span = [](const char* colour, const char* text) {
    return std::string("<span style=\"color : #") + colour + "; font-style : oblique;\">" + text +
           "</span>\n";
  };
  EXPECT_EQ(session._tovikColorText("a <b"),
            span("083cc1", "a") + span("045c1e", "&nbsp;") + span("ad6d14", "&lt;") + span("7b3b81", "b"));
  EXPECT_EQ(session._tovikColorText("abcde").substr(span("083cc1", "a").size() * 4), span("083cc1", "e"));
  EXPECT_EQ(session._tovikColorText(""), "");
}

TEST(HKHTMLKontextN, ColourTextCutsMultibyteCharactersIntoBytes) {
  TestApplication app;
  TestSession session(&app, "s1");
  std::string text = session._tovikColorText("\xC3\xBC");  // one character, two bytes
  EXPECT_EQ(text,
            "<span style=\"color : #083cc1; font-style : oblique;\">\xC3</span>\n"
            "<span style=\"color : #045c1e; font-style : oblique;\">\xBC</span>\n");
}

TEST(HKHTMLKontextN, BodyAndHeadAreThoseOfTheDocument) {
  TestApplication app;
  TestSession session(&app, "s1");
  EXPECT_EQ(session._hk_kontextbody(), session.getTheDocument()->Html()->theBody());
  EXPECT_EQ(session._hk_kontexthead(), session.getTheDocument()->Html()->theHead());
  EXPECT_EQ(&session.getScheduler(), &app.getScheduler());
}

TEST(HKHTML_CommandFormN1, IsAPostFormWithTheSessionField) {
  HKHTML_CommandFormN1 form("f", "/go", "id*1", "ignored");
  EXPECT_EQ(
      Printed(&form),
      "<form action=\"/go\" id=\"f\" method=\"POST\"><input name=\"tovikid\" type=\"hidden\" value=\"id*1\" "
      "/>\n</form>");
}

TEST(HKHTMLReloadPost, SessionFillsTheReloadFormAndTheScriptPressesItsButton) {
  TestApplication app;
  TestSession session(&app, "s1");
  session.getTheDocument()->AddToBody(new HKHTMLReloadPost("/", "reload"));
  session.insertFormTovikid("s1");
  std::list<HKXMLGenericElement*> ids;
  session.getTheDocument()->FindObjects("name", "tovikid", ids);
  ASSERT_FALSE(ids.empty());
  for (HKXMLGenericElement* field : ids) EXPECT_EQ(field->getAttributeText("value", ""), "s1");
  EXPECT_EQ(HKReloadPostJS(), "document.getElementById(\"tovikreloadbutton\").click();\n");
}
