// Modal widgets of the widget manager: cover and envelope, their scripts,
// stacking, and removal.
#include <toviktwo/application/hkwidgetmanager.h>

#include <gtest/gtest.h>

#include "support/hktestrequests.h"
#include "support/hktestsession.h"

using hktest::TestApplication;
using hktest::TestSession;

namespace {

class ModalTest : public ::testing::Test {
 protected:
  TestApplication app;
  TestSession session{&app, "s1"};
  HKWidgetManager& widgets = session.getWidgetManager();

  HKHTML_div2* Dialog(const std::string& id) {
    auto* dialog = new HKHTML_div2(id);
    dialog->PushBackChildElement(new HKHTML_text2("Sure?"));
    return dialog;
  }
};

// The style texts are those of the style attribute, which prints its
// declarations sorted and in its own spacing.
const char* const kFirstModalScript =
    "{\nvar newelem = document.createElement('div');\n"
    "newelem.setAttribute('id','modallock1000');\n"
    "newelem.setAttribute('style','background-color: green;height: 100%;left: 0;opacity: 0.8;"
    "position: fixed;top: 0;width: 100%;z-index: 1000;');\n"
    "newelem.innerHTML=\"\";\n"
    "document.appendChild(newelem);\n }"
    "{\nvar newelem = document.createElement('div');\n"
    "newelem.setAttribute('id','modalenvelope1001');\n"
    "newelem.setAttribute('style','left: 50%;position: fixed;top: 50%;transform: translate(-50%, -50%);"
    "z-index: 1001;');\n"
    "newelem.innerHTML=\"<div id=\\\"dlg\\\">Sure?</div>\";\n"
    "document.appendChild(newelem);\n }";

}  // namespace

TEST_F(ModalTest, ModalScriptAddsCoverThenEnvelopeHoldingTheElement) {
  EXPECT_EQ(widgets.AddModalWidget("dlg", Dialog("dlg"), session), kFirstModalScript);
  HKHTML_Document2* doc = session.getTheDocument();
  HKXMLGenericElement* envelope = doc->FindObject("id", "modalenvelope1001");
  ASSERT_NE(envelope, nullptr);
  EXPECT_EQ(doc->FindObject("id", "dlg")->getParent(), envelope);
  EXPECT_EQ(envelope->getParent(), doc->Html()->theBody());
  EXPECT_NE(doc->FindObject("id", "modallock1000"), nullptr);
  EXPECT_EQ(widgets.ModalDepth(), 1u);
  EXPECT_EQ(widgets.Handlers().at("dlg").name, "dlg");
  EXPECT_TRUE(widgets.Handlers().at("dlg").actions.empty());
}

TEST_F(ModalTest, StackedModalsGetZIndicesFiveApart) {
  widgets.AddModalWidget("one", Dialog("one"), session);
  std::string second = widgets.AddModalWidget("two", Dialog("two"), session);
  EXPECT_NE(second.find("'modallock1005'"), std::string::npos);
  EXPECT_NE(second.find("z-index: 1005;"), std::string::npos);
  EXPECT_NE(second.find("'modalenvelope1006'"), std::string::npos);
  EXPECT_NE(second.find("z-index: 1006;"), std::string::npos);
  std::string third = widgets.AddModalWidget("three", Dialog("three"), session);
  EXPECT_NE(third.find("'modallock1010'"), std::string::npos);
}

TEST_F(ModalTest, RemovingOutOfOrderPopsTheStackAllTheSame) {
  widgets.AddModalWidget("one", Dialog("one"), session);
  widgets.AddModalWidget("two", Dialog("two"), session);
  testing::internal::CaptureStdout();
  widgets.RemoveWidgetObject("one", session);
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(widgets.ModalDepth(), 1u);
  // The next modal takes the place the size gives: 1005 again.
  std::string next = widgets.AddModalWidget("three", Dialog("three"), session);
  EXPECT_NE(next.find("'modallock1005'"), std::string::npos);
}

TEST_F(ModalTest, RemovingAModalRemovesElementCoverAndEnvelope) {
  widgets.AddModalWidget("dlg", Dialog("dlg"), session);
  testing::internal::CaptureStdout();
  std::string script = widgets.RemoveWidgetObject("dlg", session);
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(
      script,
      "{\nvar elem = document.getElementById(\"dlg\");\nelem.parentElement.removeChild(elem);\n}\n"
      "{\nvar elem = document.getElementById(\"modallock1000\");\nelem.parentElement.removeChild(elem);\n}\n"
      "{\nvar elem = "
      "document.getElementById(\"modalenvelope1001\");\nelem.parentElement.removeChild(elem);\n}\n");
  HKHTML_Document2* doc = session.getTheDocument();
  EXPECT_EQ(doc->FindObject("id", "dlg"), nullptr);
  EXPECT_EQ(doc->FindObject("id", "modallock1000"), nullptr);
  EXPECT_EQ(doc->FindObject("id", "modalenvelope1001"), nullptr);
  EXPECT_EQ(widgets.ModalDepth(), 0u);
  EXPECT_TRUE(widgets.Handlers().empty());
}

TEST_F(ModalTest, ButtonInsideAModalIsRegisteredAfterwardsAndCanCloseIt) {
  HKHTML_div2* dialog = Dialog("dlg");
  auto* close = new HKHTML_button2();
  close->setID("close");
  dialog->PushBackChildElement(close);
  widgets.AddModalWidget("dlg", dialog, session);
  std::map<std::string, std::string> options;
  std::string hook = widgets.AddWidgetObject(
      "close", session, "onclick",
      [this](std::string, HKXHeader&) { return widgets.RemoveWidgetObject("dlg", session); }, options);
  EXPECT_NE(hook, "");
  auto request = std::make_unique<HKXHeader>(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  request->getDataBuffer()->stringput("GET /?tovikaction=onclick&tovikactionelement=close HTTP/1.1\r\n\r\n");
  ASSERT_EQ(request->parseInputData2([](HKXHeader&) { return true; }), 2);
  request->parseContent2();
  HKXResponseHeader response(HK_SCHEME_ANSWER, false, HK_PROTO_HTTP);
  testing::internal::CaptureStdout();
  widgets.RequestWidget(*request, response);
  testing::internal::GetCapturedStdout();
  EXPECT_NE(hktest::Body(response).find("getElementById(\"modalenvelope1001\")"), std::string::npos);
  EXPECT_EQ(session.getTheDocument()->FindObject("id", "close"), nullptr);
  EXPECT_TRUE(widgets.Handlers().empty());
}

TEST_F(ModalTest, EmptyIdOrNullElementDoesNothing) {
  EXPECT_EQ(widgets.AddModalWidget("", Dialog("x"), session), "");
  EXPECT_EQ(widgets.AddModalWidget("x", nullptr, session), "");
  EXPECT_EQ(widgets.ModalDepth(), 0u);
}
