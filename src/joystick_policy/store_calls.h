// The policy's calls of the host's secure store, and the lines they log. A missing store, or
// anything the store throws, becomes an error line instead of reaching the caller; the lines are
// handed to a StoreLines, which logs them at once or, while the default store is held, once it
// is let go: the host's log sink may itself use the store, or wait for a thread that does.
#pragma once

#include <string>
#include <vector>

namespace cpd::policy {

enum class StoreLineKind {
  NO_STORE_AT_START,
  NO_STORE_CHANGE_PENDING,
  READ_FAILED,
  READ_BACK_FAILED,
  WRITE_FAILED,
  WRITING,  // the debug line that shows the text a write pass hands to the store
};

struct StoreLine {
  StoreLineKind kind = StoreLineKind::WRITING;
  const char* origin = "";  // the operation the line is logged on behalf of
  std::string detail;       // what the store threw, or the text written
  bool hasDetail = false;   // false for a throw that carried no message
};

class StoreLines {
 public:
  // Each line is logged as it comes, in order with the store calls around it, until Defer; from
  // then on lines wait for Flush.
  void Defer() { mDeferred = true; }
  void Add(StoreLine line);
  // Logs the lines kept back so far, and every later one at once.
  void Flush();

 private:
  bool mDeferred = false;
  std::vector<StoreLine> mKept;
};

// The stored document, or the empty text (no policy) when the store is missing or fails.
std::string ReadStoredPolicy(StoreLines& lines);
// The document as the store holds it now; false when the store cannot be read.
bool ReadStoredPolicyBack(std::string& text, StoreLines& lines);
// True when the store took the text.
bool WriteStoredPolicy(const std::string& text, StoreLines& lines);

}  // namespace cpd::policy
