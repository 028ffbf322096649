// Taking turns on the default store. Within the process a mutex orders the threads; across
// processes a lock on the file "<store>.lock" beside the store does (the store file itself is
// replaced by rename, so it cannot carry the lock). A thread that has begun an update holds both
// until its matching end, and its own reads and writes meanwhile do not lock again. Nobody waits
// longer than about two seconds.
#pragma once

#include <string>

namespace cpd::store {

enum class Purpose {
  Read,   // a missing or unwritable folder is read without the lock: nothing can change there
  Write,  // creates the store's folder first
};

// Holds the store for one read or one read-modify-write of the calling thread.
class StoreHold {
 public:
  StoreHold(const std::string& path, Purpose purpose);
  ~StoreHold();
  StoreHold(const StoreHold&) = delete;
  StoreHold& operator=(const StoreHold&) = delete;
  StoreHold(StoreHold&&) = delete;
  StoreHold& operator=(StoreHold&&) = delete;

  bool Held() const { return held_; }
  // Why the store is not held.
  const std::string& Error() const { return error_; }

 private:
  bool held_ = false;
  bool owned_ = false;
  std::string error_;
};

// Holds the store for the calling thread until the matching EndUpdate; calls nest.
bool BeginUpdate(const std::string& path, std::string& error);
// False when the thread has begun no update.
bool EndUpdate();

}  // namespace cpd::store
