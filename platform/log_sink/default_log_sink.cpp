// Default log sink: one line per call, with a UTC timestamp and the level, to standard error or to
// the file named by CPD_JOYSTICK_LOG. Each line is handed to the kernel in one write, under a
// lock, so lines from concurrent callers never interleave.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <mutex>
#include <string>
#include <vector>

#include "common/log_sink.h"

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
  std::tm utc{};
  gmtime_r(&seconds, &utc);
  char text[40];
  const size_t length = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &utc);
  std::snprintf(text + length, sizeof text - length, ".%03dZ", static_cast<int>(millis));
  return text;
}

__attribute__((format(printf, 1, 0))) std::string FormatMessage(const char* format,
                                                                va_list arguments) {
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

// The descriptor lines go to: the log file if one is configured and can be opened, else stderr.
int OutputDescriptor() {
  static const int descriptor = [] {
    const char* path = std::getenv("CPD_JOYSTICK_LOG");  // NOLINT(concurrency-mt-unsafe): read once
    if (path == nullptr || *path == '\0') {
      return STDERR_FILENO;
    }
    const int file = ::open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (file < 0) {
      std::fprintf(stderr, "cpd-joystick log: cannot open %s, logging to stderr\n", path);
      return STDERR_FILENO;
    }
    return file;
  }();
  return descriptor;
}

void WriteAll(int descriptor, const std::string& line) {
  size_t written = 0;
  while (written < line.size()) {
    const ssize_t result = ::write(descriptor, line.data() + written, line.size() - written);
    if (result < 0 && errno == EINTR) {
      continue;
    }
    if (result <= 0) {
      return;  // nowhere left to report a failing log
    }
    written += static_cast<size_t>(result);
  }
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
  WriteAll(OutputDescriptor(), line);
}
