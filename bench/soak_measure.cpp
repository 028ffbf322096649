// Resident memory of a host process over a long random soak of the library on the SDL2
// simulator. One step is one action drawn at random (seeded) among those possible right now:
// plug a controller (at most --max-pads at a time), unplug one, force a layout on a slot, register
// or unregister one of three listeners, change an input. Steps follow each other after a short
// gap and never wait for the re-open a hot-plug causes: the library has to cope with whatever
// comes while it is opening, polling or stopping.
//
//   soak_measure [--steps=N] [--seed=S] [--gap-ms=M] [--max-pads=K] [--lifecycle-weight=W]
//                [--trace]
//     N steps (default 10000), seed S (default 1), M ms between steps (default 5), at most K
//     controllers plugged (default 5); plug, unplug, register and unregister are each drawn with
//     weight W against 1 for set-mapping and for input (default 1: all alike); --trace prints
//     every step.
//
// With all actions alike, a hot-plug or a stop and restart of polling comes every few steps, and
// the library spends nearly all its time opening controllers (each takes 0.33 s); a small W (e.g.
// 0.005 with --gap-ms=10) lets it poll between them, so that layout changes and input meet
// polling runs too.
//
// Prints RSS (/proc/self/statm) and the heap in use (mallinfo2) at step 100, every 1000 steps
// and after a final settle, with threads, descriptors, open SDL handles, the size of the stored
// policy document and load. The simulator keeps every controller ever plugged and every handle
// ever opened, so part of any growth is its own; the bench measures that part at the end (per
// plug and per open) and prints an estimate.
#include <SDL.h>
#include <dirent.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "sdl_sim.h"
#include "sim_host.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int FIRST_PATH_NUMBER = 60;
constexpr int PATH_NUMBERS = 10;
constexpr int CALIBRATION_ROUNDS = 1000;
// Every open samples the controller 64 times with a 5 ms pause: no open takes less.
constexpr double MIN_SECONDS_PER_OPEN = 0.32;

struct Options {
  long steps = 10000;
  unsigned seed = 1;
  int gapMs = 5;
  size_t maxPads = 5;
  // Of plug, unplug, register and unregister each, against 1 for set-mapping and for input.
  double lifecycleWeight = 1.0;
  bool trace = false;
};

bool ParseOptions(int argc, char** argv, Options& options) {
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument.rfind("--steps=", 0) == 0) {
      options.steps = std::atol(argument.c_str() + 8);
    } else if (argument.rfind("--seed=", 0) == 0) {
      options.seed = static_cast<unsigned>(std::strtoul(argument.c_str() + 7, nullptr, 10));
    } else if (argument.rfind("--gap-ms=", 0) == 0) {
      options.gapMs = std::atoi(argument.c_str() + 9);
    } else if (argument.rfind("--max-pads=", 0) == 0) {
      options.maxPads = static_cast<size_t>(std::atoi(argument.c_str() + 11));
    } else if (argument.rfind("--lifecycle-weight=", 0) == 0) {
      options.lifecycleWeight = std::atof(argument.c_str() + 19);
    } else if (argument == "--trace") {
      options.trace = true;
    } else {
      std::fprintf(stderr,
                   "usage: %s [--steps=N] [--seed=S] [--gap-ms=M] [--max-pads=K] "
                   "[--lifecycle-weight=W] [--trace]\n",
                   argv[0]);
      return false;
    }
  }
  return options.steps > 0 && options.gapMs >= 0 && options.maxPads > 0 &&
         options.lifecycleWeight > 0.0;
}

class SoakListener : public cpd::bench::QuietListener {
 public:
  void OnJoystickData(const JoystickDataPacket* /*data*/, int32_t length) override {
    mPackets.fetch_add(1, std::memory_order_relaxed);
    if (length != static_cast<int32_t>(sizeof(JoystickDataPacket))) {
      mBadLengths.fetch_add(1, std::memory_order_relaxed);
    }
  }
  void OnDevListUpdate() override { mDevLists.fetch_add(1, std::memory_order_relaxed); }
  void OnJoystickEvent(std::string /*event*/, const EventRecord& /*record*/) override {
    mEvents.fetch_add(1, std::memory_order_relaxed);
  }

