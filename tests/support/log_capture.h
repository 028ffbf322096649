// A log sink for tests: every quvaniLogPrint call of the code under test is recorded.
#pragma once

#include <chrono>
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

std::vector<LogLine> CapturedLogs();

// Called with every captured line, on the thread that logged it and after the line is recorded,
// as a host's sink that does more than print would be. Null removes it. The hook must not rely on
// anything that ends before the library's threads do.
using LogHook = void (*)(const LogLine& line);
void SetLogHook(LogHook hook);
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
