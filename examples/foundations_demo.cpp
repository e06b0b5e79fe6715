// The foundations at work: the log stream, text tools, paths, buffers,
// string maps and marked content.
#include <toviktwo/toviktwo.h>

#include <iostream>

int main() {
  // Nothing is logged until a destination is redirected.
  __logger.redirect(log_default, std::cout);
  __logger.Debugstream(log_default) << "toviktwo foundations, release " << ReleaseNumber() << std::endl;

  // Form data as a browser sends it.
  const std::string query = "name=J%C3%BCrgen+M%C3%BCller&city=S%C3%A3o+Paulo&note=100%25+sure";
  HKStringMap2 fields(query, "&", "=", "");
  for (const auto& [key, value] : fields.GetMap())
    std::cout << "  field " << key << " = \"" << URLdecodeForm(value) << "\"" << std::endl;

  // Escaping for HTML and for script strings.
  std::cout << "  html:   " << HTMLencode("<b>Fish & Chips</b>", false) << std::endl;
  std::cout << "  script: \"" << Utf8ToJavaScript("line 1\nsaid \"hi\"") << "\"" << std::endl;

  // Paths are corrected to end in a separator.
  HKPath base("www");
  std::cout << "  path:   " << base + "images" << std::endl;
  std::cout << "  url:    " << urlpathconnect("/app/", "/index.html") << std::endl;

  // A byte buffer fed in pieces, searched for a boundary.
  HKInputStreamBinary in(64);
  const std::string first = "--xyz\r\nfirst part\r\n--x", rest = "yz--\r\n";
  in.AddChars(first.data(), first.size());
  std::cout << "  partial boundary at " << in.FindPattern("\r\n--xyz", 7, 5) << std::endl;
  in.AddChars(rest.data(), rest.size());
  std::cout << "  whole boundary at   " << in.FindPattern("\r\n--xyz", 7, 5) << std::endl;

  // A page template filled between its marks.
  std::string page = "<title><!--begin_title-->?<!--end_title--></title>";
  ReplaceMarkedContentHTML(page, "title", "Lab console");
  std::cout << "  page:   " << page << std::endl;

  try {
    throw HKException2T("unknown variable", "pressure", "bar", 12, "src");
  } catch (const HKException2T& e) {
    std::cout << "  caught: " << e.what() << " (" << e.GetS1() << ", " << e.GetS2() << ")" << std::endl;
  }
  std::cout << "  now:    " << to_timestring(std::chrono::system_clock::now()) << std::endl;
  return 0;
}
