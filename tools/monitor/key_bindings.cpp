#include "key_bindings.h"

#include <array>
#include <cstdio>

#include "layout_wiring.h"

namespace monitor {

namespace {

struct Binding {
  Mode mode;
  int key;
  Action action;
  const char* keys;  // how the help names the key; null: covered by a neighbour's line
  const char* help;
};

constexpr Action Do(ActionKind kind, int value = 0, int direction = 0) {
  return {kind, value, direction};
}
constexpr Action Toggle(Control control) {
  return {ActionKind::TOGGLE_CONTROL, static_cast<int>(control), 0};
}
constexpr Action Trigger(Control control) {
  return {ActionKind::STEP_TRIGGER, static_cast<int>(control), 0};
}
constexpr Action Stick(int axis, int direction) {
  return {ActionKind::STEP_STICK, axis, direction};
}

constexpr Mode C = Mode::COMMAND;
constexpr Mode D = Mode::DRIVE;
constexpr Mode L = Mode::LAYOUT_MENU;
constexpr Mode P = Mode::PLUG_MENU;
using A = ActionKind;
using K = Control;

// clang-format off
constexpr Binding BINDINGS[] = {
    {C, key::UP,     Do(A::SELECT_PREVIOUS), "Up/Down",  "select a controller"},
    {C, key::DOWN,   Do(A::SELECT_NEXT),     nullptr,    nullptr},
    {C, '1',         Do(A::SET_LAYOUT, 1),   "1-6",      "set its layout"},
    {C, '2',         Do(A::SET_LAYOUT, 2),   nullptr,    nullptr},
    {C, '3',         Do(A::SET_LAYOUT, 3),   nullptr,    nullptr},
    {C, '4',         Do(A::SET_LAYOUT, 4),   nullptr,    nullptr},
    {C, '5',         Do(A::SET_LAYOUT, 5),   nullptr,    nullptr},
    {C, '6',         Do(A::SET_LAYOUT, 6),   nullptr,    nullptr},
    {C, 'm',         Do(A::LAYOUT_MENU),     "m",        "layout menu"},
    {C, 'p',         Do(A::PLUG_MENU),       "p",        "plug a simulated pad"},
    {C, 'u',         Do(A::UNPLUG),          "u",        "unplug the selected pad"},
    {C, 'U',         Do(A::UNPLUG_LAST),     "U",        "unplug the pad plugged last"},
    {C, 'r',         Do(A::REPLUG),          "r",        "replug the selected pad"},
    {C, 'v',         Do(A::TOGGLE_RUMBLE),   "v",        "test rumble on / off"},
    {C, key::TAB,    Do(A::DRIVE_MODE),      "Tab",      "drive the selected pad"},
    {C, 'l',         Do(A::TOGGLE_LOG),      "l",        "library log pane"},
    {C, '?',         Do(A::HELP),            "?",        "this help"},
    {C, 'q',         Do(A::QUIT),            "q",        "quit (Ctrl-C too)"},

    {D, key::TAB,    Do(A::COMMAND_MODE),    "Tab/Esc",  "back to the command keys"},
    {D, key::ESCAPE, Do(A::COMMAND_MODE),    nullptr,    nullptr},
    {D, key::UP,     Toggle(K::DPAD_UP),     "arrows",   "d-pad"},
    {D, key::DOWN,   Toggle(K::DPAD_DOWN),   nullptr,    nullptr},
    {D, key::LEFT,   Toggle(K::DPAD_LEFT),   nullptr,    nullptr},
    {D, key::RIGHT,  Toggle(K::DPAD_RIGHT),  nullptr,    nullptr},
    {D, 'w',         Stick(1, -1),           "w a s d",  "left stick, a step per press"},
    {D, 'a',         Stick(0, -1),           nullptr,    nullptr},
    {D, 's',         Stick(1, +1),           nullptr,    nullptr},
    {D, 'd',         Stick(0, +1),           nullptr,    nullptr},
    {D, 'i',         Stick(3, -1),           "i j k l",  "right stick"},
    {D, 'j',         Stick(2, -1),           nullptr,    nullptr},
    {D, 'k',         Stick(3, +1),           nullptr,    nullptr},
    {D, 'l',         Stick(2, +1),           nullptr,    nullptr},
    {D, ' ',         Toggle(K::A),           "Space/z",  "A"},
    {D, 'z',         Toggle(K::A),           nullptr,    nullptr},
    {D, key::ENTER,  Toggle(K::B),           "Enter/x",  "B"},
    {D, 'x',         Toggle(K::B),           nullptr,    nullptr},
    {D, 'c',         Toggle(K::X),           "c / v",    "X / Y"},
    {D, 'v',         Toggle(K::Y),           nullptr,    nullptr},
    {D, 'r',         Toggle(K::LEFT_SHOULDER),  "r / t", "LB / RB"},
    {D, 't',         Toggle(K::RIGHT_SHOULDER), nullptr, nullptr},
    {D, 'q',         Trigger(K::LEFT_TRIGGER),  "q / e", "LT / RT, a quarter per press"},
    {D, 'e',         Trigger(K::RIGHT_TRIGGER), nullptr, nullptr},
    {D, 'f',         Toggle(K::LEFT_THUMB),     "f / h", "LS / RS (stick clicks)"},
    {D, 'h',         Toggle(K::RIGHT_THUMB),    nullptr, nullptr},
    {D, 'b',         Toggle(K::BACK),           "b / n", "Back / Start"},
    {D, 'n',         Toggle(K::START),          nullptr, nullptr},
    {D, '0',         Do(A::RELEASE_ALL),     "0/Bksp",   "release all, centre sticks"},
    {D, key::BACKSPACE, Do(A::RELEASE_ALL),  nullptr,    nullptr},
    {D, '1',         Do(A::SET_LAYOUT, 1),   "1-6",      "set the layout"},
    {D, '2',         Do(A::SET_LAYOUT, 2),   nullptr,    nullptr},
    {D, '3',         Do(A::SET_LAYOUT, 3),   nullptr,    nullptr},
    {D, '4',         Do(A::SET_LAYOUT, 4),   nullptr,    nullptr},
    {D, '5',         Do(A::SET_LAYOUT, 5),   nullptr,    nullptr},
    {D, '6',         Do(A::SET_LAYOUT, 6),   nullptr,    nullptr},
    {D, '?',         Do(A::HELP),            nullptr,    nullptr},

    {L, '1',         Do(A::SET_LAYOUT, 1),   nullptr,    nullptr},
    {L, '2',         Do(A::SET_LAYOUT, 2),   nullptr,    nullptr},
    {L, '3',         Do(A::SET_LAYOUT, 3),   nullptr,    nullptr},
    {L, '4',         Do(A::SET_LAYOUT, 4),   nullptr,    nullptr},
    {L, '5',         Do(A::SET_LAYOUT, 5),   nullptr,    nullptr},
    {L, '6',         Do(A::SET_LAYOUT, 6),   nullptr,    nullptr},
    {L, key::ESCAPE, Do(A::CANCEL),          nullptr,    nullptr},

    {P, '1',         Do(A::PLUG, 0),         nullptr,    nullptr},
    {P, '2',         Do(A::PLUG, 1),         nullptr,    nullptr},
    {P, '3',         Do(A::PLUG, 2),         nullptr,    nullptr},
    {P, '4',         Do(A::PLUG, 3),         nullptr,    nullptr},
    {P, '5',         Do(A::PLUG, 4),         nullptr,    nullptr},
    {P, '6',         Do(A::PLUG, 5),         nullptr,    nullptr},
    {P, '7',         Do(A::PLUG, 6),         nullptr,    nullptr},
    {P, key::ESCAPE, Do(A::CANCEL),          nullptr,    nullptr},
};
// clang-format on

struct ModeHeading {
  Mode mode;
  const char* heading;
};

constexpr std::array<ModeHeading, 2> HELP_SECTIONS = {{
    {C, "Command keys"},
    {D, "Drive keys (the selected pad)"},
}};

}  // namespace

bool operator==(const Action& left, const Action& right) {
  return left.kind == right.kind && left.value == right.value && left.direction == right.direction;
}

Action ActionFor(Mode mode, int key) {
  if (mode == Mode::HELP) {
    return Do(A::CANCEL);
  }
  for (const Binding& binding : BINDINGS) {
    if (binding.mode == mode && binding.key == key) {
      return binding.action;
    }
  }
  return {};
}

std::vector<HelpSection> HelpSections() {
  std::vector<HelpSection> sections;
  for (const ModeHeading& heading : HELP_SECTIONS) {
    HelpSection section{heading.heading, {}};
    for (const Binding& binding : BINDINGS) {
      if (binding.mode != heading.mode || binding.keys == nullptr) {
        continue;
      }
      char line[128];
      std::snprintf(line, sizeof line, "%-8s %s", binding.keys, binding.help);
      section.lines.emplace_back(line);
    }
    sections.push_back(section);
  }
  return sections;
}

std::string FooterHint(Mode mode, bool simulated) {
  switch (mode) {
    case Mode::COMMAND:
      return simulated
                 ? "Up/Down select  1-6 layout  p plug  u unplug  Tab drive  l log  ? help  q quit"
                 : "Up/Down select  1-6 layout  m layout menu  v rumble  l log  ? help  q quit";
    case Mode::DRIVE:
      return "DRIVE  arrows dpad  wasd/ijkl sticks  zxcv ABXY  q/e LT/RT  r/t LB/RB  Tab back";
    case Mode::LAYOUT_MENU:
      return "layout: press 1-6, Esc cancels";
    case Mode::PLUG_MENU:
      return "plug: press 1-7, Esc cancels";
    case Mode::HELP:
      return "any key closes the help";
  }
  return "";
}

}  // namespace monitor
