// printf-style formatting into a string, for the log sinks of tests, benches and the monitor.
#pragma once

#include <cstdarg>
#include <string>

namespace cpd::text {

// The text `format` gives with `arguments` (consumed); "<unformattable>" when printf refuses.
__attribute__((format(printf, 1, 0))) std::string FormatText(const char* format, va_list arguments);

}  // namespace cpd::text
