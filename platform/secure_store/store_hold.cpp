// The shell around the lock file: the process's mutex, the thread's depth, the bounded wait.
#include "store_hold.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "store_file.h"

namespace cpd::store {

namespace {

using Clock = std::chrono::steady_clock;

// A holder that never lets go (a host stuck inside an update, a hung process) costs a waiter
// this long and an error line, never the waiter's thread.
constexpr auto LONGEST_WAIT = std::chrono::seconds(2);
constexpr auto POLL_INTERVAL = std::chrono::milliseconds(1);

// The process's turn: taken by one thread at a time, waited for with a deadline. (Not a
// std::timed_mutex: ThreadSanitizer does not see its timed lock and reports every unlock.)
std::mutex gTurnMutex;
std::condition_variable gTurnFree;
bool gTurnTaken = false;
// The lock file the thread holding the turn has locked; touched only by that thread.
LockHandle gLockFile = -1;
bool gHaveLockFile = false;
thread_local int tDepth = 0;

bool WaitForLockFile(const std::string& lockPath, LockHandle handle, Clock::time_point deadline,
                     std::string& error) {
  for (;;) {
    switch (TryLockFile(handle, error)) {
      case LockAttempt::Held:
        return true;
      case LockAttempt::Failed:
        error.insert(0, "cannot lock " + lockPath + ": ");
        return false;
      case LockAttempt::Busy:
        break;
    }
    if (Clock::now() >= deadline) {
      error = "cannot lock " + lockPath + " within 2 s: another process holds it";
      return false;
    }
    std::this_thread::sleep_for(POLL_INTERVAL);
  }
}

// Takes the lock file once this thread has the process's turn; false lets go of the turn.
bool LockFileBeside(const std::string& path, Purpose purpose, Clock::time_point deadline,
                    std::string& error) {
  const std::string lockPath = path + ".lock";
  LockHandle handle = -1;
  switch (OpenLockFile(lockPath, purpose == Purpose::Write, handle, error)) {
    case LockOpen::Opened:
      break;
    case LockOpen::Unavailable:
      return purpose == Purpose::Read;
    case LockOpen::Failed:
      return false;
  }
  if (!WaitForLockFile(lockPath, handle, deadline, error)) {
    CloseLockFile(handle);
    return false;
  }
  gLockFile = handle;
  gHaveLockFile = true;
  return true;
}

bool TakeTurn(Clock::time_point deadline) {
  std::unique_lock<std::mutex> lock(gTurnMutex);
  if (!gTurnFree.wait_until(lock, deadline, [] { return !gTurnTaken; })) {
    return false;
  }
  gTurnTaken = true;
  return true;
}

void GiveTurn() noexcept {
  const std::lock_guard<std::mutex> lock(gTurnMutex);
  gTurnTaken = false;
  gTurnFree.notify_one();
}

bool Acquire(const std::string& path, Purpose purpose, std::string& error) {
  const Clock::time_point deadline = Clock::now() + LONGEST_WAIT;
  if (!TakeTurn(deadline)) {
    error = "cannot lock " + path + " within 2 s: another thread of this process holds it";
    return false;
  }
  bool locked = false;
  try {
    locked = LockFileBeside(path, purpose, deadline, error);
  } catch (...) {
    GiveTurn();
    throw;
  }
  if (!locked) {
    GiveTurn();
    return false;
  }
  tDepth = 1;
  return true;
}

void Release() noexcept {
  if (gHaveLockFile) {
    CloseLockFile(gLockFile);
    gHaveLockFile = false;
  }
  tDepth = 0;
  GiveTurn();
}

}  // namespace

StoreHold::StoreHold(const std::string& path, Purpose purpose) {
  if (tDepth > 0) {
    held_ = true;
    return;
  }
  held_ = owned_ = Acquire(path, purpose, error_);
}

StoreHold::~StoreHold() {
  if (owned_) {
    Release();
  }
}

bool BeginUpdate(const std::string& path, std::string& error) {
  if (tDepth > 0) {
    ++tDepth;
    return true;
  }
  return Acquire(path, Purpose::Write, error);
}

bool EndUpdate() {
  if (tDepth == 0) {
    return false;
  }
  if (--tDepth == 0) {
    Release();
  }
  return true;
}

}  // namespace cpd::store
