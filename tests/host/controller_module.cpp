// A host's controller module, as a plugin the host loads and unloads: it links the library,
// registers one listener, and unregisters it when it is unloaded, from its static destructor,
// which runs inside the host's dlclose with the loader's lock held. Once polling has stopped the
// library goes with the module.
#include "cpd_joystick/joystick_api.h"

namespace {

class QuietListener : public CpdJoystickNotify {
 public:
  void OnJoystickData(const JoystickDataPacket* /*data*/, int32_t /*length*/) override {}
  void OnDevListUpdate() override {}
  void OnJoystickEvent(std::string /*event*/, const EventRecord& /*record*/) override {}
};

// Made before, and so destroyed after, the unregistration below.
QuietListener gListener;
bool gRegistered = false;

struct UnregisterAtUnload {
  UnregisterAtUnload() = default;
  UnregisterAtUnload(const UnregisterAtUnload&) = delete;
  UnregisterAtUnload& operator=(const UnregisterAtUnload&) = delete;
  ~UnregisterAtUnload() {
    if (gRegistered) {
      JoysticAPI_UnregsisterNotify(&gListener);
    }
  }
};
UnregisterAtUnload gUnregisterAtUnload;

}  // namespace

// What the host finds with dlsym.
extern "C" __attribute__((visibility("default"))) int controller_module_register();

extern "C" __attribute__((visibility("default"))) int controller_module_register() {
  gRegistered = true;
  return JoysticAPI_RegsisterNotify(&gListener);
}
