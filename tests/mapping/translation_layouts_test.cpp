// Each of the six layouts on a real SDL joystick: every physical input pressed alone, and every
// axis swept across the boundaries of the magnitude, trigger and button rules. What each input
// should drive is written down here from the layout descriptions, not taken from the library.
#include <gtest/gtest.h>

#include <array>
#include <ostream>
#include <string>
#include <vector>

#include "gamepad_bytes.h"
#include "joystick_mapping/layouts.h"
#include "joystick_mapping/report_translation.h"
#include "log_capture.h"
#include "virtual_joystick.h"

namespace {

using cpd::JoystickDevice;
using cpd::XboxGamepad;
using cpd::test::DebugBody;
using cpd::test::Gamepad;
using cpd::test::HostBytes;
using cpd::test::LogBodies;

// What a physical input drives. Digital controls are named by their button bit.
enum Drives : int {
  NOTHING = 0,
  UP = 0x0001,
  DOWN = 0x0002,
  LEFT = 0x0004,
  RIGHT = 0x0008,
  START = 0x0010,
  BACK = 0x0020,
  L_THUMB = 0x0040,
  R_THUMB = 0x0080,
  L_SHOULDER = 0x0100,
  R_SHOULDER = 0x0200,
  A = 0x1000,
  B = 0x2000,
  X = 0x4000,
  Y = 0x8000,
  L_TRIGGER = 0x10000,
  R_TRIGGER = 0x20000,
};

// An axis: its negative half drives one stick direction or nothing, its positive half another.
enum AxisRole { LEFT_X, LEFT_Y, RIGHT_X, RIGHT_Y, TRIGGER_L, TRIGGER_R, UNUSED };

struct Layout {
  const char* label;
  void (*install)(JoystickDevice&);
  std::array<Drives, 15> buttons;
  std::array<Drives, 4> hat;  // up, right, down, left
  std::array<AxisRole, 6> axes;
};

void PrintTo(const Layout& layout, std::ostream* out) {
  *out << layout.label;
}

constexpr std::array<AxisRole, 6> STANDARD_AXES = {LEFT_X,  LEFT_Y,    RIGHT_X,
                                                   RIGHT_Y, TRIGGER_L, TRIGGER_R};
constexpr std::array<Drives, 4> HAT_DPAD = {UP, RIGHT, DOWN, LEFT};
constexpr std::array<Drives, 4> NO_HAT = {NOTHING, NOTHING, NOTHING, NOTHING};

// clang-format off
const std::array<Layout, 6> LAYOUTS = {{
  {"Xbox", &cpd::setXboxSDLMapping,
   {A, B, X, Y, L_SHOULDER, R_SHOULDER, BACK, START, L_THUMB, R_THUMB, NOTHING, NOTHING, NOTHING, NOTHING, NOTHING},
   HAT_DPAD, STANDARD_AXES},
  {"Switch", &cpd::setSwitchSDLMapping,
   {B, A, Y, X, BACK, NOTHING, START, L_THUMB, R_THUMB, L_SHOULDER, R_SHOULDER, UP, DOWN, LEFT, RIGHT},
   NO_HAT, STANDARD_AXES},
  {"Switch2", &cpd::setSwitch2SDLMapping,
   {A, B, X, Y, BACK, NOTHING, START, L_THUMB, R_THUMB, L_SHOULDER, R_SHOULDER, UP, DOWN, LEFT, RIGHT},
   NO_HAT, STANDARD_AXES},
  {"Logic", &cpd::setLogicRumblepadSDLMapping,
   {X, A, B, Y, L_SHOULDER, R_SHOULDER, L_TRIGGER, R_TRIGGER, BACK, START, L_THUMB, R_THUMB, NOTHING, NOTHING, NOTHING},
   HAT_DPAD, {LEFT_X, LEFT_Y, RIGHT_X, RIGHT_Y, UNUSED, UNUSED}},
  {"DualSense", &cpd::setDualSenseSDLMapping,
   {A, B, X, Y, BACK, NOTHING, START, L_THUMB, R_THUMB, L_SHOULDER, R_SHOULDER, UP, DOWN, LEFT, RIGHT},
   NO_HAT, STANDARD_AXES},
  {"Android", &cpd::setAndroidSDLMapping,
   {A, B, NOTHING, X, Y, NOTHING, L_SHOULDER, R_SHOULDER, NOTHING, NOTHING, BACK, START, NOTHING, L_THUMB, R_THUMB},
   HAT_DPAD, {LEFT_X, LEFT_Y, RIGHT_X, RIGHT_Y, TRIGGER_R, TRIGGER_L}},
}};

// The readings every axis is swept over, and what each kind of axis makes of them.
const std::vector<int16_t> SWEEP =     {-32768, -3002, -3001, -2, -1, 0, 1,  2,   65,  66,  3001,  3002,  32766,  32767};
const std::vector<int16_t> STICK_X =   {-32767, -3001, -3000, -1,  0, 0, 0,  1,   64,  65,  3000,  3001,  32765,  32766};
const std::vector<int16_t> STICK_Y =   { 32767,  3001,  3000,  1,  0, 0, 0, -1,  -64, -65, -3000, -3001, -32765, -32766};
const std::vector<uint8_t> TRIGGER =   {     0,     0,     0,  0,  0, 0, 0,  0,    0,   1,    23,    23,    255,    255};
// clang-format on

Gamepad FullPress(Drives drives) {
  Gamepad state;
  if (drives == L_TRIGGER) {
    state.leftTrigger = 255;
  } else if (drives == R_TRIGGER) {
    state.rightTrigger = 255;
  } else {
    state.buttons = static_cast<uint16_t>(drives);
  }
  return state;
}

Gamepad Swept(AxisRole role, size_t step) {
  Gamepad state;
  switch (role) {
    case LEFT_X:
      state.lx = STICK_X[step];
      break;
    case LEFT_Y:
      state.ly = STICK_Y[step];
      break;
    case RIGHT_X:
      state.rx = STICK_X[step];
      break;
    case RIGHT_Y:
      state.ry = STICK_Y[step];
      break;
    case TRIGGER_L:
      state.leftTrigger = TRIGGER[step];
      break;
    case TRIGGER_R:
      state.rightTrigger = TRIGGER[step];
      break;
    case UNUSED:
      break;
  }
  return state;
}

class LayoutOnSdl : public ::testing::TestWithParam<Layout> {
 protected:
  void SetUp() override {
    ASSERT_TRUE(mSession.ok()) << SDL_GetError();
    ASSERT_TRUE(mPad.ok()) << SDL_GetError();
    mDevice._ptr = mPad.handle();
    GetParam().install(mDevice);
    cpd::GetMappedInputs(mDevice.mapping.bindings, mInputs);
    cpd::test::ClearLogs();
  }

