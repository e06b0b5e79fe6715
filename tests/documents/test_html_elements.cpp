// The typed HTML element family.
#include <gtest/gtest.h>

#include <functional>
#include <list>
#include <memory>
#include <set>
#include <vector>

#include "doc_test_util.h"

using doctest_util::Parsed;
using doctest_util::Printed;
using doctest_util::ReadError;
using doctest_util::RoundTrip;
using doctest_util::ThrownMessage;

namespace {
const std::vector<std::string> kType0Only = {
    "a",        "abbr",     "acronym",  "address", "article",  "aside",    "audio",    "b",        "bdi",
    "bdo",      "big",      "blockquote", "canvas", "caption", "cite",     "code",     "datalist", "del",
    "details",  "dfn",      "dialog",   "dl",      "em",       "fieldset", "figcaption", "figure", "footer",
    "frameset", "h1",       "h3",       "h4",      "h5",       "h6",       "head",     "header",   "hgroup",
    "html",     "i",        "iframe",   "ins",     "kbd",      "legend",   "main",     "map",      "mark",
    "menu",     "menuitem", "meter",    "nav",     "noframes", "noscript", "object",   "ol",       "optgroup",
    "output",   "pre",      "q",        "rp",      "rt",       "ruby",     "s",        "samp",     "script",
    "section",  "select",   "small",    "strong",  "style",    "sub",      "summary",  "sup",      "table",
    "tbody",    "textarea", "time",     "title",   "tt",       "u",        "ul",       "var",      "video"};
const std::vector<std::string> kType1Only = {"colgroup", "dd", "dt", "li", "option", "td", "tfoot", "th", "thead", "tr"};
const std::vector<std::string> kType2 = {"area", "base", "br",     "col",    "embed", "frame", "hr",    "img",
                                         "input", "keygen", "link", "meta", "param", "source", "track", "wbr"};
const std::vector<std::string> kType0And0A = {"h2", "label", "progress", "span"};
const std::vector<std::string> kType0And0AB = {"button", "form"};
const std::vector<std::string> kType0And0ABC = {"body", "div"};
const std::vector<std::string> kType1And0ABC = {"p"};

struct Families {
  bool t0, t1, t2, a, b, c;
  bool operator==(const Families&) const = default;
};

Families FamiliesOf(HKXMLComplexElement* e) {
  return {dynamic_cast<HKHTML_ElementType0*>(e) != nullptr,  dynamic_cast<HKHTML_ElementType1*>(e) != nullptr,
          dynamic_cast<HKHTML_ElementType2*>(e) != nullptr,  dynamic_cast<HKHTML_ElementType0A*>(e) != nullptr,
          dynamic_cast<HKHTML_ElementType0B*>(e) != nullptr, dynamic_cast<HKHTML_ElementType0C*>(e) != nullptr};
}

// Makes the element through the grammar's element factory.
std::unique_ptr<HKXMLGenericElement> Make(const std::string& tag) {
  static HKDTD html = HKDTDStandardGrammar("html");
  return std::unique_ptr<HKXMLGenericElement>(HKCreateHTMLElement(tag, html));
}

void CheckFamily(const std::vector<std::string>& tags, Families expected) {
  for (const std::string& tag : tags) {
    auto e = Make(tag);
    EXPECT_EQ(e->GetTypeName(), tag);
    EXPECT_TRUE(dynamic_cast<HKHTML_BaseElement2*>(e.get()) != nullptr) << tag;
    EXPECT_TRUE(FamiliesOf(e.get()) == expected) << tag;
    // Type0 and Type1 always print their end tag; Type2 is a short tag.
    if (expected.t2) {
      EXPECT_EQ(Printed(*e), "<" + tag + " />");
    } else if (tag == "script") {
      EXPECT_EQ(Printed(*e), "<script type=\"text/javascript\">\n<!--\n\n//-->\n</script>");
    } else if (tag == "style") {
      EXPECT_EQ(Printed(*e), "<style type=\"text/css\"></style>");
    } else {
      EXPECT_EQ(Printed(*e), "<" + tag + "></" + tag + ">");
    }
  }
}
}  // namespace

