#include <toviktwo/transport/hktransportjobs.h>

#include <chrono>
#include <thread>

namespace {

using namespace std::chrono_literals;

constexpr auto kJobPoll = 20ms;

}  // namespace

uint64_t HKInjectLoopJob(HKGavetaScheduler2& scheduler, const std::string& name, std::function<void()> body,
                         std::function<void()> stop) {
  HKGavetaJobAtttributes attributes;
  attributes._jo_name = name;
  attributes._jo_stop = std::move(stop);
  const uint64_t id = scheduler.Inject(
      [body = std::move(body)](HKGavetaJobParametersAndResult* p) {
        try {
          body();
        } catch (...) {
          // A job must not let an exception escape.
        }
        return p;
      },
      nullptr, attributes);
  scheduler.Start();
  return id;
}

void HKReapLoopJob(HKGavetaScheduler2& scheduler, uint64_t id) {
  if (id == 0) return;
  // No StopID: a job stopped before the scheduler started it never runs and
  // would never be ready. A loop told to end returns at once when it starts.
  while (!scheduler.IsReady(id)) std::this_thread::sleep_for(kJobPoll);
  delete scheduler.GetResult(id);
}
