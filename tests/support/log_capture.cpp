#include "log_capture.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>

#include "common/log_sink.h"

namespace cpd::test {

namespace {

std::mutex gLogMutex;
std::condition_variable gLogAdded;
std::vector<LogLine> gLogs;
std::atomic<LogHook> gLogHook{nullptr};

__attribute__((format(printf, 1, 0))) std::string Format(const char* format, va_list arguments) {
  va_list measure;
  va_copy(measure, arguments);
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

}  // namespace

std::vector<LogLine> CapturedLogs() {
  std::lock_guard<std::mutex> lock(gLogMutex);
  return gLogs;
}

void SetLogHook(LogHook hook) {
  gLogHook = hook;
}

void ClearLogs() {
  std::lock_guard<std::mutex> lock(gLogMutex);
  gLogs.clear();
}

std::vector<std::string> LogBodies() {
  std::vector<std::string> bodies;
  for (const LogLine& line : CapturedLogs()) {
    bodies.push_back(line.body);
  }
  return bodies;
}

std::vector<std::string> LogBodiesOfThisThread() {
  std::vector<std::string> bodies;
  for (const LogLine& line : CapturedLogs()) {
    if (line.thread == std::this_thread::get_id()) {
      bodies.push_back(line.body);
    }
  }
  return bodies;
}

size_t CountLogBody(const std::string& body) {
  const std::vector<std::string> bodies = LogBodies();
  return static_cast<size_t>(std::count(bodies.begin(), bodies.end(), body));
}

bool WaitForLogBody(const std::string& body, size_t count, std::chrono::milliseconds timeout) {
  std::unique_lock<std::mutex> lock(gLogMutex);
  return gLogAdded.wait_for(lock, timeout, [&] {
    return static_cast<size_t>(std::count_if(gLogs.begin(), gLogs.end(), [&](const LogLine& line) {
             return line.body == body;
           })) >= count;
  });
}

std::string DebugBody(const std::string& message) {
  return "\"Debug:\" \"" + message + "\"";
}
std::string ErrorBody(const std::string& message) {
  return "\"Error:\" \"" + message + "\"";
}

}  // namespace cpd::test

extern "C" void quvaniLogPrint(int reserved, int level, const char* tag, const char* format, ...) {
  cpd::test::LogLine line;
  line.first = reserved;
  line.level = level;
  line.tag = tag != nullptr ? tag : "<null>";
  line.format = format != nullptr ? format : "<null>";
  line.thread = std::this_thread::get_id();

  va_list arguments;
  va_start(arguments, format);
  va_list whole;
  va_copy(whole, arguments);
  line.text = cpd::test::Format(format, whole);
  va_end(whole);

  // Every statement's format starts with this prefix; the rest formats the statement's own
  // arguments.
  static constexpr const char* PREFIX = "%s %s(%d): ";
  if (std::strncmp(format, PREFIX, std::strlen(PREFIX)) == 0) {
    const char* file = va_arg(arguments, const char*);
    const char* function = va_arg(arguments, const char*);
    line.line = va_arg(arguments, int);
    line.file = file != nullptr ? file : "<null>";
    line.function = function != nullptr ? function : "<null>";
    line.body = cpd::test::Format(format + std::strlen(PREFIX), arguments);
  }
  va_end(arguments);

  const cpd::test::LogHook hook = cpd::test::gLogHook;
  {
    std::lock_guard<std::mutex> lock(cpd::test::gLogMutex);
    cpd::test::gLogs.push_back(line);
    cpd::test::gLogAdded.notify_all();
  }
  if (hook != nullptr) {
    hook(line);
  }
}
