// Environment and process helpers for tests that run on Linux and on Windows alike.
#pragma once

#include <string>

#if defined(_WIN32)
#include <windows.h>
#else
#include <unistd.h>

#include <cstdlib>
#endif

namespace cpd::test {

#if defined(_WIN32)
inline std::wstring WideText(const std::string& text) {
  const int length =
      MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
  std::wstring wide(static_cast<size_t>(length), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), wide.data(), length);
  return wide;
}
#endif

// Sets a variable of this process's environment (UTF-8), which child processes inherit.
inline void SetEnvironment(const std::string& name, const std::string& value) {
#if defined(_WIN32)
  SetEnvironmentVariableW(WideText(name).c_str(), WideText(value).c_str());
#else
  setenv(name.c_str(), value.c_str(), 1);  // NOLINT(concurrency-mt-unsafe): before threads start
#endif
}

inline void UnsetEnvironment(const std::string& name) {
#if defined(_WIN32)
  SetEnvironmentVariableW(WideText(name).c_str(), nullptr);
#else
  unsetenv(name.c_str());                  // NOLINT(concurrency-mt-unsafe): before threads start
#endif
}

// The variable's value (UTF-8), empty when it is not set.
inline std::string EnvironmentValue(const std::string& name) {
#if defined(_WIN32)
  wchar_t value[32768];
  const DWORD length = GetEnvironmentVariableW(WideText(name).c_str(), value, 32768);
  if (length == 0 || length >= 32768) {
    return "";
  }
  const int size = WideCharToMultiByte(CP_UTF8, 0, value, static_cast<int>(length), nullptr, 0,
                                       nullptr, nullptr);
  std::string text(static_cast<size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, value, static_cast<int>(length), text.data(), size, nullptr,
                      nullptr);
  return text;
#else
  const char* value = std::getenv(name.c_str());  // NOLINT(concurrency-mt-unsafe): tests only
  return value != nullptr ? value : "";
#endif
}

inline unsigned long ProcessId() {
#if defined(_WIN32)
  return GetCurrentProcessId();
#else
  return static_cast<unsigned long>(getpid());
#endif
}

}  // namespace cpd::test
