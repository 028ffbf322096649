#include "motors.h"

#include <array>

#include "view.h"

namespace monitor {

namespace {

struct Answer {
  int32_t code;
  const char* meaning;
};

// What JoysticAPI_SetVibration's answers mean (joystick_api.h).
constexpr std::array<Answer, 2> REFUSALS = {{
    {-1, "no open controller in that slot"},
    {-2, "it has no motors"},
}};

std::string CallText(uint16_t slot, const MotorSpeeds& asked, int32_t answer) {
  return "JoysticAPI_SetVibration(" + std::to_string(slot) + ", " + std::to_string(asked.low) +
         ", " + std::to_string(asked.high) + ") = " + std::to_string(answer);
}

bool Running(const MotorSpeeds& speeds) {
  return speeds.low != 0 || speeds.high != 0;
}

}  // namespace

bool operator==(const MotorSpeeds& left, const MotorSpeeds& right) {
  return left.low == right.low && left.high == right.high;
}

bool operator!=(const MotorSpeeds& left, const MotorSpeeds& right) {
  return !(left == right);
}

MotorSpeeds NextTestRumble(const MotorView& seen) {
  const bool running = seen.source != MotorSource::UNKNOWN && seen.present && Running(seen.speeds);
  return running ? MotorSpeeds{} : TEST_RUMBLE;
}

std::string DescribeVibration(uint16_t slot, const MotorSpeeds& asked, int32_t answer) {
  const std::string where = slot == NO_SLOT ? "no slot" : "slot " + SlotText(slot);
  std::string outcome = "refused";
  if (answer == 0) {
    outcome = Running(asked) ? "rumbling" : "motors stopped";
  }
  for (const Answer& refusal : REFUSALS) {
    if (refusal.code == answer) {
      outcome = refusal.meaning;
    }
  }
  return where + ": " + CallText(slot, asked, answer) + ", " + outcome;
}

bool MotorsAfterAnswer(const MotorSpeeds& asked, int32_t answer, MotorView& known) {
  if (answer != 0 && answer != -2) {
    return false;
  }
  known = {MotorSource::ASKED, answer == 0, answer == 0 ? asked : MotorSpeeds{}};
  return true;
}

const char* MotorSourceName(MotorSource source) {
  switch (source) {
    case MotorSource::SIMULATOR:
      return "simulator";
    case MotorSource::ASKED:
      return "asked";
    case MotorSource::UNKNOWN:
      break;
  }
  return "unknown";
}

bool MotorReports::Changed(uint16_t slot, const MotorView& seen) {
  if (seen.source == MotorSource::UNKNOWN || !seen.present) {
    return false;
  }
  MotorSpeeds& reported = mReported[slot];
  if (reported == seen.speeds) {
    return false;
  }
  reported = seen.speeds;
  return true;
}

}  // namespace monitor
