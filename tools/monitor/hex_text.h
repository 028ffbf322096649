// Bytes as lower-case hexadecimal, for the packets the screen and the JSON lines show.
#pragma once

#include <cstddef>
#include <string>

namespace monitor {

// "0a1bff", or with a separator "0a 1b ff".
std::string HexBytes(const void* data, size_t size, const std::string& separator = "");

}  // namespace monitor
