// The device list published to the host, rebuilt from the open controllers.
#include <optional>

#include "common/event_record.h"
#include "common/log.h"
#include "joystick_manager/joystick_manager.h"
#include "joystick_mapping/device_summary.h"

namespace cpd {

namespace {

constexpr const char* UPDATE_ORIGIN = "UpdateJoystickDevList";

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

ListedDevices ListDevices(const std::map<int32_t, JoystickDevice>& joysticks) {
  ListedDevices listed;
  listed.reserve(joysticks.size());
  for (const auto& entry : joysticks) {
    if (entry.second.vid == PEN_TABLET_VENDOR) {
      listed.emplace_back();
    } else {
      listed.emplace_back(DeviceInfoOf(entry.second));
    }
  }
  return listed;
}

void LogListed(const ListedDevices& listed) {
  for (const std::optional<_CpdJoystickDeviceInfo>& info : listed) {
    if (!info) {
      CPD_LOG_DEBUG_IN(UPDATE_ORIGIN, "wacom is not joystick");
      continue;
    }
    CPD_LOG_DEBUG_IN(UPDATE_ORIGIN,
                     "vid[0x%.4x] pid[0x%.4x] devname[%s] index[%d] mappingIndex[%d]", info->vid,
                     info->pid, info->name.c_str(), info->index, info->mappingIndex);
  }
}

}  // namespace

// The list is rebuilt and swapped in one locked section, so a host never sees it half rebuilt and
// a layout change cannot slip in between; the lines and the summary are made after the lock is
// released, because the host's log sink may call back into the library.
int32_t JoystickManager::UpdateJoystickDevList() {
  CPD_LOG_MUTED("");
  ListedDevices listed;
  int32_t oldSize = 0;
  int32_t newSize = 0;
  {
    std::lock_guard<std::mutex> lock(mStateMutex);
    listed = ListDevices(Joysticks);
    oldSize = mDevList ? static_cast<int32_t>(mDevList->size()) : 0;
    PublishDevList();
    mRunListed = true;
    newSize = static_cast<int32_t>(mDevList->size());
  }
  LogListed(listed);
  const std::string summary = DevListSummary(listed);
  if (oldSize == newSize && oldSize == 0) {
    return 0;
  }
  NotifyDevListUpdate();
  NotifyEvent(EVENT_DEV_LIST_UPDATE,
              CPD_EVENT_RECORD("cpd::JoystickManager::UpdateJoystickDevList",
                               "joystickNum: " + std::to_string(newSize) + summary));
  return 0;
}

void JoystickManager::PublishDevList() {
  auto published = std::make_shared<std::list<_CpdJoystickDeviceInfo>>();
  for (const std::optional<_CpdJoystickDeviceInfo>& info : ListDevices(Joysticks)) {
    if (info) {
      published->push_back(*info);
    }
  }
  mDevList = std::move(published);
}

std::list<_CpdJoystickDeviceInfo> JoystickManager::GetDevList() {
  std::shared_ptr<const std::list<_CpdJoystickDeviceInfo>> published;
  {
    std::lock_guard<std::mutex> lock(mStateMutex);
    published = mDevList;
  }
  return published ? *published : std::list<_CpdJoystickDeviceInfo>();
}

}  // namespace cpd
