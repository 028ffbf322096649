// The library's log lines as the monitor shows them.
#pragma once

#include <string>

namespace monitor {

// The library starts each line with its source file's whole path; the pane keeps the file name,
// and line breaks inside a message become blanks, so one log line stays one screen line.
std::string TidyLogLine(const std::string& line);

// "D" for the library's debug level, "E" for its error level, the number otherwise.
std::string LevelTag(int level);

}  // namespace monitor
