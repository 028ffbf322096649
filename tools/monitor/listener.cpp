#include "listener.h"

#include <cstring>

namespace monitor {

void MonitorListener::OnJoystickData(const JoystickDataPacket* data, int32_t length) {
  if (data == nullptr || length < static_cast<int32_t>(sizeof(JoystickDataPacket))) {
    return;
  }
  JoystickDataPacket packet{};
  std::memcpy(&packet, data, sizeof packet);
  mState.AddPacket(packet);
  if (mJson != nullptr) {
    mJson->Packet(packet);
  }
}

void MonitorListener::OnDevListUpdate() {
  const std::list<_CpdJoystickDeviceInfo> devices = JoysticAPI_GetDevList();
  // The layout list exists once the first registration returned, which a first device list
  // can beat.
  if (mState.Layouts().empty()) {
    mState.SetLayouts(JoysticAPI_GetMappingList());
  }
  mState.SetDevices(devices);
  if (mJson != nullptr) {
    mJson->Devices(devices, mState.Layouts());
  }
}

void MonitorListener::OnJoystickEvent(std::string event, const EventRecord& record) {
  const auto message = record.find("message");
  mState.AddEvent(event, message != record.end() ? message->second : "");
  if (mJson != nullptr) {
    mJson->Event(event, record);
  }
}

}  // namespace monitor
