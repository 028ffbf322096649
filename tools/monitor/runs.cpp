#include "runs.h"

#include <chrono>
#include <cstdio>
#include <thread>

#include "app.h"
#include "json_writer.h"
#include "screen_model.h"
#include "session.h"
#include "terminal.h"

namespace monitor {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds CHECK_EVERY{50};
// How long --once waits for the first device list: the library opens each controller for about
// a third of a second, and publishes nothing at all while none is attached.
constexpr std::chrono::seconds FIRST_LIST_WAIT{5};
constexpr int TABLE_WIDTH = 100;

Clock::time_point DeadlineOf(const Options& options, Clock::time_point start) {
  if (options.durationSeconds <= 0) {
    return Clock::time_point::max();
  }
  return start + std::chrono::duration_cast<Clock::duration>(
                     std::chrono::duration<double>(options.durationSeconds));
}

}  // namespace

int RunScreen(RunSetup setup) {
  Session session(setup.options, setup.simulator, std::move(setup.scenario), nullptr);
  session.Start();
  App app(session, setup.simulator != nullptr, setup.options.log);
  const bool shown = RunTerminal(app, *setup.stop, DeadlineOf(setup.options, Clock::now()));
  session.Stop();
  return shown ? 0 : 1;
}

int RunJson(RunSetup setup) {
  const Clock::time_point start = Clock::now();
  JsonWriter writer(stdout, setup.options.every, start);
  // A scenario ends the run when it ends, unless a duration says otherwise.
  const bool scenarioEnds = setup.scenario.has_value() && setup.options.durationSeconds <= 0;
  Session session(setup.options, setup.simulator, std::move(setup.scenario), &writer);
  session.Start();
  const Clock::time_point deadline = DeadlineOf(setup.options, start);
  while (!*setup.stop && Clock::now() < deadline && writer.Healthy() &&
         !(scenarioEnds && session.ScenarioFinished())) {
    std::this_thread::sleep_for(CHECK_EVERY);
    session.ReportMotors();
  }
  session.Stop();
  return 0;
}

int RunOnce(RunSetup setup) {
  const bool json = setup.options.json;
  JsonWriter writer(stdout, 1, Clock::now());
  Session session(setup.options, setup.simulator, std::move(setup.scenario), nullptr);
  session.Start();
  session.State().WaitForFirstDevList(FIRST_LIST_WAIT, *setup.stop);
  const StateSnapshot snapshot = session.State().Snapshot();
  const std::list<_CpdJoystickDeviceInfo> devices = JoysticAPI_GetDevList();
  session.Stop();
  if (json) {
    writer.Devices(devices, snapshot.layouts);
    return 0;
  }
  std::printf("%zu controller%s listed\n", snapshot.devices.size(),
              snapshot.devices.size() == 1 ? "" : "s");
  for (const std::string& line :
       DeviceTableLines(snapshot.devices, snapshot.layouts, TABLE_WIDTH)) {
    std::printf("%s\n", line.c_str());
  }
  return 0;
}

}  // namespace monitor
