// A secure store for tests: it keeps values in memory, can be made absent or refusing, and
// records every call with its thread.
#pragma once

#include <map>
#include <string>
#include <thread>
#include <vector>

namespace cpd::test {

struct StoreCall {
  std::string operation;  // "GetSecure" or "SetSecure"
  std::string key;
  std::string value;     // the text written, or the text returned
  bool accepted = true;  // SetSecure's result
  std::thread::id thread;
};

// null from sd::SDConfig::GetInstance while false.
void SetStoreAvailable(bool available);
// SetSecure answers false (and stores nothing) while refusing.
void SetStoreRefusing(bool refusing);
// Each SetSecure is refused with this probability (0 to 1), decided by a seeded generator.
void SetStoreRefusalRate(double rate, unsigned seed);

void SetStoredValue(const std::string& key, const std::string& value);
std::string StoredValue(const std::string& key);
std::vector<StoreCall> StoreCalls();
size_t CountStoreCalls(const std::string& operation);
// Forgets values, calls and failure settings.
void ResetStore();

}  // namespace cpd::test
