#include "common/error_lines.h"

#include <cstdarg>
#include <cstdio>
#include <vector>

namespace cpd::log {

namespace {

thread_local ErrorLineCapture* tCapture = nullptr;

CPD_PRINTF_LIKE(1, 0) std::string Format(const char* format, va_list arguments) {
  va_list measure;
  va_copy(measure, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, measure);
  va_end(measure);
  if (length < 0) {
    return {};
  }
  std::vector<char> text(static_cast<size_t>(length) + 1);
  std::vsnprintf(text.data(), text.size(), format, arguments);
  return {text.data(), static_cast<size_t>(length)};
}

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
  tCapture->Keep(Format(format, arguments));
  va_end(arguments);
}

}  // namespace cpd::log
