// A gamepad state field by field, comparable and printable, for writing expectations by hand.
#pragma once

#include <cstdint>
#include <ostream>

namespace cpd::test {

struct Gamepad {
  uint16_t buttons = 0;
  uint8_t leftTrigger = 0;
  uint8_t rightTrigger = 0;
  int16_t lx = 0;
  int16_t ly = 0;
  int16_t rx = 0;
  int16_t ry = 0;

  bool operator==(const Gamepad& other) const {
    return buttons == other.buttons && leftTrigger == other.leftTrigger &&
           rightTrigger == other.rightTrigger && lx == other.lx && ly == other.ly &&
           rx == other.rx && ry == other.ry;
  }
};

inline void PrintTo(const Gamepad& state, std::ostream* out) {
  *out << "{buttons 0x" << std::hex << state.buttons << std::dec << " LT " << int{state.leftTrigger}
       << " RT " << int{state.rightTrigger} << " LX " << state.lx << " LY " << state.ly << " RX "
       << state.rx << " RY " << state.ry << "}";
}

}  // namespace cpd::test
