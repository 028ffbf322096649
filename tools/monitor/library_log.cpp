#include "library_log.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <vector>

namespace monitor {

namespace {

std::mutex gHandlerMutex;

// Never destroyed: the library may still log while it is unloaded, after this file's objects
// would be gone.
LogHandler& Handler() {
  static auto* handler = new LogHandler;
  return *handler;
}

__attribute__((format(printf, 1, 0))) std::string Format(const char* format, va_list arguments) {
  va_list measure;
  va_copy(measure, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, measure);
  va_end(measure);
  if (length < 0) {
    return "(a log line that could not be formatted)";
  }
  std::vector<char> text(static_cast<size_t>(length) + 1);
  std::vsnprintf(text.data(), text.size(), format, arguments);
  return {text.data(), static_cast<size_t>(length)};
}

}  // namespace

void SetLibraryLogHandler(LogHandler handler) {
  std::lock_guard<std::mutex> lock(gHandlerMutex);
  Handler() = std::move(handler);
}

}  // namespace monitor

extern "C" __attribute__((visibility("default"), format(printf, 4, 5))) void quvaniLogPrint(
    int reserved, int level, const char* tag, const char* format, ...);

extern "C" void quvaniLogPrint(int /*reserved*/, int level, const char* /*tag*/, const char* format,
                               ...) {
  if (format == nullptr) {
    return;
  }
  va_list arguments;
  va_start(arguments, format);
  const std::string line = monitor::Format(format, arguments);
  va_end(arguments);
  std::lock_guard<std::mutex> lock(monitor::gHandlerMutex);
  if (const monitor::LogHandler& handler = monitor::Handler()) {
    handler(level, line);
  }
}
