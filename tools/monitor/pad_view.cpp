#include "pad_view.h"

#include <array>
#include <cmath>
#include <cstdio>

#include "hex_bytes.h"
#include "layout_wiring.h"

namespace monitor {

namespace {

constexpr unsigned BAR_CELLS = 10;
constexpr int STICK_BOX_WIDTH = 11;  // inner 9 columns
constexpr int STICK_BOX_HEIGHT = 5;  // inner 3 rows

struct Place {
  Control control;
  int row;
  int col;
};

// Where each button sits, relative to the pad's top-left corner.
constexpr std::array<Place, DIGITAL_CONTROL_COUNT> PLACES = {{
    {Control::LEFT_SHOULDER, 0, 22},
    {Control::BACK, 0, 30},
    {Control::START, 0, 38},
    {Control::RIGHT_SHOULDER, 0, 48},
    {Control::DPAD_UP, 2, 5},
    {Control::DPAD_LEFT, 3, 2},
    {Control::DPAD_RIGHT, 3, 8},
    {Control::DPAD_DOWN, 4, 5},
    {Control::LEFT_THUMB, 1, 25},
    {Control::RIGHT_THUMB, 1, 36},
    {Control::Y, 2, 64},
    {Control::X, 3, 60},
    {Control::B, 3, 68},
    {Control::A, 4, 64},
}};

struct StickPlace {
  int16_t JoystickDataPacket::*x;
  int16_t JoystickDataPacket::*y;
  int boxCol;
  int valuesCol;
};

constexpr std::array<StickPlace, 2> STICKS = {{
    {&JoystickDataPacket::sThumbLX, &JoystickDataPacket::sThumbLY, 13, 25},
    {&JoystickDataPacket::sThumbRX, &JoystickDataPacket::sThumbRY, 46, 36},
}};

constexpr int LEFT_TRIGGER_COL = 1;
constexpr int RIGHT_TRIGGER_COL = 55;

// "[#####.....] 128": `value` of `full` as BAR_CELLS cells, then the value `digits` wide.
std::string Bar(unsigned value, unsigned full, int digits) {
  const unsigned filled = (value * BAR_CELLS + full / 2) / full;
  char number[8];
  std::snprintf(number, sizeof number, "%*u", digits, value);
  return "[" + std::string(filled, '#') + std::string(BAR_CELLS - filled, '.') + "] " + number;
}

void DrawStick(Screen& screen, int top, const StickPlace& place, int16_t x, int16_t y,
               Style style) {
  const std::string edge = "+" + std::string(STICK_BOX_WIDTH - 2, '-') + "+";
  const std::string inside = "|" + std::string(STICK_BOX_WIDTH - 2, ' ') + "|";
  screen.Put(top + 1, place.boxCol, edge, style);
  for (int row = 2; row < STICK_BOX_HEIGHT; ++row) {
    screen.Put(top + row, place.boxCol, inside, style);
  }
  screen.Put(top + STICK_BOX_HEIGHT, place.boxCol, edge, style);
  const int innerWidth = STICK_BOX_WIDTH - 2;
  const int innerHeight = STICK_BOX_HEIGHT - 2;
  screen.Put(top + 2 + innerHeight / 2, place.boxCol + 1 + innerWidth / 2, ".", style);
  screen.Put(top + 2 + StickRow(y, innerHeight), place.boxCol + 1 + StickColumn(x, innerWidth), "o",
             style == Style::DIM ? Style::DIM : Style::LIT);

  char value[16];
  std::snprintf(value, sizeof value, "x %6d", x);
  screen.Put(top + 2, place.valuesCol, value, style);
  std::snprintf(value, sizeof value, "y %6d", y);
  screen.Put(top + 3, place.valuesCol, value, style);
}

}  // namespace

std::string Glyph(const char* label, bool lit) {
  return (lit ? "[" : "(") + std::string(label) + (lit ? "]" : ")");
}

std::string TriggerBar(uint8_t value) {
  return Bar(value, UINT8_MAX, 3);
}

std::string MotorBar(uint16_t speed) {
  return Bar(speed, UINT16_MAX, 5);
}

std::string MotorsText(const MotorView& motors) {
  if (motors.source == MotorSource::UNKNOWN) {
    return "motors not known until asked: v sends a test rumble";
  }
  const bool read = motors.source == MotorSource::SIMULATOR;
  if (!motors.present) {
    return read ? "no motors" : "no motors: JoysticAPI_SetVibration answered -2";
  }
  return "motors LF " + MotorBar(motors.speeds.low) + "  HF " + MotorBar(motors.speeds.high) +
         (read ? "  simulator's reading" : "  asked for, not read back");
}

int StickColumn(int16_t x, int width) {
  return static_cast<int>(std::lround((x + 32768.0) * (width - 1) / 65535.0));
}

int StickRow(int16_t y, int height) {
  return static_cast<int>(std::lround((32767.0 - y) * (height - 1) / 65535.0));
}

std::string SpacedHex(const JoystickDataPacket& packet) {
  return cpd::text::HexBytes(&packet, sizeof packet, " ");
}

void DrawPad(Screen& screen, int top, const JoystickDataPacket& packet, bool live) {
  const Style plain = live ? Style::NORMAL : Style::DIM;
  screen.Put(top, LEFT_TRIGGER_COL, "LT " + TriggerBar(packet.bLeftTrigger), plain);
  screen.Put(top, RIGHT_TRIGGER_COL, "RT " + TriggerBar(packet.bRightTrigger), plain);
  for (const Place& place : PLACES) {
    const bool lit = live && (packet.wButtons & ButtonBit(place.control)) != 0;
    screen.Put(top + place.row, place.col, Glyph(ControlLabel(place.control), lit),
               lit ? Style::LIT : plain);
  }
  for (const StickPlace& stick : STICKS) {
    DrawStick(screen, top, stick, packet.*stick.x, packet.*stick.y, plain);
  }
}

void DrawMotors(Screen& screen, int row, const MotorView& motors) {
  const bool known = motors.source != MotorSource::UNKNOWN && motors.present;
  screen.Put(row, 1, MotorsText(motors), known ? Style::NORMAL : Style::DIM);
}

}  // namespace monitor
