// Long-running loops of the transport as scheduler jobs: one injection
// helper and one that waits for a loop to end, shared by the transceiver's
// network jobs and the servers' accept and buffer jobs.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include <toviktwo/scheduler/hkgavetascheduler2.h>

// Injects `body` as a one-shot job named `name` whose stop action is `stop`,
// and starts the scheduler. An exception from `body` ends the loop quietly:
// it never reaches the scheduler. Returns the job number.
uint64_t HKInjectLoopJob(HKGavetaScheduler2& scheduler, const std::string& name, std::function<void()> body,
                         std::function<void()> stop);
// Waits (20 ms polls) for a job whose loop was told to end and drops its
// result. Job number 0 does nothing.
void HKReapLoopJob(HKGavetaScheduler2& scheduler, uint64_t id);
