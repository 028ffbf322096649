// The six layouts as the monitor reads them from the library's own table (layout_table.h, linked
// as a static library of pure data): which raw SDL input each layout reads for each gamepad
// control, and which bit of the packet's button word a control lights. The simulated pads are
// driven through this table, so a key press moves the raw input the pad's current layout reads and
// the packet shows what that layout makes of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace monitor {

// The gamepad controls a person drives, in the order of the packet's button bits, then the two
// triggers. The sticks are not here: a person moves them by stick axis (below), and StickWiring
// says which raw axis the layout reads for each.
enum class Control : uint8_t {
  DPAD_UP,
  DPAD_DOWN,
  DPAD_LEFT,
  DPAD_RIGHT,
  START,
  BACK,
  LEFT_THUMB,
  RIGHT_THUMB,
  LEFT_SHOULDER,
  RIGHT_SHOULDER,
  A,
  B,
  X,
  Y,
  LEFT_TRIGGER,
  RIGHT_TRIGGER,
};
constexpr size_t CONTROL_COUNT = 16;
constexpr size_t DIGITAL_CONTROL_COUNT = 14;  // everything before the triggers

enum class RawKind : uint8_t { NONE, BUTTON, AXIS, HAT };

struct RawInput {
  RawKind kind = RawKind::NONE;
  int index = 0;
  uint8_t hatBit = 0;  // for HAT: SDL's bit, 1 up, 2 right, 4 down, 8 left
};

// The four stick axes a person moves; up and left are the negative ends.
constexpr int LEFT_STICK_X_AXIS = 0;
constexpr int LEFT_STICK_Y_AXIS = 1;
constexpr int RIGHT_STICK_X_AXIS = 2;
constexpr int RIGHT_STICK_Y_AXIS = 3;
constexpr size_t STICK_AXIS_COUNT = 4;

// The raw input layout `layout` (1..6) reads for `control`; kind NONE for any other layout.
RawInput WiringOf(uint16_t layout, Control control);

// The raw axis layout `layout` (1..6) reads for stick axis `stickAxis` (0..3); kind NONE for any
// other layout or axis.
RawInput StickWiring(uint16_t layout, size_t stickAxis);

// XInput's bit for a digital control in the packet's button word; 0 for the triggers.
uint16_t ButtonBit(Control control);

// Short label: "A", "LB", "Back", "^" ...
const char* ControlLabel(Control control);

// "button 12", "axis 4", "hat 0 up".
std::string DescribeRaw(const RawInput& input);

// One entry of the library's layout list, as JoysticAPI_GetMappingList gives it.
struct LayoutName {
  uint16_t kind;
  std::string name;
};

// The name the library gives layout `kind`; "layout N" when its list has no such entry.
std::string LayoutNameOf(const std::vector<LayoutName>& layouts, uint16_t kind);

}  // namespace monitor
