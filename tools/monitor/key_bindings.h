// Which key does what, in which mode. The table is data: the help screen and the footer are
// written from it, and the terminal shell only turns its key codes into the ones below.
#pragma once

#include <string>
#include <vector>

namespace monitor {

// Printable keys are their character; the others get codes above the character range.
namespace key {
constexpr int TAB = '\t';
constexpr int ENTER = '\n';
constexpr int ESCAPE = 27;
constexpr int UP = 0x1001;
constexpr int DOWN = 0x1002;
constexpr int LEFT = 0x1003;
constexpr int RIGHT = 0x1004;
constexpr int BACKSPACE = 0x1005;
}  // namespace key

enum class Mode {
  COMMAND,      // select controllers, change layouts, rumble, plug and unplug
  DRIVE,        // the keyboard is the selected simulated pad
  LAYOUT_MENU,  // waiting for a layout number
  PLUG_MENU,    // waiting for a catalogue number
  HELP,         // the help screen is up
};

enum class ActionKind {
  NONE,
  QUIT,
  SELECT_PREVIOUS,
  SELECT_NEXT,
  SET_LAYOUT,  // value: layout kind 1..6
  LAYOUT_MENU,
  PLUG_MENU,
  PLUG,  // value: catalogue position 0..
  UNPLUG,
  UNPLUG_LAST,
  REPLUG,
  TOGGLE_RUMBLE,  // the selected controller's test rumble, on or off
  TOGGLE_LOG,
  HELP,
  DRIVE_MODE,
  COMMAND_MODE,
  CANCEL,
  TOGGLE_CONTROL,  // value: Control
  STEP_TRIGGER,    // value: Control (a trigger)
  STEP_STICK,      // value: stick axis 0..3, direction: -1 or +1
  RELEASE_ALL,
};

struct Action {
  ActionKind kind = ActionKind::NONE;
  int value = 0;
  int direction = 0;
};

bool operator==(const Action& left, const Action& right);

// What `key` does in `mode`; NONE when nothing. In the help screen every key closes it.
Action ActionFor(Mode mode, int key);

struct HelpSection {
  std::string heading;
  std::vector<std::string> lines;  // one per binding that the help names
};

// The help screen: one section per mode with keys of its own.
std::vector<HelpSection> HelpSections();

// The one-line reminder of the keys of `mode`; on hardware without the simulator's keys.
std::string FooterHint(Mode mode, bool simulated = true);

}  // namespace monitor
