// The simulator behaves like SDL2's joystick functions for the calls the bridge makes.
#include <SDL.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "pad_models.h"
#include "sdl_sim.h"

namespace {

class Simulator : public ::testing::Test {
 protected:
  void SetUp() override {
    sim_reset();
    ASSERT_EQ(SDL_Init(SDL_INIT_JOYSTICK), 0);
  }
  void TearDown() override {
    SDL_Quit();
    sim_reset();
  }
};

TEST_F(Simulator, PluggedControllersAreCountedAndListedInPlugOrder) {
  EXPECT_EQ(SDL_NumJoysticks(), 0);
  sim_plug("Pad A", "/dev/input/event10", 0x045e, 0x028e, 6, 11, 1);
  const int b = sim_plug("Pad B", "/dev/input/event11", 0x054c, 0x0ce6, 6, 15, 1);
  sim_plug("Pad C", "/dev/input/event12", 1, 2, 2, 2, 0);
  EXPECT_EQ(SDL_NumJoysticks(), 3);
  EXPECT_STREQ(SDL_JoystickPathForIndex(1), "/dev/input/event11");
  sim_unplug(b);
  EXPECT_EQ(SDL_NumJoysticks(), 2);
  EXPECT_STREQ(SDL_JoystickPathForIndex(1), "/dev/input/event12");
  EXPECT_EQ(SDL_JoystickPathForIndex(2), nullptr);
}

TEST_F(Simulator, HandleReportsIdentityAndCountsAsScripted) {
  sim_plug("Pad", "/dev/input/event3", 0x057e, 0x2009, -1, 4, 0);
  SDL_Joystick* joystick = SDL_JoystickOpen(0);
  ASSERT_NE(joystick, nullptr);
  EXPECT_STREQ(SDL_JoystickName(joystick), "Pad");
  EXPECT_STREQ(SDL_JoystickPath(joystick), "/dev/input/event3");
  EXPECT_EQ(SDL_JoystickGetVendor(joystick), 0x057e);
  EXPECT_EQ(SDL_JoystickGetProduct(joystick), 0x2009);
  EXPECT_EQ(SDL_JoystickNumAxes(joystick), -1);
  EXPECT_EQ(SDL_JoystickNumButtons(joystick), 4);
  EXPECT_EQ(SDL_JoystickNumHats(joystick), 0);
  SDL_JoystickClose(joystick);
}

TEST_F(Simulator, NullNameAndPathAreReportedAsNull) {
  sim_plug(nullptr, nullptr, 0, 0, 0, 0, 0);
  EXPECT_EQ(SDL_JoystickPathForIndex(0), nullptr);
  SDL_Joystick* joystick = SDL_JoystickOpen(0);
  EXPECT_EQ(SDL_JoystickName(joystick), nullptr);
  EXPECT_EQ(SDL_JoystickPath(joystick), nullptr);
  SDL_JoystickClose(joystick);
}

TEST_F(Simulator, ValuesTakeEffectAtTheNextUpdate) {
  const int pad = sim_plug("Pad", "/p", 1, 1, 2, 2, 1);
  SDL_Joystick* joystick = SDL_JoystickOpen(0);
  sim_set_axis(pad, 1, -32768);
  sim_set_button(pad, 0, 1);
  sim_set_hat(pad, 0, SDL_HAT_RIGHTUP);
  EXPECT_EQ(SDL_JoystickGetAxis(joystick, 1), 0);
  SDL_JoystickUpdate();
  EXPECT_EQ(SDL_JoystickGetAxis(joystick, 1), -32768);
  EXPECT_EQ(SDL_JoystickGetButton(joystick, 0), 1);
  EXPECT_EQ(SDL_JoystickGetHat(joystick, 0), SDL_HAT_RIGHTUP);
  EXPECT_EQ(SDL_JoystickGetAxis(joystick, 7), 0);  // outside the counts
  SDL_JoystickClose(joystick);
}

TEST_F(Simulator, UnpluggedHandleIsDetachedAndReadsZero) {
  const int pad = sim_plug("Pad", "/p", 1, 1, 1, 1, 0);
  SDL_Joystick* joystick = SDL_JoystickOpen(0);
  sim_set_button(pad, 0, 1);
  SDL_JoystickUpdate();
  EXPECT_EQ(SDL_JoystickGetAttached(joystick), SDL_TRUE);
  sim_unplug(pad);
  EXPECT_EQ(SDL_JoystickGetAttached(joystick), SDL_FALSE);
  EXPECT_EQ(SDL_JoystickGetButton(joystick, 0), 0);
  EXPECT_EQ(SDL_NumJoysticks(), 0);
  SDL_JoystickClose(joystick);
}

TEST_F(Simulator, InitAndOpenFailOnceWithTheScriptedError) {
  SDL_Quit();
  sim_fail_next_init("no joystick support");
  EXPECT_LT(SDL_Init(SDL_INIT_JOYSTICK), 0);
  EXPECT_STREQ(SDL_GetError(), "no joystick support");
  EXPECT_EQ(SDL_WasInit(SDL_INIT_JOYSTICK), 0U);
  EXPECT_EQ(SDL_Init(SDL_INIT_JOYSTICK), 0);
  EXPECT_EQ(SDL_WasInit(SDL_INIT_JOYSTICK), static_cast<Uint32>(SDL_INIT_JOYSTICK));

  sim_plug("Pad", "/p", 1, 1, 1, 1, 0);
  sim_fail_next_open("device busy");
  EXPECT_EQ(SDL_JoystickOpen(0), nullptr);
  EXPECT_STREQ(SDL_GetError(), "device busy");
  SDL_Joystick* joystick = SDL_JoystickOpen(0);
  EXPECT_NE(joystick, nullptr);
  SDL_JoystickClose(joystick);
}

TEST_F(Simulator, JournalRecordsEveryCallWithItsArgumentsAndThread) {
  sim_plug("Pad", "/p", 1, 1, 1, 1, 0);
  sim_clear_journal();
  uint64_t worker = 0;
  std::thread caller([&] {
    worker = sim_this_thread();
    SDL_SetHint("SDL_JOYSTICK_THREAD", "1");
    SDL_JoystickClose(SDL_JoystickOpen(0));
  });
  caller.join();
  const std::vector<sim_call> calls = sim::Journal();
  ASSERT_EQ(calls.size(), 3U);
  EXPECT_STREQ(calls[0].function, "SDL_SetHint");
  EXPECT_STREQ(calls[0].arguments, "\"SDL_JOYSTICK_THREAD\", \"1\"");
  EXPECT_STREQ(calls[1].function, "SDL_JoystickOpen");
  EXPECT_STREQ(calls[1].arguments, "0");
  EXPECT_STREQ(calls[2].function, "SDL_JoystickClose");
  for (const sim_call& call : calls) {
    EXPECT_EQ(call.thread, worker);
    EXPECT_NE(call.thread, sim_this_thread());
  }
}

struct Script {
  int pad = 0;
};

void AlternateAxis(void* context, uint64_t update) {
  sim_set_axis(static_cast<Script*>(context)->pad, 0, static_cast<int16_t>(update % 2));
}

TEST_F(Simulator, UpdateHookScriptsValuesThatTheSameUpdatePublishes) {
  Script script{sim_plug("Pad", "/p", 1, 1, 1, 0, 0)};
  SDL_Joystick* joystick = SDL_JoystickOpen(0);
  sim_set_update_hook(&AlternateAxis, &script);
  const uint64_t first = sim_update_count();
  for (uint64_t i = 0; i < 4; ++i) {
    SDL_JoystickUpdate();
    EXPECT_EQ(SDL_JoystickGetAxis(joystick, 0), static_cast<Sint16>((first + i) % 2));
  }
  sim_set_update_hook(nullptr, nullptr);
  SDL_JoystickClose(joystick);
}

TEST_F(Simulator, QuitClosesWhatIsStillOpen) {
  sim_plug("Pad", "/p", 1, 1, 1, 0, 0);
  SDL_JoystickOpen(0);
  EXPECT_EQ(sim_open_handles(), 1);
  SDL_Quit();
  EXPECT_EQ(sim_open_handles(), 0);
  EXPECT_EQ(sim_is_initialised(), 0);
}

TEST_F(Simulator, ACatalogueModelIsPluggedByItsKey) {
  ASSERT_GE(sim_plug_model("dualsense", "/dev/input/event21"), 0);
  EXPECT_EQ(sim_plug_model("no-such-pad", "/dev/input/event22"), -1);
  EXPECT_EQ(sim_plug_model(nullptr, "/dev/input/event22"), -1);
  EXPECT_EQ(SDL_NumJoysticks(), 1);
  SDL_Joystick* joystick = SDL_JoystickOpen(0);
  EXPECT_STREQ(SDL_JoystickName(joystick), "DualSense Wireless Controller");
  EXPECT_STREQ(SDL_JoystickPath(joystick), "/dev/input/event21");
  EXPECT_EQ(SDL_JoystickGetVendor(joystick), 0x054c);
  EXPECT_EQ(SDL_JoystickNumButtons(joystick), 15);
  SDL_JoystickClose(joystick);
  EXPECT_EQ(sim::FindPadModel("pen-tablet")->vid, 0x056a);
  EXPECT_EQ(sim::FindPadModel("nothing"), nullptr);
}

TEST_F(Simulator, AReplugKeepsTheCountButDetachesTheOldHandle) {
  const int first = sim_plug("Pad A", "/dev/input/event20", 1, 2, 2, 1, 0);
  sim_plug("Pad B", "/dev/input/event21", 3, 4, 2, 1, 0);
  SDL_Joystick* joystick = SDL_JoystickOpen(0);
  sim_set_button(first, 0, 1);
  SDL_JoystickUpdate();
  const int again = sim_replug(first);
  EXPECT_NE(again, first);
  EXPECT_EQ(SDL_JoystickGetAttached(joystick), SDL_FALSE);
  EXPECT_EQ(SDL_NumJoysticks(), 2);
  EXPECT_STREQ(SDL_JoystickPathForIndex(1), "/dev/input/event20");
  SDL_Joystick* back = SDL_JoystickOpen(1);
  EXPECT_STREQ(SDL_JoystickName(back), "Pad A");
  EXPECT_EQ(SDL_JoystickGetButton(back, 0), 0);
  EXPECT_EQ(sim_replug(first), -1);
  SDL_JoystickClose(back);
  SDL_JoystickClose(joystick);
}

// ---- motors ----------------------------------------------------------------------------------

using namespace std::chrono_literals;

uint64_t NowMicros() {
  return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(
                                   std::chrono::steady_clock::now().time_since_epoch())
                                   .count());
}

