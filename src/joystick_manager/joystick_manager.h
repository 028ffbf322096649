// The one object behind the exported functions: listener registry, polling-thread lifecycle,
// the published device list and the layout catalogue.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "cpd_joystick/joystick_api.h"

namespace cpd {

class JoystickManager {
 public:
  // The process-wide instance, created on first use and never destroyed.
  static JoystickManager* GetInstance();

  int32_t Init();
  int32_t Stop();

  int32_t RegsisterNotify(CpdJoystickNotify* notify);
  int32_t UnregsisterNotify(CpdJoystickNotify* notify);

  std::list<_CpdJoystickDeviceInfo> GetDevList();
  std::list<_CpdJoystickMappingInfo> GetMappingList();
  int32_t SetMapping(uint16_t index, uint16_t mappingIndex);
  int32_t Calibration(uint16_t index);

  // Fan-out to every listener in registration order, under the listener lock.
  void NotifyData(const JoystickDataPacket* data, int32_t length);
  void NotifyEvent(std::string event, const EventRecord& record);
  void NotifyDevListUpdate();

  JoystickManager(const JoystickManager&) = delete;
  JoystickManager& operator=(const JoystickManager&) = delete;

 private:
  JoystickManager() = default;
  ~JoystickManager() = default;

  // Runs `call` on every listener, with the listener lock held and this thread marked as being
  // inside a callback. A listener that throws is logged and skipped.
  template <typename Call>
  void ForEachListener(Call call);

  // Waits up to `timeout` on the wake condition; returns early once a stop is requested.
  void WaitForWake(std::chrono::milliseconds timeout);

  void process();
  void BuildMappingList();

  // Slot index to the device path that owns it; kept for the life of the process.
  std::map<int32_t, std::string> mSlotPaths;
  std::condition_variable mWakeCond;
  std::mutex mWakeMutex;
  std::unique_ptr<std::thread> mThread;
  std::atomic<bool> mStop{true};
  std::atomic<bool> mPolling{false};
  std::mutex mNotifyMutex;
  std::list<CpdJoystickNotify*> mNotifyList;
  std::list<_CpdJoystickMappingInfo> mMappingList;
  std::list<_CpdJoystickDeviceInfo> mDevList;

  // Serialises register/unregister against each other, so that "polling runs" and "a listener
  // is registered" always change together. Taken before mNotifyMutex, never by the polling thread.
  std::mutex mLifecycleMutex;
  // Guards the device list and the layout catalogue. Never held during a listener call, an SDL
  // wait, or together with another lock.
  std::mutex mStateMutex;
};

}  // namespace cpd
