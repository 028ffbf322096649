// cpd-joystick-print: registers one listener with the joystick bridge and prints what it hears
// (device-list changes, events, and about one packet per second per controller) until Ctrl-C or
// SIGTERM, then unregisters and exits.
#include <signal.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <mutex>

#include "cpd_joystick/joystick_api.h"

namespace {

constexpr uint32_t PACKETS_BETWEEN_PRINTS = 33;  // about once a second at the 30 ms poll

class PrintingListener : public CpdJoystickNotify {
 public:
  void OnJoystickData(const JoystickDataPacket* data, int32_t length) override {
    JoystickDataPacket packet{};
    std::memcpy(&packet, data, sizeof packet);
    if (packet.dwPacketNumber % PACKETS_BETWEEN_PRINTS != 0) {
      return;
    }
    std::printf(
        "data   slot %u packet %u (%d bytes): buttons 0x%04x triggers %u/%u left %d,%d right "
        "%d,%d\n",
        packet.slot, packet.dwPacketNumber, length, packet.wButtons, packet.bLeftTrigger,
        packet.bRightTrigger, packet.sThumbLX, packet.sThumbLY, packet.sThumbRX, packet.sThumbRY);
    std::fflush(stdout);
  }

  void OnDevListUpdate() override {
    const std::list<_CpdJoystickDeviceInfo> devices = JoysticAPI_GetDevList();
    std::printf("devices %zu\n", devices.size());
    for (const _CpdJoystickDeviceInfo& device : devices) {
      std::printf("  slot %u  %04x:%04x  layout %u  %s  %s\n", device.index, device.vid, device.pid,
                  device.mappingIndex, device.name.c_str(), device.path.c_str());
    }
    std::fflush(stdout);
  }

  void OnJoystickEvent(std::string event, const EventRecord& record) override {
    const auto message = record.find("message");
    std::printf("event  %s: %s\n", event.c_str(),
                message != record.end() ? message->second.c_str() : "");
    std::fflush(stdout);
  }
};

}  // namespace

int main() {
  // Block the stop signals before the library starts its thread, so that only sigwait below
  // receives them.
  sigset_t stopSignals;
  sigemptyset(&stopSignals);
  sigaddset(&stopSignals, SIGINT);
  sigaddset(&stopSignals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

  PrintingListener listener;
  JoysticAPI_RegsisterNotify(&listener);
  std::printf("listening; layouts offered:");
  for (const _CpdJoystickMappingInfo& layout : JoysticAPI_GetMappingList()) {
    std::printf(" %u=%s", layout.mappingIndex, layout.name.c_str());
  }
  std::printf("\npress Ctrl-C to stop\n");
  std::fflush(stdout);

  int received = 0;
  sigwait(&stopSignals, &received);
  JoysticAPI_UnregsisterNotify(&listener);
  std::printf("stopped by %s\n", received == SIGINT ? "SIGINT" : "SIGTERM");
  return 0;
}
