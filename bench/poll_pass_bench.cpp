// CPU time the polling thread spends on one poll pass, with 1 and with 4 idle controllers on the
// SDL2 simulator and one listener that does nothing.
//
// The listener cuts the window on the polling thread itself, at the first packet of two chosen
// passes, so the window holds whole passes only. Reported time = the polling thread's CPU time
// per pass, all of it: the library's work, the simulator's, and what the kernel charges the
// thread for going to sleep for 30 ms and waking up again. BM_TimedWaitFloor measures that last
// part alone: a thread that does nothing but the same 30 ms timed wait, measured the same way.
// Counters:
//   wall_ms_per_pass    the actual period of a pass
//   thread_cpu_pct      the thread's CPU time over wall time
//   preempted_per_pass  involuntary context switches of the thread per pass (load from others)
//   packets_per_pass    packets the listener got per pass (should equal the controllers)
//   sdl_calls_per_pass  SDL calls the library made per pass (from the simulator's journal)
//   sim_us_per_pass     CPU time the simulator itself needs for those calls, measured by
//                       replaying them on the bench thread; real SDL2 costs differ
//   load1               one-minute load average when the repetition ended
#include <SDL.h>
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "sdl_sim.h"
#include "sim_host.h"

namespace {

using Clock = std::chrono::steady_clock;
using cpd::bench::CopyPacket;
using cpd::bench::ThisThreadCpuSeconds;

constexpr std::chrono::milliseconds POLL_PERIOD{30};
constexpr uint32_t WARM_UP_PASSES = 10;
constexpr uint32_t PASSES_PER_WINDOW = 100;
constexpr uint32_t JOURNAL_PASSES = 20;
constexpr int REPLAY_ROUNDS = 50;
constexpr int FIRST_PAD_NUMBER = 20;

struct PassWindow {
  bool complete = false;
  uint32_t passes = 0;
  double cpuSeconds = 0.0;
  double wallSeconds = 0.0;
  uint64_t packets = 0;
  long preemptions = 0;
};

long ThisThreadPreemptions() {
  rusage usage{};
  getrusage(RUSAGE_THREAD, &usage);
  return usage.ru_nivcsw;
}

// Reads the polling thread's CPU clock at the first packet of the window's first and last pass.
class PassClock : public cpd::bench::QuietListener {
 public:
  void OnJoystickData(const JoystickDataPacket* data, int32_t /*length*/) override {
    const uint64_t packets = mPackets.fetch_add(1, std::memory_order_relaxed) + 1;
    const uint32_t pass = CopyPacket(data).dwPacketNumber;
    if (mSeenPass && pass == mCurrentPass) {
      return;
    }
    mSeenPass = true;
    mCurrentPass = pass;
    mLastPass.store(pass, std::memory_order_release);
    if (pass == mStartPass.load(std::memory_order_acquire)) {
      std::lock_guard<std::mutex> lock(mMutex);
      mStartCpu = ThisThreadCpuSeconds();
      mStartPreemptions = ThisThreadPreemptions();
      mStartWall = Clock::now();
      mStartPackets = packets - 1;  // this packet belongs to the window
    } else if (pass == mEndPass.load(std::memory_order_acquire)) {
      const double cpu = ThisThreadCpuSeconds();
      const long preemptions = ThisThreadPreemptions();
      std::lock_guard<std::mutex> lock(mMutex);
      mWindow.cpuSeconds = cpu - mStartCpu;
      mWindow.preemptions = preemptions - mStartPreemptions;
      mWindow.wallSeconds = std::chrono::duration<double>(Clock::now() - mStartWall).count();
      mWindow.packets = packets - 1 - mStartPackets;
      mWindow.complete = true;
      mDone.notify_all();
    }
  }

