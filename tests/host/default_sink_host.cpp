// A minimal host without a log sink of its own: it starts and stops polling once, so the
// library's lines go to the default sink.
#include "cpd_joystick/joystick_api.h"

namespace {

class SilentListener : public CpdJoystickNotify {
 public:
  void OnJoystickData(const JoystickDataPacket* /*data*/, int32_t /*length*/) override {}
  void OnDevListUpdate() override {}
  void OnJoystickEvent(std::string /*event*/, const EventRecord& /*record*/) override {}
};

}  // namespace

int main() {
  SilentListener listener;
  JoysticAPI_RegsisterNotify(&listener);
  JoysticAPI_UnregsisterNotify(&listener);
  return 0;
}
