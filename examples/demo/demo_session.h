// The demo's session page: what a toviktwo application adds to the library
// to give every browser page a live page on the server. See demo_session.cpp.
#pragma once

#include <atomic>
#include <map>
#include <string>

#include <toviktwo/toviktwo.h>

// One browser page: a counter, an echo field, a modal dialog and a long task.
class DemoSession : public HKHTMLKontextN {
 public:
  DemoSession(HKTovikApplication2* app, const std::string& id, std::map<std::string, std::string>& params,
              const std::string& styleSheet);

 private:
  // Widget callbacks: each returns the JavaScript that updates the live page.
  std::string onCount(std::string element, HKXHeader& request);
  std::string onEcho(std::string element, HKXHeader& request);
  std::string onOpenDialog(std::string element, HKXHeader& request);
  std::string onCloseDialog(std::string element, HKXHeader& request);
  std::string onStartTask(std::string element, HKXHeader& request);
  // The update function of the long task: reports progress, returns the next delay.
  long reportTask(const std::string& reference);
  // Makes an element changeable by the widget manager without a hook of its own.
  void watch(const std::string& id);
  // Registers `callback` for clicks on the element with this id.
  std::string onClick(const std::string& id, std::string (DemoSession::*callback)(std::string, HKXHeader&));

  std::map<std::string, std::string> _options;  // registration options (the manager may write to them)
  int _clicks = 0;
  HKScenario* _task = nullptr;  // owned by the update manager
  std::string _taskReference;   // the running task's action id, "" when idle
  std::atomic<int> _taskStep{0};
};

// The application: makes a DemoSession for every new page.
class DemoApplication : public HKTovikApplication2 {
 public:
  DemoApplication(HKPersistentAppStorage& storage, std::vector<HKTovikInterfaceProps> interfaces,
                  std::map<std::string, std::string> params, const std::string& templateDir);
  HKHTMLKontextN* createNewContext(const std::string& key) override;

 private:
  std::map<std::string, std::string> _sessionParams;  // "startpath": where the template lies
  std::string _styleSheet;                            // read once, printed into every page
};
