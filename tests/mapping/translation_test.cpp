// Translation of a real SDL joystick's state: the rules of one report, on SDL's virtual joystick.
#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

#include "gamepad_bytes.h"
#include "joystick_mapping/layouts.h"
#include "joystick_mapping/report_translation.h"
#include "log_capture.h"
#include "virtual_joystick.h"

namespace {

using cpd::InputBinding;
using cpd::InputId;
using cpd::InputType;
using cpd::XboxGamepad;
using cpd::test::DebugBody;
using cpd::test::Gamepad;
using cpd::test::HostBytes;
using cpd::test::LogBodies;

std::string HatLine(int index, int hat, int mapValue) {
  return DebugBody("SDL_JoystickGetHat index[" + std::to_string(index) + "] buttonValue[" +
                   std::to_string(hat) + "] mapValue[" + std::to_string(mapValue) + "]");
}

std::string ButtonLine(int index, int mapValue) {
  return DebugBody("SDL_JoystickGetButton index[" + std::to_string(index) +
                   "] buttonValue[1] mapValue[" + std::to_string(mapValue) + "]");
}

class Translation : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(mSession.ok()) << SDL_GetError();
    ASSERT_TRUE(mPad.ok()) << SDL_GetError();
    mDevice._ptr = mPad.handle();
    cpd::test::ClearLogs();
  }

  XboxGamepad Report() {
    std::vector<InputId> inputs;
    cpd::GetMappedInputs(mDevice.mapping.bindings, inputs);
    XboxGamepad gamepad;
    cpd::GetXboxReportFromSDLmap(mDevice, inputs, gamepad);
    return gamepad;
  }

  // Reports after the axis is set, with the log of that report only.
  XboxGamepad ReportWithAxis(int axis, int16_t value) {
    mPad.SetAxis(axis, value);
    cpd::test::ClearLogs();
    return Report();
  }

  void Bind(InputId control, InputBinding binding) { mDevice.mapping.bindings[control] = binding; }

  cpd::test::SdlJoystickSession mSession;
  cpd::test::VirtualJoystick mPad;
  cpd::JoystickDevice mDevice;
};

TEST_F(Translation, StickAtRestIsZeroFullLeftIsMinus32767AndFullRightIs32766) {
  cpd::setXboxSDLMapping(mDevice);
  for (const int rest : {-1, 0, 1}) {
    EXPECT_EQ(HostBytes(ReportWithAxis(0, static_cast<int16_t>(rest))), HostBytes(Gamepad{}))
        << rest;
  }
  EXPECT_EQ(HostBytes(ReportWithAxis(0, -32768)), HostBytes(Gamepad{0, 0, 0, -32767}));
  EXPECT_EQ(HostBytes(ReportWithAxis(0, 32767)), HostBytes(Gamepad{0, 0, 0, 32766}));
  EXPECT_TRUE(LogBodies().empty());
}

TEST_F(Translation, TriggerStaysZeroOverTheNegativeHalfAndUpTo65Then66GivesOne) {
  cpd::setXboxSDLMapping(mDevice);
  for (int value = -32768; value <= 65; ++value) {
    const XboxGamepad gamepad = ReportWithAxis(4, static_cast<int16_t>(value));
    ASSERT_EQ(gamepad.bLeftTrigger, 0) << value;
  }
  EXPECT_EQ(ReportWithAxis(4, 66).bLeftTrigger, 1);
  EXPECT_EQ(ReportWithAxis(4, 32767).bLeftTrigger, 255);
  EXPECT_EQ(HostBytes(ReportWithAxis(4, 32767)), HostBytes(Gamepad{0, 255}));
}

TEST_F(Translation, TriggerRisesStepwiseOverThePositiveHalf) {
  cpd::setXboxSDLMapping(mDevice);
  int previous = 0;
  for (int value = 66; value <= 32767; ++value) {
    const int trigger = ReportWithAxis(5, static_cast<int16_t>(value)).bRightTrigger;
    ASSERT_GE(trigger, previous) << value;
    ASSERT_LE(trigger, previous + 1) << value;
    previous = trigger;
  }
  EXPECT_EQ(previous, 255);
}

