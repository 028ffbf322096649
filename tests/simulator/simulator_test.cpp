// The simulator behaves like SDL2's joystick functions for the calls the bridge makes.
#include <SDL.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>

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

}  // namespace
