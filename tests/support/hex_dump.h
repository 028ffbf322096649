// Bytes as lower-case hexadecimal, for packets in test messages and benches.
#pragma once

#include <cstddef>
#include <string>

namespace cpd::test {

// "0a1bff", or with a separator "0a 1b ff".
std::string HexBytes(const void* data, size_t size, const std::string& separator = "");

}  // namespace cpd::test
