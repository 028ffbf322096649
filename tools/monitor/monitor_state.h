// What the listener has heard, kept for the screen and for scenario waits. The listener writes
// it on the library's polling thread; the screen and the scenario player read it on theirs.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <list>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "cpd_joystick/joystick_api.h"
#include "layout_wiring.h"
#include "rate_meter.h"
#include "view.h"

namespace monitor {

struct StateSnapshot {
  std::vector<DeviceRow> devices;
  std::map<uint16_t, JoystickDataPacket> packets;  // the last one per slot
  std::vector<EventEntry> events;
  std::vector<std::string> logs;
  std::vector<LayoutName> layouts;
};

class MonitorState {
 public:
  void SetLayouts(const std::list<_CpdJoystickMappingInfo>& layouts);
  std::vector<LayoutName> Layouts() const;

  // A list the library published.
  void SetDevices(const std::list<_CpdJoystickDeviceInfo>& devices);
  // A fresh copy of the library's list, read without being told (after a layout change, which
  // the library does not announce).
  void RefreshDevices(const std::list<_CpdJoystickDeviceInfo>& devices);
  void AddPacket(const JoystickDataPacket& packet);
  void AddEvent(const std::string& name, const std::string& message);
  void AddLog(const std::string& line);

  StateSnapshot Snapshot();
  size_t DevListUpdates() const;

  // Waits until a list published after the first `publishedBefore` lists holds `count`
  // entries; false after `timeout` or once `stop` is set.
  bool WaitForDeviceCount(size_t count, size_t publishedBefore, std::chrono::milliseconds timeout,
                          const std::atomic<bool>& stop);
  // Waits for the first published list; false after `timeout` or once `stop` is set.
  bool WaitForFirstDevList(std::chrono::milliseconds timeout, const std::atomic<bool>& stop);

 private:
  template <typename Done>
  bool WaitUntil(Done done, std::chrono::milliseconds timeout, const std::atomic<bool>& stop);

  mutable std::mutex mMutex;
  std::condition_variable mDevicesChanged;
  std::vector<LayoutName> mLayouts;
  std::list<_CpdJoystickDeviceInfo> mDevices;
  size_t mDevListUpdates = 0;
  std::map<uint16_t, JoystickDataPacket> mPackets;
  std::map<uint16_t, RateMeter> mRates;
  std::deque<EventEntry> mEvents;
  std::deque<std::string> mLogs;
};

// "HH:MM:SS" of the local time now.
std::string ClockText();

}  // namespace monitor
