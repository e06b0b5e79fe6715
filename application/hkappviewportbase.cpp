#include <toviktwo/application/hkappviewportbase.h>

#include <iostream>

#include <toviktwo/foundation/hkexception.h>

HKAppViewportBase::HKAppViewportBase(std::string applicationName, std::string secondName, Factory factory,
                                     StorageInitialiser storageInitialiser)
    : _storageInitialiser(std::move(storageInitialiser)),
      _applicationName(std::move(applicationName)),
      _secondName(std::move(secondName)),
      _factory(std::move(factory)) {
  _storage = new HKPersistentAppStorage();
  try {
    _storageInitialiser(*_storage);
  } catch (...) {
    delete _storage;  // the destructor doesn't run for a failed constructor
    _storage = nullptr;
    throw;
  }
}

HKTovikApplication2* HKAppViewportBase::main_start_local(bool flag) {
  HKTovikApplication2* application = _factory(this, flag);
  if (application == nullptr) throw HKException("Can't create the app.", __LINE__, "src");
  _application = application;
  return _application;
}

HKAppViewportBase::~HKAppViewportBase() {
  if (_application != nullptr) _application->closeInterfaces();
  delete _application;
  _application = nullptr;
  delete _storage;
  _storage = nullptr;
}

void HKAppViewportBase::main_start(bool flag) {
  main_start_local(flag);
  std::cout << "going to run app" << std::endl;
  if (_application == nullptr) throw HKException("application must be defined.", __LINE__, "src");
  _application->Init();
  _application->Run();
}

void HKAppViewportBase::main_stop() {
  if (_application != nullptr) _application->Stop();
}

void HKAppViewportBase::SetArgCArgV(int argc, char** argv) {
  _argc = argc;
  _argv = argv;
}

std::string HKAppViewportBase::GetAppname(bool first) { return first ? _applicationName : _secondName; }

// ---- console driver ----

HKTovikCLAppAddOn::HKTovikCLAppAddOn(HKAppViewportBase& viewport, int argc, char** argv)
    : _name(viewport.GetAppname(true)), _argc(viewport.GetArgC()), _argv(argv), _viewport(&viewport) {
  _viewport->SetArgCArgV(argc, argv);
}

long HKTovikCLAppAddOn::_Xrun() {
  _word.clear();
  while (_word != "quit") std::cin >> _word;
  _stop = 1;
  return 1;
}

HKTovikCLAppAddOn::~HKTovikCLAppAddOn() = default;

void HKTovikCLAppAddOn::XInit() {}

void HKTovikCLAppAddOn::XRun() {
  _viewport->main_start(false);
  while (_stop == 0) _Xrun();
  _viewport->main_stop();
}

void HKTovikCLAppAddOn::XStop() {}