TEST(HtmlFamily, Type0TagsPrintWithEndTag) { CheckFamily(kType0Only, {true, false, false, false, false, false}); }
TEST(HtmlFamily, Type1TagsPrintWithEndTag) { CheckFamily(kType1Only, {false, true, false, false, false, false}); }
TEST(HtmlFamily, Type2TagsPrintAsShortTags) { CheckFamily(kType2, {false, false, true, false, false, false}); }
TEST(HtmlFamily, Type0With0A) { CheckFamily(kType0And0A, {true, false, false, true, false, false}); }
TEST(HtmlFamily, Type0With0AAnd0B) { CheckFamily(kType0And0AB, {true, false, false, true, true, false}); }
TEST(HtmlFamily, Type0With0A0BAnd0C) { CheckFamily(kType0And0ABC, {true, false, false, true, true, true}); }
TEST(HtmlFamily, Type1With0A0BAnd0C) { CheckFamily(kType1And0ABC, {false, true, false, true, true, true}); }

TEST(HtmlFamily, EveryTagHasAFactoryAndVoidTagsAreNoClosing) {
  HKDTD html = HKDTDStandardGrammar("html");
  std::size_t count = 0;
  for (const auto* list : {&kType0Only, &kType1Only, &kType2, &kType0And0A, &kType0And0AB, &kType0And0ABC,
                           &kType1And0ABC}) {
    for (const std::string& tag : *list) EXPECT_EQ(html.ElementFactories().count(tag), 1u) << tag;
    count += list->size();
  }
  EXPECT_EQ(html.ElementFactories().size(), count);
  EXPECT_EQ(html.NoClosingTagElements(), std::set<std::string>(kType2.begin(), kType2.end()));
  HKDTD xmlhtml = HKDTDStandardGrammar("xmlhtml");
  EXPECT_EQ(xmlhtml.ElementFactories().size(), count);
  EXPECT_EQ(xmlhtml.NoClosingTagElements().size(), 16u);
}

TEST(HtmlFamily, FactoriesGiveTheTypedClasses) {
  EXPECT_NE(dynamic_cast<HKHTML_h12*>(Make("h1").get()), nullptr);
  EXPECT_NE(dynamic_cast<HKHTML_div2*>(Make("div").get()), nullptr);
  EXPECT_NE(dynamic_cast<HKHTML_a2*>(Make("a").get()), nullptr);
  EXPECT_NE(dynamic_cast<HKHTML_input2*>(Make("input").get()), nullptr);
  EXPECT_NE(dynamic_cast<HKHTML_form2*>(Make("form").get()), nullptr);
  EXPECT_NE(dynamic_cast<HKHTML_html2*>(Make("html").get()), nullptr);
  EXPECT_NE(dynamic_cast<HKHTML_option2*>(Make("option").get()), nullptr);
  EXPECT_NE(dynamic_cast<HKHTML_script2*>(Make("script").get()), nullptr);
  EXPECT_NE(dynamic_cast<HKHTML_style2*>(Make("style").get()), nullptr);
  EXPECT_NE(dynamic_cast<HKHTML_progress2*>(Make("progress").get()), nullptr);
}

// ---- edge cases ----

TEST(HtmlEdge, EmptyDivPrintsEndTag) {
  HKHTML_div2 div("", false);
  EXPECT_EQ(Printed(div), "<div></div>");
  EXPECT_FALSE(div.ShortTagForced());
  EXPECT_FALSE(div.ShortTagPermitted());
}

TEST(HtmlEdge, BrIsShortAndRefusesChildren) {
  HKHTML_br2 br;
  EXPECT_EQ(Printed(br), "<br />");
  EXPECT_EQ(ThrownMessage([&] { br << new HKHTML_text2("x"); }), "child elements not allowed for br");
  EXPECT_EQ(br.ChildCount(), 0u);
}

