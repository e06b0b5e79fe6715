// The application frame: viewport, console driver, application object,
// start and stop order.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <regex>
#include <sstream>
#include <thread>
#include <vector>

#include <toviktwo/application/hkappviewportbase.h>
#include <toviktwo/foundation/hkexception.h>

using namespace std::chrono_literals;

namespace {

// What happened, in order.
struct Log {
  std::mutex m;
  std::vector<std::string> lines;
  void add(const std::string& s) {
    std::lock_guard<std::mutex> g(m);
    lines.push_back(s);
  }
  std::vector<std::string> copy() {
    std::lock_guard<std::mutex> g(m);
    return lines;
  }
};

class TestApp : public HKTovikApplication2 {
 public:
  TestApp(HKPersistentAppStorage& storage, Log& log, std::vector<HKTovikInterfaceProps> interfaces = {},
          std::map<std::string, std::string> params = {})
      : HKTovikApplication2(storage, std::move(interfaces), std::move(params)), _log(log) {}
  ~TestApp() override { _log.add("app destructor"); }
  void Init() override { _log.add("Init"); }
  void Run() override {
    HKTovikApplication2::Run();
    _log.add("Run returned");
  }
  void Stop() override { _log.add("Stop"); }

 private:
  Log& _log;
};

class TestContext : public HKHTMLKontextN {
 public:
  TestContext(HKTovikApplication2* app, const std::string& id, Log& log)
      : HKHTMLKontextN(app, id, 0, "", _params), _log(log), _id(id) {}
  ~TestContext() override { _log.add("context " + _id); }

 private:
  std::map<std::string, std::string> _params;
  Log& _log;
  std::string _id;
};

// Standard input taken from a text for the life of the object.
class StdinFrom {
 public:
  explicit StdinFrom(const std::string& text) : _in(text), _old(std::cin.rdbuf(_in.rdbuf())) {
    std::cin.clear();
  }
  ~StdinFrom() {
    std::cin.rdbuf(_old);
    std::cin.clear();
  }
  std::istringstream& stream() { return _in; }

 private:
  std::istringstream _in;
  std::streambuf* _old;
};

HKAppViewportBase::Factory factoryFor(Log& log) {
  return [&log](HKAppViewportBase* viewport, bool) -> HKTovikApplication2* {
    return new TestApp(viewport->GetStorage(), log);
  };
}

void noInit(HKPersistentAppStorage&) {}

// A console driver whose reading pass can be watched.
class Driver : public HKTovikCLAppAddOn {
 public:
  using HKTovikCLAppAddOn::HKTovikCLAppAddOn;
  const std::string& lastWord() const { return _word; }
  int argc() const { return _argc; }
  char** argv() const { return _argv; }
  const std::string& name() const { return _name; }
};

}  // namespace

// ---- Edge cases of start and run ----

TEST(ApplicationEdge, NoInterfacesRunReturnsAtOnceAndXRunStillWaitsForQuit) {
  Log log;
  StdinFrom input("hello world quit");
  {
    HKAppViewportBase viewport("demo", "second", factoryFor(log), noInit);
    Driver driver(viewport, 0, nullptr);
    testing::internal::CaptureStdout();
    driver.XRun();
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out, "going to run app\n");
    EXPECT_EQ(driver.getStopFlag(), 1u);
    EXPECT_EQ(driver.lastWord(), "quit");
    EXPECT_EQ(log.copy(), (std::vector<std::string>{"Init", "Run returned", "Stop"}));
  }
  EXPECT_EQ(log.copy().back(), "app destructor");
}

TEST(ApplicationEdge, EndOfInputMakesReadingLoopSpinForEver) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        Log log;
        HKAppViewportBase viewport("demo", "second", factoryFor(log), noInit);
        auto* driver = new Driver(viewport, 0, nullptr);
        StdinFrom input("alpha beta");
        // A watchdog ends the process once the loop has outlived its input.
        std::thread([driver] {
          std::this_thread::sleep_for(500ms);
#if defined(__SANITIZE_THREAD__)
          (void)driver;
          std::_Exit(0);
#else
          // The word read last stays in the string.
          std::_Exit(driver->lastWord() == "beta" ? 0 : 2);
#endif
        }).detach();
        driver->_Xrun();
        std::_Exit(1);  // the loop returned: wrong
      },
      ::testing::ExitedWithCode(0), "");
}

TEST(ApplicationEdge, WordThatBeginsWithQuitDoesNotEndTheLoop) {
  Log log;
  HKAppViewportBase viewport("demo", "second", factoryFor(log), noInit);
  Driver driver(viewport, 0, nullptr);
  StdinFrom input("quitter quit. Quit quit after");
  EXPECT_EQ(driver._Xrun(), 1);
  EXPECT_EQ(driver.getStopFlag(), 1u);
  std::string rest;
  input.stream() >> rest;
  EXPECT_EQ(rest, "after");  // it stopped exactly at the word "quit"
}

// ---- failures ----

TEST(ApplicationFailure, FactoryReturningNullThrowsCantCreateTheApp) {
  HKAppViewportBase viewport(
      "demo", "second", [](HKAppViewportBase*, bool) -> HKTovikApplication2* { return nullptr; }, noInit);
  try {
    viewport.main_start_local(false);
    FAIL() << "no exception";
  } catch (const HKException& e) {
    EXPECT_STREQ(e.what(), "Can't create the app.");
  }
  EXPECT_EQ(viewport.GetApplication(), nullptr);
}

