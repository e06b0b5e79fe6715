// The application object: owner of the scheduler, of the transport and of
// the table of session contexts. Applications derive from it.
//
// Construction order is the order of the members below; destruction runs
// the other way round, after the destructor's body has deleted the contexts:
// contexts, id generator, params, interfaces, transceiver, and last the
// scheduler, whose destruction stops every job.
//
// Session limits (both off by default, so that a context lives until the
// application ends): the parameter "_app_context_idle_seconds" (a decimal
// number, fractions allowed) closes a context that got no request for that
// long, and "_app_context_max_count" closes the least recently used context
// when a new one would make the table larger. A closed context gets its
// `_closeContext` hook and is deleted; its id then leads to the 404 page.
// Limits are applied whenever a request or a new context reaches the table.
//
// The params are read and written under their own lock: the listening
// report writes them from a server's job while the application runs.
#pragma once

#include <chrono>
#include <list>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include <toviktwo/application/hkhtmlkontextn.h>
#include <toviktwo/application/hkintention.h>
#include <toviktwo/application/hktovikinterfaceprops.h>
#include <toviktwo/persistence/hkpersistentappstorage.h>
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
  // Ends every listening interface: its servers stop, their buffer jobs are
  // waited for, and no request reaches the application from then on. The
  // viewport calls it before it deletes the application, so that no request
  // runs into an application whose derived part is already destroyed; an
  // owner that deletes an application itself should do the same. Calling it
  // again does nothing.
  void closeInterfaces();
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
  // Hands the request to the context of that id under the context lock, then
  // applies a replacement the response asks for (resetKontext). An unknown
  // id does nothing: the response stays at status 500.
  virtual void invokeContext(const std::string& id, HKXHeader& header, HKXResponseHeader& response,
                             const std::string& command);
  // Whether the storage holds a stored page under path; header is not looked at.
  virtual bool isPreloadContent(const std::string& path, HKXHeader& header);
  // Answers 200 with the stored page's text (an empty body for an unknown
  // path); returns true. Works on a copy of the stored pages, so that no
  // lock on their map is needed.
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

  // ---- session limits
 public:
  // Closes the contexts that have been idle longer than the idle limit; returns how many.
  size_t closeIdleContexts();
  // The number of contexts in the table.
  size_t countContexts();

 protected:
  struct _ContextUse {
    std::chrono::steady_clock::time_point last;
    std::list<std::string>::iterator place;  // in _contextOrder
  };
  void _touchContextNL(const std::string& id);
  void _closeContextNL(const std::string& id);
  size_t _closeIdleContextsNL();
  void _limitContextCountNL(const std::string& keep);

  std::chrono::steady_clock::duration _contextIdleLimit{0};  // zero: off
  size_t _contextMaxCount = 0;                               // zero: off
  std::list<std::string> _contextOrder;                      // least recently used first; _context_lock
  std::map<std::string, _ContextUse> _contextUse;            // _context_lock
  std::string _contextInUse;                                 // served by invokeContext now; _context_lock
};
