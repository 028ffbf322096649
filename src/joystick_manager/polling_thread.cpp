// The body of the polling thread: set SDL up, open what is attached, poll it every 30 ms until
// the set of controllers changes, then tear everything down and start over.
#include <exception>

#include "common/event_record.h"
#include "common/log.h"
#include "joystick_manager/joystick_manager.h"
#include "joystick_mapping/identification.h"
#include "joystick_mapping/report_translation.h"
#include "joystick_mapping/sdl.h"
#include "joystick_mapping/sdl_input.h"
#include "joystick_mapping/slot_index.h"

namespace cpd {

namespace {

constexpr std::chrono::milliseconds POLL_PERIOD{30};
constexpr std::chrono::milliseconds SETUP_RETRY{2000};
constexpr std::chrono::milliseconds EMPTY_RETRY{2000};
constexpr std::chrono::milliseconds OPEN_RETRY{1000};
constexpr std::chrono::milliseconds REOPEN_PAUSE{500};
constexpr int32_t AXIS_LOG_EVERY = 30;     // polls between logs of axis-only changes
constexpr int32_t DATA_EVENT_EVERY = 500;  // polls per data event at most
constexpr const char* PROCESS_ORIGIN = "cpd::JoystickManager::process";
// The polling thread's steps are short functions, but hosts know every line of them as the
// thread body's own.
constexpr const char* PROCESS = "process";

JoystickDataPacket PacketOf(int32_t slotIndex, uint32_t packetNumber, const XboxGamepad& gamepad) {
  JoystickDataPacket packet{};
  packet.slot = static_cast<uint8_t>(slotIndex);
  packet.dwPacketNumber = packetNumber;
  packet.wButtons = gamepad.wButtons;
  packet.bLeftTrigger = gamepad.bLeftTrigger;
  packet.bRightTrigger = gamepad.bRightTrigger;
  packet.sThumbLX = gamepad.sThumbLX;
  packet.sThumbLY = gamepad.sThumbLY;
  packet.sThumbRX = gamepad.sThumbRX;
  packet.sThumbRY = gamepad.sThumbRY;
  return packet;
}

// Button changes are always logged; stick and trigger movement only at the start of every 30th
// period, so a moving stick does not flood the log.
bool ShouldLogState(const XboxGamepad& last, const XboxGamepad& now, int32_t counter,
                    bool periodStart) {
  if (now == last) {
    return false;
  }
  return now.wButtons != last.wButtons || (periodStart && counter % AXIS_LOG_EVERY == 0);
}

// The counter wraps like the packet number it becomes instead of overflowing.
int32_t NextCount(int32_t counter) {
  return static_cast<int32_t>(static_cast<uint32_t>(counter) + 1U);
}

}  // namespace

void JoystickManager::process() {
  MarkPollingThread();
  CPD_LOG_DEBUG("joystick process enter\n");
  while (!mStop.load()) {
    try {
      RunPollingPass();
    } catch (const std::exception& error) {
      // Nothing may take the host down: end this pass cleanly and start over.
      CPD_LOG_ERROR("polling pass failed: %s", error.what());
      CloseJoysticks();
      QuitJoystickInput();
      WaitForWake(OPEN_RETRY);
    }
  }
  CloseJoysticks();
  mMotors.Forget();
  QuitJoystickInput();
  CPD_LOG_DEBUG("joystick exit\n");
}

void JoystickManager::RunPollingPass() {
  {
    std::lock_guard<std::mutex> lock(mStateMutex);
    Joysticks.clear();
    mRunListed = false;
  }
  SDL_SetHint(SDL_HINT_JOYSTICK_THREAD, "1");
  if (InitJoystickInput() == 0) {
    WaitForWake(SETUP_RETRY);
    return;
  }
  const JoystickList list = GetJoystickList();
  if (list.empty()) {
    CPD_LOG_MUTED_IN(PROCESS, "SDL no joysticks");
    UpdateJoystickDevList();
    WaitForWake(EMPTY_RETRY);
    return;  // SDL stays up on this path
  }
  if (!OpenJoysticks(list)) {
    CPD_LOG_ERROR_IN(PROCESS, "SDL_JoystickOpen failed");
    CloseJoysticks();
    QuitJoystickInput();
    WaitForWake(OPEN_RETRY);
    return;
  }
  // A stop that came during the open pass ends the run here: publishing what was opened so far
  // would show the host a list that is about to vanish.
  if (!mStop.load()) {
    UpdateJoystickDevList();
    mPolling.exchange(true);
    PollUntilChange();
  }
  CloseJoysticks();
  QuitJoystickInput();
  WaitForWake(REOPEN_PAUSE);
}

bool JoystickManager::OpenJoysticks(const JoystickList& list) {
  for (const auto& [path, sdlIndex] : list) {
    if (mStop.load()) {
      return true;  // being stopped: what is open is closed on the way out
    }
    if (sdlIndex < JOYSTICK_MAX_NUM) {
      JoystickDevice device;
      if (!OpenJoystick(sdlIndex, device)) {
        return false;
      }
      {
        // Recorded at once, so the handle is closed with the others should the rest fail. Until
        // the record is complete it holds no slot, so no layout change can land on it.
        std::lock_guard<std::mutex> lock(mStateMutex);
        JoystickDevice& opening = Joysticks[sdlIndex];
        opening._ptr = device._ptr;
        opening.slotIndex = -1;
      }
      device.path = path;
      device.slotIndex = UpdateJoyStickIndex(mSlotPaths, list, path);
      device.lastGamepad = XboxGamepad{};
      ReadJoystickInfo(device);
      IdentifyAndRecord(sdlIndex, device);
      if (device.vid != PEN_TABLET_VENDOR) {
        mMotors.Opened(device.slotIndex, device._ptr, path);
        mMotors.Apply(std::chrono::steady_clock::now());
      }
    }
    // Controllers beyond the fourth keep an empty record, so the map's size stays the SDL count.
    // try_emplace adds that record on purpose.
    JoystickDevice entry;
    {
      std::lock_guard<std::mutex> lock(mStateMutex);
      entry = Joysticks.try_emplace(sdlIndex).first->second;
    }
    CPD_LOG_DEBUG_IN(PROCESS,
                     "joystickmap listsize[%d] index[%d]: name[%s] path[%s] vid[0x%x] pid[0x%x]",
                     static_cast<int>(list.size()), entry.slotIndex, entry.name.c_str(),
                     entry.path.c_str(), entry.vid, entry.pid);
  }
  return true;
}

// A host's layout choice for this model may land between the look-up of the stored choice and
// the moment the record takes its slot; its call then finds no controller in the slot. The
// look-up is then made again, so the controller starts with the latest choice all the same.
// Choices for other models leave the controller as it is.
void JoystickManager::IdentifyAndRecord(int32_t sdlIndex, JoystickDevice& device) {
  for (int attempt = 0; attempt < 3; ++attempt) {
    uint64_t choicesBefore = 0;
    {
      std::lock_guard<std::mutex> lock(mStateMutex);
      choicesBefore = ChoicesRecordedFor(device.vid, device.pid);
    }
    OpenOrCreateMapping(device);
    std::lock_guard<std::mutex> lock(mStateMutex);
    Joysticks[sdlIndex] = device;
    if (ChoicesRecordedFor(device.vid, device.pid) == choicesBefore) {
      return;
    }
  }
}

void JoystickManager::PollUntilChange() {
  PollRun run;
  while (mPolling.load() && !mStop.load()) {
    const std::chrono::milliseconds interval(mPollIntervalMs.load());
    if (!ListPolledJoysticks(run)) {
      break;
    }
    StartPoll(run, interval);
    mMotors.Apply(std::chrono::steady_clock::now());
    for (size_t position = 0; position < run.sdlIndexes.size(); ++position) {
      PollJoystick(run.sdlIndexes[position], run.controllers[position], run);
    }
    EndPoll(run, interval);
  }
}

// False when SDL's count differs from the run's controllers: the run is over.
bool JoystickManager::ListPolledJoysticks(PollRun& run) {
  const int attached = CountJoysticks();
  run.sdlIndexes.clear();
  {
    std::lock_guard<std::mutex> lock(mStateMutex);
    for (const auto& entry : Joysticks) {
      run.sdlIndexes.push_back(entry.first);
    }
  }
  if (attached != static_cast<int>(run.sdlIndexes.size())) {
    CPD_LOG_DEBUG_IN(PROCESS, "SDL numJoysticks[%d] Joysticks.size()[%d]", attached,
                     static_cast<int>(run.sdlIndexes.size()));
    mPolling.exchange(false);
    return false;
  }
  // The run's controllers never change while it lasts, so this sizes the list once.
  run.controllers.resize(run.sdlIndexes.size());
  return true;
}

// Decides whether this poll starts a 30 ms period. At the default interval every poll does.
void JoystickManager::StartPoll(PollRun& run, std::chrono::milliseconds interval) {
  if (interval >= POLL_PERIOD) {
    run.periodStart = true;
    run.fastSince = false;
    return;
  }
  const auto now = std::chrono::steady_clock::now();
  if (!run.fastSince) {
    run.fastSince = true;
    run.periodStart = true;
    run.nextPeriod = now + POLL_PERIOD;
    return;
  }
  run.periodStart = now >= run.nextPeriod;
  if (run.periodStart) {
    run.nextPeriod += POLL_PERIOD;
    if (run.nextPeriod <= now) {
      run.nextPeriod = now + POLL_PERIOD;  // late after a stall: no burst of catching up
    }
  }
}

void JoystickManager::EndPoll(PollRun& run, std::chrono::milliseconds interval) {
  if (run.periodStart) {
    run.counter = NextCount(run.counter);
  }
  WaitForWake(interval);
}

void JoystickManager::TakePollSnapshot(int32_t sdlIndex, PollSnapshot& snapshot) {
  std::lock_guard<std::mutex> lock(mStateMutex);
  snapshot.kind = PollSnapshot::Missing;
  const auto found = Joysticks.find(sdlIndex);
  if (found == Joysticks.end()) {
    return;
  }
  const JoystickDevice& device = found->second;
  snapshot.slotIndex = device.slotIndex;
  if (device._ptr == nullptr || device.slotIndex < 0) {
    snapshot.kind = PollSnapshot::Unusable;
    return;
  }
  if (device.vid == PEN_TABLET_VENDOR) {
    snapshot.kind = PollSnapshot::Ignored;
    if (snapshot.handle != device._ptr) {
      snapshot.handle = device._ptr;
      snapshot.name.assign(device.name);
    }
    return;
  }
  if (snapshot.handle != device._ptr) {
    snapshot.handle = device._ptr;
    snapshot.name.assign(device.name);
    snapshot.lastGamepad = device.lastGamepad;
    snapshot.mappingVersion = 0;
    snapshot.reader.ReserveForEveryControl();
  }
  if (snapshot.mappingVersion != mMappingVersion) {
    GetMappedInputs(device.mapping.bindings, snapshot.inputs);
    snapshot.bindings = SnapshotOf(device.mapping.bindings);
    snapshot.reader.Shape(snapshot.bindings, snapshot.inputs);
    snapshot.mappingVersion = mMappingVersion;
  }
  snapshot.kind = PollSnapshot::Ready;
}

// Only this thread writes the last state; the handle tells that the record is still the one the
// state was read from.
void JoystickManager::RecordLastGamepad(int32_t sdlIndex, SDL_Joystick* handle,
                                        const XboxGamepad& gamepad) {
  std::lock_guard<std::mutex> lock(mStateMutex);
  const auto found = Joysticks.find(sdlIndex);
  if (found != Joysticks.end() && found->second._ptr == handle) {
    found->second.lastGamepad = gamepad;
  }
}

// Between period starts (a poll interval below 30 ms), a controller sends only when its state
// changed, and its reads are not logged, so a short interval adds no packets while idle and no
// lines.
void JoystickManager::PollJoystick(int32_t sdlIndex, PollSnapshot& snapshot, PollRun& run) {
  TakePollSnapshot(sdlIndex, snapshot);
  if (snapshot.kind == PollSnapshot::Unusable) {
    if (run.periodStart) {
      CPD_LOG_DEBUG_IN(PROCESS, "joystick %d: _ptr is null index[%d]", sdlIndex,
                       snapshot.slotIndex);
    }
    return;
  }
  if (snapshot.kind == PollSnapshot::Ignored) {
    EndRunIfTabletLeft(snapshot);
    return;
  }
  if (snapshot.kind != PollSnapshot::Ready) {
    return;
  }
  XboxGamepad gamepad;
  snapshot.reader.Read(snapshot.handle, snapshot.bindings, snapshot.inputs, gamepad,
                       run.periodStart);
  const bool changed = !(gamepad == snapshot.lastGamepad);
  if (changed) {
    if (ShouldLogState(snapshot.lastGamepad, gamepad, run.counter, run.periodStart)) {
      LogState(snapshot, gamepad, run);
    }
    snapshot.lastGamepad = gamepad;
    RecordLastGamepad(sdlIndex, snapshot.handle, gamepad);
  }
  if (changed || run.periodStart) {
    const JoystickDataPacket packet = PacketOf(snapshot.slotIndex, snapshot.packetNumber, gamepad);
    NotifyData(&packet, static_cast<int32_t>(sizeof packet));
    ++snapshot.packetNumber;
  }
  if (SDL_JoystickGetAttached(snapshot.handle) == SDL_FALSE) {
    CPD_LOG_DEBUG_IN(PROCESS, "joystick[%s] detached", snapshot.name.c_str());
    NotifyEvent(EVENT_DEV_DETACHED, CPD_EVENT_RECORD(PROCESS_ORIGIN, snapshot.name + " detached"));
    mPolling.exchange(false);
  }
}

// A tablet is never polled, but its leaving ends the run like any controller's: a controller
// plugged in within the same poll keeps SDL's count unchanged and would otherwise not be opened
// until the count next changes.
void JoystickManager::EndRunIfTabletLeft(const PollSnapshot& snapshot) {
  if (SDL_JoystickGetAttached(snapshot.handle) == SDL_FALSE) {
    CPD_LOG_DEBUG("pen tablet [%s] detached", snapshot.name.c_str());
    mPolling.exchange(false);
  }
}

void JoystickManager::LogState(const PollSnapshot& snapshot, const XboxGamepad& gamepad,
                               PollRun& run) {
  const auto packetNumber = static_cast<int32_t>(snapshot.packetNumber);
  // One literal on one line: the log shows the message exactly as written here.
  CPD_LOG_DEBUG_IN(
      PROCESS,
      "joystick[%d][%s] dwPacketNumber[%d] wButtons[%x] bLeftTrigger[%u] bRightTrigger[%u] sThumbLX[%hd] sThumbLY[%hd] sThumbRX[%hd] sThumbRY[%hd]\n",
      snapshot.slotIndex, snapshot.name.c_str(), packetNumber, gamepad.wButtons,
      gamepad.bLeftTrigger, gamepad.bRightTrigger, gamepad.sThumbLX, gamepad.sThumbLY,
      gamepad.sThumbRX, gamepad.sThumbRY);
  const int32_t bucket = run.counter / DATA_EVENT_EVERY;
  if (bucket != run.lastEventBucket) {
    NotifyEvent(EVENT_DEV_SEND_DATA,
                CPD_EVENT_RECORD(PROCESS_ORIGIN, snapshot.name + " has joystick data:" +
                                                     std::to_string(packetNumber)));
    run.lastEventBucket = bucket;
  }
}

void JoystickManager::CloseJoysticks() {
  mMotors.StopAll();
  std::vector<SDL_Joystick*> handles;
  {
    std::lock_guard<std::mutex> lock(mStateMutex);
    for (const auto& entry : Joysticks) {
      handles.push_back(entry.second._ptr);
    }
    Joysticks.clear();
  }
  for (SDL_Joystick* handle : handles) {
    if (handle != nullptr) {  // controllers beyond the fourth were never opened
      SDL_JoystickClose(handle);
    }
  }
}

}  // namespace cpd
