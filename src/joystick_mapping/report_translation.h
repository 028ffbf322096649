// Reads one open controller from SDL and translates it into the gamepad state (translation.h),
// logging the pressed buttons and hats it read.
#pragma once

#include <vector>

#include "joystick_mapping/joystick_device.h"
#include "joystick_mapping/translation.h"

namespace cpd {

// One SDL_JoystickUpdate, then the first `count` inputs of each kind of `raw`.
void ReadRawInputs(SDL_Joystick* joystick, RawInputs& raw);

// Overwrites `gamepad` with the state of `inputs` as the device's SDL handle reports it now. Makes
// exactly one SDL_JoystickUpdate; every other read comes from that snapshot. Never changes the
// device.
void GetXboxReportFromSDLmap(const JoystickDevice& device, const std::vector<InputId>& inputs,
                             XboxGamepad& gamepad);

// GetXboxReportFromSDLmap over bindings copied earlier, for the poller, which must not hold the
// device record while SDL is read and the translation's lines are logged. Keeps its buffers from
// one report to the next, so a poll allocates nothing, and reads only what the bindings it was
// last shaped for reach.
class ReportReader {
 public:
  // Makes room for a pressed read of every control, so no later report allocates.
  void ReserveForEveryControl() { mPressed.reserve(INPUT_ID_COUNT); }

  // Sizes the raw reading for `inputs` through `bindings`; again whenever they change.
  void Shape(const BindingSnapshot& bindings, const std::vector<InputId>& inputs) {
    ShapeRawInputs(bindings, inputs, mRaw);
  }

  // Reads and translates. Without `logReads` the lines of pressed buttons and hats are left out
  // (a poller faster than 30 ms logs them only once a period).
  void Read(SDL_Joystick* joystick, const BindingSnapshot& bindings,
            const std::vector<InputId>& inputs, XboxGamepad& gamepad, bool logReads = true);

 private:
  RawInputs mRaw;
  std::vector<PressedRead> mPressed;
};

}  // namespace cpd
