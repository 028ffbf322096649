#include "joystick_mapping/layout_choice.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <initializer_list>

namespace cpd {

namespace {

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

}  // namespace

LayoutChoice ChooseLayout(const std::string& lowerCaseName, uint32_t storedChoice) {
  if (IsLayoutKind(storedChoice)) {
    return {static_cast<MappingIndex>(storedChoice), true, nullptr};
  }
  const NameRule& rule = MatchName(lowerCaseName);
  return {rule.layout, false, rule.logText};
}

std::string LowerCased(std::string name) {
  std::transform(name.begin(), name.end(), name.begin(), [](char c) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  });
  return name;
}

}  // namespace cpd
