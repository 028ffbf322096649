// The exported functions as a client sees them: return values, log lines and the polling
// thread's lifecycle.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <thread>

#include "cpd_joystick/joystick_api.h"
#include "log_capture.h"
#include "test_listener.h"

namespace {

using cpd::test::CountLogBody;
using cpd::test::DebugBody;
using cpd::test::ErrorBody;
using cpd::test::LogBodies;
using cpd::test::TestListener;

const std::string THREAD_ENTER = DebugBody("joystick process enter\\n");
const std::string THREAD_EXIT = DebugBody("joystick exit\\n");

std::string PointerText(const void* pointer) {
  char text[32];
  std::snprintf(text, sizeof text, "%p", pointer);
  return text;
}

// Waits until the polling thread has logged its start `count` times.
bool WaitForThreadStarts(size_t count) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (CountLogBody(THREAD_ENTER) < count) {
    if (std::chrono::steady_clock::now() > deadline) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

class HostApi : public ::testing::Test {
 protected:
  void TearDown() override {
    JoysticAPI_UnregsisterNotify(&first);
    JoysticAPI_UnregsisterNotify(&second);
  }
  TestListener first;
  TestListener second;
};

TEST_F(HostApi, DeviceListIsEmptyBeforeAnyRegistration) {
  EXPECT_TRUE(JoysticAPI_GetDevList().empty());
}

TEST_F(HostApi, MappingListIsEmptyBeforeTheFirstRegistration) {
  EXPECT_TRUE(JoysticAPI_GetMappingList().empty());
  EXPECT_EQ(CountLogBody(DebugBody("size[0]")), 1U);
}

TEST_F(HostApi, MappingListOffersTheSixLayoutsOnceAListenerRegistered) {
  JoysticAPI_RegsisterNotify(&first);
  const std::list<_CpdJoystickMappingInfo> list = JoysticAPI_GetMappingList();
  std::vector<std::string> names;
  uint16_t expected = 1;
  for (const _CpdJoystickMappingInfo& info : list) {
    EXPECT_EQ(info.index, expected);
    EXPECT_EQ(info.mappingIndex, expected);
    names.push_back(info.name);
    ++expected;
  }
  EXPECT_EQ(names,
            (std::vector<std::string>{"MAPPING_PS", "MAPPING_SWITCH_MOD1", "MAPPING_SWITCH_MOD2",
                                      "MAPPING_ANDROID", "MAPPING_LOGIC", "MAPPING_XBOX"}));
  EXPECT_EQ(CountLogBody(DebugBody("size[6]")), 1U);
}

TEST_F(HostApi, RestartingPollingNeverDuplicatesTheLayoutCatalogue) {
  JoysticAPI_RegsisterNotify(&first);
  JoysticAPI_UnregsisterNotify(&first);
  JoysticAPI_RegsisterNotify(&first);
  EXPECT_EQ(JoysticAPI_GetMappingList().size(), 6U);
}

TEST_F(HostApi, CalibrationAnswersZeroForAnyIndexAndChangesNothing) {
  cpd::test::ClearLogs();
  for (const uint16_t index : {0, 1, 3, 4, 65535}) {
    EXPECT_EQ(JoysticAPI_Calibration(index), 0);
  }
  EXPECT_TRUE(cpd::test::CapturedLogs().empty());
  EXPECT_TRUE(JoysticAPI_GetDevList().empty());
}

TEST_F(HostApi, RegisterAndUnregisterAnswerZeroWhateverHappens) {
  TestListener stranger;
  EXPECT_EQ(JoysticAPI_UnregsisterNotify(&stranger), 0);
  EXPECT_EQ(JoysticAPI_RegsisterNotify(&first), 0);
  EXPECT_EQ(JoysticAPI_RegsisterNotify(&first), 0);
  EXPECT_EQ(JoysticAPI_UnregsisterNotify(&stranger), 0);
  EXPECT_EQ(JoysticAPI_UnregsisterNotify(&first), 0);
  EXPECT_EQ(JoysticAPI_UnregsisterNotify(&first), 0);
}

TEST_F(HostApi, RegistrationLogsTheListenerPointerAndStartsPolling) {
  JoysticAPI_RegsisterNotify(&first);
  ASSERT_TRUE(WaitForThreadStarts(1));
  const std::vector<std::string> bodies = LogBodies();
  const std::string pointer = DebugBody(PointerText(&first));
  ASSERT_GE(bodies.size(), 3U);
  EXPECT_EQ(bodies[0], pointer);
  EXPECT_EQ(bodies[1], DebugBody(""));  // Init
  EXPECT_NE(std::find(bodies.begin(), bodies.end(), THREAD_ENTER), bodies.end());
}

TEST_F(HostApi, SameListenerTwiceLeavesOneEntryAndOneUnregisterStopsPolling) {
  JoysticAPI_RegsisterNotify(&first);
  JoysticAPI_RegsisterNotify(&first);
  ASSERT_TRUE(WaitForThreadStarts(1));
  JoysticAPI_UnregsisterNotify(&first);
  EXPECT_EQ(CountLogBody(THREAD_ENTER), 1U);
  EXPECT_EQ(CountLogBody(DebugBody("begin")), 1U);
  EXPECT_EQ(CountLogBody(THREAD_EXIT), 1U);
  EXPECT_EQ(CountLogBody(DebugBody("end")), 1U);
}

TEST_F(HostApi, UnknownPointerLeavesOthersRegisteredAndPollingOn) {
  JoysticAPI_RegsisterNotify(&first);
  ASSERT_TRUE(WaitForThreadStarts(1));
  TestListener stranger;
  JoysticAPI_UnregsisterNotify(&stranger);
  EXPECT_EQ(CountLogBody(DebugBody(PointerText(&stranger))), 1U);
  EXPECT_EQ(CountLogBody(DebugBody("begin")), 0U);
  EXPECT_EQ(CountLogBody(THREAD_EXIT), 0U);
}

TEST_F(HostApi, UnregisterWithNoListenersStopsAgainAndLogsBeginAndEnd) {
  EXPECT_EQ(JoysticAPI_UnregsisterNotify(&first), 0);
  EXPECT_EQ(LogBodies(), (std::vector<std::string>{DebugBody(PointerText(&first)),
                                                   DebugBody("begin"), DebugBody("end")}));
}

TEST_F(HostApi, RegisterAfterStopStartsAFreshThread) {
  JoysticAPI_RegsisterNotify(&first);
  ASSERT_TRUE(WaitForThreadStarts(1));
  JoysticAPI_UnregsisterNotify(&first);
  JoysticAPI_RegsisterNotify(&first);
  ASSERT_TRUE(WaitForThreadStarts(2));
  const std::vector<std::string> bodies = LogBodies();
  const auto firstExit = std::find(bodies.begin(), bodies.end(), THREAD_EXIT);
  ASSERT_NE(firstExit, bodies.end());
  EXPECT_NE(std::find(firstExit, bodies.end(), THREAD_ENTER), bodies.end());
  EXPECT_EQ(CountLogBody(DebugBody("")), 2U);  // two Init calls
}

TEST_F(HostApi, NullListenerIsIgnored) {
  EXPECT_EQ(JoysticAPI_RegsisterNotify(nullptr), 0);
  EXPECT_EQ(CountLogBody(ErrorBody("null listener ignored")), 1U);
  EXPECT_EQ(CountLogBody(DebugBody("")), 0U);  // no Init: nothing to poll for
  EXPECT_TRUE(JoysticAPI_GetMappingList().empty());
  EXPECT_EQ(JoysticAPI_UnregsisterNotify(nullptr), 0);
}

TEST_F(HostApi, SetMappingForAnEmptySlotFailsWithItsErrorLine) {
  JoysticAPI_RegsisterNotify(&first);
  EXPECT_EQ(JoysticAPI_SetMapping(3, 1), -1);
  EXPECT_EQ(CountLogBody(DebugBody("index[3] mappingIndex[1]")), 1U);
  EXPECT_EQ(CountLogBody(ErrorBody("index[3] mappingIndex[1] setmapping failed")), 1U);
}

TEST_F(HostApi, LastUnregisterReturnsWithinAPollPeriodWhileTheThreadWaits) {
  JoysticAPI_RegsisterNotify(&first);
  ASSERT_TRUE(WaitForThreadStarts(1));
  std::this_thread::sleep_for(std::chrono::milliseconds(50));  // well inside its long wait
  const auto start = std::chrono::steady_clock::now();
  JoysticAPI_UnregsisterNotify(&first);
  const auto elapsed = std::chrono::steady_clock::now() - start;
  // Generous for loaded machines and sanitizers; a missed wake-up would take about 2 s.
  EXPECT_LT(elapsed, std::chrono::milliseconds(1000));
  EXPECT_EQ(CountLogBody(THREAD_EXIT), 1U);
}

TEST_F(HostApi, TwoThreadsRegisteringAndUnregisteringLeaveNothingRunning) {
  constexpr int ITERATIONS = 2000;
  auto churn = [](TestListener* listener) {
    for (int i = 0; i < ITERATIONS; ++i) {
      EXPECT_EQ(JoysticAPI_RegsisterNotify(listener), 0);
      EXPECT_EQ(JoysticAPI_UnregsisterNotify(listener), 0);
    }
  };
  std::thread a(churn, &first);
  std::thread b(churn, &second);
  a.join();
  b.join();
  // Every thread that started also ended, and none is left once both listeners are gone.
  const size_t starts = CountLogBody(DebugBody(""));
  EXPECT_GE(starts, 1U);
  EXPECT_EQ(CountLogBody(THREAD_EXIT), CountLogBody(THREAD_ENTER));
  EXPECT_EQ(CountLogBody(THREAD_ENTER), starts);
  EXPECT_EQ(first.PacketCount() + second.PacketCount(), 0U);
}

}  // namespace
