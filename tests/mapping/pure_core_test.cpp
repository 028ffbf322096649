// The pure core on its own: the layout choice, the translation of hand-built raw readings through
// each layout and through single bindings, the shape of a raw reading, and the device list's
// summary. No SDL, no log, no thread: every expectation is written down by hand from the rules,
// the layouts' in layout_expectations.h, not taken from the library.
#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cstdint>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "joystick_mapping/device_summary.h"
#include "joystick_mapping/layout_choice.h"
#include "joystick_mapping/layout_table.h"
#include "joystick_mapping/translation.h"
#include "layout_expectations.h"

namespace {

using cpd::InputBinding;
using cpd::InputId;
using cpd::InputType;
using cpd::RawInputs;
using cpd::XboxGamepad;
using cpd::test::Gamepad;
// Read like the table: A, UP, LEFT_X, SWEEP and the rest by their own names.
using namespace cpd::test::layout_expectations;

Gamepad Of(const XboxGamepad& gamepad) {
  return {gamepad.wButtons, gamepad.bLeftTrigger, gamepad.bRightTrigger, gamepad.sThumbLX,
          gamepad.sThumbLY, gamepad.sThumbRX,     gamepad.sThumbRY};
}

// A pressed read, comparable and printable.
struct Read {
  bool hat;
  int32_t index;
  int32_t value;
  int32_t mapValue;

