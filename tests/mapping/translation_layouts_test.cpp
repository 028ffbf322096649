// Each of the six layouts on a real SDL joystick: every physical input pressed alone, and every
// axis swept across the boundaries of the magnitude, trigger and button rules. What each input
// should drive is written down by hand in layout_expectations.h, not taken from the library.
#include <gtest/gtest.h>

#include <array>
#include <map>
#include <string>
#include <vector>

#include "gamepad_bytes.h"
#include "joystick_mapping/layouts.h"
#include "joystick_mapping/report_translation.h"
#include "layout_expectations.h"
#include "log_capture.h"
#include "virtual_joystick.h"

namespace {

using cpd::JoystickDevice;
using cpd::XboxGamepad;
using cpd::test::DebugBody;
using cpd::test::Gamepad;
using cpd::test::HostBytes;
using cpd::test::LogBodies;
// Read like the table: A, UP, LEFT_X, SWEEP and the rest by their own names.
using namespace cpd::test::layout_expectations;

// The operation the library offers to install each layout kind.
const std::map<cpd::MappingIndex, void (*)(JoystickDevice&)> INSTALLS = {
    {cpd::MAPPING_XBOX, &cpd::setXboxSDLMapping},
    {cpd::MAPPING_SWITCH_MOD1, &cpd::setSwitchSDLMapping},
    {cpd::MAPPING_SWITCH_MOD2, &cpd::setSwitch2SDLMapping},
    {cpd::MAPPING_LOGIC, &cpd::setLogicRumblepadSDLMapping},
    {cpd::MAPPING_PS, &cpd::setDualSenseSDLMapping},
    {cpd::MAPPING_ANDROID, &cpd::setAndroidSDLMapping},
};

class LayoutOnSdl : public ::testing::TestWithParam<LayoutExpectation> {
 protected:
  void SetUp() override {
    ASSERT_TRUE(mSession.ok()) << SDL_GetError();
    ASSERT_TRUE(mPad.ok()) << SDL_GetError();
    mDevice._ptr = mPad.handle();
    INSTALLS.at(GetParam().kind)(mDevice);
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
  const std::array<std::pair<uint8_t, Drives>, 4> directions = {
      {{SDL_HAT_UP, UP}, {SDL_HAT_RIGHT, RIGHT}, {SDL_HAT_DOWN, DOWN}, {SDL_HAT_LEFT, LEFT}}};
  const bool hasHat = GetParam().hatDpad;
  for (size_t i = 0; i < directions.size(); ++i) {
    const auto [bit, drives] = directions[i];
    mPad.Rest();
    mPad.SetHat(0, bit);
    cpd::test::ClearLogs();
    EXPECT_EQ(HostBytes(Report()), HostBytes(FullPress(hasHat ? drives : NOTHING))) << "hat " << i;
    std::vector<std::string> lines;
    if (hasHat) {
      for (const int mapValue : DPAD_HAT_BITS) {
        lines.push_back(DebugBody("SDL_JoystickGetHat index[0] buttonValue[" + std::to_string(bit) +
                                  "] mapValue[" + std::to_string(mapValue) + "]"));
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
    expected = Combined(expected, FullPress(GetParam().buttons[static_cast<size_t>(button)]));
  }
  mPad.SetHat(0, SDL_HAT_LEFTDOWN);
  if (GetParam().hatDpad) {
    expected = Combined(expected, Combined(FullPress(DOWN), FullPress(LEFT)));
  }
  for (size_t axis = 0; axis < GetParam().axes.size(); ++axis) {
    mPad.SetAxis(static_cast<int>(axis), 32767);
    expected = Combined(expected, Swept(GetParam().axes[axis], SWEEP.size() - 1));
  }
  EXPECT_EQ(HostBytes(Report()), HostBytes(expected));
}

INSTANTIATE_TEST_SUITE_P(SixLayouts, LayoutOnSdl, ::testing::ValuesIn(LAYOUT_EXPECTATIONS),
                         [](const ::testing::TestParamInfo<LayoutExpectation>& param) {
                           return std::string(param.param.label);
                         });

}  // namespace
