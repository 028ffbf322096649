// The listener a Windows host declares when it loads the bridge with LoadLibrary: it has no
// import library to bind CpdJoystickNotify's members to, so it declares the interface itself,
// slot for slot, as the public header allows. The bridge calls only the three handlers through
// the vtable.
#pragma once

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

}  // namespace cpd::test
