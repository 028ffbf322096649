// Fan-out to listeners, driven directly on the manager: the order of calls, what each listener
// receives, and what a listener may not do from inside a callback.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <stdexcept>
#include <thread>

#include "common/event_record.h"
#include "joystick_manager/joystick_manager.h"
#include "log_capture.h"
#include "test_listener.h"

namespace {

using cpd::JoystickManager;
using cpd::test::CountLogBody;
using cpd::test::DebugBody;
using cpd::test::TestListener;

JoystickDataPacket SamplePacket() {
  JoystickDataPacket packet{};
  packet.slot = 2;
  packet.dwPacketNumber = 0x01020304;
  packet.wButtons = 0x1000;
  packet.sThumbLX = -32767;
  return packet;
}

class ListenerFanout : public ::testing::Test {
 protected:
  void TearDown() override {
    JoysticAPI_UnregsisterNotify(&first);
    JoysticAPI_UnregsisterNotify(&second);
  }
  // Holds a fan-out inside the first listener's callback, runs `action` on a thread of its own,
  // and tells whether the action finished in the 50 ms before the callback is let go. Both threads
  // have ended when it returns.
  bool FinishesWhileFirstIsInACallback(const std::function<void()>& action) {
    std::atomic<bool> inCallback{false};
    std::atomic<bool> release{false};
    first.onCallback = [&] {
      inCallback = true;
      while (!release) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
      }
    };
    std::thread fanout([] {
      const JoystickDataPacket packet = SamplePacket();
      JoystickManager::GetInstance()->NotifyData(&packet, 17);
    });
    while (!inCallback) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    std::atomic<bool> finished{false};
    std::thread acting([&] {
      action();
      finished = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    const bool finishedWhileHeld = finished.load();
    release = true;
    fanout.join();
    acting.join();
    first.onCallback = nullptr;
    return finishedWhileHeld;
  }

  TestListener first;
  TestListener second;
};

TEST_F(ListenerFanout, DataReachesEveryListenerInRegistrationOrder) {
  JoysticAPI_RegsisterNotify(&first);
  JoysticAPI_RegsisterNotify(&second);
  std::vector<std::string> order;
  first.onCallback = [&] { order.emplace_back("first"); };
  second.onCallback = [&] { order.emplace_back("second"); };

  const JoystickDataPacket packet = SamplePacket();
  JoystickManager::GetInstance()->NotifyData(&packet, 17);

  EXPECT_EQ(order, (std::vector<std::string>{"first", "second"}));
  for (const TestListener* listener : {&first, &second}) {
    ASSERT_EQ(listener->PacketCount(), 1U);
    EXPECT_EQ(listener->PacketLengths(), std::vector<int32_t>{17});
    const auto bytes = listener->Packets().front();
    EXPECT_EQ(std::vector<uint8_t>(bytes.begin(), bytes.end()),
              (std::vector<uint8_t>{0x02, 0x04, 0x03, 0x02, 0x01, 0x00, 0x10, 0, 0, 0x01, 0x80, 0,
                                    0, 0, 0, 0, 0}));
  }
}

TEST_F(ListenerFanout, EveryListenerGetsTheEventNameAndRecord) {
  JoysticAPI_RegsisterNotify(&first);
  JoysticAPI_RegsisterNotify(&second);
  const EventRecord record = cpd::MakeEventRecord("/a/b.cpp", "cpd::X::Y", 5, "pad detached");

  JoystickManager::GetInstance()->NotifyEvent(cpd::EVENT_DEV_DETACHED, record);
  JoystickManager::GetInstance()->NotifyDevListUpdate();

  for (const TestListener* listener : {&first, &second}) {
    ASSERT_EQ(listener->Events().size(), 1U);
    EXPECT_EQ(listener->Events()[0].name, "JOYSTICK_DEV_DETACHED");
    EXPECT_EQ(listener->Events()[0].record, record);
    EXPECT_EQ(listener->DevListUpdateCount(), 1U);
    EXPECT_EQ(listener->Sequence(), (std::vector<std::string>{"JOYSTICK_DEV_DETACHED", "devlist"}));
  }
}

TEST_F(ListenerFanout, RegistrationFromInsideACallbackIsRefusedWithoutDeadlock) {
  JoysticAPI_RegsisterNotify(&first);
  int32_t registerResult = -5;
  int32_t unregisterResult = -5;
  first.onCallback = [&] {
    registerResult = JoysticAPI_RegsisterNotify(&second);
    unregisterResult = JoysticAPI_UnregsisterNotify(&first);
  };
  cpd::test::ClearLogs();

  const JoystickDataPacket packet = SamplePacket();
  JoystickManager::GetInstance()->NotifyData(&packet, 17);
  first.onCallback = nullptr;

  EXPECT_EQ(registerResult, 0);
  EXPECT_EQ(unregisterResult, 0);
  char pointers[2][32];
  std::snprintf(pointers[0], sizeof pointers[0], "%p", static_cast<void*>(&second));
  std::snprintf(pointers[1], sizeof pointers[1], "%p", static_cast<void*>(&first));
  EXPECT_EQ(CountLogBody(cpd::test::ErrorBody(
                std::string(pointers[0]) +
                " refused: listeners must not register from inside a callback")),
            1U);
  EXPECT_EQ(CountLogBody(cpd::test::ErrorBody(
                std::string(pointers[1]) +
                " refused: listeners must not unregister from inside a callback")),
            1U);
  EXPECT_EQ(CountLogBody(DebugBody("begin")), 0U);

  // Nothing changed: only the first listener hears the next packet, and polling still runs.
  JoystickManager::GetInstance()->NotifyData(&packet, 17);
  EXPECT_EQ(first.PacketCount(), 2U);
  EXPECT_EQ(second.PacketCount(), 0U);
}

TEST_F(ListenerFanout, AThrowingListenerIsLoggedAndTheNextStillCalled) {
  JoysticAPI_RegsisterNotify(&first);
  JoysticAPI_RegsisterNotify(&second);
  first.onCallback = [] { throw std::runtime_error("listener bug"); };
  cpd::test::ClearLogs();

  const JoystickDataPacket packet = SamplePacket();
  JoystickManager::GetInstance()->NotifyData(&packet, 17);
  first.onCallback = nullptr;

  EXPECT_EQ(second.PacketCount(), 1U);
  char pointer[32];
  std::snprintf(pointer, sizeof pointer, "%p", static_cast<void*>(&first));
  EXPECT_EQ(CountLogBody(
                cpd::test::ErrorBody("listener " + std::string(pointer) + " threw: listener bug")),
            1U);
}

TEST_F(ListenerFanout, RegistrationWaitsForARunningCallback) {
  JoysticAPI_RegsisterNotify(&first);
  bool registered = false;
  EXPECT_FALSE(FinishesWhileFirstIsInACallback([&] {
    JoysticAPI_RegsisterNotify(&second);
    registered = true;
  }));
  EXPECT_TRUE(registered);
}

// Once its unregistration has returned, a listener is never called again, so the host may free
// it: the unregistration waits for the callback that is running.
TEST_F(ListenerFanout, UnregistrationReturnsOnlyAfterItsListenersRunningCallback) {
  JoysticAPI_RegsisterNotify(&first);
  JoysticAPI_RegsisterNotify(&second);
  bool unregistered = false;
  EXPECT_FALSE(FinishesWhileFirstIsInACallback([&] {
    JoysticAPI_UnregsisterNotify(&first);
    unregistered = true;
  }));
  EXPECT_TRUE(unregistered);
  const size_t firstCalls = first.PacketCount();
  const JoystickDataPacket packet = SamplePacket();
  JoystickManager::GetInstance()->NotifyData(&packet, 17);
  EXPECT_EQ(first.PacketCount(), firstCalls);
  EXPECT_EQ(second.PacketCount(), 2U);
}

}  // namespace
