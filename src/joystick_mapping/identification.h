// Which layout a controller gets: the choice stored for its model first, then its name.
#pragma once

#include <cstdint>

#include "joystick_mapping/joystick_device.h"
#include "joystick_mapping/mapping_index.h"

namespace cpd {

// Gives `device` a fresh mapping and installs the layout chosen for it. Lower-cases the
// device's name in place; the record keeps the lower-case name from then on.
void OpenOrCreateMapping(JoystickDevice& device);

// Installs the layout of `mappingIndex` over the device's current bindings. 0 when installed,
// -1 (with an error line) when the index names no layout; the mapping is then left as it was.
int32_t ResetMapping(JoystickDevice& device, MappingIndex mappingIndex);

}  // namespace cpd