  bool operator==(const Read& other) const {
    return hat == other.hat && index == other.index && value == other.value &&
           mapValue == other.mapValue;
  }
};

void PrintTo(const Read& read, std::ostream* out) {
  *out << (read.hat ? "{hat " : "{button ") << read.index << " value " << read.value << " mapValue "
       << read.mapValue << "}";
}

// A set of bindings with the controls to read, as the poller holds them.
struct Bound {
  cpd::BindingSnapshot snapshot;
  std::vector<InputId> inputs;
};

Bound BindingsOf(const std::map<InputId, InputBinding>& bindings) {
  Bound bound{cpd::SnapshotOf(bindings), {}};
  cpd::GetMappedInputs(bindings, bound.inputs);
  return bound;
}

Bound LayoutBindings(cpd::MappingIndex kind) {
  std::map<InputId, InputBinding> bindings;
  for (uint32_t id = 0; id < cpd::INPUT_ID_COUNT; ++id) {
    bindings[static_cast<InputId>(id)] = cpd::LayoutBinding(kind, static_cast<InputId>(id));
  }
  return BindingsOf(bindings);
}

struct Translated {
  Gamepad state;
  std::vector<Read> pressed;
};

Translated Translate(const RawInputs& raw, const Bound& bound) {
  XboxGamepad gamepad;
  std::vector<cpd::PressedRead> pressed;
  cpd::TranslateReport(raw, bound.snapshot, bound.inputs, gamepad, &pressed);
  Translated translated{Of(gamepad), {}};
  for (const cpd::PressedRead& read : pressed) {
    translated.pressed.push_back({read.hat, read.index, read.value, read.mapValue});
  }
  return translated;
}

// ---------------------------------------------------------------------------------------------
// The layout choice.

struct NameCase {
  const char* name;
  cpd::MappingIndex layout;
  const char* line;
};

void PrintTo(const NameCase& item, std::ostream* out) {
  *out << '"' << item.name << '"';
}

constexpr const char* XBOX_LINE = "The joystick is xbox name[%s]";
constexpr const char* SWITCH_LINE = "The joystick is Switch name[%s]";
constexpr const char* DUALSENSE_LINE = "The joystick is DualSense name[%s]";
constexpr const char* LOGIC_LINE = "The joystick is logitech cordless rumblepad name[%s]";
constexpr const char* ANDROID_LINE = "The joystick is android mod name[%s]";
constexpr const char* FALLBACK_LINE = "default joystick is DualSense name[%s]";

const std::vector<NameCase> NAME_CASES = {
    {"xbox wireless controller", 6, XBOX_LINE},
    {"g5prp max se", 6, XBOX_LINE},
    {"nintendo switch pro controller", 2, SWITCH_LINE},
    {"dualsense wireless controller", 1, DUALSENSE_LINE},
    {"sony ps5 pad", 1, DUALSENSE_LINE},
    {"ps4 controller", 1, DUALSENSE_LINE},
    {"ps3", 1, DUALSENSE_LINE},
    {"logitech cordless rumblepad 2", 5, LOGIC_LINE},
    {"mobapad pro-hd", 4, ANDROID_LINE},
    // A name matching two rules takes the earlier one.
    {"xbox switch", 6, XBOX_LINE},
    {"switch xbox", 6, XBOX_LINE},
    {"g5prp max se switch", 6, XBOX_LINE},
    {"ps4 for switch", 2, SWITCH_LINE},
    {"logitech cordless rumblepad ps3", 1, DUALSENSE_LINE},
    {"mobapad pro-hd logitech cordless rumblepad", 5, LOGIC_LINE},
    // Near misses and unknown names fall back.
    {"generic usb joystick", 2, FALLBACK_LINE},
    {"", 2, FALLBACK_LINE},
    {"xbo", 2, FALLBACK_LINE},
    {"g5prp max", 2, FALLBACK_LINE},
    {"ps 4", 2, FALLBACK_LINE},
    {"ps2", 2, FALLBACK_LINE},
    {"logitech rumblepad", 2, FALLBACK_LINE},
    {"mobapad pro", 2, FALLBACK_LINE},
    // The rules compare the name as given: lower-casing is the caller's.
    {"XBOX", 2, FALLBACK_LINE},
    {"Switch", 2, FALLBACK_LINE},
};

class ChooseLayoutByName : public ::testing::TestWithParam<NameCase> {};

TEST_P(ChooseLayoutByName, FirstMatchingRuleDecidesWhenNothingIsStored) {
  const cpd::LayoutChoice choice = cpd::ChooseLayout(GetParam().name, cpd::MAPPING_NONE);
  EXPECT_EQ(choice.layout, GetParam().layout);
  EXPECT_FALSE(choice.stored);
  ASSERT_NE(choice.ruleLine, nullptr);
  EXPECT_STREQ(choice.ruleLine, GetParam().line);
}

INSTANTIATE_TEST_SUITE_P(NameRules, ChooseLayoutByName, ::testing::ValuesIn(NAME_CASES));

TEST(ChooseLayout, AStoredLayoutKindWinsOverTheName) {
  for (const char* name : {"xbox", "mobapad pro-hd", "unknown pad"}) {
    for (uint32_t stored = 1; stored <= 6; ++stored) {
      const cpd::LayoutChoice choice = cpd::ChooseLayout(name, stored);
      EXPECT_EQ(choice.layout, stored) << name;
      EXPECT_TRUE(choice.stored) << name;
      EXPECT_EQ(choice.ruleLine, nullptr) << name;
    }
  }
}

TEST(ChooseLayout, AStoredValueOutsideTheSixKindsIsIgnored) {
  // 0x10006 would read as 6 if it were narrowed before the check.
  for (const uint32_t stored : {0U, 7U, 0x10006U, 0xFFFFFFFFU}) {
    const cpd::LayoutChoice choice = cpd::ChooseLayout("mobapad pro-hd", stored);
    EXPECT_EQ(choice.layout, 4) << stored;
    EXPECT_FALSE(choice.stored) << stored;
    ASSERT_NE(choice.ruleLine, nullptr) << stored;
    EXPECT_STREQ(choice.ruleLine, ANDROID_LINE) << stored;
  }
}

TEST(LowerCased, LowerCasesAsciiLettersAndKeepsEveryOtherByte) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"XBOX Wireless Controller", "xbox wireless controller"},
      {"already lower", "already lower"},
      {"@AZ[`az{", "@az[`az{"},
      {"Pro-HD 2.0_#", "pro-hd 2.0_#"},
      {"\xC3\x84\xC3\x96 Pad \xE2\x84\xA2", "\xC3\x84\xC3\x96 pad \xE2\x84\xA2"},
      {std::string("A\0B", 3), std::string("a\0b", 3)},
      {"", ""},
  };
  for (const auto& [name, lower] : cases) {
    EXPECT_EQ(cpd::LowerCased(name), lower) << name;
  }
}

// ---------------------------------------------------------------------------------------------
// Each layout, translated from hand-built raw readings.

