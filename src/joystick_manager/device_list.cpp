// The device list published to the host.
#include "joystick_manager/joystick_manager.h"

namespace cpd {

std::list<_CpdJoystickDeviceInfo> JoystickManager::GetDevList() {
  std::lock_guard<std::mutex> lock(mStateMutex);
  return mDevList;
}

}  // namespace cpd
