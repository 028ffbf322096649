// A controller's identity read through the real SDL2, on SDL's own virtual joysticks.
#include <gtest/gtest.h>

#include "joystick_mapping/sdl_input.h"
#include "log_capture.h"
#include "virtual_joystick.h"

namespace {

using cpd::test::SdlJoystickSession;
using cpd::test::VirtualInputs;
using cpd::test::VirtualJoystick;

TEST(RealSdlIdentity, NameIdsAndCountsComeFromSdl) {
  SdlJoystickSession session;
  ASSERT_TRUE(session.ok());
  VirtualInputs inputs;
  inputs.axes = 4;
  inputs.buttons = 9;
  inputs.hats = 2;
  inputs.vendor = 0x054c;
  inputs.product = 0x0ce6;
  VirtualJoystick joystick(inputs, "DualSense Wireless Controller");
  ASSERT_TRUE(joystick.ok());
  joystick.SetAxis(2, -32768);
  joystick.SetHat(1, 8);

  cpd::JoystickDevice device;
  device._ptr = joystick.handle();
  cpd::ReadJoystickInfo(device);
  EXPECT_EQ(device.name, "DualSense Wireless Controller");
  EXPECT_EQ(device.vid, 0x054c);
  EXPECT_EQ(device.pid, 0x0ce6);
  EXPECT_EQ(device.numAxes, 4);
  EXPECT_EQ(device.numButtons, 9);
  EXPECT_EQ(device.numHats, 2);
  ASSERT_EQ(device.baselineAverages.size(), 15U);
  EXPECT_EQ(device.baselineAverages[2], -32768);
  EXPECT_EQ(device.baselineAverages[14], 8);
  EXPECT_EQ(cpd::test::CountLogBody(cpd::test::DebugBody("numAxes[4] numButtons[9] numHats[2]")),
            1U);
}

TEST(RealSdlIdentity, VirtualJoystickWithoutPathReadsAnEmptyPath) {
  SdlJoystickSession session;
  ASSERT_TRUE(session.ok());
  VirtualJoystick joystick;
  ASSERT_TRUE(joystick.ok());
  cpd::JoystickDevice device;
  device._ptr = joystick.handle();
  device.path = "stale";
  cpd::ReadJoystickInfo(device);
  EXPECT_EQ(device.path, "");
  EXPECT_EQ(device.name, "cpd virtual pad");
}

TEST(RealSdlIdentity, VirtualJoysticksAreNeverEnumeratedWithoutAPath) {
  SdlJoystickSession session;
  ASSERT_TRUE(session.ok());
  VirtualJoystick joystick;
  ASSERT_TRUE(joystick.ok());
  EXPECT_TRUE(cpd::GetJoystickList().empty());
}

}  // namespace
