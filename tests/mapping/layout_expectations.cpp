#include "layout_expectations.h"

#include <algorithm>

namespace cpd::test::layout_expectations {

void PrintTo(const LayoutExpectation& layout, std::ostream* out) {
  *out << layout.label;
}

Gamepad FullPress(Drives drives) {
  Gamepad state;
  if (drives == L_TRIGGER) {
    state.leftTrigger = 255;
  } else if (drives == R_TRIGGER) {
    state.rightTrigger = 255;
  } else {
    state.buttons = static_cast<uint16_t>(drives);
  }
  return state;
}

Gamepad Swept(AxisRole role, size_t step) {
  Gamepad state;
  switch (role) {
    case LEFT_X:
      state.lx = STICK_X.at(step);
      break;
    case LEFT_Y:
      state.ly = STICK_Y.at(step);
      break;
    case RIGHT_X:
      state.rx = STICK_X.at(step);
      break;
    case RIGHT_Y:
      state.ry = STICK_Y.at(step);
      break;
    case TRIGGER_L:
      state.leftTrigger = TRIGGER.at(step);
      break;
    case TRIGGER_R:
      state.rightTrigger = TRIGGER.at(step);
      break;
    case UNUSED:
      break;
  }
  return state;
}

Gamepad Combined(const Gamepad& first, const Gamepad& second) {
  Gamepad both;
  both.buttons = static_cast<uint16_t>(first.buttons | second.buttons);
  both.leftTrigger = std::max(first.leftTrigger, second.leftTrigger);
  both.rightTrigger = std::max(first.rightTrigger, second.rightTrigger);
  both.lx = static_cast<int16_t>(first.lx + second.lx);
  both.ly = static_cast<int16_t>(first.ly + second.ly);
  both.rx = static_cast<int16_t>(first.rx + second.rx);
  both.ry = static_cast<int16_t>(first.ry + second.ry);
  return both;
}

}  // namespace cpd::test::layout_expectations