// A pad with motors and its open handle; the handle is closed by the test or by SDL_Quit.
struct Rumbler {
  int pad = sim_plug("Pad", "/p", 1, 1, 1, 1, 0);
  SDL_Joystick* joystick = [this] {
    sim_set_motors(pad, 1);
    return SDL_JoystickOpen(SDL_NumJoysticks() - 1);
  }();
};

// Updates until the pad has `count` speed changes, for at most two seconds.
bool UpdateUntilChanges(int pad, size_t count) {
  const auto deadline = std::chrono::steady_clock::now() + 2s;
  while (sim::MotorChanges(pad).size() < count && std::chrono::steady_clock::now() < deadline) {
    SDL_JoystickUpdate();
    std::this_thread::sleep_for(1ms);
  }
  return sim::MotorChanges(pad).size() >= count;
}

void UpdateFor(std::chrono::milliseconds span) {
  const auto end = std::chrono::steady_clock::now() + span;
  while (std::chrono::steady_clock::now() < end) {
    SDL_JoystickUpdate();
    std::this_thread::sleep_for(1ms);
  }
}

std::string PointerText(const void* pointer) {
  char text[32];
  std::snprintf(text, sizeof text, "%p", pointer);
  return text;
}

TEST_F(Simulator, OnlyAnAttachedPadWithMotorsHasRumble) {
  const int bare = sim_plug("Bare", "/a", 1, 1, 1, 1, 0);
  const int motors = sim_plug("Motors", "/b", 1, 1, 1, 1, 0);
  sim_set_motors(motors, 1);
  SDL_Joystick* plain = SDL_JoystickOpen(0);
  SDL_Joystick* rumbling = SDL_JoystickOpen(1);
  EXPECT_EQ(SDL_JoystickHasRumble(plain), SDL_FALSE);
  EXPECT_EQ(SDL_JoystickHasRumble(rumbling), SDL_TRUE);
  EXPECT_EQ(SDL_JoystickHasRumble(nullptr), SDL_FALSE);
  EXPECT_EQ(sim_motors(bare, nullptr, nullptr), 0);
  EXPECT_EQ(sim_motors(motors, nullptr, nullptr), 1);
  sim_unplug(motors);
  EXPECT_EQ(SDL_JoystickHasRumble(rumbling), SDL_FALSE);
  sim_set_motors(bare, 1);
  EXPECT_EQ(SDL_JoystickHasRumble(plain), SDL_TRUE);
  sim_set_motors(bare, 0);
  EXPECT_EQ(SDL_JoystickHasRumble(plain), SDL_FALSE);
  SDL_JoystickClose(plain);
  SDL_JoystickClose(rumbling);
}

