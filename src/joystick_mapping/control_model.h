// The vocabulary of the mapping engine: the controls of the Xbox-shaped gamepad state, the kinds
// of physical input a control can be bound to, one control's binding, the mapping an open
// controller carries, and the button bit of each digital control.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "joystick_mapping/mapping_index.h"

namespace cpd {

// The 25 controls of the gamepad state. A stick is four controls, one per direction, so that a
// layout can bind each half of an axis on its own.
enum class InputId : uint32_t {
  DPAD_UP = 0,
  DPAD_DOWN = 1,
  DPAD_LEFT = 2,
  DPAD_RIGHT = 3,
  START = 4,
  BACK = 5,
  LEFT_THUMB = 6,
  RIGHT_THUMB = 7,
  LEFT_SHOULDER = 8,
  RIGHT_SHOULDER = 9,
  GUIDE = 10,
  A = 11,
  B = 12,
  X = 13,
  Y = 14,
  LEFT_TRIGGER = 15,
  RIGHT_TRIGGER = 16,
  LEFT_STICK_LEFT = 17,
  LEFT_STICK_UP = 18,
  LEFT_STICK_RIGHT = 19,
  LEFT_STICK_DOWN = 20,
  RIGHT_STICK_LEFT = 21,
  RIGHT_STICK_UP = 22,
  RIGHT_STICK_RIGHT = 23,
  RIGHT_STICK_DOWN = 24,
};

inline constexpr uint32_t INPUT_ID_COUNT = 25;

// What kind of SDL input a control reads. THUMB and SHOULDER only name groups of controls; no
// binding ever carries them.
enum class InputType : uint32_t {
  UNSET = 0,
  DPAD = 1,
  STICK = 2,
  THUMB = 3,
  TRIGGER = 4,
  SHOULDER = 5,
  BUTTON = 6,
};

// The SDL end of an axis that a STICK or TRIGGER binding stands for, and the pressed state of a
// BUTTON binding. DPAD bindings carry SDL's hat bits (1 up, 2 right, 4 down, 8 left).
inline constexpr int32_t AXIS_NEGATIVE_END = -32768;
inline constexpr int32_t AXIS_POSITIVE_END = 32767;
inline constexpr int32_t BUTTON_PRESSED = 1;

// `index` is the SDL hat, axis or button number; -1 while the control is unbound.
struct InputBinding {
  InputType type = InputType::UNSET;
  int32_t index = -1;
  int32_t value = 0;
};

inline bool operator==(const InputBinding& left, const InputBinding& right) {
  return left.type == right.type && left.index == right.index && left.value == right.value;
}
inline bool operator!=(const InputBinding& left, const InputBinding& right) {
  return !(left == right);
}

// The bindings of one open controller and the fixed groups its controls fall into. A fresh
// mapping binds nothing; a layout fills it.
struct JoystickMapping {
  JoystickMapping();

  std::map<InputId, InputBinding> bindings;
  std::vector<InputId> stickInputs;
  std::vector<InputId> triggerInputs;
  std::vector<InputId> thumbInputs;
  std::vector<InputId> shoulderInputs;
  std::vector<InputId> dpadInputs;
  std::vector<InputId> buttonInputs;
  MappingIndex mappingIndex = MAPPING_NONE;
  std::string mappingName;
};

// The bit of each digital control in the gamepad's button word, built when the library loads.
// It follows XInput's button word, whose 0x0800 carries no button, so A is 0x1000.
extern const std::map<InputId, uint16_t> XboxButtonBits;

// "DPAD_UP" ... "RIGHT_STICK_DOWN"; "UNKNOWN" for any other value.
std::string InputIdToString(InputId id);
// "UNSET" ... "BUTTON"; "UNKNOWN" for any other value.
std::string InputTypeToString(InputType type);
// The kind of input a control reads, judged by its name alone: DPAD, TRIGGER, STICK, else BUTTON.
InputType ClassifyInputType(const std::string& name);

}  // namespace cpd
