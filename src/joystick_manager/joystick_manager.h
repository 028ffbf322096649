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
#include "joystick_mapping/report_translation.h"

namespace cpd {

// Pen tablets enumerate as joysticks; they are opened but never polled or listed.
inline constexpr uint16_t PEN_TABLET_VENDOR = 0x056A;

class JoystickManager {
 public:
  // The process-wide instance, created on first use and never destroyed.
  static JoystickManager* GetInstance();

  int32_t Init();
  int32_t Stop();
  // Ends polling for good when the library is unloaded or the process exits with a listener
  // still registered; registrations are refused from then on. Never waits for long: a polling
  // thread that does not end in time is left to itself.
  void Teardown();

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

  // What one poll needs of a controller, copied under the state lock so that SDL is read and the
  // host's log sink is called without it. Reused from poll to poll, so its list and name keep
  // their capacity.
  struct PollSnapshot {
    enum Kind { Missing, Unusable, Ignored, Ready } kind = Missing;
    SDL_Joystick* handle = nullptr;
    int32_t slotIndex = 0;
    std::string name;
    BindingSnapshot bindings{};
    std::vector<InputId> inputs;
    XboxGamepad lastGamepad;
  };

  // State of one polling run: the poll counter, the last data-event bucket, and scratch space
  // that lives as long as the run.
  struct PollRun {
    int32_t counter = 0;
    int32_t lastEventBucket = 0;
    std::vector<int32_t> sdlIndexes;
    PollSnapshot snapshot;
  };

  void process();
  // Makes sure Teardown runs at unload or exit, before the library's other static objects go.
  static void ArmTeardown();
  // True when the calling thread is inside a listener callback, on the polling thread, or inside
  // a registration: a thread that must not wait for the polling thread.
  static bool InsideLibraryCall();
  void MarkThreadEnded();
  bool WaitForThreadEnd(std::chrono::milliseconds timeout);
  // Lets go of everything the manager holds, once no polling thread can use it any more.
  void ReleaseState();
  // Marks the calling thread as the polling thread, from which no registration may be made.
  static void MarkPollingThread();
  void RunPollingPass();
  bool OpenJoysticks(const JoystickList& list);
  void PollUntilChange();
  void PollJoystick(int32_t sdlIndex, PollRun& run);
  void TakePollSnapshot(int32_t sdlIndex, PollSnapshot& snapshot);
  void RecordLastGamepad(int32_t sdlIndex, SDL_Joystick* handle, const XboxGamepad& gamepad);
  void LogState(const PollSnapshot& snapshot, const XboxGamepad& gamepad, PollRun& run);
  void CloseJoysticks();
  int32_t UpdateJoystickDevList();
  void BuildMappingList();

  // A copy of the controller record that holds slot `index`, taken in one locked section.
  std::optional<JoystickDevice> DeviceInSlot(uint16_t index);
  // Gives the controller in slot `index` the mapping built on `changed`, if that slot still holds
  // the same model; false when it does not (the controller left or another one took the slot).
  bool InstallMapping(uint16_t index, const JoystickDevice& changed);

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

  // Set by Teardown; no registration is taken after it.
  std::atomic<bool> mTornDown{false};
  // Tells Teardown that the polling thread has left `process`, so joining it cannot hang.
  std::mutex mEndMutex;
  std::condition_variable mEndCond;
  bool mThreadEnded = true;  // guarded by mEndMutex
};

}  // namespace cpd
