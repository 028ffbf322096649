#include "pad_drive.h"

#include <gtest/gtest.h>

#include <set>

#include "layout_wiring.h"
#include "log_text.h"
#include "pad_catalogue.h"

namespace monitor {
namespace {

constexpr uint16_t PS = 1;
constexpr uint16_t SWITCH = 2;
constexpr uint16_t ANDROID = 4;
constexpr uint16_t LOGIC = 5;
constexpr uint16_t XBOX = 6;
constexpr PadShape FULL_PAD{6, 15, 1};

DriveState Holding(Control control) {
  DriveState drive;
  ToggleControl(drive, control);
  return drive;
}

TEST(PadDrive, AButtonPressLatchesUntilTheNextPress) {
  DriveState drive;
  EXPECT_TRUE(ToggleControl(drive, Control::A));
  EXPECT_TRUE(drive.held[static_cast<size_t>(Control::A)]);
  EXPECT_TRUE(ToggleControl(drive, Control::A));
  EXPECT_FALSE(drive.held[static_cast<size_t>(Control::A)]);
  EXPECT_FALSE(ToggleControl(drive, Control::LEFT_TRIGGER));
}

TEST(PadDrive, TheDpadIsAHatOnXboxAndButtonsOnDualSense) {
  const RawState xbox = RawStateFor(Holding(Control::DPAD_LEFT), XBOX, FULL_PAD);
  EXPECT_EQ(xbox.hats, (std::vector<uint8_t>{8}));
  EXPECT_EQ(std::count(xbox.buttons.begin(), xbox.buttons.end(), 1), 0);

  const RawState dualsense = RawStateFor(Holding(Control::DPAD_LEFT), PS, FULL_PAD);
  EXPECT_EQ(dualsense.hats, (std::vector<uint8_t>{0}));
  EXPECT_EQ(dualsense.buttons[13], 1);
  EXPECT_EQ(std::count(dualsense.buttons.begin(), dualsense.buttons.end(), 1), 1);
}

TEST(PadDrive, TwoDpadDirectionsShareTheHat) {
  DriveState drive;
  ToggleControl(drive, Control::DPAD_UP);
  ToggleControl(drive, Control::DPAD_RIGHT);
  EXPECT_EQ(RawStateFor(drive, XBOX, FULL_PAD).hats[0], 1 | 2);
}

TEST(PadDrive, FaceButtonsFollowTheLayout) {
  EXPECT_EQ(RawStateFor(Holding(Control::A), XBOX, FULL_PAD).buttons[0], 1);
  EXPECT_EQ(RawStateFor(Holding(Control::A), SWITCH, FULL_PAD).buttons[1], 1);
  EXPECT_EQ(RawStateFor(Holding(Control::X), LOGIC, FULL_PAD).buttons[0], 1);
  EXPECT_EQ(RawStateFor(Holding(Control::Y), ANDROID, FULL_PAD).buttons[4], 1);
}

TEST(PadDrive, TriggersStepAQuarterAndWrap) {
  DriveState drive;
  const std::vector<int16_t> expected = {8192, 16384, 24576, 32767, 0};
  for (const int16_t value : expected) {
    StepTrigger(drive, Control::LEFT_TRIGGER);
    EXPECT_EQ(RawStateFor(drive, XBOX, FULL_PAD).axes[4], value);
  }
}

TEST(PadDrive, TheRumblepadsTriggersAreButtonsAndAndroidsAreCrossed) {
  DriveState drive;
  StepTrigger(drive, Control::RIGHT_TRIGGER);
  EXPECT_EQ(RawStateFor(drive, LOGIC, FULL_PAD).buttons[7], 1);
  EXPECT_EQ(RawStateFor(drive, ANDROID, FULL_PAD).axes[4], 8192);
  EXPECT_EQ(RawStateFor(drive, ANDROID, FULL_PAD).axes[5], 0);
}

TEST(PadDrive, SticksStepHalfWayAndStopAtTheEnds) {
  DriveState drive;
  StepStick(drive, LEFT_STICK_Y_AXIS, -1);
  EXPECT_EQ(RawStateFor(drive, XBOX, FULL_PAD).axes[1], -16384);
  StepStick(drive, LEFT_STICK_Y_AXIS, -1);
  StepStick(drive, LEFT_STICK_Y_AXIS, -1);
  EXPECT_EQ(RawStateFor(drive, XBOX, FULL_PAD).axes[1], -32768);
  for (int step = 0; step < 4; ++step) {
    StepStick(drive, RIGHT_STICK_X_AXIS, +1);
  }
  EXPECT_EQ(RawStateFor(drive, PS, FULL_PAD).axes[2], 32767);
  StepStick(drive, 9, +1);  // no such axis: nothing happens
  ReleaseAll(drive);
  EXPECT_EQ(RawStateFor(drive, XBOX, FULL_PAD).axes, std::vector<int16_t>(6, 0));
}

TEST(PadDrive, InputsThePadLacksAreLeftOut) {
  const PadShape small{4, 12, 1};
  const RawState raw = RawStateFor(Holding(Control::DPAD_RIGHT), SWITCH, small);
  EXPECT_EQ(raw.buttons.size(), 12U);
  EXPECT_EQ(std::count(raw.buttons.begin(), raw.buttons.end(), 1), 0);
  EXPECT_FALSE(PadHasInput(small, WiringOf(SWITCH, Control::DPAD_RIGHT)));
  EXPECT_TRUE(PadHasInput(small, WiringOf(SWITCH, Control::DPAD_UP)));
}

TEST(PadDrive, NotesSayWhichRawInputMoved) {
  DriveState drive;
  const Action pressA{ActionKind::TOGGLE_CONTROL, static_cast<int>(Control::A), 0};
  ASSERT_TRUE(ApplyDrive(drive, pressA));
  EXPECT_EQ(DescribeDrive(drive, pressA, PS, FULL_PAD).text, "A: button 0 pressed");
  ASSERT_TRUE(ApplyDrive(drive, pressA));
  EXPECT_EQ(DescribeDrive(drive, pressA, PS, FULL_PAD).text, "A: button 0 released");

  const Action up{ActionKind::TOGGLE_CONTROL, static_cast<int>(Control::DPAD_UP), 0};
  ApplyDrive(drive, up);
  EXPECT_EQ(DescribeDrive(drive, up, XBOX, FULL_PAD).text, "^: hat 0 up pressed");

  const Action trigger{ActionKind::STEP_TRIGGER, static_cast<int>(Control::LEFT_TRIGGER), 0};
  ApplyDrive(drive, trigger);
  EXPECT_EQ(DescribeDrive(drive, trigger, XBOX, FULL_PAD).text, "LT: axis 4 at 8192");
  EXPECT_EQ(DescribeDrive(drive, trigger, LOGIC, FULL_PAD).text, "LT: button 6 pressed");

  const Action stick{ActionKind::STEP_STICK, LEFT_STICK_X_AXIS, +1};
  ApplyDrive(drive, stick);
  EXPECT_EQ(DescribeDrive(drive, stick, XBOX, FULL_PAD).text, "left stick x: axis 0 at 16384");

  const DriveNote missing = DescribeDrive(drive, up, SWITCH, PadShape{4, 11, 1});
  EXPECT_TRUE(missing.warning);
  EXPECT_EQ(missing.text, "^: its layout reads button 11, which this pad lacks");

  EXPECT_FALSE(ApplyDrive(drive, Action{ActionKind::QUIT, 0, 0}));
}

TEST(LayoutWiring, EachLayoutReadsADifferentInputForEachControl) {
  for (uint16_t layout = 1; layout <= 6; ++layout) {
    std::set<std::string> inputs;
    for (size_t control = 0; control < CONTROL_COUNT; ++control) {
      const RawInput input = WiringOf(layout, static_cast<Control>(control));
      ASSERT_NE(input.kind, RawKind::NONE);
      EXPECT_TRUE(inputs.insert(DescribeRaw(input)).second)
          << "layout " << layout << " reads " << DescribeRaw(input) << " twice";
      EXPECT_TRUE(PadHasInput(FULL_PAD, input));
    }
  }
  EXPECT_EQ(WiringOf(0, Control::A).kind, RawKind::NONE);
  EXPECT_EQ(WiringOf(7, Control::A).kind, RawKind::NONE);
}

TEST(LayoutWiring, TheWellKnownPadsHaveEveryInputTheirLayoutReads) {
  const std::vector<std::pair<const char*, uint16_t>> pads = {{"xbox", XBOX},
                                                              {"dualsense", PS},
                                                              {"switch-pro", SWITCH},
                                                              {"mobapad", ANDROID},
                                                              {"rumblepad", LOGIC}};
  for (const auto& [key, layout] : pads) {
    const PadModel* model = sim::FindPadModel(key);
    ASSERT_NE(model, nullptr) << key;
    const PadShape shape{model->axes, model->buttons, model->hats};
    for (size_t control = 0; control < CONTROL_COUNT; ++control) {
      EXPECT_TRUE(PadHasInput(shape, WiringOf(layout, static_cast<Control>(control))))
          << key << " lacks " << DescribeRaw(WiringOf(layout, static_cast<Control>(control)));
    }
  }
}

TEST(LayoutWiring, SticksComeFromTheLibrarysTableAndMoveBeforeALayoutIsKnown) {
  for (uint16_t layout = 1; layout <= 6; ++layout) {
    for (size_t axis = 0; axis < STICK_AXIS_COUNT; ++axis) {
      const RawInput wired = StickWiring(layout, axis);
      EXPECT_EQ(wired.kind, RawKind::AXIS) << layout << " " << axis;
      EXPECT_EQ(wired.index, static_cast<int>(axis)) << layout;
    }
  }
  EXPECT_EQ(StickWiring(0, 0).kind, RawKind::NONE);
  EXPECT_EQ(StickWiring(XBOX, STICK_AXIS_COUNT).kind, RawKind::NONE);
  DriveState drive;
  StepStick(drive, RIGHT_STICK_Y_AXIS, +1);
  EXPECT_GT(RawStateFor(drive, 0, FULL_PAD).axes[3], 0);
}

TEST(PadCatalogue, PathsAreReusedOncePadsLeave) {
  EXPECT_EQ(FreeDevicePath({}), "/dev/input/event20");
  EXPECT_EQ(FreeDevicePath({"/dev/input/event20", "/dev/input/event22"}), "/dev/input/event21");
  EXPECT_EQ(PadKeys(), "xbox, dualsense, switch-pro, mobapad, rumblepad, generic, pen-tablet");
}

TEST(LogText, KeepsTheFileNameAndOneLine) {
  EXPECT_EQ(TidyLogLine("/work/src/a/polling_thread.cpp process(12): \"Debug:\" \"enter\n\"\n"),
            "polling_thread.cpp process(12): \"Debug:\" \"enter \"");
  EXPECT_EQ(TidyLogLine("plain text"), "plain text");
  EXPECT_EQ(LevelTag(5), "D");
  EXPECT_EQ(LevelTag(7), "E");
  EXPECT_EQ(LevelTag(3), "3");
}

}  // namespace
}  // namespace monitor