TEST(HtmlEdge, UnknownTagIsGenericShortTag) {
  HKDTD html = HKDTDStandardGrammar("html");
  std::unique_ptr<HKXMLGenericElement> foo(HKCreateHTMLElement("foo", html));
  EXPECT_EQ(foo->GetTypeName(), "foo");
  EXPECT_EQ(dynamic_cast<HKHTML_BaseElement2*>(foo.get()), nullptr);
  EXPECT_EQ(foo->ChildCount(), 0u);
  EXPECT_EQ(Printed(*foo), "<foo />");
  EXPECT_TRUE(foo->noSpecial());
  // A grammar without element factories gives generic elements for every tag.
  HKDTD empty("none");
  std::unique_ptr<HKXMLGenericElement> div(HKCreateHTMLElement("div", empty));
  EXPECT_EQ(dynamic_cast<HKHTML_div2*>(div.get()), nullptr);
  EXPECT_EQ(Printed(*div), "<div />");
}

TEST(HtmlEdge, CustomTagsInTemplates) {
  EXPECT_EQ(RoundTrip("<mywidget a=\"1\"></mywidget><div><x/></div>"), "<mywidget a=\"1\" /><div><x />\n</div>");
}

TEST(HtmlEdge, ClassReadFromTemplateLandsInMember) {
  Parsed p("<div class=\"box\" id=\"d1\"></div>");
  auto* div = dynamic_cast<HKHTML_div2*>(p.Read("html")->Children()[0]);
  ASSERT_NE(div, nullptr);
  EXPECT_EQ(div->cssClass().str(), "box");
  EXPECT_EQ(div->id().str(), "d1");
  EXPECT_EQ(Printed(*div), "<div class=\"box\" id=\"d1\"></div>");
  div->cssClass() = std::string("other");
  EXPECT_EQ(div->getAttributeText("class", "?"), "other");
}

TEST(HtmlEdge, UnsetStylePrintsNoStyleAttribute) {
  HKHTML_span2 span;
  EXPECT_TRUE(span.ContainsAttribute("style"));
  EXPECT_FALSE(span.style().AttributeIsSet());
  EXPECT_EQ(Printed(span), "<span></span>");
  span.setStyle("color:red");
  EXPECT_EQ(Printed(span), "<span style=\"color: red;\"></span>");
}

TEST(HtmlEdge, TextIsNeverWrittenWithATag) {
  HKHTML_text2 text("hello <b>");
  text.setID("x");
  text.setStyle("color:red");
  EXPECT_EQ(Printed(text), "hello <b>");
  EXPECT_TRUE(text.IsXMLText());
  EXPECT_FALSE(text.noSpecial());
  EXPECT_EQ(text.GetTypeName(), "xmltext");
  text += " world";
  EXPECT_EQ(Printed(text), "hello <b> world");
  HKHTML_text2 empty;
  EXPECT_EQ(Printed(empty), "");
  std::ostringstream os;
  HKHTML_p2 p;
  p << new HKHTML_text2("a");
  p << new HKHTML_b2();
  p << new HKHTML_text2("c");
  p.AsText(os);
  EXPECT_EQ(os.str(), "ac");
}

// ---- printing: attribute order and line feeds ----

TEST(HtmlPrint, AttributesInNameOrder) {
  HKHTML_div2 div("d", true);
  div.cssClass() = std::string("c");
  div.setStyle("width:1px");
  div << std::string("data-x=\"7\"");
  EXPECT_EQ(Printed(div),
            "<div class=\"c\" data-x=\"7\" id=\"d\" onmousedown=\"tovik_start_drag(this);\" style=\"width: 1px;\"></div>");
}

TEST(HtmlPrint, ProgrammaticTreeOneTagPerLine) {
  HKHTML_ul2 ul;
  auto* li = new HKHTML_li2();
  *li << new HKHTML_text2("one");
  ul << li;
  ul << new HKHTML_li2();
  EXPECT_EQ(Printed(ul), "<ul><li>one</li>\n<li></li>\n</ul>");
}

TEST(HtmlPrint, LinkAndLabel) {
  HKHTML_a2 a("page.html", "go");
  EXPECT_EQ(Printed(a), "<a href=\"page.html\">go</a>");
  HKHTML_a2 empty;
  EXPECT_EQ(Printed(empty), "<a></a>");
  empty.name() = std::string("top");
  EXPECT_EQ(Printed(empty), "<a name=\"top\"></a>");
  HKHTML_label2 label("Name", "field");
  EXPECT_EQ(Printed(label), "<label for=\"field\">Name</label>");
}

