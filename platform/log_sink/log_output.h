// The default sink's system side: the UTC calendar time, and where finished lines go.
#pragma once

#include <ctime>
#include <string>

namespace cpd::sink {

std::tm UtcTime(std::time_t seconds);

// Hands `line` to the system in one write: to the file named by CPD_JOYSTICK_LOG if it can be
// opened for appending (chosen at the first line), else to standard error. The caller
// serialises the calls.
void WriteLine(const std::string& line);

}  // namespace cpd::sink
