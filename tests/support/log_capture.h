// The one capturing log sink of tests and benches: it defines quvaniLogPrint, so whoever links
// it receives the library's lines. By default every line is kept; a bench measuring the library
// switches to counting only, and a test that watches lines as they come hands them on.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace cpd::test {

struct LogLine {
  int first = -1;
  int level = -1;
  std::string tag;
  std::string format;  // the format exactly as the statement built it
  std::string file;    // the first three arguments, which every statement passes
  std::string function;
  int line = 0;
  std::string body;  // the formatted remainder: "Debug:" "<message with its arguments>"
  std::string text;  // the whole formatted line
  std::thread::id thread;
};

enum class LogCapture {
  KEEP,    // format every line and keep it (the default)
  FORMAT,  // format every line and hand it to the handler, keep nothing
  COUNT,   // only count the calls: neither formatting nor keeping costs anything
};
void SetLogCapture(LogCapture mode);

// Runs for every formatted line, on the thread that logged it and with no lock of the sink held,
// so a handler may call into the library (and so log again). Setting another handler waits until
// no other thread is inside the old one. An empty function clears it.
void SetLogHandler(std::function<void(const LogLine&)> handler);

// quvaniLogPrint calls since the start, in any mode.
size_t LogCallCount();

std::vector<LogLine> CapturedLogs();
void ClearLogs();

// The formatted bodies of the captured lines, in order.
std::vector<std::string> LogBodies();
// The bodies of the lines logged by the calling thread, in order (other threads, such as the
// policy store's watcher, may log meanwhile).
std::vector<std::string> LogBodiesOfThisThread();
// How many captured lines have exactly this body.
size_t CountLogBody(const std::string& body);
// Waits until at least `count` captured lines have exactly this body; false when `timeout` passes.
bool WaitForLogBody(const std::string& body, size_t count = 1,
                    std::chrono::milliseconds timeout = std::chrono::seconds(10));

// The body a debug or error statement gives for an already formatted message.
std::string DebugBody(const std::string& message);
std::string ErrorBody(const std::string& message);

}  // namespace cpd::test
