// A host built against the installed package: it calls every exported function once.
#include <cpd_joystick/joystick_api.h>

#include <cstdio>

namespace {

class Listener : public CpdJoystickNotify {
 public:
  void OnJoystickData(const JoystickDataPacket* /*data*/, int32_t /*length*/) override {}
  void OnDevListUpdate() override {}
  void OnJoystickEvent(std::string /*event*/, const EventRecord& /*record*/) override {}
};

}  // namespace

int main() {
  Listener listener;
  if (JoysticAPI_RegsisterNotify(&listener) != 0 || JoysticAPI_GetMappingList().size() != 6 ||
      !JoysticAPI_GetDevList().empty() || JoysticAPI_Calibration(0) != 0 ||
      JoysticAPI_SetMapping(0, 6) >= 0 || JoysticAPI_UnregsisterNotify(&listener) != 0) {
    std::puts("unexpected answer from the installed library");
    return 1;
  }
  return 0;
}
