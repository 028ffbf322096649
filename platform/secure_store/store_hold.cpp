// The shell around the lock file: the process's mutex, the thread's depth, the bounded wait.
#include "store_hold.h"

#include <chrono>
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

std::timed_mutex gProcessTurn;
// The lock file the holding thread has locked; touched only by the thread that holds gProcessTurn.
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

bool Acquire(const std::string& path, Purpose purpose, std::string& error) {
  const Clock::time_point deadline = Clock::now() + LONGEST_WAIT;
  std::unique_lock<std::timed_mutex> turn(gProcessTurn, deadline);
  if (!turn.owns_lock()) {
    error = "cannot lock " + path + " within 2 s: another thread of this process holds it";
    return false;
  }
  if (!LockFileBeside(path, purpose, deadline, error)) {
    return false;
  }
  turn.release();  // until Release
  tDepth = 1;
  return true;
}

void Release() {
  if (gHaveLockFile) {
    CloseLockFile(gLockFile);
    gHaveLockFile = false;
  }
  tDepth = 0;
  gProcessTurn.unlock();
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
