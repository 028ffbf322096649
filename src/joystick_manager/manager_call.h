// One call into the manager from an exported function, C or C++: no exception reaches the host.
#pragma once

#include <exception>

#include "common/log.h"
#include "joystick_manager/joystick_manager.h"
#include "joystick_manager/module_lifetime.h"

namespace cpd {

// Runs `call` on the manager and returns its result, or `onFailure` after an error line naming
// `exportName` when it throws.
template <typename Result, typename Call>
Result CallManager(const char* exportName, Result onFailure, Call call) {
  try {
    PinThisModule();
    return call(*JoystickManager::GetInstance());
  } catch (const std::exception& error) {
    CPD_LOG_ERROR("%s failed: %s", exportName, error.what());
  } catch (...) {
    CPD_LOG_ERROR("%s failed: non-standard exception", exportName);
  }
  return onFailure;
}

}  // namespace cpd
