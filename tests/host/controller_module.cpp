// A host's controller module, as a plugin the host loads and unloads: it links the library, so
// unloading the module unloads the library with it. It registers one listener and counts packets.
#include <atomic>
#include <cstddef>
#include <new>

#include "cpd_joystick/joystick_api.h"

// What the host finds with dlsym.
extern "C" {
__attribute__((visibility("default"))) int controller_module_register();
__attribute__((visibility("default"))) int controller_module_unregister();
__attribute__((visibility("default"))) size_t controller_module_packets();
}

namespace {

class CountingListener : public CpdJoystickNotify {
 public:
  void OnJoystickData(const JoystickDataPacket* /*data*/, int32_t /*length*/) override {
    mPackets.fetch_add(1);
  }
  void OnDevListUpdate() override {}
  void OnJoystickEvent(std::string /*event*/, const EventRecord& /*record*/) override {}
  size_t Packets() const { return mPackets.load(); }

 private:
  std::atomic<size_t> mPackets{0};
};

// Kept in the module's own storage and never destroyed: a listener still registered when the
// module goes must stay callable until the library's teardown has stopped the polling thread.
alignas(CountingListener) unsigned char gListenerStorage[sizeof(CountingListener)];
CountingListener* gListener = nullptr;

}  // namespace

extern "C" __attribute__((visibility("default"))) int controller_module_register() {
  if (gListener == nullptr) {
    gListener = new (gListenerStorage) CountingListener();
  }
  return JoysticAPI_RegsisterNotify(gListener);
}

extern "C" __attribute__((visibility("default"))) int controller_module_unregister() {
  return JoysticAPI_UnregsisterNotify(gListener);
}

extern "C" __attribute__((visibility("default"))) size_t controller_module_packets() {
  return gListener != nullptr ? gListener->Packets() : 0;
}