// The controls a layout reads from buttons, in the order the translation reads them.
constexpr std::array<Drives, 16> READING_ORDER = {
    UP,         DOWN,       LEFT, RIGHT, START, BACK, L_THUMB,   R_THUMB,
    L_SHOULDER, R_SHOULDER, A,    B,     X,     Y,    L_TRIGGER, R_TRIGGER};

class PureLayout : public ::testing::TestWithParam<LayoutExpectation> {
 protected:
  void SetUp() override {
    mBound = LayoutBindings(GetParam().kind);
    cpd::ShapeRawInputs(mBound.snapshot, mBound.inputs, mRaw);
  }

  Bound mBound;
  RawInputs mRaw;
};

TEST_P(PureLayout, ReadsEveryControlButGuide) {
  std::vector<InputId> expected;
  for (uint32_t id = 0; id < cpd::INPUT_ID_COUNT; ++id) {
    if (static_cast<InputId>(id) != InputId::GUIDE) {
      expected.push_back(static_cast<InputId>(id));
    }
  }
  EXPECT_EQ(mBound.inputs, expected);
}

TEST_P(PureLayout, RawReadingIsShapedToTheHighestNumberOfEachKind) {
  EXPECT_EQ(mRaw.axes.count, GetParam().counts.axes);
  EXPECT_EQ(mRaw.buttons.count, GetParam().counts.buttons);
  EXPECT_EQ(mRaw.hats.count, GetParam().counts.hats);
}

TEST_P(PureLayout, AtRestEverythingIsZeroAndNothingIsListed) {
  const Translated translated = Translate(mRaw, mBound);
  EXPECT_EQ(translated.state, Gamepad{});
  EXPECT_TRUE(translated.pressed.empty());
}

TEST_P(PureLayout, EachButtonPressedAloneDrivesExactlyItsControlAndIsListed) {
  for (int32_t button = 0; button < 15; ++button) {
    RawInputs raw = mRaw;
    raw.buttons.values[static_cast<size_t>(button)] = 1;
    const Drives drives = GetParam().buttons[static_cast<size_t>(button)];
    const Translated translated = Translate(raw, mBound);
    EXPECT_EQ(translated.state, FullPress(drives)) << "button " << button;
    std::vector<Read> listed;
    if (drives != NOTHING) {
      listed.push_back({false, button, 1, 1});
    }
    EXPECT_EQ(translated.pressed, listed) << "button " << button;
  }
}

TEST_P(PureLayout, EachHatDirectionAloneDrivesItsDpadControlAndIsListedPerDpadControl) {
  const std::array<std::pair<int32_t, Drives>, 4> directions = {
      {{1, UP}, {2, RIGHT}, {4, DOWN}, {8, LEFT}}};
  for (const auto& [bit, drives] : directions) {
    RawInputs raw = mRaw;
    raw.hats.values[0] = bit;
    const Translated translated = Translate(raw, mBound);
    EXPECT_EQ(translated.state, FullPress(GetParam().hatDpad ? drives : NOTHING)) << bit;
    std::vector<Read> listed;
    if (GetParam().hatDpad) {
      for (const int32_t mapValue : DPAD_HAT_BITS) {
        listed.push_back({true, 0, bit, mapValue});
      }
    }
    EXPECT_EQ(translated.pressed, listed) << bit;
  }
}

TEST_P(PureLayout, EveryAxisFollowsTheMagnitudeAndTriggerRules) {
  for (size_t axis = 0; axis < GetParam().axes.size(); ++axis) {
    for (size_t step = 0; step < SWEEP.size(); ++step) {
      RawInputs raw = mRaw;
      raw.axes.values[axis] = SWEEP[step];
      const Translated translated = Translate(raw, mBound);
      EXPECT_EQ(translated.state, Swept(GetParam().axes[axis], step))
          << "axis " << axis << " at " << SWEEP[step];
      EXPECT_TRUE(translated.pressed.empty());
    }
  }
}

