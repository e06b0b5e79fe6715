// The application object: owner of the scheduler, of the transport and of
// the table of session contexts. Applications derive from it.
//
// Construction order is the order of the members below; destruction runs
// the other way round, after the destructor's body has deleted the contexts:
// contexts, id generator, params, interfaces, transceiver, and last the
// scheduler, whose destruction stops every job.
//
// The params are read and written under their own lock: the listening
// report writes them from a server's job while the application runs.
// `invokeContext`, `isPreloadContent` and `preloadContent` are minimal until
// the session contexts and the application storage arrive.
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include <toviktwo/application/hkforthcoming.h>
#include <toviktwo/application/hkhtmlkontextn.h>
#include <toviktwo/application/hkintention.h>
#include <toviktwo/application/hktovikinterfaceprops.h>
#include <toviktwo/scheduler/hkgavetascheduler2.h>
#include <toviktwo/scheduler/hkjidgenerator.h>
#include <toviktwo/transport/hkservercallback.h>
#include <toviktwo/transport/hktransceivercore.h>

class HKTovikApplication2 {
 public:
  HKTovikApplication2(HKPersistentAppStorage& storage, std::vector<HKTovikInterfaceProps> interfaces,
                      std::map<std::string, std::string> params);
  HKTovikApplication2(const HKTovikApplication2&) = delete;
  HKTovikApplication2& operator=(const HKTovikApplication2&) = delete;

  // Deletes, under the context lock and in key order, every context in the
  // table; then the members die in reverse order, the scheduler last.
  virtual ~HKTovikApplication2();
  // Empty hooks.
  virtual void Init();
  // Opens every listening interface (a client per interface, connected to
  // the transceiver, started with a server header of the interface's port,
  // address and, for https, certificate and key); does not block. Returns
  // at once when there are none.
  virtual void Run();
  virtual void Stop();
  // Default: no context. An application returns a usable one.
  virtual HKHTMLKontextN* createNewContext(const std::string& key);
  // Files the context under its main id, replacing (not deleting) whatever
  // stood there. Null does nothing. Returns its argument.
  virtual HKHTMLKontextN* insertNewContext(HKHTMLKontextN* context);
  // An identity with the caller's prefix from the application's generator.
  virtual std::string newID(const std::string& suggestion);
  virtual HKPersistentAppStorage& GetAppstorage();
  // Opens "scheme://address:port" (port as "%d") in the user's browser; an
  // empty address with port 0 takes both from the first interface (with no
  // interface the URL is "scheme://:0"). Should the launch be refused it
  // prints "please, open document at " and the URL.
  virtual void AppStart(std::string address, int port, const std::string& scheme);
  virtual bool checkContext(const std::string& id);
  // Hands the request to the context filed under `id`, under the context
  // lock; an unknown id does nothing and the response stays at status 500.
  // MINIMAL until the session contexts arrive (no reset, no limits).
  virtual void invokeContext(const std::string& id, HKXHeader& header, HKXResponseHeader& response,
                             const std::string& command);
  // Whether a stored page answers `path`. MINIMAL until the application
  // storage arrives: none does.
  virtual bool isPreloadContent(const std::string& path, HKXHeader& header);
  // Answers with the stored page of `path`. MINIMAL until the application
  // storage arrives: status 200 with an empty body; true.
  virtual bool preloadContent(const std::string& path, HKXResponseHeader& response);
  // The application's transport hub.
  virtual HKTransceiver& getTransceiver();
  virtual HKGavetaScheduler2& getScheduler();
  virtual std::map<std::string, std::string> getParams();
  HKIntention& getIntention() { return _intention; }

 protected:
  // The callback of every interface: it first passes the report to the
  // transceiver's reportInfo. A report of kind 4 ("listening") writes
  // "tcp_port_http"/"tcp_address_http" (or the https pair) into params and,
  // for http only, unless no_browser_popup is non-empty, opens the command
  // URL ("/" when empty) in the browser. Always true.
  bool _listeningReport(HKServerCallback_t& report);
  // A line end, "please, open document at ", the URL and two line ends.
  static void _pleaseOpen(const std::string& url);

  // First member: constructed first, destroyed last.
  HKGavetaScheduler2 _scheduler;
  HKIntention _intention;  // bound to _scheduler
  HKTransceiver _transceiver{_scheduler};
  HKPersistentAppStorage& _storage;
  std::vector<HKTovikInterfaceProps> _interfaces;
  std::map<std::string, std::string> _params;  // guarded by _params_lock
  std::mutex _params_lock;
  std::recursive_mutex _context_lock;
  std::map<std::string, HKHTMLKontextN*> _contexts;  // owned at destruction
  HKJIDGenerator _idgen;
};
