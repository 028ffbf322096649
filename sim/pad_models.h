// The controllers the simulator is asked to plug, by tests, benches and the monitor alike: pads
// whose names the library recognises, one it does not, and a pen tablet it must ignore. Input
// counts are those of the real pads as SDL reports them, enough for every input of the layout the
// library gives them; the generic pad has two sticks and no analogue triggers, and is short of
// buttons and has no motors, as cheap pads are, so it shows what an unrecognised controller gets.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace sim {

struct PadModel {
  const char* key;    // what sim_plug_model, the monitor's options and scenario files call it
  const char* label;  // what the monitor's plug menu shows
  const char* name;   // what SDL reports
  uint16_t vid;
  uint16_t pid;
  int axes;
  int buttons;
  int hats;
  bool motors = false;  // whether SDL can rumble it
};

// clang-format off
inline constexpr PadModel XBOX_PAD{"xbox", "Xbox pad", "Xbox Wireless Controller", 0x045e, 0x0b13, 6, 11, 1, true};
inline constexpr PadModel DUALSENSE_PAD{"dualsense", "DualSense", "DualSense Wireless Controller", 0x054c, 0x0ce6, 6, 15, 1, true};
inline constexpr PadModel SWITCH_PAD{"switch-pro", "Switch Pro", "Nintendo Switch Pro Controller", 0x057e, 0x2009, 6, 15, 1, true};
inline constexpr PadModel MOBAPAD_PAD{"mobapad", "mobapad pro-hd", "Mobapad Pro-HD", 0x2f24, 0x0094, 6, 15, 1, true};
inline constexpr PadModel RUMBLEPAD_PAD{"rumblepad", "Logitech Cordless Rumblepad", "Logitech Cordless RumblePad 2", 0x046d, 0xc219, 4, 12, 1, true};
inline constexpr PadModel GENERIC_PAD{"generic", "generic USB pad", "Generic USB Joystick", 0x0079, 0x0006, 4, 12, 1, false};
inline constexpr PadModel PEN_TABLET{"pen-tablet", "pen tablet", "Wacom Intuos Pen", 0x056a, 0x0374, 6, 4, 0, false};
// clang-format on

// Every model, in the order the monitor's plug menu offers them.
inline constexpr std::array<PadModel, 7> PAD_CATALOGUE = {
    XBOX_PAD, DUALSENSE_PAD, SWITCH_PAD, MOBAPAD_PAD, RUMBLEPAD_PAD, GENERIC_PAD, PEN_TABLET,
};

// The model whose key is `key`; null when none has it.
constexpr const PadModel* FindPadModel(std::string_view key) {
  for (const PadModel& model : PAD_CATALOGUE) {
    if (key == model.key) {
      return &model;
    }
  }
  return nullptr;
}

}  // namespace sim
