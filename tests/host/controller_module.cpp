// A host's controller module, as a plugin the host loads and unloads: it links the library, so
// unloading the module unloads the library with it. It registers one listener and
// unregisters the listener when it is unloaded, from its static destructor: that runs inside
// the host's dlclose, with the loader's lock held.
#include "cpd_joystick/joystick_api.h"

// What the host finds with dlsym.
extern "C" {
__attribute__((visibility("default"))) int controller_module_register();
}

namespace {

class QuietListener : public CpdJoystickNotify {
 public:
  void OnJoystickData(const JoystickDataPacket* /*data*/, int32_t /*length*/) override {}
  void OnDevListUpdate() override {}
  void OnJoystickEvent(std::string /*event*/, const EventRecord& /*record*/) override {}
};

// Made before, and so destroyed after, the unregistration below. (No placement new here: in an
// unoptimised build it would be exported from the module, the library's own dependencies would
// bind to it, and the module could not be unloaded before them.)
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

extern "C" __attribute__((visibility("default"))) int controller_module_register() {
  gRegistered = true;
  return JoysticAPI_RegsisterNotify(&gListener);
}
