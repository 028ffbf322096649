// The process-wide mapping policy: which layout the user chose per controller model. Lookups and
// updates work on the document text in memory; a watcher thread copies every change to the secure
// store, so neither the polling thread nor a client's set-mapping call waits for the store.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "joystick_policy/policy_document.h"
#include "joystick_policy/store_calls.h"

namespace cpd {

class JoystickPolicy {
 public:
  // The single instance, created, loaded and started by the first call. Null once the library is
  // being unloaded, so callers test the pointer before use.
  static std::shared_ptr<JoystickPolicy> GetInstance();
  // The instance if one has been loaded already; never creates or loads one.
  static std::shared_ptr<JoystickPolicy> Existing();

  JoystickPolicy() = default;
  // Ends and joins the watcher; a change still pending gets one last write attempt first.
  ~JoystickPolicy();
  JoystickPolicy(const JoystickPolicy&) = delete;
  JoystickPolicy& operator=(const JoystickPolicy&) = delete;
  JoystickPolicy(JoystickPolicy&&) = delete;
  JoystickPolicy& operator=(JoystickPolicy&&) = delete;

  // Loads the document from the store and starts the watcher; -1 when it was already started.
  int32_t Init();
  // The configured mapping index of the model, 0 when there is none. Vendor id 0 is refused.
  int32_t GetMappingIndex(uint16_t vid, uint16_t pid);
  // Records the choice with `name` as its description; always 0. Vendor id 0 is refused.
  int32_t SetMappingIndex(uint16_t vid, uint16_t pid, uint16_t mappingIndex, std::string name);
  // Empties the document and schedules the write of the empty text; always 0.
  int32_t ClearPolicy();
  // The changes the store does not show yet: one per model chosen, one for a clear.
  int32_t UnstoredChanges();
  // Has a pending change written at once and waits for that attempt, at most `timeout`; false if
  // the change is still not stored.
  bool WaitUntilStored(std::chrono::milliseconds timeout);

 private:
  int32_t getMappingIndexFromConfig(std::string vidpid);
  int32_t setMappingIndexToConfig(std::string vidpid, uint16_t mappingIndex, std::string describe);
  bool StartWatcher(std::string stored, std::string& failure);
  void handlePolicyChangeThread();
  // The changes not yet stored, as of one moment: what a write pass merges into the store's text.
  struct PendingWrite {
    bool clear = false;
    std::vector<policy::Choice> choices;  // in the order the models were first chosen
    uint64_t version = 0;
  };
  struct PendingChoice {
    uint16_t mappingIndex = 0;
    std::string describe;
    uint64_t firstChange = 0;
    uint64_t lastChange = 0;
  };

  // What one write pass handed to the store, whether the store took it, and what a read made
  // right after the write showed.
  struct WritePass {
    std::string written;
    bool taken = false;
    bool shown = false;  // the read after the write succeeded; readBack is its text
    std::string readBack;
  };

  void writePendingChange();
  void WriteMerged(const PendingWrite& pending, policy::StoreLines& lines, WritePass& pass);
  PendingWrite TakePendingWrite();
  std::vector<policy::Choice> PendingChoicesInOrder() const;
  void FinishWrite(const PendingWrite& written, const WritePass& pass);
  void wakeWatcher();
  void takeWakeUp();
  void waitForWakeUp();

  void SetDocument(std::string text);

  // The document and what lookups need of it, read from it once. Guarded by mMutex.
  std::string mPolicyStr;
  policy::DocumentAnswers mAnswers;
  std::mutex mMutex;
  std::mutex mWaitMutex;
  std::unique_ptr<std::thread> mThread;
  std::atomic<bool> mStopped{true};
  std::atomic<bool> mPolicyChanged{false};
  // Counts the changes to mPolicyStr, so the watcher knows whether the text it wrote is still the
  // latest. Guarded by mMutex.
  uint64_t mPolicyVersion = 0;
  // The choices the store does not show yet, by model, each with the versions of its first and
  // its latest change; and whether a clear is not shown yet (made at which version). A write pass
  // merges them into the text the store holds at that moment, so that a choice another process
  // stored meanwhile is kept. Guarded by mMutex.
  std::map<std::string, PendingChoice> mPendingChoices;
  bool mPendingClear = false;
  uint64_t mClearVersion = 0;
  std::condition_variable mCond;
  // Notified under mWaitMutex after every pass of the watcher; the passes started and finished so
  // far, guarded by mWaitMutex.
  std::condition_variable mPassDone;
  uint64_t mPassesStarted = 0;
  uint64_t mPassesDone = 0;
  // Set under mWaitMutex by every wake-up and consumed by the watcher's wait, so a wake-up that
  // comes while the watcher is busy writing is not lost. Guarded by mWaitMutex.
  bool mWakeUp = false;
};

}  // namespace cpd
