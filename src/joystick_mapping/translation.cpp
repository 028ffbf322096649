#include "joystick_mapping/translation.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "joystick_mapping/layout_table.h"

namespace cpd {

namespace {

constexpr bool LayoutsReadWithinTheCapacity() {
  for (const LayoutRow& row : LAYOUTS) {
    for (const LayoutCell& cell : row.cells) {
      if (cell.index >= RAW_INPUT_CAPACITY) {
        return false;
      }
    }
  }
  return true;
}
static_assert(LayoutsReadWithinTheCapacity(), "a raw reading holds every input a layout reads");

constexpr int32_t FULL_DEFLECTION = 32767;
constexpr uint8_t TRIGGER_FULL = 255;
// An axis bound to a digital control must be pushed past this, so a drifting stick or a resting
// trigger never presses a button.
constexpr int32_t DIGITAL_AXIS_THRESHOLD = 3000;

// Where an analogue control lands in the gamepad state, and which way.
struct StickTarget {
  int16_t XboxGamepad::*field;
  int32_t sign;
};

constexpr std::array<StickTarget, 8> STICK_TARGETS = {{
    {&XboxGamepad::sThumbLX, -1},  // LEFT_STICK_LEFT
    {&XboxGamepad::sThumbLY, +1},  // LEFT_STICK_UP
    {&XboxGamepad::sThumbLX, +1},  // LEFT_STICK_RIGHT
    {&XboxGamepad::sThumbLY, -1},  // LEFT_STICK_DOWN
    {&XboxGamepad::sThumbRX, -1},  // RIGHT_STICK_LEFT
    {&XboxGamepad::sThumbRY, +1},  // RIGHT_STICK_UP
    {&XboxGamepad::sThumbRX, +1},  // RIGHT_STICK_RIGHT
    {&XboxGamepad::sThumbRY, -1},  // RIGHT_STICK_DOWN
}};

// What one source makes of a control. `active` decides whether a stick field or button bit is
// written; triggers read from a hat or a button are written even when released.
struct ControlReading {
  bool active;
  int32_t stickAmount;
  uint8_t trigger;
  bool triggerAlwaysWritten;
};

void WriteControl(XboxGamepad& gamepad, InputId id, const ControlReading& reading) {
  if (id == InputId::LEFT_TRIGGER || id == InputId::RIGHT_TRIGGER) {
    if (reading.active || reading.triggerAlwaysWritten) {
      (id == InputId::LEFT_TRIGGER ? gamepad.bLeftTrigger : gamepad.bRightTrigger) =
          reading.trigger;
    }
    return;
  }
  if (!reading.active) {
    return;
  }
  const auto value = static_cast<uint32_t>(id);
  const auto first = static_cast<uint32_t>(InputId::LEFT_STICK_LEFT);
  if (value >= first && value - first < STICK_TARGETS.size()) {
    const StickTarget& target = STICK_TARGETS[value - first];
    gamepad.*target.field = static_cast<int16_t>(target.sign * reading.stickAmount);
    return;
  }
  const auto bit = XboxButtonBits.find(id);
  if (bit != XboxButtonBits.end()) {
    gamepad.wButtons = static_cast<uint16_t>(gamepad.wButtons | bit->second);
  }
}

ControlReading FromHat(bool on) {
  return {on, on ? FULL_DEFLECTION : 0, on ? TRIGGER_FULL : uint8_t{0}, true};
}

ControlReading FromButton(int pressed) {
  const bool on = pressed != 0;
  return {on, FULL_DEFLECTION * pressed, static_cast<uint8_t>(TRIGGER_FULL * pressed), true};
}

// The magnitude drops one count, so -1, 0 and 1 all read as rest; the positive end therefore
// reads 32766 and the negative end 32767, and that asymmetry is what hosts have always seen.
ControlReading FromAxis(InputId id, int32_t axis, int32_t bindingValue) {
  const int32_t magnitude = std::max(std::abs(axis) - 1, 0);
  const bool bound = magnitude != 0 && sameSign(axis, bindingValue);
  const bool isDigital = static_cast<uint32_t>(id) < static_cast<uint32_t>(InputId::LEFT_TRIGGER);
  const bool active = bound && (!isDigital || magnitude > DIGITAL_AXIS_THRESHOLD);
  return {active, magnitude, axisToTrigger(static_cast<int16_t>(magnitude)), false};
}

// The highest number a kind of input is read at, plus one, kept within the capacity: a number
// beyond it reads 0, like a number the controller does not have.
void Reach(int32_t& count, int32_t number) {
  if (number >= 0 && number < RAW_INPUT_CAPACITY && number >= count) {
    count = number + 1;
  }
}

}  // namespace

BindingSnapshot SnapshotOf(const std::map<InputId, InputBinding>& bindings) {
  BindingSnapshot snapshot{};
  for (const auto& entry : bindings) {
    const auto id = static_cast<uint32_t>(entry.first);
    if (id < INPUT_ID_COUNT) {
      snapshot[id] = entry.second;
    }
  }
  return snapshot;
}

void GetMappedInputs(const std::map<InputId, InputBinding>& bindings,
                     std::vector<InputId>& inputs) {
  // A list reused from an earlier call keeps its capacity, so the poller allocates only once.
  inputs.clear();
  inputs.reserve(bindings.size());
  for (const auto& entry : bindings) {
    if (entry.second.type != InputType::UNSET) {
      inputs.push_back(entry.first);
    }
  }
}

void ShapeRawInputs(const BindingSnapshot& bindings, const std::vector<InputId>& inputs,
                    RawInputs& raw) {
  // Counted in locals: the reading's own counts may alias the bindings' numbers.
  int32_t axes = 0;
  int32_t buttons = 0;
  int32_t hats = 0;
  for (const InputId id : inputs) {
    const auto slot = static_cast<uint32_t>(id);
    if (slot >= INPUT_ID_COUNT) {
      continue;
    }
    const InputBinding& binding = bindings[slot];
    switch (binding.type) {
      case InputType::DPAD:
        Reach(hats, binding.index);
        break;
      case InputType::STICK:
      case InputType::TRIGGER:
        Reach(axes, binding.index);
        break;
      case InputType::BUTTON:
        Reach(buttons, binding.index);
        break;
      default:
        break;
    }
  }
  raw.axes.count = axes;
  raw.buttons.count = buttons;
  raw.hats.count = hats;
}

void TranslateReport(const RawInputs& raw, const BindingSnapshot& bindings,
                     const std::vector<InputId>& inputs, XboxGamepad& gamepad,
                     std::vector<PressedRead>* pressed) {
  // Built in a local: the state's byte fields may alias the reading, the bindings and the list.
  XboxGamepad state;
  if (pressed != nullptr) {
    pressed->clear();
  }
  for (const InputId id : inputs) {
    const auto slot = static_cast<uint32_t>(id);
    const InputBinding binding = slot < INPUT_ID_COUNT ? bindings[slot] : InputBinding{};
    switch (binding.type) {
      case InputType::DPAD: {
        const int32_t hat = raw.hats.At(binding.index);
        if (hat != 0 && pressed != nullptr) {
          pressed->push_back({true, binding.index, hat, binding.value});
        }
        WriteControl(state, id, FromHat((binding.value & hat) != 0));
        break;
      }
      case InputType::STICK:
      case InputType::TRIGGER:
        WriteControl(state, id, FromAxis(id, raw.axes.At(binding.index), binding.value));
        break;
      case InputType::BUTTON: {
        const int32_t button = raw.buttons.At(binding.index);
        if (button > 0 && pressed != nullptr) {
          pressed->push_back({false, binding.index, button, binding.value});
        }
        WriteControl(state, id, FromButton(button));
        break;
      }
      default:
        break;
    }
  }
  gamepad = state;
}

bool sameSign(int32_t axisValue, int32_t bindingValue) {
  return (axisValue >= 0) == (bindingValue >= 0);
}

uint8_t axisToTrigger(int16_t magnitude) {
  constexpr double SCALE = 255.0 / 32767.0;
  const auto rounded = static_cast<int32_t>(std::round(magnitude * SCALE));
  return static_cast<uint8_t>(rounded & 0xFF);
}

}  // namespace cpd
