// The three ways the monitor runs: the screen, JSON lines, and one device list.
#pragma once

#include <atomic>
#include <optional>

#include "options.h"
#include "scenario.h"
#include "simulator.h"

namespace monitor {

struct RunSetup {
  Options options;
  const SimulatorApi* simulator = nullptr;  // null on hardware
  std::optional<Scenario> scenario;
  const std::atomic<bool>* stop = nullptr;  // set by SIGINT and SIGTERM
};

int RunScreen(RunSetup setup);
int RunJson(RunSetup setup);
int RunOnce(RunSetup setup);

}  // namespace monitor