TEST_P(PureLayout, EverythingPressedAtOnceCombinesAndListsInReadingOrder) {
  RawInputs raw = mRaw;
  raw.buttons.values.fill(1);
  raw.hats.values.fill(1 | 4);  // up and down at once: each bit counts on its own
  raw.axes.values.fill(32767);
  Gamepad expected;
  for (const Drives drives : GetParam().buttons) {
    expected = Combined(expected, FullPress(drives));
  }
  std::vector<Read> listed;
  if (GetParam().hatDpad) {
    expected = Combined(expected, Combined(FullPress(UP), FullPress(DOWN)));
    for (const int32_t mapValue : DPAD_HAT_BITS) {
      listed.push_back({true, 0, 1 | 4, mapValue});
    }
  }
  for (const AxisRole role : GetParam().axes) {
    expected = Combined(expected, Swept(role, SWEEP.size() - 1));
  }
  for (const Drives control : READING_ORDER) {
    for (size_t button = 0; button < GetParam().buttons.size(); ++button) {
      if (GetParam().buttons[button] == control) {
        listed.push_back({false, static_cast<int32_t>(button), 1, 1});
      }
    }
  }
  const Translated translated = Translate(raw, mBound);
  EXPECT_EQ(translated.state, expected);
  EXPECT_EQ(translated.pressed, listed);
}

INSTANTIATE_TEST_SUITE_P(SixLayouts, PureLayout, ::testing::ValuesIn(LAYOUT_EXPECTATIONS),
                         [](const ::testing::TestParamInfo<LayoutExpectation>& param) {
                           return std::string(param.param.label);
                         });

// ---------------------------------------------------------------------------------------------
// Single bindings.

RawInputs WithAxis(int32_t axis, int32_t value) {
  RawInputs raw;
  raw.axes.count = axis + 1;
  raw.axes.values[static_cast<size_t>(axis)] = value;
  return raw;
}

TEST(TranslateReport, AnAxisPressesADigitalControlOnlyPastAMagnitudeOf3000OnItsOwnHalf) {
  const Bound bound = BindingsOf({{InputId::A, {InputType::STICK, 0, cpd::AXIS_POSITIVE_END}},
                                  {InputId::B, {InputType::TRIGGER, 0, cpd::AXIS_NEGATIVE_END}}});
  // clang-format off
  const std::vector<std::pair<int32_t, uint16_t>> cases = {
      {2999, 0},  {3000, 0},  {3001, 0},  {3002, A},  {32767, A},
      {-2999, 0}, {-3000, 0}, {-3001, 0}, {-3002, B}, {-32768, B},
      {0, 0},     {1, 0},     {-1, 0},
  };
  // clang-format on
  for (const auto& [value, bits] : cases) {
    const Translated translated = Translate(WithAxis(0, value), bound);
    EXPECT_EQ(translated.state, Gamepad{bits}) << value;
    EXPECT_TRUE(translated.pressed.empty()) << value;
  }
}

TEST(TranslateReport, AnAxisDrivesATriggerByItsMagnitudeRoundedOnItsOwnHalfOnly) {
  const Bound bound =
      BindingsOf({{InputId::LEFT_TRIGGER, {InputType::TRIGGER, 0, cpd::AXIS_POSITIVE_END}},
                  {InputId::RIGHT_TRIGGER, {InputType::STICK, 1, cpd::AXIS_NEGATIVE_END}}});
  const std::vector<std::pair<int32_t, uint8_t>> cases = {
      {0, 0},   {1, 0},       {2, 0},       {65, 0},      {66, 1}, {193, 1},
      {194, 2}, {16385, 128}, {32766, 255}, {32767, 255}, {-1, 0}, {-32768, 0},
  };
  for (const auto& [value, trigger] : cases) {
    EXPECT_EQ(Translate(WithAxis(0, value), bound).state, (Gamepad{0, trigger})) << value;
    if (value > 0) {
      // The right trigger reads the negative half of its axis.
      EXPECT_EQ(Translate(WithAxis(1, -value), bound).state, (Gamepad{0, 0, trigger})) << -value;
    }
  }
  EXPECT_EQ(Translate(WithAxis(1, -32768), bound).state, (Gamepad{0, 0, 255}));
}

