// The device list published to the host, rebuilt from the open controllers.
#include <iomanip>
#include <sstream>

#include "common/event_record.h"
#include "common/log.h"
#include "joystick_manager/joystick_manager.h"

namespace cpd {

namespace {

struct DeviceListBuild {
  std::list<_CpdJoystickDeviceInfo> devices;
  std::string summary;
};

_CpdJoystickDeviceInfo DeviceInfoOf(const JoystickDevice& device) {
  _CpdJoystickDeviceInfo info;
  info.vid = device.vid;
  info.pid = device.pid;
  info.index = static_cast<uint16_t>(device.slotIndex);
  info.devName = device.name;
  info.devPath = device.path;
  info.flag = device.flag;
  info.mappingIndex = device.mapping.mappingIndex;
  info.name = device.name;
  info.path = device.path;
  return info;
}

// The summary repeats earlier entries: one stream collects every entry and its whole contents
// are appended after each one. Hosts parse the summary as it has always been, so it stays so,
// and the stream stays in hexadecimal for the index and layout kind too.
DeviceListBuild BuildDeviceList(const std::map<int32_t, JoystickDevice>& joysticks) {
  DeviceListBuild build;
  std::ostringstream stream;
  for (const auto& entry : joysticks) {
    const JoystickDevice& device = entry.second;
    if (device.vid == PEN_TABLET_VENDOR) {
      CPD_LOG_DEBUG("wacom is not joystick");
      continue;
    }
    const _CpdJoystickDeviceInfo info = DeviceInfoOf(device);
    build.devices.push_back(info);
    stream << "{vid:0x" << std::hex << std::setw(4) << std::setfill('0') << info.vid << " pid:0x"
           << std::setw(4) << std::setfill('0') << info.pid << " devname:" << info.name
           << " index:" << info.index << " mappingIndex:" << info.mappingIndex << "};";
    build.summary += stream.str();
    CPD_LOG_DEBUG("vid[0x%.4x] pid[0x%.4x] devname[%s] index[%d] mappingIndex[%d]", info.vid,
                  info.pid, info.name.c_str(), info.index, info.mappingIndex);
  }
  return build;
}

}  // namespace

int32_t JoystickManager::UpdateJoystickDevList() {
  CPD_LOG_MUTED("");
  std::map<int32_t, JoystickDevice> joysticks;
  {
    std::lock_guard<std::mutex> lock(mStateMutex);
    joysticks = Joysticks;
  }
  DeviceListBuild build = BuildDeviceList(joysticks);
  const auto newSize = static_cast<int32_t>(build.devices.size());
  int32_t oldSize = 0;
  {
    std::lock_guard<std::mutex> lock(mStateMutex);
    oldSize = static_cast<int32_t>(mDevList.size());
    mDevList = std::move(build.devices);
  }
  if (oldSize == newSize && oldSize == 0) {
    return 0;
  }
  NotifyDevListUpdate();
  NotifyEvent(EVENT_DEV_LIST_UPDATE,
              CPD_EVENT_RECORD("cpd::JoystickManager::UpdateJoystickDevList",
                               "joystickNum: " + std::to_string(newSize) + build.summary));
  return 0;
}

std::list<_CpdJoystickDeviceInfo> JoystickManager::GetDevList() {
  std::lock_guard<std::mutex> lock(mStateMutex);
  return mDevList;
}

}  // namespace cpd
