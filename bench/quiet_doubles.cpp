// Every bench links the shared test doubles (the capturing sink and the in-memory store, so the
// user's own store file is never touched) and sets them quiet before main: the sink only counts,
// so formatting and keeping log lines is not part of what is measured, and the store keeps no
// record of its calls, so a long run does not grow it.
#include "log_capture.h"
#include "recording_store.h"

namespace {

const bool QUIET = [] {
  cpd::test::SetLogCapture(cpd::test::LogCapture::COUNT);
  cpd::test::SetStoreRecording(false);
  return true;
}();

}  // namespace
