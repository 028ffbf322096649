#include "recording_store.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <random>
#include <stdexcept>

#include "cpd_joystick/sd_config.h"

namespace cpd::test {

namespace {

struct StoreState {
  std::mutex mutex;
  std::condition_variable called;
  bool available = true;
  bool throwing = false;
  bool refusing = false;
  double refusalRate = 0.0;
  std::mt19937 random{1};
  bool recording = true;
  bool lagging = false;
  std::function<void(const std::string&)> hook;
  std::map<std::string, std::string> values;
  // Each key's value from before the latest SetSecure taken for it: what a lagging store shows.
  std::map<std::string, std::string> shownWhileLagging;
  std::vector<StoreCall> calls;
};

std::string ValueOf(const std::map<std::string, std::string>& values, const std::string& key) {
  const auto found = values.find(key);
  return found != values.end() ? found->second : "";
}

std::string ShownValue(const StoreState& state, const std::string& key) {
  if (state.lagging && state.shownWhileLagging.count(key) != 0) {
    return state.shownWhileLagging.at(key);
  }
  return ValueOf(state.values, key);
}

// Never destroyed: the policy store's watcher may still write while the process ends.
StoreState& State() {
  static auto* state = new StoreState;
  return *state;
}

void RunHook(const std::string& operation) {
  std::function<void(const std::string&)> hook;
  {
    std::lock_guard<std::mutex> lock(State().mutex);
    hook = State().hook;
  }
  if (hook) {
    hook(operation);
  }
}

void Record(StoreState& state, StoreCall call) {
  if (state.recording) {
    state.calls.push_back(std::move(call));
  }
  state.called.notify_all();
}

}  // namespace

void SetStoreAvailable(bool available) {
  std::lock_guard<std::mutex> lock(State().mutex);
  State().available = available;
}

void SetStoreRefusing(bool refusing) {
  std::lock_guard<std::mutex> lock(State().mutex);
  State().refusing = refusing;
}

void SetStoreRefusalRate(double rate, unsigned seed) {
  std::lock_guard<std::mutex> lock(State().mutex);
  State().refusalRate = rate;
  State().random.seed(seed);
}

void SetStoreThrowing(bool throwing) {
  std::lock_guard<std::mutex> lock(State().mutex);
  State().throwing = throwing;
}

void SetStoreLagging(bool lagging) {
  std::lock_guard<std::mutex> lock(State().mutex);
  State().lagging = lagging;
}

void SetStoreRecording(bool recording) {
  std::lock_guard<std::mutex> lock(State().mutex);
  State().recording = recording;
}

void SetStoreCallHook(std::function<void(const std::string& operation)> hook) {
  std::lock_guard<std::mutex> lock(State().mutex);
  State().hook = std::move(hook);
}

std::map<std::string, std::string> StoredValues() {
  std::lock_guard<std::mutex> lock(State().mutex);
  return State().values;
}

void SetStoredValue(const std::string& key, const std::string& value) {
  std::lock_guard<std::mutex> lock(State().mutex);
  State().values[key] = value;
  State().shownWhileLagging.erase(key);
}

std::string StoredValue(const std::string& key) {
  std::lock_guard<std::mutex> lock(State().mutex);
  const auto found = State().values.find(key);
  return found != State().values.end() ? found->second : "";
}

std::vector<StoreCall> StoreCalls() {
  std::lock_guard<std::mutex> lock(State().mutex);
  return State().calls;
}

size_t CountStoreCalls(const std::string& operation) {
  const std::vector<StoreCall> calls = StoreCalls();
  return static_cast<size_t>(std::count_if(calls.begin(), calls.end(), [&](const StoreCall& call) {
    return call.operation == operation;
  }));
}

bool WaitForStoreCalls(const std::string& operation, size_t count,
                       std::chrono::milliseconds timeout) {
  std::unique_lock<std::mutex> lock(State().mutex);
  return State().called.wait_for(lock, timeout, [&] {
    const std::vector<StoreCall>& calls = State().calls;
    return static_cast<size_t>(std::count_if(
               calls.begin(), calls.end(),
               [&](const StoreCall& call) { return call.operation == operation; })) >= count;
  });
}

void ResetStore() {
  std::lock_guard<std::mutex> lock(State().mutex);
  State().available = true;
  State().refusing = false;
  State().refusalRate = 0.0;
  State().throwing = false;
  State().recording = true;
  State().lagging = false;
  State().hook = nullptr;
  State().values.clear();
  State().shownWhileLagging.clear();
  State().calls.clear();
}

}  // namespace cpd::test

namespace sd {

SDConfig* SDConfig::GetInstance() {
  static SDConfig instance;
  std::lock_guard<std::mutex> lock(cpd::test::State().mutex);
  return cpd::test::State().available ? &instance : nullptr;
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): the store's interface
std::string SDConfig::GetSecure(const std::string& key) {
  cpd::test::RunHook("GetSecure");
  cpd::test::StoreState& state = cpd::test::State();
  std::lock_guard<std::mutex> lock(state.mutex);
  std::string value = state.throwing ? "" : cpd::test::ShownValue(state, key);
  cpd::test::Record(state, {"GetSecure", key, value, !state.throwing, std::this_thread::get_id(),
                            std::chrono::steady_clock::now()});
  if (state.throwing) {
    throw std::runtime_error("store failure");
  }
  return value;
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): the store's interface
bool SDConfig::SetSecure(const std::string& key, const std::string& value) {
  cpd::test::RunHook("SetSecure");
  cpd::test::StoreState& state = cpd::test::State();
  std::lock_guard<std::mutex> lock(state.mutex);
  bool accepted = !state.refusing && !state.throwing;
  if (accepted && state.refusalRate > 0.0) {
    accepted = std::uniform_real_distribution<double>(0.0, 1.0)(state.random) >= state.refusalRate;
  }
  if (accepted) {
    state.shownWhileLagging[key] = cpd::test::ValueOf(state.values, key);
    state.values[key] = value;
  }
  cpd::test::Record(state, {"SetSecure", key, value, accepted, std::this_thread::get_id(),
                            std::chrono::steady_clock::now()});
  if (state.throwing) {
    throw std::runtime_error("store failure");
  }
  return accepted;
}

}  // namespace sd
