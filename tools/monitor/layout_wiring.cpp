#include "layout_wiring.h"

#include <array>

#include "joystick_mapping/layout_table.h"

namespace monitor {

namespace {

struct ControlRow {
  Control control;
  cpd::InputId id;  // the library's name for the control
  const char* label;
};

// clang-format off
constexpr std::array<ControlRow, CONTROL_COUNT> CONTROLS = {{
    {Control::DPAD_UP,        cpd::InputId::DPAD_UP,        "^"},
    {Control::DPAD_DOWN,      cpd::InputId::DPAD_DOWN,      "v"},
    {Control::DPAD_LEFT,      cpd::InputId::DPAD_LEFT,      "<"},
    {Control::DPAD_RIGHT,     cpd::InputId::DPAD_RIGHT,     ">"},
    {Control::START,          cpd::InputId::START,          "Start"},
    {Control::BACK,           cpd::InputId::BACK,           "Back"},
    {Control::LEFT_THUMB,     cpd::InputId::LEFT_THUMB,     "LS"},
    {Control::RIGHT_THUMB,    cpd::InputId::RIGHT_THUMB,    "RS"},
    {Control::LEFT_SHOULDER,  cpd::InputId::LEFT_SHOULDER,  "LB"},
    {Control::RIGHT_SHOULDER, cpd::InputId::RIGHT_SHOULDER, "RB"},
    {Control::A,              cpd::InputId::A,              "A"},
    {Control::B,              cpd::InputId::B,              "B"},
    {Control::X,              cpd::InputId::X,              "X"},
    {Control::Y,              cpd::InputId::Y,              "Y"},
    {Control::LEFT_TRIGGER,   cpd::InputId::LEFT_TRIGGER,   "LT"},
    {Control::RIGHT_TRIGGER,  cpd::InputId::RIGHT_TRIGGER,  "RT"},
}};
// clang-format on

constexpr bool RowsFollowControls() {
  for (size_t row = 0; row < CONTROLS.size(); ++row) {
    if (static_cast<size_t>(CONTROLS[row].control) != row) {
      return false;
    }
  }
  return true;
}
static_assert(RowsFollowControls(), "row n of the controls is control n");

const ControlRow& RowOf(Control control) {
  return CONTROLS[static_cast<size_t>(control) % CONTROL_COUNT];
}

RawInput RawInputOf(const cpd::InputBinding& binding) {
  switch (binding.type) {
    case cpd::InputType::BUTTON:
      return {RawKind::BUTTON, binding.index, 0};
    case cpd::InputType::STICK:
    case cpd::InputType::TRIGGER:
      return {RawKind::AXIS, binding.index, 0};
    case cpd::InputType::DPAD:
      return {RawKind::HAT, binding.index, static_cast<uint8_t>(binding.value)};
    default:
      return {};
  }
}

const char* HatDirection(uint8_t bit) {
  switch (bit) {
    case cpd::layout_cells::UP:
      return "up";
    case cpd::layout_cells::RIGHT:
      return "right";
    case cpd::layout_cells::DOWN:
      return "down";
    case cpd::layout_cells::LEFT:
      return "left";
    default:
      return "?";
  }
}

}  // namespace

RawInput WiringOf(uint16_t layout, Control control) {
  return RawInputOf(cpd::LayoutBinding(layout, RowOf(control).id));
}

RawInput StickWiring(uint16_t layout, size_t stickAxis) {
  // Each stick axis is named by its positive end, which the layout reads from the same axis.
  constexpr std::array<cpd::InputId, STICK_AXIS_COUNT> POSITIVE_ENDS = {
      cpd::InputId::LEFT_STICK_RIGHT, cpd::InputId::LEFT_STICK_DOWN,
      cpd::InputId::RIGHT_STICK_RIGHT, cpd::InputId::RIGHT_STICK_DOWN};
  if (stickAxis >= POSITIVE_ENDS.size()) {
    return {};
  }
  return RawInputOf(cpd::LayoutBinding(layout, POSITIVE_ENDS[stickAxis]));
}

uint16_t ButtonBit(Control control) {
  const auto found = cpd::XboxButtonBits.find(RowOf(control).id);
  return found != cpd::XboxButtonBits.end() ? found->second : 0;
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