TEST(ApplicationFailure, MainStartWithoutApplicationThrows) {
  // An override that forgets to keep the application.
  class Forgetful : public HKAppViewportBase {
   public:
    using HKAppViewportBase::HKAppViewportBase;
    HKTovikApplication2* main_start_local(bool) override { return nullptr; }
  };
  Log log;
  Forgetful viewport("demo", "second", factoryFor(log), noInit);
  testing::internal::CaptureStdout();
  try {
    viewport.main_start(false);
    testing::internal::GetCapturedStdout();
    FAIL() << "no exception";
  } catch (const HKException& e) {
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "going to run app\n");
    EXPECT_STREQ(e.what(), "application must be defined.");
  }
}

TEST(ApplicationFailure, EmptyFactoryAndEmptyInitialiserAreBadFunctionCalls) {
  HKAppViewportBase viewport("demo", "second", nullptr, noInit);
  EXPECT_THROW(viewport.main_start_local(false), std::bad_function_call);
  Log log;
  EXPECT_THROW(HKAppViewportBase("demo", "second", factoryFor(log), nullptr), std::bad_function_call);
}

// ---- the frame ----

TEST(ApplicationFrame, ViewportKeepsNamesArgumentsAndCallsInitialiser) {
  Log log;
  HKPersistentAppStorage* seen = nullptr;
  HKAppViewportBase viewport("first name", "second name", factoryFor(log),
                             [&](HKPersistentAppStorage& s) { seen = &s; });
  EXPECT_EQ(seen, &viewport.GetStorage());
  EXPECT_EQ(viewport.GetAppname(true), "first name");
  EXPECT_EQ(viewport.GetAppname(false), "second name");
  char arg0[] = "prog";
  char* argv[] = {arg0, nullptr};
  Driver driver(viewport, 1, argv);
  EXPECT_EQ(viewport.GetArgC(), 1);
  EXPECT_EQ(viewport.GetArgV(), argv);
  EXPECT_EQ(driver.argc(), 1);
  EXPECT_EQ(driver.argv(), argv);
  EXPECT_EQ(driver.name(), "first name");
  EXPECT_EQ(driver.getStopFlag(), 0u);
  driver.XInit();
  driver.XStop();
  // The application is made by main_start_local and lives on the storage.
  HKTovikApplication2* app = viewport.main_start_local(true);
  EXPECT_EQ(app, viewport.GetApplication());
  EXPECT_EQ(&app->GetAppstorage(), &viewport.GetStorage());
}

TEST(ApplicationFrame, ContextsDieInKeyOrderBeforeTheSchedulerStops) {
  Log log;
  HKPersistentAppStorage storage;
  auto* app = new TestApp(storage, log);
  auto* b = new TestContext(app, "b", log);
  auto* a = new TestContext(app, "a", log);
  auto* replaced = new TestContext(app, "a", log);
  EXPECT_EQ(app->insertNewContext(b), b);
  EXPECT_EQ(app->insertNewContext(replaced), replaced);
  EXPECT_EQ(app->insertNewContext(a), a);  // replaces without deleting
  EXPECT_EQ(app->insertNewContext(nullptr), nullptr);
  EXPECT_TRUE(app->checkContext("a"));
  EXPECT_TRUE(app->checkContext("b"));
  EXPECT_FALSE(app->checkContext("c"));
  EXPECT_EQ(&b->getScheduler(), &app->getScheduler());
  // A job whose stop hook tells when the scheduler stops.
  std::atomic<bool> inside{false}, run{true};
  HKGavetaJobAtttributes attributes;
  attributes._jo_name = "worker";
  attributes._jo_stop = [&] {
    log.add("scheduler stops job");
    run = false;
  };
  app->getScheduler().Inject(
      [&](HKGavetaJobParametersAndResult* p) {
        inside = true;
        while (run) std::this_thread::sleep_for(1ms);
        return p;
      },
      nullptr, attributes);
  while (!inside) std::this_thread::sleep_for(1ms);
  delete app;
  EXPECT_EQ(log.copy(),
            (std::vector<std::string>{"app destructor", "context a", "context b", "scheduler stops job"}));
  delete replaced;  // never owned by the application
}

TEST(ApplicationFrame, ContextWithEmptyIdIsFiledUnderEmptyKey) {
  Log log;
  HKPersistentAppStorage storage;
  TestApp app(storage, log);
  auto* context = new TestContext(&app, "", log);
  EXPECT_EQ(context->getMainContextID(), "");
  EXPECT_TRUE(context->getContextIDs().empty());
  app.insertNewContext(context);
  EXPECT_TRUE(app.checkContext(""));
}

TEST(ApplicationFrame, ContextRefusesNullApplication) {
  std::map<std::string, std::string> params;
  try {
    HKHTMLKontextN context(nullptr, "id", 0, "", params);
    FAIL() << "no exception";
  } catch (const HKException& e) {
    EXPECT_STREQ(e.what(), "App must be defined, but is nullptr");
  }
}

TEST(ApplicationFrame, DefaultsOfTheApplicationObject) {
  Log log;
  HKPersistentAppStorage storage;
  std::map<std::string, std::string> params{{"startpath", "www"}};
  HKTovikApplication2 app(storage, {}, params);
  EXPECT_EQ(app.createNewContext("tovikid"), nullptr);
  EXPECT_EQ(&app.GetAppstorage(), &storage);
  auto copy = app.getParams();
  EXPECT_EQ(copy, params);
  copy["x"] = "y";
  EXPECT_EQ(app.getParams().count("x"), 0u);  // a copy
  const std::string id = app.newID("ctx");
  EXPECT_TRUE(std::regex_match(id, std::regex("^ctx[0-9]{18}$"))) << id;
  app.Init();
  app.Run();  // no interfaces: returns at once
  app.Stop();
}
