// The smallest useful host of the joystick bridge: it registers a listener, prints the device
// list each time the library publishes it and the first few packets, then unregisters.
#include <cpd_joystick/joystick_api.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <mutex>

namespace {

constexpr int PACKETS_SHOWN = 5;
constexpr std::chrono::seconds LISTEN_FOR{3};

class PrintingListener : public CpdJoystickNotify {
 public:
  // Called on the library's thread about every 30 ms per controller.
  void OnJoystickData(const JoystickDataPacket* data, int32_t length) override {
    JoystickDataPacket packet{};
    std::memcpy(&packet, data, sizeof packet);  // packed: copy it out before reading fields
    std::lock_guard<std::mutex> lock(mMutex);
    if (mPackets < PACKETS_SHOWN) {
      std::printf("packet slot %u #%u (%d bytes): buttons 0x%04x triggers %u/%u\n", packet.slot,
                  packet.dwPacketNumber, length, packet.wButtons, packet.bLeftTrigger,
                  packet.bRightTrigger);
      ++mPackets;
      mChanged.notify_all();
    }
  }

  void OnDevListUpdate() override {
    const std::list<_CpdJoystickDeviceInfo> devices = JoysticAPI_GetDevList();
    std::printf("%zu controller(s)\n", devices.size());
    for (const _CpdJoystickDeviceInfo& device : devices) {
      std::printf("  slot %u  %04x:%04x  layout %u  %s\n", device.index, device.vid, device.pid,
                  device.mappingIndex, device.name.c_str());
    }
  }

  void OnJoystickEvent(std::string event, const EventRecord& /*record*/) override {
    std::printf("event %s\n", event.c_str());
  }

  // True once the first packets arrived; false when `timeout` passed first.
  bool WaitForPackets(std::chrono::seconds timeout) {
    std::unique_lock<std::mutex> lock(mMutex);
    return mChanged.wait_for(lock, timeout, [this] { return mPackets >= PACKETS_SHOWN; });
  }

 private:
  std::mutex mMutex;
  std::condition_variable mChanged;
  int mPackets = 0;
};

}  // namespace

int main() {
  PrintingListener listener;
  JoysticAPI_RegsisterNotify(&listener);  // the first listener starts the library's polling
  std::printf("layouts:");
  for (const _CpdJoystickMappingInfo& layout : JoysticAPI_GetMappingList()) {
    std::printf(" %u=%s", layout.mappingIndex, layout.name.c_str());
  }
  std::printf("\n");
  if (!listener.WaitForPackets(LISTEN_FOR)) {
    std::printf("no controller sent data within %lld s\n",
                static_cast<long long>(LISTEN_FOR.count()));
  }
  JoysticAPI_UnregsisterNotify(&listener);  // the last listener stops it
  return 0;
}
