// The whole screen for one view and terminal size, as plain data.
#pragma once

#include <string>
#include <vector>

#include "screen.h"
#include "view.h"

namespace monitor {

Screen BuildScreen(const View& view, int rows, int cols);

// The device table's lines without the screen around them (also what --once prints).
std::vector<std::string> DeviceTableLines(const std::vector<DeviceRow>& devices,
                                          const std::vector<LayoutName>& layouts, int cols);

// An event's message without the "[file function(line)] " origin the library puts first.
std::string WithoutOrigin(const std::string& message);

}  // namespace monitor
