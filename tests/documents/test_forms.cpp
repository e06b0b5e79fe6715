// Forms and their controls.
#include <gtest/gtest.h>

#include <cstring>
#include <list>

#include "doc_test_util.h"

using doctest_util::Printed;

TEST(FormEdge, EmptyFormLeavesUnsetAttributesOut) {
  HKHTML_form2 form("", "");
  EXPECT_EQ(Printed(form), "<form></form>");
  HKHTML_form2 post("POST", "/go");
  EXPECT_EQ(Printed(post), "<form action=\"/go\" method=\"POST\"></form>");
}

TEST(FormEdge, InputPrintsShortWithAttributesInNameOrder) {
  HKHTML_input2_hidden hidden("h", "n", "v");
  EXPECT_EQ(Printed(hidden), "<input id=\"h\" name=\"n\" type=\"hidden\" value=\"v\" />");
  HKHTML_input2_text text("", "n", "");
  EXPECT_EQ(Printed(text), "<input name=\"n\" type=\"text\" value=\"\" />");
  HKHTML_input2_button button("", "ok", "OK");
  EXPECT_EQ(Printed(button), "<input name=\"ok\" type=\"submit\" value=\"OK\" />");
  HKHTML_input2 plain;
  EXPECT_EQ(Printed(plain), "<input />");
}

TEST(FormEdge, OptionNotSelectedPrintsNoSelected) {
  HKHTML_option2 option("1", "one", false);
  EXPECT_EQ(Printed(option), "<option value=\"1\">one</option>");
  option.setSelected(true);
  EXPECT_EQ(Printed(option), "<option selected=\"selected\" value=\"1\">one</option>");
  option.setSelected(false);
  EXPECT_EQ(Printed(option), "<option value=\"1\">one</option>");
}

TEST(FormEdge, TwoProgressObjectsGetDifferentIds) {
  HKProgress a("a", 1, 10);
  HKProgress b("b", 2, 10);
  EXPECT_NE(a.getID(), b.getID());
  EXPECT_EQ(a.getID().rfind("HKProgress_", 0), 0u);
  const unsigned long na = std::stoul(a.getID().substr(11));
  const unsigned long nb = std::stoul(b.getID().substr(11));
  EXPECT_EQ(nb, na + 1);
}

TEST(Form, ProgressPrintsBarThenLabel) {
  HKProgress progress("load", 2.5, 10);
  const std::string id = progress.getID();
  EXPECT_EQ(progress.GetBuffer(), "<progress id=\"" + id + "\" max=\"10\" value=\"2.5\"></progress><label for=\"" + id +
                                      "\">2.500000/10.000000</label>");
  progress.setMaxValue(4, 1);
  EXPECT_EQ(progress.GetBuffer(), "<progress id=\"" + id + "\" max=\"4\" value=\"1\"></progress><label for=\"" + id +
                                      "\">1.000000/4.000000</label>");
  EXPECT_EQ(progress.getName(), "load");
}

TEST(Form, ProgressElement) {
  HKHTML_progress2 p;
  EXPECT_EQ(Printed(p), "<progress></progress>");
  p.setMaxValue(100, 25);
  EXPECT_EQ(Printed(p), "<progress max=\"100\" value=\"25\"></progress>");
}

TEST(Form, FormOperations) {
  HKHTML_form2 form("GET", "/q");
  ASSERT_NE(form.input_hidden("h", "1"), nullptr);
  ASSERT_NE(form.input_button("b", "Go"), nullptr);
  HKHTML_select2* select = form.select("choice", "sel");
  ASSERT_NE(select, nullptr);
  HKHTML_option2* option = select->option("x", "X", true);
  ASSERT_NE(option, nullptr);
  select->option("y", "Y", false);
  EXPECT_EQ(Printed(form),
            "<form action=\"/q\" method=\"GET\"><input name=\"h\" type=\"hidden\" value=\"1\" />\n"
            "<input name=\"b\" type=\"submit\" value=\"Go\" />\n"
            "<select id=\"sel\" name=\"choice\"><option selected=\"selected\" value=\"x\">X</option>\n"
            "<option value=\"y\">Y</option>\n</select>\n</form>");
  EXPECT_NE(form.div("", false), nullptr);  // a block container
}

TEST(Form, FileAndSliderInputs) {
  HKHTML_input2_file file("f", "upload", ".csv");
  EXPECT_EQ(Printed(file), "<input accept=\".csv\" id=\"f\" name=\"upload\" type=\"file\" />");
  HKHTML_input2_slider slider("s", "level", 0.5, 0, 2);
  EXPECT_EQ(Printed(slider), "<input id=\"s\" max=\"2\" min=\"0\" name=\"level\" type=\"range\" value=\"0.500000\" />");
  slider.setValue(1.25);
  EXPECT_EQ(slider.value().str(), "1.250000");
}

TEST(Form, BlobCarriesData) {
  HKHTML_input2_blob blob("", "data", std::string("abc"));
  blob.append("def");
  const unsigned long numbers[2] = {1, 2};
  blob.append(numbers, 2);
  std::string out = ">";
  blob.appendToStringBuffer(out);
  ASSERT_EQ(out.size(), 1 + 6 + 2 * sizeof(unsigned long));
  EXPECT_EQ(out.substr(0, 7), ">abcdef");
  unsigned long back[2];
  std::memcpy(back, out.data() + 7, sizeof back);
  EXPECT_EQ(back[0], 1u);
  EXPECT_EQ(back[1], 2u);
  HKStringBuf buffer;
  blob.appendToStringBuffer(buffer);
  EXPECT_EQ(buffer.str(), blob.data());
  EXPECT_EQ(Printed(blob), "<input name=\"data\" type=\"blob\" value=\"\" />");
  HKHTML_input2_blob fromNumbers("", "n", numbers, 2);
  EXPECT_EQ(fromNumbers.data().size(), 2 * sizeof(unsigned long));
}

TEST(Form, ReloadPost) {
  HKHTMLReloadPost form("/", "refresh");
  EXPECT_EQ(Printed(form),
            "<form action=\"/\" method=\"POST\" style=\"visibility: collapse;\">"
            "<input id=\"tovikreloadbutton\" name=\"reload\" type=\"submit\" value=\"reload\" />\n"
            "<input name=\"tovikid\" type=\"hidden\" value=\"\" />\n"
            "<input id=\"tovikreloadcommand\" name=\"tovikcommand\" type=\"hidden\" value=\"refresh\" />\n</form>");
}

TEST(Form, ReloadPostFromChildHoldsTheForm) {
  HKHTMLReloadPostFromChild page("/", "reload");
  EXPECT_NE(dynamic_cast<HKHTML_Document2*>(&page), nullptr);
  EXPECT_NE(page.FindObject("id", "tovikreloadbutton"), nullptr);
  EXPECT_NE(page.FindObject("id", "tovikreloadcommand"), nullptr);
  std::list<HKXMLGenericElement*> scripts;
  page.findObjects("script", scripts, -1);
  EXPECT_EQ(scripts.size(), 1u);
}
