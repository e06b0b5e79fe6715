// A console application on toviktwo: the start and stop order in one page.
//
// Start: viewport (with the storage) -> console driver -> XRun, which makes
// the application through the factory, calls Init() and Run(), and reads
// standard input. Stop: "quit" (or end of input) -> Stop() -> the viewport's
// destructor deletes the application, whose scheduler ends every job.
#include <toviktwo/toviktwo.h>

#include <atomic>
#include <iostream>
#include <mutex>

std::mutex out;  // job threads and the main thread share standard output

// The application: Init() injects a cyclic job that reports its progress.
class DemoApp : public HKTovikApplication2 {
 public:
  using HKTovikApplication2::HKTovikApplication2;
  void Init() override {
    HKGavetaJobAtttributes every;
    every._jo_name = "progress";
    every._jo_type = HK_GJA_CYCLIC;
    every._jo_delay_ms = 500;  // pause between runs
    getScheduler().Inject(
        [this](HKGavetaJobParametersAndResult* p) {
          std::lock_guard<std::mutex> g(out);
          std::cout << "progress: step " << ++_steps << std::endl;
          return p;  // still cyclic: run again after the pause
        },
        nullptr, every);
  }
  void Stop() override {
    std::lock_guard<std::mutex> g(out);
    std::cout << "stopping after " << _steps << " steps" << std::endl;
  }

 private:
  std::atomic<unsigned> _steps{0};  // written by the job, read by Stop()
};

// The console driver ends on "quit" and, unlike the plain driver, also at
// the end of standard input, so that the demo can run unattended.
class DemoConsole : public HKTovikCLAppAddOn {
 public:
  using HKTovikCLAppAddOn::HKTovikCLAppAddOn;
  long _Xrun() override {
    std::string word;
    while (std::cin >> word && word != "quit") {
      std::lock_guard<std::mutex> g(out);
      std::cout << "unknown command: " << word << " (type quit to end)" << std::endl;
    }
    _stop = 1;
    return 1;
  }
};

int main(int argc, char** argv) {
  HKAppViewportBase viewport(
      "toviktwo demo", "demo",
      [](HKAppViewportBase* v, bool) { return new DemoApp(v->GetStorage(), {}, {}); },
      [](HKPersistentAppStorage&) { /* configuration would be read here */ });
  DemoConsole console(viewport, argc, argv);
  console.XRun();
  std::cout << "bye" << std::endl;
  return 0;  // ~viewport: application (scheduler last), then storage
}