TEST_F(Translation, StickFieldIsTheReadingMovedOneCountTowardRest) {
  cpd::setXboxSDLMapping(mDevice);
  for (int value = -32768; value <= 32767; ++value) {
    const XboxGamepad gamepad = ReportWithAxis(2, static_cast<int16_t>(value));
    const int expected = value >= 2 ? value - 1 : value <= -2 ? value + 1 : 0;
    ASSERT_EQ(gamepad.sThumbRX, expected) << value;
    ASSERT_EQ(gamepad.sThumbRY, 0) << value;
  }
}

TEST_F(Translation, AxisBoundToADigitalControlSetsTheBitFrom3002OnItsOwnHalfOnly) {
  Bind(InputId::A, {InputType::STICK, 0, 32767});
  Bind(InputId::B, {InputType::TRIGGER, 1, -32768});
  const std::vector<int16_t> values = {-32768, -3002, -3001, -2,   -1,   0,     1,
                                       2,      65,    66,    3001, 3002, 32766, 32767};
  // clang-format off
  const std::vector<uint16_t> aBits = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x1000, 0x1000, 0x1000};
  const std::vector<uint16_t> bBits = {0x2000, 0x2000, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  // clang-format on
  for (size_t i = 0; i < values.size(); ++i) {
    mPad.Rest();
    EXPECT_EQ(ReportWithAxis(0, values[i]).wButtons, aBits[i]) << values[i];
    mPad.Rest();
    EXPECT_EQ(ReportWithAxis(1, values[i]).wButtons, bBits[i]) << values[i];
  }
}

TEST_F(Translation, HatUpRightTurnsOnUpAndRightAndLogsOneLinePerDpadControl) {
  cpd::setXboxSDLMapping(mDevice);
  mPad.SetHat(0, SDL_HAT_RIGHTUP);
  cpd::test::ClearLogs();
  EXPECT_EQ(HostBytes(Report()), HostBytes(Gamepad{0x0001 | 0x0008}));
  // DPAD_UP, DPAD_DOWN, DPAD_LEFT, DPAD_RIGHT all read hat 0, in that order.
  EXPECT_EQ(LogBodies(), (std::vector<std::string>{HatLine(0, 3, 1), HatLine(0, 3, 4),
                                                   HatLine(0, 3, 8), HatLine(0, 3, 2)}));
  for (const cpd::test::LogLine& line : cpd::test::CapturedLogs()) {
    EXPECT_EQ(line.function, "GetXboxReportFromSDLmap");
    EXPECT_EQ(line.level, 5);
  }
}

TEST_F(Translation, HatLineIsWrittenEvenWhenTheControlStaysOff) {
  Bind(InputId::DPAD_UP, {InputType::DPAD, 0, 1});
  mPad.SetHat(0, SDL_HAT_DOWN);
  EXPECT_EQ(HostBytes(Report()), HostBytes(Gamepad{}));
  EXPECT_EQ(LogBodies(), (std::vector<std::string>{HatLine(0, 4, 1)}));
}

TEST_F(Translation, TriggerBoundToAButtonReads255WhilePressedAndZeroOtherwise) {
  cpd::setLogicRumblepadSDLMapping(mDevice);
  EXPECT_EQ(HostBytes(Report()), HostBytes(Gamepad{}));
  mPad.SetButton(6, true);
  EXPECT_EQ(HostBytes(Report()), HostBytes(Gamepad{0, 255}));
  mPad.SetButton(6, false);
  mPad.SetButton(7, true);
  EXPECT_EQ(HostBytes(Report()), HostBytes(Gamepad{0, 0, 255}));
  mPad.SetButton(7, false);
  EXPECT_EQ(HostBytes(Report()), HostBytes(Gamepad{}));
}

TEST_F(Translation, AllUnsetBindingsGiveNoInputsAndAnAllZeroState) {
  std::vector<InputId> inputs = {InputId::A};
  cpd::GetMappedInputs(mDevice.mapping.bindings, inputs);
  EXPECT_TRUE(inputs.empty());
  for (int button = 0; button < 15; ++button) {
    mPad.SetButton(button, true);
  }
  mPad.SetHat(0, SDL_HAT_LEFTDOWN);
  mPad.SetAxis(0, -32768);
  mPad.SetAxis(4, 32767);
  // Even when asked for every control, unbound ones read nothing.
  std::vector<InputId> everything;
  for (uint32_t id = 0; id < 25; ++id) {
    everything.push_back(static_cast<InputId>(id));
  }
  XboxGamepad gamepad;
  cpd::GetXboxReportFromSDLmap(mDevice, everything, gamepad);
  EXPECT_EQ(HostBytes(gamepad), HostBytes(Gamepad{}));
  EXPECT_TRUE(LogBodies().empty());
}

