// The host's choice of layout: recorded for the controller model, applied at once, and
// remembered when the controller comes back.
#include <atomic>
#include <functional>
#include <string>
#include <thread>

#include "scenario.h"

namespace cpd::test {
namespace {

using MappingChange = Scenario;
using namespace std::chrono_literals;

uint16_t MappingOfSlot(uint16_t slot) {
  for (const _CpdJoystickDeviceInfo& device : JoysticAPI_GetDevList()) {
    if (device.index == slot) {
      return device.mappingIndex;
    }
  }
  return 0xffff;
}

bool WaitForStoredText(const std::string& needle) {
  const auto deadline = std::chrono::steady_clock::now() + 10s;
  while (StoredValue("joystickPolicyList").find(needle) == std::string::npos) {
    if (std::chrono::steady_clock::now() > deadline) {
      return false;
    }
    std::this_thread::sleep_for(5ms);
  }
  return true;
}

TEST_F(MappingChange, ChoiceForAnOccupiedSlotIsAppliedAtOnce) {
  Plug(GENERIC_PAD, "/dev/input/event20");
  Register();
  ASSERT_TRUE(WaitForDevListUpdates(1));
  ASSERT_EQ(MappingOfSlot(0), 2);
  const size_t updates = listener.DevListUpdateCount();
  EXPECT_EQ(JoysticAPI_SetMapping(0, 6), 0);
  EXPECT_EQ(MappingOfSlot(0), 6);
  EXPECT_EQ(listener.DevListUpdateCount(), updates);  // no listener is told
  EXPECT_EQ(CountLogBody(DebugBody("index[0] mappingIndex[6]")), 1U);
  EXPECT_EQ(CountLogBody(DebugBody("name[generic usb joystick] mappingIndex[6]")), 1U);
  ASSERT_TRUE(WaitForStoredText("\"mapping\" : 6"));
  EXPECT_EQ(StoredValue("joystickPolicyList"),
            "[\n   {\n      \"describe\" : \"generic usb joystick\",\n      \"mapping\" : 6,\n"
            "      \"vidpid\" : \"0079:0006\"\n   }\n]\n");
}

TEST_F(MappingChange, NextReportAlreadyUsesTheNewLayout) {
  const int pad = Plug(GENERIC_PAD, "/dev/input/event20");
  sim_set_button(pad, 1, 1);  // A on the Switch layout, B on Xbox
  Register();
  ASSERT_TRUE(listener.WaitFor([&] {
    const auto packets = PacketsOfSlot(listener, 0);
    return !packets.empty() && packets.back().wButtons == 0x1000;
  }));
  ASSERT_EQ(JoysticAPI_SetMapping(0, 6), 0);
  ASSERT_TRUE(listener.WaitFor([&] {
    const auto packets = PacketsOfSlot(listener, 0);
    return !packets.empty() && packets.back().wButtons == 0x2000;
  }));
}

TEST_F(MappingChange, EmptySlotFailsWithItsErrorLine) {
  Plug(GENERIC_PAD, "/dev/input/event20");
  Register();
  ASSERT_TRUE(WaitForDevListUpdates(1));
  EXPECT_EQ(JoysticAPI_SetMapping(3, 1), -1);
  EXPECT_EQ(CountLogBody(ErrorBody("index[3] mappingIndex[1] setmapping failed")), 1U);
  EXPECT_EQ(CountStoreCalls("SetSecure"), 0U);
  EXPECT_EQ(MappingOfSlot(0), 2);
}

TEST_F(MappingChange, UnknownKindIsRefusedBeforeAnythingIsStored) {
  Plug(GENERIC_PAD, "/dev/input/event20");
  Register();
  ASSERT_TRUE(WaitForDevListUpdates(1));
  ASSERT_EQ(JoysticAPI_SetMapping(0, 3), 0);
  ASSERT_TRUE(WaitForStoredText("\"mapping\" : 3"));
  const std::string stored = StoredValue("joystickPolicyList");
  const size_t writes = CountStoreCalls("SetSecure");

  for (const uint16_t kind : {0, 7, 9, 65535}) {
    EXPECT_EQ(JoysticAPI_SetMapping(0, kind), -1) << kind;
    const std::string index = "mappingIndex[" + std::to_string(kind) + "]";
    EXPECT_EQ(CountLogBody(ErrorBody("name[generic usb joystick] " + index + " UNKNOWN mapping")),
              1U);
    EXPECT_EQ(CountLogBody(ErrorBody("index[0] " + index + " setmapping failed")), 1U);
  }
  EXPECT_EQ(MappingOfSlot(0), 3);
  // The watcher would have written within its one-second wait.
  std::this_thread::sleep_for(1500ms);
  EXPECT_EQ(CountStoreCalls("SetSecure"), writes);
  EXPECT_EQ(StoredValue("joystickPolicyList"), stored);
}

TEST_F(MappingChange, ReplugBringsTheStoredChoiceBack) {
  const int pad = Plug(GENERIC_PAD, "/dev/input/event20");
  Register();
  ASSERT_TRUE(WaitForDevListUpdates(1));
  ASSERT_EQ(JoysticAPI_SetMapping(0, 3), 0);
  sim_unplug(pad);
  ASSERT_TRUE(WaitForDevListUpdates(2));
  Plug(GENERIC_PAD, "/dev/input/event20");
  ASSERT_TRUE(listener.WaitFor([&] { return JoysticAPI_GetDevList().size() == 1; },
                               std::chrono::seconds(15)));
  EXPECT_EQ(MappingOfSlot(0), 3);
  EXPECT_EQ(CountLogBody(
                DebugBody("name[generic usb joystick] The joystick has config mappingIndex[3] ")),
            1U);
}

// Runs `onLookup` on the polling thread each time it looks up the stored choice of the Xbox pad's
// model, with the number of that look-up (from 1); gone with the guard.
class XboxLookupHook {
 public:
  explicit XboxLookupHook(std::function<void(int lookup)> onLookup) {
    const std::thread::id testThread = std::this_thread::get_id();
    SetLogHandler([this, testThread, onLookup](const LogLine& line) {
      if (line.thread != testThread && line.body == XBOX_LOOKUP) {
        onLookup(++mLookups);
      }
    });
  }
  ~XboxLookupHook() { SetLogHandler(nullptr); }
  XboxLookupHook(const XboxLookupHook&) = delete;
  XboxLookupHook& operator=(const XboxLookupHook&) = delete;

