// The static slot that holds the one JoystickPolicy.
//
// The slot is a function-local static made only after the first instance has been loaded. Its
// destructor is therefore registered after whatever the store and the log sink set up while the
// document was read, and at exit or unload it runs before theirs: the watcher's last write and
// last log line still find both alive.
#include <exception>
#include <mutex>

#include "common/log.h"
#include "joystick_policy/joystick_policy.h"

namespace cpd {

namespace {

// Both trivially destructible, so they stay usable by callers that come after the release.
std::mutex gSlotMutex;
bool gSlotReleased = false;

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

struct InstanceSlot {
  std::shared_ptr<JoystickPolicy> instance;

  InstanceSlot() : instance(StartedPolicy()) {}
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

}  // namespace

std::shared_ptr<JoystickPolicy> JoystickPolicy::GetInstance() {
  std::lock_guard<std::mutex> lock(gSlotMutex);
  if (gSlotReleased) {
    return nullptr;
  }
  static InstanceSlot slot;
  if (slot.instance == nullptr) {
    slot.instance = StartedPolicy();
  }
  return slot.instance;
}

}  // namespace cpd