TEST_F(Translation, MappedInputsAreEveryBoundControlInAscendingOrder) {
  cpd::setXboxSDLMapping(mDevice);
  std::vector<InputId> inputs = {InputId::GUIDE, InputId::GUIDE};
  cpd::GetMappedInputs(mDevice.mapping.bindings, inputs);
  std::vector<InputId> expected;
  for (uint32_t id = 0; id < 25; ++id) {
    if (id != 10) {
      expected.push_back(static_cast<InputId>(id));
    }
  }
  EXPECT_EQ(inputs, expected);
  mDevice.mapping.bindings[InputId::B].type = InputType::UNSET;
  cpd::GetMappedInputs(mDevice.mapping.bindings, inputs);
  EXPECT_EQ(inputs.size(), 23U);
  EXPECT_EQ(std::count(inputs.begin(), inputs.end(), InputId::B), 0);
}

TEST_F(Translation, IndexesTheDeviceDoesNotHaveReadAsInactive) {
  for (const int32_t index : {15, 99, INT_MAX, -1, -5, INT_MIN}) {
    cpd::JoystickDevice device;
    device._ptr = mPad.handle();
    device.mapping.bindings[InputId::DPAD_UP] = {InputType::DPAD, index, 0xF};
    device.mapping.bindings[InputId::A] = {InputType::BUTTON, index, 1};
    device.mapping.bindings[InputId::LEFT_TRIGGER] = {InputType::TRIGGER, index, 32767};
    device.mapping.bindings[InputId::RIGHT_TRIGGER] = {InputType::DPAD, index, 0xF};
    device.mapping.bindings[InputId::LEFT_STICK_LEFT] = {InputType::STICK, index, -32768};
    device.mapping.bindings[InputId::RIGHT_STICK_UP] = {InputType::BUTTON, index, 1};
    for (int button = 0; button < 15; ++button) {
      mPad.SetButton(button, true);
    }
    mPad.SetHat(0, SDL_HAT_UP);
    for (int axis = 0; axis < 6; ++axis) {
      mPad.SetAxis(axis, -32768);
    }
    std::vector<InputId> inputs;
    cpd::GetMappedInputs(device.mapping.bindings, inputs);
    XboxGamepad gamepad;
    cpd::GetXboxReportFromSDLmap(device, inputs, gamepad);
    EXPECT_EQ(HostBytes(gamepad), HostBytes(Gamepad{})) << index;
  }
  EXPECT_TRUE(LogBodies().empty());
}

TEST_F(Translation, ADeviceWithoutAHandleReadsAllZero) {
  cpd::setXboxSDLMapping(mDevice);
  mDevice._ptr = nullptr;
  mPad.SetButton(0, true);
  mPad.SetHat(0, SDL_HAT_UP);
  mPad.SetAxis(4, 32767);
  EXPECT_EQ(HostBytes(Report()), HostBytes(Gamepad{}));
}

TEST_F(Translation, GroupOnlyAndUnknownTypesAreSkipped) {
  Bind(InputId::A, {InputType::THUMB, 0, 1});
  Bind(InputId::B, {InputType::SHOULDER, 0, 1});
  Bind(InputId::X, {static_cast<InputType>(9), 0, 1});
  Bind(InputId::Y, {static_cast<InputType>(0xFFFFFFFFU), 0, 1});
  mPad.SetButton(0, true);
  EXPECT_EQ(HostBytes(Report()), HostBytes(Gamepad{}));
  EXPECT_TRUE(LogBodies().empty());
}

TEST_F(Translation, ButtonLineCarriesTheBindingValueWhichDecidesNothing) {
  Bind(InputId::Y, {InputType::BUTTON, 3, 7});
  mPad.SetButton(3, true);
  EXPECT_EQ(HostBytes(Report()), HostBytes(Gamepad{0x8000}));
  EXPECT_EQ(LogBodies(), (std::vector<std::string>{ButtonLine(3, 7)}));
}

