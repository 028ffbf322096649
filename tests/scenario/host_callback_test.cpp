// A host's log sink and secure store are the host's own code: they may call back into the library
// on whatever thread the library called them from. Nothing may deadlock, and calls that cannot be
// honoured there are refused with an error line.
#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

#include "scenario.h"

namespace cpd::test {
namespace {

using namespace std::chrono_literals;
using HostCallback = Scenario;

// Ends the process with a message if the test body does not finish in time: a deadlock would
// otherwise only show as the test runner's timeout.
class Watchdog {
 public:
  explicit Watchdog(std::chrono::seconds limit)
      : mThread([this, limit] {
          const auto deadline = std::chrono::steady_clock::now() + limit;
          while (!mDone.load()) {
            if (std::chrono::steady_clock::now() > deadline) {
              std::fprintf(stderr, "deadlock: the test did not finish within %lld s\n",
                           static_cast<long long>(limit.count()));
              std::abort();
            }
            std::this_thread::sleep_for(10ms);
          }
        }) {}
  ~Watchdog() {
    mDone = true;
    mThread.join();
  }
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;

 private:
  std::atomic<bool> mDone{false};
  std::thread mThread;
};

// What the host's callback does: every exported function, once per call. Calls made from inside
// it do not call it again.
TestListener gCallbackListener;
thread_local bool tInsideCallback = false;
std::atomic<int> gCallbacksRunning{0};
std::atomic<int> gCallbacksMade{0};
std::atomic<int> gNextKind{0};

void CallEveryExport() {
  if (tInsideCallback) {
    return;
  }
  tInsideCallback = true;
  ++gCallbacksRunning;
  ++gCallbacksMade;
  (void)JoysticAPI_GetDevList();
  (void)JoysticAPI_GetMappingList();
  (void)JoysticAPI_SetMapping(0, static_cast<uint16_t>(gNextKind++ % 6 + 1));
  (void)JoysticAPI_Calibration(0);
  (void)JoysticAPI_SetVibration(0, 100, 200);
  (void)JoysticAPI_RegsisterNotify(&gCallbackListener);
  (void)JoysticAPI_UnregsisterNotify(&gCallbackListener);
  --gCallbacksRunning;
  tInsideCallback = false;
}

void SinkCallsEveryExport(const LogLine& /*line*/) {
  CallEveryExport();
}

void StoreCallsEveryExport(const std::string& /*operation*/) {
  CallEveryExport();
}

// Removes the callbacks and waits until none is running any more, so nothing calls into the
// library once the test ends.
void RemoveCallbacks() {
  SetLogHandler(nullptr);
  SetStoreCallHook(nullptr);
  while (gCallbacksRunning.load() != 0) {
    std::this_thread::sleep_for(1ms);
  }
}

// Presses and releases A on the pad while changing layouts from this thread.
void PlayWhileChangingLayouts(int pad, std::chrono::milliseconds duration) {
  const auto end = std::chrono::steady_clock::now() + duration;
  uint16_t kind = 1;
  while (std::chrono::steady_clock::now() < end) {
    sim_set_button(pad, 0, kind % 2);
    (void)JoysticAPI_SetMapping(0, kind);
    kind = static_cast<uint16_t>(kind % 6 + 1);
    std::this_thread::sleep_for(20ms);
  }
}

TEST_F(HostCallback, SinkThatCallsEveryExportOnEveryLineNeverDeadlocks) {
  Watchdog watchdog(120s);
  const int pad = Plug(XBOX_PAD, "/dev/input/event20");
  SetLogHandler(&SinkCallsEveryExport);
  Register();
  ASSERT_TRUE(WaitForDevListUpdates(1));
  PlayWhileChangingLayouts(pad, 1500ms);
  // Polling goes on after all of it.
  const size_t packets = listener.PacketCount();
  ASSERT_TRUE(WaitForPackets(packets + 10));
  RemoveCallbacks();
  Unregister();
  EXPECT_GT(gCallbacksMade.load(), 100);
  EXPECT_EQ(JoysticAPI_GetMappingList().size(), 6U);
  // The polling thread cannot register or unregister for the sink; other threads can.
  size_t refusedOnPollingThread = 0;
  for (const LogLine& line : CapturedLogs()) {
    if (line.body.find("refused: listeners must not register from the polling thread") !=
        std::string::npos) {
      ++refusedOnPollingThread;
    }
  }
  EXPECT_GT(refusedOnPollingThread, 0U);
}

TEST_F(HostCallback, StoreThatCallsEveryExportFromInsideItsCallsNeverDeadlocks) {
  Watchdog watchdog(120s);
  const int pad = Plug(XBOX_PAD, "/dev/input/event20");
  SetStoreCallHook(&StoreCallsEveryExport);
  Register();
  ASSERT_TRUE(WaitForDevListUpdates(1));
  PlayWhileChangingLayouts(pad, 1500ms);
  ASSERT_TRUE(WaitForStoreCalls("SetSecure", 2));
  const size_t packets = listener.PacketCount();
  ASSERT_TRUE(WaitForPackets(packets + 10));
  RemoveCallbacks();
  // The last choice made is the one stored, once the watcher has caught up.
  ASSERT_EQ(JoysticAPI_SetMapping(0, 4), 0);
  ASSERT_TRUE(listener.WaitFor(
      [] { return StoredValue("joystickPolicyList").find("\"mapping\" : 4") != std::string::npos; },
      10s));
  Unregister();
  EXPECT_GT(gCallbacksMade.load(), 0);
}

// The sink unregistering on the polling thread would have the thread join itself.
TestListener* gSinkTarget = nullptr;

void UnregisterOnThePollingThread(const LogLine& line) {
  if (line.body == DebugBody("joystick process enter\\n") && gSinkTarget != nullptr) {
    JoysticAPI_UnregsisterNotify(gSinkTarget);
  }
}

TEST_F(HostCallback, UnregisterFromTheSinkOnThePollingThreadIsRefusedAndPollingRestartsLater) {
  Watchdog watchdog(120s);
  Plug(XBOX_PAD, "/dev/input/event20");
  gSinkTarget = &listener;
  SetLogHandler(&UnregisterOnThePollingThread);
  Register();
  ASSERT_TRUE(WaitForPackets(5));  // the refused call changed nothing
  SetLogHandler(nullptr);
  char pointer[32];
  std::snprintf(pointer, sizeof pointer, "%p", static_cast<void*>(&listener));
  EXPECT_EQ(CountLogBody(ErrorBody(std::string(pointer) +
                                   " refused: listeners must not unregister from the polling "
                                   "thread")),
            1U);
  Unregister();
  const size_t packets = listener.PacketCount();
  Register();
  ASSERT_TRUE(WaitForPackets(packets + 5));
  EXPECT_EQ(CountLogBody(DebugBody("joystick process enter\\n")), 2U);
}

// Holds the polling thread in the host's sink on its last line for longer than a stop waits.
std::atomic<bool> gHoldLastLine{false};

void HoldTheLastLine(const LogLine& line) {
  if (line.body == DebugBody("joystick exit\\n") && gHoldLastLine.exchange(false)) {
    std::this_thread::sleep_for(2500ms);
  }
}

TEST_F(HostCallback, ARegistrationWhileAStoppedThreadStillEndsHasThatThreadPollAgain) {
  Watchdog watchdog(120s);
  Plug(XBOX_PAD, "/dev/input/event20");
  Register();
  ASSERT_TRUE(WaitForPackets(5));
  gHoldLastLine = true;
  SetLogHandler(&HoldTheLastLine);
  Unregister();  // gives up after 1.5 s: the sink still holds the thread
  EXPECT_EQ(CountLogBody(ErrorBody("polling thread did not stop within 1500 ms, left to end "
                                   "alone")),
            1U);
  const size_t packets = listener.PacketCount();
  Register();  // does not wait: the thread that is ending polls again once the sink returns
  ASSERT_TRUE(WaitForPackets(packets + 5));
  SetLogHandler(nullptr);
  EXPECT_EQ(CountLogBody(DebugBody("joystick process enter\\n")), 2U);
  // One polling thread throughout: every callback came from the same thread.
  const std::vector<std::thread::id> threads = listener.CallbackThreads();
  EXPECT_EQ(std::count(threads.begin(), threads.end(), threads.front()),
            static_cast<std::ptrdiff_t>(threads.size()));
  Unregister();
  EXPECT_EQ(CountLogBody(DebugBody("joystick exit\\n")), 2U);
  EXPECT_EQ(sim_is_initialised(), 0);
}

}  // namespace
}  // namespace cpd::test
