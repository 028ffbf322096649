// The exported functions. Each forwards to the manager operation of the same stem; none lets an
// exception reach the host.
#include <exception>

#include "common/log.h"
#include "cpd_joystick/joystick_api.h"
#include "joystick_manager/joystick_manager.h"
#include "joystick_manager/module_lifetime.h"

CpdJoystickNotify::~CpdJoystickNotify() = default;

namespace {

template <typename Result, typename Call>
Result CallManager(const char* exportName, Result onFailure, Call call) {
  try {
    cpd::PinThisModule();
    return call(*cpd::JoystickManager::GetInstance());
  } catch (const std::exception& error) {
    CPD_LOG_ERROR("%s failed: %s", exportName, error.what());
  } catch (...) {
    CPD_LOG_ERROR("%s failed: non-standard exception", exportName);
  }
  return onFailure;
}

}  // namespace

int32_t JoysticAPI_RegsisterNotify(CpdJoystickNotify* notify) {
  return CallManager(
      __func__, 0, [&](cpd::JoystickManager& manager) { return manager.RegsisterNotify(notify); });
}

int32_t JoysticAPI_UnregsisterNotify(CpdJoystickNotify* notify) {
  return CallManager(__func__, 0, [&](cpd::JoystickManager& manager) {
    return manager.UnregsisterNotify(notify);
  });
}

std::list<_CpdJoystickDeviceInfo> JoysticAPI_GetDevList() {
  return CallManager(__func__, std::list<_CpdJoystickDeviceInfo>(),
                     [](cpd::JoystickManager& manager) { return manager.GetDevList(); });
}

std::list<_CpdJoystickMappingInfo> JoysticAPI_GetMappingList() {
  return CallManager(__func__, std::list<_CpdJoystickMappingInfo>(),
                     [](cpd::JoystickManager& manager) { return manager.GetMappingList(); });
}

int32_t JoysticAPI_SetMapping(uint16_t index, uint16_t mappingIndex) {
  return CallManager(__func__, -1, [&](cpd::JoystickManager& manager) {
    return manager.SetMapping(index, mappingIndex);
  });
}

int32_t JoysticAPI_Calibration(uint16_t index) {
  return CallManager(__func__, 0,
                     [&](cpd::JoystickManager& manager) { return manager.Calibration(index); });
}

int32_t JoysticAPI_SetPollInterval(uint16_t milliseconds) {
  return CallManager(__func__, -1, [&](cpd::JoystickManager& manager) {
    return manager.SetPollInterval(milliseconds);
  });
}
