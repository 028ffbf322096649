#include "library_log.h"

#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <mutex>

#include "format_text.h"

namespace monitor {

namespace {

// The handler runs with no lock held, as a client's sink would: it may call into the library,
// which may wait for another thread that is logging at the same time.
struct Sink {
  std::mutex mutex;
  std::condition_variable idle;
  std::shared_ptr<const LogHandler> handler;
  int running = 0;  // calls of a handler in progress, on every thread
};

// Never destroyed: the library may still log while the process ends.
Sink& TheSink() {
  static auto* sink = new Sink;
  return *sink;
}

thread_local int tRunning = 0;  // this thread's share of Sink::running

void Deliver(int level, const std::string& text, const LogHandler& handler) {
  ++tRunning;
  handler(level, text);
  --tRunning;
  Sink& sink = TheSink();
  const std::lock_guard<std::mutex> lock(sink.mutex);
  --sink.running;
  sink.idle.notify_all();
}

}  // namespace

// A handler that sets another one does not wait for itself.
void SetLibraryLogHandler(LogHandler handler) {
  Sink& sink = TheSink();
  std::unique_lock<std::mutex> lock(sink.mutex);
  sink.handler = handler ? std::make_shared<const LogHandler>(std::move(handler)) : nullptr;
  sink.idle.wait(lock, [&sink] { return sink.running == tRunning; });
}

}  // namespace monitor

// The client's log library's one function, which the library calls for every line.
extern "C" __attribute__((visibility("default"), format(printf, 4, 5))) void quvaniLogPrint(
    int reserved, int level, const char* tag, const char* format, ...);

void quvaniLogPrint(int /*reserved*/, int level, const char* /*tag*/, const char* format, ...) {
  monitor::Sink& sink = monitor::TheSink();
  std::shared_ptr<const monitor::LogHandler> handler;
  {
    const std::lock_guard<std::mutex> lock(sink.mutex);
    handler = sink.handler;
    sink.running += handler ? 1 : 0;
  }
  if (!handler) {
    return;
  }
  std::string text;
  if (format != nullptr) {
    va_list arguments;
    va_start(arguments, format);
    text = cpd::text::FormatText(format, arguments);
    va_end(arguments);
  }
  monitor::Deliver(level, text, *handler);
}
