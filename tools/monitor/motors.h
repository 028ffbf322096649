// What the monitor knows of a controller's two motors, what its rumble key asks for, and which
// speeds are news for the JSON lines. Free of the library and the simulator: the session fills a
// MotorView from whichever of them can tell.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace monitor {

enum class MotorSource : uint8_t {
  UNKNOWN,    // hardware tells nothing back, and the monitor has asked nothing of this controller
  SIMULATOR,  // the speeds the simulated pad runs at now
  ASKED,      // the speeds the monitor last asked for through JoysticAPI_SetVibration
};

struct MotorSpeeds {
  uint16_t low = 0;
  uint16_t high = 0;
};

bool operator==(const MotorSpeeds& left, const MotorSpeeds& right);
bool operator!=(const MotorSpeeds& left, const MotorSpeeds& right);

struct MotorView {
  MotorSource source = MotorSource::UNKNOWN;
  bool present = true;  // false: the controller has no motors
  MotorSpeeds speeds;
};

// Strong enough to feel on the high-frequency motor, and the low one at about half.
inline constexpr MotorSpeeds TEST_RUMBLE{30000, 65535};

// What the rumble key asks next: stop motors that run, else the test rumble.
MotorSpeeds NextTestRumble(const MotorView& seen);

// The status line after JoysticAPI_SetVibration(slot, asked) answered `answer`.
std::string DescribeVibration(uint16_t slot, const MotorSpeeds& asked, int32_t answer);

// What a request answered `answer` leaves known of the controller's motors; false when it
// leaves nothing known (no open controller in the slot).
bool MotorsAfterAnswer(const MotorSpeeds& asked, int32_t answer, MotorView& known);

// "simulator" or "asked", as the JSON lines name a reading's source.
const char* MotorSourceName(MotorSource source);

// The speeds last reported per slot, so that only changes are written. A slot starts with its
// motors off, and a controller without motors, or whose speeds nothing tells, reports nothing.
class MotorReports {
 public:
  // True when `seen` in `slot` differs from what was last reported there; it is then taken as
  // reported.
  bool Changed(uint16_t slot, const MotorView& seen);

 private:
  std::map<uint16_t, MotorSpeeds> mReported;
};

}  // namespace monitor
