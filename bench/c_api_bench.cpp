// What the C interface adds to a host's reads: the device list with 4 controllers and the layout
// catalogue, copied into C arrays, beside the C++ functions returning std::lists, on the SDL2
// simulator with one listener registered. Both read the same manager under the same lock; the
// difference is the copy into fixed fields and the per-call error-line capture.
#include <benchmark/benchmark.h>

#include <chrono>
#include <thread>

#include "cpd_joystick/cpd_joystick.h"
#include "sdl_sim.h"
#include "sim_host.h"

namespace {

constexpr int PADS = 4;

// Plugs four controllers and waits until the library lists them.
class Polling {
 public:
  Polling() {
    for (int number = 0; number < PADS; ++number) {
      cpd::bench::PlugPad(cpd::bench::GamePadModels()[number], 20 + number);
    }
    JoysticAPI_RegsisterNotify(&mListener);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (JoysticAPI_GetDevList().size() < PADS && std::chrono::steady_clock::now() < deadline) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
  }
  ~Polling() {
    JoysticAPI_UnregsisterNotify(&mListener);
    sim_reset();
  }
  Polling(const Polling&) = delete;
  Polling& operator=(const Polling&) = delete;

 private:
  cpd::bench::QuietListener mListener;
};

void BM_DevListCpp(benchmark::State& state) {
  const Polling polling;
  for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the benchmark loop
    benchmark::DoNotOptimize(JoysticAPI_GetDevList());
  }
  state.counters["entries"] = static_cast<double>(JoysticAPI_GetDevList().size());
}

void BM_DevListC(benchmark::State& state) {
  const Polling polling;
  cpd_joystick_device_info devices[PADS];
  int32_t count = 0;
  for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the benchmark loop
    count = cpd_joystick_get_dev_list(devices, PADS);
    benchmark::DoNotOptimize(devices);
  }
  state.counters["entries"] = count;
}

void BM_MappingListCpp(benchmark::State& state) {
  const Polling polling;
  for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the benchmark loop
    benchmark::DoNotOptimize(JoysticAPI_GetMappingList());
  }
}

void BM_MappingListC(benchmark::State& state) {
  const Polling polling;
  cpd_joystick_mapping_info mappings[6];
  for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the benchmark loop
    benchmark::DoNotOptimize(cpd_joystick_get_mapping_list(mappings, 6));
    benchmark::DoNotOptimize(mappings);
  }
}

void BM_CountOnlyC(benchmark::State& state) {
  const Polling polling;
  for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the benchmark loop
    benchmark::DoNotOptimize(cpd_joystick_get_dev_list(nullptr, 0));
  }
}

BENCHMARK(BM_DevListCpp)->Repetitions(5)->ReportAggregatesOnly(true);
BENCHMARK(BM_DevListC)->Repetitions(5)->ReportAggregatesOnly(true);
BENCHMARK(BM_CountOnlyC)->Repetitions(5)->ReportAggregatesOnly(true);
BENCHMARK(BM_MappingListCpp)->Repetitions(5)->ReportAggregatesOnly(true);
BENCHMARK(BM_MappingListC)->Repetitions(5)->ReportAggregatesOnly(true);

}  // namespace

BENCHMARK_MAIN();
