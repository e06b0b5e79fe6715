#include <toviktwo/transport/hkerrormsg404.h>

#include <sstream>

HKHTML_ErrorMsg404::HKHTML_ErrorMsg404(const std::string& title, const std::string& message,
                                       const std::string& linkTarget, const std::string& linkText)
    : HKHTML_Document2(title) {
  AddToBody(new HKHTML_text2(message));
  HKHTML_p2* paragraph = p();
  *paragraph << new HKHTML_a2(linkTarget, linkText);
}

std::string HKHTML_ErrorMsg404::standardPage() {
  std::ostringstream out;
  HKHTML_ErrorMsg404(kHK404Title, kHK404Message, kHK404LinkTarget, kHK404LinkText).print(out);
  return out.str();
}
