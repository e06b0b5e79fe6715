// The client script library texts: the script's length, first comment,
// globals and functions, and the empty style sheet. How the script behaves
// in a browser is pinned by tests/browser/client_library/.
#include <gtest/gtest.h>

#include <string>

#include <toviktwo/application/hkdhtml.h>

namespace {

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

}  // namespace

TEST(DHTMLLibrary, ScriptIs5743CharactersLong) { EXPECT_EQ(HKGetDHTML_JS().size(), 5743u); }

TEST(DHTMLLibrary, ScriptStartsWithTheLibraryComment) {
  EXPECT_EQ(HKGetDHTML_JS().rfind("/* DHTML-Bibliothek, TovikFrame 1.0 (v11)*/", 0), 0u);
}

TEST(DHTMLLibrary, StyleSheetIsEmpty) { EXPECT_EQ(HKGetDHTML_CSS(), ""); }

TEST(DHTMLLibrary, ScriptIsTheSameOnEveryCall) { EXPECT_EQ(HKGetDHTML_JS(), HKGetDHTML_JS()); }

TEST(DHTMLLibrary, BrowserMarksStartFalse) {
  EXPECT_TRUE(
      contains(HKGetDHTML_JS(), "var DHTML = false, DOM = false, MSIE4 = false, NS4 = false, OP = false;"));
}

TEST(DHTMLLibrary, ScriptElementAndHeadsStartAtZero) {
  EXPECT_TRUE(contains(HKGetDHTML_JS(), "var script_element = 0, heads = 0;"));
}

TEST(DHTMLLibrary, DragStateStartsEmpty) {
  const std::string js = HKGetDHTML_JS();
  EXPECT_TRUE(contains(js, "var tovik_object_to_drag = null;"));
  EXPECT_TRUE(contains(js, "var tovik_dragx = 0, tovik_dragy = 0, tovik_posx = 0, tovik_posy = 0;"));
}

TEST(DHTMLLibrary, MarksAreTestedInTheOrderGetElementByIdAllLayers) {
  const std::string js = HKGetDHTML_JS();
  const auto dom = js.find("if (document.getElementById)");
  const auto all = js.find("if (document.all)");
  const auto layers = js.find("if (document.layers)");
  const auto opera = js.find("if (window.opera)");
  ASSERT_NE(dom, std::string::npos);
  ASSERT_NE(all, std::string::npos);
  ASSERT_NE(layers, std::string::npos);
  ASSERT_NE(opera, std::string::npos);
  EXPECT_LT(dom, all);
  EXPECT_LT(all, layers);
  EXPECT_LT(layers, opera);
}

TEST(DHTMLLibrary, EveryFunctionIsDefinedWithItsParameters) {
  const std::string js = HKGetDHTML_JS();
  for (const char* signature :
       {"function getElement(Mode, Identifier, ElementNumber)",
        "function getAttribute(Mode, Identifier, ElementNumber, AttributeName)",
        "function setAttribute(Mode, Identifier, ElementNumber, AttributeName, AttributeValue)",
        "function getContent(Mode, Identifier, ElementNumber)",
        "function setContent(Mode, Identifier, ElementNumber, Text)", "function LoadJavaScript(file_url)",
        "function draginit()", "function tovik_start_drag(element)", "function tovik_dragstop()",
        "function tovik_drag(ereignis)"}) {
    EXPECT_TRUE(contains(js, signature)) << signature;
  }
}

TEST(DHTMLLibrary, ModesAreTheLowerCaseNames) {
  const std::string js = HKGetDHTML_JS();
  EXPECT_TRUE(contains(js, "String(Mode).toLowerCase()"));
  for (const char* mode : {"\"id\"", "\"name\"", "\"tagname\"", "\"layerindex\""}) {
    EXPECT_TRUE(contains(js, mode)) << mode;
  }
}

TEST(DHTMLLibrary, DragInitBindsMouseMoveAndMouseUp) {
  const std::string js = HKGetDHTML_JS();
  EXPECT_TRUE(contains(js, "document.onmousemove = tovik_drag;"));
  EXPECT_TRUE(contains(js, "document.onmouseup = tovik_dragstop;"));
}

TEST(DHTMLLibrary, DragInitRunsWhenTheScriptLoads) {
  const std::string js = HKGetDHTML_JS();
  EXPECT_EQ(js.substr(js.size() - 12), "draginit();\n");
}

TEST(DHTMLLibrary, StartDragMakesTheElementAbsolute) {
  EXPECT_TRUE(contains(HKGetDHTML_JS(), "element.style.position = \"absolute\";"));
}

TEST(DHTMLLibrary, DragMovesWithLeftAndTopInPixels) {
  const std::string js = HKGetDHTML_JS();
  EXPECT_TRUE(contains(js, ".style.left = (tovik_posx - tovik_dragx) + \"px\";"));
  EXPECT_TRUE(contains(js, ".style.top = (tovik_posy - tovik_dragy) + \"px\";"));
}

TEST(DHTMLLibrary, LoadJavaScriptAddsAScriptOfTypeTextJavascript) {
  EXPECT_TRUE(contains(HKGetDHTML_JS(), "script_element.type = \"text/javascript\";"));
}
