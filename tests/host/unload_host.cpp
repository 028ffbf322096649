// A host that loads the library with dlopen, registers a listener, and unloads it again, round
// after round, with pauses that land in every phase of the polling thread's life (SDL_Init,
// opening, the baseline, polling, waiting; with --churn a pad comes and goes, so SDL_Quit and
// SDL_Init run all the time). It exits 0 when every round went through, and returns from main
// while the last "registered" round still polls.
//
//   unload_host --target FILE [--module] --rounds N --mode MODE [--preload FILE] [--pads K]
//               [--churn]
//
// --target: the library itself, or with --module a host's plugin that links it and registers
//   its own listener (see controller_module.cpp), which it unregisters when it is unloaded; MODE
//   then only says whether the host waits for packets, since the plugin always unregisters.
// MODE: "unregistered" (unregister, then unload), "registered" (unload while registered) or
//   "alternate" (even rounds unregistered first, odd rounds still registered).
// --preload: the SDL2 simulator, or the virtual pads in front of the real SDL2; loaded first with
//   RTLD_GLOBAL so that the library finds it. Without it the library loads the system's SDL2.
// --pads: how many Xbox pads to plug through the preloaded library.
#include <dlfcn.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "cpd_joystick/joystick_api.h"

// The listener interface's one out-of-line member, which a host that loads the library at run
// time cannot link: defined here as the library defines it, so the host's listener class is
// complete without the library.
CpdJoystickNotify::~CpdJoystickNotify() = default;

namespace {

using namespace std::chrono_literals;

class HostListener : public CpdJoystickNotify {
 public:
  void OnJoystickData(const JoystickDataPacket* /*data*/, int32_t /*length*/) override {
    packets.fetch_add(1);
  }
  void OnDevListUpdate() override {}
  void OnJoystickEvent(std::string /*event*/, const EventRecord& /*record*/) override {}
  std::atomic<size_t> packets{0};
};

HostListener gListener;  // outlives every round and the library's teardown at exit

struct Options {
  std::string target;
  bool module = false;
  int rounds = 0;
  std::string mode;
  std::string preload;
  int pads = 0;
  bool churn = false;
};

[[noreturn]] void Fail(const std::string& message) {
  std::fprintf(stderr, "unload_host: %s\n", message.c_str());
  std::fflush(stderr);
  std::_Exit(4);
}

Options Parse(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string flag = argv[i];
    const auto value = [&] { return i + 1 < argc ? std::string(argv[++i]) : std::string(); };
    if (flag == "--target") {
      options.target = value();
    } else if (flag == "--module") {
      options.module = true;
    } else if (flag == "--rounds") {
      options.rounds = std::atoi(value().c_str());
    } else if (flag == "--mode") {
      options.mode = value();
    } else if (flag == "--preload") {
      options.preload = value();
    } else if (flag == "--pads") {
      options.pads = std::atoi(value().c_str());
    } else if (flag == "--churn") {
      options.churn = true;
    } else {
      Fail("unknown argument " + flag);
    }
  }
  if (options.target.empty() || options.rounds < 1 ||
      (options.mode != "registered" && options.mode != "unregistered" &&
       options.mode != "alternate")) {
    Fail("usage: --target FILE [--module] --rounds N --mode registered|unregistered|alternate");
  }
  return options;
}

void* Symbol(void* library, const char* name) {
  void* symbol = dlsym(library, name);
  if (symbol == nullptr) {
    Fail(std::string(name) + " not found");
  }
  return symbol;
}

bool LibraryMapped() {
  std::ifstream maps("/proc/self/maps");
  std::string line;
  while (std::getline(maps, line)) {
    if (line.find("libcpd_joystick.so") != std::string::npos) {
      return true;
    }
  }
  return false;
}

// Plugs and unplugs pads through the simulator or the virtual pads, whichever was preloaded.
class Pads {
 public:
  explicit Pads(void* preloaded) {
    if (preloaded == nullptr) {
      return;
    }
    mSimPlug = reinterpret_cast<SimPlug>(dlsym(preloaded, "sim_plug"));
    mSimUnplug = reinterpret_cast<SimUnplug>(dlsym(preloaded, "sim_unplug"));
    mPadPlug = reinterpret_cast<PadPlug>(dlsym(preloaded, "vpad_plug"));
    mPadUnplug = reinterpret_cast<PadUnplug>(dlsym(preloaded, "vpad_unplug"));
  }

  void Plug(int pad) {
    if (mSimPlug != nullptr) {
      const std::string path = "/dev/input/event" + std::to_string(20 + pad);
      mSimIds[pad] = mSimPlug("Xbox Wireless Controller", path.c_str(), 0x045e, 0x0b13, 6, 11, 1);
    } else if (mPadPlug != nullptr) {
      mPadPlug(pad, "Xbox Wireless Controller", 0x045e, 0x0b13, 6, 11, 1);
    } else {
      Fail("--pads needs --preload with the simulator or the virtual pads");
    }
  }

  void Unplug(int pad) {
    if (mSimUnplug != nullptr) {
      mSimUnplug(mSimIds[pad]);
    } else if (mPadUnplug != nullptr) {
      mPadUnplug(pad);
    }
  }

 private:
  using SimPlug = int (*)(const char*, const char*, uint16_t, uint16_t, int, int, int);
  using SimUnplug = void (*)(int);
  using PadPlug = int (*)(int, const char*, uint16_t, uint16_t, int, int, int);
  using PadUnplug = void (*)(int);
  SimPlug mSimPlug = nullptr;
  SimUnplug mSimUnplug = nullptr;
  PadPlug mPadPlug = nullptr;
  PadUnplug mPadUnplug = nullptr;
  std::array<int, 8> mSimIds{};
};