TEST(HtmlPrint, CreatingOperations) {
  HKHTML_div2 div;
  HKHTML_p2* p = div.p();
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(p->getParent(), &div);
  HKHTML_div2* inner = div.div("in", false);
  ASSERT_NE(inner, nullptr);
  EXPECT_NE(inner->span(), nullptr);
  EXPECT_NE(div.hr(), nullptr);
  EXPECT_NE(div.button(), nullptr);
  HKHTML_form2* form = div.form("GET", "/x");
  ASSERT_NE(form, nullptr);
  EXPECT_EQ(Printed(div),
            "<div><p></p>\n<div id=\"in\"><span></span>\n</div>\n<hr />\n<button></button>\n"
            "<form action=\"/x\" method=\"GET\"></form>\n</div>");
}

TEST(HtmlPrint, GetBufferAndAsJavaScriptAdd) {
  HKHTML_div2 div("box", false);
  div.setStyle("color:red");
  div << new HKHTML_text2("say \"hi\"");
  EXPECT_EQ(div.GetBuffer(), "<div id=\"box\" style=\"color: red;\">say \"hi\"</div>");
  EXPECT_EQ(div.AsJavaScriptAdd(),
            "{\nvar newelem = document.createElement('div');\n"
            "newelem.setAttribute('id','box');\n"
            "newelem.setAttribute('style','color: red;');\n"
            "newelem.innerHTML=\"" +
                Utf8ToJavaScript("say \"hi\"") +
                "\";\n"
                "document.appendChild(newelem);\n }");
  HKHTML_hr2 hr;
  EXPECT_EQ(hr.AsJavaScriptAdd(),
            "{\nvar newelem = document.createElement('hr');\nnewelem.innerHTML=\"\";\ndocument.appendChild(newelem);\n }");
}

TEST(HtmlPrint, HelperOfFamily0AIsOwned) {
  struct Counted : HKHTML_ElementHelper {
    explicit Counted(int& n) : count(n) { ++count; }
    ~Counted() override { --count; }
    int& count;
  };
  int alive = 0;
  {
    HKHTML_span2 span;
    EXPECT_EQ(span.GetHelper(), nullptr);
    span.SetHelper(new Counted(alive));
    EXPECT_EQ(alive, 1);
    span.SetHelper(new Counted(alive));
    EXPECT_EQ(alive, 1);
  }
  EXPECT_EQ(alive, 0);
}

// ---- reading ----

TEST(HtmlReading, VoidTagsMustBeWrittenShort) {
  EXPECT_EQ(RoundTrip("<p>a<br/>b</p>"), "<p>a<br />b</p>");
  // "<br>" makes br current; the next word closes it and is lost.
  EXPECT_EQ(RoundTrip("<p><br> x</p>"), "<p><br />x</p>");
  EXPECT_EQ(ReadError("<br><p></p>"), "wrong closing tag 'p' instead '/br' around line 1");
}

TEST(HtmlReading, TextWordsAreTypedText) {
  Parsed p("<b>two words</b>");
  HKXMLComplexElement* b = p.Read("html")->Children()[0];
  ASSERT_EQ(b->ChildCount(), 3u);
  EXPECT_NE(dynamic_cast<HKHTML_text2*>(b->Children()[0]), nullptr);
  EXPECT_NE(dynamic_cast<HKXMLGenericWhitespace*>(b->Children()[1]), nullptr);
  // "xmlhtml" keeps generic text.
  Parsed q("<b>word</b>");
  HKXMLComplexElement* b2 = q.Read("xmlhtml")->Children()[0];
  EXPECT_NE(dynamic_cast<HKHTML_b2*>(b2), nullptr);
  EXPECT_EQ(dynamic_cast<HKHTML_text2*>(b2->Children()[0]), nullptr);
  EXPECT_NE(dynamic_cast<HKXMLGenericText*>(b2->Children()[0]), nullptr);
}

TEST(HtmlReading, EmptyType0TagsGainEndTags) {
  EXPECT_EQ(RoundTrip("<div/><td/><img src=\"a.png\"/>"), "<div></div><td></td><img src=\"a.png\" />");
}

