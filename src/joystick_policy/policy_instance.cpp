// The static slot that holds the one JoystickPolicy.
//
// The slot is a function-local static made only after the first instance has been loaded. Its
// destructor is therefore registered after whatever the store and the log sink set up while the
// document was read, and at exit or unload it runs before theirs: the watcher's last write and
// last log line still find both alive.
//
// The first instance is loaded without any lock held: loading calls the host's secure store,
// which may be slow and may itself call into the library. Other threads that ask meanwhile wait
// for it, but not for ever: the store is the host's code, and a waiter may be the polling thread
// (a stop waits for it) or a host thread. A call made from inside the store on the loading thread
// gets no policy store.
#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <new>
#include <thread>

#include "common/log.h"
#include "joystick_policy/joystick_policy.h"

namespace cpd {

namespace {

// Well below the 1.5 s a stop waits for the polling thread; the default store itself gives up on
// a held store after about 2 s.
constexpr std::chrono::milliseconds LOADING_WAIT{1000};

std::shared_ptr<JoystickPolicy> StartedPolicy() {
  try {
    auto policy = std::make_shared<JoystickPolicy>();
    policy->Init();
    return policy;
  } catch (const std::exception& error) {
    CPD_LOG_ERROR("cannot create the policy store: %s\n", error.what());
  }
  return nullptr;
}

// All trivially destructible, so they stay usable by callers that come after the release.
std::mutex gSlotMutex;
bool gSlotReleased = false;
bool gLoading = false;
std::thread::id gLoadingThread;

// Never destroyed, for the same reason; made in the library's own storage, so that unloading
// the library leaves nothing allocated behind.
alignas(std::condition_variable) unsigned char gLoadingDoneStorage[sizeof(std::condition_variable)];

std::condition_variable& LoadingDone() {
  static auto* done = new (gLoadingDoneStorage) std::condition_variable();
  return *done;
}

struct InstanceSlot {
  std::shared_ptr<JoystickPolicy> instance;

  explicit InstanceSlot(std::shared_ptr<JoystickPolicy> first) : instance(std::move(first)) {}
  InstanceSlot(const InstanceSlot&) = delete;
  InstanceSlot& operator=(const InstanceSlot&) = delete;
  InstanceSlot(InstanceSlot&&) = delete;
  InstanceSlot& operator=(InstanceSlot&&) = delete;

  // The last reference is dropped outside the slot lock: its destructor joins the watcher.
  ~InstanceSlot() {
    std::shared_ptr<JoystickPolicy> last;
    {
      std::lock_guard<std::mutex> lock(gSlotMutex);
      gSlotReleased = true;
      last.swap(instance);
    }
  }
};

// Null until the first instance has been loaded. Guarded by gSlotMutex.
InstanceSlot* gSlot = nullptr;

void Publish(std::shared_ptr<JoystickPolicy> loaded) {
  if (gSlot == nullptr) {
    static InstanceSlot slot(std::move(loaded));
    gSlot = &slot;
  } else {
    gSlot->instance = std::move(loaded);
  }
}

}  // namespace

std::shared_ptr<JoystickPolicy> JoystickPolicy::Existing() {
  std::lock_guard<std::mutex> lock(gSlotMutex);
  return gSlotReleased || gSlot == nullptr ? nullptr : gSlot->instance;
}

std::shared_ptr<JoystickPolicy> JoystickPolicy::GetInstance() {
  std::unique_lock<std::mutex> lock(gSlotMutex);
  if (!LoadingDone().wait_for(lock, LOADING_WAIT, [] {
        return gSlotReleased || !gLoading || gLoadingThread == std::this_thread::get_id();
      })) {
    lock.unlock();
    CPD_LOG_ERROR("policy store did not load within %d ms, going on without it",
                  static_cast<int>(LOADING_WAIT.count()));
    return nullptr;
  }
  if (gSlotReleased) {
    return nullptr;
  }
  if (gSlot != nullptr && gSlot->instance != nullptr) {
    return gSlot->instance;
  }
  if (gLoading) {
    lock.unlock();
    CPD_LOG_ERROR("policy store asked for while it is being loaded on this thread\n");
    return nullptr;
  }
  gLoading = true;
  gLoadingThread = std::this_thread::get_id();
  lock.unlock();
  std::shared_ptr<JoystickPolicy> loaded = StartedPolicy();
  lock.lock();
  gLoading = false;
  gLoadingThread = std::thread::id();
  LoadingDone().notify_all();
  if (gSlotReleased) {
    lock.unlock();  // the store is going away already: this instance ends with the call
    return nullptr;
  }
  Publish(std::move(loaded));
  return gSlot->instance;
}

}  // namespace cpd