TEST_F(Translation, HatsAndButtonsDriveSticksToFullDeflection) {
  Bind(InputId::LEFT_STICK_UP, {InputType::DPAD, 0, SDL_HAT_UP});
  Bind(InputId::RIGHT_STICK_DOWN, {InputType::BUTTON, 2, 1});
  Bind(InputId::LEFT_TRIGGER, {InputType::DPAD, 0, SDL_HAT_LEFT});
  mPad.SetHat(0, SDL_HAT_LEFTUP);
  mPad.SetButton(2, true);
  EXPECT_EQ(HostBytes(Report()), HostBytes(Gamepad{0, 255, 0, 0, 32767, 0, -32767}));
}

TEST_F(Translation, ALaterControlOverwritesAnEarlierOneOnTheSameField) {
  Bind(InputId::LEFT_STICK_LEFT, {InputType::BUTTON, 0, 1});
  Bind(InputId::LEFT_STICK_RIGHT, {InputType::BUTTON, 1, 1});
  mPad.SetButton(0, true);
  EXPECT_EQ(HostBytes(Report()), HostBytes(Gamepad{0, 0, 0, -32767}));
  mPad.SetButton(1, true);
  EXPECT_EQ(HostBytes(Report()), HostBytes(Gamepad{0, 0, 0, 32767}));
}

TEST_F(Translation, AControlOutsideTheStateReadsAsUnbound) {
  const auto beyond = static_cast<InputId>(25);
  Bind(beyond, {InputType::BUTTON, 0, 1});
  mPad.SetButton(0, true);
  XboxGamepad gamepad;
  cpd::GetXboxReportFromSDLmap(mDevice, {beyond}, gamepad);
  EXPECT_EQ(HostBytes(gamepad), HostBytes(Gamepad{}));
  EXPECT_TRUE(LogBodies().empty());
}

TEST_F(Translation, EachReportMakesExactlyOneSdlUpdate) {
  cpd::setXboxSDLMapping(mDevice);
  const int before = mPad.updates();
  Report();
  EXPECT_EQ(mPad.updates(), before + 1);
  Report();
  Report();
  EXPECT_EQ(mPad.updates(), before + 3);
}

TEST_F(Translation, TheWholeStateIsOverwrittenAndTheDeviceLeftAsItWas) {
  cpd::setXboxSDLMapping(mDevice);
  const auto bindings = mDevice.mapping.bindings;
  std::vector<InputId> inputs;
  cpd::GetMappedInputs(mDevice.mapping.bindings, inputs);
  XboxGamepad gamepad;
  gamepad.wButtons = 0xFFFF;
  gamepad.bLeftTrigger = 9;
  gamepad.sThumbRY = -5;
  cpd::GetXboxReportFromSDLmap(mDevice, inputs, gamepad);
  EXPECT_EQ(HostBytes(gamepad), HostBytes(Gamepad{}));
  EXPECT_EQ(mDevice.mapping.bindings, bindings);
}

TEST(TranslationRules, SameSignMeansBothBelowZeroOrBothNot) {
  EXPECT_TRUE(cpd::sameSign(0, 0));
  EXPECT_TRUE(cpd::sameSign(0, 32767));
  EXPECT_TRUE(cpd::sameSign(-1, -32768));
  EXPECT_FALSE(cpd::sameSign(0, -32768));
  EXPECT_FALSE(cpd::sameSign(-1, 32767));
  EXPECT_FALSE(cpd::sameSign(INT_MIN, INT_MAX));
}

TEST(TranslationRules, TriggerByteRoundsHalfAwayFromZeroAndKeepsTheLowEightBits) {
  EXPECT_EQ(cpd::axisToTrigger(0), 0);
  EXPECT_EQ(cpd::axisToTrigger(64), 0);
  EXPECT_EQ(cpd::axisToTrigger(65), 1);
  EXPECT_EQ(cpd::axisToTrigger(16384), 128);
  EXPECT_EQ(cpd::axisToTrigger(32766), 255);
  EXPECT_EQ(cpd::axisToTrigger(32767), 255);
  EXPECT_EQ(cpd::axisToTrigger(-65), 255);
  EXPECT_EQ(cpd::axisToTrigger(-32768), 1);
}

}  // namespace
