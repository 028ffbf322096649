// The device list as the host sees it: what is listed, and what listeners hear.
#include <algorithm>
#include <map>
#include <regex>
#include <thread>

#include "scenario.h"

namespace cpd::test {
namespace {

using DeviceList = Scenario;

TEST_F(DeviceList, FirstRunWithOneControllerPublishesItOnce) {
  Plug(XBOX_PAD, "/dev/input/event20");
  Register();
  ASSERT_TRUE(WaitForDevListUpdates(1));
  ASSERT_TRUE(listener.WaitFor([&] { return !EventsNamed("JOYSTICK_DEV_LIST_UPDATE").empty(); }));

  const std::list<_CpdJoystickDeviceInfo> devices = JoysticAPI_GetDevList();
  ASSERT_EQ(devices.size(), 1U);
  const _CpdJoystickDeviceInfo& device = devices.front();
  EXPECT_EQ(device.vid, 0x045e);
  EXPECT_EQ(device.pid, 0x0b13);
  EXPECT_EQ(device.index, 0);
  EXPECT_EQ(device.mappingIndex, 6);
  EXPECT_EQ(device.devName, "xbox wireless controller");
  EXPECT_EQ(device.name, device.devName);
  EXPECT_EQ(device.devPath, "/dev/input/event20");
  EXPECT_EQ(device.path, device.devPath);

  const std::vector<std::string> sequence = listener.Sequence();
  const auto devlist = std::find(sequence.begin(), sequence.end(), "devlist");
  ASSERT_NE(devlist, sequence.end());
  ASSERT_NE(devlist + 1, sequence.end());
  EXPECT_EQ(*(devlist + 1), "JOYSTICK_DEV_LIST_UPDATE");

  const EventRecord record = EventsNamed("JOYSTICK_DEV_LIST_UPDATE").front().record;
  EXPECT_EQ(record.size(), 3U);
  const std::regex message(
      R"(\[device_list\.cpp cpd::JoystickManager::UpdateJoystickDevList\(\d+\)\] )"
      R"(joystickNum: 1\{vid:0x045e pid:0x0b13 devname:xbox wireless controller index:0 mappingIndex:6\};)");
  EXPECT_TRUE(std::regex_match(record.at("message"), message)) << record.at("message");
}

}  // namespace
}  // namespace cpd::test

namespace cpd::test {
namespace {

std::string LastMessage(const std::vector<RecordedEvent>& events) {
  return events.empty() ? "" : events.back().record.at("message");
}

TEST_F(DeviceList, TwoControllersRepeatTheFirstEntryInTheSummary) {
  Plug(XBOX_PAD, "/dev/input/event20");
  Plug(DUALSENSE_PAD, "/dev/input/event21");
  Register();
  ASSERT_TRUE(listener.WaitFor([&] { return !EventsNamed("JOYSTICK_DEV_LIST_UPDATE").empty(); }));
  const std::string message = LastMessage(EventsNamed("JOYSTICK_DEV_LIST_UPDATE"));
  const std::string first =
      "{vid:0x045e pid:0x0b13 devname:xbox wireless controller index:0 mappingIndex:6};";
  const std::string second =
      "{vid:0x054c pid:0x0ce6 devname:dualsense wireless controller index:1 mappingIndex:1};";
  const std::string tail = "joystickNum: 2" + first + first + second;
  ASSERT_GE(message.size(), tail.size());
  EXPECT_EQ(message.substr(message.size() - tail.size()), tail);
  EXPECT_EQ(JoysticAPI_GetDevList().size(), 2U);
}

TEST_F(DeviceList, SummaryPrintsIndexAndLayoutInHexadecimal) {
  for (int i = 0; i < 4; ++i) {
    Plug(GENERIC_PAD, "/dev/input/event" + std::to_string(30 + i));
  }
  Register();
  ASSERT_TRUE(listener.WaitFor([&] { return !EventsNamed("JOYSTICK_DEV_LIST_UPDATE").empty(); },
                               std::chrono::seconds(20)));
  const std::string message = LastMessage(EventsNamed("JOYSTICK_DEV_LIST_UPDATE"));
  EXPECT_NE(message.find("joystickNum: 4{vid:0x0079 pid:0x0006 devname:generic usb joystick "
                         "index:0 mappingIndex:2};"),
            std::string::npos);
  EXPECT_NE(message.find("index:3 mappingIndex:2};"), std::string::npos);
  EXPECT_EQ(CountLogBody(DebugBody(
                "vid[0x0079] pid[0x0006] devname[generic usb joystick] index[3] mappingIndex[2]")),
            1U);
}

TEST_F(DeviceList, PenTabletAloneIsNeverListedNorNotified) {
  Plug(PEN_TABLET, "/dev/input/event40");
  Register();
  ASSERT_TRUE(WaitForLog(DebugBody("wacom is not joystick")));
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_TRUE(JoysticAPI_GetDevList().empty());
  EXPECT_EQ(listener.DevListUpdateCount(), 0U);
  EXPECT_TRUE(listener.Events().empty());
  EXPECT_EQ(listener.PacketCount(), 0U);
}

TEST_F(DeviceList, FifthControllerIsListedAsAnEmptyEntry) {
  for (int i = 0; i < 5; ++i) {
    Plug(GENERIC_PAD, "/dev/input/event" + std::to_string(50 + i));
  }
  Register();
  ASSERT_TRUE(WaitForDevListUpdates(1));
  const std::list<_CpdJoystickDeviceInfo> devices = JoysticAPI_GetDevList();
  ASSERT_EQ(devices.size(), 5U);
  const _CpdJoystickDeviceInfo& fifth = devices.back();
  EXPECT_EQ(fifth.vid, 0);
  EXPECT_EQ(fifth.pid, 0);
  EXPECT_EQ(fifth.index, 0);
  EXPECT_EQ(fifth.mappingIndex, 0);
  EXPECT_EQ(fifth.devName, "");
  EXPECT_EQ(fifth.devPath, "");
}

}  // namespace
}  // namespace cpd::test

