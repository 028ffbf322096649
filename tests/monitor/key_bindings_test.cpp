#include "key_bindings.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "layout_wiring.h"

namespace monitor {
namespace {

Action Make(ActionKind kind, int value = 0, int direction = 0) {
  return {kind, value, direction};
}

Action Toggle(Control control) {
  return Make(ActionKind::TOGGLE_CONTROL, static_cast<int>(control));
}

TEST(KeyBindings, CommandKeysSelectSetLayoutsAndQuit) {
  EXPECT_EQ(ActionFor(Mode::COMMAND, key::UP), Make(ActionKind::SELECT_PREVIOUS));
  EXPECT_EQ(ActionFor(Mode::COMMAND, key::DOWN), Make(ActionKind::SELECT_NEXT));
  for (int layout = 1; layout <= 6; ++layout) {
    EXPECT_EQ(ActionFor(Mode::COMMAND, '0' + layout), Make(ActionKind::SET_LAYOUT, layout));
  }
  EXPECT_EQ(ActionFor(Mode::COMMAND, '7'), Make(ActionKind::NONE));
  EXPECT_EQ(ActionFor(Mode::COMMAND, 'm'), Make(ActionKind::LAYOUT_MENU));
  EXPECT_EQ(ActionFor(Mode::COMMAND, 'p'), Make(ActionKind::PLUG_MENU));
  EXPECT_EQ(ActionFor(Mode::COMMAND, 'u'), Make(ActionKind::UNPLUG));
  EXPECT_EQ(ActionFor(Mode::COMMAND, 'U'), Make(ActionKind::UNPLUG_LAST));
  EXPECT_EQ(ActionFor(Mode::COMMAND, 'r'), Make(ActionKind::REPLUG));
  EXPECT_EQ(ActionFor(Mode::COMMAND, 'v'), Make(ActionKind::TOGGLE_RUMBLE));
  EXPECT_EQ(ActionFor(Mode::COMMAND, 'l'), Make(ActionKind::TOGGLE_LOG));
  EXPECT_EQ(ActionFor(Mode::COMMAND, '?'), Make(ActionKind::HELP));
  EXPECT_EQ(ActionFor(Mode::COMMAND, key::TAB), Make(ActionKind::DRIVE_MODE));
  EXPECT_EQ(ActionFor(Mode::COMMAND, 'q'), Make(ActionKind::QUIT));
  EXPECT_EQ(ActionFor(Mode::COMMAND, ' '), Make(ActionKind::NONE));
}

TEST(KeyBindings, DriveKeysMoveThePad) {
  EXPECT_EQ(ActionFor(Mode::DRIVE, key::UP), Toggle(Control::DPAD_UP));
  EXPECT_EQ(ActionFor(Mode::DRIVE, key::DOWN), Toggle(Control::DPAD_DOWN));
  EXPECT_EQ(ActionFor(Mode::DRIVE, key::LEFT), Toggle(Control::DPAD_LEFT));
  EXPECT_EQ(ActionFor(Mode::DRIVE, key::RIGHT), Toggle(Control::DPAD_RIGHT));
  EXPECT_EQ(ActionFor(Mode::DRIVE, ' '), Toggle(Control::A));
  EXPECT_EQ(ActionFor(Mode::DRIVE, key::ENTER), Toggle(Control::B));
  EXPECT_EQ(ActionFor(Mode::DRIVE, 'c'), Toggle(Control::X));
  EXPECT_EQ(ActionFor(Mode::DRIVE, 'v'), Toggle(Control::Y));
  EXPECT_EQ(ActionFor(Mode::DRIVE, 'r'), Toggle(Control::LEFT_SHOULDER));
  EXPECT_EQ(ActionFor(Mode::DRIVE, 'b'), Toggle(Control::BACK));
  EXPECT_EQ(ActionFor(Mode::DRIVE, 'n'), Toggle(Control::START));
  EXPECT_EQ(ActionFor(Mode::DRIVE, 'q'),
            Make(ActionKind::STEP_TRIGGER, static_cast<int>(Control::LEFT_TRIGGER)));
  EXPECT_EQ(ActionFor(Mode::DRIVE, 'e'),
            Make(ActionKind::STEP_TRIGGER, static_cast<int>(Control::RIGHT_TRIGGER)));
  EXPECT_EQ(ActionFor(Mode::DRIVE, 'w'), Make(ActionKind::STEP_STICK, LEFT_STICK_Y_AXIS, -1));
  EXPECT_EQ(ActionFor(Mode::DRIVE, 'd'), Make(ActionKind::STEP_STICK, LEFT_STICK_X_AXIS, +1));
  EXPECT_EQ(ActionFor(Mode::DRIVE, 'j'), Make(ActionKind::STEP_STICK, RIGHT_STICK_X_AXIS, -1));
  EXPECT_EQ(ActionFor(Mode::DRIVE, 'k'), Make(ActionKind::STEP_STICK, RIGHT_STICK_Y_AXIS, +1));
  EXPECT_EQ(ActionFor(Mode::DRIVE, '0'), Make(ActionKind::RELEASE_ALL));
  EXPECT_EQ(ActionFor(Mode::DRIVE, '3'), Make(ActionKind::SET_LAYOUT, 3));
  EXPECT_EQ(ActionFor(Mode::DRIVE, key::ESCAPE), Make(ActionKind::COMMAND_MODE));
  EXPECT_EQ(ActionFor(Mode::DRIVE, key::TAB), Make(ActionKind::COMMAND_MODE));
}

TEST(KeyBindings, QuitIsATriggerWhileDriving) {
  EXPECT_NE(ActionFor(Mode::DRIVE, 'q').kind, ActionKind::QUIT);
}

TEST(KeyBindings, MenusTakeTheirNumbersAndEscape) {
  EXPECT_EQ(ActionFor(Mode::LAYOUT_MENU, '1'), Make(ActionKind::SET_LAYOUT, 1));
  EXPECT_EQ(ActionFor(Mode::LAYOUT_MENU, '6'), Make(ActionKind::SET_LAYOUT, 6));
  EXPECT_EQ(ActionFor(Mode::LAYOUT_MENU, '7'), Make(ActionKind::NONE));
  EXPECT_EQ(ActionFor(Mode::LAYOUT_MENU, 'q'), Make(ActionKind::NONE));
  EXPECT_EQ(ActionFor(Mode::LAYOUT_MENU, key::ESCAPE), Make(ActionKind::CANCEL));
  EXPECT_EQ(ActionFor(Mode::PLUG_MENU, '1'), Make(ActionKind::PLUG, 0));
  EXPECT_EQ(ActionFor(Mode::PLUG_MENU, '7'), Make(ActionKind::PLUG, 6));
  EXPECT_EQ(ActionFor(Mode::PLUG_MENU, '8'), Make(ActionKind::NONE));
  EXPECT_EQ(ActionFor(Mode::PLUG_MENU, key::ESCAPE), Make(ActionKind::CANCEL));
}

TEST(KeyBindings, AnyKeyClosesTheHelp) {
  for (const int key : {int{'q'}, int{'x'}, key::UP, key::ESCAPE}) {
    EXPECT_EQ(ActionFor(Mode::HELP, key), Make(ActionKind::CANCEL));
  }
}

TEST(KeyBindings, HelpNamesTheKeysOfBothModesInHalfAScreen) {
  const std::vector<HelpSection> sections = HelpSections();
  ASSERT_EQ(sections.size(), 2U);
  EXPECT_EQ(sections[0].heading, "Command keys");
  for (const HelpSection& section : sections) {
    EXPECT_LE(section.lines.size(), 18U);
    for (const std::string& line : section.lines) {
      EXPECT_LE(line.size(), 37U) << line;
    }
  }
  EXPECT_EQ(sections[0].lines.back(), "q        quit (Ctrl-C too)");
  const std::vector<std::string>& command = sections[0].lines;
  EXPECT_NE(std::find(command.begin(), command.end(), "v        test rumble on / off"),
            command.end());
}

TEST(KeyBindings, FootersFitEightyColumns) {
  for (const Mode mode :
       {Mode::COMMAND, Mode::DRIVE, Mode::LAYOUT_MENU, Mode::PLUG_MENU, Mode::HELP}) {
    EXPECT_FALSE(FooterHint(mode).empty());
    EXPECT_LE(FooterHint(mode).size(), 79U) << FooterHint(mode);
  }
  EXPECT_NE(FooterHint(Mode::COMMAND, true).find("p plug"), std::string::npos);
  EXPECT_EQ(FooterHint(Mode::COMMAND, false).find("p plug"), std::string::npos);
  EXPECT_NE(FooterHint(Mode::COMMAND, false).find("v rumble"), std::string::npos);
}

}  // namespace
}  // namespace monitor
