// Gamepad states for assertions, compared as the 12 bytes a host receives.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "gamepad_state.h"
#include "hex_bytes.h"
#include "joystick_mapping/xbox_gamepad.h"

namespace cpd::test {

// The bytes as a host reads them, grouped by field: "wButtons bLT bRT LX LY RX RY".
inline std::string HostBytes(const XboxGamepad& gamepad) {
  std::array<uint8_t, 12> bytes{};
  static_assert(sizeof(XboxGamepad) == 12, "twelve bytes");
  std::memcpy(bytes.data(), &gamepad, bytes.size());
  constexpr std::array<size_t, 7> FIELD_SIZES = {2, 1, 1, 2, 2, 2, 2};
  std::string text;
  size_t start = 0;
  for (const size_t size : FIELD_SIZES) {
    text += (start > 0 ? " " : "") + text::HexBytes(bytes.data() + start, size);
    start += size;
  }
  return text;
}

// The same, built by hand from the little-endian field layout.
inline std::string HostBytes(const Gamepad& state) {
  char text[64];
  const auto le = [](int16_t value) {
    const auto bits = static_cast<uint16_t>(value);
    return static_cast<unsigned>(((bits & 0xFFU) << 8U) | (bits >> 8U));
  };
  std::snprintf(text, sizeof text, "%04x %02x %02x %04x %04x %04x %04x",
                le(static_cast<int16_t>(state.buttons)), state.leftTrigger, state.rightTrigger,
                le(state.lx), le(state.ly), le(state.rx), le(state.ry));
  return text;
}

}  // namespace cpd::test
