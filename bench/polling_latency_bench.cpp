// How long a host waits for what the polling thread does, on the SDL2 simulator:
//
//   BM_InputToListener   a button change in the simulator until the first OnJoystickData that
//                        carries it (1 controller), at poll intervals of 30, 4 and 1 ms. Before
//                        each change the bench waits a random 0..30 ms, so changes land at every
//                        phase of the poll. Bound: one poll interval. `period_ms` is the mean
//                        time between packets (about 30 ms in every mode while idle).
//   BM_PlugToDevList     plugging a controller until the first OnDevListUpdate whose device list
//                        holds it, with 0 or 1 controllers already there. By design this includes
//                        the 0.5 s pause before a re-open and the ~0.33 s baseline burst of every
//                        opened controller, and with no controller before, the remainder of the
//                        2 s wait between empty enumerations (the bench plugs at a random phase).
//                        Counter unplug_*: unplugging it again until the list drops it.
//   BM_LastUnregister    the last JoysticAPI_UnregsisterNotify while 1 controller is polled,
//                        issued at a random phase of the poll period.
//
// Manual time is the measured interval; counters give the median, p99 (or p90) and max over the
// iterations. `--seed=N` chooses the random phases (printed in the context).
#include <benchmark/benchmark.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "sdl_sim.h"
#include "sim_host.h"

namespace {

using Clock = std::chrono::steady_clock;
using cpd::bench::Percentile;

constexpr std::chrono::seconds WAIT_LIMIT{15};
constexpr int INPUT_PAD_NUMBER = 30;
constexpr int BASE_PAD_NUMBER = 31;
constexpr int PLUGGED_PAD_NUMBER = 32;
constexpr int UNREGISTER_PAD_NUMBER = 33;

unsigned gSeed = 1;

double Seconds(Clock::duration duration) {
  return std::chrono::duration<double>(duration).count();
}

// Sleeps a random time below `limit`.
void SleepRandomly(std::mt19937& random, std::chrono::microseconds limit) {
  std::uniform_int_distribution<int64_t> phase(0, limit.count() - 1);
  std::this_thread::sleep_for(std::chrono::microseconds(phase(random)));
}

void ReportSpread(benchmark::State& state, const std::vector<double>& seconds, double scale,
                  const std::string& unit, const std::string& prefix = "") {
  state.counters[prefix + "median_" + unit] = scale * Percentile(seconds, 0.5);
  state.counters[prefix + (seconds.size() >= 100 ? "p99_" : "p90_") + unit] =
      scale * Percentile(seconds, seconds.size() >= 100 ? 0.99 : 0.9);
  state.counters[prefix + "min_" + unit] = scale * Percentile(seconds, 0.0);
  state.counters[prefix + "max_" + unit] = scale * Percentile(seconds, 1.0);
}

// ---- input change to listener ---------------------------------------------------------------

// Notes when a packet first shows the button state the bench is waiting for.
class ButtonWatch : public cpd::bench::QuietListener {
 public:
  void OnJoystickData(const JoystickDataPacket* data, int32_t /*length*/) override {
    const Clock::time_point now = Clock::now();
    const JoystickDataPacket packet = cpd::bench::CopyPacket(data);
    std::lock_guard<std::mutex> lock(mMutex);
    if (mPackets == 0) {
      mFirstPacket = now;
    }
    mLastPacket = now;
    ++mPackets;
    if (mWaiting && (packet.wButtons != 0) == mWantPressed) {
      mWaiting = false;
      mSeen = now;
    }
    mChanged.notify_all();
  }

  void Expect(bool pressed) {
    std::lock_guard<std::mutex> lock(mMutex);
    mWaiting = true;
    mWantPressed = pressed;
  }

  // When the expected state was first seen; false if it was not seen in time.
  bool WaitForExpected(Clock::time_point& seen) {
    std::unique_lock<std::mutex> lock(mMutex);
    if (!mChanged.wait_for(lock, WAIT_LIMIT, [this] { return !mWaiting; })) {
      mWaiting = false;
      return false;
    }
    seen = mSeen;
    return true;
  }

  bool WaitForPackets(uint64_t count) {
    std::unique_lock<std::mutex> lock(mMutex);
    return mChanged.wait_for(lock, WAIT_LIMIT, [&] { return mPackets >= count; });
  }