// One load of the target, with the calls a round makes through it.
struct Loaded {
  void* handle = nullptr;
  int32_t (*registerNotify)(CpdJoystickNotify*) = nullptr;
  int32_t (*unregisterNotify)(CpdJoystickNotify*) = nullptr;
  int (*moduleRegister)() = nullptr;

  Loaded(const Options& options) : handle(dlopen(options.target.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (handle == nullptr) {
      Fail(dlerror());  // NOLINT(concurrency-mt-unsafe): only this thread loads
    }
    if (options.module) {
      moduleRegister = reinterpret_cast<int (*)()>(Symbol(handle, "controller_module_register"));
      return;
    }
    registerNotify = reinterpret_cast<int32_t (*)(CpdJoystickNotify*)>(
        Symbol(handle, "_Z26JoysticAPI_RegsisterNotifyP17CpdJoystickNotify"));
    unregisterNotify = reinterpret_cast<int32_t (*)(CpdJoystickNotify*)>(
        Symbol(handle, "_Z28JoysticAPI_UnregsisterNotifyP17CpdJoystickNotify"));
  }
};

// True once the listener has had more than `count` packets; false after 10 s.
bool WaitForMorePackets(size_t count) {
  const auto deadline = std::chrono::steady_clock::now() + 10s;
  while (gListener.packets.load() <= count) {
    if (std::chrono::steady_clock::now() > deadline) {
      return false;
    }
    std::this_thread::sleep_for(5ms);
  }
  return true;
}

// The pause after registering in round `round`: short ones land in SDL_Init and the open, longer
// ones in the baseline, polling and the waits.
std::chrono::milliseconds PauseOf(int round) {
  static constexpr std::array<int, 10> PAUSES{0, 1, 3, 8, 20, 50, 120, 250, 400, 700};
  return std::chrono::milliseconds(PAUSES[static_cast<size_t>(round) % PAUSES.size()] +
                                   (round * 7) % 5);
}

}  // namespace

int main(int argc, char** argv) {
  const Options options = Parse(argc, argv);
  void* preloaded = nullptr;
  if (!options.preload.empty()) {
    preloaded = dlopen(options.preload.c_str(), RTLD_NOW | RTLD_GLOBAL);
    if (preloaded == nullptr) {
      Fail(dlerror());  // NOLINT(concurrency-mt-unsafe): only this thread loads
    }
  }
  Pads pads(preloaded);
  for (int pad = 0; pad < options.pads; ++pad) {
    pads.Plug(pad);
  }
  std::atomic<bool> churning{options.churn && options.pads > 0};
  std::thread churn([&] {
    for (int step = 0; churning.load(); ++step) {
      std::this_thread::sleep_for(170ms);
      if (step % 2 == 0) {
        pads.Unplug(options.pads - 1);
      } else {
        pads.Plug(options.pads - 1);
      }
    }
  });

  int unmapped = 0;
  for (int round = 0; round < options.rounds; ++round) {
    const bool unregisterFirst =
        options.mode == "unregistered" || (options.mode == "alternate" && round % 2 == 0);
    const size_t packetsBefore = gListener.packets.load();
    Loaded loaded(options);
    if (options.module ? loaded.moduleRegister() != 0 : loaded.registerNotify(&gListener) != 0) {
      Fail("round " + std::to_string(round) + ": registration failed");
    }
    std::this_thread::sleep_for(PauseOf(round));
    // The longest pause's rounds wait for polling to serve the listener (the pads' baselines take
    // about a third of a second each, longer under the sanitizers) before they unload.
    if (options.pads > 0 && !options.churn && PauseOf(round) >= 700ms && !options.module &&
        !WaitForMorePackets(packetsBefore)) {
      Fail("round " + std::to_string(round) + ": no packets within 10 s");
    }
    const auto unloading = std::chrono::steady_clock::now();
    if (unregisterFirst && !options.module && loaded.unregisterNotify(&gListener) != 0) {
      Fail("round " + std::to_string(round) + ": unregistration failed");
    }
    if (dlclose(loaded.handle) != 0) {
      Fail(dlerror());  // NOLINT(concurrency-mt-unsafe): only this thread loads
    }
    if (std::chrono::steady_clock::now() - unloading > 5s) {
      Fail("round " + std::to_string(round) + ": unloading took over 5 s");
    }
    const bool mapped = LibraryMapped();
    unmapped += mapped ? 0 : 1;
    // A listener still registered is still served: the library must stay where its thread is.
    if (!unregisterFirst && !options.module && !mapped) {
      Fail("round " + std::to_string(round) + ": unmapped under a registered listener");
    }
    // ... and goes on serving it after the unload.
    if (!unregisterFirst && !options.module && options.pads > 0 && !options.churn &&
        !WaitForMorePackets(gListener.packets.load())) {
      Fail("round " + std::to_string(round) + ": no packets after unloading while registered");
    }
    if (unregisterFirst && !options.module && mapped) {
      Fail("round " + std::to_string(round) + ": still mapped after the last unregister");
    }
  }
  churning = false;
  churn.join();
  std::printf("unload_host: %d rounds (%s), library unmapped after %d, %zu packets\n",
              options.rounds, options.mode.c_str(), unmapped, gListener.packets.load());
  return 0;
}
