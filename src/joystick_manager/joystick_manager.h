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
#include <optional>
#include <string>
#include <thread>

#include "cpd_joystick/joystick_api.h"
#include "joystick_mapping/joystick_device.h"
#include "joystick_mapping/joystick_list.h"

namespace cpd {

// Pen tablets enumerate as joysticks; they are opened but never polled or listed.
inline constexpr uint16_t PEN_TABLET_VENDOR = 0x056A;

class JoystickManager {
 public:
  // The process-wide instance, created on first use and never destroyed.
  static JoystickManager* GetInstance();

  int32_t Init();
  int32_t Stop();

  int32_t RegsisterNotify(CpdJoystickNotify* notify);
  int32_t UnregsisterNotify(CpdJoystickNotify* notify);
  // True while the calling thread runs a listener callback, where registration is refused.
  static bool InsideListenerCall();

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

  // State of one polling run: the poll counter and the last data-event bucket.
  struct PollRun {
    int32_t counter = 0;
    int32_t lastEventBucket = 0;
  };

  // One controller's report of one poll, taken under the state lock.
  struct JoystickReport {
    enum Kind { Missing, Unusable, Ignored, Ready } kind = Missing;
    SDL_Joystick* handle = nullptr;
    int32_t slotIndex = 0;
    std::string name;
    XboxGamepad gamepad;
    bool logState = false;
  };

  void process();
  void RunPollingPass();
  bool OpenJoysticks(const JoystickList& list);
  void PollUntilChange();
  void PollJoystick(int32_t sdlIndex, PollRun& run);
  JoystickReport TranslateJoystick(int32_t sdlIndex, int32_t counter);
  void LogState(const JoystickReport& report, PollRun& run);
  void CloseJoysticks();
  int32_t UpdateJoystickDevList();
  void BuildMappingList();

  // What the layout policy needs to know about the controller in a slot.
  struct ModelIdentity {
    uint16_t vid = 0;
    uint16_t pid = 0;
    std::string name;
  };
  std::optional<ModelIdentity> ModelInSlot(uint16_t index);
  // Installs the layout on the controller in slot `index`; ResetMapping's result.
  int32_t ApplyMapping(uint16_t index, uint16_t mappingIndex);

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
  // SDL device index to the controller opened at it, for the current polling run.
  std::map<int32_t, JoystickDevice> Joysticks;
  std::list<_CpdJoystickDeviceInfo> mDevList;

  // Serialises register/unregister against each other, so that "polling runs" and "a listener
  // is registered" always change together. Taken before mNotifyMutex, never by the polling thread.
  std::mutex mLifecycleMutex;
  // Guards the device list and the layout catalogue. Never held during a listener call, an SDL
  // wait, or together with another lock.
  std::mutex mStateMutex;
};

}  // namespace cpd
