#include "monitor_state.h"

#include <ctime>

namespace monitor {

namespace {

constexpr size_t EVENTS_KEPT = 200;
constexpr size_t LOG_LINES_KEPT = 500;
constexpr std::chrono::milliseconds STOP_CHECK{50};

template <typename Entry>
void Keep(std::deque<Entry>& entries, Entry entry, size_t capacity) {
  entries.push_back(std::move(entry));
  while (entries.size() > capacity) {
    entries.pop_front();
  }
}

}  // namespace

std::string ClockText() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  char text[16];
  std::strftime(text, sizeof text, "%H:%M:%S", &local);
  return text;
}

void MonitorState::SetLayouts(const std::list<_CpdJoystickMappingInfo>& layouts) {
  std::lock_guard<std::mutex> lock(mMutex);
  mLayouts.clear();
  for (const _CpdJoystickMappingInfo& layout : layouts) {
    mLayouts.push_back({layout.mappingIndex, layout.name});
  }
}

std::vector<LayoutName> MonitorState::Layouts() const {
  std::lock_guard<std::mutex> lock(mMutex);
  return mLayouts;
}

void MonitorState::SetDevices(const std::list<_CpdJoystickDeviceInfo>& devices) {
  {
    std::lock_guard<std::mutex> lock(mMutex);
    mDevices = devices;
    ++mDevListUpdates;
  }
  mDevicesChanged.notify_all();
}

void MonitorState::RefreshDevices(const std::list<_CpdJoystickDeviceInfo>& devices) {
  std::lock_guard<std::mutex> lock(mMutex);
  mDevices = devices;
}

void MonitorState::AddPacket(const JoystickDataPacket& packet) {
  std::lock_guard<std::mutex> lock(mMutex);
  mPackets[packet.slot] = packet;
  mRates[packet.slot].Count(RateMeter::Clock::now());
}

void MonitorState::AddEvent(const std::string& name, const std::string& message) {
  std::lock_guard<std::mutex> lock(mMutex);
  Keep(mEvents, EventEntry{ClockText(), name, message}, EVENTS_KEPT);
}

void MonitorState::AddLog(const std::string& line) {
  std::lock_guard<std::mutex> lock(mMutex);
  Keep(mLogs, line, LOG_LINES_KEPT);
}

StateSnapshot MonitorState::Snapshot() {
  const RateMeter::Clock::time_point now = RateMeter::Clock::now();
  std::lock_guard<std::mutex> lock(mMutex);
  StateSnapshot snapshot;
  for (const _CpdJoystickDeviceInfo& device : mDevices) {
    DeviceRow row;
    row.slot = device.index;
    row.name = device.name;
    row.vid = device.vid;
    row.pid = device.pid;
    row.path = device.path;
    row.layout = device.mappingIndex;
    row.opened = device.vid != 0 || device.pid != 0 || !device.path.empty();
    row.packetsPerSecond = row.opened ? mRates[device.index].PerSecond(now) : 0;
    snapshot.devices.push_back(row);
  }
  snapshot.packets = mPackets;
  snapshot.events.assign(mEvents.begin(), mEvents.end());
  snapshot.logs.assign(mLogs.begin(), mLogs.end());
  snapshot.layouts = mLayouts;
  return snapshot;
}

size_t MonitorState::DevListUpdates() const {
  std::lock_guard<std::mutex> lock(mMutex);
  return mDevListUpdates;
}

template <typename Done>
bool MonitorState::WaitUntil(Done done, std::chrono::milliseconds timeout,
                             const std::atomic<bool>& stop) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  std::unique_lock<std::mutex> lock(mMutex);
  while (!done()) {
    if (stop || std::chrono::steady_clock::now() >= deadline) {
      return false;
    }
    mDevicesChanged.wait_for(lock, STOP_CHECK);
  }
  return true;
}

bool MonitorState::WaitForDeviceCount(size_t count, size_t publishedBefore,
                                      std::chrono::milliseconds timeout,
                                      const std::atomic<bool>& stop) {
  return WaitUntil([&] { return mDevListUpdates > publishedBefore && mDevices.size() == count; },
                   timeout, stop);
}

bool MonitorState::WaitForFirstDevList(std::chrono::milliseconds timeout,
                                       const std::atomic<bool>& stop) {
  return WaitUntil([&] { return mDevListUpdates > 0; }, timeout, stop);
}

}  // namespace monitor
