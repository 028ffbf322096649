#include "layout_wiring.h"

#include <array>

namespace monitor {

namespace {

constexpr uint8_t UP = 1;
constexpr uint8_t RIGHT = 2;
constexpr uint8_t DOWN = 4;
constexpr uint8_t LEFT = 8;

constexpr RawInput Button(int index) {
  return {RawKind::BUTTON, index, 0};
}
constexpr RawInput Axis(int index) {
  return {RawKind::AXIS, index, 0};
}
constexpr RawInput Hat(uint8_t bit) {
  return {RawKind::HAT, 0, bit};
}

constexpr size_t LAYOUT_COUNT = 6;

struct WiringRow {
  Control control;
  uint16_t bit;
  const char* label;
  std::array<RawInput, LAYOUT_COUNT> inputs;  // layouts 1..6
};

// The d-pad is a hat on Xbox-like pads and four buttons on PlayStation and Switch pads; the
// rumblepad's triggers are buttons. Triggers read the positive half of their axis.
// clang-format off
constexpr std::array<WiringRow, CONTROL_COUNT> WIRING = {{
//   control                  bit     label    PS (1)       Switch (2)   Switch2 (3)  Android (4)  Logic (5)    Xbox (6)
    {Control::DPAD_UP,        0x0001, "^",     {Button(11), Button(11), Button(11), Hat(UP),    Hat(UP),    Hat(UP)}},
    {Control::DPAD_DOWN,      0x0002, "v",     {Button(12), Button(12), Button(12), Hat(DOWN),  Hat(DOWN),  Hat(DOWN)}},
    {Control::DPAD_LEFT,      0x0004, "<",     {Button(13), Button(13), Button(13), Hat(LEFT),  Hat(LEFT),  Hat(LEFT)}},
    {Control::DPAD_RIGHT,     0x0008, ">",     {Button(14), Button(14), Button(14), Hat(RIGHT), Hat(RIGHT), Hat(RIGHT)}},
    {Control::START,          0x0010, "Start", {Button(6),  Button(6),  Button(6),  Button(11), Button(9),  Button(7)}},
    {Control::BACK,           0x0020, "Back",  {Button(4),  Button(4),  Button(4),  Button(10), Button(8),  Button(6)}},
    {Control::LEFT_THUMB,     0x0040, "LS",    {Button(7),  Button(7),  Button(7),  Button(13), Button(10), Button(8)}},
    {Control::RIGHT_THUMB,    0x0080, "RS",    {Button(8),  Button(8),  Button(8),  Button(14), Button(11), Button(9)}},
    {Control::LEFT_SHOULDER,  0x0100, "LB",    {Button(9),  Button(9),  Button(9),  Button(6),  Button(4),  Button(4)}},
    {Control::RIGHT_SHOULDER, 0x0200, "RB",    {Button(10), Button(10), Button(10), Button(7),  Button(5),  Button(5)}},
    {Control::A,              0x1000, "A",     {Button(0),  Button(1),  Button(0),  Button(0),  Button(1),  Button(0)}},
    {Control::B,              0x2000, "B",     {Button(1),  Button(0),  Button(1),  Button(1),  Button(2),  Button(1)}},
    {Control::X,              0x4000, "X",     {Button(2),  Button(3),  Button(2),  Button(3),  Button(0),  Button(2)}},
    {Control::Y,              0x8000, "Y",     {Button(3),  Button(2),  Button(3),  Button(4),  Button(3),  Button(3)}},
    {Control::LEFT_TRIGGER,   0,      "LT",    {Axis(4),    Axis(4),    Axis(4),    Axis(5),    Button(6),  Axis(4)}},
    {Control::RIGHT_TRIGGER,  0,      "RT",    {Axis(5),    Axis(5),    Axis(5),    Axis(4),    Button(7),  Axis(5)}},
}};
// clang-format on

constexpr bool RowsFollowControls() {
  for (size_t row = 0; row < WIRING.size(); ++row) {
    if (static_cast<size_t>(WIRING[row].control) != row) {
      return false;
    }
  }
  return true;
}
static_assert(RowsFollowControls(), "row n of the wiring is control n");

const WiringRow& RowOf(Control control) {
  return WIRING[static_cast<size_t>(control) % CONTROL_COUNT];
}

const char* HatDirection(uint8_t bit) {
  switch (bit) {
    case UP:
      return "up";
    case RIGHT:
      return "right";
    case DOWN:
      return "down";
    case LEFT:
      return "left";
    default:
      return "?";
  }
}

}  // namespace

RawInput WiringOf(uint16_t layout, Control control) {
  if (layout < 1 || layout > LAYOUT_COUNT) {
    return {};
  }
  return RowOf(control).inputs[layout - 1U];
}

uint16_t ButtonBit(Control control) {
  return RowOf(control).bit;
}

const char* ControlLabel(Control control) {
  return RowOf(control).label;
}

std::string DescribeRaw(const RawInput& input) {
  switch (input.kind) {
    case RawKind::BUTTON:
      return "button " + std::to_string(input.index);
    case RawKind::AXIS:
      return "axis " + std::to_string(input.index);
    case RawKind::HAT:
      return "hat " + std::to_string(input.index) + " " + HatDirection(input.hatBit);
    case RawKind::NONE:
      break;
  }
  return "nothing";
}

std::string LayoutNameOf(const std::vector<LayoutName>& layouts, uint16_t kind) {
  for (const LayoutName& layout : layouts) {
    if (layout.kind == kind) {
      return layout.name;
    }
  }
  return "layout " + std::to_string(kind);
}

}  // namespace monitor
