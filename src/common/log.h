// The statement forms every log site uses.
//
//   CPD_LOG_DEBUG("index[%d]", index);   // level 5, word "Debug:"
//   CPD_LOG_ERROR("open failed");        // level 7, word "Error:"
//   CPD_LOG_MUTED("SDL_WasInit");        // compiled, never emitted, arguments never evaluated
//
// Each statement's format is fixed at compile time:
//   %s %s(%d): "Debug:" "<message exactly as written in the source>"
// The message is stringised, not decoded: "started\n" shows a backslash and an n inside the
// closing quote, and "" leaves an empty pair of quotes. The sink then gets the file name, the
// function's unqualified name and the line before the statement's own arguments, each evaluated
// once. An error line is also kept by the thread's ErrorLineCapture, if one is alive, which gives
// the C interface the text of its last error.
#pragma once

#include <cstring>
#include <string>

#include "common/error_lines.h"
#include "common/log_sink.h"

namespace cpd::log {

inline constexpr const char* LOG_TAG = "CPD_LOG";

// Severity classes of a statement. Only error, warning, debug and trace classes reach the sink;
// the others are compiled out.
enum LogClass : int {
  LOG_CLASS_ERROR = 0,
  LOG_CLASS_WARNING = 1,
  LOG_CLASS_INFO = 2,
  LOG_CLASS_MUTED = 3,
  LOG_CLASS_DEBUG = 4,
  LOG_CLASS_TRACE = 5,
};

constexpr bool IsEmitted(int logClass) {
  return logClass == LOG_CLASS_ERROR || logClass == LOG_CLASS_WARNING ||
         logClass == LOG_CLASS_DEBUG || logClass == LOG_CLASS_TRACE;
}

// The level handed to the sink for an emitted class.
constexpr int SinkLevel(int logClass) {
  switch (logClass) {
    case LOG_CLASS_ERROR:
      return 7;
    case LOG_CLASS_WARNING:
      return 6;
    case LOG_CLASS_DEBUG:
      return 5;
    case LOG_CLASS_TRACE:
      return 2;
    default:
      return 0;
  }
}

// True when a stringised message is one string literal. Adjacent literals would be stringised
// with their quotes and the blank between them, and the line would show exactly that.
constexpr bool IsSingleLiteral(const char* stringised) {
  if (stringised[0] != '"') {
    return false;
  }
  for (const char* at = stringised + 1; at[0] != '\0' && at[1] != '\0'; ++at) {
    if (at[0] == '"' && at[-1] != '\\') {
      return false;
    }
  }
  return true;
}

// The log line names its source file by what follows the last backslash. Builds that use
// slashes therefore show the whole path; that is how the line has always looked, so only the
// backslash counts here (GetFileNameFromPath, used for event origins, also cuts at slashes).
// A Windows build shows the bare file name, as the client's own Windows build does (its compiler
// names sources with backslashes); a cross-compiler hands that build slashes, which therefore
// count as separators there too.
inline const char* FileNameAfterBackslash(const char* path) {
#if defined(_WIN32)
  const char* separator = std::strpbrk(path, "\\/");
  for (const char* next = separator; next != nullptr; next = std::strpbrk(next + 1, "\\/")) {
    separator = next;
  }
#else
  const char* separator = std::strrchr(path, '\\');
#endif
  return separator != nullptr ? separator + 1 : path;
}

}  // namespace cpd::log

#define CPD_LOG_FORMAT_(word, message) "%s %s(%d): \"" word "\" " #message

// `origin` is the function name the line shows. Ordinary statements show their own function;
// a short helper that logs on behalf of an operation shows the operation's name instead, since
// hosts filter the log by the names they have always seen.
#define CPD_LOG_AT_(origin, logClass, word, message, ...)                                          \
  do {                                                                                             \
    static_assert(::cpd::log::IsSingleLiteral(#message),                                           \
                  "a log message is one literal: the line shows it as written");                   \
    if constexpr (::cpd::log::IsEmitted(logClass)) {                                               \
      [](const char* cpdLogOrigin_, const auto&... cpdLogArguments_) {                             \
        const char* const cpdLogFile_ = ::cpd::log::FileNameAfterBackslash(__FILE__);              \
        quvaniLogPrint(0, ::cpd::log::SinkLevel(logClass), ::cpd::log::LOG_TAG,                    \
                       CPD_LOG_FORMAT_(word, message), cpdLogFile_, cpdLogOrigin_, __LINE__,       \
                       cpdLogArguments_...);                                                       \
        if (logClass == ::cpd::log::LOG_CLASS_ERROR && ::cpd::log::IsCapturingErrorLines()) {      \
          ::cpd::log::CaptureErrorLine(CPD_LOG_FORMAT_(word, message), cpdLogFile_, cpdLogOrigin_, \
                                       __LINE__, cpdLogArguments_...);                             \
        }                                                                                          \
      }(origin, ##__VA_ARGS__);                                                                    \
    }                                                                                              \
  } while (false)

// A debug statement whose message comes from a data table rather than from a literal at the call
// site. `message` must be kept in the table exactly as a literal would be written in the source
// (escapes as typed), because that is how the line shows it; the format is then assembled here
// instead of by the compiler.
#define CPD_LOG_DEBUG_TEXT(message, ...)                                                          \
  do {                                                                                            \
    const std::string cpdLogFormat_ = std::string("%s %s(%d): \"Debug:\" \"") + (message) + "\""; \
    _Pragma("GCC diagnostic push") _Pragma("GCC diagnostic ignored \"-Wformat-nonliteral\"")      \
        _Pragma("GCC diagnostic ignored \"-Wformat-security\"") quvaniLogPrint(                   \
            0, ::cpd::log::SinkLevel(::cpd::log::LOG_CLASS_DEBUG), ::cpd::log::LOG_TAG,           \
            cpdLogFormat_.c_str(), ::cpd::log::FileNameAfterBackslash(__FILE__), __func__,        \
            __LINE__, ##__VA_ARGS__);                                                             \
    _Pragma("GCC diagnostic pop")                                                                 \
  } while (false)

#define CPD_LOG_ERROR(message, ...) \
  CPD_LOG_AT_(__func__, ::cpd::log::LOG_CLASS_ERROR, "Error:", message, ##__VA_ARGS__)
#define CPD_LOG_DEBUG(message, ...) \
  CPD_LOG_AT_(__func__, ::cpd::log::LOG_CLASS_DEBUG, "Debug:", message, ##__VA_ARGS__)
#define CPD_LOG_MUTED(message, ...) \
  CPD_LOG_AT_(__func__, ::cpd::log::LOG_CLASS_MUTED, "Debug:", message, ##__VA_ARGS__)

// The same statements on behalf of the operation named by `origin` (a const char*).
#define CPD_LOG_ERROR_IN(origin, message, ...) \
  CPD_LOG_AT_(origin, ::cpd::log::LOG_CLASS_ERROR, "Error:", message, ##__VA_ARGS__)
#define CPD_LOG_DEBUG_IN(origin, message, ...) \
  CPD_LOG_AT_(origin, ::cpd::log::LOG_CLASS_DEBUG, "Debug:", message, ##__VA_ARGS__)
#define CPD_LOG_MUTED_IN(origin, message, ...) \
  CPD_LOG_AT_(origin, ::cpd::log::LOG_CLASS_MUTED, "Debug:", message, ##__VA_ARGS__)
