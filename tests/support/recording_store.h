// A secure store for tests: it keeps values in memory, can be made absent or refusing, and
// records every call with its thread.
#pragma once

#include <chrono>
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

// Called at the start of every GetSecure and SetSecure with the operation's name, before the
// store does anything, as a store that calls back into the library would. Null removes it.
using StoreHook = void (*)(const std::string& operation);
void SetStoreHook(StoreHook hook);

void SetStoredValue(const std::string& key, const std::string& value);
std::string StoredValue(const std::string& key);
std::vector<StoreCall> StoreCalls();
size_t CountStoreCalls(const std::string& operation);
// Waits until at least `count` calls of `operation` are recorded; false when `timeout` passes.
bool WaitForStoreCalls(const std::string& operation, size_t count,
                       std::chrono::milliseconds timeout = std::chrono::seconds(10));
// Forgets values, calls and failure settings.
void ResetStore();

}  // namespace cpd::test
