// How long a recorded choice takes to reach the secure store: from SetMappingIndex returning
// control to the watcher to the watcher's SetSecure call. The in-memory store notes the time of
// each call, so what is measured is the policy store's own hand-over, not a store's write.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <memory>

#include "joystick_policy/joystick_policy.h"
#include "recording_store.h"

namespace {

using Clock = std::chrono::steady_clock;

// When the store's next SetSecure after the first `writes` came in.
Clock::time_point WaitForWriteAfter(size_t writes) {
  cpd::test::WaitForStoreCalls("SetSecure", writes + 1, std::chrono::hours(1));
  size_t seen = 0;
  for (const cpd::test::StoreCall& call : cpd::test::StoreCalls()) {
    if (call.operation == "SetSecure" && ++seen == writes + 1) {
      return call.time;
    }
  }
  return Clock::now();
}

void SetMappingIndexToStoreWrite(benchmark::State& state) {
  cpd::test::SetStoreRecording(true);  // the call times are what is measured
  auto policy = std::make_shared<cpd::JoystickPolicy>();
  policy->Init();
  uint16_t round = 0;
  for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the benchmark loop
    const size_t writes = cpd::test::CountStoreCalls("SetSecure");
    const Clock::time_point asked = Clock::now();
    policy->SetMappingIndex(0x045e, 0x028e, static_cast<uint16_t>(1 + round++ % 6),
                            "Xbox Controller");
    const Clock::time_point written = WaitForWriteAfter(writes);
    state.SetIterationTime(std::chrono::duration<double>(written - asked).count());
  }
}

}  // namespace

// One choice per repetition, so the median is taken over 100 separate hand-overs.
BENCHMARK(SetMappingIndexToStoreWrite)
    ->UseManualTime()
    ->Iterations(1)
    ->Repetitions(100)
    ->ReportAggregatesOnly(true)
    ->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
