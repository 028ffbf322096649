// What becomes of the polling thread when the host unloads the library (dlclose, FreeLibrary) or
// returns from main while a listener is still registered.
//
// Either way the library's static objects are destroyed while the polling thread may still run
// in its code and use them (event names, the policy store), and an unload then unmaps that code.
// So the first static object to be destroyed stops the thread: it is made at the first Init, after
// every object the library builds at load time, and static objects go in the reverse order of
// their making. Objects made later than it (the policy store's slot) answer "gone" once
// destroyed, which the polling thread already copes with.
#include <chrono>
#include <mutex>
#include <thread>

#include "common/log.h"
#include "joystick_manager/joystick_manager.h"
#include "joystick_manager/module_lifetime.h"

namespace cpd {

namespace {

// The thread notices a stop within one poll period, or after the controller it is opening; a
// thread still running after this is stuck in host code (a listener, the log sink) and is left.
constexpr std::chrono::milliseconds THREAD_END_WAIT{1500};
constexpr std::chrono::milliseconds LOCK_RETRY{5};

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

void JoystickManager::Teardown() {
  if (ProcessIsExiting()) {
    return;  // Windows has ended every other thread already; there is nothing left to stop
  }
  mTornDown.exchange(true);
  mStop.exchange(true);
  mPolling.exchange(false);
  {
    std::lock_guard<std::mutex> lock(mWakeMutex);
    mWakeCond.notify_all();
  }
  // Exit called from a listener, from the host's sink on the polling thread, or in the middle of
  // a registration: this thread cannot wait for the polling thread, which is told to stop only.
  if (InsideLibraryCall()) {
    return;
  }
  std::unique_lock<std::mutex> lifecycle(mLifecycleMutex, std::defer_lock);
  if (!LockWithin(lifecycle, THREAD_END_WAIT)) {
    CPD_LOG_ERROR("unload: a registration is still running, polling thread left to stop alone");
    return;
  }
  if (mThread) {
    if (!WaitForThreadEnd(THREAD_END_WAIT)) {
      CPD_LOG_ERROR("unload: polling thread did not stop within %d ms, left running",
                    static_cast<int>(THREAD_END_WAIT.count()));
      mThread->detach();
      mThread.reset();
      return;
    }
    mThread->join();
    mThread.reset();
  }
  ReleaseState();
}

void JoystickManager::ReleaseState() {
  {
    std::lock_guard<std::mutex> lock(mNotifyMutex);
    mNotifyList.clear();
  }
  {
    std::lock_guard<std::mutex> lock(mStateMutex);
    Joysticks.clear();
    mDevList.clear();
    mMappingList.clear();
  }
  mSlotPaths.clear();  // only the polling thread uses it, and none runs any more
}

}  // namespace cpd
