#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "joystick_mapping/layouts.h"
#include "log_capture.h"

namespace {

using cpd::InputBinding;
using cpd::InputId;
using cpd::InputType;
using cpd::JoystickDevice;
using cpd::test::DebugBody;
using cpd::test::LogBodies;

std::string Line(const char* kind, int id, int index) {
  return DebugBody(std::string(kind) + " inputID[" + std::to_string(id) + "] index[" +
                   std::to_string(index) + "]");
}

class Layouts : public ::testing::Test {
 protected:
  void SetUp() override { cpd::test::ClearLogs(); }
};

TEST_F(Layouts, XboxBindsLeftTriggerToAxisFourAndLogsEveryBindingButTheTriggers) {
  JoystickDevice device;
  cpd::setXboxSDLMapping(device);
  EXPECT_EQ(device.mapping.bindings.at(InputId::LEFT_TRIGGER),
            (InputBinding{InputType::TRIGGER, 4, 32767}));
  EXPECT_EQ(device.mapping.mappingIndex, 6);
  EXPECT_EQ(device.mapping.mappingName, "MAPPING_XBOX");
  const std::vector<std::string> expected = {
      Line("STICK", 17, 0),  Line("STICK", 18, 1),  Line("STICK", 19, 0),  Line("STICK", 20, 1),
      Line("STICK", 21, 2),  Line("STICK", 22, 3),  Line("STICK", 23, 2),  Line("STICK", 24, 3),
      Line("BUTTON", 8, 4),  Line("BUTTON", 9, 5),  Line("BUTTON", 6, 8),  Line("BUTTON", 7, 9),
      Line("HAT", 0, 0),     Line("HAT", 1, 0),     Line("HAT", 2, 0),     Line("HAT", 3, 0),
      Line("BUTTON", 11, 0), Line("BUTTON", 12, 1), Line("BUTTON", 13, 2), Line("BUTTON", 14, 3),
      Line("BUTTON", 5, 6),  Line("BUTTON", 4, 7),
  };
  EXPECT_EQ(LogBodies(), expected);
}

TEST_F(Layouts, LinesGoOutAtDebugLevelUnderTheModuleTag) {
  JoystickDevice device;
  cpd::setSwitchSDLMapping(device);
  const std::vector<cpd::test::LogLine> lines = cpd::test::CapturedLogs();
  ASSERT_FALSE(lines.empty());
  for (const cpd::test::LogLine& line : lines) {
    EXPECT_EQ(line.level, 5);
    EXPECT_EQ(line.tag, "CPD_LOG");
    EXPECT_EQ(line.format.rfind("%s %s(%d): \"Debug:\" \"", 0), 0U) << line.format;
  }
}

TEST_F(Layouts, DualSenseLogsTheDpadAsButtonsElevenToFourteenAndNoHat) {
  JoystickDevice device;
  cpd::setDualSenseSDLMapping(device);
  const std::vector<std::string> expected = {
      Line("STICK", 17, 0),  Line("STICK", 18, 1),  Line("STICK", 19, 0),  Line("STICK", 20, 1),
      Line("STICK", 21, 2),  Line("STICK", 22, 3),  Line("STICK", 23, 2),  Line("STICK", 24, 3),
      Line("BUTTON", 8, 9),  Line("BUTTON", 9, 10), Line("BUTTON", 6, 7),  Line("BUTTON", 7, 8),
      Line("BUTTON", 0, 11), Line("BUTTON", 1, 12), Line("BUTTON", 2, 13), Line("BUTTON", 3, 14),
      Line("BUTTON", 11, 0), Line("BUTTON", 12, 1), Line("BUTTON", 13, 2), Line("BUTTON", 14, 3),
      Line("BUTTON", 5, 4),  Line("BUTTON", 4, 6),
  };
  EXPECT_EQ(LogBodies(), expected);
  for (const std::string& body : LogBodies()) {
    EXPECT_EQ(body.find("HAT"), std::string::npos) << body;
  }
}

TEST_F(Layouts, LogicLogsItsTriggersAsButtonsSixAndSeven) {
  JoystickDevice device;
  cpd::setLogicRumblepadSDLMapping(device);
  const std::vector<std::string> bodies = LogBodies();
  ASSERT_EQ(bodies.size(), 24U);
  // sticks (8), shoulders (2), then the triggers
  EXPECT_EQ(bodies[10], Line("BUTTON", 15, 6));
  EXPECT_EQ(bodies[11], Line("BUTTON", 16, 7));
}

TEST_F(Layouts, Switch2ThenDualSenseDifferOnlyInIndexAndName) {
  JoystickDevice device;
  cpd::setSwitch2SDLMapping(device);
  const auto switch2 = device.mapping.bindings;
  EXPECT_EQ(device.mapping.mappingIndex, 3);
  EXPECT_EQ(device.mapping.mappingName, "MAPPING_SWITCH_MOD2");
  cpd::setDualSenseSDLMapping(device);
  EXPECT_EQ(device.mapping.bindings, switch2);
  EXPECT_EQ(device.mapping.mappingIndex, 1);
  EXPECT_EQ(device.mapping.mappingName, "MAPPING_PS");
}

TEST_F(Layouts, GuideKeepsItsBindingWhateverLayoutIsInstalled) {
  JoystickDevice device;
  for (void (*install)(JoystickDevice&) :
       {&cpd::setDualSenseSDLMapping, &cpd::setSwitchSDLMapping, &cpd::setSwitch2SDLMapping,
        &cpd::setAndroidSDLMapping, &cpd::setLogicRumblepadSDLMapping, &cpd::setXboxSDLMapping}) {
    install(device);
    EXPECT_EQ(device.mapping.bindings.count(InputId::GUIDE), 0U);
  }
  const std::vector<std::string> bodies = LogBodies();
  for (const std::string& body : bodies) {
    EXPECT_EQ(body.find("inputID[10]"), std::string::npos) << body;
  }
}

TEST_F(Layouts, AControlMissingFromTheGroupsIsNeitherWrittenNorLogged) {
  JoystickDevice device;
  device.mapping.buttonInputs.clear();
  const InputBinding oldA{InputType::DPAD, 7, 7};
  device.mapping.bindings[InputId::A] = oldA;
  cpd::setXboxSDLMapping(device);
  EXPECT_EQ(device.mapping.bindings.at(InputId::A), oldA);
  EXPECT_EQ(device.mapping.bindings.at(InputId::START).type, InputType::UNSET);
  EXPECT_EQ(LogBodies().size(), 16U);
}

TEST_F(Layouts, ControlsBeyondTheTwentyFiveInAGroupAreSkipped) {
  JoystickDevice device;
  device.mapping.buttonInputs.push_back(static_cast<InputId>(25));
  device.mapping.buttonInputs.push_back(static_cast<InputId>(0xFFFFFFFFU));
  cpd::setXboxSDLMapping(device);
  EXPECT_EQ(device.mapping.bindings.count(static_cast<InputId>(25)), 0U);
  EXPECT_EQ(device.mapping.bindings.size(), 24U);
  EXPECT_EQ(LogBodies().size(), 22U);
}

// Every line of an installation, in order, as typed from the layout tables, and the operation
// whose name each line carries.
struct LayoutLog {
  const char* operation;
  void (*install)(JoystickDevice&);
  std::vector<std::string> lines;
};

std::vector<std::string> StickLines() {
  return {Line("STICK", 17, 0), Line("STICK", 18, 1), Line("STICK", 19, 0), Line("STICK", 20, 1),
          Line("STICK", 21, 2), Line("STICK", 22, 3), Line("STICK", 23, 2), Line("STICK", 24, 3)};
}

std::vector<std::string> Concat(std::vector<std::string> first,
                                const std::vector<std::string>& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

std::vector<LayoutLog> AllLayoutLogs() {
  const std::vector<std::string> dpadAsButtons = {Line("BUTTON", 0, 11), Line("BUTTON", 1, 12),
                                                  Line("BUTTON", 2, 13), Line("BUTTON", 3, 14)};
  const std::vector<std::string> dpadOnHat = {Line("HAT", 0, 0), Line("HAT", 1, 0),
                                              Line("HAT", 2, 0), Line("HAT", 3, 0)};
  const std::vector<std::string> psShouldersAndThumbs = {
      Line("BUTTON", 8, 9), Line("BUTTON", 9, 10), Line("BUTTON", 6, 7), Line("BUTTON", 7, 8)};
  const std::vector<std::string> psFaceBackStart = {Line("BUTTON", 11, 0), Line("BUTTON", 12, 1),
                                                    Line("BUTTON", 13, 2), Line("BUTTON", 14, 3),
                                                    Line("BUTTON", 5, 4),  Line("BUTTON", 4, 6)};
  return {
      {"setXboxSDLMapping", &cpd::setXboxSDLMapping,
       Concat(Concat(Concat(StickLines(), {Line("BUTTON", 8, 4), Line("BUTTON", 9, 5),
                                           Line("BUTTON", 6, 8), Line("BUTTON", 7, 9)}),
                     dpadOnHat),
              {Line("BUTTON", 11, 0), Line("BUTTON", 12, 1), Line("BUTTON", 13, 2),
               Line("BUTTON", 14, 3), Line("BUTTON", 5, 6), Line("BUTTON", 4, 7)})},
      {"setSwitchSDLMapping", &cpd::setSwitchSDLMapping,
       Concat(Concat(Concat(StickLines(), psShouldersAndThumbs), dpadAsButtons),
              {Line("BUTTON", 11, 1), Line("BUTTON", 12, 0), Line("BUTTON", 13, 3),
               Line("BUTTON", 14, 2), Line("BUTTON", 5, 4), Line("BUTTON", 4, 6)})},
      {"setSwitch2SDLMapping", &cpd::setSwitch2SDLMapping,
       Concat(Concat(Concat(StickLines(), psShouldersAndThumbs), dpadAsButtons), psFaceBackStart)},
      {"setDualSenseSDLMapping", &cpd::setDualSenseSDLMapping,
       Concat(Concat(Concat(StickLines(), psShouldersAndThumbs), dpadAsButtons), psFaceBackStart)},
      {"setLogicRumblepadSDLMapping", &cpd::setLogicRumblepadSDLMapping,
       Concat(Concat(Concat(StickLines(),
                            {Line("BUTTON", 8, 4), Line("BUTTON", 9, 5), Line("BUTTON", 15, 6),
                             Line("BUTTON", 16, 7), Line("BUTTON", 6, 10), Line("BUTTON", 7, 11)}),
                     dpadOnHat),
              {Line("BUTTON", 11, 1), Line("BUTTON", 12, 2), Line("BUTTON", 13, 0),
               Line("BUTTON", 14, 3), Line("BUTTON", 5, 8), Line("BUTTON", 4, 9)})},
      {"setAndroidSDLMapping", &cpd::setAndroidSDLMapping,
       Concat(Concat(Concat(StickLines(), {Line("BUTTON", 8, 6), Line("BUTTON", 9, 7),
                                           Line("BUTTON", 6, 13), Line("BUTTON", 7, 14)}),
                     dpadOnHat),
              {Line("BUTTON", 11, 0), Line("BUTTON", 12, 1), Line("BUTTON", 13, 3),
               Line("BUTTON", 14, 4), Line("BUTTON", 5, 10), Line("BUTTON", 4, 11)})},
  };
}

TEST_F(Layouts, EachLayoutLogsItsWholeSequenceUnderItsOwnOperationName) {
  for (const LayoutLog& layout : AllLayoutLogs()) {
    SCOPED_TRACE(layout.operation);
    cpd::test::ClearLogs();
    JoystickDevice device;
    layout.install(device);
    EXPECT_EQ(LogBodies(), layout.lines);
    for (const cpd::test::LogLine& line : cpd::test::CapturedLogs()) {
      EXPECT_EQ(line.function, layout.operation) << line.body;
    }
  }
}

}  // namespace
