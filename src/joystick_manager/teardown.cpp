// What becomes of the polling thread when the host unloads the library (dlclose, FreeLibrary) or
// returns from main while a listener is still registered.
//
// While a polling thread may run, the library holds a reference to itself (ModuleReference; the
// Windows DLL is pinned instead), so a host's unload only drops the host's reference: the code
// the thread runs stays mapped, the thread goes on serving the listeners still registered, and
// the static objects below are destroyed only once the last reference goes. That is after the
// last listener has unregistered (no thread runs any more), or when the process exits.
//
// At exit the thread may still run in the library's code and use its static objects (event
// names, the policy store). So the first static object to be destroyed stops the thread: it is
// made at the first Init, after every object the library builds at load time, and static objects
// go in the reverse order of their making. Objects made later than it (the policy store's slot)
// answer "gone" once destroyed, which the polling thread already copes with.
#include <algorithm>
#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "common/log.h"
#include "joystick_manager/joystick_manager.h"
#include "joystick_manager/module_lifetime.h"
#include "joystick_mapping/sdl_input.h"

namespace cpd {

namespace {

constexpr std::chrono::milliseconds LOCK_RETRY{5};
// How often a stop that waits for the thread looks whether SDL_Init or SDL_Quit holds it up.
constexpr std::chrono::milliseconds LOADER_CHECK{25};

class TeardownAtUnload {
 public:
  explicit TeardownAtUnload(JoystickManager& manager) : mManager(manager) {}
  ~TeardownAtUnload() { mManager.Teardown(); }
  TeardownAtUnload(const TeardownAtUnload&) = delete;
  TeardownAtUnload& operator=(const TeardownAtUnload&) = delete;
  TeardownAtUnload(TeardownAtUnload&&) = delete;
  TeardownAtUnload& operator=(TeardownAtUnload&&) = delete;

 private:
  JoystickManager& mManager;
};

// A registration running on another thread holds the lifecycle lock only briefly, unless it is
// stuck in host code; then the teardown gives up rather than wait with it.
bool LockWithin(std::unique_lock<std::mutex>& lock, std::chrono::milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  while (!lock.try_lock()) {
    if (std::chrono::steady_clock::now() > deadline) {
      return false;
    }
    std::this_thread::sleep_for(LOCK_RETRY);
  }
  return true;
}

}  // namespace

void JoystickManager::ArmTeardown() {
  static TeardownAtUnload teardown(*GetInstance());
}

void JoystickManager::MarkThreadEnded() {
  std::lock_guard<std::mutex> lock(mEndMutex);
  mThreadEnded = true;
  mEndCond.notify_all();
}

bool JoystickManager::WaitForThreadEnd(std::chrono::milliseconds timeout) {
  std::unique_lock<std::mutex> lock(mEndMutex);
  return mEndCond.wait_for(lock, timeout, [this] { return mThreadEnded; });
}

JoystickManager::ThreadEnd JoystickManager::WaitForStoppedThread() {
  using Clock = std::chrono::steady_clock;
  const auto deadline = Clock::now() + THREAD_END_WAIT;
  std::unique_lock<std::mutex> lock(mEndMutex);
  while (!mThreadEnded) {
    const Clock::time_point now = Clock::now();
    const std::optional<Clock::time_point> since = InsideSdlLoaderCallSince();
    if (since && now - *since >= LOADER_WAIT) {
      return ThreadEnd::HELD_BY_LOADER;
    }
    if (now >= deadline) {
      return ThreadEnd::TIMED_OUT;
    }
    mEndCond.wait_for(lock, std::min<Clock::duration>(LOADER_CHECK, deadline - now));
  }
  return ThreadEnd::ENDED;
}

void JoystickManager::Teardown() {
  if (ProcessIsExiting()) {
    return;  // Windows has ended every other thread already; there is nothing left to stop
  }
  mTornDown.exchange(true);
  RequestStop();
  // Exit called from a listener, from the host's sink on the polling thread, or in the middle of
  // a registration: this thread cannot wait for the polling thread, which is told to stop only.
  if (RegistrationRefused()) {
    // On the polling thread itself the run never gets back to closing its controllers, so their
    // motors are stopped here, on the thread that owns SDL.
    if (OnPollingThread()) {
      mMotors.StopAll();
    }
    return;
  }
  std::unique_lock<std::mutex> lifecycle(mLifecycleMutex, std::defer_lock);
  if (!LockWithin(lifecycle, THREAD_END_WAIT)) {
    CPD_LOG_ERROR("unload: a registration is still running, polling thread left to stop alone");
    return;
  }
  // Also a thread an earlier stop left to end alone.
  if (!WaitForThreadEnd(THREAD_END_WAIT)) {
    CPD_LOG_ERROR("unload: polling thread did not stop within %d ms, left running",
                  static_cast<int>(THREAD_END_WAIT.count()));
    for (std::unique_ptr<std::thread>* thread : {&mThread, &mLeftThread}) {
      if (*thread) {
        (*thread)->detach();
        thread->reset();
      }
    }
    return;
  }
  for (std::unique_ptr<std::thread>* thread : {&mThread, &mLeftThread}) {
    if (*thread) {
      (*thread)->join();
      thread->reset();
    }
  }
  ReleaseState();
}

void JoystickManager::ReleaseState() {
  mListeners.Clear();
  {
    std::lock_guard<std::mutex> lock(mStateMutex);
    Joysticks.clear();
    mDevList.reset();
    mMappingList.clear();
    mChoicesByModel.clear();
  }
  mSlotPaths.clear();  // only the polling thread uses it, and none runs any more
}

}  // namespace cpd
