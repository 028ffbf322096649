#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "log_output.h"

namespace cpd::sink {

namespace {

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

}  // namespace

std::tm UtcTime(std::time_t seconds) {
  std::tm utc{};
  gmtime_r(&seconds, &utc);
  return utc;
}

void WriteLine(const std::string& line) {
  const int descriptor = OutputDescriptor();
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

}  // namespace cpd::sink
