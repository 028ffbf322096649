// The exported functions. Each forwards to the manager operation of the same stem; none lets an
// exception reach the host.
#include "cpd_joystick/joystick_api.h"
#include "joystick_manager/manager_call.h"

CpdJoystickNotify::~CpdJoystickNotify() = default;

using cpd::CallManager;
using Change = cpd::JoystickManager::ListenerChange;

// Both answer 0 whatever happened, as hosts have always seen; the error line says what went wrong.
int32_t JoysticAPI_RegsisterNotify(CpdJoystickNotify* notify) {
  CallManager(__func__, Change::REFUSED,
              [&](cpd::JoystickManager& manager) { return manager.RegsisterNotify(notify); });
  return 0;
}

int32_t JoysticAPI_UnregsisterNotify(CpdJoystickNotify* notify) {
  const Change change = CallManager(__func__, Change::REFUSED, [&](cpd::JoystickManager& manager) {
    return manager.UnregsisterNotify(notify);
  });
  if (change == Change::STOPPED) {
    cpd::JoystickManager::WaitForLayoutChoicesStored();
  }
  return 0;
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

int32_t JoysticAPI_SetVibration(uint16_t index, uint16_t lowFrequency, uint16_t highFrequency) {
  return CallManager(__func__, -1, [&](cpd::JoystickManager& manager) {
    return manager.SetVibration(index, cpd::MotorSpeeds{lowFrequency, highFrequency});
  });
}
