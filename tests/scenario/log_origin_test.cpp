// The function name in a log line's prefix is part of what a host sees: every line carries the
// name of the operation it belongs to, also where a short helper or a data table emits it.
#include <map>
#include <set>
#include <string>

#include "scenario.h"

namespace cpd::test {
namespace {

using namespace std::chrono_literals;
using LogOrigin = Scenario;

// Message, as written in the statement, to the operations that may log it.
const std::map<std::string, std::set<std::string>>& Origins() {
  static const std::map<std::string, std::set<std::string>> origins = {
      {"", {"Init"}},
      {"begin", {"Stop"}},
      {"end", {"Stop"}},
      {"%p", {"RegsisterNotify", "UnregsisterNotify"}},
      {"wacom is not joystick", {"UpdateJoystickDevList"}},
      {"vid[0x%.4x] pid[0x%.4x] devname[%s] index[%d] mappingIndex[%d]", {"UpdateJoystickDevList"}},
      {"joystick process enter\\n", {"process"}},
      {"joystickmap listsize[%d] index[%d]: name[%s] path[%s] vid[0x%x] pid[0x%x]", {"process"}},
      {"SDL_JoystickOpen failed", {"process"}},
      {"SDL numJoysticks[%d] Joysticks.size()[%d]", {"process"}},
      {"joystick %d: _ptr is null index[%d]", {"process"}},
      {"joystick[%d][%s] dwPacketNumber[%d] wButtons[%x] bLeftTrigger[%u] bRightTrigger[%u] "
       "sThumbLX[%hd] sThumbLY[%hd] sThumbRX[%hd] sThumbRY[%hd]\\n",
       {"process"}},
      {"joystick[%s] detached", {"process"}},
      {"joystick exit\\n", {"process"}},
      {"size[%d]", {"GetMappingList"}},
      {"index[%d] mappingIndex[%d]", {"SetMapping"}},
      {"index[%d] mappingIndex[%d] setmapping failed", {"SetMapping"}},
      {"name[%s]", {"OpenOrCreateMapping"}},
      {"name[%s] The joystick has config mappingIndex[%d] ", {"OpenOrCreateMapping"}},
      {"The joystick is xbox name[%s]", {"OpenOrCreateMapping"}},
      {"The joystick is Switch name[%s]", {"OpenOrCreateMapping"}},
      {"The joystick is DualSense name[%s]", {"OpenOrCreateMapping"}},
      {"The joystick is logitech cordless rumblepad name[%s]", {"OpenOrCreateMapping"}},
      {"The joystick is android mod name[%s]", {"OpenOrCreateMapping"}},
      {"default joystick is DualSense name[%s]", {"OpenOrCreateMapping"}},
      {"name[%s] mappingIndex[%d]", {"ResetMapping"}},
      {"name[%s] mappingIndex[%d] UNKNOWN mapping", {"ResetMapping"}},
      {"HAT inputID[%d] index[%d]",
       {"setXboxSDLMapping", "setLogicRumblepadSDLMapping", "setAndroidSDLMapping"}},
      {"STICK inputID[%d] index[%d]",
       {"setXboxSDLMapping", "setSwitchSDLMapping", "setSwitch2SDLMapping",
        "setLogicRumblepadSDLMapping", "setDualSenseSDLMapping", "setAndroidSDLMapping"}},
      {"BUTTON inputID[%d] index[%d]",
       {"setXboxSDLMapping", "setSwitchSDLMapping", "setSwitch2SDLMapping",
        "setLogicRumblepadSDLMapping", "setDualSenseSDLMapping", "setAndroidSDLMapping"}},
      {"SDL initialization failed: %s", {"InitJoystickInput"}},
      {"joystick update index[%d] path[%s] old[%s]\\n", {"UpdateJoyStickIndex"}},
      {"joystick index[%d] path[%s]\\n", {"UpdateJoyStickIndex"}},
      {"joystick count > JOYSTICK_MAX_NUM[4] path[%s]\\n", {"UpdateJoyStickIndex"}},
      {"SDL_JoystickGetHat index[%d] buttonValue[%d] mapValue[%d]", {"GetXboxReportFromSDLmap"}},
      {"SDL_JoystickGetButton index[%d] buttonValue[%d] mapValue[%d]", {"GetXboxReportFromSDLmap"}},
      {"index[%d] medianReport[%d] modeReport[%d] rangeReport[%d] avgReport[%d]",
       {"get_sdl_joystick_baseline"}},
      {"numAxes[%d] numButtons[%d] numHats[%d]", {"get_sdl_joystick_baseline"}},
      {"mPolicyStr: %s", {"Init"}},
      {"already started\\n", {"Init"}},
      {"GetMappingIndex %.4x:%.4x\\n", {"GetMappingIndex"}},
      {"do not GetMappingIndex cause vid is 0\\n", {"GetMappingIndex"}},
      {"SetMappingIndex %.4x:%.4x mappingIndex[%d] name[%s]\\n", {"SetMappingIndex"}},
      {"do not SetMappingIndex cause vid is 0\\n", {"SetMappingIndex"}},
      {"render failed", {"getMappingIndexFromConfig"}},
      {"vidpid %s MappingIndex[%d]\\n", {"getMappingIndexFromConfig"}},
      {"setMappingIndexToConfig vidpid[%s] mappingIndex[%d]\\n", {"setMappingIndexToConfig"}},
      {"config mPolicyStr %s\\n", {"setMappingIndexToConfig"}},
      {"handlePolicyChangeThread enter\\n", {"handlePolicyChangeThread"}},
      {"config mPolicyStr  %s\\n", {"handlePolicyChangeThread"}},
      {"handlePolicyChangeThread exit\\n", {"handlePolicyChangeThread"}},
  };
  return origins;
}

// The message part of a statement's format: what follows the quoted severity word.
std::string MessageOf(const std::string& format) {
  static const std::string prefix = "%s %s(%d): \"";
  const size_t word = format.find("\" \"", prefix.size());
  if (format.rfind(prefix, 0) != 0 || word == std::string::npos || format.back() != '"') {
    return format;
  }
  const size_t start = word + 3;
  return format.substr(start, format.size() - 1 - start);
}

// Checks every captured line whose message is a known one; returns the messages seen.
std::set<std::string> CheckOrigins() {
  std::set<std::string> seen;
  for (const LogLine& line : CapturedLogs()) {
    const std::string message = MessageOf(line.format);
    const auto known = Origins().find(message);
    if (known == Origins().end()) {
      continue;
    }
    seen.insert(message);
    EXPECT_EQ(known->second.count(line.function), 1U)
        << "\"" << message << "\" logged from " << line.function;
  }
  return seen;
}

void ExpectSeen(const std::set<std::string>& seen, const std::vector<std::string>& messages) {
  for (const std::string& message : messages) {
    EXPECT_EQ(seen.count(message), 1U) << "never logged: \"" << message << "\"";
  }
}

TEST_F(LogOrigin, EveryLineOfARunCarriesItsOperationsName) {
  SetStoredValue("joystickPolicyList", R"([{"vidpid":"057e:2009","mapping":3}])");
  const int xbox = Plug(XBOX_PAD, "/dev/input/event20");
  Plug(GENERIC_PAD, "/dev/input/event21");
  Plug(PEN_TABLET, "/dev/input/event22");
  Plug(SWITCH_PAD, "/dev/input/event23");
  Plug(DUALSENSE_PAD, "/dev/input/event24");  // SDL index 4: listed, never opened
  sim_fail_next_init("no joystick subsystem");
  sim_fail_next_open("gone");
  Register();
  ASSERT_TRUE(WaitForDevListUpdates(1));

  sim_set_hat(xbox, 0, 1);  // up
  sim_set_button(xbox, 0, 1);
  ASSERT_TRUE(listener.WaitFor([&] {
    const auto packets = PacketsOfSlot(listener, 0);
    return !packets.empty() && packets.back().wButtons == (0x0001 | 0x1000);
  }));
  EXPECT_EQ(JoysticAPI_GetMappingList().size(), 6U);
  EXPECT_EQ(JoysticAPI_SetMapping(0, 1), 0);
  EXPECT_LT(JoysticAPI_SetMapping(2, 9), 0);
  EXPECT_EQ(JoysticAPI_SetMapping(7, 1), -1);

  DetachDuringReport detach;
  detach.pad = xbox;
  sim_set_update_hook(&UnplugInReportUpdate, &detach);
  ASSERT_TRUE(listener.WaitFor([&] { return !EventsNamed("JOYSTICK_DEV_DETACHED").empty(); }));
  sim_set_update_hook(nullptr, nullptr);
  ASSERT_TRUE(WaitForDevListUpdates(2));
  // With the first pad gone the DualSense moves down to SDL index 3, is opened, and takes over
  // the slot the first pad left; the new pad sits at index 4.
  Plug(XBOX_PAD, "/dev/input/event30");
  ASSERT_TRUE(WaitForLog(
      DebugBody("joystick update index[0] path[/dev/input/event24] old[/dev/input/event20]\\n")));
  ASSERT_TRUE(WaitForDevListUpdates(3));
  ASSERT_TRUE(WaitForStoreCalls("SetSecure", 1));
  Unregister();

  const std::set<std::string> seen = CheckOrigins();
  ExpectSeen(seen, {"",
                    "begin",
                    "end",
                    "%p",
                    "wacom is not joystick",
                    "vid[0x%.4x] pid[0x%.4x] devname[%s] index[%d] mappingIndex[%d]",
                    "joystick process enter\\n",
                    "joystickmap listsize[%d] index[%d]: name[%s] path[%s] vid[0x%x] pid[0x%x]",
                    "SDL_JoystickOpen failed",
                    "SDL numJoysticks[%d] Joysticks.size()[%d]",
                    "joystick %d: _ptr is null index[%d]",
                    "joystick[%s] detached",
                    "joystick exit\\n",
                    "size[%d]",
                    "index[%d] mappingIndex[%d]",
                    "index[%d] mappingIndex[%d] setmapping failed",
                    "name[%s]",
                    "name[%s] The joystick has config mappingIndex[%d] ",
                    "The joystick is xbox name[%s]",
                    "default joystick is DualSense name[%s]",
                    "name[%s] mappingIndex[%d]",
                    "name[%s] mappingIndex[%d] UNKNOWN mapping",
                    "HAT inputID[%d] index[%d]",
                    "STICK inputID[%d] index[%d]",
                    "BUTTON inputID[%d] index[%d]",
                    "SDL initialization failed: %s",
                    "joystick update index[%d] path[%s] old[%s]\\n",
                    "joystick index[%d] path[%s]\\n",
                    "SDL_JoystickGetHat index[%d] buttonValue[%d] mapValue[%d]",
                    "SDL_JoystickGetButton index[%d] buttonValue[%d] mapValue[%d]",
                    "index[%d] medianReport[%d] modeReport[%d] rangeReport[%d] avgReport[%d]",
                    "numAxes[%d] numButtons[%d] numHats[%d]",
                    "mPolicyStr: %s",
                    "GetMappingIndex %.4x:%.4x\\n",
                    "SetMappingIndex %.4x:%.4x mappingIndex[%d] name[%s]\\n",
                    "vidpid %s MappingIndex[%d]\\n",
                    "setMappingIndexToConfig vidpid[%s] mappingIndex[%d]\\n",
                    "config mPolicyStr %s\\n",
                    "handlePolicyChangeThread enter\\n",
                    "config mPolicyStr  %s\\n"});
}

TEST_F(LogOrigin, ADocumentThatIsNotJsonIsReportedByTheLookup) {
  SetStoredValue("joystickPolicyList", "not json at all");
  Plug(XBOX_PAD, "/dev/input/event20");
  Register();
  ASSERT_TRUE(WaitForDevListUpdates(1));
  Unregister();
  ExpectSeen(CheckOrigins(), {"render failed", "The joystick is xbox name[%s]"});
}

TEST_F(LogOrigin, EveryLayoutChosenByNameLogsUnderItsOwnOperation) {
  Plug(DUALSENSE_PAD, "/dev/input/event20");
  Plug(SWITCH_PAD, "/dev/input/event21");
  Plug(sim::RUMBLEPAD_PAD, "/dev/input/event22");
  Plug(sim::MOBAPAD_PAD, "/dev/input/event23");
  Register();
  ASSERT_TRUE(WaitForDevListUpdates(1));
  Unregister();
  // The installing operation is the one the chosen layout names, in the order of the pads.
  std::vector<std::string> installers;
  for (const LogLine& line : CapturedLogs()) {
    if (MessageOf(line.format) == "STICK inputID[%d] index[%d]" &&
        line.body.find("[17]") != std::string::npos) {
      installers.push_back(line.function);
    }
  }
  EXPECT_EQ(installers,
            (std::vector<std::string>{"setDualSenseSDLMapping", "setSwitchSDLMapping",
                                      "setLogicRumblepadSDLMapping", "setAndroidSDLMapping"}));
  ExpectSeen(CheckOrigins(),
             {"The joystick is DualSense name[%s]", "The joystick is Switch name[%s]",
              "The joystick is logitech cordless rumblepad name[%s]",
              "The joystick is android mod name[%s]"});
}

}  // namespace
}  // namespace cpd::test