TEST(HtmlReading, TypedAttributesOfInputLandInMembers) {
  Parsed p("<input value=\"v\" type=\"text\" name=\"n\"/>");
  auto* input = dynamic_cast<HKHTML_input2*>(p.Read("html")->Children()[0]);
  ASSERT_NE(input, nullptr);
  EXPECT_EQ(input->name().str(), "n");
  EXPECT_EQ(input->type().str(), "text");
  EXPECT_EQ(Printed(*input), "<input name=\"n\" type=\"text\" value=\"v\" />");
}

// ---- id, class and style as attributes ----

TEST(HtmlMembers, ReachableThroughAttributeOperations) {
  HKHTML_td2 td;
  EXPECT_TRUE(td.ContainsAttribute("id"));
  EXPECT_TRUE(td.ContainsAttribute("class"));
  EXPECT_TRUE(td.ContainsAttribute("style"));
  EXPECT_FALSE(td.ContainsAttribute("title"));
  EXPECT_EQ(td.getAttributeText("id", "fallback"), "");
  EXPECT_EQ(td.getAttributeText("title", "fallback"), "fallback");
  EXPECT_TRUE(td.IdentAttribute("class", ""));
  EXPECT_FALSE(td.IdentAttribute("class", "x"));
  td["id"] = std::string("cell");
  EXPECT_EQ(td.id().str(), "cell");
  EXPECT_TRUE(td.IdentAttribute("id", "cell"));
  td.ReplaceAttributeContent("style", std::string("color:red"));
  EXPECT_EQ(td.style().Properties().size(), 1u);
  td << std::string("class=\"k\"");
  EXPECT_EQ(td.cssClass().str(), "k");
  EXPECT_EQ(Printed(td), "<td class=\"k\" id=\"cell\" style=\"color: red;\"></td>");
  EXPECT_EQ(td.Attributes().size(), 3u);
}

TEST(HtmlMembers, QueriesFindMembers) {
  HKHTML_div2 div;
  auto* p = div.p();
  p->setID("para");
  auto* span = p->span();
  span->cssClass() = std::string("hint");
  EXPECT_EQ(div.FindObject("id", "para"), p);
  EXPECT_EQ(div.FindObject("class", "hint"), span);
  EXPECT_EQ(div.FindObject("id", "none"), nullptr);
  std::unique_ptr<std::list<HKXMLGenericElement*>> found(div.query("div.p[id=\"para\"].span"));
  ASSERT_EQ(found->size(), 1u);
  EXPECT_EQ(found->front(), span);
}

TEST(HtmlMembers, RemovedMemberNoLongerPrints) {
  HKHTML_span2 span;
  span.setID("s");
  EXPECT_TRUE(span.RemoveAttribute("id"));
  EXPECT_FALSE(span.ContainsAttribute("id"));
  EXPECT_EQ(Printed(span), "<span></span>");
}

TEST(HtmlMembers, StyleSyntaxErrorFromAttributeAssignmentMarksError) {
  HKHTML_span2 span;
  span << std::string("style=\"bad\"");
  EXPECT_TRUE(span.HasError());
  EXPECT_EQ(span.GetErrorText(), "error catched while assigning attritutes");
}

TEST(HtmlReading, BrFollowedByWordAtTopLevel) {
  Parsed p("<br> x");
  HKXMLComplexElement* top = p.Read("html");
  ASSERT_EQ(top->ChildCount(), 2u);
  EXPECT_NE(dynamic_cast<HKHTML_br2*>(top->Children()[0]), nullptr);
  auto* text = dynamic_cast<HKHTML_text2*>(top->Children()[1]);
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(text->GetText(), "x");
}

TEST(HtmlFamily, FillElementsCompletesAnyGrammar) {
  HKDTD mine("mine");
  HKDTD_HTML_fillelements(mine);
  std::unique_ptr<HKXMLGenericElement> td(HKCreateHTMLElement("td", mine));
  EXPECT_NE(dynamic_cast<HKHTML_td2*>(td.get()), nullptr);
  EXPECT_EQ(mine.NoClosingTagElements().count("wbr"), 1u);
  EXPECT_EQ(mine.NoClosingTagElements().count("td"), 0u);
}
