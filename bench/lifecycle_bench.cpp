// How long the host waits in the exported lifecycle calls: the first registration (starts the
// polling thread) and the last unregistration (stops and joins it while it waits between
// passes). Each repetition is one register/unregister pair on the shipped library.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <thread>
#include <vector>

#include "common/log_sink.h"
#include "cpd_joystick/joystick_api.h"

namespace {

class IdleListener : public CpdJoystickNotify {
 public:
  void OnJoystickData(const JoystickDataPacket* /*data*/, int32_t /*length*/) override {}
  void OnDevListUpdate() override {}
  void OnJoystickEvent(std::string /*event*/, const EventRecord& /*record*/) override {}
};

double Seconds(std::chrono::steady_clock::duration duration) {
  return std::chrono::duration<double>(duration).count();
}

void BM_LastUnregister(benchmark::State& state) {
  IdleListener listener;
  for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the benchmark loop
    JoysticAPI_RegsisterNotify(&listener);
    // Let the polling thread settle into its wait, as it would between passes.
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const auto start = std::chrono::steady_clock::now();
    JoysticAPI_UnregsisterNotify(&listener);
    state.SetIterationTime(Seconds(std::chrono::steady_clock::now() - start));
  }
}

void BM_FirstRegister(benchmark::State& state) {
  IdleListener listener;
  for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the benchmark loop
    const auto start = std::chrono::steady_clock::now();
    JoysticAPI_RegsisterNotify(&listener);
    state.SetIterationTime(Seconds(std::chrono::steady_clock::now() - start));
    JoysticAPI_UnregsisterNotify(&listener);
  }
}

double Max(const std::vector<double>& values) {
  return values.empty() ? 0.0 : *std::max_element(values.begin(), values.end());
}

}  // namespace

BENCHMARK(BM_LastUnregister)
    ->UseManualTime()
    ->Iterations(1)
    ->Repetitions(100)
    ->ComputeStatistics("max", Max)
    ->ReportAggregatesOnly(true)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_FirstRegister)
    ->UseManualTime()
    ->Iterations(1)
    ->Repetitions(100)
    ->ComputeStatistics("max", Max)
    ->ReportAggregatesOnly(true)
    ->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
