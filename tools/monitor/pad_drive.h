// The keyboard's hold on one simulated pad. A terminal reports key presses but no releases, so a
// press latches a button until the next press, each stick press moves the stick one step, and a
// trigger press pulls the trigger one step further (wrapping to released).
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "key_bindings.h"
#include "layout_wiring.h"

namespace monitor {

constexpr int STICK_STEPS = 2;    // steps from the centre to either end
constexpr int TRIGGER_STEPS = 4;  // steps from released to fully pulled

struct DriveState {
  std::array<bool, DIGITAL_CONTROL_COUNT> held{};
  std::array<int, 2> triggers{};               // 0..TRIGGER_STEPS, left then right
  std::array<int, STICK_AXIS_COUNT> sticks{};  // -STICK_STEPS..STICK_STEPS per stick axis 0..3
};

// The sizes SDL reports for a pad.
struct PadShape {
  int axes = 0;
  int buttons = 0;
  int hats = 0;
};

// Every raw input value of a pad, sized by its shape.
struct RawState {
  std::vector<int16_t> axes;
  std::vector<uint8_t> buttons;
  std::vector<uint8_t> hats;
};

// Latches or releases a digital control; false for a trigger, which steps instead.
bool ToggleControl(DriveState& drive, Control control);
// Pulls a trigger one step further, back to released after the last step.
void StepTrigger(DriveState& drive, Control trigger);
// Moves a stick axis (0..3) one step towards the end `direction` (-1 or +1) names.
void StepStick(DriveState& drive, int axis, int direction);
void ReleaseAll(DriveState& drive);

int16_t StickAxisValue(int step);
int16_t TriggerAxisValue(int step);

// What the pad's inputs read while `drive` holds it and `layout` is the pad's layout. Inputs
// the pad does not have are left out.
RawState RawStateFor(const DriveState& drive, uint16_t layout, const PadShape& shape);

// Whether the pad has the raw input `layout` reads for `control`.
bool PadHasInput(const PadShape& shape, const RawInput& input);

// Applies a drive action (TOGGLE_CONTROL, STEP_TRIGGER, STEP_STICK, RELEASE_ALL); false for any
// other action.
bool ApplyDrive(DriveState& drive, const Action& action);

struct DriveNote {
  std::string text;
  bool warning = false;
};

// What an applied drive action did to the raw inputs, for the status line: "A: button 0
// pressed", or a warning when the pad lacks the input its layout reads.
DriveNote DescribeDrive(const DriveState& drive, const Action& action, uint16_t layout,
                        const PadShape& shape);

}  // namespace monitor
