// Error lines kept per thread for callers that report failures by return value.
//
// The C interface returns codes, but its callers (C hosts, the Python module) also want to know
// what went wrong, in the library's own words. While an ErrorLineCapture lives on a thread, every
// error line that thread logs is also kept in it, formatted exactly as the sink gets it, so the
// text handed on is the log line itself and no message is written twice.
#pragma once

#include <string>

#include "common/printf_like.h"

namespace cpd::log {

class ErrorLineCapture {
 public:
  // Becomes this thread's capture until destroyed; an outer capture is restored then and keeps
  // the lines this one kept.
  ErrorLineCapture();
  ~ErrorLineCapture();
  ErrorLineCapture(const ErrorLineCapture&) = delete;
  ErrorLineCapture& operator=(const ErrorLineCapture&) = delete;

  // The lines kept so far, each ended by a line break; empty when none was logged.
  const std::string& Text() const { return mText; }
  bool Empty() const { return mText.empty(); }

  void Keep(const std::string& line);

 private:
  ErrorLineCapture* mOuter;
  std::string mText;
};

// True while a capture lives on this thread; the log statements test it first, so a thread
// without one pays nothing beyond that test.
bool IsCapturingErrorLines();

// Formats one error line into this thread's capture, if there is one.
void CaptureErrorLine(const char* format, ...) CPD_PRINTF_LIKE(1, 2);

}  // namespace cpd::log
