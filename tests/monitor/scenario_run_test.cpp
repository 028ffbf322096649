// Each shipped scenario replayed by the real monitor with --json, checked line by line: the
// order of steps, device lists and events, the packets each press produces, and the packet bytes.
// Times on a shared machine vary, so counts of packets are only checked within wide bounds.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "program.h"

namespace monitor::test {
namespace {

using Lines = std::vector<Json::Value>;

struct GamepadState {
  int buttons = 0;
  int leftTrigger = 0;
  int rightTrigger = 0;
  int lx = 0;
  int ly = 0;
  int rx = 0;
  int ry = 0;
};

bool Shows(const Json::Value& packet, const GamepadState& state) {
  return packet["wButtons"].asInt() == state.buttons &&
         packet["bLeftTrigger"].asInt() == state.leftTrigger &&
         packet["bRightTrigger"].asInt() == state.rightTrigger &&
         packet["sThumbLX"].asInt() == state.lx && packet["sThumbLY"].asInt() == state.ly &&
         packet["sThumbRX"].asInt() == state.rx && packet["sThumbRY"].asInt() == state.ry;
}

Lines RunScenario(const std::string& file, bool withLog = false) {
  std::vector<std::string> arguments = {"--simulate",
                                        std::string(CPD_MONITOR_SCENARIOS) + "/" + file, "--json"};
  if (withLog) {
    arguments.emplace_back("--log");
  }
  const ProgramRun run = RunMonitor(arguments, RunOptions{std::chrono::seconds(240), {}, {}});
  EXPECT_FALSE(run.timedOut);
  EXPECT_EQ(run.exitCode, 0) << run.err;
  Lines lines = JsonLines(run.out);
  for (const Json::Value& step : OfType(lines, "step")) {
    EXPECT_TRUE(step["ok"].asBool()) << "every step runs and every await is met: " << step;
  }
  return lines;
}

int Byte(const std::string& hex, size_t index) {
  return std::stoi(hex.substr(index * 2, 2), nullptr, 16);
}

int Little16(const std::string& hex, size_t index) {
  return Byte(hex, index) | (Byte(hex, index + 1) << 8);
}

int Signed16(const std::string& hex, size_t index) {
  const int value = Little16(hex, index);
  return value >= 0x8000 ? value - 0x10000 : value;
}

// The 17 bytes are the packet's fields, packed and little-endian.
void ExpectBytesMatchFields(const Json::Value& packet) {
  const std::string hex = packet["bytes"].asString();
  ASSERT_EQ(hex.size(), 34U) << packet;
  EXPECT_EQ(Byte(hex, 0), packet["slot"].asInt());
  const uint32_t number =
      static_cast<uint32_t>(Little16(hex, 1)) | (static_cast<uint32_t>(Little16(hex, 3)) << 16U);
  EXPECT_EQ(number, packet["number"].asUInt());
  EXPECT_EQ(Little16(hex, 5), packet["wButtons"].asInt());
  EXPECT_EQ(Byte(hex, 7), packet["bLeftTrigger"].asInt());
  EXPECT_EQ(Byte(hex, 8), packet["bRightTrigger"].asInt());
  EXPECT_EQ(Signed16(hex, 9), packet["sThumbLX"].asInt());
  EXPECT_EQ(Signed16(hex, 11), packet["sThumbLY"].asInt());
  EXPECT_EQ(Signed16(hex, 13), packet["sThumbRX"].asInt());
  EXPECT_EQ(Signed16(hex, 15), packet["sThumbRY"].asInt());
}

// Index of the first step line at or after `from` with this text; lines.size() when none.
size_t StepAt(const Lines& lines, const std::string& text, size_t from = 0) {
  for (size_t index = from; index < lines.size(); ++index) {
    if (lines[index]["type"].asString() == "step" && lines[index]["text"].asString() == text) {
      return index;
    }
  }
  return lines.size();
}

// Whether a packet of `slot` between lines `from` and `to` shows `state`.
bool ShownBetween(const Lines& lines, size_t from, size_t to, int slot, const GamepadState& state) {
  for (size_t index = from; index < to && index < lines.size(); ++index) {
    const Json::Value& line = lines[index];
    if (line["type"].asString() == "packet" && line["slot"].asInt() == slot && Shows(line, state)) {
      return true;
    }
  }
  return false;
}

// A press step and its release ("... = 0") enclose at least one packet showing `state`.
void ExpectPressShows(const Lines& lines, const std::string& press, const std::string& release,
                      int slot, const GamepadState& state, size_t from = 0) {
  const size_t pressed = StepAt(lines, press, from);
  ASSERT_LT(pressed, lines.size()) << "no step " << press;
  const size_t released = StepAt(lines, release, pressed);
  ASSERT_LT(released, lines.size()) << "no step " << release;
  EXPECT_TRUE(ShownBetween(lines, pressed, released, slot, state))
      << press << " on slot " << slot << " shows no packet with buttons " << state.buttons;
}

std::vector<int> DeviceCounts(const Lines& lines) {
  std::vector<int> counts;
  for (const Json::Value& devices : OfType(lines, "devices")) {
    if (counts.empty() || counts.back() != devices["count"].asInt()) {
      counts.push_back(devices["count"].asInt());
    }
  }
  return counts;
}

// Every device-list event follows the device list it announces, with no other list or event
// between them. Scenario steps and log lines may be: the scenario and the policy store's watcher
// run on threads of their own, and the host's own calls log on its thread.
void ExpectEachListBeforeItsEvent(const Lines& lines) {
  for (size_t index = 0; index < lines.size(); ++index) {
    if (lines[index]["name"].asString() != "JOYSTICK_DEV_LIST_UPDATE") {
      continue;
    }
    size_t before = index;
    while (before > 0 && (lines[before - 1]["type"].asString() == "step" ||
                          lines[before - 1]["type"].asString() == "log")) {
      --before;
    }
    ASSERT_GT(before, 0U);
    const Json::Value& list = lines[before - 1];
    EXPECT_EQ(list["type"].asString(), "devices") << "before the event: " << list;
    EXPECT_NE(lines[index]["record"]["message"].asString().find(
                  "joystickNum: " + std::to_string(list["count"].asInt())),
              std::string::npos);
  }
}

TEST(ShippedScenario, OnePadPressesEveryButton) {
  const Lines lines = RunScenario("one_pad_every_button.json");
  const Lines devices = OfType(lines, "devices");
  ASSERT_EQ(devices.size(), 1U);
  const Json::Value& pad = devices[0]["devices"][0];
  EXPECT_EQ(pad["name"].asString(), "xbox wireless controller");
  EXPECT_EQ(pad["vid"].asString(), "045e");
  EXPECT_EQ(pad["slot"].asInt(), 0);
  EXPECT_EQ(pad["layoutName"].asString(), "MAPPING_XBOX");
  ExpectEachListBeforeItsEvent(lines);
  EXPECT_LT(StepAt(lines, "plug xbox as pad"), StepAt(lines, "await 1 device"));

  struct Press {
    std::string input;
    GamepadState state;
  };
  const std::vector<Press> presses = {
      {"button 0", {0x1000}},
      {"button 1", {0x2000}},
      {"button 2", {0x4000}},
      {"button 3", {0x8000}},
      {"button 4", {0x0100}},
      {"button 5", {0x0200}},
      {"button 6", {0x0020}},
      {"button 7", {0x0010}},
      {"button 8", {0x0040}},
      {"button 9", {0x0080}},
      {"hat 0 = 1", {0x0001}},
      {"hat 0 = 4", {0x0002}},
      {"hat 0 = 8", {0x0004}},
      {"hat 0 = 2", {0x0008}},
      {"axis 4", {0, 255}},
      {"axis 5", {0, 0, 255}},
      {"axis 0", {0, 0, 0, -32767}},
      {"axis 1", {0, 0, 0, 0, 32767}},
      {"axis 2", {0, 0, 0, 0, 0, 32766}},
      {"axis 3", {0, 0, 0, 0, 0, 0, -32766}},
  };
  for (const Press& press : presses) {
    const bool isHat = press.input.rfind("hat", 0) == 0;
    const std::string value =
        press.input.rfind("axis", 0) == 0
            ? (press.input == "axis 0" || press.input == "axis 1" ? "-32768" : "32767")
            : "1";
    const std::string pressText = "pad " + press.input + (isHat ? "" : " = " + value);
    const std::string releaseText =
        "pad " + press.input.substr(0, isHat ? 5 : press.input.size()) + " = 0";
    ExpectPressShows(lines, pressText, releaseText, 0, press.state);
  }

  const Lines packets = OfType(lines, "packet");
  const size_t firstPress = StepAt(lines, "pad button 0 = 1");
  for (size_t index = 0; index < firstPress; ++index) {
    if (lines[index]["type"].asString() == "packet") {
      EXPECT_TRUE(Shows(lines[index], {})) << "an idle pad sends a resting state";
    }
  }
  const double seconds = (packets.back()["t"].asDouble() - packets.front()["t"].asDouble()) / 1000;
  EXPECT_GE(seconds, 12.0);
  EXPECT_GE(packets.size(), 100U);
  EXPECT_LE(packets.size(), static_cast<size_t>(seconds * 40) + 1);
  for (size_t index = 0; index < packets.size(); ++index) {
    ExpectBytesMatchFields(packets[index]);
    EXPECT_EQ(packets[index]["number"].asUInt(), index) << "one polling run counts on by one";
  }
}

TEST(ShippedScenario, HotplugAndReplug) {
  const Lines lines = RunScenario("hotplug_and_replug.json", true);
  EXPECT_EQ(DeviceCounts(lines), (std::vector<int>{1, 2, 1, 2}));
  ExpectEachListBeforeItsEvent(lines);
  for (const Json::Value& list : OfType(lines, "devices")) {
    for (const Json::Value& device : list["devices"]) {
      const bool xbox = device["name"].asString() == "xbox wireless controller";
      EXPECT_EQ(device["slot"].asInt(), xbox ? 0 : 1) << "a returning pad keeps its slot";
      EXPECT_EQ(device["layoutName"].asString(), xbox ? "MAPPING_XBOX" : "MAPPING_PS");
      EXPECT_EQ(device["path"].asString(), xbox ? "/dev/input/event20" : "/dev/input/event21");
    }
  }
  ExpectPressShows(lines, "second button 0 = 1", "second button 0 = 0", 1, {0x1000});
  ExpectPressShows(lines, "first hat 0 = 1", "first hat 0 = 0", 0, {0x0001});
  ExpectPressShows(lines, "second button 1 = 1", "second button 1 = 0", 1, {0x2000});

  // The replug: the pad is pulled and put back at once, so SDL's count stays the same and the
  // library finds the old handle detached. Only if its count check fell between the two does it
  // see the count change instead; its log says which.
  const size_t firstUnplug = StepAt(lines, "unplug second");
  const size_t replug = StepAt(lines, "unplug second", firstUnplug + 1);
  ASSERT_LT(replug, lines.size());
  bool detached = false;
  bool countChanged = false;
  size_t republished = lines.size();
  for (size_t index = replug; index < lines.size(); ++index) {
    const Json::Value& line = lines[index];
    detached = detached || (line["name"].asString() == "JOYSTICK_DEV_DETACHED" &&
                            line["record"]["message"].asString().find(
                                "] dualsense wireless controller detached") != std::string::npos);
    countChanged =
        countChanged || line["text"].asString().find("SDL numJoysticks[1] Joysticks.size()[2]") !=
                            std::string::npos;
    if (line["type"].asString() == "devices" && republished == lines.size()) {
      republished = index;
    }
  }
  EXPECT_TRUE(detached || countChanged);
  ASSERT_LT(republished, lines.size()) << "the library opens the replugged pad again";
  EXPECT_EQ(lines[republished]["count"].asInt(), 2);
  ExpectPressShows(lines, "second button 3 = 1", "second button 3 = 0", 1, {0x8000}, republished);
  for (const Json::Value& packet : OfType(lines, "packet")) {
    ExpectBytesMatchFields(packet);
  }
}

TEST(ShippedScenario, FivePadsAndATablet) {
  const Lines lines = RunScenario("five_pads_and_a_tablet.json");
  const Lines lists = OfType(lines, "devices");
  ASSERT_FALSE(lists.empty());
  for (const Json::Value& list : lists) {
    for (const Json::Value& device : list["devices"]) {
      EXPECT_NE(device["vid"].asString(), "056a") << "the pen tablet is never listed";
    }
  }
  const Json::Value& last = lists.back();
  EXPECT_EQ(last["count"].asInt(), 5);
  std::set<int> openedSlots;
  std::vector<std::string> layouts;
  int unopened = 0;
  for (const Json::Value& device : last["devices"]) {
    if (device["path"].asString().empty()) {
      ++unopened;
      EXPECT_EQ(device["vid"].asString(), "0000");
      EXPECT_EQ(device["name"].asString(), "");
      continue;
    }
    openedSlots.insert(device["slot"].asInt());
    layouts.push_back(device["name"].asString() + " " + device["layoutName"].asString());
  }
  EXPECT_EQ(unopened, 2) << "the two past the fourth SDL device";
  EXPECT_EQ(layouts,
            (std::vector<std::string>{"xbox wireless controller MAPPING_XBOX",
                                      "dualsense wireless controller MAPPING_PS",
                                      "nintendo switch pro controller MAPPING_SWITCH_MOD1"}));

  std::set<int> packetSlots;
  for (const Json::Value& packet : OfType(lines, "packet")) {
    packetSlots.insert(packet["slot"].asInt());
    ExpectBytesMatchFields(packet);
  }
  EXPECT_EQ(packetSlots, openedSlots) << "the tablet is open but never polled";
  for (const int slot : openedSlots) {
    EXPECT_TRUE(ShownBetween(lines, StepAt(lines, "xbox button 0 = 1"),
                             StepAt(lines, "xbox button 0 = 0"), slot, {0x1000}))
        << "slot " << slot << " shows its A button";
  }
}

}  // namespace
}  // namespace monitor::test