  // Mean time between packets so far.
  double PeriodSeconds() {
    std::lock_guard<std::mutex> lock(mMutex);
    return mPackets > 1 ? Seconds(mLastPacket - mFirstPacket) / static_cast<double>(mPackets - 1)
                        : 0.0;
  }

 private:
  std::mutex mMutex;
  std::condition_variable mChanged;
  bool mWaiting = false;
  bool mWantPressed = false;
  Clock::time_point mSeen;
  uint64_t mPackets = 0;
  Clock::time_point mFirstPacket;
  Clock::time_point mLastPacket;
};

void BM_InputToListener(benchmark::State& state) {
  sim_set_journal_enabled(0);
  const auto interval = static_cast<uint16_t>(state.range(0));
  JoysticAPI_SetPollInterval(interval);
  const int pad = cpd::bench::PlugPad(cpd::bench::XBOX_PAD, INPUT_PAD_NUMBER);
  ButtonWatch watch;
  JoysticAPI_RegsisterNotify(&watch);
  // Polling has begun once a packet shows a press of button 0; the idle state has no button set.
  bool pressed = true;
  watch.Expect(pressed);
  sim_set_button(pad, 0, 1);
  Clock::time_point seen;
  if (!watch.WaitForExpected(seen)) {
    state.SkipWithError("button 0 of the pad never showed in a packet");
  }
  std::mt19937 random(gSeed);
  std::vector<double> latencies;
  for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the benchmark loop
    SleepRandomly(random, std::chrono::milliseconds(30));
    pressed = !pressed;
    watch.Expect(pressed);
    const Clock::time_point changed = Clock::now();
    sim_set_button(pad, 0, pressed ? 1 : 0);
    if (!watch.WaitForExpected(seen)) {
      state.SkipWithError("a button change never reached the listener");
      break;
    }
    latencies.push_back(Seconds(seen - changed));
    state.SetIterationTime(latencies.back());
  }
  const double period = watch.PeriodSeconds();
  JoysticAPI_UnregsisterNotify(&watch);
  JoysticAPI_SetPollInterval(30);
  sim_unplug(pad);
  ReportSpread(state, latencies, 1e3, "ms");
  state.counters["period_ms"] = 1e3 * period;
  size_t beyondInterval = 0;
  for (const double latency : latencies) {
    beyondInterval += latency > static_cast<double>(interval) / 1e3 ? 1 : 0;
  }
  state.counters["beyond_interval"] = static_cast<double>(beyondInterval);
  state.counters["load1"] = cpd::bench::LoadAverage1();
}

// ---- plug to device list ----------------------------------------------------------------------

// Records every published device list as the set of its paths, with the time it was announced.
class DevListWatch : public cpd::bench::QuietListener {
 public:
  void OnDevListUpdate() override {
    const Clock::time_point now = Clock::now();
    std::set<std::string> paths;
    for (const _CpdJoystickDeviceInfo& device : JoysticAPI_GetDevList()) {
      paths.insert(device.path);
    }
    std::lock_guard<std::mutex> lock(mMutex);
    mUpdates.push_back({now, std::move(paths)});
    mChanged.notify_all();
  }

  size_t UpdateCount() {
    std::lock_guard<std::mutex> lock(mMutex);
    return mUpdates.size();
  }

  // Waits for an update after the first `after` ones whose list holds (or lacks) `path`, and
  // gives its time; false if none came in time.
  bool WaitForList(size_t after, const std::string& path, bool listed, Clock::time_point& when) {
    std::unique_lock<std::mutex> lock(mMutex);
    size_t next = after;
    const bool found = mChanged.wait_for(lock, WAIT_LIMIT, [&] {
      for (; next < mUpdates.size(); ++next) {
        if ((mUpdates[next].paths.count(path) != 0) == listed) {
          return true;
        }
      }
      return false;
    });
    if (found) {
      when = mUpdates[next].time;
    }
    return found;
  }

 private:
  struct Update {
    Clock::time_point time;
    std::set<std::string> paths;
  };
  std::mutex mMutex;
  std::condition_variable mChanged;
  std::vector<Update> mUpdates;
};

