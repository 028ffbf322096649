// A Windows host may load the bridge with LoadLibrary and free it again while the polling thread
// runs. The bridge pins itself on the first call, so the code that thread runs stays mapped:
// the host goes on, its listener keeps hearing, and it can stop polling and exit normally.
#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "cpd_joystick/joystick_api.h"
#include "run_time_host.h"
#include "sdl_sim.h"

namespace {

using cpd::test::RunTimeListener;

using cpd::test::FindRegistrationExports;
using cpd::test::RegistrationExports;

bool WaitForPackets(const RunTimeListener& listener, int count) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (listener.packets.load() < count && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return listener.packets.load() >= count;
}

TEST(DllUnload, FreeLibraryWhilePollingLeavesTheBridgeRunning) {
  sim_plug("Xbox Wireless Controller", "/dev/input/event20", 0x045e, 0x0b13, 6, 11, 1);
  HMODULE bridge = LoadLibraryW(L"cpd_joystick.dll");
  ASSERT_NE(bridge, nullptr);
  const RegistrationExports exports = FindRegistrationExports(bridge);
  ASSERT_NE(exports.registerNotify, nullptr);
  ASSERT_NE(exports.unregisterNotify, nullptr);

  RunTimeListener listener;
  ASSERT_EQ(exports.registerNotify(listener.AsNotify()), 0);
  ASSERT_TRUE(WaitForPackets(listener, 3));

  ASSERT_NE(FreeLibrary(bridge), 0);
  EXPECT_EQ(GetModuleHandleW(L"cpd_joystick.dll"), bridge) << "unmapped under its own threads";
  const int before = listener.packets.load();
  EXPECT_TRUE(WaitForPackets(listener, before + 3)) << "polling stopped with the unload";

  // The host's reference is gone, but the pinned bridge still answers at the same address.
  EXPECT_EQ(exports.unregisterNotify(listener.AsNotify()), 0);
}

}  // namespace
