// What every scenario test needs: a clean simulator and store, a registered listener, and ways to
// wait for what the polling thread does.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <vector>

#include "cpd_joystick/joystick_api.h"
#include "log_capture.h"
#include "pad_models.h"
#include "recording_store.h"
#include "sdl_sim.h"
#include "test_listener.h"

namespace cpd::test {

// Well-known controllers, from the simulator's catalogue.
using sim::DUALSENSE_PAD;
using sim::GENERIC_PAD;
using sim::PadModel;
using sim::PEN_TABLET;
using sim::SWITCH_PAD;
using sim::XBOX_PAD;

int Plug(const PadModel& model, const std::string& path);

// Unplugs `pad` inside the update that a report makes, that is after the poll's count check
// (whose enumeration ends with SDL_JoystickPathForIndex) and before its attachment test, so the
// poll sees the controller detach instead of the count change. Install with
// sim_set_update_hook(&UnplugInReportUpdate, &state).
struct DetachDuringReport {
  int pad = -1;
  std::atomic<bool> done{false};
};
void UnplugInReportUpdate(void* context, uint64_t update);

class Scenario : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Registers `listener` (the fixture's own by default).
  void Register(TestListener* which = nullptr);
  void Unregister(TestListener* which = nullptr);

  // Waits until the device list has been published `count` times in all.
  bool WaitForDevListUpdates(size_t count, TestListener* which = nullptr);
  // Waits until at least `count` packets arrived.
  bool WaitForPackets(size_t count, TestListener* which = nullptr);
  // Waits until a debug or error line with this body was logged `count` times.
  static bool WaitForLog(const std::string& body, size_t count = 1,
                         std::chrono::milliseconds timeout = std::chrono::seconds(15));
  // The events received so far with this name.
  std::vector<RecordedEvent> EventsNamed(const std::string& name,
                                         TestListener* which = nullptr) const;

  TestListener listener;

 private:
  std::vector<TestListener*> mRegistered;
};

}  // namespace cpd::test
