#include "session.h"

#include <thread>

#include "library_log.h"
#include "log_text.h"

namespace monitor {

namespace {

// The library's store writes a changed choice about at once; a run that ends sooner waits this
// long, so that the write lands before a temporary store folder is removed.
constexpr std::chrono::milliseconds STORE_SETTLE{1500};

struct FailedStep {
  StepKind kind;
  const char* why;
};

constexpr FailedStep FAILED_STEPS[] = {
    {StepKind::AWAIT_DEVICES, " (timed out)"},
    {StepKind::RUMBLE, " (refused: no open controller with motors in that slot)"},
};

std::string WhyItFailed(StepKind kind) {
  for (const FailedStep& failed : FAILED_STEPS) {
    if (failed.kind == kind) {
      return failed.why;
    }
  }
  return " (no such pad plugged)";
}

// The device path of the controller the library has open in `slot`; empty when none.
std::string PathInSlot(uint16_t slot) {
  for (const _CpdJoystickDeviceInfo& device : JoysticAPI_GetDevList()) {
    if (device.index == slot && !device.path.empty()) {
      return device.path;
    }
  }
  return "";
}

}  // namespace

Session::Session(Options options, const SimulatorApi* simulator, std::optional<Scenario> scenario,
                 JsonWriter* json)
    : mOptions(std::move(options)), mJson(json), mListener(mState, json) {
  if (simulator != nullptr) {
    mPads = std::make_unique<SimulatedPads>(*simulator);
    if (scenario) {
      mPlayer = std::make_unique<ScenarioPlayer>(
          std::move(*scenario), *mPads, mState,
          [this](const ScenarioStep& step, bool ok) { ReportStep(step, ok); },
          [this](uint16_t slot, const MotorSpeeds& speeds) { return SetVibration(slot, speeds); });
    }
  }
}

Session::~Session() {
  Stop();
}

void Session::Start() {
  SetLibraryLogHandler([this](int level, const std::string& line) { RouteLog(level, line); });
  if (mPads) {
    for (const std::string& key : mOptions.plug) {
      mPads->Plug(*sim::FindPadModel(key), "");
    }
  }
  if (mPlayer) {
    mPlayer->RunOpening();
  }
  if (mOptions.pollMs != 0) {
    JoysticAPI_SetPollInterval(mOptions.pollMs);
  }
  JoysticAPI_RegsisterNotify(&mListener);
  mRegistered = true;
  mState.SetLayouts(JoysticAPI_GetMappingList());
  if (mJson != nullptr) {
    mJson->Layouts(mState.Snapshot().layouts, PollIntervalOf(mOptions));
  }
  if (mPlayer) {
    mPlayer->Start();
  }
}

void Session::Stop() {
  if (mPlayer) {
    mPlayer->Stop();
  }
  if (mRegistered) {
    JoysticAPI_UnregsisterNotify(&mListener);
    mRegistered = false;
    const auto sinceChange = std::chrono::steady_clock::now() - mLastLayoutChange;
    if (sinceChange < STORE_SETTLE) {
      std::this_thread::sleep_for(STORE_SETTLE - sinceChange);
    }
  }
  SetLibraryLogHandler(nullptr);
}

int32_t Session::SetLayout(uint16_t slot, uint16_t layout) {
  const int32_t result = JoysticAPI_SetMapping(slot, layout);
  mLastLayoutChange = std::chrono::steady_clock::now();
  mState.RefreshDevices(JoysticAPI_GetDevList());
  return result;
}

int32_t Session::SetVibration(uint16_t slot, const MotorSpeeds& speeds) {
  const std::string path = PathInSlot(slot);
  const int32_t answer = JoysticAPI_SetVibration(slot, speeds.low, speeds.high);
  MotorView known;
  if (MotorsAfterAnswer(speeds, answer, known)) {
    std::lock_guard<std::mutex> lock(mAskedMutex);
    mAsked[slot] = {path, known};
  }
  return answer;
}

MotorView Session::MotorsOf(const DeviceRow& device) {
  if (mPads) {
    if (const std::optional<MotorView> read = mPads->Motors(device.path)) {
      return *read;
    }
  }
  std::lock_guard<std::mutex> lock(mAskedMutex);
  const auto asked = mAsked.find(device.slot);
  const bool same = asked != mAsked.end() && asked->second.path == device.path;
  return same ? asked->second.motors : MotorView{};
}

void Session::ReportMotors() {
  if (mJson == nullptr) {
    return;
  }
  for (const DeviceRow& device : mState.Snapshot().devices) {
    if (!device.opened || device.slot == NO_SLOT) {
      continue;
    }
    const MotorView motors = MotorsOf(device);
    if (mReported.Changed(device.slot, motors)) {
      mJson->Motors(device.slot, device.path, motors);
    }
  }
}

void Session::RouteLog(int level, const std::string& line) {
  if (mJson != nullptr) {
    if (mOptions.log) {
      mJson->Log(level, TidyLogLine(line));
    }
    return;
  }
  mState.AddLog(LevelTag(level) + " " + TidyLogLine(line));
}

void Session::ReportStep(const ScenarioStep& step, bool ok) {
  if (mJson != nullptr) {
    mJson->Step(step, ok);
    return;
  }
  std::string text = DescribeStep(step);
  if (!ok) {
    text += WhyItFailed(step.kind);
  }
  mState.AddEvent("scenario", text);
}

}  // namespace monitor
