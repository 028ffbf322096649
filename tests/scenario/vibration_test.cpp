// The host's motor requests: what JoysticAPI_SetVibration answers, how soon and for how long the
// speeds reach the controller, which controller they reach, when the motors stop, and that the
// packet stream does not notice any of it.
#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>
#include <mutex>
#include <thread>

#include "motor_speeds.h"
#include "scenario.h"

namespace cpd::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Vibration = Scenario;

Speeds MotorsOf(int pad) {
  Speeds speeds;
  sim_motors(pad, &speeds.low, &speeds.high);
  return speeds;
}

// Waits until the pad's motors run at `speeds`.
bool WaitForMotors(int pad, Speeds speeds, std::chrono::milliseconds timeout = 10s) {
  const auto deadline = Clock::now() + timeout;
  while (!(MotorsOf(pad) == speeds)) {
    if (Clock::now() > deadline) {
      return false;
    }
    std::this_thread::sleep_for(100us);
  }
  return true;
}

// The pad's speed changes, as (speeds, cause) pairs.
std::vector<std::pair<Speeds, int>> ChangesOf(int pad) {
  std::vector<std::pair<Speeds, int>> changes;
  for (const sim_motor_change& change : sim::MotorChanges(pad)) {
    changes.emplace_back(Speeds{change.low, change.high}, change.cause);
  }
  return changes;
}

using Changes = std::vector<std::pair<Speeds, int>>;

// The SDL_JoystickRumble calls the library made, with their arguments after the handle.
std::vector<std::string> RumbleCalls() {
  std::vector<std::string> calls;
  for (const sim_call& call : sim::Journal()) {
    if (std::strcmp(call.function, "SDL_JoystickRumble") == 0) {
      const std::string arguments = call.arguments;
      calls.push_back(arguments.substr(arguments.find(", ") + 2));
    }
  }
  return calls;
}

// Debug and error lines other than the poll's own state lines.
size_t LinesMentioning(const std::string& part) {
  size_t count = 0;
  for (const LogLine& line : CapturedLogs()) {
    count += line.body.find(part) != std::string::npos ? 1 : 0;
  }
  return count;
}

TEST_F(Vibration, AnswersWhetherTheSlotHoldsAControllerWithMotorsAndLogsNothing) {
  EXPECT_EQ(JoysticAPI_SetVibration(0, 1, 1), -1);  // nothing registered
  const int xbox = Plug(XBOX_PAD, "/dev/input/event20");
  Plug(GENERIC_PAD, "/dev/input/event21");
  Plug(PEN_TABLET, "/dev/input/event22");
  EXPECT_EQ(JoysticAPI_SetVibration(0, 1, 1), -1);  // plugged, but not open yet
  Register();
  ASSERT_TRUE(WaitForDevListUpdates(1));
  ClearLogs();

  EXPECT_EQ(JoysticAPI_SetVibration(0, 1000, 2000), 0);
  EXPECT_EQ(JoysticAPI_SetVibration(1, 1000, 2000), -2);  // the generic pad has no motors
  EXPECT_EQ(JoysticAPI_SetVibration(2, 1000, 2000), -1);  // the tablet is never a controller
  EXPECT_EQ(JoysticAPI_SetVibration(3, 1000, 2000), -1);
  EXPECT_EQ(JoysticAPI_SetVibration(4, 1000, 2000), -1);
  EXPECT_EQ(JoysticAPI_SetVibration(65535, 1000, 2000), -1);
  ASSERT_TRUE(WaitForMotors(xbox, {1000, 2000}));
  std::this_thread::sleep_for(100ms);
  for (const LogLine& line : CapturedLogs()) {
    EXPECT_EQ(line.body.find("joystick["), 0U) << "only the poll's own lines: " << line.body;
  }
  EXPECT_EQ(LinesMentioning("Error"), 0U);
}

