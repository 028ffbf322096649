#include "joystick_mapping/identification.h"

#include <array>
#include <utility>

#include "common/log.h"
#include "joystick_mapping/layout_choice.h"
#include "joystick_mapping/layouts.h"
#include "joystick_policy/joystick_policy.h"

namespace cpd {

namespace {

using LayoutInstaller = void (*)(JoystickDevice&);

// Indexed by layout kind; kind 0 names no layout.
const std::array<LayoutInstaller, MAPPING_LAST + 1> LAYOUT_INSTALLERS = {
    nullptr,
    &setDualSenseSDLMapping,
    &setSwitchSDLMapping,
    &setSwitch2SDLMapping,
    &setAndroidSDLMapping,
    &setLogicRumblepadSDLMapping,
    &setXboxSDLMapping,
};

}  // namespace

// The policy is asked here, on the polling thread, and the decision itself is plain data.
void OpenOrCreateMapping(JoystickDevice& device) {
  CPD_LOG_DEBUG("name[%s]", device.name.c_str());
  device.name = LowerCased(std::move(device.name));
  device.mapping = JoystickMapping();

  uint32_t stored = MAPPING_NONE;
  if (const std::shared_ptr<JoystickPolicy> policy = JoystickPolicy::GetInstance()) {
    stored = static_cast<uint32_t>(policy->GetMappingIndex(device.vid, device.pid));
  }
  const LayoutChoice choice = ChooseLayout(device.name, stored);
  if (choice.stored) {
    CPD_LOG_DEBUG("name[%s] The joystick has config mappingIndex[%d] ", device.name.c_str(),
                  static_cast<int>(choice.layout));
    ResetMapping(device, choice.layout);
    return;
  }
  CPD_LOG_DEBUG_TEXT(choice.ruleLine, device.name.c_str());
  LAYOUT_INSTALLERS[choice.layout](device);
}

int32_t ResetMapping(JoystickDevice& device, MappingIndex mappingIndex) {
  CPD_LOG_DEBUG("name[%s] mappingIndex[%d]", device.name.c_str(), mappingIndex);
  if (!IsLayoutKind(mappingIndex)) {
    CPD_LOG_ERROR("name[%s] mappingIndex[%d] UNKNOWN mapping", device.name.c_str(), mappingIndex);
    return -1;
  }
  LAYOUT_INSTALLERS[mappingIndex](device);
  return 0;
}

}  // namespace cpd
