// How long a recorded choice takes to reach the secure store: from SetMappingIndex returning
// control to the watcher to the watcher's SetSecure call. The store here only notes the time of
// each call, so what is measured is the policy store's own hand-over, not a store's write.
#include <benchmark/benchmark.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "common/log_sink.h"
#include "cpd_joystick/sd_config.h"
#include "joystick_policy/joystick_policy.h"

namespace {

using Clock = std::chrono::steady_clock;

std::mutex gStoreMutex;
std::condition_variable gWritten;
int gWrites = 0;
Clock::time_point gLastWrite;

int Writes() {
  std::lock_guard<std::mutex> lock(gStoreMutex);
  return gWrites;
}

Clock::time_point WaitForWriteAfter(int writes) {
  std::unique_lock<std::mutex> lock(gStoreMutex);
  gWritten.wait(lock, [writes] { return gWrites > writes; });
  return gLastWrite;
}

void SetMappingIndexToStoreWrite(benchmark::State& state) {
  auto policy = std::make_shared<cpd::JoystickPolicy>();
  policy->Init();
  uint16_t round = 0;
  for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the benchmark loop
    const int writes = Writes();
    const Clock::time_point asked = Clock::now();
    policy->SetMappingIndex(0x045e, 0x028e, static_cast<uint16_t>(1 + round++ % 6),
                            "Xbox Controller");
    const Clock::time_point written = WaitForWriteAfter(writes);
    state.SetIterationTime(std::chrono::duration<double>(written - asked).count());
  }
}

}  // namespace

namespace sd {

SDConfig* SDConfig::GetInstance() {
  static SDConfig instance;
  return &instance;
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): the store's interface
std::string SDConfig::GetSecure(const std::string& /*key*/) {
  return "";
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): the store's interface
bool SDConfig::SetSecure(const std::string& /*key*/, const std::string& /*value*/) {
  const Clock::time_point now = Clock::now();
  {
    std::lock_guard<std::mutex> lock(gStoreMutex);
    ++gWrites;
    gLastWrite = now;
  }
  gWritten.notify_all();
  return true;
}

}  // namespace sd

extern "C" void quvaniLogPrint(int /*unused*/, int /*level*/, const char* /*tag*/,
                               const char* /*format*/, ...) {}

// One choice per repetition, so the median is taken over 100 separate hand-overs.
BENCHMARK(SetMappingIndexToStoreWrite)
    ->UseManualTime()
    ->Iterations(1)
    ->Repetitions(100)
    ->ReportAggregatesOnly(true)
    ->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