TEST_F(Simulator, RumbleFailsWithSdlsErrorWhenTheSpeedsCannotReachMotors) {
  const int bare = sim_plug("Bare", "/a", 1, 1, 1, 1, 0);
  SDL_Joystick* plain = SDL_JoystickOpen(0);
  EXPECT_EQ(SDL_JoystickRumble(plain, 1000, 2000, 1000), -1);
  EXPECT_STREQ(SDL_GetError(), "That operation is not supported");
  // Speeds that already run (none) never reach a driver, as in SDL.
  EXPECT_EQ(SDL_JoystickRumble(plain, 0, 0, 1000), 0);
  EXPECT_EQ(SDL_JoystickRumble(nullptr, 1000, 2000, 1000), -1);
  EXPECT_STREQ(SDL_GetError(), "Parameter 'joystick' is invalid");
  SDL_JoystickClose(plain);
  EXPECT_EQ(SDL_JoystickRumble(plain, 1000, 2000, 1000), -1);
  EXPECT_STREQ(SDL_GetError(), "Parameter 'joystick' is invalid");

  Rumbler rumbler;
  sim_unplug(rumbler.pad);
  EXPECT_EQ(SDL_JoystickRumble(rumbler.joystick, 1000, 2000, 1000), -1);
  EXPECT_STREQ(SDL_GetError(), "Rumble failed, device disconnected");
  EXPECT_TRUE(sim::MotorChanges(bare).empty());
  EXPECT_TRUE(sim::MotorChanges(rumbler.pad).empty());
}

