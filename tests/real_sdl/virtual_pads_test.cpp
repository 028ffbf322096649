// The virtual pads' motors on the system's real SDL2: SDL reports them, and every speed change its
// rumble makes reaches the pad's record, as it would reach a real pad's driver.
#include <SDL.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <thread>
#include <vector>

#include "virtual_pads.h"

namespace {

using namespace std::chrono_literals;

// SDL times a rumble in whole milliseconds by a clock that no time adjustment slews, so by the
// steady clock its end can come a little early: a loaded run has seen 1.5 ms, so a few ticks and
// a thousandth of the duration are allowed.
uint64_t EarliestEnd(uint64_t start, uint64_t durationMicros) {
  return start + durationMicros - 3'000 - durationMicros / 1'000;
}

uint64_t NowMicros() {
  return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(
                                   std::chrono::steady_clock::now().time_since_epoch())
                                   .count());
}

std::vector<vpad_motor_change> Changes(int pad) {
  std::vector<vpad_motor_change> changes(vpad_motor_changes(pad, nullptr, 0) + 16);
  changes.resize(std::min(vpad_motor_changes(pad, changes.data(), changes.size()), changes.size()));
  return changes;
}

// Updates until the pad has `count` speed changes, for at most `limit`.
bool UpdateUntilChanges(int pad, size_t count, std::chrono::milliseconds limit = 5s) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (Changes(pad).size() < count && std::chrono::steady_clock::now() < deadline) {
    SDL_JoystickUpdate();
    std::this_thread::sleep_for(1ms);
  }
  return Changes(pad).size() >= count;
}

class VirtualPads : public ::testing::Test {
 protected:
  void SetUp() override {
    vpad_reset();
    ASSERT_EQ(SDL_Init(SDL_INIT_JOYSTICK), 0) << SDL_GetError();
  }
  void TearDown() override {
    SDL_Quit();
    vpad_reset();
  }

  // Plugs pad 0 and opens it once SDL lists it.
  static SDL_Joystick* PlugAndOpen(bool motors) {
    vpad_set_motors(0, motors ? 1 : 0);
    if (vpad_plug(0, "Rumble Pad", 0x045e, 0x0b13, 6, 11, 1) != 0) {
      return nullptr;
    }
    SDL_JoystickUpdate();
    return vpad_attached(0) != 0 ? SDL_JoystickOpen(0) : nullptr;
  }
};

TEST_F(VirtualPads, SdlRumblesAPadWithMotorsAndEndsTheRumbleAfterItsDuration) {
  SDL_Joystick* joystick = PlugAndOpen(true);
  ASSERT_NE(joystick, nullptr);
  EXPECT_EQ(SDL_JoystickHasRumble(joystick), SDL_TRUE);
  const uint64_t before = NowMicros();
  ASSERT_EQ(SDL_JoystickRumble(joystick, 100, 200, 50), 0) << SDL_GetError();
  const uint64_t after = NowMicros();
  std::vector<vpad_motor_change> changes = Changes(0);
  ASSERT_EQ(changes.size(), 1U);
  EXPECT_EQ(changes[0].low, 100);
  EXPECT_EQ(changes[0].high, 200);
  EXPECT_GE(changes[0].at_micros, before);
  EXPECT_LE(changes[0].at_micros, after);

  ASSERT_TRUE(UpdateUntilChanges(0, 2));
  changes = Changes(0);
  ASSERT_EQ(changes.size(), 2U);
  EXPECT_EQ(changes[1].low, 0);
  EXPECT_EQ(changes[1].high, 0);
  EXPECT_GE(changes[1].at_micros, EarliestEnd(before, 50'000));
  SDL_JoystickClose(joystick);
  EXPECT_EQ(Changes(0).size(), 2U);
}

TEST_F(VirtualPads, APadWithoutMotorsCannotRumble) {
  SDL_Joystick* joystick = PlugAndOpen(false);
  ASSERT_NE(joystick, nullptr);
  EXPECT_EQ(SDL_JoystickHasRumble(joystick), SDL_FALSE);
  EXPECT_EQ(SDL_JoystickRumble(joystick, 100, 200, 50), -1);
  EXPECT_TRUE(Changes(0).empty());
  SDL_JoystickClose(joystick);
}

// SDL passes running speeds on again every two seconds; the pad's speeds do not change then.
TEST_F(VirtualPads, SpeedsPassedOnAgainAreNoChange) {
  SDL_Joystick* joystick = PlugAndOpen(true);
  ASSERT_NE(joystick, nullptr);
  ASSERT_EQ(SDL_JoystickRumble(joystick, 300, 400, 2500), 0);
  ASSERT_TRUE(UpdateUntilChanges(0, 2));
  const std::vector<vpad_motor_change> changes = Changes(0);
  ASSERT_EQ(changes.size(), 2U);
  EXPECT_EQ(changes[1].low, 0);
  EXPECT_GE(changes[1].at_micros, EarliestEnd(changes[0].at_micros, 2'500'000));
  SDL_JoystickClose(joystick);
}

// SDL stops a timed rumble when the last open of the pad closes, and the library holds one of its
// own until the pad is unplugged.
TEST_F(VirtualPads, ATimedRumbleStopsWhenThePadIsUnplugged) {
  SDL_Joystick* joystick = PlugAndOpen(true);
  ASSERT_NE(joystick, nullptr);
  ASSERT_EQ(SDL_JoystickRumble(joystick, 100, 200, 10'000), 0);
  SDL_JoystickClose(joystick);
  EXPECT_EQ(Changes(0).size(), 1U);
  vpad_unplug(0);
  SDL_JoystickUpdate();
  const std::vector<vpad_motor_change> changes = Changes(0);
  ASSERT_EQ(changes.size(), 2U);
  EXPECT_EQ(changes[1].low, 0);
  EXPECT_EQ(changes[1].high, 0);
}

TEST_F(VirtualPads, ThePadsRecordStartsAgainAtItsNextPlugAndResetTakesItsMotors) {
  SDL_Joystick* joystick = PlugAndOpen(true);
  ASSERT_NE(joystick, nullptr);
  ASSERT_EQ(SDL_JoystickRumble(joystick, 100, 200, 0), 0);
  ASSERT_EQ(Changes(0).size(), 1U);
  SDL_JoystickClose(joystick);
  vpad_unplug(0);
  SDL_JoystickUpdate();
  ASSERT_EQ(vpad_plug(0, "Rumble Pad", 0x045e, 0x0b13, 6, 11, 1), 0);
  EXPECT_TRUE(Changes(0).empty());
  SDL_JoystickUpdate();
  joystick = SDL_JoystickOpen(0);
  ASSERT_NE(joystick, nullptr);
  EXPECT_EQ(SDL_JoystickHasRumble(joystick), SDL_TRUE);
  SDL_JoystickClose(joystick);

  vpad_reset();
  SDL_JoystickUpdate();
  ASSERT_EQ(vpad_plug(0, "Rumble Pad", 0x045e, 0x0b13, 6, 11, 1), 0);
  SDL_JoystickUpdate();
  joystick = SDL_JoystickOpen(0);
  ASSERT_NE(joystick, nullptr);
  EXPECT_EQ(SDL_JoystickHasRumble(joystick), SDL_FALSE);
  SDL_JoystickClose(joystick);
}

}  // namespace
