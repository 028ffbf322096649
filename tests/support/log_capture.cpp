#include "log_capture.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdarg>
#include <cstring>
#include <memory>
#include <mutex>

#include "common/log_sink.h"
#include "format_text.h"

namespace cpd::test {

namespace {

struct Captured {
  std::mutex mutex;
  std::condition_variable added;
  std::vector<LogLine> lines;
  // The handler is called with no lock held, as a host's own sink would be: it may call into the
  // library, which may wait for another thread that is logging at the same time.
  std::mutex handlerMutex;
  std::condition_variable handlerIdle;
  std::shared_ptr<const std::function<void(const LogLine&)>> handler;
  int handlersRunning = 0;  // calls of a handler in progress, on every thread
  std::atomic<LogCapture> mode{LogCapture::KEEP};
  std::atomic<size_t> calls{0};
};

// Never destroyed: the library may still log while the process ends, after this file's objects
// would be gone.
Captured& State() {
  static auto* state = new Captured;
  return *state;
}

}  // namespace

void SetLogCapture(LogCapture mode) {
  State().mode = mode;
}

namespace {
thread_local int tHandlersRunning = 0;  // this thread's share of handlersRunning
}  // namespace

// Waits until no other thread is inside a handler, so whatever the old handler used may go
// once this returns; a handler that sets another one does not wait for itself.
void SetLogHandler(std::function<void(const LogLine&)> handler) {
  Captured& state = State();
  std::unique_lock<std::mutex> lock(state.handlerMutex);
  state.handler =
      handler ? std::make_shared<const std::function<void(const LogLine&)>>(std::move(handler))
              : nullptr;
  state.handlerIdle.wait(lock, [&state] { return state.handlersRunning == tHandlersRunning; });
}

size_t LogCallCount() {
  return State().calls.load();
}

std::vector<LogLine> CapturedLogs() {
  std::lock_guard<std::mutex> lock(State().mutex);
  return State().lines;
}

void ClearLogs() {
  std::lock_guard<std::mutex> lock(State().mutex);
  State().lines.clear();
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
  Captured& state = State();
  std::unique_lock<std::mutex> lock(state.mutex);
  return state.added.wait_for(lock, timeout, [&] {
    return static_cast<size_t>(
               std::count_if(state.lines.begin(), state.lines.end(),
                             [&](const LogLine& line) { return line.body == body; })) >= count;
  });
}

std::string DebugBody(const std::string& message) {
  return R"("Debug:" ")" + message + R"(")";
}
std::string ErrorBody(const std::string& message) {
  return R"("Error:" ")" + message + R"(")";
}

namespace {

// Every statement's format starts with this prefix; the rest formats the statement's own
// arguments.
constexpr const char* PREFIX = "%s %s(%d): ";

void Deliver(LogLine line) {
  Captured& state = State();
  std::shared_ptr<const std::function<void(const LogLine&)>> handler;
  {
    std::lock_guard<std::mutex> lock(state.handlerMutex);
    handler = state.handler;
    state.handlersRunning += handler ? 1 : 0;
  }
  if (handler) {
    ++tHandlersRunning;
    (*handler)(line);
    --tHandlersRunning;
    std::lock_guard<std::mutex> lock(state.handlerMutex);
    --state.handlersRunning;
    state.handlerIdle.notify_all();
  }
  if (state.mode == LogCapture::KEEP) {
    std::lock_guard<std::mutex> lock(state.mutex);
    state.lines.push_back(std::move(line));
    state.added.notify_all();
  }
}

}  // namespace

}  // namespace cpd::test

extern "C" __attribute__((visibility("default"))) void quvaniLogPrint(int reserved, int level,
                                                                      const char* tag,
                                                                      const char* format, ...) {
  cpd::test::State().calls.fetch_add(1);
  if (cpd::test::State().mode == cpd::test::LogCapture::COUNT) {
    return;
  }
  cpd::test::LogLine line;
  line.first = reserved;
  line.level = level;
  line.tag = tag != nullptr ? tag : "<null>";
  line.format = format != nullptr ? format : "<null>";
  line.thread = std::this_thread::get_id();
  if (format != nullptr) {
    va_list arguments;
    va_start(arguments, format);
    va_list whole;
    va_copy(whole, arguments);
    line.text = cpd::text::FormatText(format, whole);
    va_end(whole);
    const size_t prefixLength = std::strlen(cpd::test::PREFIX);
    if (std::strncmp(format, cpd::test::PREFIX, prefixLength) == 0) {
      const char* file = va_arg(arguments, const char*);
      const char* function = va_arg(arguments, const char*);
      line.line = va_arg(arguments, int);
      line.file = file != nullptr ? file : "<null>";
      line.function = function != nullptr ? function : "<null>";
      line.body = cpd::text::FormatText(format + prefixLength, arguments);
    }
    va_end(arguments);
  }
  cpd::test::Deliver(std::move(line));
}