TEST_F(Simulator, RumbleAndHasRumbleAreJournaledWithTheirArguments) {
  Rumbler rumbler;
  sim_clear_journal();
  SDL_JoystickHasRumble(rumbler.joystick);
  SDL_JoystickRumble(rumbler.joystick, 1000, 2000, 1000);
  const std::vector<sim_call> calls = sim::Journal();
  ASSERT_EQ(calls.size(), 2U);
  EXPECT_STREQ(calls[0].function, "SDL_JoystickHasRumble");
  EXPECT_EQ(calls[0].arguments, PointerText(rumbler.joystick));
  EXPECT_STREQ(calls[1].function, "SDL_JoystickRumble");
  EXPECT_EQ(calls[1].arguments, PointerText(rumbler.joystick) + ", 1000, 2000, 1000");
}

TEST_F(Simulator, NewSpeedsAreOneChangeHoweverOftenTheyAreAskedFor) {
  Rumbler rumbler;
  const uint64_t before = NowMicros();
  EXPECT_EQ(SDL_JoystickRumble(rumbler.joystick, 1000, 2000, 5000), 0);
  EXPECT_EQ(SDL_JoystickRumble(rumbler.joystick, 1000, 2000, 5000), 0);
  const uint64_t after = NowMicros();
  uint16_t low = 0;
  uint16_t high = 0;
  EXPECT_EQ(sim_motors(rumbler.pad, &low, &high), 1);
  EXPECT_EQ(low, 1000);
  EXPECT_EQ(high, 2000);
  std::vector<sim_motor_change> changes = sim::MotorChanges(rumbler.pad);
  ASSERT_EQ(changes.size(), 1U);
  EXPECT_EQ(changes[0].low, 1000);
  EXPECT_EQ(changes[0].high, 2000);
  EXPECT_EQ(changes[0].cause, SIM_MOTORS_SET);
  EXPECT_GE(changes[0].at_micros, before);
  EXPECT_LE(changes[0].at_micros, after);

  EXPECT_EQ(SDL_JoystickRumble(rumbler.joystick, 1000, 3000, 5000), 0);
  changes = sim::MotorChanges(rumbler.pad);
  ASSERT_EQ(changes.size(), 2U);
  EXPECT_EQ(changes[1].high, 3000);
}

