// The owner of the application object and of its storage, and the console
// driver of the run loop.
//
// An embedding program builds the viewport (and with it the storage), then
// the console driver, and calls XRun:
//   XRun -> main_start(false) -> factory, Init(), Run() -> console loop
//        -> main_stop() -> Stop()
// The viewport's destructor then deletes the application (which stops the
// scheduler and every job) and last the storage.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include <toviktwo/application/hktovikapplication2.h>
#include <toviktwo/persistence/hkpersistentappstorage.h>

class HKAppViewportBase {
 public:
  using Factory = std::function<HKTovikApplication2*(HKAppViewportBase*, bool)>;
  using StorageInitialiser = std::function<void(HKPersistentAppStorage&)>;

  // Creates the storage and hands it to the initialiser. An empty
  // initialiser is a bad-function-call failure.
  HKAppViewportBase(std::string applicationName, std::string secondName, Factory factory,
                    StorageInitialiser storageInitialiser);
  HKAppViewportBase(const HKAppViewportBase&) = delete;
  HKAppViewportBase& operator=(const HKAppViewportBase&) = delete;

  // Calls the factory and keeps the application. A null result throws
  // "Can't create the app."; an empty factory is a bad-function-call failure.
  virtual HKTovikApplication2* main_start_local(bool flag);
  // Deletes the application, then the storage.
  virtual ~HKAppViewportBase();
  // main_start_local, "going to run app", Init(), Run().
  virtual void main_start(bool flag);
  // Calls Stop() on the application, if there is one.
  virtual void main_stop();

  void SetArgCArgV(int argc, char** argv);
  // The application name for true, the second name for false.
  std::string GetAppname(bool first);
  int& GetArgC() { return _argc; }
  char** GetArgV() { return _argv; }
  HKTovikApplication2* GetApplication() { return _application; }
  HKPersistentAppStorage& GetStorage() { return *_storage; }

 protected:
  HKTovikApplication2* _application = nullptr;
  HKPersistentAppStorage* _storage = nullptr;
  StorageInitialiser _storageInitialiser;
  std::string _applicationName;
  std::string _secondName;
  int _argc = 0;
  char** _argv = nullptr;
  Factory _factory;
};

// The console driver: runs the application until the word "quit" is read
// from standard input.
class HKTovikCLAppAddOn {
 public:
  HKTovikCLAppAddOn(HKAppViewportBase& viewport, int argc, char** argv);
  HKTovikCLAppAddOn(const HKTovikCLAppAddOn&) = delete;
  HKTovikCLAppAddOn& operator=(const HKTovikCLAppAddOn&) = delete;

  // One pass of console reading: words into one string until it equals
  // "quit"; then the stop flag becomes 1 and the result is 1. At end of input
  // the loop never sees "quit" and spins for ever; an application that runs
  // detached overrides this.
  virtual long _Xrun();
  virtual ~HKTovikCLAppAddOn();
  virtual void XInit();
  // main_start(false), _Xrun() while the stop flag is 0, main_stop().
  virtual void XRun();
  virtual void XStop();

  uint64_t getStopFlag() const { return _stop; }

 protected:
  std::string _name;
  uint64_t _stop = 0;
  int& _argc;  // the viewport's argument count
  char** _argv;
  HKAppViewportBase* _viewport;
  std::string _word;  // the word read last
};
