#include "json_line.h"

#include <cstdio>
#include <cstring>

namespace monitor {

namespace {

std::string Hex4(uint16_t value) {
  char text[8];
  std::snprintf(text, sizeof text, "%04x", value);
  return text;
}

std::string DeviceJson(const _CpdJoystickDeviceInfo& device,
                       const std::vector<LayoutName>& layouts) {
  return JsonObject()
      .Number("slot", device.index)
      .Text("name", device.name)
      .Text("vid", Hex4(device.vid))
      .Text("pid", Hex4(device.pid))
      .Text("path", device.path)
      .Number("layout", device.mappingIndex)
      .Text("layoutName", LayoutNameOf(layouts, device.mappingIndex))
      .Str();
}

}  // namespace

void JsonObject::Name(const std::string& name) {
  if (!mMembers.empty()) {
    mMembers += ',';
  }
  mMembers += JsonString(name);
  mMembers += ':';
}

JsonObject& JsonObject::Text(const std::string& name, const std::string& value) {
  Name(name);
  mMembers += JsonString(value);
  return *this;
}

JsonObject& JsonObject::Number(const std::string& name, int64_t value) {
  Name(name);
  mMembers += std::to_string(value);
  return *this;
}

JsonObject& JsonObject::Boolean(const std::string& name, bool value) {
  Name(name);
  mMembers += value ? "true" : "false";
  return *this;
}

JsonObject& JsonObject::Raw(const std::string& name, const std::string& json) {
  Name(name);
  mMembers += json;
  return *this;
}

std::string JsonString(const std::string& text) {
  std::string quoted = "\"";
  for (const char c : text) {
    switch (c) {
      case '"':
        quoted += "\\\"";
        break;
      case '\\':
        quoted += "\\\\";
        break;
      case '\n':
        quoted += "\\n";
        break;
      case '\r':
        quoted += "\\r";
        break;
      case '\t':
        quoted += "\\t";
        break;
      default:
        if (static_cast<unsigned char>(c) < 0x20) {
          char escaped[8];
          std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(c));
          quoted += escaped;
        } else {
          quoted += c;
        }
    }
  }
  return quoted + "\"";
}

std::string JsonArray(const std::vector<std::string>& elements) {
  std::string array = "[";
  for (const std::string& element : elements) {
    array += array.size() > 1 ? "," : "";
    array += element;
  }
  return array + "]";
}

std::string PacketHex(const JoystickDataPacket& packet) {
  unsigned char bytes[sizeof packet];
  std::memcpy(bytes, &packet, sizeof packet);
  std::string hex;
  for (const unsigned char byte : bytes) {
    char digits[4];
    std::snprintf(digits, sizeof digits, "%02x", byte);
    hex += digits;
  }
  return hex;
}

std::string PacketLine(int64_t t, const JoystickDataPacket& packet) {
  return JsonObject()
      .Text("type", "packet")
      .Number("t", t)
      .Number("slot", packet.slot)
      .Number("number", packet.dwPacketNumber)
      .Text("bytes", PacketHex(packet))
      .Number("wButtons", packet.wButtons)
      .Number("bLeftTrigger", packet.bLeftTrigger)
      .Number("bRightTrigger", packet.bRightTrigger)
      .Number("sThumbLX", packet.sThumbLX)
      .Number("sThumbLY", packet.sThumbLY)
      .Number("sThumbRX", packet.sThumbRX)
      .Number("sThumbRY", packet.sThumbRY)
      .Str();
}

std::string DevicesLine(int64_t t, const std::list<_CpdJoystickDeviceInfo>& devices,
                        const std::vector<LayoutName>& layouts) {
  std::vector<std::string> entries;
  for (const _CpdJoystickDeviceInfo& device : devices) {
    entries.push_back(DeviceJson(device, layouts));
  }
  return JsonObject()
      .Text("type", "devices")
      .Number("t", t)
      .Number("count", static_cast<int64_t>(devices.size()))
      .Raw("devices", JsonArray(entries))
      .Str();
}

std::string EventLine(int64_t t, const std::string& name, const EventRecord& record) {
  JsonObject fields;
  for (const auto& entry : record) {
    fields.Text(entry.first, entry.second);
  }
  return JsonObject()
      .Text("type", "event")
      .Number("t", t)
      .Text("name", name)
      .Raw("record", fields.Str())
      .Str();
}

std::string LogLine(int64_t t, int level, const std::string& text) {
  return JsonObject()
      .Text("type", "log")
      .Number("t", t)
      .Number("level", level)
      .Text("text", text)
      .Str();
}

std::string StepLine(int64_t t, const ScenarioStep& step, bool ok) {
  JsonObject line;
  line.Text("type", "step")
      .Number("t", t)
      .Number("at", step.at)
      .Text("action", StepKindName(step.kind));
  if (step.kind != StepKind::AWAIT_DEVICES) {
    line.Text("pad", step.pad);
  }
  return line.Text("text", DescribeStep(step)).Boolean("ok", ok).Str();
}

}  // namespace monitor
