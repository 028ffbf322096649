// The device list as the host sees it: what is listed, and what listeners hear.
#include <regex>

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
