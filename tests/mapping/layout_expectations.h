// What each of the six layouts should make of every physical input, written down from the layout
// descriptions rather than taken from the library. The pure core's tests and the tests on SDL's
// virtual joysticks hold the library to these same rows.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <ostream>

#include "gamepad_state.h"
#include "joystick_mapping/mapping_index.h"

namespace cpd::test::layout_expectations {

// What a physical input drives. Digital controls are named by their button bit.
enum Drives : int {
  NOTHING = 0,
  UP = 0x0001,
  DOWN = 0x0002,
  LEFT = 0x0004,
  RIGHT = 0x0008,
  START = 0x0010,
  BACK = 0x0020,
  L_THUMB = 0x0040,
  R_THUMB = 0x0080,
  L_SHOULDER = 0x0100,
  R_SHOULDER = 0x0200,
  A = 0x1000,
  B = 0x2000,
  X = 0x4000,
  Y = 0x8000,
  L_TRIGGER = 0x10000,
  R_TRIGGER = 0x20000,
};

// An axis: its negative half drives one stick direction or nothing, its positive half another.
enum AxisRole { LEFT_X, LEFT_Y, RIGHT_X, RIGHT_Y, TRIGGER_L, TRIGGER_R, UNUSED };

// How many axes, buttons and hats a layout reads: one past the highest number of each it binds.
struct Counts {
  int32_t axes;
  int32_t buttons;
  int32_t hats;
};

struct LayoutExpectation {
  const char* label;
  MappingIndex kind;
  std::array<Drives, 15> buttons;  // what each raw button drives, by its number
  bool hatDpad;                    // the d-pad reads hat 0, not four of the buttons
  std::array<AxisRole, 6> axes;
  Counts counts;
};

void PrintTo(const LayoutExpectation& layout, std::ostream* out);

inline constexpr std::array<AxisRole, 6> STANDARD_AXES = {LEFT_X,  LEFT_Y,    RIGHT_X,
                                                          RIGHT_Y, TRIGGER_L, TRIGGER_R};

// clang-format off
inline constexpr std::array<LayoutExpectation, 6> LAYOUT_EXPECTATIONS = {{
  {"Xbox", MAPPING_XBOX,
   {A, B, X, Y, L_SHOULDER, R_SHOULDER, BACK, START, L_THUMB, R_THUMB, NOTHING, NOTHING, NOTHING, NOTHING, NOTHING},
   true, STANDARD_AXES, {6, 10, 1}},
  {"Switch", MAPPING_SWITCH_MOD1,
   {B, A, Y, X, BACK, NOTHING, START, L_THUMB, R_THUMB, L_SHOULDER, R_SHOULDER, UP, DOWN, LEFT, RIGHT},
   false, STANDARD_AXES, {6, 15, 0}},
  {"Switch2", MAPPING_SWITCH_MOD2,
   {A, B, X, Y, BACK, NOTHING, START, L_THUMB, R_THUMB, L_SHOULDER, R_SHOULDER, UP, DOWN, LEFT, RIGHT},
   false, STANDARD_AXES, {6, 15, 0}},
  {"Logic", MAPPING_LOGIC,
   {X, A, B, Y, L_SHOULDER, R_SHOULDER, L_TRIGGER, R_TRIGGER, BACK, START, L_THUMB, R_THUMB, NOTHING, NOTHING, NOTHING},
   true, {LEFT_X, LEFT_Y, RIGHT_X, RIGHT_Y, UNUSED, UNUSED}, {4, 12, 1}},
  {"DualSense", MAPPING_PS,
   {A, B, X, Y, BACK, NOTHING, START, L_THUMB, R_THUMB, L_SHOULDER, R_SHOULDER, UP, DOWN, LEFT, RIGHT},
   false, STANDARD_AXES, {6, 15, 0}},
  {"Android", MAPPING_ANDROID,
   {A, B, NOTHING, X, Y, NOTHING, L_SHOULDER, R_SHOULDER, NOTHING, NOTHING, BACK, START, NOTHING, L_THUMB, R_THUMB},
   true, {LEFT_X, LEFT_Y, RIGHT_X, RIGHT_Y, TRIGGER_R, TRIGGER_L}, {6, 15, 1}},
}};

// The readings every axis is swept over, and what each kind of axis makes of them: the magnitude
// drops one count, so the positive end reads 32766 and the negative end 32767.
inline constexpr std::array<int16_t, 14> SWEEP =   {-32768, -3002, -3001, -2, -1, 0, 1,  2,   65,  66,  3001,  3002,  32766,  32767};
inline constexpr std::array<int16_t, 14> STICK_X = {-32767, -3001, -3000, -1,  0, 0, 0,  1,   64,  65,  3000,  3001,  32765,  32766};
inline constexpr std::array<int16_t, 14> STICK_Y = { 32767,  3001,  3000,  1,  0, 0, 0, -1,  -64, -65, -3000, -3001, -32765, -32766};
inline constexpr std::array<uint8_t, 14> TRIGGER = {     0,     0,     0,  0,  0, 0, 0,  0,    0,   1,    23,    23,    255,    255};
// clang-format on

// The hat bit each d-pad control on a hat reads, in control order: up, down, left, right. Each of
// them lists its read, pressed or not.
inline constexpr std::array<int32_t, 4> DPAD_HAT_BITS = {1, 4, 8, 2};

// The state a physical input makes when pressed all the way and nothing else is.
Gamepad FullPress(Drives drives);

// The state an axis in `role` makes at SWEEP[step] when nothing else is pressed.
Gamepad Swept(AxisRole role, size_t step);

// Two inputs at once: the buttons of both, the larger of each trigger, the sum of each stick.
Gamepad Combined(const Gamepad& first, const Gamepad& second);

}  // namespace cpd::test::layout_expectations
