#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "joystick_mapping/control_model.h"

namespace {

using cpd::InputBinding;
using cpd::InputId;
using cpd::InputType;

InputId Id(uint32_t value) {
  return static_cast<InputId>(value);
}
InputType Type(uint32_t value) {
  return static_cast<InputType>(value);
}

std::vector<InputId> Ids(std::initializer_list<uint32_t> values) {
  std::vector<InputId> ids;
  for (const uint32_t value : values) {
    ids.push_back(Id(value));
  }
  return ids;
}

TEST(ControlModel, EveryControlHasItsOwnName) {
  const std::vector<std::string> names = {"DPAD_UP",
                                          "DPAD_DOWN",
                                          "DPAD_LEFT",
                                          "DPAD_RIGHT",
                                          "START",
                                          "BACK",
                                          "LEFT_THUMB",
                                          "RIGHT_THUMB",
                                          "LEFT_SHOULDER",
                                          "RIGHT_SHOULDER",
                                          "GUIDE",
                                          "A",
                                          "B",
                                          "X",
                                          "Y",
                                          "LEFT_TRIGGER",
                                          "RIGHT_TRIGGER",
                                          "LEFT_STICK_LEFT",
                                          "LEFT_STICK_UP",
                                          "LEFT_STICK_RIGHT",
                                          "LEFT_STICK_DOWN",
                                          "RIGHT_STICK_LEFT",
                                          "RIGHT_STICK_UP",
                                          "RIGHT_STICK_RIGHT",
                                          "RIGHT_STICK_DOWN"};
  for (uint32_t id = 0; id < names.size(); ++id) {
    EXPECT_EQ(cpd::InputIdToString(Id(id)), names[id]) << id;
  }
}

TEST(ControlModel, ControlTwentyFiveAndBeyondIsUnknown) {
  EXPECT_EQ(cpd::InputIdToString(Id(25)), "UNKNOWN");
  EXPECT_EQ(cpd::InputIdToString(Id(0xFFFFFFFFU)), "UNKNOWN");
}

TEST(ControlModel, EveryInputTypeHasItsOwnName) {
  const std::vector<std::string> names = {"UNSET",   "DPAD",     "STICK", "THUMB",
                                          "TRIGGER", "SHOULDER", "BUTTON"};
  for (uint32_t type = 0; type < names.size(); ++type) {
    EXPECT_EQ(cpd::InputTypeToString(Type(type)), names[type]) << type;
  }
}

TEST(ControlModel, InputTypeSevenAndBeyondIsUnknown) {
  EXPECT_EQ(cpd::InputTypeToString(Type(7)), "UNKNOWN");
  EXPECT_EQ(cpd::InputTypeToString(Type(0xFFFFFFFFU)), "UNKNOWN");
}

TEST(ControlModel, MappingKindsOneToSixHaveTheirNames) {
  EXPECT_EQ(cpd::MappingIndexToString(1), "MAPPING_PS");
  EXPECT_EQ(cpd::MappingIndexToString(2), "MAPPING_SWITCH_MOD1");
  EXPECT_EQ(cpd::MappingIndexToString(3), "MAPPING_SWITCH_MOD2");
  EXPECT_EQ(cpd::MappingIndexToString(4), "MAPPING_ANDROID");
  EXPECT_EQ(cpd::MappingIndexToString(5), "MAPPING_LOGIC");
  EXPECT_EQ(cpd::MappingIndexToString(6), "MAPPING_XBOX");
}

TEST(ControlModel, MappingIndexZeroOrSevenIsUnknown) {
  EXPECT_EQ(cpd::MappingIndexToString(0), "MAPPING_UNKNOWN");
  EXPECT_EQ(cpd::MappingIndexToString(7), "MAPPING_UNKNOWN");
  EXPECT_EQ(cpd::MappingIndexToString(0xFFFF), "MAPPING_UNKNOWN");
}

TEST(ControlModel, ThumbAndShoulderClassifyAsButtons) {
  EXPECT_EQ(cpd::ClassifyInputType("LEFT_THUMB"), InputType::BUTTON);
  EXPECT_EQ(cpd::ClassifyInputType("RIGHT_SHOULDER"), InputType::BUTTON);
}

TEST(ControlModel, MixedCaseTriggerClassifiesAsTrigger) {
  EXPECT_EQ(cpd::ClassifyInputType("Left_Trigger"), InputType::TRIGGER);
}

TEST(ControlModel, ClassificationTriesDpadThenTriggerThenStick) {
  EXPECT_EQ(cpd::ClassifyInputType("DPAD_UP"), InputType::DPAD);
  EXPECT_EQ(cpd::ClassifyInputType("RIGHT_STICK_DOWN"), InputType::STICK);
  EXPECT_EQ(cpd::ClassifyInputType("dpad_trigger_stick"), InputType::DPAD);
  EXPECT_EQ(cpd::ClassifyInputType("stick_TRIGGER"), InputType::TRIGGER);
  EXPECT_EQ(cpd::ClassifyInputType("GUIDE"), InputType::BUTTON);
  EXPECT_EQ(cpd::ClassifyInputType(""), InputType::BUTTON);
  EXPECT_EQ(cpd::ClassifyInputType(std::string("\xC4\xD0PAD", 5)), InputType::BUTTON);
}

TEST(ControlModel, FreshMappingHasTwentyFourUnboundControlsAndNoGuide) {
  const cpd::JoystickMapping mapping;
  EXPECT_EQ(mapping.bindings.size(), 24U);
  EXPECT_EQ(mapping.bindings.count(InputId::GUIDE), 0U);
  for (uint32_t id = 0; id < 25; ++id) {
    if (id == 10) {
      continue;
    }
    ASSERT_EQ(mapping.bindings.count(Id(id)), 1U) << id;
    EXPECT_EQ(mapping.bindings.at(Id(id)), (InputBinding{InputType::UNSET, -1, 0})) << id;
  }
  EXPECT_EQ(mapping.mappingIndex, 0);
  EXPECT_EQ(mapping.mappingName, "");
}

TEST(ControlModel, FreshMappingListsButtonsAsABXYBackStart) {
  const cpd::JoystickMapping mapping;
  EXPECT_EQ(mapping.buttonInputs, Ids({11, 12, 13, 14, 5, 4}));
}

TEST(ControlModel, FreshMappingGroupsEveryOtherControlByItsName) {
  const cpd::JoystickMapping mapping;
  EXPECT_EQ(mapping.stickInputs, Ids({17, 18, 19, 20, 21, 22, 23, 24}));
  EXPECT_EQ(mapping.triggerInputs, Ids({15, 16}));
  EXPECT_EQ(mapping.thumbInputs, Ids({6, 7}));
  EXPECT_EQ(mapping.shoulderInputs, Ids({8, 9}));
  EXPECT_EQ(mapping.dpadInputs, Ids({0, 1, 2, 3}));
}

TEST(ControlModel, FreshBindingIsUnsetMinusOneZero) {
  const InputBinding binding;
  EXPECT_EQ(binding.type, InputType::UNSET);
  EXPECT_EQ(binding.index, -1);
  EXPECT_EQ(binding.value, 0);
  EXPECT_EQ(sizeof(InputBinding), 12U);
}

TEST(ControlModel, XboxButtonBitsSkip0800AndLeaveAnalogueControlsOut) {
  const std::map<InputId, uint16_t> expected = {
      {Id(0), 0x0001},  {Id(1), 0x0002},  {Id(2), 0x0004},  {Id(3), 0x0008},  {Id(4), 0x0010},
      {Id(5), 0x0020},  {Id(6), 0x0040},  {Id(7), 0x0080},  {Id(8), 0x0100},  {Id(9), 0x0200},
      {Id(10), 0x0400}, {Id(11), 0x1000}, {Id(12), 0x2000}, {Id(13), 0x4000}, {Id(14), 0x8000},
  };
  EXPECT_EQ(cpd::XboxButtonBits, expected);
  for (const auto& entry : cpd::XboxButtonBits) {
    EXPECT_NE(entry.second, 0x0800);
  }
  for (uint32_t id = 15; id <= 24; ++id) {
    EXPECT_EQ(cpd::XboxButtonBits.count(Id(id)), 0U) << id;
  }
}

}  // namespace