namespace cpd::test {
namespace {

// All four slots stay bound to controllers that are still attached, but one of them now sits past
// the fourth SDL index: the controller opened in its place gets no slot. It is listed with index
// 65535, sends no packets and cannot be given a layout. (The long random walk with seed 1 met this
// at its step 20699.)
TEST_F(DeviceList, ControllerAheadOfASlotHolderPastTheFourthIsListedWithoutSlot) {
  std::vector<int> pads;
  pads.reserve(4);
  for (int i = 0; i < 4; ++i) {
    pads.push_back(Plug(GENERIC_PAD, "/dev/input/event6" + std::to_string(i)));
  }
  Register();
  ASSERT_TRUE(listener.WaitFor([] { return JoysticAPI_GetDevList().size() == 4; }));
  Plug(XBOX_PAD, "/dev/input/event64");
  ASSERT_TRUE(listener.WaitFor([] { return JoysticAPI_GetDevList().size() == 5; }));
  // Replugged at once, the first controller comes back last, past the fourth SDL index.
  sim_unplug(pads[0]);
  Plug(GENERIC_PAD, "/dev/input/event60");

  std::list<_CpdJoystickDeviceInfo> devices;
  ASSERT_TRUE(listener.WaitFor([&] {
    devices = JoysticAPI_GetDevList();
    return std::any_of(devices.begin(), devices.end(),
                       [](const _CpdJoystickDeviceInfo& device) { return device.index == 65535; });
  }));
  std::map<std::string, uint16_t> slots;
  for (const _CpdJoystickDeviceInfo& device : devices) {
    slots[device.path] = device.index;
  }
  const std::map<std::string, uint16_t> expected = {{"/dev/input/event61", 1},
                                                    {"/dev/input/event62", 2},
                                                    {"/dev/input/event63", 3},
                                                    {"/dev/input/event64", 65535},
                                                    {"", 0}};
  EXPECT_EQ(slots, expected);

  const size_t seen = listener.PacketCount();
  ASSERT_TRUE(WaitForPackets(seen + 30));
  for (const auto& packet : listener.Packets()) {
    EXPECT_LT(packet[0], 4);
  }
  EXPECT_EQ(PacketsOfSlot(listener, 0xFF).size(), 0U);
  EXPECT_EQ(JoysticAPI_SetMapping(65535, 6), -1);
  EXPECT_EQ(CountLogBody(ErrorBody("index[65535] mappingIndex[6] setmapping failed")), 1U);
}

}  // namespace
}  // namespace cpd::test

namespace cpd::test {
namespace {

// A name is data, never a format: conversions in it reach the host's sink and list as typed.
TEST_F(DeviceList, NameWithFormatConversionsIsListedAndLoggedAsTyped) {
  const PadModel odd{"odd", "odd pad", "Odd %n%n%s%x Pad", 0x0079, 0x0006, 4, 12, 1, false};
  Plug(odd, "/dev/input/event70");
  Register();
  ASSERT_TRUE(WaitForDevListUpdates(1));
  const std::list<_CpdJoystickDeviceInfo> devices = JoysticAPI_GetDevList();
  ASSERT_EQ(devices.size(), 1U);
  EXPECT_EQ(devices.front().name, "odd %n%n%s%x pad");
  EXPECT_EQ(CountLogBody(DebugBody(
                "vid[0x0079] pid[0x0006] devname[odd %n%n%s%x pad] index[0] mappingIndex[2]")),
            1U);
  ASSERT_TRUE(WaitForPackets(5));
}

}  // namespace
}  // namespace cpd::test