  int Lookups() const { return mLookups.load(); }

  static inline const std::string XBOX_LOOKUP = DebugBody("GetMappingIndex 045e:0b13\\n");

 private:
  std::atomic<int> mLookups{0};
};

TEST_F(MappingChange, ChoiceForAnotherModelDuringAnOpenLeavesTheControllerIdentifiedOnce) {
  Plug(DUALSENSE_PAD, "/dev/input/event20");
  Register();
  ASSERT_TRUE(WaitForDevListUpdates(1));
  std::atomic<int> choices{0};
  XboxLookupHook hook([&choices](int /*lookup*/) {
    // The DualSense, opened just before in this pass, holds slot 0.
    choices += JoysticAPI_SetMapping(0, 4) == 0 ? 1 : 0;
  });
  Plug(XBOX_PAD, "/dev/input/event21");
  ASSERT_TRUE(WaitForDevListUpdates(2));
  EXPECT_EQ(hook.Lookups(), 1);
  EXPECT_EQ(choices.load(), 1);
  EXPECT_EQ(MappingOfSlot(0), 4);
  EXPECT_EQ(MappingOfSlot(1), 6);
}

TEST_F(MappingChange, ChoiceForTheSameModelDuringAnOpenIsWhatTheControllerStartsWith) {
  Plug(XBOX_PAD, "/dev/input/event20");
  Register();
  ASSERT_TRUE(WaitForDevListUpdates(1));
  std::atomic<int> choices{0};
  XboxLookupHook hook([&choices](int lookup) {
    // The first look-up of this pass is for the pad in slot 0, the second for the new one.
    if (lookup == 2) {
      choices += JoysticAPI_SetMapping(0, 3) == 0 ? 1 : 0;
    }
  });
  Plug(XBOX_PAD, "/dev/input/event21");
  ASSERT_TRUE(WaitForDevListUpdates(2));
  EXPECT_EQ(hook.Lookups(), 3);
  EXPECT_EQ(choices.load(), 1);
  EXPECT_EQ(MappingOfSlot(0), 3);
  EXPECT_EQ(MappingOfSlot(1), 3);
}

TEST_F(MappingChange, ChoicesFromAClientThreadWhilePollingAreSafe) {
  Plug(XBOX_PAD, "/dev/input/event20");
  Plug(DUALSENSE_PAD, "/dev/input/event21");
  Register();
  ASSERT_TRUE(WaitForPackets(10));
  std::atomic<int> failures{0};
  std::thread client([&] {
    const auto until = std::chrono::steady_clock::now() + 1500ms;
    for (uint16_t kind = 1; std::chrono::steady_clock::now() < until; kind = kind % 6 + 1) {
      failures += JoysticAPI_SetMapping(kind % 2, kind) == 0 ? 0 : 1;
      (void)JoysticAPI_GetDevList();
      std::this_thread::sleep_for(2ms);
    }
  });
  const size_t before = listener.PacketCount();
  client.join();
  EXPECT_EQ(failures.load(), 0);
  EXPECT_GT(listener.PacketCount(), before + 20);
}

}  // namespace
}  // namespace cpd::test
