#include "format_text.h"

#include <cstdio>

namespace cpd::text {

std::string FormatText(const char* format, va_list arguments) {
  va_list measure;
  va_copy(measure, arguments);
  // The analyser cannot see that the caller started `arguments`, so it takes the copy as unset.
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
  const int length = std::vsnprintf(nullptr, 0, format, measure);
  va_end(measure);
  if (length < 0) {
    return "<unformattable>";
  }
  std::string text(static_cast<size_t>(length) + 1, '\0');
  std::vsnprintf(text.data(), text.size(), format, arguments);
  text.resize(static_cast<size_t>(length));
  return text;
}

}  // namespace cpd::text
