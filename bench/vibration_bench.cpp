// The host's motor requests on the SDL2 simulator:
//
//   BM_RequestToMotors  JoysticAPI_SetVibration with new speeds until the polling thread has
//                       called SDL_JoystickRumble with them (the simulator stamps the change on
//                       the steady clock inside that call), 1 pad, at poll intervals of 30 and
//                       1 ms. Before each request the bench waits a random 0..30 ms, so requests
//                       land at every phase of the poll. Target: p99 within 2 ms.
//   BM_PacketCadence    4 idle pads polled at the default interval for 3 s, with and without a
//                       host thread asking every pad for new speeds 1000 times a second: packets
//                       per second per pad, and the spacing of slot 0's packets (median, p99,
//                       min, max). Target: the same with the requests as without.
//                       Counter call_*_ns: the time one JoysticAPI_SetVibration takes on the
//                       host's thread (target: median within 1 us).
//
// `--seed=N` chooses the random phases (printed in the context).
#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "sdl_sim.h"
#include "sim_host.h"

namespace {

using Clock = std::chrono::steady_clock;
using cpd::bench::Percentile;

constexpr int REQUEST_PAD_NUMBER = 40;
constexpr int CADENCE_PAD_NUMBER = 41;
constexpr std::chrono::seconds WAIT_LIMIT{15};
constexpr std::chrono::seconds CADENCE_WINDOW{3};

unsigned gSeed = 1;

double Seconds(Clock::duration duration) {
  return std::chrono::duration<double>(duration).count();
}

void ReportSpread(benchmark::State& state, const std::vector<double>& values, double scale,
                  const std::string& name) {
  state.counters[name + "_median"] = scale * Percentile(values, 0.5);
  state.counters[name + "_p99"] = scale * Percentile(values, 0.99);
  state.counters[name + "_min"] = scale * Percentile(values, 0.0);
  state.counters[name + "_max"] = scale * Percentile(values, 1.0);
}

// Counts packets and keeps slot 0's arrival times.
class PacketWatch : public cpd::bench::QuietListener {
 public:
  void OnJoystickData(const JoystickDataPacket* data, int32_t /*length*/) override {
    const Clock::time_point now = Clock::now();
    const JoystickDataPacket packet = cpd::bench::CopyPacket(data);
    std::lock_guard<std::mutex> lock(mMutex);
    ++mPackets;
    if (packet.slot == 0) {
      mSlotZero.push_back(now);
    }
  }

  void Reset() {
    std::lock_guard<std::mutex> lock(mMutex);
    mPackets = 0;
    mSlotZero.clear();
  }

  uint64_t Packets() {
    std::lock_guard<std::mutex> lock(mMutex);
    return mPackets;
  }

  std::vector<Clock::time_point> SlotZero() {
    std::lock_guard<std::mutex> lock(mMutex);
    return mSlotZero;
  }

 private:
  std::mutex mMutex;
  uint64_t mPackets = 0;
  std::vector<Clock::time_point> mSlotZero;
};

bool WaitUntil(const std::function<bool()>& done) {
  const Clock::time_point deadline = Clock::now() + WAIT_LIMIT;
  while (!done()) {
    if (Clock::now() > deadline) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::microseconds(50));
  }
  return true;
}

// ---- request to motors ------------------------------------------------------------------------

// When the pad's motors last changed to `low`, on the steady clock.
bool ChangedTo(int pad, uint16_t low, Clock::time_point& when) {
  const std::vector<sim_motor_change> changes = sim::MotorChanges(pad);
  if (changes.empty() || changes.back().low != low) {
    return false;
  }
  when = Clock::time_point(std::chrono::microseconds(changes.back().at_micros));
  return true;
}

void BM_RequestToMotors(benchmark::State& state) {
  sim_set_journal_enabled(0);
  JoysticAPI_SetPollInterval(static_cast<uint16_t>(state.range(0)));
  const int pad = cpd::bench::PlugPad(cpd::bench::XBOX_PAD, REQUEST_PAD_NUMBER);
  cpd::bench::QuietListener listener;
  JoysticAPI_RegsisterNotify(&listener);
  if (!WaitUntil([] { return JoysticAPI_SetVibration(0, 1, 1) == 0; })) {
    state.SkipWithError("the pad never held slot 0");
  }
  std::mt19937 random(gSeed);
  std::uniform_int_distribution<int64_t> phase(0, 29'999);
  std::vector<double> latencies;
  uint16_t speed = 1;
  for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the benchmark loop
    std::this_thread::sleep_for(std::chrono::microseconds(phase(random)));
    speed = static_cast<uint16_t>(speed % 60000 + 1);
    const Clock::time_point asked = Clock::now();
    JoysticAPI_SetVibration(0, speed, speed);
    Clock::time_point applied;
    if (!WaitUntil([&] { return ChangedTo(pad, speed, applied); })) {
      state.SkipWithError("a request never reached the motors");
      break;
    }
    latencies.push_back(Seconds(applied - asked));
    state.SetIterationTime(latencies.back());
  }
  JoysticAPI_UnregsisterNotify(&listener);
  JoysticAPI_SetPollInterval(30);
  sim_unplug(pad);
  ReportSpread(state, latencies, 1e3, "ms");
  state.counters["load1"] = cpd::bench::LoadAverage1();
}

