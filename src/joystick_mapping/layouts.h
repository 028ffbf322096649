// The six controller layouts. Each rewrites the bindings of the device's mapping and records
// which layout it is; the group lists stay as they are. Installing a layout again changes nothing.
#pragma once

#include "joystick_mapping/joystick_device.h"

namespace cpd {

void setDualSenseSDLMapping(JoystickDevice& device);       // MAPPING_PS
void setSwitchSDLMapping(JoystickDevice& device);          // MAPPING_SWITCH_MOD1
void setSwitch2SDLMapping(JoystickDevice& device);         // MAPPING_SWITCH_MOD2
void setAndroidSDLMapping(JoystickDevice& device);         // MAPPING_ANDROID
void setLogicRumblepadSDLMapping(JoystickDevice& device);  // MAPPING_LOGIC
void setXboxSDLMapping(JoystickDevice& device);            // MAPPING_XBOX

}  // namespace cpd
