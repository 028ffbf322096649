// The device list's summary text, which the list-update event carries, made from plain data.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cpd_joystick/joystick_api.h"

namespace cpd {

// One entry per open controller in SDL index order; a pen tablet is a gap (no entry).
using ListedDevices = std::vector<std::optional<_CpdJoystickDeviceInfo>>;

// The summary repeats earlier entries: one stream collects every entry, and its whole contents
// are appended after each one. Hosts parse the summary as it has always been, so it stays so, and
// the stream stays in hexadecimal for the index and layout kind too.
std::string DevListSummary(const ListedDevices& listed);

}  // namespace cpd