TEST_F(Vibration, SpeedsReachThePadAtOnceAndHoldWithoutAGapUntilChanged) {
  const int pad = Plug(XBOX_PAD, "/dev/input/event20");
  Register();
  ASSERT_TRUE(WaitForPackets(2));
  const auto asked = Clock::now();
  ASSERT_EQ(JoysticAPI_SetVibration(0, 30000, 65535), 0);
  ASSERT_TRUE(WaitForMotors(pad, {30000, 65535}));
  // 2 ms is the mark on an idle machine; sanitizer builds on a loaded one get more room.
  EXPECT_LT(Clock::now() - asked, 250ms);

  // Longer than SDL is ever asked to run a rumble at once.
  std::this_thread::sleep_for(2500ms);
  EXPECT_EQ(MotorsOf(pad), (Speeds{30000, 65535}));
  EXPECT_EQ(ChangesOf(pad), (Changes{{{30000, 65535}, SIM_MOTORS_SET}}));
  const std::vector<std::string> calls = RumbleCalls();
  ASSERT_GE(calls.size(), 3U);  // armed, then armed again before it ran out
  for (const std::string& call : calls) {
    EXPECT_EQ(call, "30000, 65535, 1000");
  }

  ASSERT_EQ(JoysticAPI_SetVibration(0, 0, 0), 0);
  ASSERT_TRUE(WaitForMotors(pad, {0, 0}));
  const size_t callsWhenStopped = RumbleCalls().size();
  std::this_thread::sleep_for(1200ms);
  EXPECT_EQ(ChangesOf(pad), (Changes{{{30000, 65535}, SIM_MOTORS_SET}, {{0, 0}, SIM_MOTORS_SET}}));
  EXPECT_EQ(RumbleCalls().back(), "0, 0, 1000");
  EXPECT_EQ(RumbleCalls().size(), callsWhenStopped);  // stopped motors are not armed again
}

// The polling thread is held inside a data callback while the host asks three times: only the
// last request reaches the pad.
TEST_F(Vibration, OnlyTheLastOfABurstReachesThePad) {
  const int pad = Plug(XBOX_PAD, "/dev/input/event20");
  // Owned by the callback, which the polling thread may still run after the test body: the
  // fixture unregisters only in TearDown. No lock of the test's is held while it calls the
  // library, so none can stand in its way; the hold ends on its own should the test fail first.
  struct Hold {
    std::atomic<bool> holding{false};
    std::atomic<bool> released{false};
  };
  const auto hold = std::make_shared<Hold>();
  listener.onCallback = [hold] {
    if (!hold->holding.exchange(true)) {
      const auto limit = Clock::now() + 10s;
      while (!hold->released.load() && Clock::now() < limit) {
        std::this_thread::sleep_for(1ms);
      }
    }
  };
  Register();
  ASSERT_TRUE(listener.WaitFor([&] { return hold->holding.load(); }));
  EXPECT_EQ(JoysticAPI_SetVibration(0, 100, 100), 0);
  EXPECT_EQ(JoysticAPI_SetVibration(0, 200, 200), 0);
  EXPECT_EQ(JoysticAPI_SetVibration(0, 300, 400), 0);
  std::this_thread::sleep_for(50ms);
  EXPECT_EQ(MotorsOf(pad), (Speeds{0, 0}));  // the polling thread is still held
  hold->released = true;
  ASSERT_TRUE(WaitForMotors(pad, {300, 400}));
  EXPECT_EQ(ChangesOf(pad), (Changes{{{300, 400}, SIM_MOTORS_SET}}));
}

TEST_F(Vibration, ARequestFromInsideAListenerCallbackIsTaken) {
  const int pad = Plug(XBOX_PAD, "/dev/input/event20");
  struct Ask {
    std::atomic<int> answer{1};
    std::atomic<bool> asked{false};
  };
  const auto ask = std::make_shared<Ask>();  // the callback's own, see above
  listener.onCallback = [ask] {
    if (!ask->asked.exchange(true)) {
      ask->answer = JoysticAPI_SetVibration(0, 5000, 6000);
    }
  };
  Register();
  ASSERT_TRUE(WaitForMotors(pad, {5000, 6000}));
  EXPECT_EQ(ask->answer.load(), 0);
}

