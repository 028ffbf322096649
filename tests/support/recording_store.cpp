#include "recording_store.h"

#include <algorithm>
#include <atomic>
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
  std::map<std::string, std::string> values;
  std::vector<StoreCall> calls;
};

std::atomic<StoreHook> gStoreHook{nullptr};

void RunStoreHook(const std::string& operation) {
  const StoreHook hook = gStoreHook;
  if (hook != nullptr) {
    hook(operation);
  }
}

StoreState& State() {
  static StoreState state;
  return state;
}

}  // namespace

void SetStoreHook(StoreHook hook) {
  gStoreHook = hook;
}

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

void SetStoredValue(const std::string& key, const std::string& value) {
  std::lock_guard<std::mutex> lock(State().mutex);
  State().values[key] = value;
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
  gStoreHook = nullptr;
  std::lock_guard<std::mutex> lock(State().mutex);
  State().available = true;
  State().refusing = false;
  State().refusalRate = 0.0;
  State().throwing = false;
  State().values.clear();
  State().calls.clear();
}

}  // namespace cpd::test

namespace sd {

SDConfig* SDConfig::GetInstance() {
  static SDConfig instance;
  std::lock_guard<std::mutex> lock(cpd::test::State().mutex);
  return cpd::test::State().available ? &instance : nullptr;
}

std::string SDConfig::GetSecure(const std::string& key) {
  cpd::test::RunStoreHook("GetSecure");
  cpd::test::StoreState& state = cpd::test::State();
  std::lock_guard<std::mutex> lock(state.mutex);
  const auto found = state.values.find(key);
  const std::string value = found != state.values.end() && !state.throwing ? found->second : "";
  state.calls.push_back({"GetSecure", key, value, !state.throwing, std::this_thread::get_id(),
                         std::chrono::steady_clock::now()});
  state.called.notify_all();
  if (state.throwing) {
    throw std::runtime_error("store failure");
  }
  return value;
}

bool SDConfig::SetSecure(const std::string& key, const std::string& value) {
  cpd::test::RunStoreHook("SetSecure");
  cpd::test::StoreState& state = cpd::test::State();
  std::lock_guard<std::mutex> lock(state.mutex);
  bool accepted = !state.refusing && !state.throwing;
  if (accepted && state.refusalRate > 0.0) {
    accepted = std::uniform_real_distribution<double>(0.0, 1.0)(state.random) >= state.refusalRate;
  }
  if (accepted) {
    state.values[key] = value;
  }
  state.calls.push_back({"SetSecure", key, value, accepted, std::this_thread::get_id(),
                         std::chrono::steady_clock::now()});
  state.called.notify_all();
  if (state.throwing) {
    throw std::runtime_error("store failure");
  }
  return accepted;
}

}  // namespace sd
