// The monitor drives simulated pads through its reading of the library's layout table. Here that
// reading meets the shipped library: for every layout, each control pressed through the
// table must come out of the library as that control's bit, trigger or stick, and nothing else.
#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "cpd_joystick/joystick_api.h"
#include "layout_wiring.h"
#include "pad_drive.h"
#include "recording_store.h"
#include "sdl_sim.h"
#include "test_listener.h"

namespace monitor {
namespace {

using cpd::test::TestListener;

constexpr PadShape SHAPE{6, 15, 1};
constexpr auto WAIT = std::chrono::seconds(15);

struct Expected {
  uint16_t buttons = 0;
  uint8_t leftTrigger = 0;
  uint8_t rightTrigger = 0;
  std::array<int16_t, 4> sticks{};
};

bool Matches(const JoystickDataPacket& packet, const Expected& expected) {
  return packet.wButtons == expected.buttons && packet.bLeftTrigger == expected.leftTrigger &&
         packet.bRightTrigger == expected.rightTrigger && packet.sThumbLX == expected.sticks[0] &&
         packet.sThumbLY == expected.sticks[1] && packet.sThumbRX == expected.sticks[2] &&
         packet.sThumbRY == expected.sticks[3];
}

class WiringOnTheLibrary : public ::testing::TestWithParam<uint16_t> {
 protected:
  void SetUp() override {
    sim_reset();
    cpd::test::ResetStore();
    mPad = sim_plug("Wiring Test Pad", "/dev/input/event30", 0x1234, 0x5678, SHAPE.axes,
                    SHAPE.buttons, SHAPE.hats);
    JoysticAPI_RegsisterNotify(&mListener);
    ASSERT_TRUE(mListener.WaitFor([&] { return mListener.DevListUpdateCount() >= 1; }, WAIT));
    ASSERT_EQ(JoysticAPI_SetMapping(0, GetParam()), 0);
  }

  void TearDown() override {
    JoysticAPI_UnregsisterNotify(&mListener);
    sim_reset();
  }

  void Write(const DriveState& drive) const {
    const RawState raw = RawStateFor(drive, GetParam(), SHAPE);
    for (size_t axis = 0; axis < raw.axes.size(); ++axis) {
      sim_set_axis(mPad, static_cast<int>(axis), raw.axes[axis]);
    }
    for (size_t button = 0; button < raw.buttons.size(); ++button) {
      sim_set_button(mPad, static_cast<int>(button), raw.buttons[button]);
    }
    sim_set_hat(mPad, 0, raw.hats[0]);
  }

  // Holds `drive` until a packet shows `expected`, then lets go until a packet shows rest.
  void Expect(const DriveState& drive, const Expected& expected, const std::string& what) {
    Write(drive);
    EXPECT_TRUE(ArrivesAfter(mListener.PacketCount(), expected)) << what;
    Write(DriveState{});
    EXPECT_TRUE(ArrivesAfter(mListener.PacketCount(), Expected{})) << what << " released";
  }

  bool ArrivesAfter(size_t seen, const Expected& expected) {
    return mListener.WaitFor(
        [&] {
          const auto packets = mListener.Packets();
          for (size_t index = seen; index < packets.size(); ++index) {
            JoystickDataPacket packet{};
            std::memcpy(&packet, packets[index].data(), sizeof packet);
            if (Matches(packet, expected)) {
              return true;
            }
          }
          return false;
        },
        WAIT);
  }

  int mPad = 0;
  TestListener mListener;
};

TEST_P(WiringOnTheLibrary, EachButtonLightsItsOwnBit) {
  for (size_t control = 0; control < DIGITAL_CONTROL_COUNT; ++control) {
    DriveState drive;
    ToggleControl(drive, static_cast<Control>(control));
    Expected expected;
    expected.buttons = ButtonBit(static_cast<Control>(control));
    Expect(drive, expected, ControlLabel(static_cast<Control>(control)));
  }
}

TEST_P(WiringOnTheLibrary, EachTriggerPullsOnlyItsOwnTrigger) {
  DriveState left;
  left.triggers[0] = TRIGGER_STEPS;
  Expected leftPulled;
  leftPulled.leftTrigger = 255;
  Expect(left, leftPulled, "LT");

  DriveState right;
  right.triggers[1] = TRIGGER_STEPS;
  Expected rightPulled;
  rightPulled.rightTrigger = 255;
  Expect(right, rightPulled, "RT");
}

TEST_P(WiringOnTheLibrary, SticksPushedUpAndLeftReadPositiveUpAndNegativeLeft) {
  DriveState drive;
  drive.sticks = {-STICK_STEPS, -STICK_STEPS, STICK_STEPS, STICK_STEPS};
  Expected expected;
  expected.sticks = {-32767, 32767, 32766, -32766};
  Expect(drive, expected, "sticks");
}

INSTANTIATE_TEST_SUITE_P(SixLayouts, WiringOnTheLibrary, ::testing::Values(1, 2, 3, 4, 5, 6));

}  // namespace
}  // namespace monitor