  XboxGamepad Report() {
    XboxGamepad gamepad;
    cpd::GetXboxReportFromSDLmap(mDevice, mInputs, gamepad);
    return gamepad;
  }

  cpd::test::SdlJoystickSession mSession;
  cpd::test::VirtualJoystick mPad;
  JoystickDevice mDevice;
  std::vector<cpd::InputId> mInputs;
};

TEST_P(LayoutOnSdl, AtRestEverythingIsZero) {
  EXPECT_EQ(HostBytes(Report()), HostBytes(Gamepad{}));
  EXPECT_TRUE(LogBodies().empty());
}

TEST_P(LayoutOnSdl, EachButtonPressedAloneDrivesExactlyItsControl) {
  for (int button = 0; button < 15; ++button) {
    mPad.Rest();
    mPad.SetButton(button, true);
    cpd::test::ClearLogs();
    const Drives drives = GetParam().buttons[static_cast<size_t>(button)];
    EXPECT_EQ(HostBytes(Report()), HostBytes(FullPress(drives))) << "button " << button;
    std::vector<std::string> lines;
    if (drives != NOTHING) {
      lines.push_back(DebugBody("SDL_JoystickGetButton index[" + std::to_string(button) +
                                "] buttonValue[1] mapValue[1]"));
    }
    EXPECT_EQ(LogBodies(), lines) << "button " << button;
  }
}

TEST_P(LayoutOnSdl, EachHatDirectionAloneDrivesExactlyItsControl) {
  const std::array<uint8_t, 4> directions = {SDL_HAT_UP, SDL_HAT_RIGHT, SDL_HAT_DOWN, SDL_HAT_LEFT};
  const bool hasHat = GetParam().hat[0] != NOTHING;
  for (size_t i = 0; i < directions.size(); ++i) {
    mPad.Rest();
    mPad.SetHat(0, directions[i]);
    cpd::test::ClearLogs();
    EXPECT_EQ(HostBytes(Report()), HostBytes(FullPress(GetParam().hat[i]))) << "hat " << i;
    std::vector<std::string> lines;
    // Every d-pad control on the hat logs what it read: up, down, left, right in control order.
    for (const int mapValue : {1, 4, 8, 2}) {
      if (hasHat) {
        lines.push_back(DebugBody("SDL_JoystickGetHat index[0] buttonValue[" +
                                  std::to_string(directions[i]) + "] mapValue[" +
                                  std::to_string(mapValue) + "]"));
      }
    }
    EXPECT_EQ(LogBodies(), lines) << "hat " << i;
  }
}

TEST_P(LayoutOnSdl, EveryAxisFollowsTheMagnitudeAndTriggerRulesAtTheBoundaries) {
  for (size_t axis = 0; axis < GetParam().axes.size(); ++axis) {
    for (size_t step = 0; step < SWEEP.size(); ++step) {
      mPad.Rest();
      mPad.SetAxis(static_cast<int>(axis), SWEEP[step]);
      EXPECT_EQ(HostBytes(Report()), HostBytes(Swept(GetParam().axes[axis], step)))
          << "axis " << axis << " at " << SWEEP[step];
    }
  }
  EXPECT_TRUE(LogBodies().empty());
}

TEST_P(LayoutOnSdl, EverythingPressedAtOnceCombinesWithoutInterference) {
  Gamepad expected;
  for (int button = 0; button < 15; ++button) {
    mPad.SetButton(button, true);
    const Gamepad one = FullPress(GetParam().buttons[static_cast<size_t>(button)]);
    expected.buttons = static_cast<uint16_t>(expected.buttons | one.buttons);
    expected.leftTrigger = std::max(expected.leftTrigger, one.leftTrigger);
    expected.rightTrigger = std::max(expected.rightTrigger, one.rightTrigger);
  }
  mPad.SetHat(0, SDL_HAT_LEFTDOWN);
  if (GetParam().hat[0] != NOTHING) {
    expected.buttons = static_cast<uint16_t>(expected.buttons | DOWN | LEFT);
  }
  for (size_t axis = 0; axis < GetParam().axes.size(); ++axis) {
    mPad.SetAxis(static_cast<int>(axis), 32767);
    const Gamepad one = Swept(GetParam().axes[axis], SWEEP.size() - 1);
    expected.leftTrigger = std::max(expected.leftTrigger, one.leftTrigger);
    expected.rightTrigger = std::max(expected.rightTrigger, one.rightTrigger);
    expected.lx = static_cast<int16_t>(expected.lx + one.lx);
    expected.ly = static_cast<int16_t>(expected.ly + one.ly);
    expected.rx = static_cast<int16_t>(expected.rx + one.rx);
    expected.ry = static_cast<int16_t>(expected.ry + one.ry);
  }
  EXPECT_EQ(HostBytes(Report()), HostBytes(expected));
}

INSTANTIATE_TEST_SUITE_P(SixLayouts, LayoutOnSdl, ::testing::ValuesIn(LAYOUTS),
                         [](const ::testing::TestParamInfo<Layout>& param) {
                           return std::string(param.param.label);
                         });

}  // namespace
