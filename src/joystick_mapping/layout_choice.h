// Which layout a controller gets, decided from plain data: the choice stored for its model wins,
// then the first name rule its lower-cased name matches, then the fall-back.
#pragma once

#include <cstdint>
#include <string>

#include "joystick_mapping/mapping_index.h"

namespace cpd {

struct LayoutChoice {
  MappingIndex layout = MAPPING_NONE;
  // True when the stored choice decided; the name rules were not consulted.
  bool stored = false;
  // The debug line of the name rule that decided, as its literal is written in the source
  // (escapes as typed), with one %s for the name; null when the stored choice decided.
  const char* ruleLine = nullptr;
};

// `storedChoice` is what the policy holds for the model; anything outside the six layout kinds
// (compared unsigned, so a negative answer too) means that nothing is stored.
LayoutChoice ChooseLayout(const std::string& lowerCaseName, uint32_t storedChoice);

// The name as the rules compare it: ASCII letters lower-cased, every other byte kept.
std::string LowerCased(std::string name);

}  // namespace cpd
