// Replays a scenario on the simulated pads, on a thread of its own.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

#include "monitor_state.h"
#include "scenario.h"
#include "sim_pads.h"

namespace monitor {

class ScenarioPlayer {
 public:
  // Told of every step once it ran; `ok` is false for an await that timed out, a step on a pad
  // that is not plugged, or a rumble the library refused.
  using StepReport = std::function<void(const ScenarioStep& step, bool ok)>;
  // Asks the library to run the motors of the controller in `slot`; its answer.
  using Rumble = std::function<int32_t(uint16_t slot, const MotorSpeeds& speeds)>;

  ScenarioPlayer(Scenario scenario, SimulatedPads& pads, MonitorState& state, StepReport report,
                 Rumble rumble);
  ~ScenarioPlayer();
  ScenarioPlayer(const ScenarioPlayer&) = delete;
  ScenarioPlayer& operator=(const ScenarioPlayer&) = delete;

  // Runs the steps of time 0 before the first await at once, so that pads plugged at the start
  // are there when the library first looks.
  void RunOpening();
  // Plays the rest on the player's thread.
  void Start();
  void Stop();
  // True once every step ran and the scenario's end passed.
  bool Finished() const { return mFinished; }

 private:
  void Play();
  bool Run(const ScenarioStep& step);
  // Sleeps until scenario time `at`; false when stopped first.
  bool SleepUntil(int64_t at);

  Scenario mScenario;
  SimulatedPads& mPads;
  MonitorState& mState;
  StepReport mReport;
  Rumble mRumble;
  size_t mNext = 0;
  std::chrono::steady_clock::time_point mClockStart;
  std::chrono::milliseconds mPaused{0};  // time spent in awaits, when the clock stands still
  // Lists published before the last step that was not an await ran: an await counts only lists
  // that came after it, so that it sees the library answer that step.
  size_t mListsBeforeLastStep = 0;
  std::atomic<bool> mStop{false};
  std::atomic<bool> mFinished{false};
  std::mutex mWakeMutex;
  std::condition_variable mWake;
  std::thread mThread;
};

}  // namespace monitor