  uint64_t Packets() const { return mPackets.load(std::memory_order_relaxed); }
  uint64_t DevLists() const { return mDevLists.load(std::memory_order_relaxed); }
  uint64_t Events() const { return mEvents.load(std::memory_order_relaxed); }
  uint64_t BadLengths() const { return mBadLengths.load(std::memory_order_relaxed); }

 private:
  std::atomic<uint64_t> mPackets{0};
  std::atomic<uint64_t> mDevLists{0};
  std::atomic<uint64_t> mEvents{0};
  std::atomic<uint64_t> mBadLengths{0};
};

enum Action { PLUG, UNPLUG, SET_MAPPING, REGISTER, UNREGISTER, INPUT, ACTION_COUNT };
constexpr std::array<const char*, ACTION_COUNT> ACTION_NAMES = {
    "plug", "unplug", "set-mapping", "register", "unregister", "input"};

struct ActionTimes {
  long count = 0;
  double totalSeconds = 0.0;
  double maxSeconds = 0.0;
};

size_t CountEntries(const char* directory) {
  size_t count = 0;
  if (DIR* entries = opendir(directory)) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): this directory stream is read by this thread only
    while (const dirent* entry = readdir(entries)) {
      count += entry->d_name[0] != '.' ? 1 : 0;
    }
    closedir(entries);
  }
  return count;
}

class Soak {
 public:
  explicit Soak(const Options& options) : mOptions(options), mRandom(options.seed) {}

  void Run() {
    std::printf("%8s %9s %10s %10s %8s %5s %7s %10s %9s %8s %s\n", "step", "elapsed_s", "rss_kib",
                "heap_kib", "threads", "fds", "plugged", "registered", "sdl_open", "store_b",
                "load");
    mStart = Clock::now();
    for (long step = 1; step <= mOptions.steps; ++step) {
      Step(step);
      if (step == 100 || step % 1000 == 0 || step == mOptions.steps) {
        PrintCheckpoint(std::to_string(step));
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(mOptions.gapMs));
    }
    mElapsedSeconds = std::chrono::duration<double>(Clock::now() - mStart).count();
    Settle();
    PrintCheckpoint("settled");
    PrintSummary();
  }

  long Plugs() const { return mActions[PLUG].count; }
  double ElapsedSeconds() const { return mElapsedSeconds; }

 private:
  struct Pad {
    int id;
    int pathNumber;
    cpd::bench::PadModel model;
  };

  int Uniform(int low, int high) { return std::uniform_int_distribution<int>(low, high)(mRandom); }

  bool Possible(Action action) const {
    const bool anyRegistered =
        std::find(mRegistered.begin(), mRegistered.end(), true) != mRegistered.end();
    const bool anyFree =
        std::find(mRegistered.begin(), mRegistered.end(), false) != mRegistered.end();
    switch (action) {
      case PLUG:
        return mPads.size() < mOptions.maxPads;
      case UNPLUG:
      case INPUT:
        return !mPads.empty();
      case REGISTER:
        return anyFree;
      case UNREGISTER:
        return anyRegistered;
      default:
        return true;
    }
  }

  void Step(long step) {
    std::array<double, ACTION_COUNT> weights{};
    for (int action = 0; action < ACTION_COUNT; ++action) {
      if (Possible(static_cast<Action>(action))) {
        weights[static_cast<size_t>(action)] =
            action == SET_MAPPING || action == INPUT ? 1.0 : mOptions.lifecycleWeight;
      }
    }
    const auto action = static_cast<Action>(
        std::discrete_distribution<int>(weights.begin(), weights.end())(mRandom));
    const Clock::time_point begin = Clock::now();
    const std::string what = Act(action);
    const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    ActionTimes& times = mActions[action];
    ++times.count;
    times.totalSeconds += seconds;
    times.maxSeconds = std::max(times.maxSeconds, seconds);
    if (mOptions.trace) {
      std::printf("step %ld %s %s (%.1f ms)\n", step, ACTION_NAMES[action], what.c_str(),
                  1e3 * seconds);
    }
  }

