// The log file is opened for appending and shared, so several processes (or a person reading it)
// can have it open at once; the name is read as UTF-8-clean wide text.
#include <windows.h>

#include <algorithm>
#include <cstdio>

#include "log_output.h"

namespace cpd::sink {

namespace {

std::wstring LogFileName() {
  const DWORD size = GetEnvironmentVariableW(L"CPD_JOYSTICK_LOG", nullptr, 0);
  if (size == 0) {
    return {};
  }
  std::wstring value(size, L'\0');
  const DWORD length = GetEnvironmentVariableW(L"CPD_JOYSTICK_LOG", value.data(), size);
  value.resize(length < size ? length : 0);
  return value;
}

HANDLE OutputHandle() {
  static HANDLE handle = [] {  // chosen once, at the first line
    const std::wstring name = LogFileName();
    if (name.empty()) {
      return GetStdHandle(STD_ERROR_HANDLE);
    }
    HANDLE file = CreateFileW(name.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE,
                              nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
      std::fprintf(stderr, "cpd-joystick log: cannot open %ls, logging to stderr\n", name.c_str());
      return GetStdHandle(STD_ERROR_HANDLE);
    }
    return file;
  }();
  return handle;
}

}  // namespace

std::tm UtcTime(std::time_t seconds) {
  std::tm utc{};
  gmtime_s(&utc, &seconds);
  return utc;
}

void WriteLine(const std::string& line) {
  HANDLE handle = OutputHandle();
  if (handle == nullptr || handle == INVALID_HANDLE_VALUE) {
    return;
  }
  size_t written = 0;
  while (written < line.size()) {
    const DWORD chunk = static_cast<DWORD>(std::min<size_t>(line.size() - written, 1U << 20));
    DWORD done = 0;
    if (WriteFile(handle, line.data() + written, chunk, &done, nullptr) == 0 || done == 0) {
      return;  // nowhere left to report a failing log
    }
    written += done;
  }
}

}  // namespace cpd::sink
