// The six layouts as data: one column per layout, one row per control, side by side, so that a
// reader compares two layouts by looking. The library's install routine writes these cells into
// a controller's mapping; the monitor reads the same cells to know which raw input a layout
// takes each control from. Pure data and pure functions only: whoever links this gets no
// manager, no thread and no SDL.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "joystick_mapping/control_model.h"
#include "joystick_mapping/mapping_index.h"

namespace cpd {

// Which SDL input stands behind a control. A cell reads the kind of input its control is named
// for (ClassifyInputType); a cell with a forced type reads another kind, as a d-pad wired to four
// buttons or triggers that are plain buttons.
struct LayoutCell {
  int32_t index;
  int32_t value;
  std::optional<InputType> forcedType;
};

enum Column : size_t { XBOX, SWITCH, SWITCH2, LOGIC, DUALSENSE, ANDROID, COLUMN_COUNT };

inline constexpr std::array<MappingIndex, COLUMN_COUNT> COLUMN_KINDS = {
    MAPPING_XBOX,  MAPPING_SWITCH_MOD1, MAPPING_SWITCH_MOD2,
    MAPPING_LOGIC, MAPPING_PS,          MAPPING_ANDROID,
};

struct LayoutRow {
  InputId control;
  std::array<LayoutCell, COLUMN_COUNT> cells;
};

namespace layout_cells {

// SDL's hat bits; layouts.cpp checks them against SDL's own.
inline constexpr int32_t UP = 1;
inline constexpr int32_t RIGHT = 2;
inline constexpr int32_t DOWN = 4;
inline constexpr int32_t LEFT = 8;
inline constexpr int32_t NEG = AXIS_NEGATIVE_END;
inline constexpr int32_t POS = AXIS_POSITIVE_END;

// Hat, Axis and Button only say for the reader what the control's own kind reads.
constexpr LayoutCell Hat(int32_t hat, int32_t bit) {
  return {hat, bit, std::nullopt};
}
constexpr LayoutCell Axis(int32_t axis, int32_t end) {
  return {axis, end, std::nullopt};
}
constexpr LayoutCell Button(int32_t button) {
  return {button, BUTTON_PRESSED, std::nullopt};
}
constexpr LayoutCell AsButton(int32_t button) {
  return {button, BUTTON_PRESSED, InputType::BUTTON};
}
// Every layout carries a GUIDE cell although no installation reaches GUIDE; it is kept so the
// tables stay complete and alike.
constexpr LayoutCell Unbound(int32_t index) {
  return {index, 1, InputType::UNSET};
}

using I = InputId;

// DualSense and Switch2 are identical binding for binding on purpose: the two kinds are offered
// separately to the host. Switch swaps A/B and X/Y against Switch2. Android skips button 2 and
// crosses its triggers.
// clang-format off
inline constexpr std::array<LayoutRow, INPUT_ID_COUNT> LAYOUTS = {{
//   control                Xbox (6)       Switch (2)     Switch2 (3)    Logic (5)      DualSense (1)  Android (4)
    {I::DPAD_UP,           {Hat(0, UP),    AsButton(11),  AsButton(11),  Hat(0, UP),    AsButton(11),  Hat(0, UP)}},
    {I::DPAD_DOWN,         {Hat(0, DOWN),  AsButton(12),  AsButton(12),  Hat(0, DOWN),  AsButton(12),  Hat(0, DOWN)}},
    {I::DPAD_LEFT,         {Hat(0, LEFT),  AsButton(13),  AsButton(13),  Hat(0, LEFT),  AsButton(13),  Hat(0, LEFT)}},
    {I::DPAD_RIGHT,        {Hat(0, RIGHT), AsButton(14),  AsButton(14),  Hat(0, RIGHT), AsButton(14),  Hat(0, RIGHT)}},
    {I::START,             {Button(7),     Button(6),     Button(6),     Button(9),     Button(6),     Button(11)}},
    {I::BACK,              {Button(6),     Button(4),     Button(4),     Button(8),     Button(4),     Button(10)}},
    {I::LEFT_THUMB,        {Button(8),     Button(7),     Button(7),     Button(10),    Button(7),     Button(13)}},
    {I::RIGHT_THUMB,       {Button(9),     Button(8),     Button(8),     Button(11),    Button(8),     Button(14)}},
    {I::LEFT_SHOULDER,     {Button(4),     Button(9),     Button(9),     Button(4),     Button(9),     Button(6)}},
    {I::RIGHT_SHOULDER,    {Button(5),     Button(10),    Button(10),    Button(5),     Button(10),    Button(7)}},
    {I::GUIDE,             {Unbound(10),   Unbound(10),   Unbound(10),   Unbound(10),   Unbound(10),   Unbound(10)}},
    {I::A,                 {Button(0),     Button(1),     Button(0),     Button(1),     Button(0),     Button(0)}},
    {I::B,                 {Button(1),     Button(0),     Button(1),     Button(2),     Button(1),     Button(1)}},
    {I::X,                 {Button(2),     Button(3),     Button(2),     Button(0),     Button(2),     Button(3)}},
    {I::Y,                 {Button(3),     Button(2),     Button(3),     Button(3),     Button(3),     Button(4)}},
    {I::LEFT_TRIGGER,      {Axis(4, POS),  Axis(4, POS),  Axis(4, POS),  AsButton(6),   Axis(4, POS),  Axis(5, POS)}},
    {I::RIGHT_TRIGGER,     {Axis(5, POS),  Axis(5, POS),  Axis(5, POS),  AsButton(7),   Axis(5, POS),  Axis(4, POS)}},
    {I::LEFT_STICK_LEFT,   {Axis(0, NEG),  Axis(0, NEG),  Axis(0, NEG),  Axis(0, NEG),  Axis(0, NEG),  Axis(0, NEG)}},
    {I::LEFT_STICK_UP,     {Axis(1, NEG),  Axis(1, NEG),  Axis(1, NEG),  Axis(1, NEG),  Axis(1, NEG),  Axis(1, NEG)}},
    {I::LEFT_STICK_RIGHT,  {Axis(0, POS),  Axis(0, POS),  Axis(0, POS),  Axis(0, POS),  Axis(0, POS),  Axis(0, POS)}},
    {I::LEFT_STICK_DOWN,   {Axis(1, POS),  Axis(1, POS),  Axis(1, POS),  Axis(1, POS),  Axis(1, POS),  Axis(1, POS)}},
    {I::RIGHT_STICK_LEFT,  {Axis(2, NEG),  Axis(2, NEG),  Axis(2, NEG),  Axis(2, NEG),  Axis(2, NEG),  Axis(2, NEG)}},
    {I::RIGHT_STICK_UP,    {Axis(3, NEG),  Axis(3, NEG),  Axis(3, NEG),  Axis(3, NEG),  Axis(3, NEG),  Axis(3, NEG)}},
    {I::RIGHT_STICK_RIGHT, {Axis(2, POS),  Axis(2, POS),  Axis(2, POS),  Axis(2, POS),  Axis(2, POS),  Axis(2, POS)}},
    {I::RIGHT_STICK_DOWN,  {Axis(3, POS),  Axis(3, POS),  Axis(3, POS),  Axis(3, POS),  Axis(3, POS),  Axis(3, POS)}},
}};
// clang-format on

}  // namespace layout_cells

using layout_cells::LAYOUTS;

constexpr bool RowsFollowControlNumbers() {
  for (size_t row = 0; row < LAYOUTS.size(); ++row) {
    if (static_cast<size_t>(LAYOUTS[row].control) != row) {
      return false;
    }
  }
  return true;
}
static_assert(RowsFollowControlNumbers(), "row n of the layouts is control n");

// The binding a cell gives its control: the cell's forced type, else the control's own kind.
InputBinding BindingOf(InputId control, const LayoutCell& cell);

// The binding layout `kind` gives `control`; an unbound binding for a kind or control the table
// does not have.
InputBinding LayoutBinding(MappingIndex kind, InputId control);

}  // namespace cpd
