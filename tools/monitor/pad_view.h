// The selected controller's gamepad state drawn as a pad: lit buttons, triggers as bars, sticks
// as a dot in a box, and the raw packet in hexadecimal.
#pragma once

#include <cstdint>
#include <string>

#include "cpd_joystick/joystick_api.h"
#include "motors.h"
#include "screen.h"

namespace monitor {

// "(A)" when released, "[A]" when pressed: the brackets show without colours too.
std::string Glyph(const char* label, bool lit);

// "[#####.....] 128": a trigger 0..255 as ten cells and its value.
std::string TriggerBar(uint8_t value);

// "[####......] 30000": a motor's speed 0..65535 as ten cells and its value.
std::string MotorBar(uint16_t speed);

// The motors' line under the pad: both speeds and whether they are read or only asked for.
std::string MotorsText(const MotorView& motors);

// Column 0..width-1 for a stick value, left to right.
int StickColumn(int16_t x, int width);
// Row 0..height-1 for a stick value, top (pushed up, positive) to bottom.
int StickRow(int16_t y, int height);

// "00 01 00 ..." the 17 bytes with blanks between.
std::string SpacedHex(const JoystickDataPacket& packet);

// Draws the pad in PAD_ROWS rows from `top`. `live` false draws every control released.
void DrawPad(Screen& screen, int top, const JoystickDataPacket& packet, bool live);

// Draws the motors' line at `row`, dim when nothing is known or there are no motors.
void DrawMotors(Screen& screen, int row, const MotorView& motors);

}  // namespace monitor
