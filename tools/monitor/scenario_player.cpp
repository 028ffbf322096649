#include "scenario_player.h"

namespace monitor {

ScenarioPlayer::ScenarioPlayer(Scenario scenario, SimulatedPads& pads, MonitorState& state,
                               StepReport report, Rumble rumble)
    : mScenario(std::move(scenario)),
      mPads(pads),
      mState(state),
      mReport(std::move(report)),
      mRumble(std::move(rumble)) {}

ScenarioPlayer::~ScenarioPlayer() {
  Stop();
}

void ScenarioPlayer::RunOpening() {
  while (mNext < mScenario.steps.size() && mScenario.steps[mNext].at == 0 &&
         mScenario.steps[mNext].kind != StepKind::AWAIT_DEVICES) {
    const ScenarioStep& step = mScenario.steps[mNext++];
    mReport(step, Run(step));
  }
}

void ScenarioPlayer::Start() {
  mClockStart = std::chrono::steady_clock::now();
  mThread = std::thread([this] { Play(); });
}

void ScenarioPlayer::Stop() {
  {
    std::lock_guard<std::mutex> lock(mWakeMutex);
    mStop = true;
  }
  mWake.notify_all();
  if (mThread.joinable()) {
    mThread.join();
  }
}

void ScenarioPlayer::Play() {
  for (; mNext < mScenario.steps.size(); ++mNext) {
    const ScenarioStep& step = mScenario.steps[mNext];
    if (!SleepUntil(step.at)) {
      return;
    }
    if (step.kind == StepKind::AWAIT_DEVICES) {
      const auto began = std::chrono::steady_clock::now();
      const bool met =
          mState.WaitForDeviceCount(static_cast<size_t>(step.value), mListsBeforeLastStep,
                                    std::chrono::milliseconds(step.timeoutMs), mStop);
      mPaused += std::chrono::duration_cast<std::chrono::milliseconds>(
          std::chrono::steady_clock::now() - began);
      if (mStop) {
        return;
      }
      mReport(step, met);
      continue;
    }
    mReport(step, Run(step));
  }
  if (SleepUntil(mScenario.endMs)) {
    mFinished = true;
  }
}

bool ScenarioPlayer::Run(const ScenarioStep& step) {
  mListsBeforeLastStep = mState.DevListUpdates();
  bool done = false;
  switch (step.kind) {
    case StepKind::PLUG:
      mPads.Plug(*sim::FindPadModel(step.model), step.path, step.pad);
      done = true;
      break;
    case StepKind::UNPLUG:
      done = mPads.UnplugNamed(step.pad);
      break;
    case StepKind::AWAIT_DEVICES:
      break;
    case StepKind::RUMBLE:
      done = mRumble(static_cast<uint16_t>(step.index), step.speeds) == 0;
      break;
    default:
      done = mPads.SetInput(step.pad, step.kind, step.index, step.value);
      break;
  }
  return done;
}

bool ScenarioPlayer::SleepUntil(int64_t at) {
  const auto due = mClockStart + mPaused + std::chrono::milliseconds(at);
  std::unique_lock<std::mutex> lock(mWakeMutex);
  return !mWake.wait_until(lock, due, [this] { return mStop.load(); });
}

}  // namespace monitor
