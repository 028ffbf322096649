// cpd-joystick-monitor: a host of the joystick bridge that shows what the library finds and
// sends, on hardware or (with --simulate) on the SDL2 simulator.
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <optional>

#include "options.h"
#include "runs.h"
#include "scenario.h"
#include "simulator.h"

namespace {

std::atomic<bool> gStop{false};

void OnStopSignal(int /*signal*/) {
  gStop = true;
}

// The handlers only set a flag; whichever thread gets the signal, the run ends cleanly: the
// listener is unregistered and the terminal restored.
void CatchStopSignals() {
  struct sigaction action {};
  action.sa_handler = OnStopSignal;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  // A reader that goes away ends a JSON run through the failed write, not through SIGPIPE.
  signal(SIGPIPE, SIG_IGN);
}

bool HasTerminal() {
  return isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0;
}

}  // namespace

int main(int argc, char** argv) {
  const monitor::ParsedCommandLine parsed = monitor::ParseCommandLine(argc, argv);
  if (!parsed.run) {
    std::fputs(parsed.message.c_str(), parsed.exitCode == 0 ? stdout : stderr);
    return parsed.exitCode;
  }
  monitor::RunSetup setup;
  setup.options = parsed.options;
  setup.stop = &gStop;

  if (!setup.options.scenarioFile.empty()) {
    monitor::Scenario scenario;
    std::string error;
    if (!monitor::LoadScenarioFile(setup.options.scenarioFile, scenario, error)) {
      std::fprintf(stderr, "cpd-joystick-monitor: %s\n", error.c_str());
      return monitor::EXIT_BAD_INPUT;
    }
    setup.scenario = scenario;
  }

  monitor::SimulatorApi simulator;
  if (setup.options.simulate) {
    std::string error;
    if (!monitor::AttachSimulator(argv, simulator, error)) {
      std::fprintf(stderr, "cpd-joystick-monitor: %s\n", error.c_str());
      return 1;
    }
    setup.simulator = &simulator;
  }
  std::optional<monitor::TemporaryStore> store;
  if (setup.options.simulate) {
    store.emplace();
  }

  CatchStopSignals();
  if (setup.options.once) {
    return monitor::RunOnce(setup);
  }
  if (!setup.options.json && !HasTerminal()) {
    std::fputs("cpd-joystick-monitor: no terminal, writing JSON lines instead (--json)\n", stderr);
    setup.options.json = true;
  }
  return setup.options.json ? monitor::RunJson(setup) : monitor::RunScreen(setup);
}