TEST(TranslateReport, HatsAndButtonsDriveTriggersAndSticksToTheFullEnd) {
  const Bound bound = BindingsOf({{InputId::LEFT_TRIGGER, {InputType::DPAD, 0, 8}},
                                  {InputId::RIGHT_TRIGGER, {InputType::BUTTON, 0, 1}},
                                  {InputId::LEFT_STICK_LEFT, {InputType::BUTTON, 1, 1}},
                                  {InputId::LEFT_STICK_UP, {InputType::DPAD, 0, 1}},
                                  {InputId::RIGHT_STICK_RIGHT, {InputType::BUTTON, 2, 1}},
                                  {InputId::RIGHT_STICK_DOWN, {InputType::DPAD, 0, 4}}});
  RawInputs raw;
  raw.buttons.count = 3;
  raw.hats.count = 1;
  EXPECT_EQ(Translate(raw, bound).state, Gamepad{});
  raw.hats.values[0] = 8 | 1;
  raw.buttons.values = {1, 1, 1};
  EXPECT_EQ(Translate(raw, bound).state, (Gamepad{0, 255, 255, -32767, 32767, 32767, 0}));
  raw.hats.values[0] = 4;
  raw.buttons.values = {0, 0, 0};
  EXPECT_EQ(Translate(raw, bound).state, (Gamepad{0, 0, 0, 0, 0, 0, -32767}));
}

TEST(TranslateReport, TheDpadFollowsEachBitOfTheHat) {
  const Bound bound = LayoutBindings(cpd::MAPPING_XBOX);
  const std::vector<std::pair<int32_t, uint16_t>> cases = {
      {0, 0},
      {1, UP},
      {3, UP | RIGHT},
      {6, RIGHT | DOWN},
      {12, DOWN | LEFT},
      {9, UP | LEFT},
      {15, UP | DOWN | LEFT | RIGHT},
      {16, 0},
  };
  for (const auto& [hat, bits] : cases) {
    RawInputs raw;
    raw.hats.count = 1;
    raw.hats.values[0] = hat;
    EXPECT_EQ(Translate(raw, bound).state, Gamepad{bits}) << hat;
  }
}

TEST(TranslateReport, ALaterControlOverwritesAnEarlierOneOnTheSameFieldOnlyWhenActive) {
  const Bound bound = BindingsOf({{InputId::LEFT_STICK_LEFT, {InputType::BUTTON, 0, 1}},
                                  {InputId::LEFT_STICK_RIGHT, {InputType::BUTTON, 1, 1}}});
  RawInputs raw;
  raw.buttons.count = 2;
  raw.buttons.values = {1, 0};
  EXPECT_EQ(Translate(raw, bound).state, (Gamepad{0, 0, 0, -32767}));
  raw.buttons.values = {1, 1};
  EXPECT_EQ(Translate(raw, bound).state, (Gamepad{0, 0, 0, 32767}));
  raw.buttons.values = {0, 1};
  EXPECT_EQ(Translate(raw, bound).state, (Gamepad{0, 0, 0, 32767}));
}

TEST(TranslateReport, PressedReadsCarryTheReadingAndTheBindingValue) {
  const Bound bound = BindingsOf(
      {{InputId::DPAD_UP, {InputType::DPAD, 1, 1}}, {InputId::Y, {InputType::BUTTON, 3, 7}}});
  RawInputs raw;
  raw.hats.count = 2;
  raw.hats.values[1] = 4;  // down: the up control stays off but lists its read
  raw.buttons.count = 4;
  raw.buttons.values[3] = 1;
  const Translated translated = Translate(raw, bound);
  EXPECT_EQ(translated.state, Gamepad{Y});
  EXPECT_EQ(translated.pressed, (std::vector<Read>{{true, 1, 4, 1}, {false, 3, 1, 7}}));
}

TEST(TranslateReport, WithoutAListTheStateIsTheSameAndAGivenListIsReplaced) {
  const Bound bound = LayoutBindings(cpd::MAPPING_ANDROID);
  RawInputs raw;
  cpd::ShapeRawInputs(bound.snapshot, bound.inputs, raw);
  raw.buttons.values.fill(1);
  raw.hats.values[0] = 2;
  raw.axes.values = {-32768, 32767, 100, -100, 32767, 130};
  XboxGamepad without;
  cpd::TranslateReport(raw, bound.snapshot, bound.inputs, without, nullptr);
  std::vector<cpd::PressedRead> pressed(40, cpd::PressedRead{true, 9, 9, 9});
  pressed.reserve(64);
  XboxGamepad with;
  cpd::TranslateReport(raw, bound.snapshot, bound.inputs, with, &pressed);
  const Gamepad expected{
      RIGHT | START | BACK | L_THUMB | R_THUMB | L_SHOULDER | R_SHOULDER | A | B | X | Y,
      1,
      255,
      -32767,
      -32766,
      99,
      99};
  EXPECT_EQ(Of(without), expected);
  EXPECT_EQ(Of(with), expected);
  // Four hat reads and the ten buttons the layout binds; the 40 entries before are gone.
  EXPECT_EQ(pressed.size(), 14U);
  EXPECT_EQ(pressed.capacity(), 64U);
}

