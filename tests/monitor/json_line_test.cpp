#include "json_line.h"

#include <gtest/gtest.h>
#include <json/json.h>

#include <memory>

namespace monitor {
namespace {

Json::Value ParseLine(const std::string& line) {
  EXPECT_EQ(line.find('\n'), std::string::npos);
  Json::CharReaderBuilder builder;
  Json::CharReaderBuilder::strictMode(&builder.settings_);
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  Json::Value value;
  std::string errors;
  EXPECT_TRUE(reader->parse(line.data(), line.data() + line.size(), &value, &errors)) << errors;
  return value;
}

JoystickDataPacket SamplePacket() {
  JoystickDataPacket packet{};
  packet.slot = 2;
  packet.dwPacketNumber = 0x01020304;
  packet.wButtons = 0x1001;
  packet.bLeftTrigger = 255;
  packet.bRightTrigger = 7;
  packet.sThumbLX = -32767;
  packet.sThumbLY = 1;
  packet.sThumbRX = 256;
  packet.sThumbRY = -2;
  return packet;
}

TEST(JsonLines, EscapesWhatJsonCannotHoldPlainAndStayOneLine) {
  const std::string text = "x\"\n\x1f\\ \xc3\xa9";
  const std::string written = LogLine(3, 5, text);
  EXPECT_EQ(written.find('\n'), std::string::npos) << written;
  EXPECT_NE(written.find(std::string(R"(x\"\n\u001f\\ )") + "\xc3\xa9"), std::string::npos)
      << "control characters escaped, UTF-8 kept: " << written;
  const Json::Value line = ParseLine(written);
  EXPECT_EQ(line["type"].asString(), "log");
  EXPECT_EQ(line["t"].asInt(), 3);
  EXPECT_EQ(line["level"].asInt(), 5);
  EXPECT_EQ(line["text"].asString(), text);
}

TEST(JsonLines, LayoutsLineListsTheLibrarysLayoutsInItsOrder) {
  const Json::Value line = ParseLine(LayoutsLine(0, {{1, "MAPPING_PS"}, {6, "MAPPING_XBOX"}}));
  EXPECT_EQ(line["type"].asString(), "layouts");
  ASSERT_EQ(line["layouts"].size(), 2U);
  EXPECT_EQ(line["layouts"][0]["layout"].asInt(), 1);
  EXPECT_EQ(line["layouts"][0]["name"].asString(), "MAPPING_PS");
  EXPECT_EQ(line["layouts"][1]["layout"].asInt(), 6);
  EXPECT_EQ(line["layouts"][1]["name"].asString(), "MAPPING_XBOX");
  EXPECT_EQ(line["poll_ms"].asInt(), 30);
  EXPECT_EQ(ParseLine(LayoutsLine(0, {}, 4))["poll_ms"].asInt(), 4);
}

TEST(JsonLines, PacketBytesAreTheLittleEndianPacket) {
  EXPECT_EQ(PacketHex(SamplePacket()), "02040302010110ff07018001000001feff");
}

TEST(JsonLines, PacketLineCarriesBytesAndFields) {
  const Json::Value line = ParseLine(PacketLine(1234, SamplePacket()));
  EXPECT_EQ(line["type"].asString(), "packet");
  EXPECT_EQ(line["t"].asInt(), 1234);
  EXPECT_EQ(line["slot"].asInt(), 2);
  EXPECT_EQ(line["number"].asUInt(), 0x01020304U);
  EXPECT_EQ(line["bytes"].asString(), PacketHex(SamplePacket()));
  EXPECT_EQ(line["wButtons"].asInt(), 0x1001);
  EXPECT_EQ(line["bLeftTrigger"].asInt(), 255);
  EXPECT_EQ(line["bRightTrigger"].asInt(), 7);
  EXPECT_EQ(line["sThumbLX"].asInt(), -32767);
  EXPECT_EQ(line["sThumbLY"].asInt(), 1);
  EXPECT_EQ(line["sThumbRX"].asInt(), 256);
  EXPECT_EQ(line["sThumbRY"].asInt(), -2);
}

TEST(JsonLines, DevicesLineNamesEachLayoutFromTheLibrarysList) {
  _CpdJoystickDeviceInfo pad;
  pad.vid = 0x045e;
  pad.pid = 0x0b13;
  pad.index = 1;
  pad.name = pad.devName = "xbox wireless controller";
  pad.path = pad.devPath = "/dev/input/event20";
  pad.mappingIndex = 6;
  _CpdJoystickDeviceInfo unopened;
  const Json::Value line =
      ParseLine(DevicesLine(5, {pad, unopened}, {{1, "MAPPING_PS"}, {6, "MAPPING_XBOX"}}));
  EXPECT_EQ(line["type"].asString(), "devices");
  EXPECT_EQ(line["count"].asInt(), 2);
  ASSERT_EQ(line["devices"].size(), 2U);
  const Json::Value& first = line["devices"][0];
  EXPECT_EQ(first["slot"].asInt(), 1);
  EXPECT_EQ(first["name"].asString(), "xbox wireless controller");
  EXPECT_EQ(first["vid"].asString(), "045e");
  EXPECT_EQ(first["pid"].asString(), "0b13");
  EXPECT_EQ(first["path"].asString(), "/dev/input/event20");
  EXPECT_EQ(first["layout"].asInt(), 6);
  EXPECT_EQ(first["layoutName"].asString(), "MAPPING_XBOX");
  EXPECT_EQ(line["devices"][1]["vid"].asString(), "0000");
  EXPECT_EQ(line["devices"][1]["layoutName"].asString(), "layout 0");
}

TEST(JsonLines, ControllerWithoutASlotHasANullSlot) {
  _CpdJoystickDeviceInfo slotless;
  slotless.vid = 0x0079;
  slotless.index = 0xFFFF;
  slotless.path = slotless.devPath = "/dev/input/event21";
  const Json::Value line = ParseLine(DevicesLine(5, {slotless}, {}));
  ASSERT_EQ(line["devices"].size(), 1U);
  EXPECT_TRUE(line["devices"][0]["slot"].isNull());
  EXPECT_EQ(line["devices"][0]["path"].asString(), "/dev/input/event21");
}

TEST(JsonLines, EventLineKeepsTheWholeRecord) {
  const EventRecord record = {
      {"message", "[a.cpp f(1)] pad detached"}, {"status", "success"}, {"success", "true"}};
  const Json::Value line = ParseLine(EventLine(9, "JOYSTICK_DEV_DETACHED", record));
  EXPECT_EQ(line["type"].asString(), "event");
  EXPECT_EQ(line["name"].asString(), "JOYSTICK_DEV_DETACHED");
  EXPECT_EQ(line["record"].getMemberNames(),
            (std::vector<std::string>{"message", "status", "success"}));
  EXPECT_EQ(line["record"]["message"].asString(), "[a.cpp f(1)] pad detached");
}

TEST(JsonLines, MotorsLineCarriesSlotPathSpeedsAndWhereTheyComeFrom) {
  const Json::Value line = ParseLine(
      MotorsLine(70, 1, "/dev/input/event21", {MotorSource::SIMULATOR, true, {30000, 65535}}));
  EXPECT_EQ(line["type"].asString(), "motors");
  EXPECT_EQ(line["t"].asInt(), 70);
  EXPECT_EQ(line["slot"].asInt(), 1);
  EXPECT_EQ(line["path"].asString(), "/dev/input/event21");
  EXPECT_EQ(line["low"].asInt(), 30000);
  EXPECT_EQ(line["high"].asInt(), 65535);
  EXPECT_EQ(line["source"].asString(), "simulator");
  EXPECT_EQ(ParseLine(MotorsLine(0, 0, "", {MotorSource::ASKED, true, {}}))["source"].asString(),
            "asked");
}

TEST(JsonLines, ARumbleStepNamesNoPad) {
  ScenarioStep rumble;
  rumble.kind = StepKind::RUMBLE;
  rumble.index = 2;
  rumble.speeds = {100, 200};
  const Json::Value line = ParseLine(StepLine(80, rumble, false));
  EXPECT_EQ(line["action"].asString(), "rumble");
  EXPECT_EQ(line["text"].asString(), "rumble slot 2: low 100, high 200");
  EXPECT_FALSE(line["ok"].asBool());
  EXPECT_FALSE(line.isMember("pad"));
}

TEST(JsonLines, LogAndStepLines) {
  const std::string text = R"(x.cpp f(2): "Error:" "bad")";
  const Json::Value log = ParseLine(LogLine(3, 7, text));
  EXPECT_EQ(log["type"].asString(), "log");
  EXPECT_EQ(log["level"].asInt(), 7);
  EXPECT_EQ(log["text"].asString(), text);

  ScenarioStep await;
  await.kind = StepKind::AWAIT_DEVICES;
  await.at = 40;
  await.value = 2;
  const Json::Value awaited = ParseLine(StepLine(50, await, false));
  EXPECT_EQ(awaited["action"].asString(), "await_devices");
  EXPECT_EQ(awaited["at"].asInt(), 40);
  EXPECT_FALSE(awaited["ok"].asBool());
  EXPECT_FALSE(awaited.isMember("pad"));

  ScenarioStep press;
  press.kind = StepKind::BUTTON;
  press.pad = "pad";
  press.index = 3;
  press.value = 1;
  const Json::Value pressed = ParseLine(StepLine(60, press, true));
  EXPECT_EQ(pressed["pad"].asString(), "pad");
  EXPECT_EQ(pressed["text"].asString(), "pad button 3 = 1");
  EXPECT_TRUE(pressed["ok"].asBool());
}

}  // namespace
}  // namespace monitor
