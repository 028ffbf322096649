#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace cpd {

// One enumeration of the attached controllers: device path to SDL device index, ordered by path.
using JoystickList = std::map<std::string, int32_t>;

// The most controllers that get a slot (and the most that are opened).
inline constexpr int32_t JOYSTICK_MAX_NUM = 4;

}  // namespace cpd
