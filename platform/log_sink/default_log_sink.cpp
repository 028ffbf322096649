// Default log sink: one line per call, with a UTC timestamp and the level, to standard error or to
// the file named by CPD_JOYSTICK_LOG. Each line is handed to the system in one write, under a
// lock, so lines from concurrent callers never interleave.
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <mutex>
#include <string>
#include <vector>

#include "common/log_sink.h"
#include "log_output.h"

namespace {

std::mutex gWriteMutex;

const char* LevelName(int level) {
  switch (level) {
    case 7:
      return "ERROR";
    case 6:
      return "WARN";
    case 5:
      return "DEBUG";
    case 2:
      return "TRACE";
    default:
      return "LOG";
  }
}

std::string Timestamp() {
  const auto now = std::chrono::system_clock::now();
  const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
  const auto millis =
      std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
  const std::tm utc = cpd::sink::UtcTime(seconds);
  char text[40];
  const size_t length = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &utc);
  std::snprintf(text + length, sizeof text - length, ".%03dZ", static_cast<int>(millis));
  return text;
}

CPD_PRINTF_LIKE(1, 0) std::string FormatMessage(const char* format, va_list arguments) {
  va_list measure;
  va_copy(measure, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, measure);
  va_end(measure);
  if (length < 0) {
    return std::string("(unformattable log line) ") + format;
  }
  std::vector<char> buffer(static_cast<size_t>(length) + 1);
  std::vsnprintf(buffer.data(), buffer.size(), format, arguments);
  return {buffer.data(), static_cast<size_t>(length)};
}

}  // namespace

extern "C" void quvaniLogPrint(int /*unused*/, int level, const char* tag, const char* format,
                               ...) {
  if (format == nullptr) {
    return;
  }
  va_list arguments;
  va_start(arguments, format);
  const std::string message = FormatMessage(format, arguments);
  va_end(arguments);
  const std::string line = Timestamp() + " " + LevelName(level) + "(" + std::to_string(level) +
                           ") " + (tag != nullptr ? tag : "") + " " + message + "\n";
  std::lock_guard<std::mutex> lock(gWriteMutex);
  cpd::sink::WriteLine(line);
}