// ---- packet cadence while a host asks 1000 times a second per pad --------------------------

// Asks every slot for new speeds once a millisecond until told to stop; keeps how long each call
// took on this thread.
void Hammer(const std::atomic<bool>& stop, std::vector<double>& callSeconds) {
  uint16_t speed = 1;
  Clock::time_point next = Clock::now();
  while (!stop.load()) {
    for (uint16_t slot = 0; slot < 4; ++slot) {
      const Clock::time_point before = Clock::now();
      JoysticAPI_SetVibration(slot, speed, static_cast<uint16_t>(65535 - speed));
      callSeconds.push_back(Seconds(Clock::now() - before));
    }
    speed = static_cast<uint16_t>(speed % 60000 + 1);
    next += std::chrono::milliseconds(1);
    std::this_thread::sleep_until(next);
  }
}

void BM_PacketCadence(benchmark::State& state) {
  sim_set_journal_enabled(0);
  const bool hammering = state.range(0) != 0;
  std::vector<int> pads;
  int number = CADENCE_PAD_NUMBER;
  for (const cpd::bench::PadModel& model : cpd::bench::GamePadModels()) {
    pads.push_back(cpd::bench::PlugPad(model, number++));
  }
  PacketWatch watch;
  JoysticAPI_RegsisterNotify(&watch);
  if (!WaitUntil([] { return JoysticAPI_GetDevList().size() == 4; })) {
    state.SkipWithError("the four pads were never listed");
  }
  std::vector<double> calls;
  calls.reserve(64'000);  // the host thread's own allocations stay out of the window
  std::vector<double> spacing;
  double packetsPerSecond = 0;
  for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the benchmark loop
    std::atomic<bool> stop{false};
    std::thread host;
    if (hammering) {
      host = std::thread([&] { Hammer(stop, calls); });
    }
    watch.Reset();
    const Clock::time_point start = Clock::now();
    std::this_thread::sleep_for(CADENCE_WINDOW);
    const uint64_t packets = watch.Packets();
    const double window = Seconds(Clock::now() - start);
    stop = true;
    if (host.joinable()) {
      host.join();
    }
    packetsPerSecond = static_cast<double>(packets) / window / 4.0;
    const std::vector<Clock::time_point> arrivals = watch.SlotZero();
    for (size_t at = 1; at < arrivals.size(); ++at) {
      spacing.push_back(Seconds(arrivals[at] - arrivals[at - 1]));
    }
    state.SetIterationTime(window);
  }
  JoysticAPI_UnregsisterNotify(&watch);
  for (const int pad : pads) {
    sim_unplug(pad);
  }
  state.counters["packets_per_s_per_pad"] = packetsPerSecond;
  ReportSpread(state, spacing, 1e3, "spacing_ms");
  if (hammering) {
    ReportSpread(state, calls, 1e9, "call_ns");
    state.counters["calls_per_s"] =
        static_cast<double>(calls.size()) / (Seconds(CADENCE_WINDOW) * state.iterations());
  }
  state.counters["load1"] = cpd::bench::LoadAverage1();
}

}  // namespace

BENCHMARK(BM_RequestToMotors)
    ->ArgName("interval_ms")
    ->Arg(30)
    ->Arg(1)
    ->UseManualTime()
    ->Iterations(300)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PacketCadence)
    ->ArgName("hammering")
    ->Arg(0)
    ->Arg(1)
    ->UseManualTime()
    ->Iterations(3)
    ->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
  std::vector<char*> arguments;
  for (int i = 0; i < argc; ++i) {
    if (std::strncmp(argv[i], "--seed=", 7) == 0) {
      gSeed = static_cast<unsigned>(std::strtoul(argv[i] + 7, nullptr, 10));
    } else {
      arguments.push_back(argv[i]);
    }
  }
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  benchmark::AddCustomContext("seed", std::to_string(gSeed));
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
