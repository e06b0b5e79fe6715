#include <toviktwo/application/hkhtmlkontextn.h>

#include <toviktwo/application/hktovikapplication2.h>
#include <toviktwo/foundation/hkexception.h>

HKHTMLKontextN::HKHTMLKontextN(HKTovikApplication2* application, const std::string& mainContextID,
                               unsigned int, std::string, std::map<std::string, std::string>& extendedParams)
    : _application(application), _extendedParams(&extendedParams) {
  if (_application == nullptr) throw HKException("App must be defined, but is nullptr", __LINE__, "src");
  SetMainContextID(mainContextID);
}

HKHTMLKontextN::~HKHTMLKontextN() = default;

void HKHTMLKontextN::SetMainContextID(const std::string& id) {
  if (id.empty()) return;
  _contextIDs[id] = 0;
}

std::string HKHTMLKontextN::getMainContextID() {
  for (const auto& [id, mark] : _contextIDs)
    if (mark == 0) return id;
  return "";
}

std::map<std::string, int> HKHTMLKontextN::getContextIDs() { return _contextIDs; }

HKGavetaScheduler2& HKHTMLKontextN::getScheduler() {
  if (_application == nullptr) throw HKException("app must be set", __LINE__, "src");
  return _application->getScheduler();
}

void HKHTMLKontextN::manageRequest(HKXHeader&, HKXResponseHeader&, const std::string&) {}