TEST(TranslateReport, NumbersOutsideTheReadingReadZero) {
  struct Case {
    int32_t index;
    int32_t count;
  };
  const std::vector<Case> cases = {
      {-1, 32}, {INT_MIN, 32}, {3, 3}, {31, 31}, {32, 32}, {INT_MAX, 32}, {0, 0},
  };
  for (const Case& item : cases) {
    const Bound bound =
        BindingsOf({{InputId::DPAD_UP, {InputType::DPAD, item.index, 0xF}},
                    {InputId::A, {InputType::BUTTON, item.index, 1}},
                    {InputId::LEFT_TRIGGER, {InputType::TRIGGER, item.index, 32767}},
                    {InputId::LEFT_STICK_LEFT, {InputType::STICK, item.index, -32768}}});
    RawInputs raw;
    for (RawInputs::Kind* kind : {&raw.axes, &raw.buttons, &raw.hats}) {
      kind->count = item.count;
    }
    raw.buttons.values.fill(1);
    raw.hats.values.fill(0xF);
    raw.axes.values.fill(-32768);
    const Translated translated = Translate(raw, bound);
    EXPECT_EQ(translated.state, Gamepad{}) << item.index << " of " << item.count;
    EXPECT_TRUE(translated.pressed.empty()) << item.index << " of " << item.count;
  }
}

TEST(TranslateReport, UnboundGroupOnlyUnknownTypesAndControlsOutsideTheStateReadNothing) {
  std::map<InputId, InputBinding> bindings = {
      {InputId::A, {InputType::THUMB, 0, 1}},
      {InputId::B, {InputType::SHOULDER, 0, 1}},
      {InputId::X, {static_cast<InputType>(9), 0, 1}},
      {InputId::Y, {static_cast<InputType>(0xFFFFFFFFU), 0, 1}},
      {InputId::START, {InputType::UNSET, 0, 1}},
      {static_cast<InputId>(25), {InputType::BUTTON, 0, 1}},
  };
  const cpd::BindingSnapshot snapshot = cpd::SnapshotOf(bindings);
  std::vector<InputId> inputs;
  inputs.reserve(bindings.size());
  for (const auto& entry : bindings) {
    inputs.push_back(entry.first);
  }
  RawInputs raw;
  cpd::ShapeRawInputs(snapshot, inputs, raw);
  EXPECT_EQ(raw.axes.count + raw.buttons.count + raw.hats.count, 0);
  raw.buttons.count = 1;
  raw.buttons.values[0] = 1;
  XboxGamepad gamepad;
  std::vector<cpd::PressedRead> pressed;
  cpd::TranslateReport(raw, snapshot, inputs, gamepad, &pressed);
  EXPECT_EQ(Of(gamepad), Gamepad{});
  EXPECT_TRUE(pressed.empty());
}

TEST(TranslateReport, TheWholeStateIsOverwritten) {
  const Bound bound = LayoutBindings(cpd::MAPPING_XBOX);
  RawInputs raw;
  cpd::ShapeRawInputs(bound.snapshot, bound.inputs, raw);
  XboxGamepad gamepad;
  gamepad.wButtons = 0xFFFF;
  gamepad.bLeftTrigger = 9;
  gamepad.bRightTrigger = 9;
  gamepad.sThumbLX = gamepad.sThumbLY = gamepad.sThumbRX = gamepad.sThumbRY = -5;
  cpd::TranslateReport(raw, bound.snapshot, bound.inputs, gamepad, nullptr);
  EXPECT_EQ(Of(gamepad), Gamepad{});
}

// ---------------------------------------------------------------------------------------------
// The shape of a raw reading.

