// The selected controller's gamepad state drawn as a pad: lit buttons, triggers as bars, sticks
// as a dot in a box, and the raw packet in hexadecimal.
#pragma once

#include <cstdint>
#include <string>

#include "cpd_joystick/joystick_api.h"
#include "screen.h"

namespace monitor {

// "(A)" when released, "[A]" when pressed: the brackets show without colours too.
std::string Glyph(const char* label, bool lit);

// "[#####.....] 128": a trigger 0..255 as ten cells and its value.
std::string TriggerBar(uint8_t value);

// Column 0..width-1 for a stick value, left to right.
int StickColumn(int16_t x, int width);
// Row 0..height-1 for a stick value, top (pushed up, positive) to bottom.
int StickRow(int16_t y, int height);

// "00 01 00 ..." the 17 bytes with blanks between.
std::string SpacedHex(const JoystickDataPacket& packet);

// Draws the pad in PAD_ROWS rows from `top`. `live` false draws every control released.
void DrawPad(Screen& screen, int top, const JoystickDataPacket& packet, bool live);

}  // namespace monitor
