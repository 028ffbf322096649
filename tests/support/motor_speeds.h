// A controller's two motor speeds as tests compare and print them.
#pragma once

#include <cstdint>
#include <ostream>

namespace cpd::test {

struct Speeds {
  uint16_t low = 0;
  uint16_t high = 0;
  friend bool operator==(Speeds left, Speeds right) {
    return left.low == right.low && left.high == right.high;
  }
};

inline std::ostream& operator<<(std::ostream& out, Speeds speeds) {
  return out << "(" << speeds.low << ", " << speeds.high << ")";
}

}  // namespace cpd::test
