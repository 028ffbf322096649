// The one state shape every controller is translated into. Hosts read these bytes as XInput's
// XINPUT_GAMEPAD, so the layout below is binary interface, not a choice.
#pragma once

#include <cstddef>
#include <cstdint>

namespace cpd {

struct XboxGamepad {
  uint16_t wButtons = 0;
  uint8_t bLeftTrigger = 0;
  uint8_t bRightTrigger = 0;
  int16_t sThumbLX = 0;
  int16_t sThumbLY = 0;
  int16_t sThumbRX = 0;
  int16_t sThumbRY = 0;
};

static_assert(sizeof(XboxGamepad) == 12, "the gamepad state is 12 bytes without gaps");
static_assert(offsetof(XboxGamepad, wButtons) == 0, "buttons at byte 0");
static_assert(offsetof(XboxGamepad, bLeftTrigger) == 2, "left trigger at byte 2");
static_assert(offsetof(XboxGamepad, bRightTrigger) == 3, "right trigger at byte 3");
static_assert(offsetof(XboxGamepad, sThumbLX) == 4, "left stick X at byte 4");
static_assert(offsetof(XboxGamepad, sThumbLY) == 6, "left stick Y at byte 6");
static_assert(offsetof(XboxGamepad, sThumbRX) == 8, "right stick X at byte 8");
static_assert(offsetof(XboxGamepad, sThumbRY) == 10, "right stick Y at byte 10");
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "hosts read the state little-endian");

inline bool operator==(const XboxGamepad& left, const XboxGamepad& right) {
  return left.wButtons == right.wButtons && left.bLeftTrigger == right.bLeftTrigger &&
         left.bRightTrigger == right.bRightTrigger && left.sThumbLX == right.sThumbLX &&
         left.sThumbLY == right.sThumbLY && left.sThumbRX == right.sThumbRX &&
         left.sThumbRY == right.sThumbRY;
}
inline bool operator!=(const XboxGamepad& left, const XboxGamepad& right) {
  return !(left == right);
}

}  // namespace cpd
