#include "joystick_manager/joystick_manager.h"

#include <cstdlib>
#include <exception>
#include <new>
#include <utility>

#include "common/log.h"
#include "joystick_policy/joystick_policy.h"

namespace cpd {

namespace {

std::atomic<JoystickManager*> gInstance{nullptr};
alignas(JoystickManager) unsigned char gInstanceStorage[sizeof(JoystickManager)];
std::mutex gInstanceMutex;

constexpr std::chrono::milliseconds STORE_WAIT_AT_STOP{2000};

// True on the polling thread. A registration made there from anywhere else (the host's log sink,
// its secure store) would join the thread that makes it.
thread_local bool tOnPollingThread = false;
// True while this thread is inside a registration. The host's log sink runs in the middle of one
// and must not start another, which would wait for the lifecycle lock its own thread holds.
thread_local bool tInsideRegistration = false;

// Sets a thread-local flag for the life of a scope.
class FlagScope {
 public:
  explicit FlagScope(bool& flag) : mFlag(flag) { mFlag = true; }
  ~FlagScope() { mFlag = false; }
  FlagScope(const FlagScope&) = delete;
  FlagScope& operator=(const FlagScope&) = delete;

 private:
  bool& mFlag;
};

// Why a registration call made now must be refused, or null when it may go ahead.
const char* RegistrationRefusal() {
  if (ListenerRegistry::InsideCallback()) {
    return "from inside a callback";
  }
  if (tOnPollingThread) {
    return "from the polling thread";
  }
  if (tInsideRegistration) {
    return "from inside another registration";
  }
  return nullptr;
}

// The interval a process starts with, from CPD_JOYSTICK_POLL_MS when that holds 1..30.
struct StartingInterval {
  uint16_t milliseconds = DEFAULT_POLL_INTERVAL_MS;
  const char* rejected = nullptr;  // the variable's text when it was not a usable interval
};

StartingInterval ReadStartingInterval() {
  StartingInterval starting;
  const char* text = std::getenv("CPD_JOYSTICK_POLL_MS");
  if (text == nullptr) {
    return starting;
  }
  char* end = nullptr;
  const long value = std::strtol(text, &end, 10);
  if (end == text || *end != '\0' || value < MIN_POLL_INTERVAL_MS ||
      value > DEFAULT_POLL_INTERVAL_MS) {
    starting.rejected = text;
  } else {
    starting.milliseconds = static_cast<uint16_t>(value);
  }
  return starting;
}

}  // namespace

JoystickManager::JoystickManager() : mPollIntervalMs(ReadStartingInterval().milliseconds) {}

JoystickManager* JoystickManager::GetInstance() {
  JoystickManager* instance = gInstance.load(std::memory_order_acquire);
  if (instance != nullptr) {
    return instance;
  }
  bool created = false;
  {
    std::lock_guard<std::mutex> lock(gInstanceMutex);
    instance = gInstance.load(std::memory_order_relaxed);
    if (instance == nullptr) {
      // Never destroyed, since hosts may call in until the very end; made in the library's own
      // storage, so that unloading the library leaves nothing allocated behind.
      instance = new (gInstanceStorage) JoystickManager();
      gInstance.store(instance, std::memory_order_release);
      created = true;
    }
  }
  if (created) {
    if (const char* rejected = ReadStartingInterval().rejected) {
      CPD_LOG_ERROR("CPD_JOYSTICK_POLL_MS=%s ignored: the poll interval is 1 to 30 ms", rejected);
    }
  }
  return instance;
}

int32_t JoystickManager::Init() {
  CPD_LOG_DEBUG("");
  ArmTeardown();
  bool stillRunning = false;
  {
    std::lock_guard<std::mutex> lock(mEndMutex);
    // A thread an earlier stop left to end alone that has not ended yet polls again instead of
    // ending, so no two threads share SDL and this registration waits for nothing.
    stillRunning = !mThreadEnded;
    mRestart = stillRunning;
  }
  if (stillRunning) {
    mThread = std::move(mLeftThread);
  } else {
    if (mLeftThread) {
      mLeftThread->join();  // it has ended: returns at once
      mLeftThread.reset();
    }
    StartThread();
  }
  BuildMappingList();
  return 0;
}

void JoystickManager::StartThread() {
  {
    std::lock_guard<std::mutex> lock(mEndMutex);
    mThreadEnded = false;
  }
  mStop.exchange(false);
  try {
    mThread = std::make_unique<std::thread>([this] { RunThread(); });
  } catch (...) {
    MarkThreadEnded();
    throw;
  }
}

void JoystickManager::RunThread() {
  for (;;) {
    process();
    std::lock_guard<std::mutex> lock(mEndMutex);
    if (!mRestart) {
      mThreadEnded = true;
      mEndCond.notify_all();
      return;
    }
    mRestart = false;
    mStop.exchange(false);
  }
}

int32_t JoystickManager::Stop() {
  CPD_LOG_DEBUG("begin");
  RequestStop();
  if (mThread) {
    // Bounded: a host that unregisters from a module's destructor during dlclose holds the
    // loader's lock, which the thread needs to leave SDL_Init or SDL_Quit; a listener or the
    // host's sink may not return. A thread left to end alone keeps the library held, so the
    // code it runs stays mapped; it is joined once it has ended.
    switch (WaitForStoppedThread()) {
      case ThreadEnd::ENDED:
        mThread->join();
        mThread.reset();
        break;
      case ThreadEnd::HELD_BY_LOADER:
        CPD_LOG_DEBUG("polling thread held up in SDL_Init or SDL_Quit, left to end alone");
        mLeftThread = std::move(mThread);
        break;
      case ThreadEnd::TIMED_OUT:
        CPD_LOG_ERROR("polling thread did not stop within %d ms, left to end alone",
                      static_cast<int>(THREAD_END_WAIT.count()));
        mLeftThread = std::move(mThread);
        break;
    }
  }
  JoinLeftThreadIfEnded();
  CPD_LOG_DEBUG("end");
  return 0;
}

void JoystickManager::JoinLeftThreadIfEnded() {
  if (mLeftThread && WaitForThreadEnd(std::chrono::milliseconds(0))) {
    mLeftThread->join();
    mLeftThread.reset();
  }
}

ModuleReference JoystickManager::ReleasableModuleHold() {
  if (mThread || mLeftThread) {
    return ModuleReference();
  }
  return std::move(mModuleHold);
}

void JoystickManager::RequestStop() {
  {
    std::lock_guard<std::mutex> lock(mEndMutex);
    mRestart = false;
  }
  mStop.exchange(true);
  mPolling.exchange(false);
  // Notifying under the wake mutex means the polling thread is either already waiting (and
  // wakes) or has not yet tested the stop flag (and sees it).
  std::lock_guard<std::mutex> lock(mWakeMutex);
  mWakeCond.notify_all();
}

void JoystickManager::MarkPollingThread() {
  tOnPollingThread = true;
}

bool JoystickManager::OnPollingThread() {
  return tOnPollingThread;
}

JoystickManager::ListenerChange JoystickManager::RegsisterNotify(CpdJoystickNotify* notify) {
  CPD_LOG_DEBUG("%p", static_cast<void*>(notify));
  if (const char* refusal = RegistrationRefusal()) {
    CPD_LOG_ERROR("%p refused: listeners must not register %s", static_cast<void*>(notify),
                  refusal);
    return ListenerChange::REFUSED;
  }
  if (notify == nullptr) {
    CPD_LOG_ERROR("null listener ignored");
    return ListenerChange::REFUSED;
  }
  // Taken before the library's locks, since it takes the loader's; dropped after them unless
  // polling starts with it.
  ModuleReference reference = ModuleReference::ToThisModule();
  FlagScope registering(tInsideRegistration);
  std::lock_guard<std::mutex> lifecycle(mLifecycleMutex);
  if (mTornDown.load()) {
    CPD_LOG_ERROR("%p refused: the library is being unloaded", static_cast<void*>(notify));
    return ListenerChange::REFUSED;
  }
  mListeners.Add(notify);
  if (mThread) {
    return ListenerChange::DONE;
  }
  if (!mModuleHold) {
    std::swap(mModuleHold, reference);
  }
  Init();
  return ListenerChange::DONE;
}

JoystickManager::ListenerChange JoystickManager::UnregsisterNotify(CpdJoystickNotify* notify) {
  CPD_LOG_DEBUG("%p", static_cast<void*>(notify));
  if (const char* refusal = RegistrationRefusal()) {
    CPD_LOG_ERROR("%p refused: listeners must not unregister %s", static_cast<void*>(notify),
                  refusal);
    return ListenerChange::REFUSED;
  }
  ModuleReference released;  // dropped after the library's locks, since that takes the loader's
  bool stopped = false;
  {
    FlagScope unregistering(tInsideRegistration);
    std::lock_guard<std::mutex> lifecycle(mLifecycleMutex);
    if (mListeners.Remove(notify)) {
      Stop();
      released = ReleasableModuleHold();
      stopped = true;
    }
  }
  return stopped ? ListenerChange::STOPPED : ListenerChange::DONE;
}

// A host that exits right after its last unregistration would otherwise lose a layout choice
// that the watcher has not written yet: where the system ends a process's threads before its
// libraries' destructors run, no later write can happen. Bounded, so a refusing store holds up
// the unregistration only briefly.
void JoystickManager::WaitForLayoutChoicesStored() {
  if (const std::shared_ptr<JoystickPolicy> policy = JoystickPolicy::Existing()) {
    if (!policy->WaitUntilStored(STORE_WAIT_AT_STOP)) {
      CPD_LOG_ERROR("a layout choice was not stored yet when polling stopped");
    }
  }
}

int32_t JoystickManager::SetPollInterval(uint16_t milliseconds) {
  if (const char* refusal = RegistrationRefusal()) {
    CPD_LOG_ERROR("interval[%d] refused: the poll interval must not be set %s", milliseconds,
                  refusal);
    return -1;
  }
  if (milliseconds < MIN_POLL_INTERVAL_MS || milliseconds > DEFAULT_POLL_INTERVAL_MS) {
    CPD_LOG_ERROR("interval[%d] refused: the poll interval is 1 to 30 ms", milliseconds);
    return -1;
  }
  CPD_LOG_DEBUG("interval[%d]", milliseconds);
  mPollIntervalMs = milliseconds;
  return 0;
}

// A game sends as often as it likes, so nothing here logs or waits: the polling thread applies
// the latest request of each slot when woken.
int32_t JoystickManager::SetVibration(uint16_t index, MotorSpeeds speeds) {
  const MotorRequests::Result result = mMotorRequests.Request(index, speeds);
  if (result.wake) {
    std::lock_guard<std::mutex> lock(mWakeMutex);
    mWakeCond.notify_one();
  }
  switch (result.answer) {
    case MotorRequests::Answer::TAKEN:
      return 0;
    case MotorRequests::Answer::NO_MOTORS:
      return -2;
    case MotorRequests::Answer::NO_CONTROLLER:
      break;
  }
  return -1;
}

bool JoystickManager::RegistrationRefused() {
  return RegistrationRefusal() != nullptr;
}

// Kept for hosts that call it; there is nothing to calibrate.
// NOLINTNEXTLINE(readability-convert-member-functions-to-static): part of the manager's interface
int32_t JoystickManager::Calibration(uint16_t /*index*/) {
  return 0;
}

void JoystickManager::NotifyData(const JoystickDataPacket* data, int32_t length) {
  mListeners.NotifyData(data, length);
}

void JoystickManager::NotifyEvent(const std::string& event, const EventRecord& record) {
  mListeners.NotifyEvent(event, record);
}

void JoystickManager::NotifyDevListUpdate() {
  mListeners.NotifyDevListUpdate();
}

// Motor requests are applied as they come, but the wait still ends when it would have without
// them, so they never add, move or drop a packet.
void JoystickManager::WaitForWake(std::chrono::milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  std::unique_lock<std::mutex> lock(mWakeMutex);
  while (mWakeCond.wait_until(lock, deadline,
                              [this] { return mStop.load() || mMotorRequests.HasNews(); })) {
    if (mStop.load()) {
      return;
    }
    lock.unlock();
    mMotors.Apply(std::chrono::steady_clock::now());
    lock.lock();
  }
}

}  // namespace cpd
