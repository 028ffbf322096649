// The polling thread as listeners see it: packets, change logs, events, hot-plug and recovery.
#include <algorithm>
#include <atomic>
#include <cstring>
#include <map>
#include <thread>

#include "scenario.h"

namespace cpd::test {
namespace {

using Polling = Scenario;
using namespace std::chrono_literals;

const std::string THREAD_EXIT = DebugBody("joystick exit\\n");

size_t CountStateLines() {
  size_t count = 0;
  for (const std::string& body : LogBodies()) {
    count += body.rfind("\"Debug:\" \"joystick[", 0) == 0 &&
                     body.find("dwPacketNumber[") != std::string::npos
                 ? 1
                 : 0;
  }
  return count;
}

TEST_F(Polling, NoControllerRebuildsAnEmptyListSilently) {
  Register();
  // Two empty passes, 2 s apart.
  ASSERT_TRUE(WaitForLog(DebugBody("joystick process enter\\n")));
  std::this_thread::sleep_for(2500ms);
  EXPECT_EQ(listener.DevListUpdateCount(), 0U);
  EXPECT_TRUE(listener.Events().empty());
  EXPECT_EQ(listener.PacketCount(), 0U);
  EXPECT_TRUE(JoysticAPI_GetDevList().empty());
}

TEST_F(Polling, IdleControllerSendsIdenticalPacketsWithRisingNumbers) {
  Plug(XBOX_PAD, "/dev/input/event20");
  Register();
  ASSERT_TRUE(WaitForPackets(20));
  const std::vector<JoystickDataPacket> packets = PacketsOfSlot(listener, 0);
  ASSERT_GE(packets.size(), 20U);
  for (size_t i = 0; i < packets.size(); ++i) {
    const uint32_t number = packets[i].dwPacketNumber;  // packed: copy before comparing
    EXPECT_EQ(number, i);
    EXPECT_EQ(std::memcmp(reinterpret_cast<const uint8_t*>(&packets[i]) + 5,
                          reinterpret_cast<const uint8_t*>(&packets[0]) + 5, 12),
              0);
  }
  for (const int32_t length : listener.PacketLengths()) {
    EXPECT_EQ(length, 17);
  }
  EXPECT_EQ(CountStateLines(), 0U);
}

TEST_F(Polling, PacketsComeAboutEveryThirtyMilliseconds) {
  Plug(XBOX_PAD, "/dev/input/event20");
  Register();
  ASSERT_TRUE(WaitForPackets(1));
  const size_t before = listener.PacketCount();
  std::this_thread::sleep_for(1000ms);
  const size_t perSecond = listener.PacketCount() - before;
  EXPECT_GE(perSecond, 10U);  // wide: machines are shared and sanitizers slow
  EXPECT_LE(perSecond, 34U);  // never faster than the period allows
}

TEST_F(Polling, PressedButtonIsInThePacketAndLoggedOnce) {
  const int pad = Plug(XBOX_PAD, "/dev/input/event20");
  Register();
  ASSERT_TRUE(WaitForPackets(3));
  sim_set_button(pad, 0, 1);  // A on the Xbox layout
  ASSERT_TRUE(listener.WaitFor([&] {
    const auto packets = PacketsOfSlot(listener, 0);
    return !packets.empty() && packets.back().wButtons == 0x1000;
  }));
  std::this_thread::sleep_for(200ms);
  EXPECT_EQ(CountStateLines(), 1U);
  const std::vector<std::string> bodies = LogBodies();
  const auto line = std::find_if(bodies.begin(), bodies.end(), [](const std::string& body) {
    return body.find("wButtons[1000]") != std::string::npos;
  });
  ASSERT_NE(line, bodies.end());
  EXPECT_NE(line->find("joystick[0][xbox wireless controller] dwPacketNumber["), std::string::npos);
  EXPECT_NE(line->find("bLeftTrigger[0] bRightTrigger[0] sThumbLX[0] sThumbLY[0] sThumbRX[0] "
                       "sThumbRY[0]\\n"),
            std::string::npos)
      << *line;
}

TEST_F(Polling, StickMovesAreLoggedOnlyOnEveryThirtiethPoll) {
  const int pad = Plug(XBOX_PAD, "/dev/input/event20");
  Register();
  ASSERT_TRUE(WaitForPackets(2));
  // Keep the stick moving, so that nearly every poll sees a new position.
  int16_t value = 1000;
  const auto until = std::chrono::steady_clock::now() + 2500ms;
  while (std::chrono::steady_clock::now() < until) {
    sim_set_axis(pad, 0, value);
    value = static_cast<int16_t>(value + 37);
    std::this_thread::sleep_for(7ms);
  }
  std::vector<std::string> numbers;
  for (const std::string& body : LogBodies()) {
    const size_t at = body.find("dwPacketNumber[");
    if (at != std::string::npos) {
      numbers.push_back(body.substr(at + 15, body.find(']', at) - at - 15));
    }
  }
  ASSERT_FALSE(numbers.empty());
  for (const std::string& number : numbers) {
    EXPECT_EQ(std::stoi(number) % 30, 0) << number;
  }
}

TEST_F(Polling, DataEventAtMostOncePerFiveHundredPolls) {
  const int pad = Plug(XBOX_PAD, "/dev/input/event20");
  Register();
  ASSERT_TRUE(WaitForPackets(2));
  for (int i = 0; i < 6; ++i) {
    sim_set_button(pad, 1, static_cast<uint8_t>(i % 2 == 0 ? 1 : 0));
    std::this_thread::sleep_for(100ms);
  }
  const std::vector<RecordedEvent> events = EventsNamed("JOYSTICK_DEV_SEND_DATA");
  // The first logged change falls in bucket 0, which the run starts with: no event yet.
  EXPECT_TRUE(events.empty());
  EXPECT_GE(CountStateLines(), 4U);
}

TEST_F(Polling, LoggedChangeInANewBucketOfFiveHundredPollsSendsTheDataEvent) {
  const int pad = Plug(XBOX_PAD, "/dev/input/event20");
  Register();
  ASSERT_TRUE(listener.WaitFor([&] { return listener.PacketCount() > 505; }, 60s));
  sim_set_button(pad, 0, 1);
  ASSERT_TRUE(listener.WaitFor([&] { return !EventsNamed("JOYSTICK_DEV_SEND_DATA").empty(); }));
  sim_set_button(pad, 0, 0);
  std::this_thread::sleep_for(200ms);  // a second logged change in the same bucket
  const std::vector<RecordedEvent> events = EventsNamed("JOYSTICK_DEV_SEND_DATA");
  ASSERT_EQ(events.size(), 1U);
  const std::string& message = events[0].record.at("message");
  const std::string text = "xbox wireless controller has joystick data:";
  const size_t at = message.find("] " + text);
  ASSERT_NE(at, std::string::npos) << message;
  EXPECT_EQ(message.rfind("[polling_thread.cpp cpd::JoystickManager::process(", 0), 0U) << message;
  const int counter = std::stoi(message.substr(at + 2 + text.size()));
  EXPECT_GE(counter, 500);
  EXPECT_LT(counter, 1000);
}

TEST_F(Polling, ControllerDetachedDuringAPollIsReportedByName) {
  DetachDuringReport detach;
  detach.pad = Plug(XBOX_PAD, "/dev/input/event20");
  Register();
  ASSERT_TRUE(WaitForPackets(5));
  const size_t packetsBefore = listener.PacketCount();
  sim_set_update_hook(&UnplugInReportUpdate, &detach);
  ASSERT_TRUE(listener.WaitFor([&] { return !EventsNamed("JOYSTICK_DEV_DETACHED").empty(); }));
  sim_set_update_hook(nullptr, nullptr);
  const std::string message = EventsNamed("JOYSTICK_DEV_DETACHED")[0].record.at("message");
  EXPECT_NE(message.find("cpd::JoystickManager::process("), std::string::npos);
  EXPECT_NE(message.find(")] xbox wireless controller detached"), std::string::npos);
  EXPECT_EQ(CountLogBody(DebugBody("joystick[xbox wireless controller] detached")), 1U);
  // The detaching poll still delivered its packet, then the run started over.
  const std::vector<std::string> sequence = listener.Sequence();
  const auto detached = std::find(sequence.begin(), sequence.end(), "JOYSTICK_DEV_DETACHED");
  ASSERT_NE(detached, sequence.begin());
  EXPECT_EQ(*(detached - 1), "data");
  EXPECT_GT(listener.PacketCount(), packetsBefore);
  ASSERT_TRUE(WaitForDevListUpdates(2));
  EXPECT_TRUE(JoysticAPI_GetDevList().empty());
}

TEST_F(Polling, UnpluggingOneOfTwoDetachesItAndRestartsTheRun) {
  Plug(XBOX_PAD, "/dev/input/event20");
  const int second = Plug(DUALSENSE_PAD, "/dev/input/event21");
  Register();
  ASSERT_TRUE(WaitForDevListUpdates(1));
  ASSERT_TRUE(WaitForPackets(10));
  sim_unplug(second);
  ASSERT_TRUE(WaitForDevListUpdates(2));
  // The count changed before the walk, so the run ends on the count check; a controller that
  // detaches between the check and its read is reported as detached instead.
  ASSERT_TRUE(WaitForLog(DebugBody("SDL numJoysticks[1] Joysticks.size()[2]")) ||
              !EventsNamed("JOYSTICK_DEV_DETACHED").empty());
  const std::list<_CpdJoystickDeviceInfo> devices = JoysticAPI_GetDevList();
  ASSERT_EQ(devices.size(), 1U);
  EXPECT_EQ(devices.front().index, 0);
  ASSERT_TRUE(WaitForPackets(listener.PacketCount() + 5));
  EXPECT_EQ(PacketsOfSlot(listener, 0).back().slot, 0);
}

TEST_F(Polling, TwoListenersSeeIdenticalPacketStreams) {
  TestListener other;
  const int pad = Plug(XBOX_PAD, "/dev/input/event20");
  Register();
  Register(&other);
  ASSERT_TRUE(WaitForPackets(5, &other));
  sim_set_axis(pad, 1, -20000);
  ASSERT_TRUE(WaitForPackets(listener.PacketCount() + 10, &other));
  Unregister(&other);
  Unregister();
  // Both were registered for the same polls after the second registration.
  const auto mine = listener.Packets();
  const auto theirs = other.Packets();
  ASSERT_FALSE(theirs.empty());
  const auto start = std::find(mine.begin(), mine.end(), theirs.front());
  ASSERT_NE(start, mine.end());
  EXPECT_TRUE(std::equal(theirs.begin(), theirs.end(), start));
}

TEST_F(Polling, InitialisationFailureIsRetriedUntilItSucceeds) {
  sim_fail_next_init("no joystick support yet");
  Plug(XBOX_PAD, "/dev/input/event20");
  Register();
  ASSERT_TRUE(WaitForLog(ErrorBody("SDL initialization failed: no joystick support yet")));
  ASSERT_TRUE(WaitForPackets(5));  // after the 2 s retry
  EXPECT_EQ(JoysticAPI_GetDevList().size(), 1U);
}

TEST_F(Polling, OpenFailureIsRetriedUntilItSucceeds) {
  sim_fail_next_open("device busy");
  Plug(XBOX_PAD, "/dev/input/event20");
  Register();
  ASSERT_TRUE(WaitForLog(ErrorBody("SDL_JoystickOpen failed")));
  ASSERT_TRUE(WaitForPackets(5));  // after the 1 s retry
  EXPECT_EQ(JoysticAPI_GetDevList().size(), 1U);
}

struct UnplugDuringBurst {
  int pad = -1;
  uint64_t firstUpdate = 0;
  bool armed = false;
};

void UnplugAfterTenSamples(void* context, uint64_t update) {
  auto* script = static_cast<UnplugDuringBurst*>(context);
  if (!script->armed) {
    script->armed = true;
    script->firstUpdate = update;
  }
  if (update == script->firstUpdate + 10) {
    sim_unplug(script->pad);
  }
}

TEST_F(Polling, ControllerUnpluggedDuringItsBaselineIsDroppedAtTheNextRun) {
  UnplugDuringBurst script;
  script.pad = Plug(XBOX_PAD, "/dev/input/event20");
  sim_set_update_hook(&UnplugAfterTenSamples, &script);
  Register();
  // The run that opened it notices the count change and starts over with nothing attached.
  ASSERT_TRUE(WaitForLog(DebugBody("SDL numJoysticks[0] Joysticks.size()[1]")));
  sim_set_update_hook(nullptr, nullptr);
  ASSERT_TRUE(listener.WaitFor([&] { return listener.DevListUpdateCount() >= 2; }, 10s));
  EXPECT_TRUE(JoysticAPI_GetDevList().empty());
}

TEST_F(Polling, ReplugUnderTheSamePathKeepsTheSlotAmongFour) {
  std::vector<int> pads;
  for (int i = 0; i < 4; ++i) {
    pads.push_back(Plug(GENERIC_PAD, "/dev/input/event" + std::to_string(60 + i)));
  }
  Register();
  ASSERT_TRUE(WaitForDevListUpdates(1));
  std::map<std::string, uint16_t> slots;
  for (const _CpdJoystickDeviceInfo& device : JoysticAPI_GetDevList()) {
    slots[device.path] = device.index;
  }
  ASSERT_EQ(slots.size(), 4U);
  sim_unplug(pads[1]);
  ASSERT_TRUE(WaitForDevListUpdates(2));
  Plug(GENERIC_PAD, "/dev/input/event61");
  ASSERT_TRUE(listener.WaitFor(
      [&] { return listener.DevListUpdateCount() >= 3 && JoysticAPI_GetDevList().size() == 4; },
      20s));
  for (const _CpdJoystickDeviceInfo& device : JoysticAPI_GetDevList()) {
    EXPECT_EQ(device.index, slots[device.path]) << device.path;
  }
}

TEST_F(Polling, NewControllerTakesOverTheSlotOfOneThatLeft) {
  std::vector<int> pads;
  for (int i = 0; i < 4; ++i) {
    pads.push_back(Plug(GENERIC_PAD, "/dev/input/event" + std::to_string(60 + i)));
  }
  Register();
  ASSERT_TRUE(WaitForDevListUpdates(1));
  sim_unplug(pads[1]);  // held slot 1
  Plug(XBOX_PAD, "/dev/input/event99");
  ASSERT_TRUE(WaitForLog(
      DebugBody("joystick update index[1] path[/dev/input/event99] old[/dev/input/event61]\\n"), 1,
      20s));
  ASSERT_TRUE(listener.WaitFor(
      [&] {
        const auto devices = JoysticAPI_GetDevList();
        return devices.size() == 4 &&
               std::any_of(devices.begin(), devices.end(), [](const _CpdJoystickDeviceInfo& d) {
                 return d.path == "/dev/input/event99" && d.index == 1;
               });
      },
      20s));
}

TEST_F(Polling, ControllerWithoutADevicePathIsNeverOpened) {
  sim_plug("Pathless Pad", nullptr, 0x1234, 0x0001, 2, 2, 0);
  Plug(XBOX_PAD, "/dev/input/event20");
  Register();
  ASSERT_TRUE(WaitForPackets(5));
  const std::list<_CpdJoystickDeviceInfo> devices = JoysticAPI_GetDevList();
  ASSERT_EQ(devices.size(), 1U);
  EXPECT_EQ(devices.front().path, "/dev/input/event20");
  for (const sim_call& call : sim::Journal()) {
    if (std::strcmp(call.function, "SDL_JoystickOpen") == 0) {
      EXPECT_STREQ(call.arguments, "1");  // the pathless pad is SDL index 0
    }
  }
}

TEST_F(Polling, PenTabletAmongControllersIsOpenedButNeverReported) {
  Plug(XBOX_PAD, "/dev/input/event20");
  Plug(PEN_TABLET, "/dev/input/event21");
  Register();
  ASSERT_TRUE(WaitForPackets(30));
  for (const auto& bytes : listener.Packets()) {
    EXPECT_EQ(bytes[0], 0);  // only the pad's slot
  }
  const std::list<_CpdJoystickDeviceInfo> devices = JoysticAPI_GetDevList();
  ASSERT_EQ(devices.size(), 1U);
  EXPECT_EQ(devices.front().vid, 0x045e);
  EXPECT_EQ(listener.DevListUpdateCount(), 1U);  // no re-enumeration
  EXPECT_EQ(CountLogBody(DebugBody("wacom is not joystick")), 1U);
}

// Swaps a pen tablet for a pad inside one SDL update, so that no poll sees SDL's count change.
struct TabletSwap {
  int tablet = -1;
  std::atomic<bool> armed{false};
  std::atomic<bool> done{false};
};

void SwapTabletForPad(void* context, uint64_t /*update*/) {
  auto* swap = static_cast<TabletSwap*>(context);
  if (swap->armed.load() && !swap->done.exchange(true)) {
    sim_unplug(swap->tablet);
    Plug(GENERIC_PAD, "/dev/input/event22");
  }
}

TEST_F(Polling, PadPluggedAsATabletLeavesInOnePollIsOpened) {
  Plug(XBOX_PAD, "/dev/input/event20");
  TabletSwap swap;
  swap.tablet = Plug(PEN_TABLET, "/dev/input/event21");
  sim_set_update_hook(&SwapTabletForPad, &swap);
  Register();
  ASSERT_TRUE(WaitForPackets(5));
  swap.armed = true;
  ASSERT_TRUE(WaitForDevListUpdates(2));
  sim_set_update_hook(nullptr, nullptr);
  std::vector<std::string> paths;
  for (const _CpdJoystickDeviceInfo& device : JoysticAPI_GetDevList()) {
    paths.push_back(device.path);
  }
  EXPECT_EQ(paths, (std::vector<std::string>{"/dev/input/event20", "/dev/input/event22"}));
  EXPECT_EQ(CountLogBody(DebugBody("pen tablet [wacom intuos pen] detached")), 1U);
  EXPECT_TRUE(EventsNamed("JOYSTICK_DEV_DETACHED").empty());  // listeners never saw the tablet
}

TEST_F(Polling, FifthControllerIsLoggedAsWithoutHandleAndSendsNothing) {
  for (int i = 0; i < 5; ++i) {
    Plug(GENERIC_PAD, "/dev/input/event" + std::to_string(50 + i));
  }
  Register();
  ASSERT_TRUE(WaitForPackets(4 * 10));
  EXPECT_GE(CountLogBody(DebugBody("joystick 4: _ptr is null index[0]")), 9U);
  for (const auto& bytes : listener.Packets()) {
    EXPECT_LT(bytes[0], 4);
  }
}

TEST_F(Polling, EverySdlCallIsMadeOnThePollingThread) {
  Plug(XBOX_PAD, "/dev/input/event20");
  uint64_t pollingThread = 0;
  listener.onCallback = [&] { pollingThread = sim_this_thread(); };
  Register();
  ASSERT_TRUE(WaitForPackets(5));
  Unregister();
  listener.onCallback = nullptr;
  const std::vector<sim_call> calls = sim::Journal();
  ASSERT_FALSE(calls.empty());
  for (const sim_call& call : calls) {
    ASSERT_EQ(call.thread, pollingThread) << call.function;
  }
  EXPECT_STREQ(calls.front().function, "SDL_SetHint");
  EXPECT_STREQ(calls.back().function, "SDL_Quit");
  EXPECT_EQ(sim_open_handles(), 0);
}

TEST_F(Polling, LastUnregisterDuringAnOpenEndsPromptly) {
  for (int i = 0; i < 4; ++i) {
    Plug(GENERIC_PAD, "/dev/input/event" + std::to_string(70 + i));
  }
  Register();
  ASSERT_TRUE(WaitForLog(DebugBody("joystick index[0] path[/dev/input/event70]\\n")));
  const auto start = std::chrono::steady_clock::now();
  Unregister();
  // At most the burst of the controller being opened remains (about a third of a second).
  EXPECT_LT(std::chrono::steady_clock::now() - start, 3s);
  EXPECT_EQ(CountLogBody(THREAD_EXIT), 1U);
  EXPECT_EQ(sim_open_handles(), 0);
  EXPECT_EQ(sim_is_initialised(), 0);
  const size_t packets = listener.PacketCount();
  std::this_thread::sleep_for(100ms);
  EXPECT_EQ(listener.PacketCount(), packets);
}

TEST_F(Polling, RegisterAfterStopRepublishesTheDeviceList) {
  Plug(XBOX_PAD, "/dev/input/event20");
  Register();
  ASSERT_TRUE(WaitForDevListUpdates(1));
  Unregister();
  Register();
  ASSERT_TRUE(WaitForDevListUpdates(2));
  EXPECT_EQ(CountLogBody(DebugBody("joystick process enter\\n")), 2U);
  EXPECT_EQ(CountLogBody(THREAD_EXIT), 1U);
  EXPECT_EQ(JoysticAPI_GetDevList().size(), 1U);
}

}  // namespace
}  // namespace cpd::test
