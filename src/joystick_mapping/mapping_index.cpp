#include "joystick_mapping/mapping_index.h"

#include <array>

namespace cpd {

namespace {

// Indexed by the layout kind; slot 0 is the name of "none chosen".
constexpr std::array<const char*, MAPPING_LAST + 1> MAPPING_NAMES = {
    "MAPPING_UNKNOWN", "MAPPING_PS",    "MAPPING_SWITCH_MOD1", "MAPPING_SWITCH_MOD2",
    "MAPPING_ANDROID", "MAPPING_LOGIC", "MAPPING_XBOX",
};

}  // namespace

std::string MappingIndexToString(uint32_t mappingIndex) {
  return mappingIndex < MAPPING_NAMES.size() ? MAPPING_NAMES[mappingIndex] : MAPPING_NAMES[0];
}

}  // namespace cpd
