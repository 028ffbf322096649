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
#include "joystick_manager/listener_registry.h"
#include "joystick_manager/module_lifetime.h"
#include "joystick_manager/motor_requests.h"
#include "joystick_manager/slot_motors.h"
#include "joystick_mapping/joystick_device.h"
#include "joystick_mapping/joystick_list.h"
#include "joystick_mapping/report_translation.h"

namespace cpd {

// Pen tablets enumerate as joysticks; they are opened but never polled or listed.
inline constexpr uint16_t PEN_TABLET_VENDOR = 0x056A;

// The poll interval: 30 ms unless the host asks for a shorter one.
inline constexpr uint16_t DEFAULT_POLL_INTERVAL_MS = 30;
inline constexpr uint16_t MIN_POLL_INTERVAL_MS = 1;

// The polling thread notices a stop within one poll period, or after the controller it is
// opening; one still running after this is held up by host code (a listener, the log sink) or by
// the loader, and is left to end alone rather than waited for.
inline constexpr std::chrono::milliseconds THREAD_END_WAIT{1500};
// SDL_Init and SDL_Quit take a few milliseconds; a polling thread inside one for this long is
// taken to be held up by the loader's lock, which the stopping thread may hold itself.
inline constexpr std::chrono::milliseconds LOADER_WAIT{250};

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

  // How a registration or an unregistration went. The exported functions return 0 whatever it
  // was, as hosts have always seen; the C interface answers with its own codes from it.
  enum class ListenerChange {
    DONE,     // the listener is registered (or no longer registered), or it already was
    STOPPED,  // the last listener left and polling stopped: see WaitForLayoutChoicesStored
    REFUSED,  // nothing changed; the error line says why
  };
  ListenerChange RegsisterNotify(CpdJoystickNotify* notify);
  ListenerChange UnregsisterNotify(CpdJoystickNotify* notify);
  // True where a registration made now on the calling thread is refused (inside a listener
  // callback, on the polling thread, inside another registration): a thread that must not wait
  // for the polling thread.
  static bool RegistrationRefused();
  // After the unregistration that stopped polling, and outside every lock of the caller's: a
  // host that exits right after it would otherwise lose a layout choice the store has not taken
  // yet. Bounded, with an error line when the store has not taken it in time.
  static void WaitForLayoutChoicesStored();

  std::list<_CpdJoystickDeviceInfo> GetDevList();
  std::list<_CpdJoystickMappingInfo> GetMappingList();
  int32_t SetMapping(uint16_t index, uint16_t mappingIndex);
  int32_t Calibration(uint16_t index);
  // 0, or -1 with an error line for a value outside 1..30 or a call from inside a listener.
  int32_t SetPollInterval(uint16_t milliseconds);
  // 0 when the controller in the slot will run its motors at `speeds`, -1 when no open controller
  // holds the slot, -2 when it has no motors. Never waits and never logs.
  int32_t SetVibration(uint16_t index, MotorSpeeds speeds);

  // Fan-out to every listener in registration order (ListenerRegistry).
  void NotifyData(const JoystickDataPacket* data, int32_t length);
  void NotifyEvent(const std::string& event, const EventRecord& record);
  void NotifyDevListUpdate();

  JoystickManager(const JoystickManager&) = delete;
  JoystickManager& operator=(const JoystickManager&) = delete;

 private:
  JoystickManager();
  ~JoystickManager() = default;

  // Waits `timeout` on the wake condition, applying the host's motor requests as they come;
  // returns early once a stop is requested.
  void WaitForWake(std::chrono::milliseconds timeout);

  // What one poll needs of a controller, copied under the state lock so that SDL is read and the
  // host's log sink is called without it. One per controller for the whole run: the bindings,
  // their list and the name are copied again only when the controller's layout changes.
  struct PollSnapshot {
    enum Kind { Missing, Unusable, Ignored, Ready } kind = Missing;
    SDL_Joystick* handle = nullptr;
    int32_t slotIndex = 0;
    std::string name;
    BindingSnapshot bindings{};
    std::vector<InputId> inputs;
    // mMappingVersion when the bindings were copied; no version is ever 0.
    uint64_t mappingVersion = 0;
    ReportReader reader;
    XboxGamepad lastGamepad;
    // Packets sent for this controller in this run: the next packet's number.
    uint32_t packetNumber = 0;
  };

  // State of one polling run. `counter` counts the run's 30 ms periods: at the default interval
  // every poll is one; at a shorter one, the polls that start a new period (`periodStart`) are.
  // The cadences hosts know in polls (the axis-only log line, the data event) count periods, so
  // they keep their rate whatever the interval.
  struct PollRun {
    int32_t counter = 0;
    int32_t lastEventBucket = 0;
    bool periodStart = true;
    bool fastSince = false;  // polling faster than once a period since the last poll
    std::chrono::steady_clock::time_point nextPeriod;
    std::vector<int32_t> sdlIndexes;
    std::vector<PollSnapshot> controllers;  // by position in sdlIndexes
  };

