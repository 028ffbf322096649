// Everything the screen shows at one moment, copied out of the monitor's state.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "cpd_joystick/joystick_api.h"
#include "key_bindings.h"
#include "layout_wiring.h"
#include "motors.h"

namespace monitor {

// The device list's slot of a controller opened while every slot was bound to another
// controller still attached: it takes no layout and sends no packets.
inline constexpr uint16_t NO_SLOT = 0xFFFF;

// "no slot" for such a controller, the number otherwise.
inline std::string SlotText(uint16_t slot) {
  return slot == NO_SLOT ? "no slot" : std::to_string(slot);
}

struct DeviceRow {
  uint16_t slot = 0;
  std::string name;
  uint16_t vid = 0;
  uint16_t pid = 0;
  std::string path;
  uint16_t layout = 0;
  double packetsPerSecond = 0;
  // The library lists controllers past the fourth without opening them: no name, no path,
  // no ids, and slot 0 although another controller holds it.
  bool opened = true;
};

struct EventEntry {
  std::string time;  // "HH:MM:SS"
  std::string name;
  std::string message;
};

struct View {
  bool simulated = false;
  size_t simulatedPads = 0;
  uint16_t pollMs = 30;
  std::vector<DeviceRow> devices;
  size_t selected = 0;
  bool hasPacket = false;
  JoystickDataPacket packet{};     // of the selected controller
  MotorView motors;                // of the selected controller
  std::vector<EventEntry> events;  // oldest first
  std::vector<std::string> logs;   // oldest first
  bool showLog = false;
  Mode mode = Mode::COMMAND;
  std::vector<LayoutName> layouts;
  std::string status;
  bool statusIsWarning = false;
};

}  // namespace monitor
