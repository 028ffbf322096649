#include "hex_bytes.h"

namespace cpd::text {

std::string HexBytes(const void* data, size_t size, const std::string& separator) {
  static constexpr const char* DIGITS = "0123456789abcdef";
  const auto* bytes = static_cast<const unsigned char*>(data);
  std::string text;
  text.reserve(size * (2 + separator.size()));
  for (size_t index = 0; index < size; ++index) {
    if (index > 0) {
      text += separator;
    }
    text += DIGITS[bytes[index] >> 4U];
    text += DIGITS[bytes[index] & 0x0fU];
  }
  return text;
}

}  // namespace cpd::text
