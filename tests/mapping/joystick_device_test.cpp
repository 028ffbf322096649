#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "joystick_mapping/joystick_device.h"
#include "joystick_mapping/layouts.h"

namespace {

using cpd::JoystickDevice;
using cpd::XboxGamepad;

std::array<uint8_t, 12> Bytes(const XboxGamepad& gamepad) {
  std::array<uint8_t, 12> bytes{};
  std::memcpy(bytes.data(), &gamepad, bytes.size());
  return bytes;
}

TEST(XboxGamepadLayout, FieldsSitLittleEndianAtTheirXInputOffsets) {
  XboxGamepad gamepad;
  EXPECT_EQ(Bytes(gamepad), (std::array<uint8_t, 12>{}));
  gamepad.wButtons = 0xF00F;
  gamepad.bLeftTrigger = 0x11;
  gamepad.bRightTrigger = 0x22;
  gamepad.sThumbLX = -32767;
  gamepad.sThumbLY = 0x1234;
  gamepad.sThumbRX = 1;
  gamepad.sThumbRY = -1;
  const std::array<uint8_t, 12> expected = {0x0F, 0xF0, 0x11, 0x22, 0x01, 0x80,
                                            0x34, 0x12, 0x01, 0x00, 0xFF, 0xFF};
  EXPECT_EQ(Bytes(gamepad), expected);
}

TEST(JoystickDeviceRecord, FreshRecordIsEmptyWithAFreshMapping) {
  const JoystickDevice device;
  EXPECT_EQ(device._ptr, nullptr);
  EXPECT_EQ(device.name, "");
  EXPECT_EQ(device.path, "");
  EXPECT_EQ(device.vid, 0);
  EXPECT_EQ(device.pid, 0);
  EXPECT_EQ(device.numAxes, 0);
  EXPECT_EQ(device.numButtons, 0);
  EXPECT_EQ(device.numHats, 0);
  EXPECT_EQ(device.slotIndex, 0);
  EXPECT_EQ(device.flag, 0);
  EXPECT_EQ(device.mapping.bindings.size(), 24U);
  EXPECT_EQ(device.mapping.mappingIndex, 0);
  EXPECT_TRUE(device.baselineAverages.empty());
  EXPECT_EQ(Bytes(device.lastGamepad), (std::array<uint8_t, 12>{}));
}

TEST(JoystickDeviceRecord, CopyCarriesEveryFieldAndOwnsItsOwnContainers) {
  JoystickDevice original;
  alignas(8) static char handleStandIn[8];
  original._ptr = reinterpret_cast<SDL_Joystick*>(handleStandIn);
  original.name = "xbox wireless controller";
  original.path = "/dev/input/event7";
  original.vid = 0x045E;
  original.pid = 0x0B13;
  original.numAxes = 6;
  original.numButtons = 11;
  original.numHats = 1;
  original.slotIndex = 2;
  original.flag = 0xA5;
  cpd::setXboxSDLMapping(original);
  original.baselineAverages = {0, -1, 32767};
  original.lastGamepad.wButtons = 0x1001;
  original.lastGamepad.sThumbRY = -32767;

  JoystickDevice copy = original;
  EXPECT_EQ(copy._ptr, original._ptr);
  EXPECT_EQ(copy.name, original.name);
  EXPECT_EQ(copy.path, original.path);
  EXPECT_EQ(copy.vid, 0x045E);
  EXPECT_EQ(copy.pid, 0x0B13);
  EXPECT_EQ(copy.numAxes, 6);
  EXPECT_EQ(copy.numButtons, 11);
  EXPECT_EQ(copy.numHats, 1);
  EXPECT_EQ(copy.slotIndex, 2);
  EXPECT_EQ(copy.flag, 0xA5);
  EXPECT_EQ(copy.mapping.bindings, original.mapping.bindings);
  EXPECT_EQ(copy.mapping.buttonInputs, original.mapping.buttonInputs);
  EXPECT_EQ(copy.mapping.mappingIndex, 6);
  EXPECT_EQ(copy.mapping.mappingName, "MAPPING_XBOX");
  EXPECT_EQ(copy.baselineAverages, original.baselineAverages);
  EXPECT_EQ(Bytes(copy.lastGamepad), Bytes(original.lastGamepad));

  copy.baselineAverages.push_back(5);
  copy.mapping.bindings.clear();
  copy.name[0] = 'X';
  EXPECT_EQ(original.baselineAverages.size(), 3U);
  EXPECT_EQ(original.mapping.bindings.size(), 24U);
  EXPECT_EQ(original.name, "xbox wireless controller");
}

}  // namespace
