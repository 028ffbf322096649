// Which layout a controller gets: its model's stored choice, else its name, else the fall-back.
#include <gtest/gtest.h>

#include "joystick_mapping/identification.h"
#include "log_capture.h"
#include "recording_store.h"

namespace {

using cpd::JoystickDevice;
using cpd::test::CountLogBody;
using cpd::test::DebugBody;
using cpd::test::ErrorBody;

JoystickDevice DeviceNamed(const std::string& name, uint16_t vid = 0x1234, uint16_t pid = 0x5678) {
  JoystickDevice device;
  device.name = name;
  device.vid = vid;
  device.pid = pid;
  return device;
}

// A policy document that chooses `mappingIndex` for 1234:5678.
std::string PolicyChoosing(int mappingIndex) {
  return "[\n   {\n      \"describe\" : \"pad\",\n      \"mapping\" : " +
         std::to_string(mappingIndex) + ",\n      \"vidpid\" : \"1234:5678\"\n   }\n]\n";
}

class Identification : public ::testing::Test {
 protected:
  void SetUp() override {
    cpd::test::ResetStore();
    cpd::test::ClearLogs();
  }
};

TEST_F(Identification, XboxWirelessControllerGetsTheXboxLayoutAndALowerCaseName) {
  JoystickDevice device = DeviceNamed("Xbox Wireless Controller");
  cpd::OpenOrCreateMapping(device);
  EXPECT_EQ(device.mapping.mappingIndex, cpd::MAPPING_XBOX);
  EXPECT_EQ(device.mapping.mappingName, "MAPPING_XBOX");
  EXPECT_EQ(device.name, "xbox wireless controller");
  EXPECT_EQ(CountLogBody(DebugBody("name[Xbox Wireless Controller]")), 1U);
  EXPECT_EQ(CountLogBody(DebugBody("The joystick is xbox name[xbox wireless controller]")), 1U);
}

struct NameCase {
  const char* name;
  cpd::MappingIndex expected;
  const char* logLine;  // with the lower-cased name filled in
};

class IdentificationByName : public Identification,
                             public ::testing::WithParamInterface<NameCase> {};

TEST_P(IdentificationByName, FirstMatchingRowDecides) {
  const NameCase& nameCase = GetParam();
  JoystickDevice device = DeviceNamed(nameCase.name);
  cpd::OpenOrCreateMapping(device);
  EXPECT_EQ(device.mapping.mappingIndex, nameCase.expected) << nameCase.name;
  EXPECT_EQ(CountLogBody(DebugBody(nameCase.logLine)), 1U) << nameCase.name;
}

INSTANTIATE_TEST_SUITE_P(
    Table, IdentificationByName,
    ::testing::Values(
        NameCase{"Xbox 360 Controller", 6, "The joystick is xbox name[xbox 360 controller]"},
        NameCase{"G5PRP MAX SE", 6, "The joystick is xbox name[g5prp max se]"},
        NameCase{"Nintendo Switch Pro Controller", 2,
                 "The joystick is Switch name[nintendo switch pro controller]"},
        NameCase{"DualSense Wireless Controller", 1,
                 "The joystick is DualSense name[dualsense wireless controller]"},
        NameCase{"Sony PS5 Pad", 1, "The joystick is DualSense name[sony ps5 pad]"},
        NameCase{"Wireless Controller PS4", 1,
                 "The joystick is DualSense name[wireless controller ps4]"},
        NameCase{"PS3 Gamepad", 1, "The joystick is DualSense name[ps3 gamepad]"},
        NameCase{"Logitech Cordless RumblePad 2", 5,
                 "The joystick is logitech cordless rumblepad name[logitech cordless rumblepad 2]"},
        NameCase{"Mobapad Pro-HD", 4, "The joystick is android mod name[mobapad pro-hd]"},
        NameCase{"XBOX switch edition", 6, "The joystick is xbox name[xbox switch edition]"},
        NameCase{"Switch ps4 adapter", 2, "The joystick is Switch name[switch ps4 adapter]"},
        NameCase{"mobapad pro-hd ps3 mode", 1,
                 "The joystick is DualSense name[mobapad pro-hd ps3 mode]"},
        NameCase{"Generic USB Joystick", 2,
                 "default joystick is DualSense name[generic usb joystick]"},
        NameCase{"", 2, "default joystick is DualSense name[]"}));

TEST_F(Identification, FallbackInstallsSwitchLayoutButLogsDualSense) {
  JoystickDevice device = DeviceNamed("Generic USB Joystick");
  cpd::OpenOrCreateMapping(device);
  EXPECT_EQ(device.mapping.mappingIndex, cpd::MAPPING_SWITCH_MOD1);
  EXPECT_EQ(device.mapping.mappingName, "MAPPING_SWITCH_MOD1");
  EXPECT_EQ(CountLogBody(DebugBody("default joystick is DualSense name[generic usb joystick]")),
            1U);
}

TEST_F(Identification, StoredChoiceOfThreeOverridesTheName) {
  cpd::test::SetStoredValue("joystickPolicyList", PolicyChoosing(3));
  JoystickDevice device = DeviceNamed("Xbox Wireless Controller");
  cpd::OpenOrCreateMapping(device);
  EXPECT_EQ(device.mapping.mappingIndex, cpd::MAPPING_SWITCH_MOD2);
  EXPECT_EQ(CountLogBody(DebugBody(
                "name[xbox wireless controller] The joystick has config mappingIndex[3] ")),
            1U);
  EXPECT_EQ(CountLogBody(DebugBody("name[xbox wireless controller] mappingIndex[3]")), 1U);
  EXPECT_EQ(CountLogBody(DebugBody("The joystick is xbox name[xbox wireless controller]")), 0U);
}

TEST_F(Identification, StoredZeroIsIgnoredAndTheNameDecides) {
  cpd::test::SetStoredValue("joystickPolicyList", PolicyChoosing(0));
  JoystickDevice device = DeviceNamed("Nintendo Switch Pro Controller");
  cpd::OpenOrCreateMapping(device);
  EXPECT_EQ(device.mapping.mappingIndex, cpd::MAPPING_SWITCH_MOD1);
}

TEST_F(Identification, StoredSevenIsIgnoredAndTheNameDecides) {
  cpd::test::SetStoredValue("joystickPolicyList", PolicyChoosing(7));
  JoystickDevice device = DeviceNamed("DualSense Wireless Controller");
  cpd::OpenOrCreateMapping(device);
  EXPECT_EQ(device.mapping.mappingIndex, cpd::MAPPING_PS);
}

TEST_F(Identification, StoredNegativeChoiceIsOutOfRange) {
  cpd::test::SetStoredValue("joystickPolicyList", PolicyChoosing(-1));
  JoystickDevice device = DeviceNamed("Xbox One");
  cpd::OpenOrCreateMapping(device);
  EXPECT_EQ(device.mapping.mappingIndex, cpd::MAPPING_XBOX);
}

TEST_F(Identification, MissingStoreLeavesTheNameToDecide) {
  cpd::test::SetStoreAvailable(false);
  JoystickDevice device = DeviceNamed("Wireless Controller PS4");
  cpd::OpenOrCreateMapping(device);
  EXPECT_EQ(device.mapping.mappingIndex, cpd::MAPPING_PS);
}

TEST_F(Identification, EveryCallStartsFromAFreshMapping) {
  JoystickDevice device = DeviceNamed("Xbox One");
  cpd::OpenOrCreateMapping(device);
  ASSERT_EQ(cpd::ResetMapping(device, cpd::MAPPING_LOGIC), 0);
  device.name = "Mobapad Pro-HD";
  cpd::OpenOrCreateMapping(device);
  EXPECT_EQ(device.mapping.mappingIndex, cpd::MAPPING_ANDROID);
  // GUIDE is never bound, whatever layouts came before.
  EXPECT_EQ(device.mapping.bindings.count(cpd::InputId::GUIDE), 0U);
}

TEST_F(Identification, ResetMappingWithAnUnknownIndexChangesNothing) {
  JoystickDevice device = DeviceNamed("Xbox One");
  cpd::OpenOrCreateMapping(device);
  const cpd::JoystickMapping before = device.mapping;
  cpd::test::ClearLogs();
  EXPECT_EQ(cpd::ResetMapping(device, 7), -1);
  EXPECT_EQ(device.mapping.mappingIndex, before.mappingIndex);
  EXPECT_EQ(device.mapping.mappingName, before.mappingName);
  EXPECT_EQ(device.mapping.bindings, before.bindings);
  EXPECT_EQ(
      cpd::test::LogBodiesOfThisThread(),
      (std::vector<std::string>{DebugBody("name[xbox one] mappingIndex[7]"),
                                ErrorBody("name[xbox one] mappingIndex[7] UNKNOWN mapping")}));
}

TEST_F(Identification, ResetMappingWithZeroIsRefusedToo) {
  JoystickDevice device = DeviceNamed("pad");
  EXPECT_EQ(cpd::ResetMapping(device, 0), -1);
  EXPECT_EQ(CountLogBody(ErrorBody("name[pad] mappingIndex[0] UNKNOWN mapping")), 1U);
}

TEST_F(Identification, ResetMappingInstallsEachLayoutByItsIndex) {
  for (cpd::MappingIndex kind = 1; kind <= 6; ++kind) {
    JoystickDevice device = DeviceNamed("pad");
    ASSERT_EQ(cpd::ResetMapping(device, kind), 0);
    EXPECT_EQ(device.mapping.mappingIndex, kind);
    EXPECT_EQ(device.mapping.mappingName, cpd::MappingIndexToString(kind));
  }
}

}  // namespace
