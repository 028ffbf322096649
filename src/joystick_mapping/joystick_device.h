// The record of one open controller: its SDL handle, identity, input counts, slot, layout and the
// last gamepad state sent for it. Records are copied freely (the manager keeps them by value);
// a copy shares the SDL handle, which only the polling thread ever closes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "joystick_mapping/control_model.h"
#include "joystick_mapping/sdl.h"
#include "joystick_mapping/xbox_gamepad.h"

namespace cpd {

struct JoystickDevice {
  SDL_Joystick* _ptr = nullptr;
  std::string name;
  std::string path;
  uint16_t vid = 0;
  uint16_t pid = 0;
  int32_t numAxes = 0;
  int32_t numButtons = 0;
  int32_t numHats = 0;
  int32_t slotIndex = 0;
  // Reserved: nothing sets it; it only travels with the record to the host's device list.
  uint8_t flag = 0;
  JoystickMapping mapping;
  // Axes first, then buttons, then hats.
  std::vector<int32_t> baselineAverages;
  XboxGamepad lastGamepad;
};

}  // namespace cpd
