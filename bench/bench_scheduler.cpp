// Scheduler and identity costs: every HTTP head is a job and takes an
// identity, so these bound the server.
#include <benchmark/benchmark.h>

#include <atomic>
#include <chrono>
#include <thread>

#include <toviktwo/scheduler/hkgavetascheduler2.h>
#include <toviktwo/scheduler/hkjidgenerator.h>

namespace {

using Params = HKGavetaJobParametersAndResult;

// Identities per second from one generator (each holds its lock for 2 µs).
void BM_JIDGenerator_getID(benchmark::State& state) {
  HKJIDGenerator generator("_job");
  for (auto _ : state) benchmark::DoNotOptimize(generator.getID());
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_JIDGenerator_getID)->UseRealTime();

// Identities without the pause, for comparison.
void BM_JIDGenerator_getAnyString(benchmark::State& state) {
  HKJIDGenerator generator("_job");
  for (auto _ : state) benchmark::DoNotOptimize(generator.getAnyString("x"));
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_JIDGenerator_getAnyString)->UseRealTime();

// Jobs per second through Inject .. GetResult, one after another. The
// client polls IsReady with a yield instead of the usual 20 ms sleep.
void BM_Scheduler_InjectToGetResult(benchmark::State& state) {
  HKGavetaScheduler2 scheduler;
  HKGavetaJobAtttributes attributes;
  attributes._jo_name = "bench";
  for (auto _ : state) {
    const unsigned long id = scheduler.Inject([](Params* p) { return p; }, nullptr, attributes);
    while (!scheduler.IsReady(id)) std::this_thread::yield();
    delete scheduler.GetResult(id);
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_Scheduler_InjectToGetResult)->UseRealTime();

// Latency from Inject to the job's first instruction (manual time: only
// that span is measured; collecting the result is not).
void BM_Scheduler_InjectToFirstInstruction(benchmark::State& state) {
  HKGavetaScheduler2 scheduler;
  HKGavetaJobAtttributes attributes;
  attributes._jo_name = "latency";
  for (auto _ : state) {
    std::atomic<int64_t> entered{0};
    const auto before = std::chrono::steady_clock::now();
    const unsigned long id = scheduler.Inject(
        [&entered](Params* p) {
          entered = std::chrono::steady_clock::now().time_since_epoch().count();
          return p;
        },
        nullptr, attributes);
    while (!scheduler.IsReady(id)) std::this_thread::yield();
    delete scheduler.GetResult(id);
    const auto first = std::chrono::steady_clock::time_point(std::chrono::steady_clock::duration(entered.load()));
    state.SetIterationTime(std::chrono::duration<double>(first - before).count());
  }
}
BENCHMARK(BM_Scheduler_InjectToFirstInstruction)->UseManualTime();

}  // namespace
