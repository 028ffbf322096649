// One JSON object per line, for scripts: what the listener hears and what the scenario does.
// JsonCpp writes them, members in name order; every line has "type" and "t".
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cpd_joystick/joystick_api.h"
#include "layout_wiring.h"
#include "motors.h"
#include "scenario.h"

namespace monitor {

// The 17 bytes as 34 lower-case hexadecimal digits.
std::string PacketHex(const JoystickDataPacket& packet);

// `t` is milliseconds since the monitor started, on every line.
std::string PacketLine(int64_t t, const JoystickDataPacket& packet);
// The layouts the library offers (JoysticAPI_GetMappingList), once at the start of a run.
// The layouts on offer and the poll interval of the run.
std::string LayoutsLine(int64_t t, const std::vector<LayoutName>& layouts, uint16_t pollMs = 30);
std::string DevicesLine(int64_t t, const std::list<_CpdJoystickDeviceInfo>& devices,
                        const std::vector<LayoutName>& layouts);
std::string EventLine(int64_t t, const std::string& name, const EventRecord& record);
std::string LogLine(int64_t t, int level, const std::string& text);
// The speeds the motors of the controller in `slot`, at `path`, run at now (`source`: read from
// the simulator, or only asked for).
std::string MotorsLine(int64_t t, uint16_t slot, const std::string& path, const MotorView& motors);
// A scenario step as it ran; `ok` is false for an await that timed out, a step on a pad that is
// not plugged, or a rumble the library refused.
std::string StepLine(int64_t t, const ScenarioStep& step, bool ok);

}  // namespace monitor
