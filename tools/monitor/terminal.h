// The ncurses shell: reads keys, hands them to the app, draws the screen model.
#pragma once

#include <atomic>
#include <chrono>

#include "app.h"

namespace monitor {

// Runs until the user quits, `stop` is set, or `deadline` passes; restores the terminal.
// False when the terminal could not be set up.
bool RunTerminal(App& app, const std::atomic<bool>& stop,
                 std::chrono::steady_clock::time_point deadline);

}  // namespace monitor
