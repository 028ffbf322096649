#include "pad_drive.h"

#include <algorithm>
#include <cstddef>

namespace monitor {

namespace {

constexpr int32_t AXIS_MIN = -32768;
constexpr int32_t AXIS_MAX = 32767;

size_t IndexOf(Control control) {
  return static_cast<size_t>(control);
}

bool IsTrigger(Control control) {
  return control == Control::LEFT_TRIGGER || control == Control::RIGHT_TRIGGER;
}

int16_t ClampToAxis(int32_t value) {
  return static_cast<int16_t>(std::clamp(value, AXIS_MIN, AXIS_MAX));
}

// Sets `input` in `raw`; buttons and hat bits of two controls sharing an input add up.
void Press(RawState& raw, const RawInput& input, int16_t axisValue) {
  const auto index = static_cast<size_t>(input.index);
  switch (input.kind) {
    case RawKind::BUTTON:
      if (index < raw.buttons.size()) {
        raw.buttons[index] = 1;
      }
      break;
    case RawKind::HAT:
      if (index < raw.hats.size()) {
        raw.hats[index] = static_cast<uint8_t>(raw.hats[index] | input.hatBit);
      }
      break;
    case RawKind::AXIS:
      if (index < raw.axes.size()) {
        raw.axes[index] = axisValue;
      }
      break;
    case RawKind::NONE:
      break;
  }
}

}  // namespace

bool ToggleControl(DriveState& drive, Control control) {
  if (IsTrigger(control)) {
    return false;
  }
  drive.held[IndexOf(control)] = !drive.held[IndexOf(control)];
  return true;
}

void StepTrigger(DriveState& drive, Control trigger) {
  if (!IsTrigger(trigger)) {
    return;
  }
  int& step = drive.triggers[trigger == Control::LEFT_TRIGGER ? 0 : 1];
  step = (step + 1) % (TRIGGER_STEPS + 1);
}

void StepStick(DriveState& drive, int axis, int direction) {
  if (axis < 0 || axis >= static_cast<int>(drive.sticks.size())) {
    return;
  }
  int& step = drive.sticks[static_cast<size_t>(axis)];
  step = std::clamp(step + (direction < 0 ? -1 : 1), -STICK_STEPS, STICK_STEPS);
}

void ReleaseAll(DriveState& drive) {
  drive = DriveState{};
}

int16_t StickAxisValue(int step) {
  return ClampToAxis(step * (AXIS_MAX + 1) / STICK_STEPS);
}

int16_t TriggerAxisValue(int step) {
  return ClampToAxis(step * (AXIS_MAX + 1) / TRIGGER_STEPS);
}

RawState RawStateFor(const DriveState& drive, uint16_t layout, const PadShape& shape) {
  RawState raw;
  raw.axes.assign(static_cast<size_t>(std::max(shape.axes, 0)), 0);
  raw.buttons.assign(static_cast<size_t>(std::max(shape.buttons, 0)), 0);
  raw.hats.assign(static_cast<size_t>(std::max(shape.hats, 0)), 0);
  for (size_t axis = 0; axis < drive.sticks.size(); ++axis) {
    // A pad whose layout is not known yet still moves its sticks on the axes of the same number.
    const RawInput wired = StickWiring(layout, axis);
    Press(raw,
          wired.kind == RawKind::AXIS ? wired : RawInput{RawKind::AXIS, static_cast<int>(axis), 0},
          StickAxisValue(drive.sticks[axis]));
  }
  for (size_t control = 0; control < DIGITAL_CONTROL_COUNT; ++control) {
    if (drive.held[control]) {
      Press(raw, WiringOf(layout, static_cast<Control>(control)), 0);
    }
  }
  for (const Control trigger : {Control::LEFT_TRIGGER, Control::RIGHT_TRIGGER}) {
    const int step = drive.triggers[trigger == Control::LEFT_TRIGGER ? 0 : 1];
    if (step > 0) {
      Press(raw, WiringOf(layout, trigger), TriggerAxisValue(step));
    }
  }
  return raw;
}

bool PadHasInput(const PadShape& shape, const RawInput& input) {
  switch (input.kind) {
    case RawKind::BUTTON:
      return input.index < shape.buttons;
    case RawKind::AXIS:
      return input.index < shape.axes;
    case RawKind::HAT:
      return input.index < shape.hats;
    case RawKind::NONE:
      break;
  }
  return false;
}

bool ApplyDrive(DriveState& drive, const Action& action) {
  switch (action.kind) {
    case ActionKind::TOGGLE_CONTROL:
      return ToggleControl(drive, static_cast<Control>(action.value));
    case ActionKind::STEP_TRIGGER:
      StepTrigger(drive, static_cast<Control>(action.value));
      return true;
    case ActionKind::STEP_STICK:
      StepStick(drive, action.value, action.direction);
      return true;
    case ActionKind::RELEASE_ALL:
      ReleaseAll(drive);
      return true;
    default:
      return false;
  }
}

DriveNote DescribeDrive(const DriveState& drive, const Action& action, uint16_t layout,
                        const PadShape& shape) {
  if (action.kind == ActionKind::RELEASE_ALL) {
    return {"released every input, sticks centred", false};
  }
  if (action.kind == ActionKind::STEP_STICK) {
    static const std::array<const char*, 4> AXIS_NAMES = {"left stick x", "left stick y",
                                                          "right stick x", "right stick y"};
    const auto axis = static_cast<size_t>(action.value) % AXIS_NAMES.size();
    const RawInput wired = StickWiring(layout, axis);
    const int rawAxis = wired.kind == RawKind::AXIS ? wired.index : static_cast<int>(axis);
    return {std::string(AXIS_NAMES[axis]) + ": axis " + std::to_string(rawAxis) + " at " +
                std::to_string(StickAxisValue(drive.sticks[axis])),
            false};
  }
  const auto control = static_cast<Control>(action.value);
  const RawInput input = WiringOf(layout, control);
  const std::string label = ControlLabel(control);
  if (input.kind == RawKind::NONE) {
    return {label + ": the pad's layout is unknown to the monitor", true};
  }
  if (!PadHasInput(shape, input)) {
    return {label + ": its layout reads " + DescribeRaw(input) + ", which this pad lacks", true};
  }
  if (action.kind == ActionKind::STEP_TRIGGER) {
    const int step = drive.triggers[control == Control::LEFT_TRIGGER ? 0 : 1];
    const std::string state = input.kind == RawKind::AXIS
                                  ? "at " + std::to_string(TriggerAxisValue(step))
                                  : (step > 0 ? "pressed" : "released");
    return {label + ": " + DescribeRaw(input) + " " + state, false};
  }
  const bool held = drive.held[static_cast<size_t>(control) % DIGITAL_CONTROL_COUNT];
  return {label + ": " + DescribeRaw(input) + (held ? " pressed" : " released"), false};
}

}  // namespace monitor