TEST_F(Vibration, TheLastUnregisterStopsTheMotorsBeforeClosingThePad) {
  const int pad = Plug(XBOX_PAD, "/dev/input/event20");
  Register();
  ASSERT_TRUE(WaitForPackets(2));
  ASSERT_EQ(JoysticAPI_SetVibration(0, 1234, 4321), 0);
  ASSERT_TRUE(WaitForMotors(pad, {1234, 4321}));
  Unregister();
  EXPECT_EQ(MotorsOf(pad), (Speeds{0, 0}));
  EXPECT_EQ(ChangesOf(pad), (Changes{{{1234, 4321}, SIM_MOTORS_SET}, {{0, 0}, SIM_MOTORS_SET}}));
  EXPECT_EQ(RumbleCalls().back(), "0, 0, 0");
  EXPECT_EQ(JoysticAPI_SetVibration(0, 1, 1), -1);

  // A new start begins with the motors off.
  Register();
  ASSERT_TRUE(WaitForDevListUpdates(2));
  std::this_thread::sleep_for(100ms);
  EXPECT_EQ(MotorsOf(pad), (Speeds{0, 0}));
}

// Another pad plugged: every controller is closed and opened again. The rumbling one stops while
// it is closed and runs again at the same speeds once it is back in its slot.
TEST_F(Vibration, AReOpenStopsThePadAndItsSpeedsComeBackWithItInItsSlot) {
  const int pad = Plug(XBOX_PAD, "/dev/input/event20");
  Register();
  ASSERT_TRUE(WaitForDevListUpdates(1));
  ASSERT_EQ(JoysticAPI_SetVibration(0, 7000, 8000), 0);
  ASSERT_TRUE(WaitForMotors(pad, {7000, 8000}));

  const int other = Plug(DUALSENSE_PAD, "/dev/input/event21");
  ASSERT_TRUE(WaitForDevListUpdates(2));
  ASSERT_TRUE(WaitForMotors(pad, {7000, 8000}));
  EXPECT_EQ(ChangesOf(pad), (Changes{{{7000, 8000}, SIM_MOTORS_SET},
                                     {{0, 0}, SIM_MOTORS_SET},
                                     {{7000, 8000}, SIM_MOTORS_SET}}));
  EXPECT_TRUE(ChangesOf(other).empty());
  EXPECT_EQ(JoysticAPI_SetVibration(1, 10, 20), 0);
  ASSERT_TRUE(WaitForMotors(other, {10, 20}));
}

// A loose cable: the same pad comes back on the same path, and SDL sees a new device.
TEST_F(Vibration, APadBackOnItsPathRunsAgainAtTheSpeedsLastAskedOfIt) {
  const int pad = Plug(XBOX_PAD, "/dev/input/event20");
  Register();
  ASSERT_TRUE(WaitForDevListUpdates(1));
  ASSERT_EQ(JoysticAPI_SetVibration(0, 900, 0), 0);
  ASSERT_TRUE(WaitForMotors(pad, {900, 0}));
  const int back = sim_replug(pad);
  ASSERT_GE(back, 0);
  ASSERT_TRUE(WaitForMotors(back, {900, 0}));
  EXPECT_EQ(ChangesOf(back), (Changes{{{900, 0}, SIM_MOTORS_SET}}));
}

// The pad leaves and another takes its slot: nothing asked of the first reaches the second.
TEST_F(Vibration, APadThatTakesOverASlotGetsNothingAskedOfTheOneBefore) {
  const int first = Plug(XBOX_PAD, "/dev/input/event20");
  Register();
  ASSERT_TRUE(WaitForDevListUpdates(1));
  ASSERT_EQ(JoysticAPI_SetVibration(0, 4000, 4000), 0);
  ASSERT_TRUE(WaitForMotors(first, {4000, 4000}));

  sim_unplug(first);
  const int second = Plug(DUALSENSE_PAD, "/dev/input/event21");
  ASSERT_TRUE(listener.WaitFor([&] {
    const std::list<_CpdJoystickDeviceInfo> devices = JoysticAPI_GetDevList();
    return devices.size() == 1 && devices.front().path == "/dev/input/event21";
  }));
  ASSERT_EQ(JoysticAPI_GetDevList().front().index, 0);
  std::this_thread::sleep_for(200ms);
  EXPECT_TRUE(ChangesOf(second).empty());
  // The library told the pad that left to stop, though SDL could no longer reach it.
  const std::vector<std::string> calls = RumbleCalls();
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "0, 0, 0"), 1);

  ASSERT_EQ(JoysticAPI_SetVibration(0, 50, 60), 0);
  ASSERT_TRUE(WaitForMotors(second, {50, 60}));
}

