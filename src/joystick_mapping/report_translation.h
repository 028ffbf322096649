// Turns one open controller's SDL state into the gamepad state, through its bindings.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <vector>

#include "joystick_mapping/control_model.h"
#include "joystick_mapping/joystick_device.h"
#include "joystick_mapping/xbox_gamepad.h"

namespace cpd {

// Replaces `inputs` with every control whose binding is not UNSET, in ascending order.
void GetMappedInputs(const std::map<InputId, InputBinding>& bindings, std::vector<InputId>& inputs);

// Overwrites `gamepad` with the state of `inputs` as the device's SDL handle reports it now. Makes
// exactly one SDL_JoystickUpdate; every other read comes from that snapshot. Never changes the
// device.
void GetXboxReportFromSDLmap(const JoystickDevice& device, const std::vector<InputId>& inputs,
                             XboxGamepad& gamepad);

// The bindings of one report in a fixed array, indexed by control: one report is built from one
// set of bindings even if the device's layout changes meanwhile, and taking the copy needs no
// heap. A control outside the 25 has no field and no bit in the state, so it reads as unbound.
using BindingSnapshot = std::array<InputBinding, INPUT_ID_COUNT>;
BindingSnapshot SnapshotOf(const std::map<InputId, InputBinding>& bindings);

// GetXboxReportFromSDLmap over bindings copied earlier, for callers that must not hold the
// device record while SDL is read and the translation's lines are logged. Without `logReads`
// the lines of pressed buttons and hats are left out (a poller faster than 30 ms logs them only
// once a period).
void GetXboxReportFromSnapshot(SDL_Joystick* joystick, const BindingSnapshot& bindings,
                               const std::vector<InputId>& inputs, XboxGamepad& gamepad,
                               bool logReads = true);

// True when both are 0 or more, or both are below 0.
bool sameSign(int32_t axisValue, int32_t bindingValue);

// 0 .. 32767 onto 0 .. 255, rounded half away from zero.
uint8_t axisToTrigger(int16_t magnitude);

}  // namespace cpd
