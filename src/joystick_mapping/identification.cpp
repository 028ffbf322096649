#include "joystick_mapping/identification.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <initializer_list>
#include <string>

#include "common/log.h"
#include "joystick_mapping/layouts.h"
#include "joystick_policy/joystick_policy.h"

namespace cpd {

namespace {

using LayoutInstaller = void (*)(JoystickDevice&);

// Indexed by layout kind; kind 0 names no layout.
const std::array<LayoutInstaller, MAPPING_LAST + 1> LAYOUT_INSTALLERS = {
    nullptr,
    &setDualSenseSDLMapping,
    &setSwitchSDLMapping,
    &setSwitch2SDLMapping,
    &setAndroidSDLMapping,
    &setLogicRumblepadSDLMapping,
    &setXboxSDLMapping,
};

// A controller is recognised by the first row one of whose substrings its lower-cased name
// contains; a row without substrings matches every name.
struct NameRule {
  std::initializer_list<const char*> substrings;
  MappingIndex layout;
  const char* logText;  // written as the literal would be: it is printed as written
};

const std::array<NameRule, 7> NAME_RULES = {{
    {{"xbox"}, MAPPING_XBOX, "The joystick is xbox name[%s]"},
    {{"g5prp max se"}, MAPPING_XBOX, "The joystick is xbox name[%s]"},
    {{"switch"}, MAPPING_SWITCH_MOD1, "The joystick is Switch name[%s]"},
    {{"dualsense", "ps5", "ps4", "ps3"}, MAPPING_PS, "The joystick is DualSense name[%s]"},
    {{"logitech cordless rumblepad"},
     MAPPING_LOGIC,
     "The joystick is logitech cordless rumblepad name[%s]"},
    {{"mobapad pro-hd"}, MAPPING_ANDROID, "The joystick is android mod name[%s]"},
    // Unrecognised controllers get the Switch layout. Their line has always said DualSense and
    // log readers match on that text, so it stays as it is.
    {{}, MAPPING_SWITCH_MOD1, "default joystick is DualSense name[%s]"},
}};

const NameRule& MatchName(const std::string& lowerCaseName) {
  for (const NameRule& rule : NAME_RULES) {
    if (rule.substrings.size() == 0) {
      return rule;
    }
    for (const char* substring : rule.substrings) {
      if (lowerCaseName.find(substring) != std::string::npos) {
        return rule;
      }
    }
  }
  return NAME_RULES.back();
}

void LowerCaseInPlace(std::string& text) {
  std::transform(text.begin(), text.end(), text.begin(), [](char c) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  });
}

}  // namespace

void OpenOrCreateMapping(JoystickDevice& device) {
  CPD_LOG_DEBUG("name[%s]", device.name.c_str());
  LowerCaseInPlace(device.name);
  device.mapping = JoystickMapping();

  if (const std::shared_ptr<JoystickPolicy> policy = JoystickPolicy::GetInstance()) {
    // Compared unsigned, so that a negative answer is out of range too.
    const auto configured = static_cast<uint32_t>(policy->GetMappingIndex(device.vid, device.pid));
    if (IsLayoutKind(configured)) {
      CPD_LOG_DEBUG("name[%s] The joystick has config mappingIndex[%d] ", device.name.c_str(),
                    static_cast<int>(configured));
      ResetMapping(device, static_cast<MappingIndex>(configured));
      return;
    }
  }

  const NameRule& rule = MatchName(device.name);
  CPD_LOG_DEBUG_TEXT(rule.logText, device.name.c_str());
  LAYOUT_INSTALLERS[rule.layout](device);
}

int32_t ResetMapping(JoystickDevice& device, MappingIndex mappingIndex) {
  CPD_LOG_DEBUG("name[%s] mappingIndex[%d]", device.name.c_str(), mappingIndex);
  if (!IsLayoutKind(mappingIndex)) {
    CPD_LOG_ERROR("name[%s] mappingIndex[%d] UNKNOWN mapping", device.name.c_str(), mappingIndex);
    return -1;
  }
  LAYOUT_INSTALLERS[mappingIndex](device);
  return 0;
}

}  // namespace cpd