  void process();
  // Makes sure Teardown runs at unload or exit, before the library's other static objects go.
  static void ArmTeardown();
  void MarkThreadEnded();
  bool WaitForThreadEnd(std::chrono::milliseconds timeout);
  // Wakes the polling thread with both stop flags set.
  void RequestStop();
  // Lets go of everything the manager holds, once no polling thread can use it any more.
  void ReleaseState();
  // Marks the calling thread as the polling thread, from which no registration may be made.
  static void MarkPollingThread();
  static bool OnPollingThread();
  // How a stop's wait for the polling thread ended.
  enum class ThreadEnd {
    ENDED,
    HELD_BY_LOADER,  // inside SDL_Init or SDL_Quit for LOADER_WAIT
    TIMED_OUT,       // still running after THREAD_END_WAIT
  };
  ThreadEnd WaitForStoppedThread();
  // Starts a new polling thread; none runs.
  void StartThread();
  // The polling thread's body: `process`, and again while a registration asks it to go on.
  void RunThread();
  // Joins the thread an earlier stop left to end alone, once it has ended.
  void JoinLeftThreadIfEnded();
  // The library's reference to itself, once no thread object of polling remains.
  ModuleReference ReleasableModuleHold();
  void RunPollingPass();
  bool OpenJoysticks(const JoystickList& list);
  void PollUntilChange();
  void IdentifyAndRecord(int32_t sdlIndex, JoystickDevice& device);
  bool ListPolledJoysticks(PollRun& run);
  static void StartPoll(PollRun& run, std::chrono::milliseconds interval);
  void EndPoll(PollRun& run, std::chrono::milliseconds interval);
  void PollJoystick(int32_t sdlIndex, PollSnapshot& snapshot, PollRun& run);
  void TakePollSnapshot(int32_t sdlIndex, PollSnapshot& snapshot);
  void RecordLastGamepad(int32_t sdlIndex, SDL_Joystick* handle, const XboxGamepad& gamepad);
  void EndRunIfTabletLeft(const PollSnapshot& snapshot);
  void LogState(const PollSnapshot& snapshot, const XboxGamepad& gamepad, PollRun& run);
  void CloseJoysticks();
  int32_t UpdateJoystickDevList();
  // Builds the device list from the records and swaps it in; mStateMutex is held.
  void PublishDevList();
  void BuildMappingList();

  // How many layout choices were recorded for the model; caller holds mStateMutex.
  uint64_t ChoicesRecordedFor(uint16_t vid, uint16_t pid) const;
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
  ListenerRegistry mListeners;
  std::list<_CpdJoystickMappingInfo> mMappingList;
  // SDL device index to the controller opened at it, for the current polling run.
  std::map<int32_t, JoystickDevice> Joysticks;
  // The device list hosts read: built whole from the records by PublishDevList and swapped in,
  // never edited; a reader copies it outside the lock. Null until the first list and after the
  // teardown (an empty list): the manager is never destroyed, so at unload it must hold nothing.
  // Guarded by mStateMutex, like the flag that says whether it was built from this run's records
  // yet (a layout change during the open pass shows when the run publishes its list).
  std::shared_ptr<const std::list<_CpdJoystickDeviceInfo>> mDevList;
  bool mRunListed = false;

  // The host's motor requests, and the motors as the polling thread drives them (its own).
  MotorRequests mMotorRequests;
  SlotMotors mMotors{mMotorRequests};

  // The poll interval in milliseconds, 1..30; read by the polling thread at every poll.
  std::atomic<uint16_t> mPollIntervalMs;
  // The layout choices recorded so far, by model (vendor id in the high half, product id in the
  // low), so that an open that raced with a choice for its own model looks again. Guarded by
  // mStateMutex.
  std::map<uint32_t, uint64_t> mChoicesByModel;
  // Counts layout changes made by the host, so the poller knows when to copy bindings again.
  // Guarded by mStateMutex.
  uint64_t mMappingVersion = 1;

  // Serialises register/unregister against each other, so that "polling runs" and "a listener
  // is registered" always change together. Taken before the listener lock, never by the polling
  // thread.
  std::mutex mLifecycleMutex;
  // Guards the device list and the layout catalogue. Never held during a listener call, an SDL
  // wait, or together with another lock.
  std::mutex mStateMutex;

  // Set by Teardown; no registration is taken after it.
  std::atomic<bool> mTornDown{false};
  // Tells Stop and Teardown that the polling thread has left `process` for good, so joining it
  // cannot hang. A thread a stop left to end alone keeps it false until it ends.
  std::mutex mEndMutex;
  std::condition_variable mEndCond;
  bool mThreadEnded = true;  // guarded by mEndMutex
  // Set by a registration that finds a thread left to end alone still running: that thread polls
  // again instead of ending, so no two threads ever share SDL. Guarded by mEndMutex.
  bool mRestart = false;
  // The thread a stop could not wait for; joined once it has ended. Guarded by mLifecycleMutex.
  std::unique_ptr<std::thread> mLeftThread;
  // Keeps the library mapped while a thread of polling may run in it: taken with the registration
  // that starts polling, dropped by the unregistration that finds every such thread joined.
  // Guarded by mLifecycleMutex; never taken or dropped under it (see ModuleReference).
  ModuleReference mModuleHold;
};

}  // namespace cpd
