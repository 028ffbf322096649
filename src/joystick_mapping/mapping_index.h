// The six layout kinds a controller can be given.
#pragma once

#include <cstdint>
#include <string>

namespace cpd {

using MappingIndex = uint16_t;

// 0 means that no layout has been chosen yet.
inline constexpr MappingIndex MAPPING_NONE = 0;
inline constexpr MappingIndex MAPPING_PS = 1;
inline constexpr MappingIndex MAPPING_SWITCH_MOD1 = 2;
inline constexpr MappingIndex MAPPING_SWITCH_MOD2 = 3;
inline constexpr MappingIndex MAPPING_ANDROID = 4;
inline constexpr MappingIndex MAPPING_LOGIC = 5;
inline constexpr MappingIndex MAPPING_XBOX = 6;

inline constexpr MappingIndex MAPPING_FIRST = MAPPING_PS;
inline constexpr MappingIndex MAPPING_LAST = MAPPING_XBOX;

// True for the six layouts, MAPPING_FIRST to MAPPING_LAST.
constexpr bool IsLayoutKind(uint32_t mappingIndex) {
  return mappingIndex >= MAPPING_FIRST && mappingIndex <= MAPPING_LAST;
}

// "MAPPING_PS" ... "MAPPING_XBOX"; "MAPPING_UNKNOWN" for any other value, 0 included.
std::string MappingIndexToString(uint32_t mappingIndex);

}  // namespace cpd
