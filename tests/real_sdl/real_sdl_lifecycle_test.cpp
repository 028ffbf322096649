// The lifecycle and threading paths of the scenario suites, on the system's real SDL2 with SDL's
// virtual joysticks as the controllers: start, stop, restart, hot-plug, detach, a press, and
// hosts that register from several threads or from inside a callback. SDL loads and unloads its
// libraries in every SDL_Init and SDL_Quit here, as it does for users.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <map>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "cpd_joystick/joystick_api.h"
#include "log_capture.h"
#include "motor_speeds.h"
#include "pad_models.h"
#include "recording_store.h"
#include "test_listener.h"
#include "virtual_pads.h"

namespace cpd::test {
namespace {

using namespace std::chrono_literals;
using sim::DUALSENSE_PAD;
using sim::GENERIC_PAD;
using sim::PadModel;
using sim::XBOX_PAD;

const std::string THREAD_ENTER = DebugBody("joystick process enter\\n");
const std::string THREAD_EXIT = DebugBody("joystick exit\\n");

void Plug(int pad, const PadModel& model) {
  vpad_set_motors(pad, model.motors ? 1 : 0);
  ASSERT_EQ(vpad_plug(pad, model.name, model.vid, model.pid, model.axes, model.buttons, model.hats),
            0);
}

std::string PathOf(int pad) {
  return "/dev/input/virtual" + std::to_string(pad);
}

std::map<std::string, uint16_t> SlotsByPath() {
  std::map<std::string, uint16_t> slots;
  for (const _CpdJoystickDeviceInfo& device : JoysticAPI_GetDevList()) {
    slots[device.path] = device.index;
  }
  return slots;
}

std::string PointerText(const void* pointer) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%p", pointer);
  return text.data();
}

// Unregisters the target from a host thread once the first of two pads has been sampled, that
// is while the open pass is in the middle of the second one.
std::atomic<TestListener*> gStopTarget{nullptr};
std::atomic<bool> gStopRequested{false};

void StopAfterFirstBaseline(const LogLine& line) {
  if (line.body.find("numAxes[") != std::string::npos && !gStopRequested.exchange(true)) {
    std::thread([] { JoysticAPI_UnregsisterNotify(gStopTarget.load()); }).detach();
  }
}

// Unregisters the target from the host's sink on the polling thread, which is refused.
std::atomic<TestListener*> gSinkTarget{nullptr};

void UnregisterOnThePollingThread(const LogLine& line) {
  if (line.body == THREAD_ENTER && gSinkTarget.load() != nullptr) {
    JoysticAPI_UnregsisterNotify(gSinkTarget.load());
  }
}

class RealSdl : public ::testing::Test {
 protected:
  void SetUp() override {
    vpad_reset();
    ResetStore();
    ClearLogs();
  }

  void TearDown() override {
    for (TestListener* registered : mRegistered) {
      JoysticAPI_UnregsisterNotify(registered);
    }
    vpad_reset();
  }

  void Register(TestListener* which = nullptr) {
    TestListener* target = which != nullptr ? which : &listener;
    mRegistered.push_back(target);
    EXPECT_EQ(JoysticAPI_RegsisterNotify(target), 0);
  }

  void Unregister(TestListener* which = nullptr) {
    TestListener* target = which != nullptr ? which : &listener;
    mRegistered.erase(std::remove(mRegistered.begin(), mRegistered.end(), target),
                      mRegistered.end());
    EXPECT_EQ(JoysticAPI_UnregsisterNotify(target), 0);
  }

  bool WaitForPackets(size_t count) {
    return listener.WaitFor([&] { return listener.PacketCount() >= count; }, 15s);
  }

  bool WaitForDevListUpdates(size_t count) {
    return listener.WaitFor([&] { return listener.DevListUpdateCount() >= count; }, 15s);
  }

  size_t EventCount(const std::string& name) const {
    size_t count = 0;
    for (const RecordedEvent& event : listener.Events()) {
      count += event.name == name ? 1 : 0;
    }
    return count;
  }

  TestListener listener;

