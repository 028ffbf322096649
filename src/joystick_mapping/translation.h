// The translation of one controller's raw inputs into the gamepad state, through its bindings.
// Plain data in and out: no SDL, no log, no lock, so every rule here is tested directly.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <vector>

#include "joystick_mapping/control_model.h"
#include "joystick_mapping/xbox_gamepad.h"

namespace cpd {

// The bindings of one report in a fixed array, indexed by control: one report is built from one
// set of bindings even if the device's layout changes meanwhile, and taking the copy needs no
// heap. A control outside the 25 has no field and no bit in the state, so it reads as unbound.
using BindingSnapshot = std::array<InputBinding, INPUT_ID_COUNT>;
BindingSnapshot SnapshotOf(const std::map<InputId, InputBinding>& bindings);

// Replaces `inputs` with every control whose binding is not UNSET, in ascending order.
void GetMappedInputs(const std::map<InputId, InputBinding>& bindings, std::vector<InputId>& inputs);

// Every layout takes its inputs from numbers below this; see the check beside the layout table.
inline constexpr int32_t RAW_INPUT_CAPACITY = 32;

// One reading of a controller's raw inputs, by the controller's own input numbers. Only the
// first `count` of each kind are read; any other number reads 0, as SDL answers for an input
// the controller does not have.
struct RawInputs {
  struct Kind {
    std::array<int32_t, RAW_INPUT_CAPACITY> values{};
    int32_t count = 0;

    int32_t At(int32_t number) const {
      // Unsigned, so a negative number is out of range too.
      const auto at = static_cast<uint32_t>(number);
      return at < static_cast<uint32_t>(count) && at < values.size() ? values[at] : 0;
    }
  };
  Kind axes;     // -32768 .. 32767
  Kind buttons;  // 1 while pressed
  Kind hats;     // SDL's hat bits
};

// Sets the counts of `raw` to what `inputs` reach through `bindings`: the highest number each
// kind of input is read at, plus one, within the capacity.
void ShapeRawInputs(const BindingSnapshot& bindings, const std::vector<InputId>& inputs,
                    RawInputs& raw);

// A button or hat found pressed while translating, in reading order, for the log.
struct PressedRead {
  bool hat;
  int32_t index;
  int32_t value;
  int32_t mapValue;
};

// Overwrites `gamepad` with the state `raw` gives `inputs`. With `pressed`, every pressed button
// and hat read is added to it (it is cleared first; its capacity is kept).
void TranslateReport(const RawInputs& raw, const BindingSnapshot& bindings,
                     const std::vector<InputId>& inputs, XboxGamepad& gamepad,
                     std::vector<PressedRead>* pressed);

// True when both are 0 or more, or both are below 0.
bool sameSign(int32_t axisValue, int32_t bindingValue);

// 0 .. 32767 onto 0 .. 255, rounded half away from zero.
uint8_t axisToTrigger(int16_t magnitude);

}  // namespace cpd
