// CPU time the polling thread spends on one poll pass, with 1 and with 4 idle controllers on the
// SDL2 simulator and one listener that does nothing.
//
// The listener cuts the window on the polling thread itself, at the first packet of two chosen
// passes, so the window holds whole passes only. Reported time = the polling thread's CPU time
// per pass, all of it: the library's own work, the simulator's, and what the kernel charges the
// thread for going to sleep for 30 ms and waking up again. The machine is shared, and all three
// parts grow with the load, so during the same windows two helper threads measure the other two
// parts under the same conditions:
//   - a floor thread that does nothing but the polling thread's 30 ms timed wait, measured the
//     same way (what any pass pays before doing anything);
//   - a replay thread that, after the same wait, replays the SDL calls of one recorded pass on
//     the simulator (what the simulator alone costs, with caches as cold as the polling thread
//     finds them).
// Counters:
//   floor_us_per_pass     CPU time per pass of the floor thread
//   sim_us_per_pass       CPU time per replayed pass of the replay thread; real SDL2 costs differ
//   sim_warm_us_per_pass  the same calls replayed back to back (a lower bound)
//   library_us_per_pass   time - floor - sim: what is left for the library's own work
//   sdl_calls_per_pass    SDL calls the library made per pass (from the simulator's journal)
//   wall_ms_per_pass      the actual period of a pass
//   thread_cpu_pct        the polling thread's CPU time over wall time
//   preempted_per_pass    involuntary context switches of the polling thread per pass
//   packets_per_pass      packets the listener got per pass (should equal the controllers)
//   allocations_per_pass  heap allocations of the polling thread per pass, all of them
//   sim_allocations_per_pass     the replayed SDL calls' allocations per pass (the simulator's)
//   library_allocations_per_pass the difference: what the library itself allocates (0 is the aim)
//   load1                 one-minute load average when the repetition ended
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
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "allocation_counter.h"
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
  size_t allocations = 0;
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
      mStartAllocations = cpd::bench::ThisThreadAllocationCount();
      mStartWall = Clock::now();
      mStartPackets = packets - 1;  // this packet belongs to the window
    } else if (pass == mEndPass.load(std::memory_order_acquire)) {
      const double cpu = ThisThreadCpuSeconds();
      const long preemptions = ThisThreadPreemptions();
      const size_t allocations = cpd::bench::ThisThreadAllocationCount();
      std::lock_guard<std::mutex> lock(mMutex);
      mWindow.allocations = allocations - mStartAllocations;
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

  // Starts a window over the next `passes` passes.
  void Arm(uint32_t passes) {
    const uint32_t start = mLastPass.load(std::memory_order_acquire) + 2;
    {
      std::lock_guard<std::mutex> lock(mMutex);
      mWindow = PassWindow{};
      mWindow.passes = passes;
    }
    mEndPass.store(start + passes, std::memory_order_release);
    mStartPass.store(start, std::memory_order_release);
  }

  // The armed window once it is complete (or as far as it got in time).
  PassWindow Wait() {
    std::unique_lock<std::mutex> lock(mMutex);
    const auto timeout =
        std::chrono::milliseconds(100) * (mWindow.passes + 2) + std::chrono::seconds(5);
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
  size_t mStartAllocations = 0;
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

// The SDL functions a poll pass calls.
enum class SdlFunction {
  UPDATE,
  NUM_JOYSTICKS,
  PATH_FOR_INDEX,
  GET_AXIS,
  GET_BUTTON,
  GET_HAT,
  GET_ATTACHED,
  OTHER
};

SdlFunction FunctionNamed(const std::string& name) {
  static const std::map<std::string, SdlFunction> functions = {
      {"SDL_JoystickUpdate", SdlFunction::UPDATE},
      {"SDL_NumJoysticks", SdlFunction::NUM_JOYSTICKS},
      {"SDL_JoystickPathForIndex", SdlFunction::PATH_FOR_INDEX},
      {"SDL_JoystickGetAxis", SdlFunction::GET_AXIS},
      {"SDL_JoystickGetButton", SdlFunction::GET_BUTTON},
      {"SDL_JoystickGetHat", SdlFunction::GET_HAT},
      {"SDL_JoystickGetAttached", SdlFunction::GET_ATTACHED},
  };
  const auto found = functions.find(name);
  return found != functions.end() ? found->second : SdlFunction::OTHER;
}

// One SDL call as the polling thread made it, reduced to what a replay needs; resolved when
// recorded, so that a replay spends nothing on telling functions apart.
struct RecordedCall {
  SdlFunction function = SdlFunction::OTHER;
  int argument = 0;  // the last number in the argument text (an SDL or input index)
};

int LastNumber(const char* arguments) {
  const char* comma = std::strrchr(arguments, ',');
  const char* text = comma != nullptr ? comma + 1 : arguments;
  return text[0] == '0' && text[1] == 'x' ? 0 : std::atoi(text);
}

// The SDL calls of whole passes, between the first and the last count of the controllers.
std::vector<RecordedCall> WholePasses(const std::vector<sim_call>& journal, uint32_t& passes) {
  size_t first = journal.size();
  size_t last = journal.size();
  passes = 0;
  for (size_t i = 0; i < journal.size(); ++i) {
    if (FunctionNamed(journal[i].function) == SdlFunction::NUM_JOYSTICKS) {
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
    calls.push_back({FunctionNamed(journal[i].function), LastNumber(journal[i].arguments)});
  }
  return calls;
}

// Makes `call` on the simulator with `handle` standing for whatever handle was recorded; false
// for a function the replay does not know.
bool Replay(const RecordedCall& call, SDL_Joystick* handle) {
  switch (call.function) {
    case SdlFunction::UPDATE:
      SDL_JoystickUpdate();
      return true;
    case SdlFunction::NUM_JOYSTICKS:
      benchmark::DoNotOptimize(SDL_NumJoysticks());
      return true;
    case SdlFunction::PATH_FOR_INDEX:
      benchmark::DoNotOptimize(SDL_JoystickPathForIndex(call.argument));
      return true;
    case SdlFunction::GET_AXIS:
      benchmark::DoNotOptimize(SDL_JoystickGetAxis(handle, call.argument));
      return true;
    case SdlFunction::GET_BUTTON:
      benchmark::DoNotOptimize(SDL_JoystickGetButton(handle, call.argument));
      return true;
    case SdlFunction::GET_HAT:
      benchmark::DoNotOptimize(SDL_JoystickGetHat(handle, call.argument));
      return true;
    case SdlFunction::GET_ATTACHED:
      benchmark::DoNotOptimize(SDL_JoystickGetAttached(handle));
      return true;
    default:
      return false;
  }
}

struct SimulatorShare {
  double callsPerPass = 0.0;
  double warmSecondsPerPass = 0.0;
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

// The recorded calls cut into passes, each starting at its count of the controllers (as many as
// WholePasses counted).
std::vector<std::vector<RecordedCall>> SplitPasses(const std::vector<RecordedCall>& calls) {
  std::vector<std::vector<RecordedCall>> passes;
  for (const RecordedCall& call : calls) {
    if (passes.empty() || call.function == SdlFunction::NUM_JOYSTICKS) {
      passes.emplace_back();
    }
    passes.back().push_back(call);
  }
  return passes;
}

// Replays the recorded calls back to back on this thread: the simulator's cost with warm caches.
SimulatorShare ReplayWarm(const std::vector<RecordedCall>& calls, uint32_t passes) {
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
  share.warmSecondsPerPass = (ThisThreadCpuSeconds() - start) / (REPLAY_ROUNDS * passes);
  SDL_JoystickClose(handle);
  return share;
}

// A thread that makes the polling thread's 30 ms timed wait over and over and does `pass`
// between two waits; the pass number goes to `clock` as a packet's would.
class WaitingThread {
 public:
  template <typename Pass>
  WaitingThread(PassClock& clock, Pass pass)
      : mThread([this, &clock, pass]() mutable {
          JoystickDataPacket packet{};
          for (uint32_t number = 0;; ++number) {
            packet.dwPacketNumber = number;
            clock.OnJoystickData(&packet, static_cast<int32_t>(sizeof packet));
            pass();
            std::unique_lock<std::mutex> lock(mMutex);
            if (mWake.wait_for(lock, POLL_PERIOD, [this] { return mStop; })) {
              return;
            }
          }
        }) {}

  WaitingThread(const WaitingThread&) = delete;
  WaitingThread& operator=(const WaitingThread&) = delete;

  ~WaitingThread() {
    {
      std::lock_guard<std::mutex> lock(mMutex);
      mStop = true;
      mWake.notify_all();
    }
    mThread.join();
  }

 private:
  std::mutex mMutex;
  std::condition_variable mWake;
  bool mStop = false;
  std::thread mThread;  // last: it starts once everything above exists
};

// Replays one recorded pass after each wait on a handle of its own, timing only the replay.
class ColdReplay {
 public:
  explicit ColdReplay(const std::vector<RecordedCall>& calls)
      : mPasses(SplitPasses(calls)), mHandle(SDL_JoystickOpen(0)) {}
  ColdReplay(const ColdReplay&) = delete;
  ColdReplay& operator=(const ColdReplay&) = delete;
  ~ColdReplay() { SDL_JoystickClose(mHandle); }

  // Runs on the replay thread.
  void ReplayOnePass() {
    if (mPasses.empty() || !mMeasuring.load(std::memory_order_acquire)) {
      return;
    }
    const size_t allocationsBefore = cpd::bench::ThisThreadAllocationCount();
    const double before = ThisThreadCpuSeconds();
    for (const RecordedCall& call : mPasses[mNext++ % mPasses.size()]) {
      Replay(call, mHandle);
    }
    const double after = ThisThreadCpuSeconds();
    const double clockRead = ThisThreadCpuSeconds() - after;  // one read's own cost
    const size_t allocations = cpd::bench::ThisThreadAllocationCount() - allocationsBefore;
    std::lock_guard<std::mutex> lock(mMutex);
    mSeconds += after - before - clockRead;
    mAllocations += allocations;
    ++mReplayed;
  }

  double AllocationsPerPass() {
    std::lock_guard<std::mutex> lock(mMutex);
    return mReplayed > 0 ? static_cast<double>(mAllocations) / static_cast<double>(mReplayed) : 0.0;
  }

  void SetMeasuring(bool measuring) { mMeasuring.store(measuring, std::memory_order_release); }

  double SecondsPerPass() {
    std::lock_guard<std::mutex> lock(mMutex);
    return mReplayed > 0 ? mSeconds / static_cast<double>(mReplayed) : 0.0;
  }

 private:
  const std::vector<std::vector<RecordedCall>> mPasses;
  SDL_Joystick* const mHandle;
  size_t mNext = 0;  // replay thread only
  std::atomic<bool> mMeasuring{false};
  std::mutex mMutex;
  double mSeconds = 0.0;
  size_t mAllocations = 0;
  uint64_t mReplayed = 0;
};

struct WindowTotals {
  double wallSeconds = 0.0;
  double cpuSeconds = 0.0;
  double floorCpuSeconds = 0.0;
  uint64_t packets = 0;
  uint64_t passes = 0;
  uint64_t floorPasses = 0;
  long preemptions = 0;
  size_t allocations = 0;
};

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
  uint32_t recordedPasses = 0;
  const std::vector<RecordedCall> calls = RecordPasses(clock, recordedPasses);
  const SimulatorShare simulator = ReplayWarm(calls, recordedPasses);

  WindowTotals totals;
  double simSecondsPerPass = 0.0;
  double simAllocationsPerPass = 0.0;
  {
    PassClock floorClock;
    ColdReplay replay(calls);
    PassClock replayClock;  // unused windows; the replay thread only needs somewhere to report
    WaitingThread floor(floorClock, [] {});
    WaitingThread replayer(replayClock, [&replay] { replay.ReplayOnePass(); });
    floorClock.WaitForPass(WARM_UP_PASSES, std::chrono::seconds(30));
    replay.SetMeasuring(true);
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores): the benchmark loop
      clock.Arm(PASSES_PER_WINDOW);
      floorClock.Arm(PASSES_PER_WINDOW);
      const PassWindow window = clock.Wait();
      const PassWindow floorWindow = floorClock.Wait();
      if (!window.complete || !floorWindow.complete) {
        state.SkipWithError("the passes stopped inside the window");
        break;
      }
      state.SetIterationTime(window.cpuSeconds / window.passes);
      totals.wallSeconds += window.wallSeconds;
      totals.cpuSeconds += window.cpuSeconds;
      totals.packets += window.packets;
      totals.passes += window.passes;
      totals.preemptions += window.preemptions;
      totals.allocations += window.allocations;
      totals.floorCpuSeconds += floorWindow.cpuSeconds;
      totals.floorPasses += floorWindow.passes;
    }
    replay.SetMeasuring(false);
    simSecondsPerPass = replay.SecondsPerPass();
    simAllocationsPerPass = replay.AllocationsPerPass();
  }
  JoysticAPI_UnregsisterNotify(&clock);

  if (totals.passes > 0 && totals.floorPasses > 0) {
    const auto passes = static_cast<double>(totals.passes);
    const double floorPerPass = totals.floorCpuSeconds / static_cast<double>(totals.floorPasses);
    state.counters["floor_us_per_pass"] = 1e6 * floorPerPass;
    state.counters["library_us_per_pass"] =
        1e6 * (totals.cpuSeconds / passes - floorPerPass - simSecondsPerPass);
    state.counters["wall_ms_per_pass"] = 1e3 * totals.wallSeconds / passes;
    state.counters["thread_cpu_pct"] = 100.0 * totals.cpuSeconds / totals.wallSeconds;
    state.counters["packets_per_pass"] = static_cast<double>(totals.packets) / passes;
    state.counters["preempted_per_pass"] = static_cast<double>(totals.preemptions) / passes;
    const double allocationsPerPass = static_cast<double>(totals.allocations) / passes;
    state.counters["allocations_per_pass"] = allocationsPerPass;
    state.counters["sim_allocations_per_pass"] = simAllocationsPerPass;
    state.counters["library_allocations_per_pass"] = allocationsPerPass - simAllocationsPerPass;
  }
  state.counters["sim_us_per_pass"] = 1e6 * simSecondsPerPass;
  state.counters["sim_warm_us_per_pass"] = 1e6 * simulator.warmSecondsPerPass;
  state.counters["sdl_calls_per_pass"] = simulator.callsPerPass;
  state.counters["unreplayed_calls"] = static_cast<double>(simulator.unknownCalls);
  state.counters["load1"] = cpd::bench::LoadAverage1();
}

double Max(const std::vector<double>& values) {
  return values.empty() ? 0.0 : *std::max_element(values.begin(), values.end());
}

}  // namespace

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
