// Every binding of every layout, checked against a copy of the layout table typed in here by hand,
// independently of the library's own.
#include <gtest/gtest.h>

#include <array>
#include <ostream>
#include <string>

#include "joystick_mapping/layouts.h"

namespace {

using cpd::InputBinding;
using cpd::InputId;
using cpd::JoystickDevice;

constexpr auto UNSET = cpd::InputType::UNSET;
constexpr auto DPAD = cpd::InputType::DPAD;
constexpr auto STICK = cpd::InputType::STICK;
constexpr auto TRIGGER = cpd::InputType::TRIGGER;
constexpr auto BUTTON = cpd::InputType::BUTTON;

struct Layout {
  const char* label;
  void (*install)(JoystickDevice&);
  uint16_t mappingIndex;
  const char* mappingName;
  size_t column;
};

// Columns: Xbox (6), Switch (2), Switch2 (3), Logic (5), DualSense (1), Android (4).
using Row = std::array<InputBinding, 6>;
// clang-format off
const std::array<Row, 25> EXPECTED = {{
  /*  0 DPAD_UP           */ {{{DPAD, 0, 1},          {BUTTON, 11, 1},       {BUTTON, 11, 1},       {DPAD, 0, 1},          {BUTTON, 11, 1},       {DPAD, 0, 1}}},
  /*  1 DPAD_DOWN         */ {{{DPAD, 0, 4},          {BUTTON, 12, 1},       {BUTTON, 12, 1},       {DPAD, 0, 4},          {BUTTON, 12, 1},       {DPAD, 0, 4}}},
  /*  2 DPAD_LEFT         */ {{{DPAD, 0, 8},          {BUTTON, 13, 1},       {BUTTON, 13, 1},       {DPAD, 0, 8},          {BUTTON, 13, 1},       {DPAD, 0, 8}}},
  /*  3 DPAD_RIGHT        */ {{{DPAD, 0, 2},          {BUTTON, 14, 1},       {BUTTON, 14, 1},       {DPAD, 0, 2},          {BUTTON, 14, 1},       {DPAD, 0, 2}}},
  /*  4 START             */ {{{BUTTON, 7, 1},        {BUTTON, 6, 1},        {BUTTON, 6, 1},        {BUTTON, 9, 1},        {BUTTON, 6, 1},        {BUTTON, 11, 1}}},
  /*  5 BACK              */ {{{BUTTON, 6, 1},        {BUTTON, 4, 1},        {BUTTON, 4, 1},        {BUTTON, 8, 1},        {BUTTON, 4, 1},        {BUTTON, 10, 1}}},
  /*  6 LEFT_THUMB        */ {{{BUTTON, 8, 1},        {BUTTON, 7, 1},        {BUTTON, 7, 1},        {BUTTON, 10, 1},       {BUTTON, 7, 1},        {BUTTON, 13, 1}}},
  /*  7 RIGHT_THUMB       */ {{{BUTTON, 9, 1},        {BUTTON, 8, 1},        {BUTTON, 8, 1},        {BUTTON, 11, 1},       {BUTTON, 8, 1},        {BUTTON, 14, 1}}},
  /*  8 LEFT_SHOULDER     */ {{{BUTTON, 4, 1},        {BUTTON, 9, 1},        {BUTTON, 9, 1},        {BUTTON, 4, 1},        {BUTTON, 9, 1},        {BUTTON, 6, 1}}},
  /*  9 RIGHT_SHOULDER    */ {{{BUTTON, 5, 1},        {BUTTON, 10, 1},       {BUTTON, 10, 1},       {BUTTON, 5, 1},        {BUTTON, 10, 1},       {BUTTON, 7, 1}}},
  /* 10 GUIDE             */ {{{UNSET, 10, 1},        {UNSET, 10, 1},        {UNSET, 10, 1},        {UNSET, 10, 1},        {UNSET, 10, 1},        {UNSET, 10, 1}}},
  /* 11 A                 */ {{{BUTTON, 0, 1},        {BUTTON, 1, 1},        {BUTTON, 0, 1},        {BUTTON, 1, 1},        {BUTTON, 0, 1},        {BUTTON, 0, 1}}},
  /* 12 B                 */ {{{BUTTON, 1, 1},        {BUTTON, 0, 1},        {BUTTON, 1, 1},        {BUTTON, 2, 1},        {BUTTON, 1, 1},        {BUTTON, 1, 1}}},
  /* 13 X                 */ {{{BUTTON, 2, 1},        {BUTTON, 3, 1},        {BUTTON, 2, 1},        {BUTTON, 0, 1},        {BUTTON, 2, 1},        {BUTTON, 3, 1}}},
  /* 14 Y                 */ {{{BUTTON, 3, 1},        {BUTTON, 2, 1},        {BUTTON, 3, 1},        {BUTTON, 3, 1},        {BUTTON, 3, 1},        {BUTTON, 4, 1}}},
  /* 15 LEFT_TRIGGER      */ {{{TRIGGER, 4, 32767},   {TRIGGER, 4, 32767},   {TRIGGER, 4, 32767},   {BUTTON, 6, 1},        {TRIGGER, 4, 32767},   {TRIGGER, 5, 32767}}},
  /* 16 RIGHT_TRIGGER     */ {{{TRIGGER, 5, 32767},   {TRIGGER, 5, 32767},   {TRIGGER, 5, 32767},   {BUTTON, 7, 1},        {TRIGGER, 5, 32767},   {TRIGGER, 4, 32767}}},
  /* 17 LEFT_STICK_LEFT   */ {{{STICK, 0, -32768},    {STICK, 0, -32768},    {STICK, 0, -32768},    {STICK, 0, -32768},    {STICK, 0, -32768},    {STICK, 0, -32768}}},
  /* 18 LEFT_STICK_UP     */ {{{STICK, 1, -32768},    {STICK, 1, -32768},    {STICK, 1, -32768},    {STICK, 1, -32768},    {STICK, 1, -32768},    {STICK, 1, -32768}}},
  /* 19 LEFT_STICK_RIGHT  */ {{{STICK, 0, 32767},     {STICK, 0, 32767},     {STICK, 0, 32767},     {STICK, 0, 32767},     {STICK, 0, 32767},     {STICK, 0, 32767}}},
  /* 20 LEFT_STICK_DOWN   */ {{{STICK, 1, 32767},     {STICK, 1, 32767},     {STICK, 1, 32767},     {STICK, 1, 32767},     {STICK, 1, 32767},     {STICK, 1, 32767}}},
  /* 21 RIGHT_STICK_LEFT  */ {{{STICK, 2, -32768},    {STICK, 2, -32768},    {STICK, 2, -32768},    {STICK, 2, -32768},    {STICK, 2, -32768},    {STICK, 2, -32768}}},
  /* 22 RIGHT_STICK_UP    */ {{{STICK, 3, -32768},    {STICK, 3, -32768},    {STICK, 3, -32768},    {STICK, 3, -32768},    {STICK, 3, -32768},    {STICK, 3, -32768}}},
  /* 23 RIGHT_STICK_RIGHT */ {{{STICK, 2, 32767},     {STICK, 2, 32767},     {STICK, 2, 32767},     {STICK, 2, 32767},     {STICK, 2, 32767},     {STICK, 2, 32767}}},
  /* 24 RIGHT_STICK_DOWN  */ {{{STICK, 3, 32767},     {STICK, 3, 32767},     {STICK, 3, 32767},     {STICK, 3, 32767},     {STICK, 3, 32767},     {STICK, 3, 32767}}},
}};
// clang-format on

const std::array<Layout, 6> LAYOUTS = {{
    {"Xbox", &cpd::setXboxSDLMapping, 6, "MAPPING_XBOX", 0},
    {"Switch", &cpd::setSwitchSDLMapping, 2, "MAPPING_SWITCH_MOD1", 1},
    {"Switch2", &cpd::setSwitch2SDLMapping, 3, "MAPPING_SWITCH_MOD2", 2},
    {"Logic", &cpd::setLogicRumblepadSDLMapping, 5, "MAPPING_LOGIC", 3},
    {"DualSense", &cpd::setDualSenseSDLMapping, 1, "MAPPING_PS", 4},
    {"Android", &cpd::setAndroidSDLMapping, 4, "MAPPING_ANDROID", 5},
}};

// Names the layout in test listings instead of dumping its bytes.
void PrintTo(const Layout& layout, std::ostream* out) {
  *out << layout.label;
}

std::string Describe(const InputBinding& binding) {
  return "{" + std::to_string(static_cast<uint32_t>(binding.type)) + ", " +
         std::to_string(binding.index) + ", " + std::to_string(binding.value) + "}";
}

class LayoutTable : public ::testing::TestWithParam<Layout> {};

TEST_P(LayoutTable, InstallsEveryBindingOfItsColumn) {
  const Layout& layout = GetParam();
  JoystickDevice device;
  layout.install(device);
  for (uint32_t id = 0; id < EXPECTED.size(); ++id) {
    const auto control = static_cast<InputId>(id);
    if (control == InputId::GUIDE) {
      continue;  // no installation reaches GUIDE; see GuideKeepsWhatItHad
    }
    ASSERT_EQ(device.mapping.bindings.count(control), 1U) << id;
    const InputBinding& actual = device.mapping.bindings.at(control);
    const InputBinding& expected = EXPECTED[id][layout.column];
    EXPECT_EQ(actual, expected) << "control " << id << " got " << Describe(actual) << " expected "
                                << Describe(expected);
  }
  EXPECT_EQ(device.mapping.bindings.size(), 24U);
  EXPECT_EQ(device.mapping.mappingIndex, layout.mappingIndex);
  EXPECT_EQ(device.mapping.mappingName, layout.mappingName);
}

TEST_P(LayoutTable, GuideKeepsWhatItHad) {
  const Layout& layout = GetParam();
  JoystickDevice fresh;
  layout.install(fresh);
  EXPECT_EQ(fresh.mapping.bindings.count(InputId::GUIDE), 0U);

  JoystickDevice bound;
  const InputBinding guide{BUTTON, 12, 1};
  bound.mapping.bindings[InputId::GUIDE] = guide;
  layout.install(bound);
  EXPECT_EQ(bound.mapping.bindings.at(InputId::GUIDE), guide);
}

TEST_P(LayoutTable, InstallingAgainChangesNothingAndKeepsTheGroups) {
  const Layout& layout = GetParam();
  JoystickDevice once;
  layout.install(once);
  JoystickDevice twice;
  layout.install(twice);
  layout.install(twice);
  EXPECT_EQ(twice.mapping.bindings, once.mapping.bindings);
  EXPECT_EQ(twice.mapping.mappingIndex, once.mapping.mappingIndex);
  EXPECT_EQ(twice.mapping.mappingName, once.mapping.mappingName);
  const cpd::JoystickMapping fresh;
  EXPECT_EQ(twice.mapping.stickInputs, fresh.stickInputs);
  EXPECT_EQ(twice.mapping.triggerInputs, fresh.triggerInputs);
  EXPECT_EQ(twice.mapping.thumbInputs, fresh.thumbInputs);
  EXPECT_EQ(twice.mapping.shoulderInputs, fresh.shoulderInputs);
  EXPECT_EQ(twice.mapping.dpadInputs, fresh.dpadInputs);
  EXPECT_EQ(twice.mapping.buttonInputs, fresh.buttonInputs);
}

TEST_P(LayoutTable, OverwritesWhateverAnotherLayoutLeft) {
  const Layout& layout = GetParam();
  JoystickDevice direct;
  layout.install(direct);
  for (const Layout& other : LAYOUTS) {
    JoystickDevice device;
    other.install(device);
    layout.install(device);
    EXPECT_EQ(device.mapping.bindings, direct.mapping.bindings) << other.label;
    EXPECT_EQ(device.mapping.mappingIndex, layout.mappingIndex) << other.label;
  }
}

INSTANTIATE_TEST_SUITE_P(SixLayouts, LayoutTable, ::testing::ValuesIn(LAYOUTS),
                         [](const ::testing::TestParamInfo<Layout>& param) {
                           return std::string(param.param.label);
                         });

}  // namespace
