// Stable slot indexes: the number 0..3 by which the host names a controller. A slot stays bound
// to a device path, so a controller that comes back on the same path gets the same slot.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "joystick_mapping/joystick_list.h"

namespace cpd {

// Returns the slot of `path`, taking over the slot of a path that is no longer in `list`, or
// opening a new one while fewer than JOYSTICK_MAX_NUM exist; -1 when none is free. `slotPaths`
// (slot index to path) is updated in place and never loses an entry.
int32_t UpdateJoyStickIndex(std::map<int32_t, std::string>& slotPaths, JoystickList list,
                            std::string path);

}  // namespace cpd
