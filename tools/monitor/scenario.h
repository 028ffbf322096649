// Scenario files: a JSON timeline that plugs and unplugs simulated pads, moves their inputs and
// asks the library to rumble them.
//
//   {"description": "...",
//    "steps": [{"at": 0, "plug": "xbox", "as": "pad"},
//              {"at": 0, "await_devices": 1},
//              {"at": 500, "pad": "pad", "button": 0, "value": 1, "for": 300},
//              {"at": 1000, "rumble": 0, "low": 30000, "high": 65535, "for": 500},
//              {"at": 2000, "unplug": "pad"}],
//    "end": 3000}
//
// "at" is scenario time in milliseconds. An "await_devices" step waits until the library
// publishes a device list of that size after the step before it ran; the scenario clock stands
// still meanwhile, so the steps after it keep their distance from it on a slow machine. See
// scenarios/README.md.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "motors.h"

namespace monitor {

enum class StepKind { PLUG, UNPLUG, BUTTON, AXIS, HAT, AWAIT_DEVICES, RUMBLE };

struct ScenarioStep {
  int64_t at = 0;
  StepKind kind = StepKind::PLUG;
  std::string pad;     // the id the scenario gives the pad
  std::string model;   // PLUG: catalogue key
  std::string path;    // PLUG: device path; empty for the first free one
  int index = 0;       // BUTTON, AXIS, HAT: input number; RUMBLE: the slot
  int value = 0;       // input value; AWAIT_DEVICES: device count
  MotorSpeeds speeds;  // RUMBLE: what JoysticAPI_SetVibration is asked for
  int64_t timeoutMs = 0;
  bool release = false;  // the end of a step's "for"
};

struct Scenario {
  std::string description;
  std::vector<ScenarioStep> steps;  // in the order they run, holds already expanded
  int64_t endMs = 0;
};

constexpr int64_t DEFAULT_AWAIT_TIMEOUT_MS = 20000;
constexpr int64_t DEFAULT_TAIL_MS = 1000;  // how long a scenario without "end" runs on

// Parses a scenario; false with a message naming `origin` and the step when it is not one.
bool ParseScenario(const std::string& text, const std::string& origin, Scenario& scenario,
                   std::string& error);
bool LoadScenarioFile(const std::string& path, Scenario& scenario, std::string& error);

// "plug xbox as pad", "pad button 0 = 1", "await 2 devices" ...
std::string DescribeStep(const ScenarioStep& step);
// "plug", "unplug", "button", "axis", "hat", "await_devices", "rumble".
const char* StepKindName(StepKind kind);
// Awaits and rumbles name no pad: they wait for the library, or ask it of a slot.
bool NamesAPad(StepKind kind);

}  // namespace monitor
