// The one in-memory secure store of tests and benches: it defines sd::SDConfig's members,
// keeps values in memory (so no user's store file is touched), can be made absent, refusing or
// throwing, and records every call with its thread.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace cpd::test {

struct StoreCall {
  std::string operation;  // "GetSecure" or "SetSecure"
  std::string key;
  std::string value;     // the text written, or the text returned
  bool accepted = true;  // SetSecure's result; false for a call that threw
  std::thread::id thread;
  std::chrono::steady_clock::time_point time;  // when the call came in
};

// null from sd::SDConfig::GetInstance while false.
void SetStoreAvailable(bool available);
// SetSecure answers false (and stores nothing) while refusing.
void SetStoreRefusing(bool refusing);
// Each SetSecure is refused with this probability (0 to 1), decided by a seeded generator.
void SetStoreRefusalRate(double rate, unsigned seed);
// GetSecure and SetSecure are recorded as failed calls and then throw std::runtime_error while
// throwing; nothing is stored.
void SetStoreThrowing(bool throwing);

// While lagging, GetSecure answers each key with its value from before the latest SetSecure the
// store took for it, as a write-behind cache or another process's copy of the store may; values
// set with SetStoredValue are shown at once.
void SetStoreLagging(bool lagging);

// Whether calls are recorded (the default); a long bench turns it off so the record does not grow.
void SetStoreRecording(bool recording);
// Runs at the start of every GetSecure and SetSecure ("GetSecure" or "SetSecure"), on the
// calling thread and with no lock of the store held, so it may call back into the library. An
// empty function clears it.
void SetStoreCallHook(std::function<void(const std::string& operation)> hook);

void SetStoredValue(const std::string& key, const std::string& value);
std::map<std::string, std::string> StoredValues();
std::string StoredValue(const std::string& key);
std::vector<StoreCall> StoreCalls();
size_t CountStoreCalls(const std::string& operation);
// Waits until at least `count` calls of `operation` are recorded; false when `timeout` passes.
bool WaitForStoreCalls(const std::string& operation, size_t count,
                       std::chrono::milliseconds timeout = std::chrono::seconds(10));
// Forgets values, calls, the hook and the failure, lag and recording settings.
void ResetStore();

}  // namespace cpd::test
