// One JSON object per line, for scripts: what the listener hears and what the scenario does.
// Members keep the order they are added in, so a line reads "type" first.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cpd_joystick/joystick_api.h"
#include "layout_wiring.h"
#include "scenario.h"

namespace monitor {

class JsonObject {
 public:
  JsonObject& Text(const std::string& name, const std::string& value);
  JsonObject& Number(const std::string& name, int64_t value);
  JsonObject& Boolean(const std::string& name, bool value);
  // `json` is already valid JSON (an object or an array).
  JsonObject& Raw(const std::string& name, const std::string& json);
  std::string Str() const { return "{" + mMembers + "}"; }

 private:
  void Name(const std::string& name);
  std::string mMembers;
};

std::string JsonString(const std::string& text);
std::string JsonArray(const std::vector<std::string>& elements);

// The 17 bytes as 34 lower-case hexadecimal digits.
std::string PacketHex(const JoystickDataPacket& packet);

// `t` is milliseconds since the monitor started, on every line.
std::string PacketLine(int64_t t, const JoystickDataPacket& packet);
std::string DevicesLine(int64_t t, const std::list<_CpdJoystickDeviceInfo>& devices,
                        const std::vector<LayoutName>& layouts);
std::string EventLine(int64_t t, const std::string& name, const EventRecord& record);
std::string LogLine(int64_t t, int level, const std::string& text);
// A scenario step as it ran; `ok` is false for an await that timed out or a step on a pad that
// is not plugged.
std::string StepLine(int64_t t, const ScenarioStep& step, bool ok);

}  // namespace monitor