void BM_PlugToDevList(benchmark::State& state) {
  sim_set_journal_enabled(0);
  const bool withBase = state.range(0) > 0;
  const std::string basePath = cpd::bench::PadPath(BASE_PAD_NUMBER);
  const std::string pluggedPath = cpd::bench::PadPath(PLUGGED_PAD_NUMBER);
  const int base = withBase ? cpd::bench::PlugPad(cpd::bench::XBOX_PAD, BASE_PAD_NUMBER) : -1;
  DevListWatch watch;
  JoysticAPI_RegsisterNotify(&watch);
  Clock::time_point when;
  if (withBase && !watch.WaitForList(0, basePath, true, when)) {
    state.SkipWithError("the first controller was never listed");
  }
  // Between empty enumerations the thread waits 2 s; between polls 30 ms. Plugging at a random
  // phase of that wait samples the whole range instead of one point of it.
  const auto phaseLimit =
      withBase ? std::chrono::milliseconds(30) : std::chrono::milliseconds(2000);
  std::mt19937 random(gSeed);
  std::vector<double> plugs;
  std::vector<double> unplugs;
  for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the benchmark loop
    SleepRandomly(random, phaseLimit);
    size_t updates = watch.UpdateCount();
    const Clock::time_point plugged = Clock::now();
    const int pad = cpd::bench::PlugPad(cpd::bench::DUALSENSE_PAD, PLUGGED_PAD_NUMBER);
    if (!watch.WaitForList(updates, pluggedPath, true, when)) {
      state.SkipWithError("the plugged controller was never listed");
      break;
    }
    plugs.push_back(Seconds(when - plugged));
    state.SetIterationTime(plugs.back());
    updates = watch.UpdateCount();
    const Clock::time_point unplugged = Clock::now();
    sim_unplug(pad);
    if (!watch.WaitForList(updates, pluggedPath, false, when)) {
      state.SkipWithError("the unplugged controller stayed listed");
      break;
    }
    unplugs.push_back(Seconds(when - unplugged));
  }
  JoysticAPI_UnregsisterNotify(&watch);
  if (base >= 0) {
    sim_unplug(base);
  }
  ReportSpread(state, plugs, 1.0, "s");
  ReportSpread(state, unplugs, 1.0, "s", "unplug_");
  state.counters["load1"] = cpd::bench::LoadAverage1();
}

// ---- last unregistration while polling ---------------------------------------------------------

void BM_LastUnregister(benchmark::State& state) {
  sim_set_journal_enabled(0);
  const int pad = cpd::bench::PlugPad(cpd::bench::XBOX_PAD, UNREGISTER_PAD_NUMBER);
  std::mt19937 random(gSeed);
  std::vector<double> stops;
  for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the benchmark loop
    ButtonWatch watch;
    JoysticAPI_RegsisterNotify(&watch);
    if (!watch.WaitForPackets(3)) {
      JoysticAPI_UnregsisterNotify(&watch);
      state.SkipWithError("the controller was not polled");
      break;
    }
    SleepRandomly(random, std::chrono::milliseconds(30));
    const Clock::time_point asked = Clock::now();
    JoysticAPI_UnregsisterNotify(&watch);
    stops.push_back(Seconds(Clock::now() - asked));
    state.SetIterationTime(stops.back());
  }
  sim_unplug(pad);
  ReportSpread(state, stops, 1e3, "ms");
  state.counters["load1"] = cpd::bench::LoadAverage1();
}

}  // namespace

BENCHMARK(BM_InputToListener)
    ->ArgName("interval_ms")
    ->Arg(30)
    ->Arg(4)
    ->Arg(1)
    ->UseManualTime()
    ->Iterations(1000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlugToDevList)
    ->ArgName("polled_before")
    ->Arg(0)
    ->Arg(1)
    ->UseManualTime()
    ->Iterations(20)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LastUnregister)->UseManualTime()->Iterations(50)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  for (int i = 1; i < argc; ++i) {
    if (std::strncmp(argv[i], "--seed=", 7) == 0) {
      gSeed = static_cast<unsigned>(std::strtoul(argv[i] + 7, nullptr, 10));
      argv[i] = argv[argc - 1];
      --argc;
      --i;
    }
  }
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 1;
  }
  benchmark::AddCustomContext("seed", std::to_string(gSeed));
  benchmark::AddCustomContext("load_average_at_start", cpd::bench::LoadAverages());
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  std::printf("load average at end: %s\n", cpd::bench::LoadAverages().c_str());
  return 0;
}
