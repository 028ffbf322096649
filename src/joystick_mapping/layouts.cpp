// The one install routine that writes a layout of the table (layout_table.h) into a mapping.
#include "joystick_mapping/layouts.h"

#include <array>

#include "common/log.h"
#include "joystick_mapping/layout_table.h"

namespace cpd {

namespace {

static_assert(layout_cells::UP == SDL_HAT_UP && layout_cells::RIGHT == SDL_HAT_RIGHT &&
                  layout_cells::DOWN == SDL_HAT_DOWN && layout_cells::LEFT == SDL_HAT_LEFT,
              "d-pad cells carry SDL's own hat bits");

// The layout operation each column stands for: its binding lines carry that operation's name.
constexpr std::array<const char*, COLUMN_COUNT> COLUMN_OPERATIONS = {
    "setXboxSDLMapping",           "setSwitchSDLMapping",    "setSwitch2SDLMapping",
    "setLogicRumblepadSDLMapping", "setDualSenseSDLMapping", "setAndroidSDLMapping",
};

// The controls a layout writes, group by group. GUIDE is in no group, so it is never written.
std::vector<InputId> WorkingList(const JoystickMapping& mapping) {
  std::vector<InputId> controls;
  for (const std::vector<InputId>* group :
       {&mapping.stickInputs, &mapping.shoulderInputs, &mapping.triggerInputs, &mapping.thumbInputs,
        &mapping.dpadInputs, &mapping.buttonInputs}) {
    controls.insert(controls.end(), group->begin(), group->end());
  }
  return controls;
}

void writeBindings(JoystickMapping& mapping, const std::vector<InputId>& controls, Column column) {
  for (const InputId control : controls) {
    const auto row = static_cast<size_t>(control);
    if (row >= LAYOUTS.size()) {
      continue;
    }
    mapping.bindings[control] = BindingOf(control, LAYOUTS[row].cells[column]);
  }
}

// The one install routine behind the six layout operations.
void setSDLMapping(JoystickDevice& device, Column column) {
  const char* operation = COLUMN_OPERATIONS[column];
  JoystickMapping& mapping = device.mapping;
  const std::vector<InputId> controls = WorkingList(mapping);
  writeBindings(mapping, controls, column);
  for (const InputId control : controls) {
    const auto found = mapping.bindings.find(control);
    if (found == mapping.bindings.end()) {
      continue;
    }
    const int id = static_cast<int>(control);
    const int index = found->second.index;
    // Triggers read from an axis are left out of the log; read as buttons they show as buttons.
    switch (found->second.type) {
      case InputType::DPAD:
        CPD_LOG_DEBUG_IN(operation, "HAT inputID[%d] index[%d]", id, index);
        break;
      case InputType::STICK:
        CPD_LOG_DEBUG_IN(operation, "STICK inputID[%d] index[%d]", id, index);
        break;
      case InputType::BUTTON:
        CPD_LOG_DEBUG_IN(operation, "BUTTON inputID[%d] index[%d]", id, index);
        break;
      default:
        break;
    }
  }
  mapping.mappingIndex = COLUMN_KINDS[column];
  mapping.mappingName = MappingIndexToString(mapping.mappingIndex);
}

}  // namespace

void setDualSenseSDLMapping(JoystickDevice& device) {
  setSDLMapping(device, DUALSENSE);
}
void setSwitchSDLMapping(JoystickDevice& device) {
  setSDLMapping(device, SWITCH);
}
void setSwitch2SDLMapping(JoystickDevice& device) {
  setSDLMapping(device, SWITCH2);
}
void setAndroidSDLMapping(JoystickDevice& device) {
  setSDLMapping(device, ANDROID);
}
void setLogicRumblepadSDLMapping(JoystickDevice& device) {
  setSDLMapping(device, LOGIC);
}
void setXboxSDLMapping(JoystickDevice& device) {
  setSDLMapping(device, XBOX);
}

}  // namespace cpd
