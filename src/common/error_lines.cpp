#include "common/error_lines.h"

#include <cstdarg>
#include <cstdio>
#include <vector>

namespace cpd::log {

namespace {

thread_local ErrorLineCapture* tCapture = nullptr;

}  // namespace

ErrorLineCapture::ErrorLineCapture() : mOuter(tCapture) {
  tCapture = this;
}

// The lines were logged while the outer capture was alive too, so it keeps them as well.
ErrorLineCapture::~ErrorLineCapture() {
  tCapture = mOuter;
  if (mOuter != nullptr) {
    mOuter->mText += mText;
  }
}

void ErrorLineCapture::Keep(const std::string& line) {
  mText += line;
  mText += '\n';
}

bool IsCapturingErrorLines() {
  return tCapture != nullptr;
}

void CaptureErrorLine(const char* format, ...) {
  if (tCapture == nullptr) {
    return;
  }
  va_list arguments;
  va_start(arguments, format);
  va_list measuring;
  va_copy(measuring, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, measuring);
  va_end(measuring);
  if (length >= 0) {
    std::vector<char> line(static_cast<size_t>(length) + 1);
    std::vsnprintf(line.data(), line.size(), format, arguments);
    tCapture->Keep(std::string(line.data(), static_cast<size_t>(length)));
  }
  va_end(arguments);
}

}  // namespace cpd::log
