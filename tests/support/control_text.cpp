#include "control_text.h"

#include <algorithm>
#include <cctype>

#include "hex_bytes.h"

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
  return text::HexBytes(bytes.data(), bytes.size());
}

}  // namespace cpd
