#include "json_line.h"

#include <json/json.h>

#include <cstdio>

#include "hex_bytes.h"
#include "view.h"

namespace monitor {

namespace {

std::string Hex4(uint16_t value) {
  char text[8];
  std::snprintf(text, sizeof text, "%04x", value);
  return text;
}

// One line: no indentation, no line break inside, UTF-8 kept as it is.
std::string Written(const Json::Value& line) {
  static const Json::StreamWriterBuilder BUILDER = [] {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    builder["emitUTF8"] = true;
    return builder;
  }();
  return Json::writeString(BUILDER, line);
}

Json::Value Line(const char* type, int64_t t) {
  Json::Value line(Json::objectValue);
  line["type"] = type;
  line["t"] = Json::Int64{t};
  return line;
}

Json::Value DeviceJson(const _CpdJoystickDeviceInfo& device,
                       const std::vector<LayoutName>& layouts) {
  Json::Value entry(Json::objectValue);
  // null: a controller without a slot (see NO_SLOT).
  entry["slot"] = device.index == NO_SLOT ? Json::Value() : Json::Value(device.index);
  entry["name"] = device.name;
  entry["vid"] = Hex4(device.vid);
  entry["pid"] = Hex4(device.pid);
  entry["path"] = device.path;
  entry["layout"] = device.mappingIndex;
  entry["layoutName"] = LayoutNameOf(layouts, device.mappingIndex);
  return entry;
}

}  // namespace

std::string PacketHex(const JoystickDataPacket& packet) {
  return cpd::text::HexBytes(&packet, sizeof packet);
}

std::string PacketLine(int64_t t, const JoystickDataPacket& packet) {
  Json::Value line = Line("packet", t);
  line["slot"] = packet.slot;
  line["number"] = packet.dwPacketNumber;
  line["bytes"] = PacketHex(packet);
  line["wButtons"] = packet.wButtons;
  line["bLeftTrigger"] = packet.bLeftTrigger;
  line["bRightTrigger"] = packet.bRightTrigger;
  line["sThumbLX"] = packet.sThumbLX;
  line["sThumbLY"] = packet.sThumbLY;
  line["sThumbRX"] = packet.sThumbRX;
  line["sThumbRY"] = packet.sThumbRY;
  return Written(line);
}

std::string LayoutsLine(int64_t t, const std::vector<LayoutName>& layouts, uint16_t pollMs) {
  Json::Value line = Line("layouts", t);
  line["poll_ms"] = pollMs;
  Json::Value& entries = line["layouts"] = Json::Value(Json::arrayValue);
  for (const LayoutName& layout : layouts) {
    Json::Value entry(Json::objectValue);
    entry["layout"] = layout.kind;
    entry["name"] = layout.name;
    entries.append(entry);
  }
  return Written(line);
}

std::string DevicesLine(int64_t t, const std::list<_CpdJoystickDeviceInfo>& devices,
                        const std::vector<LayoutName>& layouts) {
  Json::Value line = Line("devices", t);
  line["count"] = static_cast<Json::UInt64>(devices.size());
  Json::Value& entries = line["devices"] = Json::Value(Json::arrayValue);
  for (const _CpdJoystickDeviceInfo& device : devices) {
    entries.append(DeviceJson(device, layouts));
  }
  return Written(line);
}

std::string EventLine(int64_t t, const std::string& name, const EventRecord& record) {
  Json::Value line = Line("event", t);
  line["name"] = name;
  Json::Value& fields = line["record"] = Json::Value(Json::objectValue);
  for (const auto& [key, value] : record) {
    fields[key] = value;
  }
  return Written(line);
}

std::string LogLine(int64_t t, int level, const std::string& text) {
  Json::Value line = Line("log", t);
  line["level"] = level;
  line["text"] = text;
  return Written(line);
}

std::string MotorsLine(int64_t t, uint16_t slot, const std::string& path, const MotorView& motors) {
  Json::Value line = Line("motors", t);
  line["slot"] = slot;
  line["path"] = path;
  line["low"] = motors.speeds.low;
  line["high"] = motors.speeds.high;
  line["source"] = MotorSourceName(motors.source);
  return Written(line);
}

std::string StepLine(int64_t t, const ScenarioStep& step, bool ok) {
  Json::Value line = Line("step", t);
  line["at"] = Json::Int64{step.at};
  line["action"] = StepKindName(step.kind);
  if (NamesAPad(step.kind)) {
    line["pad"] = step.pad;
  }
  line["text"] = DescribeStep(step);
  line["ok"] = ok;
  return Written(line);
}

}  // namespace monitor
