// The application's answers for stored pages, kept apart so that the rest of
// the application object does not need the message heads.
#include <toviktwo/application/hktovikapplication2.h>

#include <map>
#include <string>

#include <toviktwo/transport/hkxheader.h>

bool HKTovikApplication2::isPreloadContent(const std::string& path, HKXHeader&) {
  const std::map<std::string, HKStringStorage> pages = _storage.GetStoredPages();
  return pages.count(path) != 0;
}

bool HKTovikApplication2::preloadContent(const std::string& path, HKXResponseHeader& response) {
  std::map<std::string, HKStringStorage> pages = _storage.GetStoredPages();
  // An absent path makes an empty entry in the copy: a 200 with an empty body.
  response.setHTTPResponse200(pages[path].str());
  return true;
}
