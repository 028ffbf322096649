// One run of the monitor as a host: the listener registered with the library, the library's log
// lines routed here, and on the simulator the pads and the scenario.
#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "json_writer.h"
#include "listener.h"
#include "monitor_state.h"
#include "motors.h"
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
  // Asks the library to run the motors of the controller in `slot`; the library's answer, which
  // is kept for MotorsOf, since hardware tells nothing back.
  int32_t SetVibration(uint16_t slot, const MotorSpeeds& speeds);
  // What the monitor knows of a listed controller's motors: the simulator's reading of a pad it
  // plugged, else what it last asked of that controller in its slot.
  MotorView MotorsOf(const DeviceRow& device);
  // With --json, a "motors" line for each listed controller whose speeds changed since the last
  // call.
  void ReportMotors();

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

  struct Asked {
    std::string path;  // of the controller the request was made for
    MotorView motors;
  };
  std::mutex mAskedMutex;            // the screen's and the scenario's threads both ask
  std::map<uint16_t, Asked> mAsked;  // by slot
  MotorReports mReported;
};

}  // namespace monitor
