// SDL set-up, enumeration, opening and identity, on the simulator.
#include <gtest/gtest.h>

#include <cstring>

#include "joystick_mapping/sdl_input.h"
#include "log_capture.h"
#include "sdl_sim.h"

namespace {

using cpd::test::CountLogBody;
using cpd::test::ErrorBody;

size_t CountCalls(const char* function) {
  size_t count = 0;
  for (const sim_call& call : sim::Journal()) {
    count += std::strcmp(call.function, function) == 0 ? 1 : 0;
  }
  return count;
}

class SdlInput : public ::testing::Test {
 protected:
  void SetUp() override {
    SDL_Quit();
    sim_reset();
    cpd::test::ClearLogs();
  }
  void TearDown() override { SDL_Quit(); }
};

TEST_F(SdlInput, InitialisingTwiceAnswersOneBothTimesAndStartsSdlOnce) {
  EXPECT_EQ(cpd::InitJoystickInput(), 1);
  EXPECT_EQ(cpd::InitJoystickInput(), 1);
  EXPECT_EQ(CountCalls("SDL_Init"), 1U);
  EXPECT_EQ(CountCalls("SDL_SetHint"), 2U);
  EXPECT_TRUE(cpd::test::CapturedLogs().empty());  // the "already up" line is muted
}

TEST_F(SdlInput, FailedInitialisationLogsSdlsErrorAndAnswersZero) {
  sim_fail_next_init("joystick subsystem unavailable");
  EXPECT_EQ(cpd::InitJoystickInput(), 0);
  EXPECT_EQ(CountLogBody(ErrorBody("SDL initialization failed: joystick subsystem unavailable")),
            1U);
  EXPECT_EQ(CountCalls("SDL_Quit"), 0U);
}

TEST_F(SdlInput, EnumerationIsByPathAndSkipsControllersWithoutOne) {
  ASSERT_EQ(cpd::InitJoystickInput(), 1);
  sim_plug("b", "/dev/input/event9", 1, 1, 0, 0, 0);
  sim_plug("nameless path", nullptr, 1, 1, 0, 0, 0);
  sim_plug("a", "/dev/input/event10", 1, 1, 0, 0, 0);
  const cpd::JoystickList list = cpd::GetJoystickList();
  EXPECT_EQ(list, (cpd::JoystickList{{"/dev/input/event10", 2}, {"/dev/input/event9", 0}}));
}

TEST_F(SdlInput, NoControllersGiveAnEmptyListSilently) {
  ASSERT_EQ(cpd::InitJoystickInput(), 1);
  EXPECT_TRUE(cpd::GetJoystickList().empty());
  EXPECT_TRUE(cpd::test::CapturedLogs().empty());
}

TEST_F(SdlInput, TwoControllersOnOnePathLeaveTheLaterIndex) {
  ASSERT_EQ(cpd::InitJoystickInput(), 1);
  sim_plug("a", "/dev/same", 1, 1, 0, 0, 0);
  sim_plug("b", "/dev/same", 1, 1, 0, 0, 0);
  EXPECT_EQ(cpd::GetJoystickList(), (cpd::JoystickList{{"/dev/same", 1}}));
}

TEST_F(SdlInput, FailedOpenIsReportedOnStandardOutput) {
  ASSERT_EQ(cpd::InitJoystickInput(), 1);
  sim_plug("a", "/dev/a", 1, 1, 0, 0, 0);
  sim_fail_next_open("device busy");
  cpd::JoystickDevice device;
  ::testing::internal::CaptureStdout();
  EXPECT_FALSE(cpd::OpenJoystick(0, device));
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "Failed to open joystick: device busy\n");
  EXPECT_EQ(device._ptr, nullptr);
  EXPECT_TRUE(cpd::test::CapturedLogs().empty());
}

TEST_F(SdlInput, IdentityCountsAndBaselineAreRead) {
  ASSERT_EQ(cpd::InitJoystickInput(), 1);
  const int pad = sim_plug("Pad", "/dev/input/event5", 0x045e, 0x028e, 2, 1, 1);
  sim_set_axis(pad, 1, -32768);
  sim_set_hat(pad, 0, 4);
  cpd::JoystickDevice device;
  ASSERT_TRUE(cpd::OpenJoystick(0, device));
  cpd::ReadJoystickInfo(device);
  EXPECT_EQ(device.name, "Pad");
  EXPECT_EQ(device.path, "/dev/input/event5");
  EXPECT_EQ(device.vid, 0x045e);
  EXPECT_EQ(device.pid, 0x028e);
  EXPECT_EQ(device.numAxes, 2);
  EXPECT_EQ(device.numButtons, 1);
  EXPECT_EQ(device.numHats, 1);
  EXPECT_EQ(device.baselineAverages, (std::vector<int32_t>{0, -32768, 0, 4}));
  EXPECT_EQ(CountCalls("SDL_JoystickUpdate"), 64U);
  SDL_JoystickClose(device._ptr);
}

TEST_F(SdlInput, MissingNameAndPathReadAsEmpty) {
  ASSERT_EQ(cpd::InitJoystickInput(), 1);
  sim_plug(nullptr, nullptr, 0, 0, 0, 0, 0);
  cpd::JoystickDevice device;
  ASSERT_TRUE(cpd::OpenJoystick(0, device));
  device.name = "stale";
  device.path = "stale";
  cpd::ReadJoystickInfo(device);
  EXPECT_EQ(device.name, "");
  EXPECT_EQ(device.path, "");
  SDL_JoystickClose(device._ptr);
}

}  // namespace
