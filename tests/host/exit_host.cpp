// A host that ends while the library polls a pad: its listener is still registered and a layout
// choice is still on its way to the store. It must end with status 0. Built twice: on the
// simulator, and on the system's SDL2 with a virtual pad (CPD_EXIT_HOST_VIRTUAL_PADS).
//
//   exit_host [return | exit-from-thread | exit-from-listener]
//
// "return" (the default) returns from main; "exit-from-thread" calls exit on a thread of the
// host's own while main still runs; "exit-from-listener" calls exit inside a data callback, on
// the polling thread itself.
//
// The pad rumbles when the host ends: the last line the host prints, after the library's own
// teardown, says what its motors run at then ("exit_host: motors at exit 0 0" when stopped).
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

constexpr uint16_t RUMBLE_LOW = 1234;
constexpr uint16_t RUMBLE_HIGH = 4321;

#if defined(CPD_EXIT_HOST_VIRTUAL_PADS)
void PlugRumblingPad() {
  vpad_set_motors(0, 1);
  vpad_plug(0, "Xbox Wireless Controller", 0x045e, 0x0b13, 6, 11, 1);
}

bool Motors(uint16_t& low, uint16_t& high) {
  vpad_motor_change changes[64];
  const size_t count = vpad_motor_changes(0, changes, 64);
  low = 0;
  high = 0;
  if (count == 0 || count > 64) {
    return count == 0;
  }
  low = changes[count - 1].low;
  high = changes[count - 1].high;
  return true;
}
#else
int gPad = -1;

void PlugRumblingPad() {
  gPad = sim_plug("Xbox Wireless Controller", "/dev/input/event20", 0x045e, 0x0b13, 6, 11, 1);
  sim_set_motors(gPad, 1);
}

bool Motors(uint16_t& low, uint16_t& high) {
  return sim_motors(gPad, &low, &high) == 1;
}
#endif

// Registered before the library's first registration, so it runs after the library's teardown.
void PrintMotorsAtExit() {
  uint16_t low = 0;
  uint16_t high = 0;
  if (Motors(low, high)) {
    std::printf("exit_host: motors at exit %u %u\n", low, high);
  }
  std::fflush(stdout);
}

bool WaitForRumble() {
  const auto deadline = std::chrono::steady_clock::now() + 10s;
  uint16_t low = 0;
  uint16_t high = 0;
  while (!Motors(low, high) || low != RUMBLE_LOW || high != RUMBLE_HIGH) {
    if (std::chrono::steady_clock::now() > deadline) {
      return false;
    }
    std::this_thread::sleep_for(1ms);
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string mode = argc > 1 ? argv[1] : "return";
  PlugRumblingPad();
  std::atexit(PrintMotorsAtExit);
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
  if (JoysticAPI_SetVibration(0, RUMBLE_LOW, RUMBLE_HIGH) != 0 || !WaitForRumble()) {
    std::fprintf(stderr, "exit_host: the pad does not rumble\n");
    return 6;
  }
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
