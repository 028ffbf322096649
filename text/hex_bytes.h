// Bytes as lower-case hexadecimal, for the packets that tests, benches and the monitor show.
#pragma once

#include <cstddef>
#include <string>

namespace cpd::text {

// "0a1bff", or with a separator "0a 1b ff".
std::string HexBytes(const void* data, size_t size, const std::string& separator = "");

}  // namespace cpd::text
