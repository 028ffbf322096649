#include "joystick_policy/joystick_policy.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <iterator>
#include <system_error>
#include <utility>

#include "common/log.h"
#include "joystick_manager/module_lifetime.h"
#include "joystick_policy/policy_document.h"
#include "joystick_policy/store_calls.h"
#include "joystick_policy/store_update_lock.h"

namespace cpd {

namespace {

constexpr std::chrono::milliseconds WATCHER_WAIT{1000};
// The watcher's lines carry the name of its thread function: hosts filter the log by it.
constexpr const char* WATCHER = "handlePolicyChangeThread";

// Whether the store's text answers the model with the choice: the store shows it.
bool ShowsChoice(const policy::DocumentAnswers& shown, const std::string& vidpid,
                 uint16_t mappingIndex) {
  const policy::LookupResult found = policy::LookupMappingIndex(shown, vidpid);
  return found.outcome == policy::LookupOutcome::FOUND && found.mappingIndex == mappingIndex;
}

// The change stays pending and the next pass tries again. If the log itself is what failed,
// there is nowhere left to report to.
void ReportWatcherFailure(const char* what) noexcept {
  try {
    CPD_LOG_ERROR("policy watcher pass failed, change kept pending: %s\n", what);
  } catch (...) {
    return;
  }
}

}  // namespace

JoystickPolicy::~JoystickPolicy() {
  if (ProcessIsExiting()) {
    // The watcher is already gone, possibly stopped inside a wait (see dll_main.cpp): its thread
    // object is left to the ending process rather than joined.
    static_cast<void>(mThread.release());
    return;
  }
  {
    std::lock_guard<std::mutex> lock(mWaitMutex);
    mStopped = true;
    mCond.notify_all();
  }
  if (mThread == nullptr || !mThread->joinable()) {
    return;
  }
  try {
    mThread->join();
  } catch (const std::system_error& error) {
    CPD_LOG_ERROR("cannot join the policy watcher: %s\n", error.what());
    mThread->detach();
  }
}

int32_t JoystickPolicy::Init() {
  policy::StoreLines lines;
  std::string stored = policy::ReadStoredPolicy(lines);
  CPD_LOG_DEBUG("mPolicyStr: %s", stored.c_str());
  std::string failure;
  if (!StartWatcher(std::move(stored), failure)) {
    // The text in memory is the master once the watcher runs; reloading it would drop changes
    // the store has not taken yet.
    CPD_LOG_DEBUG("already started\n");
    return -1;
  }
  if (!failure.empty()) {
    CPD_LOG_ERROR("cannot start the policy watcher: %s\n", failure.c_str());
    return -1;
  }
  return 0;
}

// False when the watcher was already started. A watcher that cannot be started leaves `failure`
// set; the document is loaded all the same, so lookups still answer.
bool JoystickPolicy::StartWatcher(std::string stored, std::string& failure) {
  std::lock_guard<std::mutex> lock(mMutex);
  if (!mStopped) {
    return false;
  }
  SetDocument(std::move(stored));
  mStopped = false;
  try {
    // Nothing may leave the thread: an exception there would end the host process.
    mThread = std::make_unique<std::thread>([this] {
      try {
        handlePolicyChangeThread();
      } catch (...) {
        return;
      }
    });
  } catch (const std::exception& error) {
    failure = error.what();
    mStopped = true;
  }
  return true;
}

int32_t JoystickPolicy::GetMappingIndex(uint16_t vid, uint16_t pid) {
  CPD_LOG_DEBUG("GetMappingIndex %.4x:%.4x\n", vid, pid);
  if (vid == 0) {
    CPD_LOG_DEBUG("do not GetMappingIndex cause vid is 0\n");
    return 0;
  }
  return getMappingIndexFromConfig(policy::MakeVidPidKey(vid, pid));
}

int32_t JoystickPolicy::SetMappingIndex(uint16_t vid, uint16_t pid, uint16_t mappingIndex,
                                        std::string name) {
  CPD_LOG_DEBUG("SetMappingIndex %.4x:%.4x mappingIndex[%d] name[%s]\n", vid, pid, mappingIndex,
                name.c_str());
  if (vid == 0) {
    CPD_LOG_DEBUG("do not SetMappingIndex cause vid is 0\n");
    return 0;
  }
  return setMappingIndexToConfig(policy::MakeVidPidKey(vid, pid), mappingIndex, std::move(name));
}

int32_t JoystickPolicy::ClearPolicy() {
  {
    std::lock_guard<std::mutex> lock(mMutex);
    SetDocument("");
    ++mPolicyVersion;
    mPendingChoices.clear();
    mPendingClear = true;
    mClearVersion = mPolicyVersion;
    mPolicyChanged = true;
  }
  wakeWatcher();
  return 0;
}

// The private helpers take key and text by value: their callers hand over temporaries they no
// longer need. Their lines are logged after mMutex is released, since the host's log sink may
// call back into the library and ask for the policy.
// NOLINTBEGIN(performance-unnecessary-value-param)
int32_t JoystickPolicy::getMappingIndexFromConfig(std::string vidpid) {
  policy::LookupResult result;
  try {
    std::lock_guard<std::mutex> lock(mMutex);
    result = policy::LookupMappingIndex(mAnswers, vidpid);
  } catch (const std::exception& error) {
    CPD_LOG_ERROR("policy lookup failed: %s\n", error.what());
    return 0;
  }
  if (result.outcome == policy::LookupOutcome::RENDER_FAILED) {
    CPD_LOG_ERROR("render failed");
  } else if (result.outcome == policy::LookupOutcome::FOUND) {
    CPD_LOG_DEBUG("vidpid %s MappingIndex[%d]\n", vidpid.c_str(), result.mappingIndex);
  }
  return result.mappingIndex;
}

// The whole read-modify-write runs under mMutex: two updates that both started from the same
// text would otherwise each drop the other's entry.
int32_t JoystickPolicy::setMappingIndexToConfig(std::string vidpid, uint16_t mappingIndex,
                                                std::string describe) {
  CPD_LOG_DEBUG("setMappingIndexToConfig vidpid[%s] mappingIndex[%d]\n", vidpid.c_str(),
                mappingIndex);
  std::string updated;
  try {
    std::lock_guard<std::mutex> lock(mMutex);
    SetDocument(policy::UpdateMappingIndex(mPolicyStr, vidpid, mappingIndex, describe));
    updated = mPolicyStr;
    ++mPolicyVersion;
    PendingChoice& pending = mPendingChoices[vidpid];
    if (pending.firstChange == 0) {
      pending.firstChange = mPolicyVersion;
    }
    pending.mappingIndex = mappingIndex;
    pending.describe = describe;
    pending.lastChange = mPolicyVersion;
    mPolicyChanged = true;
  } catch (const std::exception& error) {
    CPD_LOG_ERROR("policy update failed: %s\n", error.what());
    return 0;
  }
  CPD_LOG_DEBUG("config mPolicyStr %s\n", updated.c_str());
  wakeWatcher();
  return 0;
}
// NOLINTEND(performance-unnecessary-value-param)

// Each pass writes a pending change, then waits. The pass that sees the end requested is the
// last one, so a change still pending then gets exactly one more write attempt.
void JoystickPolicy::handlePolicyChangeThread() {
  CPD_LOG_DEBUG("handlePolicyChangeThread enter\n");
  bool lastPass = false;
  while (!lastPass) {
    lastPass = mStopped;
    takeWakeUp();
    if (mPolicyChanged) {
      try {
        writePendingChange();
      } catch (const std::exception& error) {
        ReportWatcherFailure(error.what());
      }
      if (lastPass && mPolicyChanged) {
        CPD_LOG_ERROR("policy change not stored before the end\n");
      }
    }
    {
      std::lock_guard<std::mutex> lock(mWaitMutex);
      ++mPassesDone;
      mPassDone.notify_all();
    }
    if (!lastPass) {
      waitForWakeUp();
    }
  }
  CPD_LOG_DEBUG("handlePolicyChangeThread exit\n");
}

// Each pass reads the document back from the store and merges the pending choices into it, so
// that a choice another process stored since is kept, and writes the result. The store is called
// with no lock of the policy held, so a store that is slow, or that calls back into the library,
// holds up no one; a change made meanwhile stays pending for the next pass.
void JoystickPolicy::writePendingChange() {
  const PendingWrite pending = TakePendingWrite();
  WritePass pass;
  policy::StoreLines lines;
  {
    // Held across the reads and the write, so that no other process writes in between. The
    // host's sink is not called meanwhile: it may use the store itself, or wait for a thread that
    // does.
    const StoreUpdateLock storeHeld;
    if (storeHeld.Holds()) {
      lines.Defer();
    }
    if (storeHeld.Usable()) {
      WriteMerged(pending, lines, pass);
    }
  }
  lines.Flush();
  if (pass.taken) {
    FinishWrite(pending, pass);
  }
}

// The store's text with the pending choices recorded in it is written, then read once more: a
// store that keeps writes in a cache, or shares its text with another process's copy, may not
// show what it took yet, and only what it shows counts as stored.
void JoystickPolicy::WriteMerged(const PendingWrite& pending, policy::StoreLines& lines,
                                 WritePass& pass) {
  std::string stored;
  if (!pending.clear && !policy::ReadStoredPolicyBack(stored, lines)) {
    return;
  }
  pass.written = policy::MergeChoices(std::move(stored), pending.choices);
  lines.Add({policy::StoreLineKind::WRITING, WATCHER, pass.written, true});
  pass.taken = policy::WriteStoredPolicy(pass.written, lines);
  pass.shown = pass.taken && policy::ReadStoredPolicyBack(pass.readBack, lines);
}

JoystickPolicy::PendingWrite JoystickPolicy::TakePendingWrite() {
  std::lock_guard<std::mutex> lock(mMutex);
  PendingWrite pending;
  pending.clear = mPendingClear;
  pending.choices = PendingChoicesInOrder();
  pending.version = mPolicyVersion;
  return pending;
}

// Caller holds mMutex.
std::vector<policy::Choice> JoystickPolicy::PendingChoicesInOrder() const {
  std::vector<std::pair<uint64_t, policy::Choice>> ordered;
  ordered.reserve(mPendingChoices.size());
  for (const auto& [vidpid, choice] : mPendingChoices) {
    ordered.push_back({choice.firstChange, {vidpid, choice.mappingIndex, choice.describe}});
  }
  std::sort(ordered.begin(), ordered.end(),
            [](const auto& left, const auto& right) { return left.first < right.first; });
  std::vector<policy::Choice> choices;
  choices.reserve(ordered.size());
  for (auto& entry : ordered) {
    choices.push_back(std::move(entry.second));
  }
  return choices;
}

// The store took `pass.written`, which has every change up to `written.version`. A choice stops
// being pending once the read after the write shows it, and a clear once that read shows the text
// written; until then each stays in memory and in every later write. The document in memory
// becomes the text written with the changes still pending, so lookups see the other processes'
// choices too; a clear made since stays as it is.
void JoystickPolicy::FinishWrite(const PendingWrite& written, const WritePass& pass) {
  const policy::DocumentAnswers shownAnswers = policy::ReadAnswers(pass.readBack);
  std::lock_guard<std::mutex> lock(mMutex);
  for (auto entry = mPendingChoices.begin(); entry != mPendingChoices.end();) {
    const bool shown = pass.shown && entry->second.lastChange <= written.version &&
                       ShowsChoice(shownAnswers, entry->first, entry->second.mappingIndex);
    entry = shown ? mPendingChoices.erase(entry) : std::next(entry);
  }
  if (mPendingClear && mClearVersion <= written.version && pass.shown &&
      pass.readBack == pass.written) {
    mPendingClear = false;
  }
  if (!mPendingClear) {
    SetDocument(policy::MergeChoices(pass.written, PendingChoicesInOrder()));
  }
  mPolicyChanged = mPendingClear || !mPendingChoices.empty();
}

// Caller holds mMutex. The text is read for lookups only when it changes: a lookup runs for
// every controller opened, and a document can hold many models.
void JoystickPolicy::SetDocument(std::string text) {
  if (text == mPolicyStr) {
    return;
  }
  mAnswers = policy::ReadAnswers(text);
  mPolicyStr = std::move(text);
}

int32_t JoystickPolicy::UnstoredChanges() {
  std::lock_guard<std::mutex> lock(mMutex);
  return static_cast<int32_t>(mPendingChoices.size()) + (mPendingClear ? 1 : 0);
}

// Waits for one write attempt that starts after this call (so it writes the latest text), made at
// once rather than after the watcher's retry wait; a store that refuses it is not waited for.
bool JoystickPolicy::WaitUntilStored(std::chrono::milliseconds timeout) {
  std::unique_lock<std::mutex> lock(mWaitMutex);
  if (!mPolicyChanged) {
    return true;
  }
  const uint64_t startedBefore = mPassesStarted;
  mWakeUp = true;
  mCond.notify_all();
  mPassDone.wait_for(lock, timeout, [this, startedBefore] {
    return !mPolicyChanged || mStopped || mPassesDone > startedBefore;
  });
  return !mPolicyChanged;
}

void JoystickPolicy::wakeWatcher() {
  std::lock_guard<std::mutex> lock(mWaitMutex);
  mWakeUp = true;
  mCond.notify_all();
}

// Every change made so far is covered by the pass that follows, so the wake-ups it raised are
// spent; one that comes during the pass's write is kept for the next.
void JoystickPolicy::takeWakeUp() {
  std::lock_guard<std::mutex> lock(mWaitMutex);
  mWakeUp = false;
  ++mPassesStarted;
}

// A refused write stays pending without waking anyone, so it is retried after the full wait
// rather than in a busy loop.
void JoystickPolicy::waitForWakeUp() {
  std::unique_lock<std::mutex> lock(mWaitMutex);
  mCond.wait_for(lock, WATCHER_WAIT, [this] { return mStopped || mWakeUp; });
}

}  // namespace cpd
