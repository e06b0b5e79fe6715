// The launcher of the user's browser.
//
// `RunApplication` hands the start of a browser on a document to a job of
// the scheduler (named "intention") and returns at once; whether a browser
// really started is never reported back. The job forks; the child tries the
// browser candidates in their fixed order and becomes the first one that
// starts; the parent waits for it, so the job stays busy while the browser
// lives. When the scheduler stops, the job stops waiting (the browser stays
// open, the application can end).
//
// Safety in a threaded process: the argument vectors and the lines the
// child writes are prepared before fork; the child writes with write(2),
// tries exec and, when every candidate failed, ends with _exit. It never
// returns into the library in its forked copy, and nothing is shown to the
// user.
#pragma once

#include <list>
#include <memory>
#include <string>
#include <vector>

class HKGavetaScheduler2;
struct HKIntentionState;

class HKIntention {
 public:
  explicit HKIntention(HKGavetaScheduler2& scheduler);
  HKIntention(const HKIntention&) = delete;
  HKIntention& operator=(const HKIntention&) = delete;
  // Waits until no launch of this object is under way (a waiting parent
  // gives up its wait when the scheduler stops).
  virtual ~HKIntention();

  // False, and nothing done, unless `mimeType` is exactly "text/html";
  // otherwise a job "intention" is injected and the answer is true.
  virtual bool RunApplication(std::string document, std::string mimeType);
  // Forks; the child writes "testing: <name>  <document>" for each candidate
  // and execs it (with "--incognito" before the document for
  // "google-chrome"); the parent waits for the child. A failed fork throws
  // "fork failed, cant call external process".
  virtual void _run_something(std::list<std::string> candidates, std::string document);

  // "opera", "chromium", "chromium-browser", "google-chrome", "firefox",
  // "konqueror", "epiphany": the order in which browsers are tried.
  static const std::vector<std::string>& browserCandidates();

 protected:
  HKGavetaScheduler2& _scheduler;

 private:
  // Shared with the injected jobs: a job that runs after this object is gone
  // does nothing, and the destructor waits for launches under way.
  std::shared_ptr<HKIntentionState> _state;
};
