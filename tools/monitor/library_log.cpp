#include "library_log.h"

#include "log_capture.h"

namespace monitor {

void SetLibraryLogHandler(LogHandler handler) {
  // The monitor shows lines and keeps none itself: a long run would only grow the record.
  cpd::test::SetLogCapture(cpd::test::LogCapture::FORMAT);
  if (!handler) {
    cpd::test::SetLogHandler(nullptr);
    return;
  }
  cpd::test::SetLogHandler([handler = std::move(handler)](const cpd::test::LogLine& line) {
    handler(line.level, line.text);
  });
}

}  // namespace monitor
