// A host that ends while the library polls a pad: its listener is still registered and a layout
// choice is still on its way to the store. It must end with status 0. Built twice: on the
// simulator, and on the system's SDL2 with a virtual pad (CPD_EXIT_HOST_VIRTUAL_PADS).
//
//   exit_host [return | exit-from-thread | exit-from-listener]
//
// "return" (the default) returns from main; "exit-from-thread" calls exit on a thread of the
// host's own while main still runs; "exit-from-listener" calls exit inside a data callback, on
// the polling thread itself.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include "cpd_joystick/joystick_api.h"
#if defined(CPD_EXIT_HOST_VIRTUAL_PADS)
#include "virtual_pads.h"
#else
#include "sdl_sim.h"
#endif

namespace {

using namespace std::chrono_literals;

class CountingListener : public CpdJoystickNotify {
 public:
  void OnJoystickData(const JoystickDataPacket* /*data*/, int32_t /*length*/) override {
    if (++mPackets > 6 && exitInCallback.load()) {
      std::exit(0);  // NOLINT(concurrency-mt-unsafe): ending the process from here is the point
    }
  }
  std::atomic<bool> exitInCallback{false};
  void OnDevListUpdate() override {}
  void OnJoystickEvent(std::string /*event*/, const EventRecord& /*record*/) override {}
  size_t Packets() const { return mPackets.load(); }

 private:
  std::atomic<size_t> mPackets{0};
};

// Made before main, so it outlives the library's teardown at exit.
CountingListener gListener;

}  // namespace

int main(int argc, char** argv) {
  const std::string mode = argc > 1 ? argv[1] : "return";
#if defined(CPD_EXIT_HOST_VIRTUAL_PADS)
  vpad_plug(0, "Xbox Wireless Controller", 0x045e, 0x0b13, 6, 11, 1);
#else
  sim_plug("Xbox Wireless Controller", "/dev/input/event20", 0x045e, 0x0b13, 6, 11, 1);
#endif
  JoysticAPI_RegsisterNotify(&gListener);
  const auto deadline = std::chrono::steady_clock::now() + 20s;
  while (gListener.Packets() < 3) {
    if (std::chrono::steady_clock::now() > deadline) {
      std::fprintf(stderr, "exit_host: no packets\n");
      return 4;
    }
    std::this_thread::sleep_for(5ms);
  }
  JoysticAPI_SetMapping(0, 1);
  if (mode == "exit-from-thread") {
    std::thread([] { std::exit(0); }).detach();  // NOLINT(concurrency-mt-unsafe)
    std::this_thread::sleep_for(20s);            // main goes on until the exit ends the process
    return 5;
  }
  if (mode == "exit-from-listener") {
    gListener.exitInCallback = true;
    std::this_thread::sleep_for(20s);
    return 5;
  }
  return 0;
}