TEST_F(Simulator, ATimedRumbleStopsAtTheFirstUpdateAfterItsDuration) {
  Rumbler rumbler;
  ASSERT_EQ(SDL_JoystickRumble(rumbler.joystick, 1000, 2000, 20), 0);
  ASSERT_TRUE(UpdateUntilChanges(rumbler.pad, 2));
  const std::vector<sim_motor_change> changes = sim::MotorChanges(rumbler.pad);
  ASSERT_EQ(changes.size(), 2U);
  EXPECT_EQ(changes[1].low, 0);
  EXPECT_EQ(changes[1].high, 0);
  EXPECT_EQ(changes[1].cause, SIM_MOTORS_EXPIRED);
  EXPECT_GE(changes[1].at_micros, changes[0].at_micros + 20'000);
  uint16_t low = 1;
  uint16_t high = 1;
  sim_motors(rumbler.pad, &low, &high);
  EXPECT_EQ(low, 0);
  EXPECT_EQ(high, 0);
}

TEST_F(Simulator, TheSameSpeedsAgainExtendTheDuration) {
  Rumbler rumbler;
  ASSERT_EQ(SDL_JoystickRumble(rumbler.joystick, 1000, 2000, 20), 0);
  const uint64_t extended = NowMicros();
  ASSERT_EQ(SDL_JoystickRumble(rumbler.joystick, 1000, 2000, 300), 0);
  ASSERT_TRUE(UpdateUntilChanges(rumbler.pad, 2));
  const std::vector<sim_motor_change> changes = sim::MotorChanges(rumbler.pad);
  ASSERT_EQ(changes.size(), 2U);
  EXPECT_EQ(changes[1].cause, SIM_MOTORS_EXPIRED);
  EXPECT_GE(changes[1].at_micros, extended + 300'000);
}

TEST_F(Simulator, ARumbleWithoutDurationOrSpeedsArmsNoEnd) {
  Rumbler rumbler;
  ASSERT_EQ(SDL_JoystickRumble(rumbler.joystick, 1000, 2000, 20), 0);
  ASSERT_EQ(SDL_JoystickRumble(rumbler.joystick, 500, 600, 0), 0);  // cancels the 20 ms
  UpdateFor(60ms);
  uint16_t low = 0;
  uint16_t high = 0;
  sim_motors(rumbler.pad, &low, &high);
  EXPECT_EQ(low, 500);
  EXPECT_EQ(high, 600);
  ASSERT_EQ(SDL_JoystickRumble(rumbler.joystick, 0, 0, 20), 0);
  UpdateFor(60ms);
  const std::vector<sim_motor_change> changes = sim::MotorChanges(rumbler.pad);
  ASSERT_EQ(changes.size(), 3U);
  EXPECT_EQ(changes[2].low, 0);
  EXPECT_EQ(changes[2].high, 0);
  EXPECT_EQ(changes[2].cause, SIM_MOTORS_SET);
}

TEST_F(Simulator, ClosingTheHandleOfATimedRumbleStopsIt) {
  Rumbler rumbler;
  ASSERT_EQ(SDL_JoystickRumble(rumbler.joystick, 1000, 2000, 10'000), 0);
  SDL_JoystickClose(rumbler.joystick);
  const std::vector<sim_motor_change> changes = sim::MotorChanges(rumbler.pad);
  ASSERT_EQ(changes.size(), 2U);
  EXPECT_EQ(changes[1].low, 0);
  EXPECT_EQ(changes[1].high, 0);
  EXPECT_EQ(changes[1].cause, SIM_MOTORS_CLOSED);
}

TEST_F(Simulator, ClosingAnIdleHandleOrOneWithoutDurationChangesNothing) {
  Rumbler idle;
  SDL_JoystickClose(idle.joystick);
  EXPECT_TRUE(sim::MotorChanges(idle.pad).empty());

  Rumbler expired;
  ASSERT_EQ(SDL_JoystickRumble(expired.joystick, 1000, 2000, 20), 0);
  ASSERT_TRUE(UpdateUntilChanges(expired.pad, 2));
  SDL_JoystickClose(expired.joystick);
  EXPECT_EQ(sim::MotorChanges(expired.pad).size(), 2U);

  Rumbler endless;
  ASSERT_EQ(SDL_JoystickRumble(endless.joystick, 1000, 2000, 0), 0);
  SDL_JoystickClose(endless.joystick);
  EXPECT_EQ(sim::MotorChanges(endless.pad).size(), 1U);
}

TEST_F(Simulator, ATimedRumbleStopsWhenTheLastOpenOfItsPadCloses) {
  Rumbler rumbler;
  SDL_Joystick* second = SDL_JoystickOpen(0);
  ASSERT_EQ(SDL_JoystickRumble(rumbler.joystick, 1000, 2000, 10'000), 0);
  SDL_JoystickClose(rumbler.joystick);
  EXPECT_EQ(sim::MotorChanges(rumbler.pad).size(), 1U);
  SDL_JoystickClose(second);
  const std::vector<sim_motor_change> changes = sim::MotorChanges(rumbler.pad);
  ASSERT_EQ(changes.size(), 2U);
  EXPECT_EQ(changes[1].cause, SIM_MOTORS_CLOSED);
}

TEST_F(Simulator, QuitStopsATimedRumbleAsItClosesTheHandle) {
  Rumbler rumbler;
  ASSERT_EQ(SDL_JoystickRumble(rumbler.joystick, 1000, 2000, 10'000), 0);
  SDL_Quit();
  const std::vector<sim_motor_change> changes = sim::MotorChanges(rumbler.pad);
  ASSERT_EQ(changes.size(), 2U);
  EXPECT_EQ(changes[1].cause, SIM_MOTORS_CLOSED);
}

TEST_F(Simulator, AReplugKeepsThePadsMotorsWithAFreshHistory) {
  Rumbler rumbler;
  ASSERT_EQ(SDL_JoystickRumble(rumbler.joystick, 1000, 2000, 10'000), 0);
  const int again = sim_replug(rumbler.pad);
  uint16_t low = 1;
  uint16_t high = 1;
  EXPECT_EQ(sim_motors(again, &low, &high), 1);
  EXPECT_EQ(low, 0);
  EXPECT_EQ(high, 0);
  EXPECT_TRUE(sim::MotorChanges(again).empty());
  SDL_Joystick* back = SDL_JoystickOpen(0);
  EXPECT_EQ(SDL_JoystickHasRumble(back), SDL_TRUE);
  EXPECT_EQ(SDL_JoystickRumble(back, 3000, 4000, 10'000), 0);
  // The pad that was pulled out is beyond SDL's reach: its handle closes without a stop.
  SDL_JoystickClose(rumbler.joystick);
  EXPECT_EQ(sim::MotorChanges(rumbler.pad).size(), 1U);
  ASSERT_EQ(sim::MotorChanges(again).size(), 1U);
  EXPECT_EQ(sim::MotorChanges(again)[0].low, 3000);
  SDL_JoystickClose(back);
  EXPECT_EQ(sim::MotorChanges(again).size(), 2U);
}

TEST_F(Simulator, CataloguePadsHaveTheirModelsMotors) {
  for (const sim::PadModel& model : sim::PAD_CATALOGUE) {
    const int pad = sim_plug_model(model.key, "/dev/input/event30");
    EXPECT_EQ(sim_motors(pad, nullptr, nullptr), model.motors ? 1 : 0) << model.key;
  }
  EXPECT_EQ(sim_motors(sim_plug_model("xbox", "/x"), nullptr, nullptr), 1);
  EXPECT_EQ(sim_motors(sim_plug_model("generic", "/g"), nullptr, nullptr), 0);
}

TEST_F(Simulator, ResetForgetsMotorsAndTheirHistory) {
  Rumbler rumbler;
  ASSERT_EQ(SDL_JoystickRumble(rumbler.joystick, 1000, 2000, 0), 0);
  sim_reset();
  uint16_t low = 1;
  uint16_t high = 1;
  EXPECT_EQ(sim_motors(rumbler.pad, &low, &high), 0);
  EXPECT_EQ(low, 0);
  EXPECT_EQ(high, 0);
  EXPECT_TRUE(sim::MotorChanges(rumbler.pad).empty());
  EXPECT_EQ(sim_motors(12345, &low, &high), 0);
}

}  // namespace
