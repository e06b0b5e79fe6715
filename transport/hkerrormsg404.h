// The page of a request that no route takes: a document with a title, a
// message (HTML text, written as it stands) and one link.
//
// Kept in its own file so that the message heads do not need the document
// classes.
#pragma once

#include <string>

#include <toviktwo/documents/html/hkhtmldocument.h>

// The texts of the library's own 404 page.
constexpr const char* kHK404Title = "Error 404 - not found";
constexpr const char* kHK404Message =
    "<h1>Error 404 - not found</h1>The requested page was not found or the project was timed out.";
constexpr const char* kHK404LinkTarget = "/";
constexpr const char* kHK404LinkText = "Startseite";

class HKHTML_ErrorMsg404 : public HKHTML_Document2 {
 public:
  // A document titled `title` whose body holds `message` and, in a
  // paragraph below it, a link to `linkTarget` reading `linkText`.
  HKHTML_ErrorMsg404(const std::string& title, const std::string& message, const std::string& linkTarget,
                     const std::string& linkText);
  // The library's own 404 page, printed.
  static std::string standardPage();
};