  std::string Act(Action action) {
    switch (action) {
      case PLUG:
        return Plug();
      case UNPLUG: {
        const auto which = static_cast<size_t>(Uniform(0, static_cast<int>(mPads.size()) - 1));
        sim_unplug(mPads[which].id);
        std::string what = cpd::bench::PadPath(mPads[which].pathNumber);
        mPads.erase(mPads.begin() + static_cast<std::ptrdiff_t>(which));
        return what;
      }
      case SET_MAPPING: {
        // Slot 4 and kinds 0 and 7 are outside what the library offers; hosts may still ask.
        const auto index = static_cast<uint16_t>(Uniform(0, 4));
        const auto mappingIndex = static_cast<uint16_t>(Uniform(0, 7));
        const int32_t result = JoysticAPI_SetMapping(index, mappingIndex);
        mMappingsAccepted += result == 0 ? 1 : 0;
        return "slot " + std::to_string(index) + " kind " + std::to_string(mappingIndex) + " -> " +
               std::to_string(result);
      }
      case REGISTER:
      case UNREGISTER: {
        const bool registering = action == REGISTER;
        std::vector<size_t> candidates;
        for (size_t i = 0; i < mRegistered.size(); ++i) {
          if (mRegistered[i] != registering) {
            candidates.push_back(i);
          }
        }
        const size_t which =
            candidates[static_cast<size_t>(Uniform(0, static_cast<int>(candidates.size()) - 1))];
        if (registering) {
          JoysticAPI_RegsisterNotify(&mListeners[which]);
        } else {
          JoysticAPI_UnregsisterNotify(&mListeners[which]);
        }
        mRegistered[which] = registering;
        return "listener " + std::to_string(which);
      }
      default:
        return ChangeInput();
    }
  }

  std::string Plug() {
    std::vector<int> freeNumbers;
    for (int number = FIRST_PATH_NUMBER; number < FIRST_PATH_NUMBER + PATH_NUMBERS; ++number) {
      if (std::none_of(mPads.begin(), mPads.end(),
                       [number](const Pad& pad) { return pad.pathNumber == number; })) {
        freeNumbers.push_back(number);
      }
    }
    const int number =
        freeNumbers[static_cast<size_t>(Uniform(0, static_cast<int>(freeNumbers.size()) - 1))];
    const std::vector<cpd::bench::PadModel>& models = cpd::bench::GamePadModels();
    // Now and then a pen tablet, which is opened but never polled or listed.
    const int pick = Uniform(0, static_cast<int>(models.size()));
    const cpd::bench::PadModel model = pick < static_cast<int>(models.size())
                                           ? models[static_cast<size_t>(pick)]
                                           : cpd::bench::PEN_TABLET;
    mPads.push_back({cpd::bench::PlugPad(model, number), number, model});
    return cpd::bench::PadPath(number) + " " + model.name;
  }

  std::string ChangeInput() {
    const Pad& pad = mPads[static_cast<size_t>(Uniform(0, static_cast<int>(mPads.size()) - 1))];
    // Indexes run one past the inputs the pad has, which the simulator ignores.
    switch (Uniform(0, 2)) {
      case 0: {
        const int axis = Uniform(0, pad.model.axes);
        const int value = Uniform(-32768, 32767);
        sim_set_axis(pad.id, axis, static_cast<int16_t>(value));
        return "axis " + std::to_string(axis) + " = " + std::to_string(value);
      }
      case 1: {
        const int button = Uniform(0, pad.model.buttons);
        const int pressed = Uniform(0, 1);
        sim_set_button(pad.id, button, static_cast<uint8_t>(pressed));
        return "button " + std::to_string(button) + " = " + std::to_string(pressed);
      }
      default: {
        const int hat = Uniform(0, pad.model.hats);
        const int bits = Uniform(0, 15);
        sim_set_hat(pad.id, hat, static_cast<uint8_t>(bits));
        return "hat " + std::to_string(hat) + " = " + std::to_string(bits);
      }
    }
  }

  // Unregisters everyone, unplugs everything and gives the library time to finish.
  void Settle() {
    for (size_t i = 0; i < mRegistered.size(); ++i) {
      if (mRegistered[i]) {
        JoysticAPI_UnregsisterNotify(&mListeners[i]);
        mRegistered[i] = false;
      }
    }
    for (const Pad& pad : mPads) {
      sim_unplug(pad.id);
    }
    mPads.clear();
    std::this_thread::sleep_for(std::chrono::seconds(2));
  }

