// One browser session, as far as the application frame needs it.
//
// PARTIAL: this is the frame's part of the session context (application,
// extended params, context ids). The widget manager, the document, the
// command map with `manageRequest`, the update manager and the form counter's
// users arrive with the session contexts; they are added to this class.
#pragma once

#include <cstdint>
#include <map>
#include <string>

class HKTovikApplication2;
class HKGavetaScheduler2;
class HKXHeader;
class HKXResponseHeader;

class HKHTMLKontextN {
 public:
  // The unsigned value and the string are accepted for derived classes and
  // not kept. A null application is refused.
  HKHTMLKontextN(HKTovikApplication2* application, const std::string& mainContextID, unsigned int,
                 std::string, std::map<std::string, std::string>& extendedParams);
  HKHTMLKontextN(const HKHTMLKontextN&) = delete;
  HKHTMLKontextN& operator=(const HKHTMLKontextN&) = delete;

  virtual ~HKHTMLKontextN();
  // An empty id does nothing; otherwise the id becomes a main id (mark 0).
  virtual void SetMainContextID(const std::string& id);
  // The first id in key order with mark 0, or "".
  virtual std::string getMainContextID();
  virtual std::map<std::string, int> getContextIDs();
  virtual HKGavetaScheduler2& getScheduler();
  // Answers a request of this session. MINIMAL until the session contexts
  // arrive: does nothing, so the response stays at status 500.
  virtual void manageRequest(HKXHeader& header, HKXResponseHeader& response, const std::string& command);

  std::map<std::string, std::string>* getExtendedParams() { return _extendedParams; }

 protected:
  // (widget manager: arrives with the widget manager)
  HKTovikApplication2* _application;
  std::map<std::string, std::string>* _extendedParams;
  // (command map, document: arrive with the session contexts)
  std::map<std::string, int> _contextIDs;
  // (update manager: arrives with the update channel)
  uint64_t _formCounter = 0;
};