// A layout change leaves the controller, and so its motors, as they are.
TEST_F(Vibration, ALayoutChangeKeepsTheMotorsRunning) {
  const int pad = Plug(XBOX_PAD, "/dev/input/event20");
  Register();
  ASSERT_TRUE(WaitForDevListUpdates(1));
  ASSERT_EQ(JoysticAPI_SetVibration(0, 300, 300), 0);
  ASSERT_TRUE(WaitForMotors(pad, {300, 300}));
  ASSERT_EQ(JoysticAPI_SetMapping(0, 1), 0);
  std::this_thread::sleep_for(100ms);
  EXPECT_EQ(ChangesOf(pad), (Changes{{{300, 300}, SIM_MOTORS_SET}}));
}

// Every packet records the SDL update count at its arrival: with one pad at the default interval
// every poll makes the same number of updates and sends one packet, so any packet added or
// dropped shows as a different step.
struct UpdateAtPacket {
  std::mutex mutex;
  std::vector<uint64_t> updates;
};

// Packet numbers of the slot rise by one from packet to packet: none was lost or added.
void ExpectGapFreeNumbers(const TestListener& listener, uint8_t slot) {
  const std::vector<JoystickDataPacket> sent = PacketsOfSlot(listener, slot);
  for (size_t at = 1; at < sent.size(); ++at) {
    const uint32_t previous = sent[at - 1].dwPacketNumber;  // packed: copied, never referenced
    const uint32_t number = sent[at].dwPacketNumber;
    EXPECT_EQ(number, previous + 1) << "packet " << at;
  }
}

void HammerFor(std::chrono::milliseconds window, uint16_t slots) {
  const auto end = Clock::now() + window;
  uint16_t speed = 1;
  while (Clock::now() < end) {
    for (uint16_t slot = 0; slot < slots; ++slot) {
      JoysticAPI_SetVibration(slot, speed, static_cast<uint16_t>(speed * 3));
    }
    ++speed;
    std::this_thread::sleep_for(1ms);
  }
}

TEST_F(Vibration, HammeringAtTheDefaultIntervalAddsAndDropsNoPacket) {
  Plug(XBOX_PAD, "/dev/input/event20");
  const auto shared = std::make_shared<UpdateAtPacket>();  // the callback's own, see above
  UpdateAtPacket& seen = *shared;
  listener.onCallback = [shared] {
    std::lock_guard<std::mutex> lock(shared->mutex);
    shared->updates.push_back(sim_update_count());
  };
  Register();
  ASSERT_TRUE(WaitForPackets(3));
  const size_t before = listener.PacketCount();
  HammerFor(1500ms, 1);
  const size_t during = listener.PacketCount() - before;
  Unregister();

  std::lock_guard<std::mutex> lock(seen.mutex);
  const std::vector<std::string> kinds = listener.Sequence();
  ASSERT_EQ(kinds.size(), seen.updates.size());
  std::vector<uint64_t> packets;
  for (size_t at = 0; at < kinds.size(); ++at) {
    if (kinds[at] == "data") {
      packets.push_back(seen.updates[at]);
    }
  }
  ASSERT_GE(packets.size(), 3U);
  const uint64_t step = packets[2] - packets[1];  // two idle polls before the requests began
  EXPECT_GE(step, 1U);
  for (size_t at = 2; at < packets.size(); ++at) {
    EXPECT_EQ(packets[at] - packets[at - 1], step) << "packet " << at;
  }
  ExpectGapFreeNumbers(listener, 0);
  // About 50 polls in 1.5 s; wide, for loaded machines.
  EXPECT_GE(during, 25U);
  EXPECT_LE(during, 60U);
}

TEST_F(Vibration, HammeringAtOneMillisecondAddsNoPacketToAnIdlePad) {
  Plug(XBOX_PAD, "/dev/input/event20");
  ASSERT_EQ(JoysticAPI_SetPollInterval(1), 0);
  Register();
  ASSERT_TRUE(WaitForPackets(3));
  const size_t before = listener.PacketCount();
  HammerFor(1500ms, 4);
  const size_t during = listener.PacketCount() - before;
  Unregister();
  JoysticAPI_SetPollInterval(30);

  // An idle pad still sends once a 30 ms period: about 50 in 1.5 s, never one per request.
  EXPECT_GE(during, 25U);
  EXPECT_LE(during, 60U);
  ExpectGapFreeNumbers(listener, 0);
}

}  // namespace
}  // namespace cpd::test
