// What a Windows host that loads the bridge with LoadLibrary needs of it: the registration
// exports, found by name, and a listener. It has no import library to bind CpdJoystickNotify's
// members to, so it declares the interface itself, slot for slot, as the public header allows;
// the bridge calls only the three handlers through the vtable.
#pragma once

#include <windows.h>

#include <atomic>
#include <string>

#include "cpd_joystick/joystick_api.h"

namespace cpd::test {

class RunTimeListener {
 public:
  RunTimeListener() = default;
  RunTimeListener(const RunTimeListener&) = delete;
  RunTimeListener& operator=(const RunTimeListener&) = delete;
  virtual ~RunTimeListener() = default;
  virtual void OnJoystickData(const JoystickDataPacket* /*data*/, int32_t /*length*/) {
    packets.fetch_add(1);
  }
  virtual void OnDevListUpdate() {}
  // By value, as the interface passes it.
  // NOLINTNEXTLINE(performance-unnecessary-value-param)
  virtual void OnJoystickEvent(std::string /*event*/, const EventRecord& /*record*/) {}

  CpdJoystickNotify* AsNotify() { return reinterpret_cast<CpdJoystickNotify*>(this); }

  std::atomic<int> packets{0};
};

using RegisterCall = int32_t (*)(CpdJoystickNotify*);

// The two registration exports, by their C++ names (GCC's mangling), as a host's linker would
// bind them; null where the module has none.
struct RegistrationExports {
  RegisterCall registerNotify = nullptr;
  RegisterCall unregisterNotify = nullptr;
};

inline RegistrationExports FindRegistrationExports(HMODULE bridge) {
  // GetProcAddress answers a generic function pointer; the exports' real type is known here.
  const auto find = [bridge](const char* name) {
    return reinterpret_cast<RegisterCall>(reinterpret_cast<void*>(GetProcAddress(bridge, name)));
  };
  return {find("_Z26JoysticAPI_RegsisterNotifyP17CpdJoystickNotify"),
          find("_Z28JoysticAPI_UnregsisterNotifyP17CpdJoystickNotify")};
}

}  // namespace cpd::test
