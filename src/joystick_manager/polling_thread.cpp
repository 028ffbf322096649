// The body of the polling thread.
#include "common/log.h"
#include "joystick_manager/joystick_manager.h"

namespace cpd {

namespace {
constexpr std::chrono::milliseconds IDLE_WAIT{2000};
}  // namespace

void JoystickManager::process() {
  CPD_LOG_DEBUG("joystick process enter\n");
  // Staged: controllers are not opened or polled yet. Until they are, the thread only waits on
  // the wake condition until it is asked to stop, so that the lifecycle around it is real.
  while (!mStop.load()) {
    WaitForWake(IDLE_WAIT);
  }
  CPD_LOG_DEBUG("joystick exit\n");
}

}  // namespace cpd
