// The application object: owner of the scheduler, of the transport and of
// the table of session contexts. Applications derive from it.
//
// Construction order is the order of the members below; destruction runs
// the other way round, after the destructor's body has deleted the contexts:
// contexts, id generator, params, interfaces, transceiver, and last the
// scheduler, whose destruction stops every job.
//
// Still to come with later subsystems (their slots are marked below):
// the browser launcher (`HKIntention`) as a member, and the operations
// `AppStart`, `invokeContext`, `isPreloadContent`, `preloadContent`, and the
// opening of interfaces in `Run`.
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include <toviktwo/application/hkforthcoming.h>
#include <toviktwo/application/hkhtmlkontextn.h>
#include <toviktwo/application/hktovikinterfaceprops.h>
#include <toviktwo/scheduler/hkgavetascheduler2.h>
#include <toviktwo/scheduler/hkjidgenerator.h>
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
  // Opens the listening interfaces; returns at once when there are none.
  // Opening interfaces arrives with the transport: until then a non-empty
  // interface list is refused with an HKException.
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
  // (AppStart: arrives with the listening interfaces)
  virtual bool checkContext(const std::string& id);
  // (invokeContext: arrives with the session contexts)
  // (isPreloadContent, preloadContent: arrive with the application storage)
  // The application's transport hub.
  virtual HKTransceiver& getTransceiver();
  virtual HKGavetaScheduler2& getScheduler();
  virtual std::map<std::string, std::string> getParams();

 protected:
  // First member: constructed first, destroyed last.
  HKGavetaScheduler2 _scheduler;
  // (_intention: HKIntention bound to _scheduler, arrives with the browser launcher)
  HKTransceiver _transceiver{_scheduler};
  HKPersistentAppStorage& _storage;
  std::vector<HKTovikInterfaceProps> _interfaces;
  std::map<std::string, std::string> _params;
  std::recursive_mutex _context_lock;
  std::map<std::string, HKHTMLKontextN*> _contexts;  // owned at destruction
  HKJIDGenerator _idgen;
};