  void PrintCheckpoint(const std::string& label) {
    const double elapsed = std::chrono::duration<double>(Clock::now() - mStart).count();
    const auto registered = std::count(mRegistered.begin(), mRegistered.end(), true);
    std::printf("%8s %9.1f %10ld %10ld %8zu %5zu %7zu %10ld %9d %8zu %s\n", label.c_str(), elapsed,
                cpd::bench::ResidentKiB(), cpd::bench::HeapInUseKiB(),
                CountEntries("/proc/self/task"), CountEntries("/proc/self/fd"), mPads.size(),
                static_cast<long>(registered), sim_open_handles(), cpd::bench::StoredBytes(),
                cpd::bench::LoadAverages().c_str());
    std::fflush(stdout);
  }

  void PrintSummary() const {
    std::printf("\naction        count   mean_ms    max_ms\n");
    for (int action = 0; action < ACTION_COUNT; ++action) {
      const ActionTimes& times = mActions[static_cast<size_t>(action)];
      std::printf(
          "%-12s %6ld %9.3f %9.1f\n", ACTION_NAMES[static_cast<size_t>(action)], times.count,
          times.count > 0 ? 1e3 * times.totalSeconds / static_cast<double>(times.count) : 0.0,
          1e3 * times.maxSeconds);
    }
    std::printf("set-mapping accepted %ld times (a controller was in the slot)\n",
                mMappingsAccepted);
    uint64_t packets = 0;
    uint64_t devLists = 0;
    uint64_t events = 0;
    uint64_t badLengths = 0;
    for (const SoakListener& listener : mListeners) {
      packets += listener.Packets();
      devLists += listener.DevLists();
      events += listener.Events();
      badLengths += listener.BadLengths();
    }
    std::printf(
        "listeners got %llu packets (%llu of a wrong length), %llu device lists, "
        "%llu events\n",
        static_cast<unsigned long long>(packets), static_cast<unsigned long long>(badLengths),
        static_cast<unsigned long long>(devLists), static_cast<unsigned long long>(events));
  }

  const Options& mOptions;
  std::mt19937 mRandom;
  std::vector<Pad> mPads;
  std::array<SoakListener, 3> mListeners;
  std::array<bool, 3> mRegistered{};
  std::array<ActionTimes, ACTION_COUNT> mActions{};
  Clock::time_point mStart;
  double mElapsedSeconds = 0.0;
  long mMappingsAccepted = 0;
};

// Heap the simulator keeps per controller plugged (and unplugged again) and per handle opened
// (and closed again); measured with the library stopped.
void PrintSimulatorShare(long plugs, double seconds) {
  const long heapBefore = cpd::bench::HeapInUseKiB();
  for (int round = 0; round < CALIBRATION_ROUNDS; ++round) {
    sim_unplug(cpd::bench::PlugPad(cpd::bench::XBOX_PAD, FIRST_PATH_NUMBER));
  }
  const long heapAfterPlugs = cpd::bench::HeapInUseKiB();
  const int pad = cpd::bench::PlugPad(cpd::bench::XBOX_PAD, FIRST_PATH_NUMBER);
  for (int round = 0; round < CALIBRATION_ROUNDS; ++round) {
    SDL_JoystickClose(SDL_JoystickOpen(0));
  }
  const long heapAfterOpens = cpd::bench::HeapInUseKiB();
  sim_unplug(pad);
  const double perPlug =
      1024.0 * static_cast<double>(heapAfterPlugs - heapBefore) / CALIBRATION_ROUNDS;
  const double perOpen =
      1024.0 * static_cast<double>(heapAfterOpens - heapAfterPlugs) / CALIBRATION_ROUNDS;
  const double openBound = seconds / MIN_SECONDS_PER_OPEN;
  std::printf(
      "simulator keeps about %.0f B per plug and %.0f B per open; this soak made %ld "
      "plugs and at most %.0f opens: about %.0f KiB plus at most %.0f KiB of the heap "
      "growth is the simulator's\n",
      perPlug, perOpen, plugs, openBound, perPlug * static_cast<double>(plugs) / 1024.0,
      perOpen * openBound / 1024.0);
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!ParseOptions(argc, argv, options)) {
    return 2;
  }
  sim_set_journal_enabled(0);
  std::printf(
      "soak_measure: %ld steps, seed %u, %d ms between steps, at most %zu controllers, "
      "lifecycle weight %g\n",
      options.steps, options.seed, options.gapMs, options.maxPads, options.lifecycleWeight);
  Soak soak(options);
  soak.Run();
  PrintSimulatorShare(soak.Plugs(), soak.ElapsedSeconds());
  return 0;
}
