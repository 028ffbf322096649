#include "log_text.h"

#include <algorithm>

namespace monitor {

namespace {

constexpr int DEBUG_LEVEL = 5;
constexpr int ERROR_LEVEL = 7;

}  // namespace

std::string TidyLogLine(const std::string& line) {
  std::string tidy = line;
  while (!tidy.empty() && (tidy.back() == '\n' || tidy.back() == '\r')) {
    tidy.pop_back();
  }
  std::replace(tidy.begin(), tidy.end(), '\n', ' ');
  std::replace(tidy.begin(), tidy.end(), '\r', ' ');
  const size_t space = tidy.find(' ');
  const size_t slash = tidy.rfind('/', space);
  if (space != std::string::npos && slash != std::string::npos) {
    tidy.erase(0, slash + 1);
  }
  return tidy;
}

std::string LevelTag(int level) {
  switch (level) {
    case DEBUG_LEVEL:
      return "D";
    case ERROR_LEVEL:
      return "E";
    default:
      return std::to_string(level);
  }
}

}  // namespace monitor
