#include "joystick_mapping/control_model.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace cpd {

namespace {

// clang-format off
constexpr std::array<const char*, INPUT_ID_COUNT> INPUT_ID_NAMES = {
    "DPAD_UP", "DPAD_DOWN", "DPAD_LEFT", "DPAD_RIGHT",
    "START", "BACK", "LEFT_THUMB", "RIGHT_THUMB", "LEFT_SHOULDER", "RIGHT_SHOULDER", "GUIDE",
    "A", "B", "X", "Y",
    "LEFT_TRIGGER", "RIGHT_TRIGGER",
    "LEFT_STICK_LEFT", "LEFT_STICK_UP", "LEFT_STICK_RIGHT", "LEFT_STICK_DOWN",
    "RIGHT_STICK_LEFT", "RIGHT_STICK_UP", "RIGHT_STICK_RIGHT", "RIGHT_STICK_DOWN",
};
// clang-format on

constexpr std::array<const char*, 7> INPUT_TYPE_NAMES = {
    "UNSET", "DPAD", "STICK", "THUMB", "TRIGGER", "SHOULDER", "BUTTON",
};

constexpr const char* UNKNOWN_NAME = "UNKNOWN";

// XInput leaves this bit of its button word without a button.
constexpr uint32_t XINPUT_UNUSED_BIT = 0x0800;

bool Contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

std::map<InputId, uint16_t> BuildXboxButtonBits() {
  std::map<InputId, uint16_t> bits;
  uint32_t bit = 0x0001;
  for (uint32_t id = 0; id <= static_cast<uint32_t>(InputId::Y); ++id) {
    if (bit == XINPUT_UNUSED_BIT) {
      bit <<= 1U;
    }
    bits.emplace(static_cast<InputId>(id), static_cast<uint16_t>(bit));
    bit <<= 1U;
  }
  return bits;
}

// The group lists are found by name, so a control joins every group whose type name it contains.
struct Group {
  std::vector<InputId> JoystickMapping::*list;
  InputType type;
  bool sorted;
};

constexpr std::array<Group, 5> GROUPS = {{
    {&JoystickMapping::stickInputs, InputType::STICK, true},
    {&JoystickMapping::triggerInputs, InputType::TRIGGER, true},
    {&JoystickMapping::thumbInputs, InputType::THUMB, true},
    {&JoystickMapping::shoulderInputs, InputType::SHOULDER, true},
    {&JoystickMapping::dpadInputs, InputType::DPAD, false},
}};

bool BelongsToNoGroup(const std::string& name) {
  return std::none_of(GROUPS.begin(), GROUPS.end(), [&name](const Group& group) {
    return Contains(name, InputTypeToString(group.type));
  });
}

}  // namespace

const std::map<InputId, uint16_t> XboxButtonBits = BuildXboxButtonBits();

std::string InputIdToString(InputId id) {
  const auto value = static_cast<uint32_t>(id);
  return value < INPUT_ID_NAMES.size() ? INPUT_ID_NAMES[value] : UNKNOWN_NAME;
}

std::string InputTypeToString(InputType type) {
  const auto value = static_cast<uint32_t>(type);
  return value < INPUT_TYPE_NAMES.size() ? INPUT_TYPE_NAMES[value] : UNKNOWN_NAME;
}

InputType ClassifyInputType(const std::string& name) {
  std::string lower = name;
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  if (Contains(lower, "dpad")) {
    return InputType::DPAD;
  }
  if (Contains(lower, "trigger")) {
    return InputType::TRIGGER;
  }
  if (Contains(lower, "stick")) {
    return InputType::STICK;
  }
  // Stick clicks and shoulders are plain buttons: nothing is ever bound as THUMB or SHOULDER.
  return InputType::BUTTON;
}

JoystickMapping::JoystickMapping() {
  for (uint32_t id = 0; id < INPUT_ID_COUNT; ++id) {
    // GUIDE stays out: no layout can reach it, so it is never bound and never reported.
    if (static_cast<InputId>(id) != InputId::GUIDE) {
      bindings.emplace(static_cast<InputId>(id), InputBinding{});
    }
  }
  for (const auto& entry : bindings) {
    const std::string name = InputIdToString(entry.first);
    for (const Group& group : GROUPS) {
      if (Contains(name, InputTypeToString(group.type))) {
        (this->*group.list).push_back(entry.first);
      }
    }
    if (BelongsToNoGroup(name)) {
      buttonInputs.push_back(entry.first);
    }
  }
  for (const Group& group : GROUPS) {
    if (group.sorted) {
      std::sort((this->*group.list).begin(), (this->*group.list).end());
    }
  }
  // Shortest names first puts the face buttons ahead of BACK and START.
  std::stable_sort(buttonInputs.begin(), buttonInputs.end(), [](InputId left, InputId right) {
    return InputIdToString(left).size() < InputIdToString(right).size();
  });
}

}  // namespace cpd