  // Waits until some pass numbered `pass` or later has been sent.
  bool WaitForPass(uint32_t pass, std::chrono::seconds timeout) const {
    const auto deadline = Clock::now() + timeout;
    while (!SeenAnyPacket() || mLastPass.load(std::memory_order_acquire) < pass) {
      if (Clock::now() > deadline) {
        return false;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
  }

  // Measures the next `passes` passes.
  PassWindow Measure(uint32_t passes) {
    const uint32_t start = mLastPass.load(std::memory_order_acquire) + 2;
    {
      std::lock_guard<std::mutex> lock(mMutex);
      mWindow = PassWindow{};
      mWindow.passes = passes;
    }
    mEndPass.store(start + passes, std::memory_order_release);
    mStartPass.store(start, std::memory_order_release);
    std::unique_lock<std::mutex> lock(mMutex);
    const auto timeout = std::chrono::milliseconds(100) * (passes + 2) + std::chrono::seconds(5);
    mDone.wait_for(lock, timeout, [this] { return mWindow.complete; });
    return mWindow;
  }

  uint32_t LastPass() const { return mLastPass.load(std::memory_order_acquire); }

 private:
  bool SeenAnyPacket() const { return mPackets.load(std::memory_order_relaxed) > 0; }

  // Only the polling thread touches these two.
  bool mSeenPass = false;
  uint32_t mCurrentPass = 0;

  std::atomic<uint64_t> mPackets{0};
  std::atomic<uint32_t> mLastPass{0};
  std::atomic<uint32_t> mStartPass{UINT32_MAX};
  std::atomic<uint32_t> mEndPass{UINT32_MAX};
  std::mutex mMutex;
  std::condition_variable mDone;
  double mStartCpu = 0.0;
  long mStartPreemptions = 0;
  Clock::time_point mStartWall;
  uint64_t mStartPackets = 0;
  PassWindow mWindow;
};

// The controllers plugged for this bench, kept across repetitions: the simulator keeps every
// controller ever plugged and its update copies the state of each, so plugging afresh for every
// repetition would make later repetitions slower for the simulator's sake.
std::vector<int>& Pads() {
  static std::vector<int> pads;
  return pads;
}

void PlugPads(size_t count) {
  std::vector<int>& pads = Pads();
  const std::vector<cpd::bench::PadModel>& models = cpd::bench::GamePadModels();
  while (pads.size() < count) {
    const int number = static_cast<int>(pads.size());
    pads.push_back(
        cpd::bench::PlugPad(models[pads.size() % models.size()], FIRST_PAD_NUMBER + number));
  }
  while (pads.size() > count) {
    sim_unplug(pads.back());
    pads.pop_back();
  }
}

// One SDL call as the polling thread made it, reduced to what a replay needs.
struct RecordedCall {
  std::string function;
  int argument = 0;  // the last number in the argument text (an SDL or input index)
};

int LastNumber(const char* arguments) {
  const char* comma = std::strrchr(arguments, ',');
  const char* text = comma != nullptr ? comma + 1 : arguments;
  return text[0] == '0' && text[1] == 'x' ? 0 : std::atoi(text);
}

// The SDL calls of whole passes, between the first and the last count of the controllers.
std::vector<RecordedCall> WholePasses(const std::vector<sim_call>& journal, uint32_t& passes) {
  const std::string passStart = "SDL_NumJoysticks";
  size_t first = journal.size();
  size_t last = journal.size();
  passes = 0;
  for (size_t i = 0; i < journal.size(); ++i) {
    if (passStart == journal[i].function) {
      if (first == journal.size()) {
        first = i;
      } else {
        ++passes;
      }
      last = i;
    }
  }
  std::vector<RecordedCall> calls;
  for (size_t i = first; i < last; ++i) {
    calls.push_back({journal[i].function, LastNumber(journal[i].arguments)});
  }
  return calls;
}

// Makes `call` on the simulator with `handle` standing for whatever handle was recorded; false
// for a function the replay does not know.
bool Replay(const RecordedCall& call, SDL_Joystick* handle) {
  const std::string& function = call.function;
  if (function == "SDL_JoystickUpdate") {
    SDL_JoystickUpdate();
  } else if (function == "SDL_NumJoysticks") {
    benchmark::DoNotOptimize(SDL_NumJoysticks());
  } else if (function == "SDL_JoystickPathForIndex") {
    benchmark::DoNotOptimize(SDL_JoystickPathForIndex(call.argument));
  } else if (function == "SDL_JoystickGetAxis") {
    benchmark::DoNotOptimize(SDL_JoystickGetAxis(handle, call.argument));
  } else if (function == "SDL_JoystickGetButton") {
    benchmark::DoNotOptimize(SDL_JoystickGetButton(handle, call.argument));
  } else if (function == "SDL_JoystickGetHat") {
    benchmark::DoNotOptimize(SDL_JoystickGetHat(handle, call.argument));
  } else if (function == "SDL_JoystickGetAttached") {
    benchmark::DoNotOptimize(SDL_JoystickGetAttached(handle));
  } else {
    return false;
  }
  return true;
}

struct SimulatorShare {
  double callsPerPass = 0.0;
  double secondsPerPass = 0.0;
  size_t unknownCalls = 0;
};

// Records the SDL calls of a few passes, then (with the library stopped) replays them on this
// thread to learn what the simulator alone costs per pass.
std::vector<RecordedCall> RecordPasses(PassClock& clock, uint32_t& passes) {
  sim_clear_journal();
  sim_set_journal_enabled(1);
  clock.WaitForPass(clock.LastPass() + JOURNAL_PASSES, std::chrono::seconds(10));
  sim_set_journal_enabled(0);
  std::vector<RecordedCall> calls = WholePasses(sim::Journal(), passes);
  sim_clear_journal();
  return calls;
}

SimulatorShare ReplayPasses(const std::vector<RecordedCall>& calls, uint32_t passes) {
  SimulatorShare share;
  if (passes == 0) {
    return share;
  }
  share.callsPerPass = static_cast<double>(calls.size()) / passes;
  SDL_Joystick* handle = SDL_JoystickOpen(0);
  const double start = ThisThreadCpuSeconds();
  for (int round = 0; round < REPLAY_ROUNDS; ++round) {
    for (const RecordedCall& call : calls) {
      if (!Replay(call, handle)) {
        ++share.unknownCalls;
      }
    }
  }
  share.secondsPerPass = (ThisThreadCpuSeconds() - start) / (REPLAY_ROUNDS * passes);
  SDL_JoystickClose(handle);
  return share;
}

struct WindowTotals {
  double wallSeconds = 0.0;
  double cpuSeconds = 0.0;
  uint64_t packets = 0;
  uint64_t passes = 0;
  long preemptions = 0;
};

// The benchmark loop: one window of PASSES_PER_WINDOW passes per iteration.
WindowTotals MeasureWindows(benchmark::State& state, PassClock& clock) {
  WindowTotals totals;
  for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the benchmark loop
    const PassWindow window = clock.Measure(PASSES_PER_WINDOW);
    if (!window.complete) {
      state.SkipWithError("the passes stopped inside the window");
      break;
    }
    state.SetIterationTime(window.cpuSeconds / window.passes);
    totals.wallSeconds += window.wallSeconds;
    totals.cpuSeconds += window.cpuSeconds;
    totals.packets += window.packets;
    totals.passes += window.passes;
    totals.preemptions += window.preemptions;
  }
  return totals;
}

void ReportTotals(benchmark::State& state, const WindowTotals& totals) {
  if (totals.passes > 0) {
    const auto passes = static_cast<double>(totals.passes);
    state.counters["wall_ms_per_pass"] = 1e3 * totals.wallSeconds / passes;
    state.counters["thread_cpu_pct"] = 100.0 * totals.cpuSeconds / totals.wallSeconds;
    state.counters["packets_per_pass"] = static_cast<double>(totals.packets) / passes;
    state.counters["preempted_per_pass"] = static_cast<double>(totals.preemptions) / passes;
  }
  state.counters["load1"] = cpd::bench::LoadAverage1();
}

void BM_PollPassCpu(benchmark::State& state) {
  sim_set_journal_enabled(0);
  PlugPads(static_cast<size_t>(state.range(0)));
  PassClock clock;
  JoysticAPI_RegsisterNotify(&clock);
  if (!clock.WaitForPass(WARM_UP_PASSES, std::chrono::seconds(30))) {
    JoysticAPI_UnregsisterNotify(&clock);
    state.SkipWithError("the controllers were not polled");
    return;
  }
  const WindowTotals totals = MeasureWindows(state, clock);
  uint32_t recordedPasses = 0;
  const std::vector<RecordedCall> calls = RecordPasses(clock, recordedPasses);
  JoysticAPI_UnregsisterNotify(&clock);
  const SimulatorShare simulator = ReplayPasses(calls, recordedPasses);
  ReportTotals(state, totals);
  state.counters["sdl_calls_per_pass"] = simulator.callsPerPass;
  state.counters["sim_us_per_pass"] = 1e6 * simulator.secondsPerPass;
  state.counters["unreplayed_calls"] = static_cast<double>(simulator.unknownCalls);
}

// What a thread pays for the poll period alone: the same timed wait on a condition variable as
// the polling thread's, with nothing else in the pass but the clock's own bookkeeping.
void BM_TimedWaitFloor(benchmark::State& state) {
  PassClock clock;
  std::mutex mutex;
  std::condition_variable wake;
  bool stop = false;
  std::thread waiter([&] {
    JoystickDataPacket packet{};
    for (uint32_t pass = 0;; ++pass) {
      packet.dwPacketNumber = pass;
      clock.OnJoystickData(&packet, static_cast<int32_t>(sizeof packet));
      std::unique_lock<std::mutex> lock(mutex);
      if (wake.wait_for(lock, POLL_PERIOD, [&stop] { return stop; })) {
        return;
      }
    }
  });
  clock.WaitForPass(WARM_UP_PASSES, std::chrono::seconds(30));
  const WindowTotals totals = MeasureWindows(state, clock);
  {
    std::lock_guard<std::mutex> lock(mutex);
    stop = true;
    wake.notify_all();
  }
  waiter.join();
  ReportTotals(state, totals);
}

double Max(const std::vector<double>& values) {
  return values.empty() ? 0.0 : *std::max_element(values.begin(), values.end());
}

}  // namespace

BENCHMARK(BM_TimedWaitFloor)
    ->UseManualTime()
    ->Iterations(2)
    ->Repetitions(5)
    ->ComputeStatistics("max", Max)
    ->ReportAggregatesOnly(true)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_PollPassCpu)
    ->ArgName("controllers")
    ->Arg(1)
    ->Arg(4)
    ->UseManualTime()
    ->Iterations(2)
    ->Repetitions(5)
    ->ComputeStatistics("max", Max)
    ->ReportAggregatesOnly(true)
    ->Unit(benchmark::kMicrosecond);

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 1;
  }
  benchmark::AddCustomContext("load_average_at_start", cpd::bench::LoadAverages());
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  std::printf("load average at end: %s\n", cpd::bench::LoadAverages().c_str());
  return 0;
}
