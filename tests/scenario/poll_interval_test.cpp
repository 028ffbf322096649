// A poll interval below 30 ms: changes reach listeners at once, an idle pad keeps its packet rate,
// packet numbers stay gap-free, and log lines keep their rate.
#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <thread>

#include "scenario.h"

namespace cpd::test {
namespace {

using namespace std::chrono_literals;
using PollInterval = Scenario;
using Clock = std::chrono::steady_clock;

// The packet numbers of one slot, in arrival order.
std::vector<uint32_t> NumbersOfSlot(const TestListener& listener, uint8_t slot) {
  std::vector<uint32_t> numbers;
  for (const JoystickDataPacket& packet : PacketsOfSlot(listener, slot)) {
    const uint32_t number = packet.dwPacketNumber;  // a packed field: copied, never referenced
    numbers.push_back(number);
  }
  return numbers;
}

// Packets the listener gets over `window`.
size_t PacketsDuring(const TestListener& listener, std::chrono::milliseconds window) {
  const size_t before = listener.PacketCount();
  std::this_thread::sleep_for(window);
  return listener.PacketCount() - before;
}

// Sets the variable the library reads with getenv when it is first used.
int SetStartingInterval(const char* value) {
#if defined(_WIN32)
  return _putenv_s("CPD_JOYSTICK_POLL_MS", value);
#else
  return setenv("CPD_JOYSTICK_POLL_MS", value, 1);
#endif
}

// Moves the pad's left stick a little at every SDL update, so every poll sees a new state.
struct Wobble {
  int pad = -1;
};

void WobbleOnEveryUpdate(void* context, uint64_t update) {
  const auto* wobble = static_cast<const Wobble*>(context);
  sim_set_axis(wobble->pad, 0, static_cast<int16_t>(1000 + (update % 100) * 100));
}

TEST_F(PollInterval, AcceptsOneToThirtyAndRefusesTheRestWithAnErrorLine) {
  EXPECT_EQ(JoysticAPI_SetPollInterval(1), 0);
  EXPECT_EQ(JoysticAPI_SetPollInterval(30), 0);
  for (const uint16_t refused : {uint16_t{0}, uint16_t{31}, uint16_t{65535}}) {
    EXPECT_EQ(JoysticAPI_SetPollInterval(refused), -1);
    EXPECT_EQ(CountLogBody(ErrorBody("interval[" + std::to_string(refused) +
                                     "] refused: the poll interval is 1 to 30 ms")),
              1U);
  }
  EXPECT_EQ(CountLogBody(DebugBody("interval[1]")), 1U);
}

TEST_F(PollInterval, IsRefusedFromInsideAListenerCallback) {
  Plug(XBOX_PAD, "/dev/input/event20");
  std::atomic<int> answer{1};
  listener.onCallback = [&answer] { answer = JoysticAPI_SetPollInterval(4); };
  Register();
  ASSERT_TRUE(WaitForPackets(2));
  Unregister();  // before the callback goes: the polling thread reads it
  listener.onCallback = nullptr;
  EXPECT_EQ(answer.load(), -1);
  EXPECT_GE(CountLogBody(ErrorBody(
                "interval[4] refused: the poll interval must not be set from inside a callback")),
            1U);
}

TEST_F(PollInterval, AButtonPressAtOneMillisecondArrivesWithinAFewIntervals) {
  const int pad = Plug(XBOX_PAD, "/dev/input/event20");
  ASSERT_EQ(JoysticAPI_SetPollInterval(1), 0);
  Register();
  ASSERT_TRUE(WaitForPackets(5));
  std::vector<double> latencies;
  for (int press = 0; press < 10; ++press) {
    const uint8_t pressed = press % 2 == 0 ? 1 : 0;
    const uint16_t wanted = pressed != 0 ? 0x1000 : 0;
    std::this_thread::sleep_for(std::chrono::milliseconds(7 + 3 * press));  // varied phases
    const auto start = Clock::now();
    sim_set_button(pad, 0, pressed);
    ASSERT_TRUE(listener.WaitFor([&] {
      const auto packets = PacketsOfSlot(listener, 0);
      return !packets.empty() && packets.back().wButtons == wanted;
    }));
    latencies.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
  }
  std::sort(latencies.begin(), latencies.end());
  // At the default interval the median is about 15 ms.
  EXPECT_LT(latencies[latencies.size() / 2], 10.0);
}

TEST_F(PollInterval, AnIdlePadSendsAboutAsManyPacketsInEveryMode) {
  Plug(XBOX_PAD, "/dev/input/event20");
  Register();
  ASSERT_TRUE(WaitForPackets(5));
  const size_t atDefault = PacketsDuring(listener, 1500ms);
  ASSERT_EQ(JoysticAPI_SetPollInterval(4), 0);
  std::this_thread::sleep_for(100ms);
  const size_t atFour = PacketsDuring(listener, 1500ms);
  ASSERT_EQ(JoysticAPI_SetPollInterval(1), 0);
  std::this_thread::sleep_for(100ms);
  const size_t atOne = PacketsDuring(listener, 1500ms);
  // About 33 a second in each: 50 in the window, less when the machine is slow.
  EXPECT_GT(atDefault, 20U);
  for (const size_t fast : {atFour, atOne}) {
    EXPECT_GT(fast, atDefault * 6 / 10) << atDefault << " at 30 ms";
    EXPECT_LT(fast, atDefault * 14 / 10 + 5) << atDefault << " at 30 ms";
  }
}

TEST_F(PollInterval, AMovingStickSendsEveryPollButLogsNoMoreThanAtTheDefault) {
  Wobble wobble;
  wobble.pad = Plug(XBOX_PAD, "/dev/input/event20");
  Register();
  ASSERT_TRUE(WaitForPackets(5));
  sim_set_button(wobble.pad, 0, 1);  // held: its read line comes with every logged report
  sim_set_update_hook(&WobbleOnEveryUpdate, &wobble);
  std::this_thread::sleep_for(100ms);
  ClearLogs();
  const size_t packetsAtDefault = PacketsDuring(listener, 1500ms);
  const size_t linesAtDefault = CapturedLogs().size();
  ASSERT_EQ(JoysticAPI_SetPollInterval(2), 0);
  std::this_thread::sleep_for(100ms);
  ClearLogs();
  const size_t packetsFast = PacketsDuring(listener, 1500ms);
  const size_t linesFast = CapturedLogs().size();
  sim_set_update_hook(nullptr, nullptr);
  EXPECT_GT(packetsFast, packetsAtDefault * 2) << packetsAtDefault << " at 30 ms";
  EXPECT_LT(linesFast, linesAtDefault * 3 / 2 + 10) << linesAtDefault << " at 30 ms";
}

TEST_F(PollInterval, SwitchingBackAndForthWhilePollingLosesNoPacketNumber) {
  Wobble wobble;
  wobble.pad = Plug(XBOX_PAD, "/dev/input/event20");
  Register();
  ASSERT_TRUE(WaitForPackets(5));
  sim_set_update_hook(&WobbleOnEveryUpdate, &wobble);
  for (const uint16_t interval : {4, 30, 1, 30, 7, 1, 30}) {
    ASSERT_EQ(JoysticAPI_SetPollInterval(interval), 0);
    std::this_thread::sleep_for(150ms);
  }
  sim_set_update_hook(nullptr, nullptr);
  Unregister();
  const std::vector<uint32_t> numbers = NumbersOfSlot(listener, 0);
  ASSERT_GT(numbers.size(), 50U);
  for (size_t i = 1; i < numbers.size(); ++i) {
    ASSERT_EQ(numbers[i], numbers[i - 1] + 1) << "at packet " << i;
  }
}

TEST_F(PollInterval, TheLastUnregisterReturnsWithinAboutOneInterval) {
  Plug(XBOX_PAD, "/dev/input/event20");
  ASSERT_EQ(JoysticAPI_SetPollInterval(2), 0);
  Register();
  ASSERT_TRUE(WaitForPackets(20));
  const auto start = Clock::now();
  Unregister();
  EXPECT_LT(Clock::now() - start, 1s);  // wide: one interval plus a slow machine's scheduling
}

// The variable is read when the library is first used, so these set it before any call and then
// count the packets of one pad whose stick moves at every poll.
class PollIntervalFromEnvironment : public PollInterval {
 protected:
  size_t PacketsInASecondOfMovement() {
    Wobble wobble;
    wobble.pad = Plug(XBOX_PAD, "/dev/input/event20");
    Register();
    EXPECT_TRUE(WaitForPackets(5));
    sim_set_update_hook(&WobbleOnEveryUpdate, &wobble);
    std::this_thread::sleep_for(100ms);
    const size_t packets = PacketsDuring(listener, 1000ms);
    sim_set_update_hook(nullptr, nullptr);
    return packets;
  }
};

TEST_F(PollIntervalFromEnvironment, SetsTheStartingInterval) {
  ASSERT_EQ(SetStartingInterval("4"), 0);
  const size_t packets = PacketsInASecondOfMovement();
  EXPECT_GT(packets, 80U);  // a new state every poll: far above the 33 a second of 30 ms
  EXPECT_EQ(
      CountLogBody(ErrorBody("CPD_JOYSTICK_POLL_MS=4 ignored: the poll interval is 1 to 30 ms")),
      0U);
}

TEST_F(PollIntervalFromEnvironment, BadValueIsIgnoredWithOneErrorLine) {
  ASSERT_EQ(SetStartingInterval("fast"), 0);
  const size_t packets = PacketsInASecondOfMovement();
  EXPECT_LT(packets, 45U);  // the default: one packet per 30 ms poll
  EXPECT_EQ(
      CountLogBody(ErrorBody("CPD_JOYSTICK_POLL_MS=fast ignored: the poll interval is 1 to 30 ms")),
      1U);
}

}  // namespace
}  // namespace cpd::test
