// One run of the monitor as a host: the listener registered with the library, the library's log
// lines routed here, and on the simulator the pads and the scenario.
#pragma once

#include <chrono>
#include <memory>
#include <optional>

#include "json_writer.h"
#include "listener.h"
#include "monitor_state.h"
#include "options.h"
#include "scenario_player.h"
#include "sim_pads.h"
#include "simulator.h"

namespace monitor {

class Session {
 public:
  // `simulator` is null on hardware; `json` is null on screen.
  Session(Options options, const SimulatorApi* simulator, std::optional<Scenario> scenario,
          JsonWriter* json);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Plugs the pads asked for, registers the listener and starts the scenario.
  void Start();
  // Stops the scenario and unregisters: the library's polling thread ends before this returns.
  void Stop();

  MonitorState& State() { return mState; }
  SimulatedPads* Pads() { return mPads.get(); }
  // The poll interval the library uses in this run.
  uint16_t PollMs() const { return PollIntervalOf(mOptions); }
  bool HasScenario() const { return mPlayer != nullptr; }
  bool ScenarioFinished() const { return mPlayer != nullptr && mPlayer->Finished(); }

  // Forces a layout through the library; the library's answer.
  int32_t SetLayout(uint16_t slot, uint16_t layout);

 private:
  void RouteLog(int level, const std::string& line);
  void ReportStep(const ScenarioStep& step, bool ok);

  Options mOptions;
  JsonWriter* mJson;
  MonitorState mState;
  MonitorListener mListener;
  std::unique_ptr<SimulatedPads> mPads;
  std::unique_ptr<ScenarioPlayer> mPlayer;
  bool mRegistered = false;
  std::chrono::steady_clock::time_point mLastLayoutChange{};
};

}  // namespace monitor
