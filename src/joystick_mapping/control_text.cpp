#include "joystick_mapping/control_text.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace cpd {

std::string InputActionVerb(InputType type) {
  switch (type) {
    case InputType::TRIGGER:
      return "squeeze";
    case InputType::STICK:
      return "move";
    default:
      return "press";
  }
}

std::string InputDisplayName(const std::string& name) {
  std::string spaced = name;
  std::replace(spaced.begin(), spaced.end(), '_', ' ');
  if (spaced.find(' ') == std::string::npos) {
    spaced += " Button";
  }
  // Only blanks separate words; a run of them counts as one.
  std::string display;
  size_t start = spaced.find_first_not_of(' ');
  while (start != std::string::npos) {
    const size_t end = std::min(spaced.find(' ', start), spaced.size());
    std::string word = spaced.substr(start, end - start);
    word[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(word[0])));
    display += display.empty() ? word : " " + word;
    start = spaced.find_first_not_of(' ', end);
  }
  return display;
}

std::string ToHexString(const std::string& bytes) {
  static constexpr std::array<char, 16> DIGITS = {'0', '1', '2', '3', '4', '5', '6', '7',
                                                  '8', '9', 'a', 'b', 'c', 'd', 'e', 'f'};
  std::string hex;
  hex.reserve(bytes.size() * 2);
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    hex += DIGITS[value >> 4U];
    hex += DIGITS[value & 0x0FU];
  }
  return hex;
}

}  // namespace cpd