 private:
  std::vector<TestListener*> mRegistered;
};

TEST_F(RealSdl, RegistrationStartsPollingAndAnIdlePadSendsRisingPacketNumbers) {
  Plug(0, XBOX_PAD);
  Register();
  ASSERT_TRUE(WaitForPackets(10));
  const std::vector<JoystickDataPacket> packets = PacketsOfSlot(listener, 0);
  ASSERT_GE(packets.size(), 10U);
  for (size_t i = 1; i < packets.size(); ++i) {
    // Copied out of the packed packet before comparing: its fields are not aligned.
    const uint32_t number = packets[i].dwPacketNumber;
    const uint32_t previous = packets[i - 1].dwPacketNumber;
    const uint16_t buttons = packets[i].wButtons;
    EXPECT_EQ(number, previous + 1);
    EXPECT_EQ(buttons, 0);
  }
  const std::list<_CpdJoystickDeviceInfo> devices = JoysticAPI_GetDevList();
  ASSERT_EQ(devices.size(), 1U);
  EXPECT_EQ(devices.front().path, PathOf(0));
  EXPECT_EQ(devices.front().mappingIndex, 6);  // the Xbox layout, chosen by name
}

TEST_F(RealSdl, PressedButtonReachesThePacket) {
  Plug(0, XBOX_PAD);
  Register();
  ASSERT_TRUE(WaitForPackets(3));
  vpad_set_button(0, 0, 1);  // A on the Xbox layout
  ASSERT_TRUE(listener.WaitFor([&] {
    const auto packets = PacketsOfSlot(listener, 0);
    return !packets.empty() && packets.back().wButtons == 0x1000;
  }));
  vpad_set_button(0, 0, 0);
  ASSERT_TRUE(listener.WaitFor([&] { return PacketsOfSlot(listener, 0).back().wButtons == 0; }));
}

// The speeds SDL set on the pad's motors, one entry per change: SDL may send the speeds that run
// again (some pads need it), which is no change.
std::vector<Speeds> MotorChangesOf(int pad) {
  std::vector<vpad_motor_change> changes(4096);
  changes.resize(std::min(vpad_motor_changes(pad, changes.data(), changes.size()), changes.size()));
  std::vector<Speeds> speeds;
  for (const vpad_motor_change& change : changes) {
    const Speeds now{change.low, change.high};
    if (speeds.empty() ? !(now == Speeds{}) : !(speeds.back() == now)) {
      speeds.push_back(now);
    }
  }
  return speeds;
}

Speeds MotorsOf(int pad) {
  const std::vector<Speeds> changes = MotorChangesOf(pad);
  return changes.empty() ? Speeds{} : changes.back();
}

bool WaitForMotors(int pad, Speeds speeds) {
  const auto deadline = std::chrono::steady_clock::now() + 10s;
  while (!(MotorsOf(pad) == speeds)) {
    if (std::chrono::steady_clock::now() > deadline) {
      return false;
    }
    std::this_thread::sleep_for(1ms);
  }
  return true;
}

TEST_F(RealSdl, VibrationRunsThePadWithoutAGapAndTheLastUnregisterStopsIt) {
  Plug(0, XBOX_PAD);
  Plug(1, GENERIC_PAD);  // no motors
  Register();
  ASSERT_TRUE(listener.WaitFor([&] { return JoysticAPI_GetDevList().size() == 2; }, 15s));
  EXPECT_EQ(JoysticAPI_SetVibration(SlotsByPath().at(PathOf(1)), 100, 100), -2);
  EXPECT_EQ(JoysticAPI_SetVibration(2, 100, 100), -1);
  const uint16_t slot = SlotsByPath().at(PathOf(0));
  ASSERT_EQ(JoysticAPI_SetVibration(slot, 20000, 40000), 0);
  ASSERT_TRUE(WaitForMotors(0, {20000, 40000}));
  // Longer than SDL is asked to run a rumble at once: it is armed again before it runs out.
  std::this_thread::sleep_for(2500ms);
  EXPECT_EQ(MotorChangesOf(0), (std::vector<Speeds>{{20000, 40000}}));

  Unregister();
  EXPECT_EQ(MotorChangesOf(0), (std::vector<Speeds>{{20000, 40000}, {0, 0}}));
  EXPECT_EQ(JoysticAPI_SetVibration(slot, 1, 1), -1);
}

TEST_F(RealSdl, VibrationStopsForAReOpenAndComesBackWithThePadInItsSlot) {
  Plug(0, XBOX_PAD);
  Register();
  ASSERT_TRUE(WaitForDevListUpdates(1));
  ASSERT_EQ(JoysticAPI_SetVibration(0, 3000, 0), 0);
  ASSERT_TRUE(WaitForMotors(0, {3000, 0}));
  Plug(1, DUALSENSE_PAD);
  ASSERT_TRUE(listener.WaitFor([&] { return JoysticAPI_GetDevList().size() == 2; }, 15s));
  ASSERT_TRUE(WaitForMotors(0, {3000, 0}));
  EXPECT_EQ(MotorChangesOf(0), (std::vector<Speeds>{{3000, 0}, {0, 0}, {3000, 0}}));
  EXPECT_TRUE(MotorChangesOf(1).empty());

  // The pad leaves (SDL cannot reach its motors any more); the one that takes its slot gets
  // nothing asked of it.
  vpad_unplug(0);
  ASSERT_TRUE(listener.WaitFor([&] { return JoysticAPI_GetDevList().size() == 1; }, 15s));
  Plug(2, DUALSENSE_PAD);
  ASSERT_TRUE(listener.WaitFor([&] { return JoysticAPI_GetDevList().size() == 2; }, 15s));
  EXPECT_EQ(SlotsByPath().at(PathOf(2)), 0);
  std::this_thread::sleep_for(200ms);
  EXPECT_TRUE(MotorChangesOf(2).empty());
  EXPECT_TRUE(MotorChangesOf(1).empty());
}

TEST_F(RealSdl, LastUnregisterWhileTheThreadWaitsReturnsPromptlyAndQuitsSdl) {
  Register();  // nothing attached: the thread waits 2 s between enumerations
  ASSERT_TRUE(WaitForLogBody(THREAD_ENTER));
  std::this_thread::sleep_for(100ms);
  const auto start = std::chrono::steady_clock::now();
  Unregister();
  EXPECT_LT(std::chrono::steady_clock::now() - start, 1s);
  EXPECT_EQ(CountLogBody(THREAD_EXIT), 1U);
}

TEST_F(RealSdl, LastUnregisterDuringAnOpenEndsPromptly) {
  for (int pad = 0; pad < 4; ++pad) {
    Plug(pad, GENERIC_PAD);
  }
  Register();
  ASSERT_TRUE(WaitForLogBody(DebugBody("joystick index[0] path[/dev/input/virtual0]\\n")));
  const auto start = std::chrono::steady_clock::now();
  Unregister();
  EXPECT_LT(std::chrono::steady_clock::now() - start, 3s);
  EXPECT_EQ(CountLogBody(THREAD_EXIT), 1U);
  const size_t packets = listener.PacketCount();
  std::this_thread::sleep_for(100ms);
  EXPECT_EQ(listener.PacketCount(), packets);
}

TEST_F(RealSdl, RegisterAfterStopStartsAFreshThreadAndRepublishes) {
  Plug(0, XBOX_PAD);
  Register();
  ASSERT_TRUE(WaitForDevListUpdates(1));
  Unregister();
  Register();
  ASSERT_TRUE(WaitForDevListUpdates(2));
  ASSERT_TRUE(WaitForPackets(listener.PacketCount() + 5));
  EXPECT_EQ(CountLogBody(THREAD_ENTER), 2U);
  EXPECT_EQ(CountLogBody(THREAD_EXIT), 1U);
  EXPECT_EQ(JoysticAPI_GetDevList().size(), 1U);
}

TEST_F(RealSdl, PluggingASecondPadRestartsTheRunAndGivesItTheNextSlot) {
  Plug(0, XBOX_PAD);
  Register();
  ASSERT_TRUE(WaitForPackets(5));
  Plug(1, DUALSENSE_PAD);
  ASSERT_TRUE(listener.WaitFor([&] { return JoysticAPI_GetDevList().size() == 2; }, 15s));
  const std::map<std::string, uint16_t> slots = SlotsByPath();
  EXPECT_EQ(slots.at(PathOf(0)), 0);
  EXPECT_EQ(slots.at(PathOf(1)), 1);
  ASSERT_TRUE(listener.WaitFor([&] { return !PacketsOfSlot(listener, 1).empty(); }, 15s));
}

TEST_F(RealSdl, UnpluggingOneOfTwoEndsTheRunAndKeepsTheOther) {
  Plug(0, XBOX_PAD);
  Plug(1, DUALSENSE_PAD);
  Register();
  ASSERT_TRUE(listener.WaitFor([&] { return JoysticAPI_GetDevList().size() == 2; }, 15s));
  ASSERT_TRUE(WaitForPackets(10));
  const size_t lists = listener.DevListUpdateCount();
  vpad_unplug(1);
  ASSERT_TRUE(WaitForDevListUpdates(lists + 1));
  // SDL reports the count change before the walk, so the run ends on the count check; a pad that
  // detaches between the check and its read is reported as detached instead.
  EXPECT_TRUE(CountLogBody(DebugBody("SDL numJoysticks[1] Joysticks.size()[2]")) == 1 ||
              EventCount("JOYSTICK_DEV_DETACHED") == 1);
  ASSERT_TRUE(listener.WaitFor([&] { return JoysticAPI_GetDevList().size() == 1; }, 15s));
  EXPECT_EQ(JoysticAPI_GetDevList().front().path, PathOf(0));
  ASSERT_TRUE(WaitForPackets(listener.PacketCount() + 5));
  const uint8_t slot = PacketsOfSlot(listener, 0).back().slot;
  EXPECT_EQ(slot, 0);
}

TEST_F(RealSdl, ReplugUnderTheSamePathKeepsTheSlotAmongFour) {
  for (int pad = 0; pad < 4; ++pad) {
    Plug(pad, GENERIC_PAD);
  }
  Register();
  ASSERT_TRUE(listener.WaitFor([&] { return JoysticAPI_GetDevList().size() == 4; }, 20s));
  const std::map<std::string, uint16_t> slots = SlotsByPath();
  ASSERT_EQ(slots.size(), 4U);
  vpad_unplug(1);
  ASSERT_TRUE(listener.WaitFor([&] { return JoysticAPI_GetDevList().size() == 3; }, 20s));
  Plug(1, GENERIC_PAD);
  ASSERT_TRUE(listener.WaitFor([&] { return JoysticAPI_GetDevList().size() == 4; }, 20s));
  for (const _CpdJoystickDeviceInfo& device : JoysticAPI_GetDevList()) {
    EXPECT_EQ(device.index, slots.at(device.path)) << device.path;
  }
}

TEST_F(RealSdl, TwoThreadsRegisteringAndUnregisteringLeaveNothingRunning) {
  Plug(0, XBOX_PAD);
  TestListener other;
  auto churn = [](TestListener* target) {
    for (int round = 0; round < 15; ++round) {
      JoysticAPI_RegsisterNotify(target);
      std::this_thread::sleep_for(std::chrono::milliseconds(3 + round * 7 % 40));
      JoysticAPI_UnregsisterNotify(target);
    }
  };
  std::thread first(churn, &listener);
  std::thread second(churn, &other);
  first.join();
  second.join();
  ASSERT_TRUE(WaitForLogBody(THREAD_EXIT, CountLogBody(THREAD_ENTER), 5s));
  EXPECT_EQ(CountLogBody(THREAD_ENTER), CountLogBody(THREAD_EXIT));
  const size_t packets = listener.PacketCount() + other.PacketCount();
  std::this_thread::sleep_for(200ms);
  EXPECT_EQ(listener.PacketCount() + other.PacketCount(), packets);
}

TEST_F(RealSdl, RegistrationFromInsideACallbackIsRefusedWithoutDeadlock) {
  Plug(0, XBOX_PAD);
  TestListener late;
  std::atomic<int> answers{0};
  listener.onCallback = [&] {
    if (answers.load() == 0) {
      answers = JoysticAPI_RegsisterNotify(&late) == 0 ? 1 : 2;
    }
  };
  Register();
  ASSERT_TRUE(listener.WaitFor([&] { return answers.load() != 0; }, 15s));
  EXPECT_EQ(answers.load(), 1);
  ASSERT_TRUE(WaitForPackets(listener.PacketCount() + 5));
  EXPECT_EQ(late.PacketCount(), 0U);
  Unregister();  // before the callback's captures go
}

TEST_F(RealSdl, LayoutChoicesFromAClientThreadWhilePadsComeAndGoAreSafe) {
  Plug(0, XBOX_PAD);
  Plug(1, GENERIC_PAD);
  Register();
  ASSERT_TRUE(WaitForPackets(5));
  std::atomic<bool> choosing{true};
  std::thread chooser([&] {
    for (uint16_t kind = 1; choosing.load(); kind = static_cast<uint16_t>(kind % 6 + 1)) {
      JoysticAPI_SetMapping(0, kind);
      std::this_thread::sleep_for(7ms);
    }
  });
  for (int step = 0; step < 6; ++step) {
    if (step % 2 == 0) {
      vpad_unplug(1);
    } else {
      Plug(1, GENERIC_PAD);
    }
    std::this_thread::sleep_for(400ms);
  }
  choosing = false;
  chooser.join();
  ASSERT_TRUE(listener.WaitFor([&] { return JoysticAPI_GetDevList().size() == 2; }, 20s));
  ASSERT_TRUE(WaitForPackets(listener.PacketCount() + 5));
}

TEST_F(RealSdl, SameListenerTwiceLeavesOneEntryAndOneUnregisterStopsPolling) {
  Plug(0, XBOX_PAD);
  Register();
  EXPECT_EQ(JoysticAPI_RegsisterNotify(&listener), 0);
  ASSERT_TRUE(WaitForPackets(3));
  Unregister();
  EXPECT_EQ(CountLogBody(THREAD_ENTER), 1U);
  EXPECT_EQ(CountLogBody(DebugBody("begin")), 1U);
  EXPECT_EQ(CountLogBody(THREAD_EXIT), 1U);
  EXPECT_EQ(CountLogBody(DebugBody("end")), 1U);
}

TEST_F(RealSdl, UnknownPointerLeavesOthersRegisteredAndPollingOn) {
  Plug(0, XBOX_PAD);
  Register();
  ASSERT_TRUE(WaitForPackets(3));
  TestListener stranger;
  EXPECT_EQ(JoysticAPI_UnregsisterNotify(&stranger), 0);
  EXPECT_EQ(CountLogBody(DebugBody("begin")), 0U);
  ASSERT_TRUE(WaitForPackets(listener.PacketCount() + 5));
  EXPECT_EQ(CountLogBody(THREAD_EXIT), 0U);
}

TEST_F(RealSdl, AStopDuringTheOpenPassPublishesNoPartialList) {
  Plug(0, XBOX_PAD);
  Plug(1, DUALSENSE_PAD);
  gStopTarget = &listener;
  gStopRequested = false;
  SetLogHandler(&StopAfterFirstBaseline);
  EXPECT_EQ(JoysticAPI_RegsisterNotify(&listener), 0);
  ASSERT_TRUE(WaitForLogBody(THREAD_EXIT, 1, 15s));
  SetLogHandler(nullptr);
  EXPECT_TRUE(JoysticAPI_GetDevList().empty());
  EXPECT_EQ(listener.DevListUpdateCount(), 0U);
  Register();  // a clean run lists both
  ASSERT_TRUE(listener.WaitFor([&] { return JoysticAPI_GetDevList().size() == 2; }, 15s));
}

TEST_F(RealSdl, UnregisterFromTheSinkOnThePollingThreadIsRefusedAndPollingGoesOn) {
  Plug(0, XBOX_PAD);
  gSinkTarget = &listener;
  SetLogHandler(&UnregisterOnThePollingThread);
  Register();
  ASSERT_TRUE(WaitForPackets(5));  // the refused call changed nothing
  SetLogHandler(nullptr);
  gSinkTarget = nullptr;
  EXPECT_EQ(CountLogBody(ErrorBody(PointerText(&listener) +
                                   " refused: listeners must not unregister from the polling "
                                   "thread")),
            1U);
  Unregister();
  const size_t packets = listener.PacketCount();
  Register();
  ASSERT_TRUE(WaitForPackets(packets + 5));
  EXPECT_EQ(CountLogBody(THREAD_ENTER), 2U);
}

}  // namespace
}  // namespace cpd::test