TEST(ShapeRawInputs, CountsReachTheHighestNumberReadWithinTheCapacityOnly) {
  struct Case {
    InputType type;
    int32_t index;
    Counts counts;
  };
  const std::vector<Case> cases = {
      {InputType::DPAD, 0, {0, 0, 1}},          {InputType::DPAD, 31, {0, 0, 32}},
      {InputType::STICK, 5, {6, 0, 0}},         {InputType::TRIGGER, 31, {32, 0, 0}},
      {InputType::BUTTON, 14, {0, 15, 0}},      {InputType::BUTTON, 32, {0, 0, 0}},
      {InputType::STICK, -1, {0, 0, 0}},        {InputType::DPAD, INT_MIN, {0, 0, 0}},
      {InputType::TRIGGER, INT_MAX, {0, 0, 0}}, {InputType::UNSET, 4, {0, 0, 0}},
      {InputType::THUMB, 4, {0, 0, 0}},         {InputType::SHOULDER, 4, {0, 0, 0}},
  };
  for (const Case& item : cases) {
    cpd::BindingSnapshot snapshot{};
    snapshot[static_cast<size_t>(InputId::A)] = {item.type, item.index, 1};
    RawInputs raw;
    raw.axes.count = raw.buttons.count = raw.hats.count = 9;
    cpd::ShapeRawInputs(snapshot, {InputId::A}, raw);
    EXPECT_EQ(raw.axes.count, item.counts.axes) << item.index;
    EXPECT_EQ(raw.buttons.count, item.counts.buttons) << item.index;
    EXPECT_EQ(raw.hats.count, item.counts.hats) << item.index;
  }
}

TEST(ShapeRawInputs, AnOutOfRangeNumberLeavesTheCountOfAnotherBindingAsItIs) {
  const Bound bound = BindingsOf({{InputId::A, {InputType::BUTTON, 3, 1}},
                                  {InputId::B, {InputType::BUTTON, 40, 1}},
                                  {InputId::X, {InputType::BUTTON, -7, 1}},
                                  {InputId::LEFT_STICK_UP, {InputType::STICK, 2, -32768}},
                                  {InputId::LEFT_STICK_DOWN, {InputType::STICK, 32, 32767}}});
  RawInputs raw;
  cpd::ShapeRawInputs(bound.snapshot, bound.inputs, raw);
  EXPECT_EQ(raw.axes.count, 3);
  EXPECT_EQ(raw.buttons.count, 4);
  EXPECT_EQ(raw.hats.count, 0);
}

// ---------------------------------------------------------------------------------------------
// The device list's summary.

_CpdJoystickDeviceInfo Device(uint16_t vid, uint16_t pid, uint16_t index, const char* name,
                              uint16_t mappingIndex) {
  _CpdJoystickDeviceInfo info;
  info.vid = vid;
  info.pid = pid;
  info.index = index;
  info.name = name;
  info.devName = "not in the summary";
  info.mappingIndex = mappingIndex;
  return info;
}

TEST(DevListSummary, EachEntryAppendsEveryEntrySoFarAndGapsAddNothing) {
  const _CpdJoystickDeviceInfo xbox = Device(0x045E, 0x02EA, 0, "xbox pad", 6);
  const _CpdJoystickDeviceInfo pro = Device(0x057E, 0x2009, 1, "pro controller", 2);
  const _CpdJoystickDeviceInfo high = Device(0x0001, 0xABCD, 10, "", 11);
  const std::string first = "{vid:0x045e pid:0x02ea devname:xbox pad index:0 mappingIndex:6};";
  const std::string second =
      "{vid:0x057e pid:0x2009 devname:pro controller index:1 mappingIndex:2};";
  const std::string third = "{vid:0x0001 pid:0xabcd devname: index:a mappingIndex:b};";
  const std::vector<std::pair<cpd::ListedDevices, std::string>> cases = {
      {{}, ""},
      {{std::nullopt, std::nullopt}, ""},
      {{xbox}, first},
      {{high}, third},
      {{xbox, pro}, first + first + second},
      {{xbox, std::nullopt, pro}, first + first + second},
      {{std::nullopt, xbox}, first},
      {{xbox, pro, high}, first + first + second + first + second + third},
  };
  for (size_t i = 0; i < cases.size(); ++i) {
    EXPECT_EQ(cpd::DevListSummary(cases[i].first), cases[i].second) << "case " << i;
  }
}

}  // namespace
